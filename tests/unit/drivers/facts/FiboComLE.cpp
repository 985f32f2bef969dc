#include "tests/unit/drivers/facts/rndis.h"

namespace cc_cell {
namespace {

const FactsEntry kFiboComLE({
    .family = kVendorFibocomLe,
    .set_up = {.interface_name = "wwan0",
               .maker = "Fibcom",
               .firmware = "LE370",
               .steps = {{"AT+gtusbmode?"},
                         {"AT+CFUN=0", 1 + 3},
                         {"AT+CFUN=1", 1 + 1},
                         {"AT+CFUN=1", 1 + 1},
                         {kContextOfSetUp, 1 + 1}},
               .lines_before = {kUsbModeLine},
               .is_after_engines = false},
    .sim = kRndisSim,
    .dial = kRndisDial,
    .link = kRndisLink,
    .rows = {.level = 7,
             .rows = {Placeholder(65), Text(66, "+CCID: ", "\n\r", "8986\r\n", {"5 CCID:{}\n"}),
                      Numbers(67, "+GTRNDIS: ", ",\r", "1,1,\"10.0.0.2\"", {kVal},
                              {"7 GTRNDIS: connect_type={}\n"}),
                      Hint(68, "+GTCCINFO:", "\r\n1,4,460", true),
                      Text(69, "+CESQ: ", "\n\r", "99,99,255,255,20,48\r\n", {"7 FIBOLECESQ:{}\n"})}},
    .signal = {.network_questions = {"AT+GTCCINFO?\r\n"},
               .network_answer = "\r\n+GTCCINFO:\r\n1,4,460\r\n\r\nOK\r\n",
               .network = "LTE",
               .level = "5"},
    .optional = {.signal = {"AT+CESQ\r\n"}},
});

}  // namespace
}  // namespace cc_cell
