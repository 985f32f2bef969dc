// What a driver is expected to do, as data: one record a family, in a file of tests/unit/drivers/facts/. The
// checks that every driver has to pass take theirs from here (see FamilyTest in driver_fixture.h).
//
// Order and defaults: a part that is left out is that of a family which does nothing of its own there.
#pragma once

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "network_daemon/cellular.h"

namespace cc_cell {

using Texts = std::vector<std::string>;

constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kError[] = "\r\nERROR\r\n";
constexpr char kNoSim[] = "\r\n+CME ERROR: SIM not inserted\r\n";

/// One line of information and "OK", as a modem without echo frames them.
inline std::string Answer(const std::string& line) {
    return "\r\n" + line + "\r\n" + kOk;
}

// Set-up

struct Step {
    std::string command;
    double seconds = 1;  // until the next command, or the end; one goes by for the answer
};

struct SetUpFacts {
    const char* interface_name;
    const char* maker;
    const char* firmware;          // when the modem doesn't tell it
    std::vector<Step> steps = {};  // with the settings kAll, after the engine's set-up
    const char* word = "";         // in the answer to ATI, in front of the firmware; not asked without one
    size_t limit = 0;              // characters after the word that are stored
    Texts lines_before = {};       // what the log says in front of the model, and after it
    Texts lines_after = {};
    Texts shell = {};
    bool is_after_engines = true;  // false: the steps are all there is
};

// SIM

struct SimFacts {
    const char* question = nullptr;  // for the ICCID; null: the engine's check is all
    const char* prefix = "";         // of the answer
    Texts shell = {};                // run on the i.MX6UL board when the SIM is ready
    Texts failure = {};              // what the log says of a SIM that isn't ready
};

// Registration

enum class Registration {
    kTwoSteps,    // AT+CEREG?, and AT+CGREG? unless that is enough
    kThreeSteps,  // the same after AT+CREG?
    kOwn,         // in words that the suite of the driver has
};

// Dial and hang-up

/// What stands in the settings file about the call.
struct CallSettings {
    std::string apn, username, password, pin;
    int32_t auth_type;
};

inline const CallSettings kNone = {"", "", "", "", 0};
inline const CallSettings kAll = {"cmnet", "me", "secret", "1234", 2};
inline const CallSettings kLongest = {std::string(63, 'a'), std::string(63, 'u'), std::string(63, 'p'),
                                      std::string(63, '1'), INT32_MIN};
/// APN, user name and password of kLongest, as most commands take them.
inline const std::string kLongestQuoted =
    "\"" + kLongest.apn + "\",\"" + kLongest.username + "\",\"" + kLongest.password + "\",";

struct DialCase {
    CallSettings settings;
    Texts sent;  // after the engine's part
};

/// The same commands whatever the settings.
inline std::vector<DialCase> Always(const Texts& sent) {
    return {{kNone, sent}, {kAll, sent}, {kLongest, sent}};
}

struct DialAnswer {
    std::string answer;
    int32_t result;
    Texts lines;  // of DoConnect, after `lines` of the dial
};

struct DialFacts {
    std::vector<DialCase> cases;  // the first without any settings
    Texts hang_up;
    bool is_after_engines = true;          // false: the engine's dial, which sets the context, is left out
    std::vector<DialAnswer> answers = {};  // to the call; without any it isn't looked at
    double last_seconds = 1;               // from the last command to the end
    Texts lines = {};                      // of DoConnect, without any settings
    Texts shell = {};
    std::string hung_up = kOk;  // the answer that lets the hang-up succeed
};

// Link

struct LinkCase {
    std::string answer;
    int32_t is_up;
    int32_t told = 0;  // the state that the log gives for a link that isn't up
};

struct LinkFacts {
    Texts questions;              // the answer to the last one decides
    std::string up;               // a link, up to the character that says so
    std::vector<LinkCase> cases;  // answers to that question, beside those that every family gets
    const char* failure = "";     // begins the line about a link that isn't up; none is said without it
    Texts always = {};            // what the lines that are said in any case begin with
    bool is_searched = false;     // the answer is taken as it stands, whatever row it is
};

// Rows

enum class RowKind {
    kLogged,       // no more than a line of the log
    kBareHint,     // the record gets its type and no more
    kHint,         // the same, and the driver's own suite has the rest
    kText,         // the first field becomes the text of the record
    kNetworkType,  // the first field becomes m_NetworkType
    kNumbers,      // numbers of the record
};

using Number = int32_t AtResult::*;
constexpr Number kNowhere = nullptr;
constexpr Number kVal = &AtResult::val;
constexpr Number kVal2 = &AtResult::val2;
constexpr Number kVal3 = &AtResult::val3;
constexpr Number kVal4 = &AtResult::val4;
constexpr Number kVal5 = &AtResult::val5;
constexpr Number kVal6 = &AtResult::val6;

struct RowFacts {
    int32_t number;  // in AtPrefixTable
    std::string prefix;
    RowKind kind;
    std::string sample;                // what the modem sends after the prefix
    std::string ends = "";             // each of these ends a field
    std::vector<Number> numbers = {};  // in the modem's order
    // After the line with the number of the row; {} is a field that was stored, {rest} all after the prefix.
    Texts lines = {};
    bool says_more = false;  // the driver's own suite has the rest of its lines
};

inline RowFacts Logged(int32_t number, const std::string& prefix, const std::string& sample) {
    return {number, prefix, RowKind::kLogged, sample};
}

inline RowFacts Placeholder(int32_t number) {
    return Logged(number, "ReSeRvEd:", "x");
}

inline RowFacts Hint(int32_t number, const std::string& prefix, const std::string& sample, bool says_more) {
    return {number, prefix, RowKind::kHint, sample, "", {}, {}, says_more};
}

inline RowFacts Text(int32_t number, const std::string& prefix, const std::string& ends,
                     const std::string& sample, const Texts& lines) {
    return {number, prefix, RowKind::kText, sample, ends, {}, lines};
}

inline RowFacts NetworkType(int32_t number, const std::string& prefix, const std::string& ends,
                            const std::string& sample) {
    return {number, prefix, RowKind::kNetworkType, sample, ends, {}, {"7 Network type:{}\n"}};
}

inline RowFacts Numbers(int32_t number, const std::string& prefix, const std::string& ends,
                        const std::string& sample, const std::vector<Number>& numbers, const Texts& lines) {
    return {number, prefix, RowKind::kNumbers, sample, ends, numbers, lines};
}

struct RowsFacts {
    unsigned level;  // of the line with the number
    std::vector<RowFacts> rows;
    bool is_shown_by_prefix = false;  // instead of its number
};

// Signal, cells and what few families have

struct SignalFacts {
    Texts network_questions = {};     // before the signal's
    std::string network_answer = "";  // to the first of them
    const char* network = "before";   // the type that it gives
    const char* level = nullptr;      // of the line that shows the type; none is said without it
};

/// What the operations send that do nothing in a family without them.
struct OptionalFacts {
    Texts temperature = {}, thermal_limit = {}, signal = {}, neighbour = {};
    int32_t upgrade = 2;  // result without any file for it
    bool speaks = false;  // of what it doesn't ask
};

/// What m_RSRP_LEVEL becomes.
enum class CellLevel { kUntouched, kRsrpOfList, kRsrpOfObject };

struct ServingCellFacts {
    void (*read)(CellBase& cell) = nullptr;  // null: the family has none
    const char* operation = "";              // that the lines name
    Texts questions = {};                    // the first brings the list
    double seconds = 0;
    const char* prefix = "";
    std::string list = "";  // with the places of the values
    CellLevel level = CellLevel::kUntouched;
    size_t shown_limit = 0;             // characters of a field that the log shows
    const char* head = "";              // of the line with the whole list
    const char* head_end = "";          // and its end
    const char* name = "";              // of the lines that show a value
    Texts last_lines = {};              // after those, for the list as the check fills it
    const char* other_radio = nullptr;  // the line about a list without "LTE"; null: that is as good
};

struct NeighbourCellFacts {
    size_t fields = 0;  // none: the family doesn't ask
    size_t rsrp = 0;    // place of the signal among them
};

struct DriverFacts {
    VendorType family;
    SetUpFacts set_up;
    SimFacts sim = {};
    Registration registration = Registration::kTwoSteps;
    DialFacts dial;
    LinkFacts link;
    RowsFacts rows;
    std::vector<int32_t> hints = {};  // that the driver acts on; all others are the engine's
    SignalFacts signal = {};
    OptionalFacts optional = {};
    ServingCellFacts serving_cell = {};
    NeighbourCellFacts neighbour_cell = {};
};

/// The facts of each family.
const std::vector<DriverFacts>& AllFacts();

/// Null for a family that has no file.
const DriverFacts* FactsOf(VendorType family);

/// What a file of tests/unit/drivers/facts/ holds.
struct FactsEntry {
    explicit FactsEntry(const DriverFacts& facts);
};

}  // namespace cc_cell
