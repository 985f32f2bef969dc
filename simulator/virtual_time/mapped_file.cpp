#include "simulator/virtual_time/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

namespace virtual_time {

MappedFile::MappedFile(const std::string& path, size_t size_bytes) : size_bytes_(size_bytes) {
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    void* mapping = MAP_FAILED;
    if (fd >= 0 && ftruncate(fd, static_cast<off_t>(size_bytes)) == 0) {
        mapping = mmap(nullptr, size_bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, fd, 0);
    }
    if (mapping == MAP_FAILED) {
        perror(path.c_str());
        _exit(1);
    }
    close(fd);
    start_ = static_cast<char*>(mapping);
}

MappedFile::~MappedFile() {
    munmap(start_, size_bytes_);
}

}  // namespace virtual_time
