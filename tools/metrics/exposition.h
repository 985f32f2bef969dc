// Metrics as text for Prometheus, in either of its two formats. What is a metric's value and what it means is
// decided elsewhere (board_metrics.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace metrics {

constexpr int64_t kMilli = 1000;

enum class Type { kGauge, kCounter, kInfo };

struct Label {
    std::string name;
    std::string value;  // valid UTF-8
};

struct Sample {
    std::vector<Label> labels;
    int64_t value_milli = 0;  // in thousandths: no floating point, so no locale and no rounding
};

struct Family {
    std::string name;  // without _total and _info
    Type type = Type::kGauge;
    std::string unit;  // the end of the name; empty: none
    std::string help;
    std::vector<Sample> samples;
    std::optional<int64_t> created_seconds;  // of a counter: when it began to count
};

enum class Format { kText, kOpenMetrics };

/// Families without a sample are left out: what isn't known isn't there.
std::string Exposition(const std::vector<Family>& families, Format format);

/// Text of the modem or the network as the value of a label: valid UTF-8, without control characters, blanks
/// and quotes around it, and of no more than 64 characters.
std::string LabelValue(std::string_view bytes);

}  // namespace metrics
