// The files in which the daemon shows its state, read and judged; docs/status-files.md says what is in them.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "tools/board/text_file.h"

namespace board {

constexpr char kStatusFolder[] = "/run/network";
constexpr char kStatusName[] = "ravelin_status";
constexpr char kSignalName[] = "signal_status";
constexpr char k3630Name[] = "3630_status";

// The longest pass of the daemon takes some 80 s, and up to 48 s more when no ping is answered.
constexpr int kStale_seconds = 180;

enum class StatusState {
    kWhole,
    kTorn,  // caught while it was being written, or cut
    kMissing,
    kNoFile,
    kTooLarge,
    kNotReadable,
};

struct StatusLine {
    std::string key;
    std::string value;  // any bytes but a line end
};

struct StatusFile {
    std::string name;
    StatusState state = StatusState::kMissing;
    std::string problem;                 // in words, unless whole
    std::vector<StatusLine> lines;       // of a whole file, in their order
    std::vector<std::string> strangers;  // lines of a whole file that the daemon doesn't write
    std::vector<std::string> repeated;   // keys that are there twice: some text brought a line end along
    std::optional<time_t> written;       // by its Now=
    time_t modified = 0;                 // by the file system

    /// The value of the first line with this key; null when there is none.
    const std::string* Find(const std::string& key) const;
    /// The same, empty when there is none.
    std::string Get(const std::string& key) const;
};

/// Whether the text ends as a whole file does, with its line Now= and a line end.
bool IsWhole(const std::string& text);

/// Takes the text of the file `name` apart, which is judged to be torn or whole.
StatusFile ParseStatus(const std::string& name, const std::string& text);

/// Reads the file, up to five times while it is torn. A tenth of a second is between two tries, `pause_us`
/// else.
StatusFile ReadStatusFile(const std::string& folder, const std::string& name, unsigned pause_us = 100000);

/// Of "Thu Jan  1 00:05:10 2026", local time. An hour that the clock goes through twice is the one nearer to
/// `hint`.
std::optional<time_t> ParseNow(const std::string& text, time_t hint);

/// Of "01:02:05", where hours go beyond 99.
std::optional<long> ParseUptime(const std::string& text);

}  // namespace board
