// LongSung: reports its data link by unsolicited +DATASTATUS; service always counts as present, and the
// base's dial is all there is. Rows and reports stand in DataStatusDialect.h.
#include "CellSubClass/src/CellLongSung.h"

#include "CellSubClass/src/DataStatusDialect.h"

namespace cc_cell {
namespace {

constexpr char kInterfaceName[] = "wwan0";
constexpr char kVendorName[] = "LONGSUNG";

}  // namespace

const char* CellLongSung::GetInterfaceName() {
    return kInterfaceName;
}

int32_t CellLongSung::Initialize() {
    return InitializeReporting(TRACE_HERE, *this, kVendorName);
}

int32_t CellLongSung::CheckConnection() {
    const AtResult result = AskResult(*this, "AT+DATASTATUS");
    return result.type == kHintDataStatus && result.val == 1;
}

AtResult CellLongSung::ParseAtResult(char* text) {
    return ParseDataStatus(TRACE_HERE, *this, text);
}

int32_t CellLongSung::DealHint(AtResult result) {
    if (FollowDataStatus(*this, result)) return 1;
    return CellBase::DealHint(result);
}

}  // namespace cc_cell
