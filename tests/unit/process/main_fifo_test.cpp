// Module main_fifo: what comes through the pipe. Commands, the lines and words that they stand in, and input
// that is none. The pipe itself: main_fifo_pipe_test.cpp.
#include "network_daemon/main.h"

#include <unistd.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/fifo_fixture.h"

using test_support::World;

namespace {

constexpr size_t kMessageSize = 512;

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
    EXPECT_EQ(KeyLine(expected.key, expected.value), world.log[0].text);
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
    EXPECT_EQ(Texts{KeyLine("SoftReset", "1\r")}, Pairs());
    EXPECT_TRUE(Visible().empty());
}

TEST_F(FifoTest, SoftResetWithAnotherValueLogsItsKeyAlone) {
    Start();
    Send("SoftReset:0\n");
    Send("SoftReset:11\n");
    EXPECT_TRUE(NothingRequested());
    const Texts pairs = {KeyLine("SoftReset", "0"), KeyLine("SoftReset", "11")};
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
    sleep(2 * kListen_seconds);
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
    sleep(2 * kListen_seconds);
    EXPECT_TRUE(NothingRequested()) << "dropped, not kept";
    Send("Reset4G:1\n");
    EXPECT_EQ(1, cell.m_device_reset_req);
}

TEST_F(FifoTest, KeysAreCaseSensitive) {
    Start();
    Send("softreset:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(Texts{KeyLine("softreset", "1")}, world.LogOf("handle_command"));
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
    EXPECT_EQ(Texts{KeyLine("a", "b")}, Pairs());
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
    EXPECT_EQ(Texts{KeyLine("a", "b:c")}, Pairs());
}

TEST_F(FifoTest, WordThatBeginsWithAColonHasAnEmptyKey) {
    Start();
    Send(":1\n:\n");
    const Texts pairs = {KeyLine("", "1"), KeyLine("", "")};
    EXPECT_EQ(pairs, Pairs());
    EXPECT_TRUE(NothingRequested());
    EXPECT_TRUE(Visible().empty());
}

TEST_F(FifoTest, LineCarriesSeveralPairs) {
    Start();
    Send("  Reset4G:1   nothing SoftReset:1 \n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_EQ(1, cell.m_device_reset_req);
    const Texts pairs = {KeyLine("Reset4G", "1"), KeyLine("SoftReset", "1")};
    EXPECT_EQ(pairs, Pairs());
}

TEST_F(FifoTest, MessageCarriesSeveralLines) {
    Start();
    Send("a:1\nb:2\n\nc:3");
    const Texts pairs = {KeyLine("a", "1"), KeyLine("b", "2"), KeyLine("c", "3")};
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
    const Texts pairs = {KeyLine("a", "1"), KeyLine("SoftReset", "1"), KeyLine("b", "2")};
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
    EXPECT_EQ(KeyLine("SoftReset", "G"), Pairs().back());
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
    EXPECT_EQ(Texts{KeyLine("%s%n", "%s%n")}, Pairs());
}

TEST_F(FifoTest, FullBufferWithoutLineEndIsOneText) {
    Start();
    const std::string value(kMessageSize - 2, 'x');
    Send("k:" + value);
    EXPECT_EQ(Texts{KeyLine("k", value)}, Pairs());
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
    EXPECT_EQ(Texts{KeyLine("", std::string(kMessageSize - 1, ':'))}, Pairs());
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
    EXPECT_EQ(kLines, world.CountLogged(KeyLine("flood", "1")));
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
    EXPECT_TRUE(world.Exists(kPipe));
}

TEST_F(FifoTest, LineInTwoWritesIsTwoMessages) {
    Start();
    Send("SoftRe");
    Send("set:1\n");
    EXPECT_TRUE(NothingRequested());
    EXPECT_EQ(Texts{KeyLine("set", "1")}, Pairs());
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
    const Texts pairs = {KeyLine("a", "1"), KeyLine("b", "2"), KeyLine("c", "3"), KeyLine("d", "4")};
    EXPECT_EQ(pairs, Pairs());
    close(third);
    close(one);
    sleep(2 * kListen_seconds);
    EXPECT_EQ(0, world.CountLogged(kReadError)) << "the last writer leaves no end of file";
    Send("SoftReset:1\n");
    EXPECT_EQ(1, cell.m_soft_reset_req);
}

}  // namespace
