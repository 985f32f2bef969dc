// The file that a run writes its record to. It is mapped into memory, so that an entry costs no system call,
// and what was noted is in the file even if the next instruction kills the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/virtual_time/record.h"

namespace virtual_time {

constexpr size_t kRecordMax_bytes = size_t{48} * 1024 * 1024;  // unless a run is given another limit

class RecordFile {
  public:
    /// Makes a file for so many bytes, which take no room until they are written. Ends the process if it
    /// can't be made. The descriptor is closed again: the program sees the numbers that it would see without
    /// us.
    RecordFile(const std::string& path, size_t limit_bytes);
    ~RecordFile();
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;

    /// `bytes` are escaped. False when the record is full: a run that writes so much has lost its way, or
    /// wants a larger record.
    bool Note(int64_t at_us, std::string_view kind, std::string_view bytes);

    /// Notes how the run ended, for which there is room in a full record too.
    void NoteEnd(int64_t at_us, std::string_view end);

    size_t used_bytes() const { return used_; }

  private:
    bool Append(size_t limit_bytes, int64_t at_us, std::string_view kind, std::string_view bytes);

    const size_t size_;
    char* start_ = nullptr;
    size_t used_ = 0;
    std::string line_;  // kept for its room
};

/// Text of a record file, without the room after it.
std::string ReadRecordFile(const std::string& path);

}  // namespace virtual_time
