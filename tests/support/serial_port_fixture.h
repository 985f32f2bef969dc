// For suites of the serial layer: a pseudo terminal, of which the test holds the modem's end.
#pragma once

#include <pty.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

class PseudoTerminalTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(openpty(&modem_, &port_, name_, nullptr, nullptr), 0); }

    void TearDown() override {
        close(port_);
        if (modem_ >= 0) close(modem_);
    }

    int modem_ = -1;
    int port_ = -1;
    char name_[64] = "";
};
