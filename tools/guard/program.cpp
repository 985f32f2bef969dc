#include "tools/guard/program.h"

#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "tools/board/daemon_process.h"
#include "tools/board/pipe.h"
#include "tools/board/text_file.h"
#include "tools/guard/files.h"

namespace guard {

namespace {

constexpr int kProbeLooks = 2;    // so that an answer has 10 s
constexpr int kProblemLooks = 3;  // a status that is being written is whole the next time
constexpr int64_t kSave_seconds = kHour_seconds;

}  // namespace

Program::Program(const Places& places, const Settings& settings, Outside* outside)
    : places_(places),
      settings_(settings),
      outside_(*outside),
      pipe_(places.network + "/ravelin_fifo"),
      budget_(places.state + "/budget"),
      boot_(outside->BootId()),
      why_not_(settings.WhyNot()),
      core_(settings.rules, Load(), settings.ProbesNumber()) {
    for (const std::string& problem : settings_.problems) outside_.Say(LOG_ERR, "guard.conf: " + problem);
    outside_.Say(LOG_NOTICE, why_not_.empty() ? "watches " + settings_.interface + " and acts"
                                              : "only watches, and resets nothing: " + why_not_);
    if (!Save()) {
        outside_.Say(LOG_ERR, budget_ + " can't be saved, so that nothing is reset: " + strerror(errno));
    }
}

Ledger Program::Load() const {
    const int64_t now = outside_.SecondsSinceBoot();
    const board::TextFile file = board::ReadTextFile(budget_);
    if (file.state == board::FileState::kMissing) return {};
    const std::optional<Ledger> ledger = ParseLedger(file.text, boot_, now);
    if (ledger) return *ledger;
    outside_.Say(LOG_ERR, budget_ + " can't be read: its budget counts as spent for a day");
    return SpentLedger(now);
}

bool Program::Save() {
    saved_at_ = outside_.SecondsSinceBoot();
    saved_proven_ = core_.ledger().proven;
    return ReplaceFile(budget_, PrintLedger(core_.ledger(), boot_, saved_at_), true);
}

void Program::LookAtStatus(Look* look) {
    std::string problem;
    ReadStatus(places_.network, look, &problem);
    status_problem_looks_ = problem == status_problem_ ? status_problem_looks_ + 1 : 1;
    status_problem_ = problem;
    if (!problem.empty() && status_problem_looks_ == kProblemLooks) {
        outside_.Say(LOG_WARNING, "ravelin_status " + problem);
    }
}

void Program::TakeProbes(Look* look, Round* round) {
    if (is_probing_ && (outside_.HasAllAnswers() || ++looks_ >= kProbeLooks)) {
        is_probing_ = false;
        *round = outside_.TakeRound();
        look->round = round;
        ++rounds_;
        const std::string problem = outside_.probe_problem();
        if (problem != probe_problem_ && !problem.empty()) {
            outside_.Say(LOG_WARNING, "a probe can't be run: " + problem);
        }
        probe_problem_ = problem;
    }
    look->probe_bytes = outside_.probe_traffic().received_bytes;
}

int Program::Step() {
    Look look;
    look.now = outside_.SecondsSinceBoot();
    LookAtStatus(&look);
    look.is_upgrading = board::RunningFlash(places_.flash) != 0;
    look.can_act = why_not_.empty();
    look.probes = (int64_t{1} << settings_.probes.size()) - 1;
    // Before the counter, so that whatever the probes have brought stands in it.
    Round round;
    TakeProbes(&look, &round);
    if (!settings_.interface.empty()) {
        const std::optional<uint64_t> bytes = outside_.ReceivedBytes(settings_.interface);
        look.has_interface = bytes.has_value();
        look.received_bytes = bytes.value_or(0);
    }
    const Decision decision = core_.Decide(look);
    if (!decision.line.empty()) {
        const bool is_reset = decision.action == Action::kSoftReset || decision.action == Action::kHardReset;
        outside_.Say(is_reset ? LOG_WARNING : LOG_NOTICE, decision.line);
        line_ = decision.line;
    }
    Do(decision);
    const bool is_old = core_.HasMemory() && look.now - saved_at_ >= kSave_seconds;
    if (is_old || core_.ledger().proven != saved_proven_) Save();
    const bool is_news = !decision.line.empty() || look.round != nullptr;
    if (is_news || shown_at_ < 0 || look.now - shown_at_ >= kShownAgain_seconds) {
        Show(decision.state, look.now);
    }
    return is_probing_ ? kProbeLook_seconds : kLook_seconds;
}

void Program::SendProbes(const std::vector<Probe>& probes) {
    if (probes.empty()) return;
    looks_ = 0;
    is_probing_ = true;
    outside_.SendProbes(settings_.interface, probes);
}

void Program::Do(const Decision& decision) {
    switch (decision.action) {
        case Action::kNone:
            break;
        case Action::kProbeOne:
            if (decision.probe < static_cast<int>(settings_.probes.size())) {
                SendProbes({settings_.probes[static_cast<size_t>(decision.probe)]});
            }
            break;
        case Action::kProbeAll:
            SendProbes(settings_.probes);
            break;
        case Action::kSoftReset:
            Ask("SoftReset:1");
            break;
        case Action::kHardReset:
            Ask("Reset4G:1");
            break;
    }
}

/// Empty: the daemon's pipe has it. Otherwise why not, in words.
std::string Program::Send(const char* command) const {
    board::Pipe pipe(pipe_);
    if (pipe.state() != board::PipeState::kOpen) return pipe.problem();
    // Whoever reads a pipe that isn't the daemon's does nothing for the link.
    if (!IsTrusted(pipe.owner())) return pipe_ + " belongs to user " + std::to_string(pipe.owner());
    return pipe.Send(command) ? "" : pipe.problem();
}

void Program::Ask(const char* command) {
    if (!Save()) {
        outside_.Say(LOG_ERR, std::string(command) + " isn't asked for: " + budget_ + ": " + strerror(errno));
        core_.Withdraw();
        return;
    }
    const std::string problem = Send(command);
    if (problem.empty()) return;
    outside_.Say(LOG_ERR, std::string(command) + " can't be asked for: " + problem);
    core_.Withdraw();
    Save();
}

void Program::Show(State state, int64_t now) {
    shown_at_ = now;
    const Ledger& ledger = core_.ledger();
    const ProbeTraffic traffic = outside_.probe_traffic();
    Shown shown;
    shown.state = NameOf(state);
    shown.acts = why_not_.empty();
    shown.why = why_not_;
    shown.soft_resets = ledger.soft_total;
    shown.hard_resets = ledger.hard_total;
    shown.hard_last_hour = ledger.HardSince(now - kHour_seconds);
    shown.hard_last_day = ledger.HardSince(now - kDay_seconds);
    shown.hard_per_hour = settings_.rules.hard_per_hour;
    shown.hard_per_day = settings_.rules.hard_per_day;
    shown.pause_left = std::max<int64_t>(ledger.pause_end - now, 0);
    shown.rounds = rounds_;
    shown.sent_bytes = traffic.sent_bytes;
    shown.received_bytes = traffic.received_bytes;
    shown.alive_ago = core_.alive_at() < 0 ? -1 : now - core_.alive_at();
    shown.line = line_;
    shown.now = now;
    const bool replaced = ReplaceFile(places_.show, PrintShown(shown), false);
    if (!replaced && !has_complained_) outside_.Say(LOG_WARNING, places_.show + ": " + strerror(errno));
    has_complained_ = !replaced;
}

}  // namespace guard
