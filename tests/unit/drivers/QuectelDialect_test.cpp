// Module QuectelDialect: when the context is given to the module. The rest is seen in the checks of all
// drivers.
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

struct ContextRow {
    VendorType family;
};

constexpr ContextRow kContextFamilies[] = {{kVendorQuectelQcom}, {kVendorQuectelUnisoc}};

class ContextTest : public FamilyTest<ContextRow> {
  protected:
    ContextTest() : FamilyTest(kContextFamilies) {}
};

TEST_P(ContextTest, ContextIsAnnouncedAsDoneBeforeItIsSent) {
    modem.AllowUnknown();
    cell.m_carrier_code = 2;
    cell.DoConnect();
    double announced_seconds = 0;
    for (const auto& line : world.log) {
        if (line.text == "AT+QICSGP=1,1 done\n") announced_seconds = line.at_seconds;
    }
    const test_support::ScriptedModem::Exchange& context = modem.exchanges.at(2);
    ASSERT_EQ("AT+QICSGP=1,1,\"\",\"\",\"\",0\r\n", context.command);
    EXPECT_LE(announced_seconds, context.at_seconds);
    EXPECT_NEAR(announced_seconds, context.at_seconds, 0.01);
}

INSTANTIATE_TEST_SUITE_P(, ContextTest, testing::Values(kVendorQuectelQcom, kVendorQuectelUnisoc),
                         FamilyOfTest);

}  // namespace
