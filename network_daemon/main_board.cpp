// What the system says about the board, and where a modem has come back. Main thread.
#include "network_daemon/main.h"

#include <dirent.h>

#include <cstdio>
#include <cstring>

#include "support/text_util.h"

namespace {

constexpr char kCpuInfoPath[] = "/proc/cpuinfo";
constexpr char kVersionPath[] = "/proc/version";
constexpr int kLineSize = 1024;

struct BoardWord {
    const char* word;
    cc_cell::BoardCode board;
    const char* announcement;
};

constexpr BoardWord kHardwareWords[] = {
    {"STM32", cc_cell::kBoardStm32, "--- STM32 BOARD --- \n"},
    {"MX6", cc_cell::kBoardImx6ul, "---IMX6UL BOARD --- \n"},
};
constexpr BoardWord kPartWords[] = {
    {"d04", cc_cell::kBoardA35, "---A35 BOARD --- \n"},
    {"d03", cc_cell::kBoardA53, "---A53 BOARD --- \n"},
};

template <size_t N>
const BoardWord* FindWord(const BoardWord (&words)[N], const char* line) {
    for (const BoardWord& row : words) {
        if (strstr(line, row.word) != nullptr) return &row;
    }
    return nullptr;
}

/// Board that one line of /proc/cpuinfo names, or null. A line about the hardware that names none may still
/// be about a part.
const BoardWord* BoardOfLine(const char* line) {
    const BoardWord* found = nullptr;
    if (strstr(line, "Hardware") != nullptr) found = FindWord(kHardwareWords, line);
    if (found == nullptr && strstr(line, "part") != nullptr) found = FindWord(kPartWords, line);
    return found;
}

}  // namespace

int board_cpu_info() {
    FILE* file = fopen(kCpuInfoPath, "rb");
    if (file == nullptr) {
        fprintf(stderr, "Open /proc/cpuinfo file error!\n");
        return cc_cell::kBoardUnknown;
    }
    const BoardWord* found = nullptr;
    char line[kLineSize];
    while (found == nullptr && fgets(line, sizeof line, file) != nullptr) found = BoardOfLine(line);
    fclose(file);
    if (found == nullptr) return cc_cell::kBoardUnknown;
    TRACE(kLogProgress, "%s", found->announcement);
    return found->board;
}

int board_version_info() {
    FILE* file = fopen(kVersionPath, "rb");
    if (file == nullptr) {
        fprintf(stderr, "Open /proc/version file error!\n");
        return cc_cell::kBoardUnknown;
    }
    bool is_a35 = false;
    char line[kLineSize];
    while (!is_a35 && fgets(line, sizeof line, file) != nullptr) is_a35 = strstr(line, "5.10") != nullptr;
    fclose(file);
    if (!is_a35) return cc_cell::kBoardUnknown;
    TRACE(kLogProgress, "---A35 BOARD  and version5.10--- \n");
    return cc_cell::kBoardA35;
}

// Here, though only the restart looks for a modem: its lines in the log say "main_board.cpp:read_devname".
int read_devname(const char* directory, PathText& result) {
    DIR* entries = opendir(directory);
    if (entries == nullptr) {
        TRACE(kLogProgress, "opendir %s fail !\n", directory);
        return -1;
    }
    while (const dirent* entry = readdir(entries)) {
        if (strstr(entry->d_name, "ttyACM") == nullptr) continue;
        CopyText(result, entry->d_name);
        TRACE(kLogProgress, "entry->d_name:  %s \n", entry->d_name);
    }
    TRACE(kLogProgress, "read_devname return:  %s\n", result);
    closedir(entries);
    return 0;
}
