#include "tools/board/pipe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/board/text_file.h"

namespace board {

Pipe::Pipe(const std::string& path) : state_(Open(path)) {}

Pipe::~Pipe() {
    if (fd_ >= 0) close(fd_);
}

PipeState Pipe::Fail(PipeState state, const std::string& problem) {
    problem_ = problem;
    return state;
}

PipeState Pipe::Open(const std::string& path) {
    struct stat seen = {};
    if (lstat(path.c_str(), &seen) != 0) {
        const bool is_missing = errno == ENOENT || errno == ENOTDIR;
        return Fail(is_missing ? PipeState::kMissing : PipeState::kNotAllowed,
                    is_missing ? "there is no " + path : path + ": " + strerror(errno));
    }
    if (!S_ISFIFO(seen.st_mode)) {
        return Fail(PipeState::kNoPipe, path + " is " + KindAt(path) + " and no pipe");
    }
    fd_ = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC);
    if (fd_ < 0) {
        if (errno == ENXIO) return Fail(PipeState::kNoReader, "nobody reads " + path);
        if (errno == ENOENT) return Fail(PipeState::kMissing, "there is no " + path);
        return Fail(PipeState::kNotAllowed, path + " can't be written: " + strerror(errno));
    }
    // It may have been exchanged meanwhile.
    if (fstat(fd_, &seen) != 0 || !S_ISFIFO(seen.st_mode)) {
        close(fd_);
        fd_ = -1;
        return Fail(PipeState::kNoPipe, path + " is no pipe any more");
    }
    owner_ = seen.st_uid;
    return PipeState::kOpen;
}

bool Pipe::Send(const std::string& line) {
    const std::string message = line + "\n";
    // Up to PIPE_BUF bytes go in one piece or not at all.
    const ssize_t count = write(fd_, message.data(), message.size());
    if (count == static_cast<ssize_t>(message.size())) return true;
    problem_ = count < 0 && errno == EAGAIN ? "the pipe is full: its reader doesn't read"
               : count < 0                  ? std::string("writing failed: ") + strerror(errno)
                                            : "only a part could be written";
    return false;
}

}  // namespace board
