#include "simulator/soak/runner.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "simulator/virtual_time/daemon_run.h"
#include "simulator/virtual_time/record.h"

namespace soak {

namespace {

// Of real time, for a machine that is busy with other things.
constexpr int kLimitPerDay_seconds = 1800;
// A day's record is 6 MB when nothing happens, and ten times that when the modem talks without end.
constexpr int kRecordPerDay_bytes = 64 * 1024 * 1024;
constexpr int kRecordMost_bytes = 2000 * 1024 * 1024;

// What a sanitizer says on the real standard error.
constexpr const char* kAlarms[] = {"Sanitizer", "runtime error:"};

/// The line of a text that holds `part`.
std::string LineWith(const std::string& text, const std::string& part) {
    const size_t at = text.find(part);
    const size_t start = text.rfind('\n', at) + 1;  // 0 where there is none
    return text.substr(start, text.find('\n', at) - start);
}

std::string WithoutIndent(const std::string& line) {
    return line.substr(std::min(line.find_first_not_of(' '), line.size()));
}

/// Runs the scenario at `path` once; its record too.
bool RunAndJudge(const RunnerOptions& options, const std::string& path, Verdict* verdict, std::string* record,
                 std::string* problem) {
    Truth truth;
    if (!ReadTruth(path, ReadFile(path), &truth, problem)) return false;
    const int days = std::max(options.days, 1);
    virtual_time::DaemonOptions daemon;
    daemon.path = options.daemon;
    daemon.library = options.library;
    daemon.limit_seconds = kLimitPerDay_seconds * days;
    daemon.record_limit_bytes =
        static_cast<int>(std::min<int64_t>(int64_t{kRecordPerDay_bytes} * days, kRecordMost_bytes));
    virtual_time::Outcome outcome = virtual_time::RunDaemon(daemon, truth.scenario);
    if (outcome.record.empty()) {
        *problem = outcome.problem.empty() ? "the daemon left no record: " + outcome.output : outcome.problem;
        return false;
    }
    *verdict = JudgeRecord(truth, outcome.record);
    const auto add = [verdict](const std::string& text) {
        verdict->violations.push_back({"story", verdict->figures.simulated_ms, text});
    };
    if (!outcome.problem.empty()) add(outcome.problem);
    for (const char* alarm : kAlarms) {
        if (outcome.output.find(alarm) != std::string::npos) add(LineWith(outcome.output, alarm));
    }
    *record = std::move(outcome.record);
    return true;
}

}  // namespace

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool WriteFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    return static_cast<bool>(file);
}

std::array<std::string, 2> RecordsOf(const std::string& path) {
    const std::string name = std::filesystem::path(path).replace_extension().string();
    return {name + ".first.record", name + ".second.record"};
}

std::string FormatDifference(const Verdict& verdict) {
    return "not reproducible: the records differ first at " + verdict.difference;
}

bool RunStory(const RunnerOptions& options, const std::string& path, Verdict* verdict, std::string* problem) {
    std::string record;
    return RunAndJudge(options, path, verdict, &record, problem);
}

bool RunStoryForEvidence(const RunnerOptions& options, const std::string& path, Verdict* verdict,
                         std::string* problem) {
    std::array<std::string, 2> records;
    if (!RunAndJudge(options, path, verdict, &records[0], problem)) return false;
    if (verdict->violations.empty()) return true;
    Verdict second;
    if (!RunAndJudge(options, path, &second, &records[1], problem)) return false;
    const auto difference = virtual_time::FindDifference(records[0], records[1]);
    if (!difference) return true;
    verdict->difference =
        WithoutIndent(difference->first) + "; second run: " + WithoutIndent(difference->second);
    const std::array<std::string, 2> files = RecordsOf(path);
    for (size_t i = 0; i < files.size(); ++i) {
        if (WriteFile(files[i], records[i])) continue;
        *problem = files[i] + " can't be written";
        return false;
    }
    return true;
}

bool RunText(const RunnerOptions& options, const std::string& name, const std::string& text, Verdict* verdict,
             std::string* problem) {
    const std::string path = options.folder + "/" + name;
    if (!WriteFile(path, text)) {
        *problem = path + " can't be written";
        return false;
    }
    const bool is_good = RunStory(options, path, verdict, problem);
    unlink(path.c_str());
    return is_good;
}

}  // namespace soak
