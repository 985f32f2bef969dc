// What the three Quectel families (Qualcomm, ASR, Unisoc) word alike, beyond what all drivers share: rows,
// the set-up, the context with APN and account, the registration test that begins with the circuit-switched
// side, and the cell reports of "+QENG". Called from the drivers' overrides on the main thread; each place is
// the caller's.
#pragma once

#include "CellSubClass/src/CellDriver.h"

namespace cc_cell {

// Rows that more than one family reads.
constexpr AtRow kQnwinfoRow = {kHintQnwinfo, "+QNWINFO: ", {kHintOnly}, ",\n\r"};  // network type
constexpr AtRow kQcrmcallRow = {kHintQcrmcall, "$QCRMCALL: ", {kToVal}, ",\n\r"};
constexpr AtRow kQccidRow = {kHintQccid, "+QCCID: ", {kToText}, "\n\r"};
constexpr AtRow kQnetdevctlRow = {
    kHintQnetdevctl, "+QNETDEVCTL:", {kToVal, kToVal4, kToVal3, kToVal2}, ",\r"};  // val2 is the state
constexpr AtRow kQengRow = {kHintQeng, "+QENG: ", {kToText}, "\n\r"};

/// What a family's set-up consists of.
struct QuectelSetUp {
    const char* usb_command;  // chooses the kind of network device on USB
    bool takes_context;       // APN and account go to the module by AT+QICSGP
    const char* maker;
    size_t revision_limit;         // characters of the firmware text that are kept
    const char* unknown_firmware;  // when the module doesn't tell
};

/// The base's set-up, then the family's. The result of the base.
int32_t InitializeQuectel(const TracePlace& place, CellBase& cell, const QuectelSetUp& set_up);

/// Gives APN, user name, password and kind of authentication to the module again, for the call that follows.
void SendContextAtDial(const TracePlace& place, CellBase& cell);

/// The three-step registration test: "AT+CREG?", which only fills m_CEREG, then the two steps of
/// AskRegistration. The first test after a reset of m_check_service_times never succeeds. 1 or 0.
int32_t AskRegistrationFromCreg(const TracePlace& place, CellBase& cell);

/// TakeFields, and what the families make of the record alike: the network type is stored, and it, the ICCID
/// and "+QNETDEVCTL" are logged.
AtResult TakeQuectelFields(const TracePlace& place, CellBase& cell, const AtMatch& match);

/// Link test of the families that call by AT+QNETDEVCTL: 1 while the context is up, else 0 and a line with
/// its state.
int32_t CheckNetDevCtl(const TracePlace& place, CellBase& cell);

constexpr char kAskServingCell[] = "AT+QENG=\"servingcell\"\r\n";

/// Stores the serving cell that a "+QENG" record holds: m_pcid, m_band, m_RSRP_LEVEL, m_RSRP, m_SINR. A
/// record of something else changes nothing, and neither does a cell that isn't LTE, which is logged.
void StoreServingCell(const TracePlace& place, CellBase& cell, AtResult& result);

/// Asks for the serving cell, logs the report and stores it.
void ReadServingCell(const TracePlace& place, CellBase& cell);

/// Asks for the neighbour cells, logs the report and stores the first: m_neighbour_pcid from slot 3,
/// m_neighbour_rsrp from `rsrp_slot`, which the families put in different places; `slot_count`, at most
/// kMostNeighbourSlots, are expected. An answer with no report changes nothing.
constexpr size_t kMostNeighbourSlots = 13;
void ReadNeighbourCell(const TracePlace& place, CellBase& cell, size_t slot_count, size_t rsrp_slot);

}  // namespace cc_cell
