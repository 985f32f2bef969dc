// A scenario: what is given, what happens when, and what is expected to be seen. docs/virtual-time.md
// describes the language, word by word.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/virtual_time/record.h"
#include "simulator/virtual_time/storage.h"

namespace virtual_time {

constexpr int kNoMark = -1;  // otherwise the position in Scenario::marks

struct ShellRule {
    std::string part;
    bool fails = false;
    std::string prints;
    int64_t takes_seconds = 0;
    int64_t seconds_before_line = 0;
    bool pings = false;              // the network behind the modem answers
    std::vector<std::string> knobs;  // turned when the command runs
};

struct ScenarioFile {
    std::string path;
    std::string text;
};

/// A moment that the daemon decides: that of the first entry of the record that fits. Times may count from
/// it.
struct Mark {
    std::string name;
    std::string kind;
    std::string place;  // for the log: FUNCTION or FILE:FUNCTION
    std::string text;
    int line;
};

/// What times count from.
enum class TimeBase {
    kStart,     // "120"
    kLastSeen,  // "+4.073": the entry of the "see" before it
    kMark,      // "online+55.7"
};

/// Something that the scenario does at a time.
struct ScenarioEvent {
    enum class Kind {
        kKnob,
        kFifo,
        kWrite,
        kRemove,
        kFolder,
        kPipe,
        kShow,
        kType,
        kShell,
        kCall,
        kSignal,
        kResources,
        kKill,
        kClock,
        kStorage,
        kBusAway,
        kBusBack
    };

    int64_t at_us;
    int mark = kNoMark;  // at_us counts from this mark, or from the start
    Kind kind;
    std::string subject;  // path, knob line, or bytes in hex
    std::string text;     // bytes
    ShellRule shell;
    int signal;     // of kKill
    int64_t by_us;  // of kClock
    Storage::State storage;
    bool is_snapshot = false;  // made for an expectation of what a file shows
    int line;
};

/// Something to be seen in the record, or not.
struct Expectation {
    enum class Mode {
        kNext,      // "see": after the entry of the "see" before it
        kAnywhere,  // "also"
        kNowhere,   // "never"
        kSoOften,   // "count"
    };

    Mode mode;
    TimeBase base = TimeBase::kStart;
    int mark = kNoMark;
    int64_t from_us = 0;
    int64_t to_us = INT64_MAX;
    int count = 0;
    std::string kind;
    std::string place;  // for the log: FUNCTION or FILE:FUNCTION
    std::string text;   // escaped as in the record; "<any>" stands for any run of characters
    int line;
    std::string source;  // the line as it stands
};

struct Scenario {
    std::string path;
    std::string modem_family;  // empty: no modem
    std::string modem_model;
    std::string port = "/dev/ttyUSB2";
    std::string port_link;  // empty: none
    std::vector<std::string> knobs;
    std::vector<std::string> options;  // of the daemon's command line
    std::vector<ScenarioFile> files;
    std::vector<std::string> folders;
    std::vector<ShellRule> shell;
    bool bus_fails = false;
    std::string guard_settings;            // empty: there is no guard
    int64_t traffic_bytes_per_second = 0;  // that come in through a path that is alive
    int64_t restart_after_us = 0;          // when the daemon has ended; 0: nobody starts it again
    int64_t until_us = 0;
    std::vector<Mark> marks;
    std::vector<ScenarioEvent> events;
    std::vector<Expectation> expectations;

    bool ExpectsAnEnd() const;  // whether the daemon is expected to end by itself
};

constexpr char kSettingsFile[] = "/run/network/ifcfg-lte";

/// Reads a scenario. On failure false, with "FILE:LINE: what is wrong" in `problem`.
bool ReadScenario(const std::string& path, Scenario* scenario, std::string* problem);
bool ParseScenario(const std::string& path, const std::string& text, Scenario* scenario,
                   std::string* problem);

}  // namespace virtual_time
