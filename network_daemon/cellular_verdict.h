// The wish for a hardware reset of the modem, on its way from the check that has it up to main.
#pragma once

#include <cstdint>

namespace cc_cell {

/// What a check or a step says about the modem.
enum class Verdict { kGoOn, kNeedsDeviceReset };

/// The number that Connect, CheckNetwork and CheckNetworkDoubleSim return for it: 0 asks for the reset.
constexpr int32_t ResultOf(Verdict verdict) {
    return verdict == Verdict::kNeedsDeviceReset ? 0 : 1;
}

/// The verdict that such a number stands for.
constexpr Verdict VerdictOf(int32_t result) {
    return result == 0 ? Verdict::kNeedsDeviceReset : Verdict::kGoOn;
}

/// What Task returns for it; it returns for no other reason.
constexpr int32_t kTaskWantsDeviceReset = -1;

}  // namespace cc_cell
