#include "support/MkUtils.h"

#include <climits>
#include <ctime>
#include <optional>

#include <gtest/gtest.h>

namespace {

constexpr time_t kNewYear2026 = 1767225600;
std::optional<time_t> now;  // the real time when not set

}  // namespace

extern "C" {
time_t __real_time(time_t* store);

time_t __wrap_time(time_t* store) {
    if (!now) return __real_time(store);
    if (store != nullptr) *store = *now;
    return *now;
}
}

namespace {

struct DifferenceCase {
    const char* name;
    timeval earlier, later;
    int32_t ms, us;
};

TEST(MkUtilsTime, DifferenceInMillisecondsAndMicroseconds) {
    const DifferenceCase cases[] = {
        {"same", {5, 7}, {5, 7}, 0, 0},
        {"one microsecond", {5, 7}, {5, 8}, 0, 1},
        {"truncated", {5, 0}, {5, 1999}, 1, 1999},
        {"over a second's edge", {5, 999999}, {6, 1}, 0, 2},
        {"a second", {5, 500}, {6, 500}, 1000, 1000000},
        {"back by a microsecond", {5, 7}, {5, 6}, INT_MAX, INT_MAX},
        {"back by a second, on by a part", {5, 0}, {4, 999999}, INT_MAX, INT_MAX},
        {"longest in microseconds", {0, 0}, {2147, 483647}, 2147483, INT_MAX},
        {"too long for microseconds", {0, 0}, {2148, 0}, 2148000, INT_MAX},
        {"longest in milliseconds", {0, 0}, {2147483, 647999}, INT_MAX, INT_MAX},
        {"too long for both", {0, 0}, {3000000, 0}, INT_MAX, INT_MAX},
        {"back through all time", {LONG_MAX, 0}, {LONG_MIN, 0}, INT_MAX, INT_MAX},
        {"on through all time", {LONG_MIN, 0}, {LONG_MAX, 0}, INT_MAX, INT_MAX},
    };
    for (const DifferenceCase& test : cases) {
        EXPECT_EQ(test.ms, GetTimeDifferenceMs(test.earlier, test.later)) << test.name;
        EXPECT_EQ(test.us, GetTimeDifferenceUs(test.earlier, test.later)) << test.name;
    }
}

TEST(MkUtilsTime, LocalTimeIsNowInTheLocalZone) {
    setenv("TZ", "XXX-05:30", 1);  // 5 h 30 min ahead of UTC
    tzset();
    now = kNewYear2026;
    tm local = GetLocalTime();
    now.reset();
    EXPECT_EQ(19800, local.tm_gmtoff);
    EXPECT_EQ(kNewYear2026, mktime(&local));
    EXPECT_EQ(5, local.tm_hour);
    EXPECT_EQ(30, local.tm_min);
}

}  // namespace
