// ravelin_soak: runs the real daemon through stories that a seed has written, full of faults, and holds its
// record against laws. Its options are explained in ravelin_soak.help, laws and faults in docs/soak.md.
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "simulator/command_line.h"
#include "simulator/help_text.h"
#include "simulator/modem/modem_model.h"
#include "simulator/soak/faults.h"
#include "simulator/soak/generator.h"
#include "simulator/soak/laws.h"
#include "simulator/soak/minimise.h"
#include "simulator/soak/runner.h"
#include "simulator/soak/summary.h"
#include "simulator/soak/timing.h"
#include "simulator/soak/workers.h"
#include "simulator/virtual_time/private_folder.h"

namespace {

using soak::GeneratorOptions;
using soak::Verdict;
using soak::Violation;

constexpr char kTool[] = "ravelin_soak";
constexpr int kStatusViolated = 1;
constexpr int kStatusWrong = kStatusWrongCommandLine;
constexpr int kMostDays = 14;
constexpr int kMostJobs = 1024;

struct Options : CommonOptions {
    bool has_seeds = false;
    bool prints = false;
    bool lists_faults = false;
    bool lists_laws = false;
    bool lists_times = false;
    std::string minimise;
    soak::SoakOptions soak;

    /// What it is asked to do, in number; one is right.
    int tasks() const {
        return (has_seeds ? 1 : 0) + (lists_faults ? 1 : 0) + (lists_laws ? 1 : 0) + (lists_times ? 1 : 0) +
               (minimise.empty() ? 0 : 1) + (words.empty() ? 0 : 1);
    }
};

std::string FolderOfThisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

/// True, and `seed` set, when all of `text` is a number of decimal digits.
bool ReadSeed(const std::string& text, uint64_t* seed) {
    if (text.empty() || text.size() > 18 || text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    *seed = strtoull(text.c_str(), nullptr, 10);
    return true;
}

/// "A..B"
std::string TakeSeeds(const std::string& value, Options* options) {
    const size_t dots = value.find("..");
    const bool is_range = dots != std::string::npos &&
                          ReadSeed(value.substr(0, dots), &options->soak.first_seed) &&
                          ReadSeed(value.substr(dots + 2), &options->soak.last_seed) &&
                          options->soak.first_seed <= options->soak.last_seed;
    options->has_seeds = true;
    return is_range ? "" : "wants two numbers, the smaller first, as 1..100";
}

std::string TakeSeed(const std::string& value, Options* options) {
    options->has_seeds = true;
    if (!ReadSeed(value, &options->soak.first_seed)) return "wants a number";
    options->soak.last_seed = options->soak.first_seed;
    return "";
}

std::string CheckFile(const std::string& name, int access_wanted, const char* what) {
    std::error_code error;
    if (std::filesystem::is_directory(name, error)) return "\"" + name + "\" is a folder and no file";
    if (access(name.c_str(), access_wanted) != 0) {
        return "\"" + name + "\" can't be " + what + ": " + strerror(errno);
    }
    return "";
}

std::string CheckOptions(const Options& options) {
    if (options.tasks() == 0) return "nothing to do: --seeds, --seed, --minimise or a FILE is missing";
    if (options.tasks() > 1) return "more than one thing to do";
    const GeneratorOptions& generator = options.soak.generator;
    if (!generator.family.empty() && !modem_sim::Modem::IsFamily(generator.family)) {
        return "--family wants one of those that modem_sim --help lists, not \"" + generator.family + "\"";
    }
    if (options.prints && !options.has_seeds) return "--print wants --seed";
    if (options.prints && options.soak.first_seed != options.soak.last_seed) return "--print wants one seed";
    std::vector<std::string> files = options.words;
    if (!options.minimise.empty()) files.push_back(options.minimise);
    for (const std::string& file : files) {
        const std::string problem = CheckFile(file, R_OK, "read");
        if (!problem.empty()) return problem;
    }
    return CheckFile(options.soak.runner.daemon, X_OK, "run");
}

std::string ReadOptions(int argc, char** argv, Options* options) {
    soak::SoakOptions& soak = options->soak;
    const std::string problem = ReadCommandLine(
        argc, argv,
        {
            {"seeds", true, [options](const std::string& value) { return TakeSeeds(value, options); }},
            {"seed", true, [options](const std::string& value) { return TakeSeed(value, options); }},
            NumberOption("days", 1, kMostDays, &soak.generator.days),
            TextOption("family", &soak.generator.family),
            NumberOption("jobs", 1, kMostJobs, &soak.jobs),
            TextOption("keep", &soak.keep),
            FlagOption("first", &soak.ends_with_first),
            FlagOption("print", &options->prints),
            TextOption("minimise", &options->minimise),
            TextOption("daemon", &soak.runner.daemon),
            FlagOption("list-faults", &options->lists_faults),
            FlagOption("list-laws", &options->lists_laws),
            FlagOption("list-times", &options->lists_times),
        },
        options);
    return !problem.empty() || options->asks_for_text() ? problem : CheckOptions(*options);
}

int RunStories(const Options& options) {
    soak::Totals totals;
    const bool is_good = soak::RunSeeds(options.soak, &totals);
    soak::PrintSummary(totals, stdout);
    if (!is_good || totals.not_reproducible > 0) return kStatusWrong;
    return totals.violations == 0 ? 0 : kStatusViolated;
}

/// Runs scenarios that somebody has written, or kept.
int JudgeFiles(const Options& options) {
    int status = 0;
    for (const std::string& file : options.words) {
        Verdict verdict;
        std::string problem;
        if (!soak::RunStoryForEvidence(options.soak.runner, file, &verdict, &problem)) {
            fprintf(stderr, "%s: %s\n", kTool, problem.c_str());
            return kStatusWrong;
        }
        for (const Violation& violation : verdict.violations) {
            printf("%s: %s\n", file.c_str(), FormatViolation(violation).c_str());
        }
        if (!verdict.difference.empty()) {
            printf("%s: %s\n", file.c_str(), soak::FormatDifference(verdict).c_str());
            status = kStatusWrong;
        } else if (!verdict.violations.empty()) {
            status = std::max(status, kStatusViolated);
        } else {
            printf("%s: no violation\n", file.c_str());
        }
    }
    return status;
}

/// The violation that counts in a minimised story: of the law that broke first in the whole one.
const Violation* FindViolation(const Verdict& verdict, const std::string& law) {
    const Violation* first = nullptr;
    for (const Violation& violation : verdict.violations) {
        const bool is_meant = law.empty() || violation.law == law;
        if (is_meant && (first == nullptr || violation.at_ms < first->at_ms)) first = &violation;
    }
    return first;
}

/// What a violation says, without numbers: its first words. Another one of the same law is another story.
std::string KindOf(const Violation& violation) {
    constexpr int kWords = 3;
    std::string kind = violation.law;
    int words = 0;
    for (const char c : violation.text) {
        if (c == ' ' && ++words == kWords) break;
        if (c < '0' || c > '9') kind += c;
    }
    return kind;
}

int Minimise(const Options& options) {
    const std::string text = soak::ReadFile(options.minimise);
    Verdict verdict;
    std::string problem;
    if (!soak::RunStory(options.soak.runner, options.minimise, &verdict, &problem)) {
        fprintf(stderr, "%s: %s\n", kTool, problem.c_str());
        return kStatusWrong;
    }
    const Violation* first = FindViolation(verdict, "");
    if (first == nullptr) {
        fprintf(stderr, "%s: %s breaks no law\n", kTool, options.minimise.c_str());
        return kStatusWrong;
    }
    const std::string law = first->law, kind = KindOf(*first);
    fprintf(stderr, "%s\n", FormatViolation(*first).c_str());

    soak::Truth truth;
    soak::ReadTruth(options.minimise, text, &truth, &problem);
    soak::MinimiseOptions minimise;
    const soak::LawRow* row = soak::FindLaw(law);
    minimise.keeps_faults_whole = row != nullptr && row->needs_truth;
    minimise.quiet_ms = truth.recovery_ms + 60 * soak::kSecond_ms;
    minimise.tell = [](const std::string& line) { fprintf(stderr, "%s\n", line.c_str()); };
    std::string verdict_text;
    const std::string shortest =
        soak::MinimiseStory(text, minimise, [&](const std::string& shorter) -> std::optional<int64_t> {
            if (!soak::RunText(options.soak.runner, "story.scenario", shorter, &verdict, &problem)) {
                return std::nullopt;
            }
            const Violation* violation = FindViolation(verdict, law);
            if (violation == nullptr || KindOf(*violation) != kind) return std::nullopt;
            verdict_text = FormatViolation(*violation);
            return violation->at_ms;
        });
    printf("# violates %s\n\n%s", verdict_text.c_str(), shortest.c_str());
    return kStatusViolated;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.soak.runner.daemon = FolderOfThisProgram() + "/ravelin-mobile";
    const std::string problem = ReadOptions(argc, argv, &options);
    if (!problem.empty()) return RefuseCommandLine(kTool, problem);
    if (options.asks_for_text()) {
        fputs(options.help ? kHelpText : kVersionText, stdout);
        return 0;
    }
    if (options.lists_faults) {
        soak::PrintFaultKinds(stdout);
        return 0;
    }
    if (options.lists_laws) {
        soak::PrintLaws(stdout);
        return 0;
    }
    if (options.lists_times) {
        soak::PrintTimes(stdout);
        return 0;
    }
    if (options.prints) {
        fputs(soak::GenerateScenario(options.soak.first_seed, options.soak.generator).c_str(), stdout);
        return 0;
    }
    const virtual_time::PrivateFolder folder;
    options.soak.runner.library = FolderOfThisProgram() + "/libravelin_virtual_time.so";
    options.soak.runner.folder = folder.root();
    options.soak.runner.days = options.has_seeds ? options.soak.generator.days : kMostDays;
    if (!options.minimise.empty()) return Minimise(options);
    return options.has_seeds ? RunStories(options) : JudgeFiles(options);
}
