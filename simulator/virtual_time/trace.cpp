#include "simulator/virtual_time/trace.h"

#include <algorithm>
#include <cctype>
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
const std::vector<std::string>& TraceKinds() {
    static const std::vector<std::string> kinds = {
        "sends",     "hears",     "runs",  "asks",  "logs",  "debugs", "forwards", "prints",
        "complains", "publishes", "shows", "modem", "world", "bus",    "broken",   "ends",
    };
    return kinds;
}

bool IsTraceKind(const std::string& word) {
    return std::find(TraceKinds().begin(), TraceKinds().end(), word) != TraceKinds().end();
}

std::string FormatSeconds(int64_t microseconds) {
    char text[40];
    snprintf(text, sizeof(text), "%lld.%03lld", static_cast<long long>(microseconds / 1000000),
             static_cast<long long>(microseconds % 1000000 / 1000));
    return text;
}

std::string FormatEntry(const TraceEntry& entry) {
    char head[60];
    snprintf(head, sizeof(head), "%12s  %-*s", FormatSeconds(entry.at_us).c_str(), kKindWidth + kTextGap,
             entry.kind.c_str());
    return head + entry.text + "\n";
}

std::vector<TraceEntry> ParseTrace(const std::string& text) {
    std::vector<TraceEntry> entries;
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
        TraceEntry entry;
        const double seconds = strtod(line.c_str() + time_start, nullptr);
        entry.at_us = llround(seconds * 1000) * 1000;
        entry.kind = line.substr(kind_start, line.find(' ', kind_start) - kind_start);
        const size_t text_start = kind_start + kKindWidth + kTextGap;
        if (text_start < line.size()) entry.text = line.substr(text_start);
        entries.push_back(entry);
    }
    return entries;
}

namespace {

// Length of the UTF-8 character at the start of the text, or 0 if there is no whole one.
size_t Utf8Length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t length = first >= 0xC2 && first < 0xE0 ? 2 : first >= 0xE0 && first < 0xF0 ? 3 : 0;
    if (length == 0 || text.size() < length) return 0;
    for (size_t i = 1; i < length; i++) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
    }
    return length;
}

}  // namespace

std::string Escape(std::string_view bytes) {
    std::string text;
    for (size_t i = 0; i < bytes.size(); i++) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte >= 0x80) {
            const size_t length = Utf8Length(bytes.substr(i));
            if (length > 0) {
                text += bytes.substr(i, length);
                i += length - 1;
                continue;
            }
        }
        if (byte == '\r') {
            text += "\\r";
        } else if (byte == '\n') {
            text += "\\n";
        } else if (byte == '\t') {
            text += "\\t";
        } else if (byte == '\0') {
            text += "\\0";
        } else if (byte == '\\') {
            text += "\\\\";
        } else if (byte < 0x20 || byte >= 0x7F) {
            char escape[8];
            snprintf(escape, sizeof(escape), "\\x%02X", byte);
            text += escape;
        } else {
            text += bytes[i];
        }
    }
    return text;
}

std::string Unescape(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            bytes += text[i];
            continue;
        }
        const char letter = text[++i];
        const bool is_hex = letter == 'x' && i + 2 < text.size() &&
                            isxdigit(static_cast<unsigned char>(text[i + 1])) &&
                            isxdigit(static_cast<unsigned char>(text[i + 2]));
        if (letter == 'r') {
            bytes += '\r';
        } else if (letter == 'n') {
            bytes += '\n';
        } else if (letter == 't') {
            bytes += '\t';
        } else if (letter == '0') {
            bytes += '\0';
        } else if (letter == '\\' || letter == '"') {
            bytes += letter;
        } else if (is_hex) {
            bytes += static_cast<char>(strtol(std::string(text.substr(i + 1, 2)).c_str(), nullptr, 16));
            i += 2;
        } else {
            bytes += '\\';
            bytes += letter;
        }
    }
    return bytes;
}

}  // namespace virtual_time
