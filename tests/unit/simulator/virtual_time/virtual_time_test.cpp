// The virtual world as the other suites use it: the modem's port, pipes and standard input, the captured log
// and the bus. Time and threads, paths, and the shell have suites of their own.
#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

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
    for (int i = 0; i < 3; ++i) {
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
        ++rounds;
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
    EXPECT_EQ(static_cast<tcflag_t>(CS8), attributes.c_cflag & CSIZE);
    attributes.c_cflag |= CSTOPB;
    EXPECT_EQ(0, tcsetattr(modem.fd(), TCSANOW, &attributes));
    termios kept;
    EXPECT_EQ(0, tcgetattr(modem.fd(), &kept));
    EXPECT_EQ(attributes.c_cflag, kept.c_cflag);
    modem.Unsolicited(1, "old");
    sleep(2);
    EXPECT_EQ(0, tcflush(modem.fd(), TCIFLUSH));
    timeval timeout = {0, 1000};
    EXPECT_EQ(0, SelectRead(modem.fd(), &timeout));
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
