#include "tools/doctor/daemon_commands.h"

#include <iterator>

namespace doctor {

const Program kPrograms[] = {
    {"sh", true, false, NeededFor::kEverything, "every command and script"},
    {"mkdir", true, false, NeededFor::kEverything, "/run/network at the start"},
    {"rm", true, false, NeededFor::kEverything, "the pipe, made anew at each start"},
    {"echo", true, true, NeededFor::kEverything, "the pin that selects the SIM"},
    {"ping", true, false, NeededFor::kProbes, "probes of the network, with DoubleSIM or ORLA"},
    {"wc", true, false, NeededFor::kProbes, "probes of the network, with DoubleSIM or ORLA"},
    {"grep", true, false, NeededFor::kProbes, "probes of the network, with DoubleSIM or ORLA"},
    {"awk", true, false, NeededFor::kProbes, "probes of the network, with DoubleSIM or ORLA"},
    {"ifconfig", true, false, NeededFor::kSomeModems, "SIMCom and LYNQ modems: wwan0 up and down"},
    {"rmmod", true, false, NeededFor::kDriverOfImx6ul, "Quectel Qualcomm modems: their network driver"},
    {"insmod", true, false, NeededFor::kDriverOfImx6ul, "Quectel Qualcomm modems: their network driver"},
    {"/ubi/local/apps/network/if-lte", true, false, NeededFor::kEverything, "the modem's interface and DHCP"},
    {"/ubi/local/apps/network/Reset4G.sh", true, false, NeededFor::kEverything, "hardware resets"},
    {"/etc/init.d/S84Reset4G.sh", true, false, NeededFor::kEverything, "hardware resets of some boards"},
    {"/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose", true, false, NeededFor::kUpgrades,
     "upgrades of the firmware"},
    {"ip", false, false, NeededFor::kAddress, "if-lte: the modem's interface"},
    {"udhcpc", false, false, NeededFor::kAddress, "if-lte: the address"},
    {"sed", false, false, NeededFor::kAddress, "if-lte: the name of the interface"},
    {"head", false, false, NeededFor::kAddress, "if-lte: the name of the interface"},
    {"cat", false, false, NeededFor::kAddress, "if-lte: the DHCP client's process"},
    {"sleep", false, false, NeededFor::kAddress, "if-lte and the reset scripts: pauses"},
    {"dirname", false, false, NeededFor::kAddress, "if-lte: its own folder"},
    {"ln", false, false, NeededFor::kAddress, "udhcpc-lte: a second name of the pipe"},
    {"mv", false, false, NeededFor::kAddress, "udhcpc-lte: a plain file in the pipe's place"},
    {"setsid", false, false, NeededFor::kUpgrades, "the wrapper of the firmware tool, and the init script"},
    {"chmod", false, false, NeededFor::kInitScript, "the service: /run/network"},
    {"chown", false, false, NeededFor::kInitScript, "the service: /run/network"},
    {"chgrp", false, false, NeededFor::kInitScript, "the service: the settings"},
    {"id", false, false, NeededFor::kInitScript, "the service: who runs it"},
    {"ls", false, false, NeededFor::kInitScript, "the service: whose a file is"},
    {"cp", false, false, NeededFor::kInitScript, "the service: the settings"},
    {"tr", false, false, NeededFor::kInitScript, "the init script: its supervisor's process"},
    {"logger", false, false, NeededFor::kSomeModems, "complaints of scripts in the system's log"},
    {"cmp", false, false, NeededFor::kSomeModems, "ravelin-board-setup"},
    {"rmdir", false, false, NeededFor::kSomeModems, "ravelin-board-setup"},
};
const size_t kProgramCount = std::size(kPrograms);

}  // namespace doctor
