// Quectel modules on Unisoc chipsets (EC200G, EC200U): AT+QNETDEVCTL is answered when the dial has ended, and
// a refused one with an error; the call is never reported unasked. The serial number has no quotes.
#include "simulator/modem/dialects/families.h"
#include "simulator/modem/dialects/quectel.h"

namespace modem_sim {

namespace {

constexpr const char* kModels[] = {"EC200U", "EC200G", nullptr};

std::string Firmware(const std::string& model) {
    if (model == "EC200U") return "EC200UCNAAR03A12M08";
    if (model == "EC200G") return "EC200GCNAAR02A04M08";
    return model + "CNAAR01A01M08";
}

std::string Unsolicited(const Device&, Event event) {
    switch (event) {
        case Event::kBooted:
            return "\r\nRDY\r\n\r\n+CFUN: 1\r\n";
        case Event::kCardReady:
            return "\r\n+CPIN: READY\r\n\r\n+QIND: SMS DONE\r\n\r\n+QIND: PB DONE\r\n";
        case Event::kCardGone:
            return "\r\n+CPIN: SIM REMOVED\r\n";
        case Event::kCallUp:
        case Event::kCallDown:
            break;
    }
    return "";
}

Outcome CallRow(Device& device, const Arguments& arguments) {
    Outcome outcome = Ok();
    switch (QuectelReadNetDevCtl(device, arguments)) {
        case NetDevCtl::kWrong:
            return Error();
        case NetDevCtl::kHangUp:
            device.HangUp();
            return outcome;
        case NetDevCtl::kDial:
            break;
    }
    return Dial(device);
}

Outcome AskNeighbourCells(Device& device, const Arguments&) {
    if (!device.HasService() || !IsLte(device)) return Ok();
    return Ok(FillTemplate(device,
                           "+QENG: \"neighbourcell intra\",\"LTE\",{channel},212,-103,-14,-75,0,22,7,16,6\n"
                           "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-109,-16,-80,0,18,2,15,4"));
}

constexpr Row kRows[] = {
    {"ATI", kNothing, "{maker}\n{model}\nRevision: {firmware}", nullptr},
    {"AT+CGSN=1", kNothing, "+CGSN: {imei}", nullptr},
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
    .name = "quectel_unisoc",
    .maker = "Quectel",
    .models = kModels,
    .rows = kRows,
    .imei = "868214053390017",
    .factory_error_mode = 1,
    .factory_usb_mode = 1,
    .firmware = Firmware,
    .unsolicited = Unsolicited,
};

}  // namespace

const Family& QuectelUnisocFamily() {
    return kFamily;
}

}  // namespace modem_sim
