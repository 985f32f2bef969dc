// Reading modem text from the AT port in blocks that are always terminated texts: answers, what is dropped
// before a command, and unsolicited lines. Main thread.
#pragma once

#include "network_daemon/cellular.h"
#include "support/serial_port.h"

namespace cc_cell {

using AtBlock = char[kAnswerBufferSize];

/// Reads up to kAnswerLimit bytes for all of `wait_ms` into `block` and terminates them, so that nothing of
/// an earlier block shows: on silence and error the text is empty. Whether anything came, which a text that
/// begins with a NUL byte doesn't show.
inline bool ReadBlock(int fd, AtBlock& block, int wait_ms) {
    const int count = ReadSerialTimed(fd, block, kAnswerLimit, wait_ms);
    block[count > 0 ? count : 0] = '\0';
    return count > 0;
}

}  // namespace cc_cell
