// `ravelinctl send`: a command through the daemon's pipe, and what the log makes of it.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <thread>

#include "tools/board/daemon_process.h"
#include "tools/board/log_tail.h"
#include "tools/board/pipe.h"
#include "tools/board/pipe_command.h"
#include "tools/ctl/commands.h"
#include "tools/ctl/terminal.h"

namespace ctl {

namespace {

using std::chrono::steady_clock;

constexpr char kSendName[] = "send";
constexpr int kNotShown = 1;
constexpr int kNotSent = 3;
constexpr std::chrono::milliseconds kLogLook_ms(200);

struct SendOptions {
    std::vector<std::string> commands;
    std::string log;
    std::string pipe = board::kPipePath;
    int wait_seconds = 10;
    bool force = false;
};

using Answers = std::vector<board::PipeAnswer>;

/// The line that is sent; refuses what the daemon doesn't know.
std::string LineOf(const SendOptions& options) {
    std::string line;
    for (const std::string& command : options.commands) {
        const std::string problem = board::LineProblem(command);
        if (!problem.empty()) RefuseCommandLine(problem);
        if (!options.force && board::FindPipeCommand(command) == nullptr) {
            RefuseCommandLine("the daemon knows no \"" + command +
                              "\" (--force sends it all the same); it knows" + [] {
                                  std::string known;
                                  for (const auto& each : board::PipeCommands()) {
                                      known += std::string(" ") + each.text;
                                  }
                                  return known;
                              }());
        }
        line += (line.empty() ? "" : " ") + command;
    }
    const std::string problem = board::LineProblem(line);
    if (!problem.empty()) RefuseCommandLine(problem);
    return line;
}

std::string WhyNotSent(const board::Pipe& pipe) {
    switch (pipe.state()) {
        case board::PipeState::kMissing:
            return pipe.problem() + ": ravelin-mobile isn't running, or makes a new one within 5 seconds";
        case board::PipeState::kNoReader:
            return pipe.problem() +
                   ": ravelin-mobile isn't running, or lost its pipe and makes a new one within 5 seconds";
        case board::PipeState::kNoPipe:
            return pipe.problem() + "; remove it, and ravelin-mobile makes a new one within 5 seconds";
        default:
            return pipe.problem();
    }
}

bool AreDone(const Answers& answers) {
    return std::all_of(answers.begin(), answers.end(), [](const auto& answer) { return answer.is_done(); });
}

/// Shows what comes until all commands are done, or the time is over.
void WatchLog(board::LogTail& log, int wait_seconds, Answers* answers) {
    const auto deadline = steady_clock::now() + std::chrono::seconds(wait_seconds);
    while (true) {
        for (const std::string& line : log.NewLines()) {
            const std::optional<board::DaemonLine> said = board::ReadDaemonLine(line);
            if (!said || !board::IsOfPipe(*said)) continue;
            puts(Shown(line).c_str());
            for (board::PipeAnswer& answer : *answers) answer.See(*said);
        }
        fflush(stdout);
        // Of commands that nobody knows there is nothing to wait for but the time.
        if ((!answers->empty() && AreDone(*answers)) || steady_clock::now() >= deadline) return;
        std::this_thread::sleep_for(kLogLook_ms);
    }
}

int Judge(const Answers& answers, int wait_seconds) {
    int status = kStatusDone;
    for (const board::PipeAnswer& answer : answers) {
        const board::PipeCommand& command = answer.command();
        const std::string name = command.text;
        if (answer.is_done()) {
            printf("%s: %s\n", command.text,
                   *command.outcome == '\0' ? "taken" : "the daemon has begun the reset");
            continue;
        }
        status = kNotShown;
        const std::string within = " within " + std::to_string(wait_seconds) + " s";
        if (answer.is_taken()) {
            Complain(
                kSendName,
                name + ": taken, but no reset" + within +
                    ". It comes after the daemon's present step (--wait looks longer), or it was dropped: no "
                    "modem is found yet, or an upgrade of its firmware is running");
        } else {
            Complain(kSendName, name + ": sent, but the log shows nothing of it" + within +
                                    (command.is_debug ? " (with -Dl 7 alone it would)" : ""));
        }
    }
    return status;
}

int RunSend(const SendOptions& options) {
    const std::string line = LineOf(options);
    board::LogTail log;
    bool has_log = false;
    if (!options.log.empty()) {
        has_log = log.OpenFile(options.log);
        if (!has_log) {
            Complain(kSendName, log.problem() + "; nothing was sent");
            return kNotSent;
        }
    } else if (options.wait_seconds > 0) {
        const auto daemon = board::FindDaemon();
        has_log = log.OpenFound(daemon ? daemon->log : "");
    }
    board::Pipe pipe(options.pipe);
    if (pipe.state() != board::PipeState::kOpen || !pipe.Send(line)) {
        Complain(kSendName, WhyNotSent(pipe));
        return kNotSent;
    }
    Answers answers;
    for (const std::string& command : options.commands) {
        const board::PipeCommand* known = board::FindPipeCommand(command);
        if (known != nullptr) answers.emplace_back(*known);
    }
    if (options.wait_seconds == 0) {
        printf("sent \"%s\"\n", Shown(line).c_str());
        return kStatusDone;
    }
    if (!has_log) {
        Complain(kSendName, "sent; no log is found to look at, give one with --log");
        return kNotShown;
    }
    printf("sent \"%s\", watching %s\n", Shown(line).c_str(), Shown(log.name()).c_str());
    WatchLog(log, options.wait_seconds, &answers);
    const int status = Judge(answers, options.wait_seconds);
    if (answers.size() == options.commands.size()) return status;
    Complain(kSendName,
             "of what the daemon doesn't know, its log says nothing at the usual level, and nothing is done");
    return kNotShown;
}

}  // namespace

Command SendCommand() {
    std::vector<std::string> words;
    HelpList list = {"Commands", {}};
    for (const board::PipeCommand& command : board::PipeCommands()) {
        words.emplace_back(command.text);
        list.items.push_back({command.text, command.meaning});
    }
    const auto declare = [words](OptionSet& takes) -> Run {
        const auto options = std::make_shared<SendOptions>();
        takes.Argument("COMMAND", &options->commands, "what is sent, in one line")
            .Required()
            .Checked(AnyTextLike(words));
        takes.Flag("--force", &options->force, "sends what the daemon doesn't know too");
        takes.Value("-l,--log", "LOG", &options->log,
                    "the daemon's log; otherwise the file after its own -DL, else the journal, else "
                    "/var/log/syslog or "
                    "/var/log/messages");
        takes.Value("-p,--pipe", "PIPE", &options->pipe, "the pipe, if it isn't /run/network/ravelin_fifo");
        takes
            .Value("-w,--wait", "SECONDS", &options->wait_seconds,
                   "how long to watch the log, 10 unless given, 0 not at all; a reset waits for the "
                   "daemon's present "
                   "step, which can take minutes")
            .Checked(Number(0, kMostWait_seconds));
        return [options] { return RunSend(*options); };
    };
    Command command = {
        kSendName,
        "sends the daemon commands through its pipe",
        "Shows the lines that the daemon's log has of it, until the command was taken and what it asks for "
        "has begun. Nothing is waited for at the pipe, and no file is made in its place.",
        {{kStatusDone, "the log shows what the commands were to lead to; with --wait 0: they were sent"},
         {kNotShown, "sent, but the log doesn't show that"},
         {kStatusWrongCommandLine, "the command line is wrong; nothing was sent"},
         {kNotSent, "nothing was sent: no daemon, no pipe, no right to write to it, or no such log"}},
        declare};
    command.lists.push_back(list);
    return command;
}

}  // namespace ctl
