// The modem as its users see it, and the line between it and the host: commands in, answers and unsolicited
// text out, with what the knobs do to them.
#include "simulator/modem/modem_model.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "simulator/modem/dialect.h"
#include "simulator/modem/modem_inside.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

/// Longest command that the modem takes; far more than any host sends.
constexpr size_t kCommandMaxBytes = 1024;
constexpr size_t kUnknownCommandsKept = 100;
/// Conversions that write memory, follow wild pointers or fill buffers when they are taken for a format.
constexpr const char* kPercentText = ",%s%n%65536d%%";
/// What a flooding modem repeats: something that no host waits for.
constexpr std::string_view kFloodLine = "\r\n+CGEV: NW MODIFY 1\r\n";
/// Above this much unread text a flood pauses: the rest would be lost anyway.
constexpr size_t kFloodBacklogBytes = 32UL * 1024;
constexpr int64_t kFloodPauseMs = 10;
constexpr std::string_view kLineEnd = "\r\n";

/// Behind the first information line; an answer that has none gets one.
std::string WithPercent(std::string bytes) {
    const size_t first_line_end = bytes.find(kLineEnd, kLineEnd.size());
    const bool has_information =
        first_line_end != std::string::npos && first_line_end + kLineEnd.size() < bytes.size();
    if (has_information) return bytes.insert(first_line_end, kPercentText);
    return std::string(kLineEnd) + kPercentText + std::string(kLineEnd) + bytes;
}

/// Filler in front of the result line, so that what the host looks for first stays in front.
std::string WithPadding(std::string bytes, size_t wanted_bytes) {
    if (bytes.size() >= wanted_bytes) return bytes;
    const size_t missing_bytes = wanted_bytes - bytes.size();
    const size_t line_ends_bytes = 2 * kLineEnd.size();
    std::string filler(missing_bytes, ' ');
    if (missing_bytes > line_ends_bytes) {
        filler =
            std::string(kLineEnd) + std::string(missing_bytes - line_ends_bytes, 'x') + std::string(kLineEnd);
    }
    size_t result_line = std::string::npos;
    if (bytes.size() > kLineEnd.size())
        result_line = bytes.rfind(kLineEnd, bytes.size() - kLineEnd.size() - 1);
    return bytes.insert(result_line == std::string::npos ? 0 : result_line, filler);
}

/// Where the command begins: noise in front of "AT" is passed over, and a line without it isn't for the
/// modem.
size_t FindAttention(std::string_view line) {
    return std::min(line.find("AT"), line.find("at"));
}

const char* PowerText(Power power) {
    switch (power) {
        case Power::kOff:
            return "off";
        case Power::kBooting:
            return "booting";
        case Power::kOn:
            break;
    }
    return "on";
}

const char* CardText(CardState state) {
    switch (state) {
        case CardState::kAbsent:
            return "absent";
        case CardState::kUnpowered:
            return "without power";
        case CardState::kBusy:
            return "busy";
        case CardState::kLocked:
            return "needs PIN";
        case CardState::kBlocked:
            return "blocked";
        case CardState::kReady:
            break;
    }
    return "ready";
}

const char* CallText(CallState call) {
    switch (call) {
        case CallState::kDown:
            return "down";
        case CallState::kDialling:
            return "dialling";
        case CallState::kCut:
            return "cut by the network";
        case CallState::kUp:
            break;
    }
    return "up";
}

std::string ReachText(const Subscription& network) {
    if (network.reaches_all) return "all";
    std::string text;
    for (const std::string& host : network.hosts) text += (text.empty() ? "" : " ") + host;
    return text.empty() ? "nothing" : text;
}

const char* MuteText(Fault mute) {
    if (mute == Fault::kNone) return "off";
    return mute == Fault::kStays ? "on" : "until-reset";
}

}  // namespace

// The line

ModemInside::ModemInside(const Family& family, const std::string& model, int64_t now_ms)
    : device(family, model, this, now_ms) {}

bool ModemInside::CanTalk() const {
    return device.present() && device.power() == Power::kOn && faults.mute == Fault::kNone;
}

void ModemInside::Receive(std::string_view bytes) {
    for (const char character : bytes) {
        if (CanTalk()) HearCharacter(character);
    }
}

void ModemInside::HearCharacter(char character) {
    // the line feed behind a carriage return is no part of a command
    if (character == '\n') return;
    if (device.session.echo) output.Put(device.now_ms(), std::string(1, character));
    if (character == '\r') {
        RunLine();
    } else if (line_.size() < kCommandMaxBytes) {
        line_ += character;
    } else {
        line_is_too_long_ = true;
    }
}

void ModemInside::RunLine() {
    const std::string line = std::move(line_);
    const bool is_too_long = line_is_too_long_;
    line_.clear();
    line_is_too_long_ = false;
    const size_t attention = FindAttention(line);
    if (attention == std::string::npos) return;
    int64_t takes_ms = 0;
    is_answering_ = true;
    const std::string answer = is_too_long ? FrameAnswer(device, Error())
                                           : AnswerTo(NormaliseCommand(line.substr(attention)), &takes_ms);
    is_answering_ = false;
    SendAnswer(answer, takes_ms);
    if (!said_meanwhile_.empty()) output.Put(std::max(device.now_ms(), last_answer_ms_), said_meanwhile_);
    said_meanwhile_.clear();
}

std::string ModemInside::AnswerTo(const std::string& command, int64_t* takes_ms) {
    const auto override = overrides.find(command);
    if (override != overrides.end()) return override->second;
    Outcome outcome;
    if (!RunCommand(device, command, &outcome)) {
        ++unknown_command_count;
        if (unknown_commands.size() < kUnknownCommandsKept) unknown_commands.push_back(command);
        outcome = Error();
    }
    *takes_ms = outcome.takes_ms;
    return FrameAnswer(device, outcome);
}

void ModemInside::SendAnswer(std::string bytes, int64_t takes_ms) {
    if (bytes.empty()) return;
    if (faults.percent) bytes = WithPercent(bytes);
    bytes = WithPadding(bytes, faults.pad_bytes);
    if (faults.nul) bytes.insert(bytes.size() / 2, 1, '\0');
    int64_t due_ms = std::max(device.now_ms() + takes_ms + faults.delay_ms, last_answer_ms_);
    const size_t piece_bytes = faults.piece_bytes == 0 ? bytes.size() : faults.piece_bytes;
    for (size_t at = 0; at < bytes.size(); at += piece_bytes) {
        if (at > 0) due_ms += faults.piece_gap_ms;
        output.Put(due_ms, bytes.substr(at, piece_bytes));
    }
    last_answer_ms_ = due_ms;
}

void ModemInside::Say(const std::string& bytes) {
    if (!CanTalk()) return;
    if (is_answering_) {
        said_meanwhile_ += bytes;
    } else {
        output.Put(device.now_ms(), bytes);
    }
}

void ModemInside::SayGarbage(size_t count) {
    std::string bytes;
    for (size_t index = 0; index < count; ++index) bytes += static_cast<char>(random() >> 8);
    Say(bytes);
}

void ModemInside::PortLost() {
    ForgetTraffic();
}

void ModemInside::Restarted() {
    ForgetTraffic();
    if (faults.mute == Fault::kUntilReset) faults.mute = Fault::kNone;
    TakeNextPortName();
}

void ModemInside::TakeNextPortName() {
    const char* const* names = device.family.port_names;
    if (names == nullptr) return;
    port_path = names[next_port_name_];
    if (names[++next_port_name_] == nullptr) next_port_name_ = 0;
}

void ModemInside::ForgetTraffic() {
    output.Clear();
    line_.clear();
    line_is_too_long_ = false;
    last_answer_ms_ = 0;
}

// Time

void ModemInside::SetFlood(int64_t bytes_per_second) {
    faults.flood_bytes_per_second = bytes_per_second;
    next_flood_ms_.reset();
    if (bytes_per_second == 0) return;
    flood_start_ms_ = device.now_ms();
    flood_sent_bytes_ = 0;
    next_flood_ms_ = flood_start_ms_;
}

void ModemInside::FloodOnce() {
    if (!CanTalk() || output.size_bytes() > kFloodBacklogBytes) {
        flood_start_ms_ = *next_flood_ms_ + kFloodPauseMs;
        flood_sent_bytes_ = 0;
    } else {
        output.Put(*next_flood_ms_, std::string(kFloodLine));
        flood_sent_bytes_ += static_cast<int64_t>(kFloodLine.size());
    }
    constexpr int64_t kMsPerSecond = 1000;
    next_flood_ms_ = flood_start_ms_ + flood_sent_bytes_ * kMsPerSecond / faults.flood_bytes_per_second;
}

void ModemInside::Advance(int64_t now_ms) {
    for (;;) {
        const std::optional<int64_t> timer_ms = device.NextTimerMs();
        const bool flood_is_due = next_flood_ms_ && *next_flood_ms_ <= now_ms;
        if (flood_is_due && (!timer_ms || *next_flood_ms_ < *timer_ms)) {
            FloodOnce();
        } else if (!device.AdvanceToNextTimer(now_ms)) {
            return;
        }
    }
}

std::optional<int64_t> ModemInside::NextEventMs() const {
    std::optional<int64_t> next;
    for (const auto& each : {device.NextTimerMs(), output.next_due_ms(), next_flood_ms_}) {
        if (each && (!next || *each < *next)) next = each;
    }
    return next;
}

// For people

std::string ModemInside::Status() const {
    std::string text;
    const auto add = [&text](const char* name, const std::string& value) {
        text += std::string(name) + ": " + value + "\n";
    };
    const auto yes_or_no = [](bool value) { return std::string(value ? "yes" : "no"); };
    const auto on_or_off = [](bool value) { return std::string(value ? "on" : "off"); };
    add("family", device.family.name);
    add("model", device.model);
    add("firmware", device.firmware);
    add("imei", device.imei);
    add("power", PowerText(device.power()));
    add("port present", yes_or_no(device.present()));
    add("radio", std::to_string(static_cast<int>(device.radio())));
    add("sim", CardText(device.card_state()));
    add("iccid", device.card().iccid);
    add("imsi", device.card().imsi);
    add("selected", std::to_string(device.selected_card() + 1));
    add("reach", ReachText(device.card().network));
    add("round-trip", std::to_string(device.card().network.round_trip_ms));
    add("creg", std::to_string(device.Stat(kCircuit)));
    add("cgreg", std::to_string(device.Stat(kPacket)));
    add("cereg", std::to_string(device.Stat(kEps)));
    add("link", CallText(device.call()));
    add("dial", device.DialText());
    add("csq", std::to_string(device.air.csq));
    add("rsrp", std::to_string(device.air.rsrp_dbm));
    add("sinr", std::to_string(device.air.sinr_db));
    add("band", std::to_string(device.air.band));
    add("pcid", std::to_string(device.air.cell_id));
    add("operator", device.air.operator_name);
    add("network", device.air.network);
    add("temperature", std::to_string(device.air.temperature_celsius));
    add("usb mode", std::to_string(device.usb_mode));
    add("boot-time", std::to_string(device.timing.boot_ms));
    add("port-gone", std::to_string(device.timing.port_gone_ms));
    add("sim-start", std::to_string(device.timing.sim_start_ms));
    add("search-time", std::to_string(device.timing.search_ms));
    add("dial-time", std::to_string(device.timing.dial_ms));
    add("echo", on_or_off(device.session.echo));
    add("mute", MuteText(faults.mute));
    add("delay", std::to_string(faults.delay_ms));
    add("pieces", std::to_string(faults.piece_bytes) + " gap " + std::to_string(faults.piece_gap_ms));
    add("pad", std::to_string(faults.pad_bytes));
    add("percent", on_or_off(faults.percent));
    add("nul", on_or_off(faults.nul));
    add("flood", faults.flood_bytes_per_second == 0 ? "off" : std::to_string(faults.flood_bytes_per_second));
    for (const auto& [command, bytes] : overrides) add("answer", command + " = " + Escape(bytes));
    add("unknown commands", std::to_string(unknown_command_count));
    for (const std::string& command : unknown_commands) add("unknown", Escape(command));
    return text;
}

// Modem

Modem::Modem(const ModemOptions& options, int64_t now_ms) {
    const Family* family = FindFamily(options.family);
    if (family == nullptr) {
        fprintf(stderr, "modem simulator: no family \"%s\"\n", options.family.c_str());
        abort();
    }
    const std::string model = options.model.empty() ? family->models[0] : options.model;
    inside_ = std::make_unique<ModemInside>(*family, model, now_ms);
}

Modem::~Modem() = default;

std::vector<std::string> Modem::Families() {
    std::vector<std::string> names;
    for (const Family* family : AllFamilies()) names.emplace_back(family->name);
    return names;
}

bool Modem::IsFamily(const std::string& name) {
    return FindFamily(name) != nullptr;
}

std::vector<std::string> Modem::Models(const std::string& family_name) {
    std::vector<std::string> models;
    const Family* family = FindFamily(family_name);
    if (family == nullptr) return models;
    for (const char* const* model = family->models; *model != nullptr; ++model) models.emplace_back(*model);
    return models;
}

void Modem::Receive(std::string_view bytes_from_host, int64_t now_ms) {
    inside_->Advance(now_ms);
    inside_->Receive(bytes_from_host);
}

std::string Modem::TakeOutput(int64_t now_ms, size_t max_bytes) {
    inside_->Advance(now_ms);
    return inside_->output.Take(inside_->device.now_ms(), max_bytes);
}

std::optional<int64_t> Modem::NextEventMs() const {
    return inside_->NextEventMs();
}

void Modem::Advance(int64_t now_ms) {
    inside_->Advance(now_ms);
}

bool Modem::Control(const std::string& line, std::string* reply, int64_t now_ms) {
    inside_->Advance(now_ms);
    std::string ignored_reply;
    std::string* const reply_text = reply != nullptr ? reply : &ignored_reply;
    reply_text->clear();
    const std::string_view words = Trim(line);
    if (words.empty() || words[0] == '#') return true;
    return TurnKnob(*inside_, words, reply_text);
}

void Modem::HardReset(int64_t now_ms) {
    inside_->Advance(now_ms);
    inside_->device.Reset();
}

void Modem::PowerOff(int64_t now_ms) {
    inside_->Advance(now_ms);
    inside_->device.PowerOff();
}

void Modem::PowerOn(int64_t now_ms) {
    inside_->Advance(now_ms);
    inside_->device.PowerOn();
}

bool Modem::present() const {
    return inside_->device.present();
}

int64_t Modem::port_generation() const {
    return inside_->device.port_generation();
}

std::string Modem::PortPathFrom(const std::string& first_path) const {
    const std::string& path = inside_->port_path;
    if (path.find('/') != std::string::npos) return path;
    if (path.empty() || first_path.empty()) return first_path;
    return first_path.substr(0, first_path.rfind('/') + 1) + path;
}

std::optional<int64_t> Modem::RoundTripMs(const std::string& host) const {
    const Device& device = inside_->device;
    if (!device.Reaches(host)) return std::nullopt;
    return device.card().network.round_trip_ms;
}

bool Modem::HasCall() const {
    return inside_->device.call() == CallState::kUp;
}

const std::string& Modem::port_path() const {
    return inside_->port_path;
}

std::string Modem::Status() const {
    return inside_->Status();
}

const std::vector<std::string>& Modem::unknown_commands() const {
    return inside_->unknown_commands;
}

size_t Modem::unknown_command_count() const {
    return inside_->unknown_command_count;
}

std::vector<std::string> Modem::KnobNames() {
    return ListKnobs();
}

}  // namespace modem_sim
