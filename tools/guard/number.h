// Whole numbers in texts of others.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace guard {

/// Digits and nothing else, from `least` to `most`.
std::optional<int64_t> ParseNumber(const std::string& text, int64_t least, int64_t most);

}  // namespace guard
