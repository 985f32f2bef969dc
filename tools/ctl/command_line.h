// The command line of ravelinctl: all commands as one tree of CLI11, and what is said of a wrong one.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/ctl/command.h"

namespace ctl {

constexpr char kToolName[] = "ravelinctl";

/// Those of commands.inc.
std::vector<Command> AllCommands();

class CommandLine {
  public:
    explicit CommandLine(std::vector<Command> commands);

    /// Reads the words after the tool's name and does what they say, or refuses them in one line on standard
    /// error. The exit status of the tool.
    int Run(const std::vector<std::string>& words);

    CLI::App& app() { return app_; }

  private:
    int Refuse(const std::string& fault) const;
    // What is wrong with the words that nothing took; empty when all are taken.
    std::string LeftOver() const;
    CLI::App* Chosen() const;

    std::vector<Command> commands_;
    CLI::App app_;
    std::vector<ctl::Run> runs_;  // of each command
    std::string generated_;       // what the hidden command was asked to make
};

}  // namespace ctl
