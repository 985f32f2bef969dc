// `ravelinctl doctor`: what is wrong with this board.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "support/build_info.h"
#include "tools/ctl/command.h"
#include "tools/ctl/terminal.h"
#include "tools/doctor/ask_port.h"
#include "tools/doctor/bus_look.h"
#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"
#include "tools/doctor/report.h"
#include "tools/doctor/report_json.h"

namespace ctl {

namespace {

struct DoctorOptions {
    std::string device;
    std::string root;
    bool ask = false;
    bool json = false;
    bool quiet = false;
};

/// Of a stamp yyyymmddHHMM in local time; 0 when it is none.
time_t SecondsOf(const char* stamp) {
    struct tm local = {};
    const char* rest = strptime(stamp, "%Y%m%d%H%M", &local);
    local.tm_isdst = -1;
    return rest == nullptr ? 0 : mktime(&local);
}

/// What is wrong with the value of --root; empty when nothing is.
std::string IsFolder(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return "";
    return "wants a folder, not \"" + path + "\"";
}

int Examine(const DoctorOptions& options) {
    const doctor::Board board(options.root);
    doctor::Request request;
    request.device = options.device;
    request.ask = options.ask;
    request.now_seconds = time(nullptr);
    request.built_seconds = SecondsOf(kBuildStamp);
    if (board.is_live()) {
        request.bus_address = Environment("RAVELIN_BUS_ADDRESS");
        request.program_folders = doctor::Split(Environment("PATH"), ':');
        request.look_at_bus = [&] { return doctor::LookAtBus(request.bus_address); };
        request.ask_port = doctor::AskPortForOk;
    } else {
        request.look_at_bus = [] {
            doctor::BusLook look;
            look.why_unasked = "this is a folder, and no board that runs";
            return look;
        };
    }
    const doctor::Report report = doctor::Examination(board, request).Run();
    const std::string text =
        options.json ? doctor::JsonOf(report) : doctor::TextOf(report, StandardOutput(), !options.quiet);
    fwrite(text.data(), 1, text.size(), stdout);
    return doctor::StatusOf(report);
}

}  // namespace

Command DoctorCommand() {
    const auto declare = [](OptionSet& takes) -> Run {
        const auto options = std::make_shared<DoctorOptions>();
        takes.Flag(
            "--ask", &options->ask,
            "Sends AT to the port, if no other program has it open, and sees whether the modem answers OK");
        takes.Value("--device", "PORT", &options->device,
                    "The modem's AT port, if it isn't the one that the service is set to");
        takes
            .Value(
                "--root", "FOLDER", &options->root,
                "Looks at the board's file system in this folder; what only a running system has is left out")
            .Checked({IsFolder})
            .Excludes("--ask");
        takes.Flag("--quiet", &options->quiet, "Leaves out what is in order");
        takes.Flag("--json", &options->json, "For programs: one JSON object");
        return [options] { return Examine(*options); };
    };
    return {"doctor",
            "finds out what is wrong with this board",
            "Looks at everything that the daemon needs on a board, without starting it: port, scripts and "
            "pins, tools, "
            "settings, /run/network and the pipe, message bus, service and clock, firmware tool. For each "
            "trouble it "
            "says what it is, why it matters, and what to do.\n\n"
            "It changes nothing and waits for nothing: no file is written, no pipe is opened, and the modem "
            "is left "
            "alone but for --ask. An ordinary user may run it too; what only root can see is named then.",
            {{0, "nothing worse than a note"},
             {1, "a warning"},
             {kStatusWrongCommandLine, "the command line is wrong"},
             {3, "an error: the daemon can't work, or the board is open to others"}},
            declare};
}

}  // namespace ctl
