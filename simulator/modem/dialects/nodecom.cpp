// NodeCom modules: dialled with AT+ECMDUP, whose answer comes when the dial has ended; the link is reported
// unsolicited by +DATASTATUS, and asked with AT+PKTSTATUS.
#include "simulator/modem/dialect.h"
#include "simulator/modem/dialects/data_status.h"

namespace modem_sim {

namespace {

constexpr size_t kDialArguments = 5;

/// Context, on, and three more that the modem takes as they are.
Outcome DialUp(Device& device, const Arguments& arguments) {
    if (arguments.size() != kDialArguments || arguments[0] != "1") return Error();
    return SwitchCall(device, arguments[1], {.refused = "NO CARRIER"});
}

constexpr Model kModels[] = {{"NL660"}, {"NL760"}};

constexpr Row kRows[] = {
    {"AT+ECMDUP=*", kSim, DialUp},
    {"AT+PKTSTATUS", kNothing, "+PKTSTATUS: {up},1"},
};

}  // namespace

extern constexpr Family kNodecomFamily = {
    .name = "nodecom",
    .maker = "Nodecom",
    .models = kModels,
    .firmware = "{model}_V2.1.0",
    .imei = "866758040123458",
    .unsolicited = kDataStatusUnsolicited,
    .radio_report = DataStatusRadio,
    .rows = kRows,
    .shared_rows = DataStatusRows,
};

}  // namespace modem_sim
