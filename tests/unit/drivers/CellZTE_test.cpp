// Module CellZTE: what ZTE/Gosuncn modules have beside other families: the interface depends on the board,
// the link of one model needs no address, and the signal of another comes with its units.
#include <string>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kSignal[] = "+ZSRSP: \"-098\",\"-12\",\"-070\",\"010\"";

class ZteTest : public DriverTest {
  protected:
    ZteTest() : DriverTest(kVendorZte) {}

    void SetUp() override {
        DriverTest::SetUp();
        CellBase::m_ModuleName = "ME3630";
    }

    /// The driver's answer to this state of the call.
    int32_t CheckAnswered(const std::string& answer) {
        world.log.clear();
        modem.On("AT+ZPAS?", kError);
        modem.On("AT+ZECMCALL?", answer);
        return cell.CheckConnection();
    }

    void ReadSignal(const std::string& answer) {
        modem.On("AT+ZSRSP?", answer);
        cell.CheckSignalStatus();
    }
};

// Object

TEST_F(ZteTest, InterfaceDependsOnTheBoard) {
    const struct {
        int board;
        const char* name;
    } cases[] = {
        {kBoardUnknown, "wwan0"}, {kBoardImx6ul, "wwan0"}, {kBoardStm32, "wwan0"},
        {kBoardA35, "usb0"},      {kBoardA53, "wwan0"},
    };
    for (const auto& test : cases) {
        cell.SetBoard(test.board);
        EXPECT_STREQ(test.name, cell.GetInterfaceName()) << test.board;
    }
    EXPECT_TRUE(modem.exchanges.empty());
}

// Link

TEST_F(ZteTest, CheckConnectionAsksTheNetworkTypeFirst) {
    modem.On("AT+ZPAS?", Answer("+ZPAS: \"LTE\",\"CS_PS\""));
    modem.On("AT+ZECMCALL?", Answer("+ZECMCALL: IPV4, 10.1.2.3"));
    EXPECT_EQ(1, cell.CheckConnection());
    const Texts expected = {"AT+ZPAS?", "AT+ZECMCALL?"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_STREQ("\"LTE\"", cell.m_NetworkType);
    EXPECT_EQ(Texts{"7 AT+ZECMCALL checkconnection return \r\n+ZECMCALL: IPV4, 10.1.2.3\r\n\r\nOK\r\n\n"},
              LinesOf("CheckConnection"));
}

TEST_F(ZteTest, OkWithoutAddressIsALinkOnGm196Alone) {
    const struct {
        const char* model;
        bool expected;
    } cases[] = {{"GM196", true},    {"GM196H", false}, {"ME3630", false},
                 {"GOSUNCN", false}, {"GM19", false},   {"", false}};
    for (const auto& test : cases) {
        CellBase::m_ModuleName = test.model;
        for (const std::string& answer : {Answer("+ZECMCALL: IPV4"), std::string(kOk)}) {
            EXPECT_EQ(test.expected ? 1 : 0, CheckAnswered(answer)) << test.model;
            EXPECT_EQ((Texts{"7 AT+ZECMCALL checkconnection return " + answer + "\n",
                             test.expected ? "7 connection ok!!! \n" : "5 AT+ZECMCALL? fail:0\n"}),
                      LinesOf("CheckConnection"))
                << test.model;
        }
    }
    CellBase::m_ModuleName = "GM196";
    EXPECT_EQ(0, CheckAnswered(kError));
    EXPECT_EQ(0, CheckAnswered(""));
}

TEST_F(ZteTest, AddressOnGm196NeedsNoException) {
    CellBase::m_ModuleName = "GM196";
    EXPECT_EQ(1, CheckAnswered(Answer("+ZECMCALL: 10.1.2.3")));
    EXPECT_EQ(1u, LinesOf("CheckConnection").size());
}

// A row of the base is cut while it is parsed, and "OK" is searched for in what is left.
TEST_F(ZteTest, AnswerIsLoggedAndSearchedAsTheParserLeftIt) {
    CellBase::m_ModuleName = "GM196";
    EXPECT_EQ(0, CheckAnswered("+CSQ: 5,99\r\n\r\nOK\r\n"));
    EXPECT_EQ((Texts{"7 AT+ZECMCALL checkconnection return +CSQ: 5\n", "5 AT+ZECMCALL? fail:5\n"}),
              LinesOf("CheckConnection"));
}

// Signal

TEST_F(ZteTest, SignalIsStoredWithItsUnitAndWithoutPadding) {
    ReadSignal(Answer(kSignal));
    EXPECT_EQ(Texts{"AT+ZSRSP?"}, modem.Sent());
    EXPECT_NEAR(3.0, world.now_seconds(), 0.01);
    EXPECT_STREQ("-98dBm", cell.m_RSRP);
    EXPECT_STREQ("-12dB", cell.m_RSRQ);
    EXPECT_STREQ("-70dBm", cell.m_RSSI);
    EXPECT_STREQ("010dB", cell.m_SINR);
    EXPECT_EQ(Texts{"7 ZTE 4G module is: ME3630 \r\n"}, LinesOf("CheckSignalStatus"));
}

TEST_F(ZteTest, EmptyValueStoresTheUnitAlone) {
    ReadSignal(Answer("+ZSRSP: \"\",\"\",\"\",\"\""));
    EXPECT_STREQ("dBm", cell.m_RSRP);
    EXPECT_STREQ("dB", cell.m_RSRQ);
    EXPECT_STREQ("dBm", cell.m_RSSI);
    EXPECT_STREQ("dB", cell.m_SINR);
}

TEST_F(ZteTest, ValuesOfTheSignal) {
    const std::string many(40, '7');
    const struct {
        std::string value;
        std::string stored;  // as RSRP
    } cases[] = {
        {"-098", "-98dBm"},
        {"-007", "-7dBm"},
        {"-100", "-100dBm"},
        {"-1001", "-1001dBm"},
        {"-000", "-dBm"},
        {"-0", "-dBm"},
        {"-0070", "-70dBm"},
        {"--00-05", "---5dBm"},
        {"098", "098dBm"},
        {"0", "0dBm"},
        {"-", "-dBm"},
        {"abc", "abcdBm"},
        {"-0a0", "-a0dBm"},
        {" -05", " -5dBm"},
        {"\xff\x80",
         "\xff\x80"
         "dBm"},
        {"123456789012", "123456789012dBm"},
        {"1234567890123", "1234567890123dB"},  // cut as a whole at 15
        {"123456789012345", "123456789012345"},
        {many, many.substr(0, 15)},
        {"-" + std::string(40, '0') + "5", "-5dBm"},
        {std::string(70, '0'), std::string(15, '0')},
    };
    for (const auto& test : cases) {
        ReadSignal(Answer("+ZSRSP: \"" + test.value + "\",\"1\",\"2\",\"3\""));
        EXPECT_EQ(test.stored, cell.m_RSRP) << test.value;
        EXPECT_STREQ("1dB", cell.m_RSRQ) << test.value;
    }
}

TEST_F(ZteTest, ShortAndLongListsOfTheSignal) {
    ReadSignal(Answer("+ZSRSP: \"-098\",\"-12\""));
    EXPECT_STREQ("-98dBm", cell.m_RSRP);
    EXPECT_STREQ("-12dB", cell.m_RSRQ);
    EXPECT_STREQ("dBm", cell.m_RSSI);
    EXPECT_STREQ("dB", cell.m_SINR);
    ReadSignal(kOk);  // not a quote in it
    EXPECT_STREQ("dBm", cell.m_RSRP);
    ReadSignal(Answer("+ZSRSP: \"1\",\"2\",\"3\",\"4\",\"5\",\"6\""));
    EXPECT_STREQ("4dB", cell.m_SINR);
    ReadSignal(Answer("+ZSRSP: \"1\",\"2\",\"3\",\"4\"\r\n+ZSRSP: \"5\",\"6\",\"7\",\"8\""));
    EXPECT_STREQ("1dBm", cell.m_RSRP) << "the first of two";
    ReadSignal("OK" + std::string(250, 'x') + "\"-98\",\"1\",\"2\",\"3\"");
    EXPECT_STREQ("-98dBm", cell.m_RSRP) << "the 256 bytes end after the value";
    EXPECT_STREQ("dB", cell.m_RSRQ);
}

TEST_F(ZteTest, SignalWithoutOkKeepsTheLastValues) {
    ReadSignal(Answer(kSignal));
    for (const char* answer : {kError, "", "\r\n+ZSRSP: \"1\",\"2\",\"3\",\"4\"\r\n"}) {
        world.log.clear();
        ReadSignal(answer);
        EXPECT_EQ("6 AT+ZSRSP? return error!!! \n", LinesOf("CheckSignalStatus").back()) << answer;
        EXPECT_STREQ("-98dBm", cell.m_RSRP) << answer;
        EXPECT_STREQ("010dB", cell.m_SINR) << answer;
    }
}

TEST_F(ZteTest, OtherModelsAreNotAskedForTheirSignal) {
    for (const char* model : {"GM196", "GM196H", "GOSUNCN", "ME3630H", ""}) {
        CellBase::m_ModuleName = model;
        cell.CheckSignalStatus();
        EXPECT_EQ("7 ZTE 4G module is: " + std::string(model) + " \r\n", LinesOf("CheckSignalStatus").back());
    }
    EXPECT_TRUE(modem.exchanges.empty());
}

// Cell

TEST_F(ZteTest, LevelOfTheCellIsTheSignalCutToItsMember) {
    CopyText(cell.m_RSRP, "-1234567890dBm");
    modem.On("AT+ZCELLINFO?", Answer("+ZCELLINFO: a,LTE,211,3,e,f,g"));
    cell.CheckNeighbourSignal();
    EXPECT_STREQ("-12345678", cell.m_RSRP_LEVEL);
    EXPECT_EQ("7 CELLINFO info, m_RSRP_LEVEL:-12345678 !\n", LinesOf("CheckNeighbourSignal").back());
}

// Parser

TEST_F(ZteTest, StateOfTheCall) {
    const struct {
        std::string answer;
        int32_t val;
    } cases[] = {
        {"+ZECMCALL: 10.1.2.3", 1},
        {"+ZECMCALL: IPV4", 0},
        {"+ZECMCALL: IPV4, 10.1.2.3, 10.1.2.4\r\n\r\nOK\r\n", 1},
        {"+ZECMCALL: ", 0},
        {"+ZECMCALL: \xff\x80", 0},
        {"+ZECMCALL: .", 1},
        {"a.b\r\n+ZECMCALL: IPV4\r\n", 1},
        {"+ZECMCALL: IPV4\r\n+ZECMCALL: 10.1.2.3\r\n", 1},
        {"+ZECMCALL: " + std::string(1000, '7') + ".", 1},
        {"+ZCELLINFO: 1\r\n+ZECMCALL: 1\r\n", 0},
    };
    for (const auto& test : cases) {
        const AtResult result = Parse(test.answer);
        EXPECT_EQ(kHintZecmcall, result.type) << test.answer;
        EXPECT_EQ(test.val, result.val) << test.answer;
        EXPECT_EQ(0, result.val2) << test.answer;
    }
}

}  // namespace
