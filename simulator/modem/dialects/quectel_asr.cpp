// Quectel modules on ASR chipsets (EC200A, EC600M, EG800K, EC800K): AT+QNETDEVCTL is answered at once and
// dials behind the answer; if it was asked to, the module then reports the call as "+QNETDEVSTATUS:", which
// on other Quectel modules is the answer to a question.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/dialects/quectel.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"EC200A", "EC600M", "EG800K", "EC800K", nullptr};

std::string Firmware(const std::string& model) {
    if (model == "EC200A") return "EC200ACNHAR01A08M16";
    if (model == "EC600M") return "EC600MCNLCR06A03M08";
    if (model == "EG800K") return "EG800KCNLCR07A06M04";
    if (model == "EC800K") return "EC800KCNLCR06A04M04";
    return model + "CNLCR01A01M08";
}

std::string Unsolicited(const Device& device, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\nRDY\r\n";
        case Event::kCardReady:
            return "\r\n+CPIN: READY\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n";
        case Event::kCardGone:
            return "\r\n+CPIN: NOT INSERTED\r\n";
        case Event::kCallUp:
            return QuectelReportsCalls(device) ? "\r\n+QNETDEVSTATUS: 1,1,0,1\r\n" : "";
        case Event::kCallDown:
            return QuectelReportsCalls(device) ? "\r\n+QNETDEVSTATUS: 1,3,0,1\r\n" : "";
    }
    return "";
}

/// "OK" says that the dial has begun, not that it will succeed.
Outcome CallRow(Device& device, const Arguments& arguments) {
    switch (QuectelReadNetDevCtl(device, arguments)) {
        case NetDevCtl::kWrong:
            return Error();
        case NetDevCtl::kHangUp:
            device.HangUp();
            return Ok();
        case NetDevCtl::kDial:
            break;
    }
    // The answer doesn't say what becomes of the dial.
    return Dial(device, {.refused = "OK", .started_waits = false, .refused_waits = false});
}

Outcome AskNeighbourCells(Device& device, const Arguments&) {
    if (!device.HasService() || !IsLte(device)) return Ok();
    return Ok(
        FillTemplate(device,
                     "+QENG: \"neighbourcell intra\",\"LTE\",{channel},212,-103,-14,-75,0,22,7,16,6,44\n"
                     "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-109,-16,-80,0,18,2,15,4,37"));
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\nRevision: {firmware}", nullptr},
    {"AT+QCCID", kCard, "+QCCID: {iccid}", nullptr},
    {"AT+QNWINFO", kNothing, nullptr, QuectelNetwork},
    {"AT+QENG=\"servingcell\"", kNothing, nullptr, QuectelServingCell},
    {"AT+QENG=\"neighbourcell\"", kNothing, nullptr, AskNeighbourCells},
    {"AT+QCFG=\"usbnet\"", kNothing, nullptr, QuectelAskUsbMode},
    {"AT+QCFG=\"usbnet\",*", kNothing, nullptr, QuectelSetUsbMode},
    {"AT+QICSGP=*", kNothing, nullptr, QuectelContext},
    {"AT+QNETDEVCTL=*", kSim, nullptr, CallRow},
    {"AT+QNETDEVCTL?", kNothing, nullptr, QuectelAskNetDevCtl},
};

constexpr Family kFamily = {
    .name = "quectel_asr",
    .maker = "Quectel",
    .models = kModels,
    .rows = kRows,
    .imei = "861197068254106",
    .factory_error_mode = 1,
    .factory_usb_mode = 1,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
};

}  // namespace

const Family& QuectelAsrFamily() {
    return kFamily;
}

}  // namespace modem_sim
