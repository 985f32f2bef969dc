#include "simulator/soak/workers.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "simulator/soak/time_units.h"

namespace soak {

namespace {

constexpr double kMicro = 1e-6;
constexpr double kMinute_seconds = 60;
/// Without a terminal, progress is a line for each of so many parts.
constexpr uint64_t kProgressParts = 20;
constexpr int kStatusFailed = 1;

volatile sig_atomic_t is_interrupted = 0;

void Interrupt(int) {
    is_interrupted = 1;
}

double CpuSecondsOfChildren() {
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * kMicro;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

class Workers {
  public:
    Workers(const SoakOptions& options, Totals* totals)
        : options_(options),
          totals_(*totals),
          next_seed_(options.first_seed),
          is_terminal_(isatty(STDOUT_FILENO) != 0) {}

    bool Run() {
        CatchSignals();
        while (is_good_ && is_interrupted == 0 && !HasEnough() &&
               (next_seed_ <= options_.last_seed || !seeds_.empty())) {
            while (next_seed_ <= options_.last_seed && seeds_.size() < static_cast<size_t>(options_.jobs)) {
                Start(next_seed_++);
            }
            WaitForOne();
            ShowProgress();
        }
        if (is_terminal_) printf("\r\033[K");
        EndAll();
        totals_.cpu_seconds = CpuSecondsOfChildren();
        if (is_interrupted != 0) printf("interrupted\n");
        return is_good_;
    }

  private:
    bool HasEnough() const { return options_.ends_with_first && totals_.violations > 0; }

    static void CatchSignals() {
        struct sigaction action = {};
        action.sa_handler = Interrupt;  // without SA_RESTART, so that a wait ends
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
    }

    std::string FolderOf(uint64_t seed) const { return options_.runner.folder + "/" + std::to_string(seed); }
    std::string StoryOf(uint64_t seed) const {
        return FolderOf(seed) + "/seed-" + std::to_string(seed) + ".scenario";
    }
    std::string ResultOf(uint64_t seed) const { return FolderOf(seed) + "/result"; }

    void Start(uint64_t seed) {
        std::filesystem::create_directory(FolderOf(seed));
        fflush(stdout);
        const pid_t pid = fork();
        if (pid < 0) {
            perror("ravelin_soak: fork");
            is_good_ = false;
            return;
        }
        if (pid == 0) {
            setpgid(0, 0);  // to be ended together with what it starts
            signal(SIGINT, SIG_DFL);
            signal(SIGTERM, SIG_DFL);
            _exit(Work(seed));
        }
        setpgid(pid, pid);
        seeds_[pid] = seed;
    }

    int Work(uint64_t seed) const {
        // What the run leaves behind goes with the worker's folder.
        setenv("TMPDIR", FolderOf(seed).c_str(), 1);
        Verdict verdict;
        std::string problem = "it can't be written";
        const bool is_good = WriteFile(StoryOf(seed), GenerateScenario(seed, options_.generator)) &&
                             RunStoryForEvidence(options_.runner, StoryOf(seed), &verdict, &problem);
        if (!is_good) {
            fprintf(stderr, "ravelin_soak: seed %llu: %s\n", static_cast<unsigned long long>(seed),
                    problem.c_str());
        }
        return is_good && WriteFile(ResultOf(seed), WriteVerdict(verdict)) ? 0 : kStatusFailed;
    }

    void WaitForOne() {
        int status = 0;
        const pid_t pid = waitpid(-1, &status, 0);
        const auto worker = seeds_.find(pid);
        if (pid < 0 || worker == seeds_.end()) return;
        const uint64_t seed = worker->second;
        seeds_.erase(worker);
        Verdict verdict;
        if (status == 0 && ReadVerdict(ReadFile(ResultOf(seed)), &verdict)) {
            ++totals_.seeds;
            totals_.figures.Add(verdict.figures);
            if (!verdict.violations.empty()) Keep(seed, verdict);
        } else if (is_interrupted == 0) {
            fprintf(stderr, "ravelin_soak: seed %llu: it has no verdict; its process ended with status %#x\n",
                    static_cast<unsigned long long>(seed), static_cast<unsigned>(status));
            ++totals_.failed;
            is_good_ = false;
        }
        std::error_code ignored;
        std::filesystem::remove_all(FolderOf(seed), ignored);
    }

    /// The story goes to a folder, with what it breaks as its first lines.
    void Keep(uint64_t seed, const Verdict& verdict) {
        totals_.violations += static_cast<int64_t>(verdict.violations.size());
        std::string text;
        if (is_terminal_) printf("\r\033[K");
        for (const Violation& violation : verdict.violations) {
            text += "# violates " + FormatViolation(violation) + "\n";
            printf("seed %llu: %s\n", static_cast<unsigned long long>(seed),
                   FormatViolation(violation).c_str());
        }
        std::error_code ignored;
        std::filesystem::create_directories(options_.keep, ignored);
        const std::string path = options_.keep + "/seed-" + std::to_string(seed) + ".scenario";
        if (WriteFile(path, text + ReadFile(StoryOf(seed)))) {
            printf("kept as %s\n", path.c_str());
        } else {
            fprintf(stderr, "ravelin_soak: %s can't be written\n", path.c_str());
        }
        if (!verdict.difference.empty()) KeepRecords(seed, verdict, path);
        fflush(stdout);
    }

    void KeepRecords(uint64_t seed, const Verdict& verdict, const std::string& path) {
        ++totals_.not_reproducible;
        printf("seed %llu: %s\n", static_cast<unsigned long long>(seed), FormatDifference(verdict).c_str());
        const auto records = RecordsOf(StoryOf(seed)), kept = RecordsOf(path);
        for (size_t i = 0; i < kept.size(); ++i) {
            std::error_code error;
            std::filesystem::copy_file(records[i], kept[i], std::filesystem::copy_options::overwrite_existing,
                                       error);
            if (error) fprintf(stderr, "ravelin_soak: %s can't be written\n", kept[i].c_str());
        }
    }

    void ShowProgress() {
        const uint64_t all = options_.last_seed - options_.first_seed + 1;
        const auto done = static_cast<uint64_t>(totals_.seeds);
        const uint64_t part = done * kProgressParts / all;
        if (!is_terminal_ && (part == shown_part_ || done == all)) return;
        shown_part_ = part;
        const double days = static_cast<double>(totals_.figures.simulated_ms) / kDay_ms;
        const double minutes = std::max(CpuSecondsOfChildren() / kMinute_seconds, 1e-3);
        printf("%s%llu of %llu seeds, %.1f days, %.0f days in a minute of CPU time, %lld violations%s",
               is_terminal_ ? "\r\033[K" : "", static_cast<unsigned long long>(done),
               static_cast<unsigned long long>(all), days, days / minutes,
               static_cast<long long>(totals_.violations), is_terminal_ ? "" : "\n");
        fflush(stdout);
    }

    void EndAll() {
        for (const auto& [pid, seed] : seeds_) kill(-pid, SIGTERM);
        for (const auto& [pid, seed] : seeds_) {
            while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
        seeds_.clear();
    }

    const SoakOptions& options_;
    Totals& totals_;
    uint64_t next_seed_;
    const bool is_terminal_;
    bool is_good_ = true;
    uint64_t shown_part_ = 0;
    std::map<pid_t, uint64_t> seeds_;  // of the workers
};

}  // namespace

bool RunSeeds(const SoakOptions& options, Totals* totals) {
    return Workers(options, totals).Run();
}

}  // namespace soak
