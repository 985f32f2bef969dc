// What can go wrong at a charge point: one row a kind. The table in faults.cpp is the only place that knows
// how often, for how long, and how it is told in a scenario.
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include "simulator/soak/random.h"
#include "simulator/soak/story.h"

namespace soak {

/// What is counted as the time to recover.
enum class Measure {
    kFromEnd,    // from the moment when the world is healthy again
    kFromBegin,  // what only a reset ends, or what is over in a moment
};

struct FaultKind {
    const char* name;
    int share;  // how often, beside the others
    int least_seconds;
    int most_seconds;
    Measure measure;
    const char* what;                  // for --list-faults
    bool (*fits)(const Setup& setup);  // null: everywhere
    /// Writes the statements. What they turn is healthy again at `to_ms`, or at the moment returned, which is
    /// later.
    int64_t (*write)(Story& story, Random& random, int64_t from_ms, int64_t to_ms);
};

const std::vector<FaultKind>& FaultKinds();
const FaultKind* FindFaultKind(const std::string& name);

/// The table, for people.
void PrintFaultKinds(FILE* to);

}  // namespace soak
