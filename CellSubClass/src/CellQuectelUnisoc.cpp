// Quectel on Unisoc: the call is made and watched by AT+QNETDEVCTL, after AT+QICSGP has given the module
// the APN and the account.
#include "CellSubClass/src/CellQuectelUnisoc.h"

#include "CellSubClass/src/CellDriver.h"
#include "CellSubClass/src/QuectelDialect.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr AtRow kRows[] = {
    {34, "ReSeRvEd:", {}, ""},
    kQnwinfoRow,
    kQcrmcallRow,  // nothing here asks for it
    {kHintQnetdevstatus, "+QNETDEVSTATUS:", {}, ""},
    kQccidRow,
    kQnetdevctlRow,
    {kHintQtemp, "+QTEMP:", {}, ""},
    kQengRow,
};
static_assert(AgreesWithPrefixTable(kRows));

constexpr QuectelSetUp kSetUp = {
    "AT+qcfg=\"usbnet\",1",  // usb_command
    true,                    // takes_context
    "Quectel",               // maker
    20,                      // revision_limit
    "EC200-Uni",             // unknown_firmware
};

constexpr char kInterfaceName[] = "wwan0";
constexpr size_t kNeighbourSlots = 12;
constexpr size_t kNeighbourRsrp = 4;

}  // namespace

const char* CellEC200G::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellEC200G::Initialize() {
    return InitializeQuectel(TRACE_HERE, *this, kSetUp);
}

int32_t CellEC200G::DisConnect() {
    HangUp(*this, "AT+QNETDEVCTL=0\r\n");
    return CellBase::DisConnect();
}

int32_t CellEC200G::CheckConnection() {
    return CheckNetDevCtl(TRACE_HERE, *this);
}

int32_t CellEC200G::CheckSimCard() {
    return CheckSimCardAndIccid(*this, "AT+QCCID", kHintQccid);
}

int32_t CellEC200G::CheckServiceStatus() {
    return AskRegistrationFromCreg(TRACE_HERE, *this);
}

void CellEC200G::CheckSignalStatus() {
    ReadServingCell(TRACE_HERE, *this);
}

void CellEC200G::CheckNeighbourSignal() {
    ReadNeighbourCell(TRACE_HERE, *this, kNeighbourSlots, kNeighbourRsrp);
}

int32_t CellEC200G::ReadCSQ() {
    AskNetworkType(*this, "AT+QNWINFO");
    return CellBase::ReadCSQ();
}

int32_t CellEC200G::DoConnect() {
    const int32_t result = CellBase::DoConnect();
    if (result == 0) return 0;
    SendContextAtDial(TRACE_HERE, *this);
    AtRequest("AT+QNETDEVCTL=1,1,1\r\n");  // a failed call is found by CheckConnection
    return result;
}

AtResult CellEC200G::ParseAtResult(char* text) {
    const AtMatch match = Recognise(*this, kRows, text);
    LogMatch(TRACE_HERE, kLogDebug, match);
    if (match.Is(kHintQcrmcall)) TRACE(kLogProgress, "AT$QCRMCALL=1,1 return %s\n", match.text);
    return TakeQuectelFields(TRACE_HERE, *this, match);
}

}  // namespace cc_cell
