// The serial layer's timed reads. No test looks at a real clock: where the time that a read takes matters,
// select, usleep and the clock are made up and keep the time. Reads of a broken port run on a made-up read
// too, because a pseudo terminal can't be broken in every way.
#include "support/serial_port.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/serial_port_fixture.h"

namespace {

struct Calls {
    std::vector<timeval> timeouts;        // as given to select
    std::vector<int> bounds;              // of select
    std::function<int(timeval*)> select;  // takes the place of select
    std::function<void(int64_t)> usleep;  // takes the place of usleep
    std::function<int64_t()> now_us;      // takes the place of the monotonic clock
    std::vector<int64_t> sleeps_us;
    std::deque<std::function<ssize_t(void*, size_t)>> reads;  // take the place of read, one a call
    std::vector<size_t> read_counts;
    std::vector<const void*> read_places;
} calls;

bool fakes_reads = false;

}  // namespace

extern "C" {
int __real_select(int bound, fd_set* in, fd_set* out, fd_set* other, timeval* timeout);
ssize_t __real_read(int fd, void* buffer, size_t count);

int __wrap_select(int bound, fd_set* in, fd_set* out, fd_set* other, timeval* timeout) {
    calls.bounds.push_back(bound);
    calls.timeouts.push_back(*timeout);
    return calls.select ? calls.select(timeout) : __real_select(bound, in, out, other, timeout);
}

int __real_usleep(useconds_t microseconds);
int __real_clock_gettime(clockid_t clock, timespec* now);

int __wrap_usleep(useconds_t microseconds) {
    calls.sleeps_us.push_back(microseconds);
    if (!calls.usleep) return __real_usleep(microseconds);
    calls.usleep(microseconds);
    return 0;
}

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
    if (!calls.now_us || clock != CLOCK_MONOTONIC) return __real_clock_gettime(clock, now);
    const int64_t now_us = calls.now_us();
    now->tv_sec = static_cast<time_t>(now_us / 1000000);
    now->tv_nsec = static_cast<long>(now_us % 1000000 * 1000);
    return 0;
}

ssize_t __wrap_read(int fd, void* buffer, size_t count) {
    if (!fakes_reads) return __real_read(fd, buffer, count);
    calls.read_counts.push_back(count);
    calls.read_places.push_back(buffer);
    if (calls.reads.empty()) {
        errno = EIO;
        return -1;
    }
    const auto next = calls.reads.front();
    calls.reads.pop_front();
    return next(buffer, count);
}
}

namespace {

constexpr int kPatience_ms = 120000;  // only ever used up by a port that has lost its bytes

/// Reads of the real port.
class SerialRead : public PseudoTerminalTest {
  protected:
    SerialRead() { calls = Calls(); }

    void SetUp() override {
        PseudoTerminalTest::SetUp();
        ASSERT_EQ(SetupSerial(port, 115200, 8, 1, 'N'), 0);
    }

    /// On return all of it can be read: a pseudo terminal hands bytes over in its own time.
    void ModemSays(const std::string& text) {
        const int before = Unread();
        ASSERT_EQ(write(modem, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        const int wanted = before + static_cast<int>(text.size());
        for (int waited_ms = 0; Unread() < wanted && waited_ms < kPatience_ms; ++waited_ms) {
            poll(nullptr, 0, 1);
        }
        ASSERT_EQ(Unread(), wanted);
    }

    int Unread() const {
        int count = 0;
        EXPECT_EQ(ioctl(port, FIONREAD, &count), 0);
        return count;
    }

    void PullOut() {
        close(modem);
        modem = -1;
    }
};

TEST_F(SerialRead, WantedBytesEndTheReadAndTheRestStaysInThePort) {
    ModemSays("0123456789");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port, buffer, 4, 60000), 4);
    EXPECT_EQ(ReadSerialTimed(port, buffer + 4, 6, 60000), 6);
    EXPECT_STREQ(buffer, "0123456789");
}

TEST_F(SerialRead, OneMillisecondOnAnEmptyPortGivesZeroAtOnce) {
    char buffer[256] = "x";
    EXPECT_EQ(ReadSerialTimed(port, buffer, sizeof(buffer), 1), 0);
    EXPECT_EQ(buffer[0], 'x');
    ASSERT_EQ(calls.timeouts.size(), 1U);
    EXPECT_EQ(calls.timeouts[0].tv_sec, 0);
    EXPECT_EQ(calls.timeouts[0].tv_usec, 1000);
}

TEST_F(SerialRead, TimeoutOfZeroTakesWhatIsThere) {
    ModemSays("abc");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port, buffer, sizeof(buffer), 0), 3);
    EXPECT_EQ(ReadSerialTimed(port, buffer, sizeof(buffer), 0), 0);
}

TEST_F(SerialRead, SecondFormEndsWhenThePortFallsSilent) {
    ModemSays("0123456789");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed2(port, buffer, sizeof(buffer), 60000, 5), 10);
    EXPECT_EQ(ReadSerialTimed2(port, buffer, sizeof(buffer), 5, 60000), 0);
}

TEST_F(SerialRead, SecondFormEndsOnAPortThatIsPulledOut) {
    char buffer[256] = "";
    PullOut();
    EXPECT_LE(ReadSerialTimed2(port, buffer, sizeof(buffer), 60000, 60000), 0);
}

TEST_F(SerialRead, DeadPortIsLookedAtNoMoreThanOnceAMillisecond) {
    PullOut();
    char buffer[256] = "";
    EXPECT_LE(ReadSerialTimed(port, buffer, sizeof(buffer), 100), 0);
    EXPECT_LE(calls.timeouts.size(), 100U);
}

/// The same, with waits that take made-up time.
class TimedRead : public SerialRead {
  protected:
    static constexpr int64_t kUsPerSecond = 1000000;
    static constexpr int64_t kUsPerMs = 1000;
    static constexpr int64_t kBetweenWords_us = 3 * kUsPerMs;

    void SetUp() override {
        SerialRead::SetUp();
        calls.select = [this](timeval* timeout) { return Wait(timeout); };
        calls.usleep = [this](int64_t asked_us) { taken_us_ += asked_us + oversleep_us; };
        calls.now_us = [this] { return kUsPerSecond - kUsPerMs + taken_us_; };
    }

    /// What is in the port is there at once. Silence takes time: until the modem's next word, if that comes
    /// within the time-out. A dead port is always ready.
    int Wait(timeval* timeout) {
        int64_t left_us = timeout->tv_sec * kUsPerSecond + timeout->tv_usec;
        const auto take = [this, &left_us](int64_t wanted_us) {
            const int64_t taken_us = std::min(wanted_us, left_us);
            taken_us_ += taken_us;
            left_us -= taken_us;
        };
        bool is_ready = IsReady();
        if (modem < 0) {
            take(dead_port_look_us);
        } else if (!is_ready && !next_words.empty() && left_us >= kBetweenWords_us) {
            take(kBetweenWords_us);
            ModemSays(next_words.front());
            next_words.pop_front();
            is_ready = IsReady();
        }
        if (!is_ready) take(left_us);
        *timeout = {static_cast<time_t>(left_us / kUsPerSecond),
                    static_cast<suseconds_t>(left_us % kUsPerSecond)};
        return is_ready ? 1 : 0;
    }

    bool IsReady() const {
        pollfd look = {port, POLLIN, 0};
        return poll(&look, 1, 0) == 1;
    }

    int64_t TakenMs() const { return taken_us_ / kUsPerMs; }
    int64_t TakenUs() const { return taken_us_; }

    std::deque<std::string> next_words;
    int64_t dead_port_look_us = 0;
    int64_t oversleep_us = 0;  // of each sleep: a busy machine wakes nobody in time

  private:
    int64_t taken_us_ = 0;
};

TEST_F(TimedRead, TenBytesThenSilenceGiveTenWhenTheTimeoutHasRunOut) {
    ModemSays("0123456789");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port, buffer, sizeof(buffer), 30), 10);
    EXPECT_EQ(TakenMs(), 30);
    EXPECT_EQ(std::string(buffer, 11), std::string("0123456789\0", 11)) << "nothing stored after them";
}

TEST_F(TimedRead, BytesThatComeInTurnsAreCollected) {
    next_words = {"+CSQ", ": 20", ",99\r\n"};
    char buffer[13] = "";
    EXPECT_EQ(ReadSerialTimed(port, buffer, sizeof(buffer), 2000), 13);
    EXPECT_EQ(std::string(buffer, 13), "+CSQ: 20,99\r\n");
    EXPECT_EQ(TakenMs(), 9) << "at once when the last one is in";
}

TEST_F(TimedRead, BytesThatComeTooLateStayInThePort) {
    next_words = {"AB", "CD", "EF"};
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port, buffer, sizeof(buffer), 8), 4);
    EXPECT_EQ(TakenMs(), 8);
    EXPECT_EQ(ReadSerialTimed(port, buffer, sizeof(buffer), 8), 2);
}

// A pseudo terminal may yield what it held when it was pulled out, or not.
TEST_F(TimedRead, PortThatIsPulledOutEndsWithTheTimeout) {
    ModemSays("AB");
    PullOut();
    char buffer[256] = "";
    EXPECT_LE(ReadSerialTimed(port, buffer, sizeof(buffer), 5), 2);
    EXPECT_EQ(TakenMs(), 5) << "a dead port looks like silence";
}

TEST_F(TimedRead, DeadPortIsLookedAtOnceAMillisecondForAllOfTheTimeout) {
    PullOut();
    char buffer[256] = "";
    EXPECT_LE(ReadSerialTimed(port, buffer, sizeof(buffer), 1500), 0);
    EXPECT_EQ(TakenUs(), 1500 * kUsPerMs);
    EXPECT_EQ(calls.timeouts.size(), 1500U);
    EXPECT_EQ(calls.sleeps_us, std::vector<int64_t>(1500, kUsPerMs));
    EXPECT_EQ(calls.timeouts.back().tv_sec, 0);
    EXPECT_EQ(calls.timeouts.back().tv_usec, 1000);
}

TEST_F(TimedRead, LookAtADeadPortThatTakesTimeIsFollowedByTheRestOfTheMillisecond) {
    const struct {
        int64_t look_us;
        std::vector<int64_t> sleeps_us;
    } cases[] = {{400, {600, 600, 600, 600, 600}}, {999, {1, 1, 1, 1, 1}}, {1000, {}}, {2500, {}}};
    PullOut();
    for (const auto& row : cases) {
        dead_port_look_us = row.look_us;
        calls.sleeps_us.clear();
        const int64_t start_us = TakenUs();
        char buffer[256] = "";
        ReadSerialTimed(port, buffer, sizeof(buffer), 5);
        EXPECT_EQ(TakenUs() - start_us, 5 * kUsPerMs) << row.look_us;
        EXPECT_EQ(calls.sleeps_us, row.sleeps_us) << row.look_us;
    }
}

TEST_F(TimedRead, SleepsThatEndLateDoNotAddUp) {
    PullOut();
    oversleep_us = 700;
    char buffer[256] = "";
    ReadSerialTimed(port, buffer, sizeof(buffer), 1000);
    EXPECT_GE(TakenUs(), 1000 * kUsPerMs);
    EXPECT_LE(TakenUs(), 1000 * kUsPerMs + oversleep_us);
    // The last one isn't longer than what is left.
    calls.sleeps_us.clear();
    ReadSerialTimed(port, buffer, sizeof(buffer), 2);
    EXPECT_EQ(calls.sleeps_us, (std::vector<int64_t>{1000, 300}));
}

/// Reads of a made-up port: each wait takes 1 ms and then reports data.
class ScriptedRead : public PseudoTerminalTest {
  protected:
    static constexpr char kUntouched = '#';
    static constexpr int kMargin = 64;

    void SetUp() override {
        PseudoTerminalTest::SetUp();
        calls = Calls();
        fakes_reads = true;
        memset(memory, kUntouched, sizeof(memory));
        calls.select = [](timeval* timeout) {
            if (timeout->tv_usec == 0 && timeout->tv_sec == 0) return 0;
            if (timeout->tv_usec == 0) {
                timeout->tv_sec -= 1;
                timeout->tv_usec = 1000000;
            }
            timeout->tv_usec -= 1000;
            return 1;
        };
    }

    /// Waits take no time at all, as on a port that has gone; sleeps are as long as they should be.
    void TakeNoTimeToLook() {
        calls.select = [](timeval*) { return 1; };
        calls.usleep = [this](int64_t asked_us) { slept_us += asked_us; };
        calls.now_us = [this] { return slept_us; };
    }

    void TearDown() override {
        fakes_reads = false;
        PseudoTerminalTest::TearDown();
    }

    static std::function<ssize_t(void*, size_t)> Brings(const std::string& text) {
        return [text](void* buffer, size_t count) {
            const size_t length = std::min(count, text.size());
            memcpy(buffer, text.data(), length);
            return static_cast<ssize_t>(length);
        };
    }

    static std::function<ssize_t(void*, size_t)> Fails() {
        return [](void*, size_t) {
            errno = EIO;
            return static_cast<ssize_t>(-1);
        };
    }

    std::string InFront() { return {memory, kMargin}; }
    std::string Stored(int count) { return {test_buffer, static_cast<size_t>(count)}; }

    char memory[kMargin + 256 + kMargin];
    char* test_buffer = memory + kMargin;
    int64_t slept_us = 0;
};

TEST_F(ScriptedRead, Timeout1500GivesOneSecondAnd500000Microseconds) {
    calls.select = [](timeval*) { return 0; };
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 1500), 0);
    ASSERT_EQ(calls.timeouts.size(), 1U);
    EXPECT_EQ(calls.timeouts[0].tv_sec, 1);
    EXPECT_EQ(calls.timeouts[0].tv_usec, 500000);
    EXPECT_EQ(calls.bounds, std::vector<int>{1024});
}

TEST_F(ScriptedRead, TimeoutCoversTheWholeCall) {
    calls.reads = {Brings("a"), Brings("b"), Brings("c"), Brings("d")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 3), 3);
    EXPECT_EQ(Stored(3), "abc");
    ASSERT_EQ(calls.timeouts.size(), 3U) << "no wait without time left";
    EXPECT_EQ(calls.timeouts[1].tv_usec, 2000);
    EXPECT_EQ(calls.timeouts[2].tv_usec, 1000);
    EXPECT_EQ(calls.read_counts, (std::vector<size_t>{256, 255, 254}));
}

TEST_F(ScriptedRead, WholeSecondThatIsLeftIsWaitedFor) {
    calls.reads = {Brings("a"), Brings("b")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 2, 1001), 2);
    EXPECT_EQ(calls.timeouts.at(1).tv_sec, 1);
    EXPECT_EQ(calls.timeouts.at(1).tv_usec, 0);
}

TEST_F(ScriptedRead, LastMicrosecondThatIsLeftIsWaitedFor) {
    calls.reads = {Brings("a"), Brings("b")};
    calls.select = [](timeval* timeout) {
        *timeout = {0, 1};
        return 1;
    };
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 2, 1000), 2);
}

TEST_F(ScriptedRead, WaitThatFailsEndsWithWhatIsCollected) {
    calls.reads = {Brings("abc")};
    calls.select = [](timeval*) { return calls.read_counts.empty() ? 1 : -1; };
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 1000), 3);
}

TEST_F(ScriptedRead, EachErrorTakesOneOffAndNothingIsWrittenInFront) {
    calls.reads = {Fails(), Fails(), Fails(), Brings("abcde")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 4), 2);
    EXPECT_EQ(Stored(5), "abcde");
    EXPECT_EQ(InFront(), std::string(kMargin, kUntouched));
    for (const void* place : calls.read_places) EXPECT_EQ(place, test_buffer);
    for (const size_t count : calls.read_counts) EXPECT_EQ(count, 256U);
}

TEST_F(ScriptedRead, ErrorBehindBytesMovesTheNextReadOneBack) {
    calls.reads = {Brings("abcde"), Fails(), Brings("XY")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 3), 6);
    EXPECT_EQ(Stored(6), "abcdXY");
}

TEST_F(ScriptedRead, PortOfErrorsEndsWithANegativeTotal) {
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 1500), -1500);
    EXPECT_EQ(std::string(memory, sizeof(memory)), std::string(sizeof(memory), kUntouched));
}

TEST_F(ScriptedRead, PortThatGoesBehindItsBytesEndsWithThemWhenTheTimeoutHasRunOut) {
    TakeNoTimeToLook();
    calls.reads = {Brings("abc"), Brings("de")};
    calls.reads.resize(1000, Brings(""));  // a hang-up
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 300), 5);
    EXPECT_EQ(Stored(5), "abcde");
    EXPECT_EQ(calls.read_counts.size(), 302U);
    EXPECT_EQ(slept_us, 300000);
}

TEST_F(ScriptedRead, EachErrorOfADeadPortTakesOneOff) {
    TakeNoTimeToLook();
    calls.reads = {Brings("abc")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 300), 3 - 300);
    EXPECT_EQ(slept_us, 300000);
}

TEST_F(ScriptedRead, ReadThatBringsBytesIsFollowedByTheNextAtOnce) {
    TakeNoTimeToLook();
    calls.reads = {Brings("abc"), Brings("de"), Brings("f")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 6, 300), 6);
    EXPECT_TRUE(calls.sleeps_us.empty());
}

TEST_F(ScriptedRead, NothingWantedIsNoDeadPort) {
    TakeNoTimeToLook();
    calls.reads = {Brings("abc")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 0, 300), 0);
    EXPECT_TRUE(calls.sleeps_us.empty());
}

TEST_F(ScriptedRead, FullBufferIsNeverOverrun) {
    calls.reads = {Brings(std::string(200, 'a')), Fails(), Brings(std::string(200, 'b'))};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, 1000), 256);
    EXPECT_EQ(std::string(test_buffer + 256, kMargin), std::string(kMargin, kUntouched));
}

TEST_F(ScriptedRead, DescriptorThatNoSetHoldsReadsNothing) {
    for (const int fd : {-1, INT_MIN, FD_SETSIZE, FD_SETSIZE + 1, INT_MAX}) {
        EXPECT_EQ(ReadSerialTimed(fd, test_buffer, 256, 1000), 0) << fd;
        EXPECT_EQ(ReadSerialTimed2(fd, test_buffer, 256, 1000, 1000), 0) << fd;
    }
    EXPECT_TRUE(calls.timeouts.empty());
    EXPECT_TRUE(calls.read_counts.empty());
}

TEST_F(ScriptedRead, FirstAndLastDescriptorThatASetHoldsAreRead) {
    for (const int fd : {0, FD_SETSIZE - 1}) {
        calls.reads = {Brings("abc")};
        EXPECT_EQ(ReadSerialTimed(fd, test_buffer, 3, 1000), 3) << fd;
        EXPECT_EQ(Stored(3), "abc");
    }
}

TEST_F(ScriptedRead, NegativeTimeoutOrCountIsHarmless) {
    calls.reads = {Brings("abc"), Brings("abc"), Brings("abc")};
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 0, 1), 0);
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, -5, 1), 0);
    EXPECT_EQ(calls.read_counts, (std::vector<size_t>{0, 0}));
    calls.select = nullptr;
    EXPECT_EQ(ReadSerialTimed(port, test_buffer, 256, -1500), 0);
    EXPECT_EQ(std::string(memory, sizeof(memory)), std::string(sizeof(memory), kUntouched));
}

TEST_F(ScriptedRead, SecondFormSetsTheTimeAfreshForEachWait) {
    calls.reads = {Brings("a"), Brings("b"), Brings("c")};
    EXPECT_EQ(ReadSerialTimed2(port, test_buffer, 3, 2500, 50), 3);
    EXPECT_EQ(Stored(3), "abc");
    ASSERT_EQ(calls.timeouts.size(), 3U);
    EXPECT_EQ(calls.timeouts[0].tv_sec, 2);
    EXPECT_EQ(calls.timeouts[0].tv_usec, 500000);
    for (const size_t i : {1, 2}) {
        EXPECT_EQ(calls.timeouts[i].tv_sec, 0);
        EXPECT_EQ(calls.timeouts[i].tv_usec, 50000);
    }
}

TEST_F(ScriptedRead, SecondFormGivesZeroWhenTheFirstWaitFails) {
    calls.select = [](timeval*) { return 0; };
    EXPECT_EQ(ReadSerialTimed2(port, test_buffer, 3, 100, 50), 0);
    EXPECT_EQ(calls.timeouts.size(), 1U);
}

TEST_F(ScriptedRead, SecondFormEndsWhenAWaitLeavesNoTime) {
    calls.reads = {Brings("a"), Brings("b"), Brings("c")};
    EXPECT_EQ(ReadSerialTimed2(port, test_buffer, 256, 100, 1), 1);
}

TEST_F(ScriptedRead, SecondFormCountsAnErrorAndGoesOn) {
    calls.reads = {Brings("ab"), Fails(), Brings(""), Brings("cd")};
    EXPECT_EQ(ReadSerialTimed2(port, test_buffer, 3, 100, 50), 3);
    EXPECT_EQ(Stored(3), "acd");
}

TEST_F(ScriptedRead, SecondFormGivesADeadPortUp) {
    EXPECT_EQ(ReadSerialTimed2(port, test_buffer, 256, 100, 50), -100);
    EXPECT_EQ(std::string(memory, sizeof(memory)), std::string(sizeof(memory), kUntouched));
    calls.reads.assign(99, Brings(""));
    calls.reads.push_back(Brings("ab"));
    EXPECT_EQ(ReadSerialTimed2(port, test_buffer, 2, 100, 50), 2);
}

TEST_F(ScriptedRead, SecondFormCountsEmptyReadsAfreshBehindBytes) {
    calls.reads.assign(50, Brings(""));
    calls.reads.push_back(Brings("a"));
    calls.reads.resize(calls.reads.size() + 99, Brings(""));
    calls.reads.push_back(Brings("b"));
    EXPECT_EQ(ReadSerialTimed2(port, test_buffer, 2, 100, 50), 2);
    EXPECT_EQ(Stored(2), "ab");
}

}  // namespace
