#include "simulator/virtual_time/record.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace virtual_time {

namespace {

// Columns of a line: time, kind, text.
constexpr size_t kTimeWidth = 12;
constexpr size_t kTimeGap = 2;
constexpr size_t kKindWidth = 9;
constexpr size_t kTextGap = 2;

void AppendBlanks(size_t width, size_t used, std::string* line) {
    if (used < width) line->append(width - used, ' ');
}

// Everything up to the text of an entry.
void AppendHead(int64_t at_us, std::string_view kind, std::string* line) {
    const std::string time = FormatSeconds(at_us);
    AppendBlanks(kTimeWidth, time.size(), line);
    line->append(time).append(kTimeGap, ' ').append(kind);
    AppendBlanks(kKindWidth + kTextGap, kind.size(), line);
}

}  // namespace

// Not a global object: the preload library works before global objects are all made.
const std::vector<std::string>& RecordKinds() {
    static const std::vector<std::string> kinds = {
        "sends",     "hears", "runs",  "asks",  "logs", "debugs", "forwards", "prints", "complains",
        "publishes", "shows", "modem", "world", "bus",  "guard",  "broken",   "ends",
    };
    return kinds;
}

bool IsRecordKind(const std::string& word) {
    return std::find(RecordKinds().begin(), RecordKinds().end(), word) != RecordKinds().end();
}

std::string FormatSeconds(int64_t microseconds) {
    const int64_t milliseconds = microseconds / 1000;
    const std::string digits = std::to_string(1000 + milliseconds % 1000);  // the 1 keeps leading zeros
    return std::to_string(milliseconds / 1000) + "." + digits.substr(1);
}

std::string FormatEntry(const RecordEntry& entry) {
    std::string line;
    AppendHead(entry.at_us, entry.kind, &line);
    return line + entry.text + "\n";
}

void AppendEntry(int64_t at_us, std::string_view kind, std::string_view bytes, std::string* text) {
    AppendHead(at_us, kind, text);
    simulator_text::AppendEscaped(bytes, text);
    *text += '\n';
}

std::vector<RecordEntry> ParseRecord(const std::string& text) {
    std::vector<RecordEntry> entries;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        if (end == std::string::npos) break;  // cut off in the middle
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        const size_t time_start = line.find_first_not_of(' ');
        const size_t time_end = line.find(' ', time_start);
        const size_t kind_start = line.find_first_not_of(' ', time_end);
        if (kind_start == std::string::npos) continue;
        RecordEntry entry;
        const double seconds = strtod(line.c_str() + time_start, nullptr);
        entry.at_us = llround(seconds * 1000) * 1000;
        entry.kind = line.substr(kind_start, line.find(' ', kind_start) - kind_start);
        const size_t text_start = kind_start + kKindWidth + kTextGap;
        if (text_start < line.size()) entry.text = line.substr(text_start);
        entries.push_back(entry);
    }
    return entries;
}

std::optional<RecordDifference> FindDifference(const std::string& first, const std::string& second) {
    std::istringstream lines(first), other_lines(second);
    for (std::string line, other_line;;) {
        const bool has_line = static_cast<bool>(std::getline(lines, line));
        const bool has_other = static_cast<bool>(std::getline(other_lines, other_line));
        if (!has_line && !has_other) return std::nullopt;
        if (has_line && has_other && line == other_line) continue;
        return RecordDifference{has_line ? line : "(over)", has_other ? other_line : "(over)"};
    }
}

}  // namespace virtual_time
