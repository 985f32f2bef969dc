// What LongSung and NodeCom modules word alike: they are set to report their state unsolicited, and report
// the data link by "+DATASTATUS". Called from the drivers' overrides on the main thread; each place is the
// caller's.
#pragma once

#include "CellSubClass/src/CellDriver.h"

namespace cc_cell {

constexpr AtRow kDataStatusRows[] = {
    {15, "ReSeRvEd:", {}, ""},
    {kHintDataStatus, "+DATASTATUS:", {kToVal}, "\r\n"},
    {kHintDataConnect, "^DATACONNECT", {kHintOnly}, ""},
    {kHintDataDisconn, "^DATADISCONN", {kHintOnly}, ""},
};
static_assert(AgreesWithPrefixTable(kDataStatusRows));

// Reports of signal, radio technology, unsolicited results, packet dial and data link.
constexpr const char* kReportUnasked[] = {"AT+SIGNALIND=1", "AT+NWTYPEIND=1", "AT+URCIND=1", "AT+PSDIALIND=1",
                                          "AT+DATASTATUSEN=1"};

/// ParseAtResult of both, with the rows of kDataStatusRows.
AtResult ParseDataStatus(const TracePlace& place, CellBase& cell, char* text);

/// Set-up common to both: the base's, the reports, and `name` as maker and firmware. The result of the base.
int32_t InitializeReporting(const TracePlace& place, CellBase& cell, const char* name);

/// Takes the online state over from a record with type kHintDataStatus. True for such a record. Silent.
bool FollowDataStatus(CellBase& cell, const AtResult& result);

}  // namespace cc_cell
