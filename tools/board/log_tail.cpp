#include "tools/board/log_tail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace board {

namespace {

constexpr char kJournalSocket[] = "/run/systemd/journal/socket";
constexpr const char* kSystemLogs[] = {"/var/log/syslog", "/var/log/messages"};
// A look at the log takes no more than this; a flood is read in several.
constexpr size_t kLook_bytes = 1024 * 1024;
constexpr size_t kLine_bytes = 4096;  // the daemon's are shorter

bool IsSocket(const char* path) {
    struct stat seen = {};
    return stat(path, &seen) == 0 && S_ISSOCK(seen.st_mode);
}

/// What a command writes, up to a limit.
std::string OutputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return output;
    char bytes[4096];
    for (size_t count; (count = fread(bytes, 1, sizeof bytes, pipe)) > 0;) {
        if (output.size() < kLook_bytes) output.append(bytes, count);
    }
    pclose(pipe);
    return output;
}

}  // namespace

LogTail::~LogTail() {
    if (fd_ >= 0) close(fd_);
}

bool LogTail::Fail(const std::string& problem) {
    problem_ = problem;
    return false;
}

bool LogTail::OpenFile(const std::string& path, From from) {
    // A pipe in the place of the log must not be waited for.
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat seen = {};
    if (fd < 0 || fstat(fd, &seen) != 0) {
        const std::string why = strerror(errno);
        if (fd >= 0) close(fd);
        return Fail("the log " + path + " can't be read: " + why);
    }
    if (!S_ISREG(seen.st_mode)) {
        close(fd);
        return Fail("the log " + path + " is no file");
    }
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
    inode_ = seen.st_ino;
    at_ = from == From::kStart ? 0 : seen.st_size;
    path_ = name_ = path;
    return true;
}

bool LogTail::OpenJournal() {
    if (!IsSocket(kJournalSocket) || OutputOf("command -v journalctl 2>/dev/null").empty()) {
        return Fail("there is no journal");
    }
    is_journal_ = true;
    since_ = std::to_string(time(nullptr));
    name_ = "the journal";
    ReadJournal();
    pending_.clear();  // what came earlier in this second
    return true;
}

bool LogTail::OpenFound(const std::string& daemon_log) {
    if (!daemon_log.empty() && OpenFile(daemon_log)) return true;
    if (OpenJournal()) return true;
    for (const char* path : kSystemLogs) {
        if (OpenFile(path)) return true;
    }
    return Fail("no log is found");
}

/// Whether another file has the name now.
bool LogTail::IsExchanged() const {
    struct stat seen = {};
    return stat(path_.c_str(), &seen) == 0 && S_ISREG(seen.st_mode) && seen.st_ino != inode_;
}

void LogTail::ReadFile() {
    struct stat seen = {};
    if (fstat(fd_, &seen) == 0 && seen.st_size < at_) at_ = 0;  // emptied, as copytruncate does
    const size_t limit = pending_.size() + kLook_bytes;
    char bytes[16384];
    for (ssize_t count; pending_.size() < limit && (count = pread(fd_, bytes, sizeof bytes, at_)) > 0;) {
        pending_.append(bytes, static_cast<size_t>(count));
        at_ += count;
    }
    if (pending_.size() < limit && IsExchanged()) OpenFile(path_, From::kStart);
}

void LogTail::ReadJournal() {
    const std::string output =
        OutputOf("journalctl --quiet --no-pager --output=short --identifier=ravelin-mobile --since=@" +
                 since_ + " 2>/dev/null");
    if (output.size() > shown_) pending_ += output.substr(shown_);
    shown_ = output.size();
}

std::vector<std::string> LogTail::NewLines() {
    if (is_journal_) {
        ReadJournal();
    } else if (fd_ >= 0) {
        ReadFile();
    }
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = pending_.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.push_back(pending_.substr(start, std::min(end - start, kLine_bytes)));
    }
    pending_.erase(0, start);
    if (pending_.size() > kLook_bytes) pending_.clear();  // no log has such a line
    return lines;
}

}  // namespace board
