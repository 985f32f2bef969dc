// Figures: what is counted in a record, and handed from a worker to the summary.
#include "simulator/soak/summary.h"

#include <string>

#include <gtest/gtest.h>

#include "simulator/virtual_time/record.h"

namespace {

using soak::Truth;
using soak::Verdict;

std::string Entry(double seconds, const std::string& kind, const std::string& text) {
    return virtual_time::FormatEntry({static_cast<int64_t>(seconds * 1e6), kind, text});
}

Verdict VerdictOf(const std::string& faults, const std::string& record) {
    Truth truth;
    std::string problem;
    EXPECT_TRUE(
        soak::ReadTruth("x", "modem huawei\nuntil 9000\nnever broken <any>\n" + faults, &truth, &problem))
        << problem;
    return soak::JudgeRecord(truth, record);
}

constexpr char kOn[] = "/run/network/ravelin_status Online=TRUE";
constexpr char kOff[] = "/run/network/ravelin_status Online=FALSE";

TEST(SoakFigures, RecoveryCountsFromTheEndOfAFault) {
    const Verdict verdict = VerdictOf("# fault mute from 2000 to 2100\n",
                                      Entry(60, "publishes", kOn) + Entry(2050, "publishes", kOff) +
                                          Entry(2130, "publishes", kOn) + Entry(8000, "sends", "AT") +
                                          Entry(9000, "ends", "still running"));
    EXPECT_EQ(1, verdict.figures.faults.at("mute").count);
    EXPECT_EQ(0, verdict.figures.faults.at("mute").kept);
    EXPECT_EQ((std::map<int64_t, int64_t>{{30, 1}}), verdict.figures.faults.at("mute").recovery_seconds);
    EXPECT_EQ(9000000, verdict.figures.simulated_ms);
    EXPECT_EQ((2050 - 60 + 9000 - 2130) * 1000, verdict.figures.online_ms);
}

TEST(SoakFigures, WhatOnlyAResetEndsCountsFromItsBegin) {
    const Verdict verdict = VerdictOf("# fault mute_until_reset from 2000 to 2500\n",
                                      Entry(60, "publishes", kOn) + Entry(2050, "publishes", kOff) +
                                          Entry(2130, "publishes", kOn) + Entry(8000, "sends", "AT"));
    EXPECT_EQ((std::map<int64_t, int64_t>{{130, 1}}),
              verdict.figures.faults.at("mute_until_reset").recovery_seconds);
}

TEST(SoakFigures, ALinkThatIsBackBeforeTheEndOfAFaultTookNoTimeFromThere) {
    const Verdict verdict = VerdictOf("# fault upgrade_hangs from 2000 to 4000\n",
                                      Entry(60, "publishes", kOn) + Entry(2050, "publishes", kOff) +
                                          Entry(2130, "publishes", kOn) + Entry(8000, "sends", "AT"));
    EXPECT_EQ(1, verdict.figures.faults.at("upgrade_hangs").meanwhile);
    EXPECT_TRUE(verdict.figures.faults.at("upgrade_hangs").recovery_seconds.empty());
}

TEST(SoakFigures, FaultsThatComeTogetherAreOnlyCounted) {
    const Verdict verdict = VerdictOf("# fault mute from 2000 to 2100\n# fault late from 2050 to 2080\n",
                                      Entry(60, "publishes", kOn) + Entry(2050, "publishes", kOff) +
                                          Entry(2130, "publishes", kOn) + Entry(8000, "sends", "AT"));
    EXPECT_EQ(1, verdict.figures.faults.at("mute").count);
    EXPECT_EQ(1, verdict.figures.faults.at("late").count);
    EXPECT_TRUE(verdict.figures.faults.at("mute").recovery_seconds.empty());
}

TEST(SoakFigures, LinkThatStaysIsKept) {
    const Verdict verdict = VerdictOf("# fault echo from 2000 to 2100\n",
                                      Entry(60, "publishes", kOn) + Entry(8000, "sends", "AT"));
    EXPECT_EQ(1, verdict.figures.faults.at("echo").kept);
}

TEST(SoakFigures, ResetsAreCounted) {
    const Verdict verdict = VerdictOf("", Entry(1, "logs", "a.cpp:SoftReset:1 Soft reset!") +
                                              Entry(2, "logs", "a.cpp:main:1 Reset4G time=1") +
                                              Entry(2, "logs", "a.cpp:SoftReset:1 Soft reset!") +
                                              Entry(3, "world", "starts again"));
    EXPECT_EQ(2, verdict.figures.soft_resets);
    EXPECT_EQ(1, verdict.figures.hard_resets);
    EXPECT_EQ(2, verdict.figures.runs);
}

TEST(SoakSummary, VerdictsSurviveTheWayBetweenProcesses) {
    Verdict verdict;
    verdict.figures.simulated_ms = 86400000;
    verdict.figures.soft_resets = 3;
    verdict.figures.faults["mute"] = {7, 1, 3, {{10, 2}, {20, 1}}};
    verdict.violations = {{"ladder", 12345, "a text with blanks"}, {"bus", 5, "x"}};
    verdict.difference = "1.000  sends      AT; second run: (over)";
    Verdict read;
    ASSERT_TRUE(soak::ReadVerdict(soak::WriteVerdict(verdict), &read));
    EXPECT_EQ(86400000, read.figures.simulated_ms);
    EXPECT_EQ(3, read.figures.soft_resets);
    EXPECT_EQ(7, read.figures.faults.at("mute").count);
    EXPECT_EQ(3, read.figures.faults.at("mute").meanwhile);
    EXPECT_EQ(1, read.figures.faults.at("mute").kept);
    EXPECT_EQ((std::map<int64_t, int64_t>{{10, 2}, {20, 1}}),
              read.figures.faults.at("mute").recovery_seconds);
    ASSERT_EQ(2U, read.violations.size());
    EXPECT_EQ("ladder at 12.345: a text with blanks", FormatViolation(read.violations[0]));
    EXPECT_EQ("1.000  sends      AT; second run: (over)", read.difference);
}

TEST(SoakSummary, VerdictThatIsCutIsNone) {
    Verdict read;
    const std::string text = soak::WriteVerdict({});
    EXPECT_FALSE(soak::ReadVerdict(text.substr(0, text.size() - 4), &read));
}

TEST(SoakSummary, SumsAreTold) {
    soak::Totals totals;
    totals.seeds = 2;
    totals.cpu_seconds = 60;
    for (int i = 0; i < 2; ++i) {
        soak::Figures figures;
        figures.simulated_ms = 86400000;
        figures.online_ms = 43200000;
        figures.hard_resets = 12;
        figures.faults["mute"] = {5, 1, 3, {{i == 0 ? 10 : 90, 1}}};
        totals.figures.Add(figures);
    }
    char* text = nullptr;
    size_t size = 0;
    FILE* to = open_memstream(&text, &size);
    soak::PrintSummary(totals, to);
    fclose(to);
    const std::string summary(text, size);
    free(text);
    EXPECT_NE(std::string::npos, summary.find("2 seeds, 2.0 days, 0.02 h of CPU time (120 days in an hour)"))
        << summary;
    EXPECT_NE(std::string::npos, summary.find("online 50.0 % of the time")) << summary;
    EXPECT_NE(std::string::npos, summary.find("0.50 hardware resets")) << summary;
    EXPECT_NE(std::string::npos,
              summary.find(
                  "mute                             10          2          6        2         10       90"))
        << summary;
    EXPECT_NE(std::string::npos, summary.find("\nno violation\n")) << summary;
}

TEST(SoakSummary, StoriesThatCouldNotBeRunAreNotWithoutViolation) {
    soak::Totals totals;
    totals.failed = 1;
    char* text = nullptr;
    size_t size = 0;
    FILE* to = open_memstream(&text, &size);
    soak::PrintSummary(totals, to);
    fclose(to);
    const std::string summary(text, size);
    free(text);
    EXPECT_EQ(std::string::npos, summary.find("no violation")) << summary;
    EXPECT_NE(std::string::npos, summary.find("1 stories couldn't be run to their end")) << summary;
}

}  // namespace
