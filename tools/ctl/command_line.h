// The command line of ravelinctl: all commands, and what is said of a wrong one.
#pragma once

#include <string>
#include <vector>

#include "tools/ctl/command.h"

namespace ctl {

constexpr char kToolName[] = "ravelinctl";

/// Those of commands.inc.
std::vector<Command> AllCommands();

/// A command, and what it has declared.
struct DeclaredCommand {
    Command command;
    OptionSet takes;
    Run run;
};

class CommandLine {
  public:
    explicit CommandLine(std::vector<Command> commands);

    /// Reads the words after the tool's name and does what they say, or refuses them in one line on standard
    /// error. The exit status of the tool. Once.
    int Run(const std::vector<std::string>& words) const;

    const std::vector<DeclaredCommand>& commands() const { return commands_; }

  private:
    std::vector<DeclaredCommand> commands_;
};

}  // namespace ctl
