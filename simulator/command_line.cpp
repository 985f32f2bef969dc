#include "simulator/command_line.h"

#include <getopt.h>

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace {

/// What is wrong with the option that getopt_long has just returned as `result`; empty when nothing is. Wants
/// a list of short options that begins with ':', long options with values below ' ', and opterr cleared.
std::string OptionProblem(int result, char* const* argv) {
    const std::string word = argv[optind - 1];
    if (result != ':' && result != '?') {
        if (optarg == nullptr || *optarg != '\0') return "";
        return (word.empty() ? argv[optind - 2] : word.substr(0, word.find('='))) +
               " wants a value that isn't empty";
    }
    const bool is_long = optopt < ' ';
    if (result == ':') {
        return (is_long ? word : std::string("-") + static_cast<char>(optopt)) + " wants a value";
    }
    if (!is_long) return std::string("unknown option -") + static_cast<char>(optopt);
    const std::string name = word.substr(0, word.find('='));
    return optopt != 0 ? name + " takes no value" : "unknown option " + name;
}

/// True, and `number` set, when all of `text` is a whole number from `least` to `most`.
bool ReadWholeNumber(const std::string& text, int least, int most, int* number) {
    if (text.empty() || (isdigit(static_cast<unsigned char>(text[0])) == 0 && text[0] != '-')) return false;
    char* end = nullptr;
    errno = 0;
    const long value = strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || value < least || value > most) return false;
    *number = static_cast<int>(value);
    return true;
}

}  // namespace

ToolOption FlagOption(const char* name, bool* flag) {
    return {name, false, [flag](const std::string&) {
                *flag = true;
                return "";
            }};
}

ToolOption TextOption(const char* name, std::string* text) {
    return {name, true, [text](const std::string& value) {
                *text = value;
                return "";
            }};
}

ToolOption TextsOption(const char* name, std::vector<std::string>* texts) {
    return {name, true, [texts](const std::string& value) {
                texts->push_back(value);
                return "";
            }};
}

ToolOption NumberOption(const char* name, int least, int most, int* number) {
    return {name, true, [=](const std::string& value) -> std::string {
                if (ReadWholeNumber(value, least, most, number)) return "";
                const std::string range =
                    most == INT_MAX ? ", " + std::to_string(least) + " or more"
                                    : " from " + std::to_string(least) + " to " + std::to_string(most);
                return "wants a number" + range;
            }};
}

std::string ReadCommandLine(int argc, char** argv, std::vector<ToolOption> options, CommonOptions* common) {
    const int help = static_cast<int>(options.size());
    options.push_back(FlagOption("help", &common->help));
    options.push_back(FlagOption("version", &common->version));
    std::vector<option> known;
    for (size_t i = 0; i < options.size(); ++i) {
        const int has_value = options[i].has_value ? required_argument : no_argument;
        known.push_back({options[i].name, has_value, nullptr, static_cast<int>(i) + 1});
    }
    known.push_back({nullptr, 0, nullptr, 0});
    opterr = 0;
    for (int result; (result = getopt_long(argc, argv, ":h", known.data(), nullptr)) != -1;) {
        std::string problem = OptionProblem(result, argv);
        if (!problem.empty()) return problem;
        const ToolOption& taken = options[static_cast<size_t>(result == 'h' ? help : result - 1)];
        const std::string value = taken.has_value ? optarg : "";
        problem = taken.take(value);
        if (!problem.empty()) {
            return std::string("--") + taken.name + " " + problem + ", not \"" + value + "\"";
        }
    }
    common->words.assign(argv + optind, argv + argc);
    return "";
}

std::string WordProblem(const std::string& word) {
    return "unexpected argument \"" + word + "\"";
}

int RefuseCommandLine(const char* tool, const std::string& problem) {
    fflush(stdout);
    fprintf(stderr, "%s: %s; see --help\n", tool, problem.c_str());
    return kStatusWrongCommandLine;
}
