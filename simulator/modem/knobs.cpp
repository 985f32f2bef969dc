// The knobs: one table from which come what a line does, the text of --help and the list that the
// documentation is checked against. The same words on the command line, at the control socket and in
// scenarios.
#include <algorithm>
#include <climits>

#include "simulator/modem/modem_inside.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

/// What is wrong with the words behind the knob's name; empty when nothing is.
using Complaint = std::string;

struct Knob {
    const char* name;
    const char* arguments;
    const char* help;
    Complaint (*turn)(ModemInside& modem, std::string_view words);
};

constexpr int64_t kTimeMaxMs = 24LL * 60 * 60 * 1000;
constexpr int64_t kBytesMax = 32LL * 1024;
constexpr int64_t kDefaultGapMs = 20;
/// What a line of 115200 baud carries.
constexpr int64_t kDefaultFloodBytesPerSecond = 11520;
constexpr int64_t kFloodMaxBytesPerSecond = 1000LL * 1000;

Complaint Fine() {
    return {};
}

Complaint SetInteger(std::string_view words, int64_t smallest, int64_t largest, int64_t* value) {
    const auto number = ParseInteger(words, smallest, largest);
    if (!number) {
        return "a number from " + std::to_string(smallest) + " to " + std::to_string(largest) + " is wanted";
    }
    *value = *number;
    return Fine();
}

Complaint SetInteger(std::string_view words, int64_t smallest, int64_t largest, int* value) {
    int64_t number = *value;
    Complaint complaint = SetInteger(words, smallest, largest, &number);
    *value = static_cast<int>(number);
    return complaint;
}

Complaint SetTime(std::string_view words, int64_t* value_ms) {
    return SetInteger(words, 0, kTimeMaxMs, value_ms);
}

Complaint SetText(std::string_view words, std::string* value) {
    *value = std::string(words);
    return Fine();
}

Complaint SetSwitch(std::string_view words, bool* value) {
    if (words != "on" && words != "off") return "on or off is wanted";
    *value = words == "on";
    return Fine();
}

Complaint TakeNothing(std::string_view words) {
    return words.empty() ? Fine() : "no arguments are wanted";
}

// SIM and network

Complaint TurnSim(ModemInside& modem, std::string_view words) {
    const std::string_view state = TakeWord(&words);
    int64_t busy_asks = 0;
    if (state == "ready-after") {
        Complaint complaint = SetInteger(words, 0, INT_MAX, &busy_asks);
        if (!complaint.empty()) return complaint;
    } else if ((state != "absent" && state != "pin" && state != "ready") || !words.empty()) {
        return "absent, pin, ready or ready-after N is wanted";
    }
    modem.device.ChangeCard(modem.KnobHolder(), state != "absent", state == "pin",
                            static_cast<int>(busy_asks));
    return Fine();
}

Complaint TurnRegistration(ModemInside& modem, std::string_view words) {
    constexpr int kStatMax = 10;
    int stat = 0;
    Complaint complaint = SetInteger(TakeWord(&words), 0, kStatMax, &stat);
    if (!complaint.empty()) return complaint;
    constexpr std::string_view kNames[kDomainCount] = {"creg", "cgreg", "cereg"};
    const auto* const name = std::find(std::begin(kNames), std::end(kNames), words);
    if (name == std::end(kNames) && !words.empty()) return "creg, cgreg or cereg is wanted";
    for (const Domain domain : {kCircuit, kPacket, kEps}) {
        if (words.empty() || words == kNames[domain]) modem.device.SetStat(modem.KnobHolder(), domain, stat);
    }
    return Fine();
}

Complaint TurnReach(ModemInside& modem, std::string_view words) {
    Subscription& network = modem.KnobCard().network;
    if (words.empty()) return "all, nothing or hosts are wanted";
    network.reaches_all = words == "all";
    network.hosts.clear();
    if (words == "all" || words == "nothing") return Fine();
    while (!words.empty()) network.hosts.emplace_back(TakeWord(&words));
    return Fine();
}

Complaint SetHolder(std::string_view words, size_t* holder) {
    int64_t number = 0;
    Complaint complaint = SetInteger(words, 1, kCardCount, &number);
    if (complaint.empty()) *holder = static_cast<size_t>(number - 1);
    return complaint;
}

Complaint TurnSelect(ModemInside& modem, std::string_view words) {
    size_t holder = 0;
    Complaint complaint = SetHolder(words, &holder);
    if (complaint.empty()) modem.device.SelectCard(holder);
    return complaint;
}

/// Knobs of one SIM and its network.
constexpr std::string_view kSimKnobs[] = {"sim", "iccid", "imsi", "registration", "reach", "round-trip"};

Complaint TurnHolder(ModemInside& modem, std::string_view words) {
    size_t holder = 0;
    Complaint complaint = SetHolder(TakeWord(&words), &holder);
    if (!complaint.empty()) return complaint;
    std::string_view rest = words;
    const std::string_view name = TakeWord(&rest);
    if (std::find(std::begin(kSimKnobs), std::end(kSimKnobs), name) == std::end(kSimKnobs)) {
        return "sim, iccid, imsi, registration, reach or round-trip is wanted";
    }
    std::string reply;
    modem.knob_holder = holder;
    TurnKnob(modem, words, &reply);
    modem.knob_holder.reset();
    return reply;
}

Complaint TurnLink(ModemInside& modem, std::string_view words) {
    if (words == "down") {
        modem.device.CutCall();
        return Fine();
    }
    if (words != "up") return "up or down is wanted";
    return modem.device.RaiseCall() ? Fine() : "the modem isn't registered";
}

Complaint TurnDial(ModemInside& modem, std::string_view words) {
    const std::string_view verdict = TakeWord(&words);
    if (verdict == "ok" && words.empty()) {
        modem.device.RefuseDials(Fault::kNone, 0);
    } else if (verdict == "fail" && words.empty()) {
        modem.device.RefuseDials(Fault::kStays, 0);
    } else if (verdict == "fail" && words == "until-reset") {
        modem.device.RefuseDials(Fault::kUntilReset, 0);
    } else if (const auto refusals = ParseInteger(words, 1, INT_MAX); verdict == "fail" && refusals) {
        modem.device.RefuseDials(Fault::kNone, static_cast<int>(*refusals));
    } else {
        return "ok, fail, fail N or fail until-reset is wanted";
    }
    return Fine();
}

// The line

Complaint TurnMute(ModemInside& modem, std::string_view words) {
    if (words == "on") {
        modem.faults.mute = Fault::kStays;
    } else if (words == "off") {
        modem.faults.mute = Fault::kNone;
    } else if (words == "until-reset") {
        modem.faults.mute = Fault::kUntilReset;
    } else {
        return "on, off or until-reset is wanted";
    }
    return Fine();
}

Complaint TurnPieces(ModemInside& modem, std::string_view words) {
    int64_t piece_bytes = 0;
    int64_t gap_ms = kDefaultGapMs;
    Complaint complaint = SetInteger(TakeWord(&words), 0, kBytesMax, &piece_bytes);
    if (complaint.empty() && !words.empty()) {
        if (TakeWord(&words) != "gap") return "N or N gap MS is wanted";
        complaint = SetTime(words, &gap_ms);
    }
    if (!complaint.empty()) return complaint;
    modem.faults.piece_bytes = static_cast<size_t>(piece_bytes);
    modem.faults.piece_gap_ms = gap_ms;
    return Fine();
}

Complaint TurnPad(ModemInside& modem, std::string_view words) {
    int64_t pad_bytes = 0;
    Complaint complaint = SetInteger(words, 0, kBytesMax, &pad_bytes);
    if (complaint.empty()) modem.faults.pad_bytes = static_cast<size_t>(pad_bytes);
    return complaint;
}

Complaint TurnUrc(ModemInside& modem, std::string_view words) {
    if (words.empty()) return "a text is wanted";
    const std::string bytes = Unescape(words);
    modem.Say(HasLineEndEscape(words) ? bytes : "\r\n" + bytes + "\r\n");
    return Fine();
}

Complaint TurnGarbage(ModemInside& modem, std::string_view words) {
    int64_t count = 0;
    Complaint complaint = SetInteger(words, 1, kBytesMax, &count);
    if (complaint.empty()) modem.SayGarbage(static_cast<size_t>(count));
    return complaint;
}

Complaint TurnFlood(ModemInside& modem, std::string_view words) {
    const std::string_view state = TakeWord(&words);
    int64_t bytes_per_second = kDefaultFloodBytesPerSecond;
    if (state == "off" && words.empty()) {
        bytes_per_second = 0;
    } else if (state != "on") {
        return "on, on BYTES_PER_SECOND or off is wanted";
    } else if (!words.empty()) {
        Complaint complaint = SetInteger(words, 1, kFloodMaxBytesPerSecond, &bytes_per_second);
        if (!complaint.empty()) return complaint;
    }
    modem.SetFlood(bytes_per_second);
    return Fine();
}

Complaint TurnSeed(ModemInside& modem, std::string_view words) {
    int64_t seed = 0;
    Complaint complaint = SetInteger(words, 0, INT_MAX, &seed);
    if (complaint.empty()) modem.random.seed(static_cast<unsigned>(seed));
    return complaint;
}

bool IsResultText(std::string_view text) {
    return text == "OK" || text == "ERROR" || text == "NO CARRIER" || text == "BUSY" ||
           text.substr(0, 11) == "+CME ERROR:" || text.substr(0, 11) == "+CMS ERROR:";
}

Complaint TurnAnswer(ModemInside& modem, std::string_view words) {
    // A command may hold a '=' of its own, so the one that parts command and text stands between blanks.
    constexpr std::string_view kParting = " =";
    size_t parting = words.find(" = ");
    const bool is_silent =
        words.size() > kParting.size() && words.substr(words.size() - kParting.size()) == kParting;
    if (parting == std::string_view::npos && is_silent) parting = words.size() - kParting.size();
    const std::string command = NormaliseCommand(words.substr(0, parting));
    if (command.compare(0, 2, "AT") != 0) return "AT... or AT... = TEXT is wanted";
    if (parting == std::string_view::npos) {
        modem.overrides.erase(command);
        return Fine();
    }
    const std::string_view text = Trim(words.substr(parting + kParting.size()));
    std::string bytes = Unescape(text);
    if (!text.empty() && !HasLineEndEscape(text)) {
        bytes = "\r\n" + bytes + "\r\n";
        if (!IsResultText(text)) bytes += "\r\nOK\r\n";
    }
    modem.overrides[command] = bytes;
    return Fine();
}

// Power and port

Complaint TurnReset(ModemInside& modem, std::string_view words) {
    Complaint complaint = TakeNothing(words);
    if (complaint.empty()) modem.device.Reset();
    return complaint;
}

Complaint TurnPower(ModemInside& modem, std::string_view words) {
    bool on = false;
    Complaint complaint = SetSwitch(words, &on);
    if (!complaint.empty()) return complaint;
    if (on) {
        modem.device.PowerOn();
    } else {
        modem.device.PowerOff();
    }
    return Fine();
}

Complaint TurnUnplug(ModemInside& modem, std::string_view words) {
    Complaint complaint = TakeNothing(words);
    if (complaint.empty()) modem.device.SetPlugged(false);
    return complaint;
}

Complaint TurnPlug(ModemInside& modem, std::string_view words) {
    if (!words.empty()) modem.port_path = std::string(words);
    modem.device.SetPlugged(true);
    return Fine();
}

Complaint TurnStatus(ModemInside&, std::string_view words) {
    return TakeNothing(words);
}

// The table

constexpr Knob kKnobs[] = {
    // SIM
    {"sim", "absent|pin|ready|ready-after N",
     "The SIM: none, waiting for its PIN (which is 1234), ready, or ready after N more asks with AT+CPIN?",
     TurnSim},
    {"iccid", "TEXT", "Number of the SIM card",
     [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.KnobCard().iccid); }},
    {"imsi", "TEXT", "Subscriber number; its first five digits are the network",
     [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.KnobCard().imsi); }},
    {"sim-start", "MS", "How long a SIM takes to be ready once the modem is up or the radio is on again",
     [](ModemInside& modem, std::string_view words) {
         return SetTime(words, &modem.device.timing.sim_start_ms);
     }},
    {"select", "1|2",
     "The selector pin: which of the two SIM holders the modem is wired to. To a modem that is on, one SIM "
     "goes and another comes",
     TurnSelect},
    {"holder", "1|2 KNOB",
     "Turns sim, iccid, imsi, registration, reach or round-trip for the SIM in that holder, selected or not; "
     "without it they mean the selected one",
     TurnHolder},
    // network
    {"registration", "STAT [creg|cgreg|cereg]",
     "What the network says to the modem, in one domain or in all: 0 not, 1 home, 2 searching, 3 denied, 5 "
     "roaming",
     TurnRegistration},
    {"search-time", "MS", "How long the modem searches (stat 2) once radio and SIM are there",
     [](ModemInside& modem, std::string_view words) {
         return SetTime(words, &modem.device.timing.search_ms);
     }},
    {"csq", "N", "Signal quality, 0 to 31, or 99 for unknown",
     [](ModemInside& modem, std::string_view words) {
         return SetInteger(words, 0, 99, &modem.device.air.csq);
     }},
    {"rsrp", "N", "Strength of the serving cell in dBm, e.g. -95",
     [](ModemInside& modem, std::string_view words) {
         return SetInteger(words, -200, 0, &modem.device.air.rsrp_dbm);
     }},
    {"sinr", "N", "Signal to noise of the serving cell in dB",
     [](ModemInside& modem, std::string_view words) {
         return SetInteger(words, -50, 100, &modem.device.air.sinr_db);
     }},
    {"band", "N", "Frequency band",
     [](ModemInside& modem, std::string_view words) {
         return SetInteger(words, 0, 999, &modem.device.air.band);
     }},
    {"pcid", "N", "Physical cell id",
     [](ModemInside& modem, std::string_view words) {
         return SetInteger(words, 0, 503, &modem.device.air.cell_id);
     }},
    {"operator", "TEXT", "Name of the network operator, without quotes",
     [](ModemInside& modem, std::string_view words) {
         return SetText(words, &modem.device.air.operator_name);
     }},
    {"network", "TEXT", "Radio technology as the modem words it, without quotes, e.g. FDD LTE or WCDMA",
     [](ModemInside& modem, std::string_view words) {
         modem.device.SetNetwork(std::string(words));
         return Fine();
     }},
    {"reach", "all|nothing|HOST...",
     "Who answers through the network of the SIM, in virtual time: a link that is up but carries nothing is "
     "reach nothing",
     TurnReach},
    {"round-trip", "MS", "How long an answer through that network takes",
     [](ModemInside& modem, std::string_view words) {
         return SetTime(words, &modem.KnobCard().network.round_trip_ms);
     }},
    // data call
    {"link", "up|down",
     "down: the network cuts the data call, and it stays down until the host dials; up: it comes up with no "
     "dial",
     TurnLink},
    {"dial", "ok|fail|fail N|fail until-reset",
     "Whether a dial succeeds; fail N refuses the next N dials only", TurnDial},
    {"dial-time", "MS", "How long a dial takes",
     [](ModemInside& modem, std::string_view words) { return SetTime(words, &modem.device.timing.dial_ms); }},
    // what the modem says, and how
    {"mute", "on|off|until-reset", "A modem that hangs: it hears nothing and says nothing", TurnMute},
    {"delay", "MS", "Each answer comes that much later",
     [](ModemInside& modem, std::string_view words) { return SetTime(words, &modem.faults.delay_ms); }},
    {"pieces", "N [gap MS]", "Answers come in pieces of N bytes, MS apart (20 if not told); 0: whole",
     TurnPieces},
    {"pad", "N", "Answers are filled up to N bytes in front of their result line; 0: not", TurnPad},
    {"percent", "on|off", "Answers hold conversions of printf such as %s and %n",
     [](ModemInside& modem, std::string_view words) { return SetSwitch(words, &modem.faults.percent); }},
    {"nul", "on|off", "Answers hold a NUL byte in their middle",
     [](ModemInside& modem, std::string_view words) { return SetSwitch(words, &modem.faults.nul); }},
    {"urc", "TEXT",
     "Says TEXT now, unasked. With \\r or \\n in it TEXT goes out as it is (\\r \\n \\t \\0 \\xHH are "
     "known), else as a line of its own",
     TurnUrc},
    {"garbage", "N", "Says N random bytes now", TurnGarbage},
    {"seed", "N", "Starts the random bytes afresh: same seed, same bytes", TurnSeed},
    {"flood", "on [BYTES_PER_SECOND]|off",
     "Unsolicited lines without a pause, as fast as the line carries (11520 if not told)", TurnFlood},
    {"answer", "COMMAND [= TEXT]",
     "Answers COMMAND with TEXT from now on, without doing it; TEXT as for urc, and a text without \\r or "
     "\\n gets its OK. No TEXT behind the = : silence. No = : the modem's own answer again",
     TurnAnswer},
    {"echo", "on|off", "Command echo, as ATE1 and ATE0 set it",
     [](ModemInside& modem, std::string_view words) { return SetSwitch(words, &modem.device.session.echo); }},
    // the module
    {"temperature", "N", "Degrees Celsius",
     [](ModemInside& modem, std::string_view words) {
         return SetInteger(words, -273, 1000, &modem.device.air.temperature_celsius);
     }},
    {"firmware", "TEXT", "Firmware text",
     [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.device.firmware); }},
    {"imei", "TEXT", "Serial number of the modem",
     [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.device.imei); }},
    {"usb-mode", "N", "USB mode at once, as numbered by the family's own command; restarts keep it",
     [](ModemInside& modem, std::string_view words) {
         const Complaint complaint = SetInteger(words, 0, 999, &modem.device.usb_mode);
         if (complaint.empty()) modem.device.usb_mode_after_boot = modem.device.usb_mode;
         return complaint;
     }},
    // power and port
    {"reset", "", "The reset pin: the modem boots afresh", TurnReset},
    {"power", "on|off", "Power supply; on boots the modem", TurnPower},
    {"boot-time", "MS", "From a reset to the modem's first word",
     [](ModemInside& modem, std::string_view words) { return SetTime(words, &modem.device.timing.boot_ms); }},
    {"port-gone", "MS", "From a reset until the port is back, at most the boot time; 0: it doesn't vanish",
     [](ModemInside& modem, std::string_view words) {
         return SetTime(words, &modem.device.timing.port_gone_ms);
     }},
    {"unplug", "", "The port goes away, as when the cable is pulled; the modem itself stays on", TurnUnplug},
    {"plug", "[PATH]", "The port comes back, at PATH if told", TurnPlug},
    // asking
    {"status", "", "Tells the state and all knobs", TurnStatus},
};

const Knob* FindKnob(std::string_view name) {
    const auto* const knob = std::find_if(std::begin(kKnobs), std::end(kKnobs),
                                          [name](const Knob& each) { return name == each.name; });
    return knob == std::end(kKnobs) ? nullptr : knob;
}

}  // namespace

bool TurnKnob(ModemInside& modem, std::string_view line, std::string* reply) {
    const std::string_view name = TakeWord(&line);
    const Knob* knob = FindKnob(name);
    if (knob == nullptr) {
        *reply = "no knob \"" + std::string(name) + "\"";
        return false;
    }
    Complaint complaint = knob->turn(modem, line);
    if (!complaint.empty()) {
        *reply = std::string(knob->name) + ": " + complaint;
        return false;
    }
    if (knob->turn == TurnStatus) *reply = modem.Status();
    return true;
}

std::string DescribeKnobs() {
    std::string text;
    for (const Knob& knob : kKnobs) {
        text += std::string("  ") + knob.name + (*knob.arguments != '\0' ? " " : "") + knob.arguments +
                "\n      " + knob.help + "\n";
    }
    return text;
}

std::vector<std::string> ListKnobs() {
    std::vector<std::string> names;
    for (const Knob& knob : kKnobs) names.emplace_back(knob.name);
    return names;
}

}  // namespace modem_sim
