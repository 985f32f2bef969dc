// Module CellChuangYi: what ChuangYi modules on Innofidei chipsets have beside other families: an IMSI that
// can be written, and a service of their own.
#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kAskService[] = "AT+SYSINFO";

class ChuangYiTest : public DriverTest {
  protected:
    ChuangYiTest() : DriverTest(kVendorChuangYi) {}
};

// IMSI

TEST_F(ChuangYiTest, SetImsiWritesItInThreeParametersAndSaves) {
    const struct {
        std::string imsi, command;
    } cases[] = {
        {"4600112345", "AT+SCFG=usim,460,01,12345"},
        {"460011234567890", "AT+SCFG=usim,460,01,1234567890"},
        {std::string(32, '1'), "AT+SCFG=usim,111,11," + std::string(27, '1')},
        {"46,\"1%s%n\xff", "AT+SCFG=usim,46,,\"1,%s%n\xff"},
    };
    modem.On("AT+SCFG=SAVE", kOk);
    for (const auto& test : cases) {
        modem.exchanges.clear();
        modem.On(test.command, kError);  // the answers are not read
        EXPECT_EQ(1, cell.SetIMSI(test.imsi.c_str())) << test.imsi;
        EXPECT_EQ((Texts{test.command, "AT+SCFG=SAVE"}), modem.Sent());
        EXPECT_EQ(test.imsi, cell.GetIMSI());
    }
    EXPECT_EQ(Texts{}, Lines());
}

TEST_F(ChuangYiTest, ImsiOf9Or33CharactersIsRefusedWithoutAWord) {
    CopyText(cell.m_card_imsi, "before");
    for (const size_t length : {0, 1, 9, 33, 63, 200}) {
        EXPECT_EQ(0, cell.SetIMSI(std::string(length, '1').c_str())) << length;
    }
    EXPECT_EQ(0, cell.SetIMSI(nullptr));
    EXPECT_TRUE(modem.exchanges.empty());
    EXPECT_STREQ("before", cell.m_card_imsi);
    EXPECT_EQ(Texts{}, Lines());
}

TEST_F(ChuangYiTest, ImsiOf10And32CharactersIsSent) {
    modem.AllowUnknown();
    for (const size_t length : {10, 32}) {
        modem.exchanges.clear();
        EXPECT_EQ(1, cell.SetIMSI(std::string(length, '1').c_str())) << length;
        EXPECT_EQ(2u, modem.exchanges.size()) << length;
    }
}

// Dial

TEST_F(ChuangYiTest, DialWaitsASecondForTheRadio) {
    modem.AllowUnknown();
    EXPECT_EQ(1, cell.DoConnect());
    const double gaps_seconds[] = {1 + 1, 1, 1, 1};
    for (size_t i = 0; i < 4; ++i) EXPECT_NEAR(gaps_seconds[i], GapAfter(i), 0.01) << i;
}

// Service

TEST_F(ChuangYiTest, ServiceIsStatus2AndTouchesNoRegistration) {
    const struct {
        std::string answer;
        int32_t expected;
    } cases[] = {
        {Answer("+SYSINFO: 2,3,0,5,1,0,9"), 1},
        {Answer("+SYSINFO: 2"), 1},
        {Answer("+SYSINFO:2,3,0,5,1,0,9,1,2,3,4"), 1},
        {Answer("+SYSINFO: 1,3,0,5,1,0,9"), 0},
        {Answer("+SYSINFO: 0,3,0,5,1,0,9"), 0},
        {Answer("+SYSINFO: 22,3,0,5,1,0,9"), 0},
        {Answer("+SYSINFO: ,2"), 0},
        {Answer("+SYSINFO:"), 0},
        {Answer("+RRCSTATE: 2,7"), 0},
        {Answer("+CEREG: 2,1"), 0},
        {CutAfter(9, "+SYSINFO:2"), 0},
        {CutAfter(10, "+SYSINFO:2"), 1},
        {kError, 0},
        {"", 0},
    };
    cell.m_CEREG = cell.m_CGREG = 9;
    for (const auto& test : cases) {
        modem.On(kAskService, test.answer);
        EXPECT_EQ(test.expected, cell.CheckServiceStatus()) << test.answer;
    }
    EXPECT_EQ(9, cell.m_CEREG);
    EXPECT_EQ(9, cell.m_CGREG);
    EXPECT_EQ(Texts(std::size(cases), kAskService), modem.Sent());
    EXPECT_EQ(Texts{}, LinesOf("CheckServiceStatus"));
}

}  // namespace
