// Reads a record entry by entry, without copies: a run of some days has hundreds of thousands of them.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace soak {

enum class EntryKind {
    kSends,
    kHears,
    kRuns,
    kAsks,
    kLogs,
    kDebugs,
    kForwards,
    kPrints,
    kComplains,
    kPublishes,
    kShows,
    kModem,
    kWorld,
    kBus,
    kBroken,
    kEnds,
    kGuard,
    kOther,
};

struct Entry {
    int64_t at_ms;
    EntryKind kind;
    std::string_view text;  // escaped, as in the record
};

/// Calls `take` for each whole line of a record.
void ReadRecord(std::string_view record, const std::function<void(const Entry&)>& take);

/// A line of the log: FILE:FUNCTION:LINE and the message.
struct LogLine {
    std::string_view file;
    std::string_view function;
    std::string_view message;
};
LogLine SplitLogLine(std::string_view text);

bool StartsWith(std::string_view text, std::string_view start);
bool Contains(std::string_view text, std::string_view part);

/// The whole number that `text` begins with, and `fallback` where there is none.
int64_t NumberAt(std::string_view text, int64_t fallback = -1);
/// Whether escaped bytes are nothing but the answer to AT+CSQ, with or without echo.
bool ReadSignalAnswer(std::string_view bytes, int64_t* csq);

/// The number after `start` in a text that begins with it.
int64_t NumberAfter(std::string_view text, std::string_view start);

}  // namespace soak
