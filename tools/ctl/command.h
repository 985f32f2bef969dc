// How a command of ravelinctl is declared. A file of tools/ctl holds one, as a function `Command
// NameCommand()`, and commands.inc lists it; help, man page and the shell's completion follow from what is
// said here.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace ctl {

constexpr int kStatusDone = 0;
constexpr int kStatusWrongCommandLine = 2;

struct ExitStatus {
    int status;
    std::string meaning;
};

struct HelpItem {
    std::string term;
    std::string text;
};

/// A list of its own in the help, between arguments and options.
struct HelpList {
    std::string heading;
    std::vector<HelpItem> items;
};

/// Does the command's work, once its command line has been read; the exit status.
using Run = std::function<int()>;

struct Command {
    std::string name;
    std::string summary;  // what it does, in a line of --help: "shows ..."
    std::string about;    // the rest, as paragraphs with a blank line between; the line ends don't count
    std::vector<ExitStatus> exit_statuses;
    // Adds the options, and gives back what will use their values. Called for each command on each start, so
    // it must not do anything else.
    std::function<Run(CLI::App& app)> declare;
    std::vector<HelpList> lists = {};
};

// Checks of a value, for Option::check. What they say follows the name of the option, e.g. "--lines wants a
// number from 1 to 9, not "x"". A folder, file and word are completed by the shell: for files it is enough to
// give the option a type name of kFileNames or kFolderNames (completion.h).

/// A whole number; `most` of INT_MAX is no limit.
CLI::Validator Number(int least, int most);
/// One of these words.
CLI::Validator OneOf(const std::vector<std::string>& words);
/// Any text, for which the shell offers these words.
CLI::Validator AnyTextLike(const std::vector<std::string>& words);

/// Refuses a command line for a fault that no check of a single value sees; thrown by declare's Run or a
/// check.
[[noreturn]] void RefuseCommandLine(const std::string& fault);

/// A line on standard error, "ravelinctl NAME: TEXT", with what a terminal might take for a command escaped.
void Complain(const std::string& name, const std::string& text);

}  // namespace ctl
