// Sends probes over one interface and looks later what has come: nothing here waits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/guard/core.h"
#include "tools/guard/files.h"
#include "tools/guard/settings.h"

namespace guard {

class Prober {
  public:
    using RouteTest = bool (*)(const std::string& interface, uint32_t host);

    explicit Prober(RouteTest has_route = HasRoute) : has_route_(has_route) {}
    ~Prober() { Close(); }
    Prober(const Prober&) = delete;
    Prober& operator=(const Prober&) = delete;

    /// Sends all of them at once. What is still open of an earlier round is given up.
    void Send(const std::string& interface, const std::vector<Probe>& probes);
    bool is_open() const { return !open_.empty(); }
    /// True: every one has its answer, so that nothing more will come.
    bool Look();
    /// Ends the round; what has no answer is silent.
    Round Take();

    int64_t sent_bytes() const { return sent_bytes_; }  // of all rounds, with IP headers; about, for TCP
    int64_t received_bytes() const { return received_bytes_; }
    /// Why a probe couldn't be run, of the last round; empty where all could.
    const std::string& problem() const { return problem_; }

  private:
    struct Open {
        Probe probe;
        int fd = -1;
        bool is_raw = false;
        bool is_over = false;
        uint16_t number = 0;
        std::string question;
        ProbeVerdict verdict = ProbeVerdict::kSilent;
    };

    void Close();
    void SendOne(const std::string& interface, Open* open);
    bool BindTo(const std::string& interface, Open* open);
    bool ConnectTo(Open* open);
    void LookAt(Open* open);
    void LookAtTcp(Open* open);
    void Refused(Open* open, int error);
    void Fail(Open* open, int error, const std::string& what);

    const RouteTest has_route_;
    std::vector<Open> open_;
    uint16_t next_number_ = 0;
    int64_t sent_bytes_ = 0, received_bytes_ = 0;
    std::string problem_;
};

}  // namespace guard
