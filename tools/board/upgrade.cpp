#include "tools/board/upgrade.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "simulator/bus_peer/message.h"
#include "simulator/text/text.h"
#include "tools/board/text_file.h"

namespace board {

namespace {

constexpr int kDepth = 4;
constexpr size_t kMostFiles = 1000;
// The fake tool and the board's own scripts leave and read texts beside it.
constexpr size_t kScript_bytes = 64 * 1024;

struct LogOutcome {
    const char* text;
    unsigned outcome;
};

constexpr LogOutcome kLogOutcomes[] = {
    {"[OTA] send ocpp ota upgrade status ok", bus_peer::kSucceeded},
    {"[OTA] send ocpp ota upgrade status fail", bus_peer::kFailed},
    {"[OTA] send ocpp 4G module not support ota", bus_peer::kNotSupported},
    {"[OTA] send ocpp ota file path or file not exist", bus_peer::kNoTool},
};

bool IsOfTool(const std::string& name) {
    return name.compare(0, sizeof kFirmwareTool - 1, kFirmwareTool) == 0;
}

/// What is wrong with a file that has to be read; empty when nothing is.
std::string FileProblem(const std::string& path, struct stat* seen) {
    if (stat(path.c_str(), seen) != 0) return path + ": " + strerror(errno);
    if (!S_ISREG(seen->st_mode)) return path + " is " + KindAt(path) + " and no file";
    if (seen->st_size == 0) return path + " is empty";
    if (access(path.c_str(), R_OK) != 0) return path + " can't be read: " + strerror(errno);
    return "";
}

void CheckTool(const std::string& folder, Firmware* firmware) {
    const std::string tool = folder + "/" + kFirmwareTool;
    struct stat seen = {};
    std::string problem = FileProblem(tool, &seen);
    if (problem.empty() && (seen.st_mode & S_IXUSR) == 0) problem = tool + " isn't executable";
    if (!problem.empty()) firmware->problems.push_back(problem);
    if (!problem.empty() || static_cast<size_t>(seen.st_size) > kScript_bytes) return;
    // The wrapper is a script that names the tool which it runs.
    const TextFile script = ReadTextFile(tool, kScript_bytes);
    if (script.text.compare(0, 2, "#!") != 0 || script.text.find(kWrappedTool) == std::string::npos) return;
    firmware->is_wrapped = true;
    problem = FileProblem(folder + "/" + kWrappedTool, &seen);
    if (problem.empty() && (seen.st_mode & S_IXUSR) == 0) {
        problem = folder + "/" + kWrappedTool + " isn't executable";
    }
    if (!problem.empty()) firmware->problems.push_back(problem);
}

void CheckFiles(const std::string& folder, const std::string& below, int depth, Firmware* firmware) {
    DIR* entries = opendir((folder + "/" + below).c_str());
    if (entries == nullptr) {
        firmware->problems.push_back(folder + "/" + below + " can't be read: " + strerror(errno));
        return;
    }
    while (const dirent* entry = readdir(entries)) {
        const std::string name = entry->d_name;
        if (name == "." || name == ".." || (below.empty() && IsOfTool(name))) continue;
        if (firmware->files.size() >= kMostFiles) break;
        struct stat seen = {};
        const std::string path = folder + "/" + below + name;
        if (lstat(path.c_str(), &seen) == 0 && S_ISDIR(seen.st_mode)) {
            if (depth > 1) CheckFiles(folder, below + name + "/", depth - 1, firmware);
            continue;
        }
        const std::string problem = FileProblem(path, &seen);
        if (!problem.empty()) firmware->problems.push_back(problem);
        firmware->files.push_back({below + name, static_cast<int64_t>(seen.st_size)});
    }
    closedir(entries);
}

}  // namespace

Firmware CheckFirmware(const std::string& folder) {
    Firmware firmware;
    struct stat seen = {};
    if (stat(folder.c_str(), &seen) != 0 || !S_ISDIR(seen.st_mode)) {
        firmware.problems.push_back("there is no folder " + folder);
        return firmware;
    }
    CheckTool(folder, &firmware);
    CheckFiles(folder, "", kDepth, &firmware);
    std::sort(firmware.files.begin(), firmware.files.end(),
              [](const FirmwareFile& a, const FirmwareFile& b) { return a.name < b.name; });
    if (firmware.files.empty()) firmware.problems.push_back("there is no firmware in " + folder);
    return firmware;
}

std::optional<unsigned> OutcomeOf(const DaemonLine& line) {
    for (const LogOutcome& row : kLogOutcomes) {
        if (simulator_text::StartsWith(line.message, row.text)) return row.outcome;
    }
    return {};
}

}  // namespace board
