#include "tools/board/pipe_command.h"

#include "simulator/text/text.h"
#include "tools/board/pipe.h"

namespace board {

namespace {

using simulator_text::StartsWith;

constexpr char kSoftReset[] = "[FIFO] SoftReset run";
constexpr char kDeviceReset[] = "[FIFO] DeviceReset run";
constexpr char kNoReset[] = "";

}  // namespace

const std::vector<PipeCommand>& PipeCommands() {
    static const std::vector<PipeCommand> commands = {
        {"SoftReset:1", "sets the modem up again over AT", "[FIFO]SoftReset:1", kSoftReset, false},
        {"Reset4G:1", "resets the modem by the board's script", "[FIFO]Reset4G:1", kDeviceReset, false},
        {"S84Reset4G:1", "the same: the daemon picks the script by board and modem", "[FIFO]S84Reset4G:1",
         kDeviceReset, false},
        {"4G_MODEM_STATUS:online", "a script finds the link up; only logged, at level 7",
         "[FIFO]4G_MODEM_STATUS:online", kNoReset, true},
        {"4G_MODEM_STATUS:offline", "a script finds the link down; only logged",
         "[FIFO]4G_MODEM_STATUS:offline", kNoReset, false},
        {"orla_ip_list:noexist", "a script has no list of hosts; only logged", "[FIFO]orla_ip_list:noexist",
         kNoReset, false},
    };
    return commands;
}

const PipeCommand* FindPipeCommand(const std::string& text) {
    for (const PipeCommand& command : PipeCommands()) {
        if (text == command.text) return &command;
    }
    return nullptr;
}

std::string LineProblem(const std::string& line) {
    if (line.find_first_of(std::string("\n\0", 2)) != std::string::npos) return "a command is one line";
    if (line.find_first_not_of(' ') == std::string::npos) return "a command is empty";
    if (line.size() > kMessageLimit_bytes) {
        return "commands have at most " + std::to_string(kMessageLimit_bytes) + " bytes";
    }
    return "";
}

bool IsOfPipe(const DaemonLine& line) {
    return StartsWith(line.message, "[FIFO]") || line.function == "thread_function_pipe" ||
           line.function == "handle_command";
}

void PipeAnswer::See(const DaemonLine& line) {
    if (StartsWith(line.message, command_->taken)) {
        is_taken_ = true;
    } else if (is_taken_ && *command_->outcome != '\0' && StartsWith(line.message, command_->outcome)) {
        is_begun_ = true;
    }
}

}  // namespace board
