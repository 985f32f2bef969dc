// What a program sees of a file system that is full or read-only.
#include "simulator/virtual_time/storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/virtual_time/environment.h"

using virtual_time::Environment;
using virtual_time::Storage;
using State = virtual_time::Storage::State;

namespace {

TEST(Storage, TheNearestPlaceDecides) {
    Storage storage;
    EXPECT_EQ(State::kWritable, storage.Of("/run/network/x"));
    storage.Set("/run", State::kReadOnly);
    storage.Set("/run/network/status", State::kFull);
    EXPECT_EQ(State::kReadOnly, storage.Of("/run"));
    EXPECT_EQ(State::kReadOnly, storage.Of("/run/network/x"));
    EXPECT_EQ(State::kFull, storage.Of("/run/network/status"));
    EXPECT_EQ(State::kReadOnly, storage.Of("/run/network/status_too"));
    EXPECT_EQ(State::kWritable, storage.Of("/running"));
    storage.Set("/run/network", State::kWritable);
    EXPECT_EQ(State::kWritable, storage.Of("/run/network/status"));
    EXPECT_EQ(State::kReadOnly, storage.Of("/run/other"));
}

class StorageTest : public testing::Test {
  protected:
    StorageTest() {
        environment.folder.Write(kPath, "before");
        environment.on_file_written = [this](const std::string&, const std::string& text) {
            told.push_back(text);
        };
    }

    void Make(State state) { environment.storage.Set("/run/network", state); }
    std::string Text() const { return environment.folder.Read(kPath); }

    static constexpr char kPath[] = "/run/network/status";
    static constexpr char kPipe[] = "/run/network/pipe";

    Environment environment;
    std::vector<std::string> told;
};

TEST_F(StorageTest, AFullFileIsEmptiedAndNothingGetsIn) {
    Make(State::kFull);
    FILE* file = fopen(kPath, "w");
    ASSERT_NE(nullptr, file);
    EXPECT_GT(fprintf(file, "Online=TRUE\n"), 0);  // into the buffer
    errno = 0;
    EXPECT_EQ(EOF, fclose(file));
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ("", Text());
    EXPECT_EQ((std::vector<std::string>{""}), told);
}

TEST_F(StorageTest, AFullFileTakesNothingThroughADescriptorEither) {
    Make(State::kFull);
    const int fd = open(kPath, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0);
    errno = 0;
    EXPECT_EQ(-1, write(fd, "Online=TRUE\n", 12));
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ(0, close(fd));
    EXPECT_EQ("", Text());
    EXPECT_EQ((std::vector<std::string>{""}), told);
}

TEST_F(StorageTest, AFullFileCanBeReadAsEver) {
    Make(State::kFull);
    for (const char* mode : {"r", "r+"}) {
        FILE* file = fopen(kPath, mode);
        ASSERT_NE(nullptr, file) << mode;
        char text[20] = "";
        EXPECT_STREQ("before", fgets(text, sizeof text, file)) << mode;
        rewind(file);
        EXPECT_EQ('b', fgetc(file)) << mode;
        EXPECT_EQ(0, fclose(file)) << mode;
    }
    FILE* file = fopen(kPath, "r+");
    fputs("after", file);
    EXPECT_EQ(EOF, fflush(file));
    fclose(file);
    file = fopen(kPath, "a");
    fputs("after", file);
    EXPECT_EQ(EOF, fclose(file));
    EXPECT_EQ("before", Text());
}

TEST_F(StorageTest, AFullFolderTakesNewFilesWithNothingInThem) {
    Make(State::kFull);
    FILE* file = fopen("/run/network/new", "w");
    ASSERT_NE(nullptr, file);
    fclose(file);
    EXPECT_TRUE(environment.folder.Exists("/run/network/new"));
    EXPECT_NE(0, system("echo 1 > /run/network/status"));
    EXPECT_EQ("", Text());
    EXPECT_EQ(nullptr, fopen("/run/network/missing", "r+"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(0, mkfifo(kPipe, 0660));
    EXPECT_EQ(0, unlink(kPath));
}

TEST_F(StorageTest, AReadOnlyFileCanOnlyBeRead) {
    Make(State::kReadOnly);
    for (const char* mode : {"w", "a", "r+", "w+"}) {
        errno = 0;
        EXPECT_EQ(nullptr, fopen(kPath, mode)) << mode;
        EXPECT_EQ(EROFS, errno) << mode;
    }
    for (const int flags : {O_WRONLY, O_RDWR, O_WRONLY | O_CREAT}) {
        errno = 0;
        EXPECT_EQ(-1, open(kPath, flags, 0600)) << flags;
        EXPECT_EQ(EROFS, errno) << flags;
    }
    EXPECT_EQ(-1, access(kPath, W_OK));
    EXPECT_EQ(EROFS, errno);
    EXPECT_EQ(0, access(kPath, R_OK));
    FILE* file = fopen(kPath, "r");
    ASSERT_NE(nullptr, file);
    fclose(file);
    EXPECT_TRUE(told.empty());
    EXPECT_EQ("before", Text());
}

TEST_F(StorageTest, InAReadOnlyFolderNothingComesOrGoes) {
    ASSERT_EQ(0, mkfifo(kPipe, 0660));
    Make(State::kReadOnly);
    errno = 0;
    EXPECT_EQ(-1, mkfifo("/run/network/another", 0660));
    EXPECT_EQ(EROFS, errno);
    EXPECT_EQ(-1, mkfifo(kPipe, 0660));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(-1, unlink(kPipe));
    EXPECT_EQ(EROFS, errno);
    EXPECT_NE(0, system("rm -rf /run/network/pipe"));
    EXPECT_NE(0, system("echo 1 > /run/network/status"));
    EXPECT_NE(0, system("mkdir /run/network/folder -p"));
    EXPECT_EQ(0, system("mkdir /run/network -p"));    // it is there
    const int fd = open(kPipe, O_RDWR | O_NONBLOCK);  // a pipe is no part of the file system
    EXPECT_GE(fd, 0);
    close(fd);
    EXPECT_EQ("before", Text());
}

TEST_F(StorageTest, TheScenarioWritesWhereItLikesAndAllEnds) {
    Make(State::kReadOnly);
    environment.folder.Write(kPath, "by somebody else");
    EXPECT_EQ("by somebody else", Text());
    environment.folder.Remove(kPath);
    Make(State::kWritable);
    FILE* file = fopen(kPath, "w");
    ASSERT_NE(nullptr, file);
    fputs("after", file);
    EXPECT_EQ(0, fclose(file));
    EXPECT_EQ("after", Text());
    EXPECT_EQ((std::vector<std::string>{"after"}), told);
}

}  // namespace
