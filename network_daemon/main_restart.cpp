// The last rung of the recovery ladder: when Task gives up, the modem is reset by a script of the board, the
// port is opened anew, and Task goes on, on the same object. Main thread.
#include "network_daemon/main.h"

#include <unistd.h>

#include <cstring>

#include "support/serial_port.h"
#include "support/shell.h"
#include "support/text_util.h"

namespace {

using cc_cell::CellBase;

constexpr char kResetByBoardScript[] = "/etc/init.d/S84Reset4G.sh start";
constexpr char kResetByPin[] = "/ubi/local/apps/network/Reset4G.sh start pin_rst";
constexpr char kResetByPower[] = "/ubi/local/apps/network/Reset4G.sh start pin_power";
// The leading blank is part of it.
constexpr char kCheckInterface[] = " /ubi/local/apps/network/if-lte /run/network/ifcfg-lte check_interface";

constexpr char kDeviceDirectory[] = "/dev";
constexpr char kDevicePrefix[] = "/dev/";

constexpr unsigned kUpgradePause_seconds = 10;
constexpr unsigned kUpgradePauseAtExit_seconds = 30;
constexpr unsigned kPauseBeforeReset_seconds = 5;
constexpr unsigned kPauseAfterReset_seconds = 5;
constexpr unsigned kInterfacePause_seconds = 1;

/// A Cinterion modem comes back as a ttyACM device, whatever path it was given at first. When it hasn't come
/// back, the path is that of the directory, which nothing useful opens.
void find_cinterion_port(const TracePlace& place, CellBase& cell, PathText& device) {
    PathText name = {};
    memset(device, 0, sizeof device);
    read_devname(kDeviceDirectory, name);
    const size_t length = CopyText(device, kDevicePrefix);
    CopyText(device + length, sizeof device - length, name);
    cell.SetATPort(device);
    TRACE_AT(place, kLogProgress, "Task SetATPort %s\n", device);
}

/// Whether this reset takes the power away: every third one on a ZTE modem.
bool IsPowerReset(const CellBase& cell) {
    return cell.m_vendor_type == cc_cell::kVendorZte && cell.m_reset4g_times % 3 == 2;
}

bool HasBoardScript(int board) {
    return board == cc_cell::kBoardStm32 || board == cc_cell::kBoardA35 || board == cc_cell::kBoardA53;
}

/// Runs no script while an upgrade is running, which may have begun since Task gave up.
void reset_modem(const TracePlace& place, CellBase& cell, PathText& device) {
    if (cell.m_vendor_type == cc_cell::kVendorCinterion) {
        if (!cell.m_ota_running) RunShell(kResetByBoardScript);
        find_cinterion_port(place, cell, device);
    } else if (HasBoardScript(cell.m_board)) {
        TRACE_AT(place, kLogProgress, "etc init.d S84Reset4G.sh start \n");
        if (!cell.m_ota_running) RunShell(kResetByBoardScript);
    } else if (cell.m_ota_running) {
        return;
    } else if (IsPowerReset(cell)) {
        TRACE_AT(place, kLogProgress, "Reset4G.sh start pin_power\n");
        RunShell(kResetByPower);
    } else {
        TRACE_AT(place, kLogProgress, "Reset4G.sh start pin_rst\n");
        RunShell(kResetByPin);
    }
}

/// Takes the modem down and brings it up again, up to the moment when its port can be opened.
void restart_modem(const TracePlace& place, CellBase& cell, PathText& device, int port_fd) {
    TRACE_AT(place, kLogProgress, "kill udhcpc lte!!!\n");
    RunShell(cc_cell::kCommandDhcpKill);
    CloseSerial(port_fd);
    sleep(kPauseBeforeReset_seconds);
    reset_modem(place, cell, device);
    sleep(kPauseAfterReset_seconds);
    TRACE_AT(place, kLogProgress, "check interface lte!!!\n");
    RunShell(kCheckInterface);
    sleep(kInterfacePause_seconds);
    ++cell.m_reset4g_times;
    TRACE_AT(place, kLogProgress, "Reset4G time=%d\n", cell.m_reset4g_times);
}

/// Reads pCell and the flag from memory at each call. Otherwise the compiler, which sees where pCell was
/// cleared, could replace the read through a null pointer by a trap or by nothing at all.
bool IsUpgradeRunning() {
    const CellBase* cell = *const_cast<CellBase* const volatile*>(&pCell);
    return *const_cast<const volatile uint8_t*>(&cell->m_ota_running) != 0;
}

}  // namespace

RunEnd run_task(const TracePlace& place, CellBase& cell, PathText& device, int& port_fd) {
    while (cell.Task() < 0) {
        cell.m_online = 0;
        cell.WriteStatusFiles();
        if (cell.m_ota_running) {
            TRACE_AT(place, kLogProgress, "[OTA] module ota run\n");
            sleep(kUpgradePause_seconds);
            continue;
        }
        restart_modem(place, cell, device, port_fd);
        port_fd = ReopenPort(device);
        if (port_fd < 1) {
            TRACE_AT(place, kLogError, "open device error. %s\n", device);
            return RunEnd::kPortLost;
        }
        cell.SetCell_fd(port_fd);
        cell.SoftReset();
    }
    return RunEnd::kTaskEnded;
}

void wait_for_upgrade(const TracePlace& place) {
    while (IsUpgradeRunning()) {
        TRACE_AT(place, kLogProgress, "[OTA] module ota run\n");
        sleep(kUpgradePauseAtExit_seconds);
    }
}
