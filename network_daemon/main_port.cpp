// The modem's AT port as main holds it: tried without end at start-up, and once after each reset.
#include "network_daemon/main.h"

#include <unistd.h>

#include "support/serial_port.h"

namespace {

constexpr int kSpeed_baud = 115200;
constexpr int kDataBits = 8;
constexpr int kStopBits = 1;
constexpr char kParity = 'N';

constexpr int kWaitsToldOf = 10;  // after that the wait is silent
constexpr unsigned kWait_seconds = 10;

/// Descriptor 0 counts as a failure too. It isn't given back: it keeps its number taken, so that the next try
/// gets another one.
bool IsOpen(int fd) {
    return fd >= 1;
}

void SetUpLine(int fd) {
    SetupSerial(fd, kSpeed_baud, kDataBits, kStopBits, kParity);
}

}  // namespace

int wait_for_port(const TracePlace& place, const char* device) {
    int fd = OpenSerial(device);
    for (int failures = 1; !IsOpen(fd); ++failures) {
        if (failures <= kWaitsToldOf) TRACE_AT(place, kLogProgress, "wait device  %s .\n", device);
        sleep(kWait_seconds);
        fd = OpenSerial(device);
    }
    SetUpLine(fd);
    return fd;
}

int ReopenPort(const char* device) {
    const int fd = OpenSerial(device);
    if (IsOpen(fd)) SetUpLine(fd);
    return fd;
}
