#include "tools/metrics/board_metrics.h"

#include <sstream>

#include "tools/guard/core.h"

namespace metrics {

namespace {

using board::Measure;
using board::Verdict;

struct VerdictName {
    Verdict verdict;
    const char* word;
};
// The words of `ravelinctl status --json`.
constexpr VerdictName kVerdicts[] = {{Verdict::kOnline, "online"},     {Verdict::kOffline, "offline"},
                                     {Verdict::kStale, "stale"},       {Verdict::kTorn, "torn"},
                                     {Verdict::kMissing, "missing"},   {Verdict::kUnreadable, "unreadable"},
                                     {Verdict::kNoDaemon, "no-daemon"}};

struct MeasureName {
    Measure measure;
    const char* name;
    const char* unit;
    const char* help;
};
constexpr MeasureName kMeasures[] = {
    {Measure::kRsrp, "ravelin_rsrp_dbm", "dbm", "Strength of the LTE cell's reference signal."},
    {Measure::kRsrq, "ravelin_rsrq_db", "db", "Quality of the LTE cell's reference signal."},
    {Measure::kSinr, "ravelin_sinr_db", "db", "Signal to noise and interference."},
    {Measure::kRssi, "ravelin_rssi_dbm", "dbm", "All that is received in the channel, from AT+CSQ."}};

Family Gauge(const char* name, const char* unit, const char* help) {
    Family family;
    family.name = name;
    family.unit = unit;
    family.help = help;
    return family;
}

Family Gauge(const char* name, const char* unit, const char* help, int64_t value) {
    Family family = Gauge(name, unit, help);
    family.samples.push_back({{}, value * kMilli});
    return family;
}

Family Info(const char* name, const char* help, const std::vector<Label>& labels) {
    Family family = Gauge(name, "", help);
    family.type = Type::kInfo;
    Sample sample;
    sample.value_milli = kMilli;
    for (const Label& label : labels) {
        if (!label.value.empty()) sample.labels.push_back(label);
    }
    if (!sample.labels.empty()) family.samples.push_back(sample);
    return family;
}

std::optional<int> Within(const std::string& text, int least, int most) {
    const std::optional<int> value = board::ParseLevel(text);
    return value && *value >= least && *value <= most ? value : std::optional<int>();
}

Family VerdictFamily(Verdict verdict) {
    Family family =
        Gauge("ravelin_status_verdict", "", "What the status file is worth: 1 for the verdict that holds.");
    for (const VerdictName& row : kVerdicts) {
        family.samples.push_back({{{"verdict", row.word}}, row.verdict == verdict ? kMilli : 0});
    }
    return family;
}

Family Registration(const board::StatusFile& status) {
    Family family = Gauge("ravelin_registration_status", "",
                          "Registration when the modem was asked last, before a dial: 0 none, 1 home, "
                          "2 searching, 3 denied, 4 unknown, 5 roaming.");
    const std::pair<const char*, const char*> networks[] = {{"CEREG", "lte"}, {"CGREG", "packet"}};
    for (const auto& [key, network] : networks) {
        const std::optional<int> value = Within(status.Get(key), 0, 5);
        if (value) family.samples.push_back({{{"network", network}}, *value * kMilli});
    }
    return family;
}

/// What a file that is whole and fresh tells.
void AddStatus(const Seen& seen, std::vector<Family>* families) {
    const board::StatusFile& status = seen.files.status;
    const bool is_online = seen.link.verdict == Verdict::kOnline;
    families->push_back(
        Gauge("ravelin_online", "", "Whether the modem calls the data call up.", is_online ? 1 : 0));
    if (is_online && seen.link.uptime_seconds) {
        families->push_back(Gauge("ravelin_link_uptime_seconds", "seconds", "How long the link has been up.",
                                  *seen.link.uptime_seconds));
    }
    families->push_back(Registration(status));
    const std::optional<int> attempts = Within(status.Get("RetryTimes"), 0, 1'000'000'000);
    if (attempts) {
        Family family = Gauge("ravelin_connect_attempts", "",
                              "Attempts to connect since the daemon was started.", *attempts);
        family.type = Type::kCounter;
        families->push_back(family);
    }
    families->push_back(Gauge("ravelin_two_sims_enabled", "",
                              "Whether the daemon may switch to a second SIM.",
                              status.Get("doubleSIM_enable") == "TRUE" ? 1 : 0));
    // The rest keeps its last value while the link is down, and that isn't known to be true any more.
    if (!is_online) return;
    for (const MeasureName& row : kMeasures) {
        for (const board::Level& level : seen.link.levels) {
            // A value without a word can't be, as 85 dBm.
            if (level.measure != row.measure || !level.quality) continue;
            families->push_back(Gauge(row.name, row.unit, row.help, level.value));
            break;
        }
    }
    const std::optional<int> temperature = Within(status.Get("Tempture"), -60, 150);
    if (temperature && *temperature != 0) {  // 0 is "not read yet"
        families->push_back(
            Gauge("ravelin_modem_temperature_celsius", "celsius", "Temperature of the modem.", *temperature));
    }
}

void AddInfo(const Seen& seen, std::vector<Family>* families) {
    const board::StatusFile& status = seen.files.status;
    if (status.state != board::StatusState::kWhole && seen.model.empty()) return;
    const auto text = [&](const char* key) { return LabelValue(status.Get(key)); };
    families->push_back(
        Info("ravelin_modem", "What the link is made of, as far as it is known.",
             {{"model", seen.model}, {"firmware", text("FWVersion")}, {"operator", text("Carrier")}}));
    // By itself: it changes with every cell, and would make a new series of the modem each time.
    families->push_back(
        Info("ravelin_network", "The radio technology seen last.", {{"technology", text("Network")}}));
    families->push_back(Info("ravelin_daemon", "The daemon's build.", {{"commit", text("GIT_VERSION")}}));
    if (seen.shows_identity) {
        families->push_back(Info("ravelin_sim", "Numbers of SIM and modem.",
                                 {{"imsi", text("IMSI")}, {"iccid", text("ICCID")}, {"imei", text("IMEI")}}));
    }
}

struct CounterRow {
    const char* word;  // the first one of a count's name
    const char* name;
    const char* unit;
    const char* help;
    std::vector<const char*> labels;  // for the words after it
};

void AddCounters(const Counts& counts, int64_t created_seconds, std::vector<Family>* families) {
    static const CounterRow rows[] = {
        {"outage", "ravelin_outages", "", "Outages that have ended, by cause.", {"cause"}},
        {"outage-time", "ravelin_outage_seconds", "seconds", "Time of outages that have ended.", {"cause"}},
        {"reset", "ravelin_resets", "", "Resets by what was reset and why.", {"kind", "reason"}},
        {"upgrade", "ravelin_upgrades", "", "Upgrades of the modem's firmware, by result.", {"result"}},
        {"online", "ravelin_online_seconds", "seconds", "Time online, as far as the log shows it.", {}},
        {"start", "ravelin_daemon_starts", "", "Starts of the daemon.", {}}};
    for (const CounterRow& row : rows) {
        Family family = Gauge(row.name, row.unit, row.help);
        family.type = Type::kCounter;
        family.created_seconds = created_seconds;
        for (const std::string& name : KnownCounts()) {
            std::istringstream words(name);
            std::string word;
            words >> word;
            if (word != row.word) continue;
            Sample sample;
            for (const char* label : row.labels) {
                words >> word;
                sample.labels.push_back({label, word});
            }
            // A series that begins at its first event would hide that one from increase().
            const auto count = counts.find(name);
            sample.value_milli = count == counts.end() ? 0 : count->second;
            family.samples.push_back(sample);
        }
        families->push_back(family);
    }
}

Family Counter(const char* name, const char* unit, const char* help) {
    Family family = Gauge(name, unit, help);
    family.type = Type::kCounter;
    return family;
}

/// The counts are shown for a guard that has ended, too: they outlive it.
void AddGuard(const guard::Shown& shown, bool runs, std::vector<Family>* families) {
    families->push_back(Gauge("ravelin_guard_running", "", "Whether ravelin-guard runs.", runs ? 1 : 0));
    Family resets = Counter("ravelin_guard_resets", "", "Resets that ravelin-guard has asked for.");
    resets.samples = {{{{"kind", "soft"}}, shown.soft_resets * kMilli},
                      {{{"kind", "hard"}}, shown.hard_resets * kMilli}};
    families->push_back(resets);
    if (!runs) return;
    families->push_back(Gauge("ravelin_guard_acts", "",
                              "Whether its settings let ravelin-guard ask for resets.", shown.acts ? 1 : 0));
    Family state = Gauge("ravelin_guard_state", "", "What ravelin-guard sees: 1 for the state that holds.");
    for (const std::string& name : guard::StateNames()) {
        state.samples.push_back({{{"state", name}}, name == shown.state ? kMilli : 0});
    }
    families->push_back(state);
    Family spent =
        Gauge("ravelin_guard_hard_resets_recent", "", "Hardware resets that the guard's budget counts.");
    spent.samples = {{{{"period", "hour"}}, shown.hard_last_hour * kMilli},
                     {{{"period", "day"}}, shown.hard_last_day * kMilli}};
    families->push_back(spent);
    Family limit = Gauge("ravelin_guard_hard_resets_limit", "", "The guard's budget of hardware resets.");
    limit.samples = {{{{"period", "hour"}}, shown.hard_per_hour * kMilli},
                     {{{"period", "day"}}, shown.hard_per_day * kMilli}};
    families->push_back(limit);
    Family bytes =
        Counter("ravelin_guard_probe_bytes", "bytes", "Bytes of the guard's probes since its start.");
    bytes.samples = {{{{"direction", "out"}}, shown.sent_bytes * kMilli},
                     {{{"direction", "in"}}, shown.received_bytes * kMilli}};
    families->push_back(bytes);
    if (shown.alive_ago >= 0) {
        families->push_back(Gauge("ravelin_guard_alive_age_seconds", "seconds",
                                  "How long ago ravelin-guard saw that the link carries something.",
                                  shown.alive_ago));
    }
}

}  // namespace

std::vector<Family> BoardMetrics(const Seen& seen) {
    std::vector<Family> families;
    const Verdict verdict = seen.link.verdict;
    families.push_back(VerdictFamily(verdict));
    if (seen.files.status.state == board::StatusState::kWhole && seen.link.age_seconds) {
        families.push_back(Gauge("ravelin_status_age_seconds", "seconds",
                                 "Age of the status file by its Now=, when these metrics were written.",
                                 *seen.link.age_seconds));
    }
    if (verdict == Verdict::kOnline || verdict == Verdict::kOffline) AddStatus(seen, &families);
    AddInfo(seen, &families);
    if (seen.log_was_read) {
        families.push_back(
            Gauge("ravelin_log_readable", "", "Whether all logs could be read.", *seen.log_was_read ? 1 : 0));
    }
    if (!seen.cause.empty() && verdict != Verdict::kOnline) {
        Family family = Gauge("ravelin_outage_active", "", "The outage that lasts, with its cause so far.");
        family.samples.push_back({{{"cause", seen.cause}}, kMilli});
        families.push_back(family);
    }
    if (seen.guard) AddGuard(*seen.guard, seen.guard_runs, &families);
    if (seen.counts) AddCounters(*seen.counts, seen.created_seconds, &families);
    return families;
}

}  // namespace metrics
