// The firmware tool of the module maker, and the wrapper that keeps a flash alive.
#include <optional>
#include <string>

#include "tools/board/upgrade.h"
#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

using board::kFirmwareFolder;

const std::string kTool = std::string(kFirmwareFolder) + "/" + board::kFirmwareTool;
const std::string kRealTool = std::string(kFirmwareFolder) + "/" + board::kWrappedTool;

void CheckFlash(Examination& examination) {
    const Board& board = examination.board();
    for (const std::string& name : board.List(board::kFlashFolder).value_or(std::vector<std::string>())) {
        const std::optional<board::FlashMark> mark = board::ReadFlashMark(name);
        if (!mark) continue;
        const std::string process = std::to_string(mark->process);
        if (board::StartOf(board.Read("/proc/" + process + "/stat").bytes) != mark->start) continue;
        examination.Found("flash-running", "a flash of the modem is in progress, process " + process);
    }
}

void CheckRunnable(Examination& examination, const std::string& path) {
    const FileFacts tool = examination.board().Look(path);
    if (!tool.is_file() || !tool.is_executable()) {
        examination.Found("upgrade-not-executable",
                          path + (tool.is_file() ? " isn't executable" : " is no plain file"));
    } else if (tool.others_write() || examination.board().Look(kFirmwareFolder).others_write()) {
        examination.Found("upgrade-open", path + " or its folder isn't root's alone: " + RightsOf(tool));
    } else {
        examination.Fact(path + " can be run");
    }
}

void CheckTool(Examination& examination) {
    const Board& board = examination.board();
    const FileFacts folder = board.Look(kFirmwareFolder);
    if (!folder.exists && folder.error != 0) {
        examination.Unseen(std::string(kFirmwareFolder) + ": " + ReasonOf(folder.error));
        return;
    }
    if (!folder.exists) {
        examination.Fact(std::string("no ") + kFirmwareFolder + ": this board doesn't upgrade modems");
        return;
    }
    if (!board.Exists(kTool)) {
        examination.Found("upgrade-no-tool", "there is no " + kTool);
        return;
    }
    CheckRunnable(examination, kTool);
    const FileText text = board.Read(kTool);
    if (!text.read) {
        examination.Unseen("what is in " + kTool + ": " + ReasonOf(text.error));
    } else if (!Contains(text.bytes, "--become-tool")) {
        examination.Found("upgrade-unwrapped", kTool + " isn't the wrapper");
    } else if (!board.Exists(kRealTool)) {
        examination.Found("upgrade-no-tool", "there is no " + kRealTool);
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
