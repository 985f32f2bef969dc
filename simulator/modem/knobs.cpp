// The knobs: what a line does. The same words on the command line, at the control socket and in scenarios;
// they are explained in modem_sim.help, which a test holds against the table below.
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
    {"sim", TurnSim},
    {"iccid",
     [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.KnobCard().iccid); }},
    {"imsi",
     [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.KnobCard().imsi); }},
    {"sim-start", [](ModemInside& modem,
                     std::string_view words) { return SetTime(words, &modem.device.timing.sim_start_ms); }},
    {"select", TurnSelect},
    {"holder", TurnHolder},
    // network
    {"registration", TurnRegistration},
    {"search-time", [](ModemInside& modem,
                       std::string_view words) { return SetTime(words, &modem.device.timing.search_ms); }},
    {"csq", [](ModemInside& modem,
               std::string_view words) { return SetInteger(words, 0, 99, &modem.device.air.csq); }},
    {"rsrp", [](ModemInside& modem,
                std::string_view words) { return SetInteger(words, -200, 0, &modem.device.air.rsrp_dbm); }},
    {"sinr", [](ModemInside& modem,
                std::string_view words) { return SetInteger(words, -50, 100, &modem.device.air.sinr_db); }},
    {"band", [](ModemInside& modem,
                std::string_view words) { return SetInteger(words, 0, 999, &modem.device.air.band); }},
    {"pcid", [](ModemInside& modem,
                std::string_view words) { return SetInteger(words, 0, 503, &modem.device.air.cell_id); }},
    {"operator", [](ModemInside& modem,
                    std::string_view words) { return SetText(words, &modem.device.air.operator_name); }},
    {"network",
     [](ModemInside& modem, std::string_view words) {
         modem.device.SetNetwork(std::string(words));
         return Fine();
     }},
    {"reach", TurnReach},
    {"round-trip",
     [](ModemInside& modem, std::string_view words) {
         return SetTime(words, &modem.KnobCard().network.round_trip_ms);
     }},
    // data call
    {"link", TurnLink},
    {"dial", TurnDial},
    {"dial-time",
     [](ModemInside& modem, std::string_view words) { return SetTime(words, &modem.device.timing.dial_ms); }},
    // what the modem says, and how
    {"mute", TurnMute},
    {"delay",
     [](ModemInside& modem, std::string_view words) { return SetTime(words, &modem.faults.delay_ms); }},
    {"pieces", TurnPieces},
    {"pad", TurnPad},
    {"percent",
     [](ModemInside& modem, std::string_view words) { return SetSwitch(words, &modem.faults.percent); }},
    {"nul", [](ModemInside& modem, std::string_view words) { return SetSwitch(words, &modem.faults.nul); }},
    {"urc", TurnUrc},
    {"garbage", TurnGarbage},
    {"seed", TurnSeed},
    {"flood", TurnFlood},
    {"answer", TurnAnswer},
    {"echo",
     [](ModemInside& modem, std::string_view words) { return SetSwitch(words, &modem.device.session.echo); }},
    // the module
    {"temperature",
     [](ModemInside& modem, std::string_view words) {
         return SetInteger(words, -273, 1000, &modem.device.air.temperature_celsius);
     }},
    {"firmware",
     [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.device.firmware); }},
    {"imei", [](ModemInside& modem, std::string_view words) { return SetText(words, &modem.device.imei); }},
    {"usb-mode",
     [](ModemInside& modem, std::string_view words) {
         const Complaint complaint = SetInteger(words, 0, 999, &modem.device.usb_mode);
         if (complaint.empty()) modem.device.usb_mode_after_boot = modem.device.usb_mode;
         return complaint;
     }},
    // power and port
    {"reset", TurnReset},
    {"power", TurnPower},
    {"boot-time",
     [](ModemInside& modem, std::string_view words) { return SetTime(words, &modem.device.timing.boot_ms); }},
    {"port-gone", [](ModemInside& modem,
                     std::string_view words) { return SetTime(words, &modem.device.timing.port_gone_ms); }},
    {"unplug", TurnUnplug},
    {"plug", TurnPlug},
    // asking
    {"status", TurnStatus},
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

std::vector<std::string> ListKnobs() {
    std::vector<std::string> names;
    for (const Knob& knob : kKnobs) names.emplace_back(knob.name);
    return names;
}

}  // namespace modem_sim
