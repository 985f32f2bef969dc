// The daemon's end of the message bus: its name and the tables of what it serves. The tables live as long as
// the process; the bus library calls their handlers on threads of its own.
#include "busglue.h"
#include "main.h"

namespace {

constexpr char kBusName[] = "RAVELIN";

constexpr busglue_signal_row kSignals[] = {{nullptr, nullptr}};
constexpr busglue_method_row kMethods[] = {{nullptr, nullptr}};
constexpr busglue_descriptor kDescriptor = {kSignals, kMethods};

}  // namespace

int join_bus() {
    return dbs_connect_init(kBusName, &kDescriptor);
}
