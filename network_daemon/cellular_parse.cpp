// Text of the modem in, record out: the rows of AtPrefixTable that every family shares, and the splitters
// that drivers build theirs from. Nothing here talks to the modem or stores anything in the object. Main
// thread only: StringSplitByNum keeps its result in a static buffer.
#include "network_daemon/cellular.h"

#include <cstring>
#include <string_view>

#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr int kLastBaseRow = kHintCgsn;

/// The base rows, in the order of the search.
struct BaseRow {
    AtHint hint;
    std::string_view prefix;
};
constexpr BaseRow kBaseRows[] = {
    {kHintUnknown, "Unknow.."},      {kHintCsq, "+CSQ:"},
    {kHintPsrat, "+PSRAT: "},        {kHintSimtest, "+SIMTEST:"},
    {kHintIccid, "^ICCID: "},        {kHintCreg, "+CREG:"},
    {kHintCgreg, "+CGREG:"},         {kHintCereg, "+CEREG:"},
    {kHintCops, "+COPS:"},           {kHintClcc, "+CLCC:"},
    {kHintPktstatus, "+PKTSTATUS:"}, {kHintDsci, "^DSCI:"},
    {kHintNwtypeind, "+NWTYPEIND:"}, {kHintCgsn, "+CGSN: "},
};

constexpr bool BaseRowsAgreeWithPrefixTable() {
    int32_t row = 0;
    for (const BaseRow& base : kBaseRows) {
        if (base.hint != row || base.prefix != AtPrefixTable[row]) return false;
        ++row;
    }
    return row == kLastBaseRow + 1;
}
static_assert(BaseRowsAgreeWithPrefixTable());

constexpr int kMostFields = 5;  // of a base row
constexpr char kLineDelimiters[] = "\r\n";
constexpr char kFieldDelimiters[] = ",\r\n";
constexpr char kCommaDelimiter[] = ",";  // of announcements of calls, which stand on a line of their own
constexpr size_t kDelimitersSize = 64;

/// First base row whose prefix stands anywhere in `text`, and in `values` the text after it; -1 for none.
/// The lower row wins when a text holds two.
int FindBaseRow(char* text, char** values) {
    for (int row = 0; row <= kLastBaseRow; ++row) {
        const char* prefix = AtPrefixTable[row];
        char* found = strstr(text, prefix);
        if (found == nullptr) continue;
        *values = found + strlen(prefix);
        return row;
    }
    return -1;
}

/// Fills the first `count` of val to val4; a missing field reads as 0.
void FillNumbers(char* values, const char* delimiters, int count, AtResult& result) {
    char fields[kMostFields][kFieldSize] = {};
    CellBase::StringSplitToGetValue(values, delimiters, count, fields);
    int32_t* const numbers[] = {&result.val, &result.val2, &result.val3, &result.val4};
    for (int i = 0; i < count; ++i) *numbers[i] = ParseNumber(fields[i]);
}

void FillOperator(char* values, AtResult& result) {
    char fields[kMostFields][kFieldSize] = {};
    CellBase::StringSplitToGetValue(values, kFieldDelimiters, kMostFields, fields);
    result.val = ParseNumber(fields[0]);
    result.val2 = ParseNumber(fields[1]);
    CopyText(result.carrier, fields[2]);
    result.act = ParseNumber(fields[3]);
    result.extra = ParseNumber(fields[4]);
}

}  // namespace

AtResult CellBase::ParseAtResult(char* text) {
    AtResult result = {};
    if (text == nullptr) return result;
    char* values = nullptr;
    const int row = FindBaseRow(text, &values);
    if (row < 0) return result;

    result.type = row;
    char* token = nullptr;
    switch (row) {
        case kHintCsq:
            token = NextToken(&values, kFieldDelimiters);
            result.val = ParseNumber(token);
            break;
        case kHintPsrat:
            token = NextToken(&values, kLineDelimiters);
            CopyText(result.common_str, token);
            TRACE(kLogDebug, "PSRAT:%s\n", result.common_str);
            break;
        case kHintSimtest:
            token = NextToken(&values, kFieldDelimiters);
            result.val = ParseNumber(token);
            if (token != nullptr) TRACE(kLogProgress, "SIMTYPE :%s : %d\n", token, result.val);
            break;
        case kHintIccid:
            token = NextToken(&values, kFieldDelimiters);
            CopyText(result.common_str, token);
            if (token != nullptr) TRACE(kLogProgress, "ICCID :%s\n", result.common_str);
            break;
        case kHintCreg:
            FillNumbers(values, kFieldDelimiters, 2, result);
            TRACE(kLogProgress, "CREG :%d %d\n", result.val, result.val2);
            break;
        case kHintCgreg:
            FillNumbers(values, kFieldDelimiters, 2, result);
            TRACE(kLogProgress, "CGREG :%d %d\n", result.val, result.val2);
            break;
        case kHintCereg:
            FillNumbers(values, kFieldDelimiters, 2, result);
            TRACE(kLogProgress, "CEREG :%d %d\n", result.val, result.val2);
            break;
        case kHintCops:
            FillOperator(values, result);
            TRACE(kLogProgress, "CARRIER :%s\n", result.carrier);
            break;
        case kHintClcc:
        case kHintDsci:
            FillNumbers(values, kCommaDelimiter, 4, result);
            break;
        case kHintPktstatus:
            FillNumbers(values, kFieldDelimiters, 2, result);
            break;
        case kHintCgsn:
            token = NextToken(&values, kLineDelimiters);
            CopyText(result.common_str, token);
            if (token != nullptr) TRACE(kLogProgress, "IMEI :%s\n", result.common_str);
            break;
        default:  // the announcement of a new radio technology, and row 0: the prefix says it all
            break;
    }
    return result;
}

char* CellBase::ParseAtLine(char* text) {
    if (ContainsText(text, "OK") == nullptr) return nullptr;
    return NextToken(&text, kLineDelimiters);
}

char* CellBase::StringSplitByNum(char* source, const char* delimiters, int index) {
    static char field[kAnswerBufferSize];

    if (source == nullptr || delimiters == nullptr) return nullptr;
    memset(field, 0, sizeof field);
    char kept_delimiters[kDelimitersSize];
    CopyText(kept_delimiters, delimiters);

    char* rest = source;
    char* token = nullptr;
    for (int taken = 0; taken < index; ++taken) {
        if (rest == nullptr) {
            TRACE(kLogDebug, "StringSplitByNum[%d]:pResult do not have valid data\n", taken);
            break;  // the last field stands in for the missing one
        }
        token = NextField(&rest, kept_delimiters);
    }
    CopyText(field, token);
    return field;
}

int CellBase::StringSplitToGetValue(char* source, const char* delimiters, int count, char* const* targets,
                                    int size) {
    if (source == nullptr || delimiters == nullptr || targets == nullptr) return 0;
    const size_t target_size = size > 0 ? size : 0;
    for (int i = 0; i < count; ++i) {
        if (targets[i] == nullptr) {
            TRACE(kLogProgress, "input pDataValue[%d] is error,return !\n", i);
            return 0;
        }
        memset(targets[i], 0, target_size);
    }
    char kept_delimiters[kDelimitersSize];
    CopyText(kept_delimiters, delimiters);

    char* rest = source;
    for (int taken = 0; taken < count; ++taken) {
        if (rest == nullptr) {
            TRACE(kLogProgress, "StringSplitToGetValue[%d]:pResult do not have valid data\n", taken);
            break;
        }
        CopyText(targets[taken], target_size, NextField(&rest, kept_delimiters));
    }
    return 1;
}

const char* CellBase::ContainsText(const char* haystack, const char* needle) {
    if (haystack == nullptr || needle == nullptr) return nullptr;
    return strstr(haystack, needle);
}

}  // namespace cc_cell
