#include "tools/guard/settings.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <optional>

#include "simulator/text/text.h"
#include "tools/board/text_file.h"
#include "tools/guard/files.h"
#include "tools/guard/number.h"
#include "tools/guard/packet.h"

namespace guard {

namespace {

using simulator_text::Escape;
using simulator_text::TakeWord;
using simulator_text::Trim;

constexpr int64_t kMostPort = 65535;

struct NumberKey {
    const char* key;
    int64_t Rules::*field;
    int64_t least;
    int64_t most;
};

// The least of each keeps the guard slow, whatever somebody wants.
constexpr NumberKey kNumbers[] = {
    {"SILENCE", &Rules::silence_seconds, 60, kDay_seconds},
    {"TRAFFIC", &Rules::traffic_bytes, 1, 1000000},
    {"INTERVAL", &Rules::interval_seconds, 60, kDay_seconds},
    {"FAILED", &Rules::failed_seconds, 120, kDay_seconds},
    {"SOFT_WAIT", &Rules::soft_wait_seconds, 180, kDay_seconds},
    {"PAUSE", &Rules::pause_seconds, 600, kDay_seconds},
    {"PAUSE_LIMIT", &Rules::pause_limit_seconds, 600, kDay_seconds},
    {"HARD_PER_HOUR", &Rules::hard_per_hour, 0, kMostPerHour},
    {"HARD_PER_DAY", &Rules::hard_per_day, 0, kMostPerDay},
};

std::optional<uint32_t> Address(const std::string& text) {
    in_addr address = {};
    // Not 0.0.0.0, which the kernel takes for the board itself, nor a group's.
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) return {};
    const uint32_t number = ntohl(address.s_addr);
    const uint32_t first = number >> 24;
    constexpr uint32_t kLoopback = 127, kMulticast = 224;
    if (first == 0 || first == kLoopback || first >= kMulticast) return {};
    return address.s_addr;
}

std::string BadAddress(const std::string& text) {
    return text.empty()
               ? "an address is missing"
               : "\"" + Escape(text) +
                     "\" is no IPv4 address of another machine; a name needs the name server that is "
                     "to be probed";
}

/// What is wrong with a probe of `kind` and its words; empty when it was taken.
std::string TakeProbe(ProbeKind kind, std::string words, Settings* settings) {
    Probe probe;
    probe.kind = kind;
    const std::string host = TakeWord(&words);
    const std::optional<uint32_t> address = Address(host);
    if (!address) return BadAddress(host);
    probe.host = *address;
    if (kind == ProbeKind::kTcp) {
        const std::optional<int64_t> port = ParseNumber(TakeWord(&words), 1, kMostPort);
        if (!port) return "a port is missing or can't be";
        probe.port = static_cast<uint16_t>(*port);
    } else if (kind == ProbeKind::kDns) {
        probe.name = TakeWord(&words);
        if (!IsDnsName(probe.name)) return "a name to ask for is missing or can't be";
        const std::string expected = TakeWord(&words);
        if (!expected.empty()) {
            const std::optional<uint32_t> answer = Address(expected);
            if (!answer) return BadAddress(expected);
            probe.expected = *answer;
        }
    }
    if (!words.empty()) return "\"" + Escape(words) + "\" is too much";
    if (settings->probes.size() >= kMostProbes) return "more than " + std::to_string(kMostProbes) + " probes";
    probe.number = static_cast<int>(settings->probes.size());
    settings->probes.push_back(probe);
    return "";
}

std::string TakeInterface(const std::string& value, Settings* settings) {
    const bool is_name = !value.empty() && value.size() < IFNAMSIZ && value != "." && value != ".." &&
                         std::all_of(value.begin(), value.end(),
                                     [](char c) { return c > ' ' && c < '\x7f' && c != '/' && c != ':'; });
    if (!is_name) return "\"" + Escape(value) + "\" is no name of an interface";
    settings->interface = value;
    return "";
}

std::string TakeLine(const std::string& key, const std::string& value, Settings* settings) {
    if (key == "INTERFACE") return TakeInterface(value, settings);
    if (key == "DNS") return TakeProbe(ProbeKind::kDns, value, settings);
    if (key == "TCP") return TakeProbe(ProbeKind::kTcp, value, settings);
    if (key == "ICMP") return TakeProbe(ProbeKind::kIcmp, value, settings);
    for (const NumberKey& known : kNumbers) {
        if (key != known.key) continue;
        const std::optional<int64_t> number = ParseNumber(value, known.least, known.most);
        if (!number) {
            return key + " is a number from " + std::to_string(known.least) + " to " +
                   std::to_string(known.most) + ", not \"" + Escape(value) + "\"";
        }
        settings->rules.*known.field = *number;
        return "";
    }
    return "\"" + Escape(key) + "\" isn't known";
}

}  // namespace

std::string Settings::WhyNot() const {
    if (!problems.empty()) return "guard.conf has a mistake: " + problems.front();
    if (interface.empty()) return "guard.conf names no INTERFACE";
    const auto differs = [this](auto field) {
        return std::any_of(probes.begin(), probes.end(),
                           [&](const Probe& probe) { return probe.*field != probes.front().*field; });
    };
    if (probes.empty()) return "guard.conf names nothing to probe";
    if (!differs(&Probe::kind)) return "guard.conf has probes of one kind only; two are wanted";
    if (!differs(&Probe::host)) return "guard.conf probes one address only; two are wanted";
    return "";
}

int64_t Settings::ProbesNumber() const {
    constexpr uint32_t kBasis = 2166136261U, kPrime = 16777619U;  // FNV-1a
    uint32_t number = kBasis;
    const auto add = [&number](const std::string& text) {
        for (const char c : text + '\n') number = (number ^ static_cast<unsigned char>(c)) * kPrime;
    };
    add(interface);
    for (const Probe& probe : probes) {
        add(std::string(NameOf(probe.kind)) + " " + std::to_string(probe.host) + " " +
            std::to_string(probe.port) + " " + probe.name + " " + std::to_string(probe.expected));
    }
    return number;
}

Settings ParseSettings(const std::string& text) {
    Settings settings;
    int number = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line(Trim(std::string_view(text).substr(start, end - start)));
        start = end + 1;
        ++number;
        if (line.empty() || line.front() == '#') continue;
        const size_t equals = line.find('=');
        const std::string problem = equals == std::string::npos
                                        ? "\"" + Escape(line) + "\" isn't KEY=value"
                                        : TakeLine(std::string(Trim(line.substr(0, equals))),
                                                   std::string(Trim(line.substr(equals + 1))), &settings);
        if (!problem.empty()) settings.problems.push_back("line " + std::to_string(number) + ": " + problem);
    }
    settings.rules.pause_limit_seconds =
        std::max(settings.rules.pause_limit_seconds, settings.rules.pause_seconds);
    return settings;
}

Settings ReadSettings(const std::string& path) {
    const board::TextFile file = board::ReadTextFile(path);
    Settings settings;
    if (file.state == board::FileState::kRead) {
        settings = ParseSettings(file.text);
    } else {
        settings.problems.push_back(path + " " + file.problem);
    }
    struct stat seen = {};
    if (lstat(path.c_str(), &seen) != 0) return settings;
    if (!IsTrusted(seen.st_uid)) {
        settings.problems.push_back(path + " belongs to user " + std::to_string(seen.st_uid));
    } else if ((seen.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        settings.problems.push_back(path + " can be written by others than its owner");
    }
    return settings;
}

}  // namespace guard
