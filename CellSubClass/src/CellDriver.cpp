// What the drivers share; see CellDriver.h.
#include "CellSubClass/src/CellDriver.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "support/text_util.h"

namespace cc_cell {
namespace {

constexpr unsigned kHangUpPause_seconds = 1;
constexpr size_t kNumberTextSize = sizeof "-2147483648";

size_t CountFields(const AtRow& row) {
    size_t count = 0;
    while (row.fields[count] != kNoField) ++count;
    return count;
}

void StoreNumber(AtResult& result, FieldTarget target, const char* field) {
    const int32_t value = ParseNumber(field);
    switch (target) {
        case kToVal:
            result.val = value;
            break;
        case kToVal2:
            result.val2 = value;
            break;
        case kToVal3:
            result.val3 = value;
            break;
        case kToVal4:
            result.val4 = value;
            break;
        case kToVal5:
            result.val5 = value;
            break;
        case kToVal6:
            result.val6 = value;
            break;
        default:
            break;
    }
}

void StoreNumbers(AtResult& result, const AtRow& row, size_t count, char* text) {
    char fields[kMostRowFields][kFieldSize] = {};
    CellBase::StringSplitToGetValue(text, row.field_ends, static_cast<int>(count), fields);
    for (size_t i = 0; i < count; ++i) StoreNumber(result, row.fields[i], fields[i]);
}

AtMatch FindRow(const AtRow* rows, size_t count, char* answer) {
    for (size_t i = 0; i < count; ++i) {
        // A prefix is a literal, and so terminated.
        char* found = strstr(answer, rows[i].prefix.data());
        if (found != nullptr) return {&rows[i], found + rows[i].prefix.size()};
    }
    return {nullptr, nullptr};
}

}  // namespace

void LogMatch(const TracePlace& place, unsigned level, const AtMatch& match) {
    if (match.row != nullptr) TRACE_AT(place, level, "%d %s\n", match.row->number, match.text);
}

AtMatch Recognise(CellBase& cell, const AtRow* rows, size_t count, char* answer) {
    const AtResult base = cell.CellBase::ParseAtResult(answer);
    if (base.type != kHintUnknown || answer == nullptr) return {nullptr, nullptr, base};
    return FindRow(rows, count, answer);
}

AtResult TakeFields(const AtMatch& match) {
    if (match.row == nullptr) return match.base;
    AtResult result = {};
    const AtRow& row = *match.row;
    const size_t count = CountFields(row);
    if (count == 0) return result;

    result.type = row.number;
    char* rest = match.text;
    switch (row.fields[0]) {
        case kHintOnly:
            break;
        case kToText:
            CopyText(result.common_str, NextField(&rest, row.field_ends));
            break;
        default:
            if (count == 1) {
                StoreNumber(result, row.fields[0], NextField(&rest, row.field_ends));
            } else {
                StoreNumbers(result, row, count, match.text);
            }
            break;
    }
    return result;
}

char* StoreNetworkType(CellBase& cell, const AtMatch& match) {
    char* rest = match.text;
    CopyText(cell.m_NetworkType, NextField(&rest, match.row->field_ends));
    return rest;
}

AtResult AskResult(CellBase& cell, const char* command) {
    return cell.ParseAtResult(cell.AtRequest(command));
}

void AskNetworkType(CellBase& cell, const char* command) {
    cell.ParseAtResult(cell.AtRequest(command));
}

int32_t AskRegistration(CellBase& cell) {
    const AtResult eps = AskResult(cell, "AT+CEREG?");
    if (eps.type == kHintCereg) {
        cell.m_CEREG = eps.val2;
        if (IsRegistered(eps.val2)) return 1;
    }
    const AtResult packet = AskResult(cell, "AT+CGREG?");
    if (packet.type != kHintCgreg) return 0;
    cell.m_CGREG = packet.val2;
    return IsRegistered(packet.val2) ? 1 : 0;
}

void AskIccid(CellBase& cell, const char* command, int32_t hint) {
    const AtResult result = AskResult(cell, command);
    if (result.type == hint) CopyText(cell.m_card_iccid, result.common_str);
}

void AskFirmware(CellBase& cell, const char* word, size_t limit, const char* otherwise) {
    const char* found = CellBase::ContainsText(cell.AtRequest("ATI"), word);
    if (found == nullptr) {
        CopyText(cell.m_fw_version, otherwise);
    } else {
        CopyText(cell.m_fw_version, found + strlen(word), limit);
    }
}

int32_t CheckSimCardAndIccid(CellBase& cell, const char* command, int32_t hint) {
    const int32_t result = cell.CellBase::CheckSimCard();
    if (result >= 0) AskIccid(cell, command, hint);
    return result;
}

void HangUp(CellBase& cell, const char* command) {
    cell.AtRequest(command);
    sleep(kHangUpPause_seconds);
}

void Append(char (&command)[kCommandSize], const char* text) {
    const size_t length = strnlen(command, kCommandSize - 1);
    CopyText(command + length, kCommandSize - length, text);
}

bool AppendQuoted(char (&command)[kCommandSize], const char* parameter) {
    if (parameter[0] == '\0') return false;
    Append(command, ",\"");
    Append(command, parameter);
    Append(command, "\"");
    return true;
}

bool AppendQuotedNumber(char (&command)[kCommandSize], int32_t number) {
    char text[kNumberTextSize];
    snprintf(text, sizeof text, "%d", number);
    return number != 0 && AppendQuoted(command, text);
}

void LogBandChange(const TracePlace& place, const char* last_band, const char* last_rsrp,
                   const char* current_band, const char* current_rsrp) {
    if (strcmp(last_band, current_band) == 0) return;
    TRACE_AT(place, kLogProgress, "Band change: last band[%s] rsrp[%s], current band[%s] rsrp[%s]\n",
             last_band, last_rsrp, current_band, current_rsrp);
}

}  // namespace cc_cell
