// For suites of the modem model: a Quectel modem with its echo off. Time is a number here.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "simulator/modem/modem_model.h"
#include "tests/support/modem_answers.h"
#include "tests/support/modem_exchange.h"

class ModemModel : public testing::Test {
  protected:
    ModemModel() { Ask("ATE0"); }

    /// One exchange: the command, a second, the answer.
    std::string Ask(const std::string& command) {
        test_modem.Receive(command + "\r\n", test_now_ms);
        return After(kExchange_ms);
    }

    std::string After(int64_t ms) {
        test_now_ms += ms;
        return test_modem.TakeOutput(test_now_ms, kAll);
    }

    void Turn(const std::string& knob) {
        std::string reply;
        EXPECT_TRUE(test_modem.Control(knob, &reply, test_now_ms)) << knob << ": " << reply;
    }

    bool StatusHas(const std::string& line) const {
        return test_modem.Status().find(line + "\n") != std::string::npos;
    }

    void Dial() {
        Ask("AT$QCRMCALL=1,1");
        ASSERT_TRUE(StatusHas("link: up"));
    }

    int64_t test_now_ms = 0;
    modem_sim::Modem test_modem{modem_sim::ModemOptions{}};
};

inline const std::string kCardTalk =
    "\r\n+CPIN: READY\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n\r\n+QIND: PB DONE\r\n";
