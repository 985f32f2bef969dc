// The life of one run of the daemon, in order: options, settings, bus, port, identification, driver,
// bring-up, and then Task until the process is ended from outside. Main thread; what happens on others is
// started here.
#include "network_daemon/main.h"

#include <pthread.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "network_daemon/config/ConfigController.h"
#include "network_daemon/config/ini_store.h"
#include "platform/busglue/busglue.h"
#include "support/build_info.h"
#include "support/serial_port.h"
#include "support/shell.h"

using namespace cc_cell;

namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = -1;
constexpr char kMakeNetworkDirectory[] = "mkdir /run/network/ -p";

int FindBoard() {
    const int board = board_cpu_info();
    return board != kBoardUnknown ? board : board_version_info();
}

/// Proves that the settings file exists; its keys are read by the driver. Some ends of a run leave the table
/// to the system, so it is held from here and not from main.
IniEntry* settings = nullptr;

/// Starts the thread that listens to the board's scripts; it lives as long as the process.
void StartPipeThread() {
    pthread_t thread;
    errno = pthread_create(&thread, nullptr, thread_function_pipe, nullptr);
    if (errno != 0) {
        perror("Failed to create thread");
        exit(kExitFailed);
    }
    errno = pthread_detach(thread);
    if (errno != 0) {
        perror("Failed to detach thread");
        exit(kExitFailed);
    }
}

/// From the new object to the first attempt at a link. What fails here is left to the retries of Task.
void BringUp(CellBase& cell, const char* script) {
    cell.SetBoard(FindBoard());
    cell.GetLTEcfg();
    cell.Initialize();
    cell.CheckSimCard();
    cell.SetDhcpcScript(script);
    cell.WriteStatusFiles();
    if (cell.m_vendor_type == kVendorQuectelQcom) cell.ConfigThermalLimit();
    cell.Connect();
}

}  // namespace

int main(int argc, char** argv) {
    // A journal or tee reads it: whole lines at once, and none lost when a signal ends the process.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    Options options;
    ConfigController config;
    trace_init(argc, argv);
    if (!ReadOptions(argc, argv, options)) return kExitDone;
    settings = ini_load(options.config);
    if (settings == nullptr) {
        TRACE(kLogAnnounce, "config %s don't exist\n", options.config);
        return kExitFailed;
    }
    if (JoinBus() < 0) {
        perror("DBUS initialize error!\n");
        exit(kExitFailed);
    }
    log_send("ravelin start!!!");
    TRACE(kLogProgress, "THIS APP BUILD INFO: commit %s tag V2.5.1 by %s on %s\n", kBuildCommit, kBuilder,
          kBuildStamp);
    TRACE(kLogProgress, "dev = %s, config = %s, script = %s\n", options.device, options.config,
          options.script);
    RunShell(kMakeNetworkDirectory);

    // What must work without a modem starts here: the wait for the port has no end.
    StartPipeThread();
    int port_fd = wait_for_port(TRACE_HERE, options.device);
    TRACE(kLogProgress, "open device  %s  ok!\n", options.device);
    const int vendor = CheckDevType(port_fd);
    if (vendor == kVendorCinterion) TRACE(kLogAnnounce, "Cell Device CellCinterion!\n");
    pCell = BuildDriver(vendor, port_fd);
    if (pCell == nullptr) {
        TRACE(kLogAnnounce, "Unknow Cell Device!\n");
        return kExitDone;
    }
    TellVendor(*pCell, vendor);

    if (pass_gate(TRACE_HERE, config)) {
        TRACE(kLogAnnounce, "GetVendorType=%d!\n", pCell->m_vendor_type);
        if (pCell->m_vendor_type == kVendorCinterion) {
            TRACE(kLogProgress, "SetATPort %s\n", options.device);
            pCell->SetATPort(options.device);
        }
        BringUp(*pCell, options.script);
        if (options.debug_terminal) pCell->DebugTerminal();
        if (run_task(TRACE_HERE, *pCell, options.device, port_fd) == RunEnd::kPortLost) {
            ini_free(settings);
            return kExitFailed;
        }
    }

    wait_for_upgrade(TRACE_HERE);  // where a refused module ends the process
    CloseSerial(port_fd);
    ini_free(settings);
    DropDriver();
    TRACE(kLogProgress, "soft exit!!!\n");
    return kExitDone;
}
