// The serial layer on a real pseudo terminal, with the calls into the terminal interface watched. No test
// looks at a real clock: where the time that a read takes matters, select is made up and keeps the time.
// Reads of a broken port run on a made-up read too, because a pseudo terminal can't be broken in every way.
#include "support/serial_port.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace {

struct Calls {
    std::vector<std::string> order;       // of terminal calls
    std::vector<speed_t> speeds;          // handed to the two setters
    std::vector<int> speed_results;       // of the two setters
    std::vector<termios> applied;         // handed to tcsetattr
    int failing_get = -1;                 // this one of the tcgetattr calls, counted from 0, fails
    int failing_set = -1;                 // the same for tcsetattr
    std::vector<timeval> timeouts;        // as given to select
    std::vector<int> bounds;              // of select
    std::function<int(timeval*)> select;  // takes the place of select
    std::deque<std::function<ssize_t(void*, size_t)>> reads;  // take the place of read, one a call
    std::vector<size_t> read_counts;
    std::vector<const void*> read_places;
} calls;

bool fakes_reads = false;

}  // namespace

extern "C" {
int __real_tcgetattr(int fd, termios* attributes);
int __real_tcsetattr(int fd, int actions, const termios* attributes);
int __real_tcflush(int fd, int queue);
int __real_cfsetispeed(termios* attributes, speed_t speed);
int __real_cfsetospeed(termios* attributes, speed_t speed);
int __real_select(int bound, fd_set* in, fd_set* out, fd_set* other, timeval* timeout);
ssize_t __real_read(int fd, void* buffer, size_t count);

int __wrap_tcgetattr(int fd, termios* attributes) {
    calls.order.emplace_back("get");
    if (calls.failing_get-- == 0) {
        errno = EIO;
        return -1;
    }
    return __real_tcgetattr(fd, attributes);
}

int __wrap_tcsetattr(int fd, int actions, const termios* attributes) {
    calls.order.emplace_back(actions == TCSANOW ? "set now" : "set");
    calls.applied.push_back(*attributes);
    if (calls.failing_set-- == 0) {
        errno = EIO;
        return -1;
    }
    return __real_tcsetattr(fd, actions, attributes);
}

int __wrap_tcflush(int fd, int queue) {
    calls.order.emplace_back(queue == TCIOFLUSH ? "flush both" : queue == TCIFLUSH ? "flush input" : "flush");
    return __real_tcflush(fd, queue);
}

int __wrap_cfsetispeed(termios* attributes, speed_t speed) {
    calls.speeds.push_back(speed);
    calls.speed_results.push_back(__real_cfsetispeed(attributes, speed));
    return calls.speed_results.back();
}

int __wrap_cfsetospeed(termios* attributes, speed_t speed) {
    calls.speeds.push_back(speed);
    calls.speed_results.push_back(__real_cfsetospeed(attributes, speed));
    return calls.speed_results.back();
}

int __wrap_select(int bound, fd_set* in, fd_set* out, fd_set* other, timeval* timeout) {
    calls.bounds.push_back(bound);
    calls.timeouts.push_back(*timeout);
    return calls.select ? calls.select(timeout) : __real_select(bound, in, out, other, timeout);
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

constexpr int kMainSpeed = 115200;
constexpr int kPatienceMs = 120000;  // only ever used up by a port that has lost its bytes

class SerialPort : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(openpty(&modem_, &port_, name_, nullptr, nullptr), 0);
        calls = Calls();
        fakes_reads = false;
    }

    void TearDown() override {
        fakes_reads = false;
        calls = Calls();
        close(port_);
        if (modem_ >= 0) close(modem_);
    }

    int SetUpLine(int speed, int data_bits, int stop_bits, char parity) {
        calls = Calls();
        return SetupQuietly(speed, data_bits, stop_bits, parity);
    }

    int SetupQuietly(int speed, int data_bits, int stop_bits, char parity, int fd = -1) {
        testing::internal::CaptureStderr();
        const int result = SetupSerial(fd >= 0 ? fd : port_, speed, data_bits, stop_bits, parity);
        errors_ = testing::internal::GetCapturedStderr();
        return result;
    }

    termios Attributes() {
        termios attributes = {};
        EXPECT_EQ(__real_tcgetattr(port_, &attributes), 0);
        return attributes;
    }

    void Apply(const termios& attributes) { ASSERT_EQ(__real_tcsetattr(port_, TCSANOW, &attributes), 0); }

    /// On return all of it can be read: a pseudo terminal hands bytes over in its own time.
    void ModemSays(const std::string& text) {
        const int before = Unread();
        ASSERT_EQ(write(modem_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        const int wanted = before + static_cast<int>(text.size());
        for (int waited_ms = 0; Unread() < wanted && waited_ms < kPatienceMs; ++waited_ms)
            poll(nullptr, 0, 1);
        ASSERT_EQ(Unread(), wanted);
    }

    int Unread() const {
        int count = 0;
        EXPECT_EQ(ioctl(port_, FIONREAD, &count), 0);
        return count;
    }

    long CallsOf(const std::string& name) { return std::count(calls.order.begin(), calls.order.end(), name); }

    int modem_ = -1;
    int port_ = -1;
    char name_[64] = "";
    std::string errors_;
};

bool SameAttributes(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && memcmp(a.c_cc, b.c_cc, sizeof(a.c_cc)) == 0 &&
           cfgetispeed(&a) == cfgetispeed(&b) && cfgetospeed(&a) == cfgetospeed(&b);
}

// Open, write, close

TEST_F(SerialPort, OpensReadWriteAndBlocking) {
    const int fd = OpenSerial(name_);
    ASSERT_GT(fd, 0);
    const int flags = fcntl(fd, F_GETFL);
    EXPECT_EQ(flags & O_ACCMODE, O_RDWR);
    EXPECT_EQ(flags & O_NONBLOCK, 0);
    EXPECT_EQ(CloseSerial(fd), 0);
    EXPECT_EQ(CloseSerial(fd), -1);
}

TEST_F(SerialPort, OpeningADeviceThatIsNotThereFails) {
    EXPECT_LT(OpenSerial("/dev/no_such_modem"), 1);
    EXPECT_LT(OpenSerial("/dev"), 1);
    EXPECT_LT(OpenSerial(""), 1);
}

TEST_F(SerialPort, WritesBytesAsTheyAre) {
    ASSERT_EQ(SetUpLine(kMainSpeed, 8, 1, 'N'), 0);
    const char bytes[] = "AT\r\n\0\xFF\x03";
    ASSERT_EQ(WriteSerial(port_, bytes, sizeof(bytes)), static_cast<ssize_t>(sizeof(bytes)));
    std::string arrived;
    while (arrived.size() < sizeof(bytes)) {
        char piece[32];
        const ssize_t count = read(modem_, piece, sizeof(piece));
        ASSERT_GT(count, 0);
        arrived.append(piece, static_cast<size_t>(count));
    }
    EXPECT_EQ(arrived, std::string(bytes, sizeof(bytes)));
    EXPECT_EQ(WriteSerial(-1, bytes, 1), -1);
}

// Set-up

TEST_F(SerialPort, UnknownSpeedFlushesTenTimesAndAppliesNothingBeforeTheRawSetup) {
    const termios before = Attributes();
    EXPECT_EQ(SetUpLine(100000, 8, 1, 'N'), 0);
    EXPECT_EQ(CallsOf("flush both"), 10);
    EXPECT_TRUE(calls.speeds.empty());
    EXPECT_EQ(CallsOf("set now"), 1) << "the raw set-up alone";
    EXPECT_EQ(errors_, "");
    const termios after = Attributes();
    EXPECT_EQ(cfgetospeed(&after), cfgetospeed(&before));
}

TEST_F(SerialPort, EachSpeedOfTheTableIsHandedOverAsItsNumberAfterAFlushPerRow) {
    const int speeds[] = {230400, 115200, 57600, 38400, 19200, 9600, 4800, 2400, 1200, 300};
    long row = 0;
    for (const int speed : speeds) {
        EXPECT_EQ(SetUpLine(speed, 8, 1, 'N'), 0);
        EXPECT_EQ(CallsOf("flush both"), ++row) << speed;
        EXPECT_EQ(calls.speeds, (std::vector<speed_t>(2, static_cast<speed_t>(speed))));
    }
}

TEST_F(SerialPort, SpeedThatTheLibraryRefusesLeavesTheSpeedOfThePort) {
    termios before = Attributes();
    ASSERT_EQ(__real_cfsetospeed(&before, B9600), 0);
    Apply(before);
    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 1, 'N'), 0);
    if (calls.speed_results != std::vector<int>{-1, -1}) GTEST_SKIP() << "the library takes plain numbers";
    const termios after = Attributes();
    EXPECT_EQ(cfgetospeed(&after), static_cast<speed_t>(B9600));
    EXPECT_EQ(errors_, "");
}

TEST_F(SerialPort, CallsComeInTheirOrder) {
    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 1, 'N'), 0);
    const std::vector<std::string> expected = {"get", "flush both",  "flush both", "set now",
                                               "get", "flush input", "set now"};
    EXPECT_EQ(calls.order, expected);
}

TEST_F(SerialPort, LineBecomesRawAndTheRestStays) {
    constexpr tcflag_t kLocal = ISIG | ICANON | ECHO | ECHOE;
    constexpr tcflag_t kOutput = OPOST | OLCUC | ONLCR | OCRNL | ONOCR | ONLRET;
    constexpr tcflag_t kInput = IGNBRK | INLCR | IGNCR | ICRNL | IXON | IXANY | IXOFF;
    termios before = Attributes();
    before.c_lflag |= kLocal | IEXTEN | ECHOK;
    before.c_oflag |= kOutput | OFILL;
    before.c_iflag |= kInput | BRKINT | ISTRIP;
    before.c_cflag |= CREAD | CLOCAL | CRTSCTS;
    Apply(before);
    before = Attributes();

    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 1, 'N'), 0);
    const termios after = Attributes();
    EXPECT_EQ(after.c_lflag, before.c_lflag & ~kLocal);
    EXPECT_EQ(after.c_oflag, before.c_oflag & ~kOutput);
    EXPECT_EQ(after.c_iflag, (before.c_iflag & ~kInput) | INPCK);
    EXPECT_EQ(after.c_cflag & (CREAD | CLOCAL | CRTSCTS), before.c_cflag & (CREAD | CLOCAL | CRTSCTS));
    EXPECT_EQ(after.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
    EXPECT_EQ(after.c_cc[VTIME], 150);
    EXPECT_EQ(after.c_cc[VMIN], 0);
}

TEST_F(SerialPort, SixDataBitsGiveMinus2AndLeaveTheAttributes) {
    const termios before = Attributes();
    EXPECT_EQ(SetUpLine(kMainSpeed, 6, 1, 'N'), -2);
    EXPECT_EQ(errors_, "Unsupported data size\n");
    EXPECT_TRUE(SameAttributes(before, Attributes()));
    EXPECT_EQ(CallsOf("set now"), 1) << "the speed step alone";
}

TEST_F(SerialPort, SevenDataBitsReplaceTheSize) {
    SetUpLine(kMainSpeed, 7, 1, 'N');  // a pseudo terminal keeps 8 bits, so that only the request can be seen
    ASSERT_EQ(calls.applied.size(), 2U);
    EXPECT_EQ(calls.applied[1].c_cflag & CSIZE, static_cast<tcflag_t>(CS7));
}

TEST_F(SerialPort, ParityLettersSetTheirFlags) {
    const struct {
        char letter;
        tcflag_t control_set, control_cleared, input_set;
    } cases[] = {
        {'E', PARENB, PARODD, INPCK},     {'e', PARENB, PARODD, INPCK}, {'O', PARENB | PARODD, 0, INPCK},
        {'o', PARENB | PARODD, 0, INPCK}, {'N', 0, PARENB, INPCK},      {'n', 0, PARENB, 0},
        {'S', 0, PARENB, INPCK},          {'s', 0, PARENB, INPCK},
    };
    for (const tcflag_t start_input : {tcflag_t{0}, tcflag_t{INPCK}}) {
        for (const auto& c : cases) {
            termios before = Attributes();
            before.c_iflag = (before.c_iflag & ~static_cast<tcflag_t>(INPCK)) | start_input;
            before.c_cflag |= PARODD;
            Apply(before);
            SetUpLine(kMainSpeed, 8, 1, c.letter);
            ASSERT_EQ(calls.applied.size(), 2U);
            const termios& request = calls.applied[1];
            EXPECT_EQ(request.c_cflag & c.control_set, c.control_set) << c.letter;
            EXPECT_EQ(request.c_cflag & c.control_cleared, 0U) << c.letter;
            EXPECT_EQ(request.c_iflag & INPCK, c.input_set) << c.letter;
        }
    }
}

TEST_F(SerialPort, CapitalNLeavesInputParityCheckingOnAndSmallNDoesNot) {
    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 1, 'N'), 0);
    EXPECT_NE(Attributes().c_iflag & INPCK, 0U);
    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 1, 'n'), 0);
    EXPECT_EQ(Attributes().c_iflag & INPCK, 0U);
}

TEST_F(SerialPort, UnknownParityWinsOverUnknownStopBits) {
    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 3, 'X'), -3);
    EXPECT_EQ(errors_, "Unsupported parity\n");
    EXPECT_EQ(CallsOf("set now"), 1);
}

TEST_F(SerialPort, UnknownStopBitsGiveMinus4) {
    const termios before = Attributes();
    for (const int stop_bits : {0, 3, -1}) {
        EXPECT_EQ(SetUpLine(kMainSpeed, 8, stop_bits, 'N'), -4);
        EXPECT_EQ(errors_, "Unsupported stop bits\n");
    }
    EXPECT_TRUE(SameAttributes(before, Attributes()));
}

TEST_F(SerialPort, StopBitsSetTheirFlag) {
    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 2, 'N'), 0);
    EXPECT_NE(Attributes().c_cflag & CSTOPB, 0U);
    EXPECT_EQ(SetUpLine(kMainSpeed, 8, 1, 'N'), 0);
    EXPECT_EQ(Attributes().c_cflag & CSTOPB, 0U);
}

TEST_F(SerialPort, FirstReadingOfTheAttributesMayFail) {
    calls.failing_get = 0;
    EXPECT_EQ(SetupQuietly(100000, 8, 1, 'N'), 0);
    EXPECT_EQ(errors_, "");
}

TEST_F(SerialPort, SecondReadingOfTheAttributesThatFailsGivesMinus1) {
    calls.failing_get = 1;
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N'), -1);
    EXPECT_EQ(errors_, "SetupSerial 1. errno = " + std::to_string(EIO) + "\n");
}

TEST_F(SerialPort, ApplyingTheSpeedMayFailWithAWord) {
    calls.failing_set = 0;
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N'), 0);
    EXPECT_EQ(errors_, "tcsetattr fd1: Input/output error\n");
}

TEST_F(SerialPort, LastApplyingThatFailsGivesMinus5) {
    calls.failing_set = 1;
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N'), -5);
    EXPECT_EQ(errors_, "SetupSerial 3. errno = " + std::to_string(EIO) + "\n");
}

TEST_F(SerialPort, SomethingThatIsNoTerminalGivesMinus1) {
    const int file = open("/dev/null", O_RDWR);
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N', file), -1);
    EXPECT_EQ(errors_, "tcsetattr fd1: Inappropriate ioctl for device\nSetupSerial 1. errno = " +
                           std::to_string(ENOTTY) + "\n");
    close(file);
}

// Timed read, on the real port

class SerialRead : public SerialPort {
  protected:
    void SetUp() override {
        SerialPort::SetUp();
        ASSERT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N'), 0);
        calls = Calls();
    }

    void PullOut() {
        close(modem_);
        modem_ = -1;
    }
};

TEST_F(SerialRead, WantedBytesEndTheReadAndTheRestStaysInThePort) {
    ModemSays("0123456789");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port_, buffer, 4, 60000), 4);
    EXPECT_EQ(ReadSerialTimed(port_, buffer + 4, 6, 60000), 6);
    EXPECT_STREQ(buffer, "0123456789");
}

TEST_F(SerialRead, OneMillisecondOnAnEmptyPortGivesZeroAtOnce) {
    char buffer[256] = "x";
    EXPECT_EQ(ReadSerialTimed(port_, buffer, sizeof(buffer), 1), 0);
    EXPECT_EQ(buffer[0], 'x');
    ASSERT_EQ(calls.timeouts.size(), 1U);
    EXPECT_EQ(calls.timeouts[0].tv_sec, 0);
    EXPECT_EQ(calls.timeouts[0].tv_usec, 1000);
}

TEST_F(SerialRead, TimeoutOfZeroTakesWhatIsThere) {
    ModemSays("abc");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port_, buffer, sizeof(buffer), 0), 3);
    EXPECT_EQ(ReadSerialTimed(port_, buffer, sizeof(buffer), 0), 0);
}

TEST_F(SerialRead, SecondFormEndsWhenThePortFallsSilent) {
    ModemSays("0123456789");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed2(port_, buffer, sizeof(buffer), 60000, 5), 10);
    EXPECT_EQ(ReadSerialTimed2(port_, buffer, sizeof(buffer), 5, 60000), 0);
}

TEST_F(SerialRead, SecondFormEndsOnAPortThatIsPulledOut) {
    char buffer[256] = "";
    PullOut();
    EXPECT_LE(ReadSerialTimed2(port_, buffer, sizeof(buffer), 60000, 60000), 0);
}

// Timed read, on the real port with waits that take made-up time

class TimedRead : public SerialRead {
  protected:
    static constexpr int64_t kUsPerSecond = 1000000;
    static constexpr int64_t kUsPerMs = 1000;
    static constexpr int64_t kBetweenWordsUs = 3 * kUsPerMs;
    static constexpr int64_t kLookAtADeadPortUs = 1 * kUsPerMs;

    void SetUp() override {
        SerialRead::SetUp();
        calls.select = [this](timeval* timeout) { return Wait(timeout); };
    }

    /// What is in the port is there at once. Silence takes time: until the modem's next word, if that comes
    /// within the time-out. A dead port is always ready, and somebody who looks at it takes time.
    int Wait(timeval* timeout) {
        int64_t left_us = timeout->tv_sec * kUsPerSecond + timeout->tv_usec;
        const auto take = [this, &left_us](int64_t wanted_us) {
            const int64_t taken_us = std::min(wanted_us, left_us);
            taken_us_ += taken_us;
            left_us -= taken_us;
        };
        bool is_ready = IsReady();
        if (modem_ < 0) {
            take(kLookAtADeadPortUs);
        } else if (!is_ready && !next_words_.empty() && left_us >= kBetweenWordsUs) {
            take(kBetweenWordsUs);
            ModemSays(next_words_.front());
            next_words_.pop_front();
            is_ready = IsReady();
        }
        if (!is_ready) take(left_us);
        *timeout = {static_cast<time_t>(left_us / kUsPerSecond),
                    static_cast<suseconds_t>(left_us % kUsPerSecond)};
        return is_ready ? 1 : 0;
    }

    bool IsReady() const {
        pollfd look = {port_, POLLIN, 0};
        return poll(&look, 1, 0) == 1;
    }

    int64_t TakenMs() const { return taken_us_ / kUsPerMs; }

    std::deque<std::string> next_words_;

  private:
    int64_t taken_us_ = 0;
};

TEST_F(TimedRead, TenBytesThenSilenceGiveTenWhenTheTimeoutHasRunOut) {
    ModemSays("0123456789");
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port_, buffer, sizeof(buffer), 30), 10);
    EXPECT_EQ(TakenMs(), 30);
    EXPECT_EQ(std::string(buffer, 11), std::string("0123456789\0", 11)) << "nothing stored after them";
}

TEST_F(TimedRead, BytesThatComeInTurnsAreCollected) {
    next_words_ = {"+CSQ", ": 20", ",99\r\n"};
    char buffer[13] = "";
    EXPECT_EQ(ReadSerialTimed(port_, buffer, sizeof(buffer), 2000), 13);
    EXPECT_EQ(std::string(buffer, 13), "+CSQ: 20,99\r\n");
    EXPECT_EQ(TakenMs(), 9) << "at once when the last one is in";
}

TEST_F(TimedRead, BytesThatComeTooLateStayInThePort) {
    next_words_ = {"AB", "CD", "EF"};
    char buffer[256] = "";
    EXPECT_EQ(ReadSerialTimed(port_, buffer, sizeof(buffer), 8), 4);
    EXPECT_EQ(TakenMs(), 8);
    EXPECT_EQ(ReadSerialTimed(port_, buffer, sizeof(buffer), 8), 2);
}

// A pseudo terminal may yield what it held when it was pulled out, or not.
TEST_F(TimedRead, PortThatIsPulledOutEndsWithTheTimeout) {
    ModemSays("AB");
    PullOut();
    char buffer[256] = "";
    EXPECT_LE(ReadSerialTimed(port_, buffer, sizeof(buffer), 5), 2);
    EXPECT_EQ(TakenMs(), 5) << "a dead port looks like silence";
}

// Timed read, on a made-up port: each wait takes 1 ms and then reports data

class ScriptedRead : public SerialPort {
  protected:
    static constexpr char kUntouched = '#';
    static constexpr int kMargin = 64;

    void SetUp() override {
        SerialPort::SetUp();
        fakes_reads = true;
        memset(memory_, kUntouched, sizeof(memory_));
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

    std::string InFront() { return {memory_, kMargin}; }
    std::string Stored(int count) { return {buffer_, static_cast<size_t>(count)}; }

    char memory_[kMargin + 256 + kMargin];
    char* buffer_ = memory_ + kMargin;
};

TEST_F(ScriptedRead, Timeout1500GivesOneSecondAnd500000Microseconds) {
    calls.select = [](timeval*) { return 0; };
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, 1500), 0);
    ASSERT_EQ(calls.timeouts.size(), 1U);
    EXPECT_EQ(calls.timeouts[0].tv_sec, 1);
    EXPECT_EQ(calls.timeouts[0].tv_usec, 500000);
    EXPECT_EQ(calls.bounds, std::vector<int>{1024});
}

TEST_F(ScriptedRead, TimeoutCoversTheWholeCall) {
    calls.reads = {Brings("a"), Brings("b"), Brings("c"), Brings("d")};
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, 3), 3);
    EXPECT_EQ(Stored(3), "abc");
    ASSERT_EQ(calls.timeouts.size(), 3U) << "no wait without time left";
    EXPECT_EQ(calls.timeouts[1].tv_usec, 2000);
    EXPECT_EQ(calls.timeouts[2].tv_usec, 1000);
    EXPECT_EQ(calls.read_counts, (std::vector<size_t>{256, 255, 254}));
}

TEST_F(ScriptedRead, WaitThatFailsEndsWithWhatIsCollected) {
    calls.reads = {Brings("abc")};
    calls.select = [](timeval*) { return calls.read_counts.empty() ? 1 : -1; };
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, 1000), 3);
}

TEST_F(ScriptedRead, EachErrorTakesOneOffAndNothingIsWrittenInFront) {
    calls.reads = {Fails(), Fails(), Fails(), Brings("abcde")};
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, 4), 2);
    EXPECT_EQ(Stored(5), "abcde");
    EXPECT_EQ(InFront(), std::string(kMargin, kUntouched));
    for (const void* place : calls.read_places) EXPECT_EQ(place, buffer_);
    for (const size_t count : calls.read_counts) EXPECT_EQ(count, 256U);
}

TEST_F(ScriptedRead, ErrorBehindBytesMovesTheNextReadOneBack) {
    calls.reads = {Brings("abcde"), Fails(), Brings("XY")};
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, 3), 6);
    EXPECT_EQ(Stored(6), "abcdXY");
}

TEST_F(ScriptedRead, PortOfErrorsEndsWithANegativeTotal) {
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, 1500), -1500);
    EXPECT_EQ(std::string(memory_, sizeof(memory_)), std::string(sizeof(memory_), kUntouched));
}

TEST_F(ScriptedRead, FullBufferIsNeverOverrun) {
    calls.reads = {Brings(std::string(200, 'a')), Fails(), Brings(std::string(200, 'b'))};
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, 1000), 256);
    EXPECT_EQ(std::string(buffer_ + 256, kMargin), std::string(kMargin, kUntouched));
}

TEST_F(ScriptedRead, DescriptorThatNoSetHoldsReadsNothing) {
    for (const int fd : {-1, INT_MIN, FD_SETSIZE, FD_SETSIZE + 1, INT_MAX}) {
        EXPECT_EQ(ReadSerialTimed(fd, buffer_, 256, 1000), 0) << fd;
        EXPECT_EQ(ReadSerialTimed2(fd, buffer_, 256, 1000, 1000), 0) << fd;
    }
    EXPECT_TRUE(calls.timeouts.empty());
    EXPECT_TRUE(calls.read_counts.empty());
}

TEST_F(ScriptedRead, NegativeTimeoutOrCountIsHarmless) {
    calls.reads = {Brings("abc"), Brings("abc"), Brings("abc")};
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 0, 1), 0);
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, -5, 1), 0);
    EXPECT_EQ(calls.read_counts, (std::vector<size_t>{0, 0}));
    calls.select = nullptr;
    EXPECT_EQ(ReadSerialTimed(port_, buffer_, 256, -1500), 0);
    EXPECT_EQ(std::string(memory_, sizeof(memory_)), std::string(sizeof(memory_), kUntouched));
}

TEST_F(ScriptedRead, SecondFormSetsTheTimeAfreshForEachWait) {
    calls.reads = {Brings("a"), Brings("b"), Brings("c")};
    EXPECT_EQ(ReadSerialTimed2(port_, buffer_, 3, 2500, 50), 3);
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
    EXPECT_EQ(ReadSerialTimed2(port_, buffer_, 3, 100, 50), 0);
    EXPECT_EQ(calls.timeouts.size(), 1U);
}

TEST_F(ScriptedRead, SecondFormEndsWhenAWaitLeavesNoTime) {
    calls.reads = {Brings("a"), Brings("b"), Brings("c")};
    EXPECT_EQ(ReadSerialTimed2(port_, buffer_, 256, 100, 1), 1);
}

TEST_F(ScriptedRead, SecondFormCountsAnErrorAndGoesOn) {
    calls.reads = {Brings("ab"), Fails(), Brings(""), Brings("cd")};
    EXPECT_EQ(ReadSerialTimed2(port_, buffer_, 3, 100, 50), 3);
    EXPECT_EQ(Stored(3), "acd");
}

TEST_F(ScriptedRead, SecondFormGivesADeadPortUp) {
    EXPECT_EQ(ReadSerialTimed2(port_, buffer_, 256, 100, 50), -100);
    EXPECT_EQ(std::string(memory_, sizeof(memory_)), std::string(sizeof(memory_), kUntouched));
    calls.reads.assign(99, Brings(""));
    calls.reads.push_back(Brings("ab"));
    EXPECT_EQ(ReadSerialTimed2(port_, buffer_, 2, 100, 50), 2);
}

}  // namespace
