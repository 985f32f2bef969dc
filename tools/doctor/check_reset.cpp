// The scripts that the daemon calls by fixed paths, and the pins that these and the daemon set.
#include <cctype>

#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kIfLte[] = "/ubi/local/apps/network/if-lte";
constexpr char kDhcpScript[] = "/ubi/local/apps/network/udhcpc-lte";
constexpr char kResetScript[] = "/ubi/local/apps/network/Reset4G.sh";
constexpr char kBoardResetScript[] = "/etc/init.d/S84Reset4G.sh";
constexpr char kPins[] = "/sys/class/gpio/gpio";
constexpr char kExport[] = "/sys/class/gpio/export";
constexpr char kSelector[] = "/sys/class/gpio/gpio130";
constexpr char kSelectorA35[] = "/sys/class/gpio/gpio182";

/// A pin that a script names, and whether that line is about the modem's power.
struct NamedPin {
    std::string folder;
    bool is_power;
};

/// The pins in a script, without its comments; each once.
std::vector<NamedPin> PinsOf(const std::string& script) {
    std::vector<NamedPin> pins;
    for (const std::string& line : Split(script, '\n')) {
        const std::string text = Trimmed(line);
        if (StartsWith(text, "#")) continue;
        for (size_t at = text.find(kPins); at != std::string::npos; at = text.find(kPins, at + 1)) {
            size_t end = at + sizeof kPins - 1;
            while (end < text.size() && isdigit(static_cast<unsigned char>(text[end])) != 0) ++end;
            const std::string folder = text.substr(at, end - at);
            if (folder.size() == sizeof kPins - 1) continue;  // a pattern such as gpio$N, or gpiochip
            bool known = false;
            for (const NamedPin& pin : pins) known = known || pin.folder == folder;
            if (!known) pins.push_back({folder, Contains(text, "POWER") || Contains(text, "power")});
        }
    }
    return pins;
}

/// What the first line says has to run the script; empty when the kernel takes it for something else.
std::string InterpreterOf(const std::string& script) {
    if (!StartsWith(script, "#!")) return "";
    const std::string line = script.substr(2, script.find('\n') - 2);
    const size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos) return "";
    return line.substr(start, line.find_first_of(" \t", start) - start);
}

/// Looks at a script that is to be run. False, and nothing said, when it isn't there.
bool CheckScript(Examination& examination, const std::string& path) {
    const Board& board = examination.board();
    const FileFacts script = board.Look(path);
    if (!script.exists && script.error != 0) {
        examination.Unseen(path + ": " + ReasonOf(script.error));
        return true;
    }
    if (!script.exists) return false;
    if (!script.is_file() || !script.is_executable()) {
        examination.Found("script-not-executable",
                          path + (script.is_file() ? " isn't executable" : " is no plain file"));
        return true;
    }
    const std::string folder = path.substr(0, path.rfind('/'));
    if (script.others_write() || board.Look(folder).others_write()) {
        examination.Found("script-open", path + " or its folder isn't root's alone: " + RightsOf(script));
    }
    const FileText text = board.Read(path);
    const std::string interpreter = InterpreterOf(text.bytes);
    if (!text.read) {
        examination.Unseen("what is in " + path + ": " + ReasonOf(text.error));
    } else if (!interpreter.empty() && !board.Exists(interpreter)) {
        examination.Found("script-interpreter",
                          path + " wants to be run by \"" + interpreter + "\", which isn't there");
    } else {
        examination.Fact(path + " can be run");
    }
    return true;
}

void CheckPin(Examination& examination, const NamedPin& pin, const std::string& script) {
    const Board& board = examination.board();
    if (board.Exists(pin.folder + "/value")) {
        examination.Fact(pin.folder + " is there, for " + script);
    } else if (board.Exists(kExport)) {
        examination.Found("pin-not-exported", pin.folder + " isn't exported, and " + script + " names it");
    } else {
        examination.Found(pin.is_power ? "power-pin-missing" : "pin-missing",
                          "there is no " + pin.folder + ", and " + script + " names it");
    }
}

void CheckPins(Examination& examination, const std::string& script) {
    const FileText text = examination.board().Read(script);
    if (!text.read) return;
    const std::vector<NamedPin> pins = PinsOf(text.bytes);
    if (pins.empty() && script == kResetScript) {
        examination.Unseen("the pins of " + script + ": it names none that the doctor knows the form of");
    }
    for (const NamedPin& pin : pins) CheckPin(examination, pin, script);
}

void CheckSelector(Examination& examination) {
    if (!examination.HasSwitch("DoubleSIM")) return;
    const std::string pin = examination.Kind(true) == BoardKind::kA35 ? kSelectorA35 : kSelector;
    const Board& board = examination.board();
    if (!board.Exists(pin + "/value")) {
        examination.Found("selector-missing", "there is no " + pin + "/value, which selects the SIM");
    } else if (Trimmed(board.Read(pin + "/direction").bytes) == "in") {
        examination.Found("selector-input", pin + ", which selects the SIM, is an input");
    } else {
        examination.Fact(pin + " is there, and selects the SIM");
    }
}

bool ResetsByBoardScript(BoardKind kind) {
    return kind == BoardKind::kStm32 || kind == BoardKind::kA35 || kind == BoardKind::kA53;
}

}  // namespace

void CheckReset(Examination& examination) {
    const Board& board = examination.board();
    const bool by_board_script = ResetsByBoardScript(examination.Kind());
    const std::string board_script = board.Read(kBoardResetScript).bytes;

    if (!CheckScript(examination, kIfLte)) {
        examination.Found("script-missing", std::string(kIfLte) + " isn't there");
    } else if (Contains(board.Read(kIfLte).bytes, "udhcpc-lte") && !CheckScript(examination, kDhcpScript)) {
        examination.Found("script-missing", std::string(kDhcpScript) + " isn't there, and if-lte needs it");
    }
    if (!CheckScript(examination, kBoardResetScript)) {
        examination.Found(by_board_script ? "script-missing" : "script-spare",
                          std::string(kBoardResetScript) + " isn't there");
    } else {
        CheckPins(examination, kBoardResetScript);
    }
    if (!by_board_script || Contains(board_script, kResetScript)) {
        if (!CheckScript(examination, kResetScript)) {
            examination.Found("script-missing", std::string(kResetScript) + " isn't there");
        } else {
            CheckPins(examination, kResetScript);
        }
    }
    CheckSelector(examination);
}

}  // namespace doctor
