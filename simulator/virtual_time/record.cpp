#include "simulator/virtual_time/record.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace virtual_time {

namespace {

// Columns of a line: time, kind, text.
constexpr int kKindWidth = 9;
constexpr int kTextGap = 2;

}  // namespace

// Not a global object: the preload library works before global objects are all made.
const std::vector<std::string>& RecordKinds() {
    static const std::vector<std::string> kinds = {
        "sends",     "hears",     "runs",  "asks",  "logs",  "debugs", "forwards", "prints",
        "complains", "publishes", "shows", "modem", "world", "bus",    "broken",   "ends",
    };
    return kinds;
}

bool IsRecordKind(const std::string& word) {
    return std::find(RecordKinds().begin(), RecordKinds().end(), word) != RecordKinds().end();
}

std::string FormatSeconds(int64_t microseconds) {
    char text[40];
    snprintf(text, sizeof(text), "%lld.%03lld", static_cast<long long>(microseconds / 1000000),
             static_cast<long long>(microseconds % 1000000 / 1000));
    return text;
}

std::string FormatEntry(const RecordEntry& entry) {
    char head[60];
    snprintf(head, sizeof(head), "%12s  %-*s", FormatSeconds(entry.at_us).c_str(), kKindWidth + kTextGap,
             entry.kind.c_str());
    return head + entry.text + "\n";
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

}  // namespace virtual_time
