// The guard around its decisions: looks at the board, lets the core decide, and does what it says. Nothing
// here waits, and whatever ends it finds its files whole.
#pragma once

#include <cstdint>
#include <string>

#include "tools/guard/core.h"
#include "tools/guard/outside.h"
#include "tools/guard/settings.h"
#include "tools/guard/shown.h"

namespace guard {

struct Places {
    std::string network = "/run/network";          // the daemon's status and pipe
    std::string state = "/var/lib/ravelin-guard";  // the budget
    std::string show = kShownPath;
    std::string flash = "/run/ravelin-flash";  // marks of a flash
};

constexpr int kLook_seconds = 10;
constexpr int kProbeLook_seconds = 5;  // while probes are out

class Program {
  public:
    /// All three must outlive it.
    Program(const Places& places, const Settings& settings, Outside* outside);

    /// Looks and acts once; in how many seconds it wants to look again.
    int Step();

  private:
    Ledger Load() const;
    bool Save();
    void LookAtStatus(Look* look);
    void TakeProbes(Look* look, Round* round);
    void Do(const Decision& decision);
    void SendProbes(const std::vector<Probe>& probes);
    void Ask(const char* command);
    std::string Send(const char* command) const;
    void Show(State state, int64_t now);

    const Places& places_;
    const Settings& settings_;
    Outside& outside_;
    const std::string pipe_, budget_, boot_, why_not_;
    Core core_;
    bool is_probing_ = false;
    int looks_ = 0;  // after answers
    int64_t rounds_ = 0;
    int64_t saved_at_ = 0;
    int64_t saved_proven_ = 0;
    int64_t shown_at_ = -1;
    bool has_complained_ = false;
    std::string status_problem_;
    int status_problem_looks_ = 0;  // that it has lasted
    std::string probe_problem_, line_;
};

}  // namespace guard
