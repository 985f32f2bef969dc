// The waits between the daemon's steps: a modem gets the time that it needs. The ladder's own waits are part
// of that law.
#include "simulator/soak/laws.h"

#include <algorithm>

#include "simulator/soak/time_units.h"
#include "simulator/soak/vendors.h"

namespace soak {

namespace {

constexpr int64_t kExchange_ms = kSecond_ms;
constexpr int64_t kFullBlock_bytes = 256;  // an exchange ends early when there is no more room for the answer
constexpr int64_t kProbeRetry_ms = kExchange_ms + 5 * kSecond_ms;
constexpr int64_t kSimRetry_ms = kExchange_ms + 3 * kSecond_ms;
constexpr int64_t kDialPause_ms = 5 * kSecond_ms;

/// Bytes that an escaped text stands for.
int64_t LengthOf(std::string_view escaped) {
    int64_t length = 0;
    for (size_t i = 0; i < escaped.size(); ++i, ++length) {
        if (escaped[i] == '\\' && i + 1 < escaped.size()) i += escaped[i + 1] == 'x' ? 3 : 1;
    }
    return length;
}

/// From "AT+CFUN=0" to "AT+CFUN=1" in the set-up.
int64_t RadioOffMs(const std::string& family) {
    if (family == "fibocom") return kExchange_ms + 2 * kSecond_ms;
    if (family == "fibocom_le") return kExchange_ms + 3 * kSecond_ms;
    return kExchange_ms + 5 * kSecond_ms;
}

class WaitsLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        switch (entry.kind) {
            case EntryKind::kSends:
                TakeCommand(entry);
                break;
            case EntryKind::kHears:
                if (heard_bytes_ < kFullBlock_bytes) heard_ += entry.text;
                heard_bytes_ += LengthOf(entry.text);
                if (heard_bytes_ >= kFullBlock_bytes) full_ms_ = entry.at_ms;
                break;
            case EntryKind::kLogs:
                TakeLog();
                break;
            case EntryKind::kEnds:
                command_.clear();
                radio_off_ms_ = reset_ms_ = kNever;
                break;
            default:
                break;
        }
    }

  private:
    void TakeCommand(const Entry& entry) {
        if (watch.has_driver && !command_.empty()) {
            const int64_t waited_ms = entry.at_ms - sent_ms_;
            Check(waited_ms, NeededMs(), "after " + command_);
        }
        if (entry.text == "AT+CFUN=0") radio_off_ms_ = entry.at_ms;
        if (entry.text == "AT+CFUN=1" && radio_off_ms_ != kNever) {
            if (full_ms_ < radio_off_ms_ && !watch.is_misled()) {
                Check(entry.at_ms - radio_off_ms_, RadioOffMs(truth.scenario.modem_family),
                      "with the radio off");
            }
            radio_off_ms_ = kNever;
        }
        command_ = watch.has_driver ? std::string(entry.text) : "";
        sent_ms_ = entry.at_ms;
        heard_bytes_ = 0;
        heard_.clear();
    }

    /// What must pass between the last command and the next.
    int64_t NeededMs() const {
        if (heard_bytes_ >= kFullBlock_bytes) return 0;
        if (command_ == "AT+CSQ" && heard_bytes_ == 0 && watch.vendor != kVendorCinterion) {
            return kProbeRetry_ms;
        }
        if (command_ == "AT+CPIN?" && !Contains(heard_, "READY")) return kSimRetry_ms;
        return kExchange_ms;
    }

    void TakeLog() {
        const std::string_view function = watch.log.function, text = watch.log.message;
        if (truth.timing == nullptr || watch.is_misled()) return;
        if (function == "SoftReset" && text == "Soft reset!") {
            reset_ms_ = watch.now_ms;
        } else if (function == "CheckSimCard" && text == "Check SIM!" && reset_ms_ != kNever) {
            // The set-up without the question for the carrier, which some families ask once; radio, IMEI and
            // IMSI.
            constexpr int64_t kQuestions_ms = 3 * kExchange_ms - kExchange_ms;
            if (full_ms_ < reset_ms_) {
                Check(watch.now_ms - reset_ms_, truth.timing->set_up_seconds * kSecond_ms + kQuestions_ms,
                      "for the set-up");
            }
            reset_ms_ = kNever;
        } else if (function == "RunDhcpClient") {
            if (full_ms_ < sent_ms_) {
                Check(watch.now_ms - sent_ms_, kExchange_ms + kDialPause_ms, "after the dial");
            }
        }
    }

    void Check(int64_t waited_ms, int64_t needed_ms, const std::string& what) {
        if (waited_ms < needed_ms - 1) {  // the record cuts microseconds off
            Violated("only " + std::to_string(waited_ms) + " ms " + what + ", and not " +
                     std::to_string(needed_ms));
        }
    }

    std::string command_;
    int64_t sent_ms_ = 0;
    int64_t heard_bytes_ = 0;
    std::string heard_;  // the pieces of an answer
    int64_t full_ms_ = kNever;
    int64_t radio_off_ms_ = kNever;
    int64_t reset_ms_ = kNever;
};

}  // namespace

std::unique_ptr<Law> MakeWaitsLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<WaitsLaw>(watch, std::move(report));
}

}  // namespace soak
