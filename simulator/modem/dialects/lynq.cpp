// LYNQ L503: the data link is AT+NETOPEN, which takes nothing, and AT+CPSI? tells system, cell and signal.
// There is no blank behind the colons, but for the state of the link.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"L503", nullptr};
constexpr const char* kLedSetting = "CGNETLED";

std::string Firmware(const std::string&) {
    return "L503Cv01.02b14";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\nLYNQ READY\r\n";
        case Event::kCardReady:
            return "\r\n+CPIN: READY\r\n";
        case Event::kCardGone:
            return "\r\n+CPIN: NOT INSERTED\r\n";
        case Event::kCallUp:
        case Event::kCallDown:
            break;  // told on request only
    }
    return "";
}

/// Says what became of it behind the command's name, and OK in each case.
Outcome OpenNetwork(Device& device, const Arguments&) {
    const DialResult result = device.Dial();
    Outcome outcome = Ok(result == DialResult::kStarted ? "+NETOPEN:SUCCESS" : "+NETOPEN:FAIL");
    const bool takes_its_time = result == DialResult::kRefused || device.call() == CallState::kDialling;
    if (takes_its_time) outcome.takes_ms = device.timing.dial_ms;
    return outcome;
}

Outcome CloseNetwork(Device& device, const Arguments&) {
    const bool was_open = device.call() == CallState::kUp || device.call() == CallState::kDialling;
    device.HangUp();
    return Ok(was_open ? "+NETCLOSE:SUCCESS" : "+NETCLOSE:FAIL");
}

Outcome AskNetwork(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "+NETOPEN: 1" : "+NETOPEN: 0");
}

/// System, state, network, area, cell address, cell, band, channel, widths down and up, rsrq, rsrp, rssi,
/// quality, sinr.
Outcome AskSystem(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+CPSI:NO SERVICE,Online");
    return Ok(
        FillTemplate(device, std::string("+CPSI:") + (IsLte(device) ? "LTE" : "{network}") +
                                 ",Online,{country}-{network-code},0x{area},{cell-address},{cell},{band},"
                                 "{channel},100,100,{rsrq},{rsrp},{rssi},{csq},{sinr}"));
}

Outcome SetLed(Device& device, const Arguments& arguments) {
    const auto on = ParseInteger(arguments.size() == 1 ? arguments[0] : "", 0, 1);
    if (!on) return Error();
    device.settings[kLedSetting] = arguments[0];
    return Ok();
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\n{firmware}", nullptr},
    {"AT+CGSN", kNothing, "+CGSN: \"{imei}\"", nullptr},
    {"AT+ICCID", kCard, "+ICCID:{iccid}", nullptr},
    {"AT+CGNETLED=*", kNothing, nullptr, SetLed},
    {"AT+CPSI?", kNothing, nullptr, AskSystem},
    {"AT+NETOPEN", kSim, nullptr, OpenNetwork},
    {"AT+NETOPEN?", kNothing, nullptr, AskNetwork},
    {"AT+NETCLOSE", kNothing, nullptr, CloseNetwork},
};

constexpr Family kFamily = {
    .name = "lynq",
    .maker = "LYNQ",
    .models = kModels,
    .rows = kRows,
    .imei = "869212040034560",
    .factory_error_mode = 1,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
};

}  // namespace

const Family& LynqFamily() {
    return kFamily;
}

}  // namespace modem_sim
