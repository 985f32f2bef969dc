// ChuangYi modules on Innofidei chipsets: the call is a context that is activated by AT+CGACT; AT+SYSINFO
// gives the service, AT+RRCSTATE the link, and the host may write a subscriber number with AT+SCFG.
#include "simulator/modem/dialect.h"

namespace modem_sim {

namespace {

constexpr char kNewImsi[] = "usim";

/// on, context.
Outcome ActivateContext(Device& device, const Arguments& arguments) {
    if (arguments.size() != 2 || arguments[1] != "1") return Error();
    const bool has_context = device.contexts.find(1) != device.contexts.end();
    return arguments[0] == "1" && !has_context ? Error() : SwitchCall(device, arguments[0]);
}

/// srv_status, srv_domain, roam_status, sys_mode, sim_state, lock_state, sys_submode.
Outcome AskSystem(Device& device, const Arguments&) {
    const bool has_sim = device.card_state() == CardState::kReady;
    const char* const service = device.HasService() ? "2,3" : device.IsDenied() ? "1,0" : "0,0";
    return Filled(device, std::string("+SYSINFO: ") + service + ",{roaming}," +
                              (IsLte(device) ? "17," : "5,") + (has_sim ? "1" : "255") + ",0,9");
}

/// usim,COUNTRY,NETWORK,REST notes a subscriber number, SAVE writes what was noted.
Outcome WriteConfiguration(Device& device, const Arguments& arguments) {
    if (arguments.size() == 1 && arguments[0] == "SAVE") {
        const std::string noted = device.Setting(kNewImsi);
        if (noted.empty()) return Error();
        device.card().imsi = noted;
        return Ok();
    }
    if (arguments.size() != 4 || arguments[0] != "USIM") return Error();
    device.settings[kNewImsi] = arguments[1] + arguments[2] + arguments[3];
    return Ok();
}

constexpr Model kModels[] = {{"CY-LTE200"}, {"CY-LTE100"}};

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\n{firmware}"},
    {"AT^ICCID?", kCard, "^ICCID: {iccid}"},
    {"AT+SCFG=*", kCard, WriteConfiguration},
    {"AT+SYSINFO", kNothing, AskSystem},
    {"AT+CGACT=*", kSim, ActivateContext},
    {"AT+RRCSTATE", kNothing, "+RRCSTATE: {up},{act}"},  // stat, radio technology
};

}  // namespace

extern constexpr Family kChuangyiFamily = {
    .name = "chuangyi",
    .maker = "Innofidei",
    .models = kModels,
    .firmware = "{model}_R1.4",
    .imei = "864376030123459",
    .unsolicited = {.booted = "^MODE: 17", .card_ready = "^SIMST: 1", .card_gone = "^SIMST: 255"},
    .rows = kRows,
};

}  // namespace modem_sim
