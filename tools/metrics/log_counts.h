// What one log counts: outages, resets, upgrades, starts. Also by what a log is known again once it has grown
// or was rotated to another name, packed or not.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

namespace metrics {

/// Words of a counter and its labels, such as "reset soft no-service", with its value in thousandths.
using Counts = std::map<std::string, int64_t>;

/// Every counter that there is: no other ever gets out, so that the number of series is bounded.
const std::vector<std::string>& KnownCounts();

/// The beginning of a log: as many bytes as it had when it was seen last, 4096 at most, and their hash.
struct Fingerprint {
    size_t length_bytes = 0;
    uint64_t hash = 0;
};

constexpr size_t kFingerprint_bytes = 4096;

Fingerprint FingerprintOf(const std::string& beginning, size_t length_bytes = kFingerprint_bytes);

struct LogFile {
    std::string name;
    std::string beginning;  // its first whole lines, 4096 bytes at most
    time_t modified = 0;
};

struct LogCounts {
    Counts counts;
    std::string model;  // of the modem, as the log has it last; empty: not told
    std::string cause;  // of the outage that lasts at its end; empty: none
};

/// False with `problem` when it can't be read.
bool OpenLog(const std::string& name, LogFile* log, std::string* problem);

/// Reads the whole log. An outage that lasts at its end is counted only if the log won't go on: its cause may
/// still turn out to be another one.
bool CountLog(const std::string& name, bool is_final, LogCounts* counts, std::string* problem);

}  // namespace metrics
