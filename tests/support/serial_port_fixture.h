// For suites of the serial layer: a pseudo terminal, of which the test holds the modem's end.
#pragma once

#include <pty.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

class PseudoTerminalTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(openpty(&modem, &port, test_name, nullptr, nullptr), 0); }

    void TearDown() override {
        close(port);
        if (modem >= 0) close(modem);
    }

    int modem = -1;
    int port = -1;
    char test_name[64] = "";
};
