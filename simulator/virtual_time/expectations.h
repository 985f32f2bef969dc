// Holds a record against what a scenario expects of it.
#pragma once

#include <string>
#include <vector>

#include "simulator/virtual_time/record.h"
#include "simulator/virtual_time/scenario.h"

namespace virtual_time {

/// One message for each expectation that isn't met, with what stood nearest; and one for an end that nobody
/// expected.
std::vector<std::string> CheckExpectations(const Scenario& scenario, const std::vector<RecordEntry>& record);

/// Whether an entry is of that kind, from that place if it is one of the log, and has that text.
bool MatchesEntry(const std::string& kind, const std::string& place, const std::string& text,
                  const RecordEntry& entry);

/// Whether the text is what the pattern says, in which "<any>" stands for any run of characters.
bool MatchesPattern(const std::string& pattern, const std::string& text);

}  // namespace virtual_time
