// `ravelinctl upgrade`: new firmware for the modem, from a look at what is there to the outcome.
#include "tools/board/upgrade.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

#include "simulator/bus_peer/message.h"
#include "simulator/text/text.h"
#include "tools/board/bus_question.h"
#include "tools/board/daemon_process.h"
#include "tools/board/log_tail.h"
#include "tools/ctl/commands.h"
#include "tools/ctl/terminal.h"

namespace ctl {

namespace {

using board::BusState;
using std::chrono::steady_clock;

constexpr char kUpgradeName[] = "upgrade";
constexpr int kFailed = 1;
constexpr int kNotBegun = 3;
constexpr int kRunning = 4;
constexpr int kUnknown = 5;

constexpr int kAnswer_ms = 5000;
constexpr int kLook_ms = 200;
constexpr int kUsualWait_seconds = 1800;
constexpr char kFlashOutput[] = "/run/ravelin-flash/output";  // of the tool's wrapper

struct UpgradeOptions {
    std::string address;
    std::string log;
    int wait_seconds = kUsualWait_seconds;
    bool yes = false;
    bool check = false;
};

volatile sig_atomic_t interrupted_by = 0;

void NoteInterrupt(int signal) {
    interrupted_by = signal;
}

/// Ctrl-C ends the watch, and must not leave anybody in doubt about the flash. Once: a second one ends us as
/// ever.
void CatchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = NoteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

int NotBegun(const std::string& why) {
    Complain(kUpgradeName, why);
    return kNotBegun;
}

std::string ItemOf(const board::BusStatus& status, const std::string& name) {
    for (const bus_peer::StatusItem& item : status.items) {
        if (item.name == name) return item.value;
    }
    return "";
}

/// Why the daemon can't be asked; empty when it answers.
std::string DaemonProblem(const board::BusStatus& status) {
    switch (status.state) {
        case BusState::kAnswered:
            return "";
        case BusState::kNoModem:
            return "the daemon has no modem yet; ask again later";
        case BusState::kNoBus:
            return "the bus can't be reached: " + status.problem;
        case BusState::kNoDaemon:
            return "the daemon isn't on the bus: " + status.problem;
        case BusState::kRefused:
            return "the bus doesn't let us speak to the daemon: " + status.problem;
        default:
            return "the daemon doesn't answer: " + status.problem;
    }
}

std::string Size(int64_t bytes) {
    constexpr int64_t kUnit = 1024;
    if (bytes < kUnit) return std::to_string(bytes) + " B";
    if (bytes < kUnit * kUnit) return std::to_string(bytes / kUnit) + " KiB";
    return std::to_string(bytes / kUnit / kUnit) + " MiB";
}

/// False, with the reasons said: it can't go well.
bool ShowPlan(const board::Firmware& firmware, const board::BusStatus& status) {
    Rows rows;
    rows.Add("Modem", Shown(ItemOf(status, "vendor")) + ", IMEI " + Shown(ItemOf(status, "imei")));
    rows.Add("Firmware now", Shown(ItemOf(status, "firmware")));
    rows.Add("Tool", std::string(board::kFirmwareFolder) + "/" + board::kFirmwareTool +
                         (firmware.is_wrapped ? ", which goes on if the daemon ends"
                                              : ", which ends if the daemon does: there is no wrapper"));
    int64_t bytes = 0;
    for (const board::FirmwareFile& file : firmware.files) bytes += file.size_bytes;
    rows.Add("New firmware", std::to_string(firmware.files.size()) + " files, " + Size(bytes));
    fputs(rows.Text(StandardOutput()).c_str(), stdout);
    fflush(stdout);
    for (const std::string& problem : firmware.problems) Complain(kUpgradeName, problem);
    const std::string version = ItemOf(status, "firmware");
    const bool is_known = version.compare(0, sizeof board::kUpgradeModel - 1, board::kUpgradeModel) == 0;
    if (!is_known) {
        Complain(kUpgradeName, "only an " + std::string(board::kUpgradeModel) +
                                   " can be upgraded, and this modem's firmware isn't one's: " + version);
    }
    return firmware.problems.empty() && is_known;
}

bool UserAgrees() {
    printf("The modem is offline meanwhile, and a power cut can leave it dead. Go on? [y/N] ");
    fflush(stdout);
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

class UpgradeWatch {
  public:
    UpgradeWatch(board::BusClient& bus, board::LogTail& log, bool has_log)
        : bus_(bus), log_(log), has_log_(has_log) {
        const auto daemon = board::FindDaemon();
        if (daemon) daemon_ = daemon->process;
        has_flash_ = flash_.OpenFile(kFlashOutput);
    }

    /// Shows what comes until the outcome is known. Nothing: it isn't known, and why was said.
    std::optional<unsigned> Outcome(int wait_seconds) {
        const auto deadline = start_ + std::chrono::seconds(wait_seconds);
        bool was_gone = false;
        while (true) {
            HearBus();
            ReadLogs();
            if (outcome_) return outcome_;
            if (interrupted_by != 0) return GiveUp("the watch was ended");
            if (steady_clock::now() >= deadline) {
                return GiveUp("no outcome within " + std::to_string(wait_seconds) + " s");
            }
            // What the daemon said last may come a look later.
            const bool is_gone = daemon_ != 0 && kill(daemon_, 0) != 0 && errno == ESRCH;
            if (is_gone && was_gone) {
                return GiveUp("the daemon has ended, and reports nothing of this upgrade any more");
            }
            was_gone = is_gone;
        }
    }

  private:
    void Show(const char* who, const std::string& line) const {
        const auto seconds =
            std::chrono::duration_cast<std::chrono::seconds>(steady_clock::now() - start_).count();
        printf("%4lld s  %s: %s\n", static_cast<long long>(seconds), who, Shown(line).c_str());
        fflush(stdout);
    }

    void HearBus() {
        if (!has_bus_) {
            std::this_thread::sleep_for(std::chrono::milliseconds(kLook_ms));
            return;
        }
        const auto answer_frame = [this](const bus_peer::Bytes& bytes, bus_peer::Bytes* answer) {
            bus_peer::Frame frame;
            if (!bus_peer::DecodeFrame(bytes, &frame).empty()) return true;
            *answer = bus_peer::EncodeFrame(bus_peer::Confirmation(frame, 1));
            Show("bus", bus_peer::MeaningOf(frame));
            const bool has_byte = frame.data.size() == 1 && frame.data[0] < bus_peer::kOutcomes;
            if (frame.cmd == bus_peer::kUpgradeOutcome && has_byte) outcome_ = frame.data[0];
            return !outcome_;
        };
        if (bus_.Serve(answer_frame, kLook_ms) != board::ServeResult::kBusGone) return;
        has_bus_ = false;
        Show("bus", "gone; only the log can tell the outcome now");
    }

    void ReadLogs() {
        // A file that wasn't there before is of this flash from its first line.
        if (!has_flash_) has_flash_ = flash_.OpenFile(kFlashOutput, board::LogTail::From::kStart);
        for (const std::string& line : flash_.NewLines()) Show("tool", line);
        if (!has_log_) return;
        for (const std::string& line : log_.NewLines()) {
            const std::optional<board::DaemonLine> said = board::ReadDaemonLine(line);
            if (!said || !simulator_text::StartsWith(said->message, "[OTA]")) continue;
            Show("daemon", std::string(said->message));
            if (const auto outcome = board::OutcomeOf(*said)) outcome_ = outcome;
        }
    }

    std::optional<unsigned> GiveUp(const std::string& why) const {
        const bool is_flashing = board::RunningFlash() != 0;
        Complain(kUpgradeName,
                 why + (is_flashing ? "; the flash goes on: keep the power on, and look at " +
                                          std::string(kFlashOutput)
                                    : "; keep the power on until it is known that no flash goes on"));
        return {};
    }

    board::BusClient& bus_;
    board::LogTail& log_;
    board::LogTail flash_;
    const steady_clock::time_point start_ = steady_clock::now();
    std::optional<unsigned> outcome_;
    pid_t daemon_ = 0;
    bool has_log_;
    bool has_bus_ = true;
    bool has_flash_ = false;
};

int Report(std::optional<unsigned> outcome) {
    if (!outcome) return kUnknown;
    const std::string text =
        bus_peer::MeaningOf({1, bus_peer::kUpgradeOutcome, {static_cast<uint8_t>(*outcome)}});
    if (*outcome != bus_peer::kSucceeded) {
        Complain(kUpgradeName, text);
        return kFailed;
    }
    puts(text.c_str());
    return kStatusDone;
}

int Request(board::BusClient& bus, const UpgradeOptions& options) {
    const bool hears = bus.BeService();
    board::LogTail log;
    const auto daemon = board::FindDaemon();
    const bool has_log =
        options.log.empty() ? log.OpenFound(daemon ? daemon->log : "") : log.OpenFile(options.log);
    if (!options.log.empty() && !has_log) return NotBegun(log.problem());
    if (!hears && !has_log) {
        return NotBegun(
            "the OCPP service hears the outcome, and no log is found that tells it; give one with --log");
    }
    UpgradeWatch watch(bus, log, has_log);
    CatchInterrupts();
    const board::BusAnswer answer = board::Ask(
        bus, bus_peer::UpgradeRequest({board::kUpgradeModel, board::kFirmwareTool, board::kFirmwareFolder}),
        kAnswer_ms);
    if (answer.state == BusState::kNoAnswer || answer.state == BusState::kBroken) {
        Complain(kUpgradeName,
                 "no good answer to the request, which may have been accepted: " + answer.problem);
        return kUnknown;
    }
    if (answer.state != BusState::kAnswered) {
        return NotBegun("the request didn't reach the daemon: " + answer.problem);
    }
    const unsigned said = answer.frame.data[0];
    if (said == bus_peer::kAlreadyRunning) {
        Complain(kUpgradeName, bus_peer::UpgradeAnswerText(said));
        return kRunning;
    }
    if (said != bus_peer::kAccepted) return NotBegun(bus_peer::UpgradeAnswerText(said));
    puts("accepted; keep the power on");
    fflush(stdout);
    return Report(watch.Outcome(options.wait_seconds));
}

int RunUpgrade(const UpgradeOptions& options) {
    if (!options.yes && !options.check && isatty(STDIN_FILENO) == 0) {
        RefuseCommandLine("standard input is no terminal that could be asked: --yes is missing");
    }
    if (board::RunningFlash() != 0) {
        Complain(kUpgradeName, "a flash is running already");
        return kRunning;
    }
    const std::string address =
        options.address.empty() ? board::BusClient::DefaultAddress() : options.address;
    const board::BusStatus status = board::AskForStatus(address, kAnswer_ms);
    const std::string problem = DaemonProblem(status);
    if (!problem.empty()) return NotBegun(problem);
    if (!ShowPlan(board::CheckFirmware(board::kFirmwareFolder), status)) return NotBegun("nothing was begun");
    if (options.check) return kStatusDone;
    if (!options.yes && !UserAgrees()) return NotBegun("nothing was begun");
    board::BusClient bus;
    if (!bus.Open(address)) return NotBegun(bus.error());
    return Request(bus, options);
}

}  // namespace

Command UpgradeCommand() {
    const auto declare = [](OptionSet& takes) -> Run {
        const auto options = std::make_shared<UpgradeOptions>();
        takes.Flag("--yes", &options->yes, "doesn't ask before it begins; needed where there is no terminal");
        takes.Flag("--check", &options->check, "looks whether an upgrade could begin, and leaves it at that");
        takes.Value("-l,--log", "LOG", &options->log,
                    "the daemon's log; otherwise it is looked for as by send");
        takes
            .Value("-w,--wait", "SECONDS", &options->wait_seconds,
                   "how long to wait for the outcome, 1800 unless given")
            .Checked(Number(1, kMostWait_seconds));
        takes.Value(
            "--address", "ADDRESS", &options->address,
            "D-Bus address of the bus; otherwise that in RAVELIN_BUS_ADDRESS, otherwise the system bus");
        return [options] { return RunUpgrade(*options); };
    };
    return {
        kUpgradeName,
        "has the modem's firmware upgraded, and waits for the outcome",
        "Checks that the daemon answers, that the modem is an EG21, and that tool and firmware are in their "
        "folder; asks; "
        "has the daemon begin; and shows what daemon and tool say until the outcome is known. It can't be "
        "stopped: "
        "ending this command doesn't end the upgrade. Where the OCPP service is on the bus, that hears the "
        "outcome, and "
        "this command takes it from the log.",
        {{kStatusDone, "the upgrade succeeded; with --check: it could begin"},
         {kFailed, "the upgrade failed"},
         {kStatusWrongCommandLine, "the command line is wrong"},
         {kNotBegun,
          "nothing was begun: no bus, daemon or modem, another model, no tool or firmware, or not agreed to"},
         {kRunning, "an upgrade is running already"},
         {kUnknown, "begun, and the outcome isn't known"}},
        declare};
}

}  // namespace ctl
