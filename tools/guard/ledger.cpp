#include "tools/guard/ledger.h"

#include <algorithm>

#include "tools/guard/number.h"

namespace guard {

namespace {

constexpr char kHead[] = "RAVELIN_GUARD_BUDGET=1";
constexpr char kEnd[] = "END";
constexpr int64_t kMostNumber = 1'000'000'000'000;  // seconds and counts; nobody lives to see more
constexpr int kMostPauses = 30;

void Add(const char* key, int64_t value, std::string* text) {
    *text += std::string(key) + "=" + std::to_string(value) + "\n";
}

/// Takes "KEY=value" off the front of `*text`. False: something else stands there.
bool Take(const char* key, std::string* text, std::string* value) {
    const size_t end = text->find('\n');
    const std::string start = std::string(key) + "=";
    if (end == std::string::npos || text->compare(0, start.size(), start) != 0) return false;
    *value = text->substr(start.size(), end - start.size());
    text->erase(0, end + 1);
    return true;
}

bool TakeNumber(const char* key, std::string* text, int64_t* value, int64_t most = kMostNumber) {
    std::string digits;
    if (!Take(key, text, &digits)) return false;
    const std::optional<int64_t> number = ParseNumber(digits, 0, most);
    if (number) *value = *number;
    return number.has_value();
}

}  // namespace

int Ledger::HardSince(int64_t from) const {
    return static_cast<int>(
        std::count_if(hard.begin(), hard.end(), [from](int64_t moment) { return moment > from; }));
}

void Ledger::Forget(int64_t now) {
    hard.erase(std::remove_if(hard.begin(), hard.end(),
                              [now](int64_t moment) { return moment <= now - kDay_seconds; }),
               hard.end());
}

std::string PrintLedger(const Ledger& ledger, const std::string& boot, int64_t now) {
    std::string text = std::string(kHead) + "\nBOOT=" + boot + "\n";
    Add("SAVED", now, &text);
    Add("STAGE", static_cast<int>(ledger.stage), &text);
    // As ages and times to go: they hold after a boot too.
    Add("ASKED_AGO", ledger.stage == Stage::kNone ? 0 : now - ledger.asked_at, &text);
    Add("PAUSES", ledger.pauses, &text);
    Add("PAUSE_LEFT", std::max<int64_t>(ledger.pause_end - now, 0), &text);
    Add("PROVEN", ledger.proven, &text);
    Add("PROVEN_OF", ledger.proven_of, &text);
    Add("SOFT_TOTAL", ledger.soft_total, &text);
    Add("HARD_TOTAL", ledger.hard_total, &text);
    Add("HARD", static_cast<int64_t>(ledger.hard.size()), &text);
    for (const int64_t moment : ledger.hard) Add("HARD_AGO", now - moment, &text);
    return text + kEnd + "\n";
}

std::optional<Ledger> ParseLedger(const std::string& whole, const std::string& boot, int64_t now) {
    std::string text = whole, saved_boot;
    const std::string head = std::string(kHead) + "\n";
    if (text.compare(0, head.size(), head) != 0) return {};
    text.erase(0, head.size());
    Ledger ledger;
    int64_t saved = 0, stage = 0, asked_ago = 0, pauses = 0, pause_left = 0, count = 0;
    if (!Take("BOOT", &text, &saved_boot) || !TakeNumber("SAVED", &text, &saved) ||
        !TakeNumber("STAGE", &text, &stage, static_cast<int>(Stage::kHardAsked)) ||
        !TakeNumber("ASKED_AGO", &text, &asked_ago) || !TakeNumber("PAUSES", &text, &pauses, kMostPauses) ||
        !TakeNumber("PAUSE_LEFT", &text, &pause_left, kDay_seconds) ||
        !TakeNumber("PROVEN", &text, &ledger.proven) || !TakeNumber("PROVEN_OF", &text, &ledger.proven_of) ||
        !TakeNumber("SOFT_TOTAL", &text, &ledger.soft_total) ||
        !TakeNumber("HARD_TOTAL", &text, &ledger.hard_total) ||
        !TakeNumber("HARD", &text, &count, kMostPerDay)) {
        return {};
    }
    // Of another boot, of nobody knows which, or of a moment that is yet to come: saved just now.
    const bool is_of_this_boot = !boot.empty() && saved_boot == boot && saved <= now;
    const int64_t base = is_of_this_boot ? saved : now;
    for (int64_t i = 0; i < count; ++i) {
        int64_t ago = 0;
        if (!TakeNumber("HARD_AGO", &text, &ago)) return {};
        ledger.hard.push_back(base - ago);
    }
    if (text != std::string(kEnd) + "\n") return {};
    std::sort(ledger.hard.begin(), ledger.hard.end());
    // A boot has reset more than a soft reset does: after it one comes first again.
    ledger.stage = is_of_this_boot ? static_cast<Stage>(stage) : Stage::kNone;
    ledger.asked_at = base - asked_ago;
    ledger.pauses = static_cast<int>(pauses);
    ledger.pause_end = base + pause_left;
    ledger.Forget(now);
    return ledger;
}

Ledger SpentLedger(int64_t now) {
    Ledger ledger;
    ledger.hard.assign(kMostPerDay, now);
    return ledger;
}

}  // namespace guard
