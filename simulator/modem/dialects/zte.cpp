// ZTE/Gosuncn modules (ME3630, GM196, GM196H and their relatives): the call is AT+ZECMCALL, answered at once
// and reported as "+ZECMCALL: CONNECT" when it is up; asked for, it shows its addresses. The GM196 shows
// none: it answers "OK" while the call is up and an error otherwise. Only the ME3630 measures by AT+ZSRSP.
#include <cstdio>
#include <cstdlib>

#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModelMeasuring = "ME3630";
constexpr const char* kModelWithoutAddress = "GM196";
constexpr const char* kModels[] = {kModelMeasuring, kModelWithoutAddress, "GM196H", nullptr};

constexpr size_t kDialArgumentsMax =
    6;  // on, APN, kind of context, user name, password, kind of authentication

std::string Firmware(const std::string& model) {
    if (model == "ME3630") return "ME3630C1CV1.0B06";
    if (model == "GM196") return "GM196V1.0.0B09";
    if (model == "GM196H") return "GM196HV1.0.0B03";
    return model + "V1.0.0B01";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\n+ZMSRI\r\n";
        case Event::kCardReady:
            return "";
        case Event::kCardGone:
            return "\r\n+ZUSIMR:2\r\n";
        case Event::kCallUp:
            return "\r\n+ZECMCALL: CONNECT\r\n";
        case Event::kCallDown:
            return "\r\n+ZECMCALL: DISCONNECT\r\n";
    }
    return "";
}

// Data call

void StoreContext(Device& device, const Arguments& arguments) {
    const auto argument = [&arguments](size_t index) {
        return index < arguments.size() ? arguments[index] : std::string();
    };
    Context& context = device.contexts[1];
    context.apn = argument(1);
    context.user = argument(3);
    context.password = argument(4);
    context.authentication = static_cast<int>(ParseInteger(argument(5), 0, 3).value_or(0));
}

Outcome CallRow(Device& device, const Arguments& arguments) {
    if (arguments.size() == 1 && arguments[0] == "0") {
        device.HangUp();
        return Ok();
    }
    if (arguments.empty() || arguments[0] != "1" || arguments.size() > kDialArgumentsMax) return Error();
    if (arguments.size() > 1) StoreContext(device, arguments);
    return Dial(device, {.refused = "NO CARRIER", .started_waits = false});
}

Outcome AskCall(Device& device, const Arguments&) {
    const bool is_up = device.call() == CallState::kUp;
    if (device.model == kModelWithoutAddress) return is_up ? Ok() : Error();
    return Ok(is_up ? "+ZECMCALL: IPV4, 10.64.12.7, 10.64.12.1, 10.64.0.11, 10.64.0.12" : "+ZECMCALL: IPV4");
}

// Network and cells

Outcome AskNetwork(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+ZPAS: \"No Service\"");
    return Ok(FillTemplate(device, "+ZPAS: \"{network}\",\"CS_PS\""));
}

/// A value as this module words it: filled up with zeros behind the sign.
std::string Padded(int value, int digits) {
    char text[32];
    snprintf(text, sizeof text, "\"%s%0*d\"", value < 0 ? "-" : "", digits, abs(value));
    return text;
}

Outcome AskSignal(Device& device, const Arguments&) {
    if (device.model != kModelMeasuring || !device.HasService()) return Error();
    return Ok("+ZSRSP: " + Padded(device.air.rsrp_dbm, 3) + "," + Padded(device.air.rsrq_db, 2) + "," +
              Padded(device.air.rssi_dbm, 3) + "," + Padded(device.air.sinr_db, 3));
}

Outcome AskCell(Device& device, const Arguments&) {
    if (!device.HasService()) return Error();
    const std::string system = IsLte(device) ? "LTE" : "{network}";
    return Ok(FillTemplate(device, "+ZCELLINFO: {area}," + system + ",{cell},{band},{channel}"));
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "Manufacturer: {maker}\nModel: {model}\nRevision: {firmware}\nIMEI: {imei}", nullptr},
    {"AT+ZGETICCID", kCard, "+ZGETICCID: {iccid}", nullptr},
    // Kind of USB device and of network card; the letters are compared like those of any command.
    {"AT+ZSWITCH=L", kNothing, nullptr, nullptr},
    {"AT+ZADSET=E", kNothing, nullptr, nullptr},
    {"AT+ZPAS?", kNothing, nullptr, AskNetwork},
    {"AT+ZSRSP?", kNothing, nullptr, AskSignal},
    {"AT+ZCELLINFO?", kNothing, nullptr, AskCell},
    {"AT+ZECMCALL=*", kSim, nullptr, CallRow},
    {"AT+ZECMCALL?", kNothing, nullptr, AskCall},
};

constexpr Family kFamily = {
    .name = "zte",
    .maker = "GOSUNCN",
    .models = kModels,
    .rows = kRows,
    .imei = "866758041903325",
    .factory_error_mode = 0,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
};

}  // namespace

const Family& ZteFamily() {
    return kFamily;
}

}  // namespace modem_sim
