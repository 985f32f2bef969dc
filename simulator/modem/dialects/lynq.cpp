// LYNQ L503: the data link is AT+NETOPEN, which takes nothing, and AT+CPSI? gives system, cell and signal.
// There is no blank after the colons, but for the state of the link.
#include "simulator/modem/dialect.h"

namespace modem_sim {

namespace {

constexpr char kLedSetting[] = "CGNETLED";

/// Says what became of it after the command's name, and OK in each case.
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

/// System, state, network, area, cell address, cell, band, channel, widths down and up, rsrq, rsrp, rssi,
/// quality, sinr.
Outcome AskSystem(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+CPSI:NO SERVICE,Online");
    return Filled(device, std::string("+CPSI:") + (IsLte(device) ? "LTE" : "{network}") +
                              ",Online,{country}-{network-code},0x{area},{cell-address},{cell},{band},"
                              "{channel},100,100,{rsrq},{rsrp},{rssi},{csq},{sinr}");
}

constexpr Model kModels[] = {{"L503"}};

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\n{firmware}"},
    {"AT+CGSN", kNothing, "+CGSN: \"{imei}\""},
    {"AT+ICCID", kCard, "+ICCID:{iccid}"},
    {"AT+CGNETLED=*", kNothing, StoreSetting<kLedSetting>},
    {"AT+CPSI?", kNothing, AskSystem},
    {"AT+NETOPEN", kSim, OpenNetwork},
    {"AT+NETOPEN?", kNothing, "+NETOPEN: {up}"},
    {"AT+NETCLOSE", kNothing, CloseNetwork},
};

}  // namespace

extern constexpr Family kLynqFamily = {
    .name = "lynq",
    .maker = "LYNQ",
    .models = kModels,
    .firmware = "L503Cv01.02b14",
    .imei = "869212040034560",
    .factory_error_mode = 1,
    .unsolicited = {.booted = "LYNQ READY", .card_ready = "+CPIN: READY", .card_gone = "+CPIN: NOT INSERTED"},
    .rows = kRows,
};

}  // namespace modem_sim
