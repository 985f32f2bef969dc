// The way back to a link: in time, and then left in peace; what the board's scripts and its settings ask for.
#include "simulator/soak/laws.h"

#include "simulator/soak/time_units.h"

namespace soak {

namespace {

/// Once everything is healthy for the longest time that the ladder can need, the link is up.
class RecoveryLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry&) override {
        const Healthy* healthy = watch.healthy();
        if (healthy == nullptr || healthy == judged_ || !watch.is_calm()) return;
        judged_ = healthy;
        if (watch.is_online) return;
        Violated("no link " + std::to_string(truth.recovery_ms / kSecond_ms) +
                 " s after everything was healthy again");
    }

  private:
    const Healthy* judged_ = nullptr;
};

/// What mustn't be seen while nothing is wrong.
struct Disturbance {
    std::string_view function;
    std::string_view start;
};
constexpr Disturbance kDisturbances[] = {
    {"SoftReset", "Soft reset!"},
    {"main", "kill udhcpc lte!!!"},
    {"Connect", "Do connect."},
    {"Connect", "Check service"},
    {"Task", "Check connection. offline"},
    {"Task", "No response!"},
    {"Task", "Cinterion PLS83-W"},
    {"Task", "lte ENABLE=false"},
    {"SwitchSIMCard", "The wireless network"},
    {"CheckNetwork", "Ping Check failed"},
};

class PeaceLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (!watch.is_calm()) return;
        if (entry.kind == EntryKind::kLogs) {
            for (const Disturbance& each : kDisturbances) {
                if (watch.log.function == each.function && StartsWith(watch.log.message, each.start)) {
                    Violated("nothing is wrong, and yet \"" + std::string(watch.log.message) + "\"");
                }
            }
        } else if (entry.kind == EntryKind::kPublishes &&
                   entry.text == "/run/network/ravelin_status Online=FALSE") {
            Violated("nothing is wrong, and yet Online=FALSE");
        }
    }
};

/// A request through the pipe is carried out once, soon, and not without having been made.
class RequestsLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.kind == EntryKind::kEnds) soft_ = hard_ = {};
        if (entry.kind == EntryKind::kLogs) TakeLog();
        for (Request* request : {&soft_, &hard_}) {
            const bool is_late =
                request->is_pending && watch.is_calm() && watch.now_ms > request->since_ms + truth.pass_ms;
            if (!is_late) continue;
            Violated(std::string(request->name) + " was asked for and isn't carried out");
            request->is_pending = false;
        }
    }

  private:
    struct Request {
        const char* name = "";
        bool is_pending = false;
        int64_t since_ms = 0;
    };

    void TakeLog() {
        const std::string_view function = watch.log.function, text = watch.log.message;
        if (function == "handle_command") {
            if (text == "[FIFO]SoftReset:1") Ask(&soft_, "a soft reset");
            if (text == "[FIFO]Reset4G:1" || text == "[FIFO]S84Reset4G:1") Ask(&hard_, "a hardware reset");
        } else if (function == "Task") {
            if (text == "[FIFO] SoftReset run") CarryOut(&soft_);
            if (text == "[FIFO] DeviceReset run") CarryOut(&hard_);
        }
    }

    void Ask(Request* request, const char* name) {
        if (!watch.has_driver || watch.is_upgrading) return;  // dropped
        if (!request->is_pending) request->since_ms = watch.now_ms;
        request->is_pending = true;
        request->name = name;
    }

    void CarryOut(Request* request) {
        if (!request->is_pending) {
            Violated("\"" + std::string(watch.log.message) +
                     "\" though nobody asked, or only during an upgrade");
        }
        request->is_pending = false;
    }

    Request soft_;
    Request hard_;
};

/// While the link is up, the settings are read anew in each pass: another APN is published and ENABLE=false
/// obeyed at once, and ENABLE=true within the half minute that a disabled daemon takes.
class SettingsLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        while (next_ < truth.settings.size() && truth.settings[next_].at_ms <= watch.now_ms) {
            Change(truth.settings[next_++]);
        }
        if (entry.kind == EntryKind::kEnds) is_due_ = false;
        if (entry.kind == EntryKind::kPublishes && is_due_ && IsMet(entry.text)) is_due_ = false;
        if (entry.kind == EntryKind::kLogs && is_due_ && IsObeyed()) is_due_ = false;
        if (!is_due_ || watch.now_ms <= due_ms_) return;
        is_due_ = false;
        // Another fault may have begun meanwhile.
        if (truth.FaultsWithin(since_ms_, due_ms_) == 1) {
            Violated("the settings of " + std::to_string(since_ms_ / kSecond_ms) +
                     " s are not taken: " + key_ + "=" + value_);
        }
    }

  private:
    void Change(const SettingsChange& change) {
        const std::map<std::string, std::string> before = values_;
        if (change.is_there) {
            for (const auto& [key, value] : change.values) values_[key] = value;
        }
        is_due_ = false;  // what was due is no longer there, and may never have been read
        if (!change.is_there || !watch.is_online || !IsCalmBefore(change.at_ms)) return;
        for (const char* key : {"APN", "ENABLE"}) {
            const auto old = before.find(key);
            const auto now = values_.find(key);
            if (now == values_.end()) continue;
            if (old != before.end() && WithoutQuotes(old->second) == WithoutQuotes(now->second)) continue;
            if (key == std::string("ENABLE") && now->second != "false") continue;
            if (now->second.find('=') != std::string::npos) {
                continue;  // what the file store makes of it is its own affair
            }
            key_ = key;
            value_ = now->second;
            is_due_ = true;
            since_ms_ = change.at_ms;
            due_ms_ = change.at_ms + truth.pass_ms + kSecond_ms;
        }
    }

    /// A value counts without its quotes, and one may be torn off.
    static std::string WithoutQuotes(const std::string& value) {
        const size_t begin = value.find_first_not_of('\'');
        if (begin == std::string::npos) return "";
        return value.substr(begin, value.find_last_not_of('\'') + 1 - begin);
    }

    /// The change is what ends a calm stretch.
    bool IsCalmBefore(int64_t at_ms) const {
        for (const Healthy& healthy : truth.healthy) {
            if (healthy.to_ms != at_ms) continue;
            return truth.may_settle && at_ms >= healthy.from_ms + truth.recovery_ms && !watch.is_misled();
        }
        return false;
    }

    bool IsMet(std::string_view published) const {
        return key_ == "APN" && StartsWith(published, "/run/network/ravelin_status APN='");
    }

    bool IsObeyed() const {
        return key_ == "ENABLE" && watch.log.function == "Task" &&
               StartsWith(watch.log.message, "lte ENABLE=false, disconnect network");
    }

    size_t next_ = 0;
    std::map<std::string, std::string> values_;
    bool is_due_ = false;
    int64_t since_ms_ = 0;
    int64_t due_ms_ = 0;
    std::string key_;
    std::string value_;
};

}  // namespace

std::unique_ptr<Law> MakeRecoveryLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<RecoveryLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakePeaceLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<PeaceLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeRequestsLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<RequestsLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeSettingsLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<SettingsLaw>(watch, std::move(report));
}

}  // namespace soak
