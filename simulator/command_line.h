// What the tools have in common about command lines. A tool refuses a wrong one with a single line on
// standard error, "TOOL: FAULT; see --help", and ends with kStatusWrongCommandLine.
#pragma once

#include <functional>
#include <string>
#include <vector>

constexpr int kStatusWrongCommandLine = 2;

/// One option, spelt --name, and what becomes of its value.
struct ToolOption {
    const char* name;
    bool has_value;  // which must not be empty
    // What is wrong with the value, to follow the name; empty when nothing is. Called with "" where there is
    // none.
    std::function<std::string(const std::string& value)> take;
};

ToolOption FlagOption(const char* name, bool* flag);
ToolOption TextOption(const char* name, std::string* text);
/// May be repeated.
ToolOption TextsOption(const char* name, std::vector<std::string>* texts);
/// A whole number; `most` of INT_MAX is no limit.
ToolOption NumberOption(const char* name, int least, int most, int* number);

/// What a tool's options have in common.
struct CommonOptions {
    bool help = false;  // --help or -h
    bool version = false;
    std::vector<std::string> words;  // what is no option

    bool asks_for_text() const { return help || version; }
};

/// What is wrong with the options of a command line; empty, and all of them taken, when nothing is.
std::string ReadCommandLine(int argc, char** argv, std::vector<ToolOption> options, CommonOptions* common);

/// What is wrong with a word that is no option, where none is wanted.
std::string WordProblem(const std::string& word);

/// Prints the refusal; the exit status of the tool.
int RefuseCommandLine(const char* tool, const std::string& problem);
