// Module CellQuectelQcom: what Quectel modules on Qualcomm chipsets have beside other families: a
// temperature, and an upgrade of their firmware.
#include <cstring>

#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

constexpr char kOtaTool[] = "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose";
constexpr char kOtaDirectory[] = "/media/mmcblk0p1/firmware_modules/CellularOTA";
constexpr char kOtaCommand[] =
    "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose -f "
    "/media/mmcblk0p1/firmware_modules/CellularOTA";

class QuectelQcomTest : public DriverTest {
  protected:
    QuectelQcomTest() : DriverTest(kVendorQuectelQcom) {}

    void InstallOtaTool() {
        world.MakeFolder(kOtaDirectory);
        world.Write(kOtaTool, "");
        CellBase::m_ModuleName = "EG21";
    }
};

TEST_F(QuectelQcomTest, NewObjectHasNoFirmwareText) {
    const char zeros[sizeof cell.m_fw_version] = {};
    EXPECT_EQ(0, memcmp(zeros, cell.m_fw_version, sizeof zeros));
}

// SIM

TEST_F(QuectelQcomTest, KernelDriverIsReloadedOnEachCheckWithAPauseBetween) {
    AnswerSimCheck();
    modem.On("AT+QCCID", Answer("+QCCID: 8986"));
    cell.SetBoard(kBoardImx6ul);
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    ASSERT_EQ(4u, world.shell.size());
    EXPECT_NEAR(3.0, world.shell[1].at_seconds - world.shell[0].at_seconds, 0.001);
    EXPECT_EQ(world.shell[1].command, world.shell[3].command);
}

// Temperature

TEST_F(QuectelQcomTest, AnswerWithoutTemperatureStoresZero) {
    cell.m_Tempture = 40;
    modem.On("AT+QTEMP", "\r\nERROR\r\n");
    cell.CheckTempStatus();
    EXPECT_EQ(0, cell.m_Tempture);
}

TEST_F(QuectelQcomTest, TemperatureIsStoredAndItsFaultsAreTold) {
    const Texts baseband_failed = {"5 query baseband temperature Failed!\n"};
    const Texts crystal_failed = {"5 query XO temperature Failed!\n"};
    const Texts amplifier_failed = {"5 query PA temperature Failed!\n"};
    const struct {
        std::string rest;
        int32_t baseband, crystal, amplifier;
        Texts heat = {};
    } cases[] = {
        {" 40,41,42\r\n\r\nOK\r\n", 40, 41, 42},
        {" 94,40,41\r\n", 94, 40, 41},
        {" 95,40,41\r\n", 95, 40, 41, {"4 query baseband temperature 95!\n"}},
        {" 40,95,95\r\n", 40, 95, 95},
        {" 0,0,0\r\n", 0, 0, 0},
        {" 40,41", 40, 41, 0},
        {" 40\r\n", 40, 0, 0},
        {" ,,42\r\n", 0, 0, 42},
        {" hot,41,warm\r\n", 0, 41, 0},
        {" -40,+41,42x\r\n", -40, 41, 42},
    };
    for (const auto& test : cases) {
        world.log.clear();
        modem.On("AT+QTEMP", "\r\n+QTEMP:" + test.rest);
        cell.CheckTempStatus();
        EXPECT_EQ(test.baseband, cell.m_Tempture) << test.rest;
        Texts lines = Joined({"7 40 " + test.rest + "\n"}, test.baseband == 0 ? baseband_failed : test.heat);
        if (test.crystal == 0) lines = Joined(lines, crystal_failed);
        if (test.amplifier == 0) lines = Joined(lines, amplifier_failed);
        lines.push_back("7 Quectel Temp Baseband(" + std::to_string(test.baseband) + "),XO(" +
                        std::to_string(test.crystal) + "),PA(" + std::to_string(test.amplifier) + ")\n");
        EXPECT_EQ(lines, LinesOf("ParseAtResult")) << test.rest;
    }
}

// Upgrade

TEST_F(QuectelQcomTest, MissingDirectoryIsFoundBeforeTheModelIsLookedAt) {
    CellBase::m_ModuleName = "EG25";
    EXPECT_EQ(3, cell.ModuleOtaTask());
    EXPECT_EQ(Texts{"5 [OTA] OTA目录不存在\n"}, LinesOf("IsOtaUpgradPathExist"));
    EXPECT_EQ(Texts{"5 [OTA] ota upgrade file path or file no exist\n"}, LinesOf("ModuleOtaTask"));
    EXPECT_TRUE(LinesOf("IsSupportModuleOTA").empty());
}

TEST_F(QuectelQcomTest, MissingToolIsAMissingFile) {
    world.MakeFolder(kOtaDirectory);
    CellBase::m_ModuleName = "EG21";
    EXPECT_EQ(3, cell.ModuleOtaTask());
    const Texts lines = {"5 [OTA] OTA目录存在\n", "5 [OTA] QFirehose文件不存在\n"};
    EXPECT_EQ(lines, LinesOf("IsOtaUpgradPathExist"));
}

TEST_F(QuectelQcomTest, Eg25WithTheToolInPlaceIsNotSupportedAndStartsNothing) {
    InstallOtaTool();
    CellBase::m_ModuleName = "EG25";
    EXPECT_EQ(2, cell.ModuleOtaTask());
    EXPECT_TRUE(world.shell.empty());
    const Texts lines = {"5 [OTA] OTA目录存在\n", "5 [OTA] QFirehose文件存在\n"};
    EXPECT_EQ(lines, LinesOf("IsOtaUpgradPathExist"));
    EXPECT_EQ(Texts{"5 [OTA] Module no support OTA\r\n"}, LinesOf("IsSupportModuleOTA"));
    EXPECT_EQ(Texts{"5 [OTA] 4g module ota upgrade not support\n"}, LinesOf("ModuleOtaTask"));
}

TEST_F(QuectelQcomTest, OnlyTheExactNameIsSupported) {
    InstallOtaTool();
    for (const char* name : {"", "EG21-G", "eg21", "EG2"}) {
        CellBase::m_ModuleName = name;
        EXPECT_EQ(2, cell.ModuleOtaTask()) << name;
    }
    world.log.clear();
    CellBase::m_ModuleName = "EG21";
    EXPECT_EQ(-1, cell.ModuleOtaTask());
    EXPECT_EQ(Texts{"5 [OTA] Module EG21 support OTA\r\n"}, LinesOf("IsSupportModuleOTA"));
}

TEST_F(QuectelQcomTest, LastTellingLineOfTheToolDecides) {
    const struct {
        const char* output;
        int32_t expected;
        Texts lines;  // after the one that shows the command
    } cases[] = {
        {"begin\nUpgrade module successfully.\n", 0, {"5 [OTA] Upgrade module successfully\n"}},
        {"Upgrade module fail, exit\n", 1, {"5 [OTA] Upgrade module fail\n"}},
        {"Upgrade module fail\nretry\nUpgrade module successfully\n",
         0,
         {"5 [OTA] Upgrade module fail\n", "5 [OTA] Upgrade module successfully\n"}},
        {"done successfully\nUpgrade module fail",
         1,
         {"5 [OTA] Upgrade module successfully\n", "5 [OTA] Upgrade module fail\n"}},
        {"Upgrade module fail, not successfully\n", 0, {"5 [OTA] Upgrade module successfully\n"}},
        {"something else\n", -1, {}},
        {"", -1, {}},
    };
    for (const auto& test : cases) {
        InstallOtaTool();
        world.log.clear();
        world.shell.clear();
        world.AnswerPopen("QFirehose", test.output);
        EXPECT_EQ(test.expected, cell.ModuleOtaTask()) << test.output;
        Texts lines = LinesOf("ModuleOtaTask");
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ("5 [OTA] run: " + std::string(kOtaCommand) + "\n", lines[0]);
        lines.erase(lines.begin());
        EXPECT_EQ(test.lines, lines) << test.output;
        EXPECT_EQ(Texts{kOtaCommand}, world.Commands());
        EXPECT_TRUE(world.shell[0].is_popen);
    }
}

TEST_F(QuectelQcomTest, ToolThatCanNotBeStarted) {
    InstallOtaTool();
    world.FailPopen("QFirehose");
    EXPECT_EQ(-2, cell.ModuleOtaTask());
    EXPECT_EQ("5 [OTA] run 4G module ota task fail\n", LinesOf("ModuleOtaTask").back());
}

TEST_F(QuectelQcomTest, UpgradeDoesNotTouchThePort) {
    InstallOtaTool();
    world.AnswerPopen("QFirehose", "successfully\n");
    EXPECT_EQ(0, cell.ModuleOtaTask());
    EXPECT_TRUE(modem.exchanges.empty());
}

}  // namespace
