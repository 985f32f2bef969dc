#include "tests/support/driver_facts.h"

namespace cc_cell {
namespace {

// A parameter is given only when the one before it is.
const std::vector<DialCase> kHuaWeiDials = {
    {kNone, {"AT^NDISDUP=1,1"}},
    {{"", "me", "secret", "1234", 2}, {"AT^NDISDUP=1,1"}},
    {{"cmnet", "", "", "", 0}, {"AT^NDISDUP=1,1,\"cmnet\""}},
    {{"cmnet", "", "secret", "1234", 2}, {"AT^NDISDUP=1,1,\"cmnet\""}},
    {{"cmnet", "me", "", "1234", 2}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\""}},
    {{"cmnet", "me", "secret", "", 2}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\""}},
    {{"cmnet", "me", "secret", "1234", 0}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\""}},
    {kAll, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\",\"2\""}},
    {{"cmnet", "me", "secret", "1234", -1}, {"AT^NDISDUP=1,1,\"cmnet\",\"me\",\"secret\",\"1234\",\"-1\""}},
    {kLongest, {("AT^NDISDUP=1,1," + kLongestQuoted + "\"" + kLongest.pin).substr(0, kCommandSize - 1)}},
};

const FactsEntry kHuaWei({
    .family = kVendorHuaWei,
    .set_up =
        {.interface_name = "wwan0", .maker = "Huawei", .firmware = "ME909", .steps = {{"AT^LEDCTRL=1"}}},
    .dial = {.cases = kHuaWeiDials, .hang_up = {"AT^NDISDUP=1,0", "AT+CFUN=0"}},
    .link = {.questions = {"at^ NDISSTATQRY?"},
             .up = "^NDISSTATQRY: 1",
             .cases = {{Answer("^NDISSTATQRY: 1,,,\"IPV4\""), 1},
                       {Answer("^NDISSTATQRY: 1"), 1},
                       {Answer("^NDISSTATQRY:1,,,\"IPV4\""), 1},
                       {Answer("^NDISSTATQRY: 0,33,,\"IPV4\""), 0},
                       {Answer("^NDISSTATQRY: 2,,,\"IPV4\""), 0},
                       {Answer("^NDISSTATQRY: 11"), 0},
                       {Answer("^NDISSTATQRY:"), 0},
                       {Answer("^HCSQ: 1"), 0}}},
    .rows = {.level = 5,
             .rows = {Placeholder(24),
                      Numbers(25, "^NDISSTATQRY:", ",", " 1,,,\"IPV4\"", {kVal}, {"5 Connect Status:{}\n"}),
                      Hint(26, "^HCSQ: ", "\"LTE\",50,40,30,10", false)}},
    .hints = {kHintHcsq},
});

}  // namespace
}  // namespace cc_cell
