#include "tools/board/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace board {

namespace {

constexpr size_t kStep_bytes = 16 * 1024;

std::string KindOf(mode_t mode) {
    if (S_ISREG(mode)) return "a file";
    if (S_ISDIR(mode)) return "a folder";
    if (S_ISLNK(mode)) return "a symbolic link";
    if (S_ISFIFO(mode)) return "a pipe";
    if (S_ISSOCK(mode)) return "a socket";
    return "a device";
}

TextFile Problem(FileState state, const std::string& problem) {
    TextFile file;
    file.state = state;
    file.problem = problem;
    return file;
}

TextFile Unreadable() {
    if (errno == ENOENT || errno == ENOTDIR) return Problem(FileState::kMissing, "isn't there");
    return Problem(FileState::kNotReadable, std::string("can't be read: ") + strerror(errno));
}

TextFile NoFile(mode_t mode) {
    return Problem(FileState::kNoFile, "is " + KindOf(mode) + " and no file");
}

TextFile ReadFrom(int fd, size_t limit_bytes) {
    struct stat seen = {};
    if (fstat(fd, &seen) != 0) return Unreadable();
    if (!S_ISREG(seen.st_mode)) return NoFile(seen.st_mode);
    TextFile file;
    file.state = FileState::kRead;
    file.modified = seen.st_mtime;
    for (ssize_t count = 1; count > 0 && file.text.size() <= limit_bytes;) {
        const size_t had = file.text.size();
        const size_t step = std::min(kStep_bytes, limit_bytes + 1 - had);
        file.text.resize(had + step);
        if (step == 0) break;
        count = read(fd, file.text.data() + had, step);
        if (count < 0) return Unreadable();
        file.text.resize(had + static_cast<size_t>(count));
    }
    if (file.text.size() > limit_bytes) {
        file.text.resize(limit_bytes);
        file.state = FileState::kTooLarge;
        file.problem = "has more than " + std::to_string(limit_bytes) + " bytes";
    }
    return file;
}

}  // namespace

TextFile ReadTextFile(const std::string& path, size_t limit_bytes) {
    struct stat seen = {};
    if (lstat(path.c_str(), &seen) != 0) return Unreadable();
    // Opening a device may do something to it, so that isn't even tried.
    if (!S_ISREG(seen.st_mode)) return NoFile(seen.st_mode);
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return errno == ELOOP ? NoFile(S_IFLNK) : Unreadable();
    const TextFile file = ReadFrom(fd, limit_bytes);
    close(fd);
    return file;
}

bool WriteAll(int fd, const std::string& text) {
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(fd, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        written += static_cast<size_t>(count);
    }
    return true;
}

std::string KindAt(const std::string& path) {
    struct stat seen = {};
    return lstat(path.c_str(), &seen) == 0 ? KindOf(seen.st_mode) : "nothing";
}

}  // namespace board
