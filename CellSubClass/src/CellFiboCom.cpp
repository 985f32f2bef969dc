// Fibocom NL668, MC116: set up in USB mode 18 without the base's commands, so that the echo stays as it was;
// the context is prepared and authenticated in the set-up, and the dial is AT+GTRNDIS alone.
#include "CellSubClass/src/CellFiboCom.h"

#include <unistd.h>

#include <cstdio>

#include "CellSubClass/src/CellDriver.h"
#include "CellSubClass/src/FibocomDialect.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {54, "ReSeRvEd:", {}, ""},
    {kHintFibocomCcid, "+CCID: ", {kToText}, "\n\r"},
    {kHintMgauth, "+MGAUTH: ", {}, ""},
    {kHintFibocomGtrndis, "+GTRNDIS: ", {kToVal}, ",\r"},
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "Fibcom";
constexpr char kUsbMode[] = "18";
constexpr char kModelMc116[] = "MC116";
constexpr char kOtherFirmware[] = "NL668x";
constexpr size_t kRevisionLimit = 23;
constexpr unsigned kRadioOffPause_seconds = 2;
constexpr unsigned kDialPause_seconds = 1;

}  // namespace

const char* CellFiboCOM::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellFiboCOM::Initialize() {
    RestartRadio(*this, kRadioOffPause_seconds);
    EnsureUsbMode(TRACE_HERE, *this, kUsbMode);
    CopyText(m_vendor_name, kVendorName);
    AskFirmware(*this, "Revision:", kRevisionLimit,
                m_ModuleName == kModelMc116 ? kModelMc116 : kOtherFirmware);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());

    sleep(kDialPause_seconds);
    CellBase::DoConnect();
    sleep(kDialPause_seconds);
    char command[kCommandSize];
    snprintf(command, sizeof command, "AT+MGAUTH=1,3,\"%s\",\"%s\"\r\n", m_username, m_password);
    TRACE(kLogDebug, "%s", command);
    TRACE(kLogProgress, "AT+MGAUTH=1,3 done\n");
    AtRequest(command);
    return 1;
}

int32_t CellFiboCOM::DisConnect() {
    HangUp(*this, "AT+GTRNDIS=0,1\r\n");
    return CellBase::DisConnect();
}

int32_t CellFiboCOM::CheckConnection() {
    return IsRndisUp(*this, kHintFibocomGtrndis);
}

int32_t CellFiboCOM::CheckSimCard() {
    return CheckSimCardAndIccid(*this, "AT+CCID", kHintFibocomCcid);
}

int32_t CellFiboCOM::CheckServiceStatus() {
    return AskRegistration(*this);
}

int32_t CellFiboCOM::ReadCSQ() {
    const AtResult result = AskResult(*this, "AT+PSRAT");
    if (result.type == kHintPsrat) {
        char quoted[sizeof result.common_str + 2];
        snprintf(quoted, sizeof quoted, "\"%s\"", result.common_str);
        CopyText(m_NetworkType, quoted);
    }
    TRACE(kLogDebug, "Network type:%s\n", m_NetworkType);
    return CellBase::ReadCSQ();
}

int32_t CellFiboCOM::DoConnect() {
    return StartRndis(TRACE_HERE, *this);
}

AtResult CellFiboCOM::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    const AtResult result = TakeFields(match);
    if (result.type == kHintFibocomCcid) TRACE(kLogProgress, "CCID:%s\n", result.common_str);
    if (result.type == kHintFibocomGtrndis) TRACE(kLogDebug, "GTRNDIS: connect_type=%d\n", result.val);
    return result;
}

}  // namespace cc_cell
