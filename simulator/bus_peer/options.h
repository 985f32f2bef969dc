// The command line of ocpp_peer.
#pragma once

#include <string>
#include <vector>

#include "simulator/bus_peer/frame.h"
#include "simulator/command_line.h"

namespace bus_peer {

struct Options : CommonOptions {
    std::string address;  // empty: the system bus
    int timeout_ms = 5000;
    bool has_timeout = false;  // given, and not the one above
    bool json = false;
    bool as_signal = false;
    int repeat = 1;
    int window = 1;
    int count = 0;  // of watch: ends after so many; 0 never
    int reply = 1;  // of watch: data byte of its answers
    std::string command;
    std::vector<std::string> arguments;
    Bytes raw;  // of raw: what to send
};

/// What is wrong with the command line; empty, and `options` filled, when nothing is.
std::string ReadOptions(int argc, char** argv, Options* options);

}  // namespace bus_peer
