// Which driver belongs to which modem, and the object that all threads reach the driver through. Called by
// main and by the gate.
#include "network_daemon/main.h"

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
CellBase* Build(int port_fd) {
    return new Driver(port_fd);
}

constexpr DriverRow kDrivers[] = {
    {cc_cell::kVendorLongSung, Build<cc_cell::CellLongSung>, false},
    {cc_cell::kVendorChuangYi, Build<cc_cell::CellChuangYi>, false},
    {cc_cell::kVendorNodeCom, Build<cc_cell::CellNodeCom>, false},
    {cc_cell::kVendorHuaWei, Build<cc_cell::CellHuaWei909s>, false},
    {cc_cell::kVendorZte, Build<cc_cell::CellZTE3630>, true},
    {cc_cell::kVendorQuectelQcom, Build<cc_cell::CellQuectelQcom>, true},
    {cc_cell::kVendorQuectelUnisoc, Build<cc_cell::CellEC200G>, true},
    {cc_cell::kVendorQuectelAsr, Build<cc_cell::CellQueAsr>, true},
    {cc_cell::kVendorSimCom, Build<cc_cell::CellSimCom>, false},
    {cc_cell::kVendorCinterion, Build<cc_cell::CellCinterion>, true},
    {cc_cell::kVendorFibocom, Build<cc_cell::CellFiboCOM>, true},
    {cc_cell::kVendorLynq, Build<cc_cell::CellLYNQ>, true},
    {cc_cell::kVendorFibocomLe, Build<cc_cell::CellFiboLE370>, true},
};

const DriverRow* FindRow(int vendor) {
    for (const DriverRow& row : kDrivers) {
        if (row.vendor == vendor) return &row;
    }
    return nullptr;
}

}  // namespace

CellBase* BuildDriver(int vendor, int port_fd) {
    const DriverRow* row = FindRow(vendor);
    return row == nullptr ? nullptr : row->build(port_fd);
}

void TellVendor(CellBase& cell, int vendor) {
    const DriverRow* row = FindRow(vendor);
    if (row != nullptr && row->knows_vendor) cell.SetVendorType(vendor);
}

void DropDriver() {
    const CellBase* const cell = pCell;
    pCell = nullptr;
    delete cell;
}
