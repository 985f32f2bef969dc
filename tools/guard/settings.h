// guard.conf: what to probe, and how patient to be. Nothing in it is taken on trust, and with a mistake in it
// the guard resets nothing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/guard/core.h"

namespace guard {

constexpr char kSettingsPath[] = "/etc/ravelin/guard.conf";
constexpr size_t kMostProbes = 8;

struct Probe {
    int number = 0;  // its place in guard.conf, from 0
    ProbeKind kind = ProbeKind::kDns;
    uint32_t host = 0;      // IPv4, in the byte order of the network
    uint16_t port = 0;      // TCP
    std::string name;       // DNS: what is asked
    uint32_t expected = 0;  // DNS: what has to be among the answers; 0: any public address
};

struct Settings {
    std::string interface;
    std::vector<Probe> probes;
    Rules rules;
    std::vector<std::string> problems;  // "line 3: ..."

    /// Whether anything may be reset: no mistake, an interface, and probes of two kinds to two addresses.
    bool CanAct() const { return WhyNot().empty(); }
    /// In words; empty when it may.
    std::string WhyNot() const;
    /// A number that other probes, or in another order, don't have.
    int64_t ProbesNumber() const;
};

Settings ParseSettings(const std::string& text);

/// A file that isn't there, or that others than its owner and root can write, is a mistake too.
Settings ReadSettings(const std::string& path);

}  // namespace guard
