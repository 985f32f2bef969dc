#include "tests/support/driver_facts.h"

namespace cc_cell {
namespace {

Texts DialLines(const std::string& word) {
    return {"7 DoConnect " + word + "\n", "7 AT+NETOPEN and response " + word + "\n"};
}

const FactsEntry kLYNQ({
    .family = kVendorLynq,
    .set_up = {.interface_name = "wwan0",
               .maker = "LYNQ",
               .firmware = "L503",
               .steps = {{"AT+COPS=0,0"}, {"AT+CGNETLED=1"}}},
    .sim = {.question = "AT+ICCID", .prefix = "+ICCID:"},
    .registration = Registration::kOwn,
    .dial = {.cases = Always({"AT+NETOPEN"}),
             .hang_up = {"AT+NETCLOSE"},
             .is_after_engines = false,
             .answers = {{Answer("+NETOPEN:SUCCESS"), 1, DialLines("SUCCESS")},
                         {Answer("+NETOPEN: SUCCESS"), 1, DialLines(" SUCCESS")},
                         {Answer("+NETOPEN:x SUCCESSFUL"), 1, DialLines("x SUCCESSFUL")},
                         {Answer("+NETOPEN:FAIL"), 0, DialLines("FAIL")},
                         {Answer("+NETOPEN:success"), 0, DialLines("success")},
                         {Answer("+NETOPEN:\r\nSUCCESS"), 0, DialLines("")},
                         {Answer("+NETCLOSE:SUCCESS"), 0, {"7 DoConnect SUCCESS\n"}},
                         {kOk, 0, {"7 DoConnect \n"}},
                         {"", 0, {"7 DoConnect \n"}}},
             .shell = {"ifconfig wwan0 down", "ifconfig wwan0 up"},
             .hung_up = Answer("+NETCLOSE:SUCCESS")},
    // A one anywhere in the text.
    .link = {.questions = {"AT+CPSI?", "AT+NETOPEN?"},
             .up = "+NETOPEN:1",
             .cases = {{Answer("+NETOPEN: 1"), 1},
                       {Answer("+NETOPEN:1"), 1},
                       {Answer("+NETOPEN:10"), 1},
                       {Answer("+NETOPEN: 0,1"), 1},
                       {Answer("+NETOPEN: 0"), 0},
                       {Answer("+NETOPEN:"), 0},
                       {Answer("+NETOPEN: 2"), 0},
                       {Answer("+NETOPEN:SUCCESS"), 0},
                       {Answer("+NETCLOSE: 1"), 0},
                       {Answer("1"), 0}},
             .always = {"AT+CPSI common str:", "AT+NETOPEN? and response "}},
    .rows = {.level = 7,
             .rows = {Placeholder(59), Text(60, "+ICCID:", ",\r\n", "8986", {"5 ICCID:{}\n"}),
                      Text(61, "+CPSI:", "\n\r", "LTE,Online,460-00\r\n", {}),
                      Text(62, "+NETOPEN:", "\r\n", "SUCCESS\r\n", {"5 Network Open:{}\n"}),
                      Text(63, "+NETCLOSE:", "\r\n", "SUCCESS\r\n", {"5 Network Close:{}\n"})},
             .is_shown_by_prefix = true},
    .serving_cell =
        {.read = [](CellBase& cell) { cell.CheckConnection(); },
         .operation = "CheckConnection",
         .questions = {"AT+CPSI?", "AT+NETOPEN?"},
         .seconds = 2,
         .prefix = "+CPSI:",
         .list = "LTE,Online,460-00,0x5A1C,187905552,{pcid},{band},1650,100,100,-11,{rsrp},-67,23,{sinr}",
         .level = CellLevel::kUntouched,
         .shown_limit = 23,
         .head = "AT+CPSI common str:",
         .head_end = "!!!\r\n",
         .name = "CPSI info",
         .last_lines = {"5 Network type:LTE\n", "7 AT+NETOPEN? and response \n"}},
});

}  // namespace
}  // namespace cc_cell
