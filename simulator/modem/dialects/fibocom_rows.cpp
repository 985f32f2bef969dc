// What both Fibocom families word alike; see fibocom_rows.h.
#include "simulator/modem/dialects/fibocom_rows.h"

namespace modem_sim {

namespace {

constexpr int kUsbModeMost = 99;

/// The whole module restarts, and its port goes away meanwhile.
Outcome Restart(Device& device, const Arguments&) {
    device.RestartSoon();
    return Ok();
}

/// on, context. In another USB mode there is no card to carry the call, and the dial fails.
Outcome SwitchNetworkCard(Device& device, const Arguments& arguments) {
    if (arguments.size() != 2 || arguments[1] != "1") return Error();
    const bool has_card = device.usb_mode == device.family.factory_usb_mode;
    return arguments[0] == "1" && !has_card ? Error() : SwitchCall(device, arguments[0]);
}

Outcome AskNetworkCard(Device& device, const Arguments&) {
    if (device.call() != CallState::kUp) return Ok("+GTRNDIS: 0");
    return Ok("+GTRNDIS: 1,1,\"10.32.11.7\",\"114.114.114.114\",\"8.8.8.8\"");
}

constexpr Row kRows[] = {
    {"AT+GTUSBMODE?", kNothing, "+GTUSBMODE: {usb-mode}"},
    {"AT+GTUSBMODE=*", kNothing, SetUsbMode<kUsbModeMost>},
    {"AT+CFUN=15", kNothing, Restart},
    {"AT+CCID", kCard, "+CCID: {iccid}"},
    {"AT+GTRNDIS=*", kSim, SwitchNetworkCard},
    {"AT+GTRNDIS?", kNothing, AskNetworkCard},
};

}  // namespace

Table<Row> FibocomRows() {
    return kRows;
}

}  // namespace modem_sim
