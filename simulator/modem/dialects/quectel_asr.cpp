// Quectel modules on ASR chipsets (EC200A, EC600M, EG800K, EC800K): AT+QNETDEVCTL is answered at once and
// dials after the answer; if it was asked to, the module then reports the call as "+QNETDEVSTATUS:", which
// on other Quectel modules is the answer to a question.
#include "simulator/modem/dialects/quectel.h"

#include "simulator/modem/dialect.h"

namespace modem_sim {

namespace {

std::string ReportCall(const Device& device, bool is_up) {
    if (!QuectelReportsCalls(device)) return "";
    return is_up ? "+QNETDEVSTATUS: 1,1,0,1" : "+QNETDEVSTATUS: 1,3,0,1";
}

/// "OK" says that the dial has begun, not what becomes of it.
Outcome SwitchNetDev(Device& device, const Arguments& arguments) {
    return QuectelNetDevCtl(device, arguments,
                            {.refused = "OK", .started_waits = false, .refused_waits = false});
}

Outcome AskNeighbourCells(Device& device, const Arguments&) {
    return QuectelNeighbourCells(
        device,
        "+QENG: \"neighbourcell intra\",\"LTE\",{channel},212,-103,-14,-75,0,22,7,16,6,44\n"
        "+QENG: \"neighbourcell inter\",\"LTE\",1300,87,-109,-16,-80,0,18,2,15,4,37");
}

constexpr Model kModels[] = {
    {"EC200A", "EC200ACNHAR01A08M16"},
    {"EC600M", "EC600MCNLCR06A03M08"},
    {"EG800K", "EG800KCNLCR07A06M04"},
    {"EC800K", "EC800KCNLCR06A04M04"},
};

constexpr Row kRows[] = {
    {"AT+QENG=\"neighbourcell\"", kNothing, AskNeighbourCells},
    {"AT+QNETDEVCTL=*", kSim, SwitchNetDev},
    {"AT+QNETDEVCTL?", kNothing, QuectelAskNetDevCtl},
};

}  // namespace

extern constexpr Family kQuectelAsrFamily = {
    .name = "quectel_asr",
    .maker = "Quectel",
    .models = kModels,
    .firmware = "{model}CNLCR01A01M08",
    .imei = "861197068254106",
    .factory_error_mode = 1,
    .factory_usb_mode = 1,
    .unsolicited = {.booted = "RDY",
                    .card_ready = "+CPIN: READY\n+QUSIM: 1\n+QIND: SMS DONE",
                    .card_gone = "+CPIN: NOT INSERTED",
                    .call = ReportCall},
    .rows = kRows,
    .shared_rows = QuectelRows,
};

}  // namespace modem_sim
