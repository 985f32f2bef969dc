#include "tools/guard/number.h"

#include <cstdlib>

namespace guard {

std::optional<int64_t> ParseNumber(const std::string& text, int64_t least, int64_t most) {
    constexpr size_t kDigits = 18;  // which fit
    if (text.empty() || text.size() > kDigits || text.find_first_not_of("0123456789") != std::string::npos) {
        return {};
    }
    const int64_t value = strtoll(text.c_str(), nullptr, 10);
    if (value < least || value > most) return {};
    return value;
}

}  // namespace guard
