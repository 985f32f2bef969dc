// Huawei ME909: the call is AT^NDISDUP, which also carries the SIM's PIN; the network type comes from the
// unsolicited ^HCSQ alone.
#include "CellSubClass/src/CellHuaWei.h"

#include <cstring>

#include "CellSubClass/src/CellDriver.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {24, "ReSeRvEd:", {}, ""},
    {kHintNdisstatqry, "^NDISSTATQRY:", {kToVal}, ","},
    {kHintHcsq, "^HCSQ: ", {kHintOnly}, ","},  // one character more than other texts
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "Huawei";
constexpr char kFirmware[] = "ME909";

/// First field of ^HCSQ: up to 128 characters, and a text of 128 has no room for a terminator. Its reader
/// takes 63.
void TakeHcsq(const AtMatch& match, AtResult& result) {
    char* rest = match.text;
    const char* field = NextField(&rest, match.row->field_ends);
    memcpy(result.common_str, field, strnlen(field, sizeof result.common_str));
}

}  // namespace

const char* CellHuaWei909s::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellHuaWei909s::Initialize() {
    const int32_t result = CellBase::Initialize();
    if (result == 0) return 0;
    AtRequest("AT^LEDCTRL=1");
    CopyText(m_vendor_name, kVendorName);
    CopyText(m_fw_version, kFirmware);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());
    return result;
}

int32_t CellHuaWei909s::DisConnect() {
    HangUp(*this, "AT^NDISDUP=1,0");
    return CellBase::DisConnect();
}

int32_t CellHuaWei909s::CheckConnection() {
    const AtResult result = AskResult(*this, "at^ NDISSTATQRY?");
    return result.type == kHintNdisstatqry && result.val == 1;
}

int32_t CellHuaWei909s::CheckServiceStatus() {
    return AskRegistration(*this);
}

int32_t CellHuaWei909s::DoConnect() {
    const int32_t result = CellBase::DoConnect();
    if (result == 0) return 0;
    char command[kCommandSize] = "AT^NDISDUP=1,1";
    // A parameter can only be given when the one before it is.
    if (AppendQuoted(command, m_apn) && AppendQuoted(command, m_username) &&
        AppendQuoted(command, m_password) && AppendQuoted(command, m_card_pin)) {
        AppendQuotedNumber(command, m_auth_type);
    }
    AtRequest(command);  // a failed call is found by CheckConnection
    return result;
}

AtResult CellHuaWei909s::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogProgress, match);
    AtResult result = TakeFields(match);
    if (result.type == kHintNdisstatqry) TRACE(kLogProgress, "Connect Status:%d\n", result.val);
    if (result.type == kHintHcsq) TakeHcsq(match, result);
    return result;
}

int32_t CellHuaWei909s::DealHint(AtResult result) {
    if (result.type != kHintHcsq) return CellBase::DealHint(result);
    CopyText(m_NetworkType, result.common_str);
    TRACE(kLogProgress, "Network type:%s\n", m_NetworkType);
    return 1;
}

}  // namespace cc_cell
