// The page of the recovery matrix: what the cells have shown, as markdown. The same results give the same
// bytes.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "simulator/matrix/cells.h"
#include "simulator/matrix/outcome.h"

namespace matrix {

/// One fault with one family, at all its moments.
struct CellResult {
    const Fault* fault = nullptr;
    std::string family;
    int bound_seconds = 0;
    std::vector<Outcome> outcomes;
    std::vector<Outcome> guarded;  // the same with ravelin-guard beside the daemon

    bool IsNever() const;  // at one of its moments at least
    bool IsKept() const;   // at all of them
    int hard_resets_per_hour() const;
    // In seconds, rounded up; only where it is never `IsNever`.
    int median_seconds() const;
    int worst_seconds() const;
};

/// More hardware resets in an hour make the firmware of some modems lock itself out.
constexpr int kMostResetsPerHour = 7;

/// The families, in the order of the page.
const std::vector<std::string>& Families();

/// All results, by fault and family in the order of the page.
using Results = std::vector<CellResult>;

/// The heading, the words and the rows of one fault, for the families that `results` has.
std::string FaultSection(const Fault& fault, const Results& results);

/// The whole page.
std::string Page(const Results& results);

/// What breaks the law, a line each: a recovery that takes longer than its bound, and a cell without recovery
/// whose fault doesn't say what an operator can do.
std::vector<std::string> Violations(const Results& results);

}  // namespace matrix
