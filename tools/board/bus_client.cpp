#include "tools/board/bus_client.h"

#include <chrono>
#include <cstdlib>

namespace board {

namespace {

constexpr char kServicePath[] = "/busglue/OCPP";
constexpr int kPoll_ms = 100;

bool AppendBytes(DBusMessage* message, const Bytes& bytes) {
    const uint8_t nothing = 0;
    const uint8_t* first = bytes.empty() ? &nothing : bytes.data();
    return dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &first,
                                    static_cast<int>(bytes.size()), DBUS_TYPE_INVALID);
}

bool ReadBytes(DBusMessage* message, Bytes* bytes) {
    const uint8_t* first = nullptr;
    int count = 0;
    if (!dbus_message_get_args(message, nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &first, &count,
                               DBUS_TYPE_INVALID)) {
        return false;
    }
    bytes->assign(first, first + count);
    return true;
}

bool IsFrameForService(DBusMessage* message) {
    return dbus_message_is_method_call(message, kServiceBusName, kCallMember) &&
           dbus_message_has_path(message, kServicePath);
}

CallResult WhyNot(const char* error_name) {
    const std::string name = error_name == nullptr ? "" : error_name;
    if (name == DBUS_ERROR_SERVICE_UNKNOWN || name == DBUS_ERROR_NAME_HAS_NO_OWNER) {
        return CallResult::kNobodyThere;
    }
    if (name == DBUS_ERROR_NO_REPLY || name == DBUS_ERROR_TIMEOUT || name == DBUS_ERROR_DISCONNECTED) {
        return CallResult::kNoAnswer;
    }
    if (name == DBUS_ERROR_ACCESS_DENIED) return CallResult::kNotAllowed;
    return CallResult::kNotAFrame;
}

}  // namespace

BusClient::~BusClient() {
    if (connection_ == nullptr) return;
    dbus_connection_close(connection_);
    dbus_connection_unref(connection_);
}

bool BusClient::Failed(DBusError* error, const std::string& what) {
    error_ = what + ": " + (dbus_error_is_set(error) ? error->message : "out of memory");
    dbus_error_free(error);
    return false;
}

std::string BusClient::DefaultAddress() {
    const char* address = getenv("RAVELIN_BUS_ADDRESS");
    return address == nullptr ? "" : address;
}

bool BusClient::Open(const std::string& address) {
    DBusError error = DBUS_ERROR_INIT;
    if (address.empty()) {
        connection_ = dbus_bus_get_private(DBUS_BUS_SYSTEM, &error);
    } else {
        connection_ = dbus_connection_open_private(address.c_str(), &error);
    }
    const bool joined = connection_ != nullptr && (address.empty() || dbus_bus_register(connection_, &error));
    if (!joined) return Failed(&error, address.empty() ? "no system bus" : "no bus at " + address);
    dbus_connection_set_exit_on_disconnect(connection_, FALSE);
    return true;
}

DBusPendingCall* BusClient::Send(const Bytes& bytes, int timeout_ms) {
    DBusMessage* call =
        dbus_message_new_method_call(kDaemonBusName, kDaemonBusPath, kDaemonBusName, kCallMember);
    DBusPendingCall* pending = nullptr;
    if (call != nullptr) {
        dbus_message_set_auto_start(call, FALSE);
        if (AppendBytes(call, bytes)) {
            dbus_connection_send_with_reply(connection_, call, &pending, timeout_ms);
        }
        dbus_message_unref(call);
    }
    return pending;
}

CallResult BusClient::Await(DBusPendingCall* call, Bytes* answer) {
    if (call == nullptr) {
        error_ = "the bus has gone";
        return CallResult::kNoAnswer;
    }
    dbus_pending_call_block(call);
    DBusMessage* reply = dbus_pending_call_steal_reply(call);
    dbus_pending_call_unref(call);
    CallResult result = CallResult::kAnswered;
    DBusError error = DBUS_ERROR_INIT;
    if (dbus_set_error_from_message(&error, reply)) {
        result = WhyNot(error.name);
        error_ = error.message;
        dbus_error_free(&error);
    } else if (!ReadBytes(reply, answer)) {
        result = CallResult::kNotAFrame;
        error_ = "it isn't an array of bytes";
    }
    dbus_message_unref(reply);
    return result;
}

bool BusClient::Signal(const Bytes& bytes) {
    DBusMessage* signal = dbus_message_new_signal(kSignalPath, kSignalInterface, kSignalMember);
    const bool sent =
        signal != nullptr && AppendBytes(signal, bytes) && dbus_connection_send(connection_, signal, nullptr);
    if (signal != nullptr) dbus_message_unref(signal);
    if (sent) dbus_connection_flush(connection_);
    if (!sent) error_ = "out of memory";
    return sent;
}

bool BusClient::BeService() {
    DBusError error = DBUS_ERROR_INIT;
    const int result =
        dbus_bus_request_name(connection_, kServiceBusName, DBUS_NAME_FLAG_DO_NOT_QUEUE, &error);
    if (result == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) return true;
    if (result == DBUS_REQUEST_NAME_REPLY_EXISTS) {
        dbus_set_error(&error, DBUS_ERROR_FAILED, "somebody else owns it");
    }
    return Failed(&error, std::string("can't be ") + kServiceBusName);
}

ServeResult BusClient::Serve(const std::function<bool(const Bytes& frame, Bytes* answer)>& answer_frame,
                             int timeout_ms) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeout_ms);
    bool wants_more = true;
    while (wants_more && (timeout_ms < 0 || Clock::now() < deadline)) {
        if (!dbus_connection_read_write(connection_, kPoll_ms)) {
            error_ = "the bus has gone";
            return ServeResult::kBusGone;
        }
        while (DBusMessage* message = dbus_connection_pop_message(connection_)) {
            Bytes frame, answer;
            if (wants_more && IsFrameForService(message) && ReadBytes(message, &frame)) {
                wants_more = answer_frame(frame, &answer);
                DBusMessage* reply = dbus_message_new_method_return(message);
                if (reply != nullptr && AppendBytes(reply, answer)) {
                    dbus_connection_send(connection_, reply, nullptr);
                }
                if (reply != nullptr) dbus_message_unref(reply);
            }
            dbus_message_unref(message);
        }
    }
    dbus_connection_flush(connection_);
    if (!wants_more) return ServeResult::kWantsNoMore;
    error_ = "the time is over";
    return ServeResult::kTimeOver;
}

}  // namespace board
