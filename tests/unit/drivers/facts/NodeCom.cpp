#include "tests/unit/drivers/facts/data_status.h"

namespace cc_cell {
namespace {

const FactsEntry kNodeCom({
    .family = kVendorNodeCom,
    .set_up =
        {.interface_name = "usb0", .maker = "Nodecom", .firmware = "Nodecom", .steps = kDataStatusReports},
    .dial = {.cases = Always({"at+ecmdup=1,1,1,0,0"}),
             .hang_up = {"AT+CFUN=0"},
             .last_seconds = 1 + 10,
             .shell = {kCommandDhcpStart}},
    .link = {.questions = {"AT+PKTSTATUS"},
             .up = "+PKTSTATUS: 1",
             .cases = {{Answer("+PKTSTATUS: 1,1"), 1},
                       {Answer("+PKTSTATUS:1"), 1},
                       {Answer("+PKTSTATUS: 1,2,3,4,5,6"), 1},
                       {Answer("+PKTSTATUS: 0,1"), 0},
                       {Answer("+PKTSTATUS: 2,1"), 0},
                       {Answer("+PKTSTATUS: ,1"), 0},
                       {Answer("+PKTSTATUS: up,1"), 0},
                       {Answer("+PKTSTATUS:"), 0},
                       {Answer("+DATASTATUS: 1"), 0},
                       {"\r\n+DATASTATUS: 0\r\n\r\n+PKTSTATUS: 1,1\r\n\r\nOK\r\n", 1}}},
    .rows = {.level = 5, .rows = kDataStatusRowFacts},
    .hints = {kHintDataStatus},
});

}  // namespace
}  // namespace cc_cell
