// What starts the daemon and starts it again, with which umask, and whether the board knows the time.
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kUnit[] = "ravelin-mobile.service";
constexpr const char* kUnitFolders[] = {"/etc/systemd/system", "/run/systemd/system",
                                        "/usr/lib/systemd/system", "/lib/systemd/system"};
constexpr char kInitFolder[] = "/etc/init.d";
constexpr const char* kRunLevelFolders[] = {"/etc/rc2.d", "/etc/rc3.d", "/etc/rc4.d", "/etc/rc5.d",
                                            "/etc/rcS.d"};
constexpr char kDaemon[] = "/usr/sbin/ravelin-mobile";
constexpr char kHelperFolder[] = "/usr/lib/ravelin-mobile";
constexpr mode_t kWantedUmask = S_IWGRP | S_IWOTH;
constexpr time_t kZones_seconds = 24 * 60 * 60;  // the time of the build names no zone

/// The value of the last line KEY=value of a text; empty when there is none.
std::string ValueIn(const std::string& text, const std::string& key) {
    std::string value;
    for (const std::string& line : Split(text, '\n')) {
        const std::string trimmed = Trimmed(line);
        if (StartsWith(trimmed, key + "=")) value = trimmed.substr(key.size() + 1);
    }
    return value;
}

bool IsOctal(const std::string& text) {
    return !text.empty() && text.find_first_not_of("01234567") == std::string::npos;
}

/// A umask as a unit or a script spells it, that leaves files open for others to write.
bool IsOpenUmask(const std::string& text) {
    return IsOctal(text) && (strtoul(text.c_str(), nullptr, kOctal) & kWantedUmask) != kWantedUmask;
}

std::string UmaskText(mode_t umask) {
    char text[8];
    snprintf(text, sizeof text, "%03o", static_cast<unsigned>(umask & 0777));
    return static_cast<const char*>(text);
}

/// The unit of systemd that counts: the first of its folders that has it.
std::string FindUnit(const Board& board) {
    for (const char* folder : kUnitFolders) {
        const std::string path = std::string(folder) + "/" + kUnit;
        if (board.Look(path).is_file()) return path;
    }
    return "";
}

/// The unit with its drop-ins, whose lines come later and count for more.
std::string UnitText(const Board& board, const std::string& unit) {
    std::string text = board.Read(unit).bytes + "\n";
    for (const char* folder : kUnitFolders) {
        const std::string drop_ins = std::string(folder) + "/" + kUnit + ".d";
        for (const std::string& name : board.List(drop_ins).value_or(std::vector<std::string>())) {
            text += board.Read(drop_ins + "/" + name).bytes + "\n";
        }
    }
    return text;
}

bool IsUnitEnabled(const Board& board) {
    for (const char* folder : kUnitFolders) {
        for (const std::string& name : board.List(folder).value_or(std::vector<std::string>())) {
            const bool starts_others = Contains(name, ".target.wants") || Contains(name, ".target.requires");
            const std::string link = std::string(folder) + "/" + name + "/" + kUnit;
            if (starts_others && board.Look(link, Board::Link::kItself).exists) return true;
        }
    }
    return false;
}

/// "S85ravelin-mobile": what BusyBox's init runs at boot.
bool IsStartName(const std::string& name) {
    return name.size() > 3 && name[0] == 'S' && isdigit(static_cast<unsigned char>(name[1])) != 0 &&
           isdigit(static_cast<unsigned char>(name[2])) != 0 && name.substr(3) == kDaemonName;
}

/// The init script that is run at boot; empty when there is none.
std::string FindInitScript(const Board& board) {
    std::vector<std::string> folders = {kInitFolder};
    folders.insert(folders.end(), std::begin(kRunLevelFolders), std::end(kRunLevelFolders));
    for (const std::string& folder : folders) {
        for (const std::string& name : board.List(folder).value_or(std::vector<std::string>())) {
            if (IsStartName(name)) return folder + "/" + name;
        }
    }
    return "";
}

/// Some folder in which a service may stand can't be seen.
bool ServiceMayBeHidden(const Board& board) {
    std::vector<std::string> folders = {kInitFolder};
    folders.insert(folders.end(), std::begin(kRunLevelFolders), std::end(kRunLevelFolders));
    folders.insert(folders.end(), std::begin(kUnitFolders), std::end(kUnitFolders));
    return std::any_of(folders.begin(), folders.end(),
                       [&](const std::string& folder) { return board.IsClosed(folder); });
}

void CheckProgram(Examination& examination, const std::string& path, const char* complaint) {
    const FileFacts file = examination.board().Look(path);
    if (!file.exists && file.error != 0) {
        examination.Unseen(path + ": " + ReasonOf(file.error));
    } else if (!file.exists) {
        examination.Found(complaint, path + " isn't there");
    } else if (!file.is_file() || !file.is_executable()) {
        examination.Found(complaint, path + " can't be run");
    }
}

/// The paths that a unit runs, without the marks in front of them.
std::vector<std::string> ProgramsOf(const std::string& unit) {
    std::vector<std::string> programs;
    for (const std::string& line : Split(unit, '\n')) {
        if (!StartsWith(line, "Exec")) continue;
        const std::vector<std::string> words = Words(line.substr(std::min(line.find('=') + 1, line.size())));
        if (words.empty()) continue;
        const std::string program = words[0].substr(std::min(words[0].find('/'), words[0].size()));
        bool known = program.empty();
        for (const std::string& other : programs) known = known || other == program;
        if (!known) programs.push_back(program);
    }
    return programs;
}

void CheckUnit(Examination& examination, const std::string& unit) {
    const std::string text = UnitText(examination.board(), unit);
    const std::string daemon_end = std::string("/") + kDaemonName;
    for (const std::string& program : ProgramsOf(text)) {
        const bool is_daemon =
            program.size() >= daemon_end.size() &&
            program.compare(program.size() - daemon_end.size(), daemon_end.size(), daemon_end) == 0;
        CheckProgram(examination, program, is_daemon ? "daemon-missing" : "service-broken");
    }
    const std::string umask = ValueIn(text, "UMask");
    if (IsOpenUmask(umask)) examination.Found("service-umask", unit + " says UMask=" + umask);
}

/// The umask that a script sets last; empty when it sets none.
std::string UmaskOf(const std::string& script) {
    std::string umask;
    for (const std::string& line : Split(script, '\n')) {
        const std::vector<std::string> words = Words(line);
        if (words.size() >= 2 && words[0] == "umask") umask = words[1];
    }
    return umask;
}

void CheckInitScript(Examination& examination, const std::string& script) {
    const Board& board = examination.board();
    CheckProgram(examination, script, "service-broken");
    const std::string text = board.Read(script).bytes;
    const auto setting = [&](const char* key, const char* otherwise) {
        std::string value = examination.ServiceSetting(key).value_or(Unquoted(ValueIn(text, key)));
        return value.empty() ? otherwise : value;
    };
    CheckProgram(examination, setting("DAEMON", kDaemon), "daemon-missing");
    const std::string helpers = setting("HELPERS", kHelperFolder);
    if (Contains(text, "ravelin-supervise")) {
        for (const char* helper : {"/ravelin-supervise", "/ravelin-prepare", "/QFirehose"}) {
            CheckProgram(examination, helpers + helper, "service-broken");
        }
    }
    const std::string umask = UmaskOf(text);
    if (umask.empty() && !text.empty() && !Contains(text, "ravelin-supervise")) {
        examination.Found("service-umask", script + " sets no umask, and what init leaves it may be 0");
    } else if (IsOpenUmask(umask)) {
        examination.Found("service-umask", script + " sets umask " + umask);
    }
}

void CheckStart(Examination& examination) {
    const Board& board = examination.board();
    const std::string unit = FindUnit(board);
    const std::string script = FindInitScript(board);
    const bool is_enabled = !unit.empty() && IsUnitEnabled(board);
    if (!is_enabled && script.empty() && ServiceMayBeHidden(board)) {
        examination.Unseen("what starts the daemon, in folders that this user can't enter");
        return;
    }
    if (unit.empty() && script.empty()) {
        examination.Found("service-missing", "there is neither a unit nor an init script of the daemon");
        CheckProgram(examination, kDaemon, "daemon-missing");
        return;
    }
    if (!unit.empty()) {
        CheckUnit(examination, unit);
        if (is_enabled) examination.Fact(unit + " is enabled");
        if (!is_enabled && script.empty()) examination.Found("service-off", unit + " isn't enabled");
    }
    if (!script.empty()) {
        CheckInitScript(examination, script);
        examination.Fact(script + " is run at boot");
    }
    if ((is_enabled || !script.empty()) && !examination.processes().empty() && !examination.daemon_runs()) {
        examination.Found("daemon-down", "no daemon runs");
    }
}

void CheckOptions(Examination& examination) {
    const std::vector<std::string> options = Words(examination.ServiceSetting("OPTIONS").value_or(""));
    for (const std::string& option : options) {
        if (option != "-t") continue;
        examination.Found("terminal-option", std::string(kServiceSettingsPath) + " has -t in OPTIONS");
        return;
    }
}

void CheckDaemons(Examination& examination) {
    for (const Process* daemon : examination.ProcessesNamed(kDaemonName)) {
        if (!daemon->has_umask) {
            examination.Unseen("the umask of " + NameOf(*daemon));
        } else if ((daemon->umask & kWantedUmask) != kWantedUmask) {
            examination.Found("daemon-umask",
                              NameOf(*daemon) + " runs with umask " + UmaskText(daemon->umask));
        } else {
            examination.Fact(NameOf(*daemon) + " runs, with umask " + UmaskText(daemon->umask));
        }
    }
}

std::string DateOf(time_t seconds) {
    struct tm local = {};
    char text[32] = "";
    if (localtime_r(&seconds, &local) != nullptr) strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local);
    return static_cast<const char*>(text);
}

void CheckClock(Examination& examination) {
    const time_t now = examination.request().now_seconds;
    const time_t built = examination.request().built_seconds;
    if (built == 0 || now >= built - kZones_seconds) {
        examination.Fact("the clock says " + DateOf(now));
    } else {
        examination.Found("clock-behind",
                          "the clock says " + DateOf(now) + ", and this was built on " + DateOf(built));
    }
}

}  // namespace

void CheckService(Examination& examination) {
    CheckStart(examination);
    CheckOptions(examination);
    CheckDaemons(examination);
    CheckClock(examination);
}

}  // namespace doctor
