// The daemon among the processes of this machine, and a flash of its modem.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace board {

struct DaemonProcess {
    pid_t process = 0;
    std::string log;  // the file after its last -DL, as a path that holds here; empty: standard output
};

/// The process called ravelin-mobile that is root's or our own: anybody may call his so. `proc` is /proc.
std::optional<DaemonProcess> FindDaemon(const std::string& proc = "/proc");

/// The process of a flash that the wrapper of the firmware tool has marked in `folder`, while it lives; else
/// 0.
pid_t RunningFlash(const std::string& folder = "/run/ravelin-flash", const std::string& proc = "/proc");

}  // namespace board
