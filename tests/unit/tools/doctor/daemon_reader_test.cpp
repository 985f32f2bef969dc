// The daemon's own readers on a copy in memory.
#include "tools/doctor/daemon_reader.h"

#include <gtest/gtest.h>

namespace doctor {
namespace {

using Fate = LineReading::Fate;

TEST(DaemonReader, ReadsSettingsAsTheDaemonDoes) {
    const SettingsReading reading = ReadSettings("# x\nAPN = internet \napn=no\nApn=second\nURL=a=b\n");
    EXPECT_TRUE(reading.is_possible);
    EXPECT_FALSE(reading.is_refused);
    ASSERT_EQ(reading.entries.size(), 3U);
    EXPECT_EQ(reading.Find("apn"), "internet");
    EXPECT_EQ(reading.Find("URL"), "a");
    EXPECT_EQ(reading.Find("USERNAME"), std::nullopt);
}

TEST(DaemonReader, SaysWhatTheDaemonRefuses) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(ReadSettings("").is_refused);
    EXPECT_TRUE(ReadSettings("apn=x\n").is_refused);
    EXPECT_TRUE(ReadSettings("APN=x\nUSERNAME=" + std::string(257, 'x') + "\n").is_refused);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "")
        << "the reader's complaints are no words of the doctor";
}

TEST(DaemonReader, JudgesSingleLines) {
    EXPECT_EQ(ReadSettingsLine("APN=x\n").fate, Fate::kTaken);
    EXPECT_EQ(ReadSettingsLine("APN=x").fate, Fate::kTaken);
    EXPECT_EQ(ReadSettingsLine("APN=").fate, Fate::kDropped);
    EXPECT_EQ(ReadSettingsLine("APN=\n").fate, Fate::kTaken);
    EXPECT_EQ(ReadSettingsLine("apn=x\n").fate, Fate::kDropped);
    EXPECT_EQ(ReadSettingsLine("# APN=x\n").fate, Fate::kDropped);
    EXPECT_EQ(ReadSettingsLine("APN=" + std::string(300, 'x') + "\n").fate, Fate::kRefusesFile);
    EXPECT_EQ(ReadSettingsLine(std::string("A\0PN=x\n", 7)).fate, Fate::kDropped);
    // Read in pieces, of which the second one is a setting.
    const LineReading pieces = ReadSettingsLine("#" + std::string(1022, 'x') + "APN=y\n");
    EXPECT_EQ(pieces.fate, Fate::kTaken);
    ASSERT_EQ(pieces.entries.size(), 1U);
    EXPECT_EQ(pieces.entries[0].first, "APN");
}

}  // namespace
}  // namespace doctor
