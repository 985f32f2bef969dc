#include "support/file_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

constexpr mode_t kPermissions = 0666;  // less what the process's mask takes away

/// Less than all only when a write fails.
void WriteAll(int fd, const char* text, size_t length) {
    while (length > 0) {
        const ssize_t written = write(fd, text, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text += written;
        length -= static_cast<size_t>(written);
    }
}

}  // namespace

FileWriter::FileWriter(const char* path) : fd_(open(path, O_WRONLY | O_CREAT | O_TRUNC, kPermissions)) {}

FileWriter::~FileWriter() {
    if (!is_open()) return;
    WriteOut();
    close(fd_);
}

void FileWriter::Print(const char* format, ...) {
    if (!is_open()) return;
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    if (!TryPrint(format, arguments)) {
        WriteOut();
        if (!TryPrint(format, again)) length_ = sizeof text_ - 1;
    }
    va_end(again);
    va_end(arguments);
}

/// False: no room for all of it and its terminator. The text is as long as it was.
bool FileWriter::TryPrint(const char* format, va_list arguments) {
    const size_t room = sizeof text_ - length_;
    const int added = vsnprintf(text_ + length_, room, format, arguments);
    if (added < 0) return true;  // a conversion that the library refuses adds nothing
    if (static_cast<size_t>(added) >= room) return false;
    length_ += static_cast<size_t>(added);
    return true;
}

void FileWriter::WriteOut() {
    WriteAll(fd_, text_, length_);
    length_ = 0;
}
