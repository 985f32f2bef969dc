#include "support/MkUtils.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/open_descriptors.h"

namespace {
std::string mounts_path;  // stands in for /proc/mounts when set
bool popen_fails = false;
std::string last_shell_command;
}  // namespace

extern "C" {
FILE* __real_fopen(const char* path, const char* mode);
FILE* __real_popen(const char* command, const char* mode);

FILE* __wrap_fopen(const char* path, const char* mode) {
    const bool replaced = !mounts_path.empty() && strcmp(path, "/proc/mounts") == 0;
    return __real_fopen(replaced ? mounts_path.c_str() : path, mode);
}

FILE* __wrap_popen(const char* command, const char* mode) {
    return popen_fails ? nullptr : __real_popen(command, mode);
}

int __wrap_system(const char* command) {
    last_shell_command = command;
    return 0;
}
}

namespace {

class MkUtilsFile : public testing::Test {
  protected:
    MkUtilsFile() {
        char name[] = "/tmp/mkutils_test_XXXXXX";
        test_folder = mkdtemp(name);
        test_path = test_folder + "/file";
    }
    ~MkUtilsFile() override {
        mounts_path.clear();
        popen_fails = false;
        unlink(test_path.c_str());
        rmdir(test_folder.c_str());
    }
    void Write(const std::string& text) { std::ofstream(test_path) << text; }

    std::string test_folder, test_path;
};

TEST_F(MkUtilsFile, MountPointIsTheSecondFieldAsAWhole) {
    Write(
        "proc /proc proc rw 0 0\n/dev/mmcblk0p1 /media/mmcblk0p1 vfat rw 0 0\n\nodd\n/dev/x /a\\040b ext4 rw "
        "0 0");
    mounts_path = test_path;
    EXPECT_TRUE(IsMounted("/proc"));
    EXPECT_TRUE(IsMounted("/media/mmcblk0p1"));
    EXPECT_TRUE(IsMounted("/a\\040b"));
    EXPECT_FALSE(IsMounted("/media"));
    EXPECT_FALSE(IsMounted("/media/mmcblk0p1/"));
    EXPECT_FALSE(IsMounted("/dev/x"));
    EXPECT_FALSE(IsMounted("vfat"));
    EXPECT_FALSE(IsMounted(""));
}

TEST_F(MkUtilsFile, RestOfALongLineIsNoMountPoint) {
    const std::string options(1985, 'o');  // "a /b " and these leave "x /trap y" for the second piece of 1999
    Write("a /b " + options + "1234567890 /trap y\nc /d e\n");
    mounts_path = test_path;
    EXPECT_TRUE(IsMounted("/b"));
    EXPECT_FALSE(IsMounted("/trap"));
    EXPECT_TRUE(IsMounted("/d"));
}

TEST_F(MkUtilsFile, NothingIsMountedWithoutTheTable) {
    mounts_path = test_folder + "/none";
    EXPECT_FALSE(IsMounted("/"));
}

TEST_F(MkUtilsFile, RealTableIsRead) {
    EXPECT_TRUE(IsMounted("/proc"));
}

TEST_F(MkUtilsFile, SmallFileLosesWhiteSpaceAtItsEnd) {
    Write(" 42 \t\r\n\n");
    EXPECT_STREQ(" 42", ReadSmallFile(test_path.c_str()));
}

TEST_F(MkUtilsFile, SmallFileIsCutAt1023Bytes) {
    Write(std::string(5000, 'x'));
    EXPECT_EQ(1023u, strlen(ReadSmallFile(test_path.c_str())));
    Write(std::string(1022, 'x') + " yyy");
    EXPECT_EQ(1022u, strlen(ReadSmallFile(test_path.c_str())));
}

TEST_F(MkUtilsFile, SmallFileThatCannotBeReadIsEmpty) {
    Write("something");
    ReadSmallFile(test_path.c_str());
    EXPECT_STREQ("", ReadSmallFile((test_folder + "/none").c_str()));
    EXPECT_STREQ("", ReadSmallFile(test_folder.c_str()));
}

TEST_F(MkUtilsFile, NoFileIsLeftOpen) {
    Write("proc /proc proc rw 0 0\n");
    mounts_path = test_path;
    const int before = OpenDescriptors();
    EXPECT_TRUE(IsMounted("/proc"));
    EXPECT_FALSE(IsMounted("/none"));
    ReadSmallFile(test_path.c_str());
    char output[4];
    RunCommand("printf x", output, sizeof(output));
    EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(MkUtilsFile, CommandOutputIsTakenUpToTheCount) {
    char output[16];
    memset(output, '#', sizeof(output));
    EXPECT_EQ(0, RunCommand("printf abc", output, 8));
    EXPECT_STREQ("abc", output);
    EXPECT_EQ('#', output[4]);
    memset(output, '#', sizeof(output));
    EXPECT_EQ(0, RunCommand("printf abcdefgh", output, 4));
    EXPECT_EQ("abcd####", std::string(output, 8));
    EXPECT_EQ(0, RunCommand("exit 3", output, 8));
    EXPECT_STREQ("", output);
    EXPECT_EQ(0, RunCommand("printf abc", output, 0));
}

TEST_F(MkUtilsFile, CommandThatCannotBeStartedGivesMinusOne) {
    char output[4] = "abc";
    popen_fails = true;
    EXPECT_EQ(-1, RunCommand("printf x", output, sizeof(output)));
    EXPECT_STREQ("abc", output);
}

TEST_F(MkUtilsFile, HexHasTwoDigitsAndABlankAByte) {
    const unsigned char bytes[] = {0x00, 0x0A, 0xFF};
    testing::internal::CaptureStdout();
    PrintHex(bytes, sizeof(bytes));
    PrintHex(bytes, 0);
    EXPECT_EQ("00 0a ff ", testing::internal::GetCapturedStdout());
}

TEST_F(MkUtilsFile, OldestVideoIsRemovedByTheShell) {
    DeleteOldestVideo("/media/videos");
    EXPECT_EQ("rm $(ls /media/videos/*.mp4 -c | tail -1) -f", last_shell_command);
}

TEST_F(MkUtilsFile, ProcessFolderAndExecutableAreReal) {
    char folder[4096];
    ASSERT_NE(nullptr, getcwd(folder, sizeof(folder)));
    EXPECT_EQ(folder, GetProcessFolder(getpid()));
    EXPECT_STREQ("MkUtils_file_test", GetBaseName(GetProcessExecutable(getpid()).c_str()));
    EXPECT_EQ("", GetProcessFolder(-1));
    EXPECT_EQ("", GetProcessExecutable(0));
    ASSERT_EQ(0, chdir("/"));
    EXPECT_EQ("/", GetProcessFolder(getpid()));
    ASSERT_EQ(0, chdir(folder));
}

}  // namespace
