// What a bad line makes of the modem's answers, and a modem that says less, or with other words, than its
// host expects.
#include <string>

#include <gtest/gtest.h>

#include "tests/support/modem_model_fixture.h"

namespace {

const std::string kCsq = Answer("+CSQ: 23,99");

std::string QuotedLte(const std::string& word) {
    return Answer("+QNWINFO: \"FDD " + word + "\",\"46000\",\"" + word + " BAND 3\",1650");
}

TEST_F(ModemModel, CutAnswersEndInTheMiddleForGood) {
    Turn("cut 9");
    EXPECT_EQ("\r\n+CSQ: 2", Ask("AT+CSQ"));
    EXPECT_EQ(kOk, Ask("AT"));
    EXPECT_EQ("", After(60000));
    EXPECT_TRUE(StatusHas("cut: 9"));
    Turn("cut 0");
    EXPECT_EQ(kCsq, Ask("AT+CSQ"));
}

TEST_F(ModemModel, MergedAnswersComeTwoByTwo) {
    Turn("merge on");
    EXPECT_EQ("", Ask("AT+CSQ"));
    EXPECT_EQ("", After(60000));
    EXPECT_EQ(kCsq + kOk, Ask("AT"));
    EXPECT_EQ("", Ask("AT+CSQ"));
    Turn("merge off");
    EXPECT_EQ(kCsq, After(0));
    EXPECT_EQ(kOk, Ask("AT"));
}

TEST_F(ModemModel, AHeldAnswerIsLostWithThePort) {
    Turn("merge on");
    Ask("AT+CSQ");
    Turn("unplug");
    Turn("plug");
    Turn("merge off");
    EXPECT_EQ("", After(1000));
}

TEST_F(ModemModel, StaleAnswersAreThoseToTheCommandBefore) {
    Ask("AT+CSQ");
    Turn("stale on");
    EXPECT_EQ(kCsq, Ask("AT+CFUN=4"));
    EXPECT_TRUE(StatusHas("radio: 4"));  // it is carried out
    EXPECT_EQ(kOk, Ask("AT+CSQ"));
    EXPECT_EQ(Answer("+CSQ: 99,99"), Ask("AT"));
    Turn("stale off");
    EXPECT_EQ(kOk, Ask("AT"));
}

TEST_F(ModemModel, TheFirstStaleAnswerAfterAStartIsNone) {
    Turn("reset");
    After(60000);
    Turn("stale on");
    EXPECT_EQ("AT\r", Ask("AT"));  // the echo
}

TEST_F(ModemModel, ChatterStandsInFrontOfTheResult) {
    Turn("chatter +QIND: SMS FULL");
    EXPECT_EQ("\r\n+CSQ: 23,99\r\n\r\n+QIND: SMS FULL\r\n\r\nOK\r\n", Ask("AT+CSQ"));
    EXPECT_EQ("\r\n+QIND: SMS FULL\r\n\r\nOK\r\n", Ask("AT"));
    Turn("chatter \\x00RING\\r\\n");
    EXPECT_EQ("\r\n+CSQ: 23,99\r\n" + std::string("\0RING\r\n", 7) + "\r\nOK\r\n", Ask("AT+CSQ"));
    Turn("chatter");
    EXPECT_EQ(kCsq, Ask("AT+CSQ"));
}

TEST_F(ModemModel, AnotherWordForTheTechnology) {
    EXPECT_EQ(QuotedLte("LTE"), Ask("AT+QNWINFO"));
    Turn("technology-word 4G");
    EXPECT_EQ(QuotedLte("4G"), Ask("AT+QNWINFO"));
    Turn("pieces 3");  // the word may lie across two of them
    EXPECT_EQ(QuotedLte("4G"), Ask("AT+QNWINFO"));
    Turn("urc +X: LTE,CY-LTE200,LTE_A,LTE");
    EXPECT_EQ("\r\n+X: 4G,CY-LTE200,LTE_A,4G\r\n", After(1000));
    EXPECT_TRUE(StatusHas("network: FDD LTE"));
    Turn("technology-word");
    EXPECT_EQ(QuotedLte("LTE"), Ask("AT+QNWINFO"));
}

std::string SaysUnsolicited(const std::string& family, bool reports) {
    modem_sim::ModemOptions options;
    options.family = family;
    modem_sim::Modem modem(options);
    modem.Receive("ATE0\r\nAT+SIGNALIND=1\r\nAT+NWTYPEIND=1\r\n", 0);
    modem.TakeOutput(0, kAll);
    if (!reports) modem.Control("reports off", nullptr, 0);
    modem.Control("network TDD LTE", nullptr, 10);
    return modem.TakeOutput(10000, kAll);
}

TEST(ModemReports, OfTheTechnologyCanBeMissing) {
    for (const char* family : {"longsung", "nodecom"}) {
        EXPECT_EQ("\r\n+NWTYPEIND: 7\r\n\r\n+SIGNALIND: 23,99\r\n", SaysUnsolicited(family, true)) << family;
        EXPECT_EQ("\r\n+SIGNALIND: 23,99\r\n", SaysUnsolicited(family, false)) << family;
    }
    EXPECT_NE(std::string::npos, SaysUnsolicited("huawei", true).find("^HCSQ: \"LTE\""));
    EXPECT_EQ("", SaysUnsolicited("huawei", false));
}

}  // namespace
