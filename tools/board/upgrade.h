// An upgrade of the modem's firmware: what has to be there for it, and how the daemon's log tells its
// outcome.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/board/daemon_line.h"

namespace board {

// Where the daemon looks, whatever a request says.
constexpr char kFirmwareFolder[] = "/media/mmcblk0p1/firmware_modules/CellularOTA";
constexpr char kFirmwareTool[] = "QFirehose";
constexpr char kWrappedTool[] = "QFirehose.real";  // the maker's, where the wrapper has its name
// The only model that the daemon upgrades; the name of its firmware begins with it.
constexpr char kUpgradeModel[] = "EG21";

struct FirmwareFile {
    std::string name;  // below the folder
    int64_t size_bytes;
};

struct Firmware {
    std::vector<std::string> problems;  // why an upgrade can't go well; none: it may
    std::vector<FirmwareFile> files;    // of the firmware, without the tool
    bool is_wrapped = false;            // the tool survives the daemon's end
};

/// Looks for the tool and the firmware: there, readable, not empty. Nothing is opened but plain files, for
/// reading.
Firmware CheckFirmware(const std::string& folder);

/// The outcome that a line of the daemon's log tells, numbered as on the bus; nothing for other lines.
std::optional<unsigned> OutcomeOf(const DaemonLine& line);

}  // namespace board
