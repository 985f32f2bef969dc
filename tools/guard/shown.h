// What the guard shows of itself, as lines KEY=value, for other programs. docs/guard.md explains each key.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace guard {

constexpr char kShownPath[] = "/run/ravelin-guard/state";
constexpr int64_t kShownAgain_seconds = 60;  // at the latest

struct Shown {
    std::string state;
    bool acts = false;
    std::string why;  // not
    int64_t soft_resets = 0;
    int64_t hard_resets = 0;
    int64_t hard_last_hour = 0;
    int64_t hard_last_day = 0;
    int64_t hard_per_hour = 0;
    int64_t hard_per_day = 0;
    int64_t pause_left = 0;
    int64_t rounds = 0;
    int64_t sent_bytes = 0;
    int64_t received_bytes = 0;
    int64_t alive_ago = -1;  // -1: not yet
    std::string line;        // that was logged last
    int64_t now = 0;         // seconds since boot
};

std::string PrintShown(const Shown& shown);

/// Nothing for a text without a state that the guard has, or with a number that can't be. Other keys are
/// passed over.
std::optional<Shown> ParseShown(std::string_view text);

/// Whether a guard that runs has written it: another boot's, or an old one's, isn't.
bool IsFresh(const Shown& shown, int64_t seconds_since_boot);

}  // namespace guard
