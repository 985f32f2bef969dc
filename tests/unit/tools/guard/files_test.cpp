// What the guard reads of the board, and how it keeps its own files.
#include "tools/guard/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

namespace {

using guard::Look;
using guard::StatusSight;

class FilesTest : public testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/files_test.XXXXXX";
        folder = mkdtemp(name);
    }
    void TearDown() override { EXPECT_EQ(system(("rm -rf " + folder).c_str()), 0); }
    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(folder + "/" + name) << text;
    }
    Look Status() const {
        Look look;
        std::string problem;
        guard::ReadStatus(folder, &look, &problem);
        EXPECT_EQ(problem.empty(), look.status == StatusSight::kWhole) << problem;
        return look;
    }

    std::string folder;
};

TEST_F(FilesTest, AWholeStatus) {
    Write("ravelin_status", "Online=TRUE\nUptime=00:01:05\nNow='Thu Jan  1 00:05:10 2026'\n");
    const Look look = Status();
    EXPECT_EQ(look.status, StatusSight::kWhole);
    EXPECT_TRUE(look.is_online);
    EXPECT_EQ(look.uptime, 65);
    EXPECT_EQ(look.written, "'Thu Jan  1 00:05:10 2026'");
}

TEST_F(FilesTest, AStatusThatCantBeUsed) {
    EXPECT_EQ(Status().status, StatusSight::kUnusable) << "missing";
    for (const std::string& text :
         {std::string(), std::string("Online=TRUE\n"), std::string("Online=TRUE\nNow='x'"),
          std::string("Online=FALSE\nOnline=TRUE\nNow='x'\n"), std::string("Online=true\nNow='x'\n"),
          std::string("Now='x'\n"), std::string(100000, 'x') + "\nOnline=TRUE\nNow='x'\n",
          std::string("Online=TRUE\0\nNow='x'\n", 21)}) {
        Write("ravelin_status", text);
        EXPECT_EQ(Status().status, StatusSight::kUnusable) << text.substr(0, 40);
    }
    unlink((folder + "/ravelin_status").c_str());
    Write("elsewhere", "Online=TRUE\nNow='x'\n");
    ASSERT_EQ(symlink("elsewhere", (folder + "/ravelin_status").c_str()), 0);
    EXPECT_EQ(Status().status, StatusSight::kUnusable) << "a link";
    unlink((folder + "/ravelin_status").c_str());
    ASSERT_EQ(mkfifo((folder + "/ravelin_status").c_str(), 0600), 0);
    EXPECT_EQ(Status().status, StatusSight::kUnusable) << "a pipe, and nobody is waited for";
}

TEST_F(FilesTest, AFileIsReplacedInOneStep) {
    const std::string path = folder + "/file";
    EXPECT_TRUE(guard::ReplaceFile(path, "one", true));
    Write("file.new", "half of");  // of one that was killed
    EXPECT_TRUE(guard::ReplaceFile(path, "two", true));
    std::string text;
    std::ifstream(path) >> text;
    EXPECT_EQ(text, "two");
    EXPECT_NE(access((path + ".new").c_str(), F_OK), 0);
    EXPECT_FALSE(guard::ReplaceFile(folder + "/none/file", "x", true));
}

TEST(Files, BytesOfAnInterface) {
    constexpr char kTable[] =
        "Inter-|   Receive                                                |  Transmit\n"
        " face |bytes    packets errs drop fifo frame compressed multicast|bytes\n"
        "    lo:     100       1    0    0    0     0          0         0      100\n"
        "awwan0:       7       1\n"
        " wwan0: 1234567       1    0\n"
        "wwan10:89       1    0\n"
        " bad0: x 1\n";
    EXPECT_EQ(guard::ParseReceivedBytes(kTable, "wwan0"), 1234567U);
    EXPECT_EQ(guard::ParseReceivedBytes(kTable, "wwan10"), 89U);
    EXPECT_FALSE(guard::ParseReceivedBytes(kTable, "wwan1"));
    EXPECT_FALSE(guard::ParseReceivedBytes(kTable, "bad0"));
    EXPECT_FALSE(guard::ParseReceivedBytes("wwan0:", "wwan0"));
    EXPECT_FALSE(guard::ParseReceivedBytes("", "wwan0"));
    EXPECT_TRUE(guard::ReceivedBytes("lo"));
    EXPECT_FALSE(guard::ReceivedBytes("none"));
}

}  // namespace
