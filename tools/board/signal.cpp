#include "tools/board/signal.h"

#include <cctype>
#include <cstdlib>
#include <iterator>

namespace board {

namespace {

struct Scale {
    const char* name;
    const char* unit;
    int least, most;  // what can be
    int limits[4];    // above which it is excellent, good, fair, poor
};

// In the order of Measure.
constexpr Scale kScales[] = {
    {"RSRP", "dBm", -156, -31, {-85, -95, -105, -115}},
    {"RSRQ", "dB", -34, 3, {-10, -13, -16, -20}},
    {"SINR", "dB", -23, 40, {20, 13, 5, 0}},
    {"RSSI", "dBm", -120, -20, {-65, -75, -85, -95}},
};

constexpr const char* kWords[] = {"excellent", "good", "fair", "poor", "very poor"};

constexpr int kCsqMost = 31;

const Scale& ScaleOf(Measure measure) {
    return kScales[static_cast<size_t>(measure)];
}

}  // namespace

const char* NameOf(Measure measure) {
    return ScaleOf(measure).name;
}

const char* UnitOf(Measure measure) {
    return ScaleOf(measure).unit;
}

const char* WordFor(Quality quality) {
    return kWords[static_cast<size_t>(quality)];
}

std::optional<Quality> Rate(Measure measure, int value) {
    const Scale& scale = ScaleOf(measure);
    if (value < scale.least || value > scale.most) return {};
    size_t quality = 0;
    while (quality < std::size(scale.limits) && value <= scale.limits[quality]) ++quality;
    return static_cast<Quality>(quality);
}

std::optional<int> ParseLevel(const std::string& text) {
    constexpr size_t kDigits = 9;
    const size_t start = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    size_t end = start;
    while (end < text.size() && isdigit(static_cast<unsigned char>(text[end])) != 0) ++end;
    const std::string unit = text.substr(end);
    if (end == start || end - start > kDigits || (!unit.empty() && unit != "dB" && unit != "dBm")) return {};
    return static_cast<int>(strtol(text.c_str(), nullptr, 10));
}

std::optional<int> RssiOfCsq(int csq) {
    if (csq < 0 || csq > kCsqMost) return {};
    return -113 + 2 * csq;
}

}  // namespace board
