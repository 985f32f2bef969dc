// scenario_run: runs the real daemon through scenarios in virtual time and holds what it did against what
// they expect. Its options are explained in scenario_run.help, the language of scenarios in
// docs/virtual-time.md.

#include "simulator/virtual_time/scenario.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "simulator/command_line.h"
#include "simulator/help_text.h"
#include "simulator/virtual_time/daemon_run.h"
#include "simulator/virtual_time/expectations.h"
#include "simulator/virtual_time/record.h"

namespace {

using virtual_time::DaemonOptions;
using virtual_time::Outcome;
using virtual_time::RecordEntry;
using virtual_time::Scenario;

constexpr char kTool[] = "scenario_run";
constexpr int kStatusUnexpected = 1;
constexpr int kStatusWrong = kStatusWrongCommandLine;

struct Options : CommonOptions {
    bool story = false;
    bool verbose = false;
    bool twice = false;
    std::string record;
    DaemonOptions daemon;
    int unmet = 0;
};

std::string FolderOfThisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

bool IsExchange(const RecordEntry& entry) {
    return entry.kind == "sends" || entry.kind == "hears" || entry.kind == "debugs";
}

void PrintRecord(const std::vector<RecordEntry>& record) {
    for (const RecordEntry& entry : record) fputs(virtual_time::FormatEntry(entry).c_str(), stdout);
}

// What happened, without the exchanges with the modem, and with repetitions folded.
void PrintStory(const std::vector<RecordEntry>& record) {
    const RecordEntry* last = nullptr;
    const RecordEntry* last_again = nullptr;
    int repetitions = 0;
    const auto tell_repetitions = [&] {
        if (repetitions > 0) {
            printf("%25s(and %d times more, the last at %s)\n", "", repetitions,
                   virtual_time::FormatSeconds(last_again->at_us).c_str());
        }
        repetitions = 0;
    };
    for (const RecordEntry& entry : record) {
        if (IsExchange(entry)) continue;
        if (last != nullptr && entry.kind == last->kind && entry.text == last->text) {
            ++repetitions;
            last_again = &entry;
            continue;
        }
        tell_repetitions();
        fputs(virtual_time::FormatEntry(entry).c_str(), stdout);
        last = &entry;
    }
    tell_repetitions();
}

// Runs and judges one scenario; its status.
int RunScenario(const Options& options, const std::string& path) {
    Scenario scenario;
    std::string problem;
    if (!virtual_time::ReadScenario(path, &scenario, &problem)) {
        fprintf(stderr, "%s\n", problem.c_str());
        return kStatusWrong;
    }
    const Outcome outcome = RunDaemon(options.daemon, scenario);
    const std::vector<RecordEntry> record = virtual_time::ParseRecord(outcome.record);
    std::vector<std::string> problems = virtual_time::CheckExpectations(scenario, record);
    if (!outcome.problem.empty()) problems.push_back(outcome.problem + "\n");
    if (options.twice) {
        const Outcome again = RunDaemon(options.daemon, scenario);
        const auto difference = virtual_time::FindDifference(outcome.record, again.record);
        if (difference) {
            problems.push_back("the second run differs from the first:\n    first run:  " +
                               difference->first + "\n    second run: " + difference->second + "\n");
        }
    }
    if (options.verbose) PrintRecord(record);
    if (options.story) PrintStory(record);
    if (!options.record.empty() &&
        !(std::ofstream(options.record, std::ios::binary) << outcome.record << std::flush)) {
        problems.push_back("the record can't be written to " + options.record + "\n");
    }
    if (!outcome.output.empty()) fprintf(stderr, "%s\n", outcome.output.c_str());
    for (const std::string& each : problems) fprintf(stderr, "%s\n", each.c_str());
    const bool is_good = problems.size() == static_cast<size_t>(options.unmet);
    if (options.unmet != 0) printf("%zu of %d unmet expectations\n", problems.size(), options.unmet);
    printf("%s: %s\n", path.c_str(), is_good ? "as expected" : "NOT as expected");
    return is_good ? 0 : kStatusUnexpected;
}

// What is wrong with what the options name; empty when nothing is.
std::string CheckFiles(const Options& options) {
    if (options.words.empty()) return "a scenario is missing";
    std::vector<std::string> names = options.words;
    names.push_back(options.daemon.path);
    if (!options.daemon.preload.empty()) names.push_back(options.daemon.preload);
    if (!options.daemon.emulator.empty()) names.push_back(options.daemon.emulator);
    for (const std::string& name : names) {
        std::error_code error;
        if (std::filesystem::is_directory(name, error)) return "\"" + name + "\" is a folder and no file";
        if (access(name.c_str(), R_OK) != 0) return "\"" + name + "\" can't be read: " + strerror(errno);
    }
    if (access(options.daemon.path.c_str(), X_OK) != 0) return "\"" + options.daemon.path + "\" can't be run";
    return "";
}

// What is wrong with the command line; empty, and `options` filled, when nothing is.
std::string ReadOptions(int argc, char** argv, Options* options) {
    const auto take_variable = [options](const std::string& value) -> std::string {
        if (value.find('=') == std::string::npos) return "wants NAME=VALUE";
        options->daemon.environment.push_back(value);
        return "";
    };
    const std::string problem =
        ReadCommandLine(argc, argv,
                        {
                            FlagOption("story", &options->story),
                            FlagOption("verbose", &options->verbose),
                            TextOption("record", &options->record),
                            TextOption("trace", &options->record),  // the same
                            FlagOption("twice", &options->twice),
                            NumberOption("unmet", 0, INT_MAX, &options->unmet),
                            TextOption("daemon", &options->daemon.path),
                            TextOption("preload", &options->daemon.preload),
                            TextOption("emulator", &options->daemon.emulator),
                            {"environment", true, take_variable},
                            NumberOption("limit", 1, INT_MAX, &options->daemon.limit_seconds),
                            NumberOption("record-limit", 1, INT_MAX, &options->daemon.record_limit_bytes),
                        },
                        options);
    return !problem.empty() || options->asks_for_text() ? problem : CheckFiles(*options);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.daemon.path = FolderOfThisProgram() + "/ravelin-mobile";
    options.daemon.library = FolderOfThisProgram() + "/libravelin_virtual_time.so";
    const std::string problem = ReadOptions(argc, argv, &options);
    if (!problem.empty()) return RefuseCommandLine(kTool, problem);
    if (options.asks_for_text()) {
        fputs(options.help ? kHelpText : kVersionText, stdout);
        return 0;
    }
    int status = 0;
    for (const std::string& file : options.words) status = std::max(status, RunScenario(options, file));
    return status;
}
