#include "tools/board/daemon_process.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <vector>

#include "simulator/text/text.h"
#include "tools/board/text_file.h"

namespace board {

namespace {

using simulator_text::Split;
using simulator_text::StartsWith;

constexpr char kFlashMark[] = "flash.";
constexpr size_t kStartField = 19;  // after the name, of /proc/PID/stat: ticks since boot

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    DIR* entries = opendir(folder.c_str());
    if (entries == nullptr) return names;
    while (const dirent* entry = readdir(entries)) names.emplace_back(entry->d_name);
    closedir(entries);
    return names;
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

bool IsTrusted(const std::string& path) {
    struct stat seen = {};
    return stat(path.c_str(), &seen) == 0 && (seen.st_uid == 0 || seen.st_uid == geteuid());
}

}  // namespace

std::optional<DaemonProcess> FindDaemon(const std::string& proc) {
    for (const std::string& name : NamesIn(proc)) {
        const std::string folder = proc + "/" + name;
        if (ProcessNumber(name) == 0 || !IsTrusted(folder)) continue;
        const std::vector<std::string> words = Split(ReadTextFile(folder + "/cmdline").text, '\0');
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

std::string StartOf(const std::string& stat) {
    const size_t name_end = stat.rfind(") ");  // a name may hold blanks and brackets
    if (name_end == std::string::npos) return "";
    const std::vector<std::string> fields = Split(stat.substr(name_end + 2), ' ');
    return fields.size() <= kStartField || fields[0] == "Z" ? "" : fields[kStartField];
}

std::optional<FlashMark> ReadFlashMark(const std::string& name) {
    if (!StartsWith(name, kFlashMark)) return {};
    const std::vector<std::string> words = Split(name.substr(sizeof kFlashMark - 1), '.');
    if (words.size() != 2 || ProcessNumber(words[0]) == 0 || words[1].empty()) return {};
    return FlashMark{ProcessNumber(words[0]), words[1]};
}

pid_t RunningFlash(const std::string& folder, const std::string& proc) {
    for (const std::string& name : NamesIn(folder)) {
        const std::optional<FlashMark> mark = ReadFlashMark(name);
        if (!mark) continue;
        const std::string stat = ReadTextFile(proc + "/" + std::to_string(mark->process) + "/stat").text;
        if (StartOf(stat) == mark->start) return mark->process;
    }
    return 0;
}

}  // namespace board
