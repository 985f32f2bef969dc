// Any messages through the pipe of the board's scripts, cut at the record separator, and the faults of a pipe
// between them. Each pair that is acted on must be one that a second reading of the same bytes finds, in the
// same order, and no request may come from anything else.
#include <sys/select.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "network_daemon/main.h"
#include "support/trace_log.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/support/plain_cell.h"

namespace {

using cc_cell::PlainCell;
using Pair = std::pair<std::string, std::string>;

constexpr int kPipe = 900;  // a descriptor that nobody else has
constexpr size_t kMessageSize = 512;
constexpr time_t kListen_seconds = 5;

/// Records of one byte that stand for what happens to the pipe; any other record is a message.
enum Fault : char {
    kSelectFails = 1,
    kSilence = 2,
    kPipeGone = 3,  // and silence
    kEndOfFile = 4,
    kReadFails = 5,
    kUpgradeToggles = 6,
    kDriverToggles = 7,
    kMkfifoFails = 8,
    kOpenFails = 11,
};

bool IsFault(const std::string& record, Fault fault) {
    return record.size() == 1 && record[0] == fault;
}

/// The pipe's bytes read once more, by other means: what the thread keeps between two messages, and the pairs
/// that are due.
class Reading {
  public:
    void Take(const std::string& message) {
        kept_.replace(0, message.size(), message);
        if (kept_.substr(0, kept_.find('\0')).find("udhcpc") != std::string::npos) {
            kept_.assign(kept_.size(), '\0');
            return;
        }
        std::replace(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(message.size()), '\n', '\0');
        for (size_t at = 0; at < message.size();) {
            const size_t end = kept_.find('\0', at);
            const size_t length = std::min(end, message.size()) - at;
            if (length > 0) TakeWords(at, end);
            at += std::max<size_t>(length, 1);
        }
    }

    std::vector<Pair> due;

  private:
    /// Of the text from `at` to `end`, which may lie behind the message, in what an earlier one has left.
    void TakeWords(size_t at, size_t end) {
        while ((at = kept_.find_first_not_of(' ', at)) < end) {
            const size_t blank = std::min(kept_.find(' ', at), end);
            const std::string word = kept_.substr(at, blank - at);
            const size_t colon = word.find(':');
            if (colon != std::string::npos) {
                due.emplace_back(word.substr(0, colon), word.substr(colon + 1));
                kept_[at + colon] = '\0';
            }
            kept_[blank] = '\0';
            at = std::min(blank + 1, end);
        }
    }

    std::string kept_ = std::string(kMessageSize + 1, '\0');
};

struct World {
    std::deque<std::string> records;
    Reading reading;
    std::vector<Pair> acted_on;
    PlainCell cell{-1};
    bool soft_reset = false;
    bool device_reset = false;
    bool is_gone = false;

    bool Next(Fault fault) {
        if (records.empty() || !IsFault(records.front(), fault)) return false;
        records.pop_front();
        return true;
    }

    /// What doesn't happen to the pipe, but beside it.
    void TakeToggles() {
        for (;;) {
            if (Next(kUpgradeToggles)) {
                cell.m_ota_running = cell.m_ota_running == 0 ? 1 : 0;
            } else if (Next(kDriverToggles)) {
                pCell = pCell == nullptr ? &cell : nullptr;
            } else {
                return;
            }
        }
    }

    void CheckPairs() const { FUZZ_CHECK(acted_on == reading.due); }
};

World* world = nullptr;
jmp_buf end_of_input;

void NotePair(const char* key, const char* value) {
    const Pair pair(key, value);
    FUZZ_CHECK(pair.first.find_first_of(": \n") == std::string::npos);
    FUZZ_CHECK(pair.second.find_first_of(" \n") == std::string::npos);
    FUZZ_CHECK(pair.first.size() + pair.second.size() < kMessageSize);
    world->acted_on.push_back(pair);
    if (pCell == nullptr || world->cell.m_ota_running != 0 || pair.second != "1") return;
    if (pair.first == "SoftReset") world->soft_reset = true;
    if (pair.first == "Reset4G" || pair.first == "S84Reset4G") world->device_reset = true;
}

}  // namespace

// The log, of which only the pairs are of interest.
void trace_log(const char*, const char*, int, unsigned, const char* format, ...) {
    if (strcmp(format, "[FIFO]fifo Key: %s, Value: %s\n") != 0) return;
    va_list arguments;
    va_start(arguments, format);
    const char* key = va_arg(arguments, const char*);
    NotePair(key, va_arg(arguments, const char*));
    va_end(arguments);
}

// The pipe. Each call passes on what isn't for it.

extern "C" int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout);
extern "C" int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout) {
    if (world == nullptr) return __real_select(count, reads, writes, excepts, timeout);
    world->CheckPairs();
    world->TakeToggles();
    if (world->records.empty()) longjmp(end_of_input, 1);

    const bool is_armed = count == kPipe + 1 && FD_ISSET(kPipe, reads);
    FUZZ_CHECK(is_armed || count == 0);
    FUZZ_CHECK(timeout->tv_usec == 0 &&
               (timeout->tv_sec == kListen_seconds || (count == 0 && timeout->tv_sec == 0)));
    if (world->Next(kSelectFails)) {
        errno = EINTR;
        return -1;
    }
    world->is_gone = world->Next(kPipeGone);
    if (world->is_gone || world->Next(kSilence)) return 0;
    if (is_armed) return 1;
    world->records.pop_front();  // a message that there is no pipe for
    return 0;
}

extern "C" ssize_t __real_read(int fd, void* to, size_t size);
extern "C" ssize_t __wrap_read(int fd, void* to, size_t size) {
    if (world == nullptr) return __real_read(fd, to, size);
    FUZZ_CHECK(fd == kPipe && size == kMessageSize);
    if (world->Next(kEndOfFile)) return 0;
    if (world->Next(kReadFails)) {
        errno = EAGAIN;
        // What an earlier message has left is looked at for the word all the same.
        world->reading.Take("");
        return -1;
    }
    std::string& record = world->records.front();
    const std::string message = record.substr(0, size);
    record.erase(0, size);
    if (record.empty()) world->records.pop_front();
    memcpy(to, message.data(), message.size());
    if (!message.empty()) world->reading.Take(message);
    return static_cast<ssize_t>(message.size());
}

extern "C" int __real_open(const char* path, int flags, ...);
extern "C" int __wrap_open(const char* path, int flags, ...) {
    if (world == nullptr) return __real_open(path, flags);
    return world->Next(kOpenFails) ? -1 : kPipe;
}

extern "C" int __real_close(int fd);
extern "C" int __wrap_close(int fd) {
    return fd == kPipe ? 0 : __real_close(fd);
}

extern "C" int __wrap_mkfifo(const char*, mode_t) {
    return world->Next(kMkfifoFails) ? -1 : 0;
}

extern "C" int __wrap_access(const char*, int) {
    return world->is_gone ? -1 : 0;
}

extern "C" int __real_system(const char* command);
extern "C" int __wrap_system(const char* command) {
    return world == nullptr ? __real_system(command) : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::vector<std::string> records = SplitInput(bytes, size, kRecordSeparator);
    World the_world;
    the_world.records.assign(records.begin(), records.end());
    world = &the_world;
    pCell = &the_world.cell;
    // The thread never returns: select leaves it when there is nothing more to read.
    if (setjmp(end_of_input) == 0) thread_function_pipe(nullptr);
    the_world.CheckPairs();
    FUZZ_CHECK((the_world.cell.m_soft_reset_req != 0) == the_world.soft_reset);
    FUZZ_CHECK((the_world.cell.m_device_reset_req != 0) == the_world.device_reset);
    pCell = nullptr;
    world = nullptr;
    return 0;
}
