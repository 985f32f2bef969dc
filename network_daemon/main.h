// What the files of the process share. main.cpp is the sequence of a run; each main_*.cpp is one concern of
// it. Helpers that log on behalf of the sequence take its place first, so that their lines say `main`.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "network_daemon/board.h"
#include "network_daemon/cellular.h"
#include "platform/busglue/busglue.h"
#include "support/tlv.h"
#include "support/trace_log.h"

class ConfigController;

constexpr int kPathSize = 4096;
using PathText = char[kPathSize];

// main_options.cpp: the command line

struct Options {
    PathText device = "/dev/ttyUSB2";
    char config[256] = "/run/network/ifcfg-lte";
    PathText script = "";
    bool debug_terminal = false;
};

/// Reads the command line into `options`; a text that doesn't fit is cut. False: the usage was asked for and
/// has been printed; nothing after that was read. Complaints about unknown options come from getopt, and
/// don't stop anything.
bool ReadOptions(int argc, char** argv, Options& options);

// main_bus.cpp: the message bus

/// Joins the message bus under the daemon's name. From here on the handlers can be called, on threads of the
/// bus library. Negative: failed.
int JoinBus();

/// Takes one frame of the OCPP service, acts, and answers through `reply`, which may be null. On a thread of
/// the bus library, with over 30 KB of stack. 0, always.
int ravelin_deal_dbus_message(int length, unsigned char* bytes, void* context, busglue_reply reply);

/// The fifteen items about the modem that the service receives; empty while there is no driver.
ByteArray BuildStatusTlv();

/// The data of the answer to a status question: the number of the items in front of them. Without items,
/// since the driver went away after the question had come, a zero alone, and a word on standard output.
ByteArray BuildStatusAnswer(ByteArray items);

// main_fifo.cpp: commands of the board's scripts

/// Entry of the thread that listens to the scripts' pipe. Takes nothing, never returns, needs no modem.
void* thread_function_pipe(void* nothing);

/// Acts on one pair: logs it, and asks Task for the reset that it may stand for. On the pipe's thread.
void handle_command(const char* key, const char* value);

// main_port.cpp: the modem's AT port

/// Opens `device` and sets the line up; waits for as long as it takes, and says so at first. The descriptor.
int wait_for_port(const TracePlace& place, const char* device);

/// Opens `device` at the first try and sets the line up. The descriptor, or a value below 1.
int ReopenPort(const char* device);

// main_factory.cpp: modem to driver

/// Builds the one driver object for what CheckDevType found. Null for a vendor that has no driver. The
/// caller owns it.
cc_cell::CellBase* BuildDriver(int vendor, int port_fd);

/// Gives a driver its vendor where the engine's special cases have to know it. main does so once the object
/// is in pCell.
void TellVendor(cc_cell::CellBase& cell, int vendor);

/// Takes the object out of pCell and then deletes it: a frame or a command that comes meanwhile finds no
/// driver, and not what is left of one. Does nothing when there is none.
void DropDriver();

// main_board.cpp: where a modem went; what board this is, see board.h

/// Name of a "ttyACM" entry of `directory`, without the directory; of several, the one that the directory
/// lists last. `result` stays as it was when there is none. 0; -1 when the directory can't be read.
int read_devname(const char* directory, PathText& result);

// main_restart.cpp: Task, and the hardware resets that it asks for

enum class RunEnd {
    kTaskEnded,  // a driver ended its task; the port is open
    kPortLost,   // the port could not be reopened after a reset
};

/// Runs `Task` for as long as the daemon lives, and resets the modem each time it asks for that. `device` is
/// found anew after each reset of a Cinterion modem, and `port_fd` is the descriptor of the reopened port.
RunEnd run_task(const TracePlace& place, cc_cell::CellBase& cell, PathText& device, int& port_fd);

/// Returns once no upgrade of the modem's firmware is running: a soft exit never cuts one off. Reads
/// through pCell, so that after a refused module, which leaves no driver there, the process ends by SIGSEGV:
/// the supervisor of the daemon is to see a crash then, not an exit status.
void wait_for_upgrade(const TracePlace& place);

// main_upgrade.cpp: the upgrade of the modem's firmware

/// Parameters of the last upgrade request: the bus handler stores them for its log line, the upgrade's end
/// empties them, perhaps at the same moment. Nothing locks them and nothing else depends on them: arrays,
/// with room for the longest item, whose last byte is always zero.
using ParameterText = char[256];
extern ParameterText supportModule;
extern ParameterText otatool;
extern ParameterText otaPath;

/// Handle of the last upgrade thread, which is detached.
extern pthread_t ota_thread;

/// Entry of the upgrade thread; takes the driver. Runs the driver's upgrade, reports its outcome once and
/// clears m_ota_running last.
void* thread_function_ota(void* cell);

// main_gate.cpp: modules that a product doesn't allow

/// Whether the identified module may run here. A file that is missing or broken restricts nothing. On a
/// refusal the service has been notified, and the driver is gone. Its lines are logged in `place`.
bool pass_gate(const TracePlace& place, ConfigController& config);
