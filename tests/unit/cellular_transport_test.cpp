#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "cellular.h"
#include "plain_cell.h"
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

TEST_F(Transport, CommandWithItsOwnLineEndGetsASecondOne) {
    modem.On("AT+QNETDEVCTL?\r\n", "\r\nOK\r\n");
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

TEST_F(Transport, AnswersOfTheTwoFormsLieInBuffersOfTheirOwn) {
    modem.On("AT+A", "first");
    modem.On("AT+B", "second");
    const char* of_short_form = cell.AtRequest("AT+A");
    const char* of_long_form = cell.AtRequest_xs("AT+B", 1);
    EXPECT_STREQ(of_short_form, "first");
    EXPECT_STREQ(of_long_form, "second");
    EXPECT_EQ(cell.AtRequest("AT+B"), of_short_form);
}

// ---- the console ------------------------------------------------------------------------------------------

constexpr char kPrompt[] = "\n=================================DBG MODE=================================";

// The console never returns: it runs in a process of its own, on a standard input that ends the process when
// it is used up. Standard output goes where the parent looks.
class ConsoleDeathTest : public Transport {
  protected:
    static constexpr char kEndOfInput[] = "";
    static constexpr unsigned kStuck_seconds = 20;  // of real time: a console that never asks for more input

    void RunConsole(std::vector<std::string> pieces) {
        input = std::move(pieces);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        cookie_io_functions_t functions = {};
        functions.read = ReadPiece;
        stdin = fopencookie(this, "r", functions);
        alarm(kStuck_seconds);
        cell.DebugTerminal();
    }

    static ssize_t ReadPiece(void* cookie, char* buffer, size_t size) {
        auto& test = *static_cast<ConsoleDeathTest*>(cookie);
        if (test.input.empty()) {
            for (const std::string& command : test.modem.Sent()) fprintf(stderr, "[%s]", command.c_str());
            _exit(0);
        }
        std::string& piece = test.input.front();
        const size_t count = std::min(size, piece.size());
        memcpy(buffer, piece.data(), count);
        piece.erase(0, count);
        if (piece.empty()) test.input.erase(test.input.begin());
        return static_cast<ssize_t>(count);
    }

    std::vector<std::string> input;
};

TEST_F(ConsoleDeathTest, SendsEachLineAndShowsTheAnswer) {
    modem.On("AT", "\r\nOK\r\n");
    modem.On("AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
    EXPECT_EXIT(RunConsole({"AT\n", "AT+CSQ\n"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nOK\r\n\r\n+CSQ: 23,99\r\n\r\nOK\r\n[AT][AT+CSQ]")));
}

TEST_F(ConsoleDeathTest, CutsTheLineAtItsFirstLineEnd) {
    modem.On("AT", "\r\nOK\r\n");
    EXPECT_EXIT(RunConsole({"AT\rI\r\n"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nOK\r\n[AT]")));
}

TEST_F(ConsoleDeathTest, SendsAnEmptyLine) {
    modem.On("", "");
    EXPECT_EXIT(RunConsole({"\n"}), testing::ExitedWithCode(0), testing::Eq(kPrompt + std::string("[]")));
}

TEST_F(ConsoleDeathTest, ReadsAgainAtTheEndOfInput) {
    modem.On("AT", "\r\nOK\r\n");
    EXPECT_EXIT(RunConsole({kEndOfInput, kEndOfInput, "AT\n"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nOK\r\n[AT]")));
}

TEST_F(ConsoleDeathTest, BearsALineLongerThanAnyCommand) {
    const std::string line(5000, 'A');
    modem.On(line, "\r\nERROR\r\n");
    EXPECT_EXIT(RunConsole({line + "\n"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nERROR\r\n[") + line + "]"));
}

TEST_F(ConsoleDeathTest, ShowsAnAnswerOf300BytesWhole) {
    const std::string answer = std::string(256, 'a') + std::string(44, 'b');
    modem.On("ATI", answer);
    EXPECT_EXIT(RunConsole({"ATI\n"}), testing::ExitedWithCode(0), testing::Eq(kPrompt + answer + "[ATI]"));
}

TEST_F(ConsoleDeathTest, ShowsPercentSignsAsTheyCame) {
    modem.On("ATI", "%s%n%d");
    EXPECT_EXIT(RunConsole({"ATI\n"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("%s%n%d[ATI]")));
}

TEST_F(ConsoleDeathTest, ShowsWhatWasPendingInsteadOfDroppingIt) {
    modem.On("AT", "\r\nOK\r\n");
    modem.Unsolicited(0.5, "\r\nRING\r\n");
    sleep(1);
    EXPECT_EXIT(RunConsole({"AT\n"}), testing::ExitedWithCode(0),
                testing::Eq(kPrompt + std::string("\r\nRING\r\n\r\nOK\r\n[AT]")));
}

}  // namespace
}  // namespace cc_cell
