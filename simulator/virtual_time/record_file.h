// The file that a run writes its record to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/virtual_time/mapped_file.h"
#include "simulator/virtual_time/record.h"

namespace virtual_time {

constexpr size_t kRecordMax_bytes = size_t{48} * 1024 * 1024;  // unless a run is given another limit

class RecordFile {
  public:
    /// A record of so many bytes at most, of which the file holds the first `used_bytes` already.
    RecordFile(const std::string& path, size_t limit_bytes, size_t used_bytes = 0);

    /// `bytes` are escaped. False when the record is full: a run that writes so much has lost its way, or
    /// wants a larger record.
    bool Note(int64_t at_us, std::string_view kind, std::string_view bytes);

    /// Notes how the run ended, for which there is room in a full record too.
    void NoteEnd(int64_t at_us, std::string_view end);

    std::string_view text() const { return {file_.start(), used_}; }

  private:
    bool Append(size_t limit_bytes, int64_t at_us, std::string_view kind, std::string_view bytes);

    MappedFile file_;
    size_t used_;
    std::string line_;  // kept for its room
};

/// With its line end; empty when there is none.
std::string_view LastLine(std::string_view record);

/// Appends what a record file holds behind the text that is known of it, without the room after it.
void ReadMoreOfRecordFile(const std::string& path, std::string* record);

}  // namespace virtual_time
