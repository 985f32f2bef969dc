// Module CellNodeCom: the dialect of NodeCom modules, beside what DataStatusDialect_test covers.
#include "CellSubClass/src/CellNodeCom.h"

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellNodeCom.cpp";
constexpr char kAskLink[] = "AT+PKTSTATUS";
constexpr char kDial[] = "at+ecmdup=1,1,1,0,0";

class NodeComTest : public DriverTest<CellNodeCom> {
  protected:
    void AnswerBaseDial() {
        cell.m_carrier_code = 2;
        modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    }
};

TEST_F(NodeComTest, NewObjectHasUsb0AndSendsNothing) {
    EXPECT_STREQ("usb0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Dial

TEST_F(NodeComTest, DialWaitsTenSecondsAndStartsTheDhcpClient) {
    AnswerBaseDial();
    modem.On(kDial, kOk);
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kDial};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_EQ(Texts{kCommandDhcpStart}, world.Commands());
    EXPECT_NEAR(11.0, world.shell[0].at_seconds - modem.exchanges.back().at_seconds, 0.01);
}

TEST_F(NodeComTest, DialTakesAtLeastTenSeconds) {
    AnswerBaseDial();
    modem.On(kDial, kOk);
    const double before_seconds = world.now_seconds();
    cell.DoConnect();
    EXPECT_GE(world.now_seconds() - before_seconds, 10.0);
}

TEST_F(NodeComTest, FailedDialIsNoFailureAndStartsTheDhcpClientToo) {
    AnswerBaseDial();
    for (const char* answer : {kError, "", "\r\nNO CARRIER\r\n"}) {
        world.shell.clear();
        modem.On(kDial, answer);
        EXPECT_EQ(1, cell.DoConnect()) << answer;
        EXPECT_EQ(1u, world.shell.size()) << answer;
    }
}

TEST_F(NodeComTest, ConnectStartsTheDhcpClientTwice) {
    AnswerBaseDial();
    modem.On(kDial, kOk);
    modem.On("AT+CEREG?", Answer("+CEREG: 0,1"));
    modem.On(kAskLink, Answer("+PKTSTATUS: 1,1"));
    EXPECT_EQ(1, cell.Connect());
    EXPECT_EQ(Texts(2, kCommandDhcpStart), world.Commands());
    EXPECT_EQ(1, cell.m_online);
}

TEST_F(NodeComTest, HangUpIsTheEnginesOwn) {
    EXPECT_EQ(1, cell.DisConnect());
    EXPECT_EQ(Texts{"AT+CFUN=0"}, modem.Sent());
}

TEST_F(NodeComTest, SimCheckIsTheEnginesOwn) {
    AnswerSimCheck();
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(BaseSimCheck(), modem.Sent());
}

// Link

struct LinkCase {
    std::string answer;
    int32_t expected;
};

TEST_F(NodeComTest, LinkIsUpInPacketState1Alone) {
    const LinkCase cases[] = {
        {Answer("+PKTSTATUS: 1,1"), 1},
        {Answer("+PKTSTATUS:1"), 1},
        {Answer("+PKTSTATUS: 1,2,3,4,5,6"), 1},
        {Answer("+PKTSTATUS: 0,1"), 0},
        {Answer("+PKTSTATUS: 2,1"), 0},
        {Answer("+PKTSTATUS: ,1"), 0},
        {Answer("+PKTSTATUS: up,1"), 0},
        {Answer("+PKTSTATUS:"), 0},
        {Answer("+CREG: 1,1"), 0},
        {kError, 0},
        {"", 0},
    };
    for (const LinkCase& test : cases) {
        modem.On(kAskLink, test.answer);
        EXPECT_EQ(test.expected, cell.CheckConnection()) << test.answer;
    }
    for (const std::string& command : modem.Sent()) EXPECT_EQ(kAskLink, command);
}

TEST_F(NodeComTest, DataStatusIsNoAnswerToTheQuestionForTheLink) {
    modem.On(kAskLink, Answer("+DATASTATUS: 1"));
    EXPECT_EQ(0, cell.CheckConnection());
    modem.On(kAskLink, "\r\n+DATASTATUS: 0\r\n\r\n+PKTSTATUS: 1,1\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.CheckConnection());
}

TEST_F(NodeComTest, AnswerCutAt256BytesLosesTheState) {
    const std::string row = "+PKTSTATUS: ";
    modem.On(kAskLink, std::string(256 - row.size(), '.') + row + "1,1\r\n\r\nOK\r\n");
    EXPECT_EQ(0, cell.CheckConnection());
    modem.On(kAskLink, std::string(255 - row.size(), '.') + row + "1,1\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.CheckConnection());
}

// Registration

TEST_F(NodeComTest, ServiceIsEpsRegistrationOrElsePacketRegistration) {
    ExpectTwoStepRegistration();
}

// Places of the lines

TEST_F(NodeComTest, EachLineNamesThisDriverItsOperationAndLevel) {
    modem.AllowUnknown();
    AnswerSimCheck();
    modem.On(kAskLink, Answer("+DATASTATUS: 1"));
    cell.Initialize();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.DoConnect();
    cell.CheckConnection();
    Hear("^DATACONNECT\r\n");
    cell.DisConnect();
    const Texts expected = {"5 Initialize: m_ModuleName = Some \n", "5 ParseAtResult: 16  1\r\n\r\nOK\r\n\n",
                            "5 ParseAtResult: Connect Status:1\n", "5 ParseAtResult: 17 \r\n\n"};
    EXPECT_EQ(expected, LinesOfFile(kFile));
    EXPECT_EQ(Texts{}, LinesOfHelpers());
}

}  // namespace
