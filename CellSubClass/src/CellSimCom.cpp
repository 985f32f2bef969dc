// SIMCom: the call is AT$QCRMCALL with all that the settings know, and its answer decides the dial; the
// network type comes from AT+CPSI?.
#include "CellSubClass/src/CellSimCom.h"

#include <strings.h>

#include <cstdio>

#include "CellSubClass/src/CellDriver.h"
#include "support/shell.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {43, "ReSeRvEd:", {}, ""},
    {kHintSimcomQcrmcall, "$QCRMCALL: ", {kToVal}, ",\r\n"},
    {kHintSimcomCpsi, "+CPSI: ", {kHintOnly}, ",\r\n"},  // network type, then a word for online
    {kHintSimcomIccid, "+ICCID: ", {kToText}, ",\r\n"},
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "SIMCOM";
constexpr char kInterfaceUp[] = "ifconfig wwan0 up";

bool IsCallUp(const AtResult& result) {
    return result.type == kHintSimcomQcrmcall && result.val == 1;
}

bool IsOnlineWord(const char* word) {
    return word != nullptr && strcasecmp(word, "Online") == 0;
}

}  // namespace

const char* CellSimCom::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellSimCom::Initialize() {
    const int32_t result = CellBase::Initialize();
    if (result == 0) return 0;
    CopyText(m_vendor_name, kVendorName);
    CopyText(m_fw_version, kVendorName);
    RunShell(kInterfaceUp);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());
    return result;
}

int32_t CellSimCom::DisConnect() {
    HangUp(*this, "AT$QCRMCALL=0,1");
    return CellBase::DisConnect();
}

int32_t CellSimCom::CheckConnection() {
    return IsCallUp(AskResult(*this, "AT$QCRMCALL?"));
}

int32_t CellSimCom::CheckSimCard() {
    return CheckSimCardAndIccid(*this, "AT+CICCID", kHintSimcomIccid);
}

int32_t CellSimCom::CheckServiceStatus() {
    return AskRegistration(*this);
}

int32_t CellSimCom::ReadCSQ() {
    AskNetworkType(*this, "AT+CPSI?");
    AtRequest("AT+CGACT?");  // for the log alone
    return CellBase::ReadCSQ();
}

int32_t CellSimCom::DoConnect() {
    if (CellBase::DoConnect() == 0) return 0;
    char command[kCommandSize];
    if (m_auth_type != 0) {
        snprintf(command, sizeof command, "AT$QCRMCALL=1,1,1,,,,\"%s\",\"%s\",\"%s\",%d", m_apn, m_username,
                 m_password, m_auth_type);
    } else {
        snprintf(command, sizeof command, "AT$QCRMCALL=1,1,1,,,,\"%s\",\"%s\",\"%s\",", m_apn, m_username,
                 m_password);
    }
    return IsCallUp(AskResult(*this, command));
}

AtResult CellSimCom::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    AtResult result = TakeFields(match);
    switch (result.type) {
        case kHintSimcomQcrmcall:
            TRACE(kLogProgress, "Online check :%d\n", result.val);
            break;
        case kHintSimcomCpsi: {
            char* rest = StoreNetworkType(*this, match);
            result.val = IsOnlineWord(NextField(&rest, match.row->field_ends));
            TRACE(kLogProgress, "Network type:%s\n", m_NetworkType);
            break;
        }
        case kHintSimcomIccid:
            TRACE(kLogProgress, "ICCID :%s\n", result.common_str);
            break;
        default:
            break;
    }
    return result;
}

}  // namespace cc_cell
