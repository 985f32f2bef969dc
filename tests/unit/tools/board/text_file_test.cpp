// Files that somebody else may have put there.
#include "tools/board/text_file.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

using board::FileState;
using board::ReadTextFile;

class TextFileTest : public testing::Test {
  protected:
    void Write(const std::string& text) const { temporary.Write("file", text); }

    const TemporaryFolder temporary;
    const std::string &folder = temporary.path(), path = folder + "/file";
};

TEST_F(TextFileTest, ReadsWhatIsThere) {
    const std::string text("a\0b\n\xFF", 5);
    Write(text);
    const board::TextFile file = ReadTextFile(path);
    EXPECT_EQ(file.state, FileState::kRead);
    EXPECT_EQ(file.text, text);
    EXPECT_EQ(file.problem, "");
    EXPECT_GT(file.modified, 1000000000);
    Write("");
    EXPECT_EQ(ReadTextFile(path).state, FileState::kRead) << "an empty one as well";
}

TEST_F(TextFileTest, TakesNoMoreThanItsLimit) {
    Write(std::string(100, 'x'));
    EXPECT_EQ(ReadTextFile(path, 100).state, FileState::kRead);
    const board::TextFile file = ReadTextFile(path, 99);
    EXPECT_EQ(file.state, FileState::kTooLarge);
    EXPECT_EQ(file.text.size(), 99u);
    EXPECT_EQ(file.problem, "has more than 99 bytes");
    Write(std::string(1024 * 1024, 'x'));
    EXPECT_EQ(ReadTextFile(path).text.size(), board::kTextFileLimit_bytes);
}

TEST_F(TextFileTest, WhatIsMissing) {
    EXPECT_EQ(ReadTextFile(path).state, FileState::kMissing);
    EXPECT_EQ(ReadTextFile(path).problem, "isn't there");
    EXPECT_EQ(ReadTextFile("/dev/null/x").state, FileState::kMissing);
    EXPECT_EQ(ReadTextFile("").state, FileState::kMissing);
}

TEST_F(TextFileTest, APipeIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const board::TextFile file = ReadTextFile(path);
    EXPECT_EQ(file.state, FileState::kNoFile);
    EXPECT_EQ(file.problem, "is a pipe and no file");
    EXPECT_EQ(board::KindAt(path), "a pipe");
}

TEST_F(TextFileTest, ALinkIsNotFollowed) {
    std::ofstream(folder + "/other") << "of somebody else";
    ASSERT_EQ(symlink((folder + "/other").c_str(), path.c_str()), 0);
    const board::TextFile file = ReadTextFile(path);
    EXPECT_EQ(file.state, FileState::kNoFile);
    EXPECT_EQ(file.problem, "is a symbolic link and no file");
    EXPECT_EQ(file.text, "");
}

TEST_F(TextFileTest, NorAFolderNorASocketNorADevice) {
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    EXPECT_EQ(ReadTextFile(path).problem, "is a folder and no file");
    rmdir(path.c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {AF_UNIX, ""};
    snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(ReadTextFile(path).problem, "is a socket and no file");
    close(fd);
    EXPECT_EQ(ReadTextFile("/dev/zero").problem, "is a device and no file");
    EXPECT_EQ(board::KindAt(folder), "a folder");
    EXPECT_EQ(board::KindAt("/no/such"), "nothing");
}

TEST_F(TextFileTest, WhatIsNotForUs) {
    constexpr uid_t kNobody = 65534;
    Write("secret");
    chmod(path.c_str(), 0);
    chmod(folder.c_str(), 0755);
    const uid_t user = geteuid();
    ASSERT_EQ(user == 0 ? seteuid(kNobody) : 0, 0);
    const board::TextFile file = ReadTextFile(path);
    ASSERT_EQ(user == 0 ? seteuid(user) : 0, 0);
    EXPECT_EQ(file.state, FileState::kNotReadable);
    EXPECT_EQ(file.problem, "can't be read: Permission denied");
}

}  // namespace
