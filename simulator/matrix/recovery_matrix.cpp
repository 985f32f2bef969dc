// recovery_matrix: measures the cells of the recovery matrix with the real daemon, and writes them as
// docs/recovery-times.md has them. Its options are explained in recovery_matrix.help.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/command_line.h"
#include "simulator/help_text.h"
#include "simulator/matrix/cells.h"
#include "simulator/matrix/outcome.h"
#include "simulator/matrix/page.h"
#include "simulator/virtual_time/daemon_run.h"
#include "simulator/virtual_time/private_folder.h"

namespace {

using matrix::Cell;
using matrix::CellResult;
using matrix::CellStory;
using matrix::Fault;

constexpr char kTool[] = "recovery_matrix";
constexpr int kStatusViolated = 1;
constexpr int kMostJobs = 1024;
constexpr int kLimit_seconds = 1800;  // of real time, on a machine that is busy
constexpr int kRecordLimit_bytes = 512 * 1024 * 1024;

struct Options : CommonOptions {
    bool wants_page = false;
    bool prints = false;
    bool lists = false;
    bool has_guard = false;
    int jobs = 1;
    std::string daemon;
    std::string library;

    const Fault* fault = nullptr;
    std::string family;
    int phase = 0;
};

std::string FolderOfThisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

/// FAULT [FAMILY [MOMENT]]
std::string TakeWords(Options* options) {
    const std::vector<std::string>& words = options->words;
    const size_t least = options->prints ? 2 : 1, most = options->prints ? 3 : 2;
    if (words.size() < least) {
        return options->prints ? "--print wants FAULT and FAMILY" : "FAULT or --page is missing";
    }
    if (words.size() > most) return WordProblem(words[most]);
    options->fault = matrix::FindFault(words[0]);
    if (options->fault == nullptr) return "there is no fault \"" + words[0] + "\"";
    if (words.size() < 2) return "";
    options->family = words[1];
    const std::vector<std::string>& families = matrix::Families();
    if (std::find(families.begin(), families.end(), options->family) == families.end()) {
        return "there is no family \"" + options->family + "\"";
    }
    if (words.size() < 3) return "";
    if (words[2].size() != 1 || words[2][0] < '1' || words[2][0] >= '1' + matrix::kPhases) {
        return "a moment is a number from 1 to " + std::to_string(matrix::kPhases) + ", not \"" + words[2] +
               "\"";
    }
    options->phase = words[2][0] - '1';
    return "";
}

std::string CheckOptions(Options* options) {
    if (options->lists) return options->words.empty() ? "" : WordProblem(options->words[0]);
    if (options->wants_page && options->prints) return "more than one thing to do";
    if (options->has_guard && !options->prints) return "--guard goes with --print; else both are measured";
    const std::string problem = !options->wants_page     ? TakeWords(options)
                                : options->words.empty() ? ""
                                                         : WordProblem(options->words[0]);
    if (!problem.empty() || access(options->daemon.c_str(), X_OK) == 0) return problem;
    return "\"" + options->daemon + "\" can't be run: " + strerror(errno);
}

std::string ReadOptions(int argc, char** argv, Options* options) {
    const std::string problem = ReadCommandLine(argc, argv,
                                                {
                                                    FlagOption("page", &options->wants_page),
                                                    FlagOption("print", &options->prints),
                                                    FlagOption("list", &options->lists),
                                                    FlagOption("guard", &options->has_guard),
                                                    NumberOption("jobs", 1, kMostJobs, &options->jobs),
                                                    TextOption("daemon", &options->daemon),
                                                },
                                                options);
    return !problem.empty() || options->asks_for_text() ? problem : CheckOptions(options);
}

/// Measures cells, a few at a time.
class Workshop {
  public:
    Workshop(const Options& options, std::vector<Cell> cells)
        : options_(options), cells_(std::move(cells)), outcomes_(cells_.size()), guarded_(cells_.size()) {}

    bool Run() {
        std::vector<std::thread> threads;
        for (int i = 0; i < options_.jobs; ++i) threads.emplace_back([this] { Work(); });
        for (std::thread& thread : threads) thread.join();
        if (is_terminal_) fprintf(stderr, "\r\033[K");
        return is_good_;
    }

    matrix::Results Results() const {
        matrix::Results results;
        for (size_t i = 0; i < cells_.size(); ++i) {
            const Cell& cell = cells_[i];
            if (results.empty() || results.back().fault != cell.fault ||
                results.back().family != cell.family) {
                results.push_back(
                    {cell.fault, cell.family, matrix::BoundSeconds(*cell.fault, cell.family), {}, {}});
            }
            results.back().outcomes.push_back(outcomes_[i]);
            results.back().guarded.push_back(guarded_[i]);
        }
        return results;
    }

  private:
    void Work() {
        while (is_good_) {
            const size_t i = next_.fetch_add(1);
            if (i >= cells_.size()) break;
            const std::string problem = Measure(i);
            const std::lock_guard<std::mutex> lock(mutex_);
            if (!problem.empty()) {
                fprintf(stderr, "%s%s: %s %s %d: %s\n", is_terminal_ ? "\r\033[K" : "", kTool,
                        cells_[i].fault->name, cells_[i].family.c_str(), cells_[i].phase + 1,
                        problem.c_str());
                is_good_ = false;
            }
            ++done_;
            ShowProgress();
        }
    }

    std::string Measure(size_t number) {
        const std::string problem = MeasureOne(number, matrix::Guard::kNone, &outcomes_[number]);
        return problem.empty() ? MeasureOne(number, matrix::Guard::kBeside, &guarded_[number]) : problem;
    }

    std::string MeasureOne(size_t number, matrix::Guard guard, matrix::Outcome* outcome) {
        const CellStory story = TellCell(cells_[number], guard);
        const std::string path = folder_.root() + "/" + std::to_string(number) + ".scenario";
        std::ofstream(path) << story.text;
        virtual_time::Scenario scenario;
        std::string problem;
        if (!virtual_time::ParseScenario(path, story.text, &scenario, &problem)) return problem;
        virtual_time::DaemonOptions daemon;
        daemon.path = options_.daemon;
        daemon.library = options_.library;
        daemon.limit_seconds = kLimit_seconds;
        daemon.record_limit_bytes = kRecordLimit_bytes;
        const virtual_time::Outcome run = virtual_time::RunDaemon(daemon, scenario);
        unlink(path.c_str());
        if (!run.problem.empty()) return run.problem;
        if (run.record.empty()) return "the daemon left no record: " + run.output;
        *outcome = matrix::ReadOutcome(
            run.record, {story.from_ms, story.measured_ms, story.until_ms, cells_[number].fault->is_of_pipe});
        return "";
    }

    void ShowProgress() const {
        constexpr size_t kParts = 20;
        const size_t part = done_ * kParts / cells_.size();
        if (is_terminal_) {
            fprintf(stderr, "\r\033[K%zu of %zu runs", done_, cells_.size());
        } else if (part != (done_ - 1) * kParts / cells_.size()) {
            fprintf(stderr, "%zu of %zu runs\n", done_, cells_.size());
        }
    }

    const Options& options_;
    const std::vector<Cell> cells_;
    std::vector<matrix::Outcome> outcomes_;
    std::vector<matrix::Outcome> guarded_;
    const virtual_time::PrivateFolder folder_;
    const bool is_terminal_ = isatty(STDERR_FILENO) != 0;
    std::atomic<size_t> next_{0};
    std::atomic<bool> is_good_{true};
    std::mutex mutex_;  // over what is told
    size_t done_ = 0;
};

std::vector<Cell> CellsOf(const Options& options) {
    std::vector<Cell> cells;
    for (const Fault& fault : matrix::Faults()) {
        if (options.fault != nullptr && options.fault != &fault) continue;
        for (const std::string& family : matrix::Families()) {
            if (!options.family.empty() && options.family != family) continue;
            for (int phase = 0; phase < matrix::kPhases; ++phase) cells.push_back({&fault, family, phase});
        }
    }
    return cells;
}

int MeasureCells(const Options& options) {
    Workshop workshop(options, CellsOf(options));
    if (!workshop.Run()) return kStatusViolated;
    const matrix::Results results = workshop.Results();
    const std::string text =
        options.wants_page ? matrix::Page(results) : matrix::FaultSection(*options.fault, results);
    fputs(text.c_str(), stdout);
    const std::vector<std::string> violations = matrix::Violations(results);
    for (const std::string& violation : violations) fprintf(stderr, "%s: %s\n", kTool, violation.c_str());
    return violations.empty() ? 0 : kStatusViolated;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.daemon = FolderOfThisProgram() + "/ravelin-mobile";
    options.library = FolderOfThisProgram() + "/libravelin_virtual_time.so";
    const std::string problem = ReadOptions(argc, argv, &options);
    if (!problem.empty()) return RefuseCommandLine(kTool, problem);
    if (options.asks_for_text()) {
        fputs(options.help ? kHelpText : kVersionText, stdout);
        return 0;
    }
    if (options.lists) {
        for (const Fault& fault : matrix::Faults()) printf("%-24s %s\n", fault.name, fault.title);
        return 0;
    }
    if (options.prints) {
        const matrix::Guard guard = options.has_guard ? matrix::Guard::kBeside : matrix::Guard::kNone;
        fputs(matrix::TellCell({options.fault, options.family, options.phase}, guard).text.c_str(), stdout);
        return 0;
    }
    return MeasureCells(options);
}
