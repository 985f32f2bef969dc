// Which driver belongs to which modem, and the object that all threads reach the driver through. Called by
// main once.
#include "CellSubClass/src/CellChuangYi.h"
#include "CellSubClass/src/CellCinterion.h"
#include "CellSubClass/src/CellFiboCom.h"
#include "CellSubClass/src/CellFiboComLE.h"
#include "CellSubClass/src/CellHuaWei.h"
#include "CellSubClass/src/CellLYNQ.h"
#include "CellSubClass/src/CellLongSung.h"
#include "CellSubClass/src/CellNodeCom.h"
#include "CellSubClass/src/CellQuectelAsr.h"
#include "CellSubClass/src/CellQuectelQcom.h"
#include "CellSubClass/src/CellQuectelUnisoc.h"
#include "CellSubClass/src/CellSimCom.h"
#include "CellSubClass/src/CellZTE.h"
#include "network_daemon/main.h"

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
    {cc_cell::kVendorLongSung, build<cc_cell::CellLongSung>, false},
    {cc_cell::kVendorChuangYi, build<cc_cell::CellChuangYi>, false},
    {cc_cell::kVendorNodeCom, build<cc_cell::CellNodeCom>, false},
    {cc_cell::kVendorHuaWei, build<cc_cell::CellHuaWei909s>, false},
    {cc_cell::kVendorZte, build<cc_cell::CellZTE3630>, true},
    {cc_cell::kVendorQuectelQcom, build<cc_cell::CellQuectelQcom>, true},
    {cc_cell::kVendorQuectelUnisoc, build<cc_cell::CellEC200G>, true},
    {cc_cell::kVendorQuectelAsr, build<cc_cell::CellQueAsr>, true},
    {cc_cell::kVendorSimCom, build<cc_cell::CellSimCom>, false},
    {cc_cell::kVendorCinterion, build<cc_cell::CellCinterion>, true},
    {cc_cell::kVendorFibocom, build<cc_cell::CellFiboCOM>, true},
    {cc_cell::kVendorLynq, build<cc_cell::CellLYNQ>, true},
    {cc_cell::kVendorFibocomLe, build<cc_cell::CellFiboLE370>, true},
};

const DriverRow* find_row(int vendor) {
    for (const DriverRow& row : kDrivers) {
        if (row.vendor == vendor) return &row;
    }
    return nullptr;
}

}  // namespace

CellBase* build_driver(int vendor, int port_fd) {
    const DriverRow* row = find_row(vendor);
    return row == nullptr ? nullptr : row->build(port_fd);
}

void tell_vendor(CellBase& cell, int vendor) {
    const DriverRow* row = find_row(vendor);
    if (row != nullptr && row->knows_vendor) cell.SetVendorType(vendor);
}
