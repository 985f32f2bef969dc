#include "simulator/virtual_time/written_files.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace virtual_time {

namespace {

/// The text of a file that is read; nothing when it is long or can only be written.
std::optional<std::string> ReadStart(int fd) {
    char text[4096];
    const ssize_t length = pread(fd, text, sizeof text, 0);
    if (length < 0 || static_cast<size_t>(length) == sizeof text) return std::nullopt;
    return std::string(text, static_cast<size_t>(length));
}

}  // namespace

void WrittenFiles::Opened(FILE* stream, const char* path, const char* mode, int64_t now_us) {
    if (strpbrk(mode, "wa+") == nullptr) return;
    files_.push_back({stream, -1, path, mode[0] == 'w', now_us, true, ""});
}

void WrittenFiles::Opened(int fd, const char* path, int flags, int64_t now_us, bool has_room) {
    struct stat info;
    if ((flags & O_ACCMODE) == O_RDONLY || fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) return;
    files_.push_back({nullptr, fd, path, (flags & O_TRUNC) != 0, now_us, has_room, ""});
}

WrittenFile* WrittenFiles::Find(int fd) {
    for (WrittenFile& file : files_) {
        if (file.fd == fd) return &file;
    }
    return nullptr;
}

std::optional<WrittenFile> WrittenFiles::Take(FILE* stream) {
    return Take(std::find_if(files_.begin(), files_.end(),
                             [stream](const WrittenFile& each) { return each.stream == stream; }));
}

std::optional<WrittenFile> WrittenFiles::Take(int fd) {
    return Take(
        std::find_if(files_.begin(), files_.end(), [fd](const WrittenFile& each) { return each.fd == fd; }));
}

std::optional<WrittenFile> WrittenFiles::Take(std::vector<WrittenFile>::iterator file) {
    if (file == files_.end()) return std::nullopt;
    std::optional<WrittenFile> taken = std::move(*file);
    files_.erase(file);
    return taken;
}

// The daemon writes its status files in each pass, each from empty: all of it is known from the writes, or
// still stands in the stream's buffer. The settings are opened for writing too and only read. To open either
// a second time for a look would cost as much as all that the daemon does to it.
std::optional<std::string> TextBeforeClose(const WrittenFile& file, int64_t now_us) {
    struct stat info;
    const bool is_from_empty = file.is_from_empty && file.opened_at_us == now_us;
    if (file.stream == nullptr) {
        if (!is_from_empty) return ReadStart(file.fd);
        const bool is_whole =
            fstat(file.fd, &info) == 0 && info.st_size == static_cast<off_t>(file.written.size());
        return is_whole ? std::optional(file.written) : std::nullopt;
    }
    const int fd = fileno(file.stream);
    const size_t unwritten_bytes = __fpending(file.stream);
    if (unwritten_bytes == 0) return ReadStart(fd);
    const bool is_whole = is_from_empty && fstat(fd, &info) == 0 && info.st_size == 0;
    if (!is_whole) return std::nullopt;
    return std::string(file.stream->_IO_write_base, unwritten_bytes);
}

}  // namespace virtual_time
