// LYNQ: the data link is AT+NETOPEN, which takes no APN; the link test reads signal and network type from
// AT+CPSI? as a side effect, and the end of the call leaves the radio on.
#include "CellSubClass/src/CellLYNQ.h"

#include <cstring>

#include "CellSubClass/src/CellDriver.h"
#include "support/shell.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

// No blank after the colons: one in the answer stays in the text.
constexpr AtRow kRows[] = {
    {59, "ReSeRvEd:", {}, ""},
    {kHintLynqIccid, "+ICCID:", {kToText}, ",\r\n"},
    {kHintLynqCpsi, "+CPSI:", {kToText}, "\n\r"},
    {kHintNetopen, "+NETOPEN:", {kToText}, "\r\n"},
    {kHintNetclose, "+NETCLOSE:", {kToText}, "\r\n"},
};
static_assert(AgreesWithPrefixTable(kRows));

// Operator in its long form, and the network LED.
constexpr const char* kSetUp[] = {"AT+COPS=0,0", "AT+CGNETLED=1"};

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "LYNQ";
constexpr char kFirmware[] = "L503";
constexpr char kInterfaceDown[] = "ifconfig wwan0 down";
constexpr char kInterfaceUp[] = "ifconfig wwan0 up";
constexpr char kSuccess[] = "SUCCESS";

// Slots of "+CPSI:", counted from 0 after the prefix.
constexpr size_t kCpsiSystem = 0;
constexpr size_t kCpsiPcid = 5;
constexpr size_t kCpsiBand = 6;
constexpr size_t kCpsiRsrp = 11;
constexpr size_t kCpsiSinr = 14;
constexpr size_t kCpsiSlots = 15;
constexpr size_t kCpsiSlotSize = 24;

/// Takes over cell, signal and network type; what the report lacks becomes empty.
void StoreCell(const TracePlace& place, CellBase& cell, char* report) {
    char slots[kCpsiSlots][kCpsiSlotSize];
    if (!SplitIntoSlots(report, ",\r", slots)) {
        TRACE_AT(place, kLogProgress, "CPSI info,pRes do not have valid data\n");
    }
    LogBandChange(place, cell.m_band, cell.m_RSRP, slots[kCpsiBand], slots[kCpsiRsrp]);
    TRACE_AT(place, kLogDebug, "CPSI info, pcid:%s !\n", slots[kCpsiPcid]);
    CopyText(cell.m_pcid, slots[kCpsiPcid]);
    TRACE_AT(place, kLogDebug, "CPSI info, band:%s !\n", slots[kCpsiBand]);
    CopyText(cell.m_band, slots[kCpsiBand]);
    TRACE_AT(place, kLogDebug, "CPSI info, rsrp:%s !\n", slots[kCpsiRsrp]);
    CopyText(cell.m_RSRP, slots[kCpsiRsrp]);
    TRACE_AT(place, kLogDebug, "CPSI info, sinr:%s !\n", slots[kCpsiSinr]);
    CopyText(cell.m_SINR, slots[kCpsiSinr]);
    CopyText(cell.m_NetworkType, slots[kCpsiSystem]);
    TRACE_AT(place, kLogProgress, "Network type:%s\n", cell.m_NetworkType);
}

}  // namespace

const char* CellLYNQ::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellLYNQ::Initialize() {
    const int32_t result = CellBase::Initialize();
    if (result == 0) return 0;
    CopyText(m_vendor_name, kVendorName);
    CopyText(m_fw_version, kFirmware);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());
    SendAll(*this, kSetUp);
    return result;
}

int32_t CellLYNQ::DisConnect() {
    const AtResult result = AskResult(*this, "AT+NETCLOSE");
    if (result.type != kHintNetclose) return 0;
    TRACE(kLogDebug, "AT+NETCLOSE\n");
    // The whole text here, the word anywhere in the text at the dial: visible outside, keep.
    return strcmp(result.common_str, kSuccess) == 0;
}

int32_t CellLYNQ::CheckConnection() {
    AtResult report = AskResult(*this, "AT+CPSI?");
    TRACE(kLogDebug, "AT+CPSI common str:%s, len: %d!!!\r\n", report.common_str,
          static_cast<int>(strlen(report.common_str)));
    if (report.type == kHintLynqCpsi) StoreCell(TRACE_HERE, *this, report.common_str);

    const AtResult link = AskResult(*this, "AT+NETOPEN?");
    TRACE(kLogDebug, "AT+NETOPEN? and response %s\n", link.common_str);
    return link.type == kHintNetopen && ContainsText(link.common_str, "1") != nullptr;
}

int32_t CellLYNQ::CheckSimCard() {
    return CheckSimCardAndIccid(*this, "AT+ICCID", kHintLynqIccid);
}

int32_t CellLYNQ::CheckServiceStatus() {
    const AtResult result = AskResult(*this, "AT+CEREG?");
    if (result.type != kHintCereg) return 0;
    TRACE(kLogDebug, "AT+CEREG %d %d\n", result.val, result.val2);
    m_CEREG = result.val2;
    return IsRegistered(result.val2);
}

int32_t CellLYNQ::DoConnect() {
    char* answer = AtRequest("AT+NETOPEN");
    // The interface carries traffic only when brought up after the call, whatever the module answered to it.
    RunShell(kInterfaceDown);
    RunShell(kInterfaceUp);
    const AtResult result = ParseAtResult(answer);
    TRACE(kLogDebug, "DoConnect %s\n", result.common_str);
    if (result.type != kHintNetopen) return 0;
    TRACE(kLogDebug, "AT+NETOPEN and response %s\n", result.common_str);
    return ContainsText(result.common_str, kSuccess) != nullptr;
}

AtResult CellLYNQ::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    if (match.row != nullptr) TRACE(kLogDebug, "%s %s\n", match.row->prefix.data(), match.text);
    const AtResult result = TakeFields(match);
    switch (result.type) {
        case kHintLynqIccid:
            TRACE(kLogProgress, "ICCID:%s\n", result.common_str);
            break;
        case kHintNetopen:
            TRACE(kLogProgress, "Network Open:%s\n", result.common_str);
            break;
        case kHintNetclose:
            TRACE(kLogProgress, "Network Close:%s\n", result.common_str);
            break;
        default:
            break;
    }
    return result;
}

}  // namespace cc_cell
