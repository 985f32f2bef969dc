// Which metrics a board has: names, units and help, and what they are worth. docs/ravelinctl.md lists them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/board/link.h"
#include "tools/guard/shown.h"
#include "tools/metrics/exposition.h"
#include "tools/metrics/log_counts.h"

namespace metrics {

struct Seen {
    board::StatusFiles files;
    board::Link link;
    bool shows_identity = false;  // numbers of SIM and modem
    // Of the logs. `counts` is empty when none could be read: then nothing is counted.
    std::optional<bool> log_was_read;  // none: no log was asked for
    std::optional<Counts> counts;
    int64_t created_seconds = 0;
    std::string model;
    std::string cause;                  // of the outage that lasts
    std::optional<guard::Shown> guard;  // what ravelin-guard shows, where there is one
    bool guard_runs = false;
};

/// A value that isn't known has no sample, and a family without samples isn't shown.
std::vector<Family> BoardMetrics(const Seen& seen);

}  // namespace metrics
