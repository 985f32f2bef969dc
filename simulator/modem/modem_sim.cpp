// modem_sim: a modem for people and programs that have none. Reads its options, then runs until Ctrl-C; or
// sends knobs to one that runs.
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "simulator/command_line.h"
#include "simulator/help_text.h"
#include "simulator/modem/control_socket.h"
#include "simulator/modem/live_modem.h"
#include "simulator/modem/modem_model.h"

namespace {

constexpr char kTool[] = "modem_sim";
constexpr int kStatusFailed = 1;

struct Options : CommonOptions {
    modem_sim::ModemOptions modem;
    std::string link_path;
    std::string control_path;
    std::string gpio_path;
    std::string send_path;
    std::vector<std::string> knobs;
    bool log = false;
};

/// What is wrong with the words that are no knobs for a running simulator; empty when nothing is.
std::string CheckOptions(const Options& options) {
    if (options.send_path.empty()) {
        if (!options.words.empty()) return WordProblem(options.words[0]);
    } else if (options.words.empty()) {
        return "--send wants a KNOB after the socket";
    }
    if (!modem_sim::Modem::IsFamily(options.modem.family)) {
        return "no family is called \"" + options.modem.family + "\"";
    }
    return "";
}

/// What is wrong with the command line; empty, and `options` filled, when nothing is.
std::string ReadOptions(int argc, char** argv, Options* options) {
    const std::string problem = ReadCommandLine(argc, argv,
                                                {
                                                    TextOption("link", &options->link_path),
                                                    TextOption("control", &options->control_path),
                                                    TextOption("gpio", &options->gpio_path),
                                                    TextOption("family", &options->modem.family),
                                                    TextOption("model", &options->modem.model),
                                                    TextsOption("set", &options->knobs),
                                                    FlagOption("log", &options->log),
                                                    TextOption("send", &options->send_path),
                                                },
                                                options);
    return !problem.empty() || options->asks_for_text() ? problem : CheckOptions(*options);
}

int Complain(const std::string& text) {
    fprintf(stderr, "%s: %s\n", kTool, text.c_str());
    return kStatusFailed;
}

/// Readable once the process is asked to end.
int OpenStopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);  // a reader of the log that goes away doesn't end the modem
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

int Simulate(const Options& options) {
    const int stop_fd = OpenStopSignals();
    modem_sim::LiveModem modem(options.modem, options.link_path, options.log);
    std::string error;
    for (const std::string& knob : options.knobs) {
        if (!modem.Turn(knob, &error)) return RefuseCommandLine(kTool, error);
        printf("%s", error.c_str());
    }
    if (!options.control_path.empty() && !modem.Listen(options.control_path, &error)) return Complain(error);
    if (!options.gpio_path.empty() && !modem.WatchPin(options.gpio_path, &error)) return Complain(error);
    return modem.Run(stop_fd, &error) ? 0 : Complain(error);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    const std::string problem = ReadOptions(argc, argv, &options);
    if (!problem.empty()) return RefuseCommandLine(kTool, problem);
    if (options.asks_for_text()) {
        fputs(options.help ? kHelpText : kVersionText, stdout);
        return 0;
    }
    if (!options.send_path.empty()) return modem_sim::SendLines(options.send_path, options.words);
    return Simulate(options);
}
