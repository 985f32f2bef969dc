#include "tools/metrics/totals.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "tools/metrics/exposition.h"

namespace metrics {

namespace {

constexpr char kHead[] = "ravelinctl metrics 1\n";
// A log that isn't there for a moment must not be counted anew when it is back, so logs are kept for longer
// than any is on a board.
constexpr size_t kLogs = 16;
// 30,000 years of seconds: sums of these stay in range.
constexpr int64_t kMostCounted = 1'000'000'000'000'000;

void Write(const Counts& counts, std::string* text) {
    for (const auto& [name, milli] : counts) *text += "count " + std::to_string(milli) + " " + name + "\n";
}

std::string Sealed(const std::string& text) {
    return text + "end " + std::to_string(FingerprintOf(text, text.size()).hash) + "\n";
}

bool TakeCount(std::istringstream& line, Counts* counts) {
    int64_t milli = -1;
    std::string name;
    const std::vector<std::string>& known = KnownCounts();
    if (!(line >> milli) || line.get() != ' ' || !std::getline(line, name)) return false;
    if (milli < 0 || milli > kMostCounted || !std::binary_search(known.begin(), known.end(), name)) {
        return false;
    }
    (*counts)[name] = milli;
    return true;
}

void Add(const Counts& more, Counts* sum) {
    for (const auto& [name, milli] : more) {
        int64_t& value = (*sum)[name];
        value = std::min(value + milli, kMostCounted);
    }
}

}  // namespace

std::optional<Totals> Totals::Parse(const std::string& text) {
    const size_t end = text.rfind("end ");
    if (end == std::string::npos || Sealed(text.substr(0, end)) != text) return {};
    if (text.compare(0, sizeof kHead - 1, kHead) != 0) return {};
    std::istringstream lines(text.substr(sizeof kHead - 1, end - (sizeof kHead - 1)));
    Totals totals(0);
    Counts* counts = &totals.former_;
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "created") {
            if (!(words >> totals.created_seconds_) || totals.created_seconds_ < 0) return {};
        } else if (word == "model") {
            totals.model_ = LabelValue(line.substr(word.size()));
        } else if (word == "log") {
            Log log;
            words >> log.print.length_bytes >> log.print.hash >> log.is_final;
            if (!words || log.print.length_bytes > kFingerprint_bytes || totals.logs_.size() >= kLogs) {
                return {};
            }
            totals.logs_.push_back(log);
            counts = &totals.logs_.back().counts;
        } else if (word != "count" || !TakeCount(words, counts)) {
            return {};
        }
    }
    return totals;
}

std::string Totals::Text() const {
    std::string text = kHead + ("created " + std::to_string(created_seconds_)) + "\n";
    if (!model_.empty()) text += "model " + model_ + "\n";
    Write(former_, &text);
    for (const Log& log : logs_) {
        text += "log " + std::to_string(log.print.length_bytes) + " " + std::to_string(log.print.hash) + " " +
                (log.is_final ? "1" : "0") + "\n";
        Write(log.counts, &text);
    }
    return Sealed(text);
}

Totals::Log* Totals::FindLog(const std::string& beginning) {
    Log* best = nullptr;
    for (Log& log : logs_) {
        if (log.print.length_bytes == 0 || log.print.length_bytes > beginning.size()) continue;
        if (FingerprintOf(beginning, log.print.length_bytes).hash != log.print.hash) continue;
        if (best == nullptr || log.print.length_bytes > best->print.length_bytes) best = &log;
    }
    return best;
}

const Totals::Log* Totals::Find(const std::string& beginning) const {
    return const_cast<Totals*>(this)->FindLog(beginning);
}

void Totals::Take(const std::string& beginning, bool is_final, const Counts& counts) {
    if (beginning.empty()) return;
    Log* log = FindLog(beginning);
    if (log == nullptr) {
        if (logs_.size() >= kLogs) {
            Add(logs_.front().counts, &former_);
            logs_.pop_front();
        }
        logs_.emplace_back();
        log = &logs_.back();
    }
    log->print = FingerprintOf(beginning);
    log->is_final = is_final;
    for (const auto& [name, milli] : counts) {
        int64_t& value = log->counts[name];
        value = std::min(std::max(value, milli), kMostCounted);
    }
}

Counts Totals::Sum() const {
    Counts sum = former_;
    for (const Log& log : logs_) Add(log.counts, &sum);
    return sum;
}

}  // namespace metrics
