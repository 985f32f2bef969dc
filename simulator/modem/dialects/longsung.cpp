// LongSung modules: there is no dial command, the modem calls as soon as it has been given a context; the
// link is asked with AT+DATASTATUS and reported unsolicited by +DATASTATUS.
#include "simulator/modem/dialect.h"
#include "simulator/modem/dialects/data_status.h"

namespace modem_sim {

namespace {

/// The first context is the one that the modem calls with. Whether the call comes up is reported later.
Outcome SetContextAndCall(Device& device, const Arguments& arguments) {
    const std::optional<int> number = ContextNumber(arguments);
    if (!number || arguments.size() < 2) return CmeError(kCmeInvalidParameters);
    const Outcome outcome = SetContext(device, arguments);
    if (*number == 1) device.Dial();
    return outcome;
}

constexpr Model kModels[] = {{"U8300C"}, {"U9300C"}};

constexpr Row kRows[] = {
    {"AT+CGDCONT=*", kNothing, SetContextAndCall},
    {"AT+DATASTATUS", kNothing, "+DATASTATUS: {up}"},
};

}  // namespace

extern constexpr Family kLongsungFamily = {
    .name = "longsung",
    .maker = "LONGSUNG",
    .models = kModels,
    .firmware = "LST_{model}_V01.02",
    .imei = "862107040123457",
    .unsolicited = kDataStatusUnsolicited,
    .radio_report = DataStatusRadio,
    .rows = kRows,
    .shared_rows = DataStatusRows,
};

}  // namespace modem_sim
