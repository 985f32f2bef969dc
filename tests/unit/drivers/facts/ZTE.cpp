#include "tests/support/driver_facts.h"

namespace cc_cell {
namespace {

const std::vector<DialCase> kZTEDials = {
    {kNone, {"AT+ZECMCALL=1"}},
    {{"", "", "", "", 3}, {"AT+ZECMCALL=1"}},
    {{"", "me", "secret", "", 3}, {"AT+ZECMCALL=1"}},
    {{"cmnet", "", "", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1"}},
    {{"cmnet", "", "", "", 3}, {"AT+ZECMCALL=1,\"cmnet\",1"}},
    {{"cmnet", "", "secret", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1"}},
    {{"cmnet", "me", "", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\""}},
    {{"cmnet", "me", "", "", 3}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\""}},
    {{"cmnet", "me", "secret", "", 0}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\",\"secret\""}},
    {kAll, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\",\"secret\",\"2\""}},
    {{"cmnet", "me", "secret", "", -1}, {"AT+ZECMCALL=1,\"cmnet\",1,\"me\",\"secret\",\"-1\""}},
    {kLongest,
     {"AT+ZECMCALL=1,\"" + kLongest.apn + "\",1,\"" + kLongest.username + "\",\"" + kLongest.password +
      "\",\"-2147483648\""}},
};

Texts DialLines(const std::string& answer, const char* verdict) {
    return {"6 AT+ZECMCALL=1 return " + answer + "\n", verdict};
}

constexpr char kDialError[] = "6 AT+ZECMCALL=1 ERROR !!!\n";

const std::vector<DialAnswer> kZTEDialAnswers = {
    {Answer("CONNECT"), 1, DialLines(Answer("CONNECT"), "6 CONNECT!!! \n")},
    {"\r\nOK\r\n+ZECMCALL: CONNECT", 1, DialLines("\r\nOK\r\n+ZECMCALL: CONNECT", "6 CONNECT!!! \n")},
    {"\r\nNO CARRIER\r\n", 1, DialLines("\r\nNO CARRIER\r\n", kDialError)},
    {"\r\nconnect\r\n", 1, DialLines("\r\nconnect\r\n", kDialError)},
    {kError, 1, DialLines(kError, kDialError)},
    {"", 1, DialLines("", kDialError)},
};

const FactsEntry kZTE({
    .family = kVendorZte,
    .set_up = {.interface_name = "wwan0",
               .maker = "GOSUNCN",
               .firmware = "GOSUNCN",
               .steps = {{"AT+CMEE=2"}, {"AT+ZSWITCH=l"}, {"AT+ZADSET=e"}, {"ATI"}},
               .word = "Revision:",
               .limit = 17},
    .sim = {.question = "AT+ZGETICCID", .prefix = "+ZGETICCID: "},
    .dial = {.cases = kZTEDials,
             .hang_up = {"AT+ZECMCALL=0", "AT+CFUN=0"},
             .answers = kZTEDialAnswers,
             .last_seconds = 10},
    // "IPV4" has no dot, an address has.
    .link = {.questions = {"AT+ZPAS?", "AT+ZECMCALL?"},
             .up = "+ZECMCALL: 10.",
             .cases = {{Answer("+ZECMCALL: 10.1.2.3"), 1},
                       {Answer("+ZECMCALL: IPV4, 10.1.2.3"), 1},
                       {"1.0\r\n+ZECMCALL: IPV4\r\n", 1},
                       {Answer("+ZECMCALL: IPV4"), 0},
                       {Answer("+ZECMCALL:10.1.2.3"), 0},
                       {Answer("10.1.2.3"), 0},
                       {"+CSQ: 5,99\r\n\r\nOK\r\n", 0, 5}},
             .failure = "AT+ZECMCALL? fail:",
             .always = {"AT+ZECMCALL checkconnection return "}},
    .rows = {.level = 7,
             .rows = {Placeholder(28), Text(29, "+ZGETICCID: ", "\n\r", "8986\r\n", {"5 ICCID:{}\n"}),
                      NetworkType(30, "+ZPAS: ", ",\n\r", "\"LTE\",\"CS_PS\"\r\n"),
                      Hint(31, "+ZECMCALL: ", "IPV4, 10.1.2.3", false),
                      Text(32, "+ZCELLINFO: ", "\n\r", "5A1C,LTE,211,3,1650\r\n", {})}},
    .hints = {kHintZpas},
    .optional = {.neighbour = {"AT+ZCELLINFO?"}, .speaks = true},
    .serving_cell = {.read = [](CellBase& cell) { cell.CheckNeighbourSignal(); },
                     .operation = "CheckNeighbourSignal",
                     .questions = {"AT+ZCELLINFO?"},
                     .seconds = 10,
                     .prefix = "+ZCELLINFO: ",
                     .list = "5A1C,LTE,{pcid},{band},1650",
                     .level = CellLevel::kRsrpOfObject,
                     .shown_limit = 15,
                     .head = "ZCELLINFO common str:",
                     .head_end = "!!!\r\n",
                     .name = "CELLINFO info",
                     .last_lines = {"7 CELLINFO info, m_RSRP_LEVEL:-90 !\n"},
                     .other_radio = "3 AT+CELLINFO? return not LTE!!! \n"},
});

}  // namespace
}  // namespace cc_cell
