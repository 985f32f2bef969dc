// Module CellCinterion: what Cinterion modules have beside other families: a temperature, and the network
// type that comes with the test of the link.
#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kAskLink[] = "AT^SWWAN?";
constexpr char kAskCell[] = "AT^SMONI";
constexpr char kAskTemperature[] = "AT^SCTM?";

class CinterionTest : public DriverTest {
  protected:
    CinterionTest() : DriverTest(kVendorCinterion) {}
};

TEST_F(CinterionTest, CheckOfTheLinkRefreshesTheNetworkType) {
    modem.On(kAskLink, Answer("^SWWAN: 0,0,1"));
    modem.On(kAskCell, Answer("^SMONI: LTE,1650,3,10,10,FDD,460,00"));
    EXPECT_EQ(0, cell.CheckConnection());
    EXPECT_STREQ("LTE", cell.m_NetworkType);
    modem.On(kAskCell, kError);
    EXPECT_EQ(0, cell.CheckConnection());
    EXPECT_STREQ("LTE", cell.m_NetworkType);
}

TEST_F(CinterionTest, AnswerAboutTheLinkIsNotParsed) {
    modem.On(kAskCell, kError);
    modem.On(kAskLink, "AT^SWWAN?\r\r\n^SWWAN: 1,1,1\r\n\r\nOK\r\n");
    EXPECT_NE(0, cell.CheckConnection());
    EXPECT_EQ(Texts{}, Lines());
}

// Temperature

TEST_F(CinterionTest, TemperatureIsTheThirdField) {
    modem.On(kAskTemperature, Answer("^SCTM: 0,0,38"));
    cell.CheckTempStatus();
    EXPECT_EQ(38, cell.m_Tempture);
    EXPECT_EQ(Texts{kAskTemperature}, modem.Sent());
    EXPECT_EQ(Texts{"7 m_Tempture[38] temp.val[38]\n"}, LinesOf("CheckTempStatus"));
}

TEST_F(CinterionTest, AnswerWithoutTemperatureStoresZero) {
    for (const std::string& answer :
         {std::string(kError), std::string(), std::string(kOk), Answer("+CREG: 1,1,38"), Answer("^SCTM: 1,1"),
          Answer("^SCTM: 1,1,hot"), CutAfter(10, "^SCTM: 1,1,38")}) {
        cell.m_Tempture = 38;
        modem.On(kAskTemperature, answer);
        cell.CheckTempStatus();
        EXPECT_EQ(0, cell.m_Tempture) << answer;
        EXPECT_EQ("7 m_Tempture[0] temp.val[0]\n", LinesOf("CheckTempStatus").back()) << answer;
    }
}

TEST_F(CinterionTest, TemperatureOfAnyForm) {
    const struct {
        std::string answer;
        int32_t expected;
    } cases[] = {
        {"^SCTM: 1,0,-20\r\n", -20},
        {"^SCTM:1,1,85", 85},
        {"^SCTM: 1,,38", 38},
        {"^SCTM: a,b,38", 38},
        {"^SCTM: 1\r\n38", 38},                            // two line ends have an empty field between
        {"^SCTM: 1,1," + std::string(62, '0') + "38", 3},  // a slot holds 63 characters
        {"^SCTM: " + std::string(150, '9') + ",1,38", 38},
    };
    for (const auto& test : cases) {
        modem.On(kAskTemperature, test.answer);
        cell.CheckTempStatus();
        EXPECT_EQ(test.expected, cell.m_Tempture) << test.answer;
    }
}

}  // namespace
