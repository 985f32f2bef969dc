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

struct Step {
    std::string command;
    double seconds = 1;  // until the next command, or the end; one goes by for the answer
};

struct SetUpRow {
    VendorType family;
    const char* interface_name;
    const char* maker;
    const char* firmware;     // when the modem doesn't tell it
    std::vector<Step> steps;  // with the settings below, after the engine's set-up
    const char* word = "";    // in the answer to ATI, in front of the firmware; not asked without one
    size_t limit = 0;         // characters after the word that are stored
    Texts lines_before = {};  // what the log says in front of the model, and after it
    Texts lines_after = {};
    Texts shell = {};
    bool is_after_engines = true;  // false: the steps are all there is
};

const CallSettings kSettings = {"cmnet", "me", "secret", "1234", 2};
const std::string kApn = "AT+CGDCONT=1,\"IPV4V6\",\"cmnet\"";
const std::string kContext = "AT+QICSGP=1,1,\"cmnet\",\"me\",\"secret\",2\r\n";
const std::string kAccount = "AT+MGAUTH=1,3,\"me\",\"secret\"\r\n";
const std::string kUsbMode = Answer("+GTUSBMODE: 18,32");
const std::string kUsbModeLine = "6 AT+gtusbmode? " + kUsbMode + "!!! \n";

const std::vector<Step> kReports = {
    {"AT+SIGNALIND=1"}, {"AT+NWTYPEIND=1"}, {"AT+URCIND=1"}, {"AT+PSDIALIND=1"}, {"AT+DATASTATUSEN=1"}};

/// Quectel's, with the context a second after the rest.
std::vector<Step> QuectelSteps(const char* network_device) {
    return {{network_device}, {"AT+CMEE=2", 1 + 1}, {kContext}, {"ATI"}};
}

const SetUpRow kSetUps[] = {
    {kVendorLongSung, "wwan0", "LONGSUNG", "LONGSUNG", kReports},
    {kVendorChuangYi, "eth1", "Innofidei", "Innofidei", {}},
    {kVendorNodeCom, "usb0", "Nodecom", "Nodecom", kReports},
    {kVendorHuaWei, "wwan0", "Huawei", "ME909", {{"AT^LEDCTRL=1"}}},
    {kVendorZte,
     "wwan0",
     "GOSUNCN",
     "GOSUNCN",
     {{"AT+CMEE=2"}, {"AT+ZSWITCH=l"}, {"AT+ZADSET=e"}, {"ATI"}},
     "Revision:",
     17},
    {kVendorQuectelQcom,
     "wwan0",
     "Qcom",
     "Qcom",
     QuectelSteps("AT+qcfg=\"usbnet\",0"),
     "Revision:",
     18,
     {"7 " + kContext}},
    {kVendorQuectelUnisoc,
     "wwan0",
     "Quectel",
     "EC200-Uni",
     QuectelSteps("AT+qcfg=\"usbnet\",1"),
     "Revision:",
     20,
     {"7 " + kContext}},
    {kVendorQuectelAsr,
     "wwan0",
     "QuectelAsr",
     "EC200x",
     {{"AT+qcfg=\"usbnet\",1"}, {"AT+CMEE=2"}, {"ATI"}},
     "Revision:",
     20},
    {kVendorSimCom, "wwan0", "SIMCOM", "SIMCOM", {}, "", 0, {}, {}, {"ifconfig wwan0 up"}},
    {kVendorCinterion, "wwan0", "Cinterion", "Cinterion", {{"AT^SCTM=1,1"}, {"ATI"}}, "REVISION", 7},
    {kVendorFibocom,
     "wwan0",
     "Fibcom",
     "NL668x",
     {{"AT+CFUN=0", 1 + 2},
      {"AT+CFUN=1", 1 + 1},
      {"AT+gtusbmode?"},
      {"ATI", 1 + 1},
      {"AT+CFUN=1", 1 + 1},
      {kApn, 1 + 1},
      {kAccount}},
     "Revision:",
     23,
     {kUsbModeLine},
     {"7 " + kAccount, "5 AT+MGAUTH=1,3 done\n"},
     {},
     false},
    {kVendorLynq, "wwan0", "LYNQ", "L503", {{"AT+COPS=0,0"}, {"AT+CGNETLED=1"}}},
    {kVendorFibocomLe,
     "wwan0",
     "Fibcom",
     "LE370",
     {{"AT+gtusbmode?"}, {"AT+CFUN=0", 1 + 3}, {"AT+CFUN=1", 1 + 1}, {"AT+CFUN=1", 1 + 1}, {kApn, 1 + 1}},
     "",
     0,
     {kUsbModeLine},
     {},
     {},
     false},
};

class SetUpTest : public FamilyTest<SetUpRow> {
  protected:
    SetUpTest() : FamilyTest(kSetUps) {}

    void SetUp() override {
        FamilyTest::SetUp();
        if (HasFatalFailure()) return;
        CellBase::m_ModuleName = "Some%s%n";
        Set(kSettings);
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

INSTANTIATE_TEST_SUITE_P(
    , EngineSetUpTest,
    testing::ValuesIn(FamiliesWhere(kSetUps, [](const SetUpRow& row) { return row.is_after_engines; })),
    FamilyOfTest);

INSTANTIATE_TEST_SUITE_P(, SetUpTest, testing::ValuesIn(EachFamily()), FamilyOfTest);

}  // namespace
