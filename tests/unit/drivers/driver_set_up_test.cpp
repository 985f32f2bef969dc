// The set-up of every driver: the interface that a new object names, the commands that Initialize sends, and
// maker and firmware as the status shows them.
#include <string>
#include <vector>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {
bool engine_fails = false;
}  // namespace

// CellBase::Initialize, as the linker spells it.
extern "C" int32_t __real__ZN7cc_cell8CellBase10InitializeEv(CellBase* cell);
extern "C" int32_t __wrap__ZN7cc_cell8CellBase10InitializeEv(CellBase* cell) {
    return engine_fails ? 0 : __real__ZN7cc_cell8CellBase10InitializeEv(cell);
}

namespace {

const std::string kUsbMode = Answer("+GTUSBMODE: 18,32");

class SetUpTest : public FamilyTest<SetUpFacts> {
  protected:
    SetUpTest() : FamilyTest(&DriverFacts::set_up) {}

    void SetUp() override {
        FamilyTest::SetUp();
        if (HasFatalFailure()) return;
        CellBase::m_ModuleName = "Some%s%n";
        Set(kAll);
        AnswerSteps(kOk);
    }

    /// Each of the family's own commands is answered so; the USB mode is as it should be.
    void AnswerSteps(const std::string& answer) {
        for (const Step& step : row->steps) {
            if (step.command.compare(0, 7, "AT+CFUN") != 0) AnswerTo(step.command, answer);
        }
        modem.On("AT+gtusbmode?", kUsbMode);
    }

    Texts ExpectedLines() const {
        return Joined(Joined(row->lines_before, {"5 m_ModuleName = Some%s%n \n"}), row->lines_after);
    }

    Texts Commands() const {
        Texts commands = row->is_after_engines ? BaseSetUp() : Texts();
        for (const Step& step : row->steps) commands.push_back(step.command);
        return commands;
    }
};

TEST_P(SetUpTest, NewObjectNamesItsInterfaceAndIsSilent) {
    EXPECT_STREQ(row->interface_name, cell.GetInterfaceName());
    EXPECT_EQ(Texts{}, modem.Sent());
    EXPECT_EQ(Texts{}, TakeLines());
    EXPECT_EQ(Texts{}, world.Commands());
}

TEST_P(SetUpTest, InitializeSendsItsCommandsInOrder) {
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_EQ(Commands(), modem.Sent());
    EXPECT_EQ(row->shell, world.Commands());
    EXPECT_EQ(ExpectedLines(), LinesOf("Initialize"));
    EXPECT_EQ(ExpectedLines().size(), Lines().size());
    EXPECT_STREQ(row->maker, cell.m_vendor_name);
    EXPECT_STREQ(row->firmware, cell.m_fw_version);
}

TEST_P(SetUpTest, InitializePausesAfterItsCommands) {
    cell.Initialize();
    ASSERT_EQ(Commands().size(), modem.exchanges.size());
    size_t index = modem.exchanges.size() - row->steps.size();
    for (const Step& step : row->steps) {
        EXPECT_NEAR(step.seconds, GapAfter(index), 0.01) << step.command;
        ++index;
    }
}

TEST_P(SetUpTest, RefusedSetUpIsNoFailure) {
    AnswerSteps(kError);
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_EQ(Commands(), modem.Sent());
    EXPECT_EQ(ExpectedLines(), LinesOf("Initialize"));
    EXPECT_STREQ(row->maker, cell.m_vendor_name);
    EXPECT_STREQ(row->firmware, cell.m_fw_version);
}

bool IsAfterEngines(const SetUpFacts& facts) {
    return facts.is_after_engines;
}

class EngineSetUpTest : public SetUpTest {};

/// The engine's set-up has no failure today; a driver that runs it stops when it has one.
TEST_P(EngineSetUpTest, FailureEndsTheDrivers) {
    engine_fails = true;
    EXPECT_EQ(0, cell.Initialize());
    engine_fails = false;
    EXPECT_EQ(Texts{}, modem.Sent());
    EXPECT_EQ(Texts{}, Lines());
    EXPECT_EQ(Texts{}, world.Commands());
    EXPECT_STREQ("", cell.m_vendor_name);
}

TEST_P(SetUpTest, SetUpOfADeadModemIsNoFailure) {
    modem.Mute(true);
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_STREQ(row->maker, cell.m_vendor_name);
    EXPECT_STREQ(row->firmware, cell.m_fw_version);
    if (row->is_after_engines) {
        EXPECT_EQ(Commands(), modem.Sent());
    }
}

TEST_P(SetUpTest, FirmwareIsWhatTheModemTellsAfterTheWord) {
    const std::string word = row->word;
    const std::string digits = " 123456789012345678901234567890";
    const struct {
        std::string answer, told;
    } tellings[] = {
        {"\r\n" + word + digits + "\r\n", digits},
        {"\r\n" + word + digits.substr(1), digits.substr(1)},
        {"\r\n" + word + " X1\r\n\r\nOK\r\n", " X1\r\n\r\nOK\r\n"},
        {"\r\n" + word + " \xff\xfe%s%n", " \xff\xfe%s%n"},
        {word + " 1 " + word + " 2", " 1 " + word + " 2"},
        {word, ""},
        {CutAfter(word.size() + 1, word + " 12"), " "},
    };
    const std::string fixed = row->firmware;
    for (const auto& test : tellings) {
        modem.On("ATI", test.answer);
        EXPECT_EQ(1, cell.Initialize());
        EXPECT_EQ(word.empty() ? fixed : test.told.substr(0, row->limit), cell.m_fw_version) << test.answer;
    }
    for (const std::string& answer :
         {InOtherCase(word) + " 1", "x" + word.substr(0, word.size() / 2) + " 1"}) {
        if (word.empty()) break;
        modem.On("ATI", answer);
        EXPECT_EQ(1, cell.Initialize());
        EXPECT_EQ(fixed, cell.m_fw_version) << answer;
    }
}

INSTANTIATE_TEST_SUITE_P(, EngineSetUpTest,
                         testing::ValuesIn(FamiliesWhere(&DriverFacts::set_up, IsAfterEngines)),
                         FamilyOfTest);

INSTANTIATE_TEST_SUITE_P(, SetUpTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

}  // namespace
