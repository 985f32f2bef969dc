// The guard's decisions, and nothing else: no file, no socket, no clock. The program around it looks every
// few seconds, tells what it saw, and does what is decided. docs/guard.md has the rules with their reasons.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/guard/ledger.h"

namespace guard {

/// What guard.conf may change.
struct Rules {
    int64_t silence_seconds = 120;    // so long without traffic, and a probe is sent
    int64_t traffic_bytes = 1000;     // in that time; less is what a modem says by itself: ARP, RA, DHCP
    int64_t interval_seconds = 600;   // between probes that are answered
    int64_t failed_seconds = 300;     // of failed rounds, before a soft reset
    int64_t soft_wait_seconds = 240;  // for what a soft reset needs: 45 s, and up to 120 s to dial and lease
    int64_t pause_seconds = 1800;     // after a hard reset, the first time
    int64_t pause_limit_seconds = 4 * kHour_seconds;
    int64_t hard_per_hour = kMostPerHour;
    int64_t hard_per_day = kMostPerDay;
};

constexpr int64_t kRetry_seconds = 30;         // between rounds that fail
constexpr int64_t kFailedAgain_seconds = 120;  // of failed rounds after a soft reset, before a hard one
constexpr int64_t kSettle_seconds = 120;       // online, with an interface, before anything is believed
constexpr int64_t kFresh_seconds = 180;        // since Now= has changed; see docs/status-files.md
constexpr int64_t kGap_seconds = 60;           // between two looks: the board slept, or the guard was held up
constexpr int64_t kForgiven_seconds = kHour_seconds;   // of life, and pauses begin anew
constexpr int64_t kProve_seconds = 6 * kHour_seconds;  // between questions to probes that were never answered
constexpr int kFewestRounds = 4;                       // that fail, whatever the time

enum class ProbeKind { kDns, kTcp, kIcmp };

enum class ProbeVerdict {
    kAnswered,
    kCaptive,  // an answer that isn't the network's: counts as none
    kSilent,
    kNoRoute,  // no address, no route: nothing could be sent, and counts as none
    kNotRun,   // the board's own fault, which says nothing of the link
};

struct ProbeResult {
    ProbeKind kind = ProbeKind::kDns;
    uint32_t host = 0;  // its address
    int number = 0;     // its place in guard.conf, from 0
    ProbeVerdict verdict = ProbeVerdict::kNotRun;
};

struct Round {
    std::vector<ProbeResult> results;
};

enum class StatusSight { kWhole, kUnusable };

struct Look {
    int64_t now = 0;  // seconds since boot, sleep included
    StatusSight status = StatusSight::kUnusable;
    bool is_online = false;
    std::string written;  // the text of Now=: only whether it changes
    int64_t uptime = -1;  // of the link; negative: not known
    bool is_upgrading = false;
    bool has_interface = false;
    uint64_t received_bytes = 0;   // counter of the interface
    int64_t probe_bytes = 0;       // of these, those that the probes of all rounds brought: no sign of life
    int64_t probes = 0;            // a bit for each of the settings
    bool can_act = false;          // the settings name two kinds of probes at two addresses
    const Round* round = nullptr;  // that has ended since the last look
};

enum class Action { kNone, kProbeOne, kProbeAll, kSoftReset, kHardReset };

enum class State {
    kNoStatus,  // the daemon's status is old, missing or unusable
    kOffline,   // its own ladder is at work
    kUpgrading,
    kNoInterface,
    kSettling,
    kTraffic,    // bytes come in
    kQuiet,      // none, and the last probe was answered, or none was sent yet
    kSuspect,    // probes fail, not for long enough
    kAfterSoft,  // waits for what a soft reset needs
    kPause,      // after a hardware reset, and the link is still dead
    kNoBudget,   // a hard reset is due, and there is none left
    kWatchOnly,  // it would act, and the settings don't let it
};

/// In the order of the states.
const std::vector<std::string>& StateNames();
const char* NameOf(State state);
const char* NameOf(ProbeKind kind);
const char* NameOf(ProbeVerdict verdict);

struct Decision {
    Action action = Action::kNone;
    int probe = 0;  // of kProbeOne: its number
    State state = State::kNoStatus;
    std::string line;  // for syslog, with the reason; empty where nothing is new
};

class Core {
  public:
    /// `probes` is the number of the settings' probes; see Settings::ProbesNumber.
    Core(const Rules& rules, const Ledger& ledger, int64_t probes);

    /// Once every few seconds. A reset stands in the ledger before it is returned: save that first, and if it
    /// can't be saved, call Withdraw and ask for nothing.
    Decision Decide(const Look& look);

    /// The reset that was decided last isn't made.
    void Withdraw();

    const Ledger& ledger() const { return ledger_; }
    /// Something stands in it that grows older, so that it is worth saving from time to time.
    bool HasMemory() const;
    int64_t alive_at() const { return alive_at_; }
    int64_t failing_since() const { return failing_since_; }

  private:
    void SeeStatus(const Look& look);
    void SeeInterface(const Look& look);
    void SeeRound(const Look& look);
    void Live(int64_t now);
    bool IsComplete(const Round& round, bool needs_proof) const;
    void Doubt() { failing_since_ = complete_since_ = -1, complete_rounds_ = 0, is_proven_ = true; }
    bool HasFailedFor(int64_t now, int64_t wanted_seconds) const;
    int64_t TakePause(int64_t now);
    State Ground(const Look& look) const;
    Decision OnGround(const Look& look);
    Decision Ladder(const Look& look);
    Decision Probe(const Look& look, State state);
    Decision AskSoft(const Look& look);
    Decision AskHard(const Look& look);
    std::string WhyDead(int64_t now) const;

    Rules rules_;
    Ledger ledger_;
    Ledger before_;  // the last reset
    int64_t last_now_ = -1;
    int64_t started_at_ = -1;

    std::string written_;
    int64_t fresh_at_ = -1;  // -1: Now= hasn't been seen to change
    bool is_online_ = false;
    int64_t online_since_ = -1;
    int64_t uptime_ = -1;

    int64_t interface_since_ = -1;
    uint64_t counter_ = 0;
    int64_t probe_counter_ = 0;
    int64_t window_start_ = -1;
    int64_t window_bytes_ = 0;
    int64_t traffic_at_ = -1;

    int64_t alive_at_ = -1;
    int64_t alive_since_ = -1;
    int64_t probed_at_ = -1;  // a round was asked for
    int64_t failing_since_ = -1;
    int64_t complete_since_ = -1;  // rounds that failed by two kinds at two addresses, without a break
    int complete_rounds_ = 0;
    bool is_proven_ = true;  // these rounds failed by probes that were answered before
    int64_t proof_asked_at_ = -1;
    int preferred_ = 0;  // the first probe that was answered when all were sent
    std::string last_round_;
    int64_t withdrawn_at_ = -1;

    State state_ = State::kNoStatus;
    bool is_first_ = true;
};

}  // namespace guard
