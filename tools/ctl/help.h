// What --help says, laid out as the other tools of this project do it, so that cmake/man_page.awk can make
// the man page of it.
#pragma once

#include <string>
#include <vector>

#include "tools/ctl/command.h"

namespace ctl {

/// Of `ravelinctl --help`.
std::string ToolHelp(const CLI::App& tool, const std::vector<Command>& commands);

/// Of `ravelinctl COMMAND --help`.
std::string CommandHelp(const CLI::App& app, const Command& command);

/// All of it in one text, for the man page: a line "## COMMAND" begins what belongs to a command.
std::string WholeHelp(const CLI::App& tool, const std::vector<Command>& commands);

/// The name of an option's value, "FILE"; empty for a flag. CLI11 appends to it what checks say of
/// themselves.
std::string ValueName(const CLI::Option& option);

/// The words that a check of the option offers for its value; none for most.
std::vector<std::string> OfferedWords(const CLI::Option& option);

}  // namespace ctl
