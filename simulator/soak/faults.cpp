#include "simulator/soak/faults.h"

#include <algorithm>
#include <string>

#include "simulator/bus_peer/frame.h"
#include "simulator/bus_peer/message.h"
#include "simulator/soak/time_units.h"
#include "simulator/text/text.h"

namespace soak {

namespace {

// Drawn numbers have statements of their own: in which order the arguments of a call are computed is the
// compiler's choice.

constexpr char kFirmwareTool[] = "shell QFirehose ";
constexpr char kPipe[] = "/run/network/ravelin_fifo";
constexpr char kSettingsFile[] = "/run/network/ifcfg-lte";

std::string Number(int64_t number) {
    return std::to_string(number);
}

std::string FrameBytes(unsigned msg_id, unsigned cmd, const bus_peer::Bytes& data) {
    const bus_peer::Bytes bytes = bus_peer::EncodeFrame({msg_id, cmd, data});
    return std::string(bytes.begin(), bytes.end());
}

std::string RandomBytes(Random& random, int64_t count) {
    std::string bytes;
    for (int64_t i = 0; i < count; ++i) bytes += static_cast<char>(random.Below(256));
    return bytes;
}

/// Turns a knob and turns it back.
int64_t Switch(Story& story, int64_t from_ms, int64_t to_ms, const std::string& on, const std::string& off) {
    story.At(from_ms, on);
    story.At(to_ms, off);
    return to_ms;
}

/// The SIM holders that a fault of a SIM or its network concerns: with two SIMs one of them or both. Named
/// always, since the daemon may have switched when the fault ends.
std::vector<std::string> Holders(Story& story, Random& random) {
    if (!story.setup.board.has_two_sims) return {"holder 1 "};
    switch (random.Below(4)) {
        case 0:
            return {"holder 1 "};
        case 1:
            return {"holder 2 "};
        default:
            return {"holder 1 ", "holder 2 "};
    }
}

int64_t SwitchHolders(Story& story, Random& random, int64_t from_ms, int64_t to_ms, const std::string& on,
                      const std::string& off) {
    for (const std::string& holder : Holders(story, random)) {
        Switch(story, from_ms, to_ms, holder + on, holder + off);
    }
    return to_ms;
}

// Where a kind fits

bool HasProbes(const Setup& setup) {
    return setup.board.has_two_sims || setup.board.has_project;
}

/// This family's port has a new name after each restart of the modem anyhow.
bool HasFixedName(const Setup& setup) {
    return setup.family != "cinterion";
}

bool HasProject(const Setup& setup) {
    return setup.board.has_project;
}

// The modem's voice

int64_t Mute(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "mute on", "mute off");
}

int64_t MuteUntilReset(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "mute until-reset", "mute off");
}

int64_t Echo(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const bool on = random.Percent(70);
    return Switch(story, from_ms, to_ms, on ? "echo on" : "echo off", on ? "echo off" : "echo on");
}

int64_t Garbage(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const int64_t seed = random.Between(1, 1000000);
    const int64_t step_ms = random.Skewed(50, 8000);
    const int64_t bytes = random.Skewed(1, 400);
    story.At(from_ms, "seed " + Number(seed));
    story.Every(step_ms, from_ms, to_ms, "garbage " + Number(bytes));
    return to_ms;
}

int64_t Late(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "delay " + Number(random.Skewed(100, 12000)), "delay 0");
}

int64_t Pieces(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kSizes[] = {"pieces 1 gap 5", "pieces 1 gap 5", "pieces 64 gap 5",
                                      "pieces 3 gap 40", "pieces 10 gap 400"};
    return Switch(story, from_ms, to_ms, random.Pick(kSizes), "pieces 0");
}

int64_t Cut(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "cut " + Number(random.Skewed(1, 60)), "cut 0");
}

int64_t Merged(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "merge on", "merge off");
}

int64_t Stale(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "stale on", "stale off");
}

/// At the speed of the line: an answer that fills the daemon's room for it ends the exchange at once.
int64_t Padded(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    Switch(story, from_ms, to_ms, "pieces 64 gap 6", "pieces 0");
    return Switch(story, from_ms, to_ms, "pad " + Number(random.Between(20, 600)), "pad 0");
}

int64_t OddBytes(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const bool nul = random.Percent(50);
    return Switch(story, from_ms, to_ms, nul ? "nul on" : "percent on", nul ? "nul off" : "percent off");
}

constexpr const char* kChatter[] = {
    "RING",
    "+CMTI: \"SM\",3",
    "+CGEV: NW DETACH",
    "^RSSI: 17",
    "+CREG: 0",
    "+CREG: 2",
    "+CEREG: 3",
    "+CSQ: 99,99",
    "+CPIN: NOT READY",
    "+QIND: \"csq\",12,99",
    "+DATASTATUS: 0",
    "+DATASTATUS: 1",
    "+NWTYPEIND: 4",
    "NO CARRIER",
    "+ZPAS: \"No Service\"",
    "^HCSQ: \"NOSERVICE\"",
    "OK",
    "ERROR",
    "+COPS: 0",
    "+QNETDEVSTATUS: 0,0,0,0",
};

int64_t Chatter(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const int64_t voices = random.Between(1, 4);
    for (int64_t i = 0; i < voices; ++i) {
        const char* text = random.Pick(kChatter);
        const int64_t step_ms = random.Skewed(200, 15000);
        story.Every(step_ms, from_ms, to_ms, std::string("urc ") + text);
    }
    return to_ms;
}

int64_t ChatterWithin(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, std::string("chatter ") + random.Pick(kChatter), "chatter");
}

int64_t Flood(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "flood on " + Number(random.Skewed(50, 11520)), "flood off");
}

/// A question that hosts ask, and an answer that fits it.
struct Exchange {
    const char* command;
    const char* answer;
};
constexpr Exchange kExchanges[] = {
    {"AT+CSQ", "+CSQ: 14,99"},       {"AT+CREG?", "+CREG: 0,2"},     {"AT+CGREG?", "+CGREG: 0,0"},
    {"AT+CEREG?", "+CEREG: 0,3"},    {"AT+CPIN?", "+CPIN: SIM PIN"}, {"AT+COPS?", "+COPS: 0"},
    {"AT+CGSN", "123456789012345"},  {"AT+CIMI", "001010123456789"}, {"ATE0", "ERROR"},
    {"AT+CFUN=1", "+CME ERROR: 13"},
};

int64_t WrongAnswer(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const Exchange& asked = random.Pick(kExchanges);
    const Exchange& other = random.Pick(kExchanges);
    constexpr const char* kNoAnswers[] = {"", "ERROR", "+CME ERROR: 14", "BUSY"};
    const std::string answer = random.Percent(60) ? other.answer : random.Pick(kNoAnswers);
    const std::string command = std::string("answer ") + asked.command;
    return Switch(story, from_ms, to_ms, command + " = " + answer, command);
}

// The network

int64_t Unregistered(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return SwitchHolders(story, random, from_ms, to_ms,
                         random.Percent(50) ? "registration 0" : "registration 2", "registration 1");
}

int64_t Denied(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return SwitchHolders(story, random, from_ms, to_ms, "registration 3", "registration 1");
}

int64_t HalfRegistered(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kDomains[] = {"creg", "cgreg", "cereg"};
    const std::string domain = random.Pick(kDomains);
    return SwitchHolders(story, random, from_ms, to_ms, "registration 0 " + domain,
                         "registration 1 " + domain);
}

int64_t Flapping(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr int64_t kMostTurns = 60;
    const std::vector<std::string> holders = Holders(story, random);
    int64_t at_ms = from_ms;
    for (int64_t turn = 0; turn < kMostTurns && at_ms < to_ms; ++turn) {
        for (const std::string& holder : holders) {
            story.At(at_ms, holder + (turn % 2 == 0 ? "registration 0" : "registration 1"));
        }
        at_ms += random.Skewed(500, 60000);
    }
    for (const std::string& holder : holders) story.At(to_ms, holder + "registration 1");
    return to_ms;
}

int64_t Fading(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kSteps[] = {"csq 14", "csq 10", "csq 9", "csq 4", "csq 0", "csq 99"};
    const int64_t step_ms = std::max<int64_t>((to_ms - from_ms) / 7, 1);
    int64_t at_ms = from_ms;
    for (const char* step : kSteps) {
        story.At(at_ms, step);
        story.At(at_ms, "rsrp " + Number(-random.Between(96, 140)));
        at_ms += step_ms;
    }
    story.At(to_ms, "csq 23");
    story.At(to_ms, "rsrp -95");
    return to_ms;
}

int64_t OldTechnology(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kWords[] = {"WCDMA", "GSM", "EDGE", "TDSCDMA"};
    return Switch(story, from_ms, to_ms, std::string("network ") + random.Pick(kWords), "network FDD LTE");
}

int64_t DeadPath(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return SwitchHolders(story, random, from_ms, to_ms, "reach nothing", "reach all");
}

int64_t SlowPath(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return SwitchHolders(story, random, from_ms, to_ms, "round-trip " + Number(random.Skewed(300, 5000)),
                         "round-trip 40");
}

int64_t LinkCut(Story& story, Random&, int64_t from_ms, int64_t) {
    story.At(from_ms, "link down");
    return from_ms;
}

int64_t LinkFlaps(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    for (int64_t at_ms = from_ms; at_ms < to_ms; at_ms += random.Between(2000, 90000)) {
        story.At(at_ms, "link down");
    }
    story.At(to_ms, "link down");
    return to_ms;
}

int64_t DialRefused(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "dial fail");
    story.At(from_ms + random.Skewed(0, 5000), "link down");
    story.At(to_ms, "dial ok");
    return to_ms;
}

int64_t DialRefusedUntilReset(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "dial fail until-reset");
    story.At(from_ms, "link down");
    story.At(to_ms, "dial ok");
    return to_ms;
}

// The SIM

int64_t SimPulled(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return SwitchHolders(story, random, from_ms, to_ms, "sim absent", "sim ready");
}

int64_t SimFlickers(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    for (int64_t at_ms = from_ms; at_ms < to_ms; at_ms += random.Between(3000, 60000)) {
        story.At(at_ms, "holder 1 sim absent");
        story.At(at_ms + random.Skewed(50, 8000), "holder 1 sim ready");
    }
    story.At(to_ms + 8000, "holder 1 sim ready");
    return to_ms + 8000;
}

int64_t SimLate(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const std::string busy = "sim ready-after " + Number(random.Between(1, 12));
    for (const std::string& holder : Holders(story, random)) {
        story.At(from_ms, holder + "sim absent");
        story.At(from_ms + random.Skewed(500, 20000), holder + busy);
        story.At(to_ms, holder + "sim ready");
    }
    return to_ms;
}

int64_t SimWantsPin(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return SwitchHolders(story, random, from_ms, to_ms, "sim pin", "sim ready");
}

/// Another SIM, and later the old one again.
int64_t SimSwapped(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr int64_t kHand_ms = 4000;
    const auto swap = [&story](int64_t at_ms, const std::string& imsi) {
        story.At(at_ms, "holder 1 sim absent");
        story.At(at_ms + kHand_ms, "holder 1 imsi " + imsi);
        story.At(at_ms + kHand_ms, "holder 1 sim ready");
    };
    swap(from_ms, "46003" + Number(random.Between(1000000000, 9999999999)));
    swap(to_ms, "460001112223334");
    return to_ms + kHand_ms;
}

// Port, power and scripts

int64_t HangUp(Story& story, Random& random, int64_t from_ms, int64_t) {
    const int64_t back_ms = from_ms + random.Skewed(1, 400);
    return Switch(story, from_ms, back_ms, "unplug", "plug");
}

int64_t PortAway(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "unplug", "plug");
}

/// Under another name, and later under its own again.
int64_t PortRenamed(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const int64_t away_ms = random.Skewed(100, 10000);
    story.At(from_ms, "unplug");
    story.At(from_ms + away_ms, "plug /dev/ttyUSB7");
    story.At(to_ms, "unplug");
    story.At(to_ms + away_ms, "plug " + story.setup.port);
    return to_ms + away_ms;
}

int64_t ModemRestarts(Story& story, Random&, int64_t from_ms, int64_t) {
    story.At(from_ms, "reset");
    return from_ms + story.setup.timing.boot_ms;
}

int64_t PowerCut(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    Switch(story, from_ms, to_ms, "power off", "power on");
    return to_ms + story.setup.timing.boot_ms;
}

/// What makes the daemon reset the modem by script.
void CallForReset(Story& story, Random& random, int64_t at_ms, int64_t to_ms) {
    switch (random.Below(3)) {
        case 0:
            story.At(at_ms, "fifo Reset4G:1");
            break;
        case 1:
            story.At(at_ms, "fifo S84Reset4G:1");
            break;
        default:
            story.At(at_ms, "mute until-reset");
            story.At(to_ms, "mute off");
            break;
    }
}

int64_t ScriptSlow(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const int64_t takes_seconds = random.Skewed(5, 240);
    story.At(from_ms, ResetScriptRule(takes_seconds));
    CallForReset(story, random, from_ms, to_ms);
    story.At(to_ms, ResetScriptRule(story.setup.board.script_ms / kSecond_ms));
    return to_ms + takes_seconds * kSecond_ms;
}

int64_t ScriptFails(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, kResetScriptWords + std::string(random.Percent(50) ? "fails" : "takes 0"));
    CallForReset(story, random, from_ms, to_ms);
    story.At(to_ms, ResetScriptRule(story.setup.board.script_ms / kSecond_ms));
    return to_ms;
}

// Probes

int64_t PingHangs(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const int64_t takes_seconds = random.Skewed(30, 1200);
    story.At(from_ms, "shell ping takes " + Number(takes_seconds));
    story.At(to_ms, "shell ping pings");
    return to_ms + takes_seconds * kSecond_ms;
}

int64_t PingOdd(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kWhat[] = {
        "fails",           "prints \"\"", "prints \"x\\n\"", "prints \"<100*y>\\n0\\n\"", "prints \"12\\n\"",
        "prints \"0\\n\"",
    };
    return Switch(story, from_ms, to_ms, std::string("shell ping ") + random.Pick(kWhat), "shell ping pings");
}

// Settings

int64_t SettingsRewritten(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr Exchange kChanges[] = {
        {"APN", "other.example"}, {"APN", "'quoted'"},      {"USERNAME", "somebody"},
        {"PASSWORD", "p w"},      {"AUTH_TYPE", "2"},       {"AUTOCONNECT", "1"},
        {"CARD_PIN", "4321"},     {"BRACKEN_PROJECT", "1"}, {"APN", "<80*a>"}};
    const Exchange& change = random.Pick(kChanges);
    story.Settings(from_ms, change.command, change.answer);
    story.Settings(to_ms);
    return to_ms;
}

int64_t SettingsTorn(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    const std::string whole = SettingsBlock(story.setup.settings);
    std::string torn =
        whole.substr(0, static_cast<size_t>(random.Between(5, static_cast<int64_t>(whole.size()) - 2)));
    if (torn.back() != '\n') torn += '\n';
    story.At(from_ms, "settings", torn);
    story.Settings(to_ms);
    return to_ms;
}

int64_t SettingsEmptied(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "settings empty");
    story.Settings(to_ms);
    return to_ms;
}

int64_t SettingsGone(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, std::string("remove ") + kSettingsFile);
    story.Settings(to_ms);
    return to_ms;
}

int64_t SettingsNonsense(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kLines[] = {"    =\n",
                                      "    <600*x>\n",
                                      "    ENABLE\n",
                                      "    APN==\n    =true\n",
                                      "    [lte]\n    ; nothing\n",
                                      "    ENABLE = maybe\n"};
    story.At(from_ms, "settings", random.Pick(kLines));
    story.Settings(to_ms);
    return to_ms;
}

int64_t Disabled(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    story.Settings(from_ms, "ENABLE", "false");
    story.Settings(to_ms);
    return to_ms;
}

int64_t ServiceOutage(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr int64_t kMostSteps = 40;
    const int64_t step_ms = std::max(kMinute_ms, (to_ms - from_ms) / kMostSteps);
    if (random.Percent(70)) SwitchHolders(story, random, from_ms, to_ms, "reach nothing", "reach all");
    for (int64_t at_ms = from_ms; at_ms < to_ms; at_ms += step_ms) {
        story.Settings(at_ms, "OFFLINE", Number((at_ms - from_ms) / kSecond_ms).c_str());
    }
    story.Settings(to_ms);
    return to_ms;
}

// Files

int64_t FolderGone(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, "remove /run/network");
    story.At(to_ms, "folder /run/network");
    story.Settings(to_ms);
    return to_ms;
}

int64_t StatusBlocked(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, std::string("remove ") + kStatusPath);
    story.At(from_ms, std::string("folder ") + kStatusPath);
    story.At(to_ms, std::string("remove ") + kStatusPath);
    return to_ms;
}

int64_t FilesFull(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "full /run/network", "writable /run/network");
}

int64_t FilesReadOnly(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "readonly /run/network", "writable /run/network");
}

// The process and its clock

constexpr const char* kKills[] = {"kill kill", "kill kill", "kill term", "kill hup", "kill int"};

int64_t Killed(Story& story, Random& random, int64_t from_ms, int64_t) {
    story.At(from_ms, random.Pick(kKills));
    return from_ms;
}

int64_t KilledAgain(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr int kMostKills = 12;
    int64_t at_ms = from_ms;
    for (int i = 0; i < kMostKills && at_ms < to_ms; ++i) {
        story.At(at_ms, random.Pick(kKills));
        at_ms += random.Skewed(2000, 120000);
    }
    return std::max(at_ms, to_ms);
}

int64_t ClockSet(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr int64_t kMost_seconds[] = {5, 3600, 86400, 400 * 86400LL, 8 * 366 * 86400LL};
    const int64_t most_seconds = random.Pick(kMost_seconds);
    const std::string by = Number(random.Between(1, most_seconds));
    const bool forwards = random.Percent(50);
    const std::string there = forwards ? "clock +" : "clock -", back = forwards ? "clock -" : "clock +";
    return Switch(story, from_ms, to_ms, there + by, back + by);
}

// The pipe

int64_t AskSoftReset(Story& story, Random&, int64_t from_ms, int64_t) {
    story.At(from_ms, "fifo SoftReset:1");
    return from_ms;
}

int64_t AskHardReset(Story& story, Random& random, int64_t from_ms, int64_t) {
    story.At(from_ms, random.Percent(50) ? "fifo Reset4G:1" : "fifo S84Reset4G:1");
    return from_ms;
}

int64_t AskResets(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kRequests[] = {"fifo Reset4G:1", "fifo S84Reset4G:1", "fifo SoftReset:1",
                                         "fifo Reset4G:1 SoftReset:1", "fifo \"SoftReset:1\\nReset4G:1\\n\""};
    const char* request = random.Pick(kRequests);
    const int64_t step_ms = random.Skewed(100, 60000);
    story.Every(step_ms, from_ms, to_ms, request);
    return to_ms;
}

int64_t PipeRubbish(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr const char* kTexts[] = {
        "fifo SoftReset:0",
        "fifo softreset:1",
        "fifo \"SoftReset:1\\r\\n\"",
        "fifo \":::\\n\"",
        "fifo \"\\n\\n\\n\"",
        "fifo 4G_MODEM_STATUS:offline",
        "fifo orla_ip_list:noexist",
        "fifo udhcpc wwan0 bound 10.0.0.1 Reset4G:1",
        "fifo \"<511*x>\"",
        "fifo \"<600*a:b >\\n\"",
        "fifo \"\\0\\0Reset\\0\"",
        "fifo \"%s%n%d:1\\n\"",
        "fifo Reset4G:11",
    };
    const int64_t voices = random.Between(1, 3);
    for (int64_t i = 0; i < voices; ++i) {
        const char* text = random.Pick(kTexts);
        const int64_t step_ms = random.Skewed(100, 20000);
        story.Every(step_ms, from_ms, to_ms, text);
    }
    return to_ms;
}

int64_t PipeFlood(Story& story, Random& random, int64_t from_ms, int64_t) {
    const int64_t to_ms = from_ms + random.Skewed(200, 3000);
    if (random.Percent(50)) {
        story.Every(1, from_ms, to_ms, "fifo 4G_MODEM_STATUS:online");
    } else {
        story.Every(20, from_ms, to_ms, "fifo \"<512*z>\"");
    }
    return to_ms;
}

int64_t PipeDeleted(Story& story, Random&, int64_t from_ms, int64_t) {
    story.At(from_ms, std::string("remove ") + kPipe);
    return from_ms;
}

/// A file in the pipe's place: the daemon finds a path and is content.
int64_t PipeReplaced(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    story.At(from_ms, std::string("remove ") + kPipe);
    story.At(from_ms, std::string("write ") + kPipe, "    not a pipe\n");
    story.At(to_ms, std::string("remove ") + kPipe);
    return to_ms;
}

// The bus

int64_t BusRubbish(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    constexpr int64_t kMostFrames = 30;
    const int64_t frames = random.Between(1, kMostFrames);
    for (int64_t i = 0; i < frames; ++i) {
        const int64_t at_ms = random.Between(from_ms, to_ms);
        const auto msg_id = static_cast<unsigned>(random.Below(65536));
        std::string bytes = FrameBytes(msg_id, bus_peer::kStatus, {});
        switch (random.Below(6)) {
            case 0:  // cut
                bytes.resize(1 + random.Below(bytes.size() - 1));
                break;
            case 1: {  // a wrong bit
                const size_t place = random.Below(bytes.size());
                bytes[place] = static_cast<char>(bytes[place] ^ (1 << random.Below(8)));
                break;
            }
            case 2:
                bytes = RandomBytes(random, random.Skewed(1, 300));
                break;
            case 3:  // a command that nobody knows, or an answer in the place of a question
                bytes = FrameBytes(msg_id, static_cast<unsigned>(0x7601 + random.Below(16)), {1, 2, 3});
                break;
            case 4:  // an upgrade that isn't one
                bytes = FrameBytes(msg_id, bus_peer::kUpgrade, {static_cast<uint8_t>(2 + random.Below(200))});
                break;
            default:
                bytes += RandomBytes(random, random.Skewed(1, 40));
                break;
        }
        if (random.Percent(80)) {
            story.Call(at_ms, bytes);
        } else {
            story.At(at_ms, "signal " + simulator_text::ToHex(bytes));
        }
    }
    return to_ms;
}

int64_t BusFlood(Story& story, Random& random, int64_t from_ms, int64_t) {
    const int64_t to_ms = from_ms + random.Skewed(100, 2000);
    const std::string query = FrameBytes(static_cast<unsigned>(random.Below(65536)), bus_peer::kStatus, {});
    story.Every(random.Between(1, 10), from_ms, to_ms, "call " + simulator_text::ToHex(query));
    return to_ms;
}

int64_t BusAway(Story& story, Random&, int64_t from_ms, int64_t to_ms) {
    return Switch(story, from_ms, to_ms, "bus away", "bus back");
}

// Upgrades

void RequestUpgrade(Story& story, Random& random, int64_t at_ms) {
    const bus_peer::Bytes whole = {1, 1, 4, 'E', 'G', '2', '1', 2, 4, 't', 'o', 'o', 'l', 3, 2, '/', 'x'};
    const bus_peer::Bytes bare = {1};
    const auto msg_id = static_cast<unsigned>(random.Below(65536));
    story.Call(at_ms, FrameBytes(msg_id, bus_peer::kUpgrade, random.Percent(70) ? whole : bare));
}

/// The tool talks once a second-long step, with its last word at the end. Now and then the modem's port goes
/// away meanwhile, as that of a module in its download mode does.
int64_t Upgrade(Story& story, Random& random, int64_t from_ms, int64_t to_ms, const char* last_word) {
    const int64_t length_seconds = std::max<int64_t>((to_ms - from_ms) / kSecond_ms, 4);
    story.At(from_ms, kFirmwareTool + ("slowly " + Number(length_seconds / 2)) + " prints \"begins\\n" +
                          last_word + "\"");
    RequestUpgrade(story, random, from_ms);
    for (int64_t again = random.Between(0, 2); again > 0; --again) {
        RequestUpgrade(story, random, from_ms + random.Between(0, length_seconds * kSecond_ms));
    }
    const int64_t end_ms = from_ms + length_seconds * kSecond_ms + kMinute_ms;
    const bool goes_away = random.Percent(40);
    if (goes_away && story.setup.can_upgrade) {
        story.At(from_ms + kSecond_ms, "unplug");
        story.At(from_ms + length_seconds * kSecond_ms / 2, "plug");
        story.At(from_ms + length_seconds * kSecond_ms / 2, "reset");
    }
    if (random.Percent(40)) {
        const int64_t at_ms = from_ms + random.Between(0, length_seconds * kSecond_ms);
        story.At(at_ms, random.Percent(50) ? "fifo Reset4G:1" : "fifo SoftReset:1");
    }
    return end_ms;
}

int64_t UpgradeSucceeds(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return Upgrade(story, random, from_ms, to_ms, "Upgrade module successfully\\n");
}

int64_t UpgradeFails(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return Upgrade(story, random, from_ms, to_ms, "Upgrade module fail\\n");
}

int64_t UpgradeHangs(Story& story, Random& random, int64_t from_ms, int64_t to_ms) {
    return Upgrade(story, random, from_ms, to_ms, "nothing more\\n");
}

}  // namespace

const std::vector<FaultKind>& FaultKinds() {
    constexpr Measure kEnd = Measure::kFromEnd;
    constexpr Measure kBegin = Measure::kFromBegin;
    // name, share, shortest and longest in seconds, measure, what, where, how
    static const std::vector<FaultKind> kinds = {
        {"mute", 10, 2, 900, kEnd, "the modem hears and says nothing", nullptr, Mute},
        {"mute_until_reset", 6, 300, 900, kBegin, "the same, until a reset", nullptr, MuteUntilReset},
        {"echo", 4, 30, 1200, kEnd, "the command echo comes on, or goes off", nullptr, Echo},
        {"garbage", 6, 5, 600, kEnd, "random bytes between the answers", nullptr, Garbage},
        {"cut", 4, 10, 900, kEnd, "answers end in the middle", nullptr, Cut},
        {"merged", 3, 10, 900, kEnd, "two answers in one block", nullptr, Merged},
        {"stale", 3, 10, 900, kEnd, "each answer is that of the command before", nullptr, Stale},
        {"late", 6, 10, 900, kEnd, "answers come up to 12 s late", nullptr, Late},
        {"pieces", 5, 30, 1200, kEnd, "answers in pieces, down to a byte every 5 ms", nullptr, Pieces},
        {"padded", 3, 10, 200, kEnd, "answers longer than the daemon's room for them", nullptr, Padded},
        {"odd_bytes", 3, 30, 900, kEnd, "NUL or conversions of printf in each answer", nullptr, OddBytes},
        {"chatter", 6, 20, 900, kEnd, "unsolicited lines, some of which look like answers", nullptr, Chatter},
        {"chatter_within", 3, 20, 900, kEnd, "the same in the middle of each answer", nullptr, ChatterWithin},
        {"flood", 3, 5, 300, kEnd, "unsolicited lines as fast as the line carries", nullptr, Flood},
        {"wrong_answer", 8, 20, 1200, kEnd, "the answer of another command, an error, or none", nullptr,
         WrongAnswer},
        {"unregistered", 8, 10, 2400, kEnd, "no registration", nullptr, Unregistered},
        {"denied", 4, 10, 2400, kEnd, "the network refuses the SIM", nullptr, Denied},
        {"half_registered", 3, 10, 1200, kEnd, "registered in some domains only", nullptr, HalfRegistered},
        {"flapping", 4, 30, 1200, kEnd, "registration comes and goes", nullptr, Flapping},
        {"fading", 5, 60, 2400, kEnd, "the signal fades, down to none", nullptr, Fading},
        {"old_technology", 3, 30, 1800, kEnd, "a radio technology before LTE", nullptr, OldTechnology},
        {"dead_path", 6, 30, 2400, kEnd, "the link is up and carries nothing", nullptr, DeadPath},
        {"slow_path", 3, 30, 1200, kEnd, "answers of the network take up to 5 s", nullptr, SlowPath},
        {"link_cut", 10, 0, 0, kBegin, "the network ends the data call", nullptr, LinkCut},
        {"link_flaps", 4, 20, 600, kEnd, "the network ends the data call again and again", nullptr,
         LinkFlaps},
        {"dial_refused", 5, 20, 900, kEnd, "the link is cut and dials are refused", nullptr, DialRefused},
        {"dial_refused_until_reset", 3, 900, 1500, kBegin, "the same, until a reset", nullptr,
         DialRefusedUntilReset},
        {"sim_pulled", 6, 5, 1800, kEnd, "no SIM", nullptr, SimPulled},
        {"sim_flickers", 3, 10, 300, kEnd, "a SIM with a loose contact", nullptr, SimFlickers},
        {"sim_late", 3, 30, 300, kEnd, "a SIM that needs long to be ready", nullptr, SimLate},
        {"sim_wants_pin", 3, 20, 1200, kEnd, "a SIM that waits for its PIN", nullptr, SimWantsPin},
        {"sim_swapped", 3, 60, 1800, kEnd, "another SIM, and later the old one", nullptr, SimSwapped},
        {"hang_up", 6, 0, 0, kBegin, "the port is away for a moment, in the middle of anything", nullptr,
         HangUp},
        {"port_away", 4, 1, 600, kEnd, "the port is away", nullptr, PortAway},
        {"port_renamed", 2, 30, 300, kEnd, "the port has another name for a time", HasFixedName, PortRenamed},
        {"modem_restarts", 5, 0, 0, kBegin, "the modem restarts by itself", nullptr, ModemRestarts},
        {"power_cut", 3, 1, 300, kEnd, "no power for the modem", nullptr, PowerCut},
        {"script_slow", 3, 120, 600, kEnd, "a reset is due, and its script takes up to 4 min", nullptr,
         ScriptSlow},
        {"script_fails", 3, 60, 600, kEnd, "a reset is due, and its script fails or does nothing", nullptr,
         ScriptFails},
        {"ping_hangs", 4, 5, 300, kEnd, "a probe takes up to 20 min", HasProbes, PingHangs},
        {"ping_odd", 3, 20, 900, kEnd, "a probe that can't be run, or prints something else", HasProbes,
         PingOdd},
        {"settings_rewritten", 4, 5, 900, kEnd, "another APN, account or switch", nullptr, SettingsRewritten},
        {"settings_torn", 3, 1, 300, kEnd, "settings cut in the middle", nullptr, SettingsTorn},
        {"settings_emptied", 3, 1, 600, kEnd, "an empty settings file", nullptr, SettingsEmptied},
        {"settings_gone", 3, 1, 600, kEnd, "no settings file", nullptr, SettingsGone},
        {"settings_nonsense", 2, 1, 300, kEnd, "lines that are no settings", nullptr, SettingsNonsense},
        {"disabled", 5, 1, 1800, kEnd, "switched off in the settings", nullptr, Disabled},
        {"service_outage", 6, 120, 7200, kEnd, "the service's outage in the settings grows", HasProject,
         ServiceOutage},
        {"folder_gone", 3, 1, 300, kEnd, "/run/network is removed with all that is in it", nullptr,
         FolderGone},
        {"status_blocked", 2, 10, 600, kEnd, "a folder in the place of the status file", nullptr,
         StatusBlocked},
        {"files_full", 3, 5, 600, kEnd, "no room for the status files", nullptr, FilesFull},
        {"files_readonly", 3, 5, 600, kEnd, "/run/network can't be written", nullptr, FilesReadOnly},
        {"killed", 6, 0, 0, kBegin, "the daemon is ended by a signal, and started again", nullptr, Killed},
        {"killed_again", 2, 10, 400, kEnd, "the same, again and again", nullptr, KilledAgain},
        {"clock_set", 4, 5, 3600, kEnd, "the date is set, and later set back", nullptr, ClockSet},
        {"ask_soft_reset", 4, 0, 0, kBegin, "a script asks for a soft reset", nullptr, AskSoftReset},
        {"ask_hard_reset", 4, 0, 0, kBegin, "a script asks for a hardware reset", nullptr, AskHardReset},
        {"ask_resets", 3, 10, 600, kEnd, "a script asks for resets without end", nullptr, AskResets},
        {"pipe_rubbish", 4, 5, 300, kEnd, "what is no command, or only nearly one", nullptr, PipeRubbish},
        {"pipe_flood", 2, 0, 0, kBegin, "a thousand messages a second", nullptr, PipeFlood},
        {"pipe_deleted", 3, 0, 0, kBegin, "the pipe is removed", nullptr, PipeDeleted},
        {"pipe_replaced", 2, 10, 600, kEnd, "a file in the pipe's place", nullptr, PipeReplaced},
        {"bus_rubbish", 4, 5, 600, kEnd, "frames that are cut, changed, or of unknown commands", nullptr,
         BusRubbish},
        {"bus_away", 3, 5, 600, kEnd, "the bus goes away", nullptr, BusAway},
        {"bus_flood", 2, 0, 0, kBegin, "status queries as fast as they can be answered", nullptr, BusFlood},
        {"upgrade_succeeds", 5, 30, 1800, kEnd, "an upgrade of the modem's firmware", nullptr,
         UpgradeSucceeds},
        {"upgrade_fails", 5, 30, 1800, kEnd, "an upgrade that its tool gives up", nullptr, UpgradeFails},
        {"upgrade_hangs", 3, 600, 5400, kEnd, "an upgrade whose tool takes long and says nothing", nullptr,
         UpgradeHangs},
    };
    return kinds;
}

const FaultKind* FindFaultKind(const std::string& name) {
    for (const FaultKind& kind : FaultKinds()) {
        if (name == kind.name) return &kind;
    }
    return nullptr;
}

void PrintFaultKinds(FILE* to) {
    fprintf(to, "%-26s %5s %16s  %s\n", "fault", "share", "seconds", "what");
    for (const FaultKind& kind : FaultKinds()) {
        const std::string length = kind.most_seconds == 0 ? "at once"
                                                          : std::to_string(kind.least_seconds) + " to " +
                                                                std::to_string(kind.most_seconds);
        fprintf(to, "%-26s %5d %16s  %s\n", kind.name, kind.share, length.c_str(), kind.what);
    }
}

}  // namespace soak
