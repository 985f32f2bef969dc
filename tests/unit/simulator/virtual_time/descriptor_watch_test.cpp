// A select of the virtual world over descriptors that are no ports finds what the system's own finds.
#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/test_world.h"

using test_support::World;

namespace {

struct Wanted {
    int fd;
    bool read, write, except;
};

// What select says and leaves in its sets, as text: "2: 63r 64w".
std::string Select(int count, const std::vector<Wanted>& wanted) {
    fd_set read_set, write_set, except_set;
    FD_ZERO(&read_set);
    FD_ZERO(&write_set);
    FD_ZERO(&except_set);
    for (const Wanted& each : wanted) {
        if (each.read) FD_SET(each.fd, &read_set);
        if (each.write) FD_SET(each.fd, &write_set);
        if (each.except) FD_SET(each.fd, &except_set);
    }
    timeval timeout = {0, 1000};
    const int result = select(count, &read_set, &write_set, &except_set, &timeout);
    if (result < 0) return "errno " + std::to_string(errno);
    std::string text = std::to_string(result) + ":";
    for (const Wanted& each : wanted) {
        const std::string name = " " + std::to_string(each.fd);
        if (FD_ISSET(each.fd, &read_set)) text += name + "r";
        if (FD_ISSET(each.fd, &write_set)) text += name + "w";
        if (FD_ISSET(each.fd, &except_set)) text += name + "x";
    }
    return text;
}

// A pipe with its ends at these numbers.
class Pipe {
  public:
    Pipe(int reader, int writer) : reader_(reader), writer_(writer) {
        int ends[2];
        EXPECT_EQ(0, pipe(ends));
        EXPECT_EQ(reader, dup2(ends[0], reader));
        EXPECT_EQ(writer, dup2(ends[1], writer));
        close(ends[0]);
        close(ends[1]);
    }
    ~Pipe() {
        close(reader_);
        close(writer_);
    }
    void Fill() const { EXPECT_EQ(1, write(writer_, "x", 1)); }

  private:
    const int reader_, writer_;
};

TEST(DescriptorWatch, FindsWhatTheSystemFinds) {
    const Pipe full(63, 64), empty(127, 128), last(FD_SETSIZE - 1, FD_SETSIZE - 2);
    full.Fill();
    last.Fill();
    const struct {
        int count;
        std::vector<Wanted> wanted;
        std::string expected;
    } cases[] = {
        {FD_SETSIZE, {}, "0:"},
        {64, {{63, true, false, false}}, "1: 63r"},
        {65, {{63, true, false, false}, {64, false, true, false}}, "2: 63r 64w"},
        {FD_SETSIZE,
         {{63, true, true, true}, {127, true, false, true}, {128, true, true, true}},
         "2: 63r 128w"},
        {FD_SETSIZE, {{127, true, false, false}}, "0:"},
        {FD_SETSIZE, {{FD_SETSIZE - 1, true, false, false}, {63, true, false, false}}, "2: 1023r 63r"},
        {FD_SETSIZE, {{200, true, false, false}}, "errno " + std::to_string(EBADF)},
        {FD_SETSIZE, {{63, true, false, false}, {200, false, false, true}}, "errno " + std::to_string(EBADF)},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, Select(each.count, each.wanted)) << "by the system";
        World world;
        EXPECT_EQ(each.expected, Select(each.count, each.wanted)) << "in the world";
    }
}

// The system's own looks at the words that it was given and leaves the bits behind the count in an undefined
// state.
TEST(DescriptorWatch, BitsBehindTheCountStayAndAreNotWatched) {
    const Pipe full(63, 64);
    full.Fill();
    World world;
    EXPECT_EQ("0: 63r 200r", Select(63, {{63, true, false, false}, {200, true, false, false}}));
}

TEST(DescriptorWatch, ABrokenPipeIsReadable) {
    const Pipe pipe(63, 64);
    World world;
    world.At(0, [] { close(64); });
    EXPECT_EQ("1: 63r", Select(64, {{63, true, false, false}}));
}

// Where nobody else has a hand in it, the system is asked again only after a call that may change something.
TEST(DescriptorWatch, WhatIsWrittenMeanwhileIsSeenInAWorldThatIsAlone) {
    const Pipe pipe(63, 64);
    World world;
    world.environment().is_alone = true;
    world.At(0.005, [&pipe] { pipe.Fill(); });
    fd_set set;
    FD_ZERO(&set);
    FD_SET(63, &set);
    timeval timeout = {1, 0};
    EXPECT_EQ(1, select(64, &set, nullptr, nullptr, &timeout));
    EXPECT_EQ(5, world.now_ms());
}

}  // namespace
