// The file that a run writes its record to. It is mapped into memory, so that an entry costs no system call,
// and what was noted is in the file even if the next instruction kills the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/virtual_time/record.h"

namespace virtual_time {

class RecordFile {
  public:
    /// Ends the process if the file can't be made. The descriptor is closed again: the program sees the
    /// numbers that it would see without us.
    explicit RecordFile(const std::string& path);

    /// `bytes` are escaped. False when the record is full: a run that writes so much has lost its way.
    bool Note(int64_t at_us, const char* kind, std::string_view bytes);

  private:
    char* start_ = nullptr;
    size_t used_ = 0;
    std::string line_;  // kept for its room
};

/// Text of a record file, without the room after it.
std::string ReadRecordFile(const std::string& path);

}  // namespace virtual_time
