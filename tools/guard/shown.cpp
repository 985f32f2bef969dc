#include "tools/guard/shown.h"

#include <algorithm>

#include "tools/guard/core.h"
#include "tools/guard/number.h"

namespace guard {

namespace {

constexpr int64_t kMostShown = 1'000'000'000'000'000;
constexpr int64_t kOld_seconds = 3 * kShownAgain_seconds;

struct NumberRow {
    const char* key;
    int64_t Shown::*field;
};

constexpr NumberRow kShownNumbers[] = {
    {"SoftResets", &Shown::soft_resets},      {"HardResets", &Shown::hard_resets},
    {"HardLastHour", &Shown::hard_last_hour}, {"HardLastDay", &Shown::hard_last_day},
    {"HardPerHour", &Shown::hard_per_hour},   {"HardPerDay", &Shown::hard_per_day},
    {"PauseLeft", &Shown::pause_left},        {"Rounds", &Shown::rounds},
    {"SentBytes", &Shown::sent_bytes},        {"ReceivedBytes", &Shown::received_bytes},
    {"LastAliveAgo", &Shown::alive_ago},      {"Now", &Shown::now},
};

std::string Line(const std::string& key, const std::string& value) {
    return key + "=" + value + "\n";
}

bool TakeShownNumber(std::string_view key, const std::string& value, Shown* shown) {
    for (const NumberRow& row : kShownNumbers) {
        if (key != row.key) continue;
        const bool is_never = row.field == &Shown::alive_ago && value == "-1";
        const std::optional<int64_t> number = is_never ? -1 : ParseNumber(value, 0, kMostShown);
        if (!number) return false;
        shown->*row.field = *number;
    }
    return true;
}

}  // namespace

std::string PrintShown(const Shown& shown) {
    std::string text = Line("State", shown.state) + Line("Acts", shown.acts ? "TRUE" : "FALSE") +
                       Line("Why", shown.why) + Line("Line", shown.line);
    for (const NumberRow& row : kShownNumbers) text += Line(row.key, std::to_string(shown.*row.field));
    return text;
}

std::optional<Shown> ParseShown(std::string_view text) {
    Shown shown;
    bool has_now = false;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        if (end == std::string_view::npos) return {};
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos) return {};
        const std::string_view key = line.substr(0, equals);
        const std::string value(line.substr(equals + 1));
        if (key == "State") shown.state = value;
        if (key == "Acts") shown.acts = value == "TRUE";
        if (key == "Why") shown.why = value;
        if (key == "Line") shown.line = value;
        if (!TakeShownNumber(key, value, &shown)) return {};
        has_now = has_now || key == "Now";
    }
    const std::vector<std::string>& states = StateNames();
    const bool is_known = std::find(states.begin(), states.end(), shown.state) != states.end();
    return is_known && has_now ? std::optional<Shown>(shown) : std::nullopt;
}

bool IsFresh(const Shown& shown, int64_t seconds_since_boot) {
    return shown.now <= seconds_since_boot && seconds_since_boot - shown.now <= kOld_seconds;
}

}  // namespace guard
