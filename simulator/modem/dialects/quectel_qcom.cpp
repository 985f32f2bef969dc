// Quectel modules on Qualcomm chipsets (EG25, EG21 and their relatives): the data call is a network card of
// its own, dialled with AT$QCRMCALL and watched with AT+QNETDEVSTATUS; cells are told by AT+QENG.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

using Arguments = std::vector<std::string>;

constexpr const char* kModels[] = {"EG25", "EG21", nullptr};

/// The modem wants quotes around these names and takes single ones too; thermal/modem is a table, of which
/// the first argument is the row.
constexpr const char* kSettingNames[] = {"usbnet", "thermal/limit_rates", "thermal/txpwrlmt",
                                         "thermal/modem"};
constexpr const char* kUsbModeSetting = "usbnet";
constexpr const char* kTableSetting = "thermal/modem";

std::string Firmware(const std::string& model) {
    if (model == "EG25") return "EG25GGBR07A08M2G";
    if (model == "EG21") return "EG21GGBR07A11M1G";
    return model + "GBR07A01M1G";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\nRDY\r\n\r\n+CFUN: 1\r\n";
        case Event::kCardReady:
            return "\r\n+CPIN: READY\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n\r\n+QIND: PB DONE\r\n";
        case Event::kCardGone:
            return "\r\n+CPIN: NOT READY\r\n";
        case Event::kCallUp:
        case Event::kCallDown:
            break;  // told on request only
    }
    return "";
}

// ---- data call
// ------------------------------------------------------------------------------------------------

Outcome CallRow(Device& device, const Arguments& arguments) {
    if (arguments.size() != 2 || arguments[1] != "1") return Error();
    if (arguments[0] == "0") {
        device.HangUp();
        return Ok("$QCRMCALL: 0, V4");
    }
    if (arguments[0] != "1") return Error();
    // the answer comes when the dial has ended
    Outcome outcome;
    switch (device.Dial()) {
        case DialResult::kStarted:
            outcome = Ok("$QCRMCALL: 1, V4");
            outcome.takes_ms = device.call() == CallState::kDialling ? device.timing.dial_ms : 0;
            return outcome;
        case DialResult::kRefused:
            outcome.result = "NO CARRIER";
            outcome.takes_ms = device.timing.dial_ms;
            return outcome;
        case DialResult::kNoService:
            break;
    }
    return CmeError(kCmeNoNetworkService);
}

Outcome AskCall(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "$QCRMCALL: 1, V4" : "");
}

/// on_off, state, roaming, instance. State 1 is up; 3 is a call that the network has ended.
Outcome AskNetworkDevice(Device& device, const Arguments&) {
    const bool roams = device.Stat(kEps) == kStatRoaming || device.Stat(kPacket) == kStatRoaming;
    const std::string roaming = roams ? "1" : "0";
    switch (device.call()) {
        case CallState::kUp:
            return Ok("+QNETDEVSTATUS: 1,1," + roaming + ",1");
        case CallState::kCut:
            return Ok("+QNETDEVSTATUS: 1,3," + roaming + ",1");
        default:
            return Ok("+QNETDEVSTATUS: 0,0," + roaming + ",1");
    }
}

Outcome ContextRow(Device& device, const Arguments& arguments) {
    const auto number = ParseInteger(arguments.empty() ? "" : arguments[0], 1, kContextsMax);
    if (!number) return Error();
    Context& context = device.contexts[static_cast<int>(*number)];
    if (arguments.size() == 1) {
        return Ok("+QICSGP: 1,\"" + context.apn + "\",\"" + context.user + "\",\"" + context.password +
                  "\"," + std::to_string(context.authentication));
    }
    const auto type = ParseInteger(arguments[1], 1, 3);
    const auto authentication = ParseInteger(arguments.size() == 6 ? arguments[5] : "0", 0, 3);
    if (!type || !authentication || arguments.size() < 3 || arguments.size() > 6) return Error();
    constexpr const char* kTypes[] = {"IP", "IPV6", "IPV4V6"};
    context.type = kTypes[*type - 1];
    context.apn = arguments[2];
    context.user = arguments.size() > 3 ? arguments[3] : "";
    context.password = arguments.size() > 4 ? arguments[4] : "";
    context.authentication = static_cast<int>(*authentication);
    return Ok();
}

// ---- network and cells
// ----------------------------------------------------------------------------------------

Outcome AskNetwork(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+QNWINFO: No Service");
    const char* const band = IsLte(device) ? "LTE BAND {band}" : "{network} BAND {band}";
    return Ok(FillTemplate(device, std::string("+QNWINFO: \"{network}\",\"{country}{network-code}\",\"") +
                                       band + "\",{channel}"));
}

/// Where a modem with no service stands: still looking, or refused and camping for emergencies.
Outcome TellNoService(const Device& device) {
    const bool is_refused = device.Stat(kEps) == kStatDenied || device.Stat(kPacket) == kStatDenied;
    return Ok(is_refused ? "+QENG: \"servingcell\",\"LIMSRV\"" : "+QENG: \"servingcell\",\"SEARCH\"");
}

Outcome AskServingCell(Device& device, const Arguments&) {
    if (!device.HasService()) return TellNoService(device);
    const std::string head = std::string("+QENG: \"servingcell\",\"") +
                             (device.call() == CallState::kUp ? "CONNECT" : "NOCONN") + "\",";
    if (!IsLte(device)) {
        return Ok(FillTemplate(device, head + "\"{network}\",{country},{network-code},{area},{cell-address},"
                                              "{channel},{cell},1,-75,-8,-,-,-,-,-"));
    }
    const bool is_tdd = device.air.network.find("TDD") != std::string::npos;
    return Ok(
        FillTemplate(device, head + "\"LTE\",\"" + (is_tdd ? "TDD" : "FDD") +
                                 "\",{country},{network-code},{cell-address},{cell},{channel},{band},5,5,"
                                 "{area},{rsrp},{rsrq},{rssi},{sinr},27"));
}

Outcome AskNeighbourCells(Device& device, const Arguments&) {
    if (!device.HasService() || !IsLte(device)) return Ok();
    return Ok(
        FillTemplate(device,
                     "+QENG: \"neighbourcell intra\",\"LTE\",{channel},212,-14,-103,-75,0,22,7,16,6,44\n"
                     "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-16,-109,-80,0,18,2,15,4"));
}

// ---- settings
// -------------------------------------------------------------------------------------------------

bool IsSettingName(const std::string& name) {
    for (const char* each : kSettingNames) {
        if (name == each) return true;
    }
    return false;
}

std::string JoinFrom(const Arguments& arguments, size_t first) {
    std::string joined;
    for (size_t index = first; index < arguments.size(); ++index) {
        if (index > first) joined += ',';
        joined += arguments[index];
    }
    return joined;
}

/// "usbnet" takes effect with the next start of the modem.
Outcome SetUsbMode(Device& device, const Arguments& arguments) {
    const auto mode = ParseInteger(arguments.size() == 2 ? arguments[1] : "", 0, 3);
    if (!mode) return Error();
    device.usb_mode_after_boot = static_cast<int>(*mode);
    return Ok();
}

Outcome SettingRow(Device& device, const Arguments& arguments) {
    if (arguments.empty() || !IsSettingName(arguments[0])) return Error();
    const std::string& name = arguments[0];
    const bool is_usb_mode = name == kUsbModeSetting;
    if (arguments.size() == 1) {
        const auto stored = device.settings.find(name);
        const std::string value = is_usb_mode ? std::to_string(device.usb_mode_after_boot)
                                  : stored != device.settings.end() ? stored->second
                                                                    : "";
        return value.empty() ? Error() : Ok("+QCFG: \"" + name + "\"," + value);
    }
    if (is_usb_mode) return SetUsbMode(device, arguments);
    const bool is_table = name == kTableSetting;
    const std::string key = is_table ? name + "," + arguments[1] : name;
    if (is_table && !ParseInteger(arguments[1], 1, 3)) return Error();
    device.settings[key] = JoinFrom(arguments, is_table ? 2 : 1);
    return Ok();
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\nRevision: {firmware}", nullptr},
    {"AT+QCCID", kCard, "+QCCID: {iccid}", nullptr},
    {"AT+QTEMP", kNothing, "+QTEMP: {temperature},36,37", nullptr},
    {"AT+QNWINFO", kNothing, nullptr, AskNetwork},
    {"AT+QENG=\"servingcell\"", kNothing, nullptr, AskServingCell},
    {"AT+QENG=\"neighbourcell\"", kNothing, nullptr, AskNeighbourCells},
    {"AT+QCFG=*", kNothing, nullptr, SettingRow},
    {"AT+QICSGP=*", kNothing, nullptr, ContextRow},
    {"AT$QCRMCALL=*", kSim, nullptr, CallRow},
    {"AT$QCRMCALL?", kNothing, nullptr, AskCall},
    {"AT+QNETDEVSTATUS?", kNothing, nullptr, AskNetworkDevice},
    // Sent to every maker's modem; these know none of them.
    {"AT+MODODR=2", kNothing, nullptr, Refuse},
    {"AT+MEID", kNothing, nullptr, Refuse},
    {"AT+SIMTEST?", kNothing, nullptr, Refuse},
    {"AT^ICCID?", kNothing, nullptr, Refuse},
    {"AT+PSRAT", kNothing, nullptr, Refuse},
};

constexpr Family kFamily = {
    "quectel_qcom",         "Quectel", kModels,     kRows, "867698041122330", /*factory_error_mode=*/1,
    /*factory_usb_mode=*/0, Firmware,  Unsolicited,
};

}  // namespace

const Family& QuectelQcomFamily() {
    return kFamily;
}

}  // namespace modem_sim
