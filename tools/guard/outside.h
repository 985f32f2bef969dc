// What the guard has of the machine besides files: time, the interface, and syslog. On a board it is the
// kernel's; where time is simulated it is simulated too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/guard/core.h"
#include "tools/guard/settings.h"

namespace guard {

/// What the probes have cost since the guard's start, with IP headers.
struct ProbeTraffic {
    int64_t sent_bytes = 0;
    int64_t received_bytes = 0;
};

class Outside {
  public:
    virtual ~Outside() = default;

    /// Sleep included.
    virtual int64_t SecondsSinceBoot() = 0;
    /// Another one for each boot; empty where nobody knows.
    virtual std::string BootId() = 0;
    /// Bytes that have come in at an interface; nothing where there is none of that name.
    virtual std::optional<uint64_t> ReceivedBytes(const std::string& interface) = 0;
    /// A line for syslog, with its level there.
    virtual void Say(int level, const std::string& text) = 0;

    /// Sends all of them at once, and gives up what is still out.
    virtual void SendProbes(const std::string& interface, const std::vector<Probe>& probes) = 0;
    /// True: every one has its answer, so that nothing more will come.
    virtual bool HasAllAnswers() = 0;
    /// Ends the round: what has no answer is silent.
    virtual Round TakeRound() = 0;
    virtual ProbeTraffic probe_traffic() const = 0;
    /// Why a probe of the last round couldn't be run; empty where all could.
    virtual std::string probe_problem() const = 0;
};

}  // namespace guard
