// Fibocom modules NL668 and MC116: the network card exists in one USB mode only, which AT+GTUSBMODE sets and
// a restart makes true; the data link is AT+GTRNDIS. Delivered with the echo on.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/dialects/fibocom_rows.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr int kNetworkCardMode = 18;
constexpr const char* kModels[] = {"NL668", "MC116", nullptr};
constexpr std::string_view kModelWithoutRevision = "MC116";

std::string Firmware(const std::string& model) {
    return model == kModelWithoutRevision ? "MC116CNA0.4.2" : "19006.1000.00.02.71.05";
}

/// The MC116 tells its firmware with no word in front.
Outcome Introduce(Device& device, const Arguments&) {
    const char* const revision = device.model == kModelWithoutRevision ? "" : "Revision: ";
    return Ok(FillTemplate(device, std::string("{maker}\n{model}\n") + revision + "{firmware}"));
}

/// Context, kind of authentication, user, password.
Outcome SetAuthentication(Device& device, const Arguments& arguments) {
    const auto number = ParseInteger(arguments.empty() ? "" : arguments[0], 1, kContextsMax);
    const auto kind = ParseInteger(arguments.size() == 4 ? arguments[1] : "", 0, 3);
    if (!number || !kind) return Error();
    Context& context = device.contexts[static_cast<int>(*number)];
    context.authentication = static_cast<int>(*kind);
    context.user = arguments[2];
    context.password = arguments[3];
    return Ok();
}

Outcome AskAuthentication(Device& device, const Arguments&) {
    std::string lines;
    for (const auto& [number, context] : device.contexts) {
        if (!lines.empty()) lines += '\n';
        lines += "+MGAUTH: " + std::to_string(number) + "," + std::to_string(context.authentication) + ",\"" +
                 context.user + "\",\"" + context.password + "\"";
    }
    return Ok(lines);
}

Outcome Dial(Device& device, const Arguments& arguments) {
    return FibocomCall(device, arguments, kNetworkCardMode);
}

constexpr Row kRows[] = {
    {"ATI", kNothing, nullptr, Introduce},
    {"AT+GTUSBMODE?", kNothing, "+GTUSBMODE: {usb-mode}", nullptr},
    {"AT+GTUSBMODE=*", kNothing, nullptr, SetFibocomUsbMode},
    {"AT+CFUN=15", kNothing, nullptr, RestartFibocom},
    {"AT+CCID", kCard, "+CCID: {iccid}", nullptr},
    {"AT+PSRAT", kService, "+PSRAT: {network}", nullptr},
    {"AT+MGAUTH?", kNothing, nullptr, AskAuthentication},
    {"AT+MGAUTH=*", kNothing, nullptr, SetAuthentication},
    {"AT+GTRNDIS?", kNothing, nullptr, AskFibocomCall},
    {"AT+GTRNDIS=*", kSim, nullptr, Dial},
    // Sent to every maker's modem; these know neither.
};

constexpr Family kFamily = {
    .name = "fibocom",
    .maker = "Fibocom",
    .models = kModels,
    .rows = kRows,
    .imei = "864839050012340",
    .factory_error_mode = 0,
    .factory_usb_mode = kNetworkCardMode,
    .firmware = Firmware,
    .unsolicited = TellFibocomEvent,
};

}  // namespace

const Family& FibocomFamily() {
    return kFamily;
}

}  // namespace modem_sim
