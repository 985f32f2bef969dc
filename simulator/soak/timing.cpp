#include "simulator/soak/timing.h"

#include <algorithm>

namespace soak {

namespace {

// Waits of the daemon, as docs/recovery.md has them.
constexpr int kHint_seconds = 1;
constexpr int kProbeTries = 3;
constexpr int kProbeRetry_seconds = 5;
constexpr int kServicePause_seconds = 5;
constexpr int kNoSimPause_seconds = 10;
constexpr int kSwitchPause_seconds = 5;
constexpr int kResetPauses_seconds = 5 + 5 + 1;
constexpr int kDisabledPause_seconds = 20;
constexpr int kLooks = 30;
constexpr int kSingleServiceChecks = 34;
constexpr int kDualServiceChecks = 9;
constexpr int kLossChecks = 11;
constexpr int kWeakChecks = 9;
constexpr int kSimTries = 3;
constexpr int kSimRetry_seconds = 1 + 3;  // the exchange and the pause after it
constexpr int kIdentityExchanges = 3;     // what CheckSimCard asks besides
constexpr int kFillIn_seconds = 3;        // missing IMEI and IMSI
constexpr int kUpgradePause_seconds = 10;
constexpr int kPortPause_seconds = 10;
constexpr int kIdentify_seconds = 9 * (1 + 3) + 3;  // with a modem that is silent at first
constexpr int kThermalLimits_seconds = 5;

// Probes of the network, each at its slowest.
constexpr int kDualPings_seconds = 2 + 2 + 10 + 2;
constexpr int kOrlaPings_seconds = 4 * 12;

// Each exchange takes a millisecond more than its wait, and so may the waits be rounded.
constexpr int kRoundingPart = 50;  // one in so many

constexpr FamilyTiming kFamilies[] = {
    {"chuangyi", 12, 0, 7, 1, 10, 1, 1, 0, false, Technology::kHidden},
    {"cinterion", 14, 0, 8, 2, 10, 2, 1, 1, true, Technology::kTold},
    {"fibocom", 14, 22, 8, 2, 16, 1, 2, 0, false, Technology::kTold},
    {"fibocom_le", 12, 22, 9, 2, 16, 1, 11, 1, false, Technology::kTold},
    {"huawei", 13, 0, 7, 2, 10, 1, 1, 0, false, Technology::kReported},
    {"longsung", 17, 0, 7, 0, 9, 1, 1, 0, false, Technology::kHidden},
    {"lynq", 14, 0, 8, 1, 6, 2, 1, 0, false, Technology::kTold},
    {"nodecom", 17, 0, 7, 2, 20, 1, 1, 0, false, Technology::kHidden},
    {"quectel_asr", 15, 0, 9, 3, 10, 1, 2, 1, false, Technology::kTold},
    {"quectel_qcom", 17, 0, 8 + 3, 3, 20, 1, 2, 2, false, Technology::kTold},
    {"quectel_unisoc", 17, 0, 9, 3, 11, 1, 2, 1, false, Technology::kTold},
    {"simcom", 12, 0, 8, 2, 10, 1, 3, 0, false, Technology::kTold},
    {"zte", 16, 0, 8, 2, 19, 2, 1, 3, false, Technology::kTold},
};

/// One pass without service: the hint, the probe that most passes are due for, the check, the pause.
int ServiceCheckSeconds(const FamilyTiming& timing) {
    return kHint_seconds + timing.probe_seconds + timing.service_seconds + kServicePause_seconds;
}

int LostCheckSeconds(const FamilyTiming& timing) {
    return kHint_seconds + timing.probe_seconds + timing.look_seconds + timing.survey_seconds;
}

int AttemptSeconds(const FamilyTiming& timing, int looks) {
    return kHint_seconds + timing.probe_seconds + timing.service_seconds + timing.dial_seconds +
           looks * timing.look_seconds;
}

int WithRounding(int seconds) {
    return seconds + seconds / kRoundingPart + 1;
}

int CeilSeconds(int64_t ms) {
    return static_cast<int>((ms + 999) / 1000);
}

}  // namespace

const FamilyTiming* TimingOf(const std::string& family) {
    for (const FamilyTiming& timing : kFamilies) {
        if (family == timing.family) return &timing;
    }
    return nullptr;
}

int WorstReadSimSeconds(const FamilyTiming& timing) {
    return timing.read_sim_seconds + 2 * kSimTries * kSimRetry_seconds - kIdentityExchanges;
}

int SoftResetSeconds(const FamilyTiming& timing) {
    return timing.set_up_seconds + timing.read_sim_seconds;
}

int WorstSoftResetSeconds(const FamilyTiming& timing) {
    return timing.set_up_seconds + timing.mode_change_seconds + WorstReadSimSeconds(timing);
}

int HardResetSeconds(const FamilyTiming& timing) {
    return kResetPauses_seconds + WorstSoftResetSeconds(timing);
}

int LongestStepSeconds(const FamilyTiming& timing) {
    const int probe = kProbeTries * (timing.probe_seconds + kProbeRetry_seconds);
    const int in_vain = AttemptSeconds(timing, kLooks);
    const int soft =
        kNoSimPause_seconds + kSwitchPause_seconds + kServicePause_seconds + WorstSoftResetSeconds(timing);
    const int longest = std::max({in_vain, soft, HardResetSeconds(timing), kOrlaPings_seconds,
                                  kDualPings_seconds, kDisabledPause_seconds, kUpgradePause_seconds});
    return WithRounding(kHint_seconds + probe + longest);
}

int LongestPassSeconds(const FamilyTiming& timing, const BoardTiming& board) {
    constexpr int kAnsweredPing_seconds = 2 + 1;
    return WithRounding(kHint_seconds + timing.probe_seconds + timing.look_seconds + timing.survey_seconds +
                        kFillIn_seconds + (board.has_two_sims ? kAnsweredPing_seconds : 0) +
                        (board.has_project ? kAnsweredPing_seconds : 0));
}

int RestartSeconds(const FamilyTiming& timing, const ModemTiming& modem, const BoardTiming& board) {
    return CeilSeconds(board.restart_ms) + CeilSeconds(modem.port_gone_ms) + kPortPause_seconds +
           kIdentify_seconds + WorstSoftResetSeconds(timing) + kThermalLimits_seconds;
}

int RecoveryBoundSeconds(const FamilyTiming& timing, const ModemTiming& modem, const BoardTiming& board) {
    // A hardware reset of a modem whose port isn't back in time ends the daemon.
    int hard_reset = CeilSeconds(board.script_ms) + HardResetSeconds(timing);
    if (board.restart_ms > 0) hard_reset += RestartSeconds(timing, modem, board);
    const int reset = timing.resets_instead_of_soft ? hard_reset : SoftResetSeconds(timing);
    // Until the modem has service again after a reset: it boots, starts its SIM and searches.
    const int settle = CeilSeconds(modem.boot_ms + modem.sim_start_ms + modem.search_ms);
    const int wait_for_service = settle + ServiceCheckSeconds(timing);
    const int dial = AttemptSeconds(timing, 1) + CeilSeconds(modem.dial_ms) + timing.look_seconds;

    int longest = std::max(LongestStepSeconds(timing), hard_reset);
    // A link that the modem calls down is given up.
    longest += kLossChecks * LostCheckSeconds(timing);
    // A radio that is off is found out by the checks for service, and mended by the reset that follows.
    const int checks = board.has_two_sims ? kDualServiceChecks : kSingleServiceChecks;
    longest += kHint_seconds + checks * ServiceCheckSeconds(timing) + reset + wait_for_service;
    // With two SIMs the radio technology may be known late.
    if (board.has_two_sims) longest += kWeakChecks * (LostCheckSeconds(timing) + kDualPings_seconds) + reset;
    if (board.has_project) longest += kOrlaPings_seconds;
    // The attempt that follows may be a fifth one.
    longest += hard_reset + wait_for_service;
    longest += dial;
    return WithRounding(longest);
}

int ServiceRoundsSeconds(const FamilyTiming& timing) {
    constexpr int kRounds = 3;
    return WithRounding(kRounds * (kSingleServiceChecks * ServiceCheckSeconds(timing) +
                                   kServicePause_seconds + WorstSoftResetSeconds(timing)));
}

int AttemptsSeconds(const FamilyTiming& timing) {
    constexpr int kInVain = 4;
    return WithRounding(kInVain * AttemptSeconds(timing, kLooks));
}

int WeakChecksSeconds(const FamilyTiming& timing, const ModemTiming& modem) {
    constexpr int kSwitches = 2;
    const int settle = CeilSeconds(modem.sim_start_ms + modem.search_ms) + ServiceCheckSeconds(timing);
    const int dial = AttemptSeconds(timing, 1) + CeilSeconds(modem.dial_ms);
    return WithRounding(kWeakChecks * (LostCheckSeconds(timing) + kDualPings_seconds) +
                        kSwitches * (kSwitchPause_seconds + WorstSoftResetSeconds(timing) + settle + dial));
}

void PrintTimes(FILE* to) {
    fprintf(to, "%-15s %6s %6s %6s %6s %6s %6s %6s %6s\n", "family", "set-up", "SIM", "check", "dial", "look",
            "pass", "step", "back");
    for (const FamilyTiming& timing : kFamilies) {
        fprintf(to, "%-15s %6d %6d %6d %6d %6d %6d %6d %6d\n", timing.family, timing.set_up_seconds,
                timing.read_sim_seconds, timing.service_seconds, timing.dial_seconds, timing.look_seconds,
                LongestPassSeconds(timing, {}), LongestStepSeconds(timing),
                RecoveryBoundSeconds(timing, {}, {}));
    }
}

}  // namespace soak
