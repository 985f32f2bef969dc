// Dial and hang-up of every driver: the commands that the settings lead to, what the modem's answer to the
// call is good for, and the end of the call.
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {
bool engine_fails = false;
}  // namespace

// CellBase::DoConnect, as the linker spells it.
extern "C" int32_t __real__ZN7cc_cell8CellBase9DoConnectEv(CellBase* cell);
extern "C" int32_t __wrap__ZN7cc_cell8CellBase9DoConnectEv(CellBase* cell) {
    return engine_fails ? 0 : __real__ZN7cc_cell8CellBase9DoConnectEv(cell);
}

namespace {

struct DialCase {
    CallSettings settings;
    Texts sent;  // after the engine's part
};

struct DialAnswer {
    std::string answer;
    int32_t result;
    Texts lines;  // of DoConnect, after `lines` of the row
};

struct DialRow {
    VendorType family;
    std::vector<DialCase> cases;  // the first without any settings
    Texts hang_up;
    bool is_after_engines = true;          // false: the engine's dial, which sets the context, is left out
    std::vector<DialAnswer> answers = {};  // to the call; without any it isn't looked at
    double last_seconds = 1;               // from the last command to the end
    Texts lines = {};                      // of DoConnect, without any settings
    Texts shell = {};
    std::string hung_up = kOk;  // the answer that lets the hang-up succeed
};

const CallSettings kNone = {"", "", "", "", 0};
const CallSettings kAll = {"cmnet", "me", "secret", "1234", 2};
const CallSettings kLongest = {std::string(63, 'a'), std::string(63, 'u'), std::string(63, 'p'),
                               std::string(63, '1'), INT32_MIN};
const std::string kLongestQuoted =
    "\"" + kLongest.apn + "\",\"" + kLongest.username + "\",\"" + kLongest.password + "\",";

/// The same commands whatever the settings.
std::vector<DialCase> Always(const Texts& sent) {
    return {{kNone, sent}, {kAll, sent}, {kLongest, sent}};
}

constexpr char kNoContext[] = "AT+QICSGP=1,1,\"\",\"\",\"\",0\r\n";
constexpr char kContext[] = "AT+QICSGP=1,1,\"cmnet\",\"me\",\"secret\",2\r\n";
const std::string kLongestContext = "AT+QICSGP=1,1," + kLongestQuoted + "-2147483648\r\n";
const Texts kContextLines = {std::string("7 ") + kNoContext, "5 AT+QICSGP=1,1 done\n"};

/// Quectel's commands: `call` with the context in front.
std::vector<DialCase> AfterContext(const std::string& call) {
    return {{kNone, {kNoContext, call}}, {kAll, {kContext, call}}, {kLongest, {kLongestContext, call}}};
}

Texts ZteLines(const std::string& answer, const char* verdict) {
    return {"6 AT+ZECMCALL=1 return " + answer + "\n", verdict};
}

constexpr char kZteError[] = "6 AT+ZECMCALL=1 ERROR !!!\n";
const std::vector<DialAnswer> kZteAnswers = {
    {Answer("CONNECT"), 1, ZteLines(Answer("CONNECT"), "6 CONNECT!!! \n")},
    {"\r\nOK\r\n+ZECMCALL: CONNECT", 1, ZteLines("\r\nOK\r\n+ZECMCALL: CONNECT", "6 CONNECT!!! \n")},
    {"\r\nNO CARRIER\r\n", 1, ZteLines("\r\nNO CARRIER\r\n", kZteError)},
    {"\r\nconnect\r\n", 1, ZteLines("\r\nconnect\r\n", kZteError)},
    {kError, 1, ZteLines(kError, kZteError)},
    {"", 1, ZteLines("", kZteError)},
};

Texts QcomFailure(const std::string& state) {
    return {"7 QCRMCALL return type:" + state + " \r\n", "5 QCRMCALL=1,1 fail:" + state + "\n"};
}

const std::vector<DialAnswer> kQcomAnswers = {
    {Answer("$QCRMCALL: 1, V4"), 1, {"7 QCRMCALL return type:1 \r\n"}},
    {Answer("$QCRMCALL: 0"), 1, QcomFailure("0")},
    {Answer("$QCRMCALL: 2"), 1, QcomFailure("2")},
    {Answer("+CREG: 1,1"), 1, QcomFailure("1")},  // a 1 of another row
    {kError, 1, QcomFailure("0")},
    {"", 1, QcomFailure("0")},
};

const std::vector<DialAnswer> kSimComAnswers = {
    {Answer("$QCRMCALL: 1,V4"), 1, {}},
    {Answer("$QCRMCALL: 0,V4"), 0, {}},
    {Answer("$QCRMCALL: 2,V4"), 0, {}},
    {Answer("+CREG: 1,1"), 0, {}},
    {"\r\nNO CARRIER\r\n", 0, {}},
    {kOk, 0, {}},
    {kError, 0, {}},
    {"", 0, {}},
};

Texts LynqLines(const std::string& word) {
    return {"7 DoConnect " + word + "\n", "7 AT+NETOPEN and response " + word + "\n"};
}

const std::vector<DialAnswer> kLynqAnswers = {
    {Answer("+NETOPEN:SUCCESS"), 1, LynqLines("SUCCESS")},
    {Answer("+NETOPEN: SUCCESS"), 1, LynqLines(" SUCCESS")},
    {Answer("+NETOPEN:x SUCCESSFUL"), 1, LynqLines("x SUCCESSFUL")},
    {Answer("+NETOPEN:FAIL"), 0, LynqLines("FAIL")},
    {Answer("+NETOPEN:success"), 0, LynqLines("success")},
    {Answer("+NETOPEN:\r\nSUCCESS"), 0, LynqLines("")},
    {Answer("+NETCLOSE:SUCCESS"), 0, {"7 DoConnect SUCCESS\n"}},
    {kOk, 0, {"7 DoConnect \n"}},
    {"", 0, {"7 DoConnect \n"}},
};

/// When the module doesn't accept the call, it is asked for one, and refuses that too.
const std::vector<DialAnswer> kRndisAnswers = {
    {kOk, 1, {"6 AT+GTRNDIS=1,1 return " + std::string(kOk) + "\n", "6 CONNECT!!! \n"}},
    {kError, 0, {"6 AT+GTRNDIS=1,1 return " + std::string(kError) + "\n", "6 AT+GTRNDIS=1 ERROR !!!\n"}},
    {"", 0, {"6 AT+GTRNDIS=1,1 return \n", "6 AT+GTRNDIS=1 ERROR !!!\n"}},
};

const std::vector<DialCase> kRndisCases = Always({"AT+GTRNDIS=1,1\r\n"});
const Texts kRndisHangUp = {"AT+GTRNDIS=0,1\r\n", "AT+CFUN=0"};

const std::string kSimComCall = "AT$QCRMCALL=1,1,1,,,,";

// A parameter is given only when the one before it is.
const std::vector<DialCase> kNdisdupCases = {
    {kNone, {"AT^NDISDUP=1,1"}},
    {{"", "me", "secret", "1234", 2}, {"AT^NDISDUP=1,1"}},
    {{"cmnet", "", "", "", 0}, {"AT^NDISDUP=1,1,\"cmnet\""}},
    {{"cmnet", "", "secret", "1234", 2}, {"AT^NDISDUP=1,1,\"cmnet\""}},
    {{"cmnet", "me", "", "1234", 2}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\""}},
    {{"cmnet", "me", "secret", "", 2}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\""}},
    {{"cmnet", "me", "secret", "1234", 0}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\""}},
    {kAll, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\",\"2\""}},
    {{"cmnet", "me", "secret", "1234", -1}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\",\"-1\""}},
    {kLongest, {("AT^NDISDUP=1,1," + kLongestQuoted + "\"" + kLongest.pin).substr(0, kCommandSize - 1)}},
};

const std::vector<DialCase> kZecmcallCases = {
    {kNone, {"AT+ZECMCALL=1"}},
    {{"", "", "", "", 3}, {"AT+ZECMCALL=1"}},
    {{"", "me", "secret", "", 3}, {"AT+ZECMCALL=1"}},
    {{"cmnet", "", "", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1"}},
    {{"cmnet", "", "", "", 3}, {"AT+ZECMCALL=1,\"cmnet\",1"}},
    {{"cmnet", "", "secret", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1"}},
    {{"cmnet", "me", "", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\""}},
    {{"cmnet", "me", "", "", 3}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\""}},
    {{"cmnet", "me", "secret", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\",\"secret\""}},
    {kAll, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\",\"secret\",\"2\""}},
    {{"cmnet", "me", "secret", "", -1}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\",\"secret\",\"-1\""}},
    {kLongest,
     {"AT+ZECMCALL=1,\"" + kLongest.apn + "\",1,\"" + kLongest.username + "\",\"" + kLongest.password +
      "\",\"-2147483648\""}},
};

const std::vector<DialCase> kSimComCases = {
    {kNone, {kSimComCall + "\"\",\"\",\"\","}},
    {{"cmnet", "", "", "", 0}, {kSimComCall + "\"cmnet\",\"\",\"\","}},
    {kAll, {kSimComCall + "\"cmnet\",\"me\",\"secret\",2"}},
    {kLongest, {kSimComCall + kLongestQuoted + "-2147483648"}},
};

const DialRow kDials[] = {
    {kVendorLongSung, Always({}), {"AT+CFUN=0"}},
    {kVendorChuangYi,
     Always({"AT+CFUN=1", "AT+CGDCONT=1", "AT+CGDCONT=1,\"IP\"", "AT+CGACT=1,1"}),
     {"AT+CFUN=0"},
     false},
    {kVendorNodeCom,
     Always({"at+ecmdup=1,1,1,0,0"}),
     {"AT+CFUN=0"},
     true,
     {},
     1 + 10,
     {},
     {kCommandDhcpStart}},
    {kVendorHuaWei, kNdisdupCases, {"AT^NDISDUP=1,0", "AT+CFUN=0"}},
    {kVendorZte, kZecmcallCases, {"AT+ZECMCALL=0", "AT+CFUN=0"}, true, kZteAnswers, 10},
    {kVendorQuectelQcom,
     AfterContext("AT$QCRMCALL=1,1"),
     {"AT$QCRMCALL=0,1", "AT+CFUN=0"},
     true,
     kQcomAnswers,
     10,
     kContextLines},
    {kVendorQuectelUnisoc,
     AfterContext("AT+QNETDEVCTL=1,1,1\r\n"),
     {"AT+QNETDEVCTL=0\r\n", "AT+CFUN=0"},
     true,
     {},
     1,
     kContextLines},
    {kVendorQuectelAsr, Always({"AT+QNETDEVCTL=1,1,1\r\n"}), {"AT+QNETDEVCTL=0\r\n", "AT+CFUN=0"}},
    {kVendorSimCom, kSimComCases, {"AT$QCRMCALL=0,1", "AT+CFUN=0"}, true, kSimComAnswers},
    {kVendorCinterion, Always({"AT^SWWAN=1,1"}), {"AT+CFUN=0"}},
    {kVendorFibocom, kRndisCases, kRndisHangUp, false, kRndisAnswers, 10},
    {kVendorLynq,
     Always({"AT+NETOPEN"}),
     {"AT+NETCLOSE"},
     false,
     kLynqAnswers,
     1,
     {},
     {"ifconfig wwan0 down", "ifconfig wwan0 up"},
     Answer("+NETCLOSE:SUCCESS")},
    {kVendorFibocomLe, kRndisCases, kRndisHangUp, false, kRndisAnswers, 10},
};

class DialTest : public FamilyTest<DialRow> {
  protected:
    DialTest() : FamilyTest(kDials) {}

    void SetUp() override {
        FamilyTest::SetUp();
        modem.AllowUnknown();
    }

    Texts Commands(const DialCase& test) const {
        if (!row->is_after_engines) return test.sent;
        const std::string apn = test.settings.apn.empty() ? "3GNET" : test.settings.apn;
        return Joined({"AT+CFUN=1", "AT+CGDCONT=1,\"IPV4V6\",\"" + apn + "\""}, test.sent);
    }

    /// One dial, with this answer to its last command.
    int32_t Dial(const DialCase& test, const std::string& answer) {
        modem.exchanges.clear();
        world.log.clear();
        world.shell.clear();
        Set(test.settings);
        AnswerTo(Commands(test).back(), answer);
        return cell.DoConnect();
    }

    std::string Accepted() const { return row->answers.empty() ? kOk : row->answers.front().answer; }
};

TEST_P(DialTest, DialSendsWhatTheSettingsSay) {
    for (const DialCase& test : row->cases) {
        EXPECT_EQ(1, Dial(test, Accepted()));
        EXPECT_EQ(Commands(test), modem.Sent());
        EXPECT_NEAR(row->last_seconds, GapAfter(modem.exchanges.size() - 1), 0.01);
        EXPECT_EQ(row->shell, world.Commands());
    }
}

TEST_P(DialTest, AnswerToTheCallDecidesWhereItIsLookedAt) {
    std::vector<DialAnswer> answers = row->answers;
    if (answers.empty()) {
        for (const char* answer : {kOk, kError, "", "\r\nNO CARRIER\r\n", "\r\n+CME ERROR: 30\r\n"}) {
            answers.push_back({answer, 1, {}});
        }
    }
    for (const DialAnswer& test : answers) {
        EXPECT_EQ(test.result, Dial(row->cases.front(), test.answer)) << test.answer;
        EXPECT_EQ(Joined(row->lines, test.lines), LinesOf("DoConnect")) << test.answer;
        EXPECT_EQ(row->shell, world.Commands()) << test.answer;
    }
}

class EngineDialTest : public DialTest {};

/// The engine's dial has no failure today; a driver that runs it stops when it has one.
TEST_P(EngineDialTest, FailureEndsTheDrivers) {
    engine_fails = true;
    EXPECT_EQ(0, cell.DoConnect());
    engine_fails = false;
    EXPECT_EQ(Texts{}, modem.Sent());
    EXPECT_EQ(Texts{}, Lines());
    EXPECT_EQ(Texts{}, world.Commands());
}

TEST_P(DialTest, EmptyApnAndUnknownCarrierAreNoReasonNotToDial) {
    const Texts own = row->cases.front().sent;
    const Texts engines = {"AT+CFUN=1", "AT+COPS?", "AT+CGDCONT=1,\"IPV4V6\",\"\""};
    const Texts expected = Joined(row->is_after_engines ? engines : Texts{}, own);
    modem.On("AT+COPS?", Answer("+COPS: 0"));
    AnswerTo(expected.back(), Accepted());
    EXPECT_EQ(1, cell.DoConnect());
    EXPECT_EQ(expected, modem.Sent());
}

TEST_P(DialTest, HangUpEndsTheCallASecondBeforeTheRadio) {
    for (const std::string& command : row->hang_up) AnswerTo(command, row->hung_up);
    EXPECT_EQ(1, cell.DisConnect());
    EXPECT_EQ(row->hang_up, modem.Sent());
    if (row->hang_up.size() > 1) {
        EXPECT_NEAR(1 + 1, GapAfter(0), 0.01);
    }
    EXPECT_EQ(Texts{}, world.Commands());
}

TEST_P(DialTest, HangUpOfADeadModemIsTheSame) {
    modem.Mute(true);
    EXPECT_EQ(row->hung_up == kOk ? 1 : 0, cell.DisConnect());
    EXPECT_EQ(row->hang_up, modem.Sent());
}

INSTANTIATE_TEST_SUITE_P(
    , EngineDialTest,
    testing::ValuesIn(FamiliesWhere(kDials, [](const DialRow& row) { return row.is_after_engines; })),
    FamilyOfTest);

INSTANTIATE_TEST_SUITE_P(, DialTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

}  // namespace
