#include "tools/log/history.h"

#include <algorithm>
#include <cstdlib>

namespace ravelin_log {
namespace {

constexpr size_t kMostEvidence = 8;
// After the DHCP client was started the link is looked at 30 times. When it doesn't come up, the next line of
// an attempt comes within this time, by the slowest family; until then nothing is known.
constexpr int64_t kLongestLooks_ms = 110 * kSecond_ms;
constexpr int64_t kShortestLooks_ms = 28 * kSecond_ms;  // 30 looks of a second each can't take less
constexpr int64_t kCheckGap_ms = 40 * kSecond_ms;       // between two failed checks of one loss
constexpr int64_t kRecent_ms = 60 * kSecond_ms;
constexpr int64_t kOfflineSilence_ms = 30 * kMinute_ms;  // offline, the daemon never is that quiet
constexpr int64_t kUsualStep_ms = 10 * kSecond_ms;
constexpr int64_t kMostFailedChecks = 10;
constexpr int64_t kUsualChecks = 10;  // of a modem that searches after the first start
constexpr int kTellingAnswers = 3;
constexpr int kProvingAnswers = 6;
constexpr int kManySearches = 10;
constexpr int kTellingDials = 2;
constexpr int64_t kLeastSerialDigits = 14;  // fewer, and the line has swallowed some
constexpr int kEarlyDials = 2;  // of a LongSung modem after the start, which may still be searching
constexpr int kPortWaitsToTell = 6;
constexpr int64_t kLookGap_ms = 8 * kSecond_ms;  // more than between two looks of an attempt
constexpr int kManyLooks = 25;                   // of the 30 of an attempt in vain
constexpr int64_t kFirstTellingVendor = 5;       // kinds of driver that log each look that fails
constexpr int64_t kLastTellingVendor = 8;
constexpr int64_t kSimAskedAgain_ms = 3500;
constexpr int64_t kLook_ms = 500;  // from the line of a look to that of the question for the SIM
constexpr int64_t kServiceValid = 2;
constexpr int64_t kStateIdle = 0;
constexpr int64_t kStateSearching = 2;
constexpr int64_t kStateDenied = 3;
constexpr int64_t kLte = 3;
constexpr int kWeakRsrp = -115;
constexpr std::string_view kGuardName = "ravelin-guard";
constexpr int64_t kLongestPass_ms = 180 * kSecond_ms;  // until the daemon does what the pipe asks for

bool IsRegistered(int64_t state) {
    return state == 1 || state == 5;
}

bool HoldsDigit(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

int64_t CountDigits(std::string_view text) {
    return std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool HoldsAny(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

/// Said by other threads than the one that looks after the link: nothing follows from them but that time has
/// passed.
bool IsOfOtherThread(Event event) {
    switch (event) {
        case Event::kAsksSoftReset:
        case Event::kAsksHardReset:
        case Event::kScriptSaysOffline:
        case Event::kDhcpClient:
        case Event::kUpgradeAccepted:
        case Event::kUpgradeRefused:
        case Event::kUpgradeBegins:
        case Event::kUpgradeOk:
        case Event::kUpgradeFailed:
        case Event::kUpgradeUnsupported:
        case Event::kUpgradeNoTool:
        case Event::kUpgradeOver:
        case Event::kStatusQuery:
        case Event::kNone:
            return true;
        default:
            return false;
    }
}

const char* NextAfter(ResetKind kind, const std::string& why) {
    if (why == cause::kCommand) return "none: a script asked for it";
    if (why == reason::kGuard) {
        return kind == ResetKind::kHard ? "a pause of the guard, and a soft reset again"
                                        : "a hardware reset by the guard, if still nothing comes through";
    }
    if (why == cause::kOcpp) {
        return "a soft reset at the next threshold: 60 s, 30 min, each full hour of the outage";
    }
    if (why == cause::kSim) return "the same again every minute, until the SIM is ready";
    if (why == cause::kNoService) {
        return "34 more checks, and a soft reset; in the third round a hardware reset if the signal is good";
    }
    if (why == reason::kNoServiceRounds) {
        return "soft resets every 34 checks, and a hardware reset nine rounds later";
    }
    if (why == reason::kNoServiceTwoSims || why == cause::kDataPath) {
        return kind == ResetKind::kHard ? "the count begins anew: SIM switch at 3 and 7, hardware reset at 9"
                                        : "the other SIM again at count 7, a hardware reset at count 9";
    }
    if (why == reason::kReconnect) return "four more attempts to dial, then a hardware reset again";
    if (why == cause::kModemMute || why == cause::kPortGone) {
        return "the same again while the modem doesn't answer";
    }
    return "not known";
}

/// The reason of the reset that a decision leads to.
const char* ReasonBy(Event decision) {
    switch (decision) {
        case Event::kFifthDial:
            return reason::kReconnect;
        case Event::kServiceGivenUpTwoSims:
            return reason::kNoServiceTwoSims;
        case Event::kPathGivenUp:
            return cause::kDataPath;
        case Event::kServiceRound:
            return reason::kNoServiceRounds;
        case Event::kNoSim:
            return cause::kSim;
        case Event::kServiceGivenUp:
            return cause::kNoService;
        default:
            return cause::kUnknown;
    }
}

}  // namespace

const char* WordOf(Certainty certainty) {
    switch (certainty) {
        case Certainty::kCertain:
            return "certain";
        case Certainty::kProbable:
            return "probable";
        default:
            return "unknown";
    }
}

const char* WordOf(ResetKind kind) {
    switch (kind) {
        case ResetKind::kHard:
            return "hard";
        case ResetKind::kSimSwitch:
            return "sim-switch";
        default:
            return "soft";
    }
}

const char* Historian::StateText() const {
    switch (state_) {
        case State::kStarting:
            return "the daemon has begun and hasn't been online yet";
        case State::kOffline:
            return "offline";
        case State::kDialed:
            return "dialled; whether the link came up isn't to be seen yet";
        case State::kOnline:
            return "online";
        default:
            return "not known";
    }
}

Outage* Historian::open() {
    return has_open_ ? &history_.outages.back() : nullptr;
}

void Historian::Prove(Outage& outage, const Evidence& evidence) {
    for (const Evidence& known : outage.evidence) {
        if (known.line == evidence.line && known.input == evidence.input) return;
    }
    if (outage.evidence.size() < kMostEvidence) outage.evidence.push_back(evidence);
}

Outage& Historian::Open(const Evidence& begin, bool has_begin, const char* cause, Certainty certainty) {
    if (has_open_) Close(begin.at);
    history_.outages.emplace_back();
    Outage& outage = history_.outages.back();
    outage.begin = begin.at;
    outage.has_begin = has_begin;
    outage.end = begin.at;
    has_open_ = true;
    outage.cause = cause;
    outage.certainty = certainty;
    if (online_since_ms_ >= 0) {
        history_.ledger.online_ms += std::max<int64_t>(0, begin.at.passed_ms - online_since_ms_);
        online_since_ms_ = -1;
    }
    dials_ = refused_dials_ = untold_dials_ = 0;
    searching_ = denied_ = not_denied_ = 0;
    answered_ = sim_confirmed_ = judged_by_second_sim_ = false;
    Prove(outage, begin);
    return outage;
}

Outage& Historian::Ensure(const char* cause, Certainty certainty) {
    if (has_open_) return *open();
    return Open(now_, state_ != State::kUnknown, cause, certainty);
}

void Historian::SetCause(Outage& outage, const std::string& cause, Certainty certainty) {
    if (outage.cause == cause) {
        outage.certainty = std::max(outage.certainty, certainty);
        return;
    }
    outage.cause = cause;
    outage.certainty = certainty;
    outage.would_tell.clear();
}

/// Whether what is known of the cause yet gives way to anything better.
bool Historian::IsWeak(const Outage& outage) const {
    const std::string top = TopOf(outage.cause);
    return top == cause::kUnknown || top == cause::kLinkDown || top == cause::kDialFailed;
}

void Historian::Close(const Moment& end) {
    if (!has_open_) return;
    Outage& outage = *open();
    outage.end = end;
    if (outage.end.passed_ms < outage.begin.passed_ms) outage.end = Now();
    outage.has_end = true;
    outage.is_open = false;
    has_open_ = false;
}

/// The link was up again some time, and nothing shows when.
void Historian::CloseWithoutEnd() {
    if (!has_open_) return;
    open()->is_open = false;
    has_open_ = false;
}

void Historian::CameOnline(const Moment& at) {
    Close(at);
    online_at_.push_back(at);
    registered_ = false;
    decision_ = Event::kNone;
    state_ = State::kOnline;
    is_first_start_ = false;
    online_since_ms_ = at.passed_ms;
    dials_ = refused_dials_ = untold_dials_ = 0;
    checks_ = 0;
    first_check_.is_set = false;
    failed_checks_.clear();
    failed_count_ = 0;
    asked_sim_.is_set = sim_lost_.is_set = look_down_.is_set = false;
    is_off_ = false;
    idle_ = 0;
    searched_first_ = sim_was_there_ = false;
}

/// Since when the link is up that a line shows to be.
Moment Historian::OnlineSince() const {
    return state_ == State::kDialed ? dialed_at_ : Now();
}

/// The line at hand is said while online alone: if no dial has led there, nothing shows when the link came
/// up.
void Historian::ShowOnline() {
    if (state_ == State::kOnline) return;
    if (state_ != State::kDialed) CloseWithoutEnd();
    CameOnline(OnlineSince());
}

/// What explains the reset that follows.
void Historian::Decide(Event decision) {
    decision_ = decision;
    decision_line_ = now_;
}

/// A line has come that an attempt in vain doesn't have so late: the link is up since the dial.
void Historian::SettleDial() {
    if (state_ != State::kDialed) return;
    const bool is_late = now_.at.passed_ms - dhcp_passed_ms_ > kLongestLooks_ms;
    // Quectel and ZTE modems log each look that fails, one after the other: one has succeeded.
    const bool is_silent = tells_failures_ && failed_looks_ < kManyLooks &&
                           now_.at.passed_ms - dialed_at_.passed_ms > kLookGap_ms;
    if (is_late || is_silent) CameOnline(dialed_at_);
}

void Historian::Note(Mark* mark) {
    mark->is_set = true;
    mark->evidence = now_;
}

void Historian::AddReset(ResetKind kind, const std::string& why, Certainty certainty,
                         const std::vector<Evidence>& evidence) {
    Reset reset;
    reset.at = now_.at;
    reset.kind = kind;
    reset.reason = why;
    reset.certainty = certainty;
    reset.evidence = evidence;
    reset.next = NextAfter(kind, why);
    history_.resets.push_back(reset);
    if (!has_open_) return;
    Outage& outage = *open();
    outage.resets.push_back(history_.resets.size() - 1);
    // What brought the link down is proven; why it stays down may be something else.
    const std::string top = TopOf(outage.cause);
    if (outage.certainty == Certainty::kCertain && top != why && outage.resets.size() > 1 &&
        (top == cause::kCommand || top == cause::kOcpp || top == cause::kRestart)) {
        outage.certainty = Certainty::kProbable;
    }
}

void Historian::ConfirmHardReset() {
    if (!pending_hard_.is_set) return;
    pending_hard_.is_set = false;
    AddReset(ResetKind::kHard, hard_reason_, hard_certainty_, hard_evidence_);
    history_.resets.back().at = pending_hard_.evidence.at;
    in_hard_ = true;
    in_switch_ = false;
    decision_ = Event::kNone;
    if (state_ != State::kStarting || has_open_) state_ = State::kOffline;
}

/// No answer to the probe: what there is of the outage is explained by it, unless the modem has answered
/// since.
void Historian::Mute() {
    const char* word = is_upgrading_ ? "modem-mute/upgrade" : cause::kModemMute;
    if (!has_open_) {
        const bool is_recent =
            !failed_checks_.empty() && now_.at.passed_ms - failed_checks_.back().at.passed_ms < kRecent_ms;
        Evidence begin = is_recent ? failed_checks_.front() : now_;
        Open(begin, true, word, Certainty::kProbable);
    }
    Outage& outage = *open();
    Prove(outage, now_);
    const std::string top = TopOf(outage.cause);
    const bool is_unproven_sim = top == cause::kSim && !sim_confirmed_;
    const bool is_unproven_service = top == cause::kNoService && !answered_;
    if ((IsWeak(outage) && !answered_) || is_unproven_sim || is_unproven_service) {
        SetCause(outage, word, Certainty::kProbable);
    }
}

void Historian::OnStart(bool begins_run) {
    if (!begins_run) return;
    ++history_.ledger.starts;
    pending_hard_.is_set = in_hard_ = in_switch_ = awaits_soft_ = false;
    decision_ = Event::kNone;
    if (is_upgrading_) is_upgrading_ = false;
    const bool is_first_line = history_.ledger.messages <= 1;
    SettleDial();
    if (is_first_line) {
        is_first_start_ = true;
    } else if (has_open_) {
        Prove(*open(), now_);
    } else {
        Outage& outage = Open(now_, true, cause::kRestart, Certainty::kCertain);
        if (end_of_run_.is_set && now_.at.passed_ms - end_of_run_.evidence.at.passed_ms < 10 * kMinute_ms) {
            Prove(outage, end_of_run_.evidence);
        }
    }
    state_ = State::kStarting;
    run_ended_ = false;
    end_of_run_.is_set = false;
    checks_ = 0;
    first_check_.is_set = false;
    failed_checks_.clear();
    failed_count_ = 0;
    asked_sim_.is_set = sim_lost_.is_set = look_down_.is_set = false;
    path_failed_.is_set = false;
    has_two_sims_ = has_orla_ = not_lte_ = path_probed_ = imei_told_ = sim_flag_lost_ = false;
    is_off_ = false;
    dials_ = untold_dials_ = 0;
    idle_ = 0;
    searched_first_ = sim_was_there_ = dialed_since_reset_ = false;
}

void Historian::OnSim(const Said& said) {
    Outage* outage = open();
    switch (said.event) {
        case Event::kAsksSimOnline:
            if (state_ != State::kOnline && state_ != State::kOffline) CameOnline(OnlineSince());
            Note(&asked_sim_);
            break;
        case Event::kSimNotReadyOnline:
            sim_flag_lost_ = true;
            modem_hid_sim_ = sim_flag_judged_ = false;
            Note(&sim_lost_);
            break;
        case Event::kImei:
            imei_told_ = CountDigits(said.text) >= kLeastSerialDigits;
            answered_ |= HoldsDigit(said.text);
            break;
        case Event::kImsi:
            if (HoldsDigit(said.text)) answered_ = true;
            break;
        case Event::kCarrier:
            // It is read when the SIM is ready: what looked like a missing one was something else.
            answered_ = true;
            if (outage != nullptr && outage->cause == cause::kSim && !sim_confirmed_) {
                const bool has_searched = searched_first_;
                SetCause(*outage, has_searched ? cause::kNoService : cause::kModemMute, Certainty::kProbable);
            }
            if (outage != nullptr && outage->cause == cause::kSim && judged_by_second_sim_ &&
                outage->resets.size() == 2) {
                SetCause(*outage, cause::kNoService,
                         Certainty::kProbable);  // only the second holder is empty
            }
            break;
        case Event::kSimNotReady: {
            sim_flag_lost_ = true;
            modem_hid_sim_ = !imei_told_;
            sim_flag_judged_ = false;
            if (outage == nullptr) {
                if (state_ == State::kUnknown || state_ == State::kOnline) break;
                if (!is_first_start_) break;
                outage = &Open(now_, true, cause::kSim, Certainty::kProbable);
            }
            Prove(*outage, now_);
            const std::string top = TopOf(outage->cause);
            // One SIM, and the modem knows its own number: it is the SIM indeed.
            if (imei_told_) sim_confirmed_ = sim_confirmed_ || top == cause::kSim;
            if (top == cause::kSim && !sim_confirmed_ && !answered_ && !outage->resets.empty()) {
                // Set up anew, it doesn't know its own number either.
                SetCause(*outage, cause::kModemMute, Certainty::kProbable);
            } else if (top == cause::kSim) {
                // Set up anew, the modem knows its own number, no SIM, and no network: it is the SIM indeed.
                // Later than that it may be another trouble.
                const bool is_proven =
                    imei_told_ && outage->resets.size() == 1 && answered_ && !registered_ && !has_two_sims_;
                SetCause(*outage, cause::kSim, is_proven ? Certainty::kCertain : Certainty::kProbable);
            } else if (imei_told_ && outage->resets.size() <= 1 &&
                       (IsWeak(*outage) || top == cause::kNoService)) {
                SetCause(*outage, cause::kSim, Certainty::kProbable);
                sim_confirmed_ = true;
                judged_by_second_sim_ = has_two_sims_;
            }
            break;
        }
        case Event::kNoSim:
            if (outage == nullptr) {
                outage = &Open(now_, state_ != State::kUnknown, cause::kSim, Certainty::kProbable);
            }
            Prove(*outage, now_);
            if (answered_ && TopOf(outage->cause) == cause::kSim) sim_confirmed_ = true;
            if (IsWeak(*outage)) SetCause(*outage, cause::kSim, Certainty::kProbable);
            Decide(said.event);
            state_ = State::kOffline;
            break;
        default:
            break;
    }
}

/// What the modem tells of its registration after the SIM wasn't ready: without a SIM there is none. Where
/// there is one, the modem had only been mute for a while.
void Historian::JudgeSim(bool is_registered) {
    registered_ |= is_registered;
    const bool judges_flag = sim_flag_lost_ && !sim_flag_judged_;
    if (judges_flag) modem_hid_sim_ = is_registered;
    sim_flag_judged_ = true;
    Note(&registration_);
    // Set up anew after checks without service, it has a SIM no more than a network.
    if (judges_flag && !is_registered && has_open_ && open()->cause == cause::kNoService &&
        open()->resets.size() == 1) {
        SetCause(*open(), cause::kSim, Certainty::kProbable);
        sim_confirmed_ = true;
        judged_by_second_sim_ = has_two_sims_;
    }
    if (!has_open_ || open()->cause != cause::kSim || sim_confirmed_) return;
    if (is_registered) {
        SetCause(*open(), cause::kModemMute, Certainty::kProbable);
    } else {
        sim_confirmed_ = true;
    }
}

/// A modem with a SIM searches; one without doesn't. One that hasn't searched all the time and then begins to
/// has got its SIM back.
void Historian::JudgeSearch(int64_t state) {
    if (state == kStateSearching || state == kStateIdle) {
        // What the dial met was the loss of the service.
        if (dialed_since_reset_) {
            untold_dials_ = dials_ + (state_ == State::kDialed ? 1 : 0);
            refused_dials_ = 0;
        }
    }
    if (state == kStateIdle) ++idle_;
    const bool begins = state == kStateSearching && idle_ > 0 && !searched_first_;
    if (state == kStateSearching) searched_first_ = true;
    if (!begins || !has_open_ || sim_was_there_ || !open()->resets.empty() || denied_ > 0) return;
    const std::string top = TopOf(open()->cause);
    if (top != cause::kNoService && top != cause::kLinkDown) return;
    SetCause(*open(), cause::kSim, Certainty::kProbable);
    Prove(*open(), now_);
    sim_confirmed_ = true;
}

void Historian::OnService(const Said& said) {
    switch (said.event) {
        case Event::kRegistration:
            answered_ = true;
            JudgeSearch(said.number[1]);
            if (said.number[1] == kStateSearching) ++searching_;
            if (said.number[1] == kStateDenied) {
                ++denied_;
            } else {
                ++not_denied_;
            }
            if (IsRegistered(said.number[1])) denied_ = searching_ = 0;
            JudgeSim(IsRegistered(said.number[1]));
            return;
        case Event::kServiceInfo:
            answered_ = true;
            JudgeSim(said.number[0] == kServiceValid);
            return;
        case Event::kServiceRound:
            Decide(said.event);
            return;
        case Event::kServiceCheck:
        case Event::kServiceCheckTwoSims: {
            if (said.event == Event::kServiceCheckTwoSims) has_two_sims_ = true;
            const bool had_dialed = state_ == State::kDialed;
            const bool was_online = state_ == State::kOnline;
            const bool was_unknown = state_ == State::kUnknown;
            if (had_dialed) ++dials_;
            checks_ = said.number[0];
            if (checks_ <= 1 || !first_check_.is_set) Note(&first_check_);
            state_ = is_first_start_ && !has_open_ ? State::kStarting : State::kOffline;
            Decide(said.event);
            if (!has_open_) {
                if (is_first_start_ && checks_ < kUsualChecks && dials_ == 0 && denied_ < kTellingAnswers) {
                    return;
                }
                const Evidence begin =
                    was_online && look_down_.is_set ? look_down_.evidence : first_check_.evidence;
                Open(begin, !was_unknown, was_online ? cause::kLinkDown : cause::kNoService,
                     Certainty::kProbable);
                state_ = State::kOffline;
            }
            Outage& outage = *open();
            answered_ |=
                registration_.is_set && registration_.evidence.at.passed_ms >= outage.begin.passed_ms;
            if (checks_ < 2 && denied_ == 0) return;
            const std::string top = TopOf(outage.cause);
            // A modem that was just reset searches for a while.
            const bool may_explain = IsWeak(outage) && outage.resets.empty() && dials_ == 0;
            if (may_explain && checks_ >= 2) {
                Prove(outage, now_);
                // Each family logs what the modem says of its registration: here it has said nothing.
                SetCause(outage, answered_ ? cause::kNoService : cause::kModemMute, Certainty::kProbable);
            }
            // One answer of another kind, and it may be the answers that are wrong.
            const bool is_proven = denied_ >= kProvingAnswers && not_denied_ == 0;
            if (denied_ > 0 &&
                (IsWeak(outage) || outage.cause == cause::kNoService || top == cause::kNoService) &&
                (outage.resets.empty() || denied_ >= kTellingAnswers)) {
                Prove(outage, now_);
                SetCause(outage, cause::kDenied, is_proven ? Certainty::kCertain : Certainty::kProbable);
            } else if (outage.cause == cause::kDenied && is_proven) {
                SetCause(outage, cause::kDenied, Certainty::kCertain);
            }
            if (outage.cause == cause::kNoService && checks_ >= kManySearches &&
                searching_ >= kManySearches && searching_ == not_denied_ && denied_ == 0) {
                SetCause(outage, cause::kNoService, Certainty::kCertain);
            }
            return;
        }
        case Event::kServiceGivenUp:
        case Event::kServiceGivenUpTwoSims: {
            Outage& outage = Ensure(cause::kNoService, Certainty::kProbable);
            Prove(outage, now_);
            if (IsWeak(outage)) SetCause(outage, cause::kNoService, Certainty::kProbable);
            Decide(said.event);
            state_ = State::kOffline;
            return;
        }
        default:
            return;
    }
}

void Historian::OnLink(const Said& said) {
    switch (said.event) {
        case Event::kDial: {
            const bool was_online = state_ == State::kOnline;
            const bool was_unknown = state_ == State::kUnknown;
            if (state_ == State::kDialed) ++dials_;
            if (!has_open_ && (was_online || was_unknown)) {
                const bool knows_loss =
                    look_down_.is_set && now_.at.passed_ms - look_down_.evidence.at.passed_ms < kRecent_ms;
                Outage& outage = Open(knows_loss ? look_down_.evidence : now_, !was_unknown,
                                      knows_loss ? cause::kLinkDown : cause::kUnknown,
                                      knows_loss ? Certainty::kProbable : Certainty::kUnknown);
                if (!knows_loss) outage.would_tell = "the lines before it, at level 5 or above";
            } else if (!has_open_ && dials_ > (registered_ ? 0 : kEarlyDials) && dial_.is_set) {
                Open(dial_.evidence, true, registered_ ? cause::kDialFailed : cause::kLinkDown,
                     Certainty::kProbable);
                answered_ = true;
            }
            dialed_since_reset_ = true;
            if (has_open_) {
                Outage& outage = *open();
                // A LongSung modem isn't asked for its registration: why no link came up isn't known then.
                // And one dial in vain may have met whatever brought the link down.
                const int telling = TopOf(outage.cause) == cause::kLinkDown ? kTellingDials : 1;
                if (dials_ - untold_dials_ >= telling && registered_ && IsWeak(outage)) {
                    Prove(outage, now_);
                    SetCause(outage, cause::kDialFailed, Certainty::kProbable);
                }
            }
            Note(&dial_);
            decision_ = Event::kNone;
            checks_ = 0;
            first_check_.is_set = false;
            state_ = State::kOffline;
            return;
        }
        case Event::kDialRefused:
        case Event::kDialError: {
            if (said.event == Event::kDialError && !has_open_) return;
            Outage& outage = has_open_ ? *open()
                                       : Open(dial_.is_set ? dial_.evidence : now_, dial_.is_set,
                                              cause::kDialFailed, Certainty::kProbable);
            Prove(outage, now_);
            ++refused_dials_;
            const int telling = TopOf(outage.cause) == cause::kLinkDown ? kTellingDials : 1;
            if (IsWeak(outage) && outage.resets.empty() && refused_dials_ >= telling) {
                SetCause(outage, cause::kDialFailed, Certainty::kProbable);
            }
            if (said.event == Event::kDialRefused) {
                ++dials_;
                state_ = State::kOffline;
            }
            return;
        }
        case Event::kFifthDial:
            Decide(said.event);
            if (has_open_) Prove(*open(), now_);
            return;
        case Event::kDhcpStarted:
            if (!has_open_ && state_ == State::kUnknown) {
                Outage& outage = Open(now_, false, cause::kUnknown, Certainty::kUnknown);
                outage.would_tell = "the log before its first line";
            }
            state_ = State::kDialed;
            dialed_at_ = now_.at;
            dhcp_passed_ms_ = now_.at.passed_ms;
            failed_looks_ = 0;
            return;
        case Event::kLookFailed:
        case Event::kLook:
        case Event::kLookWord: {
            const bool is_up = said.event == Event::kLook ? said.number[0] != 0
                               : said.event == Event::kLookWord
                                   ? said.text.find('1') != std::string_view::npos
                                   : false;
            answered_ |= said.event != Event::kLookFailed;
            // SimCom and Quectel modems show it in another way, or not always.
            if (said.event != Event::kLookFailed && said.row->text[0] != 'O') tells_looks_ = true;
            if (said.event == Event::kLookFailed) tells_failures_ = true;
            // Quectel's Qualcomm family shows the state, which is 0 when there was no answer.
            if (said.event != Event::kLookFailed || said.number[0] != 0) Note(&look_answered_);
            if (is_up) {
                // LongSung and NodeCom modems report a link that came up by itself.
                const bool is_report = said.event == Event::kLook && said.numbers == 1 &&
                                       said.row->text[0] == 'C' && state_ == State::kOffline;
                if (state_ == State::kDialed || state_ == State::kUnknown || is_report) {
                    CameOnline(Now());
                } else if (state_ == State::kOnline) {
                    look_down_.is_set = false;
                }
                return;
            }
            if (state_ == State::kDialed) {
                // The looks of an attempt follow one another: a later one is that of a link that was up.
                if (now_.at.passed_ms - dialed_at_.passed_ms > kLookGap_ms) {
                    CameOnline(dialed_at_);
                } else {
                    dialed_at_ = now_.at;
                    ++failed_looks_;
                }
            }
            if (state_ == State::kOnline && !look_down_.is_set) Note(&look_down_);
            return;
        }
        case Event::kOfflineCheck: {
            ShowOnline();
            const bool goes_on = !failed_checks_.empty() && said.number[0] == failed_count_ + 1 &&
                                 now_.at.passed_ms - failed_checks_.back().at.passed_ms <= kCheckGap_ms;
            if (!goes_on) {
                failed_checks_.clear();
                sim_hesitated_ = sim_was_there_ = false;
            }
            sim_was_there_ |= asked_sim_.is_set && !sim_lost_.is_set;
            if (failed_checks_.empty()) {
                const bool knows_loss =
                    look_down_.is_set && now_.at.passed_ms - look_down_.evidence.at.passed_ms < kCheckGap_ms;
                failed_checks_.push_back(knows_loss          ? look_down_.evidence
                                         : asked_sim_.is_set ? asked_sim_.evidence
                                                             : now_);
            }
            if (failed_checks_.size() < 2) {
                failed_checks_.push_back(now_);
            } else {
                failed_checks_[1] = now_;
            }
            failed_count_ = said.number[0];
            // The SIM is asked again after 4 s when it isn't ready at once.
            sim_hesitated_ |= asked_sim_.is_set && !sim_lost_.is_set &&
                              now_.at.passed_ms - asked_sim_.evidence.at.passed_ms >= kSimAskedAgain_ms;
            look_down_.is_set = asked_sim_.is_set = false;
            if (failed_count_ <= kMostFailedChecks && !sim_lost_.is_set) return;
            const std::vector<Evidence> checks = failed_checks_;
            const bool is_sim = sim_lost_.is_set;
            const Evidence lost = sim_lost_.evidence;
            // A modem whose answers to looks were logged until now said nothing at all when this one is
            // missing.
            const int64_t unanswered_ms = checks.front().at.passed_ms - look_answered_.evidence.at.passed_ms;
            const bool is_mute = is_sim && tells_looks_ && look_answered_.is_set &&
                                 unanswered_ms > kLook_ms && unanswered_ms < kRecent_ms;
            Outage& outage = Open(checks.front(), true,
                                  is_mute                    ? cause::kModemMute
                                  : is_sim || sim_hesitated_ ? cause::kSim
                                                             : cause::kLinkDown,
                                  Certainty::kProbable);
            if (is_sim) Prove(outage, lost);
            Prove(outage, checks.back());
            idle_ = 0;
            searched_first_ = false;
            sim_confirmed_ = sim_hesitated_;
            const bool is_weak = weakest_rsrp_ <= kWeakRsrp;
            if (!is_sim && !sim_hesitated_ && is_weak) outage.cause = "link-down/weak-signal";
            failed_checks_.clear();
            sim_lost_.is_set = false;
            failed_count_ = 0;
            state_ = State::kOffline;
            return;
        }
        case Event::kSwitchedOff: {
            ShowOnline();
            Open(now_, true, cause::kDisabled, Certainty::kCertain);
            state_ = State::kOffline;
            is_off_ = true;
            return;
        }
        case Event::kIsOff: {
            if (state_ == State::kDialed && now_.at.passed_ms - dhcp_passed_ms_ < kShortestLooks_ms) {
                CameOnline(dialed_at_);  // the first dial doesn't ask for the switch, and the link stays
                is_off_ = true;
                return;
            }
            if (is_off_ && state_ == State::kOnline) return;
            const bool is_known = state_ != State::kUnknown;
            if (!has_open_) {
                Open(now_, is_known, cause::kDisabled, is_known ? Certainty::kCertain : Certainty::kProbable);
            }
            Prove(*open(), now_);
            if (IsWeak(*open())) SetCause(*open(), cause::kDisabled, Certainty::kProbable);
            state_ = State::kOffline;
            is_off_ = true;
            return;
        }
        case Event::kBand:
            weakest_rsrp_ = HoldsDigit(said.text) ? atoi(std::string(said.text).c_str()) : 0;
            not_lte_ = false;
            [[fallthrough]];
        case Event::kNotLte:
        case Event::kOnlineSign:
            if (said.event == Event::kNotLte) not_lte_ = true;
            // Some families report their cell while they are offline, too.
            if (state_ == State::kDialed && said.event != Event::kBand) CameOnline(dialed_at_);
            if (state_ == State::kUnknown && said.event != Event::kBand) CameOnline(Now());
            return;
        case Event::kPathCheckFailed:
            ShowOnline();
            has_two_sims_ = true;
            path_series_is_new_ = true;
            if (said.number[0] <= 1 || !path_failed_.is_set) Note(&path_failed_);
            return;
        case Event::kPathProbed:
            path_probed_ = said.number[1] == kLte;
            not_lte_ = !path_probed_;
            return;
        case Event::kPathGivenUp:
            Decide(said.event);
            return;
        default:
            return;
    }
}

/// The path is dead, by what the checks of the network have led to.
void Historian::NotePathOutage() {
    if (has_open_) return;
    // The count goes on where it was when no check has passed in between: the path was dead all the time.
    if (!path_series_is_new_ && !history_.outages.empty() && path_outages_ == history_.outages.size() &&
        history_.outages.back().has_end) {
        Outage& former = history_.outages.back();
        former.is_open = true;
        former.has_end = false;
        has_open_ = true;
        online_since_ms_ = -1;
        Prove(former, now_);
        return;
    }
    // The check fails without a ping when the SIM wasn't ready as it was asked last, and when there is no
    // LTE.
    const char* word = path_probed_     ? cause::kDataPath
                       : sim_flag_lost_ ? (modem_hid_sim_ ? cause::kModemMute : cause::kSim)
                       : not_lte_       ? "data-path/no-lte"
                                        : cause::kDataPath;
    Outage& outage = Open(path_series_is_new_ && path_failed_.is_set ? path_failed_.evidence : now_, true,
                          word, path_probed_ ? Certainty::kCertain : Certainty::kProbable);
    sim_confirmed_ = outage.cause == cause::kSim;
    Prove(outage, now_);
    path_series_is_new_ = false;
    path_outages_ = history_.outages.size();
}

/// A reset that came through the pipe. What the guard has reset was online and carried nothing.
const Evidence* Historian::OpenCommanded(ResetKind kind) {
    const Evidence* guard = GuardsLine(kind);
    if (!has_open_ && state_ != State::kStarting) {
        Outage& outage = Open(now_, true, guard != nullptr ? cause::kDataPath : cause::kCommand,
                              guard != nullptr ? Certainty::kProbable : Certainty::kCertain);
        if (guard != nullptr) Prove(outage, *guard);
    }
    return guard;
}

/// A hardware reset is due; what follows shows whether it is carried out.
void Historian::ExpectHardReset(const std::string& why, Certainty certainty) {
    pending_hard_.is_set = true;
    pending_hard_.evidence = now_;
    hard_reason_ = why;
    hard_certainty_ = certainty;
    hard_evidence_.clear();
    if (decision_ != Event::kNone && why != cause::kModemMute && why != cause::kPortGone &&
        why != cause::kCommand && why != reason::kGuard) {
        hard_evidence_.push_back(decision_line_);
    }
    hard_evidence_.push_back(now_);
}

void Historian::OnReset(const Said& said) {
    switch (said.event) {
        case Event::kCommandedSoftReset: {
            const Evidence* guard = OpenCommanded(ResetKind::kSoft);
            if (has_open_) Prove(*open(), now_);
            if (guard != nullptr) {
                AddReset(ResetKind::kSoft, reason::kGuard, Certainty::kCertain, {*guard, now_});
            } else {
                AddReset(ResetKind::kSoft, cause::kCommand, Certainty::kCertain, {now_});
            }
            awaits_soft_ = true;
            state_ = has_open_ ? State::kOffline : state_;
            return;
        }
        case Event::kOcppReset: {
            if (!has_open_) Open(now_, true, cause::kOcpp, Certainty::kCertain);
            AddReset(ResetKind::kSoft, cause::kOcpp, Certainty::kCertain, {now_});
            has_orla_ = true;
            awaits_soft_ = true;
            state_ = State::kOffline;
            return;
        }
        case Event::kSwitchesSim:
        case Event::kSecondSim:
        case Event::kFirstSim: {
            has_two_sims_ = true;
            if (in_switch_) {
                if (!history_.resets.empty()) history_.resets.back().evidence.push_back(now_);
                return;
            }
            const bool by_service = decision_ == Event::kServiceCheckTwoSims;
            const bool is_known = by_service || state_ == State::kOnline || path_failed_.is_set;
            if (!by_service) NotePathOutage();
            std::vector<Evidence> evidence;
            if (by_service) evidence.push_back(decision_line_);
            if (!by_service && path_failed_.is_set) evidence.push_back(path_failed_.evidence);
            evidence.push_back(now_);
            AddReset(ResetKind::kSimSwitch,
                     by_service ? reason::kNoServiceTwoSims
                     : is_known ? cause::kDataPath
                                : cause::kUnknown,
                     by_service     ? Certainty::kCertain
                     : !is_known    ? Certainty::kUnknown
                     : path_probed_ ? Certainty::kCertain
                                    : Certainty::kProbable,
                     evidence);
            in_switch_ = true;
            path_series_is_new_ = false;
            state_ = State::kOffline;
            return;
        }
        case Event::kSoftReset: {
            imei_told_ = sim_flag_lost_ = dialed_since_reset_ = false;
            if (in_hard_ || in_switch_ || awaits_soft_) {
                in_hard_ = in_switch_ = awaits_soft_ = false;
                decision_ = Event::kNone;
                return;
            }
            std::string why = cause::kUnknown;
            if (decision_ == Event::kServiceGivenUp || decision_ == Event::kNoSim) why = ReasonBy(decision_);
            std::vector<Evidence> evidence;
            if (why != cause::kUnknown) evidence.push_back(decision_line_);
            evidence.push_back(now_);
            Outage& outage = Ensure(cause::kUnknown, Certainty::kUnknown);
            if (outage.cause == cause::kUnknown) {
                outage.would_tell = "the lines before the reset, at level 5 or above";
            }
            AddReset(ResetKind::kSoft, why,
                     why == cause::kUnknown ? Certainty::kUnknown : Certainty::kCertain, evidence);
            decision_ = Event::kNone;
            state_ = State::kOffline;
            return;
        }
        case Event::kCommandedHardReset: {
            const Evidence* guard = OpenCommanded(ResetKind::kHard);
            ExpectHardReset(guard != nullptr ? reason::kGuard : cause::kCommand, Certainty::kCertain);
            if (guard != nullptr) hard_evidence_.insert(hard_evidence_.begin(), *guard);
            return;
        }
        case Event::kMute:
            Mute();
            ExpectHardReset(cause::kModemMute, Certainty::kProbable);
            return;
        case Event::kPortGone: {
            Outage& outage = has_open_ ? *open() : Open(now_, true, cause::kPortGone, Certainty::kCertain);
            Prove(outage, now_);
            if (IsWeak(outage) || (TopOf(outage.cause) == cause::kSim && !sim_confirmed_)) {
                SetCause(outage, cause::kPortGone, Certainty::kProbable);
            }
            ExpectHardReset(cause::kPortGone, Certainty::kCertain);
            return;
        }
        case Event::kConnectError: {
            const std::string why = ReasonBy(decision_);
            if (why == cause::kDataPath) NotePathOutage();
            Outage& outage = Ensure(cause::kUnknown, Certainty::kUnknown);
            Prove(outage, now_);
            if (why == reason::kNoServiceRounds && IsWeak(outage)) {
                SetCause(outage, cause::kNoService, Certainty::kProbable);
            }
            const bool is_guess = why == cause::kDataPath && !path_probed_;
            ExpectHardReset(why, why == cause::kUnknown ? Certainty::kUnknown
                                 : is_guess             ? Certainty::kProbable
                                                        : Certainty::kCertain);
            state_ = State::kOffline;
            return;
        }
        case Event::kKillsDhcp:
            // SoftReset says the same after its first line.
            if (last_event_ == Event::kSoftReset) return;
            [[fallthrough]];
        case Event::kResetScript:
        case Event::kInterfaceCheck:
        case Event::kHardResetDone:
            if (pending_hard_.is_set) ConfirmHardReset();
            if (!in_hard_) {
                // The log has begun, or was cut, after the lines that say why.
                Outage& outage = Ensure(cause::kUnknown, Certainty::kUnknown);
                if (outage.cause == cause::kUnknown) outage.would_tell = "the lines before the reset";
                AddReset(ResetKind::kHard, cause::kUnknown, Certainty::kUnknown, {now_});
                in_hard_ = true;
                state_ = State::kOffline;
            }
            return;
        case Event::kResetWaits:
            pending_hard_.is_set = false;
            return;
        default:
            return;
    }
}

void Historian::OnPort(const Said& said) {
    switch (said.event) {
        case Event::kPortLost: {
            run_ended_ = true;
            in_hard_ = false;
            Outage& outage = Ensure(cause::kPortGone, Certainty::kProbable);
            Prove(outage, now_);
            const std::string top = TopOf(outage.cause);
            // A reset for another reason may have taken the port away.
            if (top == cause::kUnknown || top == cause::kModemMute ||
                (top == cause::kSim && !sim_confirmed_)) {
                SetCause(outage, cause::kPortGone, Certainty::kProbable);
            }
            return;
        }
        case Event::kWaitsForPort: {
            ++checks_;  // of the port, in this start
            if (has_open_) {
                Outage& outage = *open();
                if (checks_ == 1) Prove(outage, now_);
                const std::string top = TopOf(outage.cause);
                if (top == cause::kUnknown || top == cause::kModemMute) {
                    SetCause(outage, cause::kPortGone, Certainty::kProbable);
                }
                return;
            }
            if (checks_ == 1) Note(&first_check_);
            if (checks_ == kPortWaitsToTell) {
                Outage& outage = Open(first_check_.evidence, true, cause::kPortGone, Certainty::kCertain);
                Prove(outage, now_);
            }
            return;
        }
        case Event::kPortOpen:
            checks_ = 0;
            first_check_.is_set = false;
            return;
        case Event::kUnknownModem: {
            run_ended_ = true;
            Outage& outage = has_open_ ? *open() : Open(now_, true, cause::kModemMute, Certainty::kProbable);
            Prove(outage, now_);
            if (IsWeak(outage)) SetCause(outage, cause::kModemMute, Certainty::kProbable);
            if (outage.cause == cause::kRestart) outage.certainty = Certainty::kProbable;
            return;
        }
        case Event::kRefusedModule:
        case Event::kNoSettings: {
            // GetLTEcfg says it while running, and nothing ends; at a start it is the only line.
            const bool is_running = state_ != State::kUnknown && state_ != State::kStarting;
            if (said.event == Event::kNoSettings && is_running) return;
            run_ended_ = true;
            (said.event == Event::kRefusedModule ? was_refused_ : lacked_settings_) = true;
            return;
        }
        default:
            return;
    }
}

void Historian::OnUpgrade(const Said& said) {
    if (said.event == Event::kUpgradeAccepted || (said.event == Event::kUpgradeBegins && !is_upgrading_)) {
        history_.upgrades.emplace_back();
        history_.upgrades.back().begin = now_.at;
        history_.upgrades.back().evidence.push_back(now_);
        is_upgrading_ = true;
        return;
    }
    if (history_.upgrades.empty() || !is_upgrading_) {
        if (said.event != Event::kUpgradeOk && said.event != Event::kUpgradeFailed) return;
        history_.upgrades.emplace_back();  // the log begins in it
        history_.upgrades.back().begin = now_.at;
        is_upgrading_ = true;
    }
    Upgrade& upgrade = history_.upgrades.back();
    const char* result = said.event == Event::kUpgradeOk            ? "ok"
                         : said.event == Event::kUpgradeFailed      ? "failed"
                         : said.event == Event::kUpgradeUnsupported ? "unsupported"
                         : said.event == Event::kUpgradeNoTool      ? "no-tool"
                                                                    : nullptr;
    if (result != nullptr) {
        upgrade.result = result;
        upgrade.evidence.push_back(now_);
        upgrade.has_end = true;
        upgrade.end = now_.at;
    }
    if (said.event == Event::kUpgradeOver) {
        upgrade.has_end = true;
        upgrade.end = now_.at;
        is_upgrading_ = false;
    }
}

void Historian::OnDhcp(const Said& said) {
    const bool is_good = HoldsAny(said.text, {" bound", " renew", "obtained"});
    const bool is_bad = HoldsAny(said.text, {"leasefail", " nak", "no lease", "fail"});
    if (is_good) {
        if (has_open_ && open()->cause == cause::kDhcp) {
            Close(Now());
            state_ = State::kOnline;
            online_since_ms_ = now_.at.passed_ms;
        }
        return;
    }
    if (!is_bad || is_upgrading_) return;
    if (state_ == State::kDialed && now_.at.passed_ms - dhcp_passed_ms_ > kShortestLooks_ms) {
        CameOnline(dialed_at_);
    }
    if (state_ == State::kOnline && !has_open_) Open(now_, true, cause::kDhcp, Certainty::kCertain);
}

void Historian::OnEvent(const Said& said) {
    if (pending_hard_.is_set && !IsOfOtherThread(said.event) && said.event != Event::kResetWaits &&
        said.event != Event::kKillsDhcp) {
        ConfirmHardReset();
    }
    SettleDial();
    switch (said.event) {
        case Event::kTwoSims:
            has_two_sims_ = true;
            // It comes in each pass while the link is up, and offline only where it is switched off.
            if (state_ == State::kDialed || (state_ == State::kOffline && !is_off_ && !in_hard_)) {
                CameOnline(OnlineSince());
            }
            break;
        case Event::kOrla:
            has_orla_ = true;
            break;
        case Event::kHot:
            hot_ = said.number[0];
            break;
        case Event::kVendor:
            // ZTE and the three of Quectel.
            tells_failures_ = said.number[0] >= kFirstTellingVendor && said.number[0] <= kLastTellingVendor;
            break;
        default:
            break;
    }
    OnSim(said);
    OnService(said);
    OnLink(said);
    OnReset(said);
    OnPort(said);
    if (said.event >= Event::kUpgradeAccepted && said.event <= Event::kUpgradeOver) OnUpgrade(said);
    if (said.event == Event::kDhcpClient) OnDhcp(said);
}

void Historian::TakeGuard(const Line& line) {
    constexpr std::string_view kSoft = "SoftReset:1", kHard = "Reset4G:1", kAsked = ", because ";
    const bool is_hard = line.message.substr(0, kHard.size()) == kHard;
    if (!is_hard && line.message.substr(0, kSoft.size()) != kSoft) return;
    // What follows otherwise says that it isn't, or couldn't be, asked for.
    const std::string_view rest = line.message.substr(is_hard ? kHard.size() : kSoft.size());
    guard_asked_.is_set = rest.substr(0, kAsked.size()) == kAsked;
    guard_asked_.evidence = now_;
    guard_kind_ = is_hard ? ResetKind::kHard : ResetKind::kSoft;
}

const Evidence* Historian::GuardsLine(ResetKind kind) {
    const bool is_its = guard_asked_.is_set && guard_kind_ == kind &&
                        now_.at.passed_ms - guard_asked_.evidence.at.passed_ms <= kLongestPass_ms;
    guard_asked_.is_set = false;
    return is_its ? &guard_asked_.evidence : nullptr;
}

void Historian::Take(const Line& line) {
    Ledger& ledger = history_.ledger;
    ++ledger.lines;
    if (line.kind == Line::Kind::kOther) {
        const bool is_guard = line.program == kGuardName;
        const bool is_supervisor =
            !is_guard && HoldsAny(line.program, {"ravelin", "systemd"}) &&
            HoldsAny(line.message, {"the daemon ended", "ravelin-mobile.service: Main process exited"});
        if (!is_guard && !is_supervisor) return;
        now_ = {line.input,
                line.number,
                std::string(line.raw),
                {line.time_ms, line.elapsed_ms, line.elapsed_ms - shift_ms_}};
        if (is_guard) {
            TakeGuard(line);
        } else {
            end_of_run_.is_set = true;
            end_of_run_.evidence = now_;
        }
        return;
    }
    if (line.kind != Line::Kind::kSaid) return;
    ++ledger.messages;
    // Offline the daemon says something all the time: where it doesn't, the clock was set.
    const int64_t step_ms = line.elapsed_ms - last_elapsed_ms_;
    if (state_ == State::kOffline && !is_upgrading_ && !line.begins_run && saw_progress_ &&
        step_ms > kOfflineSilence_ms) {
        shift_ms_ += step_ms - kUsualStep_ms;
    }
    last_elapsed_ms_ = line.elapsed_ms;
    const Said said = Understand(line);
    now_.input = line.input;
    now_.line = line.number;
    now_.at = {line.time_ms, line.elapsed_ms, line.elapsed_ms - shift_ms_};
    if (!ledger.has_lines) {
        ledger.from = now_.at;
        ledger.has_lines = true;
    }
    ledger.to = now_.at;
    if (said.event == Event::kNone && !line.begins_run) {
        SettleDial();
        return;
    }
    now_.text.assign(line.raw);
    if (said.row != nullptr && said.row->level == 5) saw_progress_ = true;
    OnStart(line.begins_run);
    OnEvent(said);
    if (has_open_) open()->end = now_.at;
    if (!IsOfOtherThread(said.event)) last_event_ = said.event;
}

}  // namespace ravelin_log
