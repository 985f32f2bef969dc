#include "simulator/virtual_time/modem_port.h"

#include <algorithm>

#include "simulator/virtual_time/scheduler.h"

namespace virtual_time {

namespace {

constexpr char kDeviceFolder[] = "/dev/";
constexpr size_t kPiece_bytes = 4096;  // what a line discipline takes at a time

int64_t ToMilliseconds(int64_t microseconds) {
    return microseconds / kMicrosecondsPerMillisecond;
}

}  // namespace

ModemPort::ModemPort(const modem_sim::ModemOptions& options) : modem_(options) {}

void ModemPort::Write(std::string_view bytes, int64_t now_us) {
    changing_modem().Receive(bytes, ToMilliseconds(now_us));
    Tell(JournalEntry::Kind::kWritten, now_us, 0, bytes);
}

bool ModemPort::Readable(int64_t now_us) {
    if (Fetch(now_us)) Tell(JournalEntry::Kind::kFetched, now_us, 0);
    return !fetched_.empty();
}

// Whether anything new has come.
bool ModemPort::Fetch(int64_t now_us) {
    if (fetched_generation_ != modem_.port_generation()) fetched_.clear();
    fetched_generation_ = modem_.port_generation();
    if (!fetched_.empty() || IsQuiet(now_us)) return false;
    fetched_ = changing_modem().TakeOutput(ToMilliseconds(now_us), kPiece_bytes);
    return !fetched_.empty();
}

std::string ModemPort::Read(size_t size, int64_t now_us) {
    std::string bytes;
    while (bytes.size() < size) {
        Fetch(now_us);
        if (fetched_.empty()) break;
        const size_t count = std::min(size - bytes.size(), fetched_.size());
        bytes.append(fetched_, 0, count);
        fetched_.erase(0, count);
    }
    if (!bytes.empty()) Tell(JournalEntry::Kind::kRead, now_us, static_cast<int64_t>(size));
    return bytes;
}

bool ModemPort::Turn(const std::string& line, std::string* reply, int64_t now_us) {
    const bool is_known = changing_modem().Control(line, reply, ToMilliseconds(now_us));
    Tell(JournalEntry::Kind::kKnob, now_us, 0, line);
    Advance(now_us);
    return is_known;
}

void ModemPort::Advance(int64_t now_us) {
    if (!IsQuiet(now_us)) changing_modem().Advance(ToMilliseconds(now_us));
    if (modem_.present() == was_present_) return;
    was_present_ = modem_.present();
    Tell(JournalEntry::Kind::kPresence, now_us, was_present_ ? 1 : 0);
    if (on_presence) on_presence(was_present_);
}

void ModemPort::Repeat(const JournalEntry& entry) {
    changing_modem().Advance(ToMilliseconds(entry.at_us));  // as the scheduler has done before each call
    switch (entry.kind) {
        case JournalEntry::Kind::kWritten:
            changing_modem().Receive(entry.bytes, ToMilliseconds(entry.at_us));
            break;
        case JournalEntry::Kind::kFetched:
            Fetch(entry.at_us);
            break;
        case JournalEntry::Kind::kRead:
            Read(static_cast<size_t>(entry.number), entry.at_us);
            break;
        case JournalEntry::Kind::kKnob:
            changing_modem().Control(std::string(entry.bytes), nullptr, ToMilliseconds(entry.at_us));
            break;
        case JournalEntry::Kind::kPresence:
            was_present_ = entry.number != 0;
            break;
        default:
            break;
    }
}

std::optional<int64_t> ModemPort::NextEventUs() {
    if (!has_next_event_) {
        const std::optional<int64_t> event_ms = modem_.NextEventMs();
        next_event_us_ = event_ms ? *event_ms * kMicrosecondsPerMillisecond : kNever;
        has_next_event_ = true;
    }
    if (next_event_us_ == kNever) return std::nullopt;
    return next_event_us_;
}

// Every wait of every thread asks, and nearly always before anything has happened.
bool ModemPort::IsQuiet(int64_t now_us) {
    return now_us < NextEventUs().value_or(kNever);
}

bool ModemPort::Present() {
    return modem_.present();
}

int64_t ModemPort::Generation() {
    return modem_.port_generation();
}

std::string ModemPort::OtherPath() {
    return modem_.port_path().empty() ? "" : modem_.PortPathFrom(kDeviceFolder);
}

}  // namespace virtual_time
