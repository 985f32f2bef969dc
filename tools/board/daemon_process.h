// The daemon among the processes of this machine, and a flash of its modem.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace board {

constexpr char kDaemonName[] = "ravelin-mobile";
constexpr char kFlashFolder[] = "/run/ravelin-flash";

struct DaemonProcess {
    pid_t process = 0;
    std::string log;  // the file after its last -DL, as a path that holds here; empty: standard output
};

/// The process called ravelin-mobile that is root's or our own: anybody may call his so. `proc` is /proc.
std::optional<DaemonProcess> FindDaemon(const std::string& proc = "/proc");

/// The process of a flash, and its start: a mark that is left over never fits.
struct FlashMark {
    pid_t process = 0;
    std::string start;
};

/// Of a file's name in the folder of marks, "flash.PID.START"; nothing for other names.
std::optional<FlashMark> ReadFlashMark(const std::string& name);

/// When a process was started, in the words of its /proc/PID/stat; empty when there is none, or it is only a
/// status that nobody has fetched.
std::string StartOf(const std::string& stat);

/// The process of a flash that the wrapper of the firmware tool has marked in `folder`, while it lives; else
/// 0.
pid_t RunningFlash(const std::string& folder = kFlashFolder, const std::string& proc = "/proc");

}  // namespace board
