// One line of a log that holds what the daemon said, taken apart: the local log, a line of syslog in the
// forms that are found on boards, and both at once, as the journal shows what came by standard output. Text
// in, parts out; the parts point into the text.
#pragma once

#include <cstdint>
#include <string_view>

namespace ravelin_log {

constexpr int64_t kSecond_ms = 1000;
constexpr int64_t kMinute_ms = 60 * kSecond_ms;
constexpr int64_t kHour_ms = 60 * kMinute_ms;
constexpr int64_t kDay_ms = 24 * kHour_ms;

/// When a line was written, as far as it says so.
struct Stamp {
    bool has_time = false;
    bool has_day = false;   // `month` and `day` are known
    bool has_zone = false;  // `zone_minutes` is known
    int year = 0;           // 0: not told, as in most forms of syslog
    int month = 0;
    int day = 0;
    int zone_minutes = 0;  // east of Greenwich
    int64_t day_ms = 0;    // since midnight
};

/// Days from 1970-01-01 to that day.
int64_t DaysTo(int year, int month, int day);

/// The reverse.
void DayOf(int64_t days, int* year, int* month, int* day);

struct Place {
    std::string_view file;      // as the log spells it; empty when the line has no place
    std::string_view function;  // without its class
    int line = 0;
};

struct LineParts {
    Stamp stamp;
    bool has_header = false;  // of syslog; `program` is known then
    std::string_view program;
    int process = 0;  // number in brackets after the program; 0: none
    Place place;
    std::string_view message;  // all that follows, or the whole line
};

/// Takes `line`, without its line end, apart. A line that has neither header nor place is all message.
LineParts TakeApart(std::string_view line);

/// Whether `text` begins like a line of the local log: time, place, message. Fills `stamp`, `place` and
/// `message`.
bool TakeLocalPrefix(std::string_view text, LineParts* parts);

/// Where in `text` a line of the local log begins, at `from` or later; npos when none does.
size_t FindLocalPrefix(std::string_view text, size_t from);

}  // namespace ravelin_log
