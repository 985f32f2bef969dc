// The end of a story: what each reset achieved, the ledger, and what to do about what was found.
#include <algorithm>
#include <cstdio>

#include "tools/log/history.h"
#include "tools/log/pages.h"

namespace ravelin_log {
namespace {

constexpr double kManyResetsAnHour = 1.0;
constexpr int64_t kLongLog_ms = 6 * kHour_ms;

std::string SecondsText(int64_t ms) {
    return std::to_string((ms + kSecond_ms / 2) / kSecond_ms) + " s";
}

void Advise(History& history, const char* finding, const std::string& text, const char* page) {
    history.advice.push_back({finding, text, page});
}

void TellAchievements(History& history, const std::vector<Moment>& online_at, const Moment& end) {
    size_t next_online = 0;
    for (size_t i = 0; i < history.resets.size(); ++i) {
        Reset& reset = history.resets[i];
        const Moment& at = reset.at;
        while (next_online < online_at.size() && online_at[next_online].passed_ms < at.passed_ms) {
            ++next_online;
        }
        const bool has_online = next_online < online_at.size();
        const bool has_reset = i + 1 < history.resets.size();
        const int64_t online_ms = has_online ? online_at[next_online].passed_ms : 0;
        const int64_t reset_ms = has_reset ? history.resets[i + 1].at.passed_ms : 0;
        if (has_online && (!has_reset || online_ms <= reset_ms)) {
            reset.achieved = "the link was back after " + SecondsText(online_ms - at.passed_ms);
        } else if (has_reset) {
            reset.achieved = std::string("nothing: a ") + WordOf(history.resets[i + 1].kind) +
                             " reset followed after " + SecondsText(reset_ms - at.passed_ms);
        } else {
            reset.achieved =
                "not to be seen: the log ends " + SecondsText(end.passed_ms - at.passed_ms) + " later";
        }
    }
}

}  // namespace

History Historian::Finish() const {
    // What the last lines leave open.
    Historian last = *this;
    if (last.pending_hard_.is_set) last.ConfirmHardReset();
    last.SettleDial();
    History history = last.history_;
    Ledger& ledger = history.ledger;
    if (last.online_since_ms_ >= 0 && last.state_ == State::kOnline) {
        ledger.online_ms += std::max<int64_t>(0, ledger.to.passed_ms - last.online_since_ms_);
    }

    for (const Outage& outage : history.outages) {
        const std::string top = TopOf(outage.cause);
        const int64_t length_ms = std::max<int64_t>(0, outage.length_ms());
        ++ledger.outages[top];
        ledger.outage_ms_by_cause[top] += length_ms;
        ledger.outage_ms += length_ms;
        ledger.longest_outage_ms = std::max(ledger.longest_outage_ms, length_ms);
    }
    for (const Reset& reset : history.resets) {
        ++ledger.resets[reset.reason];
        ++ledger.resets_by_kind[WordOf(reset.kind)];
    }
    TellAchievements(history, last.online_at_, ledger.to);

    for (const CauseRow& row : kCauses) {
        if (ledger.outages.count(row.word) > 0) Advise(history, row.word, row.advice, row.page);
    }
    const double hours = static_cast<double>(ledger.length_ms()) / static_cast<double>(kHour_ms);
    if (hours > 1 && static_cast<double>(history.resets.size()) / hours >= kManyResetsAnHour) {
        Advise(history, "many-resets",
               "More than one reset an hour: no reset mends what is wrong here. Treat the most frequent "
               "cause first.",
               kRecoveryPage);
    }
    for (const Upgrade& upgrade : history.upgrades) {
        if (upgrade.result == "ok") continue;
        Advise(history, "upgrade",
               "An upgrade of the modem's firmware didn't succeed: " + upgrade.result +
                   ". Only the model EG21 can be upgraded, by the tool QFirehose in its place.",
               "docs/upgrade-drill.md");
        break;
    }
    if (last.hot_ != 0) {
        Advise(history, "temperature",
               "The modem was out of its range of temperature (" + std::to_string(last.hot_) +
                   " degrees Celsius at last): look at the cooling.",
               kLogPage);
    }
    if (last.lacked_settings_) {
        Advise(history, "no-settings",
               "The daemon ended because it found no settings file with a valid line: without it there is no "
               "link.",
               kConfigurationPage);
    }
    if (last.was_refused_) {
        Advise(history, "refused-module",
               "network.json doesn't allow this modem on this board: the daemon ends at each start.",
               kConfigurationPage);
    }
    if (last.is_off_ && last.state_ == State::kOnline) {
        Advise(history, "disabled-online",
               "ENABLE=false from the start: the daemon dials all the same, stays online, and doesn't watch "
               "the link.",
               kConfigurationPage);
    }

    // What this log can't tell.
    if (!ledger.has_lines) {
        Advise(history, "empty", "No line of the daemon was found.", kExplainingPage);
        return history;
    }
    if (!last.saw_progress_) {
        Advise(history, "level",
               "The log has no line of level 5: what the daemon decided is there, why and how it went isn't. "
               "Keep level 6, "
               "the default.",
               kExplainingPage);
    }
    if (!last.has_two_sims_ && !last.has_orla_) {
        Advise(history, "no-probes",
               "One SIM, no ORLA: nothing is pinged, so a dead data path is never noticed and leaves no line "
               "at any level. "
               "Only the OCPP service can tell.",
               kRecoveryPage);
    }
    if (!last.has_two_sims_ && last.saw_progress_) {
        Advise(history, "silent-online",
               "Coming online writes no line. The end of an outage is that of its last dial, and is known "
               "only when a later "
               "line shows that it led to a link. Keep ravelin_status or the OCPP service's log beside it.",
               kExplainingPage);
    }
    if (history.ledger.length_ms() > kLongLog_ms && last.state_ == State::kOnline) {
        Advise(history, "silence",
               "A healthy day may have no line at all: without dates, days that are silent can't be counted. "
               "Keep syslog or "
               "the journal, or tell the first day by --date.",
               kExplainingPage);
    }
    return history;
}

}  // namespace ravelin_log
