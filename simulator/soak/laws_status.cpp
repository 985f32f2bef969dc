// The status file: what it says is what the record says, and it is never old.
#include "simulator/soak/laws.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "simulator/soak/status_files.h"
#include "simulator/soak/time_units.h"
#include "simulator/soak/vendors.h"

namespace soak {

namespace {

/// Lines of the file in their order. Two of them stand there for some modems or settings only.
constexpr const char* kKeys[] = {"IMSI",     "ICCID",       "IMEI",    "AutoConnect", "Online",
                                 "Carrier",  "APN",         "CSQ",     "CGREG",       "CEREG",
                                 "Uptime",   "RetryTimes",  "Network", "FWVersion",   "doubleSIM_enable",
                                 "Tempture", "GIT_VERSION", "Now"};

/// What is published agrees with the record: attempts, the link, settings, signal.
class StatusLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        clock_.Take(entry);
        switch (entry.kind) {
            case EntryKind::kLogs:
                TakeLog();
                break;
            case EntryKind::kSends:
                TakeQuestion(entry.text);
                break;
            case EntryKind::kHears:
                TakeHeard(entry.text);
                break;
            case EntryKind::kPublishes:
                if (StartsWith(entry.text, kStatusFile)) TakePublished(entry.text.substr(kStatusFile.size()));
                break;
            case EntryKind::kEnds:
                given_up_ms_ = entry.at_ms;  // the next run says so first
                dialled_ms_ = kNever;
                knows_csq_ = false;
                break;
            default:
                break;
        }
        Shown shown;
        if (!gatherer_.Take(entry, &shown)) return;
        TakeSignal(shown);
        if (watch.is_calm()) TakeShown(shown, PublishedKey(entry));
    }

  private:
    void TakeLog() {
        const std::string_view function = watch.log.function, text = watch.log.message;
        if (function == "RunDhcpClient") dialled_ms_ = watch.now_ms;
        const bool ends_link =
            (function == "SoftReset" && text == "Soft reset!") ||
            (function == "Task" && (Contains(text, "Reset device...") || Contains(text, "DeviceReset run") ||
                                    StartsWith(text, "lte ENABLE=false") ||
                                    NumberAfter(text, "Check connection. offline ") > 10)) ||
            (function == "CheckIfSimCardReady" && Contains(text, "SIM is not ready!"));
        if (ends_link) given_up_ms_ = watch.now_ms;
    }

    void TakeHeard(std::string_view bytes) {
        // Two families report their link, and are believed.
        if (Contains(bytes, "DATASTATUS")) dialled_ms_ = given_up_ms_ = watch.now_ms;
        if (!asks_signal_ || watch.now_ms >= asked_ms_ + kSecond_ms || !Contains(bytes, "+CSQ")) return;
        asks_signal_ = !knows_csq_ && ReadSignalAnswer(bytes, &csq_);
        knows_csq_ = asks_signal_;  // which of two the daemon takes is open
        csq_ms_ = watch.now_ms;
    }

    /// Only an answer that leaves no doubt tells what the daemon takes from it.
    void TakeQuestion(std::string_view command) {
        asks_signal_ = command == "AT+CSQ";
        if (!asks_signal_) return;
        asked_ms_ = watch.now_ms;
        knows_csq_ = false;
    }

    void TakeSignal(const Shown& shown) {
        const std::string* now = shown.Find("Now");
        const std::string* csq = shown.Find("CSQ");
        int64_t seconds = 0;
        if (!knows_csq_ || csq == nullptr || now == nullptr || !ReadNow(*now, &seconds)) return;
        if (clock_.jumped_ms() > csq_ms_ || seconds <= clock_.Seconds(csq_ms_) + 1) {
            return;  // it was written before
        }
        const std::string wanted = csq_ > 0 ? std::to_string(csq_) : "";
        if (*csq != wanted) Violated("CSQ=" + *csq + " is shown where " + wanted + " is right");
    }

    void TakePublished(std::string_view line) {
        const std::string text(line);
        const bool is_change =
            watch.online_changed_ms == watch.now_ms;  // a file that was empty says all again
        if (line == "Online=TRUE" && is_change) {
            if (dialled_ms_ < changed_ms_) Violated("Online=TRUE without a dial");
            changed_ms_ = watch.now_ms;
        } else if (line == "Online=FALSE" && is_change) {
            // What a pass finds out while it probes is written at its end: a link may be given up before
            // it was told to be there.
            if (given_up_ms_ < std::min(changed_ms_, dialled_ms_)) {
                Violated("Online=FALSE though the link wasn't given up");
            }
            changed_ms_ = watch.now_ms;
        } else if (StartsWith(line, "RetryTimes=") && NumberAfter(line, "RetryTimes=") != watch.attempts) {
            Violated(text + " after " + std::to_string(watch.attempts) + " attempts");
        }
    }

    /// The line that an entry publishes; empty for any other entry.
    static std::string_view PublishedKey(const Entry& entry) {
        if (entry.kind != EntryKind::kPublishes || !StartsWith(entry.text, kStatusFile)) return "";
        const std::string_view line = entry.text.substr(kStatusFile.size());
        return line.substr(0, line.find('='));
    }

    /// `new_key` was published after that, by the entry at which the file was seen to be whole.
    void TakeShown(const Shown& shown, std::string_view new_key) {
        TakeOrder(shown);
        const auto expect = [&](const char* key, const std::string& wanted) {
            const std::string* value = shown.Find(key);
            if (value != nullptr && *value != wanted) {
                Violated(std::string(key) + "=" + *value + " is shown where " + wanted + " is right");
            }
        };
        expect("Online", "TRUE");
        expect("RetryTimes", std::to_string(watch.attempts));
        for (const auto& [key, value] : watch.status) {
            const bool is_clock = key == "Now" || key == "Uptime";
            if (!is_clock && key != new_key) expect(key.c_str(), value);
        }
        TakeSettings(shown);
        TakeUptime(shown);
    }

    void TakeOrder(const Shown& shown) {
        size_t next = 0;
        for (const char* key : kKeys) {
            const bool is_here = next < shown.lines.size() && shown.lines[next].first == key;
            if (is_here) {
                ++next;
                while (IsRest(shown, next)) ++next;
            } else if (IsWanted(key)) {
                return Violated(std::string("the line ") + key + "= is missing, or in another place");
            }
        }
        if (next != shown.lines.size()) Violated("a line that nobody knows: " + shown.lines[next].first);
    }

    /// A text of the modem may have had a line end in it: what stands after that isn't a line of the file's
    /// own.
    static bool IsRest(const Shown& shown, size_t line) {
        constexpr std::string_view kReturn = R"(\r)";
        if (line >= shown.lines.size()) return false;
        const std::string& before = shown.lines[line - 1].second;
        const bool is_known =
            std::find(std::begin(kKeys), std::end(kKeys), shown.lines[line].first) != std::end(kKeys);
        return !is_known && before.size() >= kReturn.size() &&
               before.substr(before.size() - kReturn.size()) == kReturn;
    }

    bool IsWanted(const std::string& key) const {
        if (key == "doubleSIM_enable") return truth.board.has_two_sims;
        if (key == "Tempture") return watch.vendor == kVendorQuectelQcom || watch.vendor == kVendorCinterion;
        return true;
    }

    void TakeSettings(const Shown& shown) {
        const SettingsChange* now = nullptr;
        for (const SettingsChange& change : truth.settings) {
            if (change.at_ms <= shown.at_ms) now = &change;
        }
        if (now == nullptr) return;
        const auto apn = now->values.find("APN");
        const std::string* shown_apn = shown.Find("APN");
        if (apn == now->values.end() || shown_apn == nullptr) return;
        std::string wanted = apn->second;
        if (wanted.size() >= 2 && wanted.front() == '\'' && wanted.back() == '\'') {
            wanted = wanted.substr(1, wanted.size() - 2);
        }
        if (*shown_apn != "'" + wanted + "'") {
            Violated("APN=" + *shown_apn + " is shown where '" + wanted + "' is set");
        }
    }

    /// The time since the link came up, which is at most a long step before it was published: a daemon that
    /// starts while it is switched off connects once, and then waits.
    void TakeUptime(const Shown& shown) {
        const std::string* uptime = shown.Find("Uptime");
        const std::string* now = shown.Find("Now");
        int hours = 0, minutes = 0, seconds = 0;
        int64_t now_seconds = 0;
        const std::string& family = truth.scenario.modem_family;
        const bool is_reported =
            family == "longsung" || family == "nodecom";  // its time isn't that of the report
        if (uptime == nullptr || now == nullptr || is_reported) return;
        if (sscanf(uptime->c_str(), "%d:%d:%d", &hours, &minutes, &seconds) != 3 ||
            !ReadNow(*now, &now_seconds)) {
            return Violated("the clock lines can't be read: Uptime=" + *uptime + ", Now=" + *now);
        }
        // It may have been published late, or never.
        if (PingsHung() || FilesWereInTheWay(truth, watch.online_changed_ms - truth.step_ms, watch.now_ms)) {
            return;
        }
        const int64_t said = hours * int64_t{3600} + minutes * 60 + seconds;
        const int64_t written_ms = shown.at_ms - (clock_.Seconds(shown.at_ms) - now_seconds) * kSecond_ms;
        const int64_t wanted = (written_ms - watch.online_changed_ms) / kSecond_ms;
        if (said < wanted - 2 || said > wanted + truth.step_ms / kSecond_ms) {
            Violated("Uptime=" + *uptime + " though the link has been up for " + std::to_string(wanted) +
                     " s");
        }
    }

    /// The link is published after its first pass, and a ping that hangs isn't given up.
    bool PingsHung() const {
        return truth.HasFaultWithin("ping_hangs", watch.online_changed_ms - truth.step_ms,
                                    watch.online_changed_ms);
    }

    Gatherer gatherer_{kStatusFile, kKeys[0]};
    Clock clock_;
    int64_t dialled_ms_ = kNever;
    int64_t given_up_ms_ = kNever;
    int64_t changed_ms_ = 0;  // when the link was last said to be up or down
    bool asks_signal_ = false;
    int64_t asked_ms_ = kNever;
    int64_t csq_ = 0;
    int64_t csq_ms_ = kNever;
    bool knows_csq_ = false;  // since the last question
};

/// The file is rewritten in each pass: what is shown was written a moment ago.
class FreshLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        clock_.Take(entry);
        Shown shown;
        if (!gatherer_.Take(entry, &shown) || !watch.is_running) return;
        const int64_t limit_ms = watch.is_calm() ? truth.pass_ms : LenientLimit(shown.at_ms);
        const std::string* now = shown.Find("Now");
        int64_t seconds = 0;
        if (now == nullptr || !ReadNow(*now, &seconds)) {
            if (watch.is_calm()) Violated("the status file is missing, or cut");
            return;
        }
        const int64_t age_seconds = clock_.Seconds(shown.at_ms) - seconds;
        if (limit_ms > 0 && (age_seconds > limit_ms / kSecond_ms || age_seconds < 0)) {
            Violated("the status file is " + std::to_string(age_seconds) + " s old");
        }
    }

  private:
    /// While something is wrong: three minutes, as its readers are told, but for what holds the daemon or the
    /// file up.
    int64_t LenientLimit(int64_t at_ms) const {
        constexpr int64_t kThreeMinutes_ms = 180 * kSecond_ms;
        const int64_t from_ms = at_ms - kThreeMinutes_ms;
        if (!watch.has_driver || watch.got_driver_ms > from_ms || clock_.jumped_ms() > from_ms) return 0;
        for (const char* fault : {"ping_hangs", "script_slow", "folder_gone", "status_blocked", "files_full",
                                  "files_readonly", "late", "flood", "garbage", "chatter"}) {
            if (truth.HasFaultWithin(fault, from_ms, at_ms)) return 0;
        }
        return kThreeMinutes_ms;
    }

    Gatherer gatherer_{kStatusFile, kKeys[0]};
    Clock clock_;
};

}  // namespace

std::unique_ptr<Law> MakeStatusLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<StatusLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeFreshLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<FreshLaw>(watch, std::move(report));
}

}  // namespace soak
