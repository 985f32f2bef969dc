// What can be sent through the daemon's pipe, and what its log then says.
#pragma once

#include <string>
#include <vector>

#include "tools/board/daemon_line.h"

namespace board {

struct PipeCommand {
    const char* text;
    const char* meaning;
    const char* taken;    // in the log once it was understood
    const char* outcome;  // in the log once the reset that it asks for begins; empty where it asks for none
    bool is_debug;        // `taken` is only logged at level 7
};

const std::vector<PipeCommand>& PipeCommands();

/// Null for what the daemon doesn't know.
const PipeCommand* FindPipeCommand(const std::string& text);

/// Why `line` can't be sent at all; empty when it can.
std::string LineProblem(const std::string& line);

/// Whether a line of the log may come from something that was sent.
bool IsOfPipe(const DaemonLine& line);

/// What the log has shown of one command.
class PipeAnswer {
  public:
    explicit PipeAnswer(const PipeCommand& command) : command_(&command) {}

    void See(const DaemonLine& line);
    bool is_taken() const { return is_taken_; }
    bool is_done() const { return is_taken_ && (is_begun_ || *command_->outcome == '\0'); }
    const PipeCommand& command() const { return *command_; }

  private:
    const PipeCommand* command_;
    bool is_taken_ = false;
    bool is_begun_ = false;
};

}  // namespace board
