// Cinterion modules (PLS83-W and its relatives): the data call is AT^SWWAN, the cell is told by AT^SMONI and
// the temperature by AT^SCTM. The AT port is a ttyACM device, which has another number after each restart.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"PLS83-W", "PLS63-W", nullptr};
constexpr const char* kPortNames[] = {"ttyACM1", "ttyACM0", nullptr};
constexpr char kTemperatureReport[] = "SCTM";

std::string Firmware(const std::string& model) {
    return model == "PLS63-W" ? "01.003" : "01.202";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\n^SYSSTART\r\n\r\n+PBREADY\r\n";
        case Event::kCardReady:
        case Event::kCardGone:
        case Event::kCallUp:
        case Event::kCallDown:
            break;  // told on request only
    }
    return "";
}

/// action, context. The second and third number of the answer are state and adapter.
Outcome CallRow(Device& device, const Arguments& arguments) {
    if (arguments.size() < 2 || arguments.size() > 3 || arguments[1] != "1") return Error();
    if (arguments[0] == "0") {
        device.HangUp();
        return Ok();
    }
    if (arguments[0] != "1") return Error();
    return Dial(device);
}

Outcome AskCall(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "^SWWAN: 1,1,1" : "^SWWAN: 1,0,1");
}

Outcome AskCell(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("^SMONI: Searching,SEARCH");
    if (!IsLte(device)) return Ok(FillTemplate(device, "^SMONI: {network},{channel},{cell},-8,-75"));
    return Ok(FillTemplate(device,
                           "^SMONI: LTE,{channel},{band},5,5,FDD,{country},{network-code},{area},"
                           "{cell-address},{cell},19,{rsrp},{rsrq}"));
}

Outcome AskTemperature(Device& device, const Arguments&) {
    const auto report = device.settings.find(kTemperatureReport);
    const std::string is_reported = report == device.settings.end() ? "0" : report->second;
    return Ok(FillTemplate(device, "^SCTM: " + is_reported + ",0,{temperature}"));
}

Outcome SetTemperatureReport(Device& device, const Arguments& arguments) {
    if (arguments.empty() || arguments.size() > 2) return Error();
    for (const std::string& argument : arguments) {
        if (!ParseInteger(argument, 0, 1)) return Error();
    }
    device.settings[kTemperatureReport] = arguments[0];
    return Ok();
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\nREVISION {firmware}", nullptr},
    {"AT+CCID", kCard, "+CCID: {iccid}", nullptr},
    {"AT^SCTM=*", kNothing, nullptr, SetTemperatureReport},
    {"AT^SCTM?", kNothing, nullptr, AskTemperature},
    {"AT^SMONI", kNothing, nullptr, AskCell},
    {"AT^SWWAN=*", kSim, nullptr, CallRow},
    {"AT^SWWAN?", kNothing, nullptr, AskCall},
};

constexpr Family kFamily = {
    .name = "cinterion",
    .maker = "Cinterion",
    .models = kModels,
    .rows = kRows,
    .imei = "351562110123454",
    .factory_error_mode = 1,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
    .port_names = kPortNames,
};

}  // namespace

const Family& CinterionFamily() {
    return kFamily;
}

}  // namespace modem_sim
