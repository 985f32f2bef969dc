// ChuangYi modules on Innofidei chipsets: the call is a context that is activated by AT+CGACT; service is
// told by AT+SYSINFO, the link by AT+RRCSTATE, and the host may write a subscriber number with AT+SCFG.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"CY-LTE200", "CY-LTE100", nullptr};
constexpr char kNewImsi[] = "usim";

std::string Firmware(const std::string& model) {
    return model + "_R1.4";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\n^MODE: 17\r\n";
        case Event::kCardReady:
            return "\r\n^SIMST: 1\r\n";
        case Event::kCardGone:
            return "\r\n^SIMST: 255\r\n";
        case Event::kCallUp:
        case Event::kCallDown:
            break;  // told on request only
    }
    return "";
}

Outcome ActivateContext(Device& device, const Arguments& arguments) {
    if (arguments.size() != 2 || arguments[1] != "1") return Error();
    if (arguments[0] == "0") {
        device.HangUp();
        return Ok();
    }
    if (arguments[0] != "1" || device.contexts.find(1) == device.contexts.end()) return Error();
    return Dial(device);
}

/// stat, radio technology.
Outcome AskLink(Device& device, const Arguments&) {
    return Ok(std::string("+RRCSTATE: ") + (device.call() == CallState::kUp ? "1," : "0,") +
              AccessTechnology(device));
}

/// srv_status, srv_domain, roam_status, sys_mode, sim_state, lock_state, sys_submode.
Outcome AskSystem(Device& device, const Arguments&) {
    const bool roams = device.Stat(kEps) == kStatRoaming || device.Stat(kPacket) == kStatRoaming;
    const bool is_limited = device.Stat(kEps) == kStatDenied || device.Stat(kPacket) == kStatDenied;
    const bool has_sim = device.card_state() == CardState::kReady;
    const char* const service = device.HasService() ? "2,3," : is_limited ? "1,0," : "0,0,";
    return Ok(std::string("+SYSINFO: ") + service + (roams ? "1," : "0,") + (IsLte(device) ? "17," : "5,") +
              (has_sim ? "1," : "255,") + "0,9");
}

/// usim,COUNTRY,NETWORK,REST notes a subscriber number, SAVE writes what was noted.
Outcome ConfigurationRow(Device& device, const Arguments& arguments) {
    if (arguments.size() == 1 && arguments[0] == "SAVE") {
        const auto noted = device.settings.find(kNewImsi);
        if (noted == device.settings.end()) return Error();
        device.card().imsi = noted->second;
        return Ok();
    }
    if (arguments.size() != 4 || arguments[0] != "USIM") return Error();
    device.settings[kNewImsi] = arguments[1] + arguments[2] + arguments[3];
    return Ok();
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\n{firmware}", nullptr},
    {"AT+CGACT=*", kSim, nullptr, ActivateContext},
    {"AT+RRCSTATE", kNothing, nullptr, AskLink},
    {"AT+SYSINFO", kNothing, nullptr, AskSystem},
    {"AT+SCFG=*", kCard, nullptr, ConfigurationRow},
    {"AT^ICCID?", kCard, "^ICCID: {iccid}", nullptr},
};

constexpr Family kFamily = {
    .name = "chuangyi",
    .maker = "Innofidei",
    .models = kModels,
    .rows = kRows,
    .imei = "864376030123459",
    .factory_error_mode = 0,
    .factory_usb_mode = 0,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
};

}  // namespace

const Family& ChuangyiFamily() {
    return kFamily;
}

}  // namespace modem_sim
