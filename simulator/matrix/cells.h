// The cells of the recovery matrix: what can go wrong, and how each becomes a scenario for a family. The
// table in cells.cpp is the only place that knows the faults.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/soak/faults.h"
#include "simulator/soak/story.h"

namespace matrix {

/// A cell is measured so often, with the fault at another moment each time.
constexpr int kPhases = 5;

/// The fault lasts until the end of the run.
constexpr int kForGood_seconds = -1;

enum class Board { kOneSim, kTwoSims, kProject };

/// What the ladder has to come to before the fault can end, where only a reset ends it.
enum class Rung { kNone, kService, kAttempts, kWeakChecks, kFirstOutage, kSecondOutage };

struct Cell;

struct Fault {
    const char* name;
    const char* title;
    const char* what;  // from when to when, and what else is set
    Board board;
    int lasts_seconds;  // at least; up to a minute more
    soak::Measure measure;
    Rung rung;
    void (*write)(const Cell& cell, soak::Story& story, int64_t from_ms, int64_t to_ms);
    const char* advice;          // to an operator, where the rules don't lead back; null: they always do
    const char* given = "";      // further statements at the head of the scenario
    bool is_of_pipe = false;     // recovered is when a message of the pipe is taken
    int64_t slow_seconds = 0;    // that a script or a ping takes longer than usual
    bool knows_link = true;      // the port has a second name that stays, where a modem renames it
    bool has_port_link = false;  // the same with every family
};

struct Cell {
    const Fault* fault;
    std::string family;
    int phase;
};

const std::vector<Fault>& Faults();
/// Null for a name that is no fault.
const Fault* FindFault(const std::string& name);

/// What a cell comes to: its scenario, and the moments that count.
struct CellStory {
    std::string text;
    int64_t from_ms;      // of the fault
    int64_t measured_ms;  // from when the time to recover counts
    int64_t until_ms;
    int bound_seconds;  // within which the rules lead back
};
enum class Guard { kNone, kBeside };
CellStory TellCell(const Cell& cell, Guard guard = Guard::kNone);

/// See CellStory; the same for each moment of the fault.
int BoundSeconds(const Fault& fault, const std::string& family);

}  // namespace matrix
