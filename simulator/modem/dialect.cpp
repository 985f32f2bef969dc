// Finds the row of a command, fills its template, and words results: the part of a dialect that all families
// share.
#include "simulator/modem/dialect.h"

#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

struct CmeText {
    int code;
    const char* text;
};

/// The wording of +CMEE=2.
constexpr CmeText kCmeTexts[] = {
    {kCmeNotAllowed, "operation not allowed"},
    {kCmeSimNotInserted, "SIM not inserted"},
    {kCmeSimPinRequired, "SIM PIN required"},
    {kCmeSimPukRequired, "SIM PUK required"},
    {kCmeSimFailure, "SIM failure"},
    {kCmeSimBusy, "SIM busy"},
    {kCmeIncorrectPassword, "incorrect password"},
    {kCmeNoNetworkService, "no network service"},
    {kCmeInvalidParameters, "invalid parameters"},
};

struct Field {
    const char* name;
    std::string (*value)(const Device& device);
};

/// Country and network code as the SIM's own network has them: the modems here are at home.
std::string ImsiDigits(const Device& device, size_t from, size_t count) {
    const std::string& imsi = device.card().imsi;
    return from < imsi.size() ? imsi.substr(from, count) : std::string();
}

std::string Digit(bool value) {
    return value ? "1" : "0";
}

/// A radio that is off measures nothing.
std::string SignalQuality(const Device& device) {
    constexpr int kUnknownCsq = 99;
    return std::to_string(device.radio() == Radio::kFull ? device.air.csq : kUnknownCsq);
}

constexpr Field kFields[] = {
    {"act", AccessTechnology},
    {"area", [](const Device& device) { return device.air.area_code; }},
    {"band", [](const Device& device) { return std::to_string(device.air.band); }},
    {"cell", [](const Device& device) { return std::to_string(device.air.cell_id); }},
    {"cell-address", [](const Device& device) { return device.air.cell_address; }},
    {"cfun", [](const Device& device) { return std::to_string(static_cast<int>(device.radio())); }},
    {"channel", [](const Device& device) { return std::to_string(device.air.channel); }},
    {"cmee", [](const Device& device) { return std::to_string(device.session.error_mode); }},
    {"country", [](const Device& device) { return ImsiDigits(device, 0, 3); }},
    {"csq", SignalQuality},
    {"firmware", [](const Device& device) { return device.firmware; }},
    {"iccid", [](const Device& device) { return device.card().iccid; }},
    {"imei", [](const Device& device) { return std::string(device.family.imei); }},
    {"imsi", [](const Device& device) { return device.card().imsi; }},
    {"maker", [](const Device& device) { return std::string(device.family.maker); }},
    {"model", [](const Device& device) { return device.model; }},
    {"network", [](const Device& device) { return device.air.network; }},
    {"network-code", [](const Device& device) { return ImsiDigits(device, 3, 2); }},
    {"operator", [](const Device& device) { return device.air.operator_name; }},
    {"roaming", [](const Device& device) { return Digit(device.IsRoaming()); }},
    {"rsrp", [](const Device& device) { return std::to_string(device.air.rsrp_dbm); }},
    {"rsrq", [](const Device& device) { return std::to_string(device.air.rsrq_db); }},
    {"rssi", [](const Device& device) { return std::to_string(device.air.rssi_dbm); }},
    {"sinr", [](const Device& device) { return std::to_string(device.air.sinr_db); }},
    {"temperature", [](const Device& device) { return std::to_string(device.air.temperature_celsius); }},
    {"up", [](const Device& device) { return Digit(device.call() == CallState::kUp); }},
    {"usb-mode", [](const Device& device) { return std::to_string(device.usb_mode); }},
};

const Field* FindField(std::string_view name) {
    for (const Field& field : kFields) {
        if (name == field.name) return &field;
    }
    return nullptr;
}

/// The error that keeps a command with these needs from working now; 0 for none.
int MissingNeed(const Device& device, unsigned needs) {
    if ((needs & (kCard | kSim)) != 0) {
        switch (device.card_state()) {
            case CardState::kAbsent:
                return kCmeSimNotInserted;
            case CardState::kUnpowered:
                return kCmeSimFailure;
            case CardState::kBusy:
                return kCmeSimBusy;
            case CardState::kLocked:
                if ((needs & kSim) != 0) return kCmeSimPinRequired;
                break;
            case CardState::kBlocked:
                if ((needs & kSim) != 0) return kCmeSimPukRequired;
                break;
            case CardState::kReady:
                break;
        }
    }
    return (needs & kService) != 0 && !device.HasService() ? kCmeNoNetworkService : 0;
}

bool Matches(std::string_view pattern, std::string_view command, std::string_view* rest) {
    *rest = {};
    if (pattern.empty() || pattern.back() != '*') return pattern == command;
    pattern.remove_suffix(1);
    if (command.substr(0, pattern.size()) != pattern) return false;
    *rest = command.substr(pattern.size());
    return true;
}

Outcome RunRow(Device& device, const Row& row, std::string_view arguments) {
    const int missing = MissingNeed(device, row.needs);
    if (missing != 0) return CmeError(missing);
    if (row.action != nullptr) return row.action(device, SplitArguments(arguments));
    return Ok(row.answer == nullptr ? "" : FillTemplate(device, row.answer));
}

bool RunTable(Device& device, const Table<Row>& rows, const std::string& command, Outcome* outcome) {
    for (const Row& row : rows) {
        std::string_view arguments;
        if (!Matches(row.command, command, &arguments)) continue;
        *outcome = RunRow(device, row, arguments);
        return true;
    }
    return false;
}

std::string CmeResult(const Device& device, int code) {
    if (device.session.error_mode == 0) return "ERROR";
    std::string text = std::to_string(code);
    if (device.session.error_mode == 2) {
        for (const CmeText& each : kCmeTexts) {
            if (each.code == code) text = each.text;
        }
    }
    return "+CME ERROR: " + text;
}

}  // namespace

Outcome Ok(std::string lines) {
    Outcome outcome;
    outcome.lines = std::move(lines);
    return outcome;
}

Outcome Error() {
    Outcome outcome;
    outcome.result = "ERROR";
    return outcome;
}

Outcome Filled(const Device& device, std::string_view text) {
    return Ok(FillTemplate(device, text));
}

std::string ArgumentAt(const Arguments& arguments, size_t index) {
    return index < arguments.size() ? arguments[index] : std::string();
}

std::optional<int> OnlyNumber(const Arguments& arguments, int most) {
    if (arguments.size() != 1) return std::nullopt;
    const auto number = ParseInteger(arguments[0], 0, most);
    return number ? std::optional<int>(*number) : std::nullopt;
}

std::optional<int> ContextNumber(const Arguments& arguments) {
    const auto number = ParseInteger(ArgumentAt(arguments, 0), 1, kContextsMax);
    return number ? std::optional<int>(*number) : std::nullopt;
}

std::string AccessTechnology(const Device& device) {
    const std::string& network = device.air.network;
    const auto has = [&network](const char* word) { return network.find(word) != std::string::npos; };
    if (IsLte(device)) return "7";
    if (has("WCDMA") || has("TDSCDMA") || has("UMTS")) return "2";
    if (has("HSDPA")) return "4";
    if (has("HSUPA")) return "5";
    if (has("EDGE")) return "3";
    return "0";
}

bool IsLte(const Device& device) {
    return device.air.network.find("LTE") != std::string::npos;
}

Outcome CmeError(int code) {
    Outcome outcome;
    outcome.cme_error = code;
    return outcome;
}

Outcome Dial(Device& device, const DialWords& words) {
    Outcome outcome = Ok(words.started);
    switch (device.Dial()) {
        case DialResult::kStarted:
            if (words.started_waits && device.call() == CallState::kDialling) {
                outcome.takes_ms = device.timing.dial_ms;
            }
            return outcome;
        case DialResult::kRefused:
            outcome = Ok();
            outcome.result = words.refused;
            if (words.refused_waits) outcome.takes_ms = device.timing.dial_ms;
            return outcome;
        case DialResult::kNoService:
            break;
    }
    return CmeError(kCmeNoNetworkService);
}

Outcome SwitchCall(Device& device, std::string_view on, const DialWords& words) {
    if (on == "1") return Dial(device, words);
    if (on != "0") return Error();
    device.HangUp();
    return Ok(words.hung_up);
}

const Family* FindFamily(std::string_view name) {
    for (const Family* family : AllFamilies()) {
        if (name == family->name) return family;
    }
    return nullptr;
}

bool RunCommand(Device& device, const std::string& command, Outcome* outcome) {
    const Family& family = device.family;
    return RunTable(device, family.rows, command, outcome) ||
           (family.shared_rows != nullptr && RunTable(device, family.shared_rows(), command, outcome)) ||
           RunTable(device, CommonRows(), command, outcome) ||
           RunTable(device, ForeignRows(), command, outcome);
}

std::string UnsolicitedLines(const Device& device, Event event) {
    const Unsolicited& unsolicited = device.family.unsolicited;
    const bool is_up = event == Event::kCallUp;
    switch (event) {
        case Event::kBooted:
            return unsolicited.booted;
        case Event::kCardReady:
            return unsolicited.card_ready;
        case Event::kCardGone:
            return unsolicited.card_gone;
        case Event::kCallUp:
        case Event::kCallDown:
            break;
    }
    if (unsolicited.call != nullptr) return unsolicited.call(device, is_up);
    return is_up ? unsolicited.call_up : unsolicited.call_down;
}

std::string FirmwareText(const Device& device) {
    for (const Model& model : device.family.models) {
        if (model.name == device.model && model.firmware != nullptr) return model.firmware;
    }
    return FillTemplate(device, device.family.firmware);
}

std::string FillTemplate(const Device& device, std::string_view text) {
    std::string filled;
    while (!text.empty()) {
        const size_t open = text.find('{');
        const size_t close = text.find('}', open);
        if (open == std::string_view::npos || close == std::string_view::npos) break;
        filled += text.substr(0, open);
        const Field* field = FindField(text.substr(open + 1, close - open - 1));
        filled += field != nullptr ? field->value(device) : std::string(text.substr(open, close - open + 1));
        text.remove_prefix(close + 1);
    }
    return filled += text;
}

std::vector<std::string> FieldNames() {
    std::vector<std::string> names;
    for (const Field& field : kFields) names.emplace_back(field.name);
    return names;
}

std::string FrameUnsolicited(const std::string& lines) {
    if (lines.empty()) return "";
    std::string bytes = "\r\n";
    for (const char character : lines) bytes += character == '\n' ? "\r\n\r\n" : std::string(1, character);
    return bytes + "\r\n";
}

std::string FrameAnswer(const Device& device, const Outcome& outcome) {
    std::string bytes;
    if (!outcome.lines.empty()) {
        bytes = "\r\n";
        for (const char character : outcome.lines) {
            if (character == '\n') bytes += '\r';
            bytes += character;
        }
        bytes += "\r\n";
    }
    const std::string result = outcome.cme_error != 0 ? CmeResult(device, outcome.cme_error) : outcome.result;
    return result.empty() ? bytes : bytes + "\r\n" + result + "\r\n";
}

}  // namespace modem_sim
