// What the guard must not forget: its resets, which its budget counts, and how far it has got. Its moments
// are seconds since boot. After a boot nobody knows how long the board was off, so that time counts as none:
// the budget may be held too long that way, never too short. No clock that can be set has a part in it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace guard {

constexpr int64_t kHour_seconds = 3600;
constexpr int64_t kDay_seconds = 24 * kHour_seconds;
constexpr int kMostPerHour = 6;
constexpr int kMostPerDay = 24;

enum class Stage { kNone, kSoftAsked, kHardAsked };

struct Ledger {
    std::vector<int64_t> hard;  // of the last day, the oldest first
    Stage stage = Stage::kNone;
    int64_t asked_at = 0;   // the last reset, where stage isn't kNone
    int pauses = 0;         // taken without an hour of life since
    int64_t pause_end = 0;  // no soft reset before
    // Probes that have been answered once, a bit each, of the settings with this number: others are no
    // witnesses.
    int64_t proven = 0;
    int64_t proven_of = 0;
    int64_t soft_total = 0;
    int64_t hard_total = 0;

    int HardSince(int64_t from) const;
    /// Drops what no budget asks for any more.
    void Forget(int64_t now);
};

/// Lines KEY=value that end with the line END.
std::string PrintLedger(const Ledger& ledger, const std::string& boot, int64_t now);

/// The same read again at `now`. Nothing for a text that isn't whole, or can't be.
std::optional<Ledger> ParseLedger(const std::string& text, const std::string& boot, int64_t now);

/// For a text that can't be read: all resets of a day were made just now.
Ledger SpentLedger(int64_t now);

}  // namespace guard
