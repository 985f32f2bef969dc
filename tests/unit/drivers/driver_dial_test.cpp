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

class DialTest : public FamilyTest<DialFacts> {
  protected:
    DialTest() : FamilyTest(&DriverFacts::dial) {}

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

bool IsAfterEngines(const DialFacts& facts) {
    return facts.is_after_engines;
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

INSTANTIATE_TEST_SUITE_P(, EngineDialTest,
                         testing::ValuesIn(FamiliesWhere(&DriverFacts::dial, IsAfterEngines)), FamilyOfTest);

INSTANTIATE_TEST_SUITE_P(, DialTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

}  // namespace
