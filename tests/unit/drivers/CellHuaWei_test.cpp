// Module CellHuaWei: the dialect of Huawei modules of the ME909 kind.
#include "CellSubClass/src/CellHuaWei.h"

#include <algorithm>
#include <cstring>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kFile[] = "CellSubClass/src/CellHuaWei.cpp";
constexpr char kAskLink[] = "at^ NDISSTATQRY?";
constexpr char kHcsq[] = "^HCSQ: ";

class HuaWeiTest : public DriverTest<CellHuaWei909s> {
  protected:
    void AnswerBaseDial() {
        cell.m_carrier_code = 2;
        modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
        modem.On("AT+CGDCONT=1,\"IPV4V6\",\"cmnet\"", kOk);
    }

    void SetParameters(const char* apn, const char* username, const char* password, const char* pin,
                       int32_t auth_type) {
        copy_text(cell.m_apn, apn);
        copy_text(cell.m_username, username);
        copy_text(cell.m_password, password);
        copy_text(cell.m_card_pin, pin);
        cell.m_auth_type = auth_type;
    }
};

TEST_F(HuaWeiTest, NewObjectHasWwan0AndSendsNothing) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Set-up

TEST_F(HuaWeiTest, InitializeLetsTheLampFollowTheModule) {
    modem.On("AT^LEDCTRL=1", kOk);
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_EQ(Joined(BaseSetUp(), {"AT^LEDCTRL=1"}), modem.Sent());
    EXPECT_STREQ("Huawei", cell.m_vendor_name);
    EXPECT_STREQ("ME909", cell.m_fw_version);
    EXPECT_EQ(Texts{"5 Initialize: m_ModuleName = Some \n"}, LinesOfFile(kFile));
}

TEST_F(HuaWeiTest, RefusedSetUpIsNoFailure) {
    modem.On("AT^LEDCTRL=1", kError);
    EXPECT_EQ(1, cell.Initialize());
    modem.On("AT^LEDCTRL=1", "");
    EXPECT_EQ(1, cell.Initialize());
}

// Dial

struct DialCase {
    const char* apn;
    const char* username;
    const char* password;
    const char* pin;
    int32_t auth_type;
    const char* command;
};

TEST_F(HuaWeiTest, DialEndsBeforeTheFirstEmptyParameter) {
    AnswerBaseDial();
    const DialCase cases[] = {
        {"", "", "", "", 0, "AT^NDISDUP=1,1"},
        {"", "me", "secret", "1234", 2, "AT^NDISDUP=1,1"},
        {"cmnet", "", "", "", 0, "AT^NDISDUP=1,1,\"cmnet\""},
        {"cmnet", "me", "", "1234", 2, "AT^NDISDUP=1,1,\"cmnet\",\"me\""},
        {"cmnet", "me", "secret", "", 2, "AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\""},
        {"cmnet", "me", "secret", "1234", 0, "AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\""},
        {"cmnet", "me", "secret", "1234", 2, "AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\",\"2\""},
        {"cmnet", "me", "secret", "1234", -1, "AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\",\"-1\""},
    };
    for (const DialCase& test : cases) {
        SetParameters(test.apn, test.username, test.password, test.pin, test.auth_type);
        modem.On(test.command, kOk);
        EXPECT_EQ(1, cell.DoConnect()) << test.command;
        EXPECT_EQ(test.command, modem.Sent().back());
    }
}

TEST_F(HuaWeiTest, EmptyUserNameEndsTheCommandAfterTheApnEvenWithAPassword) {
    AnswerBaseDial();
    SetParameters("cmnet", "", "secret", "", 0);
    modem.On("AT^NDISDUP=1,1,\"cmnet\"", kOk);
    EXPECT_EQ(1, cell.DoConnect());
    const Texts expected = {"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"cmnet\"", "AT^NDISDUP=1,1,\"cmnet\""};
    EXPECT_EQ(expected, modem.Sent());
}

TEST_F(HuaWeiTest, DialAnswerIsNotRead) {
    AnswerBaseDial();
    for (const char* answer : {kError, "", "\r\n+CME ERROR: 30\r\n"}) {
        modem.On("AT^NDISDUP=1,1", answer);
        EXPECT_EQ(1, cell.DoConnect()) << answer;
    }
}

TEST_F(HuaWeiTest, LongestParametersAreCutAt255Characters) {
    const std::string longest(63, 'x');
    modem.AllowUnknown();
    SetParameters(longest.c_str(), longest.c_str(), longest.c_str(), longest.c_str(), 2);
    EXPECT_EQ(1, cell.DoConnect());
    const std::string quoted = ",\"" + longest + "\"";
    const std::string whole = "AT^NDISDUP=1,1" + quoted + quoted + quoted + quoted + ",\"2\"";
    EXPECT_EQ(whole.substr(0, 255), modem.Sent().back());
}

TEST_F(HuaWeiTest, DisConnectEndsTheCallASecondBeforeTheRadio) {
    modem.On("AT^NDISDUP=1,0", kOk);
    EXPECT_EQ(1, cell.DisConnect());
    const Texts expected = {"AT^NDISDUP=1,0", "AT+CFUN=0"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_NEAR(2.0, modem.exchanges[1].at_seconds - modem.exchanges[0].at_seconds, 0.01);
}

// Link

struct LinkCase {
    std::string answer;
    int32_t expected;
};

TEST_F(HuaWeiTest, NdisStatus1WithEmptyFieldsCountsAsConnected) {
    modem.On(kAskLink, Answer("^NDISSTATQRY: 1,,,\"IPV4\""));
    EXPECT_EQ(1, cell.CheckConnection());
    EXPECT_EQ(Texts{kAskLink}, modem.Sent());
}

TEST_F(HuaWeiTest, LinkIsUpInState1Alone) {
    const LinkCase cases[] = {
        {Answer("^NDISSTATQRY: 1"), 1},
        {Answer("^NDISSTATQRY:1,,,\"IPV4\""), 1},
        {Answer("^NDISSTATQRY: 0,33,,\"IPV4\""), 0},
        {Answer("^NDISSTATQRY: 2,,,\"IPV4\""), 0},
        {Answer("^NDISSTATQRY: 11"), 0},
        {Answer("^NDISSTATQRY:"), 0},
        {Answer("^HCSQ: 1"), 0},
        {Answer("+CREG: 1,1"), 0},
        {"\r\n^NDISSTATQRY: 1,,,\"IPV4\"\r\n+CREG: 0,1\r\n", 0},  // the engine's rows come first
        {kError, 0},
        {"", 0},
    };
    for (const LinkCase& test : cases) {
        modem.On(kAskLink, test.answer);
        EXPECT_EQ(test.expected, cell.CheckConnection()) << test.answer;
    }
}

TEST_F(HuaWeiTest, AnswerCutAt256BytesLosesTheState) {
    const std::string row = "^NDISSTATQRY: ";
    const std::string rest = "1,,,\"IPV4\"\r\n\r\nOK\r\n";
    modem.On(kAskLink, std::string(256 - row.size(), '.') + row + rest);
    EXPECT_EQ(0, cell.CheckConnection());
    modem.On(kAskLink, std::string(255 - row.size(), '.') + row + rest);
    EXPECT_EQ(1, cell.CheckConnection());
}

// Registration

TEST_F(HuaWeiTest, ServiceIsEpsRegistrationOrElsePacketRegistration) {
    ExpectTwoStepRegistration();
}

// Parser

struct StateCase {
    std::string behind_prefix;
    int32_t expected;
};

TEST_F(HuaWeiTest, LinkStateIsANumberUpToTheComma) {
    const StateCase cases[] = {
        {" 1,,,\"IPV4\"", 1},
        {"1", 1},
        {"  1\r\n\r\nOK\r\n", 1},
        {"", 0},
        {"\r\n", 0},
        {",1", 0},
        {" ,1,1,1", 0},
        {" abc,1", 0},
        {" \"1\",1", 0},
        {" -1,1", -1},
        {" 1abc", 1},
        {" 1,2,3,4,5,6,7,8,9,10,11,12", 1},
        {" 99999999999999999999,1", 2147483647},
        {" " + std::string(150, '0') + "7,1", 7},
        {" \xff\xfe\x80,1", 0},
        {" 1\xff,\x80", 1},
        {" %s%n%d", 0},
    };
    for (const StateCase& test : cases) {
        world.log.clear();
        const AtResult result = Parse("^NDISSTATQRY:" + test.behind_prefix);
        EXPECT_EQ(kHintNdisstatqry, result.type) << test.behind_prefix;
        EXPECT_EQ(test.expected, result.val) << test.behind_prefix;
        const Texts log = {"5 ParseAtResult: 25 " + test.behind_prefix + "\n",
                           "5 ParseAtResult: Connect Status:" + std::to_string(test.expected) + "\n"};
        EXPECT_EQ(log, LinesOfFile(kFile));
    }
}

struct SignalCase {
    std::string behind_prefix;
    std::string expected;  // in m_NetworkType
};

TEST_F(HuaWeiTest, NetworkTypeIsTheFirstFieldOfHcsq) {
    const SignalCase cases[] = {
        {"\"LTE\",50,40,30,10", "\"LTE\""},
        {"\"WCDMA\",30,30,58\r\n", "\"WCDMA\""},
        {"\"NOSERVICE\"", "\"NOSERVICE\""},
        {"\"NOSERVICE\"\r\n", "\"NOSERVICE\"\r\n"},  // the comma alone ends it
        {"", ""},
        {",50", ""},
        {"LTE,1,2,3,4,5,6,7,8,9,10,11,12", "LTE"},
        {"123,1", "123"},
        {"\xff\x80,1", "\xff\x80"},
        {"%s%n,1", "%s%n"},
        {std::string(63, 'x') + ",1", std::string(63, 'x')},
        {std::string(64, 'x') + ",1", std::string(63, 'x')},
        {std::string(200, 'x'), std::string(63, 'x')},
    };
    for (const SignalCase& test : cases) {
        world.log.clear();
        EXPECT_EQ(1, Hear(kHcsq + test.behind_prefix)) << test.behind_prefix;
        EXPECT_EQ(test.expected, cell.m_NetworkType);
        const Texts log = {"5 ParseAtResult: 26 " + test.behind_prefix + "\n",
                           "5 DealHint: Network type:" + test.expected + "\n"};
        EXPECT_EQ(log, LinesOfFile(kFile));
    }
}

TEST_F(HuaWeiTest, HcsqPutsTheTechnologyWithItsQuotesIntoTheNetworkType) {
    EXPECT_EQ(1, Hear("\r\n^HCSQ: \"LTE\",50,40,30,10\r\n"));
    EXPECT_STREQ("\"LTE\"", cell.m_NetworkType);
}

TEST_F(HuaWeiTest, HcsqFillsTheRecordToItsLast128thCharacter) {
    for (const size_t length : {127, 128, 129, 200}) {
        const std::string field(length, 'x');
        const AtResult result = Parse(kHcsq + field);
        EXPECT_EQ(kHintHcsq, result.type);
        const size_t stored = strnlen(result.common_str, sizeof result.common_str);
        EXPECT_EQ(std::min<size_t>(length, 128), stored);
        EXPECT_EQ(0, memcmp(field.data(), result.common_str, stored));
    }
}

struct RowCase {
    const char* answer;
    int32_t type;
    Texts log;
};

TEST_F(HuaWeiTest, RowsAreFoundInTheirOrder) {
    const RowCase cases[] = {
        {"\r\nOK\r\n", 0, {}},
        {"", 0, {}},
        {"^HCSQ:\"LTE\"", 0, {}},  // the blank is part of the prefix
        {"^ndisstatqry: 1", 0, {}},
        {"+DATASTATUS: 1", 0, {}},
        {"ReSeRvEd:x", 0, {"24 x\n"}},
        {"ReSeRvEd:x^HCSQ: 1", 0, {"24 x^HCSQ: 1\n"}},
        {"^HCSQ: a,1\r\n^NDISSTATQRY: 1,2", 25, {"25  1,2\n", "Connect Status:1\n"}},
        {"^NDISSTATQRY: 0,2\r\n^NDISSTATQRY: 1,2",
         25,
         {"25  0,2\r\n^NDISSTATQRY: 1,2\n", "Connect Status:0\n"}},
        {"^HCSQ: a,1\r\n^HCSQ: b,2", 26, {"26 a,1\r\n^HCSQ: b,2\n"}},
        {"^HCSQ: a,1\r\n+CSQ: 3,99", kHintCsq, {}},
    };
    for (const RowCase& test : cases) {
        world.log.clear();
        EXPECT_EQ(test.type, Parse(test.answer).type) << test.answer;
        EXPECT_EQ(test.log, world.LogOf("ParseAtResult")) << test.answer;
    }
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
}

TEST_F(HuaWeiTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"^NDISSTATQRY:", " 1,,", kHintNdisstatqry},
        {"^HCSQ: ", "\"LTE\",50", kHintHcsq},
    });
}

// Unsolicited texts

TEST_F(HuaWeiTest, OtherHintsGoToTheEngine) {
    copy_text(cell.m_NetworkType, "before");
    EXPECT_EQ(0, Hear("^NDISSTATQRY: 1,,,\"IPV4\""));
    EXPECT_EQ(0, Hear("+CREG: 1,1"));
    EXPECT_EQ(0, Hear("RING"));
    EXPECT_EQ(0, cell.m_online);
    EXPECT_STREQ("before", cell.m_NetworkType);
    modem.On("AT+PSRAT", Answer("+PSRAT: LTE FDD"));
    EXPECT_EQ(1, Hear("+NWTYPEIND: 1"));
    EXPECT_STREQ("LTE FDD", cell.m_NetworkType);
}

// Places of the lines

TEST_F(HuaWeiTest, EachLineNamesThisDriverItsOperationAndLevel) {
    modem.AllowUnknown();
    AnswerSimCheck();
    modem.On(kAskLink, Answer("^NDISSTATQRY: 1,,,\"IPV4\""));
    cell.Initialize();
    cell.CheckSimCard();
    cell.CheckServiceStatus();
    cell.DoConnect();
    cell.CheckConnection();
    Hear("^HCSQ: \"LTE\",50");
    cell.DisConnect();
    const Texts expected = {"5 Initialize: m_ModuleName = Some \n",
                            "5 ParseAtResult: 25  1,,,\"IPV4\"\r\n\r\nOK\r\n\n",
                            "5 ParseAtResult: Connect Status:1\n", "5 ParseAtResult: 26 \"LTE\",50\n",
                            "5 DealHint: Network type:\"LTE\"\n"};
    EXPECT_EQ(expected, LinesOfFile(kFile));
    EXPECT_EQ(Texts{}, LinesOfHelpers());
}

}  // namespace
