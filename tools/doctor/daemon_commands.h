// The programs that the daemon and its scripts run: one table, held against the code by a test.
#pragma once

#include <cstddef>

namespace doctor {

/// When a missing program is a fault of this board, and not just of some.
enum class NeededFor {
    kEverything,
    kProbes,          // with DoubleSIM or ORLA
    kSomeModems,      // SIMCom and LYNQ
    kDriverOfImx6ul,  // Quectel Qualcomm on an i.MX6UL
    kAddress,         // if the board's if-lte names it
    kInitScript,      // boards without systemd
    kUpgrades,        // and the init script
};

struct Program {
    const char* name;  // a path for what isn't looked for in the folders of programs
    bool of_daemon;    // run by the daemon itself
    bool is_builtin;   // of every shell
    NeededFor needed;
    const char* purpose;
};

extern const Program kPrograms[];
extern const size_t kProgramCount;

}  // namespace doctor
