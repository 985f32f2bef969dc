// One line taken apart: the local log, the forms of syslog, what only looks like a line, and what must not
// reach a terminal.
#include <string>

#include <gtest/gtest.h>

#include "tools/log/line.h"

namespace ravelin_log {
namespace {

struct LineCase {
    const char* name;
    const char* line;
    bool has_header;
    const char* program;
    int process;
    const char* function;
    const char* message;
    int64_t day_ms;   // -1: no time
    const char* day;  // "year-month-day" with 0 for an unknown year; "": none
};

std::string DayText(const Stamp& stamp) {
    if (!stamp.has_day) return "";
    return std::to_string(stamp.year) + "-" + std::to_string(stamp.month) + "-" + std::to_string(stamp.day);
}

class TakeApartTest : public testing::TestWithParam<LineCase> {};

TEST_P(TakeApartTest, FindsTheParts) {
    const LineCase& row = GetParam();
    const LineParts parts = TakeApart(row.line);
    EXPECT_EQ(parts.has_header, row.has_header);
    EXPECT_EQ(parts.program, row.program);
    EXPECT_EQ(parts.process, row.process);
    EXPECT_EQ(parts.place.function, row.function);
    EXPECT_EQ(parts.message, row.message);
    EXPECT_EQ(parts.stamp.has_time ? parts.stamp.day_ms : -1, row.day_ms);
    EXPECT_EQ(DayText(parts.stamp), row.day);
}

constexpr int64_t kAt_ms = 3 * kHour_ms + 12 * kMinute_ms + 7 * kSecond_ms;
#define TASK_PLACE "network_daemon/cellular_task.cpp:Task:123:"

constexpr LineCase kLines[] = {
    {"local", "03:12:07.47 " TASK_PLACE "No response! Reset device...", false, "", 0, "Task",
     "No response! Reset device...", kAt_ms + 47, ""},
    {"milliseconds_of_one_digit", "03:12:07.7 " TASK_PLACE "x", false, "", 0, "Task", "x", kAt_ms + 7, ""},
    {"no_message", "03:12:07.0 " TASK_PLACE, false, "", 0, "Task", "", kAt_ms, ""},
    {"colons_in_message", "03:12:07.0 " TASK_PLACE "a:b:c", false, "", 0, "Task", "a:b:c", kAt_ms, ""},
    {"zeros_of_a_power_cut", "03:12:07.0 " TASK_PLACE "x", false, "", 0, "Task", "x", kAt_ms, ""},
    {"no_place", "03:12:07.47 No response!", false, "", 0, "", "03:12:07.47 No response!", -1, ""},
    {"no_source", "03:12:07.47 a/b.txt:Task:1:x", false, "", 0, "", "03:12:07.47 a/b.txt:Task:1:x", -1, ""},
    {"no_time", "25:12:07.47 " TASK_PLACE "x", false, "", 0, "", "25:12:07.47 " TASK_PLACE "x", -1, ""},
    {"torn", "03:12:07.47 network_daemon/cellul", false, "", 0, "", "03:12:07.47 network_daemon/cellul", -1,
     ""},
    {"modem_text", "No response! Reset device...", false, "", 0, "", "No response! Reset device...", -1, ""},
    {"empty", "", false, "", 0, "", "", -1, ""},
    {"syslog", "Nov 22 03:12:07 board ravelin-mobile[77]: Soft reset!", true, "ravelin-mobile", 77, "",
     "Soft reset!", kAt_ms, "0-11-22"},
    {"syslog_day_of_one_digit", "Nov  2 03:12:07 board ravelin-mobile[77]: Soft reset!", true,
     "ravelin-mobile", 77, "", "Soft reset!", kAt_ms, "0-11-2"},
    {"busybox", "Nov 22 03:12:07 board daemon.info ravelin-mobile[77]: x", true, "ravelin-mobile", 77, "",
     "x", kAt_ms, "0-11-22"},
    {"without_host", "Nov 22 03:12:07 ravelin-mobile: x", true, "ravelin-mobile", 0, "", "x", kAt_ms,
     "0-11-22"},
    {"priority", "<30>Nov 22 03:12:07 board ravelin-mobile[77]: x", true, "ravelin-mobile", 77, "", "x",
     kAt_ms, "0-11-22"},
    {"year_in_syslog", "Nov 22 2025 03:12:07 board ravelin-mobile[77]: x", true, "ravelin-mobile", 77, "",
     "x", kAt_ms, "2025-11-22"},
    {"microseconds", "Nov 22 03:12:07.470001 board ravelin-mobile[77]: x", true, "ravelin-mobile", 77, "",
     "x", kAt_ms + 470, "0-11-22"},
    {"iso", "2026-11-22T03:12:07+01:00 board ravelin-mobile[77]: x", true, "ravelin-mobile", 77, "", "x",
     kAt_ms, "2026-11-22"},
    {"iso_of_journalctl", "2026-11-22T03:12:07.047+0100 board ravelin-mobile[77]: x", true, "ravelin-mobile",
     77, "", "x", kAt_ms + 47, "2026-11-22"},
    {"iso_in_utc", "2026-11-22T03:12:07Z board ravelin-mobile[77]: x", true, "ravelin-mobile", 77, "", "x",
     kAt_ms, "2026-11-22"},
    {"short_full", "Sun 2026-11-22 03:12:07 UTC board ravelin-mobile[77]: x", true, "ravelin-mobile", 77, "",
     "x", kAt_ms, "2026-11-22"},
    {"rfc_5424", "<30>1 2026-11-22T03:12:07Z board ravelin-mobile 77 - - x y", true, "ravelin-mobile", 77, "",
     "x y", kAt_ms, "2026-11-22"},
    {"rfc_5424_with_data", "<30>1 2026-11-22T03:12:07Z board ravelin-mobile 77 - [a b=\"c\"] x", true,
     "ravelin-mobile", 77, "", "x", kAt_ms, "2026-11-22"},
    {"empty_message", "Nov 22 03:12:07 board ravelin-mobile[77]:", true, "ravelin-mobile", 77, "", "", kAt_ms,
     "0-11-22"},
    {"journal_of_standard_output", "Nov 22 03:12:07 board ravelin-mobile[77]: 04:12:08.9 " TASK_PLACE "x",
     true, "ravelin-mobile", 77, "Task", "x", kAt_ms, "0-11-22"},
    {"no_month", "Nix 22 03:12:07 board ravelin-mobile[77]: x", false, "", 0, "",
     "Nix 22 03:12:07 board ravelin-mobile[77]: x", -1, ""},
    {"no_such_day", "2026-13-22T03:12:07 board ravelin-mobile[77]: x", false, "", 0, "",
     "2026-13-22T03:12:07 board ravelin-mobile[77]: x", -1, ""},
};

INSTANTIATE_TEST_SUITE_P(Lines, TakeApartTest, testing::ValuesIn(kLines),
                         [](const auto& row) { return row.param.name; });

TEST(TakeApart, PassesOverTheZerosOfAPowerCut) {
    const std::string line = std::string(3000, '\0') + "03:12:07.47 " TASK_PLACE "x";
    EXPECT_EQ(TakeApart(line).message, "x");
    EXPECT_EQ(TakeApart(line).place.line, 123);
}

TEST(TakeApart, KnowsTheZone) {
    EXPECT_EQ(TakeApart("2026-11-22T03:12:07+01:30 b ravelin[1]: x").stamp.zone_minutes, 90);
    EXPECT_EQ(TakeApart("2026-11-22T03:12:07-0800 b ravelin[1]: x").stamp.zone_minutes, -480);
    EXPECT_FALSE(TakeApart("2026-11-22T03:12:07 b ravelin[1]: x").stamp.has_zone);
}

TEST(FindLocalPrefix, FindsALineWithinALine) {
    const std::string text = "03:12:07.1 " TASK_PLACE "Do con03:12:08.2 " TASK_PLACE "x";
    EXPECT_EQ(FindLocalPrefix(text, 1), text.rfind("03:12:08"));
    EXPECT_EQ(FindLocalPrefix(text, 0), 0U);
    EXPECT_EQ(FindLocalPrefix("12:30:00 no line", 0), std::string::npos);
}

TEST(Days, AreThoseOfTheCalendar) {
    EXPECT_EQ(DaysTo(1970, 1, 1), 0);
    EXPECT_EQ(DaysTo(2000, 3, 1), 11017);
    EXPECT_EQ(DaysTo(2026, 11, 22), 20779);
    for (const int64_t days : {-1, 0, 58, 59, 365, 11016, 20779, 24855}) {
        int year = 0;
        int month = 0;
        int day = 0;
        DayOf(days, &year, &month, &day);
        EXPECT_EQ(DaysTo(year, month, day), days);
    }
}

}  // namespace
}  // namespace ravelin_log
