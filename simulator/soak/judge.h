// Reads one record with all laws at once, and counts what the summary tells.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/soak/laws.h"

namespace soak {

/// What became of one kind of fault.
struct FaultFigures {
    int64_t count = 0;
    int64_t kept = 0;       // the daemon called itself online all along
    int64_t meanwhile = 0;  // the link was lost, and up for good before the fault was over
    std::map<int64_t, int64_t>
        recovery_seconds;  // how often a recovery took so long; only of faults that came alone
};

struct Figures {
    int64_t simulated_ms = 0;
    int64_t online_ms = 0;
    int64_t runs = 0;  // of the daemon
    int64_t soft_resets = 0;
    int64_t hard_resets = 0;
    int64_t sim_switches = 0;
    int64_t misled = 0;  // runs in which the modem was taken for another family's
    std::map<std::string, FaultFigures> faults;

    void Add(const Figures& other);
};

struct Verdict {
    std::vector<Violation> violations;  // the first of each law, by time
    Figures figures;
    std::string difference;  // the first one of a second run's record, where it isn't the same
};

Verdict JudgeRecord(const Truth& truth, std::string_view record);

}  // namespace soak
