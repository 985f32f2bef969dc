#include "tests/unit/drivers/facts/quectel.h"

namespace cc_cell {
namespace {

Texts CallLines(const std::string& state) {
    return {"7 QCRMCALL return type:" + state + " \r\n", "5 QCRMCALL=1,1 fail:" + state + "\n"};
}

const FactsEntry kQuectelQcom({
    .family = kVendorQuectelQcom,
    .set_up = {.interface_name = "wwan0",
               .maker = "Qcom",
               .firmware = "Qcom",
               .steps = QuectelSteps("AT+qcfg=\"usbnet\",0"),
               .word = "Revision:",
               .limit = 18,
               .lines_before = {std::string("7 ") + kQuectelContext}},
    .sim = {.question = kQuectelSim.question,
            .prefix = kQuectelSim.prefix,
            .shell = {"rmmod qmi_wwan_q.ko", "insmod /ubi/local/modules/qmi_wwan_q.ko"}},
    .registration = Registration::kThreeSteps,
    .dial = {.cases = AfterQuectelContext("AT$QCRMCALL=1,1"),
             .hang_up = {"AT$QCRMCALL=0,1", "AT+CFUN=0"},
             .answers = {{Answer("$QCRMCALL: 1, V4"), 1, {"7 QCRMCALL return type:1 \r\n"}},
                         {Answer("$QCRMCALL: 0"), 1, CallLines("0")},
                         {Answer("$QCRMCALL: 2"), 1, CallLines("2")},
                         {Answer("+CREG: 1,1"), 1, CallLines("1")},  // a 1 of another row
                         {kError, 1, CallLines("0")},
                         {"", 1, CallLines("0")}},
             .last_seconds = 10,
             .lines = kQuectelContextLines},
    .link = {.questions = {"AT+QNETDEVSTATUS?"},
             .up = "+QNETDEVSTATUS: 1,2",
             .cases = {{Answer("+QNETDEVSTATUS: 1,1,0,1"), 1},
                       {Answer("+QNETDEVSTATUS: 1,2,0,1"), 1},
                       {Answer("+QNETDEVSTATUS: 0,1"), 1},
                       {Answer("+QNETDEVSTATUS: 1,3,0,1"), 0, 3},
                       {Answer("+QNETDEVSTATUS: 1,0,0,1"), 0},
                       {Answer("+QNETDEVSTATUS: 1"), 0},
                       {Answer("+QNETDEVCTL: 1,1,1,1"), 0}},
             .failure = "AT+QNETDEVSTATUS fail:"},
    .rows =
        {.level = 7,
         .rows = {Placeholder(34),
                  kQnwinfo,
                  kQuectelCall,
                  Numbers(37, "+QNETDEVSTATUS:", ",\r", " 1,2,0,1", {kVal, kVal2, kVal3, kVal4},
                          {"7 QNETDEVSTATUS: on_off={},state={},roam_status={},inst={}\n"}),
                  kQccid,
                  Logged(39, "+QNETDEVCTL:", " 1,1,1,1"),
                  {40, "+QTEMP:", RowKind::kNumbers, " 40,41,42", ",\n\r", {kVal3, kVal, kVal2}, {}, true},
                  kQeng}},
    .signal = kQuectelSignal,
    .optional = {.temperature = {"AT+QTEMP"},
                 .thermal_limit = {"AT+QCFG='thermal/limit_rates',1",
                                   "AT+QCFG='thermal/txpwrlmt',1,2,105,1000,3,10",
                                   "AT+QCFG='thermal/modem',1,100000,95000",
                                   "AT+QCFG='thermal/modem',2,105000,100000",
                                   "AT+QCFG='thermal/modem',3,115000,105000"},
                 .signal = kQuectelServingCell,
                 .neighbour = kQuectelNeighbourCell,
                 .upgrade = 3},
    .serving_cell = QuectelServingCell(" \r\n"),
    .neighbour_cell = {.fields = 13, .rsrp = 5},
});

}  // namespace
}  // namespace cc_cell
