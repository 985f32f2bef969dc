// Module main_restart: what happens between two runs of Task, with an object whose Task ends on demand.
#include "network_daemon/main.h"

#include <unistd.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text_util.h"
#include "tests/support/stdin_closed.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using test_support::kKillDhcp;
using test_support::kMain;
using test_support::ScriptedModem;
using test_support::World;

namespace {

constexpr char kCheckInterface[] = " /ubi/local/apps/network/if-lte /run/network/ifcfg-lte check_interface";
constexpr char kBoardScript[] = "/etc/init.d/S84Reset4G.sh start";
constexpr char kPinReset[] = "/ubi/local/apps/network/Reset4G.sh start pin_rst";
constexpr char kPinPower[] = "/ubi/local/apps/network/Reset4G.sh start pin_power";

/// Wants a reset `resets` times, then ends.
class RestartedCell : public CellBase {
  public:
    using CellBase::CellBase;
    const char* GetInterfaceName() override { return "wwan0"; }
    int32_t CheckConnection() override { return 0; }
    int32_t Initialize() override {
        ++initialized;
        return 1;
    }
    int32_t CheckSimCard() override {
        ++sim_checked;
        return 0;
    }
    int32_t Task() override {
        descriptors.push_back(m_cell_fd);
        if (on_task) on_task();
        return resets-- > 0 ? -1 : 0;
    }

    int resets = 1;
    int initialized = 0;
    int sim_checked = 0;
    std::vector<int> descriptors;  // that each Task ran on
    std::function<void()> on_task;
};

class RestartTest : public testing::Test {
  protected:
    RunEnd Run() { return run_task(kMain, *cell, device, port_fd); }

    void TearDown() override {
        for (const World::LogLine& line : world.log) {
            if (line.function != "main") continue;
            EXPECT_EQ("network_daemon/main.cpp", line.file) << line.text;
            EXPECT_EQ(line.text.rfind("open device error.", 0) == 0 ? 3u : 5u, line.level) << line.text;
        }
    }

    std::vector<std::string> MainLog() const { return world.LogOf("main"); }

    World world;
    ScriptedModem modem{world};
    int port_fd = dup(modem.fd());
    std::unique_ptr<RestartedCell> cell = std::make_unique<RestartedCell>(port_fd);
    PathText device = "/dev/ttyUSB2";
};

TEST_F(RestartTest, TaskThatEndsWithZeroEndsTheRun) {
    cell->resets = 0;
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_EQ(1u, cell->descriptors.size());
    EXPECT_TRUE(world.shell.empty());
    EXPECT_TRUE(MainLog().empty());
}

TEST_F(RestartTest, ResetByPinInItsOrderAndTime) {
    cell->m_online = 1;
    const int first_fd = port_fd;
    EXPECT_EQ(RunEnd::kTaskEnded, Run());

    const std::vector<std::string> log = {
        "kill udhcpc lte!!!\n",
        "Reset4G.sh start pin_rst\n",
        "check interface lte!!!\n",
        "Reset4G time=1\n",
    };
    EXPECT_EQ(log, MainLog());

    // The last one is the soft reset's.
    const std::vector<std::string> commands = {kKillDhcp, kPinReset, kCheckInterface, kKillDhcp};
    EXPECT_EQ(commands, world.Commands());
    const double times[] = {0, 5, 10, 11};
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(times[i], world.shell[i].at_seconds) << i;

    EXPECT_EQ(0, cell->m_online);
    EXPECT_EQ(1, cell->m_reset4g_times);
    EXPECT_EQ(1, cell->initialized);
    EXPECT_EQ(1, cell->sim_checked);
    const std::vector<int> descriptors = {first_fd, port_fd};
    EXPECT_EQ(descriptors, cell->descriptors);
    EXPECT_EQ(port_fd, cell->m_cell_fd);
}

TEST_F(RestartTest, StatusIsPublishedBeforeAnythingElse) {
    world.OnSystem("kill_dhcp", [&] { EXPECT_TRUE(world.Exists("/run/network/ravelin_status")); });
    cell->m_online = 1;
    EXPECT_FALSE(world.Exists("/run/network/ravelin_status"));
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
}

TEST_F(RestartTest, PortIsClosedWhileTheModemIsReset) {
    world.OnSystem("pin_rst", [&] { EXPECT_EQ(-1, write(port_fd, "x", 1)); });
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_EQ(1, write(port_fd, "x", 1));
}

TEST_F(RestartTest, ObjectGoesOnWithTheNewDescriptor) {
    const int first_fd = port_fd;
    int taken = -1;
    world.OnSystem("pin_rst", [&] { taken = dup(modem.fd()); });  // the number that the port had
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_EQ(first_fd, taken);
    EXPECT_NE(first_fd, port_fd);
    EXPECT_EQ(port_fd, cell->descriptors.back());
    close(taken);
}

TEST_F(RestartTest, UpgradeReentersTaskEveryTenSecondsAndCountsNoReset) {
    cell->resets = 3;
    cell->m_online = 1;
    cell->m_ota_running = 1;
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_EQ(4u, cell->descriptors.size());
    EXPECT_EQ(30000, world.now_ms());
    EXPECT_EQ(0, cell->m_reset4g_times);
    EXPECT_EQ(0, cell->m_online);
    EXPECT_TRUE(world.shell.empty());
    const std::vector<std::string> log(3, "[OTA] module ota run\n");
    EXPECT_EQ(log, MainLog());
    EXPECT_EQ(1, write(port_fd, "x", 1)) << "the port stays open";
}

TEST_F(RestartTest, UpgradeThatBeginsDuringTheRestartSkipsTheScriptOfTheBoard) {
    cell->SetBoard(kBoardA35);
    world.OnSystem("kill_dhcp", [&] { cell->m_ota_running = 1; });
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_EQ(1, world.CountLogged("etc init.d S84Reset4G.sh start \n"));
    const std::vector<std::string> commands = {kKillDhcp, kCheckInterface, kKillDhcp};
    EXPECT_EQ(commands, world.Commands());
    EXPECT_EQ(1, cell->m_reset4g_times);
}

TEST_F(RestartTest, UpgradeThatBeginsDuringTheRestartSkipsThePins) {
    world.OnSystem("kill_dhcp", [&] { cell->m_ota_running = 1; });
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    const std::vector<std::string> commands = {kKillDhcp, kCheckInterface, kKillDhcp};
    EXPECT_EQ(commands, world.Commands());
    EXPECT_EQ(0, world.CountLogged("Reset4G.sh start pin_rst\n"));
}

TEST_F(RestartTest, BoardsWithAScriptOfTheirOwnUseIt) {
    for (const int board : {kBoardStm32, kBoardA35, kBoardA53}) {
        world.shell.clear();
        cell->resets = 1;
        cell->SetBoard(board);
        EXPECT_EQ(RunEnd::kTaskEnded, Run());
        ASSERT_EQ(4u, world.shell.size());
        EXPECT_EQ(kBoardScript, world.shell[1].command) << board;
    }
}

TEST_F(RestartTest, ZteOnBoard1GetsAPowerCycleOnEveryThirdReset) {
    cell->SetVendorType(kVendorZte);
    cell->SetBoard(kBoardImx6ul);
    cell->resets = 9;
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    std::vector<std::string> resets;
    for (const World::ShellCall& call : world.shell) {
        if (call.command == kPinReset || call.command == kPinPower) resets.push_back(call.command);
    }
    const std::vector<std::string> expected = {kPinReset, kPinReset, kPinPower, kPinReset, kPinReset,
                                               kPinPower, kPinReset, kPinReset, kPinPower};
    EXPECT_EQ(expected, resets);
    EXPECT_EQ(3, world.CountLogged("Reset4G.sh start pin_power\n"));
    EXPECT_EQ(9, cell->m_reset4g_times);
}

TEST_F(RestartTest, ZteOnBoard3NeverGetsAPowerCycle) {
    cell->SetVendorType(kVendorZte);
    cell->SetBoard(kBoardA35);
    cell->m_reset4g_times = 2;
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_EQ(kBoardScript, world.shell[1].command);
}

TEST_F(RestartTest, OtherVendorsAreResetByPinAtAnyCount) {
    cell->SetVendorType(kVendorQuectelQcom);
    cell->m_reset4g_times = 2;
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_EQ(kPinReset, world.shell[1].command);
}

TEST_F(RestartTest, PortThatCanNotBeReopenedEndsTheRun) {
    world.OnSystem("pin_rst", [&] { modem.Plug(false); });
    EXPECT_EQ(RunEnd::kPortLost, Run());
    EXPECT_TRUE(world.Logged(3, "open device error. /dev/ttyUSB2\n"));
    EXPECT_EQ("main", world.log.back().function);
    EXPECT_EQ(11000, world.now_ms()) << "tried once, with no wait";
    EXPECT_EQ(0, cell->initialized);
}

TEST_F(RestartTest, DescriptorZeroCountsAsAPortThatCanNotBeReopened) {
    const StdinClosed closed;
    EXPECT_EQ(RunEnd::kPortLost, Run());
    EXPECT_EQ(0, port_fd) << "the port was there, and opened";
    EXPECT_TRUE(world.Logged(3, "open device error. /dev/ttyUSB2\n"));
    EXPECT_EQ(1u, cell->descriptors.size()) << "Task doesn't run again";
    EXPECT_EQ(cell->descriptors.front(), cell->m_cell_fd);
    EXPECT_EQ(0, cell->initialized);
    EXPECT_EQ(0, cell->sim_checked);
    const std::vector<std::string> commands = {kKillDhcp, kPinReset, kCheckInterface};
    EXPECT_EQ(commands, world.Commands());
    close(STDIN_FILENO);
}

TEST_F(RestartTest, DescriptorOneIsAPortAgain) {
    RunEnd end = RunEnd::kPortLost;
    {
        const DescriptorClosed closed(STDOUT_FILENO);
        end = Run();
    }
    EXPECT_EQ(RunEnd::kTaskEnded, end);
    ASSERT_EQ(2u, cell->descriptors.size());
    EXPECT_EQ(1, cell->descriptors.back());
}

TEST_F(RestartTest, CinterionIsFoundAgainAsTtyAcm) {
    world.OnSystem(kBoardScript, [&] { world.Write("/dev/ttyACM1", ""); });
    ScriptedModem reborn(world, "/dev/ttyACM1");
    cell->SetVendorType(kVendorCinterion);
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_STREQ("/dev/ttyACM1", device);
    EXPECT_STREQ("/dev/ttyACM1", cell->m_at_port);
    EXPECT_EQ(kBoardScript, world.shell[1].command);
    EXPECT_EQ(1, world.CountLogged("Task SetATPort /dev/ttyACM1\n"));
    EXPECT_EQ(0, world.CountLogged("etc init.d S84Reset4G.sh start \n"));
}

TEST_F(RestartTest, CinterionDuringAnUpgradeIsNotResetAndStillFoundAgain) {
    ScriptedModem reborn(world, "/dev/ttyACM1");
    world.Write("/dev/ttyACM1", "");
    world.OnSystem("kill_dhcp", [&] { cell->m_ota_running = 1; });
    cell->SetVendorType(kVendorCinterion);
    EXPECT_EQ(RunEnd::kTaskEnded, Run());
    EXPECT_STREQ("/dev/ttyACM1", device);
    for (const std::string& command : world.Commands()) EXPECT_NE(kBoardScript, command);
}

TEST_F(RestartTest, CinterionThatHasNotComeBackLeavesTheFolderAsPath) {
    cell->SetVendorType(kVendorCinterion);
    CopyText(device, "/dev/ttyACM12345");
    modem.Plug(false);
    EXPECT_EQ(RunEnd::kPortLost, Run());
    EXPECT_STREQ("/dev/", device);
    for (const char* rest = device + strlen("/dev/"); rest < device + sizeof device; ++rest) {
        ASSERT_EQ('\0', *rest) << "nothing of the former path stays";
    }
    EXPECT_STREQ("/dev/", cell->m_at_port);
    EXPECT_TRUE(world.Logged(3, "open device error. /dev/\n"));
}

TEST_F(RestartTest, SoftExitWaitsForAnUpgradeInStepsOf30Seconds) {
    pCell = cell.get();
    cell->m_ota_running = 1;
    world.At(70, [&] { cell->m_ota_running = 0; });
    wait_for_upgrade(kMain);
    EXPECT_EQ(90000, world.now_ms());
    const std::vector<std::string> log(3, "[OTA] module ota run\n");
    EXPECT_EQ(log, MainLog());
    pCell = nullptr;
}

}  // namespace
