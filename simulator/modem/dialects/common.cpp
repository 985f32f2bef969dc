// Rows that the standard (3GPP TS 27.007, ITU-T V.250) gives to every modem. A family that words one of them
// differently has a row of its own, which is found first.
#include "simulator/modem/dialect.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

template <bool kOn>
Outcome SetEcho(Device& device, const Arguments&) {
    device.session.echo = kOn;
    return Ok();
}

Outcome ResetSession(Device& device, const Arguments&) {
    device.ResetSession();
    return Ok();
}

Outcome SetErrorMode(Device& device, const Arguments& arguments) {
    const auto mode = ParseInteger(ArgumentAt(arguments, 0), 0, 2);
    if (!mode) return CmeError(kCmeInvalidParameters);
    device.session.error_mode = static_cast<int>(*mode);
    return Ok();
}

Outcome SetRadio(Device& device, const Arguments& arguments) {
    const std::string mode = ArgumentAt(arguments, 0);
    const std::string restart = ArgumentAt(arguments, 1);
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
            return device.EnterPin(ArgumentAt(arguments, 0)) ? Ok() : CmeError(kCmeIncorrectPassword);
        case CardState::kBlocked:
            return CmeError(kCmeSimPukRequired);
        default:
            return CmeError(kCmeNotAllowed);
    }
}

template <Domain kDomain>
Outcome AskRegistration(Device& device, const Arguments&) {
    const int report = device.session.report[kDomain];
    const std::string line = std::string("+") + kDomainNames[kDomain] + ": " + std::to_string(report) + "," +
                             std::to_string(device.Stat(kDomain));
    const bool has_cell = report == 2 && device.IsRegistered(kDomain);
    return Filled(device, line + (has_cell ? ",\"{area}\",\"{cell-address}\",{act}" : ""));
}

template <Domain kDomain>
Outcome SetReport(Device& device, const Arguments& arguments) {
    const auto report = ParseInteger(ArgumentAt(arguments, 0), 0, 2);
    if (!report) return CmeError(kCmeInvalidParameters);
    device.session.report[kDomain] = static_cast<int>(*report);
    return Ok();
}

Outcome AskOperator(Device& device, const Arguments&) {
    if (!device.HasService()) return Ok("+COPS: 0");
    const char* const name = device.session.operator_format == 2 ? "+COPS: 0,2,\"{country}{network-code}\""
                                                                 : "+COPS: 0,0,\"{operator}\"";
    return Ok(FillTemplate(device, name) + "," + AccessTechnology(device));
}

/// The search for a network is always automatic here, so only that and the format of the name can be set.
Outcome SetOperator(Device& device, const Arguments& arguments) {
    const std::string mode = ArgumentAt(arguments, 0);
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

Outcome AskAttached(Device& device, const Arguments&) {
    return Ok(device.HasPacketService() ? "+CGATT: 1" : "+CGATT: 0");
}

constexpr Row kRows[] = {
    {"AT", kNothing},
    {"ATE", kNothing, SetEcho<false>},
    {"ATE0", kNothing, SetEcho<false>},
    {"ATE1", kNothing, SetEcho<true>},
    {"ATZ", kNothing, ResetSession},
    {"ATZ0", kNothing, ResetSession},
    {"AT&F", kNothing, ResetSession},
    {"AT&F0", kNothing, ResetSession},
    // who the modem is
    {"AT+CGMI", kNothing, "{maker}"},
    {"AT+CGMM", kNothing, "{model}"},
    {"AT+CGMR", kNothing, "{firmware}"},
    {"AT+CGSN", kNothing, "{imei}"},
    {"AT+CGSN=1", kNothing, "+CGSN: \"{imei}\""},
    // settings
    {"AT+CMEE?", kNothing, "+CMEE: {cmee}"},
    {"AT+CMEE=*", kNothing, SetErrorMode},
    {"AT+CFUN?", kNothing, "+CFUN: {cfun}"},
    {"AT+CFUN=*", kNothing, SetRadio},
    // SIM
    {"AT+CPIN?", kNothing, AskPin},
    {"AT+CPIN=*", kNothing, EnterPin},
    {"AT+CIMI", kSim, "{imsi}"},
    // network
    {"AT+CSQ", kNothing, "+CSQ: {csq},99"},
    {"AT+CREG?", kNothing, AskRegistration<kCircuit>},
    {"AT+CREG=*", kNothing, SetReport<kCircuit>},
    {"AT+CGREG?", kNothing, AskRegistration<kPacket>},
    {"AT+CGREG=*", kNothing, SetReport<kPacket>},
    {"AT+CEREG?", kNothing, AskRegistration<kEps>},
    {"AT+CEREG=*", kNothing, SetReport<kEps>},
    {"AT+COPS?", kNothing, AskOperator},
    {"AT+COPS=*", kNothing, SetOperator},
    // packet data
    {"AT+CGATT?", kNothing, AskAttached},
    {"AT+CGDCONT?", kNothing, ListContexts},
    {"AT+CGDCONT=*", kNothing, SetContext},
};

Outcome Refuse(Device&, const Arguments&) {
    return Error();
}

// Commands that hosts send to every modem, whoever made it.
constexpr Row kForeignRows[] = {
    {"AT+MODODR=2", kNothing, Refuse},  // LongSung and NodeCom have these two
    {"AT+SIMTEST?", kNothing, Refuse}, {"AT+PSRAT", kNothing, Refuse},
    {"AT^ICCID?", kNothing, Refuse},   {"AT+MEID", kNothing, Refuse},  // of CDMA modems
};

}  // namespace

Outcome SetContext(Device& device, const Arguments& arguments) {
    const std::optional<int> number = ContextNumber(arguments);
    if (!number) return CmeError(kCmeInvalidParameters);
    if (arguments.size() == 1) {
        device.contexts.erase(*number);
        return Ok();
    }
    Context& context = device.contexts[*number];
    context.type = arguments[1];
    context.apn = ArgumentAt(arguments, 2);
    return Ok();
}

Table<Row> CommonRows() {
    return kRows;
}

Table<Row> ForeignRows() {
    return kForeignRows;
}

}  // namespace modem_sim
