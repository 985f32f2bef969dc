#include "platform/busglue/bus_link.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

namespace {

constexpr char kAddressVariable[] = "RAVELIN_BUS_ADDRESS";
constexpr char kIntrospectInterface[] = "org.freedesktop.DBus.Introspectable";
constexpr int kReconnectWait_ms = 1000;
constexpr int kReplyWait_ms = 25000;  // what D-Bus clients commonly allow; a later reply is thrown away
constexpr int kNoTimeout = -1;
constexpr size_t kAwaitedLimit = 64;  // a system bus refuses calls beyond 128 unanswered ones of a connection
constexpr size_t kQueueLimit = 256;   // peers that answer nothing for so long will not be helped by memory

// The largest frame has 30731 bytes; one that is a little longer still gets its answer. What is left is for
// the names in front of it, of which none has more than 255. libdbus believes a length of up to 128 MiB
// otherwise, and makes room for it twice.
constexpr long kMessageSizeLimit = 32L * 1024;
constexpr long kReceivedSizeLimit = 128 * kMessageSizeLimit;  // taken in while the bus itself is asked

int64_t NowMs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

/// The bytes of a message whose one argument is a byte array; false for any other message.
bool ReadBytes(DBusMessage* message, std::vector<unsigned char>* bytes) {
    const unsigned char* data = nullptr;
    int length = 0;
    if (!dbus_message_get_args(message, nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &data, &length,
                               DBUS_TYPE_INVALID)) {
        return false;
    }
    bytes->reserve(static_cast<size_t>(length) +
                   1);  // an empty frame is still a valid pointer for its handler
    bytes->assign(data, data + length);
    return true;
}

bool AppendBytes(DBusMessage* message, const unsigned char* bytes, int length) {
    return dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, length,
                                    DBUS_TYPE_INVALID);
}

bool FrameFits(int length, const unsigned char* frame) {
    return length >= 0 && length <= DBUS_MAXIMUM_ARRAY_LENGTH && (length == 0 || frame != nullptr);
}

bool IsFor(DBusMessage* message, const BusTarget& target) {
    const char* interface = dbus_message_get_interface(message);  // a call may omit it
    return dbus_message_has_path(message, target.path.c_str()) &&
           dbus_message_has_member(message, target.member.c_str()) &&
           (interface == nullptr || target.interface == interface);
}

/// One call of a peer while its handler runs. Lives on the stack of the library's thread.
struct ServedCall {
    DBusConnection* connection;
    DBusMessage* request;
    bool answered;
};

/// The reply function given to method handlers.
void AnswerCall(int length, unsigned char* bytes, void* context) {
    auto* call = static_cast<ServedCall*>(context);
    if (call == nullptr || call->answered || !FrameFits(length, bytes)) return;
    call->answered = true;
    if (dbus_message_get_no_reply(call->request)) return;
    unsigned char nothing = 0;
    DBusMessage* reply = dbus_message_new_method_return(call->request);
    if (reply != nullptr && AppendBytes(reply, length == 0 ? &nothing : bytes, length)) {
        dbus_connection_send(call->connection, reply, nullptr);
    }
    if (reply != nullptr) dbus_message_unref(reply);
}

void AnswerError(DBusConnection* connection, DBusMessage* request, const char* name, const char* text) {
    if (dbus_message_get_no_reply(request)) return;
    DBusMessage* reply = dbus_message_new_error(request, name, text);
    if (reply != nullptr) {
        dbus_connection_send(connection, reply, nullptr);
        dbus_message_unref(reply);
    }
}

DBusConnection* OpenConnection(DBusError* error) {
    const char* address = getenv(kAddressVariable);
    if (address == nullptr || address[0] == '\0') return dbus_bus_get_private(DBUS_BUS_SYSTEM, error);
    DBusConnection* connection = dbus_connection_open_private(address, error);
    if (connection != nullptr && !dbus_bus_register(connection, error)) {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
        return nullptr;
    }
    return connection;
}

/// A longer message ends the connection, which is then made anew as after a loss of the bus.
void LimitWhatComes(DBusConnection* connection) {
    dbus_connection_set_max_message_size(connection, kMessageSizeLimit);
    dbus_connection_set_max_received_size(connection, kReceivedSizeLimit);
}

bool OwnName(DBusConnection* connection, const char* service, DBusError* error) {
    int result = dbus_bus_request_name(connection, service, DBUS_NAME_FLAG_DO_NOT_QUEUE, error);
    if (result == DBUS_REQUEST_NAME_REPLY_EXISTS) {
        dbus_set_error(error, DBUS_ERROR_FAILED, "the name %s is taken by another process", service);
    }
    return result == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER;
}

}  // namespace

bool BusLink::Join(const char* name, const busglue_descriptor* descriptor) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (joined_) {
        fprintf(stderr, "busglue: already on the bus\n");
        return false;
    }
    service_ = ServiceOf(name);
    std::string why;
    if (service_.empty() || !ReadTables(descriptor)) {
        fprintf(stderr, "busglue: a name that can't be spelled on the bus: %s\n",
                name == nullptr ? "(null)" : name);
        return false;
    }
    path_ = "/busglue/" + std::string(name);
    dbus_threads_init_default();
    // A lost bus must not kill the process, and writes to it are guarded without changing how signals are
    // taken.
    dbus_connection_set_change_sigpipe(FALSE);
    if (!Connect(&why)) {
        fprintf(stderr, "busglue: can't join the bus: %s\n", why.c_str());
        return false;
    }
    connected_ = true;

    // Signals of the process are for its own threads.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    wake_fd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    int failure = wake_fd_ < 0 ? errno : pthread_create(&thread, nullptr, ThreadEntry, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (failure != 0) {
        fprintf(stderr, "busglue: can't start the bus thread: %s\n", strerror(failure));
        Disconnect();
        connected_ = false;
        if (wake_fd_ >= 0) {
            close(wake_fd_);
            wake_fd_ = -1;
        }
        return false;
    }
    pthread_detach(thread);
    joined_ = true;
    return true;
}

bool BusLink::Send(const busglue_send_record& record, busglue_send_reply reply) {
    QueuedRecord queued;
    if (!FrameFits(record.length, record.frame) || !ParseTarget(record.destination, &queued.target)) {
        return false;
    }
    queued.frame.assign(record.frame, record.frame + record.length);
    queued.reply = reply;
    std::lock_guard<std::mutex> lock(mutex_);
    if (!connected_ || queue_.size() >= kQueueLimit) return false;
    queue_.push_back(std::move(queued));
    eventfd_write(wake_fd_, 1);
    return true;
}

bool BusLink::ReadTables(const busglue_descriptor* descriptor) {
    methods_.clear();
    signals_.clear();
    const busglue_method_row* method = descriptor == nullptr ? nullptr : descriptor->methods;
    for (; method != nullptr && method->name != nullptr && method->handler != nullptr; ++method) {
        methods_.push_back(MethodRow{BusTarget(), method->handler});
        if (!ParseTarget(method->name, &methods_.back().target)) return false;
    }
    const busglue_signal_row* signal = descriptor == nullptr ? nullptr : descriptor->signals;
    for (; signal != nullptr && signal->name != nullptr && signal->handler != nullptr; ++signal) {
        signals_.push_back(SignalRow{BusTarget(), signal->handler});
        if (!ParseTarget(signal->name, &signals_.back().target)) return false;
    }
    return true;
}

/// Connects, owns the name and asks for the signals. On failure nothing is left open.
bool BusLink::Connect(std::string* why) {
    DBusError error = DBUS_ERROR_INIT;
    connection_ = OpenConnection(&error);
    bool ready = connection_ != nullptr;
    if (ready) {
        dbus_connection_set_exit_on_disconnect(connection_, FALSE);
        LimitWhatComes(connection_);
        ready = dbus_connection_add_filter(connection_, Filter, this, nullptr) &&
                OwnName(connection_, service_.c_str(), &error);
    }
    for (size_t i = 0; ready && i < signals_.size(); ++i) {
        const BusTarget& target = signals_[i].target;
        std::string rule =
            "type='signal',interface='" + target.interface + "',member='" + target.member + "'";
        dbus_bus_add_match(connection_, rule.c_str(), &error);
        ready = !dbus_error_is_set(&error);
    }
    ready = ready &&
            dbus_connection_set_watch_functions(connection_, AddWatch, RemoveWatch, nullptr, this, nullptr);
    if (!ready) {
        *why = dbus_error_is_set(&error) ? error.message : "out of memory";
        dbus_error_free(&error);
        Disconnect();
    }
    return ready;
}

void BusLink::Disconnect() {
    if (connection_ == nullptr) return;
    dbus_connection_remove_filter(connection_, Filter, this);
    dbus_connection_close(connection_);
    dbus_connection_unref(connection_);
    connection_ = nullptr;
    awaited_.clear();
}

void* BusLink::ThreadEntry(void* link) {
    static_cast<BusLink*>(link)->Run();
}

void BusLink::Run() {
    for (;;) {
        // Messages may have come in while a reply of the bus itself was awaited: dispatch before waiting.
        while (dbus_connection_dispatch(connection_) == DBUS_DISPATCH_DATA_REMAINS) {
        }
        ForgetOverdueReplies();
        SendQueued();  // last: a reply that came, or never will, makes room for a record in the queue
        WaitForTraffic(UntilNextOverdueMs());
        if (!dbus_connection_get_is_connected(connection_)) WaitAndReconnect();
    }
}

void BusLink::WaitAndReconnect() {
    syslog(LOG_WARNING, "the message bus is gone");
    mutex_.lock();
    connected_ = false;
    mutex_.unlock();
    Disconnect();
    std::string why;
    do {
        poll(nullptr, 0, kReconnectWait_ms);
    } while (!Connect(&why));
    mutex_.lock();
    connected_ = true;
    mutex_.unlock();
    syslog(LOG_NOTICE, "back on the message bus");
}

/// Until the bus has something, can take something, another thread has queued a record, or the time has run
/// out. Reads and writes what is possible at once. libdbus itself would ask the socket a second time.
void BusLink::WaitForTraffic(int timeout_ms) {
    // A connection that a handler or a call has found dead has no watch left that would end the wait.
    if (!dbus_connection_get_is_connected(connection_)) return;
    pollfd fds[2] = {{-1, 0, 0}, {wake_fd_, POLLIN, 0}};
    for (DBusWatch* watch : watches_) {
        if (!dbus_watch_get_enabled(watch)) continue;
        fds[0].fd = dbus_watch_get_unix_fd(watch);
        const unsigned wanted = dbus_watch_get_flags(watch);
        if ((wanted & DBUS_WATCH_READABLE) != 0) fds[0].events |= POLLIN;
        if ((wanted & DBUS_WATCH_WRITABLE) != 0) fds[0].events |= POLLOUT;
    }
    if (poll(fds, 2, timeout_ms) <= 0) return;
    if (fds[1].revents != 0) {
        eventfd_t count;
        eventfd_read(wake_fd_, &count);
    }
    if (fds[0].revents != 0) HandleWatches(fds[0].revents);
}

dbus_bool_t BusLink::AddWatch(DBusWatch* watch, void* link) {
    static_cast<BusLink*>(link)->watches_.push_back(watch);
    return TRUE;
}

void BusLink::RemoveWatch(DBusWatch* watch, void* link) {
    auto& watches = static_cast<BusLink*>(link)->watches_;
    watches.erase(std::remove(watches.begin(), watches.end(), watch), watches.end());
}

void BusLink::HandleWatches(short events) {
    unsigned found = 0;
    if ((events & POLLIN) != 0) found |= DBUS_WATCH_READABLE;
    if ((events & POLLOUT) != 0) found |= DBUS_WATCH_WRITABLE;
    if ((events & POLLERR) != 0) found |= DBUS_WATCH_ERROR;
    if ((events & POLLHUP) != 0) found |= DBUS_WATCH_HANGUP;
    const std::vector<DBusWatch*> watches = watches_;
    for (DBusWatch* watch : watches) {
        // A connection that is lost takes its watches with it.
        const bool is_there = std::find(watches_.begin(), watches_.end(), watch) != watches_.end();
        if (is_there && dbus_watch_get_enabled(watch)) dbus_watch_handle(watch, found);
    }
}

void BusLink::SendQueued() {
    while (awaited_.size() < kAwaitedLimit) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (queue_.empty()) return;
        QueuedRecord record = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        SendNow(record);
    }
}

void BusLink::SendNow(const QueuedRecord& record) {
    const BusTarget& target = record.target;
    DBusMessage* message = dbus_message_new_method_call(target.service.c_str(), target.path.c_str(),
                                                        target.interface.c_str(), target.member.c_str());
    if (message == nullptr) return;
    dbus_message_set_auto_start(message, FALSE);  // a frame is for a service that runs, it starts none
    dbus_message_set_no_reply(message, record.reply == nullptr);
    dbus_uint32_t serial = 0;
    if (AppendBytes(message, record.frame.data(), static_cast<int>(record.frame.size())) &&
        dbus_connection_send(connection_, message, &serial) && record.reply != nullptr) {
        awaited_[serial] = AwaitedReply{record.reply, NowMs() + kReplyWait_ms};
    }
    dbus_message_unref(message);
}

void BusLink::ForgetOverdueReplies() {
    const int64_t now_ms = NowMs();
    for (auto it = awaited_.begin(); it != awaited_.end();) {
        it = it->second.deadline_ms <= now_ms ? awaited_.erase(it) : std::next(it);
    }
}

/// For poll: the time until the next reply is overdue.
int BusLink::UntilNextOverdueMs() const {
    if (awaited_.empty()) return kNoTimeout;
    int64_t first_ms = INT64_MAX;
    for (const auto& [serial, awaited] : awaited_) first_ms = std::min(first_ms, awaited.deadline_ms);
    return static_cast<int>(std::max<int64_t>(0, first_ms - NowMs()));
}

DBusHandlerResult BusLink::Filter(DBusConnection*, DBusMessage* message, void* link) {
    return static_cast<BusLink*>(link)->Dispatch(message);
}

DBusHandlerResult BusLink::Dispatch(DBusMessage* message) {
    switch (dbus_message_get_type(message)) {
        case DBUS_MESSAGE_TYPE_METHOD_CALL:
            return ServeMethod(message);
        case DBUS_MESSAGE_TYPE_SIGNAL:
            ServeSignal(message);
            return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
        default:
            TakeReply(message);
            return DBUS_HANDLER_RESULT_HANDLED;
    }
}

DBusHandlerResult BusLink::ServeMethod(DBusMessage* message) {
    if (dbus_message_is_method_call(message, kIntrospectInterface, "Introspect") &&
        dbus_message_has_path(message, path_.c_str())) {
        Describe(message);
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    for (const MethodRow& row : methods_) {
        if (!IsFor(message, row.target)) continue;
        std::vector<unsigned char> frame;
        if (!ReadBytes(message, &frame)) {
            AnswerError(connection_, message, DBUS_ERROR_INVALID_ARGS,
                        "one argument is expected: an array of bytes");
            return DBUS_HANDLER_RESULT_HANDLED;
        }
        ServedCall call = {connection_, message, false};
        row.handler(static_cast<int>(frame.size()), frame.data(), &call, AnswerCall);
        if (!call.answered) {
            AnswerError(connection_, message, DBUS_ERROR_FAILED, "the frame was taken without an answer");
        }
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;  // libdbus knows the standard calls and refuses the others
}

void BusLink::ServeSignal(DBusMessage* message) {
    for (const SignalRow& row : signals_) {
        std::vector<unsigned char> frame;
        if (IsFor(message, row.target) && ReadBytes(message, &frame)) {
            row.handler(static_cast<int>(frame.size()), frame.data());
        }
    }
}

/// A reply or an error of the peer or, in the peer's stead, of the bus. An error counts as no reply.
void BusLink::TakeReply(DBusMessage* message) {
    auto found = awaited_.find(dbus_message_get_reply_serial(message));
    if (found == awaited_.end()) return;
    busglue_send_reply reply = found->second.reply;
    awaited_.erase(found);
    std::vector<unsigned char> frame;
    if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_RETURN && ReadBytes(message, &frame)) {
        reply(static_cast<int>(frame.size()), frame.data());
    }
}

/// Answers what this process serves, for tools that list a bus.
void BusLink::Describe(DBusMessage* request) {
    std::string text = DBUS_INTROSPECT_1_0_XML_DOCTYPE_DECL_NODE "<node>\n";
    for (const MethodRow& row : methods_) {
        text += " <interface name=\"" + row.target.interface + "\">\n  <method name=\"" + row.target.member +
                "\">\n   <arg name=\"frame\" type=\"ay\" direction=\"in\"/>\n"
                "   <arg name=\"answer\" type=\"ay\" direction=\"out\"/>\n  </method>\n </interface>\n";
    }
    text += "</node>\n";
    const char* xml = text.c_str();
    DBusMessage* reply = dbus_message_new_method_return(request);
    if (reply != nullptr && dbus_message_append_args(reply, DBUS_TYPE_STRING, &xml, DBUS_TYPE_INVALID)) {
        dbus_connection_send(connection_, reply, nullptr);
    }
    if (reply != nullptr) dbus_message_unref(reply);
}
