// Module CellZTE: the dialect of ZTE/Gosuncn modules.
#include "CellSubClass/src/CellZTE.h"

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellZTE.cpp";
constexpr char kSignal[] = "+ZSRSP: \"-098\",\"-12\",\"-070\",\"010\"";

class ZteTest : public DriverTest<CellZTE3630> {
  protected:
    void SetUp() override {
        DriverTest::SetUp();
        CellBase::m_ModuleName = "ME3630";
    }

    /// The command that the driver dials with.
    std::string Dial(const std::string& answer = Answer("CONNECT")) {
        modem.exchanges.clear();
        modem.AllowUnknown();
        modem.On("AT+ZECMCALL=1", answer);
        EXPECT_EQ(1, cell.DoConnect());
        return modem.Sent().back();
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

    void ReadCell(const std::string& answer) {
        modem.On("AT+ZCELLINFO?", answer);
        cell.CheckNeighbourSignal();
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

// Initialize

TEST_F(ZteTest, InitializeSendsTheSetUpInOrder) {
    modem.On("AT+CMEE=2", kOk);
    modem.On("AT+ZSWITCH=l", kOk);
    modem.On("AT+ZADSET=e", kOk);
    modem.On("ATI", "\r\nManufacturer: GOSUNCN\r\nModel: ME3630\r\nRevision: ME3630C1CV1.0B06\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"ATZ",     "AT&F",      "ATE0",         "AT+CFUN=0",   "AT+CFUN=1", "AT+MODODR=2",
                            "AT+MEID", "AT+CMEE=2", "AT+ZSWITCH=l", "AT+ZADSET=e", "ATI"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_STREQ("GOSUNCN", cell.m_vendor_name);
    EXPECT_STREQ(" ME3630C1CV1.0B06", cell.m_fw_version);
    EXPECT_EQ(Texts{"m_ModuleName = ME3630 \n"}, TextsOfFile(kFile));
}

TEST_F(ZteTest, FirmwareIs17CharactersBehindRevision) {
    ExpectFirmwareBehindRevision(17, "GOSUNCN");
}

// Dial and hang-up

TEST_F(ZteTest, EmptyApnDialsWithoutParameters) {
    copy_text(cell.m_username, "user");
    copy_text(cell.m_password, "b");
    cell.m_auth_type = 3;
    EXPECT_EQ("AT+ZECMCALL=1", Dial());
}

TEST_F(ZteTest, PasswordWithoutUserNameIsDropped) {
    copy_text(cell.m_apn, "a");
    copy_text(cell.m_password, "b");
    EXPECT_EQ("AT+ZECMCALL=1,\"a\",1", Dial());
}

TEST_F(ZteTest, EachParameterIsReachedThroughTheOneBefore) {
    const struct {
        const char *apn, *user, *password;
        int32_t authentication;
        const char* command;
    } cases[] = {
        {"", "", "", 0, "AT+ZECMCALL=1"},
        {"", "", "", 3, "AT+ZECMCALL=1"},
        {"a", "", "", 0, "AT+ZECMCALL=1,\"a\",1"},
        {"a", "", "", 3, "AT+ZECMCALL=1,\"a\",1"},
        {"a", "u", "", 0, "AT+ZECMCALL=1,\"a\",1,\"u\""},
        {"a", "u", "", 3, "AT+ZECMCALL=1,\"a\",1,\"u\""},
        {"a", "u", "p", 0, "AT+ZECMCALL=1,\"a\",1,\"u\",\"p\""},
        {"a", "u", "p", 3, "AT+ZECMCALL=1,\"a\",1,\"u\",\"p\",\"3\""},
        {"a", "u", "p", -1, "AT+ZECMCALL=1,\"a\",1,\"u\",\"p\",\"-1\""},
    };
    for (const auto& test : cases) {
        copy_text(cell.m_apn, test.apn);
        copy_text(cell.m_username, test.user);
        copy_text(cell.m_password, test.password);
        cell.m_auth_type = test.authentication;
        EXPECT_EQ(test.command, Dial());
    }
}

TEST_F(ZteTest, LongestParametersFitTheCommand) {
    const std::string apn(63, 'a'), user(63, 'u'), password(63, 'p');
    copy_text(cell.m_apn, apn.c_str());
    copy_text(cell.m_username, user.c_str());
    copy_text(cell.m_password, password.c_str());
    cell.m_auth_type = INT32_MIN;
    EXPECT_EQ("AT+ZECMCALL=1,\"" + apn + "\",1,\"" + user + "\",\"" + password + "\",\"-2147483648\"",
              Dial());
}

TEST_F(ZteTest, DoConnectSendsTheContextAndWaitsTenSecondsForTheCall) {
    copy_text(cell.m_apn, "a");
    cell.m_carrier_code = 2;
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"a\"", kOk);
    modem.On("AT+ZECMCALL=1,\"a\",1", "\r\nOK\r\n\r\n+ZECMCALL: CONNECT\r\n");
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"a\"", "AT+ZECMCALL=1,\"a\",1"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(10.0, world.now_seconds() - modem.exchanges.back().at_seconds, 0.01);
    const Texts log = {"AT+ZECMCALL=1 return \r\nOK\r\n\r\n+ZECMCALL: CONNECT\r\n\n", "CONNECT!!! \n"};
    EXPECT_EQ(log, TextsOfFile(kFile));
}

TEST_F(ZteTest, FailedCallIsNoFailureOfTheDial) {
    for (const char* answer : {"\r\nNO CARRIER\r\n", kError, "", "\r\nconnect\r\n"}) {
        world.log.clear();
        Dial(answer);
        EXPECT_TRUE(world.Logged(6, "AT+ZECMCALL=1 return " + std::string(answer) + "\n"));
        EXPECT_TRUE(world.Logged(6, "AT+ZECMCALL=1 ERROR !!!\n")) << answer;
        EXPECT_EQ(0, world.CountLogged("CONNECT!!! \n")) << answer;
    }
}

TEST_F(ZteTest, DisConnectEndsTheCallASecondBeforeTheRadio) {
    modem.On("AT+ZECMCALL=0", kOk);
    EXPECT_EQ(1, cell.DisConnect());
    const Texts expected = {"AT+ZECMCALL=0", "AT+CFUN=0"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(2.0, modem.exchanges[1].at_seconds - modem.exchanges[0].at_seconds, 0.01);
}

// Link

TEST_F(ZteTest, CheckConnectionAsksTheNetworkTypeFirst) {
    modem.On("AT+ZPAS?", Answer("+ZPAS: \"LTE\",\"CS_PS\""));
    modem.On("AT+ZECMCALL?", Answer("+ZECMCALL: IPV4, 10.1.2.3"));
    EXPECT_EQ(1, cell.CheckConnection());
    const Texts expected = {"AT+ZPAS?", "AT+ZECMCALL?"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_STREQ("\"LTE\"", cell.m_NetworkType);
    EXPECT_EQ(Texts{"AT+ZECMCALL checkconnection return \r\n+ZECMCALL: IPV4, 10.1.2.3\r\n\r\nOK\r\n\n"},
              world.LogOf("CheckConnection"));
}

TEST_F(ZteTest, AddressIsALinkAndNoAddressIsNone) {
    EXPECT_EQ(1, CheckAnswered(Answer("+ZECMCALL: 10.1.2.3")));
    EXPECT_EQ(1, CheckAnswered("1.0\r\n+ZECMCALL: IPV4\r\n")) << "a dot anywhere in the answer";
    for (const std::string& answer : {Answer("+ZECMCALL: IPV4"), Answer("+ZECMCALL:10.1.2.3"),
                                      Answer("10.1.2.3"), std::string(kError), std::string()}) {
        EXPECT_EQ(0, CheckAnswered(answer)) << answer;
        EXPECT_TRUE(world.Logged(5, "AT+ZECMCALL? fail:0\n")) << answer;
    }
}

TEST_F(ZteTest, OkWithoutAddressIsALinkOnGm196Alone) {
    const struct {
        const char* model;
        int32_t expected;
    } cases[] = {{"GM196", 1}, {"GM196H", 0}, {"ME3630", 0}, {"GOSUNCN", 0}, {"GM19", 0}, {"", 0}};
    for (const auto& test : cases) {
        CellBase::m_ModuleName = test.model;
        for (const std::string& answer : {Answer("+ZECMCALL: IPV4"), std::string(kOk)}) {
            EXPECT_EQ(test.expected, CheckAnswered(answer)) << test.model;
            EXPECT_EQ(test.expected, world.CountLogged("connection ok!!! \n")) << test.model;
            EXPECT_EQ(1 - test.expected, world.CountLogged("AT+ZECMCALL? fail:0\n")) << test.model;
        }
    }
    CellBase::m_ModuleName = "GM196";
    EXPECT_EQ(0, CheckAnswered(kError));
    EXPECT_EQ(0, CheckAnswered(""));
}

TEST_F(ZteTest, AddressOnGm196NeedsNoException) {
    CellBase::m_ModuleName = "GM196";
    EXPECT_EQ(1, CheckAnswered(Answer("+ZECMCALL: 10.1.2.3")));
    EXPECT_EQ(0, world.CountLogged("connection ok!!! \n"));
}

// A row of the base is cut while it is parsed, and "OK" is searched for in what is left.
TEST_F(ZteTest, AnswerIsLoggedAndSearchedAsTheParserLeftIt) {
    CellBase::m_ModuleName = "GM196";
    EXPECT_EQ(0, CheckAnswered("+CSQ: 5,99\r\n\r\nOK\r\n"));
    EXPECT_TRUE(world.Logged(7, "AT+ZECMCALL checkconnection return +CSQ: 5\n"));
    EXPECT_TRUE(world.Logged(5, "AT+ZECMCALL? fail:5\n"));
}

TEST_F(ZteTest, AddressBehindThe256thByteIsLost) {
    const std::string head = "+ZECMCALL: 10";
    const std::string answer = std::string(256 - head.size(), 'x') + head + ".1.2.3\r\n\r\nOK\r\n";
    EXPECT_EQ(0, CheckAnswered(answer));
    EXPECT_EQ(1, CheckAnswered(answer.substr(1)));
}

// Registration

TEST_F(ZteTest, RegistrationIsAskedInTwoSteps) {
    ExpectTwoStepRegistration();
}

// SIM

TEST_F(ZteTest, CheckSimCardTakes20CharactersOfTheIccid) {
    AnswerSimCheck();
    modem.On("AT+ZGETICCID", Answer("+ZGETICCID: 89860011223344556677F"));
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_STREQ("89860011223344556677", cell.m_card_iccid);
    EXPECT_EQ("AT+ZGETICCID", modem.Sent().back());
}

TEST_F(ZteTest, IccidOfNoAnswerStaysEmpty) {
    AnswerSimCheck();
    modem.On("AT+ZGETICCID", kError);
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_STREQ("", cell.m_card_iccid);
}

TEST_F(ZteTest, FailedSimCheckAsksNoIccid) {
    AnswerSimCheckWithoutSim();
    EXPECT_EQ(kSimNotReady, cell.CheckSimCard());
    for (const std::string& command : modem.Sent()) EXPECT_NE("AT+ZGETICCID", command);
}

// Unsolicited

TEST_F(ZteTest, ReportOfTheNetworkTypeIsAcknowledgedWithoutTheBase) {
    const AtResult report = Parse("\r\n+ZPAS: \"LTE\",\"CS_PS\"\r\n");
    EXPECT_STREQ("\"LTE\"", cell.m_NetworkType);
    EXPECT_EQ(1, cell.DealHint(report));
    EXPECT_TRUE(modem.exchanges.empty());
}

TEST_F(ZteTest, OtherHintsGoToTheBase) {
    modem.On("AT+PSRAT", Answer("+PSRAT: LTE"));
    EXPECT_EQ(1, cell.DealHint(Parse("+NWTYPEIND:1")));
    EXPECT_EQ(Texts{"AT+PSRAT"}, modem.Sent());
    EXPECT_STREQ("LTE", cell.m_NetworkType);
    EXPECT_EQ(0, cell.DealHint(Parse("+ZECMCALL: DISCONNECT")));
    EXPECT_EQ(1u, modem.exchanges.size());
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
    EXPECT_EQ(Texts{"ZTE 4G module is: ME3630 \r\n"}, world.LogOf("CheckSignalStatus"));
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
        EXPECT_TRUE(world.Logged(6, "AT+ZSRSP? return error!!! \n")) << answer;
        EXPECT_STREQ("-98dBm", cell.m_RSRP) << answer;
        EXPECT_STREQ("010dB", cell.m_SINR) << answer;
    }
}

TEST_F(ZteTest, OtherModelsAreNotAskedForTheirSignal) {
    for (const char* model : {"GM196", "GM196H", "GOSUNCN", "ME3630H", ""}) {
        CellBase::m_ModuleName = model;
        cell.CheckSignalStatus();
        EXPECT_TRUE(world.Logged(7, "ZTE 4G module is: " + std::string(model) + " \r\n"));
    }
    EXPECT_TRUE(modem.exchanges.empty());
}

// Cell

TEST_F(ZteTest, ServingCellIsReadByTheNeighboursOperation) {
    copy_text(cell.m_band, "8");
    copy_text(cell.m_RSRP_LEVEL, "-90dBm");
    copy_text(cell.m_RSRP, "-98dBm");
    ReadCell(Answer("+ZCELLINFO: 5A1C,LTE,211,3,1650"));
    EXPECT_EQ(Texts{"AT+ZCELLINFO?"}, modem.Sent());
    EXPECT_NEAR(10.0, world.now_seconds(), 0.01);
    EXPECT_STREQ("211", cell.m_pcid);
    EXPECT_STREQ("3", cell.m_band);
    EXPECT_STREQ("-98dBm", cell.m_RSRP_LEVEL);
    EXPECT_STREQ("", cell.m_neighbour_pcid);
    const Texts log = {"ZCELLINFO common str:5A1C,LTE,211,3,1650, len: 19!!!\r\n",
                       "Band change: last band[8] rsrp[-90dBm], current band[3] rsrp[-98dBm]\n",
                       "CELLINFO info, pcid:211 !\n", "CELLINFO info, band:3 !\n",
                       "CELLINFO info, m_RSRP_LEVEL:-98dBm !\n"};
    EXPECT_EQ(log, world.LogOf("CheckNeighbourSignal"));
}

TEST_F(ZteTest, SameBandIsNoChange) {
    copy_text(cell.m_band, "3");
    ReadCell(Answer("+ZCELLINFO: 5A1C,LTE,211,3,1650"));
    EXPECT_EQ(4u, world.LogOf("CheckNeighbourSignal").size());
}

TEST_F(ZteTest, CellThatIsNotLteKeepsTheLastValues) {
    copy_text(cell.m_pcid, "7");
    ReadCell(Answer("+ZCELLINFO: 5A1C,UMTS,211,3,1650"));
    EXPECT_TRUE(world.Logged(3, "AT+CELLINFO? return not LTE!!! \n"));
    EXPECT_STREQ("7", cell.m_pcid);
}

TEST_F(ZteTest, AnswerWithoutCellSaysNoMore) {
    copy_text(cell.m_pcid, "7");
    for (const char* answer : {kError, "", "\r\n+CREG: 0,1\r\n"}) {
        world.log.clear();
        ReadCell(answer);
        EXPECT_EQ(1u, world.LogOf("CheckNeighbourSignal").size()) << answer;
        EXPECT_STREQ("7", cell.m_pcid) << answer;
    }
    EXPECT_EQ(0, world.CountLogged("AT+CELLINFO? return not LTE!!! \n"));
}

TEST_F(ZteTest, ShortCellEmptiesWhatItLacks) {
    copy_text(cell.m_band, "3");
    ReadCell(Answer("+ZCELLINFO: 5A1C,LTE,211"));
    EXPECT_TRUE(world.Logged(5, "CELLINFO info,pRes do not have valid data\n"));
    EXPECT_TRUE(world.Logged(5, "Band change: last band[3] rsrp[], current band[] rsrp[]\n"));
    EXPECT_STREQ("211", cell.m_pcid);
    EXPECT_STREQ("", cell.m_band);
    world.log.clear();
    ReadCell(Answer("+ZCELLINFO: LTE,,7,8,"));
    EXPECT_EQ(0, world.CountLogged("CELLINFO info,pRes do not have valid data\n")) << "empty, but there";
    EXPECT_STREQ("7", cell.m_pcid);
    EXPECT_STREQ("8", cell.m_band);
}

TEST_F(ZteTest, FieldsOfTheCellAreCutToTheirSlots) {
    const std::string field(20, '7');
    copy_text(cell.m_RSRP, "-1234567890dBm");
    ReadCell(Answer("+ZCELLINFO: a,LTE," + field + ",\x80\xff,e,f,g"));
    EXPECT_EQ(field.substr(0, 15), cell.m_pcid);
    EXPECT_STREQ("\x80\xff", cell.m_band);
    EXPECT_STREQ("-12345678", cell.m_RSRP_LEVEL);
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

TEST_F(ZteTest, TextsAreTheFirstLine) {
    const std::string many(300, 'x');
    ExpectTexts({
        {"+ZGETICCID: 8986\r\n", kHintZgeticcid, "8986"},
        {"+ZGETICCID: 8986,7\r\n", kHintZgeticcid, "8986,7"},
        {"+ZGETICCID: ", kHintZgeticcid, ""},
        {"+ZGETICCID: \n8986", kHintZgeticcid, ""},
        {"+ZGETICCID: " + many, kHintZgeticcid, many.substr(0, 127)},
        {"+ZGETICCID: \x80\xff\r\n", kHintZgeticcid, "\x80\xff"},
        {"+ZGETICCID: %s%n\r\n", kHintZgeticcid, "%s%n"},
        {"+ZGETICCID: 1\r\n+ZGETICCID: 2\r\n", kHintZgeticcid, "1"},
        {"+ZCELLINFO: a,b,,c\r\n", kHintZcellinfo, "a,b,,c"},
        {"+ZCELLINFO: ", kHintZcellinfo, ""},
        {"+ZCELLINFO: " + many, kHintZcellinfo, many.substr(0, 127)},
        {"+ZCELLINFO: \x80\xff\r\n", kHintZcellinfo, "\x80\xff"},
        {"+ZCELLINFO: a\r\n+ZGETICCID: b\r\n", kHintZgeticcid, "b"},
    });
    EXPECT_TRUE(world.Logged(5, "ICCID:8986\n"));
}

TEST_F(ZteTest, NetworkTypeIsTheFirstField) {
    const std::string many(300, 'n');
    const struct {
        std::string answer;
        std::string network;
    } cases[] = {
        {"+ZPAS: \"LTE\",\"CS_PS\"\r\n", "\"LTE\""},
        {"+ZPAS: No Service\r\n", "No Service"},
        {"+ZPAS: ", ""},
        {"+ZPAS: ,x\r\n", ""},
        {"+ZPAS: " + many + "\r\n", many.substr(0, 63)},
        {"+ZPAS: \xe4\xff,1\r\n", "\xe4\xff"},
        {"+ZPAS: a\r\n+ZPAS: b\r\n", "a"},
        {"+ZECMCALL: 1.2\r\n+ZPAS: a\r\n", "a"},
    };
    for (const auto& test : cases) {
        copy_text(cell.m_NetworkType, "old");
        EXPECT_EQ(kHintZpas, Parse(test.answer).type) << test.answer;
        EXPECT_EQ(test.network, cell.m_NetworkType) << test.answer;
        EXPECT_TRUE(world.Logged(7, "Network type:" + test.network + "\n")) << test.answer;
    }
}

TEST_F(ZteTest, OtherTextsAreUnknown) {
    const struct {
        const char* answer;
        Texts log;
    } cases[] = {
        {"ReSeRvEd:x", {"28 x\n"}}, {"\r\nOK\r\n", {}},
        {"+ZSRSP: \"1\"", {}},      {"+ZPAS:\"LTE\"", {}},  // the blank belongs to the prefix
        {"+QNWINFO: x", {}},        {"", {}},
    };
    for (const auto& test : cases) {
        world.log.clear();
        EXPECT_EQ(0, Parse(test.answer).type) << test.answer;
        EXPECT_EQ(test.log, world.LogOf("ParseAtResult")) << test.answer;
    }
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
}

TEST_F(ZteTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"+ZGETICCID: ", "8986", kHintZgeticcid},
        {"+ZPAS: ", "\"LTE\",\"CS\"", kHintZpas},
        {"+ZECMCALL: ", "10.1", kHintZecmcall},
        {"+ZCELLINFO: ", "5A1C,LTE", kHintZcellinfo},
    });
}

TEST_F(ZteTest, RowsOfTheBaseWin) {
    EXPECT_EQ(kHintCsq, Parse("+ZPAS: x\r\n+CSQ: 5,99\r\n").type);
    EXPECT_EQ(kHintZpas, Parse("Unknow.. +ZPAS: x\r\n").type);
}

// Places of the lines

TEST_F(ZteTest, EachLineNamesThisDriverItsOperationAndItsLevel) {
    AnswerSimCheck();
    modem.AllowUnknown();
    modem.On("AT+ZGETICCID", Answer("+ZGETICCID: 8986"));
    modem.On("AT+ZPAS?", Answer("+ZPAS: \"LTE\",\"CS_PS\""));
    modem.On("AT+CEREG?", Answer("+CEREG: 0,1"));

    cell.Initialize();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    Dial(kError);
    Dial("\r\nCONNECT\r\n");
    modem.On("AT+ZECMCALL?", Answer("+ZECMCALL: IPV4"));
    cell.CheckConnection();
    CellBase::m_ModuleName = "GM196";
    cell.CheckConnection();
    CellBase::m_ModuleName = "ME3630";
    ReadSignal(kError);
    ReadCell(Answer("+ZCELLINFO: 5A1C,UMTS"));
    ReadCell(Answer("+ZCELLINFO: 5A1C,LTE"));
    ReadCell(Answer("+ZCELLINFO: 5A1C,LTE,211,3,1650"));
    cell.DisConnect();

    ExpectOwnLines(kFile, {{"Initialize", 5, "m_ModuleName = ME3630 \n"},
                           {"DoConnect", 6, "AT+ZECMCALL=1 return "},
                           {"DoConnect", 6, "AT+ZECMCALL=1 ERROR !!!\n"},
                           {"DoConnect", 6, "CONNECT!!! \n"},
                           {"CheckConnection", 7, "AT+ZECMCALL checkconnection return "},
                           {"CheckConnection", 7, "connection ok!!! \n"},
                           {"CheckConnection", 5, "AT+ZECMCALL? fail:0\n"},
                           {"CheckSignalStatus", 7, "ZTE 4G module is: ME3630 \r\n"},
                           {"CheckSignalStatus", 6, "AT+ZSRSP? return error!!! \n"},
                           {"CheckNeighbourSignal", 7, "ZCELLINFO common str:"},
                           {"CheckNeighbourSignal", 3, "AT+CELLINFO? return not LTE!!! \n"},
                           {"CheckNeighbourSignal", 5, "CELLINFO info,pRes do not have valid data\n"},
                           {"CheckNeighbourSignal", 5, "Band change: "},
                           {"CheckNeighbourSignal", 7, "CELLINFO info, pcid:"},
                           {"CheckNeighbourSignal", 7, "CELLINFO info, band:"},
                           {"CheckNeighbourSignal", 7, "CELLINFO info, m_RSRP_LEVEL:"},
                           {"ParseAtResult", 7, "29 "},
                           {"ParseAtResult", 5, "ICCID:8986\n"},
                           {"ParseAtResult", 7, "30 "},
                           {"ParseAtResult", 7, "Network type:\"LTE\"\n"},
                           {"ParseAtResult", 7, "31 "},
                           {"ParseAtResult", 7, "32 "}});
}

}  // namespace
