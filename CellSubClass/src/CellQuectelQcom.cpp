// Quectel on Qualcomm: the call is made by AT$QCRMCALL and watched by AT+QNETDEVSTATUS; on the i.MX6UL board
// the kernel's network driver must be loaded anew after each set-up; the only family that can be upgraded.
#include "CellSubClass/src/CellQuectelQcom.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "CellSubClass/src/CellDriver.h"
#include "CellSubClass/src/QuectelDialect.h"
#include "support/shell.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {34, "ReSeRvEd:", {}, ""},
    kQnwinfoRow,
    kQcrmcallRow,
    {kHintQnetdevstatus, "+QNETDEVSTATUS:", {kToVal, kToVal2, kToVal3, kToVal4}, ",\r"},
    kQccidRow,
    {kHintQnetdevctl, "+QNETDEVCTL:", {}, ""},
    {kHintQtemp, "+QTEMP:", {kToVal3, kToVal, kToVal2}, ",\n\r"},  // baseband, crystal, amplifier
    kQengRow,
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr QuectelSetUp kSetUp = {
    "AT+qcfg=\"usbnet\",0",  // usb_command
    true,                    // takes_context
    "Qcom",                  // maker
    18,                      // revision_limit
    "Qcom",                  // unknown_firmware
};

// Temperatures at which the module protects itself. The quotes are single, as this module takes them.
constexpr const char* kThermalLimits[] = {
    "AT+QCFG='thermal/limit_rates',1",         "AT+QCFG='thermal/txpwrlmt',1,2,105,1000,3,10",
    "AT+QCFG='thermal/modem',1,100000,95000",  "AT+QCFG='thermal/modem',2,105000,100000",
    "AT+QCFG='thermal/modem',3,115000,105000",
};

constexpr char kInterfaceName[] = "wwan0";
constexpr int kHotBaseband_celsius = 94;
constexpr int kCallAnswer_seconds = 10;
constexpr size_t kNeighbourSlots = 13;
constexpr size_t kNeighbourRsrp = 5;

constexpr char kUnloadNetworkDriver[] = "rmmod qmi_wwan_q.ko";
constexpr char kLoadNetworkDriver[] = "insmod /ubi/local/modules/qmi_wwan_q.ko";
constexpr unsigned kUnloadPause_seconds = 3;

}  // namespace

CellQuectelQcom::CellQuectelQcom(int cell_fd) : CellBase(cell_fd) {
    memset(m_fw_version, 0, sizeof m_fw_version);
}

CellQuectelQcom::~CellQuectelQcom() = default;

const char* CellQuectelQcom::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellQuectelQcom::Initialize() {
    return InitializeQuectel(TRACE_HERE, *this, kSetUp);
}

int32_t CellQuectelQcom::DisConnect() {
    HangUp(*this, "AT$QCRMCALL=0,1");
    return CellBase::DisConnect();
}

int32_t CellQuectelQcom::CheckConnection() {
    const AtResult result = AskResult(*this, "AT+QNETDEVSTATUS?");
    const int32_t state = result.val2;
    if (result.type == kHintQnetdevstatus && (state == 1 || state == 2)) return 1;
    TRACE(kLogProgress, "AT+QNETDEVSTATUS fail:%d\n", state);
    return 0;
}

int32_t CellQuectelQcom::CheckSimCard() {
    const int32_t result = CheckSimCardAndIccid(*this, "AT+QCCID", kHintQccid);
    if (result >= 0 && m_board == kBoardImx6ul) {
        RunShell(kUnloadNetworkDriver);
        sleep(kUnloadPause_seconds);
        RunShell(kLoadNetworkDriver);
    }
    return result;
}

int32_t CellQuectelQcom::CheckServiceStatus() {
    return AskRegistrationFromCreg(TRACE_HERE, *this);
}

void CellQuectelQcom::CheckTempStatus() {
    m_Tempture = AskResult(*this, "AT+QTEMP").val3;  // whatever the answer: 0 when it gave no temperature
}

void CellQuectelQcom::ConfigThermalLimit() {
    SendAll(*this, kThermalLimits);
}

void CellQuectelQcom::CheckSignalStatus() {
    AtResult result = AskResult(*this, kAskServingCell);
    // Not the line of the other families: visible outside, keep.
    TRACE(kLogDebug, "AT+QENG common str:%s, len: %d \r\n", result.common_str,
          static_cast<int>(strlen(result.common_str)));
    StoreServingCell(TRACE_HERE, *this, result);
}

void CellQuectelQcom::CheckNeighbourSignal() {
    ReadNeighbourCell(TRACE_HERE, *this, kNeighbourSlots, kNeighbourRsrp);
}

int32_t CellQuectelQcom::ReadCSQ() {
    AskNetworkType(*this, "AT+QNWINFO");
    return CellBase::ReadCSQ();
}

int32_t CellQuectelQcom::DoConnect() {
    const int32_t result = CellBase::DoConnect();
    if (result == 0) return 0;
    SendContextAtDial(TRACE_HERE, *this);
    const AtResult call = ParseAtResult(AtRequest_xs("AT$QCRMCALL=1,1", kCallAnswer_seconds));
    TRACE(kLogDebug, "QCRMCALL return type:%d \r\n", call.val);
    // A failed call is no failure of the dial: CheckConnection finds it.
    if (call.type != kHintQcrmcall || call.val != 1) TRACE(kLogProgress, "QCRMCALL=1,1 fail:%d\n", call.val);
    return result;
}

AtResult CellQuectelQcom::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    if (match.Is(kHintQcrmcall)) TRACE(kLogProgress, "AT$QCRMCALL=1,1 return %s\n", match.text);
    const AtResult result = TakeQuectelFields(TRACE_HERE, *this, match);
    switch (result.type) {
        case kHintQnetdevstatus:
            TRACE(kLogDebug, "QNETDEVSTATUS: on_off=%d,state=%d,roam_status=%d,inst=%d\n", result.val,
                  result.val2, result.val3, result.val4);
            break;
        case kHintQtemp: {
            const int32_t baseband = result.val3;
            if (baseband == 0) TRACE(kLogProgress, "query baseband temperature Failed!\n");
            if (baseband > kHotBaseband_celsius) {
                TRACE(kLogHeat, "query baseband temperature %d!\n", baseband);
            }
            if (result.val == 0) TRACE(kLogProgress, "query XO temperature Failed!\n");
            if (result.val2 == 0) TRACE(kLogProgress, "query PA temperature Failed!\n");
            TRACE(kLogDebug, "Quectel Temp Baseband(%d),XO(%d),PA(%d)\n", baseband, result.val, result.val2);
            break;
        }
        default:
            break;
    }
    return result;
}

// The upgrade: from here on, everything runs on the upgrade thread, while the operations above go on on the
// main thread, and nothing is locked. It may read m_ModuleName, which nothing writes any more; the other
// members, the AT port and its static answers belong to the main thread. In this file because its lines in
// the log name it.

namespace {

#define OTA_DIRECTORY "/media/mmcblk0p1/firmware_modules/CellularOTA"
constexpr char kOtaDirectory[] = OTA_DIRECTORY;
constexpr char kOtaTool[] = OTA_DIRECTORY "/QFirehose";
#undef OTA_DIRECTORY
constexpr char kOtaModel[] = "EG21";
constexpr size_t kOtaLineSize = 512;

enum OtaResult : int32_t {
    kOtaNotStarted = -2,
    kOtaSaidNeither = -1,
    kOtaUpgraded = 0,
    kOtaFailed = 1,
    kOtaNotSupported = 2,
    kOtaFileMissing = 3,
};

}  // namespace

int32_t CellQuectelQcom::ModuleOtaTask() {
    if (!IsOtaUpgradPathExist()) {
        TRACE(kLogProgress, "[OTA] ota upgrade file path or file no exist\n");
        return kOtaFileMissing;
    }
    if (!IsSupportModuleOTA()) {
        TRACE(kLogProgress, "[OTA] 4g module ota upgrade not support\n");
        return kOtaNotSupported;
    }
    char command[kCommandSize];
    snprintf(command, sizeof command, "%s -f %s", kOtaTool, kOtaDirectory);
    TRACE(kLogProgress, "[OTA] run: %s\n", command);
    FILE* output = popen(command, "r");
    if (output == nullptr) {
        TRACE(kLogProgress, "[OTA] run 4G module ota task fail\n");
        return kOtaNotStarted;
    }
    int32_t result = kOtaSaidNeither;
    char line[kOtaLineSize];
    while (fgets(line, sizeof line, output) != nullptr) {
        if (strstr(line, "successfully") != nullptr) {
            result = kOtaUpgraded;
            TRACE(kLogProgress, "[OTA] Upgrade module successfully\n");
        } else if (strstr(line, "Upgrade module fail") != nullptr) {
            result = kOtaFailed;
            TRACE(kLogProgress, "[OTA] Upgrade module fail\n");
        }
    }
    pclose(output);
    return result;
}

bool CellQuectelQcom::IsSupportModuleOTA() {
    if (m_ModuleName == kOtaModel) {
        TRACE(kLogProgress, "[OTA] Module EG21 support OTA\r\n");
        return true;
    }
    TRACE(kLogProgress, "[OTA] Module no support OTA\r\n");
    return false;
}

bool CellQuectelQcom::IsOtaUpgradPathExist() {
    if (access(kOtaDirectory, F_OK) != 0) {
        TRACE(kLogProgress, "[OTA] OTA目录不存在\n");
        return false;
    }
    TRACE(kLogProgress, "[OTA] OTA目录存在\n");
    if (access(kOtaTool, F_OK) == 0) {
        TRACE(kLogProgress, "[OTA] QFirehose文件存在\n");
        return true;
    }
    TRACE(kLogProgress, "[OTA] QFirehose文件不存在\n");
    return false;
}

}  // namespace cc_cell
