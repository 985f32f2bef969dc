#include "tools/ctl/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ctl {

namespace {

constexpr mode_t kMode = 0666;
constexpr mode_t kModeBits = 07777;

std::string Reason(const std::string& name) {
    return "can't write " + name + ": " + strerror(errno);
}

bool WriteAll(int file, const std::string& text) {
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(file, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        written += static_cast<size_t>(count);
    }
    return true;
}

/// What new files get.
mode_t UsualMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return kMode & ~mask;
}

}  // namespace

bool AreSameFile(const std::string& name, const std::string& other) {
    struct stat first = {};
    struct stat second = {};
    return stat(name.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool WriteOutput(const std::string& name, const std::string& text, std::string* problem) {
    if (name == "-") {
        if (WriteAll(STDOUT_FILENO, text)) return true;
        *problem = Reason("to standard output");
        return false;
    }
    std::string target = name;
    struct stat there = {};
    mode_t mode = UsualMode();
    if (stat(name.c_str(), &there) == 0) {
        if (!S_ISREG(there.st_mode)) {
            *problem = "can't write " + name + ": it is no plain file; -o - writes to standard output";
            return false;
        }
        mode = there.st_mode & kModeBits;
        // Where a link leads is written anew, and the link stays.
        char path[PATH_MAX];
        if (realpath(name.c_str(), path) != nullptr) target = path;
    }
    std::string temporary = target + ".XXXXXX";
    const int file = mkstemp(temporary.data());
    if (file < 0) {
        *problem = Reason(name);
        return false;
    }
    // On the disk before the name is: a power cut leaves the one or the other.
    bool is_done = WriteAll(file, text) && fchmod(file, mode) == 0 && fsync(file) == 0;
    if (!is_done) *problem = Reason(name);
    if (close(file) != 0 && is_done) {
        is_done = false;
        *problem = Reason(name);
    }
    if (is_done && rename(temporary.c_str(), target.c_str()) != 0) {
        is_done = false;
        *problem = Reason(name);
    }
    if (!is_done) unlink(temporary.c_str());
    return is_done;
}

}  // namespace ctl
