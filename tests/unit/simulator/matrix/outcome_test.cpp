// What is read from the record of a cell.
#include "simulator/matrix/outcome.h"

#include <string>

#include <gtest/gtest.h>

#include "simulator/virtual_time/record.h"

namespace {

using matrix::Outcome;
using matrix::Step;

constexpr matrix::OutcomeOptions kOptions = {100000, 100000, 5000000, false};

class Record {
  public:
    Record& Add(double seconds, const std::string& kind, const std::string& text) {
        text_ += virtual_time::FormatEntry({static_cast<int64_t>(seconds * 1000 + 0.5) * 1000, kind, text});
        return *this;
    }
    Record& Log(double seconds, const std::string& function, const std::string& message) {
        return Add(seconds, "logs", "network_daemon/x.cpp:" + function + ":7 " + message);
    }
    Record& Status(double seconds, const std::string& line) {
        return Add(seconds, "publishes", "/run/network/ravelin_status " + line);
    }
    Record& HardReset(double seconds) {
        Log(seconds, "main", "Reset4G time=1");
        return Log(seconds, "SoftReset", "Soft reset!");
    }
    Outcome Read(matrix::OutcomeOptions options = kOptions) {
        Add(5000, "ends", "still running");
        return matrix::ReadOutcome(text_, options);
    }

  private:
    std::string text_;
};

int Count(const Outcome& outcome, Step step) {
    return outcome.steps[static_cast<size_t>(step)];
}

TEST(OutcomeTest, ALinkThatStaysUp) {
    const Outcome outcome = Record().Status(60, "Online=TRUE").Read();
    EXPECT_TRUE(outcome.is_settled);
    EXPECT_TRUE(outcome.is_kept);
    EXPECT_EQ(outcome.recovery_ms, 0);
}

TEST(OutcomeTest, WhatTheGuardHasAskedFor) {
    Record record;
    record.Status(60, "Online=TRUE").Add(200, "guard", "now suspect: DNS silent");
    record.Add(300, "guard", "SoftReset:1, because online and no traffic");
    record.Add(310, "guard", "Reset4G:1 can't be asked for: nobody reads it");
    for (const double at : {400, 500, 4100})
        record.Add(at, "guard", "Reset4G:1, because a soft reset didn't help");
    const Outcome outcome = record.Read();
    EXPECT_EQ(outcome.guard_soft_resets, 1);
    EXPECT_EQ(outcome.guard_hard_resets, 3);
    EXPECT_EQ(outcome.guard_hard_resets_per_hour, 2);
    EXPECT_EQ(Count(outcome, Step::kHardReset), 0) << "those are the daemon's";
}

TEST(OutcomeTest, ALinkThatIsLostAndComesBackForGood) {
    Record record;
    record.Status(60, "Online=TRUE").Status(110, "Online=FALSE").Status(120, "Online=TRUE");
    record.Status(130, "Online=FALSE").Status(150.5, "Online=TRUE");
    const Outcome outcome = record.Read();
    EXPECT_TRUE(outcome.is_settled);
    EXPECT_FALSE(outcome.is_kept);
    EXPECT_EQ(outcome.recovery_ms, 50500);
}

TEST(OutcomeTest, FromTheEndOfTheFaultIfThatIsLater) {
    Record record;
    record.Status(60, "Online=TRUE").Status(110, "Online=FALSE").Status(150, "Online=TRUE");
    EXPECT_EQ(record.Read({100000, 130000, 5000000, false}).recovery_ms, 20000);
}

TEST(OutcomeTest, ALinkThatIsUpAgainBeforeTheFaultEndsTakesNoTime) {
    Record record;
    record.Status(60, "Online=TRUE").Status(110, "Online=FALSE").Status(150, "Online=TRUE");
    const Outcome outcome = record.Read({100000, 200000, 5000000, false});
    EXPECT_EQ(outcome.recovery_ms, 0);
    EXPECT_FALSE(outcome.is_kept);
}

TEST(OutcomeTest, ALinkThatStaysDown) {
    EXPECT_FALSE(Record().Status(60, "Online=TRUE").Status(110, "Online=FALSE").Read().is_settled);
}

TEST(OutcomeTest, ALadderThatIsClimbedAgainJustBeforeTheEndHasNotSettled) {
    Record record;
    record.Status(60, "Online=TRUE").Status(4690, "Online=FALSE").Status(4710, "Online=TRUE");
    EXPECT_FALSE(record.Read().is_settled);
}

TEST(OutcomeTest, ARedialThatLeavesTheStatusAsItWasIsARecovery) {
    Record record;
    record.Status(60, "Online=TRUE").Log(104, "Connect", "Do connect.  2 times.");
    record.Status(112, "RetryTimes=2");
    const Outcome outcome = record.Read();
    EXPECT_FALSE(outcome.is_kept);
    EXPECT_EQ(outcome.recovery_ms, 12000);
    EXPECT_EQ(Count(outcome, Step::kDial), 1);
}

TEST(OutcomeTest, NobodyKeepsTheLinkOfADaemonThatHasEnded) {
    Record record;
    record.Status(60, "Online=TRUE").Add(100, "ends", "signal 9").Add(105, "world", "starts again");
    EXPECT_FALSE(Record(record).Read().is_settled);
    const Outcome outcome = record.Status(140, "Online=TRUE").Read();
    EXPECT_EQ(outcome.recovery_ms, 40000);
    EXPECT_EQ(Count(outcome, Step::kStart), 1);
}

TEST(OutcomeTest, ALinkWithADeadPathIsNotUp) {
    Record record;
    record.Status(60, "Online=TRUE").Add(100, "modem", "reach nothing");
    EXPECT_FALSE(Record(record).Read().is_settled);
    EXPECT_EQ(record.Add(130, "modem", "reach all").Read().recovery_ms, 30000);
}

TEST(OutcomeTest, ThePathIsThatOfTheSelectedSim) {
    Record record;
    record.Status(60, "Online=TRUE").Add(100, "modem", "holder 1 reach nothing");
    EXPECT_EQ(record.Add(120, "modem", "select 2").Read().recovery_ms, 20000);
    EXPECT_TRUE(
        Record().Status(60, "Online=TRUE").Add(100, "modem", "holder 2 reach nothing").Read().is_kept);
}

TEST(OutcomeTest, ADaemonThatBelievesInACallThatIsGoneIsDeceived) {
    Record record;
    record.Status(60, "Online=TRUE").Add(4990, "modem", "status link: down");
    const Outcome outcome = record.Read();
    EXPECT_TRUE(outcome.is_deceived);
    EXPECT_FALSE(outcome.is_settled);
    EXPECT_FALSE(record.Add(4995, "modem", "status link: up").Read().is_deceived);
}

TEST(OutcomeTest, StepsCountFromTheFaultOn) {
    Record record;
    record.HardReset(50).Status(60, "Online=TRUE");
    record.Log(110, "Task", "Check connection. offline 1/10 times");
    record.Log(111, "Task", "No response! Reset device...").HardReset(120);
    record.Log(150, "Connect", "Check service status.  1/34 times.");
    record.Log(151, "SoftReset", "Soft reset!").Log(152, "SwitchSIMCard", "The wireless network");
    record.Add(153, "debugs",
               "network_daemon/x.cpp:CheckNetwork:7 The wireless network signal is weak,m_nCSQ=:9");
    const Outcome outcome = record.Read();
    EXPECT_EQ(Count(outcome, Step::kCheck), 4);
    EXPECT_EQ(Count(outcome, Step::kSoftReset), 1);  // the other belongs to the hardware reset
    EXPECT_EQ(Count(outcome, Step::kHardReset), 1);
    EXPECT_EQ(Count(outcome, Step::kSwitch), 1);
    EXPECT_EQ(outcome.hard_resets_per_hour, 1);
}

TEST(OutcomeTest, TheFullestHourIsFound) {
    Record record;
    record.HardReset(200);
    for (int i = 0; i < 8; ++i) record.HardReset(3700 + i * 100);
    EXPECT_EQ(record.Read().hard_resets_per_hour, 8);  // from 3700 s on
    EXPECT_EQ(Record().HardReset(200).HardReset(3800).Read().hard_resets_per_hour, 1);
}

TEST(OutcomeTest, WithoutAWayBackTheStepsAreThoseOfAnHour) {
    Record record;
    record.HardReset(200).HardReset(3699).HardReset(3701);
    EXPECT_EQ(Count(record.Read(), Step::kHardReset), 2);
}

TEST(OutcomeTest, ThePipeIsGoodWhenAMessageIsTaken) {
    matrix::OutcomeOptions options = kOptions;
    options.is_of_pipe = true;
    Record record;
    record.Status(60, "Online=TRUE").Add(100, "world", "pipe /run/network/ravelin_fifo");
    EXPECT_FALSE(Record(record).Read(options).is_settled);
    record.Log(104, "handle_command", "[FIFO]4G_MODEM_STATUS:offline:index 0");
    EXPECT_EQ(record.Read(options).recovery_ms, 4000);
}

}  // namespace
