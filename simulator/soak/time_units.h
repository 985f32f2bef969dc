#pragma once

#include <cstdint>

namespace soak {

constexpr int64_t kSecond_ms = 1000;
constexpr int64_t kMinute_ms = 60 * kSecond_ms;
constexpr int64_t kHour_ms = 60 * kMinute_ms;
constexpr int64_t kDay_ms = 24 * kHour_ms;

}  // namespace soak
