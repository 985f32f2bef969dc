// Quectel on ASR: the call is made and watched by AT+QNETDEVCTL; user name, password and kind of
// authentication don't reach the module.
#include "CellSubClass/src/CellQuectelAsr.h"

#include "CellSubClass/src/CellDriver.h"
#include "CellSubClass/src/QuectelDialect.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {34, "ReSeRvEd:", {}, ""},
    kQnwinfoRow,
    {kHintQcrmcall, "$QCRMCALL: ", {}, ""},
    {kHintQnetdevstatus, "+QNETDEVSTATUS:", {}, ""},
    kQccidRow,
    kQnetdevctlRow,
    {kHintQtemp, "+QTEMP:", {}, ""},
    kQengRow,
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr QuectelSetUp kSetUp = {
    "AT+qcfg=\"usbnet\",1",  // usb_command
    false,                   // takes_context
    "QuectelAsr",            // maker
    20,                      // revision_limit
    "EC200x",                // unknown_firmware
};

constexpr char kInterfaceName[] = "wwan0";
constexpr size_t kNeighbourSlots = 13;
constexpr size_t kNeighbourRsrp = 4;

}  // namespace

const char* CellQueAsr::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellQueAsr::Initialize() {
    return InitializeQuectel(TRACE_HERE, *this, kSetUp);
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
    ReadServingCell(TRACE_HERE, *this);
}

void CellQueAsr::CheckNeighbourSignal() {
    ReadNeighbourCell(TRACE_HERE, *this, kNeighbourSlots, kNeighbourRsrp);
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
