// What both Fibocom families word alike. The network card exists in one USB mode only, the one in which the
// modem is delivered.
#pragma once

#include "simulator/modem/dialect.h"

namespace modem_sim {

Table<Row> FibocomRows();

constexpr Unsolicited kFibocomUnsolicited = {
    .booted = "AT command ready", .card_ready = "+SIM READY", .card_gone = "+SIM DROP"};

}  // namespace modem_sim
