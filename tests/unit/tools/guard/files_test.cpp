// What the guard reads of the board, and how it keeps its own files.
#include "tools/guard/files.h"

#include <arpa/inet.h>
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

TEST_F(FilesTest, NoPartOfAStatusIsTaken) {
    const std::string whole = "Online=TRUE\nUptime=00:01:05\nNow='Thu Jan  1 00:05:10 2026'\n";
    for (size_t length = 0; length < whole.size(); ++length) {
        Write("ravelin_status", whole.substr(0, length));
        EXPECT_EQ(Status().status, StatusSight::kUnusable) << length;
    }
    // An uptime that can't be is none.
    for (const char* uptime : {"-1:00:00", "x", "999999999999:00:00", "00:00", ""}) {
        Write("ravelin_status", std::string("Online=TRUE\nUptime=") + uptime + "\nNow='x'\n");
        EXPECT_EQ(Status().status, StatusSight::kWhole);
        EXPECT_EQ(Status().uptime, -1) << uptime;
    }
}

TEST_F(FilesTest, OneGuardHasTheFolder) {
    EXPECT_EQ(guard::LockFolder(folder), "");
    EXPECT_EQ(guard::LockFolder(folder), "another one runs");
    const std::string none = folder + "/none";
    EXPECT_EQ(guard::LockFolder(none), none + "/lock: No such file or directory");
    ASSERT_EQ(mkdir(none.c_str(), 0700), 0);
    ASSERT_EQ(symlink("/dev/null", (none + "/lock").c_str()), 0);
    EXPECT_EQ(guard::LockFolder(none), none + "/lock: Too many levels of symbolic links") << "not followed";
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

TEST(Files, RoutesOverAnInterface) {
    constexpr char kTable[] =
        "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n"
        "eth0\t00000000\t010200C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n"
        "wwan0\t00000000\t0140400A\t0003\t0\t0\t9\t00000000\t0\t0\t0\n"
        "wwan1\t0040400A\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
        "wwan2\t00000000\t00000000\t0201\t0\t0\t0\t00000000\t0\t0\t0\n"
        "wwan3\t00000000\t00000000\t0000\t0\t0\t0\t00000000\t0\t0\t0\n"
        "wwan4\t00000000\tx\n"
        "wwan5\t00000000\t00000000\t0001\t0\t0\t0\t000000000\n"
        "wwan6 08080808 00000000 0005 0 0 0 FFFFFFFF";
    // As inet_pton makes them: the table has the same bytes as a number of this machine.
    const uint32_t far = inet_addr("8.8.8.8"), near = inet_addr("10.64.64.7");
    EXPECT_TRUE(guard::ParseRoute(kTable, "wwan0", far)) << "by default";
    EXPECT_TRUE(guard::ParseRoute(kTable, "wwan1", near)) << "a neighbour";
    EXPECT_FALSE(guard::ParseRoute(kTable, "wwan1", far));
    EXPECT_FALSE(guard::ParseRoute(kTable, "wwan2", far)) << "it refuses";
    EXPECT_FALSE(guard::ParseRoute(kTable, "wwan3", far)) << "it is down";
    EXPECT_FALSE(guard::ParseRoute(kTable, "wwan4", far)) << "half a line";
    EXPECT_FALSE(guard::ParseRoute(kTable, "wwan5", far)) << "no mask";
    EXPECT_TRUE(guard::ParseRoute(kTable, "wwan6", far));
    EXPECT_FALSE(guard::ParseRoute(kTable, "wwan6", near));
    EXPECT_FALSE(guard::ParseRoute(kTable, "wwan", far));
    EXPECT_FALSE(guard::ParseRoute("", "wwan0", far));
    EXPECT_FALSE(guard::HasRoute("none", far));
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
