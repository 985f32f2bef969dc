#include "support/file_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

FileReader::~FileReader() {
    if (is_open()) close(fd_);
}

size_t FileReader::GetLine(char* to, size_t size) {
    size_t length = 0;
    while (length < size && HasMore()) {
        size_t count = std::min(static_cast<size_t>(end_ - begin_), size - length);
        const void* line_end = memchr(begin_, '\n', count);
        if (line_end != nullptr) count = static_cast<size_t>(static_cast<const char*>(line_end) + 1 - begin_);
        memcpy(to + length, begin_, count);
        begin_ += count;
        length += count;
        if (line_end != nullptr) break;
    }
    return length;
}

/// False at the end of the file. A read that brings less than was asked for isn't the last one: where a pipe
/// stands in the file's place, its writer may not have come to an end.
bool FileReader::Fill() {
    if (is_at_end_) return false;
    ssize_t length = 0;
    do {
        length = read(fd_, buffer_, sizeof buffer_);
    } while (length < 0 && errno == EINTR);
    has_failed_ = length < 0;
    is_at_end_ = length <= 0;
    begin_ = buffer_;
    end_ = buffer_ + std::max<ssize_t>(length, 0);
    return begin_ != end_;
}
