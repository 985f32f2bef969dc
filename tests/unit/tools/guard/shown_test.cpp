// What the guard shows of itself, and what others make of it.
#include "tools/guard/shown.h"

#include <gtest/gtest.h>

namespace {

using guard::ParseShown;
using guard::Shown;

Shown ExampleShown() {
    Shown shown;
    shown.state = "pause";
    shown.acts = true;
    shown.line = "now pause";
    shown.soft_resets = 1;
    shown.hard_resets = 2;
    shown.hard_last_hour = 3;
    shown.hard_last_day = 4;
    shown.hard_per_hour = 5;
    shown.hard_per_day = 6;
    shown.pause_left = 7;
    shown.rounds = 8;
    shown.sent_bytes = 9;
    shown.received_bytes = 10;
    shown.alive_ago = 11;
    shown.now = 1000;
    return shown;
}

TEST(Shown, IsReadAsItWasWritten) {
    const std::string text = guard::PrintShown(ExampleShown());
    const std::optional<Shown> read = ParseShown(text);
    ASSERT_TRUE(read);
    EXPECT_EQ(guard::PrintShown(*read), text);
    for (int i = 1; i <= 11; ++i) {
        EXPECT_NE(text.find("=" + std::to_string(i) + "\n"), std::string::npos) << i;
    }
    EXPECT_TRUE(ParseShown(text + "New=anything\n")) << "a later guard may show more";
}

TEST(Shown, WhatNoGuardHasWrittenIsNotTaken) {
    const std::string text = guard::PrintShown(ExampleShown());
    for (size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(ParseShown(text.substr(0, length))) << length;
    }
    for (const char* line : {"State=flying\n", "Now=x\n", "Now=-1\n", "SoftResets=-1\n", "LastAliveAgo=-2\n",
                             "Rounds=99999999999999999999\n", "no equals\n"}) {
        EXPECT_FALSE(ParseShown(text + line)) << line;
    }
    EXPECT_TRUE(ParseShown(text + "LastAliveAgo=-1\n"));
}

TEST(Shown, IsFreshForThreeMinutesOfTheSameBoot) {
    EXPECT_TRUE(guard::IsFresh(ExampleShown(), 1000));
    EXPECT_TRUE(guard::IsFresh(ExampleShown(), 1180));
    EXPECT_FALSE(guard::IsFresh(ExampleShown(), 1181));
    EXPECT_FALSE(guard::IsFresh(ExampleShown(), 999)) << "of another boot";
}

}  // namespace
