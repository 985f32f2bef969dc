// What the three Quectel families word alike; see QuectelDialect.h.
#include "CellSubClass/src/QuectelDialect.h"

#include <unistd.h>

#include <cassert>
#include <cstdio>
#include <cstring>

#include "support/text_util.h"

namespace cc_cell {
namespace {

constexpr char kSlotEnds[] = ",\r";

// Slots of the serving cell, counted from 0 after "+QENG: ".
constexpr size_t kServingPcid = 7;
constexpr size_t kServingBand = 9;
constexpr size_t kServingRsrp = 13;
constexpr size_t kServingSinr = 16;
constexpr size_t kServingSlots = 18;
constexpr size_t kServingSlotSize = 16;

constexpr size_t kNeighbourPcid = 3;
constexpr size_t kNeighbourSlotSize = 24;

constexpr unsigned kSetUpPause_seconds = 1;
constexpr int kNeighbourAnswer_seconds = 10;

/// The command that gives APN and account to the module, with a line end of its own. Cut to what fits.
void BuildContextCommand(const TracePlace& place, const CellBase& cell, char (&command)[kCommandSize]) {
    snprintf(command, kCommandSize, "AT+QICSGP=1,1,\"%s\",\"%s\",\"%s\",%d\r\n", cell.m_apn, cell.m_username,
             cell.m_password, cell.m_auth_type);
    TRACE_AT(place, kLogDebug, "%s", command);
}

void LogCellReport(const TracePlace& place, const AtResult& result) {
    TRACE_AT(place, kLogDebug, "AT+QENG common str:%s, len: %d!!!\r\n", result.common_str,
             static_cast<int>(strlen(result.common_str)));
}

}  // namespace

int32_t InitializeQuectel(const TracePlace& place, CellBase& cell, const QuectelSetUp& set_up) {
    const int32_t result = cell.CellBase::Initialize();
    if (result == 0) return 0;
    cell.AtRequest(set_up.usb_command);
    cell.AtRequest("AT+CMEE=2");  // errors are reported in words
    if (set_up.takes_context) {
        sleep(kSetUpPause_seconds);
        char command[kCommandSize];
        BuildContextCommand(place, cell, command);
        cell.AtRequest(command);
    }
    AskFirmware(cell, "Revision:", set_up.revision_limit, set_up.unknown_firmware);
    CopyText(cell.m_vendor_name, set_up.maker);
    TRACE_AT(place, kLogProgress, "m_ModuleName = %s \n", CellBase::m_ModuleName.c_str());
    return result;
}

void SendContextAtDial(const TracePlace& place, CellBase& cell) {
    char command[kCommandSize];
    BuildContextCommand(place, cell, command);
    TRACE_AT(place, kLogProgress, "AT+QICSGP=1,1 done\n");  // before it is: visible outside, keep
    cell.AtRequest(command);
}

int32_t AskRegistrationFromCreg(const TracePlace& place, CellBase& cell) {
    TRACE_AT(place, kLogDebug, "Get_network_check_times %d\n", cell.m_check_service_times);
    const AtResult circuit = AskResult(cell, "AT+CREG?");
    if (circuit.type == kHintCreg) {
        TRACE_AT(place, kLogDebug, "AT+CREG\n");
        cell.m_CEREG = circuit.val2;  // not m_CGREG: visible outside, keep
    }
    if (cell.m_check_service_times < 1) return 0;
    return AskRegistration(cell);
}

AtResult TakeQuectelFields(const TracePlace& place, CellBase& cell, const AtMatch& match) {
    const AtResult result = TakeFields(match);
    switch (result.type) {
        case kHintQnwinfo:
            StoreNetworkType(cell, match);
            TRACE_AT(place, kLogDebug, "Network type:%s\n", cell.m_NetworkType);
            break;
        case kHintQccid:
            TRACE_AT(place, kLogProgress, "ICCID:%s\n", result.common_str);
            break;
        case kHintQnetdevctl:  // the word is that of the Qualcomm family's query: visible outside, keep
            TRACE_AT(place, kLogDebug, "QNETDEVSTATUS: connect_type=%d,CID=%d,URC_switch=%d,PDN_status=%d\n",
                     result.val, result.val4, result.val3, result.val2);
            break;
        default:
            break;
    }
    return result;
}

int32_t CheckNetDevCtl(const TracePlace& place, CellBase& cell) {
    const AtResult result = AskResult(cell, "AT+QNETDEVCTL?\r\n");
    if (result.type == kHintQnetdevctl && result.val2 == 1) return 1;
    TRACE_AT(place, kLogProgress, "AT+QNETDEVCTL fail:%d\n", result.val2);
    return 0;
}

void StoreServingCell(const TracePlace& place, CellBase& cell, AtResult& result) {
    if (result.type != kHintQeng) return;
    if (CellBase::ContainsText(result.common_str, "LTE") == nullptr) {
        TRACE_AT(place, kLogError, "AT+QENG signal return not LTE!!! \n");
        return;
    }
    char slots[kServingSlots][kServingSlotSize];
    if (!SplitIntoSlots(result.common_str, kSlotEnds, slots)) {
        TRACE_AT(place, kLogProgress, "QENG info,pRes do not have valid data\n");
    }
    LogBandChange(place, cell.m_band, cell.m_RSRP, slots[kServingBand], slots[kServingRsrp]);

    TRACE_AT(place, kLogDebug, "QENG info, pcid:%s !\n", slots[kServingPcid]);
    CopyText(cell.m_pcid, slots[kServingPcid]);
    TRACE_AT(place, kLogDebug, "QENG info, band:%s !\n", slots[kServingBand]);
    CopyText(cell.m_band, slots[kServingBand]);
    TRACE_AT(place, kLogDebug, "QENG info, rsrp:%s !\n", slots[kServingRsrp]);
    cell.SetRsrpLevel(slots[kServingRsrp]);
    CopyText(cell.m_RSRP, slots[kServingRsrp]);
    TRACE_AT(place, kLogDebug, "QENG info, sinr:%s !\n", slots[kServingSinr]);
    CopyText(cell.m_SINR, slots[kServingSinr]);
}

void ReadServingCell(const TracePlace& place, CellBase& cell) {
    AtResult result = AskResult(cell, kAskServingCell);
    LogCellReport(place, result);
    StoreServingCell(place, cell, result);
}

void ReadNeighbourCell(const TracePlace& place, CellBase& cell, size_t slot_count, size_t rsrp_slot) {
    assert(slot_count <= kMostNeighbourSlots && rsrp_slot < slot_count);
    AtResult result =
        cell.ParseAtResult(cell.AtRequest_xs("AT+QENG=\"neighbourcell\"\r\n", kNeighbourAnswer_seconds));
    LogCellReport(place, result);
    if (result.type != kHintQeng) return;
    char slots[kMostNeighbourSlots][kNeighbourSlotSize];
    if (!SplitIntoSlots(result.common_str, kSlotEnds, slots, slot_count)) {
        TRACE_AT(place, kLogDebug, "neighbour info,pRes do not have valid data\n");
    }
    TRACE_AT(place, kLogDebug, "neighbour info, pcid:%s !\n", slots[kNeighbourPcid]);
    CopyText(cell.m_neighbour_pcid, slots[kNeighbourPcid]);
    TRACE_AT(place, kLogDebug, "neighbour info, rsrp:%s !\n", slots[rsrp_slot]);
    CopyText(cell.m_neighbour_rsrp, slots[rsrp_slot]);
}

}  // namespace cc_cell
