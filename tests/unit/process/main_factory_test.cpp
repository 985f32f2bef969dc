// Module main_factory: vendor code to driver object.
#include "network_daemon/main.h"

#include <iterator>
#include <memory>

#include <gtest/gtest.h>

#include "tests/support/test_world.h"
#include "tests/support/vendors.h"

using namespace cc_cell;
using test_support::kVendors;
using test_support::ScriptedModem;
using test_support::Vendor;
using test_support::World;

namespace {

constexpr int kPort = 7;

/// What the first thirteen families show: boards in the field know it. A new family says it in the suite of
/// its driver.
struct DriverCase {
    VendorType vendor;
    bool knows_vendor;  // the codes that the engine tests; the others keep 0
    const char* interface_name;
    const char* vendor_name;  // as the driver's set-up leaves it, also with a modem that says nothing
};

constexpr DriverCase kDrivers[] = {
    {kVendorLongSung, false, "wwan0", "LONGSUNG"},    {kVendorChuangYi, false, "eth1", "Innofidei"},
    {kVendorNodeCom, false, "usb0", "Nodecom"},       {kVendorHuaWei, false, "wwan0", "Huawei"},
    {kVendorZte, true, "wwan0", "GOSUNCN"},           {kVendorQuectelQcom, true, "wwan0", "Qcom"},
    {kVendorQuectelUnisoc, true, "wwan0", "Quectel"}, {kVendorQuectelAsr, true, "wwan0", "QuectelAsr"},
    {kVendorSimCom, false, "wwan0", "SIMCOM"},        {kVendorCinterion, true, "wwan0", "Cinterion"},
    {kVendorFibocom, true, "wwan0", "Fibcom"},        {kVendorLynq, true, "wwan0", "LYNQ"},
    {kVendorFibocomLe, true, "wwan0", "Fibcom"},
};

TEST(Factory, FirstThirteenCodesBuildTheirDrivers) {
    for (const DriverCase& test : kDrivers) {
        World world;
        ScriptedModem modem(world);
        modem.Mute(true);
        const std::unique_ptr<CellBase> cell(BuildDriver(test.vendor, modem.fd()));
        ASSERT_NE(nullptr, cell) << test.vendor;
        EXPECT_STREQ(test.interface_name, cell->GetInterfaceName()) << test.vendor;
        TellVendor(*cell, test.vendor);
        EXPECT_EQ(test.knows_vendor ? test.vendor : kVendorUnknown, cell->m_vendor_type) << test.vendor;
        EXPECT_EQ(1, cell->Initialize()) << test.vendor;
        EXPECT_STREQ(test.vendor_name, cell->m_vendor_name);
    }
}

TEST(Factory, EachVendorBuildsADriverThatWaitsForItsOrders) {
    for (const Vendor& vendor : kVendors) {
        World world;
        ScriptedModem modem(world);
        modem.Mute(true);
        const std::unique_ptr<CellBase> cell(BuildDriver(vendor.code, modem.fd()));
        ASSERT_NE(nullptr, cell) << vendor.name;
        EXPECT_STRNE("", cell->GetInterfaceName()) << vendor.name;
        EXPECT_EQ(modem.fd(), cell->m_cell_fd) << vendor.name;
        EXPECT_EQ(kVendorUnknown, cell->m_vendor_type) << vendor.name;
        TellVendor(*cell, vendor.code);
        EXPECT_TRUE(cell->m_vendor_type == kVendorUnknown || cell->m_vendor_type == vendor.code)
            << vendor.name << ": " << cell->m_vendor_type;
        EXPECT_TRUE(modem.exchanges.empty()) << vendor.name;
    }
}

TEST(Factory, FibocomWithAndWithoutLe370AreTwoDrivers) {
    World world;
    ScriptedModem modem(world);
    modem.Mute(true);
    const std::unique_ptr<CellBase> other(BuildDriver(kVendorFibocom, modem.fd()));
    const std::unique_ptr<CellBase> le370(BuildDriver(kVendorFibocomLe, modem.fd()));
    CellBase::m_ModuleName.clear();
    other->Initialize();
    le370->Initialize();
    EXPECT_STREQ("NL668x", other->m_fw_version);
    EXPECT_STREQ("LE370", le370->m_fw_version);
}

TEST(Factory, OtherQuectelAndZteModemsKnowTheirVendor) {
    World world;
    const struct {
        VendorType vendor;
        const char* interface_on_a35;  // only one family looks at the board
    } families[] = {{kVendorQuectelUnisoc, "wwan0"}, {kVendorQuectelAsr, "wwan0"}, {kVendorZte, "usb0"}};
    for (const auto& family : families) {
        const std::unique_ptr<CellBase> cell(BuildDriver(family.vendor, kPort));
        ASSERT_NE(nullptr, cell);
        TellVendor(*cell, family.vendor);
        EXPECT_EQ(family.vendor, cell->m_vendor_type);
        cell->SetBoard(kBoardA35);
        EXPECT_STREQ(family.interface_on_a35, cell->GetInterfaceName()) << family.vendor;
    }
}

TEST(Factory, Code12IsAnUnknownModem) {
    World world;
    EXPECT_EQ(nullptr, BuildDriver(12, kPort));
}

TEST(Factory, ValuesOutsideTheTableAreUnknownModems) {
    World world;
    const int above_all = std::rbegin(kVendors)->code + 1;
    for (const int code : {0, -1, above_all, 1000}) {
        EXPECT_EQ(nullptr, BuildDriver(code, kPort)) << code;
        const std::unique_ptr<CellBase> cell(BuildDriver(kVendorLynq, kPort));
        TellVendor(*cell, code);
        EXPECT_EQ(kVendorUnknown, cell->m_vendor_type) << code;
    }
}

TEST(Factory, LeavesTheGlobalObjectToMain) {
    World world;
    const std::unique_ptr<CellBase> cell(BuildDriver(kVendorQuectelQcom, kPort));
    EXPECT_EQ(nullptr, pCell);
}

}  // namespace
