#include "tests/support/driver_facts.h"

namespace cc_cell {
namespace {

const std::string kCall = "AT$QCRMCALL=1,1,1,,,,";

const FactsEntry kSimCom({
    .family = kVendorSimCom,
    .set_up =
        {.interface_name = "wwan0", .maker = "SIMCOM", .firmware = "SIMCOM", .shell = {"ifconfig wwan0 up"}},
    .sim = {.question = "AT+CICCID", .prefix = "+ICCID: "},
    .dial = {.cases = {{kNone, {kCall + "\"\",\"\",\"\","}},
                       {{"cmnet", "", "", "", 0}, {kCall + "\"cmnet\",\"\",\"\","}},
                       {kAll, {kCall + "\"cmnet\",\"me\",\"secret\",2"}},
                       {kLongest, {kCall + kLongestQuoted + "-2147483648"}}},
             .hang_up = {"AT$QCRMCALL=0,1", "AT+CFUN=0"},
             .answers = {{Answer("$QCRMCALL: 1,V4"), 1, {}},
                         {Answer("$QCRMCALL: 0,V4"), 0, {}},
                         {Answer("$QCRMCALL: 2,V4"), 0, {}},
                         {Answer("+CREG: 1,1"), 0, {}},
                         {"\r\nNO CARRIER\r\n", 0, {}},
                         {kOk, 0, {}},
                         {kError, 0, {}},
                         {"", 0, {}}}},
    .link = {.questions = {"AT$QCRMCALL?"},
             .up = "$QCRMCALL: 1",
             .cases = {{Answer("$QCRMCALL: 1,V4"), 1},
                       {Answer("$QCRMCALL: 1"), 1},
                       {Answer("$QCRMCALL: 0"), 0},
                       {Answer("$QCRMCALL: 2"), 0},
                       {Answer("+CPSI: LTE,Online"), 0}}},
    .rows = {.level = 7,
             .rows = {Placeholder(43),
                      Numbers(44, "$QCRMCALL: ", ",\r\n", "1,V4", {kVal}, {"5 Online check :{}\n"}),
                      Hint(45, "+CPSI: ", "LTE,Online,460-00", true),
                      Text(46, "+ICCID: ", ",\r\n", "8986", {"5 ICCID :{}\n"})}},
    .signal = {.network_questions = {"AT+CPSI?", "AT+CGACT?"},
               .network_answer = Answer("+CPSI: LTE,Online,460-00"),
               .network = "LTE"},
});

}  // namespace
}  // namespace cc_cell
