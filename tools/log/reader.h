// The log as a whole: any number of files in any order, as one sequence of lines with times. Knows which
// lines are the daemon's words and which only stand between them, gives days to lines without a date, brings
// files of the same time together, leaves out what is told twice, and says where the daemon began anew. A
// month is read in one pass, and no more of it is kept than a block of each file at hand.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/log/line.h"

namespace ravelin_log {

struct ReaderOptions {
    // Day of the first line of logs without a date: "2026-11-22"; or "file", which takes it from the time at
    // which the file was changed last. Empty: they stay without a date, unless a dated log beside them tells
    // it.
    std::string date;
    bool follows =
        false;  // the last file is waited for at its end: Next returns false, and may be called again
};

struct Line {
    enum class Kind {
        kSaid,   // a message of the daemon
        kText,   // no message: the modem's words at level 7, a dump, what standard output got besides
        kOther,  // of another program, from the system's log
    };
    Kind kind = Kind::kText;
    int input = 0;             // whose line: an index for Reader::name
    int64_t number = 0;        // the first is 1
    std::string_view raw;      // the line as it stands in the file
    std::string_view program;  // from syslog; may be empty
    int process = 0;           // the same; 0: not told
    Place place;               // empty in what was forwarded to syslog
    std::string_view message;  // without time and place
    bool has_cr = false;       // a CR stood before its line end, as in the modem's words at level 7
    bool is_torn = false;      // it has no line end, or was cut at the longest line of the log
    bool begins_run = false;   // the first line of a new process
    bool has_time = false;     // it shows one itself; else `time_ms` is that of the line before
    int64_t time_ms =
        0;  // dated: wall clock, as milliseconds since 1970; else since midnight of the first day
    int64_t elapsed_ms = 0;  // since the first line with a time, without the jumps of a clock that is set
    bool jumped = false;     // the clock was set before this line: back, or by years
};

class Stream;

class Reader {
  public:
    Reader();
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// False with `problem`, one line, when a file can't be opened or the date can't be read.
    bool Open(const std::vector<std::string>& names, const ReaderOptions& options, std::string* problem);
    /// The next line; what it points to lives until the next call. False at the end.
    bool Next(Line* line);

    /// Whether times are dates; known once a line with a time was returned.
    bool is_dated() const { return is_dated_; }
    /// "2026-11-22T03:12:07.470+01:00", as far as the log tells it; "day 2, 03:12:07" without dates.
    std::string TimeText(int64_t time_ms) const;
    /// The same for people, in seconds.
    std::string ShortTimeText(int64_t time_ms) const;
    const std::string& name(int input) const { return names_[static_cast<size_t>(input)]; }
    /// False when a log couldn't be read to its end.
    bool is_whole() const { return is_whole_; }
    /// What went wrong while reading, a line each.
    const std::vector<std::string>& complaints() const { return complaints_; }

  private:
    struct Recent {
        size_t hash;
        int64_t time_ms;
        int input;
        bool is_forwarded;
        bool is_gone;
    };

    Stream* Earliest();
    /// Whether a copy of the line was returned already: from another file, or by the other way to the log.
    bool IsTwin(const Line& line);
    void Time(Line* line);
    void MarkRun(Line* line);

    std::vector<std::string> names_;
    std::vector<std::unique_ptr<Stream>> streams_;  // in the order of their time
    std::vector<std::string> complaints_;
    bool is_whole_ = true;
    Stream* current_ = nullptr;  // whose line was returned last
    std::vector<int64_t> first_times_ms_;
    size_t next_ = 0;         // streams before it are at their end
    bool is_merged_ = false;  // all have dates: lines come by their time, else file by file
    bool is_dated_ = false;
    bool has_zone_ = false;
    int zone_minutes_ = 0;
    std::deque<Recent> recent_;
    bool saw_forwarded_ = false;
    bool saw_local_ = false;
    bool has_last_ = false;
    int64_t last_ms_ = 0;
    int64_t elapsed_ms_ = 0;
    int last_process_ = 0;
    int start_rank_ = -1;  // how far the start-up has got that the run at hand told of
    bool said_anything_ = false;
};

}  // namespace ravelin_log
