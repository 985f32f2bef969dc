// Wall clock of MkUtils.
#include "support/MkUtils.h"

namespace {

constexpr int64_t kMicrosecondsPerSecond = 1000000;

/// In units of `unit_us` microseconds.
int32_t TimeDifference(const timeval& earlier, const timeval& later, int64_t unit_us) {
    int64_t seconds = 0;
    int64_t difference_us = 0;
    if (__builtin_sub_overflow(later.tv_sec, earlier.tv_sec, &seconds) ||
        __builtin_mul_overflow(seconds, kMicrosecondsPerSecond, &difference_us) ||
        __builtin_add_overflow(difference_us, later.tv_usec, &difference_us) ||
        __builtin_sub_overflow(difference_us, earlier.tv_usec, &difference_us)) {
        return kTimeDifferenceUnknown;
    }
    if (difference_us < 0 || difference_us / unit_us > kTimeDifferenceUnknown) return kTimeDifferenceUnknown;
    return static_cast<int32_t>(difference_us / unit_us);
}

}  // namespace

int32_t GetTimeDifferenceMs(const timeval& earlier, const timeval& later) {
    return TimeDifference(earlier, later, 1000);
}

int32_t GetTimeDifferenceUs(const timeval& earlier, const timeval& later) {
    return TimeDifference(earlier, later, 1);
}

tm GetLocalTime() {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return local;
}
