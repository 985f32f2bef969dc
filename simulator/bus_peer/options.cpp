#include "simulator/bus_peer/options.h"

#include <getopt.h>

#include <cmath>
#include <cstdlib>

#include "simulator/command_line.h"

namespace bus_peer {

namespace {

constexpr int kWindowLimit = 100;  // a bus refuses more than 128 unanswered calls of a connection by default
constexpr int kRepeatLimit = 100000000;
constexpr size_t kTextLimit = 255;  // an item's length is one byte
constexpr double kTimeoutLimit_seconds = 1000000;

enum Option { kAddress = 1, kTimeout, kJson, kRepeat, kWindow, kSignal, kCount, kReply, kHelp, kVersion };

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
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0},
};

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
            return ReadWholeNumber(value, 1, kRepeatLimit, &options->repeat);
        case kWindow:
            return ReadWholeNumber(value, 1, kWindowLimit, &options->window);
        case kSignal:
            options->as_signal = true;
            return true;
        case kCount:
            return ReadWholeNumber(value, 1, kRepeatLimit, &options->count);
        case kReply:
            return ReadWholeNumber(value, 0, 255, &options->reply);
        case kHelp:
            options->help = true;
            return true;
        case kVersion:
            options->version = true;
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
        return options.command + " takes " + std::to_string(command.arguments) + " arguments, not " +
               std::to_string(options.arguments.size());
    }
    return "no command is called \"" + options.command + "\"";
}

std::string CheckArguments(Options* options) {
    for (const std::string& text : options->arguments) {
        if (options->command == "upgrade" && text.size() > kTextLimit)
            return "upgrade: a text has more than 255 bytes";
        if (options->command == "raw" && !FromHex(text, &options->raw))
            return "raw: not hexadecimal: " + text;
    }
    return "";
}

}  // namespace

std::string ReadOptions(int argc, char** argv, Options* options) {
    if (const char* address = getenv("RAVELIN_BUS_ADDRESS")) options->address = address;
    opterr = 0;
    int option = 0;
    int index = 0;
    while ((option = getopt_long(argc, argv, ":h", kOptions, &index)) != -1) {
        const std::string problem = OptionProblem(option, argv);
        if (!problem.empty()) return problem;
        if (option == 'h') option = kHelp;
        if (!TakeOption(option, optarg, options)) {
            return std::string("--") + kOptions[index].name + ": not valid: " + optarg;
        }
    }
    if (options->help || options->version) return "";
    if (optind < argc) options->command = argv[optind++];
    while (optind < argc) options->arguments.push_back(argv[optind++]);
    const std::string problem = CheckCommand(*options);
    return problem.empty() ? CheckArguments(options) : problem;
}

}  // namespace bus_peer
