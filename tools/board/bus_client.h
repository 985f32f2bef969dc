// A connection to the bus on which the daemon is, with a stock D-Bus library: for tools that ask it
// something, or take the place of the OCPP service. All calls from one thread.
#pragma once

#include <functional>
#include <string>

#include <dbus/dbus.h>

#include "simulator/bus_peer/frame.h"

namespace board {

using bus_peer::Bytes;

// Names on the bus.
constexpr char kDaemonBusName[] = "busglue.RAVELIN";
constexpr char kDaemonBusPath[] = "/busglue/RAVELIN";
constexpr char kServiceBusName[] = "busglue.OCPP";
constexpr char kSignalPath[] = "/busglue/ravelin";
constexpr char kSignalInterface[] = "busglue.ravelin";
constexpr char kSignalMember[] = "reset";
constexpr char kCallMember[] = "Message";

enum class CallResult { kAnswered, kNobodyThere, kNotAllowed, kNoAnswer, kNotAFrame };

enum class ServeResult { kWantsNoMore, kTimeOver, kBusGone };

class BusClient {
  public:
    BusClient() = default;
    ~BusClient();
    BusClient(const BusClient&) = delete;
    BusClient& operator=(const BusClient&) = delete;

    /// Joins the bus at `address`, or the system bus where that is empty. False: error() says why.
    bool Open(const std::string& address);

    /// Where the daemon is: RAVELIN_BUS_ADDRESS, or empty for the system bus.
    static std::string DefaultAddress();

    /// Hands the daemon a frame. Null: no memory. The caller owns what is returned, for Await.
    DBusPendingCall* Send(const Bytes& bytes, int timeout_ms);

    /// Waits for the answer to a call, and gives it up. `answer` is filled for kAnswered; for the others
    /// error() says more.
    CallResult Await(DBusPendingCall* call, Bytes* answer);

    /// The same as a signal, which nobody answers. False: error() says why.
    bool Signal(const Bytes& bytes);

    /// Owns the name of the OCPP service; from then on Serve hands its calls to `answer_frame`. False:
    /// error() says why.
    bool BeService();

    /// Answers calls until `answer_frame` wants no more (it returns false) or `timeout_ms` has passed without
    /// that (negative: never).
    ServeResult Serve(const std::function<bool(const Bytes& frame, Bytes* answer)>& answer_frame,
                      int timeout_ms);

    const std::string& error() const { return error_; }
    /// For other questions than the daemon's own; null until it is open.
    DBusConnection* connection() const { return connection_; }

  private:
    bool Failed(DBusError* error, const std::string& what);

    DBusConnection* connection_ = nullptr;
    std::string error_;
};

}  // namespace board
