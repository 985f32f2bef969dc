#include "simulator/matrix/outcome.h"

#include <algorithm>

#include "simulator/soak/record_reader.h"
#include "simulator/soak/time_units.h"

namespace matrix {

namespace {

using soak::Contains;
using soak::Entry;
using soak::EntryKind;
using soak::kHour_ms;
using soak::kMinute_ms;
using soak::LogLine;
using soak::StartsWith;

/// A ladder that comes round again does so sooner.
constexpr int64_t kCalm_ms = 5 * kMinute_ms;
constexpr int64_t kNotGood = -1;

class Reader {
  public:
    explicit Reader(const OutcomeOptions& options) : options_(options) {}

    void Take(const Entry& entry) {
        now_ms_ = entry.at_ms;
        switch (entry.kind) {
            case EntryKind::kPublishes:
                TakePublished(entry.text);
                break;
            case EntryKind::kModem:
                TakeKnob(entry.text);
                break;
            case EntryKind::kWorld:
                if (entry.text == "starts again") TakeStep(Step::kStart);
                if (Contains(entry.text, "ravelin_fifo")) is_heard_ = false;
                break;
            case EntryKind::kEnds:
                // Whatever the file says: nobody looks after the link.
                if (entry.text != "still running") is_online_ = says_online_ = false;
                break;
            case EntryKind::kLogs:
            case EntryKind::kDebugs:
                TakeLog(soak::SplitLogLine(entry.text));
                break;
            case EntryKind::kGuard:
                if (StartsWith(entry.text, "SoftReset:1, because ")) ++guard_soft_resets_;
                if (StartsWith(entry.text, "Reset4G:1, because ")) guard_hard_resets_.push_back(now_ms_);
                break;
            default:
                break;
        }
        Look();
    }

    Outcome Finish() {
        Outcome outcome;
        outcome.is_deceived = is_online_ && !has_call_;
        const int64_t last_ms = std::max(good_ms_, steps_.empty() ? 0 : steps_.back().at_ms);
        outcome.is_settled = good_ms_ != kNotGood && !outcome.is_deceived &&
                             (last_ms < options_.from_ms || options_.until_ms - last_ms >= kCalm_ms);
        outcome.is_kept = outcome.is_settled && good_ms_ < options_.from_ms;
        if (outcome.is_settled) outcome.recovery_ms = std::max(good_ms_ - options_.measured_ms, int64_t{0});
        const int64_t counted_ms = outcome.is_settled ? options_.until_ms : options_.from_ms + kHour_ms;
        for (const Taken& taken : steps_) {
            if (taken.at_ms <= counted_ms) ++outcome.steps[static_cast<size_t>(taken.step)];
        }
        std::vector<int64_t> hard_resets;
        for (const Taken& taken : steps_) {
            if (taken.step == Step::kHardReset) hard_resets.push_back(taken.at_ms);
        }
        outcome.hard_resets_per_hour = FullestHour(hard_resets);
        outcome.guard_soft_resets = guard_soft_resets_;
        outcome.guard_hard_resets = static_cast<int>(guard_hard_resets_.size());
        outcome.guard_hard_resets_per_hour = FullestHour(guard_hard_resets_);
        return outcome;
    }

  private:
    struct Taken {
        int64_t at_ms;
        Step step;
    };

    static size_t HolderAt(std::string_view* knob, size_t selected) {
        if (!StartsWith(*knob, "holder ")) return selected;
        const size_t holder = (*knob)[sizeof "holder " - 1] == '2' ? 1 : 0;
        knob->remove_prefix(sizeof "holder 1 " - 1);
        return holder;
    }

    void TakeKnob(std::string_view knob) {
        if (StartsWith(knob, "select ")) selected_ = knob == "select 2" ? 1 : 0;
        if (StartsWith(knob, "status link: ")) has_call_ = knob == "status link: up";
        const size_t holder = HolderAt(&knob, selected_);
        if (StartsWith(knob, "reach ")) is_dead_[holder] = knob == "reach nothing";
    }

    void TakePublished(std::string_view text) {
        constexpr std::string_view kStatus = "/run/network/ravelin_status ";
        if (!StartsWith(text, kStatus)) return;
        text.remove_prefix(kStatus.size());
        if (StartsWith(text, "Online=")) is_online_ = says_online_ = text == "Online=TRUE";
        // The end of an attempt. One that succeeds at once in the place of a link that was lost leaves
        // "Online=TRUE" where it was.
        if (StartsWith(text, "RetryTimes=")) is_online_ = says_online_;
    }

    void TakeLog(const LogLine& log) {
        const std::string_view text = log.message;
        if (log.function == "Connect") {
            if (StartsWith(text, "Check service status.  ")) TakeStep(Step::kCheck);
            if (StartsWith(text, "Do connect.  ")) {
                TakeStep(Step::kDial);
                is_online_ = false;
            }
            if (StartsWith(text, "No SIM card detected")) TakeStep(Step::kCheck);
        } else if (log.function == "Task") {
            if (StartsWith(text, "Check connection. offline")) TakeStep(Step::kCheck);
            if (StartsWith(text, "No response!")) TakeStep(Step::kCheck);
        } else if (log.function == "CheckNetwork") {
            if (StartsWith(text, "The wireless network signal is weak,m_nCSQ")) TakeStep(Step::kCheck);
        } else if (log.function == "SwitchSIMCard") {
            TakeStep(Step::kSwitch);
        } else if (log.function == "SoftReset" && text == "Soft reset!") {
            // Each hardware reset is followed by one.
            if (!is_after_hard_) TakeStep(Step::kSoftReset);
            is_after_hard_ = false;
        } else if (log.function == "main" && StartsWith(text, "Reset4G time=")) {
            TakeStep(Step::kHardReset);
            is_after_hard_ = true;
        } else if (log.function == "handle_command" && StartsWith(text, "[FIFO]")) {
            is_heard_ = true;
        }
    }

    void TakeStep(Step step) {
        if (step == Step::kStart) is_after_hard_ = false;
        if (now_ms_ >= options_.from_ms) steps_.push_back({now_ms_, step});
    }

    void Look() {
        const bool is_good = options_.is_of_pipe ? is_heard_ : is_online_ && !is_dead_[selected_];
        if (is_good == (good_ms_ != kNotGood)) return;
        good_ms_ = is_good ? now_ms_ : kNotGood;
    }

    static int FullestHour(const std::vector<int64_t>& resets) {
        size_t most = 0;
        for (size_t first = 0, last = 0; last < resets.size(); ++last) {
            while (resets[last] - resets[first] >= kHour_ms) ++first;
            most = std::max(most, last - first + 1);
        }
        return static_cast<int>(most);
    }

    const OutcomeOptions& options_;
    int64_t now_ms_ = 0;
    bool is_online_ = false;
    bool says_online_ = false;  // the status file
    bool has_call_ = true;
    bool is_heard_ = true;
    bool is_dead_[2] = {};
    size_t selected_ = 0;
    bool is_after_hard_ = false;
    int64_t good_ms_ = kNotGood;  // since when
    std::vector<Taken> steps_;
    int guard_soft_resets_ = 0;
    std::vector<int64_t> guard_hard_resets_;
};

}  // namespace

Outcome ReadOutcome(std::string_view record, const OutcomeOptions& options) {
    Reader reader(options);
    soak::ReadRecord(record, [&reader](const Entry& entry) { reader.Take(entry); });
    return reader.Finish();
}

}  // namespace matrix
