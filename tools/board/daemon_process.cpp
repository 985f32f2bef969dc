#include "tools/board/daemon_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <vector>

namespace board {

namespace {

constexpr char kDaemonName[] = "ravelin-mobile";
constexpr char kFlashMark[] = "flash.";
constexpr size_t kProcText_bytes = 64 * 1024;
constexpr size_t kStartField = 19;  // after the name, of /proc/PID/stat: ticks since boot

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    DIR* entries = opendir(folder.c_str());
    if (entries == nullptr) return names;
    while (const dirent* entry = readdir(entries)) names.emplace_back(entry->d_name);
    closedir(entries);
    return names;
}

/// What /proc says: such a file tells no size.
std::string ReadProc(const std::string& path) {
    std::string text(kProcText_bytes, '\0');
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const ssize_t count = fd < 0 ? 0 : read(fd, text.data(), text.size());
    if (fd >= 0) close(fd);
    text.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return text;
}

std::string LinkAt(const std::string& path) {
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    return length > 0 ? std::string(target, static_cast<size_t>(length)) : "";
}

pid_t ProcessNumber(const std::string& name) {
    constexpr size_t kDigits = 9;
    if (name.empty() || name.size() > kDigits || name.find_first_not_of("0123456789") != std::string::npos) {
        return 0;
    }
    return static_cast<pid_t>(strtol(name.c_str(), nullptr, 10));
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> words;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(separator, start), text.size());
        words.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

bool IsTrusted(const std::string& path) {
    struct stat seen = {};
    return stat(path.c_str(), &seen) == 0 && (seen.st_uid == 0 || seen.st_uid == geteuid());
}

}  // namespace

std::optional<DaemonProcess> FindDaemon(const std::string& proc) {
    for (const std::string& name : NamesIn(proc)) {
        const std::string folder = proc + "/" + name;
        if (ProcessNumber(name) == 0 || !IsTrusted(folder)) continue;
        const std::vector<std::string> words = Split(ReadProc(folder + "/cmdline"), '\0');
        if (words.empty() || words[0].substr(words[0].rfind('/') + 1) != kDaemonName) continue;
        DaemonProcess daemon;
        daemon.process = ProcessNumber(name);
        for (size_t i = 0; i + 1 < words.size(); ++i) {
            if (words[i] == "-DL") daemon.log = words[i + 1];
        }
        if (!daemon.log.empty() && daemon.log[0] != '/') {
            daemon.log = LinkAt(folder + "/cwd") + "/" + daemon.log;
        }
        return daemon;
    }
    return {};
}

pid_t RunningFlash(const std::string& folder, const std::string& proc) {
    for (const std::string& name : NamesIn(folder)) {
        if (name.compare(0, sizeof kFlashMark - 1, kFlashMark) != 0) continue;
        const std::vector<std::string> words = Split(name.substr(sizeof kFlashMark - 1), '.');
        const pid_t process = words.size() == 2 ? ProcessNumber(words[0]) : 0;
        if (process == 0) continue;
        const std::string stat = ReadProc(proc + "/" + words[0] + "/stat");
        const size_t name_end = stat.rfind(") ");
        if (name_end == std::string::npos) continue;
        const std::vector<std::string> fields = Split(stat.substr(name_end + 2), ' ');
        if (fields.size() > kStartField && fields[0] != "Z" && fields[kStartField] == words[1]) {
            return process;
        }
    }
    return 0;
}

}  // namespace board
