// What a log counts, and by what it is known again.
#include "tools/metrics/log_counts.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

using namespace metrics;

class LogCountsTest : public testing::Test {
  protected:
    void Write(const std::string& text) const { folder_.Write("log", text); }
    LogCounts Count(bool is_final) const {
        LogCounts counts;
        std::string problem;
        EXPECT_TRUE(CountLog(path_, is_final, &counts, &problem)) << problem;
        return counts;
    }

    const TemporaryFolder folder_;
    const std::string path_ = folder_.Path("log");
};

TEST_F(LogCountsTest, TheBeginningIsWholeLinesAndBounded) {
    LogFile log;
    std::string problem;
    Write("one\ntwo\ntor");
    ASSERT_TRUE(OpenLog(path_, &log, &problem));
    EXPECT_EQ(log.beginning, "one\ntwo\n");
    Write("one\n" + std::string(5000, 'x') + "\n");
    ASSERT_TRUE(OpenLog(path_, &log, &problem));
    EXPECT_EQ(log.beginning.size(), kFingerprint_bytes);
    EXPECT_NE(FingerprintOf("a").hash, FingerprintOf("b").hash);
    EXPECT_EQ(FingerprintOf("abc", 1).hash, FingerprintOf("a").hash);
}

TEST_F(LogCountsTest, WhatIsNoFileIsNotWaitedFor) {
    LogFile log;
    std::string problem;
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    EXPECT_FALSE(OpenLog(path_, &log, &problem));
    EXPECT_EQ(problem, path_ + ": isn't a file");
    EXPECT_FALSE(OpenLog(folder_.Path("none"), &log, &problem));
    EXPECT_EQ(problem, folder_.Path("none") + ": No such file or directory");
}

TEST_F(LogCountsTest, ModelAndAnOutageThatLasts) {
    Write(
        "00:00:01.000 network_daemon/cellular_identify.cpp:Initialize:129:[OTA] m_ModuleName = EG25 \n"
        "00:03:34.388 network_daemon/cellular_sim.cpp:CheckIfSimCardReady:156:CheckIfSimCardReady: SIM is "
        "not "
        "ready!\n"
        "00:03:56.394 network_daemon/cellular_task.cpp:Task:137:No response! Reset device...\n");
    const LogCounts live = Count(false);
    EXPECT_EQ(live.model, "EG25");
    EXPECT_EQ(live.cause, "modem-mute");
    EXPECT_EQ(live.counts.count("outage modem-mute"), 0U) << "it may still get another cause";
    const LogCounts final = Count(true);
    EXPECT_EQ(final.cause, "");
    EXPECT_EQ(final.counts.at("outage modem-mute"), 1000);
}

TEST_F(LogCountsTest, OtherFamiliesSayTheirModelAtTheSetUp) {
    Write("00:00:19.211 CellSubClass/src/CellZTE.cpp:Initialize:75:m_ModuleName = ME3630 \n");
    EXPECT_EQ(Count(true).model, "ME3630");
}

TEST_F(LogCountsTest, ALogOfNobodyCountsNothing) {
    Write("hello\n");
    EXPECT_TRUE(Count(true).counts.empty());
}

}  // namespace
