// Module main_factory: vendor code to driver object.
#include <gtest/gtest.h>

#include <memory>

#include "network_daemon/main.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using test_support::World;

namespace {

constexpr int kPort = 7;

TEST(Factory, QuectelQualcommIsBuiltAndKnowsItsVendor) {
    World world;
    const std::unique_ptr<CellBase> cell(build_driver(kVendorQuectelQcom, kPort));
    ASSERT_NE(nullptr, cell);
    EXPECT_STREQ("wwan0", cell->GetInterfaceName());
    EXPECT_EQ(kPort, cell->m_cell_fd);
    EXPECT_EQ(kVendorQuectelQcom, cell->m_vendor_type);
}

TEST(Factory, OtherQuectelAndZteModemsKnowTheirVendor) {
    World world;
    const struct {
        VendorType vendor;
        const char* interface_on_a35;  // only one family looks at the board
    } families[] = {{kVendorQuectelUnisoc, "wwan0"}, {kVendorQuectelAsr, "wwan0"}, {kVendorZte, "usb0"}};
    for (const auto& family : families) {
        const std::unique_ptr<CellBase> cell(build_driver(family.vendor, kPort));
        ASSERT_NE(nullptr, cell);
        EXPECT_EQ(family.vendor, cell->m_vendor_type);
        cell->SetBoard(kBoardA35);
        EXPECT_STREQ(family.interface_on_a35, cell->GetInterfaceName()) << family.vendor;
    }
}

TEST(Factory, Code12IsAnUnknownModem) {
    World world;
    EXPECT_EQ(nullptr, build_driver(12, kPort));
}

TEST(Factory, ValuesOutsideTheTableAreUnknownModems) {
    World world;
    for (const int code : {0, -1, 15, 1000}) EXPECT_EQ(nullptr, build_driver(code, kPort)) << code;
}

TEST(Factory, LeavesTheGlobalObjectToMain) {
    World world;
    const std::unique_ptr<CellBase> cell(build_driver(kVendorQuectelQcom, kPort));
    EXPECT_EQ(nullptr, pCell);
}

}  // namespace
