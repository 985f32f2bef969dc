// Module CellCinterion: the dialect of Cinterion modules.
#include "CellSubClass/src/CellCinterion.h"

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellCinterion.cpp";
constexpr char kAskLink[] = "AT^SWWAN?";
constexpr char kAskCell[] = "AT^SMONI";
constexpr char kAskTemperature[] = "AT^SCTM?";
constexpr char kLteCell[] = "^SMONI: LTE,1650,3,10,10,FDD,460,00";

class CinterionTest : public DriverTest<CellCinterion> {
  protected:
    Texts TakeLog() {
        Texts lines = LinesOfFile(kFile);
        world.log.clear();
        return lines;
    }
};

TEST_F(CinterionTest, NewObjectHasWwan0AndSendsNothing) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Set-up

TEST_F(CinterionTest, InitializeTurnsOnTheTemperatureAndReadsTheRevision) {
    modem.On("AT^SCTM=1,1", kOk);
    modem.On("ATI", "\r\nCinterion\r\nPLS83-W\r\nREVISION 01.202\r\n\r\nOK\r\n");
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_EQ(Joined(BaseSetUp(), {"AT^SCTM=1,1", "ATI"}), modem.Sent());
    EXPECT_STREQ("Cinterion", cell.m_vendor_name);
    EXPECT_STREQ(" 01.202", cell.m_fw_version);
    EXPECT_EQ(Texts{"5 Initialize: m_ModuleName = Some \n"}, TakeLog());
}

struct FirmwareCase {
    std::string answer;
    const char* expected;
};

TEST_F(CinterionTest, RevisionIsSevenCharactersBehindTheWord) {
    const FirmwareCase cases[] = {
        {"\r\nREVISION 01.202.03\r\n\r\nOK\r\n", " 01.202"},
        {"\r\nREVISION01.202.03", "01.202."},
        {"\r\nREVISION 1\r\n\r\nOK\r\n", " 1\r\n\r\nO"},
        {"\r\nREVISION", ""},
        {"\r\nREVISION 1 REVISION 2", " 1 REVI"},
        {"\r\nREVISION \xff\x80%s%n", " \xff\x80%s%n"},
        {"\r\nRevision 01.202\r\n\r\nOK\r\n", "Cinterion"},
        {kError, "Cinterion"},
        {"", "Cinterion"},
    };
    modem.On("AT^SCTM=1,1", kOk);
    for (const FirmwareCase& test : cases) {
        modem.On("ATI", test.answer);
        EXPECT_EQ(1, cell.Initialize());
        EXPECT_STREQ(test.expected, cell.m_fw_version) << test.answer;
    }
}

TEST_F(CinterionTest, RevisionInMixedCaseLeavesTheMakersName) {
    modem.On("AT^SCTM=1,1", kError);
    modem.On("ATI", Answer("Cinterion\r\nPLS83-W\r\nRevision: 01.202"));
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_STREQ("Cinterion", cell.m_fw_version);
}

// Dial and hang-up

TEST_F(CinterionTest, DialSetsTheContextAndStartsTheLink) {
    cell.m_carrier_code = 2;
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    const Texts expected = {"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", "AT^SWWAN=1,1"};
    for (const char* answer : {kOk, kError, "\r\n+CME ERROR: 30\r\n", ""}) {
        modem.exchanges.clear();
        modem.On("AT^SWWAN=1,1", answer);
        EXPECT_EQ(1, cell.DoConnect()) << answer;
        EXPECT_EQ(expected, modem.Sent());
    }
}

TEST_F(CinterionTest, DisConnectTurnsTheRadioOffAndNothingElse) {
    EXPECT_EQ(1, cell.DisConnect());
    EXPECT_EQ(Texts{"AT+CFUN=0"}, modem.Sent());
}

// Link

struct LinkCase {
    std::string answer;
    bool expected;
};

TEST_F(CinterionTest, LinkIsUpWhereTheAnswerHoldsThreeOnes) {
    modem.On(kAskCell, Answer(kLteCell));
    const LinkCase cases[] = {
        {Answer("^SWWAN: 1,1,1"), true},
        {Answer("^SWWAN: 0,1,1"), false},
        {Answer("^SWWAN: 1,0,1"), false},
        {Answer("^SWWAN: 1,1"), false},
        {Answer("^SWWAN: 1, 1, 1"), false},
        {Answer("^SWWAN: 3,0,1\r\n^SWWAN: 1,1,1"), true},
        {"1,1,1", true},
        {Answer("^SWWAN: 11,1,12"), true},
        {Answer("+CREG: 1,1,1"), true},  // searched as it stands
        {kError, false},
        {"", false},
    };
    for (const LinkCase& test : cases) {
        modem.exchanges.clear();
        modem.On(kAskLink, test.answer);
        EXPECT_EQ(test.expected, cell.CheckConnection() != 0) << test.answer;
        const Texts expected = {kAskCell, kAskLink};
        EXPECT_EQ(expected, modem.Sent());
    }
}

TEST_F(CinterionTest, AnswerCutAt256BytesLosesTheState) {
    modem.On(kAskCell, kError);
    modem.On(kAskLink, std::string(252, '.') + "1,1,1\r\n\r\nOK\r\n");
    EXPECT_EQ(0, cell.CheckConnection());
    modem.On(kAskLink, std::string(251, '.') + "1,1,1\r\n\r\nOK\r\n");
    EXPECT_NE(0, cell.CheckConnection());
}

TEST_F(CinterionTest, CheckOfTheLinkRefreshesTheNetworkType) {
    modem.On(kAskLink, Answer("^SWWAN: 0,0,1"));
    modem.On(kAskCell, Answer(kLteCell));
    EXPECT_EQ(0, cell.CheckConnection());
    EXPECT_STREQ("LTE", cell.m_NetworkType);
    modem.On(kAskCell, kError);
    EXPECT_EQ(0, cell.CheckConnection());
    EXPECT_STREQ("LTE", cell.m_NetworkType);
}

TEST_F(CinterionTest, LinkQuestionIsNotParsed) {
    modem.On(kAskCell, kError);
    modem.On(kAskLink, "AT^SWWAN?\r\r\n^SWWAN: 1,1,1\r\n\r\nOK\r\n");
    EXPECT_NE(0, cell.CheckConnection());
    EXPECT_EQ(Texts{}, TakeLog());
}

// Temperature

struct TemperatureCase {
    std::string answer;
    int32_t expected;
};

TEST_F(CinterionTest, TemperatureIsTheThirdField) {
    modem.On(kAskTemperature, Answer("^SCTM: 0,0,38"));
    cell.CheckTempStatus();
    EXPECT_EQ(38, cell.m_Tempture);
    EXPECT_EQ(Texts{kAskTemperature}, modem.Sent());
    const Texts log = {"7 ParseAtResult: 51  0,0,38\r\n\r\nOK\r\n\n",
                       "7 ParseAtResult: SCTM: 0,0,38\r\n\r\nOK\r\n\n",
                       "7 CheckTempStatus: m_Tempture[38] temp.val[38]\n"};
    EXPECT_EQ(log, TakeLog());
}

TEST_F(CinterionTest, AnswerWithoutTemperatureStoresZero) {
    for (const char* answer : {kError, "", "\r\nOK\r\n"}) {
        cell.m_Tempture = 38;
        modem.On(kAskTemperature, answer);
        cell.CheckTempStatus();
        EXPECT_EQ(0, cell.m_Tempture) << answer;
        EXPECT_EQ(Texts{"7 CheckTempStatus: m_Tempture[0] temp.val[0]\n"}, TakeLog());
    }
}

TEST_F(CinterionTest, TemperatureFieldsOfAnyForm) {
    const TemperatureCase cases[] = {
        {"^SCTM: 1,0,-20\r\n", -20},
        {"^SCTM:1,1,85", 85},
        {"^SCTM: 1,1,85,1,2,3,4,5,6,7,8", 85},
        {"^SCTM: 1,1", 0},
        {"^SCTM: 1", 0},
        {"^SCTM:", 0},
        {"^SCTM: 1,1,\r\n", 0},
        {"^SCTM: 1,,38", 38},
        {"^SCTM: 1,1,hot", 0},
        {"^SCTM: a,b,38", 38},
        {"^SCTM: 1\r\n38", 38},  // two line ends have an empty field between
        {"^SCTM: 1,1,99999999999999", 2147483647},
        {"^SCTM: " + std::string(150, '9') + ",1,38", 38},
        {"^SCTM: 1,1," + std::string(62, '0') + "38", 3},  // a slot holds 63 characters
        {"^SCTM: \xff,\x80,38\xff", 38},
        {"^SCTM: %s,%n,38", 38},
        {"^SCTM: 1,1,38\r\n^SCTM: 1,1,39", 38},
        {"+CREG: 1,1,38", 0},  // the engine's rows come first
        {std::string(246, '.') + "^SCTM: 1,1,38", 0},
    };
    for (const TemperatureCase& test : cases) {
        modem.On(kAskTemperature, test.answer);
        cell.CheckTempStatus();
        EXPECT_EQ(test.expected, cell.m_Tempture) << test.answer;
    }
}

// SIM

TEST_F(CinterionTest, CheckSimCardTakes20CharactersOfTheIccid) {
    AnswerSimCheck();
    modem.On("AT+CCID", Answer("+CCID: 89860011223344556677F"));
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(Joined(BaseSimCheck(), {"AT+CCID"}), modem.Sent());
    EXPECT_STREQ("89860011223344556677", cell.m_card_iccid);
    const Texts log = {"7 ParseAtResult: 50 89860011223344556677F\r\n\r\nOK\r\n\n",
                       "5 ParseAtResult: ICCID:89860011223344556677F\n"};
    EXPECT_EQ(log, TakeLog());
}

struct IccidCase {
    std::string answer;
    std::string expected;
};

TEST_F(CinterionTest, IccidOfAnyForm) {
    AnswerSimCheck();
    const IccidCase cases[] = {
        {Answer("+CCID: 8986"), "8986"},
        {Answer("+CCID: "), ""},
        {Answer("+CCID: 8986,12"), "8986,12"},
        {Answer("+CCID: " + std::string(200, '8')), std::string(20, '8')},
        {Answer("+CCID: \xff\x80"), "\xff\x80"},
        {Answer("+CCID: %s%n"), "%s%n"},
        {"\r\n+CCID: 1\r\n+CCID: 2\r\n", "1"},
        {Answer("+CCID:8986"), ""},  // the blank is part of the prefix
        {Answer("+CREG: 0,1"), ""},
        {kError, ""},
        {"", ""},
        {std::string(246, '.') + "+CCID: 8986", "898"},
    };
    for (const IccidCase& test : cases) {
        modem.On("AT+CCID", test.answer);
        EXPECT_EQ(kSimReady, cell.CheckSimCard());
        EXPECT_EQ(test.expected, cell.m_card_iccid) << test.answer;
    }
}

TEST_F(CinterionTest, IccidOfTheEngineStaysWithoutAnAnswer) {
    AnswerSimCheck();
    modem.On("AT^ICCID?", Answer("^ICCID: 8986001"));
    modem.On("AT+CCID", kError);
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_STREQ("8986001", cell.m_card_iccid);
}

TEST_F(CinterionTest, SimThatIsNotReadyIsAnErrorAndAsksNoIccid) {
    AnswerSimCheck();
    modem.On("AT+CPIN?", "\r\n+CME ERROR: SIM not inserted\r\n");
    EXPECT_EQ(kSimNotReady, cell.CheckSimCard());
    for (const std::string& command : modem.Sent()) EXPECT_NE("AT+CCID", command);
    EXPECT_EQ(Texts{"1 CheckSimCard: CheckSimCard ERROR = -2!!!\n"}, TakeLog());
}

// Registration

TEST_F(CinterionTest, ServiceIsEpsRegistrationOrElsePacketRegistration) {
    ExpectTwoStepRegistration();
}

// Parser

struct RowCase {
    std::string answer;
    int32_t type;
    Texts log;
};

TEST_F(CinterionTest, RowsAreFoundInTheirOrder) {
    const RowCase cases[] = {
        {"\r\nOK\r\n", 0, {}},
        {"", 0, {}},
        {"^SWWAN: 1,1,1", 0, {}},
        {"ReSeRvEd:x", 0, {"7 ParseAtResult: 48 x\n"}},
        {"AT^SWWAN?\r\r\n^SWWAN: 1,1,1", 0, {"7 ParseAtResult: 49 \r\r\n^SWWAN: 1,1,1\n"}},
        {"^SCTM: 1,2,3\r\n+CCID: 8986\r\n",
         50,
         {"7 ParseAtResult: 50 8986\r\n\n", "5 ParseAtResult: ICCID:8986\n"}},
        {"^SMONI: LTE\r\n^SCTM: 1,2,3",
         51,
         {"7 ParseAtResult: 51  1,2,3\n", "7 ParseAtResult: SCTM: 1,2,3\n"}},
        {"^SMONI: LTE,1", 52, {"7 ParseAtResult: 52 LTE,1\n", "7 ParseAtResult: Network type:LTE\n"}},
        {"^SMONI:LTE", 0, {}},
        {"^SMONI: LTE\r\n+CSQ: 3,99", kHintCsq, {}},
    };
    for (const RowCase& test : cases) {
        EXPECT_EQ(test.type, Parse(test.answer).type) << test.answer;
        EXPECT_EQ(test.log, TakeLog()) << test.answer;
    }
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
}

TEST_F(CinterionTest, AllThreeNumbersOfTheTemperatureStandInTheRecord) {
    const AtResult result = Parse("^SCTM: 1,2,38\r\n");
    EXPECT_EQ(1, result.val);
    EXPECT_EQ(2, result.val2);
    EXPECT_EQ(38, result.val3);
}

struct NetworkCase {
    std::string behind_prefix;
    std::string expected;
};

TEST_F(CinterionTest, NetworkTypeIsTheFirstFieldOfTheCell) {
    const NetworkCase cases[] = {
        {"4G,1650,3", "4G"},
        {"LTE\r\n", "LTE"},
        {"LTE", "LTE"},
        {"LTE\nx", "LTE"},
        {"", ""},
        {",1650", ""},
        {"12345", "12345"},
        {"a,1,2,3,4,5,6,7,8,9,10,11,12,13", "a"},
        {"\xff\x80,1", "\xff\x80"},
        {"%s%n,1", "%s%n"},
        {std::string(63, 'x') + ",1", std::string(63, 'x')},
        {std::string(200, 'x'), std::string(63, 'x')},
        {"a\r\n^SMONI: b", "a"},
    };
    for (const NetworkCase& test : cases) {
        EXPECT_EQ(kHintSmoni, Parse("^SMONI: " + test.behind_prefix).type);
        EXPECT_EQ(test.expected, cell.m_NetworkType) << test.behind_prefix;
    }
}

TEST_F(CinterionTest, LongIccidIsCutAt127Characters) {
    EXPECT_EQ(std::string(127, '8'), Parse("+CCID: " + std::string(200, '8')).common_str);
}

TEST_F(CinterionTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"^SWWAN?", " 1", 0},
        {"+CCID: ", "8986", kHintCinterionCcid},
        {"^SCTM:", " 1,2,38", kHintSctm},
        {"^SMONI: ", "LTE,1", kHintSmoni},
    });
}

// Unsolicited texts

TEST_F(CinterionTest, Hint30IsSettledAndOthersGoToTheEngine) {
    AtResult result = {};
    result.type = kHintZpas;
    EXPECT_EQ(1, cell.DealHint(result));
    EXPECT_TRUE(modem.exchanges.empty());
    EXPECT_EQ(0, Hear("^SCTM: 1,0,90"));
    EXPECT_EQ(0, Hear("^SMONI: LTE"));
    EXPECT_EQ(0, Hear("+ZPAS: 1"));  // not a row of this module
    modem.On("AT+PSRAT", Answer("+PSRAT: LTE FDD"));
    EXPECT_EQ(1, Hear("+NWTYPEIND: 7"));
    EXPECT_STREQ("LTE FDD", cell.m_NetworkType);
}

// Places of the lines

TEST_F(CinterionTest, EachLineNamesThisDriverItsOperationAndLevel) {
    modem.AllowUnknown();
    AnswerSimCheck();
    modem.On("AT+CCID", Answer("+CCID: 8986"));
    modem.On(kAskCell, Answer("^SMONI: LTE,1"));
    modem.On(kAskTemperature, Answer("^SCTM: 1,0,38"));
    cell.Initialize();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.DoConnect();
    cell.CheckConnection();
    cell.CheckTempStatus();
    modem.On("AT+CPIN?", kError);
    cell.CheckSimCard();
    cell.DisConnect();
    const std::string end = "\r\n\r\nOK\r\n\n";
    const Texts expected = {"5 Initialize: m_ModuleName = Some \n",
                            "7 ParseAtResult: 50 8986" + end,
                            "5 ParseAtResult: ICCID:8986\n",
                            "7 ParseAtResult: 52 LTE,1" + end,
                            "7 ParseAtResult: Network type:LTE\n",
                            "7 ParseAtResult: 51  1,0,38" + end,
                            "7 ParseAtResult: SCTM: 1,0,38" + end,
                            "7 CheckTempStatus: m_Tempture[38] temp.val[38]\n",
                            "1 CheckSimCard: CheckSimCard ERROR = -2!!!\n"};
    EXPECT_EQ(expected, TakeLog());
    EXPECT_EQ(Texts{}, LinesOfHelpers());
}

}  // namespace
