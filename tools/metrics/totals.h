// Counters that never go back, whatever becomes of the logs: what each log counted is kept by the log's
// beginning, in a small file between two runs.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "tools/metrics/log_counts.h"

namespace metrics {

class Totals {
  public:
    explicit Totals(int64_t created_seconds) : created_seconds_(created_seconds) {}

    /// Of the text that Text gave; nothing for any other, torn ones included.
    static std::optional<Totals> Parse(const std::string& text);
    std::string Text() const;

    /// What is known of the log with that beginning; null: it wasn't seen yet, or is empty.
    struct Log {
        Fingerprint print;
        bool is_final = false;
        Counts counts;
    };
    const Log* Find(const std::string& beginning) const;

    /// What the log counts now. No counter gets less by it: an outage that turns out to have another cause
    /// counts for both.
    void Take(const std::string& beginning, bool is_final, const Counts& counts);

    Counts Sum() const;
    int64_t created_seconds() const { return created_seconds_; }
    const std::string& model() const { return model_; }
    void set_model(const std::string& model) { model_ = model; }

  private:
    Log* FindLog(const std::string& beginning);

    int64_t created_seconds_;
    std::string model_;
    Counts former_;         // of logs that are forgotten
    std::deque<Log> logs_;  // the one seen first in front
};

}  // namespace metrics
