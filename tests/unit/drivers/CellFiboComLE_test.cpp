// Module CellFiboComLE: the dialect of the Fibocom module LE370.
#include "CellSubClass/src/CellFiboComLE.h"

#include <gtest/gtest.h>

#include <string>

#include "support/text_util.h"
#include "tests/unit/drivers/fibocom_rndis_tests.h"

using namespace cc_cell;

namespace {

constexpr char kDriver[] = "CellSubClass/src/CellFiboComLE.cpp";
constexpr char kCells[] = "\r\n+GTCCINFO:\r\n1,4,460,00,5A1C,B3F2A10,1650\r\n\r\nOK\r\n";
constexpr char kCellLine[] = "1,4,460,00,5A1C,B3F2A10,1650";

class FiboComLeTest : public DriverTest<CellFiboLE370> {
  protected:
    void SetUp() override {
        DriverTest::SetUp();
        cell.SetVendorType(kVendorFibocomLe);
        world.log.clear();
    }

    void AnswerSetUp() {
        modem.On("AT+gtusbmode?", Answer("+GTUSBMODE: 32"));
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-CT\",7"));
        modem.On("AT+CGDCONT=1,\"IPV4V6\",\"CTNET\"", kOk);
    }

    Texts LogOfSignal(const std::string& answer) {
        world.log.clear();
        modem.On("AT+CESQ", answer);
        cell.CheckSignalStatus();
        return world.LogOf("CheckSignalStatus");
    }
};

TEST_F(FiboComLeTest, NewObjectHasWwan0AndSendsNothing) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Initialize

TEST_F(FiboComLeTest, InitializeSendsItsOwnSetUpInOrder) {
    AnswerSetUp();
    CellBase::m_ModuleName = "LE370";
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"AT+gtusbmode?", "AT+CFUN=0", "AT+CFUN=1",
                            "AT+CFUN=1",     "AT+COPS?",  "AT+CGDCONT=1,\"IPV4V6\",\"CTNET\""};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_STREQ("Fibcom", cell.m_vendor_name);
    EXPECT_STREQ("LE370", cell.m_fw_version);
    EXPECT_STREQ("", cell.m_meid);
    const Texts log = {"AT+gtusbmode? " + Answer("+GTUSBMODE: 32") + "!!! \n", "m_ModuleName = LE370 \n"};
    EXPECT_EQ(log, TextsOfFile(kDriver));
}

TEST_F(FiboComLeTest, InitializeWaitsBetweenItsSteps) {
    AnswerSetUp();
    cell.Initialize();
    ASSERT_EQ(6u, modem.exchanges.size());
    const double gaps_seconds[] = {1, 1 + 3, 1 + 1, 1 + 1, 1};  // the answer, and the sleep after it
    for (size_t i = 0; i < 5; ++i) EXPECT_NEAR(gaps_seconds[i], GapBehind(i), 0.01) << i;
    EXPECT_NEAR(1 + 1, world.now_seconds() - modem.exchanges[5].at_seconds, 0.01);
}

TEST_F(FiboComLeTest, InitializePublishesTheStatusAtItsEnd) {
    AnswerSetUp();
    EXPECT_EQ(1, cell.Initialize());
    const std::string status = world.Read("/run/network/ravelin_status");
    EXPECT_NE(std::string::npos, status.find("Carrier=\"CHN-CT\"\n")) << status;
    EXPECT_NE(std::string::npos, status.find("FWVersion=LE370\n")) << status;
}

TEST_F(FiboComLeTest, InitializeIs1WithADeadModemToo) {
    modem.Mute(true);
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_TRUE(world.Logged(6, "AT+gtusbmode=32 !!! \n"));
}

TEST_F(FiboComLeTest, UsbModeWithThe32NeedsNoRestart) {
    AnswerSetUp();
    for (const char* line : {"+GTUSBMODE: 32", "+GTUSBMODE: 132", "+GTUSBMODE: 320"}) {
        modem.exchanges.clear();
        modem.On("AT+gtusbmode?", Answer(line));
        cell.Initialize();
        for (const std::string& command : modem.Sent()) {
            EXPECT_NE("AT+gtusbmode=32", command) << line;
            EXPECT_NE("AT+CFUN=15\r\n", command) << line;
        }
        EXPECT_TRUE(world.Logged(6, "AT+gtusbmode? " + Answer(line) + "!!! \n")) << line;
    }
}

TEST_F(FiboComLeTest, OtherUsbModeIsSetAndTheModuleRestarted) {
    AnswerSetUp();
    modem.On("AT+gtusbmode?", Answer("+GTUSBMODE: 18"));
    modem.On("AT+gtusbmode=32", kOk);
    modem.On("AT+CFUN=15", kOk);
    cell.Initialize();
    const Texts sent = modem.Sent();
    ASSERT_EQ(8u, sent.size());
    EXPECT_EQ((Texts{"AT+gtusbmode?", "AT+gtusbmode=32", "AT+CFUN=15\r\n", "AT+CFUN=0"}),
              Texts(sent.begin(), sent.begin() + 4));
    EXPECT_NEAR(1 + 20, GapBehind(2), 0.01);
    EXPECT_TRUE(world.Logged(6, "AT+gtusbmode=32 \r\nOK\r\n!!! \n"));
}

// Registration and SIM

TEST_F(FiboComLeTest, RegistrationIsTestedInTwoSteps) {
    ExpectTwoStepRegistration();
}

TEST_F(FiboComLeTest, CheckSimCardTakes20CharactersOfTheIccid) {
    ExpectIccidFrom("AT+CCID", "+CCID: ");
}

// Network type

TEST_F(FiboComLeTest, NetworkTypeIsLteWithoutQuotesForA4) {
    modem.On("AT+GTCCINFO?", kCells);
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    EXPECT_EQ(1, cell.ReadCSQ());
    EXPECT_EQ((Texts{"AT+GTCCINFO?\r\n", "AT+CSQ"}), modem.Sent());
    EXPECT_NEAR(10.0, GapBehind(0), 0.01);
    EXPECT_STREQ("LTE", cell.m_NetworkType);
    const Texts log = {"GTCCINFO 11111 p:1,pRes:4,460,00,5A1C,B3F2A10,1650\n",
                       "GTCCINFO 22222 p:4,pRes:460,00,5A1C,B3F2A10,1650\n", "Network type:LTE\n"};
    Texts own = TextsOfFile(kDriver);
    ASSERT_EQ(5u, own.size());
    EXPECT_EQ(log, Texts(own.begin() + 2, own.end()));
}

TEST_F(FiboComLeTest, AnyOtherAnswerKeepsTheNetworkType) {
    const struct {
        std::string answer;
        Texts log;  // of ReadCSQ
    } cases[] = {
        {"\r\n+GTCCINFO:\r\n1,2,460\r\n",
         {"GTCCINFO 11111 p:1,pRes:2,460\n", "GTCCINFO 22222 p:2,pRes:460\n"}},
        {"\r\n+GTCCINFO:\r\n1,44\r\n", {"GTCCINFO 11111 p:1,pRes:44\n", "GTCCINFO 22222 p:44,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n1,,4\r\n", {"GTCCINFO 11111 p:1,pRes:,4\n", "GTCCINFO 22222 p:,pRes:4\n"}},
        {"\r\n+GTCCINFO:\r\n1,\r\n", {"GTCCINFO 11111 p:1,pRes:\n", "GTCCINFO 22222 p:,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n1\r\n", {"GTCCINFO 11111 p:1,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n\r\nOK\r\n", {"GTCCINFO 11111 p:,pRes:(null)\n"}},
        {"\r\n+GTCCINFO:\r\n1,x\r\n", {"GTCCINFO 11111 p:1,pRes:x\n", "GTCCINFO 22222 p:x,pRes:(null)\n"}},
        {kError, {}},
        {"", {}},
    };
    copy_text(cell.m_NetworkType, "old");
    modem.On("AT+CSQ", kError);
    for (const auto& test : cases) {
        world.log.clear();
        modem.On("AT+GTCCINFO?", test.answer);
        EXPECT_EQ(0, cell.ReadCSQ());
        EXPECT_STREQ("old", cell.m_NetworkType) << test.answer;
        Texts log = test.log;
        log.push_back("Network type:old\n");
        EXPECT_EQ(log, world.LogOf("ReadCSQ")) << test.answer;
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
    for (char* field : fields) copy_text(field, sizeof cell.m_RSRP_LEVEL, "before");
    const Texts log = LogOfSignal(Answer("+CESQ: 99,99,255,255,20,48"));
    const Texts expected = {"CESQ info num[0]: p=99, pRes=99,255,255,20,48 !!!!!!\n",
                            "CESQ info num[1]: p=99, pRes=255,255,20,48 !!!!!!\n",
                            "CESQ info num[2]: p=255, pRes=255,20,48 !!!!!!\n",
                            "CESQ info num[3]: p=255, pRes=20,48 !!!!!!\n",
                            "CESQ info num[4]: p=20, pRes=48 !!!!!!\n",
                            "CESQ info num[5]: p=48, pRes=(null) !!!!!!\n",
                            "CESQ info,rsrp_level:48 !!!!!!\n",
                            "CESQ info,caculate real rsrp_level:-93 !!!!!!\n"};
    EXPECT_EQ(expected, log);
    EXPECT_EQ(Texts{"AT+CESQ\r\n"}, modem.Sent());
    for (const char* field : fields) EXPECT_STREQ("before", field);
}

TEST_F(FiboComLeTest, ShortSignalGoesOnWithAnEmptyRsrp) {
    const Texts expected = {"CESQ info num[0]: p=99, pRes=98 !!!!!!\n",
                            "CESQ info num[1]: p=98, pRes=(null) !!!!!!\n", "CESQ info,pRes is null\n",
                            "CESQ info,rsrp_level:0 !!!!!!\n",
                            "CESQ info,caculate real rsrp_level:-141 !!!!!!\n"};
    EXPECT_EQ(expected, LogOfSignal(Answer("+CESQ: 99,98")));
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
    };
    for (const auto& test : cases) {
        const Texts log = LogOfSignal(Answer("+CESQ: 1,2,3,4,5," + test.rsrp));
        ASSERT_EQ(8u, log.size()) << test.rsrp;
        EXPECT_EQ("CESQ info,rsrp_level:" + std::to_string(test.level) + " !!!!!!\n", log[6]) << test.rsrp;
        EXPECT_EQ("CESQ info,caculate real rsrp_level:" + std::to_string(test.dbm) + " !!!!!!\n", log[7])
            << test.rsrp;
    }
}

TEST_F(FiboComLeTest, AnswerWithoutSignalSaysNothing) {
    for (const std::string& answer : {std::string(kError), std::string(), Answer("+CSQ: 1,2")}) {
        EXPECT_EQ(Texts{}, LogOfSignal(answer)) << answer;
    }
}

// Parser

TEST_F(FiboComLeTest, ReservedRowIsLoggedAndGivesNoHint) {
    ExpectTexts({{"ReSeRvEd:x", 0, ""}, {"ReSeRvEd: +CCID: 8986", 0, ""}});
    EXPECT_TRUE(world.Logged(7, "65 x\n"));
}

TEST_F(FiboComLeTest, CcidRow) {
    ExpectTexts({
        {Answer("+CCID: 8986"), kHintFibocomLeCcid, "8986"},
        {"+CCID: ", kHintFibocomLeCcid, ""},
        {"+CCID:8986\r\n", 0, ""},
        {"+CCID: 8986,1,2\r\n", kHintFibocomLeCcid, "8986,1,2"},
        {"+CCID: not a number\n", kHintFibocomLeCcid, "not a number"},
        {"+CCID: " + std::string(127, '8'), kHintFibocomLeCcid, std::string(127, '8')},
        {"+CCID: " + std::string(249, '8'), kHintFibocomLeCcid, std::string(127, '8')},
        {"+CCID: \x80\xff\xfe\r\n", kHintFibocomLeCcid, "\x80\xff\xfe"},
        {"+CCID: 1\r\n+CCID: 2\r\n", kHintFibocomLeCcid, "1"},
        {"+CESQ: 1\r\n+CCID: 2\r\n", kHintFibocomLeCcid, "2"},
    });
    EXPECT_TRUE(world.Logged(7, "66 8986\r\n\r\nOK\r\n\n"));
}

TEST_F(FiboComLeTest, GtrndisRow) {
    ExpectNumbers({
        {Answer("+GTRNDIS: 1,1,\"10.0.0.2\""), kHintFibocomLeGtrndis, 1},
        {"+GTRNDIS: ", kHintFibocomLeGtrndis, 0},
        {"+GTRNDIS: ,1", kHintFibocomLeGtrndis, 0},
        {"+GTRNDIS: x", kHintFibocomLeGtrndis, 0},
        {"+GTRNDIS: 99999999999999999999", kHintFibocomLeGtrndis, INT32_MAX},
        {"+GTRNDIS: " + std::string(246, '0'), kHintFibocomLeGtrndis, 0},
        {"+GTRNDIS: \xff\x80", kHintFibocomLeGtrndis, 0},
        {"+GTRNDIS: 1\r\n+GTRNDIS: 0\r\n", kHintFibocomLeGtrndis, 1},
        {"+GTCCINFO:\r\n1,4\r\n+GTRNDIS: 1", kHintFibocomLeGtrndis, 1},
        {"+GTRNDIS:1", 0, 0},
    });
    EXPECT_TRUE(world.Logged(7, "67 1,1,\"10.0.0.2\"\r\n\r\nOK\r\n\n"));
}

/// The fifth text between single line-end characters, counted from the start of the answer.
TEST_F(FiboComLeTest, GtccinfoRow) {
    ExpectTexts({
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
    });
    EXPECT_TRUE(world.Logged(7, std::string("68 \r\n") + kCellLine + "\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(7, std::string("FIBOLEGTCCINFO is:") + kCellLine + "\n"));
    EXPECT_EQ(0, world.CountLogged("FIBOLEGTCCINFO: get networkType fail !\n"));
}

TEST_F(FiboComLeTest, CesqRow) {
    ExpectTexts({
        {Answer("+CESQ: 99,99,255,255,20,48"), kHintCesq, "99,99,255,255,20,48"},
        {"+CESQ: ", kHintCesq, ""},
        {"+CESQ: \r\n1,2", kHintCesq, ""},
        {"+CESQ:1,2", 0, ""},
        {"+CESQ: 1,2,3,4,5,6,7,8,9\n", kHintCesq, "1,2,3,4,5,6,7,8,9"},
        {"+CESQ: ,,,,,", kHintCesq, ",,,,,"},
        {"+CESQ: a,b", kHintCesq, "a,b"},
        {"+CESQ: " + std::string(128, '9'), kHintCesq, std::string(127, '9')},
        {"+CESQ: " + std::string(249, '9'), kHintCesq, std::string(127, '9')},
        {"+CESQ: \xff\x80\r\n", kHintCesq, "\xff\x80"},
        {"+CESQ: 1\r\n+CESQ: 2\r\n", kHintCesq, "1"},
    });
    EXPECT_TRUE(world.Logged(7, "69 99,99,255,255,20,48\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(7, "FIBOLECESQ:99,99,255,255,20,48\n"));
}

TEST_F(FiboComLeTest, MgauthIsNoRowHere) {
    EXPECT_EQ(0, Parse("+MGAUTH: 1,3\r\n").type);
    EXPECT_TRUE(TextsOfFile(kDriver).empty());
}

TEST_F(FiboComLeTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"+CCID: ", "8986", kHintFibocomLeCcid},
        {"+GTRNDIS: ", "12,1", kHintFibocomLeGtrndis},
        {"\r\n+GTCCINFO:", "\r\n1,4,460", kHintGtccinfo},
        {"+CESQ: ", "99,99,255,255,20,48", kHintCesq},
    });
}

TEST_F(FiboComLeTest, RowOfTheBaseWins) {
    EXPECT_EQ(kHintCsq, Parse("+CCID: 8986\r\n+CSQ: 5,99\r\n").type);
    EXPECT_TRUE(TextsOfFile(kDriver).empty());
}

TEST_F(FiboComLeTest, MissingTextIsUnknown) {
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
    EXPECT_TRUE(world.log.empty());
}

TEST_F(FiboComLeTest, PercentInAnAnswerIsText) {
    LogOfSignal(Answer("+CESQ: %s,%n,%d"));
    EXPECT_TRUE(world.Logged(7, "FIBOLECESQ:%s,%n,%d\n"));
    EXPECT_TRUE(world.Logged(7, "CESQ info num[0]: p=%s, pRes=%n,%d !!!!!!\n"));
}

// Places of the lines

TEST_F(FiboComLeTest, EachLineNamesThisDriverItsOperationAndLevel) {
    AnswerSimCheck();
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    modem.On("AT+gtusbmode=32", kOk);
    modem.On("AT+CFUN=15", kOk);
    modem.On("AT+CCID", Answer("+CCID: 8986"));
    modem.On("AT+GTCCINFO?", kCells);
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    modem.On("AT+CESQ", Answer("+CESQ: 1"));
    modem.OnSequence("AT+GTRNDIS=1,1", {kOk, kError, kError});
    modem.OnSequence("AT+GTRNDIS?", {kOk, kError, Answer("+GTRNDIS: 1")});
    modem.OnSequence("AT+gtusbmode?", {Answer("+GTUSBMODE: 32"), Answer("+GTUSBMODE: 17")});
    cell.Initialize();
    cell.Initialize();
    for (int i = 0; i < 3; ++i) cell.DoConnect();
    cell.CheckConnection();
    cell.CheckSimCard();
    cell.CheckSignalStatus();
    cell.ReadCSQ();
    ExpectOwnLines(kDriver, {
                                {"Initialize", 6, "AT+gtusbmode? "},
                                {"Initialize", 6, "AT+gtusbmode=32 \r\nOK"},
                                {"Initialize", 5, "m_ModuleName = "},
                                {"DoConnect", 6, kRndisDialAnswer},
                                {"DoConnect", 6, "CONNECT!!! \n"},
                                {"DoConnect", 6, "CONNECTED!!! \n"},
                                {"DoConnect", 6, "AT+GTRNDIS=1 ERROR !!!\n"},
                                {"CheckSignalStatus", 7, "CESQ info num[0]: "},
                                {"CheckSignalStatus", 5, "CESQ info,pRes is null\n"},
                                {"CheckSignalStatus", 7, "CESQ info,rsrp_level:"},
                                {"CheckSignalStatus", 7, "CESQ info,caculate real rsrp_level:"},
                                {"ReadCSQ", 7, "GTCCINFO 11111 p:1,"},
                                {"ReadCSQ", 7, "GTCCINFO 22222 p:4,"},
                                {"ReadCSQ", 5, "Network type:"},
                                {"ParseAtResult", 7, "66 8986"},
                                {"ParseAtResult", 5, "CCID:8986\n"},
                                {"ParseAtResult", 7, "67 1"},
                                {"ParseAtResult", 7, "GTRNDIS: connect_type=1\n"},
                                {"ParseAtResult", 7, "68 "},
                                {"ParseAtResult", 7, "FIBOLEGTCCINFO is:"},
                                {"ParseAtResult", 7, "69 1"},
                                {"ParseAtResult", 7, "FIBOLECESQ:1\n"},
                            });
}

INSTANTIATE_TYPED_TEST_SUITE_P(Le370, FibocomRndis, CellFiboLE370);

}  // namespace
