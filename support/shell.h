// Scripts and tools of the board, run through the shell.
#pragma once

#include <cstdlib>

/// Runs `command` and waits for its end. Its exit status is not returned: the next look at the modem or the
/// link says more.
inline void RunShell(const char* command) {
    const int status = system(command);
    (void)status;
}
