// A healthy board has nothing wrong with it, and each broken one exactly what was broken.
#include "tools/doctor/examination.h"

#include <cerrno>
#include <functional>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "tests/support/healthy_board.h"
#include "tools/doctor/catalogue.h"
#include "tools/doctor/report_json.h"

namespace doctor {
namespace {

using Names = std::multiset<std::string>;

Names FoundOn(const Report& report) {
    Names names;
    for (const GroupReport& group : report.groups) {
        for (const Finding& finding : group.findings) names.insert(finding.complaint->name);
    }
    return names;
}

std::string WhatOf(const Report& report) {
    std::string what;
    for (const GroupReport& group : report.groups) {
        for (const Finding& finding : group.findings) {
            what += std::string(finding.complaint->name) + ": " + finding.what + "\n";
        }
    }
    return what;
}

std::string UnseenOf(const Report& report) {
    std::string unseen;
    for (const GroupReport& group : report.groups) {
        for (const std::string& text : group.unseen) unseen += text + "\n";
    }
    return unseen;
}

/// One way in which a board is broken, and what is found then.
struct Broken {
    const char* name;
    void (*how)(HealthyBoard&);
    Names found;
    const char* what;  // a part of the finding's text
};

constexpr char kSettingsFile[] = "/run/network/ifcfg-lte";
constexpr char kJson[] = "/ubi/conf/network/network.json";
constexpr char kResetScript[] = "/ubi/local/apps/network/Reset4G.sh";
constexpr char kUnit[] = "/lib/systemd/system/ravelin-mobile.service";
constexpr char kPolicy[] = "/etc/dbus-1/system.d/busglue.conf";
constexpr char kPipe[] = "/run/network/ravelin_fifo";

constexpr char kGuardFile[] = "/etc/ravelin/guard.conf";
constexpr char kGuardLines[] = "INTERFACE=wwan0\nICMP=192.0.2.1\nTCP=192.0.2.2 443\n";

/// The same settings in both places, so that they don't differ.
void Add(HealthyBoard& on, const std::string& lines) {
    on.folder.Append(kSettingsFile, lines);
    on.folder.Append("/etc/ravelin/ifcfg-lte", lines);
}

/// A rule in a file of its own beside ours, which is read later.
void AddPolicy(HealthyBoard& on, const std::string& section) {
    on.folder.Write("/etc/dbus-1/system.d/zz.conf", "<busconfig>" + section + "</busconfig>");
}

/// No daemon runs, and so nobody has the name nor reads the pipe.
void StopDaemon(HealthyBoard& on) {
    on.RemoveProcess(kDaemonProcess);
    on.folder.Remove(kPipe);
    on.bus.name_is_owned = false;
}

void UseInitScript(HealthyBoard& on) {
    on.folder.Remove(kUnit);
    on.folder.Write("/etc/init.d/S85ravelin-mobile",
                    BoardFolder::TextOf(std::string(RAVELIN_SOURCE_DIR) + "/packaging/init/ravelin-mobile"),
                    0755);
}

const Broken kBroken[] = {
    {"guard with a mistake in its settings",
     [](HealthyBoard& on) { on.folder.Write(kGuardFile, std::string(kGuardLines) + "ICMP=ns.example\n"); },
     {"guard-settings"},
     "line 4: \"ns.example\""},
    {"guard whose settings others can write",
     [](HealthyBoard& on) { on.folder.Write(kGuardFile, kGuardLines, 0666); },
     {"guard-open"},
     "0666"},
    {"guard that runs and has one kind of probes",
     [](HealthyBoard& on) {
         on.folder.Write(kGuardFile, "INTERFACE=wwan0\nICMP=192.0.2.1\nICMP=192.0.2.2\n");
         on.AddProcess(300, "ravelin-guard");
     },
     {"guard-watches"},
     "one kind only"},
    {"guard of an interface that isn't there",
     [](HealthyBoard& on) {
         on.folder.Write(kGuardFile, kGuardLines);
         on.folder.MakeFolder("/sys/class/net/lo");
     },
     {"guard-interface"},
     "wwan0"},
    {"guard with half a budget",
     [](HealthyBoard& on) {
         on.folder.Write(kGuardFile, kGuardLines);
         on.folder.Write("/var/lib/ravelin-guard/budget", "RAVELIN_GUARD_BUDGET=1\nBOOT=x\n");
     },
     {"guard-budget"},
     "damaged"},
    {"port is gone",
     [](HealthyBoard& on) { on.folder.Remove("/dev/ttyUSB2"); },
     {"port-missing"},
     "isn't there"},
    {"port is gone and others are there",
     [](HealthyBoard& on) {
         on.folder.Remove("/dev/ttyUSB2");
         on.folder.Write("/dev/ttyUSB0", "");
         on.folder.Write("/dev/ttyACM1", "");
     },
     {"port-missing"},
     "there are /dev/ttyACM1 and /dev/ttyUSB0"},
    {"port is a link to nowhere",
     [](HealthyBoard& on) {
         on.request.device = "/dev/ravelin-at";
         on.folder.Link("/dev/ravelin-at", "ttyUSB7");
     },
     {"port-missing"},
     "its link leads nowhere"},
    {"port of the service's settings is gone",
     [](HealthyBoard& on) { on.folder.Exchange("/etc/default/ravelin-mobile", "ttyUSB2", "ttyUSB5"); },
     {"port-missing"},
     "/dev/ttyUSB5"},
    {"port of the running daemon is gone",
     [](HealthyBoard& on) {
         on.folder.Write("/proc/100/cmdline", std::string("ravelin-mobile\0-d\0/dev/ttyUSB6\0-Dl\0", 34));
     },
     {"port-missing"},
     "/dev/ttyUSB6"},
    {"port is a plain file",
     [](HealthyBoard& on) { on.board.devices.clear(); },
     {"port-no-device"},
     "no serial port"},
    {"port is a pipe",
     [](HealthyBoard& on) {
         on.board.devices.clear();
         on.folder.Pipe("/dev/ttyUSB2");
     },
     {"port-no-device"},
     "no serial port"},
    {"port is held by a terminal program",
     [](HealthyBoard& on) {
         on.AddProcess(200, "microcom");
         on.Opens(200, 4, "/dev/ttyUSB2");
     },
     {"port-held"},
     "process 200 (microcom)"},
    {"port is open to all",
     [](HealthyBoard& on) { on.folder.SetMode("/dev/ttyUSB2", 0666); },
     {"port-open"},
     "0666"},
    {"port is another than udev's",
     [](HealthyBoard& on) {
         on.folder.Write("/dev/ttyUSB3", "", 0660);
         on.board.MakeDevice("/dev/ttyUSB3", makedev(188, 3));
         on.folder.Link("/dev/ravelin-at", "ttyUSB3");
     },
     {"port-other"},
     "/dev/ravelin-at is another one"},
    {"modem is mute",
     [](HealthyBoard& on) {
         on.folder.Remove("/proc/100/fd/3");
         on.request.ask = true;
         on.answer = {true, "", false, "\r\nERROR\r\n"};
     },
     {"port-silent"},
     "ERROR"},
    {"ModemManager runs",
     [](HealthyBoard& on) { on.AddProcess(300, "ModemManager"); },
     {"modem-manager"},
     "no udev rule"},
    {"ModemManager has the port",
     [](HealthyBoard& on) {
         on.AddProcess(300, "ModemManager");
         on.Opens(300, 9, "/dev/ttyUSB2");
         on.folder.Write("/run/udev/data/c188:2", "E:ID_MM_PORT_IGNORE=1\n");
     },
     {"port-held"},
     "ModemManager"},
    {"two daemons run",
     [](HealthyBoard& on) { on.AddProcess(101, kDaemonName); },
     {"second-daemon"},
     "process 100 (ravelin-mobile) and process 101 (ravelin-mobile)"},

    {"no if-lte",
     [](HealthyBoard& on) { on.folder.Remove("/ubi/local/apps/network/if-lte"); },
     {"script-missing"},
     "if-lte"},
    {"no udhcpc-lte",
     [](HealthyBoard& on) { on.folder.Remove("/ubi/local/apps/network/udhcpc-lte"); },
     {"script-missing"},
     "if-lte needs it"},
    {"no Reset4G.sh",
     [](HealthyBoard& on) { on.folder.Remove(kResetScript); },
     {"script-missing"},
     kResetScript},
    {"no S84Reset4G.sh where nobody calls it",
     [](HealthyBoard& on) { on.folder.Remove("/etc/init.d/S84Reset4G.sh"); },
     {"script-spare"},
     "S84Reset4G.sh"},
    {"no S84Reset4G.sh on a board that is reset by it",
     [](HealthyBoard& on) {
         on.folder.Write("/proc/cpuinfo", "Hardware\t: STM32 (Device Tree Support)\n");
         on.folder.Remove("/etc/init.d/S84Reset4G.sh");
     },
     {"script-missing"},
     "S84Reset4G.sh"},
    {"a script isn't executable",
     [](HealthyBoard& on) { on.folder.SetMode(kResetScript, 0644); },
     {"script-not-executable"},
     "isn't executable"},
    {"a folder in a script's place",
     [](HealthyBoard& on) {
         on.folder.Remove(kResetScript);
         on.folder.MakeFolder(kResetScript);
     },
     {"script-not-executable"},
     "no plain file"},
    {"a script with line ends of DOS",
     [](HealthyBoard& on) { on.folder.Exchange(kResetScript, "#!/bin/sh\n", "#!/bin/sh\r\n"); },
     {"script-interpreter"},
     "/bin/sh\r"},
    {"a script that others can write",
     [](HealthyBoard& on) { on.folder.SetMode(kResetScript, 0757); },
     {"script-open"},
     "0757"},
    {"a script of somebody else",
     [](HealthyBoard& on) { on.board.owners[kResetScript] = 1000; },
     {"script-open"},
     "user 1000"},
    {"no reset pin",
     [](HealthyBoard& on) { on.folder.Remove("/sys/class/gpio/gpio121"); },
     {"pin-missing"},
     "gpio121"},
    {"reset pin isn't exported",
     [](HealthyBoard& on) {
         on.folder.Remove("/sys/class/gpio/gpio121");
         on.folder.Write("/sys/class/gpio/export", "");
     },
     {"pin-not-exported"},
     "gpio121"},
    {"no power pin",
     [](HealthyBoard& on) { on.folder.Remove("/sys/class/gpio/gpio122"); },
     {"power-pin-missing"},
     "gpio122"},
    {"no selector pin",
     [](HealthyBoard& on) { on.folder.Remove("/sys/class/gpio/gpio130"); },
     {"selector-missing"},
     "gpio130"},
    {"no selector pin of an A35",
     [](HealthyBoard& on) {
         on.folder.Write("/proc/cpuinfo", "CPU part\t: 0xd04\n");
         on.folder.Remove("/sys/class/gpio/gpio182");
     },
     {"selector-missing"},
     "gpio182"},
    {"selector pin is an input",
     [](HealthyBoard& on) { on.folder.Write("/sys/class/gpio/gpio130/direction", "in\n"); },
     {"selector-input"},
     "gpio130"},

    {"no ip",
     [](HealthyBoard& on) { on.folder.Remove("/usr/bin/ip"); },
     {"tool-missing"},
     "ip isn't installed"},
    {"no ln, which a script of the board calls",
     [](HealthyBoard& on) { on.folder.Remove("/usr/bin/ln"); },
     {"tool-missing"},
     "ln isn't installed"},
    {"no ln, and scripts of the board's own",
     [](HealthyBoard& on) {
         on.folder.Remove("/usr/bin/ln");
         on.folder.Write("/ubi/local/apps/network/udhcpc-lte", "#!/bin/sh\nvuln --ln-s\n", 0755);
     },
     {"tool-spare"},
     "ln isn't installed"},
    {"no ping, and it is needed",
     [](HealthyBoard& on) { on.folder.Remove("/usr/bin/ping"); },
     {"tool-missing"},
     "ping"},
    {"no ping, and it isn't needed",
     [](HealthyBoard& on) {
         on.folder.Remove("/usr/bin/ping");
         on.folder.Exchange(kSettingsFile, "DoubleSIM=1", "DoubleSIM=0");
         on.folder.Exchange("/etc/ravelin/ifcfg-lte", "DoubleSIM=1", "DoubleSIM=0");
     },
     {"tool-spare"},
     "ping"},
    {"ifconfig can't be run",
     [](HealthyBoard& on) { on.folder.SetMode("/usr/bin/ifconfig", 0644); },
     {"tool-spare"},
     "ifconfig"},
    {"no network driver on an i.MX6UL",
     [](HealthyBoard& on) { on.folder.Write("/proc/cpuinfo", "Hardware\t: Freescale i.MX6UL\n"); },
     {"driver-missing"},
     "qmi_wwan_q.ko"},

    {"no settings",
     [](HealthyBoard& on) {
         on.folder.Remove(kSettingsFile);
         on.folder.Remove("/etc/ravelin/ifcfg-lte");
     },
     {"settings-missing"},
     "neither"},
    {"a pipe in the settings' place",
     [](HealthyBoard& on) { on.folder.Pipe(kSettingsFile); },
     {"settings-no-file"},
     kSettingsFile},
    {"settings can't be written",
     [](HealthyBoard& on) {
         on.board.spaces[kSettingsFile] = {true, true, false};
     },
     {"settings-read-only"},
     kSettingsFile},
    {"settings with a value that is too long",
     [](HealthyBoard& on) { Add(on, "USERNAME=" + std::string(300, 'x') + "\n"); },
     {"settings-refused"},
     "line 5"},
    {"settings without a line that counts",
     [](HealthyBoard& on) {
         on.folder.Write(kSettingsFile, "# nothing\n", 0640);
         on.folder.Write("/etc/ravelin/ifcfg-lte", "# nothing\n", 0600);
     },
     {"settings-refused"},
     "no line that counts"},
    {"settings are huge",
     [](HealthyBoard& on) {
         for (int i = 0; i < 700; ++i) Add(on, "#" + std::string(99, '-') + "\n");
     },
     {"settings-too-large", "settings-too-large"},
     "64 KB"},
    {"settings with a key in small letters",
     [](HealthyBoard& on) { Add(on, "username=u\n"); },
     {"settings-dropped"},
     "line 5 (username) is skipped: it doesn't begin with a capital letter"},
    {"settings with a blank in front",
     [](HealthyBoard& on) { Add(on, " USERNAME=u\n"); },
     {"settings-dropped"},
     "begins with a blank"},
    {"settings without an equals sign",
     [](HealthyBoard& on) { Add(on, "USERNAME u\n"); },
     {"settings-dropped"},
     "no equals sign"},
    {"settings with an unfinished line",
     [](HealthyBoard& on) { Add(on, "USERNAME="); },
     {"settings-dropped"},
     "not even a line end"},
    {"settings with a line that is too long",
     [](HealthyBoard& on) { Add(on, "#" + std::string(1100, 'x') + "\n"); },
     {"settings-dropped"},
     "read in pieces"},
    {"settings with a key twice",
     [](HealthyBoard& on) { Add(on, "Apn=other\n"); },
     {"settings-twice"},
     "Apn stands in /run/network/ifcfg-lte, line 3 already"},
    {"settings with a second equals sign",
     [](HealthyBoard& on) { Add(on, "USERNAME=a=b\n"); },
     {"settings-cut"},
     "takes \"a\""},
    {"settings with a long user name",
     [](HealthyBoard& on) { Add(on, "USERNAME=" + std::string(64, 'x') + "\n"); },
     {"settings-cut"},
     "64 characters, and the daemon keeps 63"},
    {"settings with a command in them",
     [](HealthyBoard& on) { Add(on, "USERNAME=u\rATD123;\n"); },
     {"settings-control"},
     "control characters in the value of USERNAME"},
    {"settings with a zero byte",
     [](HealthyBoard& on) { Add(on, std::string("USERNAME=a\0b\n", 13)); },
     {"settings-control"},
     "zero byte"},
    {"settings with a quote",
     [](HealthyBoard& on) { Add(on, "USERNAME=u\"x\n"); },
     {"settings-quote"},
     "USERNAME"},
    {"settings with an odd quote in the APN",
     [](HealthyBoard& on) {
         for (const char* file : {kSettingsFile, "/etc/ravelin/ifcfg-lte"})
             on.folder.Exchange(file, "APN=internet", "APN='internet");
     },
     {"settings-quote"},
     "APN"},
    {"settings with a switch that is no number",
     [](HealthyBoard& on) { Add(on, "ORLA=yes\n"); },
     {"settings-odd"},
     "\"yes\"; that is off"},
    {"settings with a wrong ENABLE",
     [](HealthyBoard& on) {
         for (const char* file : {kSettingsFile, "/etc/ravelin/ifcfg-lte"})
             on.folder.Exchange(file, "ENABLE=true", "ENABLE=False");
     },
     {"settings-odd"},
     "the link stays on"},
    {"settings with a wrong kind of authentication",
     [](HealthyBoard& on) { Add(on, "AUTH_TYPE=7\n"); },
     {"settings-odd"},
     "the modem gets 7"},
    {"settings with a comment after a value",
     [](HealthyBoard& on) { Add(on, "USERNAME=u # me\n"); },
     {"settings-comment"},
     "u # me"},
    {"settings with a key that nobody knows",
     [](HealthyBoard& on) { Add(on, "USER_NAME=u\n"); },
     {"settings-unknown"},
     "USER_NAME"},
    {"settings with line ends of DOS",
     [](HealthyBoard& on) { Add(on, "USERNAME=u\r\n"); },
     {"settings-line-ends"},
     "CR LF"},
    {"settings that switch the link off",
     [](HealthyBoard& on) {
         for (const char* file : {kSettingsFile, "/etc/ravelin/ifcfg-lte"})
             on.folder.Exchange(file, "ENABLE=true", "ENABLE=false");
     },
     {"settings-off"},
     "ENABLE=false"},
    {"settings that others can write",
     [](HealthyBoard& on) { on.folder.SetMode(kSettingsFile, 0646); },
     {"settings-open"},
     "0646"},
    {"settings with a password for all to read",
     [](HealthyBoard& on) {
         Add(on, "PASSWORD=secret\n");
         on.folder.SetMode("/etc/ravelin/ifcfg-lte", 0644);
     },
     {"settings-secret"},
     "/etc/ravelin/ifcfg-lte"},
    {"settings that are others after a boot",
     [](HealthyBoard& on) { on.folder.Exchange(kSettingsFile, "APN=internet", "APN=other"); },
     {"settings-differ"},
     "/etc/ravelin/ifcfg-lte"},
    {"network.json isn't JSON",
     [](HealthyBoard& on) { on.folder.Write(kJson, "{\"a\": }", 0600); },
     {"json-broken"},
     "at byte 7"},
    {"network.json is a list",
     [](HealthyBoard& on) { on.folder.Write(kJson, "[]", 0600); },
     {"json-broken"},
     "a list at its root"},
    {"network.json is a pipe",
     [](HealthyBoard& on) { on.folder.Pipe(kJson); },
     {"json-broken"},
     "no plain file"},
    {"network.json aborts the daemon",
     [](HealthyBoard& on) { on.folder.Exchange(kJson, "\"eth0\": \"1\"", "\"eth0\": 1"); },
     {"json-abort"},
     "network_config.priority.eth0 is a number"},
    {"network.json with a number for a text",
     [](HealthyBoard& on) {
         on.folder.Exchange(kJson, "\"ApDurationTime\": \"600\"", "\"ApDurationTime\": 600");
     },
     {"json-type"},
     "network_config.ApDurationTime is a number"},
    {"network.json with a text for a record",
     [](HealthyBoard& on) { on.folder.Write(kJson, R"({"network_config": {"lte": "on"}})", 0600); },
     {"json-type"},
     "network_config.lte is a text, and an object is wanted"},
    {"network.json with an odd list",
     [](HealthyBoard& on) { on.folder.Exchange(kJson, "\"eg21-g\"]", "7]"); },
     {"json-type"},
     "a member of whitelist.userSettings.moduleName.allowedValues is a number"},
    {"network.json that restricts nothing",
     [](HealthyBoard& on) {
         on.folder.Write(kJson, R"({"customer_name": "halden", "product_name": "Quillbox", "whitelist": {}})",
                         0600);
     },
     {"json-no-list"},
     "no modem"},

    {"a file in the folder's place",
     [](HealthyBoard& on) {
         on.folder.Remove(kNetworkFolder);
         on.folder.Write(kNetworkFolder, "");
         on.folder.Remove("/proc/100/fd/5");
     },
     {"folder-no-folder"},
     "no folder"},
    {"folder is open to all",
     [](HealthyBoard& on) { on.folder.SetMode(kNetworkFolder, 0777); },
     {"folder-open"},
     "0777"},
    {"folder is somebody else's",
     [](HealthyBoard& on) { on.board.owners[kNetworkFolder] = 1000; },
     {"folder-open"},
     "user 1000"},
    {"folder is readable for all",
     [](HealthyBoard& on) { on.folder.SetMode(kNetworkFolder, 0755); },
     {"folder-readable"},
     "0755"},
    {"folder is full",
     [](HealthyBoard& on) {
         on.board.spaces[kNetworkFolder] = {true, false, true};
     },
     {"folder-full"},
     "is full"},
    {"a link in a status file's place",
     [](HealthyBoard& on) { on.folder.Link("/run/network/signal_status", "/etc/passwd"); },
     {"status-no-file"},
     "is a link"},
    {"a status file with a second name",
     [](HealthyBoard& on) {
         std::filesystem::create_hard_link(on.folder / "/run/network/ravelin_status",
                                           on.folder / "/run/second");
     },
     {"status-no-file"},
     "second name"},
    {"a plain file in the pipe's place",
     [](HealthyBoard& on) { on.folder.Write(kPipe, "SoftReset:1\n"); },
     {"pipe-no-pipe"},
     "plain file"},
    {"a pipe that nobody reads",
     [](HealthyBoard& on) { on.folder.Remove("/proc/100/fd/5"); },
     {"pipe-unread"},
     "nobody reads"},
    {"no pipe",
     [](HealthyBoard& on) { on.folder.Remove(kPipe); },
     {"pipe-missing"},
     "no /run/network/ravelin_fifo"},
    {"a pipe that others can write",
     [](HealthyBoard& on) { on.folder.SetMode(kPipe, 0662); },
     {"pipe-open"},
     "0662"},

    {"no bus library",
     [](HealthyBoard& on) { on.folder.Remove("/usr/lib/libbusglue.so"); },
     {"bus-library-missing"},
     "libbusglue.so"},
    {"no bus",
     [](HealthyBoard& on) {
         on.bus.is_reachable = false;
         on.bus.error = "No such file or directory";
     },
     {"bus-missing"},
     "No such file"},
    {"another bus in the daemon's environment",
     [](HealthyBoard& on) {
         on.folder.Write("/proc/100/environ",
                         std::string("A=b\0RAVELIN_BUS_ADDRESS=unix:path=/tmp/bus\0", 43));
     },
     {"bus-other"},
     "process 100"},
    {"another bus in the service's settings",
     [](HealthyBoard& on) {
         on.folder.Append("/etc/default/ravelin-mobile", "RAVELIN_BUS_ADDRESS=unix:path=/tmp/bus\n");
     },
     {"bus-other"},
     "/etc/default"},
    {"somebody else has the name",
     [](HealthyBoard& on) {
         on.AddProcess(200, "python3");
         on.bus.owner = 200;
     },
     {"bus-name-taken"},
     "process 200 (python3)"},
    {"nobody has the name",
     [](HealthyBoard& on) { on.bus.name_is_owned = false; },
     {"bus-name-missing"},
     "busglue.RAVELIN"},
    {"a policy that is no XML",
     [](HealthyBoard& on) { on.folder.Write("/etc/dbus-1/system.d/other.conf", "<busconfig><policy>"); },
     {"policy-unreadable"},
     "other.conf: line 1"},
    {"no policy of ours",
     [](HealthyBoard& on) { on.folder.Remove(kPolicy); },
     {"policy-missing"},
     "root own"},
    {"a policy that lets others own",
     [](HealthyBoard& on) {
         AddPolicy(on, R"(<policy context="default"><allow own="busglue.RAVELIN"/></policy>)");
     },
     {"policy-own"},
     "busglue.RAVELIN"},
    {"a policy that lets others own the service's name",
     [](HealthyBoard& on) {
         AddPolicy(on, R"(<policy context="default"><allow own="busglue.OCPP"/></policy>)");
     },
     {"policy-own"},
     "busglue.OCPP"},
    {"a policy that lets others call",
     [](HealthyBoard& on) {
         AddPolicy(on,
                   R"(<policy context="default"><allow send_destination="busglue.RAVELIN"
                   send_type="method_call"/></policy>)");
     },
     {"policy-call"},
     "call the daemon"},
    {"a policy that lets others send signals",
     [](HealthyBoard& on) {
         AddPolicy(on, R"(<policy context="mandatory"><allow send_type="signal"/></policy>)");
     },
     {"policy-signal"},
     "signal"},
    {"a policy that names a user",
     [](HealthyBoard& on) {
         AddPolicy(on, R"(<policy user="ocpp"><allow own="busglue.OCPP"/>
                          <allow send_destination="busglue.RAVELIN" send_type="method_call"/></policy>)");
     },
     {"policy-user"},
     "user ocpp may call the daemon, by /etc/dbus-1/system.d/zz.conf"},
    {"a policy that names a group",
     [](HealthyBoard& on) {
         AddPolicy(on, R"(<policy group="users"><allow send_destination="*"/></policy>)");
     },
     {"policy-user"},
     "members of group users may call the daemon and send it signals"},
    {"a policy that the bus hasn't read",
     [](HealthyBoard& on) { on.bus.stranger = BusLook::Stranger::kLetThrough; },
     {"policy-not-in-force"},
     "let a user"},

    {"no daemon to start",
     [](HealthyBoard& on) { on.folder.Remove("/usr/sbin/ravelin-mobile"); },
     {"daemon-missing"},
     "/usr/sbin/ravelin-mobile"},
    {"no service", [](HealthyBoard& on) { on.folder.Remove(kUnit); }, {"service-missing"}, "neither"},
    {"a unit that isn't enabled",
     [](HealthyBoard& on) { on.folder.Remove("/etc/systemd/system/multi-user.target.wants"); },
     {"service-off"},
     "isn't enabled"},
    {"no ravelin-prepare",
     [](HealthyBoard& on) { on.folder.Remove("/usr/lib/ravelin-mobile/ravelin-prepare"); },
     {"service-broken"},
     "ravelin-prepare isn't there"},
    {"an init script without its helpers",
     [](HealthyBoard& on) {
         UseInitScript(on);
         on.folder.Remove("/usr/lib/ravelin-mobile/ravelin-supervise");
     },
     {"service-broken"},
     "ravelin-supervise isn't there"},
    {"an init script that can't be run",
     [](HealthyBoard& on) {
         UseInitScript(on);
         on.folder.SetMode("/etc/init.d/S85ravelin-mobile", 0644);
     },
     {"service-broken"},
     "can't be run"},
    {"no daemon runs", StopDaemon, {"daemon-down"}, "no daemon runs"},
    {"the debug terminal as a service",
     [](HealthyBoard& on) {
         on.folder.Exchange("/etc/default/ravelin-mobile", "OPTIONS=\"\"", "OPTIONS=\"-Dl 7 -t\"");
     },
     {"terminal-option"},
     "-t"},
    {"a unit with umask 0",
     [](HealthyBoard& on) { on.folder.Exchange(kUnit, "UMask=0022", "UMask=0000"); },
     {"service-umask"},
     "UMask=0000"},
    {"a drop-in with umask 0",
     [](HealthyBoard& on) {
         on.folder.Write("/etc/systemd/system/ravelin-mobile.service.d/own.conf", "[Service]\nUMask=0002\n");
     },
     {"service-umask"},
     "UMask=0002"},
    {"an init script with umask 0",
     [](HealthyBoard& on) {
         UseInitScript(on);
         on.folder.Exchange("/etc/init.d/S85ravelin-mobile", "umask 022", "umask 0");
     },
     {"service-umask"},
     "sets umask 0"},
    {"an init script of the board without a umask",
     [](HealthyBoard& on) {
         on.folder.Remove(kUnit);
         on.folder.Write("/etc/rc5.d/S85ravelin-mobile", "#!/bin/sh\n/usr/sbin/ravelin-mobile &\n", 0755);
     },
     {"service-umask"},
     "sets no umask"},
    {"a daemon with umask 0",
     [](HealthyBoard& on) { on.folder.Write("/proc/100/status", "Umask:\t0000\n"); },
     {"daemon-umask"},
     "umask 000"},
    {"a clock in the past",
     [](HealthyBoard& on) { on.request.now_seconds = 0; },
     {"clock-behind"},
     "1970-01-01"},

    {"no firmware tool",
     [](HealthyBoard& on) { on.folder.Remove(on.kFirmware + "/QFirehose"); },
     {"upgrade-no-tool"},
     "QFirehose"},
    {"a wrapper around nothing",
     [](HealthyBoard& on) { on.folder.Remove(on.kFirmware + "/QFirehose.real"); },
     {"upgrade-no-tool"},
     "QFirehose.real"},
    {"a firmware tool that can't be run",
     [](HealthyBoard& on) { on.folder.SetMode(on.kFirmware + "/QFirehose.real", 0644); },
     {"upgrade-not-executable"},
     "QFirehose.real isn't executable"},
    {"the maker's tool without the wrapper",
     [](HealthyBoard& on) { on.folder.Write(on.kFirmware + "/QFirehose", "program", 0755); },
     {"upgrade-unwrapped"},
     "isn't the wrapper"},
    {"a firmware tool that others can write",
     [](HealthyBoard& on) { on.folder.SetMode(on.kFirmware + "/QFirehose.real", 0777); },
     {"upgrade-open"},
     "0777"},
    {"a flash in progress",
     [](HealthyBoard& on) {
         on.AddProcess(400, "a) (tool");
         on.folder.Write("/run/ravelin-flash/flash.400.777", "");
     },
     {"flash-running"},
     "process 400"},
};

TEST(Examination, FindsNothingOnAHealthyBoard) {
    const HealthyBoard healthy;
    const Report report = healthy.Examine();
    EXPECT_EQ(WhatOf(report), "");
    EXPECT_EQ(UnseenOf(report), "");
    EXPECT_EQ(report.worst(), Severity::kOk);
    EXPECT_EQ(StatusOf(report), 0);
    ASSERT_EQ(report.groups.size(), kGroupCount);
    for (const GroupReport& group : report.groups) EXPECT_FALSE(group.facts.empty()) << group.name;
}

class BrokenBoard : public testing::TestWithParam<Broken> {};

TEST_P(BrokenBoard, HasWhatWasBrokenAndNoMore) {
    HealthyBoard board;
    GetParam().how(board);
    const Report report = board.Examine();
    EXPECT_EQ(FoundOn(report), GetParam().found) << WhatOf(report);
    EXPECT_NE(WhatOf(report).find(GetParam().what), std::string::npos) << WhatOf(report);
}

std::string TestName(const testing::TestParamInfo<Broken>& info) {
    std::string name;
    bool capital = true;
    for (const char* c = info.param.name; *c != '\0'; ++c) {
        if (isalnum(static_cast<unsigned char>(*c)) != 0) {
            name += static_cast<char>(capital ? toupper(*c) : *c);
            capital = false;
        } else {
            capital = true;
        }
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Examination, BrokenBoard, testing::ValuesIn(kBroken), TestName);

TEST(Examination, HasABrokenBoardForEachRowOfTheCatalogue) {
    std::set<std::string> shown;
    for (const Broken& broken : kBroken) shown.insert(broken.found.begin(), broken.found.end());
    for (size_t i = 0; i < kComplaintCount; ++i) {
        EXPECT_EQ(shown.count(kCatalogue[i].name), 1U) << kCatalogue[i].name;
    }
}

// Boards that are healthy in other ways.

TEST(Examination, TakesAnInitScriptForAService) {
    HealthyBoard board;
    UseInitScript(board);
    EXPECT_EQ(WhatOf(board.Examine()), "");
}

TEST(Examination, TakesABoardBeforeItsFirstStart) {
    HealthyBoard board;
    board.RemoveProcess(kDaemonProcess);
    board.folder.Remove(kNetworkFolder);
    board.bus.name_is_owned = false;
    EXPECT_EQ(WhatOf(board.Examine()), "daemon-down: no daemon runs\n");
}

TEST(Examination, TakesABoardThatIsSwitchedOff) {
    HealthyBoard board;
    board.folder.Remove("/proc");
    board.folder.Remove(kNetworkFolder);
    board.request.look_at_bus = nullptr;
    const Report report = board.Examine();
    EXPECT_EQ(WhatOf(report), "");
    EXPECT_EQ(UnseenOf(report), "the bus itself\n");
}

TEST(Examination, TakesModemManagerThatARuleKeepsOff) {
    HealthyBoard board;
    board.AddProcess(300, "ModemManager");
    board.folder.Write("/run/udev/data/c188:2", "S:serial\nE:ID_MM_DEVICE_IGNORE=1\n");
    EXPECT_EQ(WhatOf(board.Examine()), "");
}

TEST(Examination, TakesSettingsThatAreALinkToTheLastingOnes) {
    HealthyBoard board;
    board.folder.Link(kSettingsFile, "/etc/ravelin/ifcfg-lte");
    EXPECT_EQ(WhatOf(board.Examine()), "");
}

TEST(Examination, TakesABoardOfItsOwnBus) {
    HealthyBoard board;
    board.folder.Write("/usr/lib/libbusglue.so", "something else");
    board.folder.Remove("/etc/dbus-1");
    board.bus = {};
    const Report report = board.Examine();
    EXPECT_EQ(WhatOf(report), "");
    EXPECT_NE(UnseenOf(report).find("the board's own library"), std::string::npos);
}

TEST(Examination, FindsTheLibraryInFoldersOfTheLoader) {
    HealthyBoard board;
    board.folder.Remove("/usr/lib/libbusglue.so");
    board.folder.Write("/opt/board/lib/libbusglue.so", "libdbus-1.so.3");
    board.folder.Write("/etc/ld.so.conf.d/board.conf", "# own\n/opt/board/lib\n");
    EXPECT_EQ(WhatOf(board.Examine()), "");
}

TEST(Examination, TakesAQuotedApn) {
    HealthyBoard board;
    for (const char* file : {kSettingsFile, "/etc/ravelin/ifcfg-lte"}) {
        board.folder.Exchange(file, "APN=internet", "APN='internet'");
    }
    EXPECT_EQ(WhatOf(board.Examine()), "");
}

TEST(Examination, TakesAClockInAnotherZoneThanThatOfTheBuild) {
    HealthyBoard board;
    board.request.built_seconds = kNow_seconds + 14 * 60 * 60;
    EXPECT_EQ(WhatOf(board.Examine()), "");
    board.request.built_seconds = kNow_seconds + 25 * 60 * 60;
    EXPECT_NE(WhatOf(board.Examine()).find("clock-behind"), std::string::npos);
}

TEST(Examination, IgnoresAMarkThatAFlashHasLeft) {
    HealthyBoard board;
    board.folder.Write("/run/ravelin-flash/flash.400.777", "");
    board.folder.Write("/run/ravelin-flash/flash.100.778", "");
    board.folder.Write("/run/ravelin-flash/flash.x.y", "");
    EXPECT_EQ(WhatOf(board.Examine()), "");
}

// What can't be seen is said, and no finding.

TEST(Examination, SaysWhatAnUserCannotSee) {
    HealthyBoard board;
    board.folder.Remove("/proc/1/fd");
    board.folder.Remove("/proc/100/fd");
    board.request.ask = true;
    const Report report = board.Examine();
    EXPECT_EQ(WhatOf(report), "");
    EXPECT_NE(UnseenOf(report).find("run the doctor as root"), std::string::npos);
    EXPECT_NE(UnseenOf(report).find("nothing was sent"), std::string::npos);
    EXPECT_NE(UnseenOf(report).find("who reads /run/network/ravelin_fifo"), std::string::npos);
}

TEST(Examination, SaysWhatIsClosed) {
    HealthyBoard board;
    for (const char* path : {kSettingsFile, kPipe, "/etc/ravelin/ifcfg-lte", kJson, kPolicy}) {
        board.board.errors[path] = EACCES;
    }
    const Report report = board.Examine();
    for (const char* text :
         {"/run/network/ifcfg-lte: this user may not", "/run/network/ravelin_fifo: this user may not",
          "network.json: this user may not"}) {
        EXPECT_NE(UnseenOf(report).find(text), std::string::npos) << text << "\n" << UnseenOf(report);
    }
    EXPECT_EQ(FoundOn(report).count("settings-missing"), 0U);
}

TEST(Examination, ClaimsNothingAboutClosedFolders) {
    HealthyBoard board;
    board.RemoveProcess(kDaemonProcess);
    board.folder.Remove(kNetworkFolder);
    board.bus.name_is_owned = false;
    for (const char* path :
         {"/etc/init.d/", "/etc/systemd/system", "/usr/lib/", "/ubi/", "/etc/dbus-1/system.d/", "/usr/bin/",
          "/bin/", "/media/mmcblk0p1/", "/etc/ravelin/"}) {
        board.board.errors[path] = EACCES;
    }
    const Report report = board.Examine();
    EXPECT_EQ(WhatOf(report), "");
    for (const char* text : {"what starts the daemon", "libbusglue.so, in folders", "ip, in folders",
                             "rules of the bus in /etc/dbus-1/system.d/", "CellularOTA: this user may not"}) {
        EXPECT_NE(UnseenOf(report).find(text), std::string::npos) << text << "\n" << UnseenOf(report);
    }
}

TEST(Examination, DoesNotAskAPortThatIsHeld) {
    HealthyBoard board;
    board.request.ask = true;
    board.request.ask_port = [](const std::string&) -> PortAnswer {
        ADD_FAILURE() << "asked";
        return {};
    };
    EXPECT_NE(UnseenOf(board.Examine()).find("another program has /dev/ttyUSB2 open; nothing was sent"),
              std::string::npos);
}

TEST(Examination, AsksAPortThatIsFree) {
    HealthyBoard board;
    StopDaemon(board);
    board.request.ask = true;
    const Report report = board.Examine();
    EXPECT_EQ(WhatOf(report), "daemon-down: no daemon runs\n");
    EXPECT_EQ(report.groups[0].facts.back(), "/dev/ttyUSB2 answers AT with OK");
}

/// Files of a healthy board, each damaged in some way: whatever is found, the examination ends with a report.
TEST(Examination, StandsDamagedFiles) {
    constexpr int kRounds = 60;
    std::mt19937 random(1);
    const auto below = [&](size_t limit) { return random() % limit; };
    HealthyBoard board;
    for (const char* path : {"/etc/ravelin/ifcfg-lte", kSettingsFile})
        board.folder.Append(path, "PASSWORD=x\n");
    std::map<std::string, std::string> files;
    for (const char* path :
         {kSettingsFile, "/etc/ravelin/ifcfg-lte", kJson, kPolicy, kUnit, kResetScript, "/proc/100/cmdline",
          "/proc/100/status", "/proc/100/comm", "/proc/100/stat", "/proc/cpuinfo",
          "/etc/default/ravelin-mobile", "/usr/share/dbus-1/system.conf", "/ubi/local/apps/network/if-lte"}) {
        files[path] = BoardFolder::TextOf(board.folder / path);
    }
    for (int round = 0; round < kRounds; ++round) {
        for (const auto& [path, text] : files) {
            std::string damaged = text;
            for (size_t change = below(4); change > 0; --change) {
                const size_t at = below(damaged.size() + 1);
                switch (below(5)) {
                    case 0:
                        damaged.resize(at);
                        break;
                    case 1:
                        damaged.insert(at, 1 + below(300), static_cast<char>(random()));
                        break;
                    case 2:
                        damaged.insert(at, damaged.substr(below(damaged.size() + 1), below(200)));
                        break;
                    case 3:
                        if (at < damaged.size()) damaged[at] = static_cast<char>(random());
                        break;
                    default:
                        damaged.erase(at, below(50));
                }
            }
            board.folder.Write(path, damaged, 0755);
        }
        rapidjson::Document document;
        document.Parse<rapidjson::kParseValidateEncodingFlag>(JsonOf(board.Examine()).c_str());
        ASSERT_FALSE(document.HasParseError()) << "round " << round;
        ASSERT_EQ(document["groups"].Size(), kGroupCount);
    }
}

TEST(Examination, CountsWhatAHostileFileBrings) {
    HealthyBoard board;
    std::string lines;
    for (int i = 0; i < 3000; ++i) lines += "x=" + std::to_string(i) + "\n";
    Add(board, lines);
    const Report report = board.Examine();
    EXPECT_EQ(FoundOn(report).size(), 11U);
    EXPECT_NE(WhatOf(report).find("settings-dropped: 2990 more of these"), std::string::npos);
}

}  // namespace
}  // namespace doctor
