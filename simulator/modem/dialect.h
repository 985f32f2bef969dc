// Dialects as data. A family of modems is a list of facts and a table of rows, each one command with what it
// needs and what it answers. Rows that a few families share, and those that the 3GPP standard (TS 27.007)
// gives to all modems, stand in tables of their own, which are searched after the family's. A new family is
// one file in dialects/: the build finds it there (families.cmake).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/modem/device.h"

namespace modem_sim {

/// What a command answers and how long that takes.
struct Outcome {
    std::string lines;          // information lines, parted by '\n'; empty for none
    std::string result = "OK";  // the last line; empty for a modem that says nothing more
    int cme_error = 0;          // another than 0 stands in place of `result`, worded as +CMEE asks for
    int64_t takes_ms = 0;
};

Outcome Ok(std::string lines = "");
Outcome Error();
Outcome CmeError(int code);
/// Ok with the fields of a template filled in.
Outcome Filled(const Device& device, std::string_view text);

/// How a modem words its answer to a dial. Without service all of them answer +CME ERROR.
struct DialWords {
    const char* started = "";       // information lines before OK
    const char* hung_up = "";       // likewise of a hang-up
    const char* refused = "ERROR";  // result when the network refuses
    bool started_waits = true;      // a dial that succeeds is answered when it has ended, or else at once
    bool refused_waits = true;      // likewise one that is refused
};
Outcome Dial(Device& device, const DialWords& words = {});
/// "1" dials, "0" hangs up, and nothing else is taken.
Outcome SwitchCall(Device& device, std::string_view on, const DialWords& words = {});

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
    kCard = 1,     // a SIM in the holder, its PIN entered or not
    kSim = 2,      // a SIM that is ready
    kService = 4,  // registered in one of the three domains
};

/// What stood in place of a row's '*': the parts between its commas.
using Arguments = std::vector<std::string>;
using Action = Outcome (*)(Device& device, const Arguments& arguments);

/// Empty where there are fewer.
std::string ArgumentAt(const Arguments& arguments, size_t index);

/// The only argument as a number from 0 to `most`.
std::optional<int> OnlyNumber(const Arguments& arguments, int most);

/// Number of the context that the first argument names.
std::optional<int> ContextNumber(const Arguments& arguments);

/// Action that keeps its only argument, a number, among the device's settings.
template <const char* kName, int kMost = 1>
Outcome StoreSetting(Device& device, const Arguments& arguments) {
    if (!OnlyNumber(arguments, kMost)) return Error();
    device.settings[kName] = arguments[0];
    return Ok();
}

/// Action that sets the USB mode, which takes effect with the next start of the modem.
template <int kMost>
Outcome SetUsbMode(Device& device, const Arguments& arguments) {
    const std::optional<int> mode = OnlyNumber(arguments, kMost);
    if (!mode) return Error();
    device.usb_mode_after_boot = *mode;
    return Ok();
}

/// Row AT+CGDCONT=*.
Outcome SetContext(Device& device, const Arguments& arguments);

struct Row {
    // As NormaliseCommand leaves it. A '*' at the end stands for any text.
    const char* command;
    unsigned needs;
    // Information lines in front of "OK", parted by '\n', with fields in braces: see FieldNames(). Null for
    // none.
    const char* answer;
    // Does and answers what a template can't, in place of the template.
    Action action;

    constexpr Row(const char* row_command, unsigned row_needs, const char* row_answer = nullptr)
        : command(row_command), needs(row_needs), answer(row_answer), action(nullptr) {}
    constexpr Row(const char* row_command, unsigned row_needs, Action row_action)
        : command(row_command), needs(row_needs), answer(nullptr), action(row_action) {}
};

template <typename Item>
struct Table {
    const Item* first = nullptr;
    size_t count = 0;

    constexpr Table() = default;
    template <size_t N>
    constexpr Table(const Item (&items)[N]) : first(items), count(N) {}
    const Item* begin() const { return first; }
    const Item* end() const { return first + count; }
};

struct Model {
    const char* name;
    const char* firmware = nullptr;  // null: the family's
};

/// What a modem says by itself when something happens: lines parted by '\n', each of which comes alone.
/// Nothing where it says nothing.
struct Unsolicited {
    const char* booted = "";
    const char* card_ready = "";
    const char* card_gone = "";
    const char* call_up = "";
    const char* call_down = "";
    /// In place of the two above, where the host can turn them on and off.
    std::string (*call)(const Device& device, bool is_up) = nullptr;
};

struct Family {
    const char* name;
    const char* maker;     // answer to "AT+CGMI"
    Table<Model> models;   // the usual ones; the first is the default
    const char* firmware;  // template, for models with no firmware of their own
    const char* imei;
    int factory_error_mode = 0;  // +CMEE after a start
    int factory_usb_mode = 0;
    bool factory_echo = true;  // command echo after a start
    // Device names that the port takes in turn, the next one with each restart. None for a port that keeps
    // its name.
    Table<const char*> port_names = {};
    Unsolicited unsolicited = {};
    /// What the modem says by itself about the radio, as lines: the signal every few seconds, the technology
    /// when it was found or has changed. Null for never.
    std::string (*radio_report)(const Device& device, RadioReport report) = nullptr;
    bool signal_report_names_technology = false;  // so that there is none without it
    Table<Row> rows = {};
    Table<Row> (*shared_rows)() = nullptr;  // those of a few relatives
};

/// All families, in the order of --help: the default, and the others by name.
const std::vector<const Family*>& AllFamilies();
const Family* FindFamily(std::string_view name);

Table<Row> CommonRows();

/// Commands of one maker or another that hosts send to every modem. A family that has no row for one refuses
/// it.
Table<Row> ForeignRows();

/// The technology number of +COPS and +CREG, from the text that the knob "network" sets.
std::string AccessTechnology(const Device& device);
bool IsLte(const Device& device);

/// What the modem says by itself at an event, as lines.
std::string UnsolicitedLines(const Device& device, Event event);

/// The text of the modem's firmware.
std::string FirmwareText(const Device& device);

/// Runs `command` (as NormaliseCommand leaves it). False when no row knows it.
bool RunCommand(Device& device, const std::string& command, Outcome* outcome);

/// Fills the fields of a template. An unknown field stays as it is.
std::string FillTemplate(const Device& device, std::string_view text);
std::vector<std::string> FieldNames();

/// The bytes of lines that the modem says by itself, as they go to the host.
std::string FrameUnsolicited(const std::string& lines);

/// The bytes of an answer, as they go to the host.
std::string FrameAnswer(const Device& device, const Outcome& outcome);

}  // namespace modem_sim
