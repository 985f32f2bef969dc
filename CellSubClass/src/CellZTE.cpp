// ZTE/Gosuncn: the call is AT+ZECMCALL, up when the module shows an address; the only family whose interface
// depends on the board and whose signal texts carry their unit. Only the ME3630 reports its signal.
#include "CellSubClass/src/CellZTE.h"

#include <cstdio>
#include <cstring>

#include "CellSubClass/src/CellDriver.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {28, "ReSeRvEd:", {}, ""},
    {kHintZgeticcid, "+ZGETICCID: ", {kToText}, "\n\r"},
    {kHintZpas, "+ZPAS: ", {kHintOnly}, ",\n\r"},  // network type
    {kHintZecmcall, "+ZECMCALL: ", {kHintOnly}, ""},
    {kHintZcellinfo, "+ZCELLINFO: ", {kToText}, "\n\r"},
};
static_assert(AgreesWithPrefixTable(kRows));

// The last characters are small letters.
constexpr const char* kSetUp[] = {"AT+CMEE=2", "AT+ZSWITCH=l", "AT+ZADSET=e"};

constexpr char kInterfaceName[] = "wwan0";
constexpr char kInterfaceNameA35[] = "usb0";
constexpr char kVendorName[] = "GOSUNCN";
constexpr char kModelMe3630[] = "ME3630";
constexpr char kModelGm196[] = "GM196";
constexpr size_t kRevisionLimit = 17;
constexpr int kLongAnswer_seconds = 10;
constexpr int kSignalAnswer_seconds = 3;

// `+ZSRSP: "-098","-12","-070","010"` split at the quotes: the values are the odd fields.
constexpr int kSignalFields = 8;
constexpr int kSignalRsrp = 1;
constexpr int kSignalRsrq = 3;
constexpr int kSignalRssi = 5;
constexpr int kSignalSinr = 7;

constexpr size_t kCellSlots = 5;
constexpr size_t kCellSlotSize = 16;
constexpr size_t kCellPcid = 2;
constexpr size_t kCellBand = 3;

/// Stores a value with its unit, without the zeros that pad it after its minus sign: "-098" is "-98dBm".
template <size_t N>
void StoreSignal(char (&to)[N], const char* value, const char* unit) {
    char text[kFieldSize + 4];
    size_t length = 0;
    bool in_padding = false;
    for (; *value != '\0' && length < kFieldSize; ++value) {
        if (*value == '0' && in_padding) continue;
        text[length++] = *value;
        in_padding = *value == '-';
    }
    CopyText(text + length, sizeof text - length, unit);
    CopyText(to, text);
}

}  // namespace

const char* CellZTE3630::GetInterfaceName() {
    return m_board == kBoardA35 ? kInterfaceNameA35 : kInterfaceName;
}

int32_t CellZTE3630::Initialize() {
    const int32_t result = CellBase::Initialize();
    if (result == 0) return 0;
    SendAll(*this, kSetUp);
    CopyText(m_vendor_name, kVendorName);
    AskFirmware(*this, "Revision:", kRevisionLimit, kVendorName);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());
    return result;
}

int32_t CellZTE3630::DisConnect() {
    HangUp(*this, "AT+ZECMCALL=0");
    return CellBase::DisConnect();
}

int32_t CellZTE3630::CheckConnection() {
    AskNetworkType(*this, "AT+ZPAS?");
    char* answer = AtRequest("AT+ZECMCALL?");
    const AtResult result = ParseAtResult(answer);
    TRACE(kLogDebug, "AT+ZECMCALL checkconnection return %s\n", answer);
    if (result.type == kHintZecmcall && result.val == 1) return 1;
    // This model shows no address; that it answers at all has to be enough.
    if (m_ModuleName == kModelGm196 && ContainsText(answer, "OK") != nullptr) {
        TRACE(kLogDebug, "connection ok!!! \n");
        return 1;
    }
    TRACE(kLogProgress, "AT+ZECMCALL? fail:%d\n", result.val);
    return 0;
}

int32_t CellZTE3630::CheckSimCard() {
    return CheckSimCardAndIccid(*this, "AT+ZGETICCID", kHintZgeticcid);
}

int32_t CellZTE3630::CheckServiceStatus() {
    return AskRegistration(*this);
}

void CellZTE3630::CheckSignalStatus() {
    TRACE(kLogDebug, "ZTE 4G module is: %s \r\n", m_ModuleName.c_str());
    if (m_ModuleName != kModelMe3630) return;
    char* answer = AtRequest_xs("AT+ZSRSP?", kSignalAnswer_seconds);
    if (ContainsText(answer, "OK") == nullptr) {
        TRACE(kLogDetail, "AT+ZSRSP? return error!!! \n");
        return;
    }
    char fields[kSignalFields][kFieldSize];
    if (StringSplitToGetValue(answer, "\"", kSignalFields, fields) == 0) {
        TRACE(kLogDetail, "AT+ZSRSP? get value fail!!! \n");
        return;
    }
    StoreSignal(m_RSRP, fields[kSignalRsrp], "dBm");
    StoreSignal(m_RSRQ, fields[kSignalRsrq], "dB");
    StoreSignal(m_RSSI, fields[kSignalRssi], "dBm");
    StoreSignal(m_SINR, fields[kSignalSinr], "dB");
}

void CellZTE3630::CheckNeighbourSignal() {
    AtResult result = ParseAtResult(AtRequest_xs("AT+ZCELLINFO?", kLongAnswer_seconds));
    TRACE(kLogDebug, "ZCELLINFO common str:%s, len: %d!!!\r\n", result.common_str,
          static_cast<int>(strlen(result.common_str)));
    if (result.type != kHintZcellinfo) return;
    if (ContainsText(result.common_str, "LTE") == nullptr) {
        TRACE(kLogError, "AT+CELLINFO? return not LTE!!! \n");
        return;
    }
    char slots[kCellSlots][kCellSlotSize];
    if (!SplitIntoSlots(result.common_str, ",\r", slots)) {
        TRACE(kLogProgress, "CELLINFO info,pRes do not have valid data\n");
    }
    LogBandChange(TRACE_HERE, m_band, m_RSRP_LEVEL, slots[kCellBand], m_RSRP);
    TRACE(kLogDebug, "CELLINFO info, pcid:%s !\n", slots[kCellPcid]);
    CopyText(m_pcid, slots[kCellPcid]);
    TRACE(kLogDebug, "CELLINFO info, band:%s !\n", slots[kCellBand]);
    CopyText(m_band, slots[kCellBand]);
    SetRsrpLevel(m_RSRP);
    TRACE(kLogDebug, "CELLINFO info, m_RSRP_LEVEL:%s !\n", m_RSRP_LEVEL);
}

int32_t CellZTE3630::DoConnect() {
    const int32_t result = CellBase::DoConnect();
    if (result == 0) return 0;
    char command[kCommandSize] = "AT+ZECMCALL=1";
    if (AppendQuoted(command, m_apn)) {
        Append(command, ",1");
        // A parameter can only be given when the one before it is.
        if (AppendQuoted(command, m_username) && AppendQuoted(command, m_password)) {
            AppendQuotedNumber(command, m_auth_type);
        }
    }
    const char* answer = AtRequest_xs(command, kLongAnswer_seconds);
    TRACE(kLogDetail, "AT+ZECMCALL=1 return %s\n", answer);
    if (ContainsText(answer, "CONNECT") != nullptr) {
        TRACE(kLogDetail, "CONNECT!!! \n");
    } else {
        TRACE(kLogDetail, "AT+ZECMCALL=1 ERROR !!!\n");  // no failure of the dial: CheckConnection finds it
    }
    return result;
}

AtResult CellZTE3630::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    AtResult result = TakeFields(match);
    switch (result.type) {
        case kHintZgeticcid:
            TRACE(kLogProgress, "ICCID:%s\n", result.common_str);
            break;
        case kHintZpas:
            StoreNetworkType(*this, match);
            TRACE(kLogDebug, "Network type:%s\n", m_NetworkType);
            break;
        case kHintZecmcall:  // an address has dots, "IPV4" alone has none
            result.val = ContainsText(text, ".") != nullptr;
            break;
        default:
            break;
    }
    return result;
}

int32_t CellZTE3630::DealHint(AtResult result) {
    if (result.type == kHintZpas) return 1;  // the parser has stored the network type
    return CellBase::DealHint(result);
}

}  // namespace cc_cell
