// What the drivers share: rows of prefixes as tables, checked against AtPrefixTable when they are compiled,
// and the small exchanges that several families have in common. Drivers call these from their overrides, on
// the main thread.
//
// Two kinds: most are silent and return facts. Those that log take the caller's place first, so that the
// line names the driver's own file and operation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "network_daemon/cellular.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {

// rows of prefixes

/// Where one field after a prefix goes. A row lists its fields in the modem's order.
enum FieldTarget : uint8_t {
    kNoField,  // end of the list; a row without any field is only logged and gives hint 0
    kToVal,    // numbers of the record
    kToVal2,
    kToVal3,
    kToVal4,
    kToVal5,
    kToVal6,
    kToNowhere,  // a number that nobody wants
    kToText,     // common_str, at most 127 characters
    kHintOnly,   // the record gets its type; whatever else there is, the driver does by name
};

constexpr size_t kMostRowFields = 7;

struct AtRow {
    int32_t number;  // row of AtPrefixTable, and so the hint code
    std::string_view prefix;
    FieldTarget fields[kMostRowFields + 1];  // closed by kNoField
    const char* field_ends;  // any of these ends a field; two of them have an empty one between
};

/// Whether each row stands in AtPrefixTable as its number says, and the rows follow one another there, which
/// is the order of the search. For a static_assert below a driver's table.
template <size_t N>
constexpr bool AgreesWithPrefixTable(const AtRow (&rows)[N]) {
    for (size_t i = 0; i < N; ++i) {
        if (rows[i].number != rows[0].number + static_cast<int32_t>(i)) return false;
        if (rows[i].number < 0 || rows[i].number >= kAtPrefixRows) return false;
        if (rows[i].prefix != AtPrefixTable[rows[i].number]) return false;
        if (rows[i].fields[kMostRowFields] != kNoField) return false;
    }
    return true;
}

/// What a text was recognised by: a row of the driver, or the base. Neither: nothing was found.
struct AtMatch {
    const AtRow* row;
    char* text;          // after the row's prefix
    AtResult base = {};  // without a row: what the base's parser made of the text

    bool Is(int32_t hint) const { return row != nullptr && row->number == hint; }
};

AtMatch Recognise(CellBase& cell, const AtRow* rows, size_t count, char* answer);

/// How each driver's ParseAtResult begins: the base's parser goes first; what it doesn't know is recognised
/// by the first of `rows` whose prefix stands anywhere in it. Null gives no match. Logs what that parser
/// logs.
template <size_t N>
AtMatch Recognise(CellBase& cell, const AtRow (&rows)[N], char* answer) {
    return Recognise(cell, static_cast<const AtRow*>(rows), N, answer);
}

/// Logs a match as "%d %s\n", number and text after the prefix; nothing without a row.
void LogMatch(const TracePlace& place, unsigned level, const AtMatch& match);

/// The record of a match: the base's, or what the fields say that its row cuts off `match.text`; empty for
/// a row without fields. Writes nothing else. Silent, but the splitter of several numbers logs when they run
/// out.
AtResult TakeFields(const AtMatch& match);

/// Stores the first field of a match as m_NetworkType, at most 63 characters of it; what follows the field,
/// or null. Nothing else that a driver parses goes to the object instead of the record. Silent.
char* StoreNetworkType(CellBase& cell, const AtMatch& match);

// lists in one text

/// Splits `text` (cut in place) into the first `count` of `slots`, each terminated; a field that is longer
/// than its slot is cut. False when the text ends before the last slot is filled; the slots after it
/// are then empty.
template <size_t kSize>
bool SplitIntoSlots(char* text, const char* delimiters, char (*slots)[kSize], size_t count) {
    for (size_t i = 0; i < count; ++i) memset(slots[i], 0, kSize);
    char* rest = text;
    for (size_t i = 0; i < count; ++i) {
        const char* field = NextField(&rest, delimiters);
        if (field == nullptr) return false;
        CopyText(slots[i], field);
    }
    return true;
}

/// The same with all of the slots.
template <size_t kCount, size_t kSize>
bool SplitIntoSlots(char* text, const char* delimiters, char (&slots)[kCount][kSize]) {
    return SplitIntoSlots(text, delimiters, slots, kCount);
}

/// Printable form of a text that may be missing, such as the rest after the last field.
inline const char* OrNullWord(const char* text) {
    return text == nullptr ? "(null)" : text;
}

// exchanges that families have in common

/// Sends each command in turn; the answers are not looked at.
template <size_t N>
void SendAll(CellBase& cell, const char* const (&commands)[N]) {
    for (const char* command : commands) cell.AtRequest(command);
}

/// Sends `command` and has the driver parse the answer.
[[nodiscard]] AtResult AskResult(CellBase& cell, const char* command);

/// The same for a question whose row holds the network type: the parse has stored it, and the record says
/// no more.
void AskNetworkType(CellBase& cell, const char* command);

/// The two-step registration test: "AT+CEREG?", then "AT+CGREG?". Stores each stat that came in m_CEREG and
/// m_CGREG. 1 registered at home or roaming, 0 not or no answer. Silent.
int32_t AskRegistration(CellBase& cell);

/// Asks for the ICCID; an answer with `hint` fills m_card_iccid, any other leaves it. Silent.
void AskIccid(CellBase& cell, const char* command, int32_t hint);

/// Asks "ATI" and stores at most `limit` characters after `word` in m_fw_version, a blank or a line end in
/// front included; `otherwise` when the answer doesn't hold the word. Silent.
void AskFirmware(CellBase& cell, const char* word, size_t limit, const char* otherwise);

/// CheckSimCard of the base, and with a ready SIM AskIccid. The result of the base. Silent beyond the base's
/// lines.
int32_t CheckSimCardAndIccid(CellBase& cell, const char* command, int32_t hint);

/// Sends the command that ends the data call and gives the module its second; the radio is the caller's next
/// step.
void HangUp(CellBase& cell, const char* command);

/// Extends a command by `text`. Cut to what fits. Silent.
void Append(char (&command)[kCommandSize], const char* text);

/// Extends a dial command by `,"parameter"`. False, and nothing added, when the parameter is empty: what
/// follows it in the command can't be given then either. Cut to what fits. Silent.
bool AppendQuoted(char (&command)[kCommandSize], const char* parameter);

/// The same with a number: `,"number"`, and false for 0.
bool AppendQuotedNumber(char (&command)[kCommandSize], int32_t number);

/// Logs a band that differs from the one at hand, at level 5; that is all that a change of band does.
void LogBandChange(const TracePlace& place, const char* last_band, const char* last_rsrp,
                   const char* current_band, const char* current_rsrp);

}  // namespace cc_cell
