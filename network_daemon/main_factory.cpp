// Which driver belongs to which modem, and the object that all threads reach the driver through. Called by
// main once.
#include "CellQuectelQcom.h"
#include "main.h"

cc_cell::CellBase* pCell = nullptr;

namespace {

using cc_cell::CellBase;

struct DriverRow {
    cc_cell::VendorType vendor;
    CellBase* (*build)(int port_fd);
    bool knows_vendor;  // the engine's special cases know this family by m_vendor_type, which stays 0
                        // otherwise
};

template <class Driver>
CellBase* build(int port_fd) {
    return new Driver(port_fd);
}

constexpr DriverRow kDrivers[] = {
    {cc_cell::kVendorQuectelQcom, build<cc_cell::CellQuectelQcom>, true},
};

}  // namespace

CellBase* build_driver(int vendor, int port_fd) {
    for (const DriverRow& row : kDrivers) {
        if (row.vendor != vendor) continue;
        CellBase* cell = row.build(port_fd);
        if (row.knows_vendor) cell->SetVendorType(vendor);
        return cell;
    }
    return nullptr;
}
