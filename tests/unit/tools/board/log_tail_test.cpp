// What comes to a log from now on.
#include "tools/board/log_tail.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

using Lines = std::vector<std::string>;

class LogTailTest : public testing::Test {
  protected:
    LogTailTest() { Add("old\nhalf"); }
    void Add(const std::string& text) const { temporary.Append("log", text); }

    const TemporaryFolder temporary;
    const std::string &folder = temporary.path(), path = folder + "/log";
    board::LogTail log;
};

TEST_F(LogTailTest, OnlyWhatComesAndOnlyWholeLines) {
    ASSERT_TRUE(log.OpenFile(path));
    EXPECT_EQ(log.name(), path);
    EXPECT_EQ(log.NewLines(), Lines{});
    Add(" of one\nnew\nand a ha");
    EXPECT_EQ(log.NewLines(), (Lines{" of one", "new"}));
    EXPECT_EQ(log.NewLines(), Lines{});
    Add("lf\n");
    EXPECT_EQ(log.NewLines(), (Lines{"and a half"}));
}

TEST_F(LogTailTest, FromItsStartIfThatIsWanted) {
    ASSERT_TRUE(log.OpenFile(path, board::LogTail::From::kStart));
    EXPECT_EQ(log.NewLines(), (Lines{"old"}));
}

TEST_F(LogTailTest, ALogThatIsEmptiedAndGoesOn) {
    ASSERT_TRUE(log.OpenFile(path));
    ASSERT_EQ(truncate(path.c_str(), 0), 0);
    Add("a\n");
    EXPECT_EQ(log.NewLines(), (Lines{"a"}));
}

TEST_F(LogTailTest, ALogThatIsMovedAway) {
    ASSERT_TRUE(log.OpenFile(path));
    Add("\nlast\n");
    ASSERT_EQ(rename(path.c_str(), (path + ".1").c_str()), 0);
    Add("first\n");
    Lines lines = log.NewLines();
    for (const std::string& line : log.NewLines()) lines.push_back(line);
    EXPECT_EQ(lines, (Lines{"", "last", "first"}));
}

TEST_F(LogTailTest, AFloodIsReadInPiecesAndALongLineCut) {
    ASSERT_TRUE(log.OpenFile(path));
    Add(std::string(3 * 1024 * 1024, 'x') + "\n");
    Lines lines;
    for (int i = 0; i < 10; ++i) {
        for (const std::string& line : log.NewLines()) lines.push_back(line);
    }
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_LE(lines[0].size(), 4096u);
}

TEST_F(LogTailTest, WhatIsNoLog) {
    EXPECT_FALSE(log.OpenFile(folder + "/none"));
    EXPECT_EQ(log.problem(), "the log " + folder + "/none can't be read: No such file or directory");
    EXPECT_FALSE(log.OpenFile(folder));
    EXPECT_EQ(log.problem(), "the log " + folder + " is no file");
    ASSERT_EQ(mkfifo((path + ".1").c_str(), 0600), 0);
    EXPECT_FALSE(log.OpenFile(path + ".1")) << "and isn't waited for";
    EXPECT_EQ(log.NewLines(), Lines{});
}

TEST_F(LogTailTest, TheDaemonsOwnIsFound) {
    ASSERT_TRUE(log.OpenFound(path));
    EXPECT_EQ(log.name(), path);
}

}  // namespace
