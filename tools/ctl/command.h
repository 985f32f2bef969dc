// How a command of ravelinctl is declared. A file of tools/ctl holds one, as a function `Command
// NameCommand()`, and commands.inc lists it; help, man page and the shell's completion follow from what is
// said here.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/ctl/options.h"

namespace ctl {

constexpr char kUsualLog[] = "/var/log/ravelin-mobile.log";  // where the packaged service writes it

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
    std::function<Run(OptionSet& takes)> declare;
    std::vector<HelpList> lists = {};
};

/// Refuses a command line for a fault that no check of a single value sees; thrown by declare's Run.
[[noreturn]] void RefuseCommandLine(const std::string& fault);

/// A line on standard error, "ravelinctl NAME: TEXT", with what a terminal might take for a command escaped.
void Complain(const std::string& name, const std::string& text);

}  // namespace ctl
