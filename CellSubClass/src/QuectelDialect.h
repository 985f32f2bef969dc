// What the three Quectel families (Qualcomm, ASR, Unisoc) word alike, beyond what all drivers share: the
// context set-up, the registration test that begins with the circuit-switched side, and the cell reports of
// "+QENG". Called from the drivers' overrides on the main thread; each place is the caller's.
#pragma once

#include "CellDriver.h"

namespace cc_cell {

/// Builds the command that gives APN, user name, password and kind of authentication to the module. It
/// brings its own line end. Cut to what fits. Silent.
void BuildContextCommand(const CellBase& cell, char (&command)[kCommandSize]);

/// The three-step registration test: "AT+CREG?", which only fills m_CEREG, then the two steps of
/// AskRegistration. The first test after a reset of m_check_service_times never succeeds. 1 or 0.
int32_t AskRegistrationFromCreg(const TracePlace& place, CellBase& cell);

/// TakeFields, and what the families make of their record alike: the network type is stored, and it, the ICCID and
/// "+QNETDEVCTL" are logged.
AtResult TakeQuectelFields(const TracePlace& place, CellBase& cell, const AtMatch& match);

/// Link test of the families that call by AT+QNETDEVCTL: 1 while the context is up, else 0 and a line with
/// its state.
int32_t CheckNetDevCtl(const TracePlace& place, CellBase& cell);

/// Logs what a cell report brought: text and length.
void LogCellReport(const TracePlace& place, const AtResult& result);

/// Stores the serving cell that a "+QENG" record holds: m_pcid, m_band, m_RSRP_LEVEL, m_RSRP, m_SINR. A
/// record of something else changes nothing, and neither does a cell that isn't LTE, which is logged.
void StoreServingCell(const TracePlace& place, CellBase& cell, AtResult& result);

/// Stores the neighbour cell: m_neighbour_pcid from slot 3, m_neighbour_rsrp from `rsrp_slot`, which the
/// families put in different places; `slot_count`, at most kMostNeighbourSlots, are expected. A record of
/// something else changes nothing. Only the first cell of the list is looked at.
constexpr size_t kMostNeighbourSlots = 13;
void StoreNeighbourCell(const TracePlace& place, CellBase& cell, AtResult& result, size_t slot_count,
                        size_t rsrp_slot);

}  // namespace cc_cell
