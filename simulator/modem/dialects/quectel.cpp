// What Quectel modules word alike; see quectel.h.
#include "simulator/modem/dialects/quectel.h"

#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr int kUsbModeMost = 3;
/// Name under which the third argument of AT+QNETDEVCTL is kept.
constexpr const char* kReportSetting = "netdevctl reports";

/// Where a modem with no service stands: still looking, or refused and camping for emergencies.
Outcome TellNoService(const Device& device) {
    return Ok(device.IsDenied() ? "+QENG: \"servingcell\",\"LIMSRV\"" : "+QENG: \"servingcell\",\"SEARCH\"");
}

Outcome ContextRow(Device& device, const Arguments& arguments) {
    const std::optional<int> number = ContextNumber(arguments);
    if (!number) return Error();
    Context& context = device.contexts[*number];
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
    context.user = ArgumentAt(arguments, 3);
    context.password = ArgumentAt(arguments, 4);
    context.authentication = static_cast<int>(*authentication);
    return Ok();
}

Outcome AskNetwork(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+QNWINFO: No Service");
    const char* const band = IsLte(device) ? "LTE BAND {band}" : "{network} BAND {band}";
    return Filled(device, std::string("+QNWINFO: \"{network}\",\"{country}{network-code}\",\"") + band +
                              "\",{channel}");
}

Outcome AskServingCell(Device& device, const Arguments&) {
    if (!device.HasService()) return TellNoService(device);
    const std::string head = std::string("+QENG: \"servingcell\",\"") +
                             (device.call() == CallState::kUp ? "CONNECT" : "NOCONN") + "\",";
    if (!IsLte(device)) {
        return Filled(device, head +
                                  "\"{network}\",{country},{network-code},{area},{cell-address},"
                                  "{channel},{cell},1,-75,-8,-,-,-,-,-");
    }
    const bool is_tdd = device.air.network.find("TDD") != std::string::npos;
    return Filled(device, head + "\"LTE\",\"" + (is_tdd ? "TDD" : "FDD") +
                              "\",{country},{network-code},{cell-address},{cell},{channel},{band},5,5,"
                              "{area},{rsrp},{rsrq},{rssi},{sinr},27");
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\nRevision: {firmware}"},
    {"AT+QCCID", kCard, "+QCCID: {iccid}"},
    {"AT+QNWINFO", kNothing, AskNetwork},
    {"AT+QENG=\"servingcell\"", kNothing, AskServingCell},
    {"AT+QCFG=\"usbnet\"", kNothing, QuectelAskUsbMode},
    {"AT+QCFG=\"usbnet\",*", kNothing, QuectelSetUsbMode},
    {"AT+QICSGP=*", kNothing, ContextRow},
};

}  // namespace

Table<Row> QuectelRows() {
    return kRows;
}

Outcome QuectelAskUsbMode(Device& device, const Arguments&) {
    return Ok("+QCFG: \"usbnet\"," + std::to_string(device.usb_mode_after_boot));
}

Outcome QuectelSetUsbMode(Device& device, const Arguments& arguments) {
    return SetUsbMode<kUsbModeMost>(device, arguments);
}

Outcome QuectelNeighbourCells(const Device& device, std::string_view cells) {
    return device.HasService() && IsLte(device) ? Filled(device, cells) : Ok();
}

bool QuectelReportsCalls(const Device& device) {
    return device.Setting(kReportSetting) == "1";
}

Outcome QuectelNetDevCtl(Device& device, const Arguments& arguments, const DialWords& words) {
    if (arguments.size() == 1 && arguments[0] == "0") return SwitchCall(device, "0");
    const bool is_dial = arguments.size() == 3 && arguments[0] == "1" && ContextNumber({arguments[1]}) &&
                         ParseInteger(arguments[2], 0, 1);
    if (!is_dial) return Error();
    device.settings[kReportSetting] = arguments[2];
    return Dial(device, words);
}

Outcome QuectelAskNetDevCtl(Device& device, const Arguments&) {
    if (device.call() == CallState::kDown) return Ok("+QNETDEVCTL: 0,1,0,0");
    return Filled(device,
                  std::string("+QNETDEVCTL: 1,1,") + (QuectelReportsCalls(device) ? "1" : "0") + ",{up}");
}

}  // namespace modem_sim
