// Module CellSimCom: the dialect of SIMCom modules.
#include "CellSubClass/src/CellSimCom.h"

#include <gtest/gtest.h>

#include <string>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kDriver[] = "CellSubClass/src/CellSimCom.cpp";
constexpr char kContext[] = "AT+CGDCONT=1,\"IPV4V6\",\"my.apn\"";
constexpr char kDial[] = "AT$QCRMCALL=1,1,1,,,,\"my.apn\",\"\",\"\",";

class SimComTest : public DriverTest<CellSimCom> {
  protected:
    /// The settings and the exchanges of the base's part of the dial.
    void AnswerContext() {
        copy_text(cell.m_apn, "my.apn");
        cell.m_carrier_code = 2;
        modem.On(kContext, kOk);
    }
};

TEST_F(SimComTest, NewObjectHasWwan0AndSendsNothing) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Initialize

TEST_F(SimComTest, InitializeAddsTheInterfaceToTheBasesSetUp) {
    CellBase::m_ModuleName = "SIMCOM";
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"ATZ", "AT&F", "ATE0", "AT+CFUN=0", "AT+CFUN=1", "AT+MODODR=2", "AT+MEID"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_EQ(Texts{"ifconfig wwan0 up"}, world.Commands());
    EXPECT_STREQ("SIMCOM", cell.m_vendor_name);
    EXPECT_STREQ("SIMCOM", cell.m_fw_version);
    EXPECT_EQ(Texts{"m_ModuleName = SIMCOM \n"}, TextsOfFile(kDriver));
}

// Dial and hang-up

TEST_F(SimComTest, DialIsTheContextAndOneCommandWithAllSettings) {
    AnswerContext();
    copy_text(cell.m_username, "me");
    copy_text(cell.m_password, "secret");
    cell.m_auth_type = 3;
    modem.On("AT$QCRMCALL=1,1,1,,,,\"my.apn\",\"me\",\"secret\",3", Answer("$QCRMCALL: 1,V4"));
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", kContext, "AT$QCRMCALL=1,1,1,,,,\"my.apn\",\"me\",\"secret\",3"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(1.0, world.now_seconds() - modem.exchanges.back().at_seconds, 0.01);
}

TEST_F(SimComTest, DialWithoutAuthenticationKeepsTheLastComma) {
    AnswerContext();
    modem.On(kDial, Answer("$QCRMCALL: 1,V4"));
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_EQ(kDial, modem.Sent().back());
}

TEST_F(SimComTest, DialWithTheLongestSettingsIsWhole) {
    AnswerContext();
    const std::string longest(63, 'x');
    copy_text(cell.m_apn, longest.c_str());
    copy_text(cell.m_username, longest.c_str());
    copy_text(cell.m_password, longest.c_str());
    cell.m_auth_type = INT32_MIN;
    const std::string quoted = "\"" + longest + "\"";
    const std::string dial = "AT$QCRMCALL=1,1,1,,,," + quoted + "," + quoted + "," + quoted + ",-2147483648";
    modem.On("AT+CGDCONT=1,\"IPV4V6\"," + quoted, kOk);
    modem.On(dial, Answer("$QCRMCALL: 1,V4"));
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_EQ(dial, modem.Sent().back());
}

TEST_F(SimComTest, AnswerDecidesTheDial) {
    const struct {
        std::string answer;
        int32_t expected;
    } cases[] = {
        {Answer("$QCRMCALL: 1,V4"), 1},
        {Answer("$QCRMCALL: 0,V4"), 0},
        {Answer("$QCRMCALL: 2,V4"), 0},
        {Answer("+CREG: 1,1"), 0},
        {kOk, 0},
        {"\r\nNO CARRIER\r\n", 0},
        {"", 0},
    };
    AnswerContext();
    for (const auto& test : cases) {
        modem.On(kDial, test.answer);
        EXPECT_EQ(test.expected, cell.DoConnect()) << test.answer;
    }
}

TEST_F(SimComTest, DisConnectEndsTheCallBeforeTheRadio) {
    modem.On("AT$QCRMCALL=0,1", kOk);
    EXPECT_EQ(1, cell.DisConnect());
    EXPECT_EQ((Texts{"AT$QCRMCALL=0,1", "AT+CFUN=0"}), modem.Sent());
    EXPECT_NEAR(1 + 1, GapBehind(0), 0.01);
}

// Link

TEST_F(SimComTest, LinkIsUpWithA1Only) {
    const struct {
        std::string answer;
        int32_t expected;
    } cases[] = {
        {Answer("$QCRMCALL: 1,V4"), 1},
        {Answer("$QCRMCALL: 1"), 1},
        {Answer("$QCRMCALL: 0"), 0},
        {Answer("+CPSI: LTE,Online"), 0},
        {Answer("+CREG: 1,1"), 0},
        {kOk, 0},
        {kError, 0},
        {"", 0},
    };
    for (const auto& test : cases) {
        modem.On("AT$QCRMCALL?", test.answer);
        EXPECT_EQ(test.expected, cell.CheckConnection()) << test.answer;
    }
    EXPECT_EQ("AT$QCRMCALL?", modem.Sent()[0]);
    EXPECT_TRUE(world.LogOf("CheckConnection").empty());
}

// Registration and SIM

TEST_F(SimComTest, RegistrationIsTestedInTwoSteps) {
    ExpectTwoStepRegistration();
}

TEST_F(SimComTest, CheckSimCardTakes20CharactersOfTheIccid) {
    ExpectIccidFrom("AT+CICCID", "+ICCID: ");
}

// Signal

TEST_F(SimComTest, ReadCsqAsksSystemAndContextsFirst) {
    modem.On("AT+CPSI?", Answer("+CPSI: LTE,Online,460-00"));
    modem.On("AT+CGACT?", Answer("+CGACT: 1,1"));
    modem.On("AT+CSQ", Answer("+CSQ: 23,99"));
    EXPECT_EQ(1, cell.ReadCSQ());
    EXPECT_EQ((Texts{"AT+CPSI?", "AT+CGACT?", "AT+CSQ"}), modem.Sent());
    EXPECT_STREQ("LTE", cell.m_NetworkType);
    EXPECT_EQ(23, cell.m_nCSQ);
}

TEST_F(SimComTest, ReadCsqFailsByTheCsqAlone) {
    modem.On("AT+CPSI?", kError);
    modem.On("AT+CGACT?", kError);
    modem.On("AT+CSQ", Answer("+CSQ: 23,99"));
    EXPECT_EQ(1, cell.ReadCSQ());
    modem.On("AT+CSQ", kError);
    EXPECT_EQ(0, cell.ReadCSQ());
}

// Parser

TEST_F(SimComTest, ReservedRowIsLoggedAndGivesNoHint) {
    ExpectNumbers({{"ReSeRvEd:x", 0, 0}, {"ReSeRvEd: $QCRMCALL: 1", 0, 0}});
    EXPECT_TRUE(world.Logged(7, "43 x\n"));
}

TEST_F(SimComTest, QcrmcallRow) {
    ExpectNumbers({
        {Answer("$QCRMCALL: 1,V4"), kHintSimcomQcrmcall, 1},
        {"$QCRMCALL: ", kHintSimcomQcrmcall, 0},
        {"$QCRMCALL: ,1", kHintSimcomQcrmcall, 0},
        {"$QCRMCALL: V4,1", kHintSimcomQcrmcall, 0},
        {"$QCRMCALL: 1,2,3,4,5,6,7,8", kHintSimcomQcrmcall, 1},
        {"$QCRMCALL: 99999999999", kHintSimcomQcrmcall, INT32_MAX},
        {"$QCRMCALL: " + std::string(245, '0'), kHintSimcomQcrmcall, 0},
        {"$QCRMCALL: \xff", kHintSimcomQcrmcall, 0},
        {"$QCRMCALL: 0\r\n$QCRMCALL: 1\r\n", kHintSimcomQcrmcall, 0},
        {"+CPSI: LTE\r\n$QCRMCALL: 1\r\n", kHintSimcomQcrmcall, 1},
        {"$QCRMCALL:1", 0, 0},
    });
    EXPECT_TRUE(world.Logged(7, "44 1,V4\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(5, "Online check :1\n"));
}

TEST_F(SimComTest, CpsiRow) {
    const std::string longest(63, 'N');
    const struct {
        std::string answer;
        int32_t value;
        std::string network;
    } cases[] = {
        {Answer("+CPSI: LTE,Online,460-00"), 1, "LTE"},
        {"+CPSI: LTE,ONLINE,460-00", 1, "LTE"},
        {"+CPSI: LTE,online", 1, "LTE"},
        {"+CPSI: NO SERVICE,Online", 1, "NO SERVICE"},
        {"+CPSI: LTE,Offline", 0, "LTE"},
        {"+CPSI: LTE,Online2", 0, "LTE"},
        {"+CPSI: LTE, Online", 0, "LTE"},
        {"+CPSI: LTE,,Online", 0, "LTE"},
        {"+CPSI: LTE", 0, "LTE"},
        {"+CPSI: LTE\r\nOnline", 0, "LTE"},
        {"+CPSI: LTE\nOnline", 1, "LTE"},
        {"+CPSI: ", 0, ""},
        {"+CPSI: ,Online", 1, ""},
        {"+CPSI: " + longest + ",Online", 1, longest},
        {"+CPSI: " + longest + "x,Online", 1, longest},
        {"+CPSI: " + std::string(249, 'N'), 0, longest},
        {"+CPSI: \xff\x80,Online", 1, "\xff\x80"},
        {"+CPSI: LTE,Online\r\n+CPSI: WCDMA,x\r\n", 1, "LTE"},
        {"+ICCID: 8986\r\n+CPSI: GSM,x\r\n", 0, "GSM"},
    };
    for (const auto& test : cases) {
        copy_text(cell.m_NetworkType, "old");
        const AtResult result = Parse(test.answer);
        EXPECT_EQ(kHintSimcomCpsi, result.type) << test.answer;
        EXPECT_EQ(test.value, result.val) << test.answer;
        EXPECT_EQ(test.network, cell.m_NetworkType) << test.answer;
        EXPECT_TRUE(world.Logged(5, "Network type:" + test.network + "\n")) << test.answer;
    }
    EXPECT_TRUE(world.Logged(7, "45 LTE,Online,460-00\r\n\r\nOK\r\n\n"));
    copy_text(cell.m_NetworkType, "old");
    EXPECT_EQ(0, Parse("+CPSI:LTE,Online").type);
    EXPECT_STREQ("old", cell.m_NetworkType);
}

TEST_F(SimComTest, IccidRow) {
    ExpectTexts({
        {Answer("+ICCID: 8986"), kHintSimcomIccid, "8986"},
        {"+ICCID: ", kHintSimcomIccid, ""},
        {"+ICCID: ,8986", kHintSimcomIccid, ""},
        {"+ICCID: 8986,1,2", kHintSimcomIccid, "8986"},
        {"+ICCID: no number", kHintSimcomIccid, "no number"},
        {"+ICCID: " + std::string(127, '8'), kHintSimcomIccid, std::string(127, '8')},
        {"+ICCID: " + std::string(248, '8'), kHintSimcomIccid, std::string(127, '8')},
        {"+ICCID: \xff\x80\r\n", kHintSimcomIccid, "\xff\x80"},
        {"+ICCID: 1\r\n+ICCID: 2\r\n", kHintSimcomIccid, "1"},
        {"+ICCID:8986", 0, ""},
    });
    EXPECT_TRUE(world.Logged(7, "46 8986\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(5, "ICCID :8986\n"));
}

TEST_F(SimComTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"$QCRMCALL: ", "12,V4", kHintSimcomQcrmcall},
        {"+CPSI: ", "LTE,Online,460", kHintSimcomCpsi},
        {"+ICCID: ", "8986", kHintSimcomIccid},
    });
}

TEST_F(SimComTest, RowOfTheBaseWins) {
    EXPECT_EQ(kHintCsq, Parse("+CPSI: LTE\r\n+CSQ: 5,99\r\n").type);
    EXPECT_STREQ("", cell.m_NetworkType);
    EXPECT_TRUE(TextsOfFile(kDriver).empty());
}

TEST_F(SimComTest, MissingTextIsUnknown) {
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
    EXPECT_TRUE(world.log.empty());
}

TEST_F(SimComTest, PercentInAnAnswerIsText) {
    Parse("+ICCID: %s%n%d\r\n");
    EXPECT_TRUE(world.Logged(5, "ICCID :%s%n%d\n"));
}

// Places of the lines

TEST_F(SimComTest, EachLineNamesThisDriverItsOperationAndLevel) {
    AnswerSimCheck();
    AnswerContext();
    modem.On(kDial, Answer("$QCRMCALL: 1,V4"));
    modem.On("AT$QCRMCALL?", Answer("$QCRMCALL: 1,V4"));
    modem.On("AT$QCRMCALL=0,1", kOk);
    modem.On("AT+CICCID", Answer("+ICCID: 8986"));
    modem.On("AT+CPSI?", Answer("+CPSI: LTE,Online"));
    modem.On("AT+CGACT?", kOk);
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    modem.On("AT+CEREG?", Answer("+CEREG: 0,1"));
    cell.Initialize();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.DoConnect();
    cell.CheckConnection();
    cell.ReadCSQ();
    cell.DisConnect();
    ExpectOwnLines(kDriver, {
                                {"Initialize", 5, "m_ModuleName = "},
                                {"ParseAtResult", 7, "44 1,V4"},
                                {"ParseAtResult", 5, "Online check :1\n"},
                                {"ParseAtResult", 7, "45 LTE,Online"},
                                {"ParseAtResult", 5, "Network type:LTE\n"},
                                {"ParseAtResult", 7, "46 8986"},
                                {"ParseAtResult", 5, "ICCID :8986\n"},
                            });
}

}  // namespace
