// What a modem is behind its commands: power, radio, SIM, registration, data call, and the times that all of
// it takes.
#include "simulator/modem/device.h"

#include <algorithm>

#include "simulator/modem/dialect.h"

namespace modem_sim {

namespace {

/// From a restart command to the restart: the "OK" must still reach the host.
constexpr int64_t kRestartDelay_ms = 100;

/// Between two reports of the signal by a modem that gives them unsolicited.
constexpr int64_t kSignalReportPeriod_ms = 7000;

bool IsRegisteredStat(int stat) {
    return stat == kStatHome || stat == kStatRoaming;
}

}  // namespace

Device::Device(const Family& family_of_device, const std::string& model_name, Host* host, int64_t now_ms)
    : family(family_of_device),
      model(model_name.empty() ? family_of_device.models.begin()->name : model_name),
      host_(host),
      now_ms_(now_ms) {
    firmware = FirmwareText(*this);
    usb_mode = usb_mode_after_boot = family.factory_usb_mode;
    cards_[0].iccid = "89860012317001122334";
    cards_[0].imsi = "460001112223334";
    cards_[1].iccid = "89860122317005566778";
    cards_[1].imsi = "460015556667778";
    ResetSession();
    StartSignalReports();
}

// Time

std::optional<int64_t> Device::NextTimerMs() const {
    std::optional<int64_t> next;
    for (const auto& timer : timers_) {
        if (timer && (!next || *timer < *next)) next = timer;
    }
    return next;
}

bool Device::AdvanceToNextTimer(int64_t now_ms) {
    const std::optional<int64_t> next = NextTimerMs();
    if (!next || *next > now_ms) {
        now_ms_ = std::max(now_ms_, now_ms);
        return false;
    }
    now_ms_ = std::max(now_ms_, *next);
    const auto timer = std::find(timers_.begin(), timers_.end(), next);
    timer->reset();
    Fire(static_cast<Timer>(timer - timers_.begin()));
    return true;
}

void Device::Start(Timer timer, int64_t after_ms) {
    timers_[timer] = now_ms_ + after_ms;
}

void Device::StopAll() {
    timers_.fill(std::nullopt);
}

void Device::Fire(Timer timer) {
    switch (timer) {
        case kBootDone:
            power_ = Power::kOn;
            Announce(Event::kBooted);
            StartSignalReports();
            if (timing.sim_start_ms > 0) Start(kCardStarted, timing.sim_start_ms);
            break;
        case kDialDone:
            call_ = CallState::kUp;
            Announce(Event::kCallUp);
            break;
        case kRestart:
            Reset();
            break;
        case kSearchDone:
            if (HasService()) Report(RadioReport::kTechnology);
            break;
        case kSignalReport:
            Report(RadioReport::kSignal);
            StartSignalReports();
            break;
        case kPortBack:
        case kCardStarted:
        case kTimerCount:
            break;  // the state is the timer's own; Settle() sees the change
    }
    Settle();
}

// Power and port

bool Device::present() const {
    return plugged_ && power_ != Power::kOff && !timers_[kPortBack];
}

void Device::SetPlugged(bool plugged) {
    plugged_ = plugged;
    Settle();
}

void Device::Reset() {
    if (power_ == Power::kOff) return;
    Boot();
}

void Device::PowerOff() {
    StopAll();
    power_ = Power::kOff;
    Settle();
}

void Device::PowerOn() {
    if (power_ != Power::kOff) return;
    Boot();
}

void Device::Boot() {
    StopAll();
    host_->Restarted();
    power_ = Power::kBooting;
    radio_ = Radio::kFull;
    call_ = CallState::kDown;
    usb_mode = usb_mode_after_boot;
    if (dial_fault_ == Fault::kUntilReset) dial_fault_ = Fault::kNone;
    for (SimCard& each : cards_) each.pin_entered = false;
    ResetSession();
    const int64_t port_gone_ms = std::min(timing.port_gone_ms, timing.boot_ms);
    if (port_gone_ms > 0) Start(kPortBack, port_gone_ms);
    Start(kBootDone, timing.boot_ms);
    Settle();
}

void Device::RestartSoon() {
    Start(kRestart, kRestartDelay_ms);
}

void Device::ResetSession() {
    session = Session();
    session.echo = family.factory_echo;
    session.error_mode = family.factory_error_mode;
}

std::string Device::Setting(const std::string& name) const {
    const auto stored = settings.find(name);
    return stored == settings.end() ? std::string() : stored->second;
}

// SIM

CardState Device::card_state() const {
    if (power_ != Power::kOn || radio_ == Radio::kMinimum) return CardState::kUnpowered;
    if (!card().inserted) return CardState::kAbsent;
    if (timers_[kCardStarted] || card().busy_asks_left > 0) return CardState::kBusy;
    if (card().pin_tries_left == 0) return CardState::kBlocked;
    return card().wants_pin && !card().pin_entered ? CardState::kLocked : CardState::kReady;
}

CardState Device::AskCard() {
    const CardState state = card_state();
    if (state == CardState::kBusy && !timers_[kCardStarted]) {
        --card().busy_asks_left;
        Settle();
    }
    return state;
}

bool Device::EnterPin(const std::string& pin) {
    if (pin != card().pin) {
        --card().pin_tries_left;
        Settle();
        return false;
    }
    card().pin_entered = true;
    card().pin_tries_left = SimCard().pin_tries_left;
    Settle();
    return true;
}

void Device::ChangeCard(size_t holder, bool inserted, bool wants_pin, int busy_asks) {
    SimCard& changed = cards_[holder];
    changed.inserted = inserted;
    changed.wants_pin = wants_pin;
    changed.pin_entered = false;
    changed.pin_tries_left = SimCard().pin_tries_left;
    changed.busy_asks_left = busy_asks;
    Settle();
}

void Device::SelectCard(size_t holder) {
    if (holder == selected_card_) return;
    const bool was_inserted = card().inserted;
    card().inserted = false;
    card().pin_entered = false;
    Settle();
    card().inserted = was_inserted;
    selected_card_ = holder;
    const bool gets_power = power_ == Power::kOn && radio_ != Radio::kMinimum;
    if (gets_power && timing.sim_start_ms > 0) Start(kCardStarted, timing.sim_start_ms);
    Settle();
}

// Radio and registration

void Device::SetRadio(Radio radio) {
    const bool card_gets_power = radio_ == Radio::kMinimum && radio != Radio::kMinimum;
    radio_ = radio;
    if (card_gets_power && timing.sim_start_ms > 0) Start(kCardStarted, timing.sim_start_ms);
    Settle();
}

bool Device::CanSearch() const {
    return radio_ == Radio::kFull && card_state() == CardState::kReady;
}

int Device::Stat(Domain domain) const {
    if (!CanSearch()) return kStatIdle;
    return IsSearching() ? kStatSearching : card().network.stat[domain];
}

bool Device::IsRegistered(Domain domain) const {
    return IsRegisteredStat(Stat(domain));
}

bool Device::HasService() const {
    return IsRegistered(kCircuit) || HasPacketService();
}

bool Device::HasPacketService() const {
    return IsRegistered(kPacket) || IsRegistered(kEps);
}

bool Device::HasPacketStat(int stat) const {
    return Stat(kPacket) == stat || Stat(kEps) == stat;
}

void Device::SetStat(size_t holder, Domain domain, int stat) {
    cards_[holder].network.stat[domain] = stat;
    Settle();
}

void Device::SetNetwork(const std::string& network) {
    air.network = network;
    Report(RadioReport::kTechnology);
}

// Data call

DialResult Device::Dial() {
    if (!HasPacketService()) return DialResult::kNoService;
    if (dial_fault_ != Fault::kNone) return DialResult::kRefused;
    if (dial_refusals_left_ > 0) {
        --dial_refusals_left_;
        return DialResult::kRefused;
    }
    if (call_ == CallState::kUp || call_ == CallState::kDialling) return DialResult::kStarted;
    call_ = CallState::kDialling;
    Start(kDialDone, timing.dial_ms);
    return DialResult::kStarted;
}

void Device::HangUp() {
    EndCall(CallState::kDown);
}

void Device::CutCall() {
    if (call_ == CallState::kUp || call_ == CallState::kDialling) EndCall(CallState::kCut);
}

bool Device::RaiseCall() {
    if (!HasPacketService()) return false;
    if (call_ == CallState::kUp) return true;
    Stop(kDialDone);
    call_ = CallState::kUp;
    Announce(Event::kCallUp);
    return true;
}

void Device::EndCall(CallState end) {
    const bool was_up = call_ == CallState::kUp;
    Stop(kDialDone);
    call_ = end;
    if (was_up) Announce(Event::kCallDown);
}

void Device::RefuseDials(Fault fault, int refusals) {
    dial_fault_ = fault;
    dial_refusals_left_ = refusals;
}

std::string Device::DialText() const {
    if (dial_fault_ == Fault::kStays) return "fail";
    if (dial_fault_ == Fault::kUntilReset) return "fail until-reset";
    return dial_refusals_left_ > 0 ? "fail " + std::to_string(dial_refusals_left_) : "ok";
}

bool Device::Reaches(const std::string& host) const {
    if (call_ != CallState::kUp) return false;
    const Subscription& network = card().network;
    return network.reaches_all ||
           std::find(network.hosts.begin(), network.hosts.end(), host) != network.hosts.end();
}

// Consequences

void Device::Settle() {
    SettlePort();
    SettleCard();
    SettleSearch();
    SettleCall();
    ReportRegistration();
}

void Device::SettlePort() {
    if (present() == was_present_) return;
    was_present_ = present();
    if (was_present_) {
        ++port_generation_;
    } else {
        host_->PortLost();
    }
}

void Device::SettleCard() {
    const CardState state = card_state();
    if (state == last_card_state_) return;
    const CardState former = last_card_state_;
    last_card_state_ = state;
    if (state == CardState::kReady) Announce(Event::kCardReady);
    if (state == CardState::kAbsent && former != CardState::kUnpowered) Announce(Event::kCardGone);
}

void Device::SettleSearch() {
    if (CanSearch() == could_search_) return;
    could_search_ = CanSearch();
    if (could_search_ && timing.search_ms > 0) {
        Start(kSearchDone, timing.search_ms);
    } else {
        Stop(kSearchDone);
    }
}

void Device::SettleCall() {
    if (call_ == CallState::kDown || HasPacketService()) return;
    const bool by_host = power_ != Power::kOn || radio_ != Radio::kFull;
    if (by_host || call_ != CallState::kCut) EndCall(by_host ? CallState::kDown : CallState::kCut);
}

void Device::ReportRegistration() {
    for (int domain = kCircuit; domain < kDomainCount; ++domain) {
        const int stat = Stat(static_cast<Domain>(domain));
        if (stat == reported_stat_[domain]) continue;
        reported_stat_[domain] = stat;
        if (session.report[domain] == 0 || power_ != Power::kOn) continue;
        host_->Say(std::string("\r\n+") + kDomainNames[domain] + ": " + std::to_string(stat) + "\r\n");
    }
}

void Device::Announce(Event event) {
    const std::string text = FrameUnsolicited(UnsolicitedLines(*this, event));
    if (!text.empty()) host_->Say(text);
}

void Device::Report(RadioReport report) {
    if (family.radio_report == nullptr) return;
    const bool names_technology = report == RadioReport::kTechnology || family.signal_report_names_technology;
    if (names_technology && !reports_technology) return;
    const std::string text = FrameUnsolicited(family.radio_report(*this, report));
    if (!text.empty()) host_->Say(text);
}

void Device::StartSignalReports() {
    if (family.radio_report != nullptr) Start(kSignalReport, kSignalReportPeriod_ms);
}

}  // namespace modem_sim
