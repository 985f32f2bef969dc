// Huawei modules of the ME909 kind: the data call is AT^NDISDUP, whose parameters follow one another, and is
// watched with AT^NDISSTATQRY; the modem reports call and signal unsolicited, and the radio technology stands
// in the report of the signal alone.
#include "simulator/modem/dialect.h"

namespace modem_sim {

namespace {

constexpr char kLampSetting[] = "lamp";
constexpr size_t kDialArgumentsMax = 7;

/// rssi, rsrp, sinr, rsrq, each in steps from the weakest that the modem reports.
std::string SignalLine(const Device& device) {
    if (!device.HasService()) return "^HCSQ: \"NOSERVICE\"";
    const Surroundings& air = device.air;
    const std::string rssi = std::to_string(air.rssi_dbm + 121);
    if (!IsLte(device)) return "^HCSQ: \"" + air.network + "\"," + rssi + "," + rssi + ",50";
    return "^HCSQ: \"LTE\"," + rssi + "," + std::to_string(air.rsrp_dbm + 141) + "," +
           std::to_string((air.sinr_db + 20) * 5) + "," + std::to_string((air.rsrq_db + 20) * 2);
}

std::string ReportRadio(const Device& device, RadioReport) {
    return SignalLine(device);
}

Outcome AskSignal(Device& device, const Arguments&) {
    return Ok(SignalLine(device));
}

/// Instance, on. APN, user name, password, PIN and authentication may follow a dial.
Outcome DialUp(Device& device, const Arguments& arguments) {
    if (arguments.size() < 2 || arguments.size() > kDialArgumentsMax || arguments[0] != "1") return Error();
    if (arguments[1] == "1") {
        Context& context = device.contexts[1];
        if (arguments.size() > 2) context.apn = arguments[2];
        if (arguments.size() > 3) context.user = arguments[3];
        if (arguments.size() > 4) context.password = arguments[4];
    }
    // ^NDISSTAT says later that the call is up.
    return SwitchCall(device, arguments[1], {.started_waits = false, .refused_waits = false});
}

Outcome AskCall(Device& device, const Arguments&) {
    switch (device.call()) {
        case CallState::kUp:
            return Ok("^NDISSTATQRY: 1,,,\"IPV4\"");
        case CallState::kDialling:
            return Ok("^NDISSTATQRY: 2,,,\"IPV4\"");
        case CallState::kCut:
            return Ok("^NDISSTATQRY: 0,33,,\"IPV4\"");
        case CallState::kDown:
            break;
    }
    return Ok("^NDISSTATQRY: 0,,,\"IPV4\"");
}

constexpr Model kModels[] = {{"ME909s-821"}, {"ME909u-521", "12.636.11.01.00"}};

constexpr Row kRows[] = {
    {"ATI", kNothing, "Manufacturer: {maker}\nModel: {model}\nRevision: {firmware}\nIMEI: {imei}"},
    {"AT^ICCID?", kCard, "^ICCID: {iccid}"},
    {"AT^HCSQ?", kNothing, AskSignal},
    {"AT^LEDCTRL=*", kNothing, StoreSetting<kLampSetting, 2>},
    {"AT^NDISDUP=*", kSim, DialUp},
    {"AT^NDISSTATQRY?", kNothing, AskCall},
};

}  // namespace

extern constexpr Family kHuaweiFamily = {
    .name = "huawei",
    .maker = "Huawei Technologies Co., Ltd.",
    .models = kModels,
    .firmware = "11.617.09.00.00",
    .imei = "867377020123451",
    .factory_error_mode = 1,
    .unsolicited = {.booted = "^SYSSTART",
                    .card_ready = "^SIMST: 1,0",
                    .card_gone = "^SIMST: 255,0",
                    .call_up = "^NDISSTAT: 1,,,\"IPV4\"",
                    .call_down = "^NDISSTAT: 0,33,,\"IPV4\""},
    .radio_report = ReportRadio,
    .signal_report_names_technology = true,
    .rows = kRows,
};

}  // namespace modem_sim
