#include "tools/log/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace ravelin_log {
namespace {

constexpr size_t kBlockSize_bytes = 128 * 1024;
constexpr size_t kLongestLine_bytes = 64 * 1024;
constexpr unsigned char kGzipMark[] = {0x1F, 0x8B};

bool IsPacked(int fd) {
    unsigned char start[sizeof kGzipMark] = {};
    return pread(fd, start, sizeof start, 0) == sizeof start && memcmp(start, kGzipMark, sizeof start) == 0;
}

}  // namespace

std::unique_ptr<Input> Input::Open(const std::string& name, std::string* problem) {
    std::unique_ptr<Input> input(new Input);
    input->name_ = name;
    input->fd_ = name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    struct stat status = {};
    if (input->fd_ < 0 || fstat(input->fd_, &status) != 0) {
        *problem = strerror(errno);
        return nullptr;
    }
    if (S_ISDIR(status.st_mode)) {
        *problem = strerror(EISDIR);
        return nullptr;
    }
    if (S_ISREG(status.st_mode)) {
        if (name != "-") input->changed_seconds_ = status.st_mtime;
        if (IsPacked(input->fd_)) {
            input->packed_ = gzdopen(input->fd_, "rb");
            if (input->packed_ == nullptr) {
                *problem = "no memory";
                return nullptr;
            }
        }
    }
    input->block_.resize(kBlockSize_bytes);
    return input;
}

Input::~Input() {
    if (packed_ != nullptr) {
        gzclose(packed_);
    } else if (fd_ >= 0) {
        close(fd_);
    }
}

ssize_t Input::Read(char* to, size_t size) {
    if (packed_ != nullptr) {
        const int unpacked = gzread(packed_, to, static_cast<unsigned>(size));
        int problem = Z_OK;
        gzerror(packed_, &problem);
        // A file that was cut ends like a whole one, but for this.
        return unpacked == 0 && problem == Z_BUF_ERROR ? -1 : unpacked;
    }
    ssize_t count = 0;
    do {
        count = read(fd_, to, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

bool Input::Fill() {
    if (begin_ > 0) {
        memmove(block_.data(), block_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    const ssize_t count = Read(block_.data() + end_, block_.size() - end_);
    if (count < 0) has_failed_ = true;
    if (count <= 0) return false;
    end_ += static_cast<size_t>(count);
    return true;
}

bool Input::DropLine() {
    do {
        const auto* line_end = static_cast<const char*>(memchr(block_.data() + begin_, '\n', end_ - begin_));
        begin_ = line_end != nullptr ? static_cast<size_t>(line_end - block_.data()) + 1 : end_;
        drops_line_ = line_end == nullptr;
    } while (drops_line_ && Fill());
    return !drops_line_;
}

bool Input::NextLine(std::string_view* line) {
    is_torn_ = false;
    if (drops_line_ && !DropLine()) return false;
    size_t searched = 0;
    while (true) {
        const char* const start = block_.data() + begin_;
        const auto* line_end =
            static_cast<const char*>(memchr(start + searched, '\n', end_ - begin_ - searched));
        if (line_end != nullptr) {
            *line = std::string_view(start, static_cast<size_t>(line_end - start));
            begin_ += line->size() + 1;
            break;
        }
        searched = end_ - begin_;
        if (begin_ == 0 && end_ == block_.size()) {
            *line = std::string_view(start, kLongestLine_bytes);
            begin_ = end_;
            is_torn_ = true;
            drops_line_ = true;
            break;
        }
        if (Fill()) continue;
        if (searched == 0 || follows_) return false;
        *line = std::string_view(block_.data() + begin_, searched);
        begin_ = end_;
        is_torn_ = true;
        break;
    }
    last_begin_ = static_cast<size_t>(line->data() - block_.data());
    ++line_number_;
    has_cr_ = !line->empty() && line->back() == '\r';
    if (has_cr_) line->remove_suffix(1);
    return true;
}

void Input::Unread() {
    begin_ = last_begin_;
    drops_line_ = false;
    --line_number_;
}

bool Input::NextBytes(uint64_t count, std::string* bytes) {
    bytes->clear();
    while (bytes->size() < count) {
        if (begin_ == end_ && !Fill()) return false;
        const size_t size = static_cast<size_t>(std::min<uint64_t>(count - bytes->size(), end_ - begin_));
        // What is longer than any line is passed over, but for its beginning.
        if (bytes->size() < kLongestLine_bytes) {
            bytes->append(block_.data() + begin_, size);
        } else {
            count -= size;
        }
        for (size_t i = 0; i < size; ++i) line_number_ += block_[begin_ + i] == '\n' ? 1 : 0;
        begin_ += size;
    }
    return true;
}

}  // namespace ravelin_log
