// What the tools have in common about wrong command lines. A tool refuses one with a single line on standard
// error, "TOOL: FAULT; see --help", and ends with kStatusWrongCommandLine.
#pragma once

#include <string>

constexpr int kStatusWrongCommandLine = 2;

/// What is wrong with the option that getopt_long has just returned as `result`; empty when nothing is. Wants
/// a list of short options that begins with ':', long options with values below ' ', and opterr cleared. A
/// value must not be empty.
std::string OptionProblem(int result, char* const* argv);

/// What is wrong with a word that is no option, where none is wanted.
std::string WordProblem(const std::string& word);

/// True, and `number` set, when all of `text` is a whole number from `least` to `most`.
bool ReadWholeNumber(const std::string& text, int least, int most, int* number);

/// Prints the refusal; the exit status of the tool.
int RefuseCommandLine(const char* tool, const std::string& problem);
