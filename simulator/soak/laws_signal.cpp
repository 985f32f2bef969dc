// The file beside the status file that some modems have: what it says of the signal is what the modem has
// answered, and the rest is what the status file says that is written just before it.
#include "simulator/soak/laws.h"

#include <iterator>
#include <map>
#include <vector>

#include "simulator/soak/status_files.h"
#include "simulator/soak/time_units.h"
#include "simulator/soak/vendors.h"

namespace soak {

namespace {

constexpr std::string_view k3630Module = "ME3630";

constexpr std::string_view kAskSignal = "AT+CSQ";
constexpr std::string_view kAskServingCell = R"(AT+QENG="servingcell"\r\n)";  // with a line end of its own
constexpr std::string_view kAskZteSignal = "AT+ZSRSP?";

// Lines in their order; those without a value are legends, tabs as the record writes them.
constexpr std::string_view kSignalLines[] = {
    "APN",
    "Username",
    "Password",
    "Authentication",
    R"(\t0 None 1 PAP 2 CHAP 3 PAP-CHAP)",
    "SIMOperator",
    "Network",
    "ModemNetwork_Generation",
    "Online",
    "ConnectionStatus",
    "CSQ",
    "SignalLevel",
    R"(\texcellent:>-85dBm\tgood:-85～-95dBm\tMid_cell:-95～-105dBm\tpoor:-105～-115dBm)"
    R"(\tvery_poor:<-115dB)",
    "GIT_VERSION",
    "Uptime",
    "Now",
};
constexpr std::string_view k3630Lines[] = {"CSQ", "RSSI", "RSRP", "RSRQ", "SINR", "Now"};

/// Lines that both files have, in the words of each.
struct SharedLine {
    const char* in_status;
    const char* in_other;
};
constexpr SharedLine kSharedLines[] = {
    {"APN", "APN"}, {"Carrier", "SIMOperator"},     {"Network", "Network"}, {"Online", "Online"},
    {"CSQ", "CSQ"}, {"GIT_VERSION", "GIT_VERSION"}, {"Uptime", "Uptime"},   {"Now", "Now"},
};

/// The generation that the words of a network type stand for. In this order: "WCDMA" holds "CDMA".
std::string GenerationOf(std::string_view network) {
    constexpr struct {
        std::string_view word;
        const char* generation;
    } kWords[] = {{"LTE", "3"},   {"TDSCDMA", "2"}, {"HSDPA", "2"}, {"HSUPA", "2"},
                  {"WCDMA", "2"}, {"UMTS", "2"},    {"EVDO", "2"},  {"EHRPD", "2"},
                  {"GPRS", "1"},  {"EDGE", "1"},    {"GSM", "1"},   {"CDMA", "1"}};
    for (const auto& row : kWords) {
        if (Contains(network, row.word)) return row.generation;
    }
    return "0";
}

std::vector<std::string> Split(std::string_view text, char at) {
    std::vector<std::string> parts;
    for (size_t end; (end = text.find(at)) != std::string_view::npos; text.remove_prefix(end + 1)) {
        parts.emplace_back(text.substr(0, end));
    }
    parts.emplace_back(text);
    return parts;
}

/// What stands after `prefix`, where escaped bytes are nothing but that line and OK, with or without the echo
/// of `command`; empty otherwise.
std::string_view OnlyLine(std::string_view bytes, const std::string& command, const std::string& prefix) {
    constexpr std::string_view kLineEnd = R"(\r\n)", kReturn = R"(\r)", kEnd = R"(\r\n\r\nOK\r\n)";
    std::string_view echo = command;
    if (echo.size() > kLineEnd.size() && echo.substr(echo.size() - kLineEnd.size()) == kLineEnd) {
        echo.remove_suffix(kLineEnd.size());
    }
    if (StartsWith(bytes, std::string(echo) + std::string(kReturn))) {
        bytes.remove_prefix(echo.size() + kReturn.size());
        // Of a second line end.
        const size_t end = bytes.size() - kReturn.size();
        if (bytes.size() > kEnd.size() && bytes.substr(end) == kReturn) bytes = bytes.substr(0, end);
    }
    const std::string start = std::string(kLineEnd) + prefix;
    if (!StartsWith(bytes, start) || bytes.size() < start.size() + kEnd.size()) return "";
    bytes.remove_prefix(start.size());
    if (bytes.substr(bytes.size() - kEnd.size()) != kEnd) return "";
    bytes.remove_suffix(kEnd.size());
    // Another line, or what could be taken for one.
    return bytes.find_first_of("\\+:^") == std::string_view::npos ? bytes : "";
}

/// "-098" is "-98dBm": the zeros after a minus sign are padding.
std::string WithUnit(std::string value, const char* unit) {
    if (!value.empty() && value[0] == '-') value.erase(1, value.find_first_not_of('0', 1) - 1);
    return value + unit;
}

/// A line of the file, as far as the record tells what it must be.
struct Known {
    std::string text;
    bool is_sure = true;  // nothing is stored at the start
    int64_t at_ms = kNever;

    void Set(const std::string& value, int64_t now_ms) { *this = {value, true, now_ms}; }
    void Lose() { is_sure = false; }
};

class SignalLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        TakeShows(entry);
        TakeTime(entry);
        const bool is_status = entry.kind == EntryKind::kPublishes && StartsWith(entry.text, kStatusFile);
        const bool is_signal = entry.kind == EntryKind::kPublishes && StartsWith(entry.text, kSignalFile);
        const bool is_3630 = entry.kind == EntryKind::kPublishes && StartsWith(entry.text, k3630File);
        if (is_status) {
            TakeLine(entry.text.substr(kStatusFile.size()), status_);
        } else if (is_signal || is_3630) {
            TakeOther(entry.text, is_signal);
        } else {
            TakeWritten();
            TakeElse(entry);
        }
    }

    void Finish() override { TakeWritten(); }

  private:
    using Lines = std::map<std::string, std::string, std::less<>>;

    struct Question {
        std::string command;
        int64_t at_ms = kNever;
        int64_t until_ms = kNever;  // the answer is what comes until then
        std::string heard;
        bool is_open = false;
    };

    void TakeElse(const Entry& entry) {
        switch (entry.kind) {
            case EntryKind::kSends:
                TakeQuestion(entry.text);
                break;
            case EntryKind::kHears:
                if (question_.is_open) question_.heard += entry.text;
                break;
            case EntryKind::kLogs:
            case EntryKind::kDebugs:
                TakeModule();
                break;
            case EntryKind::kEnds:
                StartRun();
                break;
            default:
                break;
        }
    }

    /// A daemon that has just begun has asked for nothing.
    static std::map<std::string, Known, std::less<>> NothingStored() {
        std::map<std::string, Known, std::less<>> lines;
        for (const char* key : {"CSQ", "SignalLevel", "RSSI", "RSRP", "RSRQ", "SINR"}) lines[key] = {};
        return lines;
    }

    void StartRun() {
        module_.clear();
        is_written_ = false;
        known_ = NothingStored();
        question_ = {};
    }

    /// The driver's set-up tells it, after it has written for the first time.
    void TakeModule() {
        constexpr std::string_view kTold = "m_ModuleName = ";
        const std::string_view text = watch.log.message;
        if (watch.log.function != "Initialize" || !StartsWith(text, kTold)) return;
        const std::string_view name = text.substr(kTold.size());
        module_ = name.substr(0, name.rfind(' '));
        if (watch.vendor == kVendorZte && is_written_ && module_ != k3630Module) {
            Violated("3630_status is written for a modem that has no such file: " + module_);
        }
    }

    bool HasSignalFile() const {
        return watch.vendor == kVendorQuectelQcom || watch.vendor == kVendorQuectelUnisoc;
    }
    bool Has3630File() const { return watch.vendor == kVendorZte && module_ == k3630Module; }
    bool MayHave3630File() const { return watch.vendor == kVendorZte && module_.empty(); }
    bool HasFile() const { return HasSignalFile() || Has3630File(); }

    /// As it was written last, without the clock lines.
    Lines& Other() { return HasSignalFile() ? signal_ : signal_3630_; }

    // What is asked and answered

    /// The answer is over: its time is, or the daemon does something else, which it does early where there is
    /// no room for more or no port.
    void TakeTime(const Entry& entry) {
        if (question_.is_open && (entry.at_ms >= question_.until_ms || entry.kind == EntryKind::kSends ||
                                  entry.kind == EntryKind::kPublishes || entry.kind == EntryKind::kEnds)) {
            question_.is_open = false;
            TakeAnswer();
        }
        // Just at the end: part of the answer or not.
        const bool is_at_end = !question_.command.empty() && entry.kind == EntryKind::kHears &&
                               !question_.is_open && entry.at_ms <= question_.until_ms + 1;
        if (is_at_end) LoseAnswer();
    }

    void TakeQuestion(std::string_view command) {
        // What was answered is written before anything else is asked, but for the signal quality: the link
        // is tended in the same pass.
        for (const auto& [key, line] : known_) {
            if (key != "CSQ" && key != "RSSI") ExpectWritten(key, line);
        }
        if (command == kAskSignal) {
            for (const char* key : {"CSQ", "RSSI"}) ExpectWritten(key, known_[key]);
        }
        constexpr int64_t kAnswer_ms = 1 * kSecond_ms, kZteAnswer_ms = 3 * kSecond_ms;
        question_ = {};
        const bool is_ours = command == kAskSignal || command == kAskServingCell || command == kAskZteSignal;
        if (!is_ours) return;
        question_.command = command;
        question_.at_ms = watch.now_ms;
        question_.until_ms = watch.now_ms + (command == kAskZteSignal ? kZteAnswer_ms : kAnswer_ms);
        question_.is_open = true;
    }

    void ExpectWritten(const std::string& key, const Known& line) {
        if (!is_written_ || !HasFile() || !line.is_sure) return;
        const auto shown = Other().find(key);
        if (shown == Other().end() || shown->second == line.text) return;
        if (FilesWereInTheWay(truth, line.at_ms, watch.now_ms)) return;
        Violated(key + "=" + shown->second + " is left where " + line.text + " is right");
    }

    std::vector<std::string> KeysOfAnswer() const {
        if (question_.command == kAskSignal) return {"CSQ", "RSSI"};
        if (question_.command == kAskServingCell) return {"SignalLevel"};
        return {"RSRP", "RSRQ", "RSSI", "SINR"};
    }

    /// It can't be told what the daemon makes of it.
    void LoseAnswer() {
        for (const std::string& key : KeysOfAnswer()) {
            // Once there is a received power, it has nothing to do with the signal quality.
            const bool is_kept =
                key == "RSSI" && question_.command == kAskSignal && !known_[key].text.empty();
            if (!is_kept) known_[key].Lose();
        }
    }

    void TakeAnswer() {
        if (watch.port_lost_ms >= question_.at_ms) return LoseAnswer();
        if (question_.command == kAskSignal) {
            TakeSignal();
        } else if (question_.command == kAskServingCell) {
            TakeServingCell();
        } else {
            TakeZteSignal();
        }
    }

    void TakeSignal() {
        constexpr int64_t kMostCsq = 99;
        int64_t csq = 0;
        if (!Contains(question_.heard, "+CSQ:")) return;  // the last value stays
        if (!ReadSignalAnswer(question_.heard, &csq) || csq > kMostCsq) return LoseAnswer();
        known_["CSQ"].Set(csq > 0 ? std::to_string(csq) : "", watch.now_ms);
        // Until the modem has told the received power, the one that the first value stands for.
        Known& rssi = known_["RSSI"];
        if (csq > 0 && rssi.is_sure && rssi.text.empty()) {
            rssi.Set(std::to_string(2 * csq - 113) + "dBm", watch.now_ms);
            // It is made when the file is written, and then of a later value.
            if (FilesWereInTheWay(truth, watch.now_ms, watch.now_ms + truth.step_ms)) rssi.Lose();
        }
    }

    void TakeServingCell() {
        constexpr size_t kMostLine = 127, kSlots = 18, kRsrp = 13, kMostLevel = 9;
        if (!Contains(question_.heard, "+QENG: ")) return;
        const std::string_view line = OnlyLine(question_.heard, question_.command, "+QENG: ");
        const std::vector<std::string> slots = Split(line, ',');
        if (line.empty() || line.size() > kMostLine) return LoseAnswer();
        if (!Contains(line, "LTE")) return;
        if (slots.size() < kSlots) return LoseAnswer();
        known_["SignalLevel"].Set(slots[kRsrp].substr(0, kMostLevel), watch.now_ms);
    }

    void TakeZteSignal() {
        constexpr size_t kParts = 9, kRsrp = 1, kRsrq = 3, kRssi = 5, kSinr = 7, kMostDigits = 8;
        if (!Contains(question_.heard, "OK")) return;
        const std::vector<std::string> parts =
            Split(OnlyLine(question_.heard, question_.command, "+ZSRSP: "), '"');
        if (parts.size() != kParts) return LoseAnswer();
        for (const size_t part : {kRsrp, kRsrq, kRssi, kSinr}) {
            if (parts[part].size() > kMostDigits) return LoseAnswer();
        }
        known_["RSRP"].Set(WithUnit(parts[kRsrp], "dBm"), watch.now_ms);
        known_["RSRQ"].Set(WithUnit(parts[kRsrq], "dB"), watch.now_ms);
        known_["RSSI"].Set(WithUnit(parts[kRssi], "dBm"), watch.now_ms);
        known_["SINR"].Set(WithUnit(parts[kSinr], "dB"), watch.now_ms);
    }

    // What is written

    void TakeLine(std::string_view line, Lines& lines) {
        const size_t equals = line.find('=');
        const std::string_view value = equals == std::string_view::npos ? "" : line.substr(equals + 1);
        lines[std::string(line.substr(0, equals))] = value;
        has_news_ = true;
    }

    void TakeOther(std::string_view text, bool is_signal) {
        if (is_signal ? !HasSignalFile() : !(Has3630File() || MayHave3630File())) {
            return Violated("written for a modem that has no such file: " + std::string(text));
        }
        const std::string_view line = text.substr((is_signal ? kSignalFile : k3630File).size());
        const std::string_view key = line.substr(0, line.find('='));
        if (!IsOneOf(key)) return Violated("a line that nobody knows: " + std::string(line));
        TakeLine(line, Other());
        is_written_ = true;
    }

    /// All files of one moment are written.
    void TakeWritten() {
        if (!has_news_) return;
        has_news_ = false;
        if (!HasFile()) return;
        Lines& other = Other();
        if (other.empty()) {
            if (!FilesWereInTheWay(truth, watch.now_ms, watch.now_ms)) {
                Violated("the status file is written, and the signal file isn't");
            }
            return;
        }
        for (const SharedLine& line : kSharedLines) {
            const auto in_status = status_.find(line.in_status), in_other = other.find(line.in_other);
            if (in_status == status_.end() || in_other == other.end()) continue;
            Expect(line.in_other, in_other->second, InOther(line.in_status, in_status->second));
        }
        for (const auto& [key, line] : known_) {
            const auto shown = other.find(key);
            if (line.is_sure && shown != other.end()) Expect(key, shown->second, line.text);
        }
        if (HasSignalFile()) TakeLink();
    }

    void TakeLink() {
        Expect("ConnectionStatus", signal_["ConnectionStatus"], signal_["Online"] == "TRUE" ? "1" : "0");
        // Without a SIM that is ready there is no generation, and no number of a card either.
        const std::string& generation = signal_["ModemNetwork_Generation"];
        const bool may_lack_sim = status_["ICCID"].empty();
        if (generation == "0" && may_lack_sim) return;
        Expect("ModemNetwork_Generation", generation, GenerationOf(signal_["Network"]));
    }

    void Expect(const std::string& key, const std::string& value, const std::string& wanted) {
        if (value != wanted) Violated(key + "=" + value + " is written where " + wanted + " is right");
    }

    /// The one has quotes around the APN, the other hasn't.
    static std::string InOther(std::string_view key, const std::string& value) {
        const bool has_quotes = key == "APN" && value.size() >= 2;
        return has_quotes ? value.substr(1, value.size() - 2) : value;
    }

    // What is shown

    void TakeShows(const Entry& entry) {
        Shown shown;
        if (of_status_.Take(entry, &shown)) status_shown_ = shown;
        if (of_signal_.Take(entry, &shown)) TakeShown(shown);
        if (of_3630_.Take(entry, &shown)) TakeShown(shown);
    }

    void TakeShown(const Shown& shown) {
        if (shown.Find("Now") == nullptr) {
            if (watch.is_calm()) Violated("the signal file is missing, or cut");
            return;
        }
        if (!HasFile()) return;  // it is of a run before
        TakeOrder(shown);
        for (const auto& [key, value] : Other()) {
            const std::string* there = shown.Find(key);
            if (there != nullptr && *there != value) {
                Violated(key + "=" + *there + " is shown where " + value + " is right");
            }
        }
        if (status_shown_.at_ms == shown.at_ms) TakePair(shown);
        if (HasSignalFile() && watch.is_calm()) TakeAccount(shown);
    }

    bool IsOneOf(std::string_view key) const {
        for (size_t i = 0; i < LineCount(); ++i) {
            if (Line(i) == key) return true;
        }
        return false;
    }
    size_t LineCount() const { return HasSignalFile() ? std::size(kSignalLines) : std::size(k3630Lines); }
    std::string_view Line(size_t at) const { return HasSignalFile() ? kSignalLines[at] : k3630Lines[at]; }

    void TakeOrder(const Shown& shown) {
        for (size_t i = 0; i < LineCount(); ++i) {
            if (i >= shown.lines.size() || shown.lines[i].first != Line(i)) {
                return Violated("the line " + std::string(Line(i)) + " is missing, or in another place");
            }
        }
        if (shown.lines.size() > LineCount()) {
            Violated("a line that nobody knows: " + shown.lines[LineCount()].first);
        }
    }

    /// Both files, as they stand at the same time.
    void TakePair(const Shown& shown) {
        if (status_shown_.Find("Now") == nullptr) return;
        for (const SharedLine& line : kSharedLines) {
            const std::string* in_status = status_shown_.Find(line.in_status);
            const std::string* in_other = shown.Find(line.in_other);
            if (in_status == nullptr || in_other == nullptr) continue;
            const std::string wanted = InOther(line.in_status, *in_status);
            if (*in_other != wanted) {
                Violated(std::string(line.in_other) + "=" + *in_other + " is shown beside " + wanted);
            }
        }
    }

    /// The account is that of the settings. One that they no longer name stays.
    void TakeAccount(const Shown& shown) {
        constexpr struct {
            const char* setting;
            const char* key;
            const char* otherwise;
        } kAccount[] = {
            {"USERNAME", "Username", ""}, {"PASSWORD", "Password", ""}, {"AUTH_TYPE", "Authentication", "0"}};
        for (const auto& row : kAccount) {
            const std::string* wanted = nullptr;
            const std::string otherwise = row.otherwise;
            bool is_named = false;
            for (const SettingsChange& change : truth.settings) {
                if (change.at_ms > shown.at_ms) break;
                const auto value = change.values.find(row.setting);
                is_named = is_named || value != change.values.end();
                wanted = value != change.values.end() ? &value->second : nullptr;
            }
            if (!is_named) wanted = &otherwise;
            const std::string* value = shown.Find(row.key);
            if (wanted != nullptr && value != nullptr && *value != *wanted) {
                Violated(std::string(row.key) + "=" + *value + " is shown where " + *wanted + " is set");
            }
        }
    }

    Gatherer of_status_{kStatusFile, "IMSI"};
    Gatherer of_signal_{kSignalFile, kSignalLines[0]};
    Gatherer of_3630_{k3630File, k3630Lines[0]};
    Shown status_shown_;  // the last
    std::string module_;
    Lines status_;
    Lines signal_;
    Lines signal_3630_;
    bool has_news_ = false;
    bool is_written_ = false;  // in this run
    std::map<std::string, Known, std::less<>> known_ = NothingStored();
    Question question_;
};

}  // namespace

std::unique_ptr<Law> MakeSignalLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<SignalLaw>(watch, std::move(report));
}

}  // namespace soak
