// Files of the board through the daemon's own readers, so that the doctor never disagrees with the daemon
// about them. The readers get a copy in memory: the file itself is opened for reading alone, and only if it
// is a plain one.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace doctor {

struct SettingsReading {
    bool is_possible = false;  // the copy could be made
    bool is_refused = false;   // the daemon gets no settings from it at all
    std::vector<std::pair<std::string, std::string>> entries;

    /// As the daemon looks a key up: the first one, in any case of letters.
    std::optional<std::string> Find(const std::string& key) const;
};

/// What the daemon makes of settings with these bytes.
SettingsReading ReadSettings(const std::string& bytes);

/// What becomes of one line of the settings, with its line end if it has one.
struct LineReading {
    enum class Fate { kTaken, kDropped, kRefusesFile } fate = Fate::kDropped;
    std::vector<std::pair<std::string, std::string>>
        entries;  // more than one from a line that is read in pieces
};
LineReading ReadSettingsLine(const std::string& line);

}  // namespace doctor
