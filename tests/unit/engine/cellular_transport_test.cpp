#include "network_daemon/cellular.h"

#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::ScriptedModem;
using test_support::World;

class Transport : public testing::Test {
  protected:
    World world;
    ScriptedModem modem{world};
    PlainCell cell{modem.fd()};
};

TEST_F(Transport, SilentModemGivesEmptyTextAfterOneSecond) {
    modem.Mute(true);
    const int64_t start_ms = world.now_ms();
    const char* answer = cell.AtRequest("AT");
    ASSERT_NE(answer, nullptr);
    EXPECT_STREQ(answer, "");
    EXPECT_EQ(world.now_ms() - start_ms, 1001);  // the drain waits 1 ms for its part
}

TEST_F(Transport, ExchangeLastsItsWaitEvenWhenTheModemAnswersAtOnce) {
    modem.On("AT", "\r\nOK\r\n");
    const int64_t start_ms = world.now_ms();
    EXPECT_STREQ(cell.AtRequest("AT"), "\r\nOK\r\n");
    EXPECT_EQ(world.now_ms() - start_ms, 1001);
}

TEST_F(Transport, LongExchangeLastsItsSeconds) {
    modem.On("AT$QCRMCALL=1,1", "\r\n$QCRMCALL: 1\r\n\r\nOK\r\n");
    const int64_t start_ms = world.now_ms();
    EXPECT_STREQ(cell.AtRequest_xs("AT$QCRMCALL=1,1", 10), "\r\n$QCRMCALL: 1\r\n\r\nOK\r\n");
    EXPECT_EQ(world.now_ms() - start_ms, 10001);
}

TEST_F(Transport, PendingUnsolicitedLineIsDroppedAsRedundance) {
    modem.On("AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
    modem.Unsolicited(0.5, "\r\n+NWTYPEIND: 7\r\n");
    sleep(1);
    EXPECT_STREQ(cell.AtRequest("AT+CSQ"), "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
    EXPECT_EQ(world.LogOf("AtRequest").at(0), "Redundance:\r\n+NWTYPEIND: 7\r\n \n");
    EXPECT_TRUE(world.Logged(7, "Redundance:\r\n+NWTYPEIND: 7\r\n \n"));
}

TEST_F(Transport, AnswerOf300BytesIsCutAndItsRestDroppedByTheNextExchange) {
    const std::string answer = std::string(256, 'a') + std::string(44, 'b');
    modem.On("ATI", answer);
    modem.On("AT", "\r\nOK\r\n");
    EXPECT_EQ(std::string(cell.AtRequest("ATI")), std::string(256, 'a'));
    EXPECT_STREQ(cell.AtRequest("AT"), "\r\nOK\r\n");
    EXPECT_TRUE(world.Logged(7, "Redundance:" + std::string(44, 'b') + " \n"));
}

TEST_F(Transport, DroppedBlockShowsNothingOfALongerOneBeforeIt) {
    modem.On("ATI", std::string(256, 'a') + std::string(256, 'b') + std::string(10, 'c'));
    modem.On("AT", "\r\nOK\r\n");
    cell.AtRequest("ATI");
    cell.AtRequest("AT");
    EXPECT_TRUE(world.Logged(7, "Redundance:" + std::string(256, 'b') + " \n"));
    EXPECT_TRUE(world.Logged(7, "Redundance:" + std::string(10, 'c') + " \n"));
}

TEST_F(Transport, BlockThatBeginsWithANulByteIsDroppedLikeAnyOther) {
    modem.On("ATI", std::string(256, 'a') + std::string(256, '\0') + std::string(10, 'c'));
    modem.On("AT", "\r\nOK\r\n");
    cell.AtRequest("ATI");
    EXPECT_STREQ(cell.AtRequest("AT"), "\r\nOK\r\n");
    EXPECT_TRUE(world.Logged(7, "Redundance: \n"));
    EXPECT_TRUE(world.Logged(7, "Redundance:" + std::string(10, 'c') + " \n"));
}

TEST_F(Transport, AnswerOfOneByteIsAnAnswer) {
    modem.On("AT", "0");
    EXPECT_STREQ(cell.AtRequest("AT"), "0");
}

TEST_F(Transport, BlockOfOneByteIsDroppedLikeAnyOther) {
    modem.On("ATI", std::string(257, 'a'));
    modem.On("AT", "\r\nOK\r\n");
    cell.AtRequest("ATI");
    EXPECT_STREQ(cell.AtRequest("AT"), "\r\nOK\r\n");
    EXPECT_TRUE(world.Logged(7, "Redundance:a \n"));
}

TEST_F(Transport, SilenceAfterADroppedBlockIsAnEmptyAnswer) {
    modem.On("AT", "");
    modem.Unsolicited(0.5, "\r\nRING\r\n");
    sleep(1);
    EXPECT_STREQ(cell.AtRequest("AT"), "");
}

TEST_F(Transport, CommandWithItsOwnLineEndGetsASecondOne) {
    modem.On("AT+QNETDEVCTL?", "\r\nOK\r\n");
    cell.AtRequest("AT+QNETDEVCTL?\r\n");
    ASSERT_EQ(modem.Sent().size(), 1u);
    EXPECT_EQ(modem.Sent()[0], "AT+QNETDEVCTL?\r\n");
}

TEST_F(Transport, ShortExchangeLogsPortCommandAndAnswerInItsOwnName) {
    modem.On("AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
    cell.AtRequest("AT+CSQ");
    ASSERT_EQ(world.log.size(), 1u);
    EXPECT_EQ(world.log[0].text, "\nfd=" + std::to_string(modem.fd()) +
                                     ",AT WRITE:\nAT+CSQ\nAT RETURN:\r\n+CSQ: 23,99\r\n\r\nOK\r\n\n");
    EXPECT_EQ(world.log[0].level, 7u);
    EXPECT_EQ(world.log[0].function, "AtRequest");
    EXPECT_EQ(world.log[0].file, "network_daemon/cellular_transport.cpp");
}

TEST_F(Transport, LongExchangeLogsWithoutThePortInItsOwnName) {
    modem.On("AT+ZSRSP?", "\r\nOK\r\n");
    cell.AtRequest_xs("AT+ZSRSP?", 3);
    ASSERT_EQ(world.log.size(), 1u);
    EXPECT_EQ(world.log[0].text, "\nAT WRITE:\nAT+ZSRSP?\nAT RETURN:\r\nOK\r\n\n");
    EXPECT_EQ(world.log[0].level, 7u);
    EXPECT_EQ(world.log[0].function, "AtRequest_xs");
}

TEST_F(Transport, WhatIsDroppedIsLoggedInTheNameOfTheExchange) {
    modem.On("ATI", std::string(300, 'a'));
    modem.On("AT", "\r\nOK\r\n");
    cell.AtRequest("ATI");
    cell.AtRequest_xs("AT", 1);
    EXPECT_EQ(world.LogOf("AtRequest_xs").at(0), "Redundance:" + std::string(44, 'a') + " \n");
}

TEST_F(Transport, PercentSignsOfAModemStayText) {
    modem.On("ATI", "\r\n%s%n%d 100%\r\n");
    EXPECT_STREQ(cell.AtRequest("ATI"), "\r\n%s%n%d 100%\r\n");
    EXPECT_NE(world.log.at(0).text.find("%s%n%d 100%"), std::string::npos);
}

TEST_F(Transport, NulByteEndsTheTextOfAnAnswer) {
    modem.On("ATI", std::string("\r\nab\0cd\r\n", 9));
    EXPECT_STREQ(cell.AtRequest("ATI"), "\r\nab");
}

TEST_F(Transport, DeadPortLooksLikeASilentModem) {
    modem.On("AT", "\r\nOK\r\n");
    cell.AtRequest("AT");
    modem.Plug(false);
    EXPECT_STREQ(cell.AtRequest("AT"), "");
    EXPECT_STREQ(cell.AtRequest_xs("AT", 1), "");
    cell.m_cell_fd = -1;
    EXPECT_STREQ(cell.AtRequest("AT"), "");
}

// Each failed read takes 1 off the count of bytes: a count below zero is no text, and no place in a buffer.
TEST_F(Transport, FailedReadsCountAsSilence) {
    modem.On("AT", "\r\nOK\r\n");
    modem.Unsolicited(0.5, "abc");
    sleep(1);
    // A look a millisecond: one while old text is dropped, four while the answer is awaited.
    modem.FailReads(5);
    EXPECT_STREQ(cell.AtRequest("AT"), "\r\nOK\r") << "behind four failures and three bytes it begins at -1";
    EXPECT_EQ(world.log.size(), 1u);  // nothing was dropped as a text
}

TEST_F(Transport, AnswersOfTheTwoFormsLieInBuffersOfTheirOwn) {
    modem.On("AT+A", "first");
    modem.On("AT+B", "second");
    const char* of_short_form = cell.AtRequest("AT+A");
    const char* of_long_form = cell.AtRequest_xs("AT+B", 1);
    EXPECT_STREQ(of_short_form, "first");
    EXPECT_STREQ(of_long_form, "second");
    EXPECT_EQ(cell.AtRequest("AT+B"), of_short_form);
}

// The console

constexpr char kPrompt[] = "\n=================================DBG MODE=================================";

// The console never returns: it runs in a process of its own, which ends some time after the last line was
// typed and then prints what the modem got. Standard output goes where the parent looks.
class ConsoleDeathTest : public Transport {
  protected:
    void RunConsole(const std::vector<std::string>& typed) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        for (const std::string& line : typed) world.Type(line);
        world.At(60, [this] {
            for (const std::string& command : modem.Sent()) fprintf(stderr, "[%s]", command.c_str());
            _exit(0);
        });
        cell.DebugTerminal();
    }
    void TypeCtrlD() { world.environment().Type(""); }
};

TEST_F(ConsoleDeathTest, SendsEachLineAndShowsTheAnswer) {
    modem.On("AT", "\r\nOK\r\n");
    modem.On("AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
    EXPECT_EXIT(RunConsole({"AT", "AT+CSQ"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nOK\r\n\r\n+CSQ: 23,99\r\n\r\nOK\r\n[AT][AT+CSQ]")));
}

TEST_F(ConsoleDeathTest, CutsTheLineAtItsFirstLineEnd) {
    modem.On("AT", "\r\nOK\r\n");
    EXPECT_EXIT(RunConsole({"AT\rI\r"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nOK\r\n[AT]")));
}

TEST_F(ConsoleDeathTest, SendsAnEmptyLine) {
    modem.On("", "");
    EXPECT_EXIT(RunConsole({""}), testing::ExitedWithCode(0), testing::Eq(kPrompt + std::string("[]")));
}

TEST_F(ConsoleDeathTest, SendsNothingForCtrlD) {
    modem.On("AT", "\r\nOK\r\n");
    TypeCtrlD();
    world.Type("AT");
    TypeCtrlD();
    EXPECT_EXIT(RunConsole({"AT"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nOK\r\n\r\nOK\r\n[AT][AT]")));
}

TEST_F(ConsoleDeathTest, BearsALineLongerThanAnyCommand) {
    const std::string line(5000, 'A');
    modem.On(line, "\r\nERROR\r\n");
    EXPECT_EXIT(RunConsole({line}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nERROR\r\n[") + line + "]"));
}

TEST_F(ConsoleDeathTest, ShowsAnAnswerOf300BytesWhole) {
    const std::string answer = std::string(256, 'a') + std::string(44, 'b');
    modem.On("ATI", answer);
    EXPECT_EXIT(RunConsole({"ATI"}), testing::ExitedWithCode(0), testing::Eq(kPrompt + answer + "[ATI]"));
}

TEST_F(ConsoleDeathTest, ShowsAnAnswerOfOneByte) {
    modem.On("ATI", std::string(256, 'a') + "b");
    modem.On("AT", "0");
    EXPECT_EXIT(RunConsole({"ATI", "AT"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string(256, 'a') + "b0[ATI][AT]"));
}

TEST_F(ConsoleDeathTest, ShowsPercentSignsAsTheyCame) {
    modem.On("ATI", "%s%n%d");
    EXPECT_EXIT(RunConsole({"ATI"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("%s%n%d[ATI]")));
}

TEST_F(ConsoleDeathTest, ShowsWhatWasPendingInsteadOfDroppingIt) {
    modem.On("AT", "\r\nOK\r\n");
    modem.Unsolicited(0.5, "\r\nRING\r\n");
    sleep(1);
    EXPECT_EXIT(RunConsole({"AT"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nRING\r\n\r\nOK\r\n[AT]")));
}

// Without a world, standard input is the real one: pieces of input here, an empty one for its end, and the
// end of the process when they are used up.
struct ScriptedInput {
    static constexpr unsigned kStuck_seconds = 600;  // of real time: a console that doesn't ask for more

    static ssize_t Read(void* cookie, char* buffer, size_t size) {
        auto& pieces = static_cast<ScriptedInput*>(cookie)->pieces;
        if (pieces.empty()) _exit(0);
        const size_t count = pieces.front().copy(buffer, size);
        pieces.erase(pieces.begin());
        return static_cast<ssize_t>(count);
    }

    std::vector<std::string> pieces;
};

TEST(ConsoleInputDeathTest, IsReadAgainAtItsEnd) {
    ScriptedInput input{{"", "", "AT\n", ""}};
    PlainCell cell(-1);
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            cookie_io_functions_t functions = {};
            functions.read = ScriptedInput::Read;
            stdin = fopencookie(&input, "r", functions);
            alarm(ScriptedInput::kStuck_seconds);
            cell.DebugTerminal();
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace cc_cell
