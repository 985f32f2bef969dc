// Quectel modules on Qualcomm chipsets (EG25, EG21 and their relatives): the data call is a network card of
// its own, dialled with AT$QCRMCALL and watched with AT+QNETDEVSTATUS; cells are told by AT+QENG.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/dialects/quectel.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

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

// Data call

Outcome CallRow(Device& device, const Arguments& arguments) {
    if (arguments.size() != 2 || arguments[1] != "1") return Error();
    if (arguments[0] == "0") {
        device.HangUp();
        return Ok("$QCRMCALL: 0, V4");
    }
    if (arguments[0] != "1") return Error();
    return Dial(device, {.started = "$QCRMCALL: 1, V4", .refused = "NO CARRIER"});
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

// Cells

Outcome AskNeighbourCells(Device& device, const Arguments&) {
    if (!device.HasService() || !IsLte(device)) return Ok();
    return Ok(
        FillTemplate(device,
                     "+QENG: \"neighbourcell intra\",\"LTE\",{channel},212,-14,-103,-75,0,22,7,16,6,44\n"
                     "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-16,-109,-80,0,18,2,15,4"));
}

// Settings

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

Outcome SettingRow(Device& device, const Arguments& arguments) {
    if (arguments.empty() || !IsSettingName(arguments[0])) return Error();
    const std::string& name = arguments[0];
    if (name == kUsbModeSetting) {
        const Arguments mode(arguments.begin() + 1, arguments.end());
        return mode.empty() ? QuectelAskUsbMode(device, mode) : QuectelSetUsbMode(device, mode);
    }
    if (arguments.size() == 1) {
        const auto stored = device.settings.find(name);
        return stored == device.settings.end() ? Error() : Ok("+QCFG: \"" + name + "\"," + stored->second);
    }
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
    {"AT+QNWINFO", kNothing, nullptr, QuectelNetwork},
    {"AT+QENG=\"servingcell\"", kNothing, nullptr, QuectelServingCell},
    {"AT+QENG=\"neighbourcell\"", kNothing, nullptr, AskNeighbourCells},
    {"AT+QCFG=*", kNothing, nullptr, SettingRow},
    {"AT+QICSGP=*", kNothing, nullptr, QuectelContext},
    {"AT$QCRMCALL=*", kSim, nullptr, CallRow},
    {"AT$QCRMCALL?", kNothing, nullptr, AskCall},
    {"AT+QNETDEVSTATUS?", kNothing, nullptr, AskNetworkDevice},
};

constexpr Family kFamily = {
    .name = "quectel_qcom",
    .maker = "Quectel",
    .models = kModels,
    .rows = kRows,
    .imei = "867698041122330",
    .factory_error_mode = 1,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
};

}  // namespace

const Family& QuectelQcomFamily() {
    return kFamily;
}

}  // namespace modem_sim
