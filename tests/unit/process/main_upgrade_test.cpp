// Module main_upgrade: the thread of one upgrade, from its start to its report, and what a request gets
// meanwhile.
#include "network_daemon/main.h"

#include <unistd.h>

#include <functional>

#include <gtest/gtest.h>

#include "support/text_util.h"
#include "tests/support/ocpp_frames.h"
#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using namespace ocpp_frames;
using test_support::World;

namespace {

using Lines = std::vector<std::string>;

/// The parameters of the last request, in a row.
std::string Parameters() {
    return std::string(supportModule) + otatool + otaPath;
}

/// Runs when a report has gone out, before its sender goes on.
std::function<void()> on_sent;

}  // namespace

extern "C" int __real_dbs_send_method_async(busglue_send_record* record, busglue_send_reply reply);
extern "C" int __wrap_dbs_send_method_async(busglue_send_record* record, busglue_send_reply reply) {
    const int result = __real_dbs_send_method_async(record, reply);
    if (on_sent) on_sent();
    return result;
}

namespace {

/// Its upgrade takes some time and ends as specified.
class UpgradingCell : public PlainCell {
  public:
    using PlainCell::PlainCell;
    int32_t ModuleOtaTask() override {
        EXPECT_EQ(1, m_ota_running);
        ++upgrades;
        sleep(90);
        return result;
    }
    int32_t result = 0;
    int upgrades = 0;
};

void Take(int length, unsigned char* bytes, void* context) {
    static_cast<Bytes*>(context)->assign(bytes, bytes + length);
}

Bytes Ask(Bytes frame) {
    Bytes answer;
    ravelin_deal_dbus_message(static_cast<int>(frame.size()), frame.data(), &answer, Take);
    return answer;
}

class UpgradeTest : public testing::Test {
  protected:
    void SetUp() override {
        pCell = &cell;
        on_sent = nullptr;
    }

    void TearDown() override {
        on_sent = nullptr;
        pCell = nullptr;
    }

    Lines ThreadLog() const {
        for (const World::LogLine& line : world.log) {
            if (line.function == "thread_function_ota") {
                EXPECT_EQ(5u, line.level) << line.text;
            }
        }
        return world.LogOf("thread_function_ota");
    }

    World world;
    UpgradingCell cell{-1};
};

TEST_F(UpgradeTest, ThreadThatFindsTheFlagClearEndsAtOnce) {
    cell.m_ota_running = 0;
    CopyText(supportModule, "kept");
    EXPECT_EQ(nullptr, thread_function_ota(&cell));
    EXPECT_TRUE(world.log.empty());
    EXPECT_TRUE(world.sent_frames.empty());
    EXPECT_EQ(0, cell.upgrades);
    EXPECT_STREQ("kept", supportModule);
}

TEST_F(UpgradeTest, EveryResultHasItsLineAndItsReport) {
    const struct {
        int32_t result;
        uint8_t status;
        std::string line;
    } cases[] = {
        {0, 0, "[OTA] send ocpp ota upgrade status ok\n"},
        {1, 1, "[OTA] send ocpp ota upgrade status fail\n"},
        {2, 2, "[OTA] send ocpp 4G module not support ota\n"},
        {3, 3, "[OTA] send ocpp ota file path or file not exist\n"},
        {-1, 1, "[OTA] send ocpp ota upgrade status fail\n"},
        {-2, 1, "[OTA] send ocpp ota upgrade status fail\n"},
        {4, 1, "[OTA] send ocpp ota upgrade status fail\n"},
        {256, 1, "[OTA] send ocpp ota upgrade status fail\n"},
    };
    for (const auto& row : cases) {
        world.log.clear();
        world.sent_records.clear();
        cell.m_ota_running = 1;
        cell.result = row.result;
        for (ParameterText* text : {&supportModule, &otatool, &otaPath}) CopyText(*text, "text");
        EXPECT_EQ(nullptr, thread_function_ota(&cell));
        EXPECT_EQ((Lines{"[OTA] run ota task\n", row.line, "[OTA] reset ota upgrade flag\n"}), ThreadLog());
        ASSERT_EQ(1u, world.sent_records.size()) << row.result;
        EXPECT_EQ(Frame(1, 0x7601, {row.status}), world.sent_records[0].frame) << row.result;
        EXPECT_EQ("OCPP.Message", world.sent_records[0].destination);
        EXPECT_EQ("", Parameters());
        EXPECT_EQ(0, cell.m_ota_running);
    }
}

TEST_F(UpgradeTest, ReportOfASuccessByteForByte) {
    cell.m_ota_running = 1;
    thread_function_ota(&cell);
    EXPECT_EQ(kUpgradeSucceeded, world.sent_frames.at(0));
}

TEST_F(UpgradeTest, RequestToReportAndTheFlagClearAgain) {
    EXPECT_EQ(kAccepted, Ask(kUpgradeRequest));
    EXPECT_EQ(1, cell.m_ota_running);
    sleep(89);
    EXPECT_TRUE(world.sent_frames.empty());
    EXPECT_EQ("ABC", Parameters());
    sleep(2);
    ASSERT_EQ(1u, world.sent_records.size());
    EXPECT_EQ(90.0, world.sent_records[0].at_seconds);
    EXPECT_EQ(0, cell.m_ota_running);
    EXPECT_EQ("", Parameters());
}

TEST_F(UpgradeTest, ReportHasId1AndNotThatOfTheRequest) {
    Ask(Frame(0x1234, 0x7600, {1}));
    sleep(100);
    ASSERT_EQ(1u, world.sent_frames.size());
    EXPECT_EQ(kUpgradeSucceeded, world.sent_frames[0]);
}

/// What CellBase answers at once: so the service sees status 1 and then status 2.
TEST_F(UpgradeTest, ModemWithoutAnUpgradeIsAcceptedAndThenReportedAsNotSupported) {
    PlainCell zte(-1);
    zte.SetVendorType(kVendorZte);
    pCell = &zte;
    EXPECT_EQ(kAccepted, Ask(kUpgradeRequest));
    sleep(1);
    ASSERT_EQ(1u, world.sent_frames.size());
    EXPECT_EQ(Frame(1, 0x7601, {2}), world.sent_frames[0]);
    EXPECT_EQ(0, zte.m_ota_running);
}

TEST_F(UpgradeTest, RequestBetweenTheReportAndTheEndGetsStatus2) {
    Bytes answer;
    on_sent = [&answer] {
        on_sent = nullptr;
        answer = Ask(Frame(7, 0x7600, RequestData({"X", "Y", "Z"})));
    };
    Ask(kUpgradeRequest);
    sleep(100);
    EXPECT_EQ(kAlreadyRunning, answer);
    ASSERT_EQ(1u, world.sent_frames.size());
    EXPECT_EQ(kUpgradeSucceeded, world.sent_frames[0]);
    EXPECT_EQ("", Parameters()) << "the end empties the new texts too";
    EXPECT_EQ(0, cell.m_ota_running);
    EXPECT_EQ(1, cell.upgrades);
}

TEST_F(UpgradeTest, RequestAfterAFailureIsAcceptedAsAnyOther) {
    cell.result = 1;
    for (int attempt = 1; attempt <= 5; ++attempt) {
        EXPECT_EQ(kAccepted, Ask(kUpgradeRequest)) << attempt;
        sleep(100);
        ASSERT_EQ(static_cast<size_t>(attempt), world.sent_frames.size());
        EXPECT_EQ(Frame(1, 0x7601, {1}), world.sent_frames.back());
    }
    EXPECT_EQ(5, cell.upgrades);
}

}  // namespace
