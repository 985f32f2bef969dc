#include "simulator/soak/judge.h"

#include <algorithm>

#include "simulator/soak/faults.h"
#include "simulator/soak/time_units.h"

namespace soak {

namespace {

/// Counts what the summary tells.
class Counter {
  public:
    Counter(const Watch& watch, Figures* figures) : watch_(watch), figures_(*figures) {
        for (const Fault& fault : watch.truth.faults) ++figures_.faults[fault.name].count;
        figures_.runs = 1;
    }

    void Take(const Entry& entry) {
        const bool is_online = watch_.is_running && watch_.is_online;
        if (was_online_) figures_.online_ms += entry.at_ms - last_ms_;
        last_ms_ = entry.at_ms;
        if (is_online && !was_online_) up_ms_ = entry.at_ms;
        if (!is_online && was_online_) lost_ms_ = entry.at_ms;
        was_online_ = is_online;
        if (watch_.is_calm() && watch_.healthy() != told_) TellRecovery();
        if (entry.kind == EntryKind::kWorld && entry.text == "starts again") ++figures_.runs;
        if (entry.kind != EntryKind::kLogs) return;
        const LogLine& log = watch_.log;
        if (log.function == "SoftReset" && log.message == "Soft reset!") ++figures_.soft_resets;
        if (log.function == "main" && StartsWith(log.message, "Reset4G time=")) ++figures_.hard_resets;
        if (log.function == "SwitchSIMCard") ++figures_.sim_switches;
        if (log.function == "main" && StartsWith(log.message, "GetVendorType=") && watch_.is_misled()) {
            ++figures_.misled;
        }
    }

    void Finish() { figures_.simulated_ms = last_ms_; }

  private:
    /// The recovery from a fault that came alone: how long after its end (or, for some kinds, its begin) the
    /// link was up for good.
    void TellRecovery() {
        told_ = watch_.healthy();
        const std::vector<Fault>& faults = watch_.truth.faults;
        const size_t first = next_fault_;
        while (next_fault_ < faults.size() && faults[next_fault_].from_ms <= told_->from_ms) ++next_fault_;
        if (next_fault_ != first + 1) return;
        const Fault* alone = &faults[first];
        if (!watch_.is_online) return;
        FaultFigures& figures = figures_.faults[alone->name];
        if (lost_ms_ < alone->from_ms) {
            ++figures.kept;
            return;
        }
        const FaultKind* kind = FindFaultKind(alone->name);
        const bool from_begin = kind != nullptr && kind->measure == Measure::kFromBegin;
        const int64_t from_ms = from_begin ? alone->from_ms : alone->to_ms;
        if (up_ms_ < from_ms) {
            ++figures.meanwhile;
        } else {
            ++figures.recovery_seconds[(up_ms_ - from_ms) / kSecond_ms];
        }
    }

    const Watch& watch_;
    Figures& figures_;
    int64_t last_ms_ = 0;
    bool was_online_ = false;
    int64_t up_ms_ = kNever;
    int64_t lost_ms_ = kNever;
    size_t next_fault_ = 0;
    const Healthy* told_ = nullptr;
};

}  // namespace

void Figures::Add(const Figures& other) {
    simulated_ms += other.simulated_ms;
    online_ms += other.online_ms;
    runs += other.runs;
    soft_resets += other.soft_resets;
    hard_resets += other.hard_resets;
    sim_switches += other.sim_switches;
    misled += other.misled;
    for (const auto& [name, figures] : other.faults) {
        FaultFigures& sum = faults[name];
        sum.count += figures.count;
        sum.kept += figures.kept;
        sum.meanwhile += figures.meanwhile;
        for (const auto& [seconds, times] : figures.recovery_seconds) sum.recovery_seconds[seconds] += times;
    }
}

Verdict JudgeRecord(const Truth& truth, std::string_view record) {
    Verdict verdict;
    Watch watch(truth);
    Counter counter(watch, &verdict.figures);
    std::vector<std::unique_ptr<Law>> laws;
    for (const LawRow& row : Laws()) {
        auto is_broken = std::make_shared<bool>(false);
        laws.push_back(row.make(watch, [&verdict, &row, is_broken](int64_t at_ms, const std::string& text) {
            if (!*is_broken) verdict.violations.push_back({row.name, at_ms, text});
            *is_broken = true;
        }));
    }
    ReadRecord(record, [&](const Entry& entry) {
        watch.Take(entry);
        for (const auto& law : laws) law->Take(entry);
        counter.Take(entry);
    });
    for (const auto& law : laws) law->Finish();
    counter.Finish();
    return verdict;
}

}  // namespace soak
