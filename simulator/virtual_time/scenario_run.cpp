// scenario_run: runs the real daemon through scenarios in virtual time and holds what it did against what
// they expect. Its options are explained in scenario_run.help, the language of scenarios in
// docs/virtual-time.md.

#include "simulator/virtual_time/scenario.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "simulator/command_line.h"
#include "simulator/help_text.h"
#include "simulator/virtual_time/expectations.h"
#include "simulator/virtual_time/preload.h"
#include "simulator/virtual_time/private_folder.h"
#include "simulator/virtual_time/record_file.h"

namespace {

using virtual_time::PrivateFolder;
using virtual_time::RecordEntry;
using virtual_time::Scenario;

constexpr char kTool[] = "scenario_run";
constexpr int kDefaultLimit_seconds = 120;
constexpr int kStatusUnexpected = 1;
constexpr int kStatusWrong = kStatusWrongCommandLine;

struct Options : CommonOptions {
    bool story = false;
    bool verbose = false;
    bool twice = false;
    std::string record;
    std::string daemon;
    std::string preload;
    std::string emulator;
    std::vector<std::string> environment;
    int limit_seconds = kDefaultLimit_seconds;
    int record_limit_bytes = virtual_time::kRecordMax_bytes;
    int unmet = 0;
};

// What came of one run.
struct Outcome {
    std::string record;   // whole, with its end
    std::string output;   // of the real standard output and error: what a sanitizer or the loader says
    std::string problem;  // why the run itself failed; empty if it didn't
};

std::string FolderOfThisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Names for LD_PRELOAD, which a blank or a colon in a path would cut: links in `folder`, which has neither.
std::string LinkedPreloads(const Options& options, const std::string& folder) {
    std::vector<std::string> libraries = {FolderOfThisProgram() + "/libravelin_virtual_time.so"};
    if (!options.preload.empty()) libraries.push_back(std::filesystem::absolute(options.preload).string());
    std::string names;
    for (const std::string& library : libraries) {
        const std::string link = folder + "/" + std::filesystem::path(library).filename().string();
        std::filesystem::create_symlink(library, link);
        names += (names.empty() ? "" : ":") + link;
    }
    return names;
}

// The variables of the daemon's environment: nothing of the caller's that could change what it does.
std::vector<std::string> DaemonEnvironment(const Options& options, const std::string& preloads,
                                           const std::string& scenario_path, const std::string& root,
                                           const std::string& record_path) {
    const auto sanitizer_options = [](const char* name, const std::string& ours) {
        const char* own = getenv(name);
        return std::string(name) + "=" + ours + (own != nullptr ? std::string(":") + own : "");
    };
    // An emulator passes the library on to what it runs; itself it is a program of this machine.
    const std::string for_emulator = options.emulator.empty() ? "" : "QEMU_SET_ENV=";
    std::vector<std::string> environment = {
        "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
        "TZ=UTC",
        for_emulator + "LD_PRELOAD=" + preloads,
        std::string(virtual_time::kScenarioVariable) + "=" + scenario_path,
        std::string(virtual_time::kRootVariable) + "=" + root,
        std::string(virtual_time::kRecordVariable) + "=" + record_path,
        std::string(virtual_time::kRecordLimitVariable) + "=" + std::to_string(options.record_limit_bytes),
        // The C library's caches would count as memory in use.
        "GLIBC_TUNABLES=glibc.malloc.tcache_count=0",
        // Our library comes in front of the sanitizer's, so that the sanitizer sees threads start as usual.
        sanitizer_options("ASAN_OPTIONS", "verify_asan_link_order=0"),
        sanitizer_options("UBSAN_OPTIONS", "print_stacktrace=1"),
        sanitizer_options("TSAN_OPTIONS", "halt_on_error=1"),
    };
    environment.insert(environment.end(), options.environment.begin(), options.environment.end());
    return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

[[noreturn]] void BecomeDaemon(std::vector<std::string> arguments, std::vector<std::string> environment,
                               const std::string& output_path) {
    const int input = open("/dev/null", O_RDONLY);
    const int output = open(output_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0);
    execve(arguments[0].c_str(), Pointers(arguments).data(), Pointers(environment).data());
    perror(arguments[0].c_str());
    _exit(kStatusWrong);
}

// The status of waitpid, or -1 if the process had to be killed since the limit was reached.
int WaitFor(pid_t pid, int limit_seconds) {
    constexpr int kStep_us = 1000;
    for (int64_t waited_us = 0; waited_us < limit_seconds * int64_t{1000000}; waited_us += kStep_us) {
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == pid) return status;
        usleep(kStep_us);
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    return -1;
}

// A daemon that was killed can't note its end.
void NoteDeath(int status, Outcome* outcome) {
    const std::vector<RecordEntry> entries = virtual_time::ParseRecord(outcome->record);
    const bool has_end = !entries.empty() && entries.back().kind == "ends";
    if (has_end) {
        const std::string& end = entries.back().text;
        const bool is_daemons_own =
            end.rfind("exit ", 0) == 0;  // or else the library ended it, with status 0
        const bool as_noted =
            WIFEXITED(status) && (is_daemons_own ? end == "exit " + std::to_string(WEXITSTATUS(status))
                                                 : WEXITSTATUS(status) == 0);
        if (!as_noted) outcome->problem = "the daemon noted \"" + end + "\" and then failed on its way out";
        return;
    }
    const int64_t at_us = entries.empty() ? 0 : entries.back().at_us;
    const std::string text = WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                                 : "died with status " + std::to_string(WEXITSTATUS(status));
    outcome->record += virtual_time::FormatEntry({at_us, "ends", text});
}

Outcome RunDaemon(const Options& options, const Scenario& scenario) {
    const PrivateFolder folder;
    const std::string record_path = folder.root() + "/record", output_path = folder.root() + "/output";
    const std::string root = folder.root() + "/root";
    std::filesystem::create_directory(root);
    std::vector<std::string> arguments = {options.daemon};
    if (!options.emulator.empty()) arguments.insert(arguments.begin(), options.emulator);
    arguments.insert(arguments.end(), scenario.options.begin(), scenario.options.end());
    const std::vector<std::string> environment =
        DaemonEnvironment(options, LinkedPreloads(options, folder.root()),
                          std::filesystem::absolute(scenario.path).string(), root, record_path);

    Outcome outcome;
    const pid_t pid = fork();
    if (pid < 0) {
        outcome.problem = std::string("fork: ") + strerror(errno);
        return outcome;
    }
    if (pid == 0) BecomeDaemon(arguments, environment, output_path);
    const int status = WaitFor(pid, options.limit_seconds);
    outcome.record = virtual_time::ReadRecordFile(record_path);
    outcome.output = ReadText(output_path);
    if (status == -1) {
        outcome.problem = "still not done after " + std::to_string(options.limit_seconds) + " real seconds";
    } else {
        NoteDeath(status, &outcome);
    }
    return outcome;
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

std::string FirstDifference(const std::string& one, const std::string& other) {
    std::istringstream lines(one), other_lines(other);
    for (std::string line, other_line;;) {
        const bool has_line = static_cast<bool>(std::getline(lines, line));
        const bool has_other = static_cast<bool>(std::getline(other_lines, other_line));
        if (!has_line && !has_other) return "";
        if (has_line && has_other && line == other_line) continue;
        return "    first run:  " + (has_line ? line : "(over)") +
               "\n    second run: " + (has_other ? other_line : "(over)") + "\n";
    }
}

// Runs and judges one scenario; its status.
int RunScenario(const Options& options, const std::string& path) {
    Scenario scenario;
    std::string problem;
    if (!virtual_time::ReadScenario(path, &scenario, &problem)) {
        fprintf(stderr, "%s\n", problem.c_str());
        return kStatusWrong;
    }
    const Outcome outcome = RunDaemon(options, scenario);
    const std::vector<RecordEntry> record = virtual_time::ParseRecord(outcome.record);
    std::vector<std::string> problems = virtual_time::CheckExpectations(scenario, record);
    if (!outcome.problem.empty()) problems.push_back(outcome.problem + "\n");
    if (options.twice) {
        const Outcome again = RunDaemon(options, scenario);
        if (again.record != outcome.record) {
            problems.push_back("the second run differs from the first:\n" +
                               FirstDifference(outcome.record, again.record));
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
    names.push_back(options.daemon);
    if (!options.preload.empty()) names.push_back(options.preload);
    if (!options.emulator.empty()) names.push_back(options.emulator);
    for (const std::string& name : names) {
        std::error_code error;
        if (std::filesystem::is_directory(name, error)) return "\"" + name + "\" is a folder and no file";
        if (access(name.c_str(), R_OK) != 0) return "\"" + name + "\" can't be read: " + strerror(errno);
    }
    if (access(options.daemon.c_str(), X_OK) != 0) return "\"" + options.daemon + "\" can't be run";
    return "";
}

// What is wrong with the command line; empty, and `options` filled, when nothing is.
std::string ReadOptions(int argc, char** argv, Options* options) {
    const auto take_variable = [options](const std::string& value) -> std::string {
        if (value.find('=') == std::string::npos) return "wants NAME=VALUE";
        options->environment.push_back(value);
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
                            TextOption("daemon", &options->daemon),
                            TextOption("preload", &options->preload),
                            TextOption("emulator", &options->emulator),
                            {"environment", true, take_variable},
                            NumberOption("limit", 1, INT_MAX, &options->limit_seconds),
                            NumberOption("record-limit", 1, INT_MAX, &options->record_limit_bytes),
                        },
                        options);
    return !problem.empty() || options->asks_for_text() ? problem : CheckFiles(*options);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.daemon = FolderOfThisProgram() + "/ravelin-mobile";
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
