// Dialects as data. A family of modems is a table of rows, each one command with what it needs and what it
// answers, and a few facts and functions; rows that the 3GPP standard (TS 27.007) gives to all modems stand
// in a table of their own, which is searched behind the family's. A new family is one file in dialects/ and
// one line in dialects/families.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/modem/device.h"

namespace modem_sim {

/// What a command answers and how long that takes.
struct Outcome {
    std::string lines;          ///< information lines, parted by '\n'; empty for none
    std::string result = "OK";  ///< the last line; empty for a modem that says nothing more
    int cme_error = 0;          ///< another than 0 stands in place of `result`, worded as +CMEE asks for
    int64_t takes_ms = 0;
};

Outcome Ok(std::string lines = "");
Outcome Error();
Outcome CmeError(int code);

/// How a modem words its answer to a dial. Without service all of them answer +CME ERROR.
struct DialWords {
    const char* started = "";       ///< information lines before OK
    const char* refused = "ERROR";  ///< result when the network refuses
    bool started_waits = true;      ///< a dial that succeeds is answered when it has ended, or else at once
    bool refused_waits = true;      ///< likewise one that is refused
};
Outcome Dial(Device& device, const DialWords& words = {});

/// Codes of +CME ERROR that the rows use; the standard's numbers.
constexpr int kCmeNotAllowed = 3;
constexpr int kCmeSimNotInserted = 10;
constexpr int kCmeSimPinRequired = 11;
constexpr int kCmeSimPukRequired = 12;
constexpr int kCmeSimFailure = 13;
constexpr int kCmeSimBusy = 14;
constexpr int kCmeIncorrectPassword = 16;
constexpr int kCmeNoNetworkService = 30;
constexpr int kCmeInvalidParameters = 53;

/// What a command needs; without it the answer is the +CME ERROR that says so.
enum Need : unsigned {
    kNothing = 0,
    kCard = 1,     ///< a SIM in the holder, its PIN entered or not
    kSim = 2,      ///< a SIM that is ready
    kService = 4,  ///< registered in one of the three domains
};

/// What stood in place of a row's '*': the parts between its commas.
using Arguments = std::vector<std::string>;
using Action = Outcome (*)(Device& device, const Arguments& arguments);

struct Row {
    /// As NormaliseCommand leaves it. A '*' at the end stands for any text.
    const char* command;
    unsigned needs;
    /// Information lines in front of "OK", parted by '\n', with fields in braces: see FieldNames(). Null for
    /// none.
    const char* answer;
    /// Does and answers what a template can't, in place of the template.
    Action action;
};

struct RowTable {
    const Row* first = nullptr;
    size_t count = 0;

    RowTable() = default;
    template <size_t N>
    constexpr RowTable(const Row (&rows)[N]) : first(rows), count(N) {}
    const Row* begin() const { return first; }
    const Row* end() const { return first + count; }
};

struct Family {
    const char* name;
    const char* maker;          ///< answer to "AT+CGMI"
    const char* const* models;  ///< the usual ones, closed by null; the first is the default
    RowTable rows;
    const char* imei;
    int factory_error_mode;  ///< +CMEE after a start
    int factory_usb_mode;
    std::string (*firmware)(const std::string& model);
    /// What the modem says by itself at an event, line ends included; empty for nothing. Null for never.
    std::string (*unsolicited)(const Device& device, Event event);
    /// What it says by itself about the radio, likewise: the signal every few seconds, the technology when it
    /// was found or has changed.
    std::string (*radio_report)(const Device& device, RadioReport report) = nullptr;
    /// Device names that the port takes in turn, the next one with each restart; closed by null. Null for a
    /// port that keeps its name.
    const char* const* port_names = nullptr;
    bool factory_echo = true;  ///< command echo after a start
};

/// All families, in the order of --help.
const std::vector<const Family*>& AllFamilies();
const Family* FindFamily(std::string_view name);

RowTable CommonRows();

/// Commands of one maker or another that hosts send to every modem. A family that has no row for one refuses
/// it.
RowTable ForeignRows();

/// The technology number of +COPS and +CREG, from the text that the knob "network" sets.
std::string AccessTechnology(const Device& device);
bool IsLte(const Device& device);

/// Runs `command` (as NormaliseCommand leaves it). False when no row knows it.
bool RunCommand(Device& device, const std::string& command, Outcome* outcome);

/// Fills the fields of a template. An unknown field stays as it is.
std::string FillTemplate(const Device& device, std::string_view text);
std::vector<std::string> FieldNames();

/// The bytes of an answer, as they go to the host.
std::string FrameAnswer(const Device& device, const Outcome& outcome);

}  // namespace modem_sim
