#include "simulator/bus_peer/options.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "simulator/bus_peer/message.h"
#include "simulator/text/text.h"

namespace bus_peer {

namespace {

constexpr int kWindowLimit = 100;  // a bus refuses more than 128 unanswered calls of a connection by default
constexpr int kRepeatLimit = 100000000;
constexpr double kTimeoutLimit_seconds = 1000000;

bool ReadSeconds(const char* text, int* milliseconds) {
    char* end = nullptr;
    const double value = strtod(text, &end);
    if (end == text || *end != '\0' || !(value > 0) || value > kTimeoutLimit_seconds) return false;
    *milliseconds = static_cast<int>(std::ceil(value * 1000));
    return true;
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
        if (options->command == "upgrade" && text.size() > kTextLimit) {
            return "upgrade: a text has more than 255 bytes";
        }
        if (options->command != "raw") continue;
        const auto bytes = simulator_text::FromHex(text);
        if (!bytes) return "raw: not hexadecimal: " + text;
        options->raw.assign(bytes->begin(), bytes->end());
    }
    return "";
}

}  // namespace

std::string ReadOptions(int argc, char** argv, Options* options) {
    if (const char* address = getenv("RAVELIN_BUS_ADDRESS")) options->address = address;
    const auto take_timeout = [options](const std::string& value) -> std::string {
        options->has_timeout = true;
        return ReadSeconds(value.c_str(), &options->timeout_ms) ? "" : "wants a number of seconds above 0";
    };
    std::string problem = ReadCommandLine(argc, argv,
                                          {
                                              TextOption("address", &options->address),
                                              {"timeout", true, take_timeout},
                                              FlagOption("json", &options->json),
                                              NumberOption("repeat", 1, kRepeatLimit, &options->repeat),
                                              NumberOption("window", 1, kWindowLimit, &options->window),
                                              FlagOption("signal", &options->as_signal),
                                              NumberOption("count", 1, kRepeatLimit, &options->count),
                                              NumberOption("reply", 0, UINT8_MAX, &options->reply),
                                          },
                                          options);
    if (!problem.empty() || options->asks_for_text()) return problem;
    if (!options->words.empty()) {
        options->command = options->words[0];
        options->arguments.assign(options->words.begin() + 1, options->words.end());
    }
    problem = CheckCommand(*options);
    return problem.empty() ? CheckArguments(options) : problem;
}

}  // namespace bus_peer
