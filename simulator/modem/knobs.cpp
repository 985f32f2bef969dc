// The knobs: what a line does. The same words on the command line, at the control socket and in scenarios;
// they are explained in modem_sim.help, which a test holds against the table below.
#include <algorithm>
#include <climits>

#include "simulator/modem/modem_model.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

/// Why a knob refuses its words; empty when it has taken them.
using Refusal = std::optional<std::string>;

constexpr std::nullopt_t kTaken = std::nullopt;

constexpr int64_t kTimeMax_ms = 24LL * 60 * 60 * 1000;
constexpr int64_t kMost_bytes = 32LL * 1024;
constexpr int64_t kDefaultGap_ms = 20;
/// What a line of 115200 baud carries.
constexpr int64_t kDefaultFlood_bytes_per_second = 11520;
constexpr int64_t kFloodMax_bytes_per_second = 1000LL * 1000;

template <typename Number>
Refusal SetNumber(std::string_view words, int64_t smallest, int64_t largest, Number* value) {
    const auto number = ParseInteger(words, smallest, largest);
    if (!number) {
        return "a number from " + std::to_string(smallest) + " to " + std::to_string(largest) + " is wanted";
    }
    *value = static_cast<Number>(*number);
    return kTaken;
}

Refusal SetTime(std::string_view words, int64_t* value_ms) {
    return SetNumber(words, 0, kTimeMax_ms, value_ms);
}

Refusal SetSwitch(std::string_view words, bool* value) {
    if (words != "on" && words != "off") return "on or off is wanted";
    *value = words == "on";
    return kTaken;
}

Refusal SetHolder(std::string_view words, size_t* holder) {
    const Refusal refusal = SetNumber(words, 1, kCardCount, holder);
    if (!refusal) --*holder;
    return refusal;
}

Refusal RefuseWords(std::string_view words) {
    if (words.empty()) return kTaken;
    return "no arguments are wanted";
}

bool IsResultText(std::string_view text) {
    return text == "OK" || text == "ERROR" || text == "NO CARRIER" || text == "BUSY" ||
           text.substr(0, 11) == "+CME ERROR:" || text.substr(0, 11) == "+CMS ERROR:";
}

std::string AsLine(const std::string& bytes) {
    return "\r\n" + bytes + "\r\n";
}

/// What the modem says for a text: as it stands when it has line ends of its own, or else as a line.
std::string SpokenBytes(std::string_view text) {
    return HasLineEndEscape(text) ? Unescape(text) : AsLine(Unescape(text));
}

}  // namespace

/// One turn at the knobs of a modem. Each knob is a member that takes the words after its name.
class Knobs {
  public:
    /// Knobs of a SIM mean the one in that holder. `reply` gets what a knob has to say.
    Knobs(Modem& modem, size_t holder, std::string* reply)
        : modem_(modem), device_(modem.device_), holder_(holder), reply_(reply) {}

    Refusal Turn(std::string_view line) {
        const std::string_view name = TakeWord(&line);
        const Knob* const knob = Find(name);
        if (knob == nullptr) return "no knob \"" + std::string(name) + "\"";
        const Refusal refusal = (this->*knob->turn)(line);
        return refusal ? std::string(name) + ": " + *refusal : refusal;
    }

    static std::vector<std::string> Names();

  private:
    enum Scope { kOfModem, kOfSim };

    struct Knob {
        const char* name;
        Refusal (Knobs::*turn)(std::string_view words);
        Scope scope = kOfModem;  // kOfSim: of one SIM and its network, so that "holder" may stand before it
    };

    static const Knob kKnobs[];

    static const Knob* Find(std::string_view name);

    SimCard& Card() { return device_.card_in(holder_); }

    // SIM and network

    Refusal Sim(std::string_view words) {
        const std::string_view state = TakeWord(&words);
        int busy_asks = 0;
        if (state == "ready-after") {
            if (const Refusal refusal = SetNumber(words, 0, INT_MAX, &busy_asks)) return refusal;
        } else if ((state != "absent" && state != "pin" && state != "ready") || !words.empty()) {
            return "absent, pin, ready or ready-after N is wanted";
        }
        device_.ChangeCard(holder_, state != "absent", state == "pin", busy_asks);
        return kTaken;
    }

    Refusal Imsi(std::string_view words) {
        Card().imsi = words;
        return kTaken;
    }

    Refusal Select(std::string_view words) {
        size_t holder = 0;
        if (const Refusal refusal = SetHolder(words, &holder)) return refusal;
        device_.SelectCard(holder);
        return kTaken;
    }

    Refusal Holder(std::string_view words) {
        size_t holder = 0;
        if (const Refusal refusal = SetHolder(TakeWord(&words), &holder)) return refusal;
        std::string_view rest = words;
        const Knob* const knob = Find(TakeWord(&rest));
        if (knob == nullptr || knob->scope != kOfSim) {
            return "sim, imsi, registration, reach or round-trip is wanted";
        }
        return Knobs(modem_, holder, reply_).Turn(words);
    }

    Refusal Registration(std::string_view words) {
        constexpr int kStatMax = 10;
        constexpr std::string_view kNames[kDomainCount] = {"creg", "cgreg", "cereg"};
        int stat = 0;
        if (const Refusal refusal = SetNumber(TakeWord(&words), 0, kStatMax, &stat)) return refusal;
        const auto* const name = std::find(std::begin(kNames), std::end(kNames), words);
        if (name == std::end(kNames) && !words.empty()) return "creg, cgreg or cereg is wanted";
        for (const Domain domain : {kCircuit, kPacket, kEps}) {
            if (words.empty() || words == kNames[domain]) device_.SetStat(holder_, domain, stat);
        }
        return kTaken;
    }

    template <int Surroundings::*kValue, int kSmallest, int kLargest>
    Refusal Air(std::string_view words) {
        return SetNumber(words, kSmallest, kLargest, &(device_.air.*kValue));
    }

    Refusal Operator(std::string_view words) {
        device_.air.operator_name = words;
        return kTaken;
    }

    Refusal Network(std::string_view words) {
        device_.SetNetwork(std::string(words));
        return kTaken;
    }

    Refusal TechnologyWord(std::string_view words) {
        modem_.technology_word_ = words;
        return kTaken;
    }

    Refusal Reports(std::string_view words) { return SetSwitch(words, &device_.reports_technology); }

    Refusal Reach(std::string_view words) {
        if (words.empty()) return "all, nothing or hosts are wanted";
        Subscription& network = Card().network;
        network.reaches_all = words == "all";
        network.hosts.clear();
        if (words == "all" || words == "nothing") return kTaken;
        while (!words.empty()) network.hosts.emplace_back(TakeWord(&words));
        return kTaken;
    }

    Refusal RoundTrip(std::string_view words) { return SetTime(words, &Card().network.round_trip_ms); }

    // Data call

    Refusal Link(std::string_view words) {
        if (words == "down") {
            device_.CutCall();
            return kTaken;
        }
        if (words != "up") return "up or down is wanted";
        if (!device_.RaiseCall()) return "the modem isn't registered";
        return kTaken;
    }

    Refusal Dial(std::string_view words) {
        const std::string_view verdict = TakeWord(&words);
        if (verdict == "ok" && words.empty()) {
            device_.RefuseDials(Fault::kNone, 0);
        } else if (verdict == "fail" && words.empty()) {
            device_.RefuseDials(Fault::kStays, 0);
        } else if (verdict == "fail" && words == "until-reset") {
            device_.RefuseDials(Fault::kUntilReset, 0);
        } else if (const auto refusals = ParseInteger(words, 1, INT_MAX); verdict == "fail" && refusals) {
            device_.RefuseDials(Fault::kNone, static_cast<int>(*refusals));
        } else {
            return "ok, fail, fail N or fail until-reset is wanted";
        }
        return kTaken;
    }

    // What the modem says, and how

    Refusal Mute(std::string_view words) {
        if (words == "on") {
            modem_.faults_.mute = Fault::kStays;
        } else if (words == "off") {
            modem_.faults_.mute = Fault::kNone;
        } else if (words == "until-reset") {
            modem_.faults_.mute = Fault::kUntilReset;
        } else {
            return "on, off or until-reset is wanted";
        }
        return kTaken;
    }

    Refusal Delay(std::string_view words) { return SetTime(words, &modem_.faults_.delay_ms); }

    Refusal Pieces(std::string_view words) {
        size_t piece_bytes = 0;
        int64_t gap_ms = kDefaultGap_ms;
        if (const Refusal refusal = SetNumber(TakeWord(&words), 0, kMost_bytes, &piece_bytes)) return refusal;
        if (!words.empty()) {
            if (TakeWord(&words) != "gap") return "N or N gap MS is wanted";
            if (const Refusal refusal = SetTime(words, &gap_ms)) return refusal;
        }
        modem_.faults_.piece_bytes = piece_bytes;
        modem_.faults_.piece_gap_ms = gap_ms;
        return kTaken;
    }

    Refusal Pad(std::string_view words) {
        return SetNumber(words, 0, kMost_bytes, &modem_.faults_.pad_bytes);
    }
    Refusal Cut(std::string_view words) {
        return SetNumber(words, 0, kMost_bytes, &modem_.faults_.cut_bytes);
    }
    Refusal Stale(std::string_view words) { return SetSwitch(words, &modem_.faults_.stale); }

    Refusal Merge(std::string_view words) {
        bool merge = false;
        if (const Refusal refusal = SetSwitch(words, &merge)) return refusal;
        modem_.SetMerge(merge);
        return kTaken;
    }

    Refusal Chatter(std::string_view words) {
        modem_.faults_.chatter = words.empty() ? "" : SpokenBytes(words);
        return kTaken;
    }

    Refusal Percent(std::string_view words) { return SetSwitch(words, &modem_.faults_.percent); }
    Refusal Nul(std::string_view words) { return SetSwitch(words, &modem_.faults_.nul); }

    Refusal Urc(std::string_view words) {
        if (words.empty()) return "a text is wanted";
        modem_.SayAloud(modem_.faults_.recorded ? Unescape(words) : SpokenBytes(words));
        return kTaken;
    }

    Refusal Garbage(std::string_view words) {
        size_t count = 0;
        if (const Refusal refusal = SetNumber(words, 1, kMost_bytes, &count)) return refusal;
        modem_.SayGarbage(count);
        return kTaken;
    }

    Refusal Seed(std::string_view words) {
        unsigned seed = 0;
        if (const Refusal refusal = SetNumber(words, 0, INT_MAX, &seed)) return refusal;
        modem_.random_.seed(seed);
        return kTaken;
    }

    Refusal Flood(std::string_view words) {
        const std::string_view state = TakeWord(&words);
        int64_t bytes_per_second = kDefaultFlood_bytes_per_second;
        if (state == "off" && words.empty()) {
            bytes_per_second = 0;
        } else if (state != "on") {
            return "on, on BYTES_PER_SECOND or off is wanted";
        } else if (!words.empty()) {
            const Refusal refusal = SetNumber(words, 1, kFloodMax_bytes_per_second, &bytes_per_second);
            if (refusal) return refusal;
        }
        modem_.SetFlood(bytes_per_second);
        return kTaken;
    }

    Refusal Answer(std::string_view words) {
        // A command may hold a '=' of its own, so the one that parts command and text stands between blanks.
        constexpr std::string_view kParting = " =";
        size_t parting = words.find(" = ");
        const bool is_silent =
            words.size() > kParting.size() && words.substr(words.size() - kParting.size()) == kParting;
        if (parting == std::string_view::npos && is_silent) parting = words.size() - kParting.size();
        const std::string command = NormaliseCommand(words.substr(0, parting));
        if (command.compare(0, 2, "AT") != 0) return "AT... or AT... = TEXT is wanted";
        if (parting == std::string_view::npos) {
            modem_.overrides_.erase(command);
            return kTaken;
        }
        const std::string_view text = Trim(words.substr(parting + kParting.size()));
        std::string bytes = Unescape(text);
        if (!text.empty() && !HasLineEndEscape(text) && !modem_.faults_.recorded) {
            bytes = AsLine(bytes);
            if (!IsResultText(text)) bytes += AsLine("OK");
        }
        modem_.overrides_[command] = bytes;
        return kTaken;
    }

    Refusal Recorded(std::string_view words) { return SetSwitch(words, &modem_.faults_.recorded); }

    Refusal Echo(std::string_view words) { return SetSwitch(words, &device_.session.echo); }

    // The module, its power and its port

    Refusal UsbMode(std::string_view words) {
        const Refusal refusal = SetNumber(words, 0, 999, &device_.usb_mode);
        if (!refusal) device_.usb_mode_after_boot = device_.usb_mode;
        return refusal;
    }

    template <int64_t Timing::*kTime>
    Refusal Time(std::string_view words) {
        return SetTime(words, &(device_.timing.*kTime));
    }

    Refusal Reset(std::string_view words) {
        const Refusal refusal = RefuseWords(words);
        if (!refusal) device_.Reset();
        return refusal;
    }

    Refusal Power(std::string_view words) {
        bool on = false;
        if (const Refusal refusal = SetSwitch(words, &on)) return refusal;
        if (on) {
            device_.PowerOn();
        } else {
            device_.PowerOff();
        }
        return kTaken;
    }

    Refusal Unplug(std::string_view words) {
        const Refusal refusal = RefuseWords(words);
        if (!refusal) device_.SetPlugged(false);
        return refusal;
    }

    Refusal Plug(std::string_view words) {
        if (!words.empty()) modem_.port_path_ = words;
        device_.SetPlugged(true);
        return kTaken;
    }

    Refusal Status(std::string_view words) {
        const Refusal refusal = RefuseWords(words);
        if (!refusal) *reply_ = modem_.Status();
        return refusal;
    }

    Modem& modem_;
    Device& device_;
    const size_t holder_;
    std::string* const reply_;
};

const Knobs::Knob Knobs::kKnobs[] = {
    // SIM
    {"sim", &Knobs::Sim, kOfSim},
    {"imsi", &Knobs::Imsi, kOfSim},
    {"sim-start", &Knobs::Time<&Timing::sim_start_ms>},
    {"select", &Knobs::Select},
    {"holder", &Knobs::Holder},
    // network
    {"registration", &Knobs::Registration, kOfSim},
    {"search-time", &Knobs::Time<&Timing::search_ms>},
    {"csq", &Knobs::Air<&Surroundings::csq, 0, 99>},
    {"rsrp", &Knobs::Air<&Surroundings::rsrp_dbm, -200, 0>},
    {"sinr", &Knobs::Air<&Surroundings::sinr_db, -50, 100>},
    {"band", &Knobs::Air<&Surroundings::band, 0, 999>},
    {"pcid", &Knobs::Air<&Surroundings::cell_id, 0, 503>},
    {"operator", &Knobs::Operator},
    {"network", &Knobs::Network},
    {"technology-word", &Knobs::TechnologyWord},
    {"reports", &Knobs::Reports},
    {"reach", &Knobs::Reach, kOfSim},
    {"round-trip", &Knobs::RoundTrip, kOfSim},
    // data call
    {"link", &Knobs::Link},
    {"dial", &Knobs::Dial},
    {"dial-time", &Knobs::Time<&Timing::dial_ms>},
    // what the modem says, and how
    {"mute", &Knobs::Mute},
    {"delay", &Knobs::Delay},
    {"pieces", &Knobs::Pieces},
    {"pad", &Knobs::Pad},
    {"percent", &Knobs::Percent},
    {"nul", &Knobs::Nul},
    {"cut", &Knobs::Cut},
    {"merge", &Knobs::Merge},
    {"stale", &Knobs::Stale},
    {"chatter", &Knobs::Chatter},
    {"urc", &Knobs::Urc},
    {"garbage", &Knobs::Garbage},
    {"seed", &Knobs::Seed},
    {"flood", &Knobs::Flood},
    {"answer", &Knobs::Answer},
    {"echo", &Knobs::Echo},
    {"recorded", &Knobs::Recorded},
    // the module
    {"temperature", &Knobs::Air<&Surroundings::temperature_celsius, -273, 1000>},
    {"usb-mode", &Knobs::UsbMode},
    // power and port
    {"reset", &Knobs::Reset},
    {"power", &Knobs::Power},
    {"boot-time", &Knobs::Time<&Timing::boot_ms>},
    {"port-gone", &Knobs::Time<&Timing::port_gone_ms>},
    {"unplug", &Knobs::Unplug},
    {"plug", &Knobs::Plug},
    // asking
    {"status", &Knobs::Status},
};

const Knobs::Knob* Knobs::Find(std::string_view name) {
    const auto* const knob = std::find_if(std::begin(kKnobs), std::end(kKnobs),
                                          [name](const Knob& each) { return name == each.name; });
    return knob == std::end(kKnobs) ? nullptr : knob;
}

std::vector<std::string> Knobs::Names() {
    std::vector<std::string> names;
    for (const Knob& knob : kKnobs) names.emplace_back(knob.name);
    return names;
}

bool Modem::Control(const std::string& line, std::string* reply, int64_t now_ms) {
    Advance(now_ms);
    std::string ignored_reply;
    if (reply == nullptr) reply = &ignored_reply;
    reply->clear();
    const std::string_view words = Trim(line);
    if (words.empty() || words[0] == '#') return true;
    const Refusal refusal = Knobs(*this, device_.selected_card(), reply).Turn(words);
    if (refusal) *reply = *refusal;
    return !refusal;
}

std::vector<std::string> Modem::KnobNames() {
    return Knobs::Names();
}

}  // namespace modem_sim
