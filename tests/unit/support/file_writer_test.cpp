// Status files on a real disk: what is in them, and by which calls it got there.
#include "support/file_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <deque>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Calls {
    std::vector<std::string> made;
    // What becomes of the next writes; without one it is done.
    std::deque<std::function<ssize_t(int fd, const void* from, size_t size)>> writes;
    bool are_watched = false;
} calls;

}  // namespace

extern "C" {
int __real_open(const char* path, int flags, ...);
ssize_t __real_write(int fd, const void* from, size_t size);
int __real_close(int fd);

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (calls.are_watched) calls.made.emplace_back("open");
    return __real_open(path, flags, mode);
}

ssize_t __wrap_write(int fd, const void* from, size_t size) {
    if (!calls.are_watched) return __real_write(fd, from, size);
    calls.made.push_back("write " + std::to_string(size));
    if (calls.writes.empty()) return __real_write(fd, from, size);
    const auto next = calls.writes.front();
    calls.writes.pop_front();
    return next(fd, from, size);
}

int __wrap_close(int fd) {
    if (calls.are_watched) calls.made.emplace_back("close");
    return __real_close(fd);
}
}

namespace {

ssize_t Interrupted(int, const void*, size_t) {
    errno = EINTR;
    return -1;
}

ssize_t NoRoom(int, const void*, size_t) {
    errno = ENOSPC;
    return -1;
}

ssize_t ThreeBytes(int fd, const void* from, size_t) {
    return __real_write(fd, from, 3);
}

class FileWriterTest : public testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/file_writer_test.XXXXXX";
        folder = mkdtemp(pattern);
        path = folder + "/status";
        calls = Calls();
    }

    void TearDown() override {
        calls.are_watched = false;
        unlink(path.c_str());
        rmdir(folder.c_str());
    }

    std::string Read() {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    /// Prints each of `texts` by a call of its own.
    void Write(const std::vector<std::string>& texts) {
        calls.are_watched = true;
        {
            FileWriter file(path.c_str());
            EXPECT_TRUE(file.is_open());
            for (const std::string& text : texts) file.Print("%s", text.c_str());
        }
        calls.are_watched = false;
    }

    std::string folder;
    std::string path;
};

TEST_F(FileWriterTest, IsWrittenInOnePieceWhenItIsWhole) {
    Write({"IMSI=1\n", "", "CSQ=\n"});
    EXPECT_EQ(Read(), "IMSI=1\nCSQ=\n");
    EXPECT_EQ(calls.made, (std::vector<std::string>{"open", "write 12", "close"}));
}

TEST_F(FileWriterTest, IsEmptiedAtOnceAndFilledAtTheEnd) {
    std::ofstream(path) << "what was there before";
    FileWriter file(path.c_str());
    EXPECT_EQ(Read(), "");
    file.Print("Online=%s\n", "TRUE");
    EXPECT_EQ(Read(), "");
}

TEST_F(FileWriterTest, WithoutTextItIsEmpty) {
    std::ofstream(path) << "before";
    Write({});
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(calls.made, (std::vector<std::string>{"open", "close"}));
}

TEST_F(FileWriterTest, IsMadeWithThePermissionsThatTheMaskLeaves) {
    const mode_t before = umask(022);
    Write({"x"});
    umask(before);
    struct stat info = {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644u);
}

TEST_F(FileWriterTest, TextLongerThanTheBufferIsAllThere) {
    std::vector<std::string> lines;
    std::string expected;
    for (int i = 0; i < 900; ++i) {
        lines.push_back("line " + std::to_string(i) + "\n");
        expected += lines.back();
    }
    Write(lines);
    EXPECT_EQ(Read(), expected);
    EXPECT_EQ(calls.made.size(), 2 + expected.size() / 4096 + 1);
}

TEST_F(FileWriterTest, OneLineFillsTheBufferAndNoMore) {
    for (const size_t length : {4094u, 4095u, 4096u, 9000u}) {
        Write({"a", std::string(length, 'x'), "z"});
        EXPECT_EQ(Read(), "a" + std::string(length < 4096 ? length : 4095, 'x') + "z") << length;
    }
}

TEST_F(FileWriterTest, TornWriteGoesOnWhereItWasTorn) {
    calls.writes = {ThreeBytes, Interrupted, ThreeBytes};
    Write({"Online=TRUE\n"});
    EXPECT_EQ(Read(), "Online=TRUE\n");
    EXPECT_EQ(calls.made,
              (std::vector<std::string>{"open", "write 12", "write 9", "write 9", "write 6", "close"}));
}

TEST_F(FileWriterTest, FullDiskKeepsWhatFitted) {
    calls.writes = {ThreeBytes, NoRoom};
    Write({"Online=TRUE\n"});
    EXPECT_EQ(Read(), "Onl");
    EXPECT_EQ(calls.made, (std::vector<std::string>{"open", "write 12", "write 9", "close"}));
}

TEST_F(FileWriterTest, DiskThatTakesNothingAndSaysNothingEndsIt) {
    calls.writes = {[](int, const void*, size_t) -> ssize_t { return 0; }};
    Write({"Online=TRUE\n"});
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(calls.made, (std::vector<std::string>{"open", "write 12", "close"}));
}

TEST_F(FileWriterTest, FileThatCannotBeWrittenTakesNothing) {
    const char* running = "/proc/thread-self/exe";  // refuses writers, even to the superuser
    calls.are_watched = true;
    {
        FileWriter file(running);
        EXPECT_FALSE(file.is_open());
        file.Print("%s", "Online=TRUE\n");
    }
    calls.are_watched = false;
    EXPECT_EQ(calls.made, std::vector<std::string>{"open"});
}

TEST_F(FileWriterTest, FolderIsNoFile) {
    EXPECT_FALSE(FileWriter(folder.c_str()).is_open());
}

}  // namespace
