// Module CellFiboComLE: what the Fibocom module LE370 has beside other families: its own set-up, a network
// type from the report of the cells, and a signal that is only logged.
#include <string>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kCells[] = "\r\n+GTCCINFO:\r\n1,4,460,00,5A1C,B3F2A10,1650\r\n\r\nOK\r\n";
constexpr char kCellLine[] = "1,4,460,00,5A1C,B3F2A10,1650";

class FiboComLeTest : public DriverTest {
  protected:
    FiboComLeTest() : DriverTest(kVendorFibocomLe) {}

    Texts LinesOfSignal(const std::string& answer) {
        world.log.clear();
        modem.On("AT+CESQ", answer);
        cell.CheckSignalStatus();
        return LinesOf("CheckSignalStatus");
    }
};

// Set-up

TEST_F(FiboComLeTest, InitializePublishesTheStatusAtItsEnd) {
    modem.On("AT+gtusbmode?", Answer("+GTUSBMODE: 32"));
    modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-CT\",7"));
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"CTNET\"", kOk);
    EXPECT_EQ(1, cell.Initialize());
    const std::string status = world.Read("/run/network/ravelin_status");
    EXPECT_NE(std::string::npos, status.find("Carrier=\"CHN-CT\"\n")) << status;
    EXPECT_NE(std::string::npos, status.find("FWVersion=LE370\n")) << status;
}

// Network type

TEST_F(FiboComLeTest, NetworkTypeIsLteWithoutQuotesForA4) {
    modem.On("AT+GTCCINFO?", kCells);
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    EXPECT_EQ(1, cell.ReadCSQ());
    EXPECT_EQ((Texts{"AT+GTCCINFO?\r\n", "AT+CSQ"}), modem.Sent());
    EXPECT_NEAR(10.0, GapAfter(0), 0.01);
    EXPECT_STREQ("LTE", cell.m_NetworkType);
    const Texts lines = {"7 GTCCINFO 11111 p:1,pRes:4,460,00,5A1C,B3F2A10,1650\n",
                         "7 GTCCINFO 22222 p:4,pRes:460,00,5A1C,B3F2A10,1650\n", "5 Network type:LTE\n"};
    EXPECT_EQ(lines, LinesOf("ReadCSQ"));
}

TEST_F(FiboComLeTest, AnyOtherAnswerKeepsTheNetworkType) {
    const struct {
        std::string answer;
        Texts lines;
    } cases[] = {
        {"\r\n+GTCCINFO:\r\n1,2,460\r\n",
         {"7 GTCCINFO 11111 p:1,pRes:2,460\n", "7 GTCCINFO 22222 p:2,pRes:460\n"}},
        {"\r\n+GTCCINFO:\r\n1,44\r\n",
         {"7 GTCCINFO 11111 p:1,pRes:44\n", "7 GTCCINFO 22222 p:44,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n1,,4\r\n", {"7 GTCCINFO 11111 p:1,pRes:,4\n", "7 GTCCINFO 22222 p:,pRes:4\n"}},
        {"\r\n+GTCCINFO:\r\n1,\r\n", {"7 GTCCINFO 11111 p:1,pRes:\n", "7 GTCCINFO 22222 p:,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n1\r\n", {"7 GTCCINFO 11111 p:1,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n\r\nOK\r\n", {"7 GTCCINFO 11111 p:,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n1,x\r\n",
         {"7 GTCCINFO 11111 p:1,pRes:x\n", "7 GTCCINFO 22222 p:x,pRes:(null)\n"}},
        {kError, {}},
        {"", {}},
    };
    CopyText(cell.m_NetworkType, "old");
    modem.On("AT+CSQ", kError);
    for (const auto& test : cases) {
        world.log.clear();
        modem.On("AT+GTCCINFO?", test.answer);
        EXPECT_EQ(0, cell.ReadCSQ());
        EXPECT_STREQ("old", cell.m_NetworkType) << test.answer;
        EXPECT_EQ(Joined(test.lines, {"5 Network type:old\n"}), LinesOf("ReadCSQ")) << test.answer;
    }
}

/// Lines of the answer move by the echo, and the fifth of them is an empty one then.
TEST_F(FiboComLeTest, EchoHidesTheNetworkType) {
    modem.On("AT+GTCCINFO?", "AT+GTCCINFO?\r" + std::string(kCells));
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    cell.ReadCSQ();
    EXPECT_STREQ("", cell.m_NetworkType);
    EXPECT_TRUE(world.Logged(7, "FIBOLEGTCCINFO is:\n"));
}

// Signal

TEST_F(FiboComLeTest, SignalIsOnlyLogged) {
    char* const fields[] = {cell.m_RSSI, cell.m_RSRP, cell.m_RSRQ,       cell.m_SINR,
                            cell.m_band, cell.m_pcid, cell.m_RSRP_LEVEL, cell.m_NetworkType};
    for (char* field : fields) CopyText(field, sizeof cell.m_RSRP_LEVEL, "before");
    const Texts lines = LinesOfSignal(Answer("+CESQ: 99,99,255,255,20,48"));
    const Texts expected = {"7 CESQ info num[0]: p=99, pRes=99,255,255,20,48 !!!!!!\n",
                            "7 CESQ info num[1]: p=99, pRes=255,255,20,48 !!!!!!\n",
                            "7 CESQ info num[2]: p=255, pRes=255,20,48 !!!!!!\n",
                            "7 CESQ info num[3]: p=255, pRes=20,48 !!!!!!\n",
                            "7 CESQ info num[4]: p=20, pRes=48 !!!!!!\n",
                            "7 CESQ info num[5]: p=48, pRes=(null) !!!!!!\n",
                            "7 CESQ info,rsrp_level:48 !!!!!!\n",
                            "7 CESQ info,caculate real rsrp_level:-93 !!!!!!\n"};
    EXPECT_EQ(expected, lines);
    EXPECT_EQ(Texts{"AT+CESQ\r\n"}, modem.Sent());
    for (const char* field : fields) EXPECT_STREQ("before", field);
}

TEST_F(FiboComLeTest, ShortSignalGoesOnWithAnEmptyRsrp) {
    const Texts expected = {"7 CESQ info num[0]: p=99, pRes=98 !!!!!!\n",
                            "7 CESQ info num[1]: p=98, pRes=(null) !!!!!!\n", "5 CESQ info,pRes is null\n",
                            "7 CESQ info,rsrp_level:0 !!!!!!\n",
                            "7 CESQ info,caculate real rsrp_level:-141 !!!!!!\n"};
    EXPECT_EQ(expected, LinesOfSignal(Answer("+CESQ: 99,98")));
}

TEST_F(FiboComLeTest, OddRsrpIsANumberAllTheSame) {
    const struct {
        std::string rsrp;
        int32_t level, dbm;
    } cases[] = {
        {"255", 255, 114},
        {"", 0, -141},
        {"x", 0, -141},
        {"-5", -5, -146},
        {"48,9", 48, -93},
        {"00000000000000048", 0, -141},  // the slot ends in front of the 48
        {"99999999999", INT32_MAX, INT32_MAX - 141},
        {"-99999999999", INT32_MIN, INT32_MIN},
        {"\xff", 0, -141},
        {"%s%n", 0, -141},
    };
    for (const auto& test : cases) {
        const Texts lines = LinesOfSignal(Answer("+CESQ: 1,2,3,4,5," + test.rsrp));
        ASSERT_EQ(8u, lines.size()) << test.rsrp;
        EXPECT_EQ("7 CESQ info,rsrp_level:" + std::to_string(test.level) + " !!!!!!\n", lines[6])
            << test.rsrp;
        EXPECT_EQ("7 CESQ info,caculate real rsrp_level:" + std::to_string(test.dbm) + " !!!!!!\n", lines[7])
            << test.rsrp;
    }
}

TEST_F(FiboComLeTest, AnswerWithoutSignalSaysNothing) {
    for (const std::string& answer : {std::string(kError), std::string(), Answer("+CSQ: 1,2")}) {
        EXPECT_EQ(Texts{}, LinesOfSignal(answer)) << answer;
    }
}

// Parser

/// The fifth text between single line-end characters, counted from the start of the answer.
TEST_F(FiboComLeTest, GtccinfoRow) {
    const struct {
        std::string answer;
        int32_t type;
        std::string text;
    } cases[] = {
        {kCells, kHintGtccinfo, kCellLine},
        {"\r\n+GTCCINFO:\r\n1,4", kHintGtccinfo, "1,4"},
        {"\r\n+GTCCINFO: LTE\r\n1,4\r\n2,4\r\n", kHintGtccinfo, "1,4"},
        {"\r\n+GTCCINFO:\n1,4\r\n", kHintGtccinfo, ""},
        {"+GTCCINFO:\r\n1,4\r\n2,4\r\n", kHintGtccinfo, "2,4"},
        {"\n\n\n\n+GTCCINFO:", kHintGtccinfo, "+GTCCINFO:"},
        {"+GTCCINFO:", kHintGtccinfo, "+GTCCINFO:"},  // fewer than five: the last one
        {"\r\n+GTCCINFO:", kHintGtccinfo, "+GTCCINFO:"},
        {"+GTCCINFO:1,4", kHintGtccinfo, "+GTCCINFO:1,4"},
        {"\r\n+GTCCINFO:\r\n\r\n\r\n", kHintGtccinfo, ""},
        {"\r\n+GTCCINFO:\r\n" + std::string(127, '4'), kHintGtccinfo, std::string(127, '4')},
        {"\r\n+GTCCINFO:\r\n" + std::string(240, '4'), kHintGtccinfo, std::string(127, '4')},
        {"\r\n+GTCCINFO:\r\n\xff\x80,\xfe", kHintGtccinfo, "\xff\x80,\xfe"},
        {"\r\n+GTCCINFO:\r\nx,y,z", kHintGtccinfo, "x,y,z"},
        {"\r\n+GTCCINFO:\r\n1,4\r\n+CESQ: 1,2\r\n", kHintGtccinfo, "1,4"},
        {"+GTCCINFO", 0, ""},
    };
    for (const auto& test : cases) {
        const AtResult result = Parse(test.answer);
        EXPECT_EQ(test.type, result.type) << test.answer;
        EXPECT_EQ(test.text, result.common_str) << test.answer;
    }
    TakeLines();
    Parse(kCells);
    const Texts lines = {std::string("7 ParseAtResult: 68 \r\n") + kCellLine + "\r\n\r\nOK\r\n\n",
                         std::string("7 ParseAtResult: FIBOLEGTCCINFO is:") + kCellLine + "\n"};
    EXPECT_EQ(lines, Lines());
}

}  // namespace
