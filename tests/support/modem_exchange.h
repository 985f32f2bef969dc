// One exchange with the simulated modem, for the suites of its dialects.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "simulator/modem/modem_model.h"

constexpr size_t kAll = 1024 * 1024;    // of what the modem has written
constexpr int64_t kExchange_ms = 1000;  // how long the daemon waits for an answer
constexpr int64_t kSearch_ms = 5000;    // for the network

struct Expected {
    const char* command;
    const char* answer;
};

/// Writes a command, waits as long as the daemon does, and takes what has come.
inline std::string Exchange(modem_sim::Modem& modem, const std::string& command, int64_t* now_ms) {
    modem.Receive(command, *now_ms);
    modem.Receive("\r\n", *now_ms);
    *now_ms += kExchange_ms;
    return modem.TakeOutput(*now_ms, kAll);
}

/// The exchanges of a table in order; the registration gets its time in front of each question for it.
template <size_t N>
void ExpectAnswers(modem_sim::Modem& modem, const Expected (&table)[N]) {
    int64_t now_ms = 0;
    for (const Expected& expected : table) {
        if (std::string(expected.command) == "AT+CEREG?") now_ms += kSearch_ms;
        EXPECT_EQ(expected.answer, Exchange(modem, expected.command, &now_ms)) << expected.command;
    }
    EXPECT_EQ(0u, modem.unknown_command_count());
}
