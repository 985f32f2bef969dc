#include "tests/support/driver_facts.h"

namespace cc_cell {
namespace {

const FactsEntry kChuangYi({
    .family = kVendorChuangYi,
    .set_up = {.interface_name = "eth1", .maker = "Innofidei", .firmware = "Innofidei"},
    .registration = Registration::kOwn,
    .dial = {.cases = Always({"AT+CFUN=1", "AT+CGDCONT=1", "AT+CGDCONT=1,\"IP\"", "AT+CGACT=1,1"}),
             .hang_up = {"AT+CFUN=0"},
             .is_after_engines = false},
    .link = {.questions = {"AT+RRCSTATE"},
             .up = "+RRCSTATE:1",
             .cases = {{Answer("+RRCSTATE: 1,7"), 1},
                       {Answer("+RRCSTATE:1"), 1},
                       {Answer("+RRCSTATE: 1,0,3,4,5,6"), 1},
                       {Answer("+RRCSTATE: 0,7"), 0},
                       {Answer("+RRCSTATE: 2,7"), 0},
                       {Answer("+RRCSTATE: ,1"), 0},
                       {Answer("+RRCSTATE: on,1"), 0},
                       {Answer("+RRCSTATE:"), 0},
                       {Answer("+SYSINFO: 1,3"), 0}}},
    .rows = {.level = 5,
             .rows = {Placeholder(20),
                      Numbers(21, "+RRCSTATE:", ",\r", " 1,7\r\n", {kVal, kVal2},
                              {"5 Connect Status: stat={} AcT={}\n"}),
                      Numbers(22, "+SYSINFO:", ",\r", " 2,3,0,5,1,0,9\r\n",
                              {kVal, kVal2, kVal3, kVal4, kVal5, kNowhere, kVal6},
                              {"5 SYSINFO: srv_status={},srv_domain={},roam_status={},\n            "
                               "\tsys_mode={},sim_state={},sys_submode={}\n"})}},
    .hints = {kHintDataStatus},  // though no row of its own gives it
});

}  // namespace
}  // namespace cc_cell
