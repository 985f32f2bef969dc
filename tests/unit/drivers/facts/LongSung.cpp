#include "tests/unit/drivers/facts/data_status.h"

namespace cc_cell {
namespace {

const FactsEntry kLongSung({
    .family = kVendorLongSung,
    .set_up =
        {.interface_name = "wwan0", .maker = "LONGSUNG", .firmware = "LONGSUNG", .steps = kDataStatusReports},
    .registration = Registration::kOwn,
    .dial = {.cases = Always({}), .hang_up = {"AT+CFUN=0"}},
    .link = {.questions = {"AT+DATASTATUS"},
             .up = "+DATASTATUS: 1",
             .cases = {{Answer("+DATASTATUS: 1"), 1},
                       {Answer("+DATASTATUS:1"), 1},
                       {Answer("+DATASTATUS: 0"), 0},
                       {Answer("+DATASTATUS: 2"), 0},
                       {Answer("+DATASTATUS:"), 0},
                       {Answer("+PKTSTATUS: 1,1"), 0},
                       {Answer("^DATACONNECT"), 0}}},
    .rows = {.level = 5, .rows = kDataStatusRowFacts},
    .hints = {kHintDataStatus},
});

}  // namespace
}  // namespace cc_cell
