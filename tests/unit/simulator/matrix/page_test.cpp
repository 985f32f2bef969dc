// The page of the recovery matrix, from results made by hand.
#include "simulator/matrix/page.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using matrix::CellResult;
using matrix::Outcome;

Outcome Back(int64_t recovery_ms, int hard_resets = 0) {
    Outcome outcome;
    outcome.is_settled = true;
    outcome.recovery_ms = recovery_ms;
    outcome.steps[static_cast<size_t>(matrix::Step::kHardReset)] = hard_resets;
    outcome.hard_resets_per_hour = hard_resets;
    return outcome;
}

CellResult Result(const char* fault, const std::string& family, const std::vector<Outcome>& outcomes) {
    return {matrix::FindFault(fault), family, 100, outcomes, {}};
}

/// The row of a family in the section of the result's fault.
std::string RowOf(const CellResult& result) {
    const std::string text = matrix::FaultSection(*result.fault, {result});
    const size_t at = text.find("\n| " + result.family);
    return at == std::string::npos ? "" : text.substr(at + 1, text.find('\n', at + 1) - at - 1);
}

/// Without the blanks that make the columns wide.
std::string Squeezed(const std::string& text) {
    std::string squeezed;
    for (const char c : text) {
        if (c != ' ' || squeezed.empty() || squeezed.back() != ' ') squeezed += c;
    }
    return squeezed;
}

TEST(PageTest, ARowHasMedianWorstBoundAndRanges) {
    const CellResult result =
        Result("link_cut", "zte", {Back(40001), Back(90000, 2), Back(50000), Back(30000), Back(0)});
    EXPECT_EQ(RowOf(result),
              "| zte    |     41 |    90 |   100 |      0 |     0 |    0 |        0 |  0-2 |      0 |      2 "
              "|       ? "
              "|          - |");
}

Outcome Guarded(int64_t recovery_ms, int soft_resets, int hard_resets) {
    Outcome outcome = Back(recovery_ms);
    outcome.guard_soft_resets = soft_resets;
    outcome.guard_hard_resets = outcome.guard_hard_resets_per_hour = hard_resets;
    return outcome;
}

TEST(PageTest, ARowSaysWhatTheGuardMakesOfIt) {
    CellResult result = Result("dead_path", "zte", {Outcome(), Outcome(), Outcome()});
    result.guarded = {Guarded(700000, 1, 0), Guarded(900000, 1, 1), Guarded(800000, 1, 0)};
    const std::string row = Squeezed(RowOf(result));
    EXPECT_EQ(row.substr(row.size() - 13), "| 800 | 1+1 |");
    EXPECT_NE(Squeezed(matrix::Page({result})).find("| zte | 700-900 s |"), std::string::npos)
        << "and so does the table of those that never come back";
    EXPECT_NE(matrix::Page({result}).find("in an hour, at the worst fault: 1 of the 6"), std::string::npos);
    result.guarded[1] = Outcome();
    EXPECT_NE(Squeezed(RowOf(result)).find("| never | 1+0 |"), std::string::npos);
    EXPECT_NE(Squeezed(matrix::Page({result})).find("| zte | never |"), std::string::npos);
}

TEST(PageTest, WhatTheGuardDoesNotMendHasAReason) {
    CellResult weak = Result("unregistered_and_weak", "zte", {Outcome()});
    weak.guarded = {Outcome()};
    CellResult path = Result("dead_path", "zte", {Outcome()});
    path.guarded = {Guarded(1, 1, 0)};
    const std::string page = Squeezed(matrix::Page({weak, path}));
    EXPECT_NE(page.find("| [unregistered_and_weak](#unregistered_and_weak) | the link is never online; "),
              std::string::npos);
    EXPECT_EQ(page.find("| [dead_path](#dead_path) |"), std::string::npos) << "it mends that";
    EXPECT_TRUE(matrix::Violations({weak, path}).empty());
    path.guarded = {Outcome()};
    ASSERT_EQ(matrix::Violations({weak, path}).size(), 1U);
    EXPECT_EQ(matrix::Violations({weak, path})[0],
              "dead_path zte: no way back with the guard, and nobody is named who mends it");
}

TEST(PageTest, WhatTheGuardMayNeverDo) {
    CellResult worse = Result("link_cut", "zte", {Back(1)});
    worse.guarded = {Outcome()};
    EXPECT_EQ(matrix::Violations({worse}).size(), 1U) << "a way back that it takes away";
    CellResult kept = Result("bus_away", "zte", {Back(0)});
    kept.outcomes[0].is_kept = true;
    kept.guarded = kept.outcomes;
    EXPECT_TRUE(matrix::Violations({kept}).empty());
    kept.guarded[0].guard_soft_resets = 1;
    EXPECT_EQ(matrix::Violations({kept}).size(), 1U) << "a reset of a healthy link";
    CellResult spent = Result("dead_path", "zte", {Outcome()});
    spent.guarded = {Guarded(1, 7, 7)};
    EXPECT_EQ(matrix::Violations({spent}).size(), 1U) << "more than its budget";
}

TEST(PageTest, OneRunWithoutAWayBackIsNever) {
    const CellResult result = Result("dead_path", "zte", {Back(1), Outcome(), Back(2)});
    EXPECT_TRUE(result.IsNever());
    EXPECT_EQ(RowOf(result).substr(0, 36), "| zte    |  never | never |     - | ");
    EXPECT_NE(matrix::FaultSection(*result.fault, {result}).find("**Never**: nothing looks at the path"),
              std::string::npos);
}

TEST(PageTest, TheAdviceIsLeftOutWhereAllComeBack) {
    const CellResult result = Result("dead_path", "zte", {Back(1)});
    EXPECT_EQ(matrix::FaultSection(*result.fault, {result}).find("**Never**"), std::string::npos);
}

TEST(PageTest, MoreThanSevenResetsAnHourAreMarked) {
    EXPECT_EQ(RowOf(Result("link_cut", "zte", {Back(1, 7)})).find("\u25b2"), std::string::npos);
    EXPECT_NE(RowOf(Result("link_cut", "zte", {Back(1, 8)})).find("8\u25b2"), std::string::npos);
}

TEST(PageTest, ALinkThatStayedUpHasNoTimes) {
    Outcome kept;
    kept.is_settled = kept.is_kept = true;
    EXPECT_EQ(RowOf(Result("bus_away", "zte", {kept})).substr(0, 36), "| zte    |      - |     - |     - | ");
}

TEST(PageTest, WhatTakesLongerThanItsBoundIsAViolation) {
    EXPECT_TRUE(matrix::Violations({Result("link_cut", "zte", {Back(100000)})}).empty());
    const std::vector<std::string> late =
        matrix::Violations({Result("link_cut", "zte", {Back(1), Back(100001), Back(2)})});
    ASSERT_EQ(late.size(), 1U);
    EXPECT_EQ(late[0], "link_cut zte: 101 s, and the bound is 100 s");
}

TEST(PageTest, WhatNeverComesBackNeedsAnAdvice) {
    EXPECT_TRUE(matrix::Violations({Result("dead_path", "zte", {Outcome()})}).empty());
    EXPECT_EQ(matrix::Violations({Result("link_cut", "zte", {Outcome()})}),
              std::vector<std::string>{"link_cut zte: no way back, and no advice"});
}

TEST(PageTest, ThePageNamesWhatNeverEndsAndWhatResetsTooOften) {
    matrix::Results results;
    for (const std::string& family : matrix::Families()) {
        results.push_back(Result("dead_path", family, {Outcome()}));
        results.push_back(Result("mute_hour", family, {Back(1000, family == "zte" ? 48 : 5)}));
        results.push_back(Result("link_cut", family, {Back(3000)}));
    }
    const std::string page = matrix::Page(results);
    EXPECT_NE(page.find("| [dead_path](#dead_path): Dead path, one SIM, no ORLA | all "), std::string::npos);
    EXPECT_NE(page.find("| [mute_hour](#mute_hour): Mute for an hour | 48      | zte "), std::string::npos);
    EXPECT_NE(page.find("\n### dead_path\n"), std::string::npos);
    for (size_t at = 0; (at = page.find('\r', at)) != std::string::npos; ++at) ADD_FAILURE();
}

TEST(PageTest, AFamilyThatIsInTroubleWithTwoSimsAnywayIsToldOnce) {
    matrix::Results results;
    for (const std::string& family : matrix::Families()) {
        results.push_back(Result("two_sims", family, {family == "zte" ? Outcome() : Back(1)}));
        results.push_back(Result("dead_path_two_sims", family,
                                 {family == "zte" || family == "lynq" ? Outcome() : Back(1)}));
    }
    const std::string page = matrix::Page(results);
    EXPECT_NE(Squeezed(page).find("Nothing, with DoubleSIM=1 | zte |"), std::string::npos);
    EXPECT_NE(Squeezed(page).find("Dead path of one of two SIMs | lynq |"), std::string::npos);
}

}  // namespace
