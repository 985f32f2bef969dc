// LongSung modules: there is no dial command, the modem calls as soon as it has been given a context; the
// link is asked with AT+DATASTATUS and reported unasked by +DATASTATUS.
#include "simulator/modem/dialects/data_status.h"
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"U8300C", "U9300C", nullptr};

std::string Firmware(const std::string& model) {
    return "LST_" + model + "_V01.02";
}

/// The first context is the one that the modem calls with. Whether the call comes up is reported later.
Outcome ContextRow(Device& device, const Arguments& arguments) {
    const auto number = ParseInteger(arguments.empty() ? "" : arguments[0], 1, kContextsMax);
    if (!number || arguments.size() < 2) return CmeError(kCmeInvalidParameters);
    Context& context = device.contexts[static_cast<int>(*number)];
    context.type = arguments[1];
    context.apn = arguments.size() > 2 ? arguments[2] : "";
    if (*number == 1) device.Dial();
    return Ok();
}

Outcome AskLink(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "+DATASTATUS: 1" : "+DATASTATUS: 0");
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\n{firmware}", nullptr},
    {"AT+CGDCONT=*", kNothing, nullptr, ContextRow},
    {"AT+DATASTATUS", kNothing, nullptr, AskLink},
    {"AT+PSRAT", kNothing, "+PSRAT: {network}", nullptr},
    {"AT+SIMTEST?", kNothing, "+SIMTEST: 1", nullptr},
    {"AT^ICCID?", kCard, "^ICCID: {iccid}", nullptr},
    {"AT+MODODR=2", kNothing, nullptr, nullptr},
    {"AT+SIGNALIND=*", kNothing, nullptr, ReportSwitchRow<kSignalReport>},
    {"AT+NWTYPEIND=*", kNothing, nullptr, ReportSwitchRow<kTechnologyReport>},
    {"AT+URCIND=*", kNothing, nullptr, ReportSwitchRow<kOtherReports>},
    {"AT+PSDIALIND=*", kNothing, nullptr, ReportSwitchRow<kDialReport>},
    {"AT+DATASTATUSEN=*", kNothing, nullptr, ReportSwitchRow<kLinkReport>},
};

constexpr Family kFamily = {
    .name = "longsung",
    .maker = "LONGSUNG",
    .models = kModels,
    .rows = kRows,
    .imei = "862107040123457",
    .factory_error_mode = 0,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = TellDataStatusEvent,
    .radio_report = TellDataStatusRadio,
};

}  // namespace

const Family& LongsungFamily() {
    return kFamily;
}

}  // namespace modem_sim
