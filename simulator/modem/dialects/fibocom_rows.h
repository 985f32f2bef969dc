// What the rows of both Fibocom families do alike.
#pragma once

#include "simulator/modem/dialect.h"

namespace modem_sim {

/// AT+GTUSBMODE=N: takes effect with the next restart.
Outcome SetFibocomUsbMode(Device& device, const Arguments& arguments);

/// AT+CFUN=15: the whole module restarts, and its port goes away meanwhile.
Outcome RestartFibocom(Device& device, const Arguments& arguments);

/// AT+GTRNDIS=ON,CONTEXT: dials or hangs up. In another USB mode than `network_card_mode` there is no card to
/// carry the call, and the dial fails.
Outcome FibocomCall(Device& device, const Arguments& arguments, int network_card_mode);

Outcome AskFibocomCall(Device& device, const Arguments& arguments);

std::string TellFibocomEvent(const Device& device, Event event);

}  // namespace modem_sim
