// What LongSung and NodeCom modules have alike: reports, and the rows of them.
#pragma once

#include <vector>

#include "tests/support/driver_facts.h"

namespace cc_cell {

inline const std::vector<Step> kDataStatusReports = {
    {"AT+SIGNALIND=1"}, {"AT+NWTYPEIND=1"}, {"AT+URCIND=1"}, {"AT+PSDIALIND=1"}, {"AT+DATASTATUSEN=1"}};

inline const std::vector<RowFacts> kDataStatusRowFacts = {
    Placeholder(15),
    Numbers(16, "+DATASTATUS:", "\r\n", " 1\r\n", {kVal}, {"5 Connect Status:{}\n"}),
    {17, "^DATACONNECT", RowKind::kBareHint, "1,2"},
    {18, "^DATADISCONN", RowKind::kBareHint, "1,2"},
};

}  // namespace cc_cell
