#include "simulator/virtual_time/guard_beside.h"

#include <arpa/inet.h>

#include <utility>

namespace virtual_time {

namespace {

/// As ICMP has it, with its IP header; what exactly it is decides nothing.
constexpr int64_t kProbe_bytes = 28;
/// Any host that isn't named by a knob: reached where all are.
constexpr char kSomebody[] = "192.0.2.255";

std::string HostOf(const guard::Probe& probe) {
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &probe.host, text, sizeof text);
    return static_cast<const char*>(text);
}

guard::Places PlacesIn(const PrivateFolder& folder) {
    guard::Places places;
    folder.MakeFolder(places.state);
    folder.MakeFolder("/run/ravelin-guard");
    places.network = folder.Inside(places.network);
    places.state = folder.Inside(places.state);
    places.show = folder.Inside(places.show);
    places.flash = folder.Inside(places.flash);
    return places;
}

}  // namespace

GuardBeside::GuardBeside(Environment& environment, const modem_sim::Modem* modem, const std::string& settings,
                         int64_t traffic_bytes_per_second, std::function<void(const std::string&)> note)
    : environment_(environment),
      modem_(modem),
      settings_(guard::ParseSettings(settings)),
      places_(PlacesIn(environment.folder)),
      traffic_bytes_per_second_(traffic_bytes_per_second),
      note_(std::move(note)) {}

void GuardBeside::Start() {
    environment_.scheduler.At(environment_.now_us(), [this] { Step(); });
}

void GuardBeside::Step() {
    if (program_ == nullptr) program_ = std::make_unique<guard::Program>(places_, settings_, this);
    const int64_t wait_us = program_->Step() * kMicrosecondsPerSecond;
    environment_.scheduler.At(environment_.now_us() + wait_us, [this] { Step(); });
}

int64_t GuardBeside::SecondsSinceBoot() {
    return environment_.uptime_us() / kMicrosecondsPerSecond;
}

std::optional<uint64_t> GuardBeside::ReceivedBytes(const std::string&) {
    const int64_t now_us = environment_.now_us();
    // The network is looked at once for the time since the last look.
    const bool is_alive = modem_ != nullptr && modem_->HasCall() && modem_->RoundTripMs(kSomebody);
    if (is_alive) {
        received_bytes_ += static_cast<uint64_t>((now_us - counted_us_) * traffic_bytes_per_second_ /
                                                 kMicrosecondsPerSecond);
    }
    counted_us_ = now_us;
    if (modem_ == nullptr || !modem_->present()) return {};
    return received_bytes_ + static_cast<uint64_t>(traffic_.received_bytes);
}

void GuardBeside::Say(int, const std::string& text) {
    // Its paths are the daemon's ones for whoever reads the record.
    std::string told = text;
    const std::string root = environment_.folder.Inside("/");
    for (size_t at = told.find(root); at != std::string::npos; at = told.find(root, at)) {
        told.replace(at, root.size(), "/");
        if (told.compare(at, 2, "//") == 0) told.erase(at, 1);
    }
    note_(told);
}

void GuardBeside::SendProbes(const std::string&, const std::vector<guard::Probe>& probes) {
    sent_.clear();
    for (const guard::Probe& probe : probes) {
        Sent sent = {probe, guard::ProbeVerdict::kSilent, kNever};
        if (modem_ == nullptr || !modem_->HasCall()) {
            sent.verdict = guard::ProbeVerdict::kNoRoute;
            sent.answered_us = environment_.now_us();
        } else if (const std::optional<int64_t> round_trip_ms = modem_->RoundTripMs(HostOf(probe))) {
            sent.verdict = guard::ProbeVerdict::kAnswered;
            sent.answered_us = environment_.now_us() + *round_trip_ms * kMicrosecondsPerMillisecond;
        }
        traffic_.sent_bytes += kProbe_bytes;
        sent_.push_back(sent);
    }
}

bool GuardBeside::HasAllAnswers() {
    bool has_all = true;
    for (const Sent& sent : sent_) has_all = has_all && sent.answered_us <= environment_.now_us();
    return has_all;
}

guard::Round GuardBeside::TakeRound() {
    guard::Round round;
    for (const Sent& sent : sent_) {
        const bool is_in_time = sent.answered_us <= environment_.now_us();
        const guard::ProbeVerdict verdict = is_in_time ? sent.verdict : guard::ProbeVerdict::kSilent;
        if (verdict == guard::ProbeVerdict::kAnswered) traffic_.received_bytes += kProbe_bytes;
        round.results.push_back({sent.probe.kind, sent.probe.host, sent.probe.number, verdict});
    }
    sent_.clear();
    return round;
}

}  // namespace virtual_time
