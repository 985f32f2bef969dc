// The file that a run writes its trace to. It is mapped into memory, so that an entry costs no system call,
// and what was noted is in the file even if the next instruction kills the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/virtual_time/trace.h"

namespace virtual_time {

class TraceFile {
  public:
    /// Ends the process if the file can't be made. The descriptor is closed again: the program sees the
    /// numbers that it would see without us.
    explicit TraceFile(const std::string& path);

    /// `bytes` are escaped. False when the trace is full: a run that writes so much has lost its way.
    bool Note(int64_t at_us, const char* kind, std::string_view bytes);

  private:
    char* start_ = nullptr;
    size_t used_ = 0;
};

/// Text of a trace file, without the room behind it.
std::string ReadTraceFile(const std::string& path);

}  // namespace virtual_time
