// What Quectel modules word alike whatever chip they stand on; and the call of those that make it by
// AT+QNETDEVCTL (ASR, Unisoc).
#pragma once

#include "simulator/modem/dialect.h"

namespace modem_sim {

/// Introduction, SIM, network, serving cell, contexts, USB mode.
Table<Row> QuectelRows();

Outcome QuectelAskUsbMode(Device& device, const Arguments& arguments);  // AT+QCFG="usbnet"
Outcome QuectelSetUsbMode(Device& device, const Arguments& arguments);  // AT+QCFG="usbnet",*

/// Answer to AT+QENG="neighbourcell": the template, or nothing where there is no LTE cell.
Outcome QuectelNeighbourCells(const Device& device, std::string_view cells);

// Modules that call by AT+QNETDEVCTL

/// AT+QNETDEVCTL=*: on, context, whether to report the call. Remembers the last.
Outcome QuectelNetDevCtl(Device& device, const Arguments& arguments, const DialWords& words);

/// AT+QNETDEVCTL?: kind of connection, context, whether the module reports, and 1 while the call is up.
Outcome QuectelAskNetDevCtl(Device& device, const Arguments& arguments);

/// Whether the last dial asked for reports of the call.
bool QuectelReportsCalls(const Device& device);

}  // namespace modem_sim
