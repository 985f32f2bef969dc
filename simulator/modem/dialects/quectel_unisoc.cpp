// Quectel modules on Unisoc chipsets (EC200G, EC200U): AT+QNETDEVCTL is answered when the dial has ended, and
// a refused one with an error; the call is never reported. The serial number has no quotes.
#include "simulator/modem/dialects/quectel.h"

#include "simulator/modem/dialect.h"

namespace modem_sim {

namespace {

Outcome SwitchNetDev(Device& device, const Arguments& arguments) {
    return QuectelNetDevCtl(device, arguments, {});
}

Outcome AskNeighbourCells(Device& device, const Arguments&) {
    return QuectelNeighbourCells(
        device,
        "+QENG: \"neighbourcell intra\",\"LTE\",{channel},212,-103,-14,-75,0,22,7,16,6\n"
        "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-109,-16,-80,0,18,2,15,4");
}

constexpr Model kModels[] = {{"EC200U", "EC200UCNAAR03A12M08"}, {"EC200G", "EC200GCNAAR02A04M08"}};

constexpr Row kRows[] = {
    {"AT+CGSN=1", kNothing, "+CGSN: {imei}"},
    {"AT+QENG=\"neighbourcell\"", kNothing, AskNeighbourCells},
    {"AT+QNETDEVCTL=*", kSim, SwitchNetDev},
    {"AT+QNETDEVCTL?", kNothing, QuectelAskNetDevCtl},
};

}  // namespace

extern constexpr Family kQuectelUnisocFamily = {
    .name = "quectel_unisoc",
    .maker = "Quectel",
    .models = kModels,
    .firmware = "{model}CNAAR01A01M08",
    .imei = "868214053390017",
    .factory_error_mode = 1,
    .factory_usb_mode = 1,
    .unsolicited = {.booted = "RDY\n+CFUN: 1",
                    .card_ready = "+CPIN: READY\n+QIND: SMS DONE\n+QIND: PB DONE",
                    .card_gone = "+CPIN: SIM REMOVED"},
    .rows = kRows,
    .shared_rows = QuectelRows,
};

}  // namespace modem_sim
