// What a log of level 7 tells of the world around the daemon, in order: what was asked of the modem and what
// came, what the modem said by itself, settings, pings, the pipe, the bus and the port. Read by story.h,
// which makes a scenario of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ravelin_log {
class Reader;
}

namespace capture {

constexpr size_t kRead_bytes = 256;  // what one read of the daemon takes

struct Event {
    enum class Kind {
        kStart,        // a run begins
        kAsk,          // subject: command; text: what was read in the wait for its answer
        kHeard,        // text: what was read beside answers
        kSettings,     // text: lines KEY=value, as far as the log shows them
        kNoSettings,   // the file wasn't there
        kFifo,         // text: what came through the pipe
        kFifoGone,     // somebody had removed the pipe
        kFrame,        // number, other: message and command of a frame; text: its data
        kPing,         // subject: part of the command; text: what it printed
        kPingFailed,   // subject: part of the command that could not be run
        kShell,        // subject: part of the command; number: whole seconds that it took
        kPortMissing,  // subject: path
        kPortOpen,     // subject: path
        kPortLost,     // the port didn't come back after a reset
        kPortGone,     // the modem's path was looked for and wasn't there
        kPortFound,    // subject: where the modem was found after a reset; empty: nowhere
        kClock,        // the clock was set; number: by so many seconds
        kDecision,     // subject: function; text: what the daemon has decided
    };
    Kind kind;
    int64_t at_ms = 0;      // when its line was written, from the first line on
    int64_t before_ms = 0;  // of the line before
    std::string subject;
    std::string text;
    int64_t number = 0;
    int64_t other = 0;
};

struct Identity {
    enum class Kind { kImsi, kImei, kApn, kUser, kPassword, kPin };
    Kind kind;
    std::string text;
};

struct Transcript {
    std::vector<Event> events;
    std::vector<Identity> identities;  // those that the log names
    std::string device;                // options of the last start
    std::string config;
    std::string script;
    std::string family;  // by the driver's name; empty: not told
    std::string module;  // as the daemon names it; may be empty
    int board = 0;       // as the daemon numbers it
    bool has_start = false;
    bool has_identification = false;
    bool has_exchanges = false;
    bool begins_online = false;  // of a log without a start
    bool has_upgrade_folder = false;
    bool has_upgrade_tool = false;
    bool has_network_json = false;     // which restricts the models
    std::vector<std::string> allowed;  // models that it allows
    bool has_board_in_version = false;
    int64_t torn = 0;     // exchanges that are cut
    int64_t full = 0;     // reads that are as long as one can be
    int64_t percent = 0;  // answers with a "%", of which the log shows one for two
    bool has_lines = false;
    int64_t end_ms = 0;
    std::string last_words;  // message of the last line
};

/// Reads the whole log.
Transcript ReadTranscript(ravelin_log::Reader& reader);

/// Takes the message of AtRequest apart; false when it has no answer.
bool ParseExchange(const std::string& text, std::string* command, std::string* answer);

}  // namespace capture
