#include "tests/unit/drivers/facts/rndis.h"

namespace cc_cell {
namespace {

const std::string kAccount = "AT+MGAUTH=1,3,\"me\",\"secret\"\r\n";

const FactsEntry kFiboCom({
    .family = kVendorFibocom,
    .set_up = {.interface_name = "wwan0",
               .maker = "Fibcom",
               .firmware = "NL668x",
               .steps = {{"AT+CFUN=0", 1 + 2},
                         {"AT+CFUN=1", 1 + 1},
                         {"AT+gtusbmode?"},
                         {"ATI", 1 + 1},
                         {"AT+CFUN=1", 1 + 1},
                         {kContextOfSetUp, 1 + 1},
                         {kAccount}},
               .word = "Revision:",
               .limit = 23,
               .lines_before = {kUsbModeLine},
               .lines_after = {"7 " + kAccount, "5 AT+MGAUTH=1,3 done\n"},
               .is_after_engines = false},
    .sim = kRndisSim,
    .dial = kRndisDial,
    .link = kRndisLink,
    .rows = {.level = 7,
             .rows = {Placeholder(54), Text(55, "+CCID: ", "\n\r", "8986\r\n", {"5 CCID:{}\n"}),
                      Logged(56, "+MGAUTH: ", "1,3,\"u\",\"p\""),
                      Numbers(57, "+GTRNDIS: ", ",\r", "1,1,\"10.0.0.2\"", {kVal},
                              {"7 GTRNDIS: connect_type={}\n"})}},
    .signal = {.network_questions = {"AT+PSRAT"},
               .network_answer = Answer("+PSRAT: LTE"),
               .network = "\"LTE\"",
               .level = "7"},
});

}  // namespace
}  // namespace cc_cell
