// The daemon among the processes, and a flash by its mark; in a /proc that the test writes.
#include "tools/board/daemon_process.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

class DaemonProcessTest : public testing::Test {
  protected:
    /// A process with this command line, its words ending in |.
    void Process(const std::string& number, std::string words, const std::string& stat = "") const {
        for (char& c : words) {
            if (c == '|') c = '\0';
        }
        mkdir((folder + "/" + number).c_str(), 0755);
        std::ofstream(folder + "/" + number + "/cmdline") << words;
        std::ofstream(folder + "/" + number + "/stat") << stat;
        unlink((folder + "/" + number + "/cwd").c_str());
        ASSERT_EQ(symlink("/var/spool", (folder + "/" + number + "/cwd").c_str()), 0);
    }

    const TemporaryFolder temporary;
    const std::string& folder = temporary.path();
};

TEST_F(DaemonProcessTest, IsFoundByItsName) {
    EXPECT_FALSE(board::FindDaemon(folder));
    Process("12", "/bin/sh|-c|ravelin-mobile|");
    Process("13", "");
    Process("self", "ravelin-mobile|");
    EXPECT_FALSE(board::FindDaemon(folder));
    Process("4711", "/usr/sbin/ravelin-mobile|-d|/dev/ravelin-at|");
    ASSERT_TRUE(board::FindDaemon(folder));
    EXPECT_EQ(board::FindDaemon(folder)->process, 4711);
    EXPECT_EQ(board::FindDaemon(folder)->log, "");
}

TEST_F(DaemonProcessTest, ItsLogIsTheLastOneNamed) {
    Process("4711", "ravelin-mobile|-DL|/tmp/a|-DL|/tmp/b|");
    EXPECT_EQ(board::FindDaemon(folder)->log, "/tmp/b");
    Process("4711", "ravelin-mobile|-DL|log|-t|");
    EXPECT_EQ(board::FindDaemon(folder)->log, "/var/spool/log");
    Process("4711", "ravelin-mobile|-DL|");
    EXPECT_EQ(board::FindDaemon(folder)->log, "") << "the word is missing";
}

TEST_F(DaemonProcessTest, ThisOneIsNone) {
    EXPECT_FALSE(board::FindDaemon("/no/such"));
}

TEST_F(DaemonProcessTest, AFlashIsItsProcessAndTheMomentOfItsStart) {
    // As in /proc: the name may hold blanks and brackets.
    const std::string before = " (a) b) S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 ";
    Process("55", "QFirehose.real|", "55" + before + "98765 22 23\n");
    Process("56", "QFirehose.real|", "56 (x) Z 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 98765 22 23\n");
    const std::string marks = folder + "/marks";
    EXPECT_EQ(board::RunningFlash(marks, folder), 0) << "no flash since the boot";
    mkdir(marks.c_str(), 0755);
    for (const char* mark : {"flash.55.1", "flash.56.98765", "flash.57.98765", "flash.55", "flash..98765",
                             "flash.x.98765", "output", "flash.55.98765.1"}) {
        std::ofstream(marks + "/" + mark) << "";
        EXPECT_EQ(board::RunningFlash(marks, folder), 0) << mark;
    }
    std::ofstream(marks + "/flash.55.98765") << "";
    EXPECT_EQ(board::RunningFlash(marks, folder), 55);
}

}  // namespace
