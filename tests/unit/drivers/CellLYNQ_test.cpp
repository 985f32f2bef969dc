// Module CellLYNQ: the dialect of LYNQ modules.
#include "CellSubClass/src/CellLYNQ.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kDriver[] = "CellSubClass/src/CellLYNQ.cpp";
constexpr char kReport[] = "LTE,Online,460-00,0x5A1C,187905552,211,3,1650,100,100,-11,-95,-67,23,14";
const Texts kInterfaceRestart = {"ifconfig wwan0 down", "ifconfig wwan0 up"};

class LynqTest : public DriverTest<CellLYNQ> {
  protected:
    void SetUp() override {
        DriverTest::SetUp();
        cell.SetVendorType(kVendorLynq);
        world.log.clear();
    }

    /// One link test, with these answers to its two questions.
    int32_t CheckConnection(const std::string& report, const std::string& link) {
        world.log.clear();
        modem.exchanges.clear();
        modem.On("AT+CPSI?", report);
        modem.On("AT+NETOPEN?", link);
        return cell.CheckConnection();
    }

    void ExpectCell(const char* system, const char* pcid, const char* band, const char* rsrp,
                    const char* sinr) {
        EXPECT_STREQ(system, cell.m_NetworkType);
        EXPECT_STREQ(pcid, cell.m_pcid);
        EXPECT_STREQ(band, cell.m_band);
        EXPECT_STREQ(rsrp, cell.m_RSRP);
        EXPECT_STREQ(sinr, cell.m_SINR);
        EXPECT_STREQ("", cell.m_RSRP_LEVEL);
    }
};

TEST_F(LynqTest, NewObjectHasWwan0AndSendsNothing) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Initialize

TEST_F(LynqTest, InitializeAddsOperatorNameAndLedToTheBasesSetUp) {
    CellBase::m_ModuleName = "LYNQ";
    modem.On("AT+COPS=0,0", kOk);
    modem.On("AT+CGNETLED=1", kOk);
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"ATZ",         "AT&F",    "ATE0",        "AT+CFUN=0",    "AT+CFUN=1",
                            "AT+MODODR=2", "AT+MEID", "AT+COPS=0,0", "AT+CGNETLED=1"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_TRUE(world.shell.empty());
    EXPECT_STREQ("LYNQ", cell.m_vendor_name);
    EXPECT_STREQ("L503", cell.m_fw_version);
    EXPECT_EQ(Texts{"m_ModuleName = LYNQ \n"}, TextsOfFile(kDriver));
}

// Dial

TEST_F(LynqTest, DialIsOneCommandAndTheInterfaceAnew) {
    copy_text(cell.m_apn, "my.apn");
    modem.On("AT+NETOPEN", Answer("+NETOPEN:SUCCESS"));
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_EQ(Texts{"AT+NETOPEN"}, modem.Sent());
    EXPECT_EQ(kInterfaceRestart, world.Commands());
    EXPECT_NEAR(1.0, world.shell[0].at_seconds, 0.01);
    const Texts log = {"DoConnect SUCCESS\n", "AT+NETOPEN and response SUCCESS\n"};
    EXPECT_EQ(log, world.LogOf("DoConnect"));
}

/// The answer is looked at when the interface has been restarted.
TEST_F(LynqTest, DialParsesTheAnswerBehindTheShell) {
    modem.On("AT+NETOPEN", Answer("+NETOPEN:SUCCESS"));
    size_t lines_at_last_command = 99;
    world.OnSystem("ifconfig wwan0 up", [&] { lines_at_last_command = world.LogOf("ParseAtResult").size(); });
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_EQ(0u, lines_at_last_command);
    EXPECT_EQ(2u, world.LogOf("ParseAtResult").size());
}

TEST_F(LynqTest, DialSucceedsByTheWordAnywhere) {
    const struct {
        std::string answer;
        int32_t expected;
        Texts log;
    } cases[] = {
        {Answer("+NETOPEN: SUCCESS"), 1, {"DoConnect  SUCCESS\n", "AT+NETOPEN and response  SUCCESS\n"}},
        {Answer("+NETOPEN:x SUCCESSFUL"),
         1,
         {"DoConnect x SUCCESSFUL\n", "AT+NETOPEN and response x SUCCESSFUL\n"}},
        {Answer("+NETOPEN:FAIL"), 0, {"DoConnect FAIL\n", "AT+NETOPEN and response FAIL\n"}},
        {Answer("+NETOPEN:success"), 0, {"DoConnect success\n", "AT+NETOPEN and response success\n"}},
        {Answer("+NETOPEN:\r\nSUCCESS"), 0, {"DoConnect \n", "AT+NETOPEN and response \n"}},
        {Answer("+NETCLOSE:SUCCESS"), 0, {"DoConnect SUCCESS\n"}},
        {kOk, 0, {"DoConnect \n"}},
        {"", 0, {"DoConnect \n"}},
    };
    for (const auto& test : cases) {
        world.log.clear();
        world.shell.clear();
        modem.On("AT+NETOPEN", test.answer);
        EXPECT_EQ(test.expected, cell.DoConnect()) << test.answer;
        EXPECT_EQ(kInterfaceRestart, world.Commands()) << test.answer;
        EXPECT_EQ(test.log, world.LogOf("DoConnect")) << test.answer;
    }
}

// Hang-up

TEST_F(LynqTest, HangUpIsConfirmedByTheExactWord) {
    const struct {
        std::string answer;
        int32_t expected;
        Texts log;
    } cases[] = {
        {Answer("+NETCLOSE:SUCCESS"), 1, {"AT+NETCLOSE\n"}},
        {Answer("+NETCLOSE: SUCCESS"), 0, {"AT+NETCLOSE\n"}},
        {Answer("+NETCLOSE:SUCCESSFUL"), 0, {"AT+NETCLOSE\n"}},
        {Answer("+NETCLOSE:"), 0, {"AT+NETCLOSE\n"}},
        {Answer("+NETOPEN:SUCCESS"), 0, {}},
        {kOk, 0, {}},
        {"", 0, {}},
    };
    for (const auto& test : cases) {
        world.log.clear();
        modem.exchanges.clear();
        modem.On("AT+NETCLOSE", test.answer);
        EXPECT_EQ(test.expected, cell.DisConnect()) << test.answer;
        EXPECT_EQ(test.log, world.LogOf("DisConnect")) << test.answer;
        EXPECT_EQ(Texts{"AT+NETCLOSE"}, modem.Sent());  // the radio stays on
    }
}

// Link and signal

TEST_F(LynqTest, LinkIsUpWithA1Anywhere) {
    const struct {
        std::string answer;
        int32_t expected;
    } cases[] = {
        {Answer("+NETOPEN: 1"), 1}, {Answer("+NETOPEN:1"), 1},       {Answer("+NETOPEN: 0"), 0},
        {Answer("+NETOPEN:10"), 1}, {Answer("+NETOPEN: 0,1"), 1},    {Answer("+NETOPEN:"), 0},
        {Answer("+NETOPEN: 2"), 0}, {Answer("+NETCLOSE: 1"), 0},     {Answer("+CREG: 1,1"), 0},
        {Answer("1"), 0},           {Answer("+NETOPEN:SUCCESS"), 0}, {"", 0},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(test.expected, CheckConnection(kError, test.answer)) << test.answer;
        EXPECT_EQ((Texts{"AT+CPSI?", "AT+NETOPEN?"}), modem.Sent());
    }
}

TEST_F(LynqTest, ReportIsStoredOnTheWay) {
    copy_text(cell.m_band, "8");
    copy_text(cell.m_RSRP, "-90");
    EXPECT_EQ(1, CheckConnection(Answer(std::string("+CPSI:") + kReport), Answer("+NETOPEN: 1")));
    ExpectCell("LTE", "211", "3", "-95", "14");
    const Texts log = {"AT+CPSI common str:" + std::string(kReport) +
                           ", len: " + std::to_string(strlen(kReport)) + "!!!\r\n",
                       "Band change: last band[8] rsrp[-90], current band[3] rsrp[-95]\n",
                       "CPSI info, pcid:211 !\n",
                       "CPSI info, band:3 !\n",
                       "CPSI info, rsrp:-95 !\n",
                       "CPSI info, sinr:14 !\n",
                       "Network type:LTE\n",
                       "AT+NETOPEN? and response  1\n"};
    EXPECT_EQ(log, world.LogOf("CheckConnection"));
}

TEST_F(LynqTest, SameBandIsNoChange) {
    copy_text(cell.m_band, "3");
    CheckConnection(Answer(std::string("+CPSI:") + kReport), kOk);
    for (const std::string& line : world.LogOf("CheckConnection")) EXPECT_NE(0u, line.find("Band change"));
    EXPECT_EQ(0, world.CountLogged("CPSI info,pRes do not have valid data\n"));
}

TEST_F(LynqTest, AnswerWithoutReportKeepsTheValuesAndStillAsksForTheLink) {
    CheckConnection(Answer(std::string("+CPSI:") + kReport), kOk);
    for (const std::string& answer : {std::string(kError), std::string(), Answer("+CREG: 0,1"),
                                      Answer("+ICCID:8986"), Answer("CPSI:LTE,1,2,3,4,5,6")}) {
        EXPECT_EQ(1, CheckConnection(answer, Answer("+NETOPEN: 1"))) << answer;
        ExpectCell("LTE", "211", "3", "-95", "14");
    }
    EXPECT_TRUE(world.Logged(7, "AT+CPSI common str:, len: 0!!!\r\n"));
}

TEST_F(LynqTest, ShortReportEmptiesWhatItLacks) {
    const struct {
        std::string report;
        const char *system, *pcid, *band, *rsrp, *sinr;
    } cases[] = {
        {"+CPSI:NO SERVICE,Online", "NO SERVICE", "", "", "", ""},
        {"+CPSI: LTE,1,2,3,4,55,6", " LTE", "55", "6", "", ""},
        {"+CPSI:LTE,1,2,3,4,55,6,7,8,9,10,-99,12,13", "LTE", "55", "6", "-99", ""},
        {"+CPSI:", "", "", "", "", ""},
        {"+CPSI:,,,,,,,,,", "", "", "", "", ""},
    };
    for (const auto& test : cases) {
        CheckConnection(Answer(std::string("+CPSI:") + kReport), kOk);
        CheckConnection(Answer(test.report), kOk);
        ExpectCell(test.system, test.pcid, test.band, test.rsrp, test.sinr);
        EXPECT_TRUE(world.Logged(5, "CPSI info,pRes do not have valid data\n")) << test.report;
    }
}

TEST_F(LynqTest, FullAndSurplusReportsAreNotShort) {
    for (const char* tail : {"", ",16,17,18"}) {
        CheckConnection(Answer(std::string("+CPSI:") + kReport + tail), kOk);
        ExpectCell("LTE", "211", "3", "-95", "14");
        EXPECT_EQ(0, world.CountLogged("CPSI info,pRes do not have valid data\n")) << tail;
    }
    CheckConnection(Answer("+CPSI:LTE,1,2,3,4,55,6,7,8,9,10,-99,12,13,"), kOk);
    ExpectCell("LTE", "55", "6", "-99", "");
    EXPECT_EQ(0, world.CountLogged("CPSI info,pRes do not have valid data\n"));
}

/// A slot takes 23 characters, and the members 15 of them.
TEST_F(LynqTest, LongFieldsAreCut) {
    const std::string field(30, '7');
    CheckConnection(Answer("+CPSI:" + field + ",1,2,3,4," + field + "," + field), kOk);
    ExpectCell(field.substr(0, 23).c_str(), field.substr(0, 15).c_str(), field.substr(0, 15).c_str(), "", "");
    EXPECT_TRUE(world.Logged(7, "CPSI info, pcid:" + field.substr(0, 23) + " !\n"));
    const std::string odd = "\xff\x80";
    CheckConnection(Answer("+CPSI:" + odd + ",1,2,3,4," + odd + ",x"), kOk);
    ExpectCell(odd.c_str(), odd.c_str(), "x", "", "");
}

// Registration and SIM

TEST_F(LynqTest, RegistrationOfLteAloneDecides) {
    const struct {
        std::string answer;
        int32_t expected, cereg;
        Texts log;
    } cases[] = {
        {Answer("+CEREG: 0,1"), 1, 1, {"AT+CEREG 0 1\n"}},
        {Answer("+CEREG: 2,5"), 1, 5, {"AT+CEREG 2 5\n"}},
        {Answer("+CEREG: 0,3"), 0, 3, {"AT+CEREG 0 3\n"}},
        {Answer("+CEREG: 1"), 0, 0, {"AT+CEREG 1 0\n"}},
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
        EXPECT_EQ(test.log, world.LogOf("CheckServiceStatus")) << test.answer;
    }
}

TEST_F(LynqTest, CheckSimCardTakes20CharactersOfTheIccid) {
    ExpectIccidFrom("AT+ICCID", "+ICCID:");
}

TEST_F(LynqTest, IccidKeepsTheBlankBehindTheColon) {
    AnswerSimCheck();
    modem.On("AT+ICCID", Answer("+ICCID: 89860011223344556677"));
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_STREQ(" 8986001122334455667", cell.m_card_iccid);
}

TEST_F(LynqTest, SignalIsTheBasesCsqAlone) {
    modem.On("AT+CSQ", Answer("+CSQ: 23,99"));
    EXPECT_EQ(1, cell.ReadCSQ());
    cell.CheckSignalStatus();
    EXPECT_EQ(Texts{"AT+CSQ"}, modem.Sent());
}

// Parser

TEST_F(LynqTest, ReservedRowIsLoggedAndGivesNoHint) {
    ExpectTexts({{"ReSeRvEd:x", 0, ""}, {"ReSeRvEd:+ICCID:8986", 0, ""}});
    EXPECT_TRUE(world.Logged(7, "ReSeRvEd: x\n"));
}

TEST_F(LynqTest, IccidRow) {
    ExpectTexts({
        {Answer("+ICCID:8986"), kHintLynqIccid, "8986"},
        {Answer("+ICCID: 8986"), kHintLynqIccid, " 8986"},
        {"+ICCID:", kHintLynqIccid, ""},
        {"+ICCID:,8986", kHintLynqIccid, ""},
        {"+ICCID:8986,1,2", kHintLynqIccid, "8986"},
        {"+ICCID:no number", kHintLynqIccid, "no number"},
        {"+ICCID:" + std::string(128, '8'), kHintLynqIccid, std::string(127, '8')},
        {"+ICCID:" + std::string(249, '8'), kHintLynqIccid, std::string(127, '8')},
        {"+ICCID:\xff\x80\r\n", kHintLynqIccid, "\xff\x80"},
        {"+ICCID:1\r\n+ICCID:2\r\n", kHintLynqIccid, "1"},
        {"+CPSI:LTE\r\n+ICCID:2\r\n", kHintLynqIccid, "2"},
        {"+ICCID 8986", 0, ""},
    });
    EXPECT_TRUE(world.Logged(7, "+ICCID: 8986\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(5, "ICCID:8986\n"));
}

TEST_F(LynqTest, CpsiRow) {
    ExpectTexts({
        {Answer(std::string("+CPSI:") + kReport), kHintLynqCpsi, kReport},
        {"+CPSI: LTE,Online", kHintLynqCpsi, " LTE,Online"},
        {"+CPSI:", kHintLynqCpsi, ""},
        {"+CPSI:\r\nLTE", kHintLynqCpsi, ""},
        {"+CPSI:,,,", kHintLynqCpsi, ",,,"},
        {"+CPSI:" + std::string(250, 'x'), kHintLynqCpsi, std::string(127, 'x')},
        {"+CPSI:\xff,\x80\n", kHintLynqCpsi, "\xff,\x80"},
        {"+CPSI:a\r\n+CPSI:b\r\n", kHintLynqCpsi, "a"},
        {"+NETOPEN:1\r\n+CPSI:b\r\n", kHintLynqCpsi, "b"},
    });
    EXPECT_TRUE(world.Logged(7, std::string("+CPSI: ") + kReport + "\r\n\r\nOK\r\n\n"));
    for (const auto& line : world.log) EXPECT_EQ(7u, line.level) << line.text;
}

TEST_F(LynqTest, NetopenAndNetcloseRows) {
    ExpectTexts({
        {Answer("+NETOPEN:SUCCESS"), kHintNetopen, "SUCCESS"},
        {Answer("+NETOPEN: 1,2"), kHintNetopen, " 1,2"},
        {"+NETOPEN:", kHintNetopen, ""},
        {"+NETOPEN:" + std::string(247, '1'), kHintNetopen, std::string(127, '1')},
        {"+NETOPEN:\xff\x80", kHintNetopen, "\xff\x80"},
        {"+NETOPEN:1\r\n+NETOPEN:0\r\n", kHintNetopen, "1"},
        {"+NETCLOSE:1\r\n+NETOPEN:0\r\n", kHintNetopen, "0"},
        {Answer("+NETCLOSE:SUCCESS"), kHintNetclose, "SUCCESS"},
        {"+NETCLOSE: SUCCESS", kHintNetclose, " SUCCESS"},
        {"+NETCLOSE:", kHintNetclose, ""},
        {"+NETCLOSE:1,2,3", kHintNetclose, "1,2,3"},
        {"+NETCLOSE:" + std::string(246, '1'), kHintNetclose, std::string(127, '1')},
        {"+NETCLOSE:\xff\x80\n", kHintNetclose, "\xff\x80"},
        {"+NETCLOSE:1\r\n+NETCLOSE:0\r\n", kHintNetclose, "1"},
    });
    EXPECT_TRUE(world.Logged(7, "+NETOPEN: SUCCESS\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(5, "Network Open:SUCCESS\n"));
    EXPECT_TRUE(world.Logged(7, "+NETCLOSE: SUCCESS\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(5, "Network Close:SUCCESS\n"));
}

TEST_F(LynqTest, AnswerIsCutAt256Bytes) {
    const std::string filler(256, ' ');
    EXPECT_EQ(1, CheckConnection(kOk, filler.substr(strlen("+NETOPEN:1")) + "+NETOPEN:1"));
    EXPECT_EQ(0, CheckConnection(kOk, filler.substr(strlen("+NETOPEN:")) + "+NETOPEN:1"));
}

TEST_F(LynqTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"+ICCID:", "8986", kHintLynqIccid},
        {"+CPSI:", "LTE,Online", kHintLynqCpsi},
        {"+NETOPEN:", "SUCCESS", kHintNetopen},
        {"+NETCLOSE:", "SUCCESS", kHintNetclose},
    });
}

TEST_F(LynqTest, RowOfTheBaseWins) {
    EXPECT_EQ(kHintCsq, Parse("+NETOPEN:1\r\n+CSQ: 5,99\r\n").type);
    EXPECT_TRUE(TextsOfFile(kDriver).empty());
}

TEST_F(LynqTest, MissingTextIsUnknown) {
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
    EXPECT_TRUE(world.log.empty());
}

TEST_F(LynqTest, PercentInAnAnswerIsText) {
    CheckConnection(Answer("+CPSI:%s,1,2,3,4,%n,%d"), kOk);
    ExpectCell("%s", "%n", "%d", "", "");
    EXPECT_TRUE(world.Logged(5, "Network type:%s\n"));
}

// Places of the lines

TEST_F(LynqTest, EachLineNamesThisDriverItsOperationAndLevel) {
    AnswerSimCheck();
    modem.On("AT+COPS=0,0", kOk);
    modem.On("AT+CGNETLED=1", kOk);
    modem.On("AT+ICCID", Answer("+ICCID:8986"));
    modem.On("AT+CEREG?", Answer("+CEREG: 0,1"));
    modem.On("AT+NETOPEN", Answer("+NETOPEN:SUCCESS"));
    modem.On("AT+NETOPEN?", Answer("+NETOPEN: 1"));
    modem.On("AT+CPSI?", Answer("+CPSI:LTE,1,2,3,4,5,6"));
    modem.On("AT+NETCLOSE", Answer("+NETCLOSE:SUCCESS"));
    cell.Initialize();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.DoConnect();
    cell.CheckConnection();
    cell.DisConnect();
    ExpectOwnLines(kDriver, {
                                {"Initialize", 5, "m_ModuleName = "},
                                {"CheckServiceStatus", 7, "AT+CEREG 0 1\n"},
                                {"DoConnect", 7, "DoConnect SUCCESS\n"},
                                {"DoConnect", 7, "AT+NETOPEN and response SUCCESS\n"},
                                {"CheckConnection", 7, "AT+CPSI common str:"},
                                {"CheckConnection", 5, "CPSI info,pRes do not have valid data\n"},
                                {"CheckConnection", 5, "Band change: "},
                                {"CheckConnection", 7, "CPSI info, pcid:5 !\n"},
                                {"CheckConnection", 7, "CPSI info, band:6 !\n"},
                                {"CheckConnection", 7, "CPSI info, rsrp: !\n"},
                                {"CheckConnection", 7, "CPSI info, sinr: !\n"},
                                {"CheckConnection", 5, "Network type:LTE\n"},
                                {"CheckConnection", 7, "AT+NETOPEN? and response  1\n"},
                                {"DisConnect", 7, "AT+NETCLOSE\n"},
                                {"ParseAtResult", 7, "+ICCID: 8986"},
                                {"ParseAtResult", 5, "ICCID:8986\n"},
                                {"ParseAtResult", 7, "+CPSI: LTE,"},
                                {"ParseAtResult", 7, "+NETOPEN: "},
                                {"ParseAtResult", 5, "Network Open:"},
                                {"ParseAtResult", 7, "+NETCLOSE: SUCCESS"},
                                {"ParseAtResult", 5, "Network Close:SUCCESS\n"},
                            });
}

}  // namespace
