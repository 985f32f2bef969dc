// Entries of the journal as journalctl writes them for programs: `-o export` and `-o json`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/log/input.h"

namespace ravelin_log {

enum class JournalForm { kNone, kExport, kJson };

/// What a file whose first line this is holds.
JournalForm JournalFormOf(std::string_view first_line);

/// What of an entry matters here.
struct JournalEntry {
    int64_t number = 0;     // of the line of the file that holds the message
    int64_t time_us = -1;   // since 1970; -1: not told
    std::string transport;  // "stdout", "syslog" and others
    std::string program;
    int process = 0;
    std::string message;  // may hold line ends
    bool has_message = false;
};

/// The next entry; false at the end of the input.
bool NextEntry(Input& input, JournalForm form, JournalEntry* entry);

}  // namespace ravelin_log
