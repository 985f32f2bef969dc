#include "simulator/soak/status_files.h"

#include <ctime>

#include "simulator/soak/time_units.h"
#include "simulator/virtual_time/environment.h"

namespace soak {

namespace {

constexpr std::string_view kMissing = "(missing)";

// Faults while which the files can't be written.
constexpr const char* kFileFaults[] = {"folder_gone", "status_blocked", "files_full", "files_readonly"};

}  // namespace

bool ReadNow(const std::string& text, int64_t* seconds) {
    tm time = {};
    const char* end = strptime(text.c_str(), "'%a %b %d %H:%M:%S %Y'", &time);
    if (end == nullptr || *end != '\0') return false;
    *seconds = timegm(&time);
    return true;
}

bool FilesWereInTheWay(const Truth& truth, int64_t from_ms, int64_t to_ms) {
    for (const char* fault : kFileFaults) {
        if (truth.HasFaultWithin(fault, from_ms, to_ms)) return true;
    }
    return false;
}

const std::string* Shown::Find(std::string_view key) const {
    for (const auto& line : lines) {
        if (line.first == key) return &line.second;
    }
    return nullptr;
}

bool Gatherer::Take(const Entry& entry, Shown* shown) {
    const bool is_line = entry.kind == EntryKind::kShows && StartsWith(entry.text, path_);
    const std::string_view line = is_line ? entry.text.substr(path_.size()) : "";
    const size_t equals = line.find('=');
    const std::string_view key = line.substr(0, equals);
    // It begins with the first key of its own.
    const bool is_first = is_line && (line == kMissing || key == first_key_);
    const bool is_whole = !gathered_.lines.empty() && (!is_line || is_first);
    if (is_whole) {
        *shown = std::move(gathered_);
        gathered_ = {};
    }
    if (is_line) {
        gathered_.at_ms = entry.at_ms;
        const std::string_view value = equals == std::string_view::npos ? "" : line.substr(equals + 1);
        gathered_.lines.emplace_back(key, value);
    }
    return is_whole;
}

void Clock::Take(const Entry& entry) {
    constexpr std::string_view kJump = "clock ";
    if (entry.kind != EntryKind::kWorld || !StartsWith(entry.text, kJump)) return;
    const std::string_view by = entry.text.substr(kJump.size());
    offset_seconds_ += NumberAt(StartsWith(by, "+") ? by.substr(1) : by, 0);
    jumped_ms_ = entry.at_ms;
}

int64_t Clock::Seconds(int64_t at_ms) const {
    return virtual_time::kWallClockAtStart_seconds + offset_seconds_ + at_ms / kSecond_ms;
}

}  // namespace soak
