// /run/network: who can write there and read from it, what stands in the place of status files, and the pipe.
#include <sys/stat.h>

#include <cstdlib>

#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kPipe[] = "/run/network/ravelin_fifo";
constexpr const char* kStatusFiles[] = {"/run/network/ravelin_status", "/run/network/signal_status",
                                        "/run/network/3630_status"};

/// False: there is nothing more to look at.
bool CheckFolderItself(Examination& examination) {
    const Board& board = examination.board();
    const std::string path = kNetworkFolder;
    const FileFacts folder = board.Look(path);
    const FileFacts itself = board.Look(path, Board::Link::kItself);
    if (!folder.exists && folder.error != 0) {
        examination.Unseen(path + ": " + ReasonOf(folder.error));
        return false;
    }
    if (!itself.exists) {
        examination.Fact(path + " isn't there: the service makes it");
        return false;
    }
    if (!folder.is_folder()) {
        examination.Found("folder-no-folder", path + " is no folder");
        return false;
    }
    if (folder.others_write()) {
        examination.Found("folder-open", path + " isn't for root alone to write: " + RightsOf(folder));
    } else if ((folder.mode & (S_IROTH | S_IXOTH)) != 0) {
        examination.Found("folder-readable", path + " is open to every user: " + RightsOf(folder));
    } else {
        examination.Fact(path + " has " + RightsOf(folder));
    }
    if (board.Space(path).full) examination.Found("folder-full", "the file system of " + path + " is full");
    return true;
}

/// A file that root could have made, with no second name, as ravelin-prepare wants it.
void CheckStatusFiles(Examination& examination) {
    for (const char* path : kStatusFiles) {
        const FileFacts file = examination.board().Look(path, Board::Link::kItself);
        if (!file.exists || (file.is_file() && file.links == 1)) continue;
        examination.Found("status-no-file", std::string(path) + (file.is_link()   ? " is a link"
                                                                 : file.is_file() ? " has a second name"
                                                                                  : " is no plain file"));
    }
}

void CheckPipeReader(Examination& examination, const FileFacts& pipe) {
    const std::vector<const Process*> holders = examination.HoldersOf(pipe);
    if (!holders.empty()) {
        examination.Fact(std::string(kPipe) + " is read by " + NameOf(*holders.front()));
    } else if (examination.has_blind_spots()) {
        examination.Unseen(std::string("who reads ") + kPipe + ": run the doctor as root");
    } else {
        examination.Found("pipe-unread", std::string("nobody reads ") + kPipe);
    }
}

void CheckPipe(Examination& examination) {
    const FileFacts pipe = examination.board().Look(kPipe, Board::Link::kItself);
    if (!pipe.exists) {
        if (pipe.error != 0) {
            examination.Unseen(std::string(kPipe) + ": " + ReasonOf(pipe.error));
        } else if (examination.daemon_runs()) {
            examination.Found("pipe-missing", std::string("there is no ") + kPipe);
        } else {
            examination.Fact(std::string("no ") + kPipe + ": the daemon makes it");
        }
        return;
    }
    if (!pipe.is_pipe()) {
        examination.Found("pipe-no-pipe", std::string(kPipe) + (pipe.is_file()     ? " is a plain file"
                                                                : pipe.is_folder() ? " is a folder"
                                                                : pipe.is_link()   ? " is a link"
                                                                                   : " is no pipe"));
        return;
    }
    if (pipe.others_write()) {
        examination.Found("pipe-open", std::string(kPipe) + " isn't for root alone: " + RightsOf(pipe));
    }
    CheckPipeReader(examination, pipe);
}

}  // namespace

void CheckFolder(Examination& examination) {
    if (!CheckFolderItself(examination)) return;
    CheckStatusFiles(examination);
    CheckPipe(examination);
}

}  // namespace doctor
