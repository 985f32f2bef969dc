#include "simulator/soak/record_reader.h"

#include <iterator>

namespace soak {

namespace {

constexpr size_t kKindColumns = 9;  // with two blanks after it
constexpr size_t kTextOffset = kKindColumns + 2;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// In the order of EntryKind.
constexpr std::string_view kKinds[] = {"sends",    "hears",  "runs",      "asks",      "logs",  "debugs",
                                       "forwards", "prints", "complains", "publishes", "shows", "modem",
                                       "world",    "bus",    "broken",    "ends",      "guard"};
static_assert(std::size(kKinds) == static_cast<size_t>(EntryKind::kOther));

EntryKind KindOf(std::string_view word) {
    for (size_t i = 0; i < std::size(kKinds); ++i) {
        if (word == kKinds[i]) return static_cast<EntryKind>(i);
    }
    return EntryKind::kOther;
}

/// "   12.345" is 12345; false for a line that doesn't begin so.
bool TakeTime(std::string_view* line, int64_t* at_ms) {
    size_t at = line->find_first_not_of(' ');
    if (at == std::string_view::npos || !IsDigit((*line)[at])) return false;
    int64_t ms = 0;
    for (; at < line->size() && (*line)[at] != ' '; ++at) {
        if (IsDigit((*line)[at])) ms = ms * 10 + ((*line)[at] - '0');
    }
    *at_ms = ms;  // three digits after the point, always
    *line = line->substr(at);
    return true;
}

}  // namespace

void ReadRecord(std::string_view record, const std::function<void(const Entry&)>& take) {
    size_t start = 0;
    for (size_t end; (end = record.find('\n', start)) != std::string_view::npos; start = end + 1) {
        std::string_view line = record.substr(start, end - start);
        Entry entry = {};
        if (!TakeTime(&line, &entry.at_ms)) continue;
        const size_t kind_start = line.find_first_not_of(' ');
        if (kind_start == std::string_view::npos) continue;
        line = line.substr(kind_start);
        entry.kind = KindOf(line.substr(0, line.find(' ')));
        if (line.size() > kTextOffset) entry.text = line.substr(kTextOffset);
        take(entry);
    }
}

LogLine SplitLogLine(std::string_view text) {
    const size_t file_end = text.find(':');
    const size_t function_end = file_end == std::string_view::npos ? file_end : text.find(':', file_end + 1);
    const size_t place_end =
        function_end == std::string_view::npos ? function_end : text.find(' ', function_end);
    if (place_end == std::string_view::npos) return {"", "", text};
    return {text.substr(0, file_end), text.substr(file_end + 1, function_end - file_end - 1),
            text.substr(place_end + 1)};
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.compare(0, start.size(), start) == 0;
}

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

int64_t NumberAt(std::string_view text, int64_t fallback) {
    const bool is_negative = !text.empty() && text[0] == '-';
    size_t at = is_negative ? 1 : 0;
    if (at >= text.size() || !IsDigit(text[at])) return fallback;
    int64_t number = 0;
    for (; at < text.size() && IsDigit(text[at]) && number < INT64_MAX / 100; ++at) {
        number = number * 10 + (text[at] - '0');
    }
    return is_negative ? -number : number;
}

bool ReadSignalAnswer(std::string_view bytes, int64_t* csq) {
    constexpr std::string_view kEcho = "AT+CSQ\\r", kStart = "\\r\\n+CSQ: ", kEnd = "\\r\\n\\r\\nOK\\r\\n";
    if (StartsWith(bytes, kEcho)) bytes.remove_prefix(kEcho.size());
    if (!StartsWith(bytes, kStart) || bytes.size() < kStart.size() + kEnd.size()) return false;
    bytes.remove_prefix(kStart.size());
    if (bytes.substr(bytes.size() - kEnd.size()) != kEnd) return false;
    bytes.remove_suffix(kEnd.size());
    *csq = NumberAt(bytes);
    return *csq >= 0 && bytes.find_first_not_of("0123456789,") == std::string_view::npos;
}

int64_t NumberAfter(std::string_view text, std::string_view start) {
    return StartsWith(text, start) ? NumberAt(text.substr(start.size())) : -1;
}

}  // namespace soak
