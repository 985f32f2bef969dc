// Files, commands and processes of MkUtils.
#include "support/MkUtils.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/text_util.h"

namespace {

constexpr size_t kMountLineSize = 2000;
constexpr size_t kSmallFileSize = 1024;  // with the terminator

std::string ReadProcessLink(int pid, const char* name) {
    char link[64];
    snprintf(link, sizeof(link), "/proc/%d/%s", pid, name);
    char target[PATH_MAX];
    const ssize_t length = readlink(link, target, sizeof(target));
    return length > 0 ? std::string(target, static_cast<size_t>(length)) : std::string();
}

}  // namespace

bool IsMounted(const char* mount_point) {
    FILE* mounts = fopen("/proc/mounts", "r");
    if (mounts == nullptr) return false;
    bool found = false;
    bool at_line_start = true;
    char line[kMountLineSize];
    while (!found && fgets(line, sizeof(line), mounts) != nullptr) {
        const bool is_start = at_line_start;  // the rest of an over-long line holds no mount point
        at_line_start = strchr(line, '\n') != nullptr;
        if (!is_start) continue;
        char* rest = line;
        NextToken(&rest, " \t\n");
        const char* point = NextToken(&rest, " \t\n");
        found = point != nullptr && strcmp(point, mount_point) == 0;
    }
    fclose(mounts);
    return found;
}

char* ReadSmallFile(const char* path) {
    static char buffer[kSmallFileSize];
    size_t length = 0;
    FILE* file = fopen(path, "r");
    if (file != nullptr) {
        length = fread(buffer, 1, sizeof(buffer) - 1, file);
        fclose(file);
    }
    buffer[length] = '\0';
    return TrimEnd(buffer);
}

int RunCommand(const char* command, char* output, size_t count) {
    FILE* pipe = popen(command, "r");
    if (pipe == nullptr) return -1;
    const size_t length = fread(output, 1, count, pipe);
    if (length < count) output[length] = '\0';
    pclose(pipe);
    return 0;
}

void PrintHex(const unsigned char* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) printf("%02x ", bytes[i]);
}

void DeleteOldestVideo(const char* folder) {
    const std::string command = std::string("rm $(ls ") + folder + "/*.mp4 -c | tail -1) -f";
    if (system(command.c_str()) != 0) return;  // the video is still there; the next call tries again
}

std::string GetProcessFolder(int pid) {
    return ReadProcessLink(pid, "cwd");
}

std::string GetProcessExecutable(int pid) {
    return ReadProcessLink(pid, "exe");
}
