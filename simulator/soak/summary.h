// The figures of many runs: written and read between processes, and told to people.
#pragma once

#include <cstdio>
#include <string>

#include "simulator/soak/judge.h"

namespace soak {

/// What a worker hands to the process that started it, as lines of text.
std::string WriteVerdict(const Verdict& verdict);
bool ReadVerdict(const std::string& text, Verdict* verdict);

struct Totals {
    int64_t seeds = 0;
    int64_t violations = 0;
    int64_t not_reproducible = 0;  // stories that broke a law, and had another record the second time
    int64_t failed = 0;            // stories that couldn't be run, or judged, to their end
    double cpu_seconds = 0;
    Figures figures;
};

void PrintSummary(const Totals& totals, FILE* to);

}  // namespace soak
