// The knobs of the modem model as lines: what makes no sense is refused. What each knob does stands with what
// it turns, in the other suites of the model.
#include <string>

#include <gtest/gtest.h>

#include "tests/support/modem_model_fixture.h"

namespace {

constexpr const char* kNonsense[] = {
    "bogus",
    "csq",
    "csq x",
    "csq 100",
    "csq -1",
    "csq 5 5",
    "csq 99999999999999999999",
    "sim",
    "sim maybe",
    "sim ready-after",
    "sim ready-after -1",
    "sim ready-after 99999999999",
    "sim ready now",
    "select",
    "select 0",
    "select 3",
    "holder",
    "holder 3 imsi 1",
    "holder 2",
    "holder 2 csq 5",
    "holder 2 registration 99",
    "reach",
    "round-trip -1",
    "registration",
    "registration 99",
    "registration 1 lte",
    "link",
    "link sideways",
    "dial",
    "dial fail 0",
    "dial ok 3",
    "mute",
    "mute loud",
    "delay",
    "delay -1",
    "pieces",
    "pieces -1",
    "pieces 4 8",
    "pieces 4 gap",
    "pad 99999999",
    "percent maybe",
    "nul",
    "urc",
    "garbage",
    "garbage 0",
    "flood",
    "flood on 0",
    "flood off 3",
    "answer",
    "answer  = x",
    "echo",
    "temperature hot",
    "reset now",
    "power",
    "boot-time",
    "unplug it",
    "seed",
    "status please",
    "cut",
    "cut -1",
    "merge",
    "merge 2",
    "stale maybe",
    "reports",
    "reports lte",
};

TEST_F(ModemModel, LinesThatMakeNoSenseAreRefusedWithAReasonAndChangeNothing) {
    const std::string before = test_modem.Status();
    for (const char* knob : kNonsense) {
        std::string reply;
        EXPECT_FALSE(test_modem.Control(knob, &reply, test_now_ms)) << knob;
        EXPECT_FALSE(reply.empty()) << knob;
        EXPECT_FALSE(test_modem.Control(knob, nullptr, test_now_ms)) << knob;
    }
    EXPECT_EQ(test_modem.Status(), before);
}

TEST_F(ModemModel, EmptyLinesAndRemarksDoNothing) {
    const std::string before = test_modem.Status();
    for (const char* line : {"", "   ", "# csq 1", "\t#"}) {
        EXPECT_TRUE(test_modem.Control(line, nullptr, test_now_ms));
    }
    EXPECT_EQ(test_modem.Status(), before);
}

TEST_F(ModemModel, StatusKnobTellsTheStatus) {
    std::string reply;
    EXPECT_TRUE(test_modem.Control("  status ", &reply, test_now_ms));
    EXPECT_EQ(reply, test_modem.Status());
    EXPECT_NE(reply.find("model: EG25\n"), std::string::npos);
}

}  // namespace
