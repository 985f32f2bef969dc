#include "tools/guard/core.h"

#include <algorithm>

namespace guard {

namespace {

std::string Seconds(int64_t seconds) {
    return std::to_string(seconds) + " s";
}

bool IsFailure(ProbeVerdict verdict) {
    return verdict != ProbeVerdict::kAnswered && verdict != ProbeVerdict::kNotRun;
}

int64_t Bit(int number) {
    return int64_t{1} << number;
}

std::string Words(const Round& round) {
    std::string words;
    for (const ProbeResult& result : round.results) {
        if (!words.empty()) words += ", ";
        words += std::string(NameOf(result.kind)) + " " + NameOf(result.verdict);
    }
    return words;
}

}  // namespace

const std::vector<std::string>& StateNames() {
    static const std::vector<std::string> names = {"no_status",  "offline", "upgrading", "no_interface",
                                                   "settling",   "traffic", "quiet",     "suspect",
                                                   "after_soft", "pause",   "no_budget", "watch_only"};
    return names;
}

const char* NameOf(State state) {
    return StateNames()[static_cast<size_t>(state)].c_str();
}

const char* NameOf(ProbeKind kind) {
    return kind == ProbeKind::kDns ? "DNS" : kind == ProbeKind::kTcp ? "TCP" : "ICMP";
}

const char* NameOf(ProbeVerdict verdict) {
    switch (verdict) {
        case ProbeVerdict::kAnswered:
            return "answered";
        case ProbeVerdict::kCaptive:
            return "captive";
        case ProbeVerdict::kSilent:
            return "silent";
        case ProbeVerdict::kNoRoute:
            return "no route";
        case ProbeVerdict::kNotRun:
            return "not run";
    }
    return "";
}

Core::Core(const Rules& rules, const Ledger& ledger, int64_t probes) : rules_(rules), ledger_(ledger) {
    if (ledger_.proven_of != probes) ledger_.proven = 0;
    ledger_.proven_of = probes;
    before_ = ledger_;
}

/// Two kinds that failed, at two addresses: what is broken is more than one service, or one protocol's way.
bool Core::IsComplete(const Round& round, bool needs_proof) const {
    bool has_kinds = false, has_hosts = false;
    const ProbeResult* first = nullptr;
    for (const ProbeResult& result : round.results) {
        if (!IsFailure(result.verdict)) continue;
        if (needs_proof && (ledger_.proven & Bit(result.number)) == 0) continue;
        if (first == nullptr) first = &result;
        has_kinds = has_kinds || result.kind != first->kind;
        has_hosts = has_hosts || result.host != first->host;
    }
    return has_kinds && has_hosts;
}

bool Core::HasMemory() const {
    return !ledger_.hard.empty() || ledger_.stage != Stage::kNone || ledger_.pauses > 0;
}

void Core::Live(int64_t now) {
    alive_at_ = now;
    if (alive_since_ < 0) alive_since_ = now;
    Doubt();
}

bool Core::HasFailedFor(int64_t now, int64_t wanted_seconds) const {
    return complete_since_ >= 0 && now - complete_since_ >= wanted_seconds &&
           complete_rounds_ >= kFewestRounds;
}

int64_t Core::TakePause(int64_t now) {
    int64_t pause = rules_.pause_seconds;
    for (int i = 0; i < ledger_.pauses && pause < rules_.pause_limit_seconds; ++i) pause *= 2;
    pause = std::min(pause, rules_.pause_limit_seconds);
    ledger_.pauses = std::min(ledger_.pauses + 1, kMostPerDay);
    ledger_.pause_end = now + pause;
    return pause;
}

void Core::SeeStatus(const Look& look) {
    if (look.status == StatusSight::kWhole) {
        if (look.written != written_) {
            // The first one may be of a daemon that has ended long ago.
            if (!written_.empty()) fresh_at_ = look.now;
            written_ = look.written;
        }
        is_online_ = look.is_online;
        // An uptime that has fallen: the link was away between two looks.
        if (look.uptime >= 0 && uptime_ > look.uptime) online_since_ = -1;
        uptime_ = look.uptime;
    }
    const bool is_fresh = fresh_at_ >= 0 && look.now - fresh_at_ <= kFresh_seconds;
    if (!is_fresh || !is_online_) {
        online_since_ = -1;
    } else if (online_since_ < 0) {
        online_since_ = look.now;
    }
}

void Core::SeeInterface(const Look& look) {
    if (!look.has_interface) {
        interface_since_ = window_start_ = -1;
        return;
    }
    // A counter that has fallen is that of a new interface.
    const bool is_new = interface_since_ < 0 || look.received_bytes < counter_;
    if (is_new) interface_since_ = look.now;
    // A lease that is asked for anew comes from the modem and is no sign of life.
    const bool is_settled =
        online_since_ >= 0 && look.now - std::max(online_since_, interface_since_) >= kSettle_seconds;
    if (is_new || !is_settled) {
        window_start_ = look.now;
        window_bytes_ = 0;
    } else {
        // What the probes have brought by themselves is taken off at once: answers of a portal to some of
        // them come in while others are still waited for.
        window_bytes_ += static_cast<int64_t>(std::min<uint64_t>(look.received_bytes - counter_, INT32_MAX)) -
                         (look.probe_bytes - probe_counter_);
    }
    counter_ = look.received_bytes;
    probe_counter_ = look.probe_bytes;
    if (window_bytes_ >= rules_.traffic_bytes) {
        traffic_at_ = window_start_ = look.now;
        window_bytes_ = 0;
        Live(look.now);
    } else if (look.now - window_start_ >= rules_.silence_seconds) {
        window_start_ = look.now;
        window_bytes_ = 0;
    }
}

void Core::SeeRound(const Look& look) {
    if (look.round == nullptr) return;
    const Round& round = *look.round;
    last_round_ = Words(round);
    bool has_answer = false, has_failed = false;
    for (const ProbeResult& result : round.results) {
        const bool is_answered = result.verdict == ProbeVerdict::kAnswered;
        if (is_answered) ledger_.proven |= Bit(result.number);
        // One that is down for a week isn't asked each time before the others are.
        if (is_answered && !has_answer) preferred_ = result.number;
        has_answer = has_answer || is_answered;
        has_failed = has_failed || IsFailure(result.verdict);
    }
    if (has_answer) {
        Live(look.now);
        return;
    }
    if (!has_failed) {
        Doubt();
        return;
    }
    alive_since_ = -1;
    if (failing_since_ < 0) failing_since_ = look.now;
    if (!IsComplete(round, false)) return;
    if (complete_since_ < 0) complete_since_ = look.now;
    ++complete_rounds_;
    is_proven_ = is_proven_ && IsComplete(round, true);
}

State Core::Ground(const Look& look) const {
    if (fresh_at_ < 0 || look.now - fresh_at_ > kFresh_seconds) return State::kNoStatus;
    if (look.is_upgrading) return State::kUpgrading;
    if (!is_online_) return State::kOffline;
    if (!look.has_interface) return State::kNoInterface;
    const int64_t since = std::max({online_since_, interface_since_, started_at_});
    if (look.now - since < kSettle_seconds) return State::kSettling;
    return State::kQuiet;
}

std::string Core::WhyDead(int64_t now) const {
    return "no traffic for " + Seconds(now - std::max(traffic_at_, started_at_)) + ", probes failed for " +
           Seconds(now - complete_since_) + " in " + std::to_string(complete_rounds_) + " rounds (" +
           last_round_ + ")";
}

Decision Core::AskSoft(const Look& look) {
    Decision decision;
    decision.action = Action::kSoftReset;
    decision.state = State::kAfterSoft;
    decision.line = "SoftReset:1, because online and " + WhyDead(look.now);
    before_ = ledger_;
    ledger_.stage = Stage::kSoftAsked;
    ledger_.asked_at = look.now;
    ++ledger_.soft_total;
    Doubt();
    return decision;
}

Decision Core::AskHard(const Look& look) {
    Decision decision;
    if (rules_.hard_per_hour == 0 || rules_.hard_per_day == 0) {
        decision.state = State::kPause;
        decision.line = "no Reset4G:1 though " + WhyDead(look.now) +
                        ", because hardware resets are switched off; pause of " +
                        Seconds(TakePause(look.now));
        ledger_.stage = Stage::kNone;
        Doubt();
        return decision;
    }
    const int in_hour = ledger_.HardSince(look.now - kHour_seconds);
    const int in_day = ledger_.HardSince(look.now - kDay_seconds);
    if (in_hour >= rules_.hard_per_hour || in_day >= rules_.hard_per_day) {
        decision = Probe(look, State::kNoBudget);
        decision.line = "no Reset4G:1 though " + WhyDead(look.now) +
                        ", because the budget is spent: " + std::to_string(in_hour) + " in the last hour, " +
                        std::to_string(in_day) + " in the last day";
        return decision;
    }
    decision.action = Action::kHardReset;
    decision.state = State::kPause;
    before_ = ledger_;
    const int64_t pause = TakePause(look.now);
    ledger_.Forget(look.now);
    ledger_.hard.push_back(look.now);
    ledger_.stage = Stage::kHardAsked;
    ledger_.asked_at = look.now;
    ++ledger_.hard_total;
    decision.line = "Reset4G:1, because a soft reset didn't help: " + WhyDead(look.now) + "; " +
                    std::to_string(in_hour + 1) + " in the last hour, " + std::to_string(in_day + 1) +
                    " in the last day; pause of " + Seconds(pause);
    Doubt();
    return decision;
}

Decision Core::Probe(const Look& look, State state) {
    Decision decision;
    decision.state = state;
    const bool is_failing = failing_since_ >= 0;
    const bool is_due = state != State::kPause && (is_failing || ledger_.stage != Stage::kNone);
    const int64_t wait = is_due ? kRetry_seconds : rules_.interval_seconds;
    const bool is_silent = window_bytes_ < rules_.traffic_bytes &&
                           look.now - std::max(traffic_at_, started_at_) >= rules_.silence_seconds;
    if (!is_silent || (probed_at_ >= 0 && look.now - probed_at_ < wait)) return decision;
    probed_at_ = look.now;
    // A probe that has never been answered may be one that never can be; better to know that in good times.
    const bool wants_proof = (ledger_.proven & look.probes) != look.probes &&
                             (proof_asked_at_ < 0 || look.now - proof_asked_at_ >= kProve_seconds);
    if (wants_proof) proof_asked_at_ = look.now;
    decision.action = is_due || is_failing || wants_proof ? Action::kProbeAll : Action::kProbeOne;
    decision.probe = preferred_;
    return decision;
}

Decision Core::Ladder(const Look& look) {
    const int64_t now = look.now;
    const bool is_alive = alive_since_ >= 0;
    if (ledger_.pauses > 0 && is_alive && now - alive_since_ >= kForgiven_seconds) {
        ledger_.pauses = 0;
        ledger_.pause_end = 0;
    }
    if (ledger_.stage == Stage::kSoftAsked && alive_at_ > ledger_.asked_at) {
        ledger_.stage = Stage::kNone;
        Decision decision = Probe(look, State::kQuiet);
        decision.line = "alive again after SoftReset:1, " + Seconds(now - ledger_.asked_at) + " ago";
        return decision;
    }
    if (ledger_.stage == Stage::kHardAsked && alive_at_ > ledger_.asked_at) {
        ledger_.stage = Stage::kNone;
        Decision decision = Probe(look, State::kQuiet);
        decision.line = "alive again after Reset4G:1, " + Seconds(now - ledger_.asked_at) + " ago";
        return decision;
    }
    if (ledger_.stage == Stage::kSoftAsked && now - ledger_.asked_at < rules_.soft_wait_seconds) {
        Doubt();
        Decision decision;
        decision.state = State::kAfterSoft;
        return decision;
    }
    const bool is_pausing = now < ledger_.pause_end;
    if (is_pausing && ledger_.stage != Stage::kSoftAsked) {
        Decision decision = Probe(look, failing_since_ >= 0 || !is_alive ? State::kPause : State::kQuiet);
        return decision;
    }
    const bool is_second = ledger_.stage == Stage::kSoftAsked;
    if (HasFailedFor(now, is_second ? kFailedAgain_seconds : rules_.failed_seconds)) {
        if (withdrawn_at_ >= 0 && now - withdrawn_at_ < rules_.failed_seconds) {
            return Probe(look, State::kSuspect);
        }
        if (!look.can_act) {
            Decision decision = Probe(look, State::kWatchOnly);
            decision.line = "dead, and nothing is done because the settings don't allow it: " + WhyDead(now);
            return decision;
        }
        if (!is_proven_) {
            Decision decision = Probe(look, State::kWatchOnly);
            decision.line =
                "nothing is done because no two of these probes, of two kinds at two addresses, have ever "
                "been "
                "answered: " +
                WhyDead(now);
            return decision;
        }
        return is_second ? AskHard(look) : AskSoft(look);
    }
    if (failing_since_ >= 0) return Probe(look, State::kSuspect);
    const bool is_busy = traffic_at_ >= 0 && now - traffic_at_ < rules_.silence_seconds;
    return Probe(look, is_busy ? State::kTraffic : State::kQuiet);
}

Decision Core::OnGround(const Look& look) {
    const State ground = Ground(look);
    if (ground == State::kQuiet) return Ladder(look);
    // Nothing that was seen until now says anything of what comes after.
    Doubt();
    alive_since_ = -1;
    probed_at_ = -1;
    Decision decision;
    decision.state = ground;
    return decision;
}

Decision Core::Decide(const Look& given) {
    Look look = given;
    look.now = std::max(given.now, last_now_);
    if (started_at_ < 0) started_at_ = look.now;
    if (last_now_ >= 0 && look.now - last_now_ > kGap_seconds) {
        started_at_ = look.now;  // what happened meanwhile is nobody's knowledge
        look.round = nullptr;
    }
    last_now_ = look.now;
    SeeStatus(look);
    SeeInterface(look);
    SeeRound(look);
    Decision decision = OnGround(look);
    const bool is_new = is_first_ || decision.state != state_;
    if (!is_new && (decision.state == State::kNoBudget || decision.state == State::kWatchOnly)) {
        decision.line.clear();  // said already
    } else if (is_new && decision.line.empty() && decision.state != State::kTraffic &&
               state_ != State::kTraffic) {
        decision.line = std::string("now ") + NameOf(decision.state);
        if (decision.state == State::kSuspect) decision.line += ": " + last_round_;
    }
    state_ = decision.state;
    is_first_ = false;
    return decision;
}

void Core::Withdraw() {
    ledger_ = before_;
    withdrawn_at_ = last_now_;
}

}  // namespace guard
