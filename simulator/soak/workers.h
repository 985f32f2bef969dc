// Runs many seeds, a few at a time, each in a process of its own: what one leaks or breaks is gone with it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "simulator/soak/generator.h"
#include "simulator/soak/runner.h"
#include "simulator/soak/summary.h"

namespace soak {

struct SoakOptions {
    uint64_t first_seed = 1;
    uint64_t last_seed = 1;
    int jobs = 1;
    bool ends_with_first = false;  // story that breaks a law
    GeneratorOptions generator;
    RunnerOptions runner;
    std::string keep = "soak-violations";  // folder for stories that break a law
};

/// Runs until all seeds are done or somebody presses Ctrl-C. False when a story couldn't be run at all.
bool RunSeeds(const SoakOptions& options, Totals* totals);

}  // namespace soak
