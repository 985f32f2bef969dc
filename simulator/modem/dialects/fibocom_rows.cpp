// What the rows of both Fibocom families do alike; see fibocom_rows.h.
#include "simulator/modem/dialects/fibocom_rows.h"

#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr int kUsbModeMax = 99;

}  // namespace

Outcome SetFibocomUsbMode(Device& device, const Arguments& arguments) {
    const auto mode = ParseInteger(arguments.size() == 1 ? arguments[0] : "", 0, kUsbModeMax);
    if (!mode) return Error();
    device.usb_mode_after_boot = static_cast<int>(*mode);
    return Ok();
}

Outcome RestartFibocom(Device& device, const Arguments&) {
    device.RestartSoon();
    return Ok();
}

Outcome FibocomCall(Device& device, const Arguments& arguments, int network_card_mode) {
    if (arguments.size() != 2 || arguments[1] != "1") return Error();
    if (arguments[0] == "0") {
        device.HangUp();
        return Ok();
    }
    if (arguments[0] != "1" || device.usb_mode != network_card_mode) return Error();
    return Dial(device);
}

Outcome AskFibocomCall(Device& device, const Arguments&) {
    if (device.call() != CallState::kUp) return Ok("+GTRNDIS: 0");
    return Ok("+GTRNDIS: 1,1,\"10.32.11.7\",\"114.114.114.114\",\"8.8.8.8\"");
}

std::string TellFibocomEvent(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\nAT command ready\r\n";
        case Event::kCardReady:
            return "\r\n+SIM READY\r\n";
        case Event::kCardGone:
            return "\r\n+SIM DROP\r\n";
        case Event::kCallUp:
        case Event::kCallDown:
            break;  // told on request only
    }
    return "";
}

}  // namespace modem_sim
