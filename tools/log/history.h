// What happened, told from the log: outages with their cause, resets with their reason, upgrades, a ledger,
// and advice. Knows the recovery ladder by what it logs. What the log can't prove is said to be probable, or
// unknown.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tools/log/catalogue.h"
#include "tools/log/causes.h"
#include "tools/log/reader.h"

namespace ravelin_log {

struct Moment {
    int64_t time_ms = 0;     // as Line has it
    int64_t elapsed_ms = 0;  // the same
    int64_t passed_ms = 0;   // since the first line, without any jump of the clock: for durations
};

/// A line that proves something.
struct Evidence {
    int input = 0;
    int64_t line = 0;
    std::string text;  // the whole line, as it stands in the log
    Moment at;
};

enum class Certainty { kUnknown, kProbable, kCertain };
const char* WordOf(Certainty certainty);

struct Outage {
    bool has_begin = false;  // false: the log begins in it
    bool has_end = false;    // false: it lasts, or nothing shows its end
    bool is_open = true;     // it lasts at the end of the log, as far as one can see
    Moment begin;            // without has_begin: of the first line that shows it
    Moment end;              // without has_end: of the last line that shows it
    std::string cause = cause::kUnknown;
    Certainty certainty = Certainty::kUnknown;
    std::vector<Evidence> evidence;
    std::vector<size_t> resets;  // within it; indexes of History::resets
    std::string would_tell;      // for an unknown cause: what would have told it

    bool has_seconds() const { return has_begin && has_end; }
    int64_t length_ms() const { return end.passed_ms - begin.passed_ms; }
};

enum class ResetKind { kSoft, kHard, kSimSwitch };
const char* WordOf(ResetKind kind);

struct Reset {
    Moment at;
    ResetKind kind = ResetKind::kSoft;
    std::string reason = cause::kUnknown;
    Certainty certainty = Certainty::kUnknown;
    std::vector<Evidence> evidence;
    std::string achieved;  // a sentence for people
    std::string next;      // the next rung of the ladder, the same
};

struct Upgrade {
    Moment begin;
    bool has_end = false;
    Moment end;
    std::string result = "unknown";  // "ok", "failed", "unsupported", "no-tool"
    std::vector<Evidence> evidence;
};

struct Ledger {
    bool has_lines = false;
    Moment from;
    Moment to;
    int64_t online_ms = 0;
    int64_t outage_ms = 0;  // of all outages, to the last line that shows them
    int64_t longest_outage_ms = 0;
    int starts = 0;  // of the daemon, that the log shows
    int64_t lines = 0;
    int64_t messages = 0;
    std::map<std::string, int> outages;  // by cause, without what stands after a slash
    std::map<std::string, int64_t> outage_ms_by_cause;
    std::map<std::string, int> resets;  // by reason
    std::map<std::string, int> resets_by_kind;

    int64_t length_ms() const { return to.passed_ms - from.passed_ms; }
};

struct Advice {
    std::string finding;  // a word, for programs
    std::string text;
    std::string page;  // where more stands
};

struct History {
    std::vector<Outage> outages;
    std::vector<Reset> resets;
    std::vector<Upgrade> upgrades;
    Ledger ledger;
    std::vector<Advice> advice;
};

class Historian {
  public:
    /// Takes the next line of the log.
    void Take(const Line& line);
    /// What is known so far; for a follower, outages may still change.
    const History& history() const { return history_; }
    /// What is known when no more lines come: with ledger and advice.
    History Finish() const;

    enum class State {
        kUnknown,   // the log has begun in the middle
        kStarting,  // the daemon has begun, and hasn't been online yet
        kOffline,
        kDialed,  // the dial was taken; the modem is asked whether the link is up
        kOnline,
    };
    /// Whether the link is up now, as far as the log tells.
    State state() const { return state_; }
    /// The same in words: for the ends of a story.
    const char* StateText() const;
    /// When the link came up; often known only from a later line, so that one is added with a time gone by.
    const std::vector<Moment>& online_at() const { return online_at_; }

  private:
    /// What is needed of a line that may become evidence.
    struct Mark {
        bool is_set = false;
        Evidence evidence;
    };

    void Note(Mark* mark);
    void Decide(Event decision);
    void OnStart(bool begins_run);
    void OnEvent(const Said& said);
    void OnLink(const Said& said);
    void OnService(const Said& said);
    void OnSim(const Said& said);
    void OnReset(const Said& said);
    void OnPort(const Said& said);
    void OnUpgrade(const Said& said);
    void OnDhcp(const Said& said);
    void TakeGuard(const Line& line);
    /// What the guard has said of the reset that is carried out now; null where it wasn't its.
    const Evidence* GuardsLine(ResetKind kind);
    const Evidence* OpenCommanded(ResetKind kind);

    Outage* open();
    Outage& Open(const Evidence& begin, bool has_begin, const char* cause, Certainty certainty);
    /// An outage is there from `begin` on, whatever becomes of its cause.
    Outage& Ensure(const char* cause, Certainty certainty);
    void SetCause(Outage& outage, const std::string& cause, Certainty certainty);
    void Prove(Outage& outage, const Evidence& evidence);
    void Close(const Moment& end);
    void CloseWithoutEnd();
    void CameOnline(const Moment& at);
    void ShowOnline();
    Moment OnlineSince() const;
    void SettleDial();
    void AddReset(ResetKind kind, const std::string& reason, Certainty certainty,
                  const std::vector<Evidence>& evidence);
    void NotePathOutage();
    void ExpectHardReset(const std::string& why, Certainty certainty);
    void ConfirmHardReset();
    bool IsWeak(const Outage& outage) const;
    void Mute();
    void JudgeSim(bool is_registered);
    void JudgeSearch(int64_t state);
    Moment Now() const { return now_.at; }

    History history_;
    State state_ = State::kUnknown;
    bool has_open_ = false;
    Evidence now_;  // the line at hand
    bool has_time_ = false;
    int64_t shift_ms_ = 0;  // time that only a jump of the clock has made
    int64_t last_elapsed_ms_ = 0;
    bool is_first_start_ = false;  // the log has begun with it, and the link hasn't been up since

    // The link
    std::vector<Evidence> failed_checks_;  // the series at hand: first and last
    int64_t failed_count_ = 0;             // the number that the last one of it said
    Mark asked_sim_;                       // as the link was down
    Mark sim_lost_;                        // and it wasn't ready
    Mark look_answered_;           // the last look that the modem has answered, where the log shows it
    bool sim_hesitated_ = false;   // it was ready, but not at once
    bool tells_failures_ = false;  // a family that logs each look that fails
    int failed_looks_ = 0;         // of the attempt at hand
    bool tells_looks_ = false;     // a family that logs each answer to a look
    Mark look_down_;               // the modem has just called the link down
    Mark dial_;
    Moment dialed_at_;  // the DHCP client was started, or the last look failed after it
    int64_t dhcp_passed_ms_ = 0;
    int dials_ = 0;          // within the outage, in vain so far
    int refused_dials_ = 0;  // the same, as far as the modem said so
    int untold_dials_ = 0;   // those of dials_ after which the modem wasn't registered, either
    int64_t online_since_ms_ = -1;
    std::vector<Moment> online_at_;  // when the link came up, as far as the log shows it
    bool saw_progress_ = false;      // lines of level 5: silence tells something
    bool is_off_ = false;

    // The network
    Mark first_check_;  // without service, since the last service
    int64_t checks_ = 0;
    int searching_ = 0;  // answers of that kind within the outage
    int denied_ = 0;
    int not_denied_ = 0;     // answers of any other kind
    bool answered_ = false;  // the modem has said anything since the outage began
    bool sim_confirmed_ = false;
    bool sim_flag_lost_ = false;         // the SIM wasn't ready when it was asked last
    bool modem_hid_sim_ = false;         // the modem was mute then: it hid its own number, too
    bool sim_flag_judged_ = false;       // by what the modem said of its registration next
    bool judged_by_second_sim_ = false;  // which may never have been there
    bool registered_ = false;            // the modem has said so since the link was lost
    Mark registration_;                  // the last answer of that kind
    int idle_ = 0;                       // answers that say "doesn't search", since the link was lost
    bool searched_first_ = false;        // or one that says "searches" came before
    bool sim_was_there_ = false;         // it was asked as the link went down, and was ready
    bool dialed_since_reset_ = false;
    bool imei_told_ = false;
    bool has_two_sims_ = false;
    bool has_orla_ = false;
    bool not_lte_ = false;
    bool path_probed_ = false;  // level 7: LTE, and no ping was answered
    Mark path_failed_;          // first of the failed checks at hand
    bool path_series_is_new_ = false;
    size_t path_outages_ = 0;  // how many outages there were when the last one by such checks was opened

    // Resets
    Event decision_ = Event::kNone;  // the last that can explain a reset
    Evidence decision_line_;
    Mark pending_hard_;
    std::string hard_reason_;
    Certainty hard_certainty_ = Certainty::kUnknown;
    std::vector<Evidence> hard_evidence_;
    bool in_hard_ = false;
    bool in_switch_ = false;
    bool awaits_soft_ = false;  // listed already by the line that decided on it
    Event last_event_ = Event::kNone;

    // Others
    bool is_upgrading_ = false;
    bool run_ended_ = false;  // the last lines said why
    Mark end_of_run_;         // what the supervisor said of it
    Mark guard_asked_;        // for a reset that hasn't been carried out yet
    ResetKind guard_kind_ = ResetKind::kSoft;
    int weakest_rsrp_ = 0;
    int64_t hot_ = 0;
    bool was_refused_ = false;      // the module, by network.json
    bool lacked_settings_ = false;  // at a start, which ends then
};

}  // namespace ravelin_log
