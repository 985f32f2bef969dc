// Reading modem text from the AT port in blocks that are always terminated texts: answers, what is dropped
// before a command, and unsolicited lines. Main thread.
#pragma once

#include "cellular.h"
#include "serial_port.h"

namespace cc_cell {

using AtBlock = char[kAnswerBufferSize];

/// Reads up to kAnswerLimit bytes for all of `wait_ms` and terminates them after the last byte read, so that
/// nothing of an earlier block shows. The number of bytes; 0 or less, and an empty text, on silence or
/// error.
inline int ReadBlock(int fd, AtBlock& block, int wait_ms) {
    const int count = ReadSerialTimed(fd, block, kAnswerLimit, wait_ms);
    block[count > 0 ? count : 0] = '\0';
    return count;
}

}  // namespace cc_cell
