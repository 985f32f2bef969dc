// The daemon's codes of families of modems, as its log and its status file have them.
#pragma once

#include <cstdint>

namespace soak {

constexpr int64_t kVendorZte = 5;
constexpr int64_t kVendorQuectelQcom = 6;
constexpr int64_t kVendorQuectelUnisoc = 7;
constexpr int64_t kVendorCinterion = 10;

}  // namespace soak
