#include "support/serial_port.h"

#include <fcntl.h>
#include <sys/select.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>

namespace {

constexpr int kDescriptorBound = 1024;  // first argument of select
static_assert(kDescriptorBound <= FD_SETSIZE);

constexpr cc_t kReadTimeoutTenths = 150;  // a bare read on a silent line gives up after 15 seconds

// A port that has gone is always readable and brings nothing; waits that are set afresh would never run out.
constexpr int kDeadPortReads = 100;

// And a whole time-out can be spent on looking at it: one look a millisecond costs next to nothing.
constexpr int64_t kDeadPortLook_us = 1000;

constexpr int64_t kSecond_us = 1000000;

constexpr int kSpeeds_baud[] = {230400, 115200, 57600, 38400, 19200, 9600, 4800, 2400, 1200, 300};

/// Sets the speed if it is one of the table. The baud number itself goes to the setters, not a speed
/// constant: a system library that knows constants only refuses it, and the port keeps the speed that it had.
void ApplySpeed(int fd, termios* attributes, int speed) {
    for (const int row : kSpeeds_baud) {
        tcflush(fd, TCIOFLUSH);
        if (row != speed) continue;
        cfsetispeed(attributes, static_cast<speed_t>(row));
        cfsetospeed(attributes, static_cast<speed_t>(row));
        if (tcsetattr(fd, TCSANOW, attributes) != 0) perror("tcsetattr fd1");
        return;
    }
}

/// CREAD, CLOCAL and the hardware flow control stay as they were.
void MakeRaw(termios* attributes) {
    attributes->c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | ECHOE);
    attributes->c_oflag &= ~static_cast<tcflag_t>(OPOST | OLCUC | ONLCR | OCRNL | ONOCR | ONLRET);
    attributes->c_iflag &= ~static_cast<tcflag_t>(IGNBRK | INLCR | IGNCR | ICRNL | IXON | IXANY | IXOFF);
    attributes->c_cflag &= ~static_cast<tcflag_t>(CSIZE);
}

bool SetDataBits(termios* attributes, int data_bits) {
    switch (data_bits) {
        case 7:
            attributes->c_cflag |= CS7;
            return true;
        case 8:
            attributes->c_cflag |= CS8;
            return true;
        default:
            return false;
    }
}

bool SetParity(termios* attributes, char parity) {
    switch (parity) {
        case 'E':
        case 'e':
            attributes->c_cflag |= PARENB;
            attributes->c_cflag &= ~static_cast<tcflag_t>(PARODD);
            break;
        case 'O':
        case 'o':
            attributes->c_cflag |= PARENB | PARODD;
            break;
        case 'N':
        case 'n':
        case 'S':
        case 's':
            attributes->c_cflag &= ~static_cast<tcflag_t>(PARENB);
            break;
        default:
            return false;
    }
    // Only the small letter takes input parity checking away: 'N' leaves it on, on a line without parity.
    // Visible outside, keep.
    if (parity == 'n') {
        attributes->c_iflag &= ~static_cast<tcflag_t>(INPCK);
    } else {
        attributes->c_iflag |= INPCK;
    }
    return true;
}

bool SetStopBits(termios* attributes, int stop_bits) {
    switch (stop_bits) {
        case 1:
            attributes->c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
            return true;
        case 2:
            attributes->c_cflag |= CSTOPB;
            return true;
        default:
            return false;
    }
}

timeval ToTimeval(int timeout_ms) {
    timeval timeout = {};
    timeout.tv_sec = timeout_ms / 1000;
    timeout.tv_usec = static_cast<suseconds_t>(timeout_ms % 1000) * 1000;
    return timeout;
}

int64_t ToMicroseconds(const timeval& time) {
    return time.tv_sec * kSecond_us + time.tv_usec;
}

bool IsLeft(const timeval& timeout) {
    return timeout.tv_sec > 0 || timeout.tv_usec > 0;
}

int64_t MonotonicUs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kSecond_us + now.tv_nsec / 1000;
}

/// After a wait and a read that brought nothing: waits until the two have taken a millisecond of the time-out
/// together. `before` is what was left of it ahead of the wait. The wait comes out of `left`, as long as it
/// really was, so that the time-out stays the time of the whole call.
void WaitAtDeadPort(const timeval& before, timeval* left) {
    const int64_t left_us = ToMicroseconds(*left);
    const int64_t wait_us = std::min(kDeadPortLook_us - (ToMicroseconds(before) - left_us), left_us);
    if (wait_us <= 0) return;
    const int64_t start_us = MonotonicUs();
    usleep(static_cast<useconds_t>(wait_us));
    const int64_t rest_us = std::max<int64_t>(left_us - (MonotonicUs() - start_us), 0);
    left->tv_sec = static_cast<time_t>(rest_us / kSecond_us);
    left->tv_usec = static_cast<suseconds_t>(rest_us % kSecond_us);
}

/// Waits until there is something to read, or the port has failed; false when the wait ended otherwise. What
/// is left of the time-out is stored in it: select of Linux does that.
bool WaitReadable(int fd, timeval* timeout) {
    if (fd < 0 || fd >= kDescriptorBound) return false;  // a descriptor set has no room for it
    fd_set descriptors;
    FD_ZERO(&descriptors);
    FD_SET(fd, &descriptors);
    return select(kDescriptorBound, &descriptors, nullptr, nullptr, timeout) >= 1;
}

/// One read after the `total` bytes collected; the new total. An error takes 1 off it, and a total that
/// errors have made negative still means the start of the buffer.
int ReadBehind(int fd, char* buffer, int wanted, int total) {
    const int collected = std::max(total, 0);
    const ssize_t result = read(fd, buffer + collected, static_cast<size_t>(std::max(wanted - collected, 0)));
    if (result < 0) return total > INT_MIN ? total - 1 : total;
    return total + static_cast<int>(result);
}

}  // namespace

int OpenSerial(const char* device) {
    return open(device, O_RDWR | O_NOCTTY);
}

int CloseSerial(int fd) {
    return close(fd);
}

ssize_t WriteSerial(int fd, const void* bytes, size_t count) {
    return write(fd, bytes, count);
}

int SetupSerial(int fd, int speed, int data_bits, int stop_bits, char parity) {
    termios attributes = {};
    tcgetattr(fd, &attributes);
    ApplySpeed(fd, &attributes, speed);
    if (tcgetattr(fd, &attributes) != 0) {
        fprintf(stderr, "SetupSerial 1. errno = %d\n", errno);
        return -1;
    }
    MakeRaw(&attributes);
    if (!SetDataBits(&attributes, data_bits)) {
        fprintf(stderr, "Unsupported data size\n");
        return -2;
    }
    if (!SetParity(&attributes, parity)) {
        fprintf(stderr, "Unsupported parity\n");
        return -3;
    }
    if (!SetStopBits(&attributes, stop_bits)) {
        fprintf(stderr, "Unsupported stop bits\n");
        return -4;
    }
    attributes.c_cc[VTIME] = kReadTimeoutTenths;
    attributes.c_cc[VMIN] = 0;
    tcflush(fd, TCIFLUSH);
    if (tcsetattr(fd, TCSANOW, &attributes) != 0) {
        fprintf(stderr, "SetupSerial 3. errno = %d\n", errno);
        return -5;
    }
    return 0;
}

int ReadSerialTimed(int fd, char* buffer, int wanted, int timeout_ms) {
    timeval left = ToTimeval(timeout_ms);
    int total = 0;
    do {
        const timeval before_wait = left;
        if (!WaitReadable(fd, &left)) break;
        const int before = total;
        total = ReadBehind(fd, buffer, wanted, total);
        if (total <= before && total < wanted) WaitAtDeadPort(before_wait, &left);
    } while (IsLeft(left) && total < wanted);
    return total;
}

int ReadSerialTimed2(int fd, char* buffer, int wanted, int first_timeout_ms, int next_timeout_ms) {
    timeval left = ToTimeval(first_timeout_ms);
    if (!WaitReadable(fd, &left)) return 0;
    int total = 0;
    int empty_reads = 0;  // in a row
    do {
        const int before = total;
        total = ReadBehind(fd, buffer, wanted, total);
        if (total >= wanted) break;
        empty_reads = total > before ? 0 : empty_reads + 1;
        left = ToTimeval(next_timeout_ms);
    } while (empty_reads < kDeadPortReads && WaitReadable(fd, &left) && IsLeft(left));
    return total;
}
