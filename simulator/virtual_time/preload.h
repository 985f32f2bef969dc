// What scenario_run passes to the preload library in the environment.
#pragma once

namespace virtual_time {

constexpr char kScenarioVariable[] = "VIRTUAL_TIME_SCENARIO";         // path of the scenario
constexpr char kRootVariable[] = "VIRTUAL_TIME_ROOT";                 // folder that the fixed paths move to
constexpr char kRecordVariable[] = "VIRTUAL_TIME_RECORD";             // file for the record
constexpr char kRecordLimitVariable[] = "VIRTUAL_TIME_RECORD_LIMIT";  // bytes that it may hold

}  // namespace virtual_time
