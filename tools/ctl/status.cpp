// `ravelinctl status`: what the link does now.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>

#include "tools/board/bus_question.h"
#include "tools/board/daemon_process.h"
#include "tools/board/pipe.h"
#include "tools/ctl/commands.h"
#include "tools/ctl/screen.h"
#include "tools/ctl/status_text.h"

namespace ctl {

namespace {

constexpr char kSettingsName[] = "ifcfg-lte";
// The daemon answers from its memory; a bus that is in trouble must not hold up what the files say.
constexpr int kBusAnswer_ms = 2000;
constexpr int kBusAgain_seconds = 60;  // with --watch: each question is a line in the daemon's log
constexpr int kMostInterval_seconds = 3600;

struct StatusOptions {
    std::string folder = board::kStatusFolder;
    std::string address;
    int interval_seconds = 2;
    bool json = false;
    bool watch = false;
    bool no_bus = false;

    /// Files from elsewhere say nothing of a daemon here.
    bool is_here() const { return folder == board::kStatusFolder; }
    bool asks_bus() const { return !no_bus && (is_here() || !address.empty()); }
};

board::Presence OnBus(board::BusState bus) {
    using board::BusState;
    const bool answers = bus == BusState::kAnswered || bus == BusState::kNoModem ||
                         bus == BusState::kNoAnswer || bus == BusState::kBroken;
    if (answers) return board::Presence::kThere;
    return bus == BusState::kNoDaemon ? board::Presence::kNotThere : board::Presence::kUnknown;
}

Sight Look(const StatusOptions& options, const std::optional<board::BusStatus>& known) {
    Sight sight;
    sight.folder = options.folder;
    sight.files = board::ReadStatusFiles(options.folder);
    if (known) {
        sight.bus = *known;
    } else if (options.asks_bus()) {
        const std::string address =
            options.address.empty() ? board::BusClient::DefaultAddress() : options.address;
        sight.bus = board::AskForStatus(address, kBusAnswer_ms);
    }
    if (options.is_here()) {
        const auto process = board::FindDaemon();
        if (process) sight.process = process->process;
        sight.around.daemon = board::PresenceOf(process.has_value(), board::Pipe(board::kPipePath).state(),
                                                OnBus(sight.bus.state));
        sight.around.is_flashing = board::RunningFlash() != 0;
    }
    const board::TextFile settings = board::ReadTextFile(options.folder + "/" + kSettingsName);
    sight.around.is_switched_off =
        settings.state == board::FileState::kRead && board::IsSwitchedOff(settings.text);
    sight.now = time(nullptr);
    sight.link = board::Judge(sight.files, sight.around, sight.now);
    return sight;
}

std::string Clock(time_t now) {
    char text[32] = "";
    tm parts = {};
    if (localtime_r(&now, &parts) != nullptr) strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

int WatchStatus(const StatusOptions& options) {
    int status = kStatusDone;
    {
        const bool draws = StandardOutput().can_draw && !options.json;
        Screen screen(draws ? StandardOutput() : Terminal());
        std::string last;
        std::optional<board::BusStatus> bus;
        time_t asked = 0;
        do {
            if (time(nullptr) - asked >= kBusAgain_seconds) bus.reset();
            if (!bus) asked = time(nullptr);
            const Sight sight = Look(options, bus);
            bus = sight.bus;
            status = RowOf(sight.link.verdict).exit_status;
            if (draws) {
                const Terminal terminal = StandardOutput();
                screen.Draw(Clock(sight.now) + "  every " + std::to_string(options.interval_seconds) +
                                " s, Ctrl-C ends it\n\n" + StatusText(sight, terminal),
                            terminal);
                continue;
            }
            const std::string fingerprint = Fingerprint(sight);
            if (fingerprint == last) continue;
            const std::string block = options.json ? StatusJson(sight, true)
                                                   : (last.empty() ? "" : "\n") + Clock(sight.now) + "\n" +
                                                         StatusText(sight, StandardOutput());
            last = fingerprint;
            fputs(block.c_str(), stdout);
            if (fflush(stdout) != 0) break;
        } while (Screen::Wait(options.interval_seconds * 1000));
    }
    return status;
}

int RunStatus(const StatusOptions& options) {
    if (options.watch) return WatchStatus(options);
    const Sight sight = Look(options, {});
    fputs((options.json ? StatusJson(sight, false) : StatusText(sight, StandardOutput())).c_str(), stdout);
    return RowOf(sight.link.verdict).exit_status;
}

}  // namespace

Command StatusCommand() {
    const auto declare = [](OptionSet& takes) -> Run {
        const auto options = std::make_shared<StatusOptions>();
        takes.Flag("--json", &options->json, "prints an object of JSON; with --watch one a line");
        takes.Flag(
            "--watch", &options->watch,
            "looks again and again. A terminal shows the present state; elsewhere each change is a block");
        takes
            .Value("--interval", "SECONDS", &options->interval_seconds,
                   "time between two looks of --watch, 2 unless given")
            .Checked(Number(1, kMostInterval_seconds));
        takes.Value(
            "--folder", "FOLDER", &options->folder,
            "where the status files are, /run/network unless given. Those of another folder are judged by "
            "themselves: no process, pipe and bus is looked at");
        takes.Value("--address", "ADDRESS", &options->address,
                    "D-Bus address of the bus; otherwise that in "
                    "RAVELIN_BUS_ADDRESS, otherwise the system bus");
        takes.Flag("--no-bus", &options->no_bus, "doesn't ask the daemon itself").Excludes("--address");
        return [options] { return RunStatus(*options); };
    };
    return {"status", "shows what the link does now",
            "Reads the daemon's status files and says how old they are, how good the signal is, and what the "
            "link waits "
            "for. Where the bus lets it, the daemon is asked too; a bus that doesn't is no fault. With "
            "--watch that is "
            "done once a minute.",
            StatusExits(), declare};
}

}  // namespace ctl
