// ChuangYi on Innofidei: asks for service by AT+SYSINFO and for the link by AT+RRCSTATE instead of the
// registration commands; gives the module no APN; the only family whose IMSI can be written.
#include "CellSubClass/src/CellChuangYi.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "CellSubClass/src/CellDriver.h"
#include "CellSubClass/src/DataStatusDialect.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {20, "ReSeRvEd:", {}, ""},
    {kHintRrcstate, "+RRCSTATE:", {kToVal, kToVal2}, ",\r"},
    {kHintSysinfo, "+SYSINFO:", {kToVal, kToVal2, kToVal3, kToVal4, kToVal5, kToNowhere, kToVal6}, ",\r"},
};
static_assert(AgreesWithPrefixTable(kRows));

// The dial, one context without an APN.
constexpr const char* kDial[] = {"AT+CGDCONT=1", "AT+CGDCONT=1,\"IP\"", "AT+CGACT=1,1"};

constexpr char kInterfaceName[] = "eth1";
constexpr char kVendorName[] = "Innofidei";
constexpr unsigned kRadioOnPause_seconds = 1;
constexpr int32_t kServiceValid = 2;  // srv_status

constexpr size_t kImsiLengthMin = 10;
constexpr size_t kImsiLengthMax = 32;
constexpr size_t kCountryCodeLength = 3;
constexpr size_t kNetworkCodeLength = 2;  // always taken as two digits
constexpr size_t kImsiCommandSize = 64;

}  // namespace

const char* CellChuangYi::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellChuangYi::SetIMSI(const char* imsi) {
    const size_t length = imsi == nullptr ? 0 : strlen(imsi);
    if (length < kImsiLengthMin || length > kImsiLengthMax) return 0;
    const char* network_code = imsi + kCountryCodeLength;
    const char* subscriber = network_code + kNetworkCodeLength;
    char command[kImsiCommandSize];
    snprintf(command, sizeof command, "AT+SCFG=usim,%.*s,%.*s,%s", static_cast<int>(kCountryCodeLength), imsi,
             static_cast<int>(kNetworkCodeLength), network_code, subscriber);
    AtRequest(command);
    AtRequest("AT+SCFG=SAVE");
    return CellBase::SetIMSI(imsi);
}

int32_t CellChuangYi::Initialize() {
    const int32_t result = CellBase::Initialize();
    if (result == 0) return 0;
    CopyText(m_fw_version, kVendorName);
    CopyText(m_vendor_name, kVendorName);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());
    return result;
}

int32_t CellChuangYi::CheckConnection() {
    const AtResult result = AskResult(*this, "AT+RRCSTATE");
    return result.type == kHintRrcstate && result.val == 1;
}

int32_t CellChuangYi::CheckServiceStatus() {
    const AtResult result = AskResult(*this, "AT+SYSINFO");
    return result.type == kHintSysinfo && result.val == kServiceValid;
}

int32_t CellChuangYi::DoConnect() {
    AtRequest("AT+CFUN=1");
    sleep(kRadioOnPause_seconds);
    SendAll(*this, kDial);
    return 1;  // a failed call is found by CheckConnection
}

AtResult CellChuangYi::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogProgress, match);
    const AtResult result = TakeFields(match);
    if (result.type == kHintRrcstate) {
        TRACE(kLogProgress, "Connect Status: stat=%d AcT=%d\n", result.val, result.val2);
    }
    if (result.type == kHintSysinfo) {
        TRACE(kLogProgress,
              "SYSINFO: srv_status=%d,srv_domain=%d,roam_status=%d,\n            "
              "\tsys_mode=%d,sim_state=%d,sys_submode=%d\n",
              result.val, result.val2, result.val3, result.val4, result.val5, result.val6);
    }
    return result;
}

int32_t CellChuangYi::DealHint(AtResult result) {
    // No row of this module gives that hint: visible outside, keep.
    if (FollowDataStatus(*this, result)) return 1;
    return CellBase::DealHint(result);
}

}  // namespace cc_cell
