// The record of a run: what happened, in order, each with its virtual time. One line each,
//
//        62.005  sends      AT+CSQ
//
// and the same words are what a scenario expects, so that a line of a record can be pasted into one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/text/text.h"

namespace virtual_time {

struct RecordEntry {
    int64_t at_us;
    std::string kind;  // one of the words below
    std::string text;  // escaped, so that it is one line of printable text
};

/// Every kind of entry; scenario_run.help says what each means.
const std::vector<std::string>& RecordKinds();
bool IsRecordKind(const std::string& word);

std::string FormatEntry(const RecordEntry& entry);  // with its line end
/// The same for an entry whose text isn't escaped yet, at the end of `text`.
void AppendEntry(int64_t at_us, std::string_view kind, std::string_view bytes, std::string* text);
std::vector<RecordEntry> ParseRecord(const std::string& text);

/// The first lines in which the records of two runs differ, "(over)" for a record that is at its end.
struct RecordDifference {
    std::string first;
    std::string second;
};
std::optional<RecordDifference> FindDifference(const std::string& first, const std::string& second);

/// Seconds with three digits after the point.
std::string FormatSeconds(int64_t microseconds);

using simulator_text::Escape;
using simulator_text::Unescape;

}  // namespace virtual_time
