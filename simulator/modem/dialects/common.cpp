// Rows that the standard (3GPP TS 27.007, ITU-T V.250) gives to every modem. A family that words one of them
// differently has a row of its own, which is found first.
#include "simulator/modem/dialect.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

std::string Argument(const Arguments& arguments, size_t index) {
    return index < arguments.size() ? arguments[index] : std::string();
}

Outcome EchoOff(Device& device, const Arguments&) {
    device.session.echo = false;
    return Ok();
}

Outcome EchoOn(Device& device, const Arguments&) {
    device.session.echo = true;
    return Ok();
}

Outcome ResetSession(Device& device, const Arguments&) {
    device.ResetSession();
    return Ok();
}

Outcome SetErrorMode(Device& device, const Arguments& arguments) {
    const auto mode = ParseInteger(Argument(arguments, 0), 0, 2);
    if (!mode) return CmeError(kCmeInvalidParameters);
    device.session.error_mode = static_cast<int>(*mode);
    return Ok();
}

Outcome SetRadio(Device& device, const Arguments& arguments) {
    const std::string mode = Argument(arguments, 0);
    const std::string restart = Argument(arguments, 1);
    if (mode == "1" && restart == "1") {
        device.RestartSoon();
        return Ok();
    }
    const bool is_known = mode == "0" || mode == "1" || mode == "4";
    if (!is_known || (arguments.size() > 1 && restart != "0")) return CmeError(kCmeInvalidParameters);
    device.SetRadio(mode == "0" ? Radio::kMinimum : mode == "1" ? Radio::kFull : Radio::kFlight);
    return Ok();
}

Outcome AskPin(Device& device, const Arguments&) {
    switch (device.AskCard()) {
        case CardState::kReady:
            return Ok("+CPIN: READY");
        case CardState::kLocked:
            return Ok("+CPIN: SIM PIN");
        case CardState::kBlocked:
            return Ok("+CPIN: SIM PUK");
        case CardState::kBusy:
            return CmeError(kCmeSimBusy);
        case CardState::kAbsent:
            return CmeError(kCmeSimNotInserted);
        case CardState::kUnpowered:
            break;
    }
    return CmeError(kCmeSimFailure);
}

Outcome EnterPin(Device& device, const Arguments& arguments) {
    switch (device.card_state()) {
        case CardState::kLocked:
            return device.EnterPin(Argument(arguments, 0)) ? Ok() : CmeError(kCmeIncorrectPassword);
        case CardState::kBlocked:
            return CmeError(kCmeSimPukRequired);
        default:
            return CmeError(kCmeNotAllowed);
    }
}

Outcome AskRegistration(const Device& device, Domain domain, const char* name) {
    const int report = device.session.report[domain];
    std::string line =
        std::string(name) + ": " + std::to_string(report) + "," + std::to_string(device.Stat(domain));
    if (report == 2 && device.IsRegistered(domain)) {
        line += FillTemplate(device, ",\"{area}\",\"{cell-address}\",{act}");
    }
    return Ok(line);
}

Outcome SetReport(Device& device, Domain domain, const Arguments& arguments) {
    const auto report = ParseInteger(Argument(arguments, 0), 0, 2);
    if (!report) return CmeError(kCmeInvalidParameters);
    device.session.report[domain] = static_cast<int>(*report);
    return Ok();
}

Outcome AskCreg(Device& device, const Arguments&) {
    return AskRegistration(device, kCircuit, "+CREG");
}
Outcome AskCgreg(Device& device, const Arguments&) {
    return AskRegistration(device, kPacket, "+CGREG");
}
Outcome AskCereg(Device& device, const Arguments&) {
    return AskRegistration(device, kEps, "+CEREG");
}
Outcome SetCreg(Device& device, const Arguments& arguments) {
    return SetReport(device, kCircuit, arguments);
}
Outcome SetCgreg(Device& device, const Arguments& arguments) {
    return SetReport(device, kPacket, arguments);
}
Outcome SetCereg(Device& device, const Arguments& arguments) {
    return SetReport(device, kEps, arguments);
}

Outcome AskOperator(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+COPS: 0");
    const char* const name = device.session.operator_format == 2 ? "+COPS: 0,2,\"{country}{network-code}\""
                                                                 : "+COPS: 0,0,\"{operator}\"";
    return Ok(FillTemplate(device, name) + "," + AccessTechnology(device));
}

/// The search for a network is always automatic here, so only that and the format of the name can be set.
Outcome SetOperator(Device& device, const Arguments& arguments) {
    const std::string mode = Argument(arguments, 0);
    if (mode != "0" && mode != "3") return CmeError(kCmeNotAllowed);
    if (arguments.size() == 1) return mode == "0" ? Ok() : CmeError(kCmeInvalidParameters);
    const std::string& format = arguments[1];
    if (format != "0" && format != "2") return CmeError(kCmeInvalidParameters);
    device.session.operator_format = format == "2" ? 2 : 0;
    return Ok();
}

Outcome ListContexts(Device& device, const Arguments&) {
    std::string lines;
    for (const auto& [number, context] : device.contexts) {
        if (!lines.empty()) lines += '\n';
        lines += "+CGDCONT: " + std::to_string(number) + ",\"" + context.type + "\",\"" + context.apn +
                 "\",\"0.0.0.0\",0,0";
    }
    return Ok(lines);
}

Outcome SetContext(Device& device, const Arguments& arguments) {
    const auto number = ParseInteger(Argument(arguments, 0), 1, kContextsMax);
    if (!number) return CmeError(kCmeInvalidParameters);
    if (arguments.size() == 1) {
        device.contexts.erase(static_cast<int>(*number));
        return Ok();
    }
    Context& context = device.contexts[static_cast<int>(*number)];
    context.type = arguments[1];
    context.apn = Argument(arguments, 2);
    return Ok();
}

Outcome AskAttached(Device& device, const Arguments&) {
    return Ok(device.IsRegistered(kPacket) || device.IsRegistered(kEps) ? "+CGATT: 1" : "+CGATT: 0");
}

constexpr Row kRows[] = {
    {"AT", kNothing, nullptr, nullptr},
    {"ATE", kNothing, nullptr, EchoOff},
    {"ATE0", kNothing, nullptr, EchoOff},
    {"ATE1", kNothing, nullptr, EchoOn},
    {"ATZ", kNothing, nullptr, ResetSession},
    {"ATZ0", kNothing, nullptr, ResetSession},
    {"AT&F", kNothing, nullptr, ResetSession},
    {"AT&F0", kNothing, nullptr, ResetSession},
    // who the modem is
    {"AT+CGMI", kNothing, "{maker}", nullptr},
    {"AT+CGMM", kNothing, "{model}", nullptr},
    {"AT+CGMR", kNothing, "{firmware}", nullptr},
    {"AT+CGSN", kNothing, "{imei}", nullptr},
    {"AT+CGSN=1", kNothing, "+CGSN: \"{imei}\"", nullptr},
    // settings
    {"AT+CMEE?", kNothing, "+CMEE: {cmee}", nullptr},
    {"AT+CMEE=*", kNothing, nullptr, SetErrorMode},
    {"AT+CFUN?", kNothing, "+CFUN: {cfun}", nullptr},
    {"AT+CFUN=*", kNothing, nullptr, SetRadio},
    // SIM
    {"AT+CPIN?", kNothing, nullptr, AskPin},
    {"AT+CPIN=*", kNothing, nullptr, EnterPin},
    {"AT+CIMI", kSim, "{imsi}", nullptr},
    // network
    {"AT+CSQ", kNothing, "+CSQ: {csq},99", nullptr},
    {"AT+CREG?", kNothing, nullptr, AskCreg},
    {"AT+CREG=*", kNothing, nullptr, SetCreg},
    {"AT+CGREG?", kNothing, nullptr, AskCgreg},
    {"AT+CGREG=*", kNothing, nullptr, SetCgreg},
    {"AT+CEREG?", kNothing, nullptr, AskCereg},
    {"AT+CEREG=*", kNothing, nullptr, SetCereg},
    {"AT+COPS?", kNothing, nullptr, AskOperator},
    {"AT+COPS=*", kNothing, nullptr, SetOperator},
    // packet data
    {"AT+CGATT?", kNothing, nullptr, AskAttached},
    {"AT+CGDCONT?", kNothing, nullptr, ListContexts},
    {"AT+CGDCONT=*", kNothing, nullptr, SetContext},
};

Outcome Refuse(Device&, const Arguments&) {
    return Error();
}

constexpr Row kForeignRows[] = {
    {"AT+MODODR=2", kNothing, nullptr, Refuse},  // LongSung and NodeCom have these two
    {"AT+SIMTEST?", kNothing, nullptr, Refuse}, {"AT+PSRAT", kNothing, nullptr, Refuse},
    {"AT^ICCID?", kNothing, nullptr, Refuse},   {"AT+MEID", kNothing, nullptr, Refuse},  // of CDMA modems
};

}  // namespace

RowTable CommonRows() {
    return kRows;
}

RowTable ForeignRows() {
    return kForeignRows;
}

}  // namespace modem_sim
