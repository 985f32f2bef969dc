// What --help says, laid out as the other tools of this project do it, so that cmake/man_page.awk can make
// the man page of it.
#pragma once

#include <string>
#include <vector>

#include "tools/ctl/command_line.h"

namespace ctl {

/// Of `ravelinctl --help`.
std::string ToolHelp(const std::vector<DeclaredCommand>& commands);

/// Of `ravelinctl COMMAND --help`.
std::string CommandHelp(const DeclaredCommand& command);

/// All of it in one text, for the man page: a line "## COMMAND" begins what belongs to a command.
std::string WholeHelp(const std::vector<DeclaredCommand>& commands);

}  // namespace ctl
