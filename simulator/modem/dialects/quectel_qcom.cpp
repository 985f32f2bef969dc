// Quectel modules on Qualcomm chipsets (EG25, EG21 and their relatives): the data call is a network card of
// its own, dialled with AT$QCRMCALL and watched with AT+QNETDEVSTATUS; AT+QENG gives the cells.
#include "simulator/modem/dialects/quectel.h"

#include <algorithm>

#include "simulator/modem/dialect.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

/// The modem wants quotes around these names and takes single ones too; thermal/modem is a table, of which
/// the first argument is the row.
constexpr const char* kSettingNames[] = {"usbnet", "thermal/limit_rates", "thermal/txpwrlmt",
                                         "thermal/modem"};
constexpr const char* kUsbModeSetting = "usbnet";
constexpr const char* kTableSetting = "thermal/modem";

/// on, instance.
Outcome SwitchNetworkCard(Device& device, const Arguments& arguments) {
    if (arguments.size() != 2 || arguments[1] != "1") return Error();
    return SwitchCall(
        device, arguments[0],
        {.started = "$QCRMCALL: 1, V4", .hung_up = "$QCRMCALL: 0, V4", .refused = "NO CARRIER"});
}

Outcome AskNetworkCard(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "$QCRMCALL: 1, V4" : "");
}

/// on_off, state, roaming, instance. State 1 is up; 3 is a call that the network has ended.
Outcome AskNetworkDevice(Device& device, const Arguments&) {
    switch (device.call()) {
        case CallState::kUp:
            return Filled(device, "+QNETDEVSTATUS: 1,1,{roaming},1");
        case CallState::kCut:
            return Filled(device, "+QNETDEVSTATUS: 1,3,{roaming},1");
        default:
            return Filled(device, "+QNETDEVSTATUS: 0,0,{roaming},1");
    }
}

Outcome AskNeighbourCells(Device& device, const Arguments&) {
    return QuectelNeighbourCells(
        device,
        "+QENG: \"neighbourcell intra\",\"LTE\",{channel},212,-14,-103,-75,0,22,7,16,6,44\n"
        "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-16,-109,-80,0,18,2,15,4");
}

bool IsSettingName(const std::string& name) {
    return std::find(std::begin(kSettingNames), std::end(kSettingNames), name) != std::end(kSettingNames);
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
        const std::string stored = device.Setting(name);
        return stored.empty() ? Error() : Ok("+QCFG: \"" + name + "\"," + stored);
    }
    const bool is_table = name == kTableSetting;
    const std::string key = is_table ? name + "," + arguments[1] : name;
    if (is_table && !ParseInteger(arguments[1], 1, 3)) return Error();
    device.settings[key] = JoinFrom(arguments, is_table ? 2 : 1);
    return Ok();
}

constexpr Model kModels[] = {{"EG25", "EG25GGBR07A08M2G"}, {"EG21", "EG21GGBR07A11M1G"}};

constexpr Row kRows[] = {
    {"AT+QTEMP", kNothing, "+QTEMP: {temperature},36,37"},
    {"AT+QENG=\"neighbourcell\"", kNothing, AskNeighbourCells},
    {"AT+QCFG=*", kNothing, SettingRow},
    {"AT$QCRMCALL=*", kSim, SwitchNetworkCard},
    {"AT$QCRMCALL?", kNothing, AskNetworkCard},
    {"AT+QNETDEVSTATUS?", kNothing, AskNetworkDevice},
};

}  // namespace

extern constexpr Family kQuectelQcomFamily = {
    .name = "quectel_qcom",
    .maker = "Quectel",
    .models = kModels,
    .firmware = "{model}GBR07A01M1G",
    .imei = "867698041122330",
    .factory_error_mode = 1,
    .unsolicited = {.booted = "RDY\n+CFUN: 1",
                    .card_ready = "+CPIN: READY\n+QUSIM: 1\n+QIND: SMS DONE\n+QIND: PB DONE",
                    .card_gone = "+CPIN: NOT READY"},
    .rows = kRows,
    .shared_rows = QuectelRows,
};

}  // namespace modem_sim
