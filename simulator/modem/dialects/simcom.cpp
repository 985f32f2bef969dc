// SIMCom modules: the data call is AT$QCRMCALL with APN and authentication in one command, and system and
// cell are told by AT+CPSI?.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"SIM7600", nullptr};

std::string Firmware(const std::string&) {
    return "LE11B12SIM7600M22";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\nRDY\r\n";
        case Event::kCardReady:
            return "\r\n+CPIN: READY\r\n\r\nSMS DONE\r\n\r\nPB DONE\r\n";
        case Event::kCardGone:
            return "\r\n+CPIN: SIM REMOVED\r\n";
        case Event::kCallUp:
        case Event::kCallDown:
            break;  // told on request only
    }
    return "";
}

/// Places of AT$QCRMCALL=, counted from 0: on or off, instance, IP version, three that stay empty, APN, user,
/// password, kind of authentication. The short form ends behind the instance.
enum CallArgument : size_t {
    kOn = 0,
    kInstance = 1,
    kApn = 6,
    kUser = 7,
    kPassword = 8,
    kAuthentication = 9,
    kCallArguments = 10,
};

Outcome StartCall(Device& device, const Arguments& arguments) {
    if (arguments.size() > 2) {
        const std::string& kind = arguments[kAuthentication];
        const auto authentication = ParseInteger(kind.empty() ? "0" : kind, 0, 3);
        if (!authentication) return Error();
        Context& context = device.contexts[1];
        context.apn = arguments[kApn];
        context.user = arguments[kUser];
        context.password = arguments[kPassword];
        context.authentication = static_cast<int>(*authentication);
    }
    return Dial(device, {.started = "$QCRMCALL: 1,V4", .refused = "NO CARRIER"});
}

Outcome CallRow(Device& device, const Arguments& arguments) {
    const bool is_known_form = arguments.size() == 2 || arguments.size() == kCallArguments;
    if (!is_known_form || arguments[kInstance] != "1") return Error();
    if (arguments[kOn] == "1") return StartCall(device, arguments);
    if (arguments[kOn] != "0") return Error();
    device.HangUp();
    return Ok("$QCRMCALL: 0,V4");
}

Outcome AskCall(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "$QCRMCALL: 1,V4" : "");
}

Outcome AskSystem(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+CPSI: NO SERVICE,Online");
    if (!IsLte(device)) {
        return Ok(FillTemplate(device,
                               "+CPSI: {network},Online,{country}-{network-code},0x{area},"
                               "{cell-address},{network} IMT 2000,{cell},{channel},0,8,62,16,45"));
    }
    return Ok(FillTemplate(device,
                           "+CPSI: LTE,Online,{country}-{network-code},0x{area},{cell-address},{cell},"
                           "EUTRAN-BAND{band},{channel},5,5,{rsrq},{rsrp},{rssi},{sinr}"));
}

Outcome AskActiveContexts(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "+CGACT: 1,1" : "+CGACT: 1,0");
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "Manufacturer: {maker}\nModel: {model}\nRevision: {firmware}\nIMEI: {imei}", nullptr},
    {"AT+CICCID", kCard, "+ICCID: {iccid}", nullptr},
    {"AT+CPSI?", kNothing, nullptr, AskSystem},
    {"AT+CGACT?", kNothing, nullptr, AskActiveContexts},
    {"AT$QCRMCALL=*", kSim, nullptr, CallRow},
    {"AT$QCRMCALL?", kNothing, nullptr, AskCall},
};

constexpr Family kFamily = {
    .name = "simcom",
    .maker = "SIMCOM INCORPORATED",
    .models = kModels,
    .rows = kRows,
    .imei = "861585040123450",
    .factory_error_mode = 1,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
};

}  // namespace

const Family& SimcomFamily() {
    return kFamily;
}

}  // namespace modem_sim
