#include "tests/unit/drivers/facts/quectel.h"

namespace cc_cell {
namespace {

const FactsEntry kQuectelUnisoc({
    .family = kVendorQuectelUnisoc,
    .set_up = {.interface_name = "wwan0",
               .maker = "Quectel",
               .firmware = "EC200-Uni",
               .steps = QuectelSteps("AT+qcfg=\"usbnet\",1"),
               .word = "Revision:",
               .limit = 20,
               .lines_before = {std::string("7 ") + kQuectelContext}},
    .sim = kQuectelSim,
    .registration = Registration::kThreeSteps,
    .dial = {.cases = AfterQuectelContext("AT+QNETDEVCTL=1,1,1\r\n"),
             .hang_up = {"AT+QNETDEVCTL=0\r\n", "AT+CFUN=0"},
             .lines = kQuectelContextLines},
    .link = kNetDevCtlLink,
    .rows = {.level = 7, .rows = NetDevCtlRows(kQuectelCall)},
    .signal = kQuectelSignal,
    .optional = {.signal = kQuectelServingCell, .neighbour = kQuectelNeighbourCell},
    .serving_cell = QuectelServingCell("!!!\r\n"),
    .neighbour_cell = {.fields = 12, .rsrp = 4},
});

}  // namespace
}  // namespace cc_cell
