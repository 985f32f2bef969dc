// Module CellChuangYi: the dialect of ChuangYi modules on Innofidei chipsets.
#include "CellSubClass/src/CellChuangYi.h"

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellChuangYi.cpp";
constexpr char kAskLink[] = "AT+RRCSTATE";
constexpr char kAskService[] = "AT+SYSINFO";

class ChuangYiTest : public DriverTest<CellChuangYi> {
  protected:
    Texts TakeLog() {
        Texts lines = LinesOfFile(kFile);
        world.log.clear();
        return lines;
    }
};

TEST_F(ChuangYiTest, NewObjectHasEth1AndSendsNothing) {
    EXPECT_STREQ("eth1", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Set-up

TEST_F(ChuangYiTest, InitializeIsTheEnginesOwnWithTheChipsetsName) {
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_EQ(BaseSetUp(), modem.Sent());
    EXPECT_STREQ("Innofidei", cell.m_vendor_name);
    EXPECT_STREQ("Innofidei", cell.m_fw_version);
    EXPECT_EQ(Texts{"5 Initialize: m_ModuleName = Some \n"}, TakeLog());
}

// IMSI

struct ImsiCase {
    std::string imsi;
    std::string command;
};

TEST_F(ChuangYiTest, SetImsiWritesItInThreeParametersAndSaves) {
    const ImsiCase cases[] = {
        {"4600112345", "AT+SCFG=usim,460,01,12345"},
        {"460011234567890", "AT+SCFG=usim,460,01,1234567890"},
        {std::string(32, '1'), "AT+SCFG=usim,111,11," + std::string(27, '1')},
        {"46,\"1%s%n\xff", "AT+SCFG=usim,46,,\"1,%s%n\xff"},
    };
    modem.On("AT+SCFG=SAVE", kOk);
    for (const ImsiCase& test : cases) {
        modem.exchanges.clear();
        modem.On(test.command, kError);  // the answers are not read
        EXPECT_EQ(1, cell.SetIMSI(test.imsi.c_str())) << test.imsi;
        const Texts expected = {test.command, "AT+SCFG=SAVE"};
        EXPECT_EQ(expected, modem.Sent());
        EXPECT_EQ(test.imsi, cell.GetIMSI());
    }
    EXPECT_EQ(Texts{}, TakeLog());
}

TEST_F(ChuangYiTest, ImsiOf9Or33CharactersIsRefusedWithoutAWord) {
    copy_text(cell.m_card_imsi, "before");
    for (const size_t length : {0, 1, 9, 33, 63, 200}) {
        EXPECT_EQ(0, cell.SetIMSI(std::string(length, '1').c_str())) << length;
    }
    EXPECT_EQ(0, cell.SetIMSI(nullptr));
    EXPECT_TRUE(modem.exchanges.empty());
    EXPECT_STREQ("before", cell.m_card_imsi);
    EXPECT_EQ(Texts{}, TakeLog());
}

TEST_F(ChuangYiTest, ImsiOf10And32CharactersIsSent) {
    modem.AllowUnknown();
    for (const size_t length : {10, 32}) {
        modem.exchanges.clear();
        EXPECT_EQ(1, cell.SetIMSI(std::string(length, '1').c_str())) << length;
        EXPECT_EQ(2u, modem.exchanges.size()) << length;
    }
}

// Dial and hang-up

TEST_F(ChuangYiTest, DialGivesNoApnAndWaitsASecondForTheRadio) {
    copy_text(cell.m_apn, "internet");
    modem.AllowUnknown();
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", "AT+CGDCONT=1", "AT+CGDCONT=1,\"IP\"", "AT+CGACT=1,1"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(2.0, modem.exchanges[1].at_seconds - modem.exchanges[0].at_seconds, 0.01);
    EXPECT_NEAR(1.0, modem.exchanges[2].at_seconds - modem.exchanges[1].at_seconds, 0.01);
}

TEST_F(ChuangYiTest, DialOfADeadModemSucceeds) {
    modem.Mute(true);
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_EQ(4u, modem.exchanges.size());
}

TEST_F(ChuangYiTest, HangUpAndSimCheckAreTheEnginesOwn) {
    AnswerSimCheck();
    EXPECT_EQ(1, cell.DisConnect());
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(Joined({"AT+CFUN=0"}, BaseSimCheck()), modem.Sent());
}

// Link

struct LinkCase {
    std::string answer;
    int32_t expected;
};

TEST_F(ChuangYiTest, RrcState1With7CountsAsUp) {
    modem.On(kAskLink, Answer("+RRCSTATE: 1,7"));
    EXPECT_EQ(1, cell.CheckConnection());
    EXPECT_EQ(Texts{kAskLink}, modem.Sent());
}

TEST_F(ChuangYiTest, LinkIsUpInState1Alone) {
    const LinkCase cases[] = {
        {Answer("+RRCSTATE:1"), 1},
        {Answer("+RRCSTATE: 1,0,3,4,5,6"), 1},
        {Answer("+RRCSTATE: 0,7"), 0},
        {Answer("+RRCSTATE: 2,7"), 0},
        {Answer("+RRCSTATE: ,1"), 0},
        {Answer("+RRCSTATE: on,1"), 0},
        {Answer("+RRCSTATE:"), 0},
        {Answer("+SYSINFO: 1,3"), 0},
        {Answer("+CREG: 1,1"), 0},
        {"\r\n+RRCSTATE: 1,7\r\n+CREG: 0,1\r\n", 0},  // the engine's rows come first
        {std::string(246, '.') + "+RRCSTATE:1", 0},   // cut at 256 bytes
        {std::string(245, '.') + "+RRCSTATE:1", 1},
        {kError, 0},
        {"", 0},
    };
    for (const LinkCase& test : cases) {
        modem.On(kAskLink, test.answer);
        EXPECT_EQ(test.expected, cell.CheckConnection()) << test.answer;
    }
}

// Service

TEST_F(ChuangYiTest, SysInfoGivesServiceAndTheSubmodeOfTheSeventhField) {
    modem.On(kAskService, Answer("+SYSINFO: 2,3,0,5,1,0,9"));
    EXPECT_EQ(1, cell.CheckServiceStatus());
    EXPECT_EQ(Texts{kAskService}, modem.Sent());
    const AtResult result = Parse("+SYSINFO: 2,3,0,5,1,8,9\r\n");
    EXPECT_EQ(kHintSysinfo, result.type);
    EXPECT_EQ(2, result.val);
    EXPECT_EQ(3, result.val2);
    EXPECT_EQ(0, result.val3);
    EXPECT_EQ(5, result.val4);
    EXPECT_EQ(1, result.val5);
    EXPECT_EQ(9, result.val6);
}

TEST_F(ChuangYiTest, ServiceIsStatus2AndTouchesNoRegistration) {
    const LinkCase cases[] = {
        {Answer("+SYSINFO: 2"), 1},
        {Answer("+SYSINFO:2,3,0,5,1,0,9,1,2,3,4"), 1},
        {Answer("+SYSINFO: 1,3,0,5,1,0,9"), 0},
        {Answer("+SYSINFO: 0,3,0,5,1,0,9"), 0},
        {Answer("+SYSINFO: 22,3,0,5,1,0,9"), 0},
        {Answer("+SYSINFO: ,2"), 0},
        {Answer("+SYSINFO:"), 0},
        {Answer("+RRCSTATE: 2,7"), 0},
        {Answer("+CEREG: 2,1"), 0},
        {std::string(247, '.') + "+SYSINFO:2", 0},  // cut at 256 bytes
        {std::string(246, '.') + "+SYSINFO:2", 1},
        {kError, 0},
        {"", 0},
    };
    cell.m_CEREG = cell.m_CGREG = 9;
    for (const LinkCase& test : cases) {
        modem.On(kAskService, test.answer);
        EXPECT_EQ(test.expected, cell.CheckServiceStatus()) << test.answer;
    }
    EXPECT_EQ(9, cell.m_CEREG);
    EXPECT_EQ(9, cell.m_CGREG);
    for (const std::string& command : modem.Sent()) EXPECT_EQ(kAskService, command);
}

// Parser

std::string SysInfoLine(const std::vector<int32_t>& n) {
    const auto text = [&n](size_t i) { return std::to_string(n[i]); };
    return "5 ParseAtResult: SYSINFO: srv_status=" + text(0) + ",srv_domain=" + text(1) +
           ",roam_status=" + text(2) + ",\n            \tsys_mode=" + text(3) + ",sim_state=" + text(4) +
           ",sys_submode=" + text(5) + "\n";
}

std::string StateLine(const std::vector<int32_t>& n) {
    return "5 ParseAtResult: Connect Status: stat=" + std::to_string(n[0]) + " AcT=" + std::to_string(n[1]) +
           "\n";
}

TEST_F(ChuangYiTest, SysInfoLineIsOneMessageWithALineEndInside) {
    Parse("+SYSINFO: 2,3,0,5,1,0,9\r\n");
    EXPECT_TRUE(world.Logged(5,
                             "SYSINFO: srv_status=2,srv_domain=3,roam_status=0,\n            "
                             "\tsys_mode=5,sim_state=1,sys_submode=9\n"));
}

struct FieldsCase {
    std::string behind_prefix;
    std::vector<int32_t> numbers;
};

TEST_F(ChuangYiTest, RrcStateFieldsOfAnyForm) {
    const FieldsCase cases[] = {
        {" 1,7\r\n", {1, 7}},
        {"1,7", {1, 7}},
        {" 1", {1, 0}},
        {"", {0, 0}},
        {",", {0, 0}},
        {" ,7", {0, 7}},
        {" 1,7,8,9,10", {1, 7}},
        {" a,b", {0, 0}},
        {" -1,-7\r", {-1, -7}},
        {" 1\r\n\r\nOK", {1, 0}},  // the second field is what stands between two line ends
        {" 99999999999,88888888888", {2147483647, 2147483647}},
        {" " + std::string(150, '0') + "1,7", {0, 7}},
        {" \xff\x80,7\xff", {0, 7}},
        {" %s%n,7", {0, 7}},
        {" 1,7\r\n+RRCSTATE: 2,8", {1, 7}},
    };
    for (const FieldsCase& test : cases) {
        const AtResult result = Parse("+RRCSTATE:" + test.behind_prefix);
        EXPECT_EQ(kHintRrcstate, result.type) << test.behind_prefix;
        EXPECT_EQ(test.numbers[0], result.val) << test.behind_prefix;
        EXPECT_EQ(test.numbers[1], result.val2) << test.behind_prefix;
        const Texts log = {"5 ParseAtResult: 21 " + test.behind_prefix + "\n", StateLine(test.numbers)};
        EXPECT_EQ(log, TakeLog());
    }
}

TEST_F(ChuangYiTest, SysInfoFieldsOfAnyForm) {
    const FieldsCase cases[] = {
        {" 2,3,0,5,1,0,9\r\n", {2, 3, 0, 5, 1, 9}},
        {"1,2,3,4,5,6,7", {1, 2, 3, 4, 5, 7}},
        {" 1,2,3,4,5,6,7,8,9,10", {1, 2, 3, 4, 5, 7}},
        {" 1,2,3,4,5,6", {1, 2, 3, 4, 5, 0}},
        {" 2", {2, 0, 0, 0, 0, 0}},
        {"", {0, 0, 0, 0, 0, 0}},
        {",,,,,,", {0, 0, 0, 0, 0, 0}},
        {",,,,,,7", {0, 0, 0, 0, 0, 7}},
        {" a,b,c,d,e,f,g", {0, 0, 0, 0, 0, 0}},
        {" 2,99999999999,3,4,5,6,-99999999999", {2, 2147483647, 3, 4, 5, -2147483647 - 1}},
        {" 2," + std::string(100, '0') + "3,3,4,5,6,7", {2, 0, 3, 4, 5, 7}},
        {" 2,\xff,3\x80,4,5,6,7", {2, 0, 3, 4, 5, 7}},
        {" 2,%s,%n,4,5,6,7", {2, 0, 0, 4, 5, 7}},
    };
    for (const FieldsCase& test : cases) {
        const AtResult result = Parse("+SYSINFO:" + test.behind_prefix);
        EXPECT_EQ(kHintSysinfo, result.type) << test.behind_prefix;
        const std::vector<int32_t> numbers = {result.val,  result.val2, result.val3,
                                              result.val4, result.val5, result.val6};
        EXPECT_EQ(test.numbers, numbers) << test.behind_prefix;
        const Texts log = {"5 ParseAtResult: 22 " + test.behind_prefix + "\n", SysInfoLine(test.numbers)};
        EXPECT_EQ(log, TakeLog());
    }
}

struct RowCase {
    const char* answer;
    int32_t type;
    Texts log;
};

TEST_F(ChuangYiTest, RowsAreFoundInTheirOrder) {
    const RowCase cases[] = {
        {"\r\nOK\r\n", 0, {}},
        {"", 0, {}},
        {"+DATASTATUS: 1", 0, {}},
        {"ReSeRvEd:x", 0, {"5 ParseAtResult: 20 x\n"}},
        {"ReSeRvEd:+RRCSTATE: 1", 0, {"5 ParseAtResult: 20 +RRCSTATE: 1\n"}},
        {"+SYSINFO: 2\r\n+RRCSTATE: 1,7",
         21,
         {"5 ParseAtResult: 21  1,7\n", "5 ParseAtResult: Connect Status: stat=1 AcT=7\n"}},
        {"+SYSINFO: 2\r\n+CSQ: 3,99", kHintCsq, {}},
    };
    for (const RowCase& test : cases) {
        EXPECT_EQ(test.type, Parse(test.answer).type) << test.answer;
        EXPECT_EQ(test.log, TakeLog()) << test.answer;
    }
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
}

TEST_F(ChuangYiTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"+RRCSTATE:", " 1,7", kHintRrcstate},
        {"+SYSINFO:", " 2,3,0,5,1,8,9", kHintSysinfo},
    });
}

// Unsolicited texts

TEST_F(ChuangYiTest, Hint16IsTheOnlineStateThoughNoRowGivesIt) {
    AtResult result = {};
    result.type = kHintDataStatus;
    result.val = 2;
    EXPECT_EQ(1, cell.DealHint(result));
    EXPECT_EQ(1, cell.m_online);
    result.val = 0;
    EXPECT_EQ(1, cell.DealHint(result));
    EXPECT_EQ(0, cell.m_online);
    EXPECT_EQ(0, Hear("+DATASTATUS: 1"));
    EXPECT_EQ(0, cell.m_online);
}

TEST_F(ChuangYiTest, OtherHintsGoToTheEngine) {
    EXPECT_EQ(0, Hear("+RRCSTATE: 1,7"));
    EXPECT_EQ(0, Hear("+SYSINFO: 2"));
    EXPECT_EQ(0, cell.m_online);
    modem.On("AT+PSRAT", Answer("+PSRAT: LTE TDD"));
    EXPECT_EQ(1, Hear("+NWTYPEIND: 7"));
    EXPECT_STREQ("LTE TDD", cell.m_NetworkType);
}

// Places of the lines

TEST_F(ChuangYiTest, EachLineNamesThisDriverItsOperationAndLevel) {
    modem.AllowUnknown();
    AnswerSimCheck();
    modem.On(kAskLink, Answer("+RRCSTATE: 1,7"));
    modem.On(kAskService, Answer("+SYSINFO: 2,3,0,5,1,0,9"));
    cell.Initialize();
    cell.CheckSimCard();
    cell.SetIMSI("460010000000001");
    cell.CheckServiceStatus();
    cell.DoConnect();
    cell.CheckConnection();
    cell.DisConnect();
    const std::string end = "\r\n\r\nOK\r\n\n";
    const Texts expected = {"5 Initialize: m_ModuleName = Some \n",
                            "5 ParseAtResult: 22  2,3,0,5,1,0,9" + end, SysInfoLine({2, 3, 0, 5, 1, 9}),
                            "5 ParseAtResult: 21  1,7" + end, StateLine({1, 7})};
    EXPECT_EQ(expected, TakeLog());
    EXPECT_EQ(Texts{}, LinesOfHelpers());
}

}  // namespace
