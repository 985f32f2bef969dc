#include "tests/support/driver_facts.h"

namespace cc_cell {
namespace {

const FactsEntry kCinterion({
    .family = kVendorCinterion,
    .set_up = {.interface_name = "wwan0",
               .maker = "Cinterion",
               .firmware = "Cinterion",
               .steps = {{"AT^SCTM=1,1"}, {"ATI"}},
               .word = "REVISION",
               .limit = 7},
    .sim = {.question = "AT+CCID",
            .prefix = "+CCID: ",
            .failure = {"1 CheckSimCard: CheckSimCard ERROR = -2!!!\n"}},
    .dial = {.cases = Always({"AT^SWWAN=1,1"}), .hang_up = {"AT+CFUN=0"}},
    // Three ones in a row, wherever they stand.
    .link = {.questions = {"AT^SMONI", "AT^SWWAN?"},
             .up = "^SWWAN: 1,1,1",
             .cases = {{Answer("^SWWAN: 1,1,1"), 1},
                       {"1,1,1", 1},
                       {Answer("^SWWAN: 11,1,12"), 1},
                       {Answer("^SWWAN: 3,0,1\r\n^SWWAN: 1,1,1"), 1},
                       {Answer("+CREG: 1,1,1"), 1},
                       {"AT^SWWAN?\r\r\n^SWWAN: 1,1,1\r\n\r\nOK\r\n", 1},
                       {Answer("^SWWAN: 0,1,1"), 0},
                       {Answer("^SWWAN: 1,0,1"), 0},
                       {Answer("^SWWAN: 1, 1, 1"), 0},
                       {Answer("^SWWAN: 1,1"), 0}},
             .is_searched = true},
    .rows = {.level = 7,
             .rows = {Placeholder(48), Logged(49, "^SWWAN?", "\r\r\n^SWWAN: 1,1,1"),
                      Text(50, "+CCID: ", "\n\r", "8986\r\n", {"5 ICCID:{}\n"}),
                      Numbers(51, "^SCTM:", ",\r\n", " 1,0,38\r\n", {kVal, kVal2, kVal3},
                              {"7 SCTM:{rest}\n"}),
                      NetworkType(52, "^SMONI: ", ",\n\r", "LTE,1650,3,10")}},
    .hints = {kHintZpas},  // though no row of its own gives it
    .optional = {.temperature = {"AT^SCTM?"}},
});

}  // namespace
}  // namespace cc_cell
