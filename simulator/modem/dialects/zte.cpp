// ZTE/Gosuncn modules (ME3630, GM196, GM196H and their relatives): the call is AT+ZECMCALL, answered at once
// and reported as "+ZECMCALL: CONNECT" when it is up; asked for, it shows its addresses. The GM196 shows
// none: it answers "OK" while the call is up and an error otherwise. Only the ME3630 measures by AT+ZSRSP.
#include <cstdio>
#include <cstdlib>

#include "simulator/modem/dialect.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr Model kModels[] = {
    {"ME3630", "ME3630C1CV1.0B06"},
    {"GM196", "GM196V1.0.0B09"},
    {"GM196H", "GM196HV1.0.0B03"},
};
constexpr const char* kModelMeasuring = kModels[0].name;
constexpr const char* kModelWithoutAddress = kModels[1].name;
/// On, APN, kind of context, user name, password, kind of authentication.
constexpr size_t kDialArgumentsMax = 6;

Outcome SwitchNetworkCard(Device& device, const Arguments& arguments) {
    if (arguments.empty() || arguments.size() > kDialArgumentsMax) return Error();
    if (arguments.size() > 1) {
        if (arguments[0] != "1") return Error();
        Context& context = device.contexts[1];
        context.apn = arguments[1];
        context.user = ArgumentAt(arguments, 3);
        context.password = ArgumentAt(arguments, 4);
        context.authentication = static_cast<int>(ParseInteger(ArgumentAt(arguments, 5), 0, 3).value_or(0));
    }
    return SwitchCall(device, arguments[0], {.refused = "NO CARRIER", .started_waits = false});
}

Outcome AskNetworkCard(Device& device, const Arguments&) {
    const bool is_up = device.call() == CallState::kUp;
    if (device.model == kModelWithoutAddress) return is_up ? Ok() : Error();
    return Ok(is_up ? "+ZECMCALL: IPV4, 10.64.12.7, 10.64.12.1, 10.64.0.11, 10.64.0.12" : "+ZECMCALL: IPV4");
}

Outcome AskNetwork(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+ZPAS: \"No Service\"");
    return Filled(device, "+ZPAS: \"{network}\",\"CS_PS\"");
}

/// A value as this module words it: filled up with zeros after the sign.
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
    return Filled(device, "+ZCELLINFO: {area}," + system + ",{cell},{band},{channel}");
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "Manufacturer: {maker}\nModel: {model}\nRevision: {firmware}\nIMEI: {imei}"},
    {"AT+ZGETICCID", kCard, "+ZGETICCID: {iccid}"},
    // Kind of USB device and of network card; the letters are compared like those of any command.
    {"AT+ZSWITCH=L", kNothing},
    {"AT+ZADSET=E", kNothing},
    {"AT+ZPAS?", kNothing, AskNetwork},
    {"AT+ZSRSP?", kNothing, AskSignal},
    {"AT+ZCELLINFO?", kNothing, AskCell},
    {"AT+ZECMCALL=*", kSim, SwitchNetworkCard},
    {"AT+ZECMCALL?", kNothing, AskNetworkCard},
};

}  // namespace

extern constexpr Family kZteFamily = {
    .name = "zte",
    .maker = "GOSUNCN",
    .models = kModels,
    .firmware = "{model}V1.0.0B01",
    .imei = "866758041903325",
    .unsolicited = {.booted = "+ZMSRI",
                    .card_gone = "+ZUSIMR:2",
                    .call_up = "+ZECMCALL: CONNECT",
                    .call_down = "+ZECMCALL: DISCONNECT"},
    .rows = kRows,
};

}  // namespace modem_sim
