// What can be sent through the pipe, and what the log says of it.
#include "tools/board/pipe_command.h"

#include <gtest/gtest.h>

namespace {

using board::FindPipeCommand;
using board::LineProblem;

TEST(PipeCommand, OnlyThoseThatTheDaemonKnows) {
    for (const char* text : {"SoftReset:1", "Reset4G:1", "S84Reset4G:1", "4G_MODEM_STATUS:online",
                             "4G_MODEM_STATUS:offline", "orla_ip_list:noexist"}) {
        EXPECT_NE(FindPipeCommand(text), nullptr) << text;
    }
    for (const char* text :
         {"", "SoftReset", "SoftReset:2", "softreset:1", "SoftReset:1 ", "4G_MODEM_STATUS:away"}) {
        EXPECT_EQ(FindPipeCommand(text), nullptr) << text;
    }
}

TEST(PipeCommand, ALineThatCanNotBeSent) {
    EXPECT_EQ(LineProblem("SoftReset:1 Reset4G:1"), "");
    EXPECT_EQ(LineProblem(std::string(511, 'x')), "");
    EXPECT_EQ(LineProblem(std::string(512, 'x')), "commands have at most 511 bytes");
    EXPECT_EQ(LineProblem("a\nb"), "a command is one line");
    EXPECT_EQ(LineProblem(std::string("a\0b", 3)), "a command is one line");
    EXPECT_EQ(LineProblem(""), "a command is empty");
    EXPECT_EQ(LineProblem("  "), "a command is empty");
}

TEST(PipeCommand, AResetIsDoneWhenTaskHasBegunIt) {
    board::PipeAnswer answer(*FindPipeCommand("SoftReset:1"));
    answer.See({"", "[FIFO] SoftReset run"});
    EXPECT_FALSE(answer.is_taken()) << "that is of somebody else's";
    answer.See({"", "[FIFO]SoftReset:1"});
    EXPECT_TRUE(answer.is_taken());
    EXPECT_FALSE(answer.is_done());
    answer.See({"", "[FIFO] DeviceReset run"});
    EXPECT_FALSE(answer.is_done());
    answer.See({"", "[FIFO] SoftReset run"});
    EXPECT_TRUE(answer.is_done());
}

TEST(PipeCommand, WhatIsOnlyLoggedIsDoneAtOnce) {
    board::PipeAnswer answer(*FindPipeCommand("4G_MODEM_STATUS:offline"));
    EXPECT_FALSE(answer.is_done());
    answer.See({"", "[FIFO]4G_MODEM_STATUS:offline:index 0"});
    EXPECT_TRUE(answer.is_done());
}

TEST(PipeCommand, LinesOfThePipe) {
    EXPECT_TRUE(board::IsOfPipe({"", "[FIFO]Reset4G:1"}));
    EXPECT_TRUE(board::IsOfPipe({"thread_function_pipe", "udhcpc wwan0 bound"}));
    EXPECT_FALSE(board::IsOfPipe({"Task", "Soft reset!"}));
}

TEST(PipeCommand, WhatOthersQuoteIsNoAnswer) {
    EXPECT_FALSE(board::IsOfPipe({"AtRequest", "+CMT: [FIFO]SoftReset:1"}));
    board::PipeAnswer answer(*FindPipeCommand("SoftReset:1"));
    answer.See({"AtRequest", "+CMT: [FIFO]SoftReset:1"});
    EXPECT_FALSE(answer.is_taken());
    answer.See({"", "[FIFO]SoftReset:1"});
    answer.See({"AtRequest", "+CMT: [FIFO] SoftReset run"});
    EXPECT_FALSE(answer.is_done());
}

}  // namespace
