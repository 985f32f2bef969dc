// The trace of a run: what happened, in order, each with its virtual time. One line each,
//
//        62.005  sends      AT+CSQ
//
// and the same words are what a scenario expects, so that a line of a trace can be pasted into one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace virtual_time {

struct TraceEntry {
    int64_t at_us;
    std::string kind;  // one of the words below
    std::string text;  // escaped, so that it is one line of printable text
};

/// Every kind of entry; scenario_run.help tells what each means.
const std::vector<std::string>& TraceKinds();
bool IsTraceKind(const std::string& word);

std::string FormatEntry(const TraceEntry& entry);  // with its line end
std::vector<TraceEntry> ParseTrace(const std::string& text);

/// Seconds with three digits behind the point.
std::string FormatSeconds(int64_t microseconds);

/// Printable characters and whole UTF-8 characters stay; \r \n \t \0 \\ and \xHH stand for the others.
std::string Escape(std::string_view bytes);
/// The reverse; \" is a quote. An unknown escape stays as it is.
std::string Unescape(std::string_view text);

}  // namespace virtual_time
