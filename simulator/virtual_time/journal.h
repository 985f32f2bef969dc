// What a supervised run leaves for the next start of the daemon: all that has come from outside to what lives
// in the process but doesn't die with the daemon, which is the modem and the scenario. The modem is driven by
// calls and times alone, so the same calls at the same times bring it back to where it was.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "simulator/virtual_time/mapped_file.h"

namespace virtual_time {

struct JournalEntry {
    enum class Kind : uint32_t {
        kWritten,   // bytes that the host wrote to the port
        kFetched,   // output was fetched from the modem, for a host that looked whether there was any
        kRead,      // the host has read; the number is how much it asked for
        kKnob,      // the words
        kPresence,  // the port was seen to come (1) or go (0)
        kMark,      // the mark of this number was reached
        kEvent,     // the event of this number was done
    };

    Kind kind;
    int64_t at_us;
    int64_t number;
    std::string_view bytes;  // valid as long as the journal
};

/// Less than a record needs for the same, but of records there are larger ones. Takes no room until it is
/// written.
constexpr size_t kJournalBytesMax = sizeof(void*) == 8 ? size_t{2} << 30 : size_t{256} << 20;

class Journal {
  public:
    /// A new journal in a new file, or the one that the file holds.
    explicit Journal(const std::string& path, size_t limit_bytes = kJournalBytesMax);

    /// False when the journal is full.
    bool Note(JournalEntry::Kind kind, int64_t at_us, int64_t number, std::string_view bytes = "");

    /// Something has happened at that time: the daemon has come as far as that.
    void Reach(int64_t at_us);
    int64_t reached_us() const;

    /// What was noted, in its order.
    void ForEach(const std::function<void(const JournalEntry& entry)>& take) const;

  private:
    struct Head;
    struct EntryHead;

    Head* head() const;

    MappedFile file_;
};

}  // namespace virtual_time
