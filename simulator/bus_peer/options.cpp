#include "simulator/bus_peer/options.h"

#include <getopt.h>

#include <cmath>
#include <cstdlib>

namespace bus_peer {

const char kUsage[] =
    R"(usage: ocpp_peer [OPTION]... COMMAND [ARGUMENT]...

Talks to ravelin-mobile over the message bus in the place of the OCPP service.

  status                     asks for the state of the modem, and prints its fifteen items
  upgrade MODULE TOOL PATH   asks for an upgrade of the modem's firmware
  watch                      prints what the daemon sends by itself, and confirms it, until it is ended
  raw HEX                    sends these bytes as they stand, and prints the answer: raw "FF 6A A6 00 07 00 04 76 03 7B 92"

  --address ADDRESS   D-Bus address of the bus; otherwise that in RAVELIN_BUS_ADDRESS, otherwise the system bus
  --timeout SECONDS   how long to wait for an answer (5 unless told); of watch, how long to watch (for ever unless told)
  --json              status: prints an object of JSON
  --repeat N          status, raw: asks N times over one connection, and prints how often a second
  --window N          with --repeat: so many questions at a time (1 unless told, at most 100)
  --signal            raw: sends a signal, which nobody answers
  --count N           watch: ends after N frames
  --reply N           watch: the data byte of its answers (1 confirms, and is what it sends unless told)
  --help              this text

The exit status is 0 when it went well, 1 when the daemon refused what was asked, 2 for a wrong command line, 3 when there
is no bus (or it lets nobody speak to the daemon) or no daemon, 4 when no answer came in time, 5 when the answer is broken.
)";

namespace {

constexpr int kWindowLimit =
    100;  // a bus refuses more than 128 unanswered calls of a connection, unless told otherwise
constexpr int kRepeatLimit = 100000000;
constexpr size_t kTextLimit = 255;  // an item's length is one byte
constexpr double kTimeoutLimit_seconds = 1000000;

enum Option { kAddress = 1, kTimeout, kJson, kRepeat, kWindow, kSignal, kCount, kReply, kHelp };

constexpr option kOptions[] = {
    {"address", required_argument, nullptr, kAddress},
    {"timeout", required_argument, nullptr, kTimeout},
    {"json", no_argument, nullptr, kJson},
    {"repeat", required_argument, nullptr, kRepeat},
    {"window", required_argument, nullptr, kWindow},
    {"signal", no_argument, nullptr, kSignal},
    {"count", required_argument, nullptr, kCount},
    {"reply", required_argument, nullptr, kReply},
    {"help", no_argument, nullptr, kHelp},
    {nullptr, 0, nullptr, 0},
};

bool ReadNumber(const char* text, int least, int most, int* number) {
    char* end = nullptr;
    const long value = strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < least || value > most) return false;
    *number = static_cast<int>(value);
    return true;
}

bool ReadSeconds(const char* text, int* milliseconds) {
    char* end = nullptr;
    const double value = strtod(text, &end);
    if (end == text || *end != '\0' || !(value > 0) || value > kTimeoutLimit_seconds) return false;
    *milliseconds = static_cast<int>(std::ceil(value * 1000));
    return true;
}

bool TakeOption(int option, const char* value, Options* options) {
    switch (option) {
        case kAddress:
            options->address = value;
            return true;
        case kTimeout:
            options->has_timeout = true;
            return ReadSeconds(value, &options->timeout_ms);
        case kJson:
            options->json = true;
            return true;
        case kRepeat:
            return ReadNumber(value, 1, kRepeatLimit, &options->repeat);
        case kWindow:
            return ReadNumber(value, 1, kWindowLimit, &options->window);
        case kSignal:
            options->as_signal = true;
            return true;
        case kCount:
            return ReadNumber(value, 1, kRepeatLimit, &options->count);
        case kReply:
            return ReadNumber(value, 0, 255, &options->reply);
        case kHelp:
            options->help = true;
            return true;
        default:
            return false;
    }
}

struct Command {
    const char* name;
    size_t arguments;
};
constexpr Command kCommands[] = {{"status", 0}, {"upgrade", 3}, {"watch", 0}, {"raw", 1}};

std::string CheckCommand(const Options& options) {
    if (options.command.empty()) return "a command is missing";
    for (const Command& command : kCommands) {
        if (options.command != command.name) continue;
        if (options.arguments.size() == command.arguments) return "";
        return options.command + " takes " + std::to_string(command.arguments) + " arguments";
    }
    return "no command is called " + options.command;
}

std::string CheckArguments(Options* options) {
    for (const std::string& text : options->arguments) {
        if (options->command == "upgrade" && text.size() > kTextLimit)
            return "a text has more than 255 bytes";
        if (options->command == "raw" && !FromHex(text, &options->raw)) return "not hexadecimal: " + text;
    }
    return "";
}

}  // namespace

std::string ReadOptions(int argc, char** argv, Options* options) {
    if (const char* address = getenv("RAVELIN_BUS_ADDRESS")) options->address = address;
    opterr = 0;
    int option = 0;
    while ((option = getopt_long(argc, argv, "", kOptions, nullptr)) != -1) {
        if (option == '?') return std::string("unknown or incomplete: ") + argv[optind - 1];
        if (!TakeOption(option, optarg, options)) return std::string("not valid: ") + optarg;
    }
    if (options->help) return "";
    if (optind < argc) options->command = argv[optind++];
    while (optind < argc) options->arguments.push_back(argv[optind++]);
    const std::string problem = CheckCommand(*options);
    return problem.empty() ? CheckArguments(options) : problem;
}

}  // namespace bus_peer
