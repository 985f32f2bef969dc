// What the link does, judged from what the board shows. Only what is to be seen there; docs/ravelinctl.md has
// the rules.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "tools/board/pipe.h"
#include "tools/board/signal.h"
#include "tools/board/status_file.h"

namespace board {

enum class Presence { kUnknown, kThere, kNotThere };

/// Beside the files. What wasn't looked at stays as it is here.
struct Surroundings {
    Presence daemon = Presence::kUnknown;
    bool is_switched_off = false;  // ENABLE=false in the settings
    bool is_flashing = false;      // the firmware tool works
};

struct StatusFiles {
    StatusFile status;
    StatusFile signal;
    StatusFile zte;
};

enum class Verdict { kOnline, kOffline, kStale, kTorn, kMissing, kUnreadable, kNoDaemon };

struct Level {
    Measure measure;
    int value;
    std::optional<Quality> quality;  // none: the value can't be
    std::string source;              // file and key
};

struct Link {
    Verdict verdict = Verdict::kMissing;
    std::optional<long>
        age_seconds;         // of ravelin_status by its Now=; negative when that is ahead of the clock
    bool is_online = false;  // as the file has it
    std::optional<long> uptime_seconds;  // while online
    std::vector<Level> levels;
    std::string waits_for;             // empty where nothing tells
    std::vector<std::string> remarks;  // what is odd
};

/// What three signs of the daemon say together: a process of its name, which may be out of sight; the other
/// end of its pipe; its name on the bus, as far as that was asked.
Presence PresenceOf(bool has_process, PipeState pipe, Presence on_bus = Presence::kUnknown);

StatusFiles ReadStatusFiles(const std::string& folder);

Link Judge(const StatusFiles& files, const Surroundings& around, time_t now);

/// Whether the text of ifcfg-lte switches the link off: its first line ENABLE= says exactly "false".
bool IsSwitchedOff(const std::string& settings);

/// "registered, roaming" of the number that CEREG= and CGREG= have; empty for any other text.
std::string RegistrationText(const std::string& value);

}  // namespace board
