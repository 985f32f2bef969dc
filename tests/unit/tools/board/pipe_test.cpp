// The daemon's pipe: opened without waiting, and nothing made in its place.
#include "tools/board/pipe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

using board::Pipe;
using board::PipeState;

class PipeTest : public testing::Test {
  protected:
    PipeTest() { signal(SIGPIPE, SIG_IGN); }
    ~PipeTest() override {
        if (reader >= 0) close(reader);
    }
    void MakePipe() { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }
    void Listen() { ASSERT_GE(reader = open(path.c_str(), O_RDONLY | O_NONBLOCK), 0); }
    std::string Heard() const {
        char bytes[1024];
        const ssize_t count = read(reader, bytes, sizeof bytes);
        return {bytes, static_cast<size_t>(count > 0 ? count : 0)};
    }

    const TemporaryFolder temporary;
    const std::string &folder = temporary.path(), path = folder + "/pipe";
    int reader = -1;
};

TEST_F(PipeTest, TakesALine) {
    MakePipe();
    Listen();
    Pipe pipe(path);
    ASSERT_EQ(pipe.state(), PipeState::kOpen);
    EXPECT_EQ(pipe.problem(), "");
    EXPECT_TRUE(pipe.Send("SoftReset:1"));
    EXPECT_EQ(Heard(), "SoftReset:1\n");
}

TEST_F(PipeTest, WithoutAReaderNothingIsWaitedFor) {
    MakePipe();
    Pipe pipe(path);
    EXPECT_EQ(pipe.state(), PipeState::kNoReader);
    EXPECT_EQ(pipe.problem(), "nobody reads " + path);
}

TEST_F(PipeTest, NothingIsMade) {
    EXPECT_EQ(Pipe(path).state(), PipeState::kMissing);
    EXPECT_NE(access(path.c_str(), F_OK), 0);
    EXPECT_EQ(Pipe("/dev/null/pipe").state(), PipeState::kMissing);
}

TEST_F(PipeTest, AFileInItsPlaceIsLeftAlone) {
    std::ofstream(path) << "x";
    Pipe pipe(path);
    EXPECT_EQ(pipe.state(), PipeState::kNoPipe);
    EXPECT_EQ(pipe.problem(), path + " is a file and no pipe");
}

TEST_F(PipeTest, ALinkToAPipeIsNone) {
    ASSERT_EQ(mkfifo((folder + "/other").c_str(), 0600), 0);
    ASSERT_EQ(symlink((folder + "/other").c_str(), path.c_str()), 0);
    EXPECT_EQ(Pipe(path).state(), PipeState::kNoPipe);
    EXPECT_EQ(Pipe("/dev/null").problem(), "/dev/null is a device and no pipe");
}

TEST_F(PipeTest, AReaderThatDoesNotReadIsNotWaitedFor) {
    MakePipe();
    Listen();
    Pipe pipe(path);
    const std::string line(board::kMessageLimit_bytes, 'x');
    int sent = 0;
    while (sent < 1000 && pipe.Send(line)) ++sent;
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, 1000);
    EXPECT_EQ(pipe.problem(), "the pipe is full: its reader doesn't read");
}

TEST_F(PipeTest, AReaderThatGoesAway) {
    MakePipe();
    Listen();
    Pipe pipe(path);
    close(reader);
    reader = -1;
    EXPECT_FALSE(pipe.Send("SoftReset:1"));
    EXPECT_EQ(pipe.problem(), "writing failed: Broken pipe");
}

}  // namespace
