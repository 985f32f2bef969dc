// Module main_port: the port at start-up, which may never show up, and after a reset.
#include "network_daemon/main.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <vector>

#include <gtest/gtest.h>

#include "tests/support/stdin_closed.h"
#include "tests/support/test_world.h"

using test_support::ScriptedModem;
using test_support::World;

namespace {

std::vector<speed_t> speeds;  // handed to the two setters, which refuse a plain number on most systems

}  // namespace

extern "C" int __real_cfsetispeed(termios* attributes, speed_t speed);
extern "C" int __wrap_cfsetispeed(termios* attributes, speed_t speed) {
    speeds.push_back(speed);
    return __real_cfsetispeed(attributes, speed);
}

extern "C" int __real_cfsetospeed(termios* attributes, speed_t speed);
extern "C" int __wrap_cfsetospeed(termios* attributes, speed_t speed) {
    speeds.push_back(speed);
    return __real_cfsetospeed(attributes, speed);
}

namespace {

constexpr char kDevice[] = "/dev/ttyUSB2";
constexpr char kWaitLine[] = "wait device  /dev/ttyUSB2 .\n";

int WaitForPort() {
    return wait_for_port(TracePlace{"network_daemon/main.cpp", "main", 1}, kDevice);
}

/// 115200 baud, 8 data bits, 1 stop bit, no parity, yet with its check, as 'N' leaves it.
void ExpectLineSetUp(int fd) {
    EXPECT_EQ((std::vector<speed_t>{115200, 115200}), speeds);
    termios attributes = {};
    ASSERT_EQ(0, tcgetattr(fd, &attributes));
    EXPECT_EQ(static_cast<tcflag_t>(CS8), attributes.c_cflag & CSIZE);
    EXPECT_EQ(0u, attributes.c_cflag & (CSTOPB | PARENB | PARODD));
    EXPECT_EQ(static_cast<tcflag_t>(INPCK), attributes.c_iflag & INPCK);
    EXPECT_EQ(0u, attributes.c_lflag & (ICANON | ECHO | ISIG));
    EXPECT_EQ(150, attributes.c_cc[VTIME]);
    EXPECT_EQ(0, attributes.c_cc[VMIN]);
}

TEST(WaitForPort, LineIsSetUp) {
    World world;
    ScriptedModem modem(world, kDevice);
    speeds.clear();
    const int fd = WaitForPort();
    ExpectLineSetUp(fd);
    close(fd);
}

TEST(ReopenPort, LineIsSetUp) {
    World world;
    ScriptedModem modem(world, kDevice);
    speeds.clear();
    const int fd = ReopenPort(kDevice);
    ExpectLineSetUp(fd);
    close(fd);
}

TEST(ReopenPort, PortThatFailsToOpenIsNotSetUp) {
    World world;
    speeds.clear();
    EXPECT_LT(ReopenPort("/dev/"), 1);
    EXPECT_TRUE(speeds.empty());
}

TEST(WaitForPort, DescriptorOneIsAPort) {
    World world;
    ScriptedModem modem(world, kDevice);
    int fd = -1;
    {
        const DescriptorClosed closed(STDOUT_FILENO);
        fd = WaitForPort();
    }
    EXPECT_EQ(1, fd);
    EXPECT_TRUE(world.log.empty());
}

TEST(WaitForPort, PortThatIsThereIsTakenAtOnce) {
    World world;
    ScriptedModem modem(world, kDevice);
    const int fd = WaitForPort();
    EXPECT_GE(fd, 1);
    EXPECT_EQ(0, world.now_ms());
    EXPECT_TRUE(world.log.empty());
    close(fd);
}

TEST(WaitForPort, AsksEveryTenSecondsInTheNameOfMain) {
    World world;
    ScriptedModem modem(world, kDevice);
    modem.Plug(false);
    world.At(15, [&] { modem.Plug(true); });
    const int fd = WaitForPort();
    EXPECT_GE(fd, 1);
    EXPECT_EQ(20000, world.now_ms());
    ASSERT_EQ(2u, world.log.size());
    EXPECT_EQ(kWaitLine, world.log[1].text);
    EXPECT_EQ("network_daemon/main.cpp", world.log[1].file);
    EXPECT_EQ("main", world.log[1].function);
    EXPECT_EQ(5u, world.log[1].level);
    EXPECT_EQ(10.0, world.log[1].at_seconds);
    close(fd);
}

TEST(WaitForPort, DeviceThatNeverShowsUpIsWaitedForInSilenceAfterTenLines) {
    World world;
    ScriptedModem modem(world, kDevice);
    modem.Plug(false);
    world.At(36000 - 5, [&] {
        EXPECT_EQ(10, world.CountLogged(kWaitLine));
        modem.Plug(true);
    });
    const int fd = WaitForPort();
    EXPECT_EQ(36000 * 1000, world.now_ms());
    EXPECT_EQ(10, world.CountLogged(kWaitLine));
    close(fd);
}

TEST(WaitForPort, DescriptorZeroCountsAsAFailedOpen) {
    World world;
    ScriptedModem modem(world, kDevice);
    const StdinClosed closed;
    const int fd = WaitForPort();
    EXPECT_GE(fd, 1);
    EXPECT_EQ(1, world.CountLogged(kWaitLine));
    EXPECT_EQ(10000, world.now_ms());
    close(fd);
    close(0);
}

TEST(ReopenPort, TriesOnce) {
    World world;
    ScriptedModem modem(world, kDevice);
    modem.Plug(false);
    EXPECT_LT(ReopenPort(kDevice), 1);
    EXPECT_EQ(0, world.now_ms());
    modem.Plug(true);
    const int fd = ReopenPort(kDevice);
    EXPECT_GE(fd, 1);
    close(fd);
}

TEST(ReopenPort, DescriptorZeroCountsAsAFailedOpen) {
    World world;
    ScriptedModem modem(world, kDevice);
    const StdinClosed closed;
    EXPECT_EQ(0, ReopenPort(kDevice));
    close(0);
}

TEST(ReopenPort, FolderOpensNothing) {
    World world;
    EXPECT_LT(ReopenPort("/dev/"), 1);
}

}  // namespace
