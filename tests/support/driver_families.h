// The families of modems as the factory knows them, for checks that every driver has to pass: each runs once
// for a family, and has its data in a table with a row a family (see FamilyTest in driver_fixture.h).
#pragma once

#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "network_daemon/cellular.h"
#include "network_daemon/main.h"
#include "tests/support/vendors.h"

namespace cc_cell {

/// Drivers whose source isn't named after their vendor code.
struct SourceName {
    VendorType family;
    const char* name;  // after "Cell"
};

constexpr SourceName kSourceNames[] = {
    {kVendorZte, "ZTE"},
    {kVendorFibocom, "FiboCom"},
    {kVendorLynq, "LYNQ"},
    {kVendorFibocomLe, "FiboComLE"},
};

/// Name of the driver's source, after "Cell".
inline std::string NameOf(VendorType family) {
    for (const SourceName& each : kSourceNames) {
        if (each.family == family) return each.name;
    }
    for (const test_support::Vendor& vendor : test_support::kVendors) {
        if (vendor.code == family) return vendor.name + strlen("kVendor");
    }
    return "Code" + std::to_string(static_cast<int>(family));
}

inline std::ostream& operator<<(std::ostream& out, VendorType family) {
    return out << NameOf(family);
}

/// The file that the lines of the family's driver name.
inline std::string FileOf(VendorType family) {
    return "CellSubClass/src/Cell" + NameOf(family) + ".cpp";
}

/// All families that the factory has a driver for.
inline std::vector<VendorType> EachFamily() {
    std::vector<VendorType> families;
    for (const test_support::Vendor& vendor : test_support::kVendors) {
        const std::unique_ptr<CellBase> driver(BuildDriver(vendor.code, -1));
        if (driver != nullptr) families.push_back(vendor.code);
    }
    return families;
}

}  // namespace cc_cell
