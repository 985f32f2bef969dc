// ravelin-guard: command line, settings, and the machine under the program. One thread, no signal handler.
#include <malloc.h>
#include <poll.h>
#include <sys/stat.h>
#include <syslog.h>

#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "simulator/command_line.h"
#include "simulator/help_text.h"
#include "tools/guard/files.h"
#include "tools/guard/outside.h"
#include "tools/guard/prober.h"
#include "tools/guard/program.h"
#include "tools/guard/settings.h"

namespace {

using guard::Settings;

constexpr char kName[] = "ravelin-guard";
constexpr int kFailure = 1;
constexpr int kSecond_ms = 1000;
constexpr int kPage_bytes = 4096;

struct Options {
    CommonOptions common;
    std::string config = guard::kSettingsPath;
    guard::Places places;
    bool to_stderr = false;
    bool is_check = false;
};

void Say(int level, const std::string& text) {
    syslog(level, "%s", text.c_str());
}

/// The board itself.
class Machine : public guard::Outside {
  public:
    int64_t SecondsSinceBoot() override { return guard::SecondsSinceBoot(); }
    std::string BootId() override { return guard::BootId(); }
    std::optional<uint64_t> ReceivedBytes(const std::string& interface) override {
        return guard::ReceivedBytes(interface);
    }
    void Say(int level, const std::string& text) override { ::Say(level, text); }
    void SendProbes(const std::string& interface, const std::vector<guard::Probe>& probes) override {
        prober_.Send(interface, probes);
    }
    bool HasAllAnswers() override { return prober_.Look(); }
    guard::Round TakeRound() override { return prober_.Take(); }
    guard::ProbeTraffic probe_traffic() const override {
        return {prober_.sent_bytes(), prober_.received_bytes()};
    }
    std::string probe_problem() const override { return prober_.problem(); }

  private:
    guard::Prober prober_;
};

int Check(const Settings& settings) {
    for (const std::string& problem : settings.problems) fprintf(stderr, "%s: %s\n", kName, problem.c_str());
    const std::string why = settings.WhyNot();
    printf("%s\n", why.empty() ? "It may act." : ("It only watches: " + why + ".").c_str());
    return why.empty() ? 0 : kFailure;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::string problem = ReadCommandLine(
        argc, argv,
        {TextOption("config", &options.config), TextOption("network", &options.places.network),
         TextOption("state", &options.places.state), TextOption("show", &options.places.show),
         TextOption("flash", &options.places.flash), FlagOption("stderr", &options.to_stderr),
         FlagOption("check", &options.is_check)},
        &options.common);
    if (problem.empty() && options.common.asks_for_text()) {
        fputs(options.common.help ? kHelpText : kVersionText, stdout);
        return 0;
    }
    if (problem.empty() && !options.common.words.empty()) problem = WordProblem(options.common.words.front());
    if (!problem.empty()) return RefuseCommandLine(kName, problem);

    const Settings settings = guard::ReadSettings(options.config);
    if (options.is_check) return Check(settings);
    umask(022);
    // What a look at a file takes goes back when it is over: the guard sleeps nearly always.
    mallopt(M_TOP_PAD, 0);
    mallopt(M_TRIM_THRESHOLD, kPage_bytes);
    signal(SIGPIPE, SIG_IGN);  // a pipe whose reader goes away is an error like others
    openlog(kName, options.to_stderr ? LOG_PERROR : 0, LOG_DAEMON);
    problem = guard::LockFolder(options.places.state);
    if (!problem.empty()) {
        Say(LOG_ERR, problem);
        return kFailure;
    }
    Machine machine;
    guard::Program program(options.places, settings, &machine);
    for (;;) poll(nullptr, 0, program.Step() * kSecond_ms);
}
