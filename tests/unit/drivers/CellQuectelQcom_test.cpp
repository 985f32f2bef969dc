// Module CellQuectelQcom: the dialect of Quectel modules on Qualcomm chipsets.
#include "CellSubClass/src/CellQuectelQcom.h"

#include <cstring>

#include "tests/unit/drivers/quectel_row_tests.h"

using namespace cc_cell;
using test_support::ScriptedModem;
using test_support::World;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellQuectelQcom.cpp";
constexpr char kContext[] = "AT+QICSGP=1,1,\"\",\"\",\"\",0";
constexpr char kOtaTool[] = "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose";
constexpr char kOtaDirectory[] = "/media/mmcblk0p1/firmware_modules/CellularOTA";
constexpr char kOtaCommand[] =
    "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose -f "
    "/media/mmcblk0p1/firmware_modules/CellularOTA";

class QuectelQcomTest : public DriverTest<CellQuectelQcom> {
  protected:
    void InstallOtaTool() {
        world.MakeFolder("/media/mmcblk0p1/firmware_modules/CellularOTA");
        world.Write(kOtaTool, "");
        CellBase::m_ModuleName = "EG21";
    }
};

// Object

TEST_F(QuectelQcomTest, NewObjectHasWwan0AndNoFirmwareText) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    const char zeros[32] = {};
    EXPECT_EQ(0, memcmp(zeros, cell.m_fw_version, sizeof zeros));
    EXPECT_TRUE(modem.exchanges.empty());
}

// Initialize

TEST_F(QuectelQcomTest, InitializeSendsTheSetUpInOrder) {
    CellBase::m_ModuleName = "EG25";
    copy_text(cell.m_apn, "cmnet");
    copy_text(cell.m_username, "u");
    copy_text(cell.m_password, "p");
    cell.m_auth_type = 3;
    modem.On("AT+qcfg=\"usbnet\",0", kOk);
    modem.On("AT+CMEE=2", kOk);
    modem.On("AT+QICSGP=1,1,\"cmnet\",\"u\",\"p\",3", kOk);
    modem.On("ATI", "\r\nQuectel\r\nEG25\r\nRevision: EG25GGBR07A08M2G\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"ATZ",       "AT&F",
                            "ATE0",      "AT+CFUN=0",
                            "AT+CFUN=1", "AT+MODODR=2",
                            "AT+MEID",   "AT+qcfg=\"usbnet\",0",
                            "AT+CMEE=2", "AT+QICSGP=1,1,\"cmnet\",\"u\",\"p\",3\r\n",
                            "ATI"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_STREQ("Qcom", cell.m_vendor_name);
    EXPECT_STREQ(" EG25GGBR07A08M2G\r", cell.m_fw_version);
    const Texts log = {"AT+QICSGP=1,1,\"cmnet\",\"u\",\"p\",3\r\n", "m_ModuleName = EG25 \n"};
    EXPECT_EQ(log, TextsOfFile(kFile));
    EXPECT_TRUE(world.Logged(7, log[0]));
    EXPECT_TRUE(world.Logged(5, log[1]));
}

TEST_F(QuectelQcomTest, InitializePausesASecondBeforeTheContext) {
    modem.AllowUnknown();
    cell.Initialize();
    const std::vector<ScriptedModem::Exchange>& exchanges = modem.exchanges;
    ASSERT_EQ(11u, exchanges.size());
    EXPECT_NEAR(1.0, exchanges[8].at_seconds - exchanges[7].at_seconds, 0.01);
    EXPECT_NEAR(2.0, exchanges[9].at_seconds - exchanges[8].at_seconds, 0.01);
}

TEST_F(QuectelQcomTest, FirmwareIs18CharactersBehindRevision) {
    ExpectFirmwareBehindRevision(18, "Qcom");
}

// Dial and hang-up

TEST_F(QuectelQcomTest, DoConnectSetsTheContextAndCalls) {
    cell.m_carrier_code = 2;
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    modem.On(kContext, kOk);
    modem.On("AT$QCRMCALL=1,1", Answer("$QCRMCALL: 1, V4"));
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"",
                            "AT+QICSGP=1,1,\"\",\"\",\"\",0\r\n", "AT$QCRMCALL=1,1"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_TRUE(world.Logged(7, "AT+QICSGP=1,1,\"\",\"\",\"\",0\r\n"));
    EXPECT_TRUE(world.Logged(5, "AT+QICSGP=1,1 done\n"));
    EXPECT_TRUE(world.Logged(5, "AT$QCRMCALL=1,1 return 1, V4\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(7, "QCRMCALL return type:1 \r\n"));
    EXPECT_EQ(0, world.CountLogged("QCRMCALL=1,1 fail:1\n"));
    EXPECT_NEAR(10.0, world.now_seconds() - modem.exchanges.back().at_seconds, 0.01);
}

TEST_F(QuectelQcomTest, FailedCallIsNoFailureOfTheDial) {
    cell.m_carrier_code = 2;
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    modem.On(kContext, kOk);
    for (const char* answer : {"\r\n$QCRMCALL: 0\r\n", "\r\nERROR\r\n", ""}) {
        world.log.clear();
        modem.On("AT$QCRMCALL=1,1", answer);
        EXPECT_EQ(1, cell.DoConnect());
        EXPECT_TRUE(world.Logged(7, "QCRMCALL return type:0 \r\n")) << answer;
        EXPECT_TRUE(world.Logged(5, "QCRMCALL=1,1 fail:0\n")) << answer;
    }
}

TEST_F(QuectelQcomTest, DisConnectEndsTheCallBeforeTheRadio) {
    modem.On("AT$QCRMCALL=0,1", kOk);
    EXPECT_EQ(1, cell.DisConnect());
    const Texts expected = {"AT$QCRMCALL=0,1", "AT+CFUN=0"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(2.0, modem.exchanges[1].at_seconds - modem.exchanges[0].at_seconds, 0.01);
}

// Link

struct LinkCase {
    const char* answer;
    int32_t expected;
    const char* failure;
};

TEST_F(QuectelQcomTest, LinkIsUpInState1And2) {
    const LinkCase cases[] = {
        {"\r\n+QNETDEVSTATUS: 1,1,0,1\r\n\r\nOK\r\n", 1, nullptr},
        {"\r\n+QNETDEVSTATUS: 1,2,0,1\r\n\r\nOK\r\n", 1, nullptr},
        {"\r\n+QNETDEVSTATUS: 1,3,0,1\r\n\r\nOK\r\n", 0, "AT+QNETDEVSTATUS fail:3\n"},
        {"\r\n+QNETDEVSTATUS: 1,0,0,1\r\n\r\nOK\r\n", 0, "AT+QNETDEVSTATUS fail:0\n"},
        {"\r\n+QNETDEVSTATUS: 1\r\n\r\nOK\r\n", 0, "AT+QNETDEVSTATUS fail:0\n"},
        {"\r\n+CREG: 0,1\r\n\r\nOK\r\n", 0, "AT+QNETDEVSTATUS fail:1\n"},
        {"\r\nERROR\r\n", 0, "AT+QNETDEVSTATUS fail:0\n"},
        {"", 0, "AT+QNETDEVSTATUS fail:0\n"},
    };
    for (const LinkCase& test : cases) {
        world.log.clear();
        modem.On("AT+QNETDEVSTATUS?", test.answer);
        EXPECT_EQ(test.expected, cell.CheckConnection()) << test.answer;
        const Texts log = world.LogOf("CheckConnection");
        EXPECT_EQ(test.failure == nullptr ? Texts{} : Texts{test.failure}, log) << test.answer;
    }
}

TEST_F(QuectelQcomTest, NetdevStatusOf3IsLoggedAndNotUp) {
    modem.On("AT+QNETDEVSTATUS?", Answer("+QNETDEVSTATUS: 1,3,0,1"));
    EXPECT_EQ(0, cell.CheckConnection());
    EXPECT_TRUE(world.Logged(5, "AT+QNETDEVSTATUS fail:3\n"));
    EXPECT_TRUE(world.Logged(7, "QNETDEVSTATUS: on_off=1,state=3,roam_status=0,inst=1\n"));
}

// Registration

TEST_F(QuectelQcomTest, FirstRegistrationTestOnlyReadsCreg) {
    modem.On("AT+CREG?", Answer("+CREG: 0,1"));
    cell.m_check_service_times = 0;
    cell.m_CGREG = 9;
    EXPECT_EQ(0, cell.CheckServiceStatus());
    EXPECT_EQ(1, cell.m_CEREG);
    EXPECT_EQ(9, cell.m_CGREG);
    EXPECT_EQ(Texts{"AT+CREG?"}, modem.Sent());
    const Texts log = {"Get_network_check_times 0\n", "AT+CREG\n"};
    EXPECT_EQ(log, world.LogOf("CheckServiceStatus"));
    EXPECT_TRUE(world.Logged(7, log[1]));
}

TEST_F(QuectelQcomTest, LaterTestTakesCeregAndAsksNoCgreg) {
    modem.On("AT+CREG?", Answer("+CREG: 0,0"));
    modem.On("AT+CEREG?", Answer("+CEREG: 0,5"));
    cell.m_check_service_times = 1;
    EXPECT_EQ(1, cell.CheckServiceStatus());
    EXPECT_EQ(5, cell.m_CEREG);
    const Texts expected = {"AT+CREG?", "AT+CEREG?"};
    EXPECT_EQ(expected, modem.Sent());
}

TEST_F(QuectelQcomTest, PacketRegistrationCountsToo) {
    modem.On("AT+CREG?", "\r\nERROR\r\n");
    modem.On("AT+CEREG?", Answer("+CEREG: 0,2"));
    modem.On("AT+CGREG?", Answer("+CGREG: 0,1"));
    cell.m_check_service_times = 1;
    EXPECT_EQ(1, cell.CheckServiceStatus());
    EXPECT_EQ(2, cell.m_CEREG);
    EXPECT_EQ(1, cell.m_CGREG);
    EXPECT_EQ(0, world.CountLogged("AT+CREG\n"));
}

// SIM

TEST_F(QuectelQcomTest, CheckSimCardTakes20CharactersOfTheIccid) {
    AnswerSimCheck();
    modem.On("AT+QCCID", Answer("+QCCID: 89860011223344556677F"));
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_STREQ("89860011223344556677", cell.m_card_iccid);
    EXPECT_TRUE(world.shell.empty());
}

TEST_F(QuectelQcomTest, Board1ReloadsTheKernelDriverOnEachCheck) {
    AnswerSimCheck();
    modem.On("AT+QCCID", Answer("+QCCID: 8986"));
    cell.SetBoard(kBoardImx6ul);
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    const Texts expected = {"rmmod qmi_wwan_q.ko", "insmod /ubi/local/modules/qmi_wwan_q.ko",
                            "rmmod qmi_wwan_q.ko", "insmod /ubi/local/modules/qmi_wwan_q.ko"};
    EXPECT_EQ(expected, world.Commands());
    EXPECT_NEAR(3.0, world.shell[1].at_seconds - world.shell[0].at_seconds, 0.001);
}

TEST_F(QuectelQcomTest, Board1ReloadsTheKernelDriverWithoutAnIccidToo) {
    AnswerSimCheck();
    modem.On("AT+QCCID", "\r\nERROR\r\n");
    cell.SetBoard(kBoardImx6ul);
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(2u, world.shell.size());
}

TEST_F(QuectelQcomTest, OtherBoardsNeverReloadTheKernelDriver) {
    AnswerSimCheck();
    modem.On("AT+QCCID", Answer("+QCCID: 8986"));
    for (const int board : {kBoardUnknown, kBoardStm32, kBoardA35, kBoardA53}) {
        cell.SetBoard(board);
        EXPECT_EQ(kSimReady, cell.CheckSimCard());
    }
    EXPECT_TRUE(world.shell.empty());
}

TEST_F(QuectelQcomTest, FailedSimCheckAsksNoIccidAndReloadsNothing) {
    AnswerSimCheckWithoutSim();
    modem.On("AT+QCCID", Answer("+QCCID: 8986"));
    cell.SetBoard(kBoardImx6ul);
    EXPECT_EQ(kSimNotReady, cell.CheckSimCard());
    for (const std::string& command : modem.Sent()) EXPECT_NE("AT+QCCID", command);
    EXPECT_TRUE(world.shell.empty());
}

// Temperature

struct TemperatureCase {
    const char* answer;
    int32_t stored;
    Texts log;  // of ParseAtResult, without the row's own line
};

TEST_F(QuectelQcomTest, TemperatureIsTheFirstField) {
    const TemperatureCase cases[] = {
        {"\r\n+QTEMP: 40,41,42\r\n\r\nOK\r\n", 40, {"Quectel Temp Baseband(40),XO(41),PA(42)\n"}},
        {"\r\n+QTEMP: 94,40,41\r\n\r\nOK\r\n", 94, {"Quectel Temp Baseband(94),XO(40),PA(41)\n"}},
        {"\r\n+QTEMP: 95,40,41\r\n\r\nOK\r\n",
         95,
         {"query baseband temperature 95!\n", "Quectel Temp Baseband(95),XO(40),PA(41)\n"}},
        {"\r\n+QTEMP: 0,0,0\r\n\r\nOK\r\n",
         0,
         {"query baseband temperature Failed!\n", "query XO temperature Failed!\n",
          "query PA temperature Failed!\n", "Quectel Temp Baseband(0),XO(0),PA(0)\n"}},
    };
    for (const TemperatureCase& test : cases) {
        world.log.clear();
        modem.On("AT+QTEMP", test.answer);
        cell.CheckTempStatus();
        EXPECT_EQ(test.stored, cell.m_Tempture) << test.answer;
        Texts log = world.LogOf("ParseAtResult");
        ASSERT_FALSE(log.empty());
        log.erase(log.begin());
        EXPECT_EQ(test.log, log) << test.answer;
    }
}

TEST_F(QuectelQcomTest, HotModuleIsLoggedAtLevel4From95On) {
    modem.On("AT+QTEMP", Answer("+QTEMP: 94,40,41"));
    cell.CheckTempStatus();
    for (const World::LogLine& line : world.log) EXPECT_NE(4u, line.level);
    modem.On("AT+QTEMP", Answer("+QTEMP: 95,40,41"));
    cell.CheckTempStatus();
    EXPECT_TRUE(world.Logged(4, "query baseband temperature 95!\n"));
    EXPECT_EQ(95, cell.m_Tempture);
}

TEST_F(QuectelQcomTest, AnswerWithoutTemperatureStoresZero) {
    cell.m_Tempture = 40;
    modem.On("AT+QTEMP", "\r\nERROR\r\n");
    cell.CheckTempStatus();
    EXPECT_EQ(0, cell.m_Tempture);
}

TEST_F(QuectelQcomTest, ThermalLimitsAreFiveCommandsInOrder) {
    const Texts expected = {"AT+QCFG='thermal/limit_rates',1", "AT+QCFG='thermal/txpwrlmt',1,2,105,1000,3,10",
                            "AT+QCFG='thermal/modem',1,100000,95000",
                            "AT+QCFG='thermal/modem',2,105000,100000",
                            "AT+QCFG='thermal/modem',3,115000,105000"};
    for (const std::string& command : expected) modem.On(command, kOk);
    cell.ConfigThermalLimit();
    EXPECT_EQ(expected, modem.Sent());
}

// Serving cell

TEST_F(QuectelQcomTest, ServingCellIsStored) {
    modem.On(kServingCellQuery, Answer(kLteCell));
    copy_text(cell.m_band, "8");
    copy_text(cell.m_RSRP, "-90");
    cell.CheckSignalStatus();
    EXPECT_EQ(Texts{"AT+QENG=\"servingcell\"\r\n"}, modem.Sent());
    EXPECT_STREQ("177", cell.m_pcid);
    EXPECT_STREQ("3", cell.m_band);
    EXPECT_STREQ("-97", cell.m_RSRP);
    EXPECT_STREQ("-97", cell.m_RSRP_LEVEL);
    EXPECT_STREQ("13", cell.m_SINR);
    EXPECT_STREQ("", cell.m_RSRQ);
    EXPECT_STREQ("", cell.m_RSSI);
    const std::string shown = strchr(kLteCell, '"');
    const Texts log = {"AT+QENG common str:" + shown + ", len: " + std::to_string(shown.size()) + " \r\n",
                       "Band change: last band[8] rsrp[-90], current band[3] rsrp[-97]\n",
                       "QENG info, pcid:177 !\n",
                       "QENG info, band:3 !\n",
                       "QENG info, rsrp:-97 !\n",
                       "QENG info, sinr:13 !\n"};
    EXPECT_EQ(log, world.LogOf("CheckSignalStatus"));
    EXPECT_TRUE(world.Logged(7, log[0]));
    EXPECT_TRUE(world.Logged(5, log[1]));
    EXPECT_TRUE(world.Logged(7, log[5]));
}

TEST_F(QuectelQcomTest, WcdmaCellIsAnErrorAndKeepsTheLastValues) {
    modem.On(kServingCellQuery, Answer(kLteCell));
    cell.CheckSignalStatus();
    modem.On(kServingCellQuery,
             Answer("+QENG: \"servingcell\",\"NOCONN\",\"WCDMA\",460,01,D5D6,80E5,10663,3,9,-72,-3"));
    cell.CheckSignalStatus();
    EXPECT_TRUE(world.Logged(3, "AT+QENG signal return not LTE!!! \n"));
    EXPECT_STREQ("177", cell.m_pcid);
    EXPECT_STREQ("3", cell.m_band);
    EXPECT_STREQ("-97", cell.m_RSRP);
    EXPECT_STREQ("-97", cell.m_RSRP_LEVEL);
    EXPECT_STREQ("13", cell.m_SINR);
}

TEST_F(QuectelQcomTest, ShortServingCellStoresWhatItHasAndEmptiesTheRest) {
    modem.On(kServingCellQuery, Answer(kLteCell));
    cell.CheckSignalStatus();
    modem.On(kServingCellQuery, Answer("+QENG: \"servingcell\",\"SEARCH\",\"LTE\",a,b,c,d,55,e,7"));
    cell.CheckSignalStatus();
    EXPECT_TRUE(world.Logged(5, "QENG info,pRes do not have valid data\n"));
    EXPECT_STREQ("55", cell.m_pcid);
    EXPECT_STREQ("7", cell.m_band);
    EXPECT_STREQ("", cell.m_RSRP);
    EXPECT_STREQ("", cell.m_RSRP_LEVEL);
    EXPECT_STREQ("", cell.m_SINR);
}

TEST_F(QuectelQcomTest, FullServingCellIsNoEarlyEnd) {
    modem.On(kServingCellQuery, Answer(kLteCell));
    cell.CheckSignalStatus();
    EXPECT_EQ(0, world.CountLogged("QENG info,pRes do not have valid data\n"));
}

TEST_F(QuectelQcomTest, FirstReadLogsAChangeOfBandUnlessTheBandIsEmpty) {
    modem.On(kServingCellQuery, Answer("+QENG: \"servingcell\",\"SEARCH\",\"LTE\""));
    cell.CheckSignalStatus();
    EXPECT_EQ(0, world.CountLogged("Band change: last band[] rsrp[], current band[] rsrp[]\n"));
    modem.On(kServingCellQuery, Answer(kLteCell));
    cell.CheckSignalStatus();
    EXPECT_TRUE(world.Logged(5, "Band change: last band[] rsrp[], current band[3] rsrp[-97]\n"));
}

TEST_F(QuectelQcomTest, AnswerWithoutServingCellSaysNoMore) {
    modem.On(kServingCellQuery, "\r\nERROR\r\n");
    copy_text(cell.m_pcid, "1");
    cell.CheckSignalStatus();
    EXPECT_EQ(Texts{"AT+QENG common str:, len: 0 \r\n"}, world.LogOf("CheckSignalStatus"));
    EXPECT_STREQ("1", cell.m_pcid);
}

TEST_F(QuectelQcomTest, FieldsLongerThanTheirSlotsAreCut) {
    const std::string field(30, '7');
    modem.On(kServingCellQuery, Answer("+QENG: LTE,1,2,3,4,5,6," + field + ",8," + field));
    cell.CheckSignalStatus();
    EXPECT_EQ(field.substr(0, 15), cell.m_pcid);
    EXPECT_EQ(field.substr(0, 15), cell.m_band);
}

// Neighbour cell

TEST_F(QuectelQcomTest, FirstNeighbourCellIsStored) {
    modem.On(kNeighbourCellQuery,
             "\r\n+QENG: \"neighbourcell intra\",\"LTE\",1650,301,-12,-101,-70,0,13,6,0,13,62\r\n"
             "+QENG: \"neighbourcell intra\",\"LTE\",1650,302,-12,-102,-70,0,13,6,0,13,62\r\n\r\nOK\r\n");
    cell.CheckNeighbourSignal();
    EXPECT_EQ(Texts{"AT+QENG=\"neighbourcell\"\r\n"}, modem.Sent());
    EXPECT_NEAR(10.0, world.now_seconds(), 0.01);
    EXPECT_STREQ("301", cell.m_neighbour_pcid);
    EXPECT_STREQ("-101", cell.m_neighbour_rsrp);
    const std::string shown = "\"neighbourcell intra\",\"LTE\",1650,301,-12,-101,-70,0,13,6,0,13,62";
    const Texts log = {"AT+QENG common str:" + shown + ", len: " + std::to_string(shown.size()) + "!!!\r\n",
                       "neighbour info, pcid:301 !\n", "neighbour info, rsrp:-101 !\n"};
    EXPECT_EQ(log, world.LogOf("CheckNeighbourSignal"));
}

TEST_F(QuectelQcomTest, NeighbourCellNeedNotBeLte) {
    modem.On(kNeighbourCellQuery, Answer("+QENG: \"neighbourcell\",\"WCDMA\",1,2,3,4"));
    cell.CheckNeighbourSignal();
    EXPECT_TRUE(world.Logged(7, "neighbour info,pRes do not have valid data\n"));
    EXPECT_STREQ("2", cell.m_neighbour_pcid);
    EXPECT_STREQ("4", cell.m_neighbour_rsrp);
}

TEST_F(QuectelQcomTest, AnswerWithoutNeighbourKeepsTheLastOne) {
    copy_text(cell.m_neighbour_pcid, "1");
    modem.On(kNeighbourCellQuery, "\r\nOK\r\n");
    cell.CheckNeighbourSignal();
    EXPECT_STREQ("1", cell.m_neighbour_pcid);
    EXPECT_EQ(Texts{"AT+QENG common str:, len: 0!!!\r\n"}, world.LogOf("CheckNeighbourSignal"));
}

// Signal

TEST_F(QuectelQcomTest, ReadCsqAsksTheNetworkTypeFirst) {
    modem.On("AT+QNWINFO", Answer("+QNWINFO: \"FDD LTE\",\"46001\",\"LTE BAND 3\",1650"));
    modem.On("AT+CSQ", Answer("+CSQ: 23,99"));
    EXPECT_EQ(1, cell.ReadCSQ());
    const Texts expected = {"AT+QNWINFO", "AT+CSQ"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_STREQ("\"FDD LTE\"", cell.m_NetworkType);
    EXPECT_EQ(23, cell.m_nCSQ);
    EXPECT_TRUE(world.Logged(7, "Network type:\"FDD LTE\"\n"));
}

TEST_F(QuectelQcomTest, ReadCsqFailsByTheCsqAlone) {
    modem.On("AT+QNWINFO", "\r\nERROR\r\n");
    modem.On("AT+CSQ", "\r\nERROR\r\n");
    EXPECT_EQ(0, cell.ReadCSQ());
}

// Parser

struct ParseCase {
    const char* answer;
    int32_t type;
    Texts log;
};

TEST_F(QuectelQcomTest, RowsAreRecognisedAndLogged) {
    const ParseCase cases[] = {
        {"\r\nOK\r\n", 0, {}},
        {"", 0, {}},
        {"ReSeRvEd:x", 0, {"34 x\n"}},
        {"+QNWINFO: ", 35, {"35 \n", "Network type:\n"}},
        {"$QCRMCALL: 1", 36, {"36 1\n", "AT$QCRMCALL=1,1 return 1\n"}},
        {"+QCCID: 8986\r\n", 38, {"38 8986\r\n\n", "ICCID:8986\n"}},
        {"+QNETDEVCTL: 1,1,1,1", 0, {"39  1,1,1,1\n"}},
        {"+QENG: \"servingcell\"\r\n", 41, {"41 \"servingcell\"\r\n\n"}},
        {"+QENG: a\r\n+QNWINFO: b\r\n", 35, {"35 b\r\n\n", "Network type:b\n"}},
    };
    for (const ParseCase& test : cases) {
        world.log.clear();
        EXPECT_EQ(test.type, Parse(test.answer).type) << test.answer;
        EXPECT_EQ(test.log, world.LogOf("ParseAtResult")) << test.answer;
    }
}

TEST_F(QuectelQcomTest, AnswerOfTheCall) {
    ExpectNumbers(QcrmcallCases());
}

struct NumbersCase {
    std::string behind_prefix;
    int32_t numbers[4];  // in the modem's order
};

TEST_F(QuectelQcomTest, FieldsOfTheLinkState) {
    const std::string many(100, '9');
    const NumbersCase cases[] = {
        {" 1,2,3,4\r\n", {1, 2, 3, 4}},
        {"1,2,3,4", {1, 2, 3, 4}},
        {" 1,2,3,4,5,6\r\n", {1, 2, 3, 4}},
        {" 1,2,3", {1, 2, 3, 0}},
        {" 1", {1, 0, 0, 0}},
        {"", {0, 0, 0, 0}},
        {" ,,,4\r\n", {0, 0, 0, 4}},
        {" ,,,\r\n", {0, 0, 0, 0}},
        {" a,b,c,d\r\n", {0, 0, 0, 0}},
        {" 1x,-2,+3, 4\r\n", {1, -2, 3, 4}},
        {" 1\r\n2,3", {1, 2, 3, 0}},  // CR ends a field, LF is a blank in front of the next
        {" " + many + ",-" + many + ",3,4\r\n", {INT32_MAX, INT32_MIN, 3, 4}},
        {" 1," + std::string(62, '0') + "23,3,4\r\n", {1, 2, 3, 4}},  // a field holds 63 characters
        {" \xff\x80,\xc3\xa4,3,4\r\n", {0, 0, 3, 4}},
        {" %s,%n,3,4\r\n", {0, 0, 3, 4}},
        {" 1,2,3,4\r\n+QNETDEVSTATUS: 5,6,7,8\r\n", {1, 2, 3, 4}},
        {" 1,2,3,4\r\n+QTEMP: 5,6,7\r\n", {1, 2, 3, 4}},
    };
    for (const NumbersCase& test : cases) {
        world.log.clear();
        const AtResult result = Parse("+QNETDEVSTATUS:" + test.behind_prefix);
        EXPECT_EQ(kHintQnetdevstatus, result.type) << test.behind_prefix;
        const int32_t numbers[] = {result.val, result.val2, result.val3, result.val4};
        EXPECT_EQ(0, memcmp(test.numbers, numbers, sizeof numbers)) << test.behind_prefix;
        const std::string state =
            "QNETDEVSTATUS: on_off=" + std::to_string(numbers[0]) + ",state=" + std::to_string(numbers[1]) +
            ",roam_status=" + std::to_string(numbers[2]) + ",inst=" + std::to_string(numbers[3]) + "\n";
        EXPECT_EQ((Texts{"37 " + test.behind_prefix + "\n", state}), world.LogOf("ParseAtResult"));
    }
}

TEST_F(QuectelQcomTest, FieldsOfTheTemperature) {
    const std::string many(100, '9');
    const struct {
        std::string behind_prefix;
        int32_t baseband, crystal, amplifier;
    } cases[] = {
        {" 40,41,42\r\n", 40, 41, 42},
        {"40,41,42", 40, 41, 42},
        {" 40,41,42,43,44\r\n", 40, 41, 42},
        {" 40,41", 40, 41, 0},
        {" 40\r\n", 40, 0, 0},
        {" 40\n41\n42", 40, 41, 42},
        {"", 0, 0, 0},
        {",,", 0, 0, 0},
        {" ,,42\r\n", 0, 0, 42},
        {" hot,41,warm\r\n", 0, 41, 0},
        {" -40,+41,42x\r\n", -40, 41, 42},
        {" " + many + ",-" + many + ",42\r\n", INT32_MAX, INT32_MIN, 42},
        {" 40," + std::string(62, '0') + "41,42\r\n", 40, 4, 42},
        {" \xff\x80,41\xff,\xc3\r\n", 0, 41, 0},
        {" %s,%n,42\r\n", 0, 0, 42},
        {" 40,41,42\r\n+QTEMP: 1,2,3\r\n", 40, 41, 42},
        {" 40,41,42\r\n+QENG: 1,2,3\r\n", 40, 41, 42},
    };
    for (const auto& test : cases) {
        world.log.clear();
        const AtResult result = Parse("+QTEMP:" + test.behind_prefix);
        EXPECT_EQ(kHintQtemp, result.type) << test.behind_prefix;
        EXPECT_EQ(test.baseband, result.val3) << test.behind_prefix;
        EXPECT_EQ(test.crystal, result.val) << test.behind_prefix;
        EXPECT_EQ(test.amplifier, result.val2) << test.behind_prefix;
        EXPECT_EQ(test.baseband == 0, world.Logged(5, "query baseband temperature Failed!\n"));
        EXPECT_EQ(test.crystal == 0, world.Logged(5, "query XO temperature Failed!\n"));
        EXPECT_EQ(test.amplifier == 0, world.Logged(5, "query PA temperature Failed!\n"));
        const Texts log = world.LogOf("ParseAtResult");
        EXPECT_EQ("40 " + test.behind_prefix + "\n", log.front());
        EXPECT_EQ("Quectel Temp Baseband(" + std::to_string(test.baseband) + "),XO(" +
                      std::to_string(test.crystal) + "),PA(" + std::to_string(test.amplifier) + ")\n",
                  log.back());
    }
}

TEST_F(QuectelQcomTest, LinkAndTemperatureEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"$QCRMCALL: ", "12, V4", kHintQcrmcall},
        {"+QNETDEVSTATUS:", " 1,2,3,4", kHintQnetdevstatus},
        {"+QNETDEVCTL:", " 1,2", 0},
        {"+QTEMP:", " 95,41,42", kHintQtemp},
    });
}

TEST_F(QuectelQcomTest, NetdevCtlIsLoggedAndGivesNoHint) {
    const AtResult result = Parse("\r\n+QNETDEVCTL: 1,1,1,1\r\n");
    EXPECT_EQ(0, result.type);
    EXPECT_EQ(0, result.val);
    EXPECT_TRUE(world.Logged(7, "39  1,1,1,1\r\n\n"));
}

TEST_F(QuectelQcomTest, RowOfTheBaseWins) {
    EXPECT_EQ(kHintCsq, Parse("+QENG: x\r\n+CSQ: 5,99\r\n").type);
}

TEST_F(QuectelQcomTest, UnknownWordOfTheBaseGoesOnToTheDriversRows) {
    EXPECT_EQ(kHintQeng, Parse("Unknow.. +QENG: x\r\n").type);
}

TEST_F(QuectelQcomTest, MissingTextIsUnknown) {
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
    EXPECT_TRUE(world.log.empty());
}

TEST_F(QuectelQcomTest, PercentInAnAnswerIsText) {
    Parse("+QCCID: %s%n%d\r\n");
    EXPECT_TRUE(world.Logged(5, "ICCID:%s%n%d\n"));
}

// Upgrade

TEST_F(QuectelQcomTest, MissingDirectoryIsFoundBeforeTheModelIsLookedAt) {
    CellBase::m_ModuleName = "EG25";
    EXPECT_EQ(3, cell.ModuleOtaTask());
    EXPECT_EQ(Texts{"[OTA] OTA目录不存在\n"}, world.LogOf("IsOtaUpgradPathExist"));
    EXPECT_EQ(Texts{"[OTA] ota upgrade file path or file no exist\n"}, world.LogOf("ModuleOtaTask"));
    EXPECT_TRUE(world.LogOf("IsSupportModuleOTA").empty());
}

TEST_F(QuectelQcomTest, MissingToolIsAMissingFile) {
    world.MakeFolder(kOtaDirectory);
    CellBase::m_ModuleName = "EG21";
    EXPECT_EQ(3, cell.ModuleOtaTask());
    const Texts log = {"[OTA] OTA目录存在\n", "[OTA] QFirehose文件不存在\n"};
    EXPECT_EQ(log, world.LogOf("IsOtaUpgradPathExist"));
}

TEST_F(QuectelQcomTest, Eg25WithTheToolInPlaceIsNotSupportedAndStartsNothing) {
    InstallOtaTool();
    CellBase::m_ModuleName = "EG25";
    EXPECT_EQ(2, cell.ModuleOtaTask());
    EXPECT_TRUE(world.shell.empty());
    const Texts log = {"[OTA] OTA目录存在\n", "[OTA] QFirehose文件存在\n"};
    EXPECT_EQ(log, world.LogOf("IsOtaUpgradPathExist"));
    EXPECT_EQ(Texts{"[OTA] Module no support OTA\r\n"}, world.LogOf("IsSupportModuleOTA"));
    EXPECT_EQ(Texts{"[OTA] 4g module ota upgrade not support\n"}, world.LogOf("ModuleOtaTask"));
}

TEST_F(QuectelQcomTest, OnlyTheExactNameIsSupported) {
    for (const char* name : {"", "EG21-G", "eg21", "EG2"}) {
        CellBase::m_ModuleName = name;
        EXPECT_FALSE(cell.IsSupportModuleOTA()) << name;
    }
    CellBase::m_ModuleName = "EG21";
    EXPECT_TRUE(cell.IsSupportModuleOTA());
}

struct UpgradeCase {
    const char* output;
    int32_t expected;
    Texts log;  // after the line that shows the command
};

TEST_F(QuectelQcomTest, LastTellingLineOfTheToolDecides) {
    const UpgradeCase cases[] = {
        {"begin\nUpgrade module successfully.\n", 0, {"[OTA] Upgrade module successfully\n"}},
        {"Upgrade module fail, exit\n", 1, {"[OTA] Upgrade module fail\n"}},
        {"Upgrade module fail\nretry\nUpgrade module successfully\n",
         0,
         {"[OTA] Upgrade module fail\n", "[OTA] Upgrade module successfully\n"}},
        {"done successfully\nUpgrade module fail",
         1,
         {"[OTA] Upgrade module successfully\n", "[OTA] Upgrade module fail\n"}},
        {"Upgrade module fail, not successfully\n", 0, {"[OTA] Upgrade module successfully\n"}},
        {"something else\n", -1, {}},
        {"", -1, {}},
    };
    for (const UpgradeCase& test : cases) {
        InstallOtaTool();
        world.log.clear();
        world.shell.clear();
        world.AnswerPopen("QFirehose", test.output);
        EXPECT_EQ(test.expected, cell.ModuleOtaTask()) << test.output;
        Texts log = world.LogOf("ModuleOtaTask");
        ASSERT_FALSE(log.empty());
        EXPECT_EQ("[OTA] run: " + std::string(kOtaCommand) + "\n", log[0]);
        log.erase(log.begin());
        EXPECT_EQ(test.log, log) << test.output;
        EXPECT_EQ(Texts{kOtaCommand}, world.Commands());
        EXPECT_TRUE(world.shell[0].is_popen);
    }
}

TEST_F(QuectelQcomTest, FailureThenSuccessYieldsSuccess) {
    InstallOtaTool();
    world.AnswerPopen("QFirehose", "Upgrade module fail\nUpgrade module successfully\n");
    EXPECT_EQ(0, cell.ModuleOtaTask());
}

TEST_F(QuectelQcomTest, ToolThatCanNotBeStarted) {
    InstallOtaTool();
    world.FailPopen("QFirehose");
    EXPECT_EQ(-2, cell.ModuleOtaTask());
    EXPECT_TRUE(world.Logged(5, "[OTA] run 4G module ota task fail\n"));
}

TEST_F(QuectelQcomTest, UpgradeDoesNotTouchThePort) {
    InstallOtaTool();
    world.AnswerPopen("QFirehose", "successfully\n");
    EXPECT_EQ(0, cell.ModuleOtaTask());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Places of the lines

TEST_F(QuectelQcomTest, EachLineNamesThisDriverItsOperationAndItsLevel) {
    AnswerSimCheck();
    modem.AllowUnknown();
    cell.m_check_service_times = 1;
    modem.On("AT+QNETDEVSTATUS?", Answer("+QNETDEVSTATUS: 1,3,0,1"));
    modem.On("AT+QCCID", Answer("+QCCID: 8986"));
    modem.On("AT+CREG?", Answer("+CREG: 0,1"));
    modem.On("AT$QCRMCALL=1,1", Answer("$QCRMCALL: 0"));
    modem.OnSequence("AT+QTEMP", {Answer("+QTEMP: 0,0,0"), Answer("+QTEMP: 95,40,41")});
    modem.OnSequence(kServingCellQuery, {Answer("+QENG: \"servingcell\",\"SEARCH\",\"LTE\",4,5,6,7,8,9,10"),
                                         Answer("+QENG: \"servingcell\",\"NOCONN\",\"WCDMA\"")});
    modem.On(kNeighbourCellQuery, Answer("+QENG: \"neighbourcell\""));
    modem.On("AT+QNWINFO", Answer("+QNWINFO: \"FDD LTE\""));

    cell.Initialize();
    cell.DoConnect();
    cell.CheckConnection();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.ConfigThermalLimit();
    for (int i = 0; i < 2; ++i) cell.CheckTempStatus();
    for (int i = 0; i < 2; ++i) cell.CheckSignalStatus();
    cell.CheckNeighbourSignal();
    cell.ReadCSQ();
    cell.DisConnect();

    cell.ModuleOtaTask();  // no folder yet
    world.MakeFolder(kOtaDirectory);
    cell.ModuleOtaTask();
    InstallOtaTool();
    CellBase::m_ModuleName = "EG25";
    cell.ModuleOtaTask();
    InstallOtaTool();
    world.AnswerPopen("QFirehose", "successfully\nUpgrade module fail\n");
    cell.ModuleOtaTask();
    world.FailPopen("QFirehose");
    cell.ModuleOtaTask();

    ExpectOwnLines(kFile, {{"Initialize", 7, "AT+QICSGP=1,1,"},
                           {"Initialize", 5, "m_ModuleName = Some \n"},
                           {"DoConnect", 7, "AT+QICSGP=1,1,"},
                           {"DoConnect", 5, "AT+QICSGP=1,1 done\n"},
                           {"DoConnect", 7, "QCRMCALL return type:0 \r\n"},
                           {"DoConnect", 5, "QCRMCALL=1,1 fail:0\n"},
                           {"CheckConnection", 5, "AT+QNETDEVSTATUS fail:3\n"},
                           {"CheckServiceStatus", 7, "Get_network_check_times 1\n"},
                           {"CheckServiceStatus", 7, "AT+CREG\n"},
                           {"CheckSignalStatus", 7, "AT+QENG common str:"},
                           {"CheckSignalStatus", 3, "AT+QENG signal return not LTE!!! \n"},
                           {"CheckSignalStatus", 5, "QENG info,pRes do not have valid data\n"},
                           {"CheckSignalStatus", 5, "Band change: "},
                           {"CheckSignalStatus", 7, "QENG info, pcid:"},
                           {"CheckSignalStatus", 7, "QENG info, band:"},
                           {"CheckSignalStatus", 7, "QENG info, rsrp:"},
                           {"CheckSignalStatus", 7, "QENG info, sinr:"},
                           {"CheckNeighbourSignal", 7, "AT+QENG common str:"},
                           {"CheckNeighbourSignal", 7, "neighbour info,pRes do not have valid data\n"},
                           {"CheckNeighbourSignal", 7, "neighbour info, pcid:"},
                           {"CheckNeighbourSignal", 7, "neighbour info, rsrp:"},
                           {"ParseAtResult", 7, "35 "},
                           {"ParseAtResult", 7, "Network type:\"FDD LTE\"\n"},
                           {"ParseAtResult", 7, "36 0"},
                           {"ParseAtResult", 5, "AT$QCRMCALL=1,1 return 0"},
                           {"ParseAtResult", 7, "37 "},
                           {"ParseAtResult", 7, "QNETDEVSTATUS: on_off=1,state=3,roam_status=0,inst=1\n"},
                           {"ParseAtResult", 7, "38 8986"},
                           {"ParseAtResult", 5, "ICCID:8986\n"},
                           {"ParseAtResult", 7, "40 "},
                           {"ParseAtResult", 5, "query baseband temperature Failed!\n"},
                           {"ParseAtResult", 4, "query baseband temperature 95!\n"},
                           {"ParseAtResult", 5, "query XO temperature Failed!\n"},
                           {"ParseAtResult", 5, "query PA temperature Failed!\n"},
                           {"ParseAtResult", 7, "Quectel Temp Baseband("},
                           {"ParseAtResult", 7, "41 "},
                           {"ModuleOtaTask", 5, "[OTA] ota upgrade file path or file no exist\n"},
                           {"ModuleOtaTask", 5, "[OTA] 4g module ota upgrade not support\n"},
                           {"ModuleOtaTask", 5, "[OTA] run: "},
                           {"ModuleOtaTask", 5, "[OTA] run 4G module ota task fail\n"},
                           {"ModuleOtaTask", 5, "[OTA] Upgrade module successfully\n"},
                           {"ModuleOtaTask", 5, "[OTA] Upgrade module fail\n"},
                           {"IsSupportModuleOTA", 5, "[OTA] Module EG21 support OTA\r\n"},
                           {"IsSupportModuleOTA", 5, "[OTA] Module no support OTA\r\n"},
                           {"IsOtaUpgradPathExist", 5, "[OTA] OTA目录不存在\n"},
                           {"IsOtaUpgradPathExist", 5, "[OTA] OTA目录存在\n"},
                           {"IsOtaUpgradPathExist", 5, "[OTA] QFirehose文件存在\n"},
                           {"IsOtaUpgradPathExist", 5, "[OTA] QFirehose文件不存在\n"}});
}

INSTANTIATE_TYPED_TEST_SUITE_P(Qcom, QuectelRows, CellQuectelQcom);

}  // namespace
