// modem_sim: a modem for people and programs that have none. Reads its options, then runs until Ctrl-C; or
// sends knobs to one that runs.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <getopt.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "simulator/modem/control_socket.h"
#include "simulator/modem/live_modem.h"
#include "simulator/modem/modem_model.h"

namespace {

struct Options {
    modem_sim::ModemOptions modem;
    std::string link_path;
    std::string control_path;
    std::string gpio_path;
    std::string send_path;
    std::vector<std::string> knobs;
    std::vector<std::string> words;  ///< what is no option
    bool log = false;
    bool help = false;
};

void PrintHelp() {
    printf(
        "A simulated modem behind a pty.\n\n"
        "  modem_sim --link PATH [--control SOCKET] [--gpio FILE] [--family NAME] [--model NAME]\n"
        "            [--set KNOB]... [--log]\n"
        "  modem_sim --send SOCKET KNOB...\n\n"
        "  --link PATH       Name under which the port appears; without it only the pty's own name, which is "
        "told\n"
        "  --control SOCKET  Takes knobs while it runs, one a line, at this unix socket\n"
        "  --gpio FILE       SIM selector pin: a 1 written there selects holder 1, a 0 holder 2\n"
        "  --family NAME     Family of modems, whose dialect it speaks:\n");
    for (const std::string& family : modem_sim::Modem::Families()) {
        printf("                      %s:", family.c_str());
        for (const std::string& model : modem_sim::Modem::Models(family)) printf(" %s", model.c_str());
        printf("\n");
    }
    printf(
        "  --model NAME      Model in that family, any text; without it the family's first\n"
        "  --set KNOB        Turns a knob before the start; repeat it for more\n"
        "  --log             Tells traffic, knobs and the comings and goings of the port, with seconds from "
        "the start\n"
        "  --send SOCKET     Sends each KNOB to the simulator that listens there; quote a knob with "
        "blanks\n\n"
        "It starts as a modem that has been on for a while: SIM ready, registered, echo on, no data call.\n"
        "Ctrl-C ends it and removes link and socket.\n\n"
        "Knobs, at --set, --control and --send alike:\n\n%s",
        modem_sim::Modem::KnobHelp().c_str());
}

bool ReadOptions(int argc, char** argv, Options* options) {
    enum { kLink = 1, kControl, kGpio, kFamily, kModel, kSet, kLog, kSend, kHelp };
    const option known[] = {
        {"link", required_argument, nullptr, kLink},   {"control", required_argument, nullptr, kControl},
        {"gpio", required_argument, nullptr, kGpio},   {"family", required_argument, nullptr, kFamily},
        {"model", required_argument, nullptr, kModel}, {"set", required_argument, nullptr, kSet},
        {"log", no_argument, nullptr, kLog},           {"send", required_argument, nullptr, kSend},
        {"help", no_argument, nullptr, kHelp},         {nullptr, 0, nullptr, 0},
    };
    for (int which = 0; (which = getopt_long(argc, argv, "h", known, nullptr)) != -1;) {
        switch (which) {
            case kLink:
                options->link_path = optarg;
                break;
            case kControl:
                options->control_path = optarg;
                break;
            case kGpio:
                options->gpio_path = optarg;
                break;
            case kFamily:
                options->modem.family = optarg;
                break;
            case kModel:
                options->modem.model = optarg;
                break;
            case kSet:
                options->knobs.emplace_back(optarg);
                break;
            case kLog:
                options->log = true;
                break;
            case kSend:
                options->send_path = optarg;
                break;
            case kHelp:
            case 'h':
                options->help = true;
                break;
            default:
                return false;
        }
    }
    options->words.assign(argv + optind, argv + argc);
    return true;
}

bool Complain(const std::string& text) {
    fprintf(stderr, "modem_sim: %s\n", text.c_str());
    return false;
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

bool Simulate(const Options& options) {
    if (!modem_sim::Modem::IsFamily(options.modem.family)) {
        return Complain("no family \"" + options.modem.family + "\"; see --help");
    }
    const int stop_fd = OpenStopSignals();
    modem_sim::LiveModem modem(options.modem, options.link_path, options.log);
    std::string error;
    for (const std::string& knob : options.knobs) {
        if (!modem.Turn(knob, &error)) return Complain(error);
        printf("%s", error.c_str());
    }
    if (!options.control_path.empty() && !modem.Listen(options.control_path, &error)) return Complain(error);
    if (!options.gpio_path.empty() && !modem.WatchPin(options.gpio_path, &error)) return Complain(error);
    return modem.Run(stop_fd, &error) || Complain(error);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ReadOptions(argc, argv, &options)) return 2;
    if (options.help) {
        PrintHelp();
        return 0;
    }
    if (!options.send_path.empty()) return modem_sim::SendLines(options.send_path, options.words);
    if (!options.words.empty()) {
        Complain("what is \"" + options.words[0] + "\"? see --help");
        return 2;
    }
    return Simulate(options) ? 0 : 1;
}
