// What the daemon itself says over the bus, or why it doesn't.
#pragma once

#include <string>
#include <vector>

#include "simulator/bus_peer/frame.h"
#include "simulator/bus_peer/status.h"
#include "tools/board/bus_client.h"

namespace board {

enum class BusState {
    kNotAsked,
    kAnswered,
    kNoModem,   // it answers that it has none yet
    kNoBus,     // which may be off, or closed to us
    kNoDaemon,  // nobody owns its name
    kRefused,   // the bus doesn't let us speak to it
    kNoAnswer,
    kBroken,  // an answer that is none
};

struct BusAnswer {
    BusState state = BusState::kNotAsked;
    std::string problem;  // in words, unless answered
    bus_peer::Frame frame;
};

struct BusStatus {
    BusState state = BusState::kNotAsked;
    std::string problem;
    std::vector<bus_peer::StatusItem> items;
};

/// One question over an open connection.
BusAnswer Ask(BusClient& bus, const bus_peer::Frame& question, int timeout_ms);

/// The fifteen items of the daemon at `address`, as BusClient::Open takes it.
BusStatus AskForStatus(const std::string& address, int timeout_ms);

}  // namespace board
