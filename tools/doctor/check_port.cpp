// The modem's port: there, a port, and nobody else's.
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kNamedPort[] = "/dev/ravelin-at";
constexpr char kModemManager[] = "ModemManager";

/// Ports that may be a modem's, where the one that is wanted isn't there.
std::vector<std::string> OtherPorts(const Board& board) {
    std::vector<std::string> ports;
    for (const std::string& name : board.List("/dev").value_or(std::vector<std::string>())) {
        if (StartsWith(name, "ttyUSB") || StartsWith(name, "ttyACM") || "/dev/" + name == kNamedPort) {
            ports.push_back("/dev/" + name);
        }
    }
    return ports;
}

/// udev has been told that this port isn't ModemManager's.
bool IsKeptOff(const Board& board, const FileFacts& port) {
    const std::string path =
        "/run/udev/data/c" + std::to_string(major(port.device)) + ":" + std::to_string(minor(port.device));
    const std::string data = board.Read(path).bytes;
    return Contains(data, "ID_MM_PORT_IGNORE=1") || Contains(data, "ID_MM_DEVICE_IGNORE=1");
}

void CheckHolders(Examination& examination, const std::string& device, const FileFacts& port) {
    bool held = false;
    for (const Process* process : examination.HoldersOf(port)) {
        held = true;
        if (process->name == kDaemonName) {
            examination.Fact(device + " is held by the daemon, " + NameOf(*process));
        } else {
            examination.Found("port-held", device + " is held by " + NameOf(*process));
        }
    }
    if (examination.has_blind_spots()) {
        examination.Unseen("the open files of other users' processes, so who else has " + device +
                           " open: run the doctor as root");
    } else if (!held) {
        examination.Fact(device + " is free");
    }
}

void CheckOtherName(Examination& examination, const std::string& device, const FileFacts& port) {
    const FileFacts named = examination.board().Look(kNamedPort);
    if (named.exists && !IsSame(named, port)) {
        examination.Found("port-other", "the port is " + device + ", and " + kNamedPort + " is another one");
    }
}

void AskPort(Examination& examination, const std::string& device) {
    if (!examination.request().ask || !examination.request().ask_port) return;
    if (examination.has_blind_spots()) {
        examination.Unseen("an answer to AT: somebody else may have " + device +
                           " open, which only root can see; nothing was sent");
        return;
    }
    const FileFacts port = examination.board().Look(device);
    if (!examination.HoldersOf(port).empty()) {
        examination.Unseen("an answer to AT: another program has " + device + " open; nothing was sent");
        return;
    }
    const PortAnswer answer = examination.request().ask_port(device);
    if (!answer.asked) {
        examination.Unseen("an answer to AT: " + answer.why_unasked);
    } else if (answer.is_ok) {
        examination.Fact(device + " answers AT with OK");
    } else {
        examination.Found("port-silent", device + " doesn't answer AT with OK" +
                                             (answer.text.empty() ? ", but not at all"
                                                                  : ", but with \"" + answer.text + "\""));
    }
}

void CheckDevice(Examination& examination) {
    const std::string device = examination.Device();
    const Board& board = examination.board();
    const FileFacts port = board.Look(device);
    if (!port.exists && port.error != 0) {
        examination.Unseen(device + ": " + ReasonOf(port.error));
        return;
    }
    if (!port.exists) {
        const std::vector<std::string> others = OtherPorts(board);
        examination.Found("port-missing",
                          device + " isn't there" +
                              (board.LinkText(device).empty() ? "" : ", its link leads nowhere") +
                              (others.empty() ? "" : "; there are " + Listed(others)));
        return;
    }
    if (!port.is_character_device()) {
        examination.Found("port-no-device", device + " is no serial port");
        return;
    }
    if ((port.mode & (S_IROTH | S_IWOTH)) != 0) {
        examination.Found("port-open", device + " is open to everybody: " + RightsOf(port));
    }
    CheckOtherName(examination, device, port);
    CheckHolders(examination, device, port);
    if (!examination.ProcessesNamed(kModemManager).empty() && !IsKeptOff(board, port)) {
        examination.Found("modem-manager", "ModemManager runs, and no udev rule keeps it off " + device);
    }
    AskPort(examination, device);
}

}  // namespace

void CheckPort(Examination& examination) {
    CheckDevice(examination);
    const std::vector<const Process*> daemons = examination.ProcessesNamed(kDaemonName);
    if (daemons.size() > 1) {
        std::vector<std::string> names;
        for (const Process* daemon : daemons) names.push_back(NameOf(*daemon));
        examination.Found("second-daemon", "more than one daemon runs: " + Listed(names));
    }
}

}  // namespace doctor
