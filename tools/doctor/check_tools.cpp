// The programs that the daemon and its scripts run.
#include <algorithm>
#include <cctype>
#include <iterator>

#include "tools/doctor/daemon_commands.h"
#include "tools/doctor/examination.h"

namespace doctor {

namespace {

constexpr const char* kFolders[] = {"/usr/local/sbin", "/usr/local/bin", "/usr/sbin",
                                    "/usr/bin",        "/sbin",          "/bin"};
constexpr const char* kScripts[] = {"/ubi/local/apps/network/if-lte", "/ubi/local/apps/network/udhcpc-lte",
                                    "/ubi/local/apps/network/Reset4G.sh"};
constexpr char kNetworkDriver[] = "/ubi/local/modules/qmi_wwan_q.ko";

bool IsWordPart(char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-';
}

/// `text` has `word`, and not just within another one.
bool HasWord(const std::string& text, const std::string& word) {
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        const size_t end = at + word.size();
        if ((at == 0 || !IsWordPart(text[at - 1])) && (end == text.size() || !IsWordPart(text[end]))) {
            return true;
        }
    }
    return false;
}

/// A script that the daemon runs has it. A board's own scripts may do without.
bool IsNamedByScripts(const Examination& examination, const char* program) {
    return std::any_of(std::begin(kScripts), std::end(kScripts), [&](const char* script) {
        return HasWord(examination.board().Read(script).bytes, program);
    });
}

enum class Presence { kThere, kMissing, kUnseen };

Presence PresenceOf(const Examination& examination, const std::string& program) {
    Presence presence = Presence::kMissing;
    std::vector<std::string> folders = examination.request().program_folders;
    folders.insert(folders.end(), std::begin(kFolders), std::end(kFolders));
    for (const std::string& folder : folders) {
        const FileFacts file = examination.board().Look(folder + "/" + program);
        if (file.is_file() && file.is_executable()) return Presence::kThere;
        if (file.error != 0) presence = Presence::kUnseen;
    }
    return presence;
}

enum class Need { kAlways, kPerhaps, kNever };

Need NeedOf(const Examination& examination, const Program& program) {
    switch (program.needed) {
        case NeededFor::kEverything:
        case NeededFor::kInitScript:
            return Need::kAlways;
        case NeededFor::kProbes:
            return examination.HasSwitch("DoubleSIM") || examination.HasSwitch("ORLA") ? Need::kAlways
                                                                                       : Need::kPerhaps;
        case NeededFor::kAddress:
            return IsNamedByScripts(examination, program.name) ? Need::kAlways : Need::kPerhaps;
        case NeededFor::kDriverOfImx6ul:
            return examination.Kind() == BoardKind::kImx6ul ? Need::kPerhaps : Need::kNever;
        case NeededFor::kSomeModems:
        case NeededFor::kUpgrades:
            return Need::kPerhaps;
    }
    return Need::kAlways;
}

}  // namespace

void CheckTools(Examination& examination) {
    size_t found = 0;
    for (size_t i = 0; i < kProgramCount; ++i) {
        const Program& program = kPrograms[i];
        if (program.name[0] == '/' || program.is_builtin) continue;
        const Need need = NeedOf(examination, program);
        if (need == Need::kNever) continue;
        const Presence presence = PresenceOf(examination, program.name);
        if (presence == Presence::kThere) {
            ++found;
        } else if (presence == Presence::kUnseen) {
            examination.Unseen(std::string(program.name) + ", in folders that this user can't enter");
        } else {
            examination.Found(need == Need::kAlways ? "tool-missing" : "tool-spare",
                              std::string(program.name) + " isn't installed: " + program.purpose);
        }
    }
    examination.Fact(std::to_string(found) + " programs are there");
    if (examination.Kind() == BoardKind::kImx6ul && !examination.board().Exists(kNetworkDriver)) {
        examination.Found("driver-missing", std::string(kNetworkDriver) + " isn't there");
    }
}

}  // namespace doctor
