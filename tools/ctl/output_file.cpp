#include "tools/ctl/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/board/text_file.h"
#include "tools/ctl/command.h"

namespace ctl {

namespace {

constexpr mode_t kMode = 0666;
constexpr mode_t kReadableMode = 0644;
constexpr mode_t kModeBits = 0777;
constexpr char kStandardOutput[] = "-";

std::string Reason(const std::string& name, int error = errno) {
    return "can't write " + name + ": " + strerror(error);
}

/// What new files get.
mode_t UsualMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return kMode & ~mask;
}

mode_t ModeFor(const struct stat& there, bool is_there, Readers readers) {
    if (readers == Readers::kEverybody) return kReadableMode;
    // Another's file may be open to that other by its mode; ours isn't to be.
    return is_there && there.st_uid == geteuid() ? there.st_mode & kModeBits : UsualMode();
}

/// In the same folder, hidden and with another ending: who takes each *.prom that is seen must not see it.
std::string BesideOf(const std::string& name) {
    const size_t start = name.rfind('/') + 1;
    return name.substr(0, start) + "." + name.substr(start) + ".XXXXXX";
}

}  // namespace

bool AreSameFile(const std::string& name, const std::string& other) {
    struct stat first = {};
    struct stat second = {};
    return stat(name.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

void RefuseToOverwrite(const std::vector<std::string>& inputs, const std::string& output) {
    if (output == kStandardOutput) return;
    for (const std::string& input : inputs) {
        if (AreSameFile(input, output)) RefuseCommandLine("the output would take the place of " + input);
    }
}

bool WriteOutput(const std::string& name, const std::string& text, std::string* problem, Readers readers) {
    if (name == kStandardOutput) {
        fwrite(text.data(), 1, text.size(), stdout);
        return true;
    }
    struct stat there = {};
    const bool is_there = lstat(name.c_str(), &there) == 0;
    if (is_there && !S_ISREG(there.st_mode)) {
        *problem = "can't write " + name + ": it is " + board::KindAt(name) + " and no plain file";
        return false;
    }
    std::string beside = BesideOf(name);
    const int file = mkostemp(beside.data(), O_CLOEXEC);
    if (file < 0) {
        *problem = Reason(name);
        return false;
    }
    // On the disk before the name is: a power cut leaves the one or the other.
    const bool is_written = board::WriteAll(file, text) &&
                            fchmod(file, ModeFor(there, is_there, readers)) == 0 && fsync(file) == 0;
    int error = is_written ? 0 : errno;
    if (close(file) != 0 && error == 0) error = errno;
    if (error == 0 && rename(beside.c_str(), name.c_str()) != 0) error = errno;
    if (error == 0) return true;
    unlink(beside.c_str());
    *problem = Reason(name, error);
    return false;
}

}  // namespace ctl
