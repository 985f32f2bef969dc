// The process's one connection to the bus, with a thread of its own. Only that thread touches D-Bus once Join
// has returned, so that nothing depends on the locking of libdbus; other threads leave their records in a
// queue.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <dbus/dbus.h>

#include "platform/busglue/bus_names.h"
#include "platform/busglue/busglue.h"

class BusLink {
  public:
    /// Joins the bus under `name`, and serves `descriptor` (may be null: nothing to serve) from a new thread
    /// for the rest of the process. False: no bus, name taken or not valid, or already joined; says why on
    /// standard error.
    bool Join(const char* name, const busglue_descriptor* descriptor);

    /// Queues a copy of the record. False: no bus at the moment, a record that can't be sent, or a full
    /// queue.
    bool Send(const busglue_send_record& record, busglue_send_reply reply);

  private:
    struct MethodRow {
        BusTarget target;
        busglue_method_handler handler;
    };
    struct SignalRow {
        BusTarget target;
        busglue_signal_handler handler;
    };
    struct QueuedRecord {
        BusTarget target;
        std::vector<unsigned char> frame;
        busglue_send_reply reply;
    };
    struct AwaitedReply {
        busglue_send_reply reply;
        int64_t deadline_ms;
    };

    bool ReadTables(const busglue_descriptor* descriptor);
    bool Connect(std::string* why);
    void Disconnect();
    static void* ThreadEntry(void* link);
    [[noreturn]] void Run();
    void WaitAndReconnect();
    void WaitForTraffic(int timeout_ms);
    static dbus_bool_t AddWatch(DBusWatch* watch, void* link);
    static void RemoveWatch(DBusWatch* watch, void* link);
    void HandleWatches(short events);
    void SendQueued();
    void SendNow(const QueuedRecord& record);
    void ForgetOverdueReplies();
    int UntilNextOverdueMs() const;
    static DBusHandlerResult Filter(DBusConnection* connection, DBusMessage* message, void* link);
    DBusHandlerResult Dispatch(DBusMessage* message);
    DBusHandlerResult ServeMethod(DBusMessage* message);
    void ServeSignal(DBusMessage* message);
    void TakeReply(DBusMessage* message);
    void Describe(DBusMessage* request);

    // Written by Join before the thread exists, then read only.
    std::string service_;
    std::string path_;
    std::vector<MethodRow> methods_;
    std::vector<SignalRow> signals_;
    int wake_fd_ = -1;

    // The thread's own, once it runs.
    DBusConnection* connection_ = nullptr;
    std::vector<DBusWatch*> watches_;                // what libdbus wants to know of the connection's socket
    std::map<dbus_uint32_t, AwaitedReply> awaited_;  // by serial of the call

    // Shared with the threads that send.
    std::mutex mutex_;
    bool joined_ = false;
    bool connected_ = false;
    std::deque<QueuedRecord> queue_;
};
