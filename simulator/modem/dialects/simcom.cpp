// SIMCom modules: the data call is AT$QCRMCALL with APN and authentication in one command, and AT+CPSI?
// gives system and cell.
#include "simulator/modem/dialect.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

/// Places of AT$QCRMCALL=, counted from 0: on or off, instance, IP version, three that stay empty, APN, user,
/// password, kind of authentication. The short form ends after the instance.
enum CallArgument : size_t {
    kOn = 0,
    kInstance = 1,
    kApn = 6,
    kUser = 7,
    kPassword = 8,
    kAuthentication = 9,
    kCallArguments = 10,
};

/// False for a kind of authentication that doesn't exist.
bool StoreContext(Device& device, const Arguments& arguments) {
    const std::string& kind = arguments[kAuthentication];
    const auto authentication = ParseInteger(kind.empty() ? "0" : kind, 0, 3);
    if (!authentication) return false;
    Context& context = device.contexts[1];
    context.apn = arguments[kApn];
    context.user = arguments[kUser];
    context.password = arguments[kPassword];
    context.authentication = static_cast<int>(*authentication);
    return true;
}

Outcome SwitchNetworkCard(Device& device, const Arguments& arguments) {
    const bool is_known_form = arguments.size() == 2 || arguments.size() == kCallArguments;
    if (!is_known_form || arguments[kInstance] != "1") return Error();
    const bool has_context = arguments[kOn] == "1" && arguments.size() == kCallArguments;
    if (has_context && !StoreContext(device, arguments)) return Error();
    return SwitchCall(device, arguments[kOn],
                      {.started = "$QCRMCALL: 1,V4", .hung_up = "$QCRMCALL: 0,V4", .refused = "NO CARRIER"});
}

Outcome AskNetworkCard(Device& device, const Arguments&) {
    return Ok(device.call() == CallState::kUp ? "$QCRMCALL: 1,V4" : "");
}

Outcome AskSystem(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+CPSI: NO SERVICE,Online");
    if (!IsLte(device)) {
        return Filled(device,
                      "+CPSI: {network},Online,{country}-{network-code},0x{area},{cell-address},"
                      "{network} IMT 2000,{cell},{channel},0,8,62,16,45");
    }
    return Filled(device,
                  "+CPSI: LTE,Online,{country}-{network-code},0x{area},{cell-address},{cell},"
                  "EUTRAN-BAND{band},{channel},5,5,{rsrq},{rsrp},{rssi},{sinr}");
}

constexpr Model kModels[] = {{"SIM7600"}};

constexpr Row kRows[] = {
    {"ATI", kNothing, "Manufacturer: {maker}\nModel: {model}\nRevision: {firmware}\nIMEI: {imei}"},
    {"AT+CICCID", kCard, "+ICCID: {iccid}"},
    {"AT+CPSI?", kNothing, AskSystem},
    {"AT+CGACT?", kNothing, "+CGACT: 1,{up}"},
    {"AT$QCRMCALL=*", kSim, SwitchNetworkCard},
    {"AT$QCRMCALL?", kNothing, AskNetworkCard},
};

}  // namespace

extern constexpr Family kSimcomFamily = {
    .name = "simcom",
    .maker = "SIMCOM INCORPORATED",
    .models = kModels,
    .firmware = "LE11B12SIM7600M22",
    .imei = "861585040123450",
    .factory_error_mode = 1,
    .unsolicited = {.booted = "RDY",
                    .card_ready = "+CPIN: READY\nSMS DONE\nPB DONE",
                    .card_gone = "+CPIN: SIM REMOVED"},
    .rows = kRows,
};

}  // namespace modem_sim
