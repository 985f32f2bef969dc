// The message bus: the library, the bus itself, who has the daemon's name, and what the policy lets whom do.
#include <set>

#include "tools/board/bus_client.h"
#include "tools/doctor/bus_policy.h"
#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kLibrary[] = "libbusglue.so";
constexpr char kBusVariable[] = "RAVELIN_BUS_ADDRESS=";
constexpr const char* kLibraryFolders[] = {"/lib", "/usr/lib", "/usr/local/lib", "/lib64", "/usr/lib64"};
constexpr size_t kMapsLimit_bytes = 1024 * 1024;

/// Folders that the loader looks in: its own, those of the architecture in them, and those of its
/// configuration.
std::vector<std::string> LoaderFolders(const Board& board) {
    std::vector<std::string> folders;
    for (const char* folder : kLibraryFolders) {
        folders.emplace_back(folder);
        for (const std::string& name : board.List(folder).value_or(std::vector<std::string>())) {
            if (Contains(name, "-linux-")) folders.push_back(folder + ("/" + name));
        }
    }
    std::vector<std::string> files = {"/etc/ld.so.conf"};
    for (const std::string& name : board.List("/etc/ld.so.conf.d").value_or(std::vector<std::string>())) {
        files.push_back("/etc/ld.so.conf.d/" + name);
    }
    for (const std::string& file : files) {
        for (const std::string& line : Split(board.Read(file).bytes, '\n')) {
            if (StartsWith(line, "/")) folders.push_back(Trimmed(line));
        }
    }
    return folders;
}

/// Some folder that may hold the library can't be entered.
bool LibraryMayBeHidden(const Examination& examination) {
    const Board& board = examination.board();
    if (board.IsClosed("/etc/ld.so.conf.d")) return true;
    for (const std::string& folder : LoaderFolders(board)) {
        if (board.Look(folder + "/" + kLibrary).error != 0) return true;
    }
    return false;
}

/// The library that a running daemon has loaded, as far as that can be seen.
std::string LoadedLibrary(const Examination& examination) {
    for (const Process* daemon : examination.ProcessesNamed(kDaemonName)) {
        const std::string maps = "/proc/" + std::to_string(daemon->pid) + "/maps";
        for (const std::string& line : Split(examination.board().Read(maps, kMapsLimit_bytes).bytes, '\n')) {
            const size_t path = line.find('/');
            if (path != std::string::npos && Contains(line, kLibrary)) return line.substr(path);
        }
    }
    return "";
}

std::string FindLibrary(const Examination& examination) {
    const std::string loaded = LoadedLibrary(examination);
    if (!loaded.empty()) return loaded;
    for (const std::string& folder : LoaderFolders(examination.board())) {
        if (examination.board().Exists(folder + "/" + kLibrary)) return folder + "/" + kLibrary;
    }
    return "";
}

/// The open library is linked to D-Bus; a board's own one knows another bus, and this page's rules don't hold
/// there.
bool SpeaksDbus(const Board& board, const std::string& library) {
    return Contains(board.Read(library).bytes, "libdbus-1.so");
}

void CheckAddress(Examination& examination) {
    std::string where;
    if (!examination.request().bus_address.empty()) where = "in this environment";
    if (examination.ServiceSetting("RAVELIN_BUS_ADDRESS")) where = std::string("in ") + kServiceSettingsPath;
    for (const Process* daemon : examination.ProcessesNamed(kDaemonName)) {
        const std::string file = "/proc/" + std::to_string(daemon->pid) + "/environ";
        for (const std::string& variable : Split(examination.board().Read(file).bytes, '\0')) {
            if (StartsWith(variable, kBusVariable)) where = "in the environment of " + NameOf(*daemon);
        }
    }
    if (!where.empty()) examination.Found("bus-other", "RAVELIN_BUS_ADDRESS is set " + where);
}

std::string OwnerOf(const Examination& examination, pid_t owner) {
    for (const Process& process : examination.processes()) {
        if (process.pid == owner) return NameOf(process);
    }
    return "process " + std::to_string(owner);
}

void CheckName(Examination& examination, const BusLook& look) {
    if (!look.name_is_owned) {
        if (examination.daemon_runs()) {
            examination.Found("bus-name-missing",
                              std::string("nobody has the name ") + board::kDaemonBusName);
        } else {
            examination.Fact(std::string("nobody has the name ") + board::kDaemonBusName +
                             ", and no daemon runs");
        }
        return;
    }
    if (look.owner == 0) {
        examination.Fact(std::string(board::kDaemonBusName) + " is owned");
        return;
    }
    for (const Process* daemon : examination.ProcessesNamed(kDaemonName)) {
        if (daemon->pid != look.owner) continue;
        examination.Fact(std::string(board::kDaemonBusName) + " is owned by the daemon, " + NameOf(*daemon));
        return;
    }
    examination.Found("bus-name-taken", std::string(board::kDaemonBusName) + " is owned by " +
                                            OwnerOf(examination, look.owner));
}

PolicyQuestion Owning(const char* name) {
    PolicyQuestion question;
    question.owns = true;
    question.name = name;
    return question;
}

PolicyQuestion Calling(const std::string& interface) {
    PolicyQuestion question;
    question.name = board::kDaemonBusName;
    question.type = "method_call";
    question.interface = interface;
    question.member = board::kCallMember;
    question.path = board::kDaemonBusPath;
    return question;
}

PolicyQuestion Signalling(bool is_broadcast) {
    PolicyQuestion question;
    question.name = board::kDaemonBusName;
    question.type = "signal";
    question.interface = board::kSignalInterface;
    question.member = board::kSignalMember;
    question.path = board::kSignalPath;
    question.is_broadcast = is_broadcast;
    return question;
}

struct Rights {
    bool owns, calls, signals;

    bool any() const { return owns || calls || signals; }
};

Rights RightsUnder(const BusPolicy& policy, const std::string& user, const std::string& group) {
    const auto may = [&](const PolicyQuestion& question) { return IsAllowed(policy, question, user, group); };
    return {may(Owning(board::kDaemonBusName)), may(Calling(board::kDaemonBusName)) || may(Calling("")),
            may(Signalling(true)) || may(Signalling(false))};
}

/// "own the name, call the daemon and send it signals".
std::string Named(const Rights& rights) {
    std::vector<std::string> what;
    if (rights.owns) what.emplace_back("own its name");
    if (rights.calls) what.emplace_back("call the daemon");
    if (rights.signals) what.emplace_back("send it signals");
    return Listed(what);
}

/// True when there are users or groups with rights of their own.
bool CheckSomeUsers(Examination& examination, const BusPolicy& policy, const Rights& others) {
    std::set<std::string> told;
    for (const PolicySection& section : policy.sections) {
        const bool is_user = section.who == PolicySection::Who::kUser;
        const bool is_group = section.who == PolicySection::Who::kGroup;
        if ((!is_user && !is_group) || section.name == "root" || section.name == "0") continue;
        Rights rights = RightsUnder(policy, is_user ? section.name : "", is_group ? section.name : "");
        // What everybody may has been told.
        rights = {rights.owns && !others.owns, rights.calls && !others.calls,
                  rights.signals && !others.signals};
        const std::string who = (is_user ? "user " : "members of group ") + section.name;
        if (rights.any() && told.insert(who).second) {
            examination.Found("policy-user", who + " may " + Named(rights) + ", by " + section.file);
        }
    }
    return !told.empty();
}

/// True when by its files the bus keeps everybody but root from calling the daemon.
bool CheckPolicy(Examination& examination) {
    const BusPolicy policy = ReadBusPolicy(examination.board());
    for (const std::string& file : policy.unreadable) examination.Found("policy-unreadable", file);
    for (const std::string& file : policy.unseen) examination.Unseen("rules of the bus in " + file);
    if (!policy.has_files) {
        examination.Unseen("the policy of the bus: there is no /usr/share/dbus-1/system.conf");
        return false;
    }
    // A rule that isn't seen may be the one that counts.
    if (!policy.unseen.empty()) return false;
    const Rights root = RightsUnder(policy, "root", "");
    const Rights others = RightsUnder(policy, "", "");
    if (!root.owns) {
        examination.Found("policy-missing",
                          std::string("no rule of the bus lets root own ") + board::kDaemonBusName);
    }
    if (others.owns || IsAllowed(policy, Owning(board::kServiceBusName), "")) {
        examination.Found("policy-own", std::string("every user may own ") +
                                            (others.owns ? board::kDaemonBusName : board::kServiceBusName));
    }
    if (others.calls) examination.Found("policy-call", "every user may call the daemon");
    // Without a policy of ours there is no daemon that could hear it: one finding will do.
    if (others.signals && root.owns) {
        examination.Found("policy-signal", "every user may send the daemon a signal");
    }
    const bool some_may = CheckSomeUsers(examination, policy, others);
    if (root.owns && !others.any()) {
        examination.Fact(
            "by its files the bus lets root own the daemon's name, call it and send it signals, and not "
            "everybody");
    }
    return !others.calls && !some_may;
}

void CheckLive(Examination& examination, bool keeps_strangers_out) {
    const BusLook look = examination.request().look_at_bus ? examination.request().look_at_bus() : BusLook();
    if (!look.asked) {
        examination.Unseen("the bus itself" + (look.why_unasked.empty() ? "" : ": " + look.why_unasked));
        return;
    }
    if (!look.is_reachable) {
        examination.Found("bus-missing", "the bus can't be reached: " + look.error);
        return;
    }
    examination.Fact("the bus answers");
    CheckName(examination, look);
    switch (look.stranger) {
        case BusLook::Stranger::kNotTried:
            if (!look.name_is_owned) break;
            examination.Unseen("whether the bus keeps a user from the daemon: it couldn't be tried");
            break;
        case BusLook::Stranger::kRefused:
            examination.Fact("the bus has refused a call to the daemon by a user who isn't root");
            break;
        case BusLook::Stranger::kLetThrough:
            if (!keeps_strangers_out) break;
            examination.Found("policy-not-in-force", "the bus has let a user who isn't root call the daemon");
    }
}

}  // namespace

void CheckBus(Examination& examination) {
    const std::string library = FindLibrary(examination);
    if (library.empty() && LibraryMayBeHidden(examination)) {
        examination.Unseen(std::string(kLibrary) + ", in folders that this user can't enter");
    } else if (library.empty()) {
        examination.Found("bus-library-missing",
                          std::string("there is no ") + kLibrary + " where the loader looks for it");
    } else if (!SpeaksDbus(examination.board(), library)) {
        examination.Unseen("the bus of this board: " + library +
                           " is the board's own library, which knows another one");
        return;
    } else {
        examination.Fact(library + " is there, and knows D-Bus");
    }
    CheckAddress(examination);
    CheckLive(examination, CheckPolicy(examination));
}

}  // namespace doctor
