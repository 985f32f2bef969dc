// NodeCom: reports its data link by unsolicited +DATASTATUS, yet is asked by AT+PKTSTATUS; the dial starts
// the DHCP client itself, so that it is started twice. Rows and reports stand in DataStatusDialect.h.
#include "CellSubClass/src/CellNodeCom.h"

#include <unistd.h>

#include "CellSubClass/src/DataStatusDialect.h"

namespace cc_cell {
namespace {

constexpr char kInterfaceName[] = "usb0";
constexpr char kVendorName[] = "Nodecom";
constexpr unsigned kDialPause_seconds = 10;

}  // namespace

const char* CellNodeCom::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellNodeCom::Initialize() {
    return InitializeReporting(TRACE_HERE, *this, kVendorName);
}

int32_t CellNodeCom::CheckConnection() {
    const AtResult result = AskResult(*this, "AT+PKTSTATUS");
    return result.type == kHintPktstatus && result.val == 1;
}

int32_t CellNodeCom::CheckServiceStatus() {
    return AskRegistration(*this);
}

int32_t CellNodeCom::DoConnect() {
    const int32_t result = CellBase::DoConnect();
    if (result == 0) return 0;
    AtRequest("at+ecmdup=1,1,1,0,0");
    sleep(kDialPause_seconds);
    RunDhcpClient();
    return result;
}

AtResult CellNodeCom::ParseAtResult(char* text) {
    return ParseDataStatus(TRACE_HERE, *this, text);
}

int32_t CellNodeCom::DealHint(AtResult result) {
    if (FollowDataStatus(*this, result)) return 1;
    return CellBase::DealHint(result);
}

}  // namespace cc_cell
