// Module CellQuectelUnisoc: the dialect of Quectel modules on Unisoc chipsets. What they share with those on
// ASR is in quectel_netdevctl_tests.h.
#include "CellSubClass/src/CellQuectelUnisoc.h"

#include "tests/unit/drivers/quectel_netdevctl_tests.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellQuectelUnisoc.cpp";
constexpr char kContext[] = "AT+QICSGP=1,1,\"cmnet\",\"user\",\"secret\",3";
constexpr char kContextSent[] = "AT+QICSGP=1,1,\"cmnet\",\"user\",\"secret\",3\r\n";

class QuectelUnisocTest : public DriverTest<CellEC200G> {
  protected:
    void SetUp() override {
        DriverTest::SetUp();
        copy_text(cell.m_apn, "cmnet");
        copy_text(cell.m_username, "user");
        copy_text(cell.m_password, "secret");
        cell.m_auth_type = 3;
    }
};

// Initialize

TEST_F(QuectelUnisocTest, InitializeSendsTheSetUpInOrderAndPausesBeforeTheContext) {
    CellBase::m_ModuleName = "EC200U";
    modem.On("AT+qcfg=\"usbnet\",1", kOk);
    modem.On("AT+CMEE=2", kOk);
    modem.On(kContext, kOk);
    modem.On("ATI", "\r\nQuectel\r\nEC200U\r\nRevision: EC200UCNAAR03A05M08\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"ATZ",       "AT&F",        "ATE0",    "AT+CFUN=0",
                            "AT+CFUN=1", "AT+MODODR=2", "AT+MEID", "AT+qcfg=\"usbnet\",1",
                            "AT+CMEE=2", kContextSent,  "ATI"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(2.0, modem.exchanges[9].at_seconds - modem.exchanges[8].at_seconds, 0.01);
    EXPECT_NEAR(1.0, modem.exchanges[10].at_seconds - modem.exchanges[9].at_seconds, 0.01);
    EXPECT_STREQ("Quectel", cell.m_vendor_name);
    const Texts log = {kContextSent, "m_ModuleName = EC200U \n"};
    EXPECT_EQ(log, TextsOfFile(kFile));
}

TEST_F(QuectelUnisocTest, FirmwareIs20CharactersBehindRevision) {
    ExpectFirmwareBehindRevision(20, "EC200-Uni");
}

// Dial

TEST_F(QuectelUnisocTest, DoConnectSetsTheContextAndCalls) {
    modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-UNICOM\",7"));
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"cmnet\"", kOk);
    modem.On(kContext, kOk);
    modem.On("AT+QNETDEVCTL=1,1,1", kOk);
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", "AT+COPS?", "AT+CGDCONT=1,\"IPV4V6\",\"cmnet\"", kContextSent,
                            "AT+QNETDEVCTL=1,1,1\r\n"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(1.0, world.now_seconds() - modem.exchanges.back().at_seconds, 0.01);
    const Texts log = {kContextSent, "AT+QICSGP=1,1 done\n"};
    EXPECT_EQ(log, TextsOfFile(kFile));
}

TEST_F(QuectelUnisocTest, ContextIsAnnouncedAsDoneBeforeItIsSent) {
    modem.AllowUnknown();
    cell.DoConnect();
    double announced = 0;
    for (const auto& line : world.log) {
        if (line.text == "AT+QICSGP=1,1 done\n") announced = line.at_seconds;
    }
    ASSERT_EQ(kContextSent, modem.exchanges[3].command);
    EXPECT_LE(announced, modem.exchanges[3].at_seconds);
    EXPECT_NEAR(announced, modem.exchanges[3].at_seconds, 0.01);
}

TEST_F(QuectelUnisocTest, EmptyApnAndUnknownCarrierAreNoReasonNotToCall) {
    cell.m_apn[0] = '\0';
    modem.On("AT+COPS?", Answer("+COPS: 0"));
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"\"", kOk);
    modem.On("AT+QICSGP=1,1,\"\",\"user\",\"secret\",3", kOk);
    modem.On("AT+QNETDEVCTL=1,1,1", kOk);
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_TRUE(world.Logged(5, "DoConnect unknown APN info:AT+CGDCONT=1,\"IPV4V6\",\"\""));
    EXPECT_EQ("AT+QNETDEVCTL=1,1,1\r\n", modem.Sent().back());
}

TEST_F(QuectelUnisocTest, FailedCallIsNoFailureOfTheDial) {
    modem.AllowUnknown();
    for (const char* answer : {kError, "\r\n+QNETDEVCTL: 1,1,1,0\r\n", ""}) {
        modem.On("AT+QNETDEVCTL=1,1,1", answer);
        EXPECT_EQ(1, cell.DoConnect()) << answer;
    }
    EXPECT_EQ(6u, TextsOfFile(kFile).size()) << "two lines of the context each: the answer isn't read";
}

// Neighbour cell

TEST_F(QuectelUnisocTest, NeighbourCellHas12Fields) {
    modem.On(kNeighbourCellQuery, "+QENG: 0,1,2,301,-101,5,6,7,8,9,10,11");
    cell.CheckNeighbourSignal();
    EXPECT_EQ(0, world.CountLogged("neighbour info,pRes do not have valid data\n"));
    modem.On(kNeighbourCellQuery, "+QENG: 0,1,2,302,-102,5,6,7,8,9,10");
    cell.CheckNeighbourSignal();
    EXPECT_TRUE(world.Logged(7, "neighbour info,pRes do not have valid data\n"));
    EXPECT_STREQ("302", cell.m_neighbour_pcid);
    EXPECT_STREQ("-102", cell.m_neighbour_rsrp);
}

// Parser

TEST_F(QuectelUnisocTest, AnswerOfTheOtherCallIsRead) {
    ExpectNumbers(QcrmcallCases());
    world.log.clear();
    Parse("$QCRMCALL: 1, V4");
    const Texts log = {"36 1, V4\n", "AT$QCRMCALL=1,1 return 1, V4\n"};
    EXPECT_EQ(log, world.LogOf("ParseAtResult"));
}

TEST_F(QuectelUnisocTest, OtherCallEndsWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"$QCRMCALL: ", "12, V4", kHintQcrmcall},
    });
}

// Places of the lines

TEST_F(QuectelUnisocTest, EachLineNamesThisDriverItsOperationAndItsLevel) {
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
    Parse("$QCRMCALL: 0");
    cell.DisConnect();

    ExpectOwnLines(kFile,
                   {{"Initialize", 7, kContextSent},
                    {"Initialize", 5, "m_ModuleName = "},
                    {"DoConnect", 7, kContextSent},
                    {"DoConnect", 5, "AT+QICSGP=1,1 done\n"},
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
                    {"ParseAtResult", 7, "36 "},
                    {"ParseAtResult", 5, "AT$QCRMCALL=1,1 return 0\n"},
                    {"ParseAtResult", 7, "38 "},
                    {"ParseAtResult", 5, "ICCID:8986\n"},
                    {"ParseAtResult", 7, "39 "},
                    {"ParseAtResult", 7, "QNETDEVSTATUS: connect_type=1,CID=1,URC_switch=1,PDN_status=0\n"},
                    {"ParseAtResult", 7, "41 "}});
}

INSTANTIATE_TYPED_TEST_SUITE_P(Unisoc, QuectelRows, CellEC200G);
INSTANTIATE_TYPED_TEST_SUITE_P(Unisoc, QuectelNetDevCtl, CellEC200G);

}  // namespace
