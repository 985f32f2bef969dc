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
    modem().Receive(bytes, ToMilliseconds(now_us));
}

bool ModemPort::Readable(int64_t now_us) {
    if (taken_generation_ != modem_.port_generation()) taken_.clear();
    taken_generation_ = modem_.port_generation();
    if (!taken_.empty()) return true;
    if (IsQuiet(now_us)) return false;
    taken_ = modem().TakeOutput(ToMilliseconds(now_us), kPiece_bytes);
    return !taken_.empty();
}

std::string ModemPort::Read(size_t size, int64_t now_us) {
    std::string bytes;
    while (bytes.size() < size && Readable(now_us)) {
        const size_t count = std::min(size - bytes.size(), taken_.size());
        bytes.append(taken_, 0, count);
        taken_.erase(0, count);
    }
    return bytes;
}

void ModemPort::Advance(int64_t now_us) {
    if (!IsQuiet(now_us)) modem().Advance(ToMilliseconds(now_us));
    if (modem_.present() == was_present_) return;
    was_present_ = modem_.present();
    if (on_presence) on_presence(was_present_);
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
