// Module main_bus: what the daemon serves on the bus, every frame of the OCPP service, and every answer byte
// for byte.
#include "network_daemon/main.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <gtest/gtest.h>

#include "support/build_info.h"
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

constexpr char kHandler[] = "ravelin_deal_dbus_message";

bool detach_fails = false;

}  // namespace

extern "C" int __real_pthread_detach(pthread_t thread);
extern "C" int __wrap_pthread_detach(pthread_t thread) {
    return detach_fails ? EINVAL : __real_pthread_detach(thread);
}

namespace {

/// What a caller got: all calls of its reply function.
struct Answers {
    std::vector<Bytes> frames;

    static void Take(int length, unsigned char* bytes, void* context) {
        static_cast<Answers*>(context)->frames.emplace_back(bytes, bytes + length);
    }
};

/// Its upgrade takes a minute.
class UpgradingCell : public PlainCell {
  public:
    using PlainCell::PlainCell;
    int32_t ModuleOtaTask() override {
        ++upgrades;
        sleep(60);
        return 0;
    }
    int upgrades = 0;
};

class BusTest : public testing::Test {
  protected:
    void SetUp() override {
        pCell = &cell;
        detach_fails = false;
        ForgetParameters();
    }

    void TearDown() override {
        sleep(120);  // lets an upgrade thread end
        pCell = nullptr;
        ForgetParameters();
    }

    static void ForgetParameters() {
        for (char* text : {supportModule, otatool, otaPath}) text[0] = '\0';
    }

    /// Everything that the caller is answered.
    static std::vector<Bytes> AskForAll(Bytes frame) {
        Answers answers;
        EXPECT_EQ(0, ravelin_deal_dbus_message(static_cast<int>(frame.size()), frame.data(), &answers,
                                               Answers::Take));
        return answers.frames;
    }

    /// The one answer that there must be.
    static Bytes Ask(const Bytes& frame) {
        const std::vector<Bytes> answers = AskForAll(frame);
        EXPECT_EQ(1u, answers.size());
        return answers.empty() ? Bytes{} : answers[0];
    }

    Lines HandlerLog() const {
        for (const World::LogLine& line : world.log) {
            if (line.function != kHandler) continue;
            EXPECT_EQ(5u, line.level) << line.text;
            EXPECT_EQ("network_daemon/main_bus.cpp", line.file);
        }
        return world.LogOf(kHandler);
    }

    void FillStatus() {
        CopyText(cell.m_vendor_name, "Quectel");
        CopyText(cell.m_fw_version, "EG25GGBR07A08M2G");
        CopyText(cell.m_csIMEI, "867698041122330");
        CopyText(cell.m_card_iccid, "89860012317001122334");
        cell.m_Primary_SIM = 1;
        CopyText(cell.m_carrier, "\"CHINA MOBILE\"");
        CopyText(cell.m_pcid, "301");
        CopyText(cell.m_RSRP, "-95");
        CopyText(cell.m_band, "3");
        CopyText(cell.m_neighbour_pcid, "302");
        CopyText(cell.m_neighbour_rsrp, "-101");
        CopyText(cell.m_SINR, "12");
        CopyText(cell.m_card_imsi, "460001112223334");
    }

    World world;
    UpgradingCell cell{-1};
};

// Registration

TEST_F(BusTest, JoinsUnderItsNameWithOneRowInEachTable) {
    EXPECT_EQ(0, JoinBus());
    EXPECT_EQ("RAVELIN", world.bus_name);
    const busglue_descriptor* descriptor = world.bus_descriptor;
    ASSERT_NE(nullptr, descriptor);
    EXPECT_STREQ("ravelin.reset", descriptor->signals[0].name);
    EXPECT_NE(nullptr, descriptor->signals[0].handler);
    EXPECT_EQ(nullptr, descriptor->signals[1].name);
    EXPECT_EQ(nullptr, descriptor->signals[1].handler);
    EXPECT_STREQ("RAVELIN.Message", descriptor->methods[0].name);
    EXPECT_EQ(ravelin_deal_dbus_message, descriptor->methods[0].handler);
    EXPECT_EQ(nullptr, descriptor->methods[1].name);
    EXPECT_EQ(nullptr, descriptor->methods[1].handler);
}

TEST_F(BusTest, BusThatCanNotBeJoinedIsNegative) {
    world.bus_connect_result = -7;
    EXPECT_GT(0, JoinBus());
}

TEST_F(BusTest, StatusQueryThatCameAsASignalIsLoggedAndAnsweredWithNothing) {
    ASSERT_EQ(0, JoinBus());
    Bytes frame = kStatusQuery;
    EXPECT_EQ(0, world.bus_descriptor->signals[0].handler(static_cast<int>(frame.size()), frame.data()));
    EXPECT_EQ((Lines{"[RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n"}), HandlerLog());
    EXPECT_TRUE(world.sent_frames.empty());
}

TEST_F(BusTest, StatusQueryThatCameAsASignalBuildsTheStatus) {
    ASSERT_EQ(0, JoinBus());
    CopyText(cell.m_fw_version, "R07 \r");
    Bytes frame = kStatusQuery;
    world.bus_descriptor->signals[0].handler(static_cast<int>(frame.size()), frame.data());
    EXPECT_STREQ("R07", cell.m_fw_version) << "which building it has trimmed";
}

TEST_F(BusTest, UpgradeRequestThatCameAsASignalStartsTheUpgrade) {
    ASSERT_EQ(0, JoinBus());
    Bytes frame = kUpgradeRequest;
    world.bus_descriptor->signals[0].handler(static_cast<int>(frame.size()), frame.data());
    EXPECT_EQ(1, cell.m_ota_running);
    sleep(1);
    EXPECT_EQ(1, cell.upgrades);
}

// Frames that are none

TEST_F(BusTest, FrameWithABadCrcGetsAnEmptyAnswerAndNoLogLine) {
    for (size_t at : {size_t{3}, size_t{7}, kUpgradeRequest.size() - 1}) {
        Bytes frame = kUpgradeRequest;
        frame[at] ^= 1;
        EXPECT_EQ(Bytes{}, Ask(frame)) << at;
    }
    EXPECT_TRUE(world.log.empty());
    EXPECT_EQ(0, cell.m_ota_running);
}

TEST_F(BusTest, EveryOtherBrokenFrameToo) {
    Bytes wrong_magic = kStatusQuery;
    wrong_magic[0] = 0xFE;
    Bytes wrong_length = kStatusQuery;
    wrong_length[6] = 5;
    const Bytes ten_bytes(kStatusQuery.begin(), kStatusQuery.end() - 1);
    for (const Bytes& frame : {wrong_magic, wrong_length, ten_bytes, Bytes{}}) {
        EXPECT_EQ(Bytes{}, Ask(frame)) << frame.size();
    }
    EXPECT_TRUE(world.log.empty());
}

TEST_F(BusTest, BrokenFrameWithoutACallerIsHarmless) {
    Bytes frame = {1, 2, 3};
    EXPECT_EQ(0, ravelin_deal_dbus_message(3, frame.data(), nullptr, nullptr));
}

// No driver

TEST_F(BusTest, StatusQueryWithoutADriverGetsStatus3OfAnUpgradeRequest) {
    pCell = nullptr;
    EXPECT_EQ(kNoDriver, Ask(kStatusQuery));
    EXPECT_EQ(
        (Lines{"[RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n", "[OTA] pCell == NULL, no action \r\n"}),
        HandlerLog());
}

TEST_F(BusTest, EveryCommandWithoutADriverGetsTheSame) {
    pCell = nullptr;
    for (const unsigned cmd : {0x7600u, 0x7601u, 0x7602u, 0x7603u, 0u, 0xFFFFu}) {
        EXPECT_EQ(kNoDriver, Ask(Frame(7, cmd, {1}))) << cmd;
    }
    EXPECT_STREQ("", supportModule);
}

// Commands that ask for nothing

TEST_F(BusTest, OutcomeThatComesAsARequestIsOnlyLogged) {
    const struct {
        Bytes data;
        std::string line;
    } cases[] = {{{1}, "[OTA] get ocpp 4g status ok \r\n"},
                 {{0}, "[OTA] get ocpp 4g status fail \r\n"},
                 {{2}, "[OTA] get ocpp 4g status fail \r\n"},
                 {{}, "[OTA] get ocpp 4g status fail \r\n"},
                 {{1, 0}, "[OTA] get ocpp 4g status ok \r\n"}};
    for (const auto& row : cases) {
        world.log.clear();
        EXPECT_EQ(Bytes{}, Ask(Frame(0xABC, 0x7601, row.data)));
        const std::string head =
            "[RAVELIN] get ocpp msg id=abc cmd=7601 length=" + std::to_string(row.data.size()) + "\n";
        EXPECT_EQ((Lines{head, row.line}), HandlerLog());
    }
}

TEST_F(BusTest, RefusalThatComesAsARequestGetsAnEmptyAnswer) {
    EXPECT_EQ(Bytes{}, Ask(kModuleRefused));
    EXPECT_EQ((Lines{"[RAVELIN] get ocpp msg id=1 cmd=7602 length=1\n"}), HandlerLog());
}

TEST_F(BusTest, UnknownCommandGetsAnEmptyAnswerAfterTheFirstLine) {
    EXPECT_EQ(Bytes{}, Ask(Frame(0xFFFF, 0x7604, Bytes(30720, 1))));
    EXPECT_EQ((Lines{"[RAVELIN] get ocpp msg id=ffff cmd=7604 length=30720\n"}), HandlerLog());
    EXPECT_EQ(0, cell.m_ota_running);
}

// Status

Bytes Item(uint8_t type, const std::string& value) {
    Bytes item = {type, static_cast<uint8_t>(value.size())};
    item.insert(item.end(), value.begin(), value.end());
    return item;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

TEST_F(BusTest, StatusAnswerByteForByte) {
    FillStatus();
    const Bytes items = Item(1, "Quectel") + Item(2, "EG25GGBR07A08M2G") + Item(3, "867698041122330") +
                        Item(4, "89860012317001122334") + Item(5, "1") + Item(6, "\"CHINA MOBILE\"") +
                        Item(7, "301") + Item(8, "-95") + Item(9, "3") + Item(10, "302") + Item(11, "-101") +
                        Item(12, "12") + Item(13, "Release_Tideway_V2.1.1") + Item(14, kBuildCommit) +
                        Item(15, "460001112223334");
    EXPECT_EQ(Frame(7, 0x7603, Bytes{0x0F} + items), Ask(kStatusQuery));
    EXPECT_EQ(items, BuildStatusTlv());
}

TEST_F(BusTest, StatusAnswerCarriesTheIdOfItsRequestWhateverItsData) {
    const Bytes answer = Ask(Frame(0xFEDC, 0x7603, {9, 9, 9}));
    ASSERT_LT(11u, answer.size());
    EXPECT_EQ((Bytes{0xFE, 0xDC}), Bytes(answer.begin() + 3, answer.begin() + 5));
    EXPECT_EQ((Lines{"[RAVELIN] get ocpp msg id=fedc cmd=7603 length=3\n"}), HandlerLog());
}

TEST_F(BusTest, StatusWithAnEmptySimStillHasFifteenItems) {
    FillStatus();
    cell.m_card_iccid[0] = cell.m_card_imsi[0] = cell.m_carrier[0] = '\0';
    const Bytes answer = Ask(kStatusQuery);
    ASSERT_LT(11u, answer.size());
    EXPECT_EQ(0x0F, answer[9]);
    const TlvList items = ParseTlvBytes(Bytes(answer.begin() + 10, answer.end() - 2));
    ASSERT_EQ(15u, items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(i + 1, items[i].type);
        const bool is_of_sim = i + 1 == 4 || i + 1 == 6 || i + 1 == 15;
        EXPECT_EQ(is_of_sim, items[i].length == 0) << i + 1;
    }
}

TEST_F(BusTest, SecondSimIsTold) {
    cell.m_Primary_SIM = 0;
    EXPECT_EQ((ByteArray{'2'}), ParseTlvBytes(BuildStatusTlv())[4].value);
    cell.m_Primary_SIM = 0x80;
    EXPECT_EQ((ByteArray{'1'}), ParseTlvBytes(BuildStatusTlv())[4].value);
}

TEST_F(BusTest, FirmwareIsTrimmedInTheAnswerAndItsEndInTheMemberForGood) {
    CopyText(cell.m_fw_version, " \tR07 A08\r\n ");
    const ByteArray value = ParseTlvBytes(BuildStatusTlv())[1].value;
    EXPECT_EQ("R07 A08", std::string(value.begin(), value.end()));
    EXPECT_STREQ(" \tR07 A08", cell.m_fw_version);
}

TEST_F(BusTest, LongestTextsFit) {
    for (auto [text, size] : {std::pair{cell.m_vendor_name, sizeof cell.m_vendor_name},
                              {cell.m_fw_version, sizeof cell.m_fw_version},
                              {cell.m_csIMEI, sizeof cell.m_csIMEI},
                              {cell.m_card_iccid, sizeof cell.m_card_iccid},
                              {cell.m_carrier, sizeof cell.m_carrier},
                              {cell.m_pcid, sizeof cell.m_pcid},
                              {cell.m_RSRP, sizeof cell.m_RSRP},
                              {cell.m_band, sizeof cell.m_band},
                              {cell.m_neighbour_pcid, sizeof cell.m_neighbour_pcid},
                              {cell.m_neighbour_rsrp, sizeof cell.m_neighbour_rsrp},
                              {cell.m_SINR, sizeof cell.m_SINR},
                              {cell.m_card_imsi, sizeof cell.m_card_imsi}}) {
        memset(text, 'x', size - 1);
        text[size - 1] = '\0';
    }
    const Bytes answer = Ask(kStatusQuery);
    ASSERT_LT(11u, answer.size()) << "an answer that doesn't fit has no bytes";
    const TlvList items = ParseTlvBytes(Bytes(answer.begin() + 10, answer.end() - 2));
    ASSERT_EQ(15u, items.size());
    EXPECT_EQ(63, items[14].length);
    EXPECT_EQ(31, items[1].length);
}

/// A text may be half-written by Task: its terminator is not there for a moment.
TEST_F(BusTest, TextWithoutItsTerminatorEndsWithItsMember) {
    memset(cell.m_RSRP, 'x', sizeof cell.m_RSRP);
    EXPECT_EQ(sizeof cell.m_RSRP, ParseTlvBytes(BuildStatusTlv())[7].value.size());
}

TEST_F(BusTest, StatusWithoutADriverIsEmpty) {
    pCell = nullptr;
    EXPECT_TRUE(BuildStatusTlv().empty());
}

/// The driver may go away between the question and the answer.
TEST_F(BusTest, AnswerWithoutItemsIsAZeroAndAWordOnStandardOutput) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(ByteArray{0}, BuildStatusAnswer({}));
    EXPECT_EQ("No data was returned.\n", testing::internal::GetCapturedStdout());
    testing::internal::CaptureStdout();
    EXPECT_EQ((ByteArray{15, 1, 0}), BuildStatusAnswer({1, 0}));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(BusTest, StatusQueryDuringAnUpgradeIsAnsweredAsUsual) {
    EXPECT_EQ(kAccepted, Ask(kUpgradeRequest));
    sleep(1);
    const Bytes answer = Ask(kStatusQuery);
    ASSERT_LT(11u, answer.size());
    EXPECT_EQ(0x0F, answer[9]);
}

// Upgrade requests

TEST_F(BusTest, UpgradeRequestOfTheExample) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(kAccepted, Ask(kUpgradeRequest));
    EXPECT_EQ(
        "Assembled TLV Data: 1 1 41 2 1 42 3 1 43 \n"
        "\n"
        "Parsed TLVs:\n"
        "Type: 1, Length: 1, Value: A\n"
        "Type: 2, Length: 1, Value: B\n"
        "Type: 3, Length: 1, Value: C\n",
        testing::internal::GetCapturedStdout());
    EXPECT_STREQ("A", supportModule);
    EXPECT_STREQ("B", otatool);
    EXPECT_STREQ("C", otaPath);
    EXPECT_EQ((Lines{
                  "[RAVELIN] get ocpp msg id=7 cmd=7600 length=10\n",
                  "[OTA] TLVS size is: 3 ",
                  "[OTA] TLVS supportModule:A otatool:B otaPath:C \r\n",
                  "[OTA] get ocpp msg and set ota upgrade flag true\n",
                  "[OTA] reply ocpp ota msg id=7 cmd=7600 result:1\n",
                  "[OTA] get ocpp msg , set ota run\n",
              }),
              HandlerLog());
    EXPECT_EQ(1, cell.m_ota_running);
    sleep(1);
    EXPECT_EQ(1, cell.upgrades);
}

TEST_F(BusTest, TypesOfTheRequestAreNotLookedAt) {
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, {1, 9, 1, 'A', 9, 1, 'B', 0, 1, 'C'})));
    EXPECT_STREQ("A", supportModule);
    EXPECT_STREQ("C", otaPath);
}

TEST_F(BusTest, RequestWithTheMarkAloneStartsTheUpgradeWithEmptyTexts) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, {1})));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ((Lines{
                  "[RAVELIN] get ocpp msg id=7 cmd=7600 length=1\n",
                  "[OTA] get ocpp msg and set ota upgrade flag true\n",
                  "[OTA] reply ocpp ota msg id=7 cmd=7600 result:1\n",
                  "[OTA] get ocpp msg , set ota run\n",
              }),
              HandlerLog());
    EXPECT_EQ("", Parameters());
    sleep(1);
    EXPECT_EQ(1, cell.upgrades);
}

TEST_F(BusTest, RequestWithTwoItemsIsAnErrorInTheLogAndStartsTheUpgrade) {
    CopyText(supportModule, "before");
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, RequestData({"A", "B"}))));
    const Lines log = HandlerLog();
    ASSERT_EQ(6u, log.size());
    EXPECT_EQ("[OTA] TLVS size is: 2 ", log[1]);
    EXPECT_EQ("[OTA] TLVS parameter error", log[2]);
    EXPECT_STREQ("before", supportModule);
    sleep(1);
    EXPECT_EQ(1, cell.upgrades);
}

TEST_F(BusTest, RequestWithFourItemsToo) {
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, RequestData({"A", "B", "C", "D"}))));
    EXPECT_EQ("[OTA] TLVS parameter error", HandlerLog()[2]);
    EXPECT_STREQ("", supportModule);
}

TEST_F(BusTest, RequestWhoseBytesLieAboutTheirLengthHasNoItemsAndStartsTheUpgrade) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, {1, 1, 3, 0x41})));
    const std::string warning = "Warning: Data is not large enough for TLV value. Skipping.\n";
    EXPECT_EQ(warning + warning, testing::internal::GetCapturedStderr()) << "printed once, parsed once";
    EXPECT_EQ("[OTA] TLVS is empty.\n", HandlerLog()[1]);
    EXPECT_EQ(1, cell.m_ota_running);
}

TEST_F(BusTest, RequestWithOneByteBehindItsMarkHasNoItems) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, {1, 5})));
    EXPECT_NE("", testing::internal::GetCapturedStderr());
    EXPECT_EQ("[OTA] TLVS is empty.\n", HandlerLog()[1]);
    EXPECT_EQ(0, world.CountLogged("[OTA] TLVS parameter error"));
}

TEST_F(BusTest, LargestRequestIsTaken) {
    Bytes data = RequestData({std::string(255, 'a'), "%s%n", ""});
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, data)));
    EXPECT_EQ(std::string(255, 'a'), std::string(supportModule));
    EXPECT_STREQ("%s%n", otatool);
    data.resize(30720, 0);
    EXPECT_EQ(kAlreadyRunning, Ask(Frame(7, 0x7600, data)));
}

TEST_F(BusTest, TextWithAZeroEndsThere) {
    EXPECT_EQ(kAccepted, Ask(Frame(7, 0x7600, RequestData({std::string("A\0B", 3), "", "C"}))));
    EXPECT_STREQ("A", supportModule);
    EXPECT_EQ("[OTA] TLVS supportModule:A otatool: otaPath:C \r\n", HandlerLog()[2]);
}

TEST_F(BusTest, RequestWithAnotherMarkGetsStatus0AndStartsNothing) {
    for (const Bytes& data : {Bytes{2}, Bytes{0}, Bytes{0xFF, 1, 1, 'A', 2, 1, 'B', 3, 1, 'C'}, Bytes{}}) {
        world.log.clear();
        EXPECT_EQ(kBadRequest, Ask(Frame(7, 0x7600, data)));
        const Lines log = HandlerLog();
        ASSERT_EQ(2u, log.size());
        EXPECT_EQ("[OTA] get ocpp unknown msg\n", log[1]);
    }
    EXPECT_EQ(0, cell.m_ota_running);
    EXPECT_STREQ("", supportModule);
    sleep(100);
    EXPECT_EQ(0, cell.upgrades);
}

TEST_F(BusTest, SecondRequestDuringAnUpgradeGetsStatus2AndLeavesItsTexts) {
    EXPECT_EQ(kAccepted, Ask(kUpgradeRequest));
    sleep(1);
    world.log.clear();
    EXPECT_EQ(kAlreadyRunning, Ask(Frame(7, 0x7600, RequestData({"X", "Y", "Z"}))));
    EXPECT_EQ((Lines{
                  "[RAVELIN] get ocpp msg id=7 cmd=7600 length=10\n",
                  "[OTA] TLVS size is: 3 ",
                  "[OTA] TLVS supportModule:X otatool:Y otaPath:Z \r\n",
                  "[OTA] get ocpp msg , ota is on going\n",
              }),
              HandlerLog());
    EXPECT_EQ("XYZ", Parameters());
    sleep(100);
    EXPECT_EQ(1, cell.upgrades);
    EXPECT_EQ("", Parameters());
}

TEST_F(BusTest, ThreadThatCanNotBeMadeLeavesTheFlagSetForGood) {
    world.FailThreads(true);
    EXPECT_EQ(kAccepted, Ask(kUpgradeRequest));
    const Lines log = HandlerLog();
    ASSERT_EQ(7u, log.size());
    EXPECT_EQ("[OTA] get ocpp msg and set ota upgrade flag true\n", log[3]);
    EXPECT_EQ("[OTA] Failed to create thread \n", log[4]);
    EXPECT_EQ("[OTA] reply ocpp ota msg id=7 cmd=7600 result:1\n", log[5]) << "there is nothing to detach";
    world.FailThreads(false);
    sleep(1000);
    EXPECT_EQ(1, cell.m_ota_running);
    EXPECT_EQ(kAlreadyRunning, Ask(kUpgradeRequest));
    EXPECT_EQ(0, cell.upgrades);
    EXPECT_TRUE(world.sent_frames.empty());
}

TEST_F(BusTest, ThreadThatCanNotBeDetachedRunsAllTheSame) {
    detach_fails = true;
    EXPECT_EQ(kAccepted, Ask(kUpgradeRequest));
    const Lines log = HandlerLog();
    ASSERT_EQ(7u, log.size());
    EXPECT_EQ("[OTA] Failed to detach thread \n", log[4]);
    sleep(100);
    EXPECT_EQ(1, cell.upgrades);
    EXPECT_EQ(0, cell.m_ota_running);
    pthread_join(ota_thread, nullptr);
}

}  // namespace
