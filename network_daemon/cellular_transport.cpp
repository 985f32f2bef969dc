// The exchange with the modem: one command, one fixed wait, one block of text. Nothing looks for a final
// result code: whatever came within the wait is the answer, and the caller searches it. That wait paces the
// whole engine. Main thread only: the answers lie in static buffers.
#include "network_daemon/cellular.h"

#include <cstdio>
#include <cstring>

#include "network_daemon/cellular_port.h"
#include "support/serial_port.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr int kLineEndLength = 2;
constexpr int kDrainWait_ms = 1;
constexpr int kAnswerWait_ms = 1000;

/// Drops what arrived since the last read: late parts of an earlier answer and unsolicited lines alike.
void Drain(const TracePlace& place, int fd, AtBlock& block) {
    while (ReadBlock(fd, block, kDrainWait_ms)) TRACE_AT(place, kLogDebug, "Redundance:%s \n", block);
}

/// The line end is a write of its own, also after a command that already has one: some modems are asked that
/// way.
void WriteCommand(int fd, const char* command) {
    WriteSerial(fd, command, strlen(command));
    WriteSerial(fd, kLineEnd, kLineEndLength);
}

/// Leaves the answer in `answer`, empty on silence, after a failed write and on a dead port.
void Exchange(const TracePlace& place, int fd, const char* command, AtBlock& answer, int wait_ms) {
    memset(answer, 0, sizeof answer);  // after a NUL byte of this answer stands nothing of the last one
    Drain(place, fd, answer);
    WriteCommand(fd, command);
    ReadBlock(fd, answer, wait_ms);
}

}  // namespace

char* CellBase::AtRequest(const char* command) {
    static AtBlock answer;
    Exchange(TRACE_HERE, m_cell_fd, command, answer, kAnswerWait_ms);
    TRACE(kLogDebug, "\nfd=%d,AT WRITE:\n%s\nAT RETURN:%s\n", m_cell_fd, command, answer);
    return answer;
}

char* CellBase::AtRequest_xs(const char* command, int seconds) {
    static AtBlock answer;
    Exchange(TRACE_HERE, m_cell_fd, command, answer, seconds * 1000);
    TRACE(kLogDebug, "\nAT WRITE:\n%s\nAT RETURN:%s\n", command, answer);
    return answer;
}

void CellBase::DebugTerminal() {
    char* line = nullptr;  // getdelim makes room for a line of any length
    size_t line_size = 0;
    AtBlock block;

    printf("\n=================================DBG MODE=================================");
    fflush(stdout);
    for (;;) {
        if (getdelim(&line, &line_size, '\n', stdin) < 0) {
            clearerr(stdin);  // a terminal goes on after Ctrl-D, and reading again is all there is to do
            continue;
        }
        line[strcspn(line, kLineEnd)] = '\0';
        WriteCommand(m_cell_fd, line);
        while (ReadBlock(m_cell_fd, block, kAnswerWait_ms)) {
            printf("%s", block);
            fflush(stdout);
        }
    }
}

}  // namespace cc_cell
