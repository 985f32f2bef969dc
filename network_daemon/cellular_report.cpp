// Reports to the OCPP service that nobody asked for: the outcome of an upgrade, and a modem that may not run
// here. The upgrade thread and main send them; the replies come in on threads of the bus library and only
// reach the log.
#include "network_daemon/cellular_report.h"

#include "network_daemon/cellular.h"
#include "platform/busglue/busglue.h"
#include "support/dbus_util.h"
#include "support/trace_log.h"

namespace {

constexpr int kSendRecordFourth = 700;  // belongs to the bus library

}  // namespace

namespace cc_cell {

void CellBase::ReplyOcppUpgradeStatus(const char* destination, int msg_id, int cmd, uint8_t status) {
    TRACE(kLogProgress, "[OTA] send %s msgid:%2x cmd:%2x status:%d \r\n", destination,
          static_cast<unsigned>(msg_id), static_cast<unsigned>(cmd), status);
    unsigned char frame[kAnswerFrameSize];
    busglue_send_record record = {};
    record.length = EncodeDbusMsg(frame, sizeof frame, msg_id, cmd, &status, sizeof status);
    record.frame = frame;
    record.destination = const_cast<char*>(destination);  // the library only reads it
    record.fourth = kSendRecordFourth;
    dbs_send_method_async(&record, deal_dbus_callback_message);
}

}  // namespace cc_cell

void log_outcome_reply(const TracePlace& place, const BusFrame& frame) {
    if (frame.data[0] == kOcppConfirms) {
        TRACE_AT(place, kLogProgress, "[OTA] get ocpp 4g status ok \r\n");
    } else {
        TRACE_AT(place, kLogProgress, "[OTA] get ocpp 4g status fail \r\n");
    }
}

int deal_dbus_callback_message(int length, unsigned char* bytes) {
    BusFrame frame;
    if (DecodeDbusMsg(bytes, length, &frame) < 0) return 0;
    if (frame.cmd == kOcppUpgradeOutcome) {
        log_outcome_reply(TRACE_HERE, frame);
    } else if (frame.cmd == kOcppModuleRefused && frame.data[0] == kOcppConfirms) {
        TRACE(kLogProgress, "[whilelist] ocpp confirm get security log\n");
    } else if (frame.cmd == kOcppModuleRefused) {
        TRACE(kLogProgress, "[whilelist] ocpp reply unknow\n");
    }
    return 0;
}
