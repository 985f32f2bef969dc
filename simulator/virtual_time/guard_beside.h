// ravelin-guard beside the daemon, in the daemon's virtual time: the guard's own program on files of the
// world. Only the kernel under it is simulated: clock, interface and probes are those of the modem's network.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/modem/modem_model.h"
#include "simulator/virtual_time/environment.h"
#include "tools/guard/outside.h"
#include "tools/guard/program.h"
#include "tools/guard/settings.h"

namespace virtual_time {

class GuardBeside : public guard::Outside {
  public:
    /// `modem` may be null, and everything must outlive it. `note` gets each line that it says.
    GuardBeside(Environment& environment, const modem_sim::Modem* modem, const std::string& settings,
                int64_t traffic_bytes_per_second, std::function<void(const std::string&)> note);

    /// From now on; a guard that has run in this world before finds its files.
    void Start();

  private:
    int64_t SecondsSinceBoot() override;
    std::string BootId() override { return "virtual"; }
    std::optional<uint64_t> ReceivedBytes(const std::string& interface) override;
    void Say(int level, const std::string& text) override;
    void SendProbes(const std::string& interface, const std::vector<guard::Probe>& probes) override;
    bool HasAllAnswers() override;
    guard::Round TakeRound() override;
    guard::ProbeTraffic probe_traffic() const override { return traffic_; }
    std::string probe_problem() const override { return ""; }

    struct Sent {
        guard::Probe probe;
        guard::ProbeVerdict verdict;  // once its time has come
        int64_t answered_us;
    };

    void Step();

    Environment& environment_;
    const modem_sim::Modem* const modem_;
    const guard::Settings settings_;
    const guard::Places places_;
    const int64_t traffic_bytes_per_second_;
    const std::function<void(const std::string&)> note_;
    std::unique_ptr<guard::Program> program_;
    std::vector<Sent> sent_;
    guard::ProbeTraffic traffic_;
    uint64_t received_bytes_ = 0;
    int64_t counted_us_ = 0;
};

}  // namespace virtual_time
