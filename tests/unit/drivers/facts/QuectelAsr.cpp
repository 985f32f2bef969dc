#include "tests/unit/drivers/facts/quectel.h"

namespace cc_cell {
namespace {

const FactsEntry kQuectelAsr({
    .family = kVendorQuectelAsr,
    .set_up = {.interface_name = "wwan0",
               .maker = "QuectelAsr",
               .firmware = "EC200x",
               .steps = {{"AT+qcfg=\"usbnet\",1"}, {"AT+CMEE=2"}, {"ATI"}},
               .word = "Revision:",
               .limit = 20},
    .sim = kQuectelSim,
    .registration = Registration::kThreeSteps,
    .dial = {.cases = Always({"AT+QNETDEVCTL=1,1,1\r\n"}), .hang_up = {"AT+QNETDEVCTL=0\r\n", "AT+CFUN=0"}},
    .link = kNetDevCtlLink,
    .rows = {.level = 7, .rows = NetDevCtlRows(Logged(36, "$QCRMCALL: ", "1, V4"))},
    .signal = kQuectelSignal,
    .optional = {.signal = kQuectelServingCell, .neighbour = kQuectelNeighbourCell},
    .serving_cell = QuectelServingCell("!!!\r\n"),
    .neighbour_cell = {.fields = 13, .rsrp = 4},
});

}  // namespace
}  // namespace cc_cell
