// What Quectel modules word alike whatever chip they stand on, as actions for the rows of the families:
// contexts, network, serving cell, USB mode; and the call of those that make it by AT+QNETDEVCTL (ASR,
// Unisoc).
#pragma once

#include <string>
#include <vector>

#include "simulator/modem/dialect.h"

namespace modem_sim {

Outcome QuectelContext(Device& device, const Arguments& arguments);      ///< AT+QICSGP=*
Outcome QuectelNetwork(Device& device, const Arguments& arguments);      ///< AT+QNWINFO
Outcome QuectelServingCell(Device& device, const Arguments& arguments);  ///< AT+QENG="servingcell"

Outcome QuectelAskUsbMode(Device& device, const Arguments& arguments);  ///< AT+QCFG="usbnet"

/// AT+QCFG="usbnet",*: the mode takes effect with the next start of the modem.
Outcome QuectelSetUsbMode(Device& device, const Arguments& arguments);

// Modules that call by AT+QNETDEVCTL

/// AT+QNETDEVCTL?: kind of connection, context, whether the module reports, and 1 while the call is up.
Outcome QuectelAskNetDevCtl(Device& device, const Arguments& arguments);

enum class NetDevCtl { kWrong, kHangUp, kDial };

/// What AT+QNETDEVCTL=* asks for. Remembers whether the call is to be reported.
NetDevCtl QuectelReadNetDevCtl(Device& device, const Arguments& arguments);

/// Whether the last dial asked for reports of the call.
bool QuectelReportsCalls(const Device& device);

}  // namespace modem_sim
