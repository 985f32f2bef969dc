// Module cellular_report: the frames that the daemon sends unsolicited, and what it makes of the replies.
#include "network_daemon/cellular_report.h"

#include <gtest/gtest.h>

#include "tests/support/ocpp_frames.h"
#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using namespace ocpp_frames;
using test_support::World;

namespace {

using Lines = std::vector<std::string>;

class ReportTest : public testing::Test {
  protected:
    /// What the reply of the service leaves in the log.
    Lines TakeReply(Bytes frame) {
        world.log.clear();
        EXPECT_EQ(0, deal_dbus_callback_message(static_cast<int>(frame.size()), frame.data()));
        Lines texts;
        for (const World::LogLine& line : world.log) {
            EXPECT_EQ(5u, line.level);
            EXPECT_EQ("deal_dbus_callback_message", line.function);
            texts.push_back(line.text);
        }
        return texts;
    }

    World world;
    PlainCell cell{-1};
};

TEST_F(ReportTest, SuccessOfAnUpgradeByteForByte) {
    cell.ReplyOcppUpgradeStatus("OCPP.Message", 1, 0x7601, 0);
    EXPECT_EQ((std::vector<Bytes>{kUpgradeSucceeded}), world.sent_frames);
}

TEST_F(ReportTest, RefusedModuleByteForByte) {
    cell.ReplyOcppUpgradeStatus("OCPP.Message", 1, 0x7602, 1);
    EXPECT_EQ((std::vector<Bytes>{kModuleRefused}), world.sent_frames);
}

TEST_F(ReportTest, RecordHasItsDestinationTheConstantAndTheReplyFunction) {
    cell.ReplyOcppUpgradeStatus("ELSE.Where", 1, 0x7601, 0);
    ASSERT_EQ(1u, world.sent_records.size());
    EXPECT_EQ("ELSE.Where", world.sent_records[0].destination);
    EXPECT_EQ(700, world.sent_records[0].fourth);
    EXPECT_EQ(deal_dbus_callback_message, world.sent_records[0].reply);
}

TEST_F(ReportTest, LineShowsSmallNumbersWithABlankInFront) {
    cell.ReplyOcppUpgradeStatus("OCPP.Message", 1, 0x7601, 3);
    EXPECT_TRUE(world.Logged(5, "[OTA] send OCPP.Message msgid: 1 cmd:7601 status:3 \r\n"));
    EXPECT_EQ("ReplyOcppUpgradeStatus", world.log[0].function);
    cell.ReplyOcppUpgradeStatus("OCPP.Message", 0xABC, 0x7, 255);
    EXPECT_TRUE(world.Logged(5, "[OTA] send OCPP.Message msgid:abc cmd: 7 status:255 \r\n"));
}

TEST_F(ReportTest, RepliesOfTheServiceOnlyReachTheLog) {
    const struct {
        unsigned cmd;
        Bytes data;
        Lines lines;
    } cases[] = {
        {0x7601, {1}, {"[OTA] get ocpp 4g status ok \r\n"}},
        {0x7601, {1, 9}, {"[OTA] get ocpp 4g status ok \r\n"}},
        {0x7601, {0}, {"[OTA] get ocpp 4g status fail \r\n"}},
        {0x7601, {}, {"[OTA] get ocpp 4g status fail \r\n"}},
        {0x7602, {1}, {"[whilelist] ocpp confirm get security log\n"}},
        {0x7602, {0}, {"[whilelist] ocpp reply unknow\n"}},
        {0x7602, {2}, {"[whilelist] ocpp reply unknow\n"}},
        {0x7602, {}, {"[whilelist] ocpp reply unknow\n"}},
        {0x7600, {1}, {}},
        {0x7603, {1}, {}},
        {0, {1}, {}},
    };
    for (const auto& row : cases) EXPECT_EQ(row.lines, TakeReply(Frame(1, row.cmd, row.data))) << row.cmd;
    EXPECT_TRUE(world.sent_frames.empty());
}

TEST_F(ReportTest, BrokenReplyIsSilent) {
    Bytes bad_crc = Frame(1, 0x7601, {1});
    bad_crc.back() ^= 1;
    EXPECT_EQ(Lines{}, TakeReply(bad_crc));
    EXPECT_EQ(Lines{}, TakeReply({}));
    EXPECT_EQ(Lines{}, TakeReply({0xFF, 0x6A}));
}

}  // namespace
