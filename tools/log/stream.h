// One log of several, line by line: whatever its form, what comes out are lines with their kind and time.
// Splits what was written without a line end, and gives days to the lines of a local log. Used by the reader.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tools/log/input.h"
#include "tools/log/journal.h"
#include "tools/log/reader.h"

namespace ravelin_log {

class Stream {
  public:
    Stream(std::unique_ptr<Input> input, int index) : input_(std::move(input)), index_(index) {}

    /// Reads the next line, which lives until the next call; false at the end.
    bool Advance();
    const Line& line() const { return line_; }
    bool has_line() const { return has_line_; }  // one was read and not dropped yet
    void Drop() { has_line_ = false; }
    bool is_at_end() const { return is_at_end_; }
    /// Gives back what a log at its end holds.
    void Close() { input_.reset(); }

    /// Whether dates stand in it; known from its first line with a time on.
    bool has_day() const { return has_day_; }
    bool has_time() const { return has_time_; }
    bool has_year() const { return has_year_; }
    bool has_zone() const { return has_zone_; }
    int zone_minutes() const { return zone_minutes_; }
    Input& input() { return *input_; }

    /// For a log without dates: its times count from that moment, usually a midnight; before the first line
    /// is read.
    void SetDay(int64_t start_ms) { day_ms_ = start_ms; }
    /// For a log without dates that goes on where another one ended.
    void GoOnFrom(int64_t time_ms);
    /// For a log without years: that of its first line.
    void SetYear(int year) { year_ = year; }
    /// Times are brought to that zone, if the log tells its own one.
    void SetZone(int zone_minutes) {
        wants_zone_ = true;
        wanted_zone_minutes_ = zone_minutes;
    }

  private:
    bool NextText();
    bool NextOfPlainLog();
    bool NextOfJournal();
    void TakeText(std::string_view text, bool is_torn);
    bool IsDaemon(const LineParts& parts);
    void Split(std::string_view text, bool is_torn);
    void TakeTime(const Stamp& stamp);

    std::unique_ptr<Input> input_;
    int index_;
    Line line_;
    bool has_line_ = false;
    bool is_at_end_ = false;
    bool knows_form_ = false;
    JournalForm form_ = JournalForm::kNone;
    JournalEntry entry_;
    std::string_view pending_;  // after what was returned, on the same line or in the same entry
    bool pending_is_torn_ = false;
    int64_t number_ = 0;

    bool knows_header_ = false;
    bool has_header_ = false;    // lines are those of syslog
    bool has_own_name_ = false;  // the daemon has spoken by its own name
    std::string daemon_;         // how the system's log calls it otherwise
    bool saw_local_ = false;     // after a header of syslog: standard output that the journal keeps
    size_t message_size_ = 0;    // bytes since the last place, line ends included

    bool has_day_ = false;
    bool has_time_ = false;
    bool has_year_ = false;
    bool has_zone_ = false;
    int zone_minutes_ = 0;
    bool wants_zone_ = false;
    int wanted_zone_minutes_ = 0;
    int year_ = 1970;
    int last_month_ = 0;
    int64_t day_ms_ = 0;  // midnight before the line at hand
    bool has_last_ = false;
    int64_t last_day_ms_ = 0;  // time of day of the line before
    int64_t time_ms_ = 0;
};

/// Whether a message is the first that a process says; how far into the start-up it stands, -1 for all
/// others.
int StartRank(std::string_view function, std::string_view message);

}  // namespace ravelin_log
