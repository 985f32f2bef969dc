// What Quectel modules word alike; see quectel.h.
#include "simulator/modem/dialects/quectel.h"

#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

/// Name under which the third argument of AT+QNETDEVCTL is kept.
constexpr const char* kReportSetting = "netdevctl reports";

/// Where a modem with no service stands: still looking, or refused and camping for emergencies.
Outcome TellNoService(const Device& device) {
    const bool is_refused = device.Stat(kEps) == kStatDenied || device.Stat(kPacket) == kStatDenied;
    return Ok(is_refused ? "+QENG: \"servingcell\",\"LIMSRV\"" : "+QENG: \"servingcell\",\"SEARCH\"");
}

}  // namespace

Outcome QuectelContext(Device& device, const Arguments& arguments) {
    const auto number = ParseInteger(arguments.empty() ? "" : arguments[0], 1, kContextsMax);
    if (!number) return Error();
    Context& context = device.contexts[static_cast<int>(*number)];
    if (arguments.size() == 1) {
        return Ok("+QICSGP: 1,\"" + context.apn + "\",\"" + context.user + "\",\"" + context.password +
                  "\"," + std::to_string(context.authentication));
    }
    const auto type = ParseInteger(arguments[1], 1, 3);
    const auto authentication = ParseInteger(arguments.size() == 6 ? arguments[5] : "0", 0, 3);
    if (!type || !authentication || arguments.size() < 3 || arguments.size() > 6) return Error();
    constexpr const char* kTypes[] = {"IP", "IPV6", "IPV4V6"};
    context.type = kTypes[*type - 1];
    context.apn = arguments[2];
    context.user = arguments.size() > 3 ? arguments[3] : "";
    context.password = arguments.size() > 4 ? arguments[4] : "";
    context.authentication = static_cast<int>(*authentication);
    return Ok();
}

Outcome QuectelNetwork(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+QNWINFO: No Service");
    const char* const band = IsLte(device) ? "LTE BAND {band}" : "{network} BAND {band}";
    return Ok(FillTemplate(device, std::string("+QNWINFO: \"{network}\",\"{country}{network-code}\",\"") +
                                       band + "\",{channel}"));
}

Outcome QuectelServingCell(Device& device, const Arguments&) {
    if (!device.HasService()) return TellNoService(device);
    const std::string head = std::string("+QENG: \"servingcell\",\"") +
                             (device.call() == CallState::kUp ? "CONNECT" : "NOCONN") + "\",";
    if (!IsLte(device)) {
        return Ok(FillTemplate(device, head + "\"{network}\",{country},{network-code},{area},{cell-address},"
                                              "{channel},{cell},1,-75,-8,-,-,-,-,-"));
    }
    const bool is_tdd = device.air.network.find("TDD") != std::string::npos;
    return Ok(
        FillTemplate(device, head + "\"LTE\",\"" + (is_tdd ? "TDD" : "FDD") +
                                 "\",{country},{network-code},{cell-address},{cell},{channel},{band},5,5,"
                                 "{area},{rsrp},{rsrq},{rssi},{sinr},27"));
}

Outcome QuectelSetUsbMode(Device& device, const Arguments& arguments) {
    const auto mode = ParseInteger(arguments.size() == 1 ? arguments[0] : "", 0, 3);
    if (!mode) return Error();
    device.usb_mode_after_boot = static_cast<int>(*mode);
    return Ok();
}

Outcome QuectelAskUsbMode(Device& device, const Arguments&) {
    return Ok("+QCFG: \"usbnet\"," + std::to_string(device.usb_mode_after_boot));
}

bool QuectelReportsCalls(const Device& device) {
    const auto stored = device.settings.find(kReportSetting);
    return stored != device.settings.end() && stored->second == "1";
}

Outcome QuectelAskNetDevCtl(Device& device, const Arguments&) {
    if (device.call() == CallState::kDown) return Ok("+QNETDEVCTL: 0,1,0,0");
    const std::string report = QuectelReportsCalls(device) ? "1" : "0";
    const std::string state = device.call() == CallState::kUp ? "1" : "0";
    return Ok("+QNETDEVCTL: 1,1," + report + "," + state);
}

NetDevCtl QuectelReadNetDevCtl(Device& device, const Arguments& arguments) {
    if (arguments.size() == 1 && arguments[0] == "0") return NetDevCtl::kHangUp;
    const bool is_dial = arguments.size() == 3 && arguments[0] == "1" &&
                         ParseInteger(arguments[1], 1, kContextsMax) && ParseInteger(arguments[2], 0, 1);
    if (!is_dial) return NetDevCtl::kWrong;
    device.settings[kReportSetting] = arguments[2];
    return NetDevCtl::kDial;
}

}  // namespace modem_sim
