// The daemon's end of the message bus: its name, the tables of what it serves, and the dispatch of what the
// OCPP service asks for. The tables live as long as the process. All but JoinBus runs on threads of the bus
// library, beside main and without a lock: a status answer may hold a half-written text.
#include "network_daemon/main.h"

#include <pthread.h>

#include <cstdio>
#include <cstring>
#include <iterator>

#include "network_daemon/cellular_report.h"
#include "platform/busglue/busglue.h"
#include "support/build_info.h"
#include "support/dbus_util.h"
#include "support/text_util.h"

using cc_cell::CellBase;

namespace {

constexpr char kBusName[] = "RAVELIN";
constexpr char kReleaseText[] = "Release_Tideway_V2.1.1";

/// The one data byte of our answer to an upgrade request.
enum UpgradeAnswer : unsigned char { kBadRequest = 0, kAccepted = 1, kAlreadyRunning = 2, kNoDriver = 3 };

constexpr unsigned char kRequestMark = 1;  // first data byte of an upgrade request
constexpr size_t kRequestItems = 3;
constexpr unsigned char kStatusItems = 15;
constexpr unsigned char kNoStatus = 0;

/// Whom to answer. Signals have no one: their reply function is null.
struct Caller {
    int msg_id;
    void* context;
    busglue_reply reply;
};

/// An answer of length 0 is a real one, with an empty message.
void Answer(const Caller& caller, unsigned char* frame, int length) {
    if (caller.reply != nullptr) caller.reply(length, frame, caller.context);
}

void AnswerNothing(const Caller& caller) {
    unsigned char frame[1] = {};
    Answer(caller, frame, 0);
}

void AnswerData(const Caller& caller, OcppCommand cmd, const unsigned char* data, size_t count) {
    unsigned char frame[kAnswerFrameSize];
    const int length = EncodeDbusMsg(frame, sizeof frame, caller.msg_id, cmd, data, static_cast<int>(count));
    Answer(caller, frame, length);
}

void AnswerUpgrade(const Caller& caller, UpgradeAnswer status) {
    const unsigned char data[] = {status};
    AnswerData(caller, kOcppUpgrade, data, sizeof data);
}

void AnswerStatus(const Caller& caller) {
    const ByteArray data = BuildStatusAnswer(BuildStatusTlv());
    AnswerData(caller, kOcppStatus, data.data(), data.size());
}

/// Bounded by the array: another thread may be rewriting the text, and its terminator may be missing for a
/// moment.
template <size_t N>
void AddText(TlvList& list, uint8_t type, const char (&text)[N]) {
    AddTlvItem(list, type, static_cast<uint8_t>(strnlen(text, N)), text);
}

/// Up to the first zero, should the value hold one.
void KeepText(ParameterText& text, const TlvItem& item) {
    static_assert(sizeof text > UINT8_MAX);  // the longest value fits
    CopyText(text, std::string(item.value.begin(), item.value.end()).c_str());
}

/// Keeps the three texts of an upgrade request. One that doesn't bring them is not refused: the upgrade works
/// from the model that was identified.
void take_upgrade_parameters(const TracePlace& place, const BusFrame& frame) {
    const ByteArray bytes(frame.data + 1, frame.data + frame.length);
    PrintTlvBytes(bytes);
    const TlvList items = ParseTlvBytes(bytes);
    if (items.empty()) {
        TRACE_AT(place, kLogProgress, "[OTA] TLVS is empty.\n");
        return;
    }
    TRACE_AT(place, kLogProgress, "[OTA] TLVS size is: %d ", static_cast<int>(items.size()));
    if (items.size() != kRequestItems) {
        TRACE_AT(place, kLogProgress, "[OTA] TLVS parameter error");
        return;
    }
    KeepText(supportModule, items[0]);
    KeepText(otatool, items[1]);
    KeepText(otaPath, items[2]);
    TRACE_AT(place, kLogProgress, "[OTA] TLVS supportModule:%s otatool:%s otaPath:%s \r\n", supportModule,
             otatool, otaPath);
}

/// Starts the upgrade beside Task. The answer is the same when no thread could be made, and the flag stays
/// set.
void start_upgrade(const TracePlace& place, CellBase& cell) {
    TRACE_AT(place, kLogProgress, "[OTA] get ocpp msg and set ota upgrade flag true\n");
    cell.m_ota_running = 1;
    if (pthread_create(&ota_thread, nullptr, thread_function_ota, &cell) != 0) {
        TRACE_AT(place, kLogProgress, "[OTA] Failed to create thread \n");
    } else if (pthread_detach(ota_thread) != 0) {
        TRACE_AT(place, kLogProgress, "[OTA] Failed to detach thread \n");
    }
}

void deal_upgrade_request(const TracePlace& place, const Caller& caller, const BusFrame& frame,
                          CellBase& cell) {
    if (frame.data[0] != kRequestMark) {
        TRACE_AT(place, kLogProgress, "[OTA] get ocpp unknown msg\n");
        AnswerUpgrade(caller, kBadRequest);
        return;
    }
    if (frame.length > 1) take_upgrade_parameters(place, frame);
    if (cell.m_ota_running) {
        TRACE_AT(place, kLogProgress, "[OTA] get ocpp msg , ota is on going\n");
        AnswerUpgrade(caller, kAlreadyRunning);
        return;
    }
    start_upgrade(place, cell);
    TRACE_AT(place, kLogProgress, "[OTA] reply ocpp ota msg id=%x cmd=%x result:%d\n",
             static_cast<unsigned>(caller.msg_id), static_cast<unsigned>(kOcppUpgrade), kAccepted);
    TRACE_AT(place, kLogProgress, "[OTA] get ocpp msg , set ota run\n");
    AnswerUpgrade(caller, kAccepted);
}

/// A message that came as a signal: the same dispatch, and nobody to answer.
int DealDbusSignal(int length, unsigned char* bytes) {
    ravelin_deal_dbus_message(length, bytes, nullptr, nullptr);
    return 0;
}

constexpr busglue_signal_row kSignals[] = {{"ravelin.reset", DealDbusSignal}, {nullptr, nullptr}};
constexpr busglue_method_row kMethods[] = {{"RAVELIN.Message", ravelin_deal_dbus_message},
                                           {nullptr, nullptr}};
constexpr busglue_descriptor kDescriptor = {kSignals, kMethods};

}  // namespace

int JoinBus() {
    return dbs_connect_init(kBusName, &kDescriptor);
}

int ravelin_deal_dbus_message(int length, unsigned char* bytes, void* context, busglue_reply reply) {
    BusFrame frame;
    const int count = DecodeDbusMsg(bytes, length, &frame);
    const Caller caller = {frame.msg_id, context, reply};
    if (count < 0) {
        AnswerNothing(caller);
        return 0;
    }
    TRACE(kLogProgress, "[RAVELIN] get ocpp msg id=%x cmd=%x length=%d\n", frame.msg_id, frame.cmd, count);
    CellBase* cell = pCell;
    if (cell == nullptr) {
        TRACE(kLogProgress, "[OTA] pCell == NULL, no action \r\n");
        AnswerUpgrade(caller, kNoDriver);  // whatever was asked
        return 0;
    }
    switch (frame.cmd) {
        case kOcppUpgradeOutcome:
            log_outcome_reply(TRACE_HERE, frame);
            AnswerNothing(caller);
            break;
        case kOcppStatus:
            AnswerStatus(caller);
            break;
        case kOcppUpgrade:
            deal_upgrade_request(TRACE_HERE, caller, frame, *cell);
            break;
        default:
            AnswerNothing(caller);
            break;
    }
    return 0;
}

ByteArray BuildStatusAnswer(ByteArray items) {
    if (items.empty()) {
        printf("No data was returned.\n");
        return {kNoStatus};
    }
    items.insert(items.begin(), kStatusItems);
    return items;
}

ByteArray BuildStatusTlv() {
    CellBase* cell = pCell;
    if (cell == nullptr) return {};
    const char* firmware = str_trim(cell->m_fw_version);  // for good: the member loses its blanks too
    const auto room = static_cast<size_t>(std::end(cell->m_fw_version) - firmware);
    TlvList list;
    list.reserve(kStatusItems);
    AddText(list, 1, cell->m_vendor_name);
    AddTlvItem(list, 2, static_cast<uint8_t>(strnlen(firmware, room)), firmware);
    AddText(list, 3, cell->m_csIMEI);
    AddText(list, 4, cell->m_card_iccid);
    AddText(list, 5, cell->m_Primary_SIM ? "1" : "2");
    AddText(list, 6, cell->m_carrier);
    AddText(list, 7, cell->m_pcid);
    AddText(list, 8, cell->m_RSRP);
    AddText(list, 9, cell->m_band);
    AddText(list, 10, cell->m_neighbour_pcid);
    AddText(list, 11, cell->m_neighbour_rsrp);
    AddText(list, 12, cell->m_SINR);
    AddText(list, 13, kReleaseText);
    AddText(list, 14, kBuildCommit);
    AddText(list, 15, cell->m_card_imsi);
    return EncodeTlvList(list);
}
