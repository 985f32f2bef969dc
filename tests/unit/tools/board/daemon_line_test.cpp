// Which lines of a log are the daemon's own words.
#include "tools/board/daemon_line.h"

#include <gtest/gtest.h>

namespace {

TEST(DaemonLine, HasItsPlaceOrAHeaderOfSyslog) {
    const auto local =
        board::ReadDaemonLine("12:00:00.2 network_daemon/main_fifo.cpp:handle_command:180:[FIFO]SoftReset:1");
    ASSERT_TRUE(local);
    EXPECT_EQ(local->function, "handle_command");
    EXPECT_EQ(local->message, "[FIFO]SoftReset:1");
    const auto syslog = board::ReadDaemonLine("Nov 22 12:00:00 board ravelin-mobile: [FIFO]Reset4G:1");
    ASSERT_TRUE(syslog);
    EXPECT_EQ(syslog->function, "");
    EXPECT_EQ(syslog->message, "[FIFO]Reset4G:1");
}

TEST(DaemonLine, AMessageOfSomebodyIsNone) {
    EXPECT_FALSE(board::ReadDaemonLine("[OTA] send ocpp ota upgrade status ok"));
    EXPECT_FALSE(board::ReadDaemonLine("+CMT: \"[FIFO]SoftReset:1\""));
    EXPECT_FALSE(board::ReadDaemonLine(""));
}

}  // namespace
