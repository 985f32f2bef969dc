// Module CellLongSung: the dialect of LongSung modules, beside what DataStatusDialect_test covers.
#include "CellSubClass/src/CellLongSung.h"

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellLongSung.cpp";
constexpr char kAskLink[] = "AT+DATASTATUS";

using LongSungTest = DriverTest<CellLongSung>;

TEST_F(LongSungTest, NewObjectHasWwan0AndSendsNothing) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Unsolicited texts

TEST_F(LongSungTest, UnaskedDataStatusSetsAndClearsTheOnlineState) {
    EXPECT_EQ(1, Hear("\r\n+DATASTATUS: 1\r\n"));
    EXPECT_EQ(1, cell.m_online);
    EXPECT_EQ(1, Hear("\r\n+DATASTATUS: 0\r\n"));
    EXPECT_EQ(0, cell.m_online);
}

TEST_F(LongSungTest, DataDisconnGivesItsHintAndLeavesTheOnlineState) {
    cell.m_online = 1;
    const AtResult result = Parse("\r\n^DATADISCONN\r\n");
    EXPECT_EQ(18, result.type);
    EXPECT_EQ(0, cell.DealHint(result));
    EXPECT_EQ(1, cell.m_online);
}

// Dial and service

TEST_F(LongSungTest, ServiceIsPresentAtAllTimesWithoutAQuestion) {
    EXPECT_EQ(1, cell.CheckServiceStatus());
    EXPECT_TRUE(modem.exchanges.empty());
}

TEST_F(LongSungTest, DialIsTheEnginesOwn) {
    copy_text(cell.m_apn, "internet");
    cell.m_carrier_code = 2;
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"internet\"", kOk);
    EXPECT_EQ(1, cell.DoConnect());
    const Texts dial = {"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"internet\""};
    EXPECT_EQ(dial, modem.Sent());
    modem.exchanges.clear();
    EXPECT_EQ(1, cell.DisConnect());
    EXPECT_EQ(Texts{"AT+CFUN=0"}, modem.Sent());
}

TEST_F(LongSungTest, SimCheckIsTheEnginesOwn) {
    AnswerSimCheck();
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(BaseSimCheck(), modem.Sent());
}

// Link

struct LinkCase {
    std::string answer;
    int32_t expected;
};

TEST_F(LongSungTest, LinkIsUpInState1Alone) {
    const LinkCase cases[] = {
        {Answer("+DATASTATUS: 1"), 1},
        {Answer("+DATASTATUS:1"), 1},
        {Answer("+DATASTATUS: 0"), 0},
        {Answer("+DATASTATUS: 2"), 0},
        {Answer("+DATASTATUS:"), 0},
        {Answer("+PKTSTATUS: 1,1"), 0},
        {Answer("^DATACONNECT"), 0},
        {Answer("+CREG: 1,1"), 0},
        {"\r\n+DATASTATUS: 1\r\n+CREG: 0,1\r\n", 0},  // the engine's rows come first
        {kError, 0},
        {"", 0},
    };
    for (const LinkCase& test : cases) {
        modem.On(kAskLink, test.answer);
        EXPECT_EQ(test.expected, cell.CheckConnection()) << test.answer;
    }
    for (const std::string& command : modem.Sent()) EXPECT_EQ(kAskLink, command);
    EXPECT_EQ(0, cell.m_online);  // what was asked for changes nothing
}

TEST_F(LongSungTest, AnswerCutAt256BytesLosesTheState) {
    const std::string row = "+DATASTATUS: ";
    modem.On(kAskLink, std::string(256 - row.size(), '.') + row + "1\r\n\r\nOK\r\n");
    EXPECT_EQ(0, cell.CheckConnection());
    modem.On(kAskLink, std::string(255 - row.size(), '.') + row + "1\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.CheckConnection());
}

// Places of the lines

TEST_F(LongSungTest, EachLineNamesThisDriverItsOperationAndLevel) {
    modem.AllowUnknown();
    AnswerSimCheck();
    modem.On(kAskLink, Answer("+DATASTATUS: 1"));
    cell.Initialize();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.DoConnect();
    cell.CheckConnection();
    Hear("^DATADISCONN\r\n");
    cell.DisConnect();
    const Texts expected = {"5 Initialize: m_ModuleName = Some \n", "5 ParseAtResult: 16  1\r\n\r\nOK\r\n\n",
                            "5 ParseAtResult: Connect Status:1\n", "5 ParseAtResult: 18 \r\n\n"};
    EXPECT_EQ(expected, LinesOfFile(kFile));
    EXPECT_EQ(Texts{}, LinesOfHelpers());
}

}  // namespace
