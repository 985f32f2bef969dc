// What LongSung and NodeCom modules word alike; see DataStatusDialect.h.
#include "CellSubClass/src/DataStatusDialect.h"

#include "support/text_util.h"

namespace cc_cell {

AtResult ParseDataStatus(const TracePlace& place, CellBase& cell, char* text) {
    const AtMatch match = Recognise(cell, kDataStatusRows, text);
    LogMatch(place, kLogProgress, match);
    const AtResult result = TakeFields(match);
    if (result.type == kHintDataStatus) TRACE_AT(place, kLogProgress, "Connect Status:%d\n", result.val);
    return result;
}

int32_t InitializeReporting(const TracePlace& place, CellBase& cell, const char* name) {
    const int32_t result = cell.CellBase::Initialize();
    if (result == 0) return 0;
    SendAll(cell, kReportUnasked);
    CopyText(cell.m_vendor_name, name);
    CopyText(cell.m_fw_version, name);
    TRACE_AT(place, kLogProgress, "m_ModuleName = %s \n", CellBase::m_ModuleName.c_str());
    return result;
}

bool FollowDataStatus(CellBase& cell, const AtResult& result) {
    if (result.type != kHintDataStatus) return false;
    cell.m_online = result.val != 0;
    return true;
}

}  // namespace cc_cell
