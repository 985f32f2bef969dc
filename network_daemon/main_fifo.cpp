// The control channel of the board's scripts: lines of key:value words through a named pipe. Owns the pipe
// for the life of the process: makes it, listens, and makes it anew when it goes away or breaks. Started by
// main before the modem's port is opened; all of this file runs on that one thread, so its state needs no
// lock. What it asks of the driver are two one-byte requests, which Task polls.
#include "network_daemon/main.h"

#include <fcntl.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#include "support/shell.h"

namespace {

using cc_cell::CellBase;

constexpr char kPipePath[] = "/run/network/ravelin_fifo";
constexpr char kRemovePipe[] = "rm -rf /run/network/ravelin_fifo";
constexpr mode_t kPipeMode = 0660;
constexpr int kNoPipe = -1;
constexpr size_t kMessageSize = 512;
constexpr time_t kListen_seconds = 5;
constexpr double kStatusAge_seconds = 60.0;

/// A message that holds this is shown, and no key in it is looked at. Visible to the scripts, keep.
constexpr char kDhcpMark[] = "udhcpc";

/// Printed with the scripts' "offline". Nothing counts it up: the 0 is visible outside, keep.
int32_t fifo_status_index = 0;
/// When the scripts last reported the modem's state, or when that was last found to be old. Nothing acts on
/// it: visible to a debugger, keep.
time_t fifo_status_time;

struct ControlPipe {
    int fd = kNoPipe;
    fd_set readable;       // for the next select, which leaves its answer here
    timeval timeout = {};  // the same
    // Ordinary messages leave their bytes behind, with zeros where they were cut: a message without a line
    // end runs on into them. The byte after the message's room is always zero.
    char message[kMessageSize + 1] = {};
};

/// A descriptor that doesn't fit into select's set counts as none.
int OpenPipe() {
    const int fd = open(kPipePath, O_RDWR | O_NONBLOCK);  // own writer: no end of file between two others
    if (fd < FD_SETSIZE) return fd;
    close(fd);
    return kNoPipe;
}

void Arm(ControlPipe& pipe) {
    pipe.timeout = {kListen_seconds, 0};
    FD_ZERO(&pipe.readable);
    if (pipe.fd != kNoPipe) FD_SET(pipe.fd, &pipe.readable);
}

/// The first pipe of the process. Without one, nothing is armed: the first select returns at once, and what
/// it returns leads to the next try.
void make_first_pipe(const TracePlace& place, ControlPipe& pipe) {
    FD_ZERO(&pipe.readable);
    RunShell(kRemovePipe);
    if (mkfifo(kPipePath, kPipeMode) != 0) {
        TRACE_AT(place, kLogError, "[FIFO]fifo creating error\n");
        return;
    }
    pipe.fd = OpenPipe();
    if (pipe.fd == kNoPipe) {
        TRACE_AT(place, kLogError, "[FIFO] fifo open error\n");
        return;
    }
    Arm(pipe);
}

/// Goes on with whatever comes of it; if that is no pipe, the path is looked at again after a time-out.
void Rebuild(ControlPipe& pipe) {
    if (pipe.fd != kNoPipe) close(pipe.fd);
    RunShell(kRemovePipe);
    mkfifo(kPipePath, kPipeMode);
    pipe.fd = OpenPipe();
    Arm(pipe);
}

void look_after(const TracePlace& place, ControlPipe& pipe) {
    if (access(kPipePath, F_OK) != 0) {
        TRACE_AT(place, kLogError, "[FIFO]RAVELIN_FIFO does not exist.\n");
        Rebuild(pipe);
        return;
    }
    const time_t now = time(nullptr);
    if (difftime(now, fifo_status_time) > kStatusAge_seconds) fifo_status_time = now;
    Arm(pipe);
}

/// Cuts `text` at blanks and each word at its first ":"; a word without one is no pair. strtok_r and no
/// splitter of ours: the zeros that it leaves decide what a later message runs into.
void HandleWords(char* text) {
    char* rest = nullptr;
    for (char* key = strtok_r(text, " ", &rest); key != nullptr; key = strtok_r(nullptr, " ", &rest)) {
        char* separator = strchr(key, ':');
        if (separator == nullptr) continue;
        *separator = '\0';
        handle_command(key, separator + 1);
    }
}

/// Handles the lines in the first `count` bytes; the last one, without a line end, up to the next zero. A
/// failed read has no lines.
void HandleLines(char* text, ssize_t count) {
    size_t left = count > 0 ? static_cast<size_t>(count) : 0;
    while (left > 0) {
        void* line_end = memchr(text, '\n', left);
        if (line_end != nullptr) *static_cast<char*>(line_end) = '\0';
        const size_t length = strnlen(text, left);
        if (length > 0) HandleWords(text);
        const size_t step = length > 0 ? length : 1;  // over the line's text, or over its end
        text += step;
        left -= step;
    }
}

void take_message(const TracePlace& place, ControlPipe& pipe) {
    const ssize_t count = read(pipe.fd, pipe.message, kMessageSize);
    if (count == 0) {
        TRACE_AT(place, kLogError, "[FIFO]fifo read error\n");
        Rebuild(pipe);
        return;
    }
    TRACE_AT(place, kLogDebug, "[FIFO]fifo msg:%s \n", pipe.message);
    if (strstr(pipe.message, kDhcpMark) != nullptr) {
        TRACE_AT(place, kLogDetail, "%s\n", pipe.message);
        memset(pipe.message, 0, sizeof pipe.message);
    } else {
        HandleLines(pipe.message, count);
    }
    Arm(pipe);
}

bool IsSame(const char* text, const char* other) {
    return strcmp(text, other) == 0;
}

void note_modem_status(const TracePlace& place, const char* value) {
    if (IsSame(value, "online")) {
        fifo_status_index = 0;
        fifo_status_time = time(nullptr);
        TRACE_AT(place, kLogDebug, "[FIFO]4G_MODEM_STATUS:online\n");
    } else if (IsSame(value, "offline")) {
        fifo_status_time = time(nullptr);
        TRACE_AT(place, kLogProgress, "[FIFO]4G_MODEM_STATUS:offline:index %d\n", fifo_status_index);
    } else {
        TRACE_AT(place, kLogProgress, "[FIFO]4G_MODEM_STATUS:unknow\n");
    }
}

/// A request that comes before there is a driver, or while its modem is being upgraded, is dropped and not
/// kept for later.
void Request(uint8_t CellBase::*which) {
    CellBase* const cell = pCell;
    if (cell != nullptr && cell->m_ota_running == 0) cell->*which = 1;
}

}  // namespace

void handle_command(const char* key, const char* value) {
    TRACE(kLogDebug, "[FIFO]fifo Key: %s, Value: %s\n", key, value);
    if (IsSame(key, "4G_MODEM_STATUS")) {
        note_modem_status(TRACE_HERE, value);
    } else if (IsSame(key, "orla_ip_list") && IsSame(value, "noexist")) {
        TRACE(kLogProgress, "[FIFO]orla_ip_list:noexist\n");
    } else if (IsSame(key, "Reset4G") && IsSame(value, "1")) {
        TRACE(kLogProgress, "[FIFO]Reset4G:1\n");
        Request(&CellBase::m_device_reset_req);
    } else if (IsSame(key, "S84Reset4G") && IsSame(value, "1")) {
        // main picks the script by vendor and board, not by this key
        TRACE(kLogProgress, "[FIFO]S84Reset4G:1\n");
        Request(&CellBase::m_device_reset_req);
    } else if (IsSame(key, "SoftReset") && IsSame(value, "1")) {
        TRACE(kLogProgress, "[FIFO]SoftReset:1\n");
        Request(&CellBase::m_soft_reset_req);
    }
}

void* thread_function_pipe(void*) {
    ControlPipe pipe;
    make_first_pipe(TRACE_HERE, pipe);
    fifo_status_time = time(nullptr);
    while (true) {
        const int ready = select(pipe.fd + 1, &pipe.readable, nullptr, nullptr, &pipe.timeout);
        if (ready == 0) {
            look_after(TRACE_HERE, pipe);
        } else if (ready < 0) {
            TRACE(kLogError, "[FIFO]fifo select error\n");
            Rebuild(pipe);
        } else {
            take_message(TRACE_HERE, pipe);
        }
    }
}
