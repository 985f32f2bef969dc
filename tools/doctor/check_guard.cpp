// ravelin-guard, where somebody has installed it: whether its settings are sound and it may act on them.
#include <string>

#include "tools/doctor/examination.h"
#include "tools/guard/ledger.h"
#include "tools/guard/settings.h"

namespace doctor {

namespace {

constexpr char kBudget[] = "/var/lib/ravelin-guard/budget";
constexpr char kGuard[] = "ravelin-guard";

void CheckBudget(Examination& examination) {
    const FileText text = examination.board().Read(kBudget);
    if (text.read && !guard::ParseLedger(text.bytes, "", 0)) {
        examination.Found("guard-budget", std::string(kBudget) + " is damaged");
    }
}

void CheckInterface(Examination& examination, const std::string& interface) {
    const Board& board = examination.board();
    // An image of a board has no interfaces, and no modem that would bring one.
    if (interface.empty() || !board.Exists("/sys/class/net/lo")) return;
    if (!board.Exists("/sys/class/net/" + interface)) {
        examination.Found("guard-interface", "there is no interface " + interface);
    }
}

}  // namespace

void CheckGuard(Examination& examination) {
    const Board& board = examination.board();
    const FileFacts file = board.Look(guard::kSettingsPath);
    if (!file.exists && file.error == 0) {
        examination.Fact("there is no guard on this board");
        return;
    }
    const FileText text = board.Read(guard::kSettingsPath);
    if (!text.read) {
        examination.Unseen(std::string(guard::kSettingsPath) + ": " + ReasonOf(text.error));
        return;
    }
    if (file.others_write()) {
        examination.Found("guard-open", std::string(guard::kSettingsPath) + " has " + RightsOf(file));
    }
    const guard::Settings settings = guard::ParseSettings(text.bytes);
    for (const std::string& problem : settings.problems) {
        examination.Found("guard-settings", std::string(guard::kSettingsPath) + ", " + problem);
    }
    const std::string why = settings.WhyNot();
    const bool runs = !examination.ProcessesNamed(kGuard).empty();
    if (settings.problems.empty() && !why.empty() && runs) examination.Found("guard-watches", why);
    if (why.empty()) {
        examination.Fact(std::string("the guard's settings let it act; it ") + (runs ? "runs" : "is off"));
    }
    if (!why.empty() && !runs) examination.Fact("the guard is off");
    CheckInterface(examination, settings.interface);
    CheckBudget(examination);
}

}  // namespace doctor
