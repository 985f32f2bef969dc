// What the daemon and the OCPP service say to each other on the bus: the command numbers, and the replies of
// the service to what the daemon has sent.
#pragma once

#include "support/dbus_util.h"
#include "support/trace_log.h"

/// Command numbers of the frames.
enum OcppCommand : int {
    kOcppUpgrade = 0x7600,         // the service asks for a firmware upgrade; also our answer
    kOcppUpgradeOutcome = 0x7601,  // how it ended; the service confirms
    kOcppModuleRefused = 0x7602,   // the modem may not run on this product; the service confirms
    kOcppStatus = 0x7603,          // the service asks for the state; also our answer
};

constexpr char kOcppDestination[] = "OCPP.Message";
constexpr int kReportMsgId = 1;             // of all frames that we send unsolicited
constexpr int kAnswerFrameSize = 1024;      // room for the longest frame that we send
constexpr unsigned char kOcppConfirms = 1;  // first data byte of a reply of the service

/// Logs, in `place`, what the service replied to an upgrade's outcome: confirmed, or anything else.
void log_outcome_reply(const TracePlace& place, const BusFrame& frame);

/// Logs what the service replied to a report. On a thread of the bus library; changes nothing. 0, always.
int deal_dbus_callback_message(int length, unsigned char* bytes);
