// The cells of the recovery matrix: each is a scenario that can be read, and the same text every time.
#include "simulator/matrix/cells.h"

#include <algorithm>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "simulator/matrix/page.h"
#include "simulator/virtual_time/scenario.h"

namespace {

using matrix::Cell;
using matrix::CellStory;
using matrix::Fault;

constexpr int64_t kHour_ms = 3600000;

TEST(CellsTest, EachCellIsAScenarioAtEachMoment) {
    for (const Fault& fault : matrix::Faults()) {
        for (const std::string& family : matrix::Families()) {
            for (int phase = 0; phase < matrix::kPhases; ++phase) {
                const CellStory story = matrix::TellCell({&fault, family, phase});
                virtual_time::Scenario scenario;
                std::string problem;
                ASSERT_TRUE(virtual_time::ParseScenario("cell", story.text, &scenario, &problem)) << problem;
                EXPECT_EQ(scenario.modem_family, family);
                EXPECT_EQ(scenario.until_us, story.until_ms * 1000);
            }
        }
    }
}

TEST(CellsTest, TheSameCellIsTheSameText) {
    const Cell cell = {matrix::FindFault("dead_path_orla"), "zte", 3};
    EXPECT_EQ(matrix::TellCell(cell).text, matrix::TellCell(cell).text);
}

TEST(CellsTest, TheFaultComesAtAnotherMomentEachTime) {
    std::set<int64_t> moments;
    for (int phase = 0; phase < matrix::kPhases; ++phase) {
        moments.insert(matrix::TellCell({matrix::FindFault("killed"), "lynq", phase}).from_ms);
    }
    EXPECT_EQ(moments.size(), size_t{matrix::kPhases});
}

TEST(CellsTest, ARunLastsLongEnoughToSeeTheWholeWayBackAndAnHour) {
    for (const Fault& fault : matrix::Faults()) {
        const CellStory story = matrix::TellCell({&fault, "fibocom_le", 1});
        EXPECT_GE(story.measured_ms, story.from_ms) << fault.name;
        EXPECT_GT(story.until_ms, story.measured_ms + story.bound_seconds * 1000) << fault.name;
        EXPECT_GT(story.until_ms, story.from_ms + kHour_ms) << fault.name;
    }
}

TEST(CellsTest, WhatLastsIsMeasuredFromItsEnd) {
    const CellStory hour = matrix::TellCell({matrix::FindFault("mute_hour"), "huawei", 2});
    EXPECT_GE(hour.measured_ms, hour.from_ms + kHour_ms);
    EXPECT_LE(hour.measured_ms, hour.from_ms + kHour_ms + 60000);
    const CellStory until_reset = matrix::TellCell({matrix::FindFault("mute_until_reset"), "huawei", 2});
    EXPECT_EQ(until_reset.measured_ms, until_reset.from_ms);
}

TEST(CellsTest, APingThatHangsIsMeasuredFromItsOwnEnd) {
    const Fault& fault = *matrix::FindFault("ping_hangs");
    const CellStory story = matrix::TellCell({&fault, "zte", 0});
    EXPECT_GE(story.measured_ms, story.from_ms + fault.slow_seconds * 1000);
}

TEST(CellsTest, ABoundGrowsByWhatTheLadderNeedsToComeToTheRung) {
    const auto bound = [](const char* name) {
        return matrix::BoundSeconds(*matrix::FindFault(name), "quectel_qcom");
    };
    EXPECT_GT(bound("unregistered_until_reset"), bound("unregistered"));
    EXPECT_GT(bound("dial_refused_until_reset"), bound("dial_refused"));
    EXPECT_GT(bound("dead_path_two_sims"), bound("two_sims"));
    EXPECT_EQ(bound("script_slow"), bound("mute_until_reset") + 240);
    EXPECT_EQ(bound("outage_used_up"), bound("dead_path_orla") + 1740);
}

TEST(CellsTest, NamesAreTheirOwn) {
    std::set<std::string> names;
    for (const Fault& fault : matrix::Faults()) names.insert(fault.name);
    EXPECT_EQ(names.size(), matrix::Faults().size());
    EXPECT_EQ(matrix::FindFault("nosuch"), nullptr);
}

}  // namespace
