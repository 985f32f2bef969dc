// Cinterion modules (PLS83-W and its relatives): the data call is AT^SWWAN; AT^SMONI gives the cell and
// AT^SCTM the temperature. The AT port is a ttyACM device, which has another number after each restart.
#include "simulator/modem/dialect.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr char kTemperatureReport[] = "SCTM";

/// on, context; and an adapter.
Outcome SwitchAdapter(Device& device, const Arguments& arguments) {
    if (arguments.size() < 2 || arguments.size() > 3 || arguments[1] != "1") return Error();
    return SwitchCall(device, arguments[0]);
}

Outcome AskCell(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("^SMONI: Searching,SEARCH");
    if (!IsLte(device)) return Filled(device, "^SMONI: {network},{channel},{cell},-8,-75");
    return Filled(
        device,
        "^SMONI: LTE,{channel},{band},5,5,FDD,{country},{network-code},{area},{cell-address},{cell},19,"
        "{rsrp},{rsrq}");
}

Outcome AskTemperature(Device& device, const Arguments&) {
    const std::string stored = device.Setting(kTemperatureReport);
    return Filled(device, "^SCTM: " + (stored.empty() ? "0" : stored) + ",0,{temperature}");
}

/// reports; and their form.
Outcome SetTemperatureReport(Device& device, const Arguments& arguments) {
    if (arguments.empty() || arguments.size() > 2) return Error();
    for (const std::string& argument : arguments) {
        if (!ParseInteger(argument, 0, 1)) return Error();
    }
    device.settings[kTemperatureReport] = arguments[0];
    return Ok();
}

constexpr Model kModels[] = {{"PLS83-W"}, {"PLS63-W", "01.003"}};
constexpr const char* kPortNames[] = {"ttyACM1", "ttyACM0"};

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\nREVISION {firmware}"},
    {"AT+CCID", kCard, "+CCID: {iccid}"},
    {"AT^SCTM=*", kNothing, SetTemperatureReport},
    {"AT^SCTM?", kNothing, AskTemperature},
    {"AT^SMONI", kNothing, AskCell},
    {"AT^SWWAN=*", kSim, SwitchAdapter},
    {"AT^SWWAN?", kNothing, "^SWWAN: 1,{up},1"},  // context, state, adapter
};

}  // namespace

extern constexpr Family kCinterionFamily = {
    .name = "cinterion",
    .maker = "Cinterion",
    .models = kModels,
    .firmware = "01.202",
    .imei = "351562110123454",
    .factory_error_mode = 1,
    .port_names = kPortNames,
    .unsolicited = {.booted = "^SYSSTART\n+PBREADY"},
    .rows = kRows,
};

}  // namespace modem_sim
