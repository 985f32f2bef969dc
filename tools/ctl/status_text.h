// What `ravelinctl status` shows, from what was seen: for people, and as JSON.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <string>

#include "tools/board/bus_question.h"
#include "tools/board/link.h"
#include "tools/ctl/command.h"
#include "tools/ctl/terminal.h"

namespace ctl {

/// All that was seen at one moment.
struct Sight {
    std::string folder;
    time_t now = 0;
    board::StatusFiles files;
    board::Surroundings around;
    pid_t process = 0;  // of the daemon, as far as it was found
    board::BusStatus bus;
    board::Link link;
};

struct VerdictRow {
    board::Verdict verdict;
    int exit_status;
    const char* name;     // in JSON
    const char* meaning;  // of the exit status
};

const VerdictRow& RowOf(board::Verdict verdict);
std::vector<ExitStatus> StatusExits();

std::string StatusText(const Sight& sight, const Terminal& terminal);
std::string StatusJson(const Sight& sight, bool on_one_line);

/// What has to differ for a new block of --watch: all but ages and what only counts up.
std::string Fingerprint(const Sight& sight);

}  // namespace ctl
