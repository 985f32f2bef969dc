#include "simulator/virtual_time/record_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace virtual_time {

namespace {

constexpr size_t kEnd_bytes = 256;  // room for the last entry

}  // namespace

RecordFile::RecordFile(const std::string& path, size_t limit_bytes) : size_(limit_bytes + kEnd_bytes) {
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    void* mapping = MAP_FAILED;
    if (fd >= 0 && ftruncate(fd, static_cast<off_t>(size_)) == 0) {
        mapping = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, fd, 0);
    }
    if (mapping == MAP_FAILED) {
        perror(path.c_str());
        _exit(1);
    }
    close(fd);
    start_ = static_cast<char*>(mapping);
}

RecordFile::~RecordFile() {
    munmap(start_, size_);
}

bool RecordFile::Note(int64_t at_us, std::string_view kind, std::string_view bytes) {
    return Append(size_ - kEnd_bytes, at_us, kind, bytes);
}

void RecordFile::NoteEnd(int64_t at_us, std::string_view end) {
    Append(size_, at_us, "ends", end);
}

// A NUL byte ends the text.
bool RecordFile::Append(size_t limit_bytes, int64_t at_us, std::string_view kind, std::string_view bytes) {
    line_.clear();
    AppendEntry(at_us, kind, bytes, &line_);
    if (used_ + line_.size() >= limit_bytes) return false;
    memcpy(start_ + used_, line_.data(), line_.size());
    used_ += line_.size();
    return true;
}

std::string ReadRecordFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    std::getline(file, text, '\0');  // escapes leave no NUL in the text
    return text;
}

}  // namespace virtual_time
