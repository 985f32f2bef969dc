// How a target cuts its input where it wants several texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// ASCII's own separator of records; no modem and no script sends it.
constexpr char kRecordSeparator = '\x1e';

/// The parts between the separators; an empty input is one empty part.
inline std::vector<std::string> SplitInput(const uint8_t* bytes, size_t size, char separator) {
    std::vector<std::string> parts(1);
    for (size_t i = 0; i < size; ++i) {
        if (bytes[i] == static_cast<uint8_t>(separator)) {
            parts.emplace_back();
        } else {
            parts.back() += static_cast<char>(bytes[i]);
        }
    }
    return parts;
}
