// The bus: each question gets its answer, at once, in a frame that its peer can read; and an upgrade is
// reported once and kept from resets.
#include "simulator/soak/laws.h"

#include <vector>

#include "simulator/bus_peer/frame.h"
#include "simulator/bus_peer/message.h"
#include "simulator/bus_peer/status.h"
#include "simulator/text/text.h"

namespace soak {

namespace {

enum Answer : uint8_t { kNotARequest = 0, kAccepted = 1, kIsRunning = 2, kNoModem = 3 };

bus_peer::Bytes BytesOf(std::string_view hex) {
    const auto bytes = simulator_text::FromHex(std::string(hex));
    return bytes ? bus_peer::Bytes(bytes->begin(), bytes->end()) : bus_peer::Bytes();
}

class BusLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.kind == EntryKind::kEnds) is_asked_ = false;  // nobody is left to answer
        if (is_asked_ && entry.at_ms > asked_ms_) NoAnswer();
        if (entry.kind == EntryKind::kLogs && watch.log.function == "ravelin_deal_dbus_message") {
            was_accepted_ =
                was_accepted_ || StartsWith(watch.log.message, "[OTA] get ocpp msg and set ota upgrade flag");
        }
        if (entry.kind != EntryKind::kBus) return;
        constexpr std::string_view kCalls = "calls ", kSignals = "signals ", kReplies = "replies",
                                   kSends = "sends ";
        if (StartsWith(entry.text, kCalls)) {
            if (is_asked_) NoAnswer();
            question_ = BytesOf(entry.text.substr(kCalls.size()));
            is_asked_ = true;
            asked_ms_ = entry.at_ms;
            had_driver_ = watch.has_driver;
            was_upgrading_ = watch.is_upgrading;
            was_accepted_ = false;
        } else if (StartsWith(entry.text, kSignals)) {
            if (is_asked_) NoAnswer();
        } else if (StartsWith(entry.text, kReplies)) {
            if (!is_asked_) return Violated("an answer to nothing");
            is_asked_ = false;
            std::string_view hex = entry.text.substr(kReplies.size());
            if (!hex.empty()) hex.remove_prefix(1);
            TakeAnswer(BytesOf(hex));
        } else if (StartsWith(entry.text, kSends)) {
            TakeReport(entry.text.substr(kSends.size()));
        } else if (entry.text == "nobody is there") {
            is_asked_ = false;
        }
    }

  private:
    void NoAnswer() {
        is_asked_ = false;
        Violated("no answer to " + bus_peer::ToHex(question_));
    }

    void TakeAnswer(const bus_peer::Bytes& bytes) {
        bus_peer::Frame asked, answer;
        const bool is_frame =
            bus_peer::DecodeFrame(question_, &asked).empty() && asked.data.size() <= bus_peer::kDataLimit;
        const bool wants_answer =
            is_frame && (!had_driver_ || asked.cmd == bus_peer::kStatus || asked.cmd == bus_peer::kUpgrade);
        if (!wants_answer) {
            if (!bytes.empty()) Violated("an answer to what isn't a question: " + bus_peer::ToHex(bytes));
            return;
        }
        const std::string problem = bus_peer::DecodeFrame(bytes, &answer);
        if (!problem.empty()) {
            return Violated("an answer that is no frame, since " + problem + ": " + bus_peer::ToHex(bytes));
        }
        if (answer.msg_id != asked.msg_id) Violated("an answer with the id of another question");
        if (asked.cmd == bus_peer::kStatus && answer.cmd == bus_peer::kStatus && had_driver_) {
            TakeStatus(answer);
        } else {
            TakeUpgradeAnswer(asked, answer);
        }
    }

    void TakeStatus(const bus_peer::Frame& answer) {
        std::vector<bus_peer::StatusItem> items;
        const std::string problem = bus_peer::ReadStatus(answer.data, &items);
        if (!problem.empty()) return Violated("a status answer that can't be read: " + problem);
        if (!watch.is_calm()) return;
        // The file is at most a pass older, and in peace these don't change.
        const auto compare = [&](const std::string& name, const char* key) {
            for (const bus_peer::StatusItem& item : items) {
                const auto line = watch.status.find(key);
                if (item.name != name || line == watch.status.end()) continue;
                if (simulator_text::Escape(item.value) != line->second) {
                    Violated("the bus says " + name + " \"" + item.value + "\", and the file " + key + "=" +
                             line->second);
                }
            }
        };
        compare("imei", "IMEI");
        compare("iccid", "ICCID");
        compare("imsi", "IMSI");
        compare("carrier", "Carrier");
        compare("firmware", "FWVersion");
    }

    void TakeUpgradeAnswer(const bus_peer::Frame& asked, const bus_peer::Frame& answer) {
        Answer wanted = kNoModem;
        if (had_driver_) {
            const bool is_request =
                asked.cmd == bus_peer::kUpgrade && !asked.data.empty() && asked.data[0] == 1;
            wanted = !is_request ? kNotARequest : was_upgrading_ ? kIsRunning : kAccepted;
        }
        if (answer.cmd != bus_peer::kUpgrade || answer.data.size() != 1) {
            return Violated("a wrong answer: " + bus_peer::ToHex(answer.data));
        }
        if (answer.data[0] != wanted) {
            Violated("an upgrade request is answered with " + std::to_string(answer.data[0]) + " and not " +
                     std::to_string(wanted));
        }
        if (answer.data[0] == kAccepted && !was_accepted_) {
            Violated("an upgrade is called accepted, and none was");
        }
    }

    void TakeReport(std::string_view text) {
        constexpr std::string_view kService = "OCPP.Message ";
        bus_peer::Frame report;
        if (!StartsWith(text, kService)) return Violated("a report to somebody else: " + std::string(text));
        const std::string problem = bus_peer::DecodeFrame(BytesOf(text.substr(kService.size())), &report);
        if (!problem.empty()) return Violated("a report that is no frame, since " + problem);
        const bool is_known =
            report.cmd == bus_peer::kUpgradeOutcome
                ? report.data.size() == 1 && report.data[0] <= 3
                : report.cmd == bus_peer::kModuleRefused && report.data == bus_peer::Bytes{1};
        if (!is_known || report.msg_id != 1) Violated("a report that nobody knows");
    }

    bool is_asked_ = false;
    int64_t asked_ms_ = 0;
    bus_peer::Bytes question_;
    bool had_driver_ = false;
    bool was_upgrading_ = false;
    bool was_accepted_ = false;
};

class UpgradeLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.kind == EntryKind::kEnds) reports_ = 0;
        if (watch.is_upgrading && !was_upgrading_) reports_ = 0;
        const bool is_report =
            StartsWith(entry.text, "sends OCPP.Message ") || StartsWith(entry.text, "refuses OCPP.Message ");
        if (entry.kind == EntryKind::kBus && is_report) {
            ++reports_;
            if (reports_ > 1) Violated("an upgrade is reported twice");
            if (!watch.is_upgrading) Violated("an outcome is reported though there is no upgrade");
        }
        if (was_upgrading_ && !watch.is_upgrading && watch.is_running && watch.started_ms < entry.at_ms &&
            reports_ != 1) {
            Violated("an upgrade has ended without a report");
        }
        was_upgrading_ = watch.is_upgrading;
        const bool begins_reset = entry.kind == EntryKind::kLogs && watch.log.function == "main" &&
                                  watch.log.message == "kill udhcpc lte!!!";
        if (begins_reset && watch.is_upgrading) Violated("a hardware reset begins during an upgrade");
        if (entry.kind == EntryKind::kRuns && watch.is_upgrading && Contains(entry.text, "Reset4G")) {
            Violated("the modem is reset during an upgrade: " + std::string(entry.text));
        }
        if (watch.is_upgrading && watch.is_calm()) Violated("an upgrade never ends");
    }

  private:
    bool was_upgrading_ = false;
    int reports_ = 0;
};

}  // namespace

std::unique_ptr<Law> MakeBusLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<BusLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeUpgradeLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<UpgradeLaw>(watch, std::move(report));
}

}  // namespace soak
