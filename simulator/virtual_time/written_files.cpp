#include "simulator/virtual_time/written_files.h"

#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace virtual_time {

void WrittenFiles::Opened(FILE* stream, const char* path, const char* mode, int64_t now_us) {
    if (strpbrk(mode, "wa+") != nullptr) files_.push_back({stream, path, mode[0] == 'w', now_us});
}

std::optional<WrittenFile> WrittenFiles::Take(FILE* stream) {
    const auto file = std::find_if(files_.begin(), files_.end(),
                                   [stream](const WrittenFile& each) { return each.stream == stream; });
    if (file == files_.end()) return std::nullopt;
    std::optional<WrittenFile> taken = std::move(*file);
    files_.erase(file);
    return taken;
}

// The daemon writes its status files in each pass, each from empty and shorter than the stream's buffer: all
// of it still stands there. The settings are opened for writing too and only read. To open either a second
// time for a look would cost as much as all that the daemon does to it.
std::optional<std::string> TextBeforeClose(const WrittenFile& file, int64_t now_us) {
    const int fd = fileno(file.stream);
    const size_t unwritten_bytes = __fpending(file.stream);
    if (unwritten_bytes == 0) {
        char text[4096];
        const ssize_t length = pread(fd, text, sizeof text, 0);
        if (length < 0 || static_cast<size_t>(length) == sizeof text) return std::nullopt;
        return std::string(text, static_cast<size_t>(length));
    }
    struct stat info;
    const bool is_whole =
        file.is_from_empty && file.opened_at_us == now_us && fstat(fd, &info) == 0 && info.st_size == 0;
    if (!is_whole) return std::nullopt;
    return std::string(file.stream->_IO_write_base, unwritten_bytes);
}

}  // namespace virtual_time
