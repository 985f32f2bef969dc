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

constexpr size_t kRecordMax_bytes = size_t{48} * 1024 * 1024;  // takes no room until it is written

}  // namespace

RecordFile::RecordFile(const std::string& path) {
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    void* mapping = MAP_FAILED;
    if (fd >= 0 && ftruncate(fd, kRecordMax_bytes) == 0) {
        mapping = mmap(nullptr, kRecordMax_bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, fd, 0);
    }
    if (mapping == MAP_FAILED) {
        perror(path.c_str());
        _exit(1);
    }
    close(fd);
    start_ = static_cast<char*>(mapping);
}

bool RecordFile::Note(int64_t at_us, const char* kind, std::string_view bytes) {
    line_.clear();
    AppendEntry(at_us, kind, bytes, &line_);
    if (used_ + line_.size() >= kRecordMax_bytes) return false;
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
