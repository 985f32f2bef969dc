// What a scenario says by itself: the modem, the settings, and what is wrong from when to when. The laws
// judge a record by it, and nothing else about the story is known to them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "simulator/soak/timing.h"
#include "simulator/virtual_time/scenario.h"

namespace soak {

struct Fault {
    std::string name;
    int64_t from_ms;
    int64_t to_ms;
    int line;
};

/// Nothing is wrong from one moment to the other.
struct Healthy {
    int64_t from_ms;
    int64_t to_ms;
};

/// The settings file after one of its changes; without an entry where the scenario takes it away.
struct SettingsChange {
    int64_t at_ms;
    bool is_there;
    std::map<std::string, std::string> values;
};

struct Truth {
    virtual_time::Scenario scenario;
    const FamilyTiming* timing = nullptr;  // null where there is no modem
    ModemTiming modem;
    BoardTiming board;
    bool may_settle = true;             // health leads to a link that is left in peace; see Technology
    bool shows_network_checks = false;  // the log has the debug lines of CheckNetwork and isSoftReset
    int64_t until_ms = 0;
    int64_t recovery_ms = 0;               // see RecoveryBoundSeconds
    int64_t step_ms = 0;                   // see LongestStepSeconds
    int64_t pass_ms = 0;                   // see LongestPassSeconds
    int64_t upgrade_ms = 0;                // the longest that the tool of one takes
    std::vector<Fault> faults;             // by their begin
    std::vector<Healthy> healthy;          // what is left between them
    std::vector<SettingsChange> settings;  // the first at 0

    /// How many faults are there at any time from one moment to the other.
    int FaultsWithin(int64_t from_ms, int64_t to_ms) const;
    bool HasFaultWithin(const char* name, int64_t from_ms, int64_t to_ms) const;
};

/// Reads a scenario with its comments. False with a reason in `problem`.
bool ReadTruth(const std::string& path, const std::string& text, Truth* truth, std::string* problem);

}  // namespace soak
