#include "simulator/matrix/cells.h"

#include <algorithm>

#include "simulator/modem/modem_model.h"
#include "simulator/soak/random.h"

namespace matrix {

namespace {

using soak::kHour_ms;
using soak::kMinute_ms;
using soak::kSecond_ms;
using soak::Measure;
using soak::Setting;
using soak::Setup;
using soak::Story;

// Before the fault the link is cut up to three times, so that the fault finds the daemon after its first,
// second, third or fourth attempt to connect: each fifth one is a hardware reset.
constexpr int kAttemptsBefore = 4;
constexpr int64_t kCutStep_ms = 200 * kSecond_ms;
constexpr int64_t kFault_ms = 900 * kSecond_ms;
/// The moment moves by so much from one phase to the next, more than the daemon's longest pass.
constexpr int64_t kPhaseStep_ms = 12 * kSecond_ms;
/// Of peace, at the end of a run.
constexpr int64_t kPeace_ms = 330 * kSecond_ms;
constexpr int64_t kForGoodRun_ms = 2 * kHour_ms;

// The reset script of packaging/board pulses the pin for a second and waits for two. The modem that comes
// back under another name has one that waits for it.
constexpr int64_t kScript_ms = 3 * kSecond_ms;
constexpr int64_t kRenamingScript_ms = 4 * kSecond_ms;
constexpr int64_t kSupervisor_ms = 5 * kSecond_ms;

constexpr char kRenaming[] = "cinterion";
constexpr char kRenamingPort[] = "/dev/ttyACM0";
constexpr char kLink[] = "/dev/ttyUSB-modem";
constexpr char kPipe[] = "/run/network/ravelin_fifo";
// Run after each reset script, and never otherwise.
constexpr char kAfterReset[] = "shell check_interface turns ";
constexpr char kDhcp[] = "shell \"ifcfg-lte dhcp\" ";

// What the faults say

void MuteFor(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "mute on");
    story.At(to_ms, "mute off");
}

void MuteUntilReset(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "mute until-reset");
}

void MuteAndScriptFails(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "mute until-reset");
    story.At(from_ms, soak::kResetScriptWords + std::string("takes 1"));
    story.At(to_ms, soak::ResetScriptRule(story.setup.board.script_ms / kSecond_ms));
}

void MuteAndScriptSlow(const Cell& cell, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "mute until-reset");
    story.At(from_ms, soak::ResetScriptRule(cell.fault->slow_seconds));
}

void PortBlinks(const Cell&, Story& story, int64_t from_ms, int64_t) {
    constexpr int64_t kAway_ms = 200;
    story.At(from_ms, "unplug");
    story.At(from_ms + kAway_ms, "plug");
}

void PortAway(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "unplug");
    story.At(to_ms, "plug");
}

void PortRenamed(const Cell& cell, Story& story, int64_t from_ms, int64_t) {
    constexpr int64_t kAway_ms = 3000;
    story.At(from_ms, "unplug");
    story.At(from_ms + kAway_ms, cell.family == kRenaming ? "plug /dev/ttyACM7" : "plug /dev/ttyUSB7");
}

void ModemRestarts(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "reset");
}

void PowerCut(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "power off");
    story.At(to_ms, "power on");
}

void SimPulled(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "sim absent");
    story.At(to_ms, "sim ready");
}

void SimLate(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "sim absent");
    story.At(to_ms, "sim ready-after 4");
}

void SimWantsPin(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "sim pin");
}

void Unregistered(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "registration 0");
    story.At(to_ms, "registration 1");
}

void UnregisteredOnFirst(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "holder 1 registration 0");
}

void UnregisteredUntilReset(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "registration 0");
    story.At(from_ms, kAfterReset + std::string("registration 1"));
}

void UnregisteredAndWeak(const Cell& cell, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "csq 5");
    UnregisteredUntilReset(cell, story, from_ms, to_ms);
}

void Denied(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "registration 3");
    story.At(to_ms, "registration 1");
}

void DeniedUntilReset(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "registration 3");
    story.At(from_ms, kAfterReset + std::string("registration 1"));
}

void LinkCut(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "link down");
}

void DialRefused(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "dial fail");
    story.At(from_ms, "link down");
    story.At(to_ms, "dial ok");
}

void DialRefusedUntilReset(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "dial fail until-reset");
    story.At(from_ms, "link down");
}

/// A path that the next dial brings back.
void DeadUntilDialled(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "reach nothing");
    story.At(from_ms, kDhcp + std::string("turns reach all"));
}

/// The settings as the OCPP service's watcher writes them while the service is offline.
void WriteOutage(Story& story, int64_t from_ms, int64_t to_ms) {
    constexpr int64_t kStep_ms = 20 * kSecond_ms;
    for (int64_t at_ms = from_ms; at_ms < to_ms; at_ms += kStep_ms) {
        story.Settings(at_ms, "OFFLINE", std::to_string((at_ms - from_ms) / kSecond_ms).c_str());
    }
}

void DeadWithOutage(const Cell& cell, Story& story, int64_t from_ms, int64_t to_ms) {
    DeadUntilDialled(cell, story, from_ms, to_ms);
    WriteOutage(story, from_ms, from_ms + kForGoodRun_ms);
}

void OutageOnly(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    WriteOutage(story, from_ms, to_ms);
    story.Settings(to_ms);
}

/// The first threshold is passed while pings are answered.
void OutageUsedUp(const Cell& cell, Story& story, int64_t from_ms, int64_t to_ms) {
    constexpr int64_t kBefore_ms = 120 * kSecond_ms;
    WriteOutage(story, from_ms - kBefore_ms, from_ms + kForGoodRun_ms);
    DeadUntilDialled(cell, story, from_ms, to_ms);
}

void DeadOnFirst(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "holder 1 reach nothing");
}

void DeadOnBoth(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    for (const char* holder : {"holder 1 ", "holder 2 "}) {
        story.At(from_ms, holder + std::string("reach nothing"));
        story.At(to_ms, holder + std::string("reach all"));
    }
}

void DeadUntilReset(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "holder 1 reach nothing");
    story.At(from_ms, "holder 2 reach nothing");
    story.At(from_ms, kAfterReset + std::string("reach all"));
}

void PingsBlocked(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "shell ping takes 2 prints \"0\\n\"");
    story.At(to_ms, "shell ping pings");
}

void PingHangs(const Cell& cell, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "shell ping takes " + std::to_string(cell.fault->slow_seconds));
    story.At(to_ms, "shell ping pings");
}

/// The link is dialled anew while nobody gives an address.
void NoLease(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, kDhcp + std::string("turns reach nothing"));
    story.At(from_ms, "link down");
    story.At(to_ms, kDhcp + std::string("turns reach all"));
}

void Disabled(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.Settings(from_ms, "ENABLE", "false");
    story.Settings(to_ms);
}

void SettingsGone(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "remove /run/network/ifcfg-lte");
    story.Settings(to_ms);
}

void SettingsGoneAndKilled(const Cell& cell, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "kill kill");
    SettingsGone(cell, story, from_ms, to_ms);
}

void Killed(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, "kill kill");
}

void BusAway(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "bus away");
    story.At(to_ms, "bus back");
}

void BusAwayAndKilled(const Cell& cell, Story& story, int64_t from_ms, int64_t to_ms) {
    BusAway(cell, story, from_ms, to_ms);
    story.At(from_ms, "kill kill");
}

void FilesFull(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "full /run/network");
    story.At(to_ms, "writable /run/network");
}

void FilesReadOnly(const Cell&, Story& story, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "readonly /run/network");
    story.At(to_ms, "writable /run/network");
}

/// A message every few seconds shows whether anybody listens.
void SendMessages(Story& story, int64_t from_ms) {
    story.Every(2 * kSecond_ms, from_ms, from_ms + kForGoodRun_ms, "fifo 4G_MODEM_STATUS:offline");
}

void PipeDeleted(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, std::string("remove ") + kPipe);
    SendMessages(story, from_ms);
}

void PipeReplaced(const Cell&, Story& story, int64_t from_ms, int64_t) {
    story.At(from_ms, std::string("pipe ") + kPipe);
    SendMessages(story, from_ms);
}

void Nothing(const Cell&, Story&, int64_t, int64_t) {}

// What an operator can do

constexpr char kAdviceTechnology[] =
    "the daemon doesn't know that the modem is in an LTE network, and takes its health for a fault. Leave "
    "`DoubleSIM` at 0 with such a modem; see [before DoubleSIM=1](configuration.md#before-doublesim1). As "
    "scenarios: "
    "`chuangyi_two_sims`, `nodecom_two_sims`, `longsung_reports_missing`, `huawei_reports_missing`, "
    "`cinterion_technology_word`.";
constexpr char kAdvicePath[] =
    "nothing looks at the path with one SIM and without `ORLA=1`. Let whatever notices the outage, such as "
    "the "
    "OCPP service, write `SoftReset:1` to the pipe, and `Reset4G:1` if that doesn't help. As a scenario: "
    "`dead_path_one_sim`.";

}  // namespace

const std::vector<Fault>& Faults() {
    constexpr Measure kEnd = Measure::kFromEnd, kBegin = Measure::kFromBegin;
    constexpr int kMinute_seconds = 60, kHour_seconds = 3600;
    static const std::vector<Fault> faults = [] {
        std::vector<Fault> table = {
            // The modem
            {"mute_minute", "Mute for a minute or two", "The modem hears and says nothing.", Board::kOneSim,
             kMinute_seconds, kEnd, Rung::kNone, MuteFor, nullptr},
            {"mute_hour", "Mute for an hour", "The same for an hour, whatever the daemon does.",
             Board::kOneSim, kHour_seconds, kEnd, Rung::kNone, MuteFor, nullptr},
            {"mute_until_reset", "Mute until a hardware reset",
             "The modem hangs until its reset pin is pulled.", Board::kOneSim, 0, kBegin, Rung::kNone,
             MuteUntilReset, nullptr},
            {"script_fails", "Mute, and the reset script does nothing",
             "The modem hangs until its reset pin is pulled, and for ten minutes the script doesn't do so.",
             Board::kOneSim, 600, kEnd, Rung::kNone, MuteAndScriptFails, nullptr},
            {"script_slow", "Mute, and the reset script takes four minutes",
             "The modem hangs until its reset pin is pulled; the script doesn't come back for four minutes.",
             Board::kOneSim, 0, kBegin, Rung::kNone, MuteAndScriptSlow, nullptr, "", false, 240},
            {"modem_restarts", "The modem restarts by itself",
             "Its port is away for 3 s, and it boots for 5 s.", Board::kOneSim, 0, kBegin, Rung::kNone,
             ModemRestarts, nullptr},
            {"power_cut", "No power for the modem", "For a minute or two, then it boots.", Board::kOneSim,
             kMinute_seconds, kEnd, Rung::kNone, PowerCut, nullptr},
            // The port
            {"port_blinks", "The port is away for a moment",
             "A hang-up of 0.2 s; the modem stays on, and the call stays up.", Board::kOneSim, 0, kBegin,
             Rung::kNone, PortBlinks, nullptr},
            {"port_away", "The port is away", "For a minute or two; the modem stays on.", Board::kOneSim,
             kMinute_seconds, kEnd, Rung::kNone, PortAway, nullptr},
            {"port_renamed", "The port gets another name",
             "The port is back after 3 s under another name and keeps it; `-d` names the device itself.",
             Board::kOneSim, kForGood_seconds, kBegin, Rung::kNone, PortRenamed,
             "the daemon has ended, and its next start waits for the old name. Give `-d` a name that stays, "
             "such as the "
             "link of `packaging/udev`: the next fault is the same with one. As a scenario: "
             "`port_renamed_for_good`.",
             "", false, 0, false},
            {"port_renamed_link", "The port gets another name, with a link that stays",
             "The same; `-d` names a link that follows the port.", Board::kOneSim, kForGood_seconds, kBegin,
             Rung::kNone, PortRenamed, nullptr, "", false, 0, true, true},
            // The SIM
            {"sim_pulled", "SIM pulled and put back", "No SIM for a minute or two.", Board::kOneSim,
             kMinute_seconds, kEnd, Rung::kNone, SimPulled, nullptr},
            {"sim_pulled_hour", "No SIM for an hour", "The same for an hour.", Board::kOneSim, kHour_seconds,
             kEnd, Rung::kNone, SimPulled, nullptr},
            {"sim_late", "SIM put back, and late",
             "No SIM for a minute or two, then one that is ready after four questions.", Board::kOneSim,
             kMinute_seconds, kEnd, Rung::kNone, SimLate, nullptr},
            {"sim_pin", "The SIM wants its PIN", "From the fault on.", Board::kOneSim, kForGood_seconds,
             kBegin, Rung::kNone, SimWantsPin,
             "the daemon never enters a PIN, and `CARD_PIN` isn't used for that. Switch the SIM's PIN off in "
             "a phone. As a "
             "scenario: `quectel_qcom_sim_needs_pin`."},
            // The network
            {"unregistered", "No registration for ten minutes", "The modem isn't registered.", Board::kOneSim,
             600, kEnd, Rung::kNone, Unregistered, nullptr},
            {"unregistered_hour", "No registration for an hour", "The same for an hour.", Board::kOneSim,
             kHour_seconds, kEnd, Rung::kNone, Unregistered, nullptr},
            {"unregistered_two_sims", "One of two SIMs isn't registered",
             "`DoubleSIM=1`; the other SIM's network is there.", Board::kTwoSims, kForGood_seconds, kBegin,
             Rung::kWeakChecks, UnregisteredOnFirst, kAdviceTechnology},
            {"unregistered_until_reset", "No registration until a hardware reset",
             "The modem is stuck, though the signal is good.", Board::kOneSim, 0, kBegin, Rung::kService,
             UnregisteredUntilReset, nullptr},
            {"unregistered_and_weak", "No registration until a hardware reset, and the signal is weak",
             "The same with a CSQ of 5, below the 10 from which a hardware reset is worth it.",
             Board::kOneSim, kForGood_seconds, kBegin, Rung::kService, UnregisteredAndWeak,
             "a weak signal is taken for the reason, so there are soft resets only. Ask for a hardware reset "
             "by "
             "`Reset4G:1` through the pipe, and look at the antenna. As a scenario: "
             "`quectel_qcom_weak_signal`."},
            {"denied", "Registration denied for ten minutes", "The network refuses the SIM.", Board::kOneSim,
             600, kEnd, Rung::kNone, Denied, nullptr},
            {"denied_until_reset", "Registration denied until a hardware reset",
             "A modem that has given up after a refusal and tries again only when it boots.", Board::kOneSim,
             kForGood_seconds, kBegin, Rung::kService, DeniedUntilReset,
             "no reset makes a network accept a SIM, so there are soft resets only. If the SIM is known to "
             "be good, "
             "write `Reset4G:1` to the pipe. Some families don't tell the daemon of the refusal in both "
             "packet "
             "domains: they get their hardware reset. As a scenario: `quectel_qcom_registration_denied`."},
            // The data call
            {"link_cut", "The network ends the data call", "Once; the next dial succeeds.", Board::kOneSim, 0,
             kBegin, Rung::kNone, LinkCut, nullptr},
            {"dial_refused", "Dials are refused for ten minutes", "The call is cut, too.", Board::kOneSim,
             600, kEnd, Rung::kNone, DialRefused, nullptr},
            {"dial_refused_until_reset", "Dials are refused until a hardware reset", "The call is cut, too.",
             Board::kOneSim, 0, kBegin, Rung::kAttempts, DialRefusedUntilReset, nullptr},
            {"no_lease", "No address",
             "The call is cut, and for ten minutes the DHCP client finds no server and gives up.",
             Board::kOneSim, 600, kEnd, Rung::kNone, NoLease,
             "the daemon starts the client after a dial and never asks what became of it. Use a client that "
             "goes on by "
             "itself, as `packaging/board/if-lte` does, or write `SoftReset:1` to the pipe. As a scenario: "
             "`dhcp_no_lease`."},
            {"no_lease_two_sims", "No address, two SIMs", "The same with `DoubleSIM=1`.", Board::kTwoSims,
             600, kEnd, Rung::kWeakChecks, NoLease, kAdviceTechnology},
            // The data path
            {"dead_path", "Dead path, one SIM, no ORLA",
             "The call is up and carries nothing until it is dialled anew.", Board::kOneSim, kForGood_seconds,
             kBegin, Rung::kNone, DeadUntilDialled, kAdvicePath},
            {"dead_path_stuck", "Dead path until a hardware reset, one SIM, no ORLA",
             "The call is up and carries nothing, and no dial helps.", Board::kOneSim, kForGood_seconds,
             kBegin, Rung::kNone, DeadUntilReset, kAdvicePath},
            {"dead_path_orla", "Dead path, ORLA=1, and the service reports its outage",
             "The same; `OFFLINE` grows from the fault on.", Board::kProject, kForGood_seconds, kBegin,
             Rung::kFirstOutage, DeadWithOutage, nullptr},
            {"dead_path_orla_silent", "Dead path, ORLA=1, and nobody reports an outage",
             "The same; `OFFLINE` stays 0.", Board::kProject, kForGood_seconds, kBegin, Rung::kNone,
             DeadUntilDialled,
             "`ORLA=1` alone does nothing. Something has to write `OFFLINE=` into the settings while the "
             "OCPP service is "
             "offline, or `SoftReset:1` to the pipe. As a scenario: `dead_path_orla_silent`."},
            {"outage_used_up", "Dead path, ORLA=1, two minutes into an outage",
             "The service was offline before the path died: the first minute's threshold was passed while "
             "pings were "
             "answered.",
             Board::kProject, kForGood_seconds, kBegin, Rung::kSecondOutage, OutageUsedUp, nullptr},
            {"outage_only", "The service is offline, the path is good",
             "`ORLA=1`, `OFFLINE` grows for two hours.", Board::kProject, 2 * kHour_seconds, kEnd,
             Rung::kNone, OutageOnly, nullptr},
            {"dead_path_two_sims", "Dead path of one of two SIMs",
             "`DoubleSIM=1`; the other SIM's path is good.", Board::kTwoSims, kForGood_seconds, kBegin,
             Rung::kWeakChecks, DeadOnFirst, kAdviceTechnology},
            {"dead_path_until_reset", "Dead path of both SIMs until a hardware reset", "`DoubleSIM=1`.",
             Board::kTwoSims, 0, kBegin, Rung::kWeakChecks, DeadUntilReset, kAdviceTechnology},
            {"dead_path_hour", "Dead path of both SIMs for an hour", "`DoubleSIM=1`.", Board::kTwoSims,
             kHour_seconds, kEnd, Rung::kNone, DeadOnBoth, kAdviceTechnology},
            // Health that looks like a fault
            {"two_sims", "Nothing, with DoubleSIM=1", "A healthy modem, two SIMs, pings are answered.",
             Board::kTwoSims, kForGood_seconds, kBegin, Rung::kNone, Nothing, kAdviceTechnology},
            {"reports_off", "Nothing, with DoubleSIM=1 and no unsolicited reports",
             "A healthy modem that doesn't send `+NWTYPEIND` (LongSung, NodeCom) or `^HCSQ` (Huawei).",
             Board::kTwoSims, kForGood_seconds, kBegin, Rung::kNone, Nothing, kAdviceTechnology,
             "knob reports off\n"},
            {"technology_word", "Nothing, with DoubleSIM=1 and a modem that says \"4G\"",
             "A healthy modem that words its radio technology \"4G\" where the daemon looks for \"LTE\".",
             Board::kTwoSims, kForGood_seconds, kBegin, Rung::kNone, Nothing, kAdviceTechnology,
             "knob technology-word 4G\n"},
            {"pings_blocked", "Pings are blocked for an hour, two SIMs",
             "`DoubleSIM=1`; the path is good, but a firewall or the APN drops pings, or `ping` isn't "
             "installed.",
             Board::kTwoSims, kHour_seconds, kEnd, Rung::kNone, PingsBlocked, kAdviceTechnology},
            {"ping_hangs", "A ping hangs for twenty minutes, two SIMs",
             "`DoubleSIM=1`. Meanwhile the daemon does nothing else and notices nothing.", Board::kTwoSims, 5,
             kEnd, Rung::kNone, PingHangs, kAdviceTechnology, "", false, 1200},
            // The board
            {"disabled", "Disabled for ten minutes and enabled again", "`ENABLE=false`, then `ENABLE=true`.",
             Board::kOneSim, 600, kEnd, Rung::kNone, Disabled, nullptr},
            {"disabled_two_sims", "Disabled and enabled again, two SIMs", "The same with `DoubleSIM=1`.",
             Board::kTwoSims, 600, kEnd, Rung::kNone, Disabled, kAdviceTechnology},
            {"settings_gone", "No settings for five minutes", "The file is removed and written again.",
             Board::kOneSim, 300, kEnd, Rung::kNone, SettingsGone, nullptr},
            {"settings_gone_at_start", "No settings for five minutes, and the daemon is killed",
             "It can't start without them.", Board::kOneSim, 300, kEnd, Rung::kNone, SettingsGoneAndKilled,
             nullptr},
            {"killed", "The daemon is killed", "SIGKILL; the supervisor starts it after 5 s.", Board::kOneSim,
             0, kBegin, Rung::kNone, Killed, nullptr},
            {"killed_two_sims", "The daemon is killed, two SIMs", "The same with `DoubleSIM=1`.",
             Board::kTwoSims, 0, kBegin, Rung::kWeakChecks, Killed, kAdviceTechnology},
            {"bus_away", "The bus is away for five minutes", "And comes back.", Board::kOneSim, 300, kEnd,
             Rung::kNone, BusAway, nullptr},
            {"bus_away_at_start", "The bus is away for five minutes, and the daemon is killed",
             "It doesn't start without the bus.", Board::kOneSim, 300, kEnd, Rung::kNone, BusAwayAndKilled,
             nullptr},
            {"files_full", "/run/network is full for five minutes", "Files can be opened and not written.",
             Board::kOneSim, 300, kEnd, Rung::kNone, FilesFull, nullptr},
            {"files_readonly", "/run/network is read-only for five minutes",
             "Files can't be opened for writing.", Board::kOneSim, 300, kEnd, Rung::kNone, FilesReadOnly,
             nullptr},
            {"pipe_deleted", "The pipe is deleted",
             "Counted until a message is taken again; the link isn't concerned.", Board::kOneSim, 0, kBegin,
             Rung::kNone, PipeDeleted, nullptr, "", true},
            {"pipe_replaced", "The pipe is replaced by another",
             "Counted until a message is taken again; the link isn't concerned.", Board::kOneSim,
             kForGood_seconds, kBegin, Rung::kNone, PipeReplaced,
             "the daemon listens to the old pipe and looks only whether the path exists. Remove the path: "
             "within five "
             "seconds there is a new pipe. As a scenario: `pipe_replaced`.",
             "", true},
        };
        return table;
    }();
    return faults;
}

const Fault* FindFault(const std::string& name) {
    for (const Fault& fault : Faults()) {
        if (name == fault.name) return &fault;
    }
    return nullptr;
}

namespace {

Setup SetupOf(const Fault& fault, const std::string& family) {
    Setup setup;
    setup.family = family;
    setup.model = modem_sim::Modem::Models(family).front();
    const bool is_renaming = family == kRenaming;
    if (is_renaming) setup.device = setup.port = kRenamingPort;
    if (fault.has_port_link || (is_renaming && fault.knows_link)) setup.device = kLink;
    setup.board.script_ms = is_renaming ? kRenamingScript_ms : kScript_ms;
    setup.board.restart_ms = kSupervisor_ms;
    setup.board.has_two_sims = fault.board == Board::kTwoSims;
    setup.board.has_project = fault.board == Board::kProject;
    setup.settings = {{"ENABLE", "true"}, {"APN", "internet"}};
    if (setup.board.has_two_sims) setup.settings.push_back({"DoubleSIM", "1"});
    if (setup.board.has_project) {
        setup.settings.push_back({"ORLA", "1"});
        setup.settings.push_back({"OFFLINE", "0"});
    }
    return setup;
}

int RungSeconds(Rung rung, const Setup& setup) {
    constexpr int kOutageStep_seconds = 20, kFirstOutage_seconds = 60, kSecondOutage_seconds = 1800;
    const soak::FamilyTiming& timing = setup.family_timing();
    switch (rung) {
        case Rung::kNone:
            break;
        case Rung::kService:
            // A family that isn't asked for its service comes to its fifth attempt instead.
            return std::max(soak::ServiceRoundsSeconds(timing), soak::AttemptsSeconds(timing));
        case Rung::kAttempts:
            return soak::AttemptsSeconds(timing);
        case Rung::kWeakChecks:
            return soak::WeakChecksSeconds(timing, setup.timing);
        case Rung::kFirstOutage:
            return kFirstOutage_seconds + kOutageStep_seconds;
        case Rung::kSecondOutage:
            return kSecondOutage_seconds + kOutageStep_seconds;
    }
    return 0;
}

int BoundOf(const Fault& fault, const Setup& setup) {
    return static_cast<int>(setup.recovery_ms() / kSecond_ms + fault.slow_seconds) +
           RungSeconds(fault.rung, setup);
}

/// What stands at the head of the scenario.
std::string GivenText(const Fault& fault, const Setup& setup) {
    std::string text = "modem " + setup.family + " " + setup.model + "\n";
    text += "port " + setup.port + "\n";
    if (setup.device != setup.port) text += "port-link " + setup.device + "\n";
    text += fault.given;
    text += "options -d " + setup.device + " -Df CheckNetwork -Df isSoftReset\n";
    text += "settings\n" + soak::SettingsBlock(setup.settings);
    text += "supervise " + soak::Seconds(setup.board.restart_ms) + "\n";
    text += "shell ping pings\n";
    return text + soak::ResetScriptRule(setup.board.script_ms / kSecond_ms) + "\n";
}

/// ravelin-guard with all that it has by itself, on a link that is quiet.
constexpr char kGuardText[] =
    "guard\n    INTERFACE=wwan0\n    DNS=192.0.2.53 www.example.org\n    TCP=192.0.2.80 443\n";

/// The same numbers for the same cell on every machine.
soak::Random RandomOf(const Cell& cell) {
    constexpr uint64_t kBasis = 14695981039346656037ULL, kPrime = 1099511628211ULL;
    uint64_t seed = kBasis;
    const std::string name = cell.fault->name + (" " + cell.family) + " " + std::to_string(cell.phase);
    for (const char c : name) seed = (seed ^ static_cast<unsigned char>(c)) * kPrime;
    return soak::Random(seed);
}

}  // namespace

int BoundSeconds(const Fault& fault, const std::string& family) {
    return BoundOf(fault, SetupOf(fault, family));
}

CellStory TellCell(const Cell& cell, Guard guard) {
    const Fault& fault = *cell.fault;
    const Setup setup = SetupOf(fault, cell.family);
    soak::Random random = RandomOf(cell);
    CellStory told = {};
    told.bound_seconds = BoundOf(fault, setup);
    told.from_ms = kFault_ms + cell.phase * kPhaseStep_ms + random.Between(0, kPhaseStep_ms - 1);
    const bool is_for_good = fault.lasts_seconds == kForGood_seconds;
    const int64_t lasts_ms = is_for_good ? kForGoodRun_ms : fault.lasts_seconds * kSecond_ms;
    const int64_t extra_ms = random.Between(0, kMinute_ms - 1);
    const int64_t to_ms = told.from_ms + lasts_ms + (is_for_good || lasts_ms == 0 ? 0 : extra_ms);
    told.measured_ms =
        fault.measure == Measure::kFromEnd ? to_ms + fault.slow_seconds * kSecond_ms : told.from_ms;
    const int64_t bound_ms = told.bound_seconds * kSecond_ms;
    told.until_ms = std::max({told.measured_ms + bound_ms, told.from_ms + kHour_ms, to_ms}) + kPeace_ms;
    told.until_ms += kSecond_ms - told.until_ms % kSecond_ms;

    Story story(setup);
    for (int i = 1; i <= cell.phase % kAttemptsBefore; ++i) story.At(kCutStep_ms * i, "link down");
    fault.write(cell, story, told.from_ms, is_for_good ? told.until_ms : to_ms);
    told.text = "# " + std::string(fault.title) + ": " + cell.family + ", from " +
                soak::Seconds(told.from_ms) + " s\n\n" + GivenText(fault, setup) +
                (guard == Guard::kBeside ? kGuardText : "") + "\n" + story.Take() + "every 30 from " +
                soak::Seconds(told.from_ms) + " to " + soak::Seconds(told.until_ms) + " status\nuntil " +
                soak::Seconds(told.until_ms) + "\n\nnever broken <any>\n";
    return told;
}

}  // namespace matrix
