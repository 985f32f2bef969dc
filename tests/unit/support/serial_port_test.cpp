// The serial layer on a real pseudo terminal, with the calls into the terminal interface watched: open, write
// and set-up. Timed reads: serial_port_read_test.cpp.
#include "support/serial_port.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/serial_port_fixture.h"

namespace {

struct Calls {
    std::vector<std::string> order;
    std::vector<speed_t> speeds;     // handed to the two setters
    std::vector<int> speed_results;  // of the two setters
    std::vector<termios> applied;    // handed to tcsetattr
    int failing_get = -1;            // this one of the tcgetattr calls, counted from 0, fails
    int failing_set = -1;            // the same for tcsetattr
    tcflag_t kept_flags = 0;         // of c_cflag, which a pseudo terminal would drop
} calls;

}  // namespace

extern "C" {
int __real_tcgetattr(int fd, termios* attributes);
int __real_tcsetattr(int fd, int actions, const termios* attributes);
int __real_tcflush(int fd, int queue);
int __real_cfsetispeed(termios* attributes, speed_t speed);
int __real_cfsetospeed(termios* attributes, speed_t speed);

int __wrap_tcgetattr(int fd, termios* attributes) {
    calls.order.emplace_back("get");
    if (calls.failing_get-- == 0) {
        errno = EIO;
        return -1;
    }
    const int result = __real_tcgetattr(fd, attributes);
    attributes->c_cflag |= calls.kept_flags;
    return result;
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
}

namespace {

constexpr int kMainSpeed = 115200;

class SerialPort : public PseudoTerminalTest {
  protected:
    SerialPort() { calls = Calls(); }

    int SetUpLine(int speed, int data_bits, int stop_bits, char parity) {
        calls = Calls();
        return SetupQuietly(speed, data_bits, stop_bits, parity);
    }

    int SetupQuietly(int speed, int data_bits, int stop_bits, char parity, int fd = -1) {
        testing::internal::CaptureStderr();
        const int result = SetupSerial(fd >= 0 ? fd : port, speed, data_bits, stop_bits, parity);
        errors = testing::internal::GetCapturedStderr();
        return result;
    }

    termios Attributes() {
        termios attributes = {};
        EXPECT_EQ(__real_tcgetattr(port, &attributes), 0);
        return attributes;
    }

    void Apply(const termios& attributes) { ASSERT_EQ(__real_tcsetattr(port, TCSANOW, &attributes), 0); }

    long CallsOf(const std::string& name) { return std::count(calls.order.begin(), calls.order.end(), name); }

    std::string errors;
};

bool SameAttributes(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && memcmp(a.c_cc, b.c_cc, sizeof(a.c_cc)) == 0 &&
           cfgetispeed(&a) == cfgetispeed(&b) && cfgetospeed(&a) == cfgetospeed(&b);
}

TEST_F(SerialPort, OpensReadWriteAndBlocking) {
    const int fd = OpenSerial(test_name);
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
    ASSERT_EQ(WriteSerial(port, bytes, sizeof(bytes)), static_cast<ssize_t>(sizeof(bytes)));
    std::string arrived;
    while (arrived.size() < sizeof(bytes)) {
        char piece[32];
        const ssize_t count = read(modem, piece, sizeof(piece));
        ASSERT_GT(count, 0);
        arrived.append(piece, static_cast<size_t>(count));
    }
    EXPECT_EQ(arrived, std::string(bytes, sizeof(bytes)));
    EXPECT_EQ(WriteSerial(-1, bytes, 1), -1);
}

TEST_F(SerialPort, UnknownSpeedFlushesTenTimesAndAppliesNothingBeforeTheRawSetup) {
    const termios before = Attributes();
    EXPECT_EQ(SetUpLine(100000, 8, 1, 'N'), 0);
    EXPECT_EQ(CallsOf("flush both"), 10);
    EXPECT_TRUE(calls.speeds.empty());
    EXPECT_EQ(CallsOf("set now"), 1) << "the raw set-up alone";
    EXPECT_EQ(errors, "");
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
    EXPECT_EQ(errors, "");
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
    EXPECT_EQ(errors, "Unsupported data size\n");
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

TEST_F(SerialPort, NoParityTakesItOffALineThatHadIt) {
    for (const char parity : {'N', 'n', 'S', 's'}) {
        calls.kept_flags = PARENB;
        ASSERT_EQ(SetupQuietly(kMainSpeed, 8, 1, parity), 0);
        EXPECT_EQ(calls.applied.back().c_cflag & PARENB, 0u) << parity;
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
    EXPECT_EQ(errors, "Unsupported parity\n");
    EXPECT_EQ(CallsOf("set now"), 1);
}

TEST_F(SerialPort, UnknownStopBitsGiveMinus4) {
    const termios before = Attributes();
    for (const int stop_bits : {0, 3, -1}) {
        EXPECT_EQ(SetUpLine(kMainSpeed, 8, stop_bits, 'N'), -4);
        EXPECT_EQ(errors, "Unsupported stop bits\n");
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
    EXPECT_EQ(errors, "");
}

TEST_F(SerialPort, SecondReadingOfTheAttributesThatFailsGivesMinus1) {
    calls.failing_get = 1;
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N'), -1);
    EXPECT_EQ(errors, "SetupSerial 1. errno = " + std::to_string(EIO) + "\n");
}

TEST_F(SerialPort, ApplyingTheSpeedMayFailWithAWord) {
    calls.failing_set = 0;
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N'), 0);
    EXPECT_EQ(errors, "tcsetattr fd1: Input/output error\n");
}

TEST_F(SerialPort, LastApplyingThatFailsGivesMinus5) {
    calls.failing_set = 1;
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N'), -5);
    EXPECT_EQ(errors, "SetupSerial 3. errno = " + std::to_string(EIO) + "\n");
}

TEST_F(SerialPort, SomethingThatIsNoTerminalGivesMinus1) {
    const int file = open("/dev/null", O_RDWR);
    EXPECT_EQ(SetupQuietly(kMainSpeed, 8, 1, 'N', file), -1);
    EXPECT_EQ(errors, "tcsetattr fd1: Inappropriate ioctl for device\nSetupSerial 1. errno = " +
                          std::to_string(ENOTTY) + "\n");
    close(file);
}

}  // namespace
