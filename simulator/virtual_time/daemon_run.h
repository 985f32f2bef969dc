// Runs the real daemon through a scenario, as often as the scenario's supervisor starts it. Unix processes,
// so one at a time for each thread that asks.
#pragma once

#include <string>
#include <vector>

#include "simulator/virtual_time/record_file.h"
#include "simulator/virtual_time/scenario.h"

namespace virtual_time {

constexpr int kDefaultLimit_seconds = 120;

struct DaemonOptions {
    std::string path;                           // of the daemon
    std::string library;                        // the preload library
    std::string preload;                        // another one, to load after ours; may be empty
    std::string emulator;                       // runs the daemon; empty for a daemon of this machine
    std::vector<std::string> environment;       // more variables for the daemon
    int limit_seconds = kDefaultLimit_seconds;  // real time that a run may take
    int record_limit_bytes = kRecordMax_bytes;
};

/// What came of one run.
struct Outcome {
    std::string record;   // whole, with its end
    std::string output;   // of the real standard output and error: what a sanitizer or the loader says
    std::string problem;  // why the run itself failed; empty if it didn't
};

Outcome RunDaemon(const DaemonOptions& options, const Scenario& scenario);

}  // namespace virtual_time
