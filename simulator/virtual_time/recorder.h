// Writes the record of a run: what the daemon does, in the words of the record. Bytes come as the daemon
// hands them out; an entry is made when it is seen what they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "simulator/virtual_time/record.h"
#include "simulator/virtual_time/record_file.h"

namespace virtual_time {

class Recorder {
  public:
    /// See RecordFile. `now_us` tells the time.
    Recorder(const std::string& path, size_t limit_bytes, size_t used_bytes, std::function<int64_t()> now_us);

    void Note(const char* kind, const std::string& bytes);

    /// Bytes that the daemon has written to the port.
    void Sent(const std::string& bytes);

    /// A text for the log of the bus library.
    void Forwarded(const std::string& text);

    /// What one call printed to standard output, to standard error.
    void Printed(const std::string& chunk);
    void Complained(const std::string& chunk);

    /// The daemon has written a file, which holds this text now.
    void FileWritten(const std::string& path, const std::string& text);
    /// A file that somebody else has written.
    void FileIs(const std::string& path, const std::string& text) { known_files_[path] = text; }

    /// Notes what has been held back so far, so that the record is whole up to now.
    void Flush();

    /// Notes an end that is none of the daemon's, for which there is room in a full record too, and ends the
    /// process.
    [[noreturn]] void EndFull(const std::string& what);

    // Called with each entry, unless it is null.
    std::function<void(const RecordEntry& entry)> on_entry;
    // Called with the time of each entry, unless it is null.
    std::function<void(int64_t at_us)> on_time;

    std::string_view text() const { return record_.text(); }

  private:
    void NoteAt(int64_t at_us, const char* kind, const std::string& bytes);
    void FlushSent();
    void FlushForwarded();
    void PrintPlain(const std::string& chunk, const char* kind, std::string* rest);

    RecordFile record_;
    const std::function<int64_t()> now_us_;
    std::map<std::string, std::string> known_files_;  // as they were when they were last written
    std::string sent_;
    int64_t sent_at_us_ = 0;
    std::string forwarded_;
    int64_t forwarded_at_us_ = 0;
    bool has_forwarded_ = false;
    std::string printed_;
    std::string complained_;
};

}  // namespace virtual_time
