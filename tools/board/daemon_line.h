// What the daemon itself says in a line of its log, for those who act on it.
#pragma once

#include <optional>
#include <string_view>

namespace board {

/// Points into the line.
struct DaemonLine {
    std::string_view function;  // empty in most forms of syslog
    std::string_view message;
};

/// Nothing for a line of the local log without the daemon's place in front: at level 7 the modem's words
/// stand there, and an SMS may say anything. In syslog any program's lines count, since a board's own bus
/// library has a name of its own.
std::optional<DaemonLine> ReadDaemonLine(std::string_view line);

}  // namespace board
