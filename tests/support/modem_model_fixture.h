// For suites of the modem model: a Quectel modem with its echo off. Time is a number here.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "simulator/modem/modem_model.h"

constexpr size_t kAll = 1024 * 1024;

class ModemModel : public testing::Test {
  protected:
    ModemModel() { Ask("ATE0"); }

    /// One exchange: the command, a second, the answer.
    std::string Ask(const std::string& command) {
        modem_.Receive(command + "\r\n", now_ms_);
        return After(1000);
    }

    std::string After(int64_t ms) {
        now_ms_ += ms;
        return modem_.TakeOutput(now_ms_, kAll);
    }

    void Turn(const std::string& knob) {
        std::string reply;
        EXPECT_TRUE(modem_.Control(knob, &reply, now_ms_)) << knob << ": " << reply;
    }

    bool StatusHas(const std::string& line) const {
        return modem_.Status().find(line + "\n") != std::string::npos;
    }

    void Dial() {
        Ask("AT$QCRMCALL=1,1");
        ASSERT_TRUE(StatusHas("link: up"));
    }

    int64_t now_ms_ = 0;
    modem_sim::Modem modem_{modem_sim::ModemOptions{}};
};

inline const std::string kOk = "\r\nOK\r\n";
inline const std::string kError = "\r\nERROR\r\n";
inline const std::string kCardTalk =
    "\r\n+CPIN: READY\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n\r\n+QIND: PB DONE\r\n";

inline std::string Line(const std::string& text) {
    return "\r\n" + text + "\r\n\r\nOK\r\n";
}
