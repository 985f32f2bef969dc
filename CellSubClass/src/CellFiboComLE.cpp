// Fibocom LE370: set up in USB mode 32 without the base's commands; the network type comes from the cell
// report of AT+GTCCINFO?, and the signal of AT+CESQ is only logged.
#include "CellSubClass/src/CellFiboComLE.h"

#include <unistd.h>

#include <algorithm>

#include "CellSubClass/src/CellDriver.h"
#include "CellSubClass/src/FibocomDialect.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {65, "ReSeRvEd:", {}, ""},
    {kHintFibocomLeCcid, "+CCID: ", {kToText}, "\n\r"},
    {kHintFibocomLeGtrndis, "+GTRNDIS: ", {kToVal}, ",\r"},
    {kHintGtccinfo, "+GTCCINFO:", {kHintOnly}, ""},  // the text stands on a later line of the answer
    {kHintCesq, "+CESQ: ", {kToText}, "\n\r"},
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "Fibcom";
constexpr char kFirmware[] = "LE370";
constexpr char kUsbMode[] = "32";
constexpr unsigned kRadioOffPause_seconds = 3;
constexpr unsigned kDialPause_seconds = 1;
constexpr int kLongAnswer_seconds = 10;

constexpr char kSlotEnds[] = ",\r";

// "\r\n+GTCCINFO:\r\n1,4,...": both characters of a line end count, with an empty field between them.
constexpr int kCellLineField = 5;
constexpr int32_t kRatLte = 4;  // second field of that line

// "+CESQ: <rxlev>,<ber>,<rscp>,<ecno>,<rsrq>,<rsrp>"; rsrp counts dB from -141 dBm.
constexpr int kCesqSlots = 6;
constexpr int kCesqRsrp = 5;
constexpr size_t kCesqSlotSize = 16;
constexpr int kCesqRsrpOffset_dbm = 141;

/// The level in dBm that an rsrp index stands for; a garbled one is bounded by the range of numbers.
int32_t RsrpOfIndex(int32_t index) {
    return static_cast<int32_t>(std::max<int64_t>(INT32_MIN, int64_t{index} - kCesqRsrpOffset_dbm));
}

}  // namespace

const char* CellFiboLE370::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellFiboLE370::Initialize() {
    EnsureUsbMode(TRACE_HERE, *this, kUsbMode);
    CopyText(m_vendor_name, kVendorName);
    CopyText(m_fw_version, kFirmware);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());

    RestartRadio(*this, kRadioOffPause_seconds);
    CellBase::DoConnect();
    sleep(kDialPause_seconds);
    WriteStatusFiles();
    return 1;
}

int32_t CellFiboLE370::DisConnect() {
    HangUp(*this, "AT+GTRNDIS=0,1\r\n");
    return CellBase::DisConnect();
}

int32_t CellFiboLE370::CheckConnection() {
    return IsRndisUp(*this, kHintFibocomLeGtrndis);
}

int32_t CellFiboLE370::CheckSimCard() {
    return CheckSimCardAndIccid(*this, "AT+CCID", kHintFibocomLeCcid);
}

int32_t CellFiboLE370::CheckServiceStatus() {
    return AskRegistration(*this);
}

void CellFiboLE370::CheckSignalStatus() {
    AtResult result = AskResult(*this, "AT+CESQ\r\n");
    if (result.type != kHintCesq) return;
    char slots[kCesqSlots][kCesqSlotSize] = {};
    char* rest = result.common_str;
    for (int i = 0; i < kCesqSlots; ++i) {
        const char* field = NextField(&rest, kSlotEnds);
        if (field == nullptr) {
            TRACE(kLogProgress, "CESQ info,pRes is null\n");
            break;
        }
        CopyText(slots[i], field);
        TRACE(kLogDebug, "CESQ info num[%d]: p=%s, pRes=%s !!!!!!\n", i, field, OrNullWord(rest));
    }
    const int32_t rsrp = ParseNumber(slots[kCesqRsrp]);
    TRACE(kLogDebug, "CESQ info,rsrp_level:%d !!!!!!\n", rsrp);
    TRACE(kLogDebug, "CESQ info,caculate real rsrp_level:%d !!!!!!\n", RsrpOfIndex(rsrp));
}

int32_t CellFiboLE370::ReadCSQ() {
    AtResult result = ParseAtResult(AtRequest_xs("AT+GTCCINFO?\r\n", kLongAnswer_seconds));
    if (result.type == kHintGtccinfo) {
        char* rest = result.common_str;
        const char* field = NextField(&rest, kSlotEnds);
        TRACE(kLogDebug, "GTCCINFO 11111 p:%s,pRes:%s\n", field, OrNullWord(rest));
        if (rest != nullptr) {
            field = NextField(&rest, kSlotEnds);
            TRACE(kLogDebug, "GTCCINFO 22222 p:%s,pRes:%s\n", field, OrNullWord(rest));
            if (ParseNumber(field) == kRatLte) CopyText(m_NetworkType, "LTE");
        }
    }
    TRACE(kLogProgress, "Network type:%s\n", m_NetworkType);
    return CellBase::ReadCSQ();
}

int32_t CellFiboLE370::DoConnect() {
    return StartRndis(TRACE_HERE, *this);
}

AtResult CellFiboLE370::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    AtResult result = TakeFields(match);
    switch (result.type) {
        case kHintFibocomLeCcid:
            TRACE(kLogProgress, "CCID:%s\n", result.common_str);
            break;
        case kHintFibocomLeGtrndis:
            TRACE(kLogDebug, "GTRNDIS: connect_type=%d\n", result.val);
            break;
        case kHintGtccinfo:
            if (const char* line = StringSplitByNum(text, "\n\r", kCellLineField)) {
                CopyText(result.common_str, line);
            } else {
                TRACE(kLogProgress, "FIBOLEGTCCINFO: get networkType fail !\n");
            }
            TRACE(kLogDebug, "FIBOLEGTCCINFO is:%s\n", result.common_str);
            break;
        case kHintCesq:
            TRACE(kLogDebug, "FIBOLECESQ:%s\n", result.common_str);
            break;
        default:
            break;
    }
    return result;
}

}  // namespace cc_cell
