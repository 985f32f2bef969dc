// Quectel on ASR: the call is made and watched by AT+QNETDEVCTL; user name, password and kind of
// authentication don't reach the module.
#include "CellQuectelAsr.h"

#include "CellDriver.h"
#include "QuectelDialect.h"
#include "text_util.h"
#include "trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {34, "ReSeRvEd:", {}, ""},
    {kHintQnwinfo, "+QNWINFO: ", {kHintOnly}, ",\n\r"},  // network type
    {kHintQcrmcall, "$QCRMCALL: ", {}, ""},
    {kHintQnetdevstatus, "+QNETDEVSTATUS:", {}, ""},
    {kHintQccid, "+QCCID: ", {kToText}, "\n\r"},
    {kHintQnetdevctl, "+QNETDEVCTL:", {kToVal, kToVal4, kToVal3, kToVal2}, ",\r"},  // val2 is the state
    {kHintQtemp, "+QTEMP:", {}, ""},
    {kHintQeng, "+QENG: ", {kToText}, "\n\r"},
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr const char* kSetUp[] = {"AT+qcfg=\"usbnet\",1", "AT+CMEE=2"};

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "QuectelAsr";
constexpr char kUnknownFirmware[] = "EC200x";
constexpr size_t kRevisionLimit = 20;
constexpr int kLongAnswer_seconds = 10;
constexpr size_t kNeighbourSlots = 13;
constexpr size_t kNeighbourRsrp = 4;

}  // namespace

const char* CellQueAsr::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellQueAsr::Initialize() {
    const int32_t result = CellBase::Initialize();
    if (result == 0) return 0;
    SendAll(*this, kSetUp);
    AskFirmware(*this, "Revision:", kRevisionLimit, kUnknownFirmware);
    copy_text(m_vendor_name, kVendorName);
    TRACE(kLogProgress, "m_ModuleName = %s \n", m_ModuleName.c_str());
    return result;
}

int32_t CellQueAsr::DisConnect() {
    HangUp(*this, "AT+QNETDEVCTL=0\r\n");
    return CellBase::DisConnect();
}

int32_t CellQueAsr::CheckConnection() {
    return CheckNetDevCtl(TRACE_HERE, *this);
}

int32_t CellQueAsr::CheckSimCard() {
    return CheckSimCardAndIccid(*this, "AT+QCCID", kHintQccid);
}

int32_t CellQueAsr::CheckServiceStatus() {
    return AskRegistrationFromCreg(TRACE_HERE, *this);
}

void CellQueAsr::CheckSignalStatus() {
    AtResult result = AskResult(*this, "AT+QENG=\"servingcell\"\r\n");
    LogCellReport(TRACE_HERE, result);
    StoreServingCell(TRACE_HERE, *this, result);
}

void CellQueAsr::CheckNeighbourSignal() {
    AtResult result = ParseAtResult(AtRequest_xs("AT+QENG=\"neighbourcell\"\r\n", kLongAnswer_seconds));
    LogCellReport(TRACE_HERE, result);
    StoreNeighbourCell(TRACE_HERE, *this, result, kNeighbourSlots, kNeighbourRsrp);
}

int32_t CellQueAsr::ReadCSQ() {
    AskNetworkType(*this, "AT+QNWINFO");
    return CellBase::ReadCSQ();
}

int32_t CellQueAsr::DoConnect() {
    const int32_t result = CellBase::DoConnect();
    if (result == 0) return 0;
    AtRequest("AT+QNETDEVCTL=1,1,1\r\n");  // a failed call is found by CheckConnection
    return result;
}

AtResult CellQueAsr::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    return TakeQuectelFields(TRACE_HERE, *this, match);
}

}  // namespace cc_cell
