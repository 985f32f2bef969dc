// Module main_fifo: the pipe itself. It is made at the start, and anew when it goes away, is replaced, or
// breaks; calls of select and read can be made to fail once. What comes through it: main_fifo_test.cpp.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/fifo_fixture.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/stdin_closed.h"

// Calls that fail on demand.
namespace {
bool fail_next_select = false;
bool fail_next_read = false;
bool empty_next_read = false;
int selects_without_pipe = 0;

void ExpectNothingArmed(const fd_set& set) {
    for (int fd = 0; fd < FD_SETSIZE; ++fd) EXPECT_FALSE(FD_ISSET(fd, &set)) << fd;
}

bool Take(bool& flag) {
    const bool was = flag;
    flag = false;
    return was;
}
}  // namespace

extern "C" int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout);
extern "C" int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout) {
    if (count == 0) {
        ++selects_without_pipe;
        ExpectNothingArmed(*reads);
    }
    const int ready = __real_select(count, reads, writes, excepts, timeout);
    if (!Take(fail_next_select)) return ready;
    errno = EINTR;
    return -1;
}

extern "C" ssize_t __real_read(int fd, void* to, size_t size);
extern "C" ssize_t __wrap_read(int fd, void* to, size_t size) {
    if (Take(empty_next_read)) return 0;
    if (!Take(fail_next_read)) return __real_read(fd, to, size);
    char lost[512];
    EXPECT_GT(__real_read(fd, lost, sizeof lost), 0);
    errno = EAGAIN;
    return -1;
}

namespace {

constexpr char kRemovePipe[] = "rm -rf /run/network/ravelin_fifo";
constexpr char kGone[] = "[FIFO]RAVELIN_FIFO does not exist.\n";

/// At the path stands a pipe for its owner and the group.
void ExpectPipe() {
    struct stat info = {};
    ASSERT_EQ(0, stat(kPipe, &info));
    EXPECT_TRUE(S_ISFIFO(info.st_mode));
    EXPECT_EQ(0660u, info.st_mode & 07777);
}

TEST_F(FifoTest, ThreadMakesThePipe) {
    const mode_t old_mask = umask(0);
    world.Write(kPipe, "left by an earlier run");
    Start();
    umask(old_mask);
    EXPECT_EQ(Texts{kRemovePipe}, world.Commands());
    ExpectPipe();
    EXPECT_TRUE(world.log.empty());
}

TEST_F(FifoTest, PipeThatIsMadeAnewIsForTheSamePeople) {
    Start();
    const mode_t old_mask = umask(0);
    world.Remove(kPipe);
    sleep(kListen_seconds);
    umask(old_mask);
    ExpectPipe();
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
    sleep(kListen_seconds);
    EXPECT_EQ(Texts{kGone}, Visible());
    ASSERT_EQ(1u, world.log.size());
    EXPECT_EQ(3u, world.log[0].level);
    EXPECT_EQ(kSource, world.log[0].file);
    EXPECT_EQ("thread_function_pipe", world.log[0].function);
    EXPECT_LE(world.log[0].at_seconds, removed_seconds + kListen_seconds);
    const Texts commands = {kRemovePipe, kRemovePipe};
    EXPECT_EQ(commands, world.Commands());
    EXPECT_TRUE(TakesCommands());
}

TEST_F(FifoTest, MessageStartsTheFiveSecondsAnew) {
    Start();
    sleep(3);
    const double sent_seconds = world.now_seconds();
    Send("4G_MODEM_STATUS:online\n");
    world.Remove(kPipe);
    sleep(kListen_seconds);
    ASSERT_EQ(1, world.CountLogged(kGone));
    EXPECT_EQ(kGone, world.log.back().text);
    EXPECT_DOUBLE_EQ(sent_seconds + kListen_seconds, world.log.back().at_seconds);
}

TEST_F(FifoTest, RebuildsLoseNoDescriptor) {
    Start();
    const int before = OpenDescriptors();
    for (int i = 0; i < 20; ++i) {
        world.Remove(kPipe);
        sleep(kListen_seconds);
    }
    EXPECT_EQ(20, world.CountLogged(kGone));
    EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(FifoTest, PipeThatIsDescriptorZeroIsClosedLikeAnyOther) {
    const StdinClosed stdin_closed;
    Start();
    const int before = OpenDescriptors();
    world.Remove(kPipe);
    sleep(kListen_seconds);
    EXPECT_EQ(before, OpenDescriptors());
    EXPECT_TRUE(TakesCommands());
}

TEST_F(FifoTest, FailedSelectMakesANewPipe) {
    Start();
    const int before = OpenDescriptors();
    fail_next_select = true;
    sleep(2 * kListen_seconds);
    const Texts log = {"[FIFO]fifo select error\n"};
    EXPECT_EQ(log, world.LogOf("thread_function_pipe"));
    EXPECT_EQ(3u, world.log[0].level);
    EXPECT_EQ(2u, world.shell.size());
    EXPECT_EQ(before, OpenDescriptors());
    EXPECT_TRUE(TakesCommands());
}

TEST_F(FifoTest, EmptyReadMakesANewPipe) {
    Start();
    const int before = OpenDescriptors();
    empty_next_read = true;
    Send("SoftReset:1\n");
    ASSERT_EQ(1u, world.log.size()) << "no message at all, not even an empty one";
    EXPECT_EQ(kReadError, world.log[0].text);
    EXPECT_EQ(3u, world.log[0].level);
    EXPECT_EQ(2u, world.shell.size());
    EXPECT_EQ(before, OpenDescriptors());
    EXPECT_TRUE(NothingRequested());
}

TEST_F(FifoTest, FailedReadIsLoggedAndParsesNothing) {
    Start();
    Send("a:Reset4G:1\n");  // leaves "Reset4G:1" uncut after the zero of the first colon
    fail_next_read = true;
    Send("SoftReset:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(Texts{KeyLine("a", "Reset4G:1")}, Pairs());
    EXPECT_EQ("[FIFO]fifo msg:a \n", world.log.back().text) << "what the buffer held";
    EXPECT_EQ(1u, world.shell.size()) << "no new pipe";
    EXPECT_TRUE(TakesCommands());
}

TEST_F(FifoTest, MissingFolderAtTheStartIsTriedAgainEveryFiveSeconds) {
    world.Remove("/run/network");
    const int before = OpenDescriptors();
    selects_without_pipe = 0;
    Start();
    EXPECT_EQ(2, selects_without_pipe);
    const Texts at_once = {"[FIFO]fifo creating error\n", kGone};
    EXPECT_EQ(at_once, world.LogOf("thread_function_pipe")) << "the first select waits for nothing";
    EXPECT_EQ(0, world.log[1].at_seconds);
    EXPECT_EQ(3u, world.log[0].level);
    sleep(2 * kListen_seconds);
    EXPECT_EQ(3, world.CountLogged(kGone)) << "now, after 5 and after 10 seconds";
    world.MakeFolder("/run/network");
    sleep(kListen_seconds);
    EXPECT_TRUE(TakesCommands());
    EXPECT_EQ(before + 1, OpenDescriptors()) << "the pipe; what was none is not closed";
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
    sleep(kListen_seconds);
    EXPECT_TRUE(TakesCommands());
}

TEST_F(BlockedPathTest, FolderInTheWayOfARebuildIsWaitedForInSilence) {
    blocked = false;
    Block([this] { world.MakeFolder(kPipe); });
    Start();
    const int with_pipe = OpenDescriptors();
    selects_without_pipe = 0;
    blocked = true;
    world.Remove(kPipe);
    sleep(60);
    EXPECT_EQ(Texts{kGone}, Visible());
    EXPECT_LT(0, selects_without_pipe);
    EXPECT_EQ(with_pipe - 1, OpenDescriptors()) << "the old pipe is closed, and there is no new one";
    blocked = false;
    world.Remove(kPipe);
    sleep(kListen_seconds);
    EXPECT_EQ(with_pipe, OpenDescriptors());
    EXPECT_TRUE(TakesCommands());
}

TEST_F(BlockedPathTest, FileInTheWayOfARebuildIsReadToItsEnd) {
    blocked = false;
    int files = 0;
    Block([this, &files] {
        world.Write(kPipe, "SoftReset:1\n");
        blocked = ++files < 3;
    });
    Start();
    const int before = OpenDescriptors();
    blocked = true;
    world.Remove(kPipe);
    sleep(kListen_seconds);
    EXPECT_EQ(1, cell.m_soft_reset_req) << "a file is as good as a message";
    EXPECT_EQ(3, world.CountLogged(kReadError)) << "its end makes a new pipe";
    EXPECT_EQ(before, OpenDescriptors());
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
    sleep(kListen_seconds);
    EXPECT_EQ(Texts{kGone}, Visible());
    EXPECT_TRUE(TakesCommands());
}

TEST_F(FifoTest, PipeReplacedByAFolderIsNotMissedUntilTheFolderGoes) {
    Start();
    world.Remove(kPipe);
    world.MakeFolder(kPipe);
    sleep(60);
    EXPECT_TRUE(world.log.empty());
    world.Remove(kPipe);
    sleep(kListen_seconds);
    EXPECT_TRUE(TakesCommands());
}

TEST_F(FifoTest, PipeWithoutRightsStaysInUse) {
    Start();
    const int fd = OpenToWrite();
    ASSERT_LE(0, fd);
    ASSERT_EQ(0, chmod(world.RealPath(kPipe).c_str(), 0));
    sleep(2 * kListen_seconds);
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
    sleep(kListen_seconds);
    EXPECT_TRUE(TakesCommands());
}

TEST_F(FifoTest, DescriptorBeyondTheSetOfSelectCountsAsNone) {
    rlimit old_limit = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &old_limit));
    constexpr rlim_t kManyDescriptors = FD_SETSIZE + 64;
    if (old_limit.rlim_max < kManyDescriptors) GTEST_SKIP() << "so many descriptors can't be had";
    const rlimit limit = {std::max(old_limit.rlim_cur, kManyDescriptors), old_limit.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    std::vector<int> held;
    while (held.empty() || held.back() < FD_SETSIZE - 1) held.push_back(dup(STDERR_FILENO));
    const int before = OpenDescriptors();
    Start();
    EXPECT_EQ(Texts{"[FIFO] fifo open error\n"}, Visible());
    world.Remove(kPipe);
    sleep(3 * kListen_seconds);
    EXPECT_EQ(1, world.CountLogged(kGone));
    EXPECT_EQ(before, OpenDescriptors());
    for (const int fd : held) close(fd);
    sleep(1);  // so many calls cost some virtual time
    world.Remove(kPipe);
    sleep(kListen_seconds);
    EXPECT_TRUE(TakesCommands());
    setrlimit(RLIMIT_NOFILE, &old_limit);
}

}  // namespace
