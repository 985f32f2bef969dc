// The log over time, as a picture needs it: what the link, the SIM and the daemon did from when to when, and
// what was measured. However long the log is, no more is kept than can be drawn: readings and counts fall
// into bins, which grow wider as the log goes on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/log/history.h"

namespace ravelin_log {

/// What happened within one bin, and the line of its worst value.
struct Bin {
    int64_t index = 0;  // it begins at `index` times the width, in passed_ms
    int64_t count = 0;
    int low = 0;
    int high = 0;
    Evidence worst;
};

class Series {
  public:
    enum class Worst { kLowest, kHighest };
    Series(Worst worst, size_t most) : worst_(worst), most_(most) {}

    void Add(int value, const Evidence& line);
    const std::vector<Bin>& bins() const { return bins_; }
    int64_t width_ms() const { return width_ms_; }

  private:
    void Merge();

    Worst worst_;
    size_t most_;
    int64_t width_ms_ = kSecond_ms;
    std::vector<Bin> bins_;
};

/// Lasts until the next one.
struct Span {
    Moment from;
    const char* word;  // what it was, for programs
    int sim = 0;       // 1 or 2 where two SIMs are in use
    Evidence line;     // by which it was known; often a later one for a link that came up
};

struct Sign {
    const char* word;  // what kind, for programs
    const char* text;  // the same for people
    Evidence line;
};

/// From here on the clock of the log is that much before or behind the time that has passed.
struct ClockStep {
    int64_t passed_ms = 0;
    int64_t ahead_ms = 0;
};

struct Timeline {
    static constexpr size_t kMostReadings = 6144;
    static constexpr size_t kMostCounts = 2048;
    static constexpr size_t kMostSigns = 20000;  // of a lane; further ones are counted in `left_out`

    History history;
    std::vector<Span> link;    // "unknown", "starting", "offline", "dialled", "online"
    std::vector<Span> sim;     // "unknown", "ready", "not-ready"
    std::vector<Sign> sims;    // switches, and numbers that change
    std::vector<Sign> daemon;  // starts, ends, requests, settings
    Series rsrp_dbm{Series::Worst::kLowest, kMostReadings};
    Series sinr_db{Series::Worst::kLowest, kMostReadings};
    Series csq{Series::Worst::kLowest, kMostReadings};
    Series temperature_celsius{Series::Worst::kHighest, kMostReadings};
    Series link_checks{Series::Worst::kHighest, kMostCounts};
    Series service_checks{Series::Worst::kHighest, kMostCounts};
    Series path_checks{Series::Worst::kHighest, kMostCounts};
    Series dials{Series::Worst::kHighest, kMostCounts};
    std::vector<ClockStep> clock;
    int level = -1;  // the highest of which the log has a line that is known
    int64_t left_out = 0;
};

class TimelineBuilder {
  public:
    void Take(const Line& line);
    /// What is known when no more lines come.
    Timeline Finish() const;

  private:
    void TakeLink();
    void TakeSim(const Said& said);
    void TakeDaemon(const Line& line, const Said& said);
    void TakeRung(const Said& said);
    void TakeReading(const Line& line);
    void TakeAnswer(const Line& line);
    void SetLink(const char* word, const Moment& from);
    void SetSim(const char* word);
    void AddSign(std::vector<Sign>& signs, const char* word, const char* text);

    Historian historian_;
    Timeline timeline_;
    Evidence now_;
    size_t came_online_ = 0;
    int sim_ = 0;
    std::string imsi_;
    bool is_off_ = false;
    // The exchange AT+CSQ of level 7, of which the log shows the modem's own lines.
    bool may_be_command_ = false;
    bool asked_csq_ = false;
};

}  // namespace ravelin_log
