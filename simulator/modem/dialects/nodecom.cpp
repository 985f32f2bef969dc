// NodeCom modules: dialled with AT+ECMDUP, whose answer comes when the dial has ended; the link is reported
// unasked by +DATASTATUS, and asked with AT+PKTSTATUS.
#include "simulator/modem/dialects/data_status.h"
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"NL660", "NL760", nullptr};
constexpr size_t kDialArguments = 5;

std::string Firmware(const std::string& model) {
    return model + "_V2.1.0";
}

/// Context, on or off, and three more that the modem takes as they are.
Outcome CallRow(Device& device, const Arguments& arguments) {
    if (arguments.size() != kDialArguments || arguments[0] != "1") return Error();
    if (arguments[1] == "0") {
        device.HangUp();
        return Ok();
    }
    if (arguments[1] != "1") return Error();
    return Dial(device, {.refused = "NO CARRIER"});
}

Outcome AskLink(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "+PKTSTATUS: 1,1" : "+PKTSTATUS: 0,1");
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\n{firmware}", nullptr},
    {"AT+ECMDUP=*", kSim, nullptr, CallRow},
    {"AT+PKTSTATUS", kNothing, nullptr, AskLink},
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
    .name = "nodecom",
    .maker = "Nodecom",
    .models = kModels,
    .rows = kRows,
    .imei = "866758040123458",
    .factory_error_mode = 0,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = TellDataStatusEvent,
    .radio_report = TellDataStatusRadio,
};

}  // namespace

const Family& NodecomFamily() {
    return kFamily;
}

}  // namespace modem_sim
