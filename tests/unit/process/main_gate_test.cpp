// Module main_gate: which modules may run, and the end of one that may not.
#include "network_daemon/main.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include "network_daemon/config/ConfigController.h"
#include "tests/support/ocpp_frames.h"
#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using namespace ocpp_frames;
using test_support::kMain;
using test_support::World;

namespace {

using Lines = std::vector<std::string>;

constexpr char kNetworkJson[] = "/ubi/conf/network/network.json";

/// What a driver saw when it went.
struct Farewell {
    double at_seconds = -1;
    const CellBase* reached = nullptr;  // by the threads of the bus and of the pipe
    std::vector<Bytes> answers;         // to a status query that came at this moment
};

class GatedCell : public PlainCell {
  public:
    GatedCell(World& world, Farewell* farewell) : PlainCell(-1), world_(world), farewell_(farewell) {}

    ~GatedCell() override {
        farewell_->at_seconds = world_.now_seconds();
        farewell_->reached = pCell;
        Bytes query = kStatusQuery;
        ravelin_deal_dbus_message(static_cast<int>(query.size()), query.data(), farewell_, TakeAnswer);
    }

  private:
    static void TakeAnswer(int length, unsigned char* bytes, void* farewell) {
        static_cast<Farewell*>(farewell)->answers.emplace_back(bytes, bytes + length);
    }

    World& world_;
    Farewell* const farewell_;
};

class GateTest : public testing::Test {
  protected:
    void SetUp() override {
        pCell = new GatedCell(world, &farewell);
        CellBase::m_ModuleName = "EG25";
    }

    void TearDown() override {
        DropDriver();
        CellBase::m_ModuleName.clear();
    }

    bool Pass() {
        testing::internal::CaptureStdout();  // the file's dump
        const bool passed = pass_gate(kMain, config);
        testing::internal::GetCapturedStdout();
        return passed;
    }

    /// The file of a product with these allowed modules.
    void WriteNetworkJson(const std::string& customer, const std::string& product,
                          const std::string& allowed) {
        world.Write(kNetworkJson,
                    "{\"customer_name\":\"" + customer + "\",\"product_name\":\"" + product +
                        "\",\"whitelist\":{\"userSettings\":{\"moduleName\":{\"allowedValues\":[" + allowed +
                        "]}}}}");
    }

    Lines MainLog() const {
        for (const World::LogLine& line : world.log) {
            if (line.function != "main") continue;
            EXPECT_EQ(5u, line.level) << line.text;
            EXPECT_EQ("network_daemon/main.cpp", line.file);
        }
        return world.LogOf("main");
    }

    void ExpectRunsOn() {
        EXPECT_NE(nullptr, pCell);
        EXPECT_TRUE(world.sent_frames.empty());
        EXPECT_EQ(0, world.now_ms());
    }

    World world;
    Farewell farewell;
    ConfigController config;
};

TEST_F(GateTest, MissingFileRestrictsNothing) {
    EXPECT_TRUE(Pass());
    EXPECT_EQ((Lines{"[system] no network.json config file\n"}), MainLog());
    ExpectRunsOn();
}

TEST_F(GateTest, BrokenFileRestrictsNothing) {
    for (const char* text : {"", "{", "{\"customer_name\":\"halden\",", "[1,2]"}) {
        world.log.clear();
        world.Write(kNetworkJson, text);
        EXPECT_TRUE(Pass());
        EXPECT_EQ((Lines{"[system] no network.json config file\n"}), MainLog()) << text;
    }
    ExpectRunsOn();
}

TEST_F(GateTest, AnotherCustomerOrProductPassesSilently) {
    const struct {
        const char* customer;
        const char* product;
    } cases[] = {{"example", "Quillbox"},  {"halden", "example"},   {"", ""},
                 {"Halden", "Quillbox"},   {"halden", "quillbox"},  {"halden2", "Quillbox"},
                 {"halden", "Quillbox 2"}, {" halden", "Quillbox"}, {"Quillbox", "halden"}};
    for (const auto& row : cases) {
        WriteNetworkJson(row.customer, row.product, "\"EC200A\"");
        EXPECT_TRUE(Pass()) << row.customer << " " << row.product;
    }
    EXPECT_EQ(Lines{}, MainLog());
    ExpectRunsOn();
}

TEST_F(GateTest, AllowedModuleRunsOn) {
    WriteNetworkJson("halden", "Quillbox", "\"EC200A\",\"eg25\"");
    EXPECT_TRUE(Pass());
    EXPECT_EQ((Lines{"[whitelist] halden project,moduleName: EG25 \n", "[whitelist] 4G module allow run\n"}),
              MainLog());
    ExpectRunsOn();
}

TEST_F(GateTest, EmptyListAllowsAnyModule) {
    WriteNetworkJson("halden", "Quillbox", "");
    EXPECT_TRUE(Pass());
    EXPECT_EQ("[whitelist] 4G module allow run\n", MainLog().at(1));
    ExpectRunsOn();
}

TEST_F(GateTest, RefusedModuleIsReportedAndASecondLaterItsDriverIsGone) {
    WriteNetworkJson("halden", "Quillbox", "\"EC200A\",\"EG2\"");
    EXPECT_FALSE(Pass());
    ASSERT_EQ(1u, world.sent_records.size());
    EXPECT_EQ(kModuleRefused, world.sent_records[0].frame);
    EXPECT_EQ("OCPP.Message", world.sent_records[0].destination);
    EXPECT_EQ(0.0, world.sent_records[0].at_seconds);

    Lines lines;
    for (const World::LogLine& line : world.log) {
        if (line.function == "main" || line.function == "ReplyOcppUpgradeStatus") lines.push_back(line.text);
    }
    EXPECT_EQ(2u, MainLog().size());
    EXPECT_EQ((Lines{"[whitelist] halden project,moduleName: EG25 \n",
                     "[OTA] send OCPP.Message msgid: 1 cmd:7602 status:1 \r\n",
                     "[whitelist] 4G module not allowd !!!\n"}),
              lines);
    EXPECT_EQ(1.0, farewell.at_seconds);
    EXPECT_EQ(nullptr, pCell);
}

TEST_F(GateTest, DriverOfARefusedModuleIsOutOfReachBeforeItGoes) {
    WriteNetworkJson("halden", "Quillbox", "\"EC200A\"");
    CellBase* const driver = pCell;
    world.At(0.5, [&] { EXPECT_EQ(driver, pCell) << "until the report has had its second to leave"; });
    EXPECT_FALSE(Pass());
    EXPECT_EQ(nullptr, farewell.reached);
    EXPECT_EQ(std::vector<Bytes>{kNoDriver}, farewell.answers);
}

/// The sanitizers that look at null pointers report it in their own way.
#if defined(RAVELIN_SANITIZED)
constexpr char kReport[] = "null pointer|SEGV";
#define EXPECT_SEGMENTATION_FAULT(statement) EXPECT_DEATH(statement, kReport)
#else
// Nothing is said, but for what an emulator says.
#define EXPECT_SEGMENTATION_FAULT(statement) \
    EXPECT_EXIT(statement, testing::KilledBySignal(SIGSEGV), "^(qemu: uncaught target signal 11 .*\n)?$")
#endif

TEST_F(GateTest, WhatFollowsARefusalIsASegmentationFault) {
    WriteNetworkJson("halden", "Quillbox", "\"EC200A\"");
    EXPECT_FALSE(Pass());
    EXPECT_SEGMENTATION_FAULT(wait_for_upgrade(kMain));
}

}  // namespace
