#include "tools/board/status_file.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace board {

namespace {

constexpr int kTries = 5;
constexpr char kNowKey[] = "Now";

constexpr const char* kStatusKeys[] = {
    "IMSI",     "ICCID",       "IMEI",    "AutoConnect", "Online",
    "Carrier",  "APN",         "CSQ",     "CGREG",       "CEREG",
    "Uptime",   "RetryTimes",  "Network", "FWVersion",   "doubleSIM_enable",
    "Tempture", "GIT_VERSION", "Now"};
constexpr const char* kSignalKeys[] = {"APN",
                                       "Username",
                                       "Password",
                                       "Authentication",
                                       "SIMOperator",
                                       "Network",
                                       "ModemNetwork_Generation",
                                       "Online",
                                       "ConnectionStatus",
                                       "CSQ",
                                       "SignalLevel",
                                       "GIT_VERSION",
                                       "Uptime",
                                       "Now"};
constexpr const char* k3630Keys[] = {"CSQ", "RSSI", "RSRP", "RSRQ", "SINR", "Now"};

// Legends, which stand between the lines.
constexpr std::string_view kLegends[] = {"\t0 None 1 PAP 2 CHAP 3 PAP-CHAP", "\texcellent:>-85dBm\tgood:"};

template <size_t N>
bool Has(const char* const (&keys)[N], const std::string& key) {
    return std::find(std::begin(keys), std::end(keys), key) != std::end(keys);
}

bool IsKnown(const std::string& name, const std::string& key) {
    if (name == kSignalName) return Has(kSignalKeys, key);
    if (name == k3630Name) return Has(k3630Keys, key);
    return Has(kStatusKeys, key);
}

bool IsLegend(std::string_view line) {
    for (const std::string_view legend : kLegends) {
        if (line.substr(0, legend.size()) == legend) return true;
    }
    return false;
}

/// The value of the last line, with its quotes, if that is Now=.
std::string LastNow(const std::string& text) {
    if (text.empty() || text.back() != '\n') return "";
    const size_t line_start = text.size() < 2 ? 0 : text.rfind('\n', text.size() - 2) + 1;
    const std::string line = text.substr(line_start, text.size() - 1 - line_start);
    return line.compare(0, 4, "Now=") == 0 ? line.substr(4) : "";
}

bool IsQuoted(const std::string& text) {
    return text.size() >= 2 && text.front() == '\'' && text.back() == '\'';
}

void TakeLine(std::string line, StatusFile* file) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    // A modem's text may bring a line end along, which leaves an empty line.
    if (line.empty() || IsLegend(line)) return;
    const size_t equals = line.find('=');
    const std::string key = line.substr(0, equals);
    if (equals == std::string::npos || !IsKnown(file->name, key)) {
        file->strangers.push_back(line);
        return;
    }
    if (file->Find(key) != nullptr && key != kNowKey) file->repeated.push_back(key);
    file->lines.push_back({key, line.substr(equals + 1)});
}

StatusState StateOf(FileState state) {
    switch (state) {
        case FileState::kRead:
            return StatusState::kWhole;
        case FileState::kMissing:
            return StatusState::kMissing;
        case FileState::kNoFile:
            return StatusState::kNoFile;
        case FileState::kTooLarge:
            return StatusState::kTooLarge;
        default:
            return StatusState::kNotReadable;
    }
}

bool IsDigits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

const std::string* StatusFile::Find(const std::string& key) const {
    for (const StatusLine& line : lines) {
        if (line.key == key) return &line.value;
    }
    return nullptr;
}

std::string StatusFile::Get(const std::string& key) const {
    const std::string* value = Find(key);
    return value == nullptr ? "" : *value;
}

bool IsWhole(const std::string& text) {
    return IsQuoted(LastNow(text));
}

StatusFile ParseStatus(const std::string& name, const std::string& text) {
    StatusFile file;
    file.name = name;
    if (!IsWhole(text)) {
        file.state = StatusState::kTorn;
        file.problem = text.empty() ? "is empty" : "is half written: its last line isn't Now=";
        return file;
    }
    file.state = StatusState::kWhole;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        TakeLine(text.substr(start, end - start), &file);
        start = end + 1;
    }
    return file;
}

StatusFile ReadStatusFile(const std::string& folder, const std::string& name, unsigned pause_us) {
    StatusFile file;
    for (int i = 0; i < kTries; ++i) {
        if (i > 0) usleep(pause_us);
        const TextFile read = ReadTextFile(folder + "/" + name);
        if (read.state != FileState::kRead) {
            file.state = StateOf(read.state);
            file.problem = read.problem;
        } else {
            file = ParseStatus(name, read.text);
        }
        file.name = name;
        file.modified = read.modified;
        if (file.state == StatusState::kTorn) continue;
        if (file.state == StatusState::kWhole) {
            const std::string now = LastNow(read.text);
            file.written = ParseNow(now.substr(1, now.size() - 2), file.modified);
        }
        break;
    }
    return file;
}

std::optional<time_t> ParseNow(const std::string& text, time_t hint) {
    // The daemon speaks English whatever the locale.
    static constexpr char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    char weekday[4] = "", month[4] = "";
    tm parts = {};
    int length = 0;
    const int fields =
        sscanf(text.c_str(), "%3[A-Za-z] %3[A-Za-z] %2d %2d:%2d:%2d %4d%n", weekday, month, &parts.tm_mday,
               &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &parts.tm_year, &length);
    const char* known = strstr(kMonths, month);
    if (fields != 7 || static_cast<size_t>(length) != text.size() || strlen(month) != 3 || known == nullptr ||
        (known - kMonths) % 3 != 0) {
        return {};
    }
    parts.tm_mon = static_cast<int>(known - kMonths) / 3;
    parts.tm_year -= 1900;
    std::optional<time_t> best;
    for (const int summer : {0, 1}) {
        tm wanted = parts;
        wanted.tm_isdst = summer;
        const time_t time = mktime(&wanted);
        // Not a day and an hour that this zone has, or not with that setting of its clock.
        if (wanted.tm_isdst != summer || wanted.tm_mday != parts.tm_mday || wanted.tm_hour != parts.tm_hour ||
            wanted.tm_min != parts.tm_min) {
            continue;
        }
        if (!best ||
            std::abs(static_cast<long long>(time - hint)) < std::abs(static_cast<long long>(*best - hint))) {
            best = time;
        }
    }
    return best;
}

std::optional<long> ParseUptime(const std::string& text) {
    const size_t first = text.find(':');
    const size_t second = text.find(':', first == std::string::npos ? first : first + 1);
    if (second == std::string::npos) return {};
    const std::string_view view(text);
    const std::string_view parts[] = {view.substr(0, first), view.substr(first + 1, second - first - 1),
                                      view.substr(second + 1)};
    constexpr size_t kDigits = 9;
    int64_t seconds = 0;
    for (const std::string_view part : parts) {
        if (!IsDigits(part) || part.size() > kDigits) return {};
        seconds = seconds * 60 + strtol(std::string(part).c_str(), nullptr, 10);
    }
    if (seconds > INT32_MAX) return {};  // the daemon counts no further
    return static_cast<long>(seconds);
}

}  // namespace board
