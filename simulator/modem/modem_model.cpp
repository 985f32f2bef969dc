// The modem as its users see it, and the line between it and the host: commands in, answers and unsolicited
// text out, with what the knobs do to them.
#include "simulator/modem/modem_model.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "simulator/modem/dialect.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

/// Longest command that the modem takes; far more than any host sends.
constexpr size_t kCommandMax_bytes = 1024;
constexpr size_t kUnknownCommandsKept = 100;
/// Conversions that write memory, follow wild pointers or fill buffers when they are taken for a format.
constexpr const char* kPercentText = ",%s%n%65536d%%";
/// What a flooding modem repeats: something that no host waits for.
constexpr std::string_view kFloodLine = "\r\n+CGEV: NW MODIFY 1\r\n";
/// Above this much unread text a flood pauses: the rest would be lost anyway.
constexpr size_t kFloodBacklog_bytes = 32UL * 1024;
constexpr int64_t kFloodPause_ms = 10;
constexpr std::string_view kLineEnd = "\r\n";

/// After the first information line; an answer that has none gets one.
std::string WithPercent(std::string bytes) {
    const size_t first_line_end = bytes.find(kLineEnd, kLineEnd.size());
    const bool has_information =
        first_line_end != std::string::npos && first_line_end + kLineEnd.size() < bytes.size();
    if (has_information) return bytes.insert(first_line_end, kPercentText);
    return std::string(kLineEnd) + kPercentText + std::string(kLineEnd) + bytes;
}

/// Where the result line begins, with the line end in front of it.
size_t FindResult(const std::string& bytes) {
    if (bytes.size() <= kLineEnd.size()) return 0;
    const size_t result_line = bytes.rfind(kLineEnd, bytes.size() - kLineEnd.size() - 1);
    return result_line == std::string::npos ? 0 : result_line;
}

bool IsPartOfName(char character) {
    return isalnum(static_cast<unsigned char>(character)) != 0 || character == '-' || character == '_';
}

/// With another word where the modem says "LTE" and no longer name that holds it.
std::string WithTechnology(std::string bytes, const std::string& word) {
    constexpr std::string_view kLte = "LTE";
    for (size_t at = bytes.find(kLte); at != std::string::npos; at = bytes.find(kLte, at)) {
        const size_t end = at + kLte.size();
        const bool is_word =
            (at == 0 || !IsPartOfName(bytes[at - 1])) && (end == bytes.size() || !IsPartOfName(bytes[end]));
        if (is_word) bytes.replace(at, kLte.size(), word);
        at += is_word ? word.size() : kLte.size();
    }
    return bytes;
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
    return bytes.insert(FindResult(bytes), filler);
}

/// Where the command begins: noise in front of "AT" is passed over, and a line without it isn't for the
/// modem.
size_t FindAttention(std::string_view line) {
    return std::min(line.find("AT"), line.find("at"));
}

const Family& FamilyOf(const ModemOptions& options) {
    const Family* family = FindFamily(options.family);
    if (family == nullptr) {
        fprintf(stderr, "modem simulator: no family \"%s\"\n", options.family.c_str());
        abort();
    }
    return *family;
}

}  // namespace

Modem::Modem(const ModemOptions& options, int64_t now_ms)
    : device_(FamilyOf(options), options.model, this, now_ms) {}

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
    for (const Model& model : family->models) models.emplace_back(model.name);
    return models;
}

// The line

bool Modem::CanTalk() const {
    return device_.present() && device_.power() == Power::kOn && faults_.mute == Fault::kNone;
}

void Modem::Receive(std::string_view bytes_from_host, int64_t now_ms) {
    Advance(now_ms);
    for (const char character : bytes_from_host) {
        if (CanTalk()) HearCharacter(character);
    }
}

std::string Modem::TakeOutput(int64_t now_ms, size_t max_bytes) {
    Advance(now_ms);
    return output_.Take(device_.now_ms(), max_bytes);
}

void Modem::HearCharacter(char character) {
    // the line feed after a carriage return is no part of a command
    if (character == '\n') return;
    if (device_.session.echo && !faults_.recorded) output_.Put(device_.now_ms(), std::string(1, character));
    if (character == '\r') {
        RunLine();
    } else if (line_.size() < kCommandMax_bytes) {
        line_ += character;
    } else {
        line_is_too_long_ = true;
    }
}

void Modem::RunLine() {
    const std::string line = std::move(line_);
    const bool is_too_long = line_is_too_long_;
    line_.clear();
    line_is_too_long_ = false;
    const size_t attention = FindAttention(line);
    if (attention == std::string::npos) return;
    int64_t takes_ms = 0;
    is_answering_ = true;
    const std::string answer = is_too_long ? FrameAnswer(device_, Error())
                                           : AnswerTo(NormaliseCommand(line.substr(attention)), &takes_ms);
    is_answering_ = false;
    SendAnswer(answer, takes_ms);
    if (!said_meanwhile_.empty()) output_.Put(std::max(device_.now_ms(), last_answer_ms_), said_meanwhile_);
    said_meanwhile_.clear();
}

std::string Modem::AnswerTo(const std::string& command, int64_t* takes_ms) {
    const auto override = overrides_.find(command);
    if (override != overrides_.end()) return override->second;
    Outcome outcome;
    if (!RunCommand(device_, command, &outcome)) {
        ++unknown_command_count_;
        if (unknown_commands_.size() < kUnknownCommandsKept) unknown_commands_.push_back(command);
        outcome = Error();
    }
    *takes_ms = outcome.takes_ms;
    return FrameAnswer(device_, outcome);
}

std::string Modem::WithFaults(std::string answer) const {
    answer = Worded(std::move(answer));
    if (faults_.percent) answer = WithPercent(answer);
    answer = WithPadding(answer, faults_.pad_bytes);
    if (faults_.nul) answer.insert(answer.size() / 2, 1, '\0');
    if (!faults_.chatter.empty()) answer.insert(FindResult(answer), faults_.chatter);
    if (faults_.cut_bytes > 0 && answer.size() > faults_.cut_bytes) answer.resize(faults_.cut_bytes);
    return answer;
}

void Modem::SendAnswer(std::string bytes, int64_t takes_ms) {
    std::swap(bytes, last_answer_);
    if (!faults_.stale) bytes = last_answer_;
    if (bytes.empty()) return;
    bytes = held_answer_ + WithFaults(std::move(bytes));
    if (faults_.merge && held_answer_.empty()) {
        held_answer_ = bytes;
        return;
    }
    held_answer_.clear();
    int64_t due_ms = std::max(device_.now_ms() + takes_ms + faults_.delay_ms, last_answer_ms_);
    const size_t piece_bytes = faults_.piece_bytes == 0 ? bytes.size() : faults_.piece_bytes;
    for (size_t at = 0; at < bytes.size(); at += piece_bytes) {
        if (at > 0) due_ms += faults_.piece_gap_ms;
        output_.Put(due_ms, bytes.substr(at, piece_bytes));
    }
    last_answer_ms_ = due_ms;
}

void Modem::SetMerge(bool merge) {
    faults_.merge = merge;
    if (merge || held_answer_.empty()) return;
    output_.Put(std::max(device_.now_ms(), last_answer_ms_), held_answer_);
    held_answer_.clear();
}

std::string Modem::Worded(std::string bytes) const {
    return technology_word_.empty() ? bytes : WithTechnology(std::move(bytes), technology_word_);
}

void Modem::Say(const std::string& bytes) {
    if (!faults_.recorded) SayAloud(bytes);
}

void Modem::SayAloud(const std::string& bytes) {
    if (!CanTalk()) return;
    if (is_answering_) {
        said_meanwhile_ += Worded(bytes);
    } else {
        output_.Put(device_.now_ms(), Worded(bytes));
    }
}

void Modem::SayGarbage(size_t count) {
    std::string bytes;
    for (size_t index = 0; index < count; ++index) bytes += static_cast<char>(random_() >> 8);
    SayAloud(bytes);
}

void Modem::PortLost() {
    ForgetTraffic();
}

void Modem::Restarted() {
    ForgetTraffic();
    if (faults_.mute == Fault::kUntilReset) faults_.mute = Fault::kNone;
    TakeNextPortName();
}

void Modem::TakeNextPortName() {
    const Table<const char*>& names = device_.family.port_names;
    if (names.count == 0) return;
    port_path_ = names.first[next_port_name_];
    next_port_name_ = (next_port_name_ + 1) % names.count;
}

void Modem::ForgetTraffic() {
    output_.Clear();
    last_answer_.clear();
    held_answer_.clear();
    line_.clear();
    line_is_too_long_ = false;
    last_answer_ms_ = 0;
}

// Time

void Modem::SetFlood(int64_t bytes_per_second) {
    faults_.flood_bytes_per_second = bytes_per_second;
    next_flood_ms_.reset();
    if (bytes_per_second == 0) return;
    flood_start_ms_ = device_.now_ms();
    flood_sent_bytes_ = 0;
    next_flood_ms_ = flood_start_ms_;
}

void Modem::FloodOnce() {
    if (!CanTalk() || output_.size_bytes() > kFloodBacklog_bytes) {
        flood_start_ms_ = *next_flood_ms_ + kFloodPause_ms;
        flood_sent_bytes_ = 0;
    } else {
        output_.Put(*next_flood_ms_, std::string(kFloodLine));
        flood_sent_bytes_ += static_cast<int64_t>(kFloodLine.size());
    }
    constexpr int64_t kMsPerSecond = 1000;
    next_flood_ms_ = flood_start_ms_ + flood_sent_bytes_ * kMsPerSecond / faults_.flood_bytes_per_second;
}

void Modem::Advance(int64_t now_ms) {
    for (;;) {
        const std::optional<int64_t> timer_ms = device_.NextTimerMs();
        const bool flood_is_due = next_flood_ms_ && *next_flood_ms_ <= now_ms;
        if (flood_is_due && (!timer_ms || *next_flood_ms_ < *timer_ms)) {
            FloodOnce();
        } else if (!device_.AdvanceToNextTimer(now_ms)) {
            return;
        }
    }
}

std::optional<int64_t> Modem::NextEventMs() const {
    std::optional<int64_t> next;
    for (const auto& each : {device_.NextTimerMs(), output_.next_due_ms(), next_flood_ms_}) {
        if (each && (!next || *each < *next)) next = each;
    }
    return next;
}

// The port and the network

std::string Modem::PortPathFrom(const std::string& first_path) const {
    if (port_path_.find('/') != std::string::npos) return port_path_;
    if (port_path_.empty() || first_path.empty()) return first_path;
    return first_path.substr(0, first_path.rfind('/') + 1) + port_path_;
}

std::optional<int64_t> Modem::RoundTripMs(const std::string& host) const {
    if (!device_.Reaches(host)) return std::nullopt;
    return device_.card().network.round_trip_ms;
}

}  // namespace modem_sim
