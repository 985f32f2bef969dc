// Module main: the sequence of a run, in virtual time, up to each of its ends. The sequence is compiled into
// this suite under another name; Task, which has no end of its own, can be given one.
#define main run_daemon
#include "network_daemon/main.cpp"
#undef main

#include <fcntl.h>
#include <getopt.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/test_world.h"

using test_support::ScriptedModem;
using test_support::World;

namespace {
bool fail_detach = false;
// In the place of a Task that ends by itself, as no driver's does: what it does, and it returns 0. The real
// Task runs otherwise.
std::function<void(CellBase&)> ending_task;
int drivers_destroyed = 0;
bool is_reachable_at_its_end = false;
}  // namespace

extern "C" int __real_pthread_detach(pthread_t thread);
extern "C" int __wrap_pthread_detach(pthread_t thread) {
    return fail_detach ? ESRCH : __real_pthread_detach(thread);
}

// CellBase::Task, as the linker spells it: the tables of the drivers come here.
extern "C" int32_t __real__ZN7cc_cell8CellBase4TaskEv(CellBase* cell);
extern "C" int32_t __wrap__ZN7cc_cell8CellBase4TaskEv(CellBase* cell) {
    if (!ending_task) return __real__ZN7cc_cell8CellBase4TaskEv(cell);
    ending_task(*cell);
    return 0;
}

// CellBase::~CellBase, as a driver's destructor calls it.
extern "C" void __real__ZN7cc_cell8CellBaseD2Ev(CellBase* cell);
extern "C" void __wrap__ZN7cc_cell8CellBaseD2Ev(CellBase* cell) {
    ++drivers_destroyed;
    is_reachable_at_its_end = pCell != nullptr;
    __real__ZN7cc_cell8CellBaseD2Ev(cell);
}

// CellBase::SetVendorType: the driver is given its vendor when the other threads can see it.
extern "C" void __real__ZN7cc_cell8CellBase13SetVendorTypeEi(CellBase* cell, int32_t vendor_type);
extern "C" void __wrap__ZN7cc_cell8CellBase13SetVendorTypeEi(CellBase* cell, int32_t vendor_type) {
    EXPECT_EQ(pCell, cell);
    __real__ZN7cc_cell8CellBase13SetVendorTypeEi(cell, vendor_type);
}

namespace {

using Texts = std::vector<std::string>;

constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kSettings[] = "/run/network/ifcfg-lte";

class MainTest : public testing::Test {
  protected:
    void SetUp() override {
        fail_detach = false;
        ending_task = nullptr;
        drivers_destroyed = 0;
        CellBase::m_ModuleName.clear();
        world.Write(kSettings, "ENABLE=true\n");
        world.Write("/proc/cpuinfo", "Hardware : STM32\n");
        world.EndAt(3600);
    }

    void TearDown() override {
        DropDriver();
        ending_task = nullptr;
    }

    int Run(Texts words = {}) {
        words.insert(words.begin(), "ravelin-mobile");
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        optind = 0;
        return run_daemon(static_cast<int>(words.size()), argv.data());
    }

    void IdentifyAs(ScriptedModem& modem, const std::string& maker, const std::string& model) {
        modem.SetInit();
        modem.On("AT+CGMI", "\r\n" + maker + "\r\n\r\nOK\r\n");
        modem.On("ATI", "\r\n" + maker + "\r\n" + model + "\r\n\r\nOK\r\n");
    }

    /// For the ends of a run that leave the table of settings to the system.
    void FreeSettings() {
        ini_free(settings);
        settings = nullptr;
    }

    /// Index of the first line with this text; the size of the log when there is none.
    size_t IndexOf(const std::string& text) const {
        for (size_t i = 0; i < world.log.size(); ++i) {
            if (world.log[i].text == text) return i;
        }
        return world.log.size();
    }

    World world;
};

TEST_F(MainTest, HelpAfterABadOptionEndsWithZeroAndTouchesNothing) {
    world.Remove(kSettings);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, Run({"-x", "-h"}));
    EXPECT_EQ(0u, testing::internal::GetCapturedStdout().find("usage: ravelin-mobile [option]\n"));
    EXPECT_EQ("ravelin-mobile: invalid option -- 'x'\n", testing::internal::GetCapturedStderr());
    EXPECT_TRUE(world.log.empty());
    EXPECT_TRUE(world.shell.empty());
    EXPECT_EQ("", world.bus_name);
}

TEST_F(MainTest, MissingSettingsEndTheRun) {
    world.Remove(kSettings);
    EXPECT_EQ(-1, Run());
    EXPECT_TRUE(world.Logged(0, "config /run/network/ifcfg-lte don't exist\n"));
    EXPECT_EQ("", world.bus_name);
}

TEST_F(MainTest, EmptySettingsEndTheRunLikeMissingOnes) {
    world.Write(kSettings, "");
    EXPECT_EQ(-1, Run());
    EXPECT_TRUE(world.Logged(0, "config /run/network/ifcfg-lte don't exist\n"));
}

TEST_F(MainTest, SettingsWithoutAnAcceptedLineEndTheRun) {
    world.Write(kSettings, "# nothing\nenable=true\n");
    EXPECT_EQ(-1, Run());
}

TEST_F(MainTest, OtherSettingsFileIsNamed) {
    EXPECT_EQ(-1, Run({"-c", "/run/network/none"}));
    EXPECT_TRUE(world.Logged(0, "config /run/network/none don't exist\n"));
}

TEST_F(MainTest, BusThatCanNotBeJoinedEndsTheProcess) {
    world.bus_connect_result = -1;
    EXPECT_EXIT(Run(), testing::ExitedWithCode(255), "^DBUS initialize error!\n: ");
}

TEST_F(MainTest, UnknownModemEndsTheRunWithZero) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Nobody", "X1");
    EXPECT_EQ(0, Run());
    EXPECT_TRUE(world.Logged(0, "Unknow Cell Device!\n"));
    EXPECT_EQ("Unknow Cell Device!\n", world.log.back().text);
    EXPECT_EQ(nullptr, pCell);
    FreeSettings();
}

TEST_F(MainTest, PipeThreadThatCanNotBeStartedEndsTheProcess) {
    world.FailThreads(true);
    EXPECT_EXIT(Run(), testing::ExitedWithCode(255), "^Failed to create thread: ");
}

TEST_F(MainTest, PipeThreadThatCanNotBeDetachedEndsTheProcess) {
    fail_detach = true;
    EXPECT_EXIT(Run(), testing::ExitedWithCode(255), "^Failed to detach thread: No such process");
}

TEST_F(MainTest, PipeIsServedWhileMainWaitsForAPort) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Nobody", "X1");
    modem.Plug(false);
    world.At(15, [&] {
        const int fd = open("/run/network/ravelin_fifo", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        EXPECT_EQ(10, write(fd, "Reset4G:1\n", 10));
        close(fd);
    });
    world.At(25, [&] { modem.Plug(true); });
    EXPECT_EQ(0, Run());
    const size_t command = IndexOf("[FIFO]Reset4G:1\n");
    ASSERT_LT(command, world.log.size());
    EXPECT_EQ(15.0, world.log[command].at_seconds);
    EXPECT_LT(command, IndexOf("open device  /dev/ttyUSB2  ok!\n"));
    FreeSettings();
}

TEST_F(MainTest, StartUpInItsOrder) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Nobody", "X1");
    modem.Plug(false);
    world.At(5, [&] { modem.Plug(true); });
    EXPECT_EQ(0, Run({"-s", "/etc/dhcp.sh"}));
    EXPECT_EQ("RAVELIN", world.bus_name);
    ASSERT_NE(nullptr, world.bus_descriptor);
    EXPECT_EQ(Texts{"ravelin start!!!"}, world.forwarded);
    const Texts commands = {"mkdir /run/network/ -p", "rm -rf /run/network/ravelin_fifo"};
    EXPECT_EQ(commands, world.Commands());
    const std::string build = std::string("THIS APP BUILD INFO: commit ") + kBuildCommit + " tag V2.5.1 by " +
                              kBuilder + " on " + kBuildStamp + "\n";
    ASSERT_LE(4u, world.log.size());
    EXPECT_EQ(build, world.log[0].text);
    EXPECT_EQ("dev = /dev/ttyUSB2, config = /run/network/ifcfg-lte, script = /etc/dhcp.sh\n",
              world.log[1].text);
    EXPECT_EQ("wait device  /dev/ttyUSB2 .\n", world.log[2].text);
    EXPECT_EQ("open device  /dev/ttyUSB2  ok!\n", world.log[3].text);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(5u, world.log[i].level);
    EXPECT_EQ(10.0, world.log[3].at_seconds);
    FreeSettings();
}

TEST_F(MainTest, BringUpOfAQuectelModemUntilItsPortIsLost) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Quectel", "EG25");
    modem.AllowUnknown();
    modem.On("AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n");
    // The first probe of the signal finds a dead modem, and the reset doesn't bring it back.
    world.OnSystem("S84Reset4G.sh", [&] { modem.Plug(false); });
    EXPECT_EQ(-1, Run({"-s", "/etc/dhcp.sh"}));

    EXPECT_TRUE(world.Logged(0, "GetVendorType=6!\n"));
    EXPECT_EQ(world.log.size(), IndexOf("SetATPort /dev/ttyUSB2\n"));
    ASSERT_NE(nullptr, pCell) << "kept: threads still look at it while the process ends";
    EXPECT_EQ(kVendorQuectelQcom, pCell->m_vendor_type);
    EXPECT_EQ(kBoardStm32, pCell->m_board);
    EXPECT_STREQ("/etc/dhcp.sh", pCell->m_dhcpc_script);
    EXPECT_STREQ("true", pCell->m_enable);
    EXPECT_TRUE(world.Logged(3, "open device error. /dev/ttyUSB2\n"));
    EXPECT_EQ("open device error. /dev/ttyUSB2\n", world.log.back().text);

    const Texts sent = modem.Sent();
    const auto first = [&sent](const std::string& command) {
        for (size_t i = 0; i < sent.size(); ++i) {
            if (sent[i] == command) return i;
        }
        return sent.size();
    };
    // Identification, Initialize, CheckSimCard, ConfigThermalLimit, Connect, Task.
    const Texts in_order = {"AT+CGMI",  "ATZ",       "AT+qcfg=\"usbnet\",0",
                            "AT+CPIN?", "AT+QCCID",  "AT+QCFG='thermal/limit_rates',1",
                            "AT+CREG?", "AT+QNWINFO"};
    for (size_t i = 0; i + 1 < in_order.size(); ++i) {
        EXPECT_LT(first(in_order[i]), first(in_order[i + 1])) << in_order[i];
    }
    EXPECT_LT(first(in_order.back()), sent.size());

    const size_t vendor_line = IndexOf("GetVendorType=6!\n");
    const size_t board_line = IndexOf("--- STM32 BOARD --- \n");
    EXPECT_LT(vendor_line, board_line);
    EXPECT_LT(board_line, IndexOf("udhcpc script = /etc/dhcp.sh\n"));
    EXPECT_EQ(1, world.CountLogged("--- STM32 BOARD --- \n"));
}

TEST_F(MainTest, BoardThatCpuInfoDoesNotTellIsFoundByTheKernel) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Quectel", "EG25");
    modem.AllowUnknown();
    world.Write("/proc/cpuinfo", "nothing\n");
    world.Write("/proc/version", "Linux version 5.10.1\n");
    world.OnSystem("S84Reset4G.sh", [&] { modem.Plug(false); });
    EXPECT_EQ(-1, Run());
    EXPECT_EQ(kBoardA35, pCell->m_board);
}

TEST_F(MainTest, StatusIsPublishedBeforeTheLimitsAndTheDial) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Quectel", "EG25");
    modem.AllowUnknown();
    modem.On("AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n");
    constexpr char kStatus[] = "/run/network/ravelin_status";
    bool published = false;
    modem.OnCall("AT+QCCID", [&] {  // the last exchange of the SIM check; Initialize has published before
        if (world.Exists(kStatus)) world.Remove(kStatus);
        return std::string(kOk);
    });
    modem.OnCall("AT+QCFG='thermal/limit_rates',1", [&] {
        published = world.Exists(kStatus);
        return std::string(kOk);
    });
    world.OnSystem("S84Reset4G.sh", [&] { modem.Plug(false); });
    EXPECT_EQ(-1, Run());
    EXPECT_TRUE(published);
}

TEST_F(MainTest, TaskThatEndsIsFollowedByASoftExit) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Quectel", "EG25");
    modem.AllowUnknown();
    int port_fd = -1;
    double ended_at_seconds = 0;
    ending_task = [&](CellBase& cell) {
        EXPECT_EQ(&cell, pCell);
        port_fd = cell.m_cell_fd;
        ended_at_seconds = world.now_seconds();
        cell.m_ota_running = 1;
        world.At(ended_at_seconds + 20, [&] {
            EXPECT_NE(-1, fcntl(port_fd, F_GETFD)) << "the port is the upgrade's";
            pCell->m_ota_running = 0;
        });
    };
    EXPECT_EQ(0, Run());
    EXPECT_EQ(-1, fcntl(port_fd, F_GETFD));
    EXPECT_EQ(1, drivers_destroyed);
    EXPECT_FALSE(is_reachable_at_its_end);
    EXPECT_EQ(nullptr, pCell);
    ASSERT_LE(2u, world.log.size());
    const World::LogLine& wait = world.log[world.log.size() - 2];
    EXPECT_EQ("[OTA] module ota run\n", wait.text);
    EXPECT_EQ(5u, wait.level);
    EXPECT_EQ(ended_at_seconds, wait.at_seconds);
    EXPECT_EQ("soft exit!!!\n", world.log.back().text);
    EXPECT_EQ(5u, world.log.back().level);
    EXPECT_EQ(ended_at_seconds + 30, world.log.back().at_seconds);
    EXPECT_FALSE(world.Logged(3, "open device error. /dev/ttyUSB2\n"));
}

TEST_F(MainTest, CinterionIsToldItsPort) {
    ScriptedModem modem(world, "/dev/ttyACM0");
    IdentifyAs(modem, "Cinterion", "PLS83-W");
    modem.AllowUnknown();
    std::string port_of_driver;
    ending_task = [&](CellBase& cell) { port_of_driver = cell.m_at_port; };
    EXPECT_EQ(0, Run({"-d", "/dev/ttyACM0"}));
    EXPECT_EQ("/dev/ttyACM0", port_of_driver);
    EXPECT_TRUE(world.Logged(0, "Cell Device CellCinterion!\n"));
    EXPECT_TRUE(world.Logged(0, "GetVendorType=10!\n"));
    EXPECT_TRUE(world.Logged(5, "SetATPort /dev/ttyACM0\n"));
    const size_t vendor_line = IndexOf("GetVendorType=10!\n");
    EXPECT_LT(IndexOf("Cell Device CellCinterion!\n"), vendor_line);
    EXPECT_LT(vendor_line, IndexOf("SetATPort /dev/ttyACM0\n"));
    EXPECT_LT(IndexOf("SetATPort /dev/ttyACM0\n"), IndexOf("--- STM32 BOARD --- \n"));
}

/// The sanitizers that look at null pointers report it in their own way.
#if defined(RAVELIN_SANITIZED)
#define EXPECT_SEGMENTATION_FAULT(statement) EXPECT_DEATH(statement, "null pointer|SEGV")
#else
#define EXPECT_SEGMENTATION_FAULT(statement) EXPECT_EXIT(statement, testing::KilledBySignal(SIGSEGV), "")
#endif

TEST_F(MainTest, RefusedModuleEndsTheProcessBySegmentationFault) {
    ScriptedModem modem(world);
    IdentifyAs(modem, "Quectel", "EG25");
    world.Write("/ubi/conf/network/network.json",
                R"({"customer_name":"halden","product_name":"Quillbox",
                    "whitelist":{"userSettings":{"moduleName":{"allowedValues":["EC200A"]}}}})");
    EXPECT_SEGMENTATION_FAULT(Run());
}

}  // namespace
