// The firmware tool of the module maker, and the wrapper that keeps a flash alive.
#include <cstdlib>

#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kFolder[] = "/media/mmcblk0p1/firmware_modules/CellularOTA";
constexpr char kTool[] = "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose";
constexpr char kRealTool[] = "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose.real";
constexpr char kMarks[] = "/run/ravelin-flash";
constexpr char kMarkStart[] = "flash.";
constexpr size_t kStartField = 20;  // of /proc/PID/stat, counted behind the process's name

/// The moment when a process was started, in the words of /proc; empty when there is none, or it is only a
/// status that nobody has fetched.
std::string StartOf(const Board& board, const std::string& pid) {
    const std::string stat = board.Read("/proc/" + pid + "/stat").bytes;
    const size_t name_end = stat.rfind(')');  // a name may hold blanks and brackets
    if (name_end == std::string::npos) return "";
    const std::vector<std::string> fields = Words(stat.substr(name_end + 1));
    return fields.size() < kStartField || fields[0] == "Z" ? "" : fields[kStartField - 1];
}

/// A mark names the process of a flash and its start, "flash.PID.START": one that is left over never fits.
void CheckFlash(Examination& examination) {
    const Board& board = examination.board();
    for (const std::string& name : board.List(kMarks).value_or(std::vector<std::string>())) {
        if (!StartsWith(name, kMarkStart)) continue;
        const std::vector<std::string> parts = Split(name, '.');
        if (parts.size() != 3 || parts[1].find_first_not_of("0123456789") != std::string::npos) continue;
        if (StartOf(board, parts[1]) != parts[2]) continue;
        examination.Found("flash-running", "a flash of the modem is in progress, process " + parts[1]);
    }
}

void CheckRunnable(Examination& examination, const std::string& path) {
    const FileFacts tool = examination.board().Look(path);
    if (!tool.is_file() || !tool.is_executable()) {
        examination.Found("upgrade-not-executable",
                          path + (tool.is_file() ? " isn't executable" : " is no plain file"));
    } else if (tool.others_write() || examination.board().Look(kFolder).others_write()) {
        examination.Found("upgrade-open", path + " or its folder isn't root's alone: " + RightsOf(tool));
    } else {
        examination.Fact(path + " can be run");
    }
}

void CheckTool(Examination& examination) {
    const Board& board = examination.board();
    const FileFacts folder = board.Look(kFolder);
    if (!folder.exists && folder.error != 0) {
        examination.Unseen(std::string(kFolder) + ": " + ReasonOf(folder.error));
        return;
    }
    if (!folder.exists) {
        examination.Fact(std::string("no ") + kFolder + ": this board doesn't upgrade modems");
        return;
    }
    if (!board.Exists(kTool)) {
        examination.Found("upgrade-no-tool", std::string("there is no ") + kTool);
        return;
    }
    CheckRunnable(examination, kTool);
    const FileText text = board.Read(kTool);
    if (!text.read) {
        examination.Unseen(std::string("what is in ") + kTool + ": " + ReasonOf(text.error));
    } else if (!Contains(text.bytes, "--become-tool")) {
        examination.Found("upgrade-unwrapped", std::string(kTool) + " isn't the wrapper");
    } else if (!board.Exists(kRealTool)) {
        examination.Found("upgrade-no-tool", std::string("there is no ") + kRealTool);
    } else {
        CheckRunnable(examination, kRealTool);
    }
}

}  // namespace

void CheckUpgrade(Examination& examination) {
    CheckTool(examination);
    CheckFlash(examination);
}

}  // namespace doctor
