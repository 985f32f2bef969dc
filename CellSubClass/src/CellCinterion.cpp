// Cinterion PLS83-W: the data link is AT^SWWAN, whose answer is searched and not parsed; the AT port is a
// ttyACM device that goes away when the modem is in trouble.
#include "CellSubClass/src/CellCinterion.h"

#include "CellSubClass/src/CellDriver.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {48, "ReSeRvEd:", {}, ""},
    {kHintSwwanEcho, "^SWWAN?", {}, ""},  // with its question mark only the echo of the query
    {kHintCinterionCcid, "+CCID: ", {kToText}, "\n\r"},
    {kHintSctm, "^SCTM:", {kToVal, kToVal2, kToVal3}, ",\r\n"},
    {kHintSmoni, "^SMONI: ", {kHintOnly}, ",\n\r"},  // network type
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "Cinterion";
constexpr size_t kRevisionLimit = 7;

}  // namespace

const char* CellCinterion::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellCinterion::Initialize() {
    const int32_t result = CellBase::Initialize();
    if (result == 0) return 0;
    AtRequest("AT^SCTM=1,1");
    CopyText(m_vendor_name, kVendorName);
    AskFirmware(*this, "REVISION", kRevisionLimit, kVendorName);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());
    return result;
}

int32_t CellCinterion::DisConnect() {
    return CellBase::DisConnect();
}

int32_t CellCinterion::CheckConnection() {
    AskNetworkType(*this, "AT^SMONI");
    return ContainsText(AtRequest("AT^SWWAN?"), "1,1,1") != nullptr;
}

int32_t CellCinterion::CheckSimCard() {
    const int32_t result = CheckSimCardAndIccid(*this, "AT+CCID", kHintCinterionCcid);
    if (result < 0) TRACE(kLogRecovery, "CheckSimCard ERROR = %d!!!\n", result);
    return result;
}

int32_t CellCinterion::CheckServiceStatus() {
    return AskRegistration(*this);
}

void CellCinterion::CheckTempStatus() {
    m_Tempture = AskResult(*this, "AT^SCTM?").val3;  // whatever the answer: 0 when it gave no temperature
    TRACE(kLogDebug, "m_Tempture[%d] temp.val[%d]\n", m_Tempture, m_Tempture);
}

int32_t CellCinterion::DoConnect() {
    const int32_t result = CellBase::DoConnect();
    if (result == 0) return 0;
    AtRequest("AT^SWWAN=1,1");  // a failed call is found by CheckConnection
    return result;
}

AtResult CellCinterion::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    if (match.Is(kHintSctm)) TRACE(kLogDebug, "SCTM:%s\n", match.text);
    const AtResult result = TakeFields(match);
    if (result.type == kHintCinterionCcid) TRACE(kLogProgress, "ICCID:%s\n", result.common_str);
    if (result.type == kHintSmoni) {
        StoreNetworkType(*this, match);
        TRACE(kLogDebug, "Network type:%s\n", m_NetworkType);
    }
    return result;
}

int32_t CellCinterion::DealHint(AtResult result) {
    if (result.type == kHintZpas) return 1;  // no row of this module: visible outside, keep
    return CellBase::DealHint(result);
}

}  // namespace cc_cell
