// The modem model: commands, the line between modem and host with what knobs do to it, and whole runs. What
// stands behind the commands: modem_device_test.cpp.
#include "simulator/modem/modem_model.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/modem_model_fixture.h"

namespace {

using modem_sim::Modem;
using modem_sim::ModemOptions;

// Commands

TEST_F(ModemModel, AnswersInTheFormOfARealModem) {
    EXPECT_EQ(Ask("AT+CSQ"), "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
}

TEST_F(ModemModel, EchoIsOnAtTheStartAndEndsWithTheCarriageReturn) {
    Modem fresh{ModemOptions{}};
    fresh.Receive("AT+CIMI\r\n", 0);
    EXPECT_EQ(fresh.TakeOutput(0, kAll), "AT+CIMI\r\r\n460001112223334\r\n\r\nOK\r\n");
}

TEST_F(ModemModel, EchoFollowsAte0Ate1AtzAndFactoryReset) {
    EXPECT_EQ(Ask("AT"), kOk);
    EXPECT_EQ(Ask("ATE1"), kOk);
    EXPECT_EQ(Ask("ATE0"), "ATE0\r" + kOk);
    EXPECT_EQ(Ask("ATZ"), kOk);
    EXPECT_EQ(Ask("ATE0"), "ATE0\r" + kOk);
    EXPECT_EQ(Ask("AT&F"), kOk);
    EXPECT_EQ(Ask("AT"), "AT\r" + kOk);
}

TEST_F(ModemModel, LettersAndBlanksOfACommandDontMatterOutsideQuotes) {
    EXPECT_EQ(Ask("at + csq"), Answer("+CSQ: 23,99"));
    EXPECT_EQ(Ask("at+Qcfg=\"usbnet\",1"), kOk);
    EXPECT_EQ(Ask("AT+QCFG=\"USBNET\",1"), kError);
}

TEST_F(ModemModel, CommandArrivesInPiecesAndWithASecondLineEnd) {
    test_modem.Receive("AT+", test_now_ms);
    EXPECT_EQ(After(500), "");
    test_modem.Receive("CSQ", test_now_ms);
    test_modem.Receive("\r\n", test_now_ms);
    EXPECT_EQ(After(0), Answer("+CSQ: 23,99"));
    test_modem.Receive("AT+CSQ\r\n\r\n", test_now_ms);
    EXPECT_EQ(After(0), Answer("+CSQ: 23,99"));
}

TEST_F(ModemModel, LinesThatAreNoCommandGetNoAnswerAndNoiseInFrontOfOneIsPassedOver) {
    EXPECT_EQ(Ask("hello"), "");
    EXPECT_EQ(Ask(""), "");
    EXPECT_EQ(Ask("\x01\xff#AT"), kOk);
}

TEST_F(ModemModel, UnknownCommandsAnswerErrorAndAreCounted) {
    EXPECT_EQ(test_modem.unknown_command_count(), 0u);
    EXPECT_EQ(Ask("AT+NOSUCH=1"), kError);
    EXPECT_EQ(Ask("AT+CSQX"), kError);
    EXPECT_EQ(test_modem.unknown_command_count(), 2u);
    EXPECT_EQ(test_modem.unknown_commands(), (std::vector<std::string>{"AT+NOSUCH=1", "AT+CSQX"}));
    for (int count = 0; count < 1000; ++count) Ask("AT+MORE");
    EXPECT_EQ(test_modem.unknown_command_count(), 1002u);
    EXPECT_EQ(test_modem.unknown_commands().size(), 100u);
}

TEST_F(ModemModel, CommandLongerThanTheModemTakesAnswersErrorOnceAndTheNextOneWorks) {
    EXPECT_EQ(Ask("AT+CSQ" + std::string(100000, 'x')), kError);
    EXPECT_EQ(Ask("AT+CSQ"), Answer("+CSQ: 23,99"));
}

TEST_F(ModemModel, ErrorsAreWordedAsCmeeAsks) {
    Turn("sim absent");
    After(0);
    EXPECT_EQ(Ask("AT+CMEE=0"), kOk);
    EXPECT_EQ(Ask("AT+CIMI"), kError);
    EXPECT_EQ(Ask("AT+CMEE=1"), kOk);
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Ask("AT+CMEE=2"), kOk);
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: SIM not inserted\r\n");
    EXPECT_EQ(Ask("AT+CMEE?"), Answer("+CMEE: 2"));
}

// The line

TEST_F(ModemModel, OutputIsTakenInPortionsInOrder) {
    test_modem.Receive("AT+CSQ\r\n", test_now_ms);
    EXPECT_EQ(test_modem.TakeOutput(test_now_ms, 7), "\r\n+CSQ:");
    EXPECT_EQ(test_modem.NextEventMs(), test_now_ms);
    EXPECT_EQ(test_modem.TakeOutput(test_now_ms, 0), "");
    EXPECT_EQ(test_modem.TakeOutput(test_now_ms, kAll), " 23,99\r\n\r\nOK\r\n");
    EXPECT_EQ(test_modem.NextEventMs(), std::nullopt);
}

TEST_F(ModemModel, OutputThatIsTakenMakesRoomForMore) {
    Turn("pad 1000");
    for (int count = 0; count < 200; ++count) EXPECT_EQ(Ask("AT").size(), 1000u);
}

TEST_F(ModemModel, OutputThatNobodyTakesIsLostBeyondWhatAModemKeeps) {
    Turn("pad 1000");
    for (int count = 0; count < 200; ++count) test_modem.Receive("AT\r\n", test_now_ms);
    EXPECT_EQ(After(0).size(), 64u * 1024);
}

TEST_F(ModemModel, DelayPutsEachAnswerOff) {
    Turn("delay 1500");
    test_modem.Receive("AT+CSQ\r\n", test_now_ms);
    EXPECT_EQ(test_modem.NextEventMs(), test_now_ms + 1500);
    EXPECT_EQ(After(1499), "");
    EXPECT_EQ(After(1), Answer("+CSQ: 23,99"));
}

TEST_F(ModemModel, AnswersDontOvertakeEachOtherWhenTheDelayShrinks) {
    Turn("delay 1000");
    test_modem.Receive("AT+CSQ\r\n", test_now_ms);
    Turn("delay 0");
    test_modem.Receive("AT\r\n", test_now_ms);
    EXPECT_EQ(After(999), "");
    EXPECT_EQ(After(1), Answer("+CSQ: 23,99") + kOk);
}

TEST_F(ModemModel, PiecesComeOneAfterTheOther) {
    Turn("pieces 8 gap 30");
    test_modem.Receive("AT+CSQ\r\n", test_now_ms);
    EXPECT_EQ(After(0), "\r\n+CSQ: ");
    EXPECT_EQ(After(29), "");
    EXPECT_EQ(After(1), "23,99\r\n\r");
    EXPECT_EQ(After(30), "\nOK\r\n");
    Turn("pieces 0");
    EXPECT_EQ(Ask("AT"), kOk);
}

TEST_F(ModemModel, UnsolicitedLineSlipsBetweenThePiecesOfAnAnswer) {
    Turn("pieces 8 gap 100");
    test_modem.Receive("AT+CSQ\r\n", test_now_ms);
    test_now_ms += 50;
    Turn("urc +X");
    EXPECT_EQ(After(1000), "\r\n+CSQ: \r\n+X\r\n23,99\r\n\r\nOK\r\n");
}

TEST_F(ModemModel, PadFillsAnswersToTheByteWithTheResultLast) {
    const size_t unpadded_bytes = Answer("+CSQ: 23,99").size();
    for (size_t wanted = unpadded_bytes; wanted <= unpadded_bytes + 10; ++wanted) {
        Turn("pad " + std::to_string(wanted));
        const std::string answer = Ask("AT+CSQ");
        EXPECT_EQ(answer.size(), wanted);
        EXPECT_EQ(answer.compare(0, 13, "\r\n+CSQ: 23,99"), 0) << answer;
        EXPECT_EQ(answer.compare(answer.size() - 6, 6, kOk), 0) << answer;
    }
    Turn("pad 300");
    EXPECT_EQ(Ask("AT+CSQ").size(), 300u);
    EXPECT_EQ(Ask("AT").size(), 300u);
    Turn("pad 0");
    EXPECT_EQ(Ask("AT"), kOk);
}

TEST_F(ModemModel, PercentPutsConversionsIntoTheFirstLine) {
    Turn("percent on");
    EXPECT_EQ(Ask("AT+CSQ"), Answer("+CSQ: 23,99,%s%n%65536d%%"));
    EXPECT_EQ(Ask("AT"), "\r\n,%s%n%65536d%%\r\n" + kOk);
    Turn("percent off");
    EXPECT_EQ(Ask("AT"), kOk);
}

TEST_F(ModemModel, NulPutsANulByteIntoTheMiddle) {
    Turn("nul on");
    std::string answer = Ask("AT+CSQ");
    EXPECT_EQ(answer.find('\0'), Answer("+CSQ: 23,99").size() / 2);
    answer.erase(answer.find('\0'), 1);
    EXPECT_EQ(answer, Answer("+CSQ: 23,99"));
}

TEST_F(ModemModel, MuteHearsAndSaysNothing) {
    Turn("mute on");
    EXPECT_EQ(Ask("AT+CFUN=0"), "");
    Turn("urc +X");
    EXPECT_EQ(After(1000), "");
    Turn("mute off");
    EXPECT_EQ(Ask("AT+CFUN?"), Answer("+CFUN: 1"));
}

TEST_F(ModemModel, MuteSurvivesAResetUnlessItIsUntilReset) {
    Turn("mute on");
    Turn("reset");
    EXPECT_EQ(After(60000), "");
    Turn("mute until-reset");
    Turn("reset");
    EXPECT_EQ(After(5000), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
}

TEST_F(ModemModel, UrcGoesOutAsALineOrExactlyAsWritten) {
    Turn("urc +NWTYPEIND: 1");
    EXPECT_EQ(After(0), "\r\n+NWTYPEIND: 1\r\n");
    Turn(R"(urc half\r\n\x41\\x\t\q)");
    EXPECT_EQ(After(0), "half\r\nA\\x\t\\q");
    Turn(R"(urc \0\r)");
    EXPECT_EQ(After(0), std::string("\0\r", 2));
}

TEST_F(ModemModel, GarbageIsTheSameForTheSameSeed) {
    Turn("seed 7");
    Turn("garbage 300");
    const std::string first = After(0);
    EXPECT_EQ(first.size(), 300u);
    Turn("garbage 300");
    EXPECT_NE(After(0), first);
    Turn("seed 7");
    Turn("garbage 300");
    EXPECT_EQ(After(0), first);
}

TEST_F(ModemModel, FloodFillsTheLineAtItsSpeedAndEnds) {
    Turn("flood on 2200");
    const std::string text = After(10000);
    EXPECT_NEAR(static_cast<double>(text.size()), 22000, 22);
    EXPECT_EQ(text.compare(0, 22, "\r\n+CGEV: NW MODIFY 1\r\n"), 0);
    ASSERT_TRUE(test_modem.NextEventMs().has_value());
    EXPECT_LE(*test_modem.NextEventMs(), test_now_ms + 10);
    Turn("flood off");
    EXPECT_EQ(After(10000), "");
    EXPECT_EQ(test_modem.NextEventMs(), std::nullopt);
}

TEST_F(ModemModel, FloodThatNobodyReadsIsBounded) {
    Turn("flood on 1000000");
    test_now_ms += 3600 * 1000;
    EXPECT_LE(test_modem.TakeOutput(test_now_ms, 10 * kAll).size(), 64u * 1024);
    test_modem.Receive("AT\r\n", test_now_ms);
    EXPECT_NE(After(10).find(kOk), std::string::npos);
}

TEST_F(ModemModel, AnswerKnobReplacesOneAnswerAndGivesItBack) {
    Turn("answer AT+CSQ = +CSQ: 5,99");
    EXPECT_EQ(Ask("at+csq"), Answer("+CSQ: 5,99"));
    Turn("answer AT+CSQ = ERROR");
    EXPECT_EQ(Ask("AT+CSQ"), kError);
    Turn("answer AT+CSQ = +CME ERROR: 100");
    EXPECT_EQ(Ask("AT+CSQ"), "\r\n+CME ERROR: 100\r\n");
    Turn(R"(answer AT+CSQ = \r\nraw)");
    EXPECT_EQ(Ask("AT+CSQ"), "\r\nraw");
    Turn("answer AT+CSQ =");
    EXPECT_EQ(Ask("AT+CSQ"), "");
    Turn("answer AT+CSQ");
    EXPECT_EQ(Ask("AT+CSQ"), Answer("+CSQ: 23,99"));
    Turn("answer AT+CFUN=0 = OK");
    EXPECT_EQ(Ask("AT+CFUN=0"), kOk);
    EXPECT_EQ(Ask("AT+CFUN?"), Answer("+CFUN: 1"));
    Turn("answer AT+NOSUCH = OK");
    EXPECT_EQ(Ask("AT+NOSUCH"), kOk);
    EXPECT_EQ(test_modem.unknown_command_count(), 0u);
}

TEST_F(ModemModel, EchoKnobIsTheModemsOwnEcho) {
    Turn("echo on");
    EXPECT_EQ(Ask("AT"), "AT\r" + kOk);
    Turn("echo off");
    EXPECT_EQ(Ask("AT"), kOk);
}

// Runs

TEST_F(ModemModel, TimeThatRunsBackwardsCountsAsTheLast) {
    Turn("delay 100");
    test_modem.Receive("AT\r\n", test_now_ms);
    EXPECT_EQ(test_modem.TakeOutput(test_now_ms + 100, 2), "\r\n");
    EXPECT_EQ(test_modem.TakeOutput(0, kAll), "OK\r\n");
}

TEST(ModemModelRuns, SameCallsGiveTheSameBytes) {
    const auto run = [] {
        Modem modem{ModemOptions{}};
        std::string all;
        for (int64_t now_ms = 0; now_ms < 60000; now_ms += 250) {
            if (now_ms == 5000) modem.Control("pieces 3 gap 7", nullptr, now_ms);
            if (now_ms == 10000) modem.Control("flood on 500", nullptr, now_ms);
            if (now_ms == 20000) modem.Control("reset", nullptr, now_ms);
            if (now_ms % 1000 == 0) modem.Control("garbage 5", nullptr, now_ms);
            modem.Receive("AT+QENG=\"servingcell\"\r\n", now_ms);
            all += modem.TakeOutput(now_ms, 256);
        }
        return all;
    };
    const std::string first = run();
    EXPECT_GT(first.size(), 10000u);
    EXPECT_EQ(first, run());
}

TEST(ModemModelRuns, EventsAreTheSameInSmallStepsAndInOneLeap) {
    Modem steps{ModemOptions{}};
    Modem leap{ModemOptions{}};
    std::string said_in_steps;
    for (Modem* modem : {&steps, &leap}) {
        modem->Control("flood on 300", nullptr, 0);
        modem->Control("reset", nullptr, 0);
    }
    constexpr int64_t kEnd_ms = 20000;
    while (*steps.NextEventMs() <= kEnd_ms) said_in_steps += steps.TakeOutput(*steps.NextEventMs(), kAll);
    EXPECT_EQ(leap.TakeOutput(kEnd_ms, kAll), said_in_steps);
    EXPECT_GT(said_in_steps.size(), 3000u);
    EXPECT_EQ(leap.Status(), steps.Status());
}

TEST(ModemModelRuns, RandomBytesAndRandomKnobsDoNoHarm) {
    Modem modem{ModemOptions{}};
    unsigned random = 12345;
    const auto next = [&random](unsigned below) {
        random = random * 1103515245u + 12345u;
        return (random >> 16) % below;
    };
    const std::vector<std::string> words = {"AT",
                                            "+",
                                            "CFUN",
                                            "=",
                                            "0",
                                            "1",
                                            ",",
                                            "\"",
                                            "'",
                                            "?",
                                            "\r",
                                            "\n",
                                            "{csq}",
                                            "%n",
                                            "$QCRMCALL",
                                            "+QCFG",
                                            "thermal/modem",
                                            "+CGDCONT",
                                            "+QICSGP",
                                            "99999999999",
                                            "-1",
                                            "+CPIN",
                                            "\\",
                                            "on",
                                            "off",
                                            " "};
    const std::vector<std::string> names = Modem::KnobNames();
    for (int64_t now_ms = 0; now_ms < 20000; ++now_ms) {
        std::string text;
        for (unsigned count = next(12); count > 0; --count) {
            text += words[next(static_cast<unsigned>(words.size()))];
        }
        text += static_cast<char>(next(256));
        modem.Receive(text, now_ms);
        modem.Control(names[next(static_cast<unsigned>(names.size()))] + " " + text, nullptr, now_ms);
        if (next(50) == 0) modem.Control("plug", nullptr, now_ms);
        if (next(50) == 0) modem.Control("power on", nullptr, now_ms);
        EXPECT_LE(modem.TakeOutput(now_ms, 256).size(), 256u);
    }
    EXPECT_FALSE(modem.Status().empty());
}

}  // namespace
