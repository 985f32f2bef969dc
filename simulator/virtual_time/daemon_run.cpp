#include "simulator/virtual_time/daemon_run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "simulator/virtual_time/journal.h"
#include "simulator/virtual_time/preload.h"
#include "simulator/virtual_time/private_folder.h"

namespace virtual_time {

namespace {

constexpr int kStatusNotRun = 127;  // the shell's for a program that can't be run

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// What a process leaves to those that it starts is another thing with each caller: nohup has the hang-up
/// ignored, a shell the interrupt in what it starts in the background. The daemon finds what it finds at the
/// start of a board, whoever runs the scenario.
void ForgetCaller() {
    constexpr mode_t kUsualMask = 022;
    constexpr rlim_t kUsualDescriptors = 1024;
    const struct sigaction usual = {};  // SIG_DFL
    for (int number = 1; number <= SIGRTMAX; ++number) sigaction(number, &usual, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    umask(kUsualMask);
    rlimit descriptors = {};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = std::min(descriptors.rlim_max, kUsualDescriptors);
    setrlimit(RLIMIT_NOFILE, &descriptors);
}

bool BeginsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

class DaemonRun {
  public:
    DaemonRun(const DaemonOptions& options, const Scenario& scenario)
        : options_(options),
          scenario_(scenario),
          root_(folder_.root() + "/root"),
          record_(folder_.root() + "/record"),
          journal_(folder_.root() + "/journal"),
          output_(folder_.root() + "/output") {
        std::filesystem::create_directory(root_);
        LinkPreloads();
    }

    Outcome Run() {
        int64_t resumed_us = kFirstStart;
        do {
            RunOnce(resumed_us);
        } while (outcome_.problem.empty() && IsStartedAgain(&resumed_us));
        outcome_.output = ReadText(output_);
        return outcome_;
    }

  private:
    static constexpr int64_t kFirstStart = -1;

    // Names for LD_PRELOAD, which a blank or a colon in a path would cut: links in our folder, which has
    // neither.
    void LinkPreloads() {
        std::vector<std::string> libraries = {options_.library};
        if (!options_.preload.empty()) {
            libraries.push_back(std::filesystem::absolute(options_.preload).string());
        }
        for (const std::string& library : libraries) {
            const std::string link =
                folder_.root() + "/" + std::filesystem::path(library).filename().string();
            std::filesystem::create_symlink(library, link);
            preloads_ += (preloads_.empty() ? "" : ":") + link;
        }
    }

    std::vector<std::string> Arguments() const {
        std::vector<std::string> arguments = {options_.path};
        if (!options_.emulator.empty()) arguments.insert(arguments.begin(), options_.emulator);
        arguments.insert(arguments.end(), scenario_.options.begin(), scenario_.options.end());
        return arguments;
    }

    // Nothing of the caller's that could change what the daemon does.
    std::vector<std::string> Environment(int64_t resumed_us) const {
        const auto sanitizer_options = [](const char* name, const std::string& ours) {
            const char* own = getenv(name);
            return std::string(name) + "=" + ours + (own != nullptr ? std::string(":") + own : "");
        };
        const auto variable = [](const char* name, const std::string& value) {
            return std::string(name) + "=" + value;
        };
        // An emulator passes the library on to what it runs; itself it is a program of this machine.
        const std::string for_emulator = options_.emulator.empty() ? "" : "QEMU_SET_ENV=";
        std::vector<std::string> environment = {
            "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
            "TZ=UTC",
            for_emulator + "LD_PRELOAD=" + preloads_,
            variable(kScenarioVariable, std::filesystem::absolute(scenario_.path).string()),
            variable(kRootVariable, root_),
            variable(kRecordVariable, record_),
            variable(kRecordLimitVariable, std::to_string(options_.record_limit_bytes)),
            // The C library's caches would count as memory in use.
            "GLIBC_TUNABLES=glibc.malloc.tcache_count=0",
            // Our library comes in front of the sanitizer's, so that the sanitizer sees threads start as
            // usual.
            sanitizer_options("ASAN_OPTIONS", "verify_asan_link_order=0"),
            sanitizer_options("UBSAN_OPTIONS", "print_stacktrace=1"),
            sanitizer_options("TSAN_OPTIONS", "halt_on_error=1"),
        };
        if (scenario_.restart_after_us > 0) environment.push_back(variable(kJournalVariable, journal_));
        if (resumed_us != kFirstStart) {
            environment.push_back(variable(
                kResumedVariable, std::to_string(resumed_us) + " " + std::to_string(outcome_.record.size())));
        }
        environment.insert(environment.end(), options_.environment.begin(), options_.environment.end());
        return environment;
    }

    [[noreturn]] void BecomeDaemon(int64_t resumed_us) const {
        std::vector<std::string> arguments = Arguments(), environment = Environment(resumed_us);
        const int input = open("/dev/null", O_RDONLY);
        const int output = open(output_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        close_range(STDERR_FILENO + 1, ~0U, 0);
        ForgetCaller();
        execve(arguments[0].c_str(), Pointers(arguments).data(), Pointers(environment).data());
        perror(arguments[0].c_str());
        _exit(kStatusNotRun);
    }

    void RunOnce(int64_t resumed_us) {
        const pid_t pid = fork();
        if (pid < 0) {
            outcome_.problem = std::string("fork: ") + strerror(errno);
            return;
        }
        if (pid == 0) BecomeDaemon(resumed_us);
        const int status = WaitFor(pid);
        const size_t known_bytes = outcome_.record.size();
        ReadMoreOfRecordFile(record_, &outcome_.record);
        if (status == -1) {
            outcome_.problem =
                "still not done after " + std::to_string(options_.limit_seconds) + " real seconds";
        } else if (resumed_us != kFirstStart && outcome_.record.size() == known_bytes) {
            outcome_.problem = "the daemon couldn't be started again";
        } else {
            JudgeEnd(status, known_bytes);
        }
    }

    // The status of waitpid, or -1 if the process had to be killed since the limit was reached.
    int WaitFor(pid_t pid) {
        const int process = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
        int status = 0;
        bool has_ended = false;
        for (pollfd end = {process, POLLIN, 0}; !has_ended;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                limit_ - std::chrono::steady_clock::now());
            if (left.count() <= 0) break;
            // A kernel that can't wait for a process is asked each millisecond.
            const auto wait_ms = process < 0 ? 1 : std::min<int64_t>(left.count(), INT_MAX);
            poll(&end, process < 0 ? 0 : 1, static_cast<int>(wait_ms));
            has_ended = waitpid(pid, &status, WNOHANG) == pid;
        }
        if (process >= 0) close(process);
        if (has_ended) return status;
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        return -1;
    }

    // A daemon that was killed can't note its end.
    void JudgeEnd(int status, size_t known_bytes) {
        const std::vector<RecordEntry> last = ParseRecord(std::string(LastLine(outcome_.record)));
        const bool has_end =
            outcome_.record.size() > known_bytes && !last.empty() && last.back().kind == "ends";
        if (!has_end) {
            const int64_t at_us = last.empty() ? 0 : last.back().at_us;
            end_ = WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                       : "died with status " + std::to_string(WEXITSTATUS(status));
            RecordFile(record_, static_cast<size_t>(options_.record_limit_bytes), outcome_.record.size())
                .NoteEnd(at_us, end_);
            ReadMoreOfRecordFile(record_, &outcome_.record);
            return;
        }
        end_ = last.back().text;
        const bool is_daemons_own = BeginsWith(end_, "exit ");  // or else the library ended it, with status 0
        const bool as_noted =
            WIFEXITED(status) && (is_daemons_own ? end_ == "exit " + std::to_string(WEXITSTATUS(status))
                                                 : WEXITSTATUS(status) == 0);
        if (!as_noted) outcome_.problem = "the daemon noted \"" + end_ + "\" and then failed on its way out";
    }

    // As a supervisor would: whatever the end was, but for one that ends the scenario.
    bool IsStartedAgain(int64_t* resumed_us) const {
        const bool is_daemons =
            BeginsWith(end_, "exit ") || BeginsWith(end_, "signal ") || BeginsWith(end_, "died ");
        if (scenario_.restart_after_us == 0 || !is_daemons) return false;
        *resumed_us = Journal(journal_).reached_us();
        return *resumed_us + scenario_.restart_after_us < scenario_.until_us;
    }

    const DaemonOptions& options_;
    const Scenario& scenario_;
    const PrivateFolder folder_;
    const std::string root_, record_, journal_, output_;
    std::string preloads_;
    const std::chrono::steady_clock::time_point limit_ =
        std::chrono::steady_clock::now() + std::chrono::seconds(options_.limit_seconds);
    std::string end_;
    Outcome outcome_;
};

}  // namespace

Outcome RunDaemon(const DaemonOptions& options, const Scenario& scenario) {
    return DaemonRun(options, scenario).Run();
}

}  // namespace virtual_time
