// What a record says of one run of a cell: when the link was good again, and what that took.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace matrix {

enum class Step { kCheck, kDial, kSoftReset, kSwitch, kHardReset, kStart };
constexpr size_t kSteps = 6;

struct Outcome {
    bool is_settled = false;  // good at the end, and left in peace for the last minutes
    bool is_kept = false;     // good all along
    int64_t recovery_ms = 0;  // where it is settled
    // From the fault until it was good again, or for an hour where it never was.
    std::array<int, kSteps> steps = {};
    int hard_resets_per_hour = 0;        // in the fullest hour
    int guard_soft_resets = 0;           // in all, that the guard has asked for
    int guard_hard_resets = 0;           // the same
    int guard_hard_resets_per_hour = 0;  // of these, in the fullest hour
    // At the end the daemon takes the link for good, and the modem has no call.
    bool is_deceived = false;
};

struct OutcomeOptions {
    int64_t from_ms;      // of the fault
    int64_t measured_ms;  // from when the time to recover counts
    int64_t until_ms;
    bool is_of_pipe = false;  // good is when messages are taken
};

Outcome ReadOutcome(std::string_view record, const OutcomeOptions& options);

}  // namespace matrix
