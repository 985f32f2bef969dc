#include "simulator/command_line.h"

#include <getopt.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

std::string OptionProblem(int result, char* const* argv) {
    const std::string word = argv[optind - 1];
    if (result != ':' && result != '?') {
        if (optarg == nullptr || *optarg != '\0') return "";
        return (word.empty() ? argv[optind - 2] : word.substr(0, word.find('='))) +
               " wants a value that isn't empty";
    }
    const bool is_long = optopt < ' ';
    if (result == ':')
        return (is_long ? word : std::string("-") + static_cast<char>(optopt)) + " wants a value";
    if (!is_long) return std::string("unknown option -") + static_cast<char>(optopt);
    const std::string name = word.substr(0, word.find('='));
    return optopt != 0 ? name + " takes no value" : "unknown option " + name;
}

std::string WordProblem(const std::string& word) {
    return "unexpected argument \"" + word + "\"";
}

bool ReadWholeNumber(const std::string& text, int least, int most, int* number) {
    if (text.empty() || (isdigit(static_cast<unsigned char>(text[0])) == 0 && text[0] != '-')) return false;
    char* end = nullptr;
    errno = 0;
    const long value = strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || value < least || value > most) return false;
    *number = static_cast<int>(value);
    return true;
}

int RefuseCommandLine(const char* tool, const std::string& problem) {
    fflush(stdout);
    fprintf(stderr, "%s: %s; see --help\n", tool, problem.c_str());
    return kStatusWrongCommandLine;
}
