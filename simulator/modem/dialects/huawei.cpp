// Huawei modules of the ME909 kind: the data call is AT^NDISDUP, whose parameters follow one another, and is
// watched with AT^NDISSTATQRY; the modem reports call and signal unasked, and the radio technology stands in
// the report of the signal alone.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"ME909s-821", "ME909u-521", nullptr};
constexpr size_t kDialArgumentsMax = 7;

std::string Firmware(const std::string& model) {
    return model == "ME909u-521" ? "12.636.11.01.00" : "11.617.09.00.00";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\n^SYSSTART\r\n";
        case Event::kCardReady:
            return "\r\n^SIMST: 1,0\r\n";
        case Event::kCardGone:
            return "\r\n^SIMST: 255,0\r\n";
        case Event::kCallUp:
            return "\r\n^NDISSTAT: 1,,,\"IPV4\"\r\n";
        case Event::kCallDown:
            return "\r\n^NDISSTAT: 0,33,,\"IPV4\"\r\n";
    }
    return "";
}

/// rssi, rsrp, sinr, rsrq, each in steps from the weakest that the modem tells.
std::string SignalLine(const Device& device) {
    if (!device.HasService()) return "^HCSQ: \"NOSERVICE\"";
    const Surroundings& air = device.air;
    const std::string rssi = std::to_string(air.rssi_dbm + 121);
    if (!IsLte(device)) return "^HCSQ: \"" + air.network + "\"," + rssi + "," + rssi + ",50";
    return "^HCSQ: \"LTE\"," + rssi + "," + std::to_string(air.rsrp_dbm + 141) + "," +
           std::to_string((air.sinr_db + 20) * 5) + "," + std::to_string((air.rsrq_db + 20) * 2);
}

std::string TellRadio(const Device& device, RadioReport) {
    return "\r\n" + SignalLine(device) + "\r\n";
}

Outcome AskSignal(Device& device, const Arguments&) {
    return Ok(SignalLine(device));
}

/// 1,1 dials, 1,0 hangs up. APN, user name, password, PIN and authentication may follow a dial.
Outcome CallRow(Device& device, const Arguments& arguments) {
    if (arguments.size() < 2 || arguments.size() > kDialArgumentsMax || arguments[0] != "1") return Error();
    if (arguments[1] == "0") {
        device.HangUp();
        return Ok();
    }
    if (arguments[1] != "1") return Error();
    Context& context = device.contexts[1];
    if (arguments.size() > 2) context.apn = arguments[2];
    if (arguments.size() > 3) context.user = arguments[3];
    if (arguments.size() > 4) context.password = arguments[4];
    // ^NDISSTAT says later that the call is up.
    return Dial(device, {.started_waits = false, .refused_waits = false});
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

Outcome SetLamp(Device& device, const Arguments& arguments) {
    if (arguments.size() != 1 || !ParseInteger(arguments[0], 0, 2)) return Error();
    device.settings["lamp"] = arguments[0];
    return Ok();
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "Manufacturer: {maker}\nModel: {model}\nRevision: {firmware}\nIMEI: {imei}", nullptr},
    {"AT^ICCID?", kCard, "^ICCID: {iccid}", nullptr},
    {"AT^HCSQ?", kNothing, nullptr, AskSignal},
    {"AT^LEDCTRL=*", kNothing, nullptr, SetLamp},
    {"AT^NDISDUP=*", kSim, nullptr, CallRow},
    {"AT^NDISSTATQRY?", kNothing, nullptr, AskCall},
};

constexpr Family kFamily = {
    .name = "huawei",
    .maker = "Huawei Technologies Co., Ltd.",
    .models = kModels,
    .rows = kRows,
    .imei = "867377020123451",
    .factory_error_mode = 1,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
    .radio_report = TellRadio,
};

}  // namespace

const Family& HuaweiFamily() {
    return kFamily;
}

}  // namespace modem_sim
