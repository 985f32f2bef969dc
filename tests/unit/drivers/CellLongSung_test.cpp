// Module CellLongSung: what LongSung modules have beside other families: they are never asked for the
// service.
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

class LongSungTest : public DriverTest {
  protected:
    LongSungTest() : DriverTest(kVendorLongSung) {}
};

TEST_F(LongSungTest, ServiceIsPresentAtAllTimesWithoutAQuestion) {
    EXPECT_EQ(1, cell.CheckServiceStatus());
    EXPECT_TRUE(modem.exchanges.empty());
    EXPECT_EQ(Texts{}, Lines());
}

}  // namespace
