// Module CellLYNQ: what LYNQ modules have beside other families: an interface that is restarted by the dial,
// a hang-up that the module confirms, registration of LTE alone, and a network type that comes with the cell.
#include <string>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

class LynqTest : public DriverTest {
  protected:
    LynqTest() : DriverTest(kVendorLynq) {}
};

// Dial and hang-up

/// The answer is looked at when the interface has been restarted.
TEST_F(LynqTest, DialParsesTheAnswerAfterTheShell) {
    modem.On("AT+NETOPEN", Answer("+NETOPEN:SUCCESS"));
    size_t lines_at_last_command = 99;
    world.OnSystem("ifconfig wwan0 up", [&] { lines_at_last_command = LinesOf("ParseAtResult").size(); });
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_EQ(0u, lines_at_last_command);
    EXPECT_EQ(2u, LinesOf("ParseAtResult").size());
    EXPECT_NEAR(1.0, world.shell.at(0).at_seconds, 0.01);
}

TEST_F(LynqTest, HangUpIsConfirmedByTheExactWord) {
    const struct {
        std::string answer;
        int32_t expected;
        Texts lines;
    } cases[] = {
        {Answer("+NETCLOSE:SUCCESS"), 1, {"7 AT+NETCLOSE\n"}},
        {Answer("+NETCLOSE: SUCCESS"), 0, {"7 AT+NETCLOSE\n"}},
        {Answer("+NETCLOSE:SUCCESSFUL"), 0, {"7 AT+NETCLOSE\n"}},
        {Answer("+NETCLOSE:"), 0, {"7 AT+NETCLOSE\n"}},
        {Answer("+NETOPEN:SUCCESS"), 0, {}},
        {kOk, 0, {}},
        {"", 0, {}},
    };
    for (const auto& test : cases) {
        world.log.clear();
        modem.exchanges.clear();
        modem.On("AT+NETCLOSE", test.answer);
        EXPECT_EQ(test.expected, cell.DisConnect()) << test.answer;
        EXPECT_EQ(test.lines, LinesOf("DisConnect")) << test.answer;
        EXPECT_EQ(Texts{"AT+NETCLOSE"}, modem.Sent());  // the radio stays on
    }
}

// Link

/// The network type is the first field of the report of the cell.
TEST_F(LynqTest, CheckOfTheLinkRefreshesTheNetworkType) {
    const struct {
        std::string report, network;
    } cases[] = {
        {Answer("+CPSI:LTE,Online,460-00"), "LTE"},
        {Answer("+CPSI: LTE,Online"), " LTE"},
        {Answer("+CPSI:NO SERVICE,Online"), "NO SERVICE"},
        {Answer("+CPSI:%s%n,1,2"), "%s%n"},
        {Answer("+CPSI:" + std::string(30, '7') + ",1"), std::string(23, '7')},
        {Answer("+CPSI:"), ""},
        {Answer("+CPSI:,,,"), ""},
        {Answer("+CREG: 0,1"), "before"},
        {Answer("+ICCID:8986"), "before"},
        {Answer("CPSI:LTE,1,2,3,4,5,6"), "before"},
        {kError, "before"},
        {"", "before"},
    };
    modem.On("AT+NETOPEN?", Answer("+NETOPEN: 1"));
    for (const auto& test : cases) {
        CopyText(cell.m_NetworkType, "before");
        modem.On("AT+CPSI?", test.report);
        EXPECT_EQ(1, cell.CheckConnection()) << test.report;
        EXPECT_EQ(test.network, cell.m_NetworkType) << test.report;
        EXPECT_EQ("7 AT+NETOPEN? and response  1\n", LinesOf("CheckConnection").back()) << test.report;
    }
}

// Registration and SIM

TEST_F(LynqTest, RegistrationOfLteAloneDecides) {
    const struct {
        std::string answer;
        int32_t expected, cereg;
        Texts lines;
    } cases[] = {
        {Answer("+CEREG: 0,1"), 1, 1, {"7 AT+CEREG 0 1\n"}},
        {Answer("+CEREG: 2,5"), 1, 5, {"7 AT+CEREG 2 5\n"}},
        {Answer("+CEREG: 0,3"), 0, 3, {"7 AT+CEREG 0 3\n"}},
        {Answer("+CEREG: 1"), 0, 0, {"7 AT+CEREG 1 0\n"}},
        {Answer("+CGREG: 0,1"), 0, 9, {}},
        {kError, 0, 9, {}},
        {"", 0, 9, {}},
    };
    for (const auto& test : cases) {
        cell.m_CEREG = cell.m_CGREG = 9;
        world.log.clear();
        modem.exchanges.clear();
        modem.On("AT+CEREG?", test.answer);
        EXPECT_EQ(test.expected, cell.CheckServiceStatus()) << test.answer;
        EXPECT_EQ(test.cereg, cell.m_CEREG) << test.answer;
        EXPECT_EQ(9, cell.m_CGREG) << test.answer;
        EXPECT_EQ(Texts{"AT+CEREG?"}, modem.Sent());
        EXPECT_EQ(test.lines, LinesOf("CheckServiceStatus")) << test.answer;
    }
}

TEST_F(LynqTest, IccidKeepsTheBlankAfterTheColon) {
    AnswerSimCheck();
    modem.On("AT+ICCID", Answer("+ICCID: 89860011223344556677"));
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_STREQ(" 8986001122334455667", cell.m_card_iccid);
}

}  // namespace
