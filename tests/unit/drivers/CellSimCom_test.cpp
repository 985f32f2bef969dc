// Module CellSimCom: what SIMCom modules have beside other families: a report with network type and state.
#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

class SimComTest : public DriverTest {
  protected:
    SimComTest() : DriverTest(kVendorSimCom) {}
};

TEST_F(SimComTest, ReportGivesNetworkTypeAndWhetherItIsOnline) {
    const std::string longest(63, 'N');
    const struct {
        std::string answer;
        int32_t is_online;
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
        {"+CPSI: LTE\rOnline", 1, "LTE"},
        {"+CPSI: ", 0, ""},
        {"+CPSI: ,Online", 1, ""},
        {"+CPSI: " + longest + ",Online", 1, longest},
        {"+CPSI: " + longest + "x,Online", 1, longest},
        {"+CPSI: " + std::string(249, 'N'), 0, longest},
        {"+CPSI: \xff\x80,Online", 1, "\xff\x80"},
        {"+CPSI: %s%n,Online", 1, "%s%n"},
        {"+CPSI: LTE,Online\r\n+CPSI: WCDMA,x\r\n", 1, "LTE"},
    };
    for (const auto& test : cases) {
        CopyText(cell.m_NetworkType, "old");
        const AtResult result = Parse(test.answer);
        EXPECT_EQ(kHintSimcomCpsi, result.type) << test.answer;
        EXPECT_EQ(test.is_online, result.val) << test.answer;
        EXPECT_EQ(test.network, cell.m_NetworkType) << test.answer;
        const Texts lines = TakeLines();
        ASSERT_EQ(2u, lines.size()) << test.answer;
        EXPECT_EQ("5 ParseAtResult: Network type:" + test.network + "\n", lines[1]) << test.answer;
    }
}

}  // namespace
