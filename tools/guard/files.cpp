#include "tools/guard/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "simulator/text/text.h"
#include "tools/board/status_file.h"
#include "tools/board/text_file.h"
#include "tools/guard/number.h"

namespace guard {

namespace {

bool WriteAll(int fd, const std::string& text) {
    for (size_t at = 0; at < text.size();) {
        const ssize_t count = write(fd, text.data() + at, text.size() - at);
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) at += static_cast<size_t>(count);
    }
    return true;
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
        const size_t end = std::min(table.find('\n'), table.size());
        std::string_view line = simulator_text::Trim(table.substr(0, end));
        table.remove_prefix(std::min(end + 1, table.size()));
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

bool ReplaceFile(const std::string& path, const std::string& text, bool is_lasting) {
    const std::string part = path + ".new";
    unlink(part.c_str());
    const int fd = open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    bool is_done = WriteAll(fd, text) && (!is_lasting || fsync(fd) == 0);
    is_done = close(fd) == 0 && is_done;
    return is_done && rename(part.c_str(), path.c_str()) == 0 && (!is_lasting || SyncFolderOf(path));
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
