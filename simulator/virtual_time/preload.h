// What scenario_run passes to the preload library in the environment.
#pragma once

namespace virtual_time {

constexpr char kScenarioVariable[] = "VIRTUAL_TIME_SCENARIO";         // path of the scenario
constexpr char kRootVariable[] = "VIRTUAL_TIME_ROOT";                 // folder that the fixed paths move to
constexpr char kRecordVariable[] = "VIRTUAL_TIME_RECORD";             // file for the record
constexpr char kRecordLimitVariable[] = "VIRTUAL_TIME_RECORD_LIMIT";  // bytes that it may hold
constexpr char kJournalVariable[] =
    "VIRTUAL_TIME_JOURNAL";  // file for the journal; none without a supervisor
// Of a daemon that is started again: when it ended, in microseconds, and how long the record is by now.
constexpr char kResumedVariable[] = "VIRTUAL_TIME_RESUMED";

}  // namespace virtual_time
