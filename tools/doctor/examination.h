// One examination of a board: what the checks share, and where they put what they find. A check is a function
// of this object; kChecks in examination.cpp names them all, one for each group of the catalogue.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/board/daemon_process.h"
#include "tools/doctor/board.h"
#include "tools/doctor/report.h"

namespace doctor {

/// What a look at the bus itself has brought.
struct BusLook {
    bool asked = false;       // false: there is no way to it from here
    std::string why_unasked;  // where `asked` is false
    bool is_reachable = false;
    std::string error;  // where it isn't
    bool name_is_owned = false;
    pid_t owner = 0;  // 0: not known
    // What became of a harmless question to the daemon as somebody who isn't root.
    enum class Stranger { kNotTried, kRefused, kLetThrough } stranger = Stranger::kNotTried;
};

/// What an AT at the port has brought.
struct PortAnswer {
    bool asked = false;
    std::string why_unasked;
    bool is_ok = false;
    std::string text;  // what came
};

struct Request {
    std::string device;        // empty: that of the service's settings, or the daemon's default
    bool ask = false;          // send AT
    bool is_root = false;      // sees the open files of all processes
    time_t now_seconds = 0;    // wall clock
    time_t built_seconds = 0;  // when this was built; 0: not known
    std::string bus_address;   // RAVELIN_BUS_ADDRESS of this process
    std::vector<std::string> program_folders;  // searched besides the usual ones
    std::function<BusLook()> look_at_bus;
    std::function<PortAnswer(const std::string& device)> ask_port;
};

/// A process, as /proc shows it.
struct Process {
    pid_t pid = 0;
    std::string name;
    mode_t umask = 0;
    bool has_umask = false;
    bool files_seen = false;
    std::vector<FileFacts> files;  // that it holds open
};

constexpr char kSettingsPath[] = "/run/network/ifcfg-lte";
constexpr char kLastingSettingsPath[] = "/etc/ravelin/ifcfg-lte";
constexpr char kNetworkFolder[] = "/run/network";
constexpr char kServiceSettingsPath[] = "/etc/default/ravelin-mobile";
constexpr char kDefaultDevice[] = "/dev/ttyUSB2";
constexpr int kOctal = 8;  // access rights are written so
using board::kDaemonName;

/// The boards that the daemon tells apart.
enum class BoardKind { kOther, kImx6ul, kStm32, kA35, kA53 };

class Examination {
  public:
    Examination(const Board& board, const Request& request);

    const Board& board() const { return board_; }
    const Request& request() const { return request_; }
    const std::vector<Process>& processes() const { return processes_; }
    /// Some process's open files couldn't be seen.
    bool has_blind_spots() const { return has_blind_spots_; }

    std::vector<const Process*> ProcessesNamed(const std::string& name) const;
    bool daemon_runs() const { return !ProcessesNamed(kDaemonName).empty(); }
    /// Those that hold this file open, as far as they can be seen.
    std::vector<const Process*> HoldersOf(const FileFacts& file) const;

    /// A value of /etc/default/ravelin-mobile, without its quotes; nothing when it isn't set there.
    std::optional<std::string> ServiceSetting(const std::string& key) const;
    std::string Device() const;

    /// By the files that the daemon looks at. `for_selector`: as the switch of the SIM does, by /proc/cpuinfo
    /// alone.
    BoardKind Kind(bool for_selector = false) const;
    /// Value of a key in the settings that count, as the daemon reads it; nothing when it isn't there.
    std::optional<std::string> Setting(const std::string& key) const;
    bool HasSwitch(const std::string& key) const;

    // Into the report of the group whose check runs. Found: by the name of a row of the catalogue.
    void Found(const char* complaint, const std::string& what);
    void Fact(const std::string& text);
    void Unseen(const std::string& text);

    /// Complains of a file that decides what the modem is told, and that others can write.
    void CheckSettingsRights(const std::string& path);

    Report Run();

  private:
    void ReadProcesses();

    const Board& board_;
    const Request& request_;
    std::vector<Process> processes_;
    bool has_blind_spots_ = false;
    Report report_;
    std::map<const Complaint*, size_t> found_;  // how often
};

// The checks, one for each group: check_GROUP.cpp.
void CheckPort(Examination& examination);
void CheckReset(Examination& examination);
void CheckTools(Examination& examination);
void CheckSettings(Examination& examination);
void CheckFolder(Examination& examination);
void CheckBus(Examination& examination);
void CheckService(Examination& examination);
void CheckUpgrade(Examination& examination);
void CheckGuard(Examination& examination);

/// "process 12 (cat)".
std::string NameOf(const Process& process);
/// "mode 0640 of user 0 and group 0".
std::string RightsOf(const FileFacts& facts);
/// Why a file couldn't be read or looked at.
std::string ReasonOf(int error);

}  // namespace doctor
