// Module CellQuectelAsr: the dialect of Quectel modules on ASR chipsets. What they share with those on Unisoc
// is in quectel_netdevctl_tests.h.
#include "CellSubClass/src/CellQuectelAsr.h"

#include "tests/unit/drivers/quectel_netdevctl_tests.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellQuectelAsr.cpp";

using QuectelAsrTest = DriverTest<CellQueAsr>;

// Initialize

TEST_F(QuectelAsrTest, InitializeSendsTheSetUpInOrderWithoutAContext) {
    CellBase::m_ModuleName = "EC200A";
    copy_text(cell.m_apn, "cmnet");
    modem.On("AT+qcfg=\"usbnet\",1", kOk);
    modem.On("AT+CMEE=2", kOk);
    modem.On("ATI", "\r\nQuectel\r\nEC200A\r\nRevision: EC200ACNHAR01A08M16\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"ATZ",       "AT&F",        "ATE0",    "AT+CFUN=0",
                            "AT+CFUN=1", "AT+MODODR=2", "AT+MEID", "AT+qcfg=\"usbnet\",1",
                            "AT+CMEE=2", "ATI"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(1.0, modem.exchanges[9].at_seconds - modem.exchanges[8].at_seconds, 0.01);
    EXPECT_STREQ("QuectelAsr", cell.m_vendor_name);
    EXPECT_EQ(Texts{"m_ModuleName = EC200A \n"}, TextsOfFile(kFile));
}

TEST_F(QuectelAsrTest, FirmwareIs20CharactersBehindRevision) {
    ExpectFirmwareBehindRevision(20, "EC200x");
}

// Dial

TEST_F(QuectelAsrTest, DoConnectCallsWithoutContextAndCredentials) {
    cell.m_carrier_code = 2;
    copy_text(cell.m_username, "user");
    copy_text(cell.m_password, "secret");
    cell.m_auth_type = 3;
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    modem.On("AT+QNETDEVCTL=1,1,1", kOk);
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", "AT+QNETDEVCTL=1,1,1\r\n"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(1.0, world.now_seconds() - modem.exchanges.back().at_seconds, 0.01);
    EXPECT_TRUE(TextsOfFile(kFile).empty());
}

TEST_F(QuectelAsrTest, EmptyApnAndUnknownCarrierAreNoReasonNotToCall) {
    modem.On("AT+COPS?", Answer("+COPS: 0"));
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"\"", kOk);
    modem.On("AT+QNETDEVCTL=1,1,1", kOk);
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_TRUE(world.Logged(5, "DoConnect unknown APN info:AT+CGDCONT=1,\"IPV4V6\",\"\""));
    EXPECT_EQ("AT+QNETDEVCTL=1,1,1\r\n", modem.Sent().back());
}

TEST_F(QuectelAsrTest, FailedCallIsNoFailureOfTheDial) {
    cell.m_carrier_code = 2;
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    for (const char* answer : {kError, "\r\n+QNETDEVCTL: 1,1,1,0\r\n", ""}) {
        modem.On("AT+QNETDEVCTL=1,1,1", answer);
        EXPECT_EQ(1, cell.DoConnect()) << answer;
    }
    EXPECT_TRUE(TextsOfFile(kFile).empty()) << "the answer isn't read";
}

// Neighbour cell

TEST_F(QuectelAsrTest, NeighbourCellHas13Fields) {
    modem.On(kNeighbourCellQuery, "+QENG: 0,1,2,301,-101,5,6,7,8,9,10,11,12");
    cell.CheckNeighbourSignal();
    EXPECT_EQ(0, world.CountLogged("neighbour info,pRes do not have valid data\n"));
    modem.On(kNeighbourCellQuery, "+QENG: 0,1,2,302,-102,5,6,7,8,9,10,11");
    cell.CheckNeighbourSignal();
    EXPECT_TRUE(world.Logged(7, "neighbour info,pRes do not have valid data\n"));
    EXPECT_STREQ("302", cell.m_neighbour_pcid);
    EXPECT_STREQ("-102", cell.m_neighbour_rsrp);
}

// Parser

TEST_F(QuectelAsrTest, AnswerOfTheOtherCallIsOnlyLogged) {
    const AtResult result = Parse("$QCRMCALL: 1");
    EXPECT_EQ(0, result.type);
    EXPECT_EQ(0, result.val);
    EXPECT_EQ(Texts{"36 1\n"}, world.LogOf("ParseAtResult"));
    EXPECT_TRUE(world.Logged(7, "36 1\n"));
}

TEST_F(QuectelAsrTest, OtherCallEndsWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"$QCRMCALL: ", "12, V4", 0},
    });
}

// Places of the lines

TEST_F(QuectelAsrTest, EachLineNamesThisDriverItsOperationAndItsLevel) {
    AnswerSimCheck();
    modem.AllowUnknown();
    cell.m_check_service_times = 1;
    modem.On("AT+QNETDEVCTL?", Answer("+QNETDEVCTL: 1,1,1,0"));
    modem.On("AT+QCCID", Answer("+QCCID: 8986"));
    modem.On("AT+CREG?", Answer("+CREG: 0,1"));
    modem.On(kServingCellQuery, "+QENG: \"servingcell\",\"SEARCH\",\"LTE\",4,5,6,7,8,9,10");
    modem.On(kNeighbourCellQuery, "+QENG: \"neighbourcell\"");
    modem.On("AT+QNWINFO", Answer("+QNWINFO: \"FDD LTE\""));

    cell.Initialize();
    cell.DoConnect();
    cell.CheckConnection();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.CheckSignalStatus();
    modem.On(kServingCellQuery, Answer("+QENG: \"servingcell\",\"NOCONN\",\"WCDMA\""));
    cell.CheckSignalStatus();
    cell.CheckNeighbourSignal();
    cell.ReadCSQ();
    cell.DisConnect();

    ExpectOwnLines(kFile,
                   {{"Initialize", 5, "m_ModuleName = "},
                    {"CheckConnection", 5, "AT+QNETDEVCTL fail:0\n"},
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
                    {"ParseAtResult", 7, "Network type:"},
                    {"ParseAtResult", 7, "38 "},
                    {"ParseAtResult", 5, "ICCID:8986\n"},
                    {"ParseAtResult", 7, "39 "},
                    {"ParseAtResult", 7, "QNETDEVSTATUS: connect_type=1,CID=1,URC_switch=1,PDN_status=0\n"},
                    {"ParseAtResult", 7, "41 "}});
}

INSTANTIATE_TYPED_TEST_SUITE_P(Asr, QuectelRows, CellQueAsr);
INSTANTIATE_TYPED_TEST_SUITE_P(Asr, QuectelNetDevCtl, CellQueAsr);

}  // namespace
