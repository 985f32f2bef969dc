#include "tools/doctor/examination.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "support/text_util.h"
#include "tools/doctor/catalogue.h"
#include "tools/doctor/daemon_reader.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr size_t kProcTextLimit_bytes = 64 * 1024;
constexpr size_t kMostOfAKind = 10;  // findings; what a hostile file brings beyond that is counted

struct Check {
    const char* group;
    void (*run)(Examination&);
};

constexpr Check kChecks[] = {
    {"port", CheckPort},       {"reset", CheckReset},       {"tools", CheckTools},
    {"bus", CheckBus},         {"settings", CheckSettings}, {"folder", CheckFolder},
    {"service", CheckService}, {"upgrade", CheckUpgrade},   {"guard", CheckGuard},
};

bool IsProcessId(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// What can be a port or the pipe; everything else that a process holds open is left alone.
bool MayCount(const std::string& opened) {
    return opened.compare(0, 5, "/dev/") == 0 || opened.compare(0, 5, "/run/") == 0 ||
           opened.compare(0, 9, "/var/run/") == 0;
}

/// The value of option -d in a command line whose words end with zeros, as getopt takes it: the last one
/// counts.
std::string DeviceOption(const std::string& command_line) {
    std::string device;
    const std::vector<std::string> words = Split(command_line, '\0');
    for (size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "-d" && i + 1 < words.size()) {
            device = words[++i];
        } else if (words[i].size() > 2 && words[i].compare(0, 2, "-d") == 0) {
            device = words[i].substr(2);
        }
    }
    return device;
}

}  // namespace

std::string NameOf(const Process& process) {
    return "process " + std::to_string(process.pid) + " (" + process.name + ")";
}

std::string RightsOf(const FileFacts& facts) {
    char mode[16];
    snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(facts.mode & 07777));
    return std::string("mode ") + static_cast<const char*>(mode) + " of user " + std::to_string(facts.owner) +
           " and group " + std::to_string(facts.group);
}

std::string ReasonOf(int error) {
    switch (error) {
        case ENOENT:
            return "it isn't there";
        case EACCES:
        case EPERM:
            return "this user may not; run the doctor as root";
        case EINVAL:
            return "it is no plain file";
        default:
            return strerror(error);
    }
}

Examination::Examination(const Board& board, const Request& request) : board_(board), request_(request) {
    ReadProcesses();
}

void Examination::ReadProcesses() {
    const auto names = board_.List("/proc");
    if (!names) return;
    for (const std::string& name : *names) {
        if (!IsProcessId(name)) continue;
        const std::string folder = "/proc/" + name;
        Process process;
        process.pid = static_cast<pid_t>(strtol(name.c_str(), nullptr, 10));
        process.name = board_.Read(folder + "/comm", kProcTextLimit_bytes).bytes;
        if (!process.name.empty() && process.name.back() == '\n') process.name.pop_back();
        const std::string status = board_.Read(folder + "/status", kProcTextLimit_bytes).bytes;
        for (const std::string& line : Split(status, '\n')) {
            if (line.compare(0, 6, "Umask:") != 0) continue;
            process.umask = static_cast<mode_t>(strtoul(line.c_str() + 6, nullptr, kOctal));
            process.has_umask = true;
        }
        const auto files = board_.List(folder + "/fd");
        process.files_seen = files.has_value();
        if (!process.files_seen && !board_.Exists(folder)) continue;  // it has ended meanwhile
        if (!process.files_seen) has_blind_spots_ = true;
        for (const std::string& number : files.value_or(std::vector<std::string>())) {
            const std::string file = folder + "/fd/" + number;
            if (MayCount(board_.LinkText(file))) process.files.push_back(board_.Look(file));
        }
        processes_.push_back(std::move(process));
    }
}

std::vector<const Process*> Examination::ProcessesNamed(const std::string& name) const {
    std::vector<const Process*> found;
    for (const Process& process : processes_) {
        if (process.name == name) found.push_back(&process);
    }
    return found;
}

std::vector<const Process*> Examination::HoldersOf(const FileFacts& file) const {
    std::vector<const Process*> found;
    for (const Process& process : processes_) {
        const auto& files = process.files;
        if (std::any_of(files.begin(), files.end(),
                        [&](const FileFacts& one) { return IsSame(one, file); })) {
            found.push_back(&process);
        }
    }
    return found;
}

std::optional<std::string> Examination::ServiceSetting(const std::string& key) const {
    std::optional<std::string> value;
    for (const std::string& line : Split(board_.Read(kServiceSettingsPath).bytes, '\n')) {
        const std::string text = Trimmed(line);
        if (text.compare(0, key.size() + 1, key + "=") == 0) value = Unquoted(text.substr(key.size() + 1));
    }
    return value;
}

std::string Examination::Device() const {
    if (!request_.device.empty()) return request_.device;
    for (const Process* daemon : ProcessesNamed(kDaemonName)) {
        const std::string file = "/proc/" + std::to_string(daemon->pid) + "/cmdline";
        const std::string device = DeviceOption(board_.Read(file, kProcTextLimit_bytes).bytes);
        if (!device.empty()) return device;
    }
    return ServiceSetting("DEVICE").value_or(kDefaultDevice);
}

BoardKind Examination::Kind(bool for_selector) const {
    const auto has = [](const std::string& line, const char* word) {
        return line.find(word) != std::string::npos;
    };
    for (const std::string& line : Split(board_.Read("/proc/cpuinfo").bytes, '\n')) {
        if (has(line, "Hardware") && has(line, "STM32")) return BoardKind::kStm32;
        if (has(line, "Hardware") && has(line, "MX6")) return BoardKind::kImx6ul;
        if (has(line, "part") && has(line, "d04")) return BoardKind::kA35;
        if (has(line, "part") && has(line, "d03")) return BoardKind::kA53;
    }
    if (for_selector) return BoardKind::kOther;
    return has(board_.Read("/proc/version").bytes, "5.10") ? BoardKind::kA35 : BoardKind::kOther;
}

std::optional<std::string> Examination::Setting(const std::string& key) const {
    FileText text = board_.Read(kSettingsPath);
    if (!text.read) text = board_.Read(kLastingSettingsPath);
    return text.read ? ReadSettings(text.bytes).Find(key) : std::nullopt;
}

bool Examination::HasSwitch(const std::string& key) const {
    const std::optional<std::string> value = Setting(key);
    return value && ParseNumber(value->c_str()) >= 1;
}

void Examination::Found(const char* complaint, const std::string& what) {
    const Complaint* row = FindComplaint(complaint);
    if (row == nullptr || strcmp(row->group, report_.groups.back().name) != 0) {
        throw std::logic_error(std::string("no such complaint in this group: ") + complaint);
    }
    if (++found_[row] <= kMostOfAKind) report_.groups.back().findings.push_back({row, what});
}

void Examination::Fact(const std::string& text) {
    report_.groups.back().facts.push_back(text);
}

void Examination::Unseen(const std::string& text) {
    report_.groups.back().unseen.push_back(text);
}

void Examination::CheckSettingsRights(const std::string& path) {
    const FileFacts file = board_.Look(path);
    if (!file.others_write()) return;
    Found("settings-open", path + " isn't for root alone to write: " + RightsOf(file));
}

Report Examination::Run() {
    report_ = {};
    found_.clear();
    for (size_t i = 0; i < kGroupCount; ++i) {
        report_.groups.push_back({kGroups[i].name, kGroups[i].title, {}, {}, {}});
        for (const Check& check : kChecks) {
            if (strcmp(check.group, kGroups[i].name) == 0) check.run(*this);
        }
        for (const auto& [row, count] : found_) {
            if (count <= kMostOfAKind || strcmp(row->group, kGroups[i].name) != 0) continue;
            report_.groups.back().findings.push_back(
                {row, std::to_string(count - kMostOfAKind) + " more of these"});
        }
    }
    return report_;
}

}  // namespace doctor
