#include "tools/guard/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "simulator/text/text.h"
#include "tools/board/status_file.h"
#include "tools/board/text_file.h"
#include "tools/guard/number.h"

namespace guard {

namespace {

/// Takes the first line off the front of `*text`, without the blanks around it.
std::string_view TakeLine(std::string_view* text) {
    const size_t end = std::min(text->find('\n'), text->size());
    const std::string_view line = simulator_text::Trim(text->substr(0, end));
    text->remove_prefix(std::min(end + 1, text->size()));
    return line;
}

/// Up to eight hexadecimal digits; nothing for anything else.
std::optional<uint32_t> ParseHex(const std::string& text) {
    constexpr size_t kDigits = 8;
    if (text.empty() || text.size() > kDigits ||
        text.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos) {
        return {};
    }
    constexpr int kHexadecimal = 16;
    return static_cast<uint32_t>(strtoul(text.c_str(), nullptr, kHexadecimal));
}

bool SyncFolderOf(const std::string& path) {
    const int fd = open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool is_done = fsync(fd) == 0;
    close(fd);
    return is_done;
}

}  // namespace

void ReadStatus(const std::string& folder, Look* look, std::string* problem) {
    look->status = StatusSight::kUnusable;
    const board::TextFile file = board::ReadTextFile(folder + "/" + board::kStatusName);
    if (file.state != board::FileState::kRead) {
        *problem = file.problem;
        return;
    }
    const board::StatusFile status = board::ParseStatus(board::kStatusName, file.text);
    *problem = status.problem;
    if (status.state != board::StatusState::kWhole) return;
    // A modem's text that brings a line end along may bring such a line too, and nobody knows which is the
    // daemon's.
    for (const std::string& key : status.repeated) {
        if (key == "Online" || key == "Uptime") *problem = "has two lines " + key + "=";
    }
    const std::string online = status.Get("Online");
    if (online != "TRUE" && online != "FALSE") *problem = "has no Online=TRUE or FALSE";
    if (!problem->empty()) return;
    look->status = StatusSight::kWhole;
    look->is_online = online == "TRUE";
    look->written = status.lines.back().value;  // its last line is Now=
    look->uptime = board::ParseUptime(status.Get("Uptime")).value_or(-1);
}

std::optional<uint64_t> ParseReceivedBytes(std::string_view table, const std::string& interface) {
    while (!table.empty()) {
        std::string_view line = TakeLine(&table);
        // "  wwan0:  123 4 ..."; a long name takes the blanks away.
        if (line.size() <= interface.size() || line.substr(0, interface.size()) != interface ||
            line[interface.size()] != ':') {
            continue;
        }
        line.remove_prefix(interface.size() + 1);
        const std::string digits(simulator_text::TakeWord(&line));
        const std::optional<int64_t> number = ParseNumber(digits, 0, INT64_MAX);
        if (!number) return {};
        return static_cast<uint64_t>(*number);
    }
    return {};
}

std::optional<uint64_t> ReceivedBytes(const std::string& interface) {
    // Of our own network, wherever /sys comes from.
    return ParseReceivedBytes(board::ReadTextFile("/proc/self/net/dev").text, interface);
}

bool ParseRoute(std::string_view table, const std::string& interface, uint32_t host) {
    constexpr uint32_t kUp = 0x0001, kRejects = 0x0200;
    while (!table.empty()) {
        // Iface Destination Gateway Flags RefCnt Use Metric Mask ...
        std::string_view line = TakeLine(&table);
        if (simulator_text::TakeWord(&line) != interface) continue;
        const std::optional<uint32_t> destination = ParseHex(std::string(simulator_text::TakeWord(&line)));
        simulator_text::TakeWord(&line);
        const std::optional<uint32_t> flags = ParseHex(std::string(simulator_text::TakeWord(&line)));
        for (int i = 0; i < 3; ++i) simulator_text::TakeWord(&line);
        const std::optional<uint32_t> mask = ParseHex(std::string(simulator_text::TakeWord(&line)));
        if (!destination || !flags || !mask || (*flags & kUp) == 0 || (*flags & kRejects) != 0) continue;
        if ((host & *mask) == *destination) return true;
    }
    return false;
}

bool HasRoute(const std::string& interface, uint32_t host) {
    return ParseRoute(board::ReadTextFile("/proc/self/net/route").text, interface, host);
}

bool ReplaceFile(const std::string& path, const std::string& text, bool is_lasting) {
    const std::string part = path + ".new";
    unlink(part.c_str());
    const int fd = open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    bool is_done = board::WriteAll(fd, text) && (!is_lasting || fsync(fd) == 0);
    is_done = close(fd) == 0 && is_done && rename(part.c_str(), path.c_str()) == 0;
    if (is_done) return !is_lasting || SyncFolderOf(path);
    const int error = errno;
    unlink(part.c_str());  // a disk that is full needs the room
    errno = error;
    return false;
}

bool IsTrusted(uid_t owner) {
    return owner == 0 || owner == geteuid();
}

std::string LockFolder(const std::string& folder) {
    const std::string path = folder + "/lock";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0) return "";
    const int error = errno;
    if (fd >= 0) close(fd);
    return error == EWOULDBLOCK ? "another one runs" : path + ": " + strerror(error);
}

std::string BootId() {
    const board::TextFile file = board::ReadTextFile("/proc/sys/kernel/random/boot_id");
    return std::string(simulator_text::Trim(file.text));
}

int64_t SecondsSinceBoot() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec;
}

}  // namespace guard
