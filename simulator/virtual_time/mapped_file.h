// A file in memory: writing to it costs no system call, and what was written is in the file even if the next
// instruction kills the process.
#pragma once

#include <cstddef>
#include <string>

namespace virtual_time {

class MappedFile {
  public:
    /// Makes the file if it is missing, and gives it that size; what it held stays. Room that nobody has
    /// written to holds zeros and takes no place. Ends the process if it can't be done. The descriptor is
    /// closed again: the program sees the numbers that it would see without us.
    MappedFile(const std::string& path, size_t size_bytes);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    char* start() const { return start_; }
    size_t size_bytes() const { return size_bytes_; }

  private:
    char* start_ = nullptr;
    const size_t size_bytes_;
};

}  // namespace virtual_time
