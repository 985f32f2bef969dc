// Fibocom modules NL668 and MC116: the network card exists in one USB mode only, which AT+GTUSBMODE sets and
// a restart puts into effect; the data link is AT+GTRNDIS. Delivered with the echo on.
#include "simulator/modem/dialect.h"
#include "simulator/modem/dialects/fibocom_rows.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr std::string_view kModelWithoutRevision = "MC116";

/// The MC116 gives its firmware with no word in front.
Outcome Introduce(Device& device, const Arguments&) {
    const char* const revision = device.model == kModelWithoutRevision ? "" : "Revision: ";
    return Filled(device, std::string("{maker}\n{model}\n") + revision + "{firmware}");
}

/// Context, kind of authentication, user, password.
Outcome SetAuthentication(Device& device, const Arguments& arguments) {
    const std::optional<int> number = ContextNumber(arguments);
    const auto kind = ParseInteger(arguments.size() == 4 ? arguments[1] : "", 0, 3);
    if (!number || !kind) return Error();
    Context& context = device.contexts[*number];
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

constexpr Model kModels[] = {{"NL668"}, {"MC116", "MC116CNA0.4.2"}};

constexpr Row kRows[] = {
    {"ATI", kNothing, Introduce},
    {"AT+PSRAT", kService, "+PSRAT: {network}"},
    {"AT+MGAUTH=*", kNothing, SetAuthentication},
    {"AT+MGAUTH?", kNothing, AskAuthentication},
};

}  // namespace

extern constexpr Family kFibocomFamily = {
    .name = "fibocom",
    .maker = "Fibocom",
    .models = kModels,
    .firmware = "19006.1000.00.02.71.05",
    .imei = "864839050012340",
    .factory_usb_mode = 18,
    .unsolicited = kFibocomUnsolicited,
    .rows = kRows,
    .shared_rows = FibocomRows,
};

}  // namespace modem_sim
