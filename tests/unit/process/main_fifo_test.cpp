// Module main_fifo: commands through a real pipe in the private folder, read by the real thread in virtual
// time. Calls of select and read can be made to fail once.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "network_daemon/main.h"
#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

using cc_cell::PlainCell;
using test_support::World;

// Calls that fail on demand

namespace {
bool fail_next_select = false;
bool fail_next_read = false;
bool empty_next_read = false;

bool take(bool& flag) {
    const bool was = flag;
    flag = false;
    return was;
}
}  // namespace

extern "C" int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout);
extern "C" int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout) {
    const int ready = __real_select(count, reads, writes, excepts, timeout);
    if (!take(fail_next_select)) return ready;
    errno = EINTR;
    return -1;
}

extern "C" ssize_t __real_read(int fd, void* to, size_t size);
extern "C" ssize_t __wrap_read(int fd, void* to, size_t size) {
    if (take(empty_next_read)) return 0;
    if (!take(fail_next_read)) return __real_read(fd, to, size);
    char lost[512];
    EXPECT_GT(__real_read(fd, lost, sizeof lost), 0);
    errno = EAGAIN;
    return -1;
}

namespace {

using Texts = std::vector<std::string>;

constexpr char kPipe[] = "/run/network/ravelin_fifo";
constexpr char kRemovePipe[] = "rm -rf /run/network/ravelin_fifo";
constexpr char kGone[] = "[FIFO]RAVELIN_FIFO does not exist.\n";
constexpr char kReadError[] = "[FIFO]fifo read error\n";
constexpr char kSource[] = "network_daemon/main_fifo.cpp";
constexpr unsigned kListenSeconds = 5;
constexpr size_t kMessageSize = 512;

int open_descriptors() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}

std::string key_line(const std::string& key, const std::string& value) {
    return "[FIFO]fifo Key: " + key + ", Value: " + value + "\n";
}

class FifoTest : public testing::Test {
  protected:
    FifoTest() {
        fail_next_select = fail_next_read = empty_next_read = false;
        pCell = &cell;
        world.EndAt(3600);
    }
    ~FifoTest() override { pCell = nullptr; }

    /// The thread goes on until the end of the test, when its world stops.
    void Start() {
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, thread_function_pipe, nullptr));
        ASSERT_EQ(0, pthread_detach(thread));
        LetItRun();
    }

    static void LetItRun() { usleep(1000); }

    int OpenToWrite() { return open(kPipe, O_WRONLY | O_NONBLOCK | O_CLOEXEC); }

    static void Write(int fd, const std::string& text) {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(fd, text.data(), text.size()));
    }

    /// One write, and time for the thread to take it.
    void Send(const std::string& text) {
        const int fd = OpenToWrite();
        ASSERT_LE(0, fd) << "nobody reads the pipe";
        Write(fd, text);
        close(fd);
        LetItRun();
    }

    /// Pairs that reached handle_command, as their line at level 7 shows them.
    Texts Pairs() const {
        Texts pairs;
        for (const std::string& text : world.LogOf("handle_command")) {
            if (text.rfind("[FIFO]fifo Key: ", 0) == 0) pairs.push_back(text);
        }
        return pairs;
    }

    Texts Visible() const {  // what a log without debug lines shows
        Texts texts;
        for (const World::LogLine& line : world.log) {
            if (line.level < 7) texts.push_back(line.text);
        }
        return texts;
    }

    bool NothingRequested() const { return cell.m_soft_reset_req == 0 && cell.m_device_reset_req == 0; }

    World world;
    PlainCell cell{-1};
};

// The table of commands

struct CommandCase {
    const char* name;
    const char* key;
    const char* value;
    unsigned level;  // of the line that follows the key line
    const char* text;
    bool soft_reset;
    bool device_reset;
};

constexpr CommandCase kCommands[] = {
    {"Online", "4G_MODEM_STATUS", "online", 7, "[FIFO]4G_MODEM_STATUS:online\n", false, false},
    {"Offline", "4G_MODEM_STATUS", "offline", 5, "[FIFO]4G_MODEM_STATUS:offline:index 0\n", false, false},
    {"OtherStatus", "4G_MODEM_STATUS", "Online", 5, "[FIFO]4G_MODEM_STATUS:unknow\n", false, false},
    {"EmptyStatus", "4G_MODEM_STATUS", "", 5, "[FIFO]4G_MODEM_STATUS:unknow\n", false, false},
    {"NoAddressList", "orla_ip_list", "noexist", 5, "[FIFO]orla_ip_list:noexist\n", false, false},
    {"OtherAddressList", "orla_ip_list", "exist", 0, nullptr, false, false},
    {"DeviceReset", "Reset4G", "1", 5, "[FIFO]Reset4G:1\n", false, true},
    {"NoDeviceReset", "Reset4G", "0", 0, nullptr, false, false},
    {"BoardReset", "S84Reset4G", "1", 5, "[FIFO]S84Reset4G:1\n", false, true},
    {"NoBoardReset", "S84Reset4G", "2", 0, nullptr, false, false},
    {"SoftReset", "SoftReset", "1", 5, "[FIFO]SoftReset:1\n", true, false},
    {"NoSoftReset", "SoftReset", "true", 0, nullptr, false, false},
    {"OtherKey", "HardReset", "1", 0, nullptr, false, false},
    {"KeyWithMore", "Reset4G2", "1", 0, nullptr, false, false},
};

class CommandTest : public FifoTest, public testing::WithParamInterface<CommandCase> {};

TEST_P(CommandTest, LogsAndRequests) {
    const CommandCase& expected = GetParam();
    handle_command(expected.key, expected.value);
    ASSERT_EQ(expected.text == nullptr ? 1u : 2u, world.log.size());
    EXPECT_EQ(key_line(expected.key, expected.value), world.log[0].text);
    EXPECT_EQ(7u, world.log[0].level);
    if (expected.text != nullptr) {
        EXPECT_EQ(expected.text, world.log[1].text);
        EXPECT_EQ(expected.level, world.log[1].level);
    }
    for (const World::LogLine& line : world.log) {
        EXPECT_EQ(kSource, line.file);
        EXPECT_EQ("handle_command", line.function);
    }
    EXPECT_EQ(expected.soft_reset ? 1 : 0, cell.m_soft_reset_req);
    EXPECT_EQ(expected.device_reset ? 1 : 0, cell.m_device_reset_req);
}

INSTANTIATE_TEST_SUITE_P(Table, CommandTest, testing::ValuesIn(kCommands),
                         [](const auto& given) { return std::string(given.param.name); });

TEST_F(FifoTest, OfflineStillTellsIndexZeroAfterManyMessages) {
    for (const char* value : {"offline", "unknown", "online", "offline"}) {
        handle_command("4G_MODEM_STATUS", value);
    }
    EXPECT_EQ(2, world.CountLogged("[FIFO]4G_MODEM_STATUS:offline:index 0\n"));
}

// Lines

TEST_F(FifoTest, SoftResetSetsTheRequestOnceHoweverOftenItIsAskedFor) {
    Start();
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_EQ(0, cell.m_device_reset_req);
    EXPECT_EQ(2, world.CountLogged("[FIFO]SoftReset:1\n"));
}

TEST_F(FifoTest, SoftResetWithCarriageReturnDoesNothing) {
    Start();
    Send("SoftReset:1\r\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(Texts{key_line("SoftReset", "1\r")}, Pairs());
    EXPECT_TRUE(Visible().empty());
}

TEST_F(FifoTest, SoftResetWithAnotherValueLogsItsKeyAlone) {
    Start();
    Send("SoftReset:0\n");
    Send("SoftReset:11\n");
    EXPECT_TRUE(NothingRequested());
    const Texts pairs = {key_line("SoftReset", "0"), key_line("SoftReset", "11")};
    EXPECT_EQ(pairs, world.LogOf("handle_command"));
}

TEST_F(FifoTest, ResetDuringAnUpgradeIsLoggedAndDropped) {
    cell.m_ota_running = 1;
    Start();
    Send("Reset4G:1\n");
    Send("S84Reset4G:1 SoftReset:1\n");
    EXPECT_TRUE(NothingRequested());
    const Texts visible = {"[FIFO]Reset4G:1\n", "[FIFO]S84Reset4G:1\n", "[FIFO]SoftReset:1\n"};
    EXPECT_EQ(visible, Visible());
    cell.m_ota_running = 0;
    sleep(2 * kListenSeconds);
    EXPECT_TRUE(NothingRequested()) << "dropped, not kept";
}

TEST_F(FifoTest, ResetBeforeTheModemIsFoundIsLoggedAndDropped) {
    pCell = nullptr;
    Start();
    Send("Reset4G:1\n");
    Send("SoftReset:1\n");
    const Texts visible = {"[FIFO]Reset4G:1\n", "[FIFO]SoftReset:1\n"};
    EXPECT_EQ(visible, Visible());
    pCell = &cell;
    sleep(2 * kListenSeconds);
    EXPECT_TRUE(NothingRequested()) << "dropped, not kept";
    Send("Reset4G:1\n");
    EXPECT_EQ(1, cell.m_device_reset_req);
}

TEST_F(FifoTest, KeysAreCaseSensitive) {
    Start();
    Send("softreset:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(Texts{key_line("softreset", "1")}, world.LogOf("handle_command"));
}

TEST_F(FifoTest, LineWithUdhcpcResetsNothing) {
    Start();
    Send("udhcpc Reset4G:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_TRUE(Pairs().empty());
    ASSERT_EQ(2u, world.log.size());
    EXPECT_EQ("[FIFO]fifo msg:udhcpc Reset4G:1\n \n", world.log[0].text);
    EXPECT_EQ(7u, world.log[0].level);
    EXPECT_EQ("udhcpc Reset4G:1\n\n", world.log[1].text);
    EXPECT_EQ(6u, world.log[1].level);
    for (const World::LogLine& line : world.log) {
        EXPECT_EQ(kSource, line.file);
        EXPECT_EQ("thread_function_pipe", line.function);
    }
}

TEST_F(FifoTest, UdhcpcInAnyLineOfAMessageHoldsForTheWholeMessage) {
    Start();
    Send("Reset4G:1\nlease by xudhcpcx\nSoftReset:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_TRUE(Pairs().empty());
}

TEST_F(FifoTest, MessageWithUdhcpcLeavesNoBytesBehind) {
    Start();
    Send("udhcpc Reset4G:1 SoftReset:1\n");
    Send("a:b");
    EXPECT_EQ(Texts{key_line("a", "b")}, Pairs());
    EXPECT_TRUE(world.Logged(7, "[FIFO]fifo msg:a:b \n"));
}

TEST_F(FifoTest, EmptyLinesAreSteppedOver) {
    Start();
    Send("\n\n\nSoftReset:1\n\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_EQ(1u, Pairs().size());
    Send("\n");
    EXPECT_EQ(1u, Pairs().size());
}

TEST_F(FifoTest, LineOfBlanksDoesNothing) {
    Start();
    Send("     \n");
    EXPECT_TRUE(Pairs().empty());
    EXPECT_TRUE(Visible().empty());
}

TEST_F(FifoTest, FurtherColonStaysInTheValue) {
    Start();
    Send("a:b:c\n");
    EXPECT_EQ(Texts{key_line("a", "b:c")}, Pairs());
}

TEST_F(FifoTest, WordThatBeginsWithAColonHasAnEmptyKey) {
    Start();
    Send(":1\n:\n");
    const Texts pairs = {key_line("", "1"), key_line("", "")};
    EXPECT_EQ(pairs, Pairs());
    EXPECT_TRUE(NothingRequested());
    EXPECT_TRUE(Visible().empty());
}

TEST_F(FifoTest, LineCarriesSeveralPairs) {
    Start();
    Send("  Reset4G:1   nothing SoftReset:1 \n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_EQ(1, cell.m_device_reset_req);
    const Texts pairs = {key_line("Reset4G", "1"), key_line("SoftReset", "1")};
    EXPECT_EQ(pairs, Pairs());
}

TEST_F(FifoTest, MessageCarriesSeveralLines) {
    Start();
    Send("a:1\nb:2\n\nc:3");
    const Texts pairs = {key_line("a", "1"), key_line("b", "2"), key_line("c", "3")};
    EXPECT_EQ(pairs, Pairs());
    EXPECT_TRUE(world.Logged(7, "[FIFO]fifo msg:a:1\nb:2\n\nc:3 \n"));
}

// What a message without a line end runs into

TEST_F(FifoTest, MessageWithoutLineEndRunsIntoTheTailOfAnEarlierOne) {
    Start();
    Send("SoftReset:1\n");
    cell.m_soft_reset_req = 0;
    Send("SoftReset:");  // ten bytes; after them stands the "1" of the earlier line
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_TRUE(world.Logged(7, "[FIFO]fifo msg:SoftReset:1 \n"));
}

TEST_F(FifoTest, ZerosOfAnEarlierCutEndWhatIsRunInto) {
    Start();
    Send("a:1 SoftReset:1\n");  // is cut to "a" "1" "SoftReset" "1"
    cell.m_soft_reset_req = 0;
    Send("b:2 ");  // covers the first pair; after it stands "SoftReset" without its colon
    EXPECT_TRUE(NothingRequested());
    const Texts pairs = {key_line("a", "1"), key_line("SoftReset", "1"), key_line("b", "2")};
    EXPECT_EQ(pairs, Pairs());
    EXPECT_TRUE(world.Logged(7, "[FIFO]fifo msg:b:2 SoftReset \n"));
}

TEST_F(FifoTest, WordsThatWereNeverCutAreRunInto) {
    Start();
    // Blanks in front of a word are skipped, and not made zeros.
    Send("x   Reset4G:1\n");
    cell.m_device_reset_req = 0;
    Send("SoftReset:");
    // After the ten bytes: "G", then the zero that was a colon.
    EXPECT_TRUE(world.Logged(7, "[FIFO]fifo msg:SoftReset:G \n"));
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(key_line("SoftReset", "G"), Pairs().back());
}

TEST_F(FifoTest, MessageWithLineEndRunsIntoNothing) {
    Start();
    Send("x y SoftReset:1\n");
    cell.m_soft_reset_req = 0;
    Send("\n");
    Send("a\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(1u, Pairs().size());
}

// Bad input

TEST_F(FifoTest, BinaryBytesAreHarmless) {
    Start();
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    Send(bytes + "\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_TRUE(Visible().empty());
    Send(std::string("\0\0SoftReset:1\0Reset4G:1\n", 24));
    EXPECT_EQ(1, cell.m_soft_reset_req) << "a zero byte ends a text like a line end";
    EXPECT_EQ(1, cell.m_device_reset_req);
}

TEST_F(FifoTest, PercentSignsAreText) {
    Start();
    Send("%s%n:%s%n udhcpc\n");
    Send("%s%n:%s%n\n");
    EXPECT_TRUE(world.Logged(6, "%s%n:%s%n udhcpc\n\n"));
    EXPECT_EQ(Texts{key_line("%s%n", "%s%n")}, Pairs());
}

TEST_F(FifoTest, FullBufferWithoutLineEndIsOneText) {
    Start();
    const std::string value(kMessageSize - 2, 'x');
    Send("k:" + value);
    EXPECT_EQ(Texts{key_line("k", value)}, Pairs());
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, FullBufferWithoutAnySeparatorDoesNothing) {
    Start();
    Send(std::string(kMessageSize, 'x'));
    Send(std::string(kMessageSize, ' '));
    Send(std::string(kMessageSize, '\n'));
    EXPECT_TRUE(Pairs().empty());
    Send(std::string(kMessageSize, ':'));
    EXPECT_EQ(Texts{key_line("", std::string(kMessageSize - 1, ':'))}, Pairs());
    EXPECT_TRUE(NothingRequested());
}

TEST_F(FifoTest, LongMessageIsTakenInPiecesOf512Bytes) {
    Start();
    Send(std::string(kMessageSize - 12, ' ') + "SoftReset:1\n" + "Reset4G:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_EQ(1, cell.m_device_reset_req);
    EXPECT_EQ(1, world.CountLogged("[FIFO]fifo msg:Reset4G:1\n" + std::string(kMessageSize - 22, ' ') +
                                   "SoftReset \n"));
}

TEST_F(FifoTest, FloodOfLinesIsTakenWhole) {
    Start();
    constexpr int kLines = 4096;  // lines of 8 bytes: no line lies across two reads
    std::string flood;
    for (int i = 0; i < kLines; ++i) flood += "flood:1\n";
    Send(flood);
    sleep(1);
    EXPECT_EQ(kLines, world.CountLogged(key_line("flood", "1")));
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_TRUE(world.Exists(kPipe));
}

TEST_F(FifoTest, LineInTwoWritesIsTwoMessages) {
    Start();
    Send("SoftRe");
    Send("set:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(Texts{key_line("set", "1")}, Pairs());
}

TEST_F(FifoTest, LineInTwoWritesThatArriveTogetherIsOne) {
    Start();
    const int fd = OpenToWrite();
    ASSERT_LE(0, fd);
    Write(fd, "SoftRe");
    Write(fd, "set:1\n");
    close(fd);
    LetItRun();
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, SeveralWritersAtOnce) {
    Start();
    const int one = OpenToWrite(), other = OpenToWrite(), third = OpenToWrite();
    ASSERT_LE(0, std::min(one, std::min(other, third)));
    Write(one, "a:1\n");
    Write(other, "b:2\n");
    Write(third, "c:3\n");
    Write(one, "d:4\n");
    close(other);
    LetItRun();
    const Texts pairs = {key_line("a", "1"), key_line("b", "2"), key_line("c", "3"), key_line("d", "4")};
    EXPECT_EQ(pairs, Pairs());
    close(third);
    close(one);
    sleep(2 * kListenSeconds);
    EXPECT_EQ(0, world.CountLogged(kReadError)) << "the last writer leaves no end of file";
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

// The pipe itself

TEST_F(FifoTest, ThreadMakesThePipe) {
    const mode_t old_mask = umask(0);
    world.Write(kPipe, "left by an earlier run");
    Start();
    umask(old_mask);
    EXPECT_EQ(Texts{kRemovePipe}, world.Commands());
    struct stat info = {};
    ASSERT_EQ(0, stat(kPipe, &info));
    EXPECT_TRUE(S_ISFIFO(info.st_mode));
    EXPECT_EQ(0660u, info.st_mode & 07777);
    EXPECT_TRUE(world.log.empty());
}

TEST_F(FifoTest, SilenceIsSilent) {
    Start();
    sleep(600);
    EXPECT_TRUE(world.log.empty());
    EXPECT_EQ(1u, world.shell.size());
}

TEST_F(FifoTest, DeletedPipeIsMissedWithinFiveSecondsAndMadeAnew) {
    Start();
    sleep(7);
    world.Remove(kPipe);
    const double removed_seconds = world.now_seconds();
    sleep(kListenSeconds);
    EXPECT_EQ(Texts{kGone}, Visible());
    ASSERT_EQ(1u, world.log.size());
    EXPECT_EQ(3u, world.log[0].level);
    EXPECT_EQ(kSource, world.log[0].file);
    EXPECT_EQ("thread_function_pipe", world.log[0].function);
    EXPECT_LE(world.log[0].at_seconds, removed_seconds + kListenSeconds);
    const Texts commands = {kRemovePipe, kRemovePipe};
    EXPECT_EQ(commands, world.Commands());
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, RebuildsLoseNoDescriptor) {
    Start();
    const int before = open_descriptors();
    for (int i = 0; i < 20; ++i) {
        world.Remove(kPipe);
        sleep(kListenSeconds);
    }
    EXPECT_EQ(20, world.CountLogged(kGone));
    EXPECT_EQ(before, open_descriptors());
}

TEST_F(FifoTest, FailedSelectMakesANewPipe) {
    Start();
    const int before = open_descriptors();
    fail_next_select = true;
    sleep(2 * kListenSeconds);
    const Texts log = {"[FIFO]fifo select error\n"};
    EXPECT_EQ(log, world.LogOf("thread_function_pipe"));
    EXPECT_EQ(3u, world.log[0].level);
    EXPECT_EQ(2u, world.shell.size());
    EXPECT_EQ(before, open_descriptors());
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, EmptyReadMakesANewPipe) {
    Start();
    const int before = open_descriptors();
    empty_next_read = true;
    Send("SoftReset:1\n");
    EXPECT_EQ(Texts{kReadError}, Visible());
    EXPECT_EQ(3u, world.log[0].level);
    EXPECT_EQ(2u, world.shell.size());
    EXPECT_EQ(before, open_descriptors());
    EXPECT_TRUE(NothingRequested());
}

TEST_F(FifoTest, FailedReadIsLoggedAndParsesNothing) {
    Start();
    Send("a:Reset4G:1\n");  // leaves "Reset4G:1" uncut after the zero of the first colon
    fail_next_read = true;
    Send("SoftReset:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(Texts{key_line("a", "Reset4G:1")}, Pairs());
    EXPECT_EQ("[FIFO]fifo msg:a \n", world.log.back().text) << "what the buffer held";
    EXPECT_EQ(1u, world.shell.size()) << "no new pipe";
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, MissingFolderAtTheStartIsTriedAgainEveryFiveSeconds) {
    world.Remove("/run/network");
    Start();
    const Texts at_once = {"[FIFO]fifo creating error\n", kGone};
    EXPECT_EQ(at_once, world.LogOf("thread_function_pipe")) << "the first select waits for nothing";
    EXPECT_EQ(0, world.log[1].at_seconds);
    EXPECT_EQ(3u, world.log[0].level);
    sleep(2 * kListenSeconds);
    EXPECT_EQ(3, world.CountLogged(kGone)) << "now, after 5 and after 10 seconds";
    world.MakeFolder("/run/network");
    sleep(kListenSeconds);
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

/// Something at the path that rm can't take away.
class BlockedPathTest : public FifoTest {
  protected:
    void Block(std::function<void()> put_in_the_way) {
        const auto shared = std::make_shared<std::function<void()>>(std::move(put_in_the_way));
        world.OnSystem(kRemovePipe, [this, shared] {
            if (blocked) (*shared)();
        });
    }
    bool blocked = true;
};

TEST_F(BlockedPathTest, FolderInTheWayAtTheStartIsWaitedFor) {
    Block([this] { world.MakeFolder(kPipe); });
    Start();
    sleep(60);
    EXPECT_EQ(Texts{"[FIFO]fifo creating error\n"}, Visible());
    EXPECT_EQ(1u, world.shell.size());
    blocked = false;
    world.Remove(kPipe);
    sleep(kListenSeconds);
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(BlockedPathTest, FolderInTheWayOfARebuildIsWaitedForInSilence) {
    blocked = false;
    Block([this] { world.MakeFolder(kPipe); });
    Start();
    const int with_pipe = open_descriptors();
    blocked = true;
    world.Remove(kPipe);
    sleep(60);
    EXPECT_EQ(Texts{kGone}, Visible());
    EXPECT_EQ(with_pipe - 1, open_descriptors()) << "the old pipe is closed, and there is no new one";
    blocked = false;
    world.Remove(kPipe);
    sleep(kListenSeconds);
    EXPECT_EQ(with_pipe, open_descriptors());
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(BlockedPathTest, FileInTheWayOfARebuildIsReadToItsEnd) {
    blocked = false;
    int files = 0;
    Block([this, &files] {
        world.Write(kPipe, "SoftReset:1\n");
        blocked = ++files < 3;
    });
    Start();
    const int before = open_descriptors();
    blocked = true;
    world.Remove(kPipe);
    sleep(kListenSeconds);
    EXPECT_EQ(1, cell.m_soft_reset_req) << "a file is as good as a message";
    EXPECT_EQ(3, world.CountLogged(kReadError)) << "its end makes a new pipe";
    EXPECT_EQ(before, open_descriptors());
    Send("Reset4G:1\n");
    EXPECT_EQ(1, cell.m_device_reset_req);
}

TEST_F(FifoTest, PipeReplacedByAFileIsNotMissedUntilTheFileGoes) {
    Start();
    world.Remove(kPipe);
    world.Write(kPipe, "SoftReset:1\n");
    sleep(60);
    EXPECT_TRUE(world.log.empty());
    EXPECT_EQ("SoftReset:1\n", world.Read(kPipe));
    world.Remove(kPipe);
    sleep(kListenSeconds);
    EXPECT_EQ(Texts{kGone}, Visible());
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, PipeReplacedByAFolderIsNotMissedUntilTheFolderGoes) {
    Start();
    world.Remove(kPipe);
    world.MakeFolder(kPipe);
    sleep(60);
    EXPECT_TRUE(world.log.empty());
    world.Remove(kPipe);
    sleep(kListenSeconds);
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, PipeWithoutRightsStaysInUse) {
    Start();
    const int fd = OpenToWrite();
    ASSERT_LE(0, fd);
    ASSERT_EQ(0, chmod(world.RealPath(kPipe).c_str(), 0));
    sleep(2 * kListenSeconds);
    Write(fd, "SoftReset:1\n");
    LetItRun();
    close(fd);
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_EQ(0, world.CountLogged(kGone));
}

TEST_F(FifoTest, PipeThatCanNotBeOpenedAtTheStartIsTriedAgainWhenItGoes) {
    rlimit old_limit = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &old_limit));
    world.OnSystem(kRemovePipe, [&old_limit] {
        const rlimit no_more = {0, old_limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &no_more);
    });
    world.At(0.0005, [&old_limit] { setrlimit(RLIMIT_NOFILE, &old_limit); });
    Start();
    world.OnSystem(kRemovePipe, [] {});
    sleep(60);
    EXPECT_EQ(Texts{"[FIFO] fifo open error\n"}, Visible());
    EXPECT_EQ(3u, world.log[0].level);
    world.Remove(kPipe);
    sleep(kListenSeconds);
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

TEST_F(FifoTest, DescriptorBeyondTheSetOfSelectCountsAsNone) {
    rlimit old_limit = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &old_limit));
    constexpr rlim_t kManyDescriptors = FD_SETSIZE + 64;
    if (old_limit.rlim_max < kManyDescriptors) GTEST_SKIP() << "so many descriptors can't be had";
    const rlimit limit = {std::max(old_limit.rlim_cur, kManyDescriptors), old_limit.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    std::vector<int> held;
    while (held.empty() || held.back() < FD_SETSIZE) held.push_back(dup(STDERR_FILENO));
    const int before = open_descriptors();
    Start();
    EXPECT_EQ(Texts{"[FIFO] fifo open error\n"}, Visible());
    world.Remove(kPipe);
    sleep(3 * kListenSeconds);
    EXPECT_EQ(1, world.CountLogged(kGone));
    EXPECT_EQ(before, open_descriptors());
    for (const int fd : held) close(fd);
    sleep(1);  // so many calls cost some virtual time
    world.Remove(kPipe);
    sleep(kListenSeconds);
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    setrlimit(RLIMIT_NOFILE, &old_limit);
}

}  // namespace
