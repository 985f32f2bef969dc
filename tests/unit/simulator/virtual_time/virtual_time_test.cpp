// The virtual world itself: if it lied about time, order or paths, every other suite would prove nothing.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/trace_log.h"
#include "tests/support/test_world.h"

using test_support::ScriptedModem;
using test_support::World;

namespace {

fd_set SetOf(int fd) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    return set;
}

int SelectRead(int fd, timeval* timeout) {
    fd_set set = SetOf(fd);
    return select(fd + 1, &set, nullptr, nullptr, timeout);
}

std::string ReadSome(int fd) {
    char bytes[300];
    const ssize_t count = read(fd, bytes, sizeof(bytes));
    return std::string(bytes, static_cast<size_t>(count < 0 ? 0 : count));
}

void WriteCommand(int fd, const std::string& command) {
    EXPECT_EQ(static_cast<ssize_t>(command.size()), write(fd, command.data(), command.size()));
    EXPECT_EQ(2, write(fd, "\r\n", 2));
}

// Nobody looks at a real clock here: a sleep that were real would take the hour that the test hasn't got.
TEST(VirtualClock, SleepsCostNoRealTime) {
    World world;
    sleep(3600);
    EXPECT_EQ(3600 * 1000, world.now_ms());
    usleep(70000);
    EXPECT_EQ(3600 * 1000 + 70, world.now_ms());
    const timespec half_second = {0, 500000000};
    nanosleep(&half_second, nullptr);
    EXPECT_EQ(3600 * 1000 + 570, world.now_ms());
}

TEST(VirtualClock, UptimeAndWallClockMoveTogether) {
    World world;
    struct sysinfo info;
    ASSERT_EQ(0, sysinfo(&info));
    EXPECT_EQ(1000, info.uptime);
    EXPECT_EQ(1767225600, time(nullptr));
    usleep(1500000);
    ASSERT_EQ(0, sysinfo(&info));
    EXPECT_EQ(1001, info.uptime);
    timeval now;
    ASSERT_EQ(0, gettimeofday(&now, nullptr));
    EXPECT_EQ(1767225601, now.tv_sec);
    EXPECT_EQ(500000, now.tv_usec);
    const time_t seconds = time(nullptr);
    EXPECT_STREQ("Thu Jan  1 00:00:01 2026\n", asctime(localtime(&seconds)));
}

TEST(VirtualClock, IsRealAgainOutsideOfAWorld) {
    { World world; }
    EXPECT_GT(time(nullptr), 1577836800);
    timeval timeout = {0, 1000};
    EXPECT_EQ(0, select(0, nullptr, nullptr, nullptr, &timeout));
}

TEST(VirtualClock, EventsHappenAtTheirTimesAndInTheirOrder) {
    World world;
    std::vector<std::string> order;
    world.At(20, [&] { order.push_back("late"); });
    world.At(10, [&] { order.push_back("first"); });
    world.At(10, [&] { order.push_back("second"); });
    sleep(9);
    EXPECT_TRUE(order.empty());
    sleep(1);
    EXPECT_EQ((std::vector<std::string>{"first", "second"}), order);
    sleep(10);
    EXPECT_EQ("late", order.back());
}

TEST(VirtualClockDeathTest, ALoopWithNoEndIsFound) {
    EXPECT_DEATH(
        {
            World world;
            world.EndAt(100);
            while (true) sleep(1);
        },
        "still running at 100");
}

TEST(VirtualClockDeathTest, WaitingForWhatNeverComesIsFound) {
    EXPECT_DEATH(
        {
            World world;
            ScriptedModem modem(world);
            world.environment().scheduler.Wait(virtual_time::kNever, nullptr);
        },
        "still running|never come");
}

TEST(VirtualClockDeathTest, AnEventMustNotWait) {
    EXPECT_DEATH(
        {
            World world;
            world.At(1, [] { sleep(1); });
            sleep(2);
        },
        "must not wait");
}

TEST(VirtualClock, ABusyLoopIsChargedTime) {
    World world;
    bool done = false;
    world.At(1, [&] { done = true; });
    while (!done) access("/run/network/nothing", F_OK);
    EXPECT_EQ(1000, world.now_ms());
}

// Select and the port

TEST(VirtualPort, SelectStoresTheTimeLeft) {
    World world;
    ScriptedModem modem(world);
    modem.On("AT", "\r\nOK\r\n");
    WriteCommand(modem.fd(), "AT");
    timeval timeout = {1, 0};
    EXPECT_EQ(1, SelectRead(modem.fd(), &timeout));
    EXPECT_EQ(0, timeout.tv_sec);
    EXPECT_EQ(995000, timeout.tv_usec);
    EXPECT_EQ("\r\nOK\r\n", ReadSome(modem.fd()));
    EXPECT_EQ(0, SelectRead(modem.fd(), &timeout));
    EXPECT_EQ(0, timeout.tv_sec);
    EXPECT_EQ(0, timeout.tv_usec);
    EXPECT_EQ(1000, world.now_ms());
}

TEST(VirtualPort, SelectClearsASetThatTimedOut) {
    World world;
    ScriptedModem modem(world);
    fd_set set = SetOf(modem.fd());
    timeval timeout = {0, 1000};
    EXPECT_EQ(0, select(1024, &set, nullptr, nullptr, &timeout));
    EXPECT_FALSE(FD_ISSET(modem.fd(), &set));
}

TEST(VirtualPort, SelectOfAClosedDescriptorIsAnError) {
    World world;
    timeval timeout = {5, 0};
    const int fd = open("/dev/null", O_RDONLY);
    close(fd);
    EXPECT_EQ(-1, SelectRead(fd, &timeout));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(0, world.now_ms());
}

TEST(VirtualPort, ASilentReadReturnsAfterTheLinesOwnTimeOut) {
    World world;
    ScriptedModem modem(world);
    char byte;
    EXPECT_EQ(0, read(modem.fd(), &byte, 1));
    EXPECT_EQ(15000, world.now_ms());
}

TEST(VirtualPort, CommandsKeepALineEndOfTheirOwn) {
    World world;
    ScriptedModem modem(world);
    modem.On("AT+QENG=\"servingcell\"", "\r\nOK\r\n");
    modem.On("AT", "\r\nOK\r\n");
    WriteCommand(modem.fd(), "AT+QENG=\"servingcell\"\r\n");
    timeval timeout = {1, 0};
    EXPECT_EQ(1, SelectRead(modem.fd(), &timeout));
    ASSERT_EQ(4, write(modem.fd(), "AT\r\n", 4));  // in one piece, as the identification writes
    sleep(1);
    EXPECT_EQ((std::vector<std::string>{"AT+QENG=\"servingcell\"\r\n", "AT"}), modem.Sent());
    EXPECT_DOUBLE_EQ(0.005, modem.exchanges[1].at_seconds);
}

TEST(VirtualPort, AnswersComeInTurnAndTheLastRepeats) {
    World world;
    ScriptedModem modem(world);
    modem.OnSequence("AT+CREG?", {"one", "two"});
    std::string answers;
    for (int i = 0; i < 3; i++) {
        WriteCommand(modem.fd(), "AT+CREG?");
        timeval timeout = {1, 0};
        SelectRead(modem.fd(), &timeout);
        answers += ReadSome(modem.fd()) + " ";
    }
    EXPECT_EQ("one two two ", answers);
}

TEST(VirtualPort, AnUnknownCommandFailsTheTestUnlessAllowed) {
    World world;
    ScriptedModem modem(world);
    timeval timeout = {1, 0};
    EXPECT_NONFATAL_FAILURE(
        {
            WriteCommand(modem.fd(), "AT+NONE");
            SelectRead(modem.fd(), &timeout);
        },
        "doesn't know \"AT+NONE\"");
    ReadSome(modem.fd());
    modem.AllowUnknown();
    WriteCommand(modem.fd(), "AT+NONE");
    EXPECT_EQ(1, SelectRead(modem.fd(), &timeout));
    EXPECT_EQ("\r\nERROR\r\n", ReadSome(modem.fd()));
}

TEST(VirtualPort, UnsolicitedTextComesAtItsTime) {
    World world;
    ScriptedModem modem(world);
    modem.Unsolicited(7.5, "\r\nRDY\r\n");
    timeval timeout = {60, 0};
    EXPECT_EQ(1, SelectRead(modem.fd(), &timeout));
    EXPECT_EQ(7500, world.now_ms());
    EXPECT_EQ("\r\nRDY\r\n", ReadSome(modem.fd()));
}

TEST(VirtualPort, AMuteModemIsSilentAndNoted) {
    World world;
    ScriptedModem modem(world);
    modem.On("AT", "\r\nOK\r\n");
    modem.Mute(true);
    WriteCommand(modem.fd(), "AT");
    timeval timeout = {1, 0};
    EXPECT_EQ(0, SelectRead(modem.fd(), &timeout));
    EXPECT_EQ(1u, modem.Sent().size());
}

TEST(VirtualPort, APortThatGoesAwayLooksHungUp) {
    World world;
    ScriptedModem modem(world);
    EXPECT_EQ(0, access("/dev/ttyUSB2", F_OK));
    world.At(2, [&] { modem.Plug(false); });
    timeval timeout = {10, 0};
    EXPECT_EQ(1, SelectRead(modem.fd(), &timeout));  // as the kernel has it: readable, with nothing to read
    EXPECT_EQ(2000, world.now_ms());
    char byte;
    EXPECT_EQ(0, read(modem.fd(), &byte, 1));
    EXPECT_EQ(-1, write(modem.fd(), "AT", 2));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ(-1, access("/dev/ttyUSB2", F_OK));
    EXPECT_EQ(-1, open("/dev/ttyUSB2", O_RDWR | O_NOCTTY));
    modem.Plug(true);
    EXPECT_EQ(0, read(modem.fd(), &byte, 1));  // the old descriptor is dead for good
    const int fd = open("/dev/ttyUSB2", O_RDWR | O_NOCTTY);
    EXPECT_GT(fd, 0);
    close(fd);
}

TEST(VirtualPort, ALoopOverAHungUpPortTakesVirtualTime) {
    World world;
    ScriptedModem modem(world);
    modem.Plug(false);
    timeval timeout = {1, 0};
    int rounds = 0;
    while (timeout.tv_sec > 0 || timeout.tv_usec > 0) {
        SelectRead(modem.fd(), &timeout);
        rounds++;
    }
    EXPECT_EQ(1000, world.now_ms());
    EXPECT_EQ(1000, rounds);
}

TEST(VirtualPort, ALoopOverAPlainFileTakesVirtualTime) {
    World world;
    world.Write("/dev/ttyUSB2", "hello");
    const int fd = open("/dev/ttyUSB2", O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0);
    timeval timeout = {1, 0};
    while (timeout.tv_sec > 0 || timeout.tv_usec > 0) {
        EXPECT_EQ(1, SelectRead(fd, &timeout));  // at its end, and still readable
        ReadSome(fd);
    }
    EXPECT_GE(world.now_ms(), 1000);
    EXPECT_LT(world.now_ms(), 3000);  // a read may be charged too, and doesn't run the time-out down
    close(fd);
}

TEST(VirtualPort, FailingReadsAreErrors) {
    World world;
    ScriptedModem modem(world);
    modem.FailReads(1);
    timeval timeout = {1, 0};
    EXPECT_EQ(1, SelectRead(modem.fd(), &timeout));
    char byte;
    EXPECT_EQ(-1, read(modem.fd(), &byte, 1));
    EXPECT_EQ(0, SelectRead(modem.fd(), &timeout));
}

TEST(VirtualPort, TheLineCanBeSetUp) {
    World world;
    ScriptedModem modem(world);
    termios attributes;
    EXPECT_EQ(0, tcgetattr(modem.fd(), &attributes));
    EXPECT_EQ(0, tcsetattr(modem.fd(), TCSANOW, &attributes));
    modem.Unsolicited(1, "old");
    sleep(2);
    EXPECT_EQ(0, tcflush(modem.fd(), TCIFLUSH));
    timeval timeout = {0, 1000};
    EXPECT_EQ(0, SelectRead(modem.fd(), &timeout));
}

// Paths

TEST(PrivateFolder, FixedPathsAreNotTheMachines) {
    World world;
    FILE* file = fopen("/run/network/ravelin_status", "w");
    ASSERT_NE(nullptr, file);
    fputs("Online=TRUE\n", file);
    fclose(file);
    EXPECT_EQ("Online=TRUE\n", world.Read("/run/network/ravelin_status"));
    struct stat info;
    EXPECT_EQ(0, stat("/run/network/ravelin_status", &info));
    EXPECT_EQ(12, info.st_size);
    EXPECT_EQ(0, unlink("/run/network/ravelin_status"));
    EXPECT_FALSE(world.Exists("/run/network/ravelin_status"));
    world.Write("/proc/cpuinfo", "Hardware : Freescale i.MX6 UltraLite\n");
    file = fopen("/proc/cpuinfo", "rb");
    char line[100];
    ASSERT_NE(nullptr, fgets(line, sizeof(line), file));
    EXPECT_STREQ("Hardware : Freescale i.MX6 UltraLite\n", line);
    fclose(file);
}

TEST(PrivateFolder, OtherPathsStayWhereTheyAre) {
    World world;
    EXPECT_EQ(0, access("/dev/null", F_OK));
    EXPECT_EQ(0, access("/proc/self/status", R_OK));
    EXPECT_FALSE(virtual_time::PrivateFolder::Moves("/run/networks"));
    EXPECT_TRUE(virtual_time::PrivateFolder::Moves("/run/network"));
    EXPECT_FALSE(virtual_time::PrivateFolder::Moves("/dev/shm/x"));
}

TEST(PrivateFolder, DevHoldsThePresentPorts) {
    World world;
    ScriptedModem modem(world, "/dev/ttyACM0");
    DIR* folder = opendir("/dev");
    ASSERT_NE(nullptr, folder);
    std::string names;
    while (dirent* entry = readdir(folder)) {
        if (entry->d_name[0] != '.') names += entry->d_name;
    }
    closedir(folder);
    EXPECT_EQ("ttyACM0", names);
    EXPECT_EQ(-1, open("/dev/", O_RDWR));
}

TEST(PrivateFolder, IsGoneAfterTheWorld) {
    std::string place;
    {
        World world;
        world.Write("/run/network/x", "y");
        place = world.RealPath("/run/network/x");
        EXPECT_EQ(0, access(place.c_str(), F_OK));
    }
    EXPECT_EQ(-1, access(place.c_str(), F_OK));
}

TEST(PrivateFolderDeathTest, OneThatACrashLeftIsClearedAway) {
    char place[] = "/tmp/virtual-place-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(place));
    setenv("TMPDIR", place, 1);
    EXPECT_DEATH(
        {
            virtual_time::PrivateFolder folder;
            abort();
        },
        "");
    const auto count_folders = [&place] {
        int count = 0;
        DIR* folder = opendir(place);
        while (dirent* entry = readdir(folder)) count += entry->d_name[0] != '.' ? 1 : 0;
        closedir(folder);
        return count;
    };
    EXPECT_EQ(1, count_folders());
    {
        const virtual_time::PrivateFolder used;
        EXPECT_EQ(2, count_folders()) << "a young folder may be in the making";
    }
    namespace fs = std::filesystem;
    const fs::file_time_type long_ago = fs::file_time_type::clock::now() - std::chrono::minutes(2);
    for (const fs::directory_entry& entry : fs::directory_iterator(place)) {
        fs::last_write_time(entry.path() / ".lock", long_ago);
    }
    {
        const virtual_time::PrivateFolder used;
        const virtual_time::PrivateFolder used_too;
        EXPECT_EQ(2, count_folders());
    }
    unsetenv("TMPDIR");
    EXPECT_EQ(0, rmdir(place));
}

// Shell

TEST(VirtualShell, CommandsAreNotedWithTheirTimes) {
    World world;
    bool reset = false;
    world.OnSystem("Reset4G.sh start pin_rst", [&] { reset = true; });
    sleep(3);
    EXPECT_EQ(0, system("/ubi/local/apps/network/Reset4G.sh start pin_rst"));
    EXPECT_TRUE(reset);
    ASSERT_EQ(1u, world.shell.size());
    EXPECT_DOUBLE_EQ(3.0, world.shell[0].at_seconds);
    EXPECT_FALSE(world.shell[0].is_popen);
}

TEST(VirtualShell, AFewCommandsActOnTheFolder) {
    World world;
    system("rm -rf /run/network/ravelin_fifo");
    EXPECT_FALSE(world.Exists("/run/network/ravelin_fifo"));
    system("echo 1 > /sys/class/gpio/gpio130/value");
    EXPECT_EQ("1\n", world.Read("/sys/class/gpio/gpio130/value"));
    world.Remove("/run/network");
    system("mkdir /run/network/ -p");
    EXPECT_TRUE(world.Exists("/run/network"));
}

TEST(VirtualShell, NothingOutsideOfTheFolderIsTouched) {
    char path[] = "/tmp/virtual-shell-XXXXXX";
    close(mkstemp(path));
    {
        World world;
        system((std::string("rm -rf ") + path).c_str());
        system((std::string("echo gone > ") + path).c_str());
    }
    struct stat info;
    EXPECT_EQ(0, stat(path, &info));
    EXPECT_EQ(0, info.st_size);
    unlink(path);
}

TEST(VirtualShell, PopenGivesWhatItWasTold) {
    World world;
    world.AnswerPopen("ping  8.8.8.8", "3\n");
    world.FailPopen("QFirehose");
    FILE* stream = popen("ping  8.8.8.8  -c 3", "r");
    ASSERT_NE(nullptr, stream);
    char line[64];
    EXPECT_STREQ("3\n", fgets(line, sizeof(line), stream));
    EXPECT_EQ(nullptr, fgets(line, sizeof(line), stream));
    EXPECT_EQ(0, pclose(stream));
    EXPECT_EQ(nullptr, popen("QFirehose -f x", "r"));
    stream = popen("something else", "r");
    EXPECT_EQ(nullptr, fgets(line, sizeof(line), stream));
    pclose(stream);
    EXPECT_EQ(3u, world.shell.size());
    EXPECT_TRUE(world.shell[0].is_popen);
}

TEST(VirtualShell, PopenCanBeSlow) {
    World world;
    world.AnswerPopenSlowly("tool", "one\ntwo\n", 5);
    FILE* stream = popen("tool", "r");
    char line[64];
    EXPECT_STREQ("one\n", fgets(line, sizeof(line), stream));
    EXPECT_EQ(5000, world.now_ms());
    EXPECT_STREQ("two\n", fgets(line, sizeof(line), stream));
    EXPECT_EQ(10000, world.now_ms());
    pclose(stream);
}

// Threads

struct Diary {
    std::string text;
};

void* WriteDiary(void* argument) {
    Diary* diary = static_cast<Diary*>(argument);
    for (int i = 0; i < 3; i++) {
        diary->text += "b";
        sleep(2);
    }
    return nullptr;
}

TEST(VirtualThreads, RunOneAtATimeInAFixedOrder) {
    for (int run = 0; run < 20; run++) {
        World world;
        Diary diary;
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, WriteDiary, &diary));
        diary.text += "a";  // the creator goes on
        for (int i = 0; i < 3; i++) {
            sleep(2);
            diary.text += "a";
        }
        EXPECT_EQ("abababa",
                  diary.text);  // at equal times the lower number goes first, and the creator has it
        pthread_join(thread, nullptr);
        EXPECT_EQ(6000, world.now_ms());
    }
}

TEST(VirtualThreads, ThreadsOfTheStandardLibraryToo) {
    World world;
    int64_t seen_ms = 0;
    std::thread thread([&] {
        sleep(5);
        seen_ms = world.now_ms();
    });
    thread.join();
    EXPECT_EQ(5000, seen_ms);
}

TEST(VirtualThreads, CanFailToStart) {
    World world;
    world.FailThreads(true);
    pthread_t thread;
    EXPECT_NE(0, pthread_create(&thread, nullptr, WriteDiary, nullptr));
}

void* SleepForEver(void*) {
    while (true) sleep(1);
}

TEST(VirtualThreads, OneThatNeverEndsDoesNotHoldUpTheTest) {
    for (int run = 0; run < 3; run++) {
        World world;
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, SleepForEver, nullptr));
        ASSERT_EQ(0, pthread_detach(thread));
        sleep(10);
    }
}

struct FifoReader {
    std::string text;
    std::vector<double> times;
    World* world;
};

void* ReadFifo(void* argument) {
    FifoReader* reader = static_cast<FifoReader*>(argument);
    const int fd = open("/run/network/ravelin_fifo", O_RDWR | O_NONBLOCK);
    while (reader->text.find("end") == std::string::npos) {
        timeval timeout = {5, 0};
        if (SelectRead(fd, &timeout) > 0) reader->text += ReadSome(fd);
        reader->times.push_back(reader->world->now_seconds());
    }
    close(fd);
    return nullptr;
}

TEST(VirtualThreads, APipeWakesItsReaderAtTheTimeOfTheWrite) {
    World world;
    ASSERT_EQ(0, mkfifo("/run/network/ravelin_fifo", 0660));
    FifoReader reader{"", {}, &world};
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, ReadFifo, &reader));
    world.At(12, [] {
        const int fd = open("/run/network/ravelin_fifo", O_WRONLY | O_NONBLOCK);
        ASSERT_EQ(3, write(fd, "end", 3));
        close(fd);
    });
    pthread_join(thread, nullptr);
    EXPECT_EQ((std::vector<double>{5, 10, 12}), reader.times);
}

void* TypeReader(void* argument) {
    char* line = nullptr;
    size_t size = 0;
    if (getdelim(&line, &size, '\n', stdin) > 0) *static_cast<std::string*>(argument) = line;
    free(line);
    return nullptr;
}

TEST(VirtualThreads, TypedLinesReachTheReaderOfStandardInput) {
    World world;
    std::string line;
    world.At(4, [&] { world.Type("AT+CSQ"); });
    std::thread thread(TypeReader, &line);
    thread.join();
    EXPECT_EQ("AT+CSQ\n", line);
    EXPECT_EQ(4000, world.now_ms());
}

// Log and bus

TEST(TestWorld, CapturesTheLogAsFormatted) {
    World world;
    sleep(1);
    TRACE(7, "value %d of %s\n", 5, "it");
    ASSERT_EQ(1u, world.log.size());
    EXPECT_TRUE(world.Logged(7, "value 5 of it\n"));
    EXPECT_FALSE(world.Logged(5, "value 5 of it\n"));
    EXPECT_EQ("tests/unit/simulator/virtual_time/virtual_time_test.cpp", world.log[0].file);
    EXPECT_EQ("TestBody", world.log[0].function);
    EXPECT_DOUBLE_EQ(1.0, world.log[0].at_seconds);
    EXPECT_EQ((std::vector<std::string>{"value 5 of it\n"}), world.LogOf("TestBody"));
}

TEST(TestWorld, NotesSentFrames) {
    World world;
    unsigned char frame[] = {0xFF, 0x6A};
    char destination[] = "OCPP.Message";
    busglue_send_record record = {2, frame, destination, 700};
    EXPECT_EQ(0, dbs_send_method_async(&record, nullptr));
    ASSERT_EQ(1u, world.sent_frames.size());
    EXPECT_EQ((std::vector<uint8_t>{0xFF, 0x6A}), world.sent_frames[0]);
    EXPECT_EQ(700, world.sent_records[0].fourth);
}

}  // namespace
