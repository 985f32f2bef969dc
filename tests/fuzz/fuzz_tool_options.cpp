// Any words, separated by NULs, as the command line of a tool: a made-up one with every kind of option, and
// that of ocpp_peer. Either something is wrong, and is said, or every value lies where it may.
#include <getopt.h>

#include <algorithm>
#include <climits>
#include <string>
#include <tuple>
#include <vector>

#include "simulator/bus_peer/options.h"
#include "simulator/command_line.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/fuzz/fuzz_input.h"

namespace {

using Words = std::vector<std::string>;

constexpr int kLeast = -5;
constexpr int kMost = 70000;

/// Calls `read` with an argument vector of the words.
template <class Read>
std::string WithArguments(Words words, Read read) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    optind = 0;  // a new vector
    return read(static_cast<int>(words.size()), arguments.data());
}

bool IsWord(const Words& words, const std::string& text) {
    return std::find(words.begin(), words.end(), text) != words.end();
}

/// A value stands in a word of its own, or behind "=".
bool IsValue(const Words& words, const std::string& text) {
    return IsWord(words, text) || std::any_of(words.begin(), words.end(), [&text](const std::string& word) {
               const size_t equals = word.find('=');
               return equals != std::string::npos && word.substr(equals + 1) == text;
           });
}

auto ReadMadeUp(const Words& words) {
    bool flag = false;
    int number = 0;
    int unlimited = 1;
    std::string text;
    Words texts;
    CommonOptions common;
    const std::string problem = WithArguments(words, [&](int count, char** arguments) {
        return ReadCommandLine(count, arguments,
                               {
                                   FlagOption("flag", &flag),
                                   NumberOption("number", kLeast, kMost, &number),
                                   NumberOption("unlimited", 1, INT_MAX, &unlimited),
                                   TextOption("text", &text),
                                   TextsOption("texts", &texts),
                               },
                               &common);
    });
    FUZZ_CHECK(number >= kLeast && number <= kMost && unlimited >= 1);
    FUZZ_CHECK(text.empty() || IsValue(words, text));
    for (const std::string& each : texts) FUZZ_CHECK(!each.empty() && IsValue(words, each));
    FUZZ_CHECK(problem.empty() || common.words.empty());
    for (const std::string& word : common.words) FUZZ_CHECK(IsWord(words, word));
    return std::make_tuple(problem, flag, number, unlimited, text, texts, common.help, common.version,
                           common.words);
}

auto ReadPeer(const Words& words) {
    bus_peer::Options options;
    const std::string problem = WithArguments(
        words, [&](int count, char** arguments) { return ReadOptions(count, arguments, &options); });
    FUZZ_CHECK(options.repeat >= 1 && options.window >= 1 && options.count >= 0 && options.timeout_ms > 0);
    FUZZ_CHECK(options.reply >= 0 && options.reply <= UINT8_MAX);
    FUZZ_CHECK(options.address.empty() || IsValue(words, options.address));
    if (problem.empty() && !options.asks_for_text()) {
        FUZZ_CHECK(IsWord(words, options.command));
        FUZZ_CHECK(options.command == "raw" || options.raw.empty());
    }
    return std::make_tuple(problem, options.repeat, options.window, options.count, options.timeout_ms,
                           options.reply, options.address, options.command, options.arguments, options.raw);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Words words = SplitInput(bytes, size, '\0');
    words.insert(words.begin(), "tool");
    FUZZ_CHECK(ReadMadeUp(words) == ReadMadeUp(words));
    FUZZ_CHECK(ReadPeer(words) == ReadPeer(words));
    return 0;
}
