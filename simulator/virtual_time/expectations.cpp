#include "simulator/virtual_time/expectations.h"

#include <algorithm>

namespace virtual_time {

namespace {

constexpr char kAny[] = "<any>";
constexpr size_t kAnyLength = sizeof(kAny) - 1;
constexpr size_t kNearestShown = 3;
constexpr int kFoundShown = 20;
constexpr int64_t kNever_us = INT64_MAX - 1;  // later than every entry

// Parts of the text of a log entry: "FILE:FUNCTION:LINE message".
struct LogText {
    std::string file;
    std::string function;
    std::string message;
};

LogText SplitLog(const std::string& text) {
    const size_t blank = std::min(text.find(' '), text.size());
    const std::string place = text.substr(0, blank);
    const size_t last = place.rfind(':');
    const size_t first =
        last == std::string::npos || last == 0 ? std::string::npos : place.rfind(':', last - 1);
    LogText log;
    if (first == std::string::npos) {
        log.message = text;
        return log;
    }
    log.file = place.substr(0, first);
    log.function = place.substr(first + 1, last - first - 1);
    log.message = blank < text.size() ? text.substr(blank + 1) : "";
    return log;
}

bool IsLog(const std::string& kind) {
    return kind == "logs" || kind == "debugs";
}

bool PlaceMatches(const std::string& wanted, const LogText& log) {
    return wanted == kAny || wanted == log.function || wanted == log.file + ":" + log.function;
}

bool TextMatches(const Expectation& expectation, const RecordEntry& entry) {
    return MatchesEntry(expectation.kind, expectation.place, expectation.text, entry);
}

// When an expectation may be met, in microseconds from the start; both ends belong to it.
struct TimeRange {
    int64_t from_us;
    int64_t to_us;
};

// Entries carry whole milliseconds.
bool IsWithin(const TimeRange& range, const RecordEntry& entry) {
    return entry.at_us >= range.from_us && entry.at_us <= range.to_us;
}

size_t CommonPrefix(const std::string& one, const std::string& other) {
    size_t length = 0;
    while (length < one.size() && length < other.size() && one[length] == other[length]) ++length;
    return length;
}

int64_t Distance(const TimeRange& range, const RecordEntry& entry) {
    if (entry.at_us < range.from_us) return range.from_us - entry.at_us;
    return entry.at_us > range.to_us ? entry.at_us - range.to_us : 0;
}

std::string FormatRange(const TimeRange& range) {
    if (range.from_us == kNever_us) return "after its mark, which was never reached";
    if (range.from_us == range.to_us) return "at " + FormatSeconds(range.from_us);
    if (range.from_us == 0 && range.to_us == INT64_MAX) return "at any time";
    if (range.to_us == INT64_MAX) return "from " + FormatSeconds(range.from_us) + " on";
    return "between " + FormatSeconds(range.from_us) + " and " + FormatSeconds(range.to_us);
}

class Checker {
  public:
    Checker(const Scenario& scenario, const std::vector<RecordEntry>& record)
        : scenario_(scenario), record_(record) {}

    std::vector<std::string> Check() {
        FindMarks();
        for (const Expectation& expectation : scenario_.expectations) {
            switch (expectation.mode) {
                case Expectation::Mode::kNext:
                    CheckSee(expectation);
                    break;
                case Expectation::Mode::kAnywhere:
                    if (Find(expectation, 0) == record_.size()) Miss(expectation, 0);
                    break;
                case Expectation::Mode::kNowhere:
                    CheckNever(expectation);
                    break;
                case Expectation::Mode::kSoOften:
                    CheckCount(expectation);
                    break;
            }
        }
        CheckEnd();
        return problems_;
    }

  private:
    // A mark that the run never came to fails what counts from it, once and by name.
    void FindMarks() {
        for (const Mark& mark : scenario_.marks) {
            const auto found =
                std::find_if(record_.begin(), record_.end(), [&mark](const RecordEntry& entry) {
                    return MatchesEntry(mark.kind, mark.place, mark.text, entry);
                });
            mark_us_.push_back(found == record_.end() ? kNever_us : found->at_us);
            if (found == record_.end()) {
                problems_.push_back(scenario_.path + ":" + std::to_string(mark.line) + ": the mark \"" +
                                    mark.name + "\" was never reached\n");
            }
        }
    }

    int64_t BaseOf(const Expectation& expectation) const {
        if (expectation.base == TimeBase::kMark) return mark_us_[static_cast<size_t>(expectation.mark)];
        if (expectation.base == TimeBase::kStart || after_last_seen_ == 0) return 0;
        return record_[after_last_seen_ - 1].at_us;
    }

    // The times of an expectation, from the start.
    TimeRange RangeOf(const Expectation& expectation) const {
        const int64_t base_us = BaseOf(expectation);
        if (base_us == kNever_us) return {kNever_us, kNever_us};
        const bool has_end = expectation.to_us != INT64_MAX;
        return {base_us + expectation.from_us, has_end ? base_us + expectation.to_us : INT64_MAX};
    }

    bool Matches(const Expectation& expectation, const RecordEntry& entry) const {
        return IsWithin(RangeOf(expectation), entry) && TextMatches(expectation, entry);
    }

    size_t Find(const Expectation& expectation, size_t start) const {
        for (size_t i = start; i < record_.size(); ++i) {
            if (Matches(expectation, record_[i])) return i;
        }
        return record_.size();
    }

    // The entry with that text, from `start` on, that stands nearest to the expected time.
    size_t FindNearest(const Expectation& expectation, size_t start) const {
        const TimeRange range = RangeOf(expectation);
        size_t nearest = record_.size();
        for (size_t i = start; i < record_.size(); ++i) {
            if (!TextMatches(expectation, record_[i])) continue;
            if (nearest == record_.size() ||
                Distance(range, record_[i]) < Distance(range, record_[nearest])) {
                nearest = i;
            }
        }
        return nearest;
    }

    // After a miss the story goes on where the text really stood, so that one changed wait is one complaint.
    void CheckSee(const Expectation& expectation) {
        size_t found = Find(expectation, after_last_seen_);
        if (found == record_.size()) {
            Miss(expectation, after_last_seen_);
            found = FindNearest(expectation, after_last_seen_);
        }
        if (found < record_.size()) after_last_seen_ = found + 1;
    }

    void CheckNever(const Expectation& expectation) {
        const size_t found = Find(expectation, 0);
        if (found == record_.size()) return;
        Problem(expectation, "but it was there:\n    " + FormatEntry(record_[found]));
    }

    void CheckCount(const Expectation& expectation) {
        std::string found;
        int count = 0;
        for (const RecordEntry& entry : record_) {
            if (!Matches(expectation, entry)) continue;
            if (count++ < kFoundShown) found += "    " + FormatEntry(entry);
        }
        if (count == expectation.count) return;
        std::string problem =
            "but " + std::to_string(count) + " " + FormatRange(RangeOf(expectation)) + ":\n" + found;
        if (count > kFoundShown) problem += "    ...\n";
        if (count == 0) problem += Nearest(expectation);
        Problem(expectation, problem);
    }

    void CheckEnd() {
        for (const RecordEntry& entry : record_) {
            if (entry.kind == "broken") {
                problems_.push_back("the scenario is broken:\n    " + FormatEntry(entry));
            }
        }
        CheckEarlierEnds();
        const bool has_end = !record_.empty() && record_.back().kind == "ends";
        if (!has_end) {
            problems_.push_back("the record has no end\n");
        } else if (!scenario_.ExpectsAnEnd() && record_.back().text != "still running") {
            problems_.push_back("nobody expected that the daemon ends:\n    " + FormatEntry(record_.back()));
        }
    }

    // A supervisor starts a daemon again whatever its end was. One by a signal that the scenario didn't send
    // is nothing that a scenario can leave unsaid.
    void CheckEarlierEnds() {
        for (size_t i = 0; i + 1 < record_.size(); ++i) {
            const RecordEntry& end = record_[i];
            const bool is_crash = end.kind == "ends" && end.text.rfind("exit ", 0) != 0;
            const bool was_killed =
                i > 0 && record_[i - 1].kind == "world" && record_[i - 1].text.rfind("kill ", 0) == 0;
            if (!is_crash || was_killed || IsExpected(end)) continue;
            problems_.push_back("nobody expected that the daemon ends so:\n    " + FormatEntry(end));
        }
    }

    bool IsExpected(const RecordEntry& entry) const {
        return std::any_of(scenario_.expectations.begin(), scenario_.expectations.end(),
                           [&](const Expectation& each) {
                               return each.mode != Expectation::Mode::kNowhere && TextMatches(each, entry);
                           });
    }

    void Miss(const Expectation& expectation, size_t start) {
        std::string problem = "but there was none " + FormatRange(RangeOf(expectation));
        if (start > 0) {
            problem += ", after\n    " + FormatEntry(record_[start - 1]);
            const size_t earlier = Find(expectation, 0);
            if (earlier < start) problem += "  It stood before that:\n    " + FormatEntry(record_[earlier]);
        } else {
            problem += "\n";
        }
        Problem(expectation, problem + Nearest(expectation));
    }

    // The same text at other times; or else the most similar texts of that kind near the time.
    std::string Nearest(const Expectation& expectation) const {
        const TimeRange range = RangeOf(expectation);
        std::vector<const RecordEntry*> same_text, same_kind;
        for (const RecordEntry& entry : record_) {
            if (TextMatches(expectation, entry)) same_text.push_back(&entry);
            if (entry.kind == expectation.kind) same_kind.push_back(&entry);
        }
        if (!same_text.empty()) {
            return List("  The same at other times, the nearest first:\n", same_text,
                        [&](const RecordEntry* one, const RecordEntry* other) {
                            return Distance(range, *one) < Distance(range, *other);
                        });
        }
        if (same_kind.empty()) return "  Nothing at all of that kind.\n";
        const auto likeness = [&](const RecordEntry* entry) {
            return CommonPrefix(expectation.text,
                                IsLog(entry->kind) ? SplitLog(entry->text).message : entry->text);
        };
        return List("  Never that text. The most similar, or else the nearest:\n", same_kind,
                    [&](const RecordEntry* one, const RecordEntry* other) {
                        const size_t one_likeness = likeness(one), other_likeness = likeness(other);
                        if (one_likeness != other_likeness) return one_likeness > other_likeness;
                        return Distance(range, *one) < Distance(range, *other);
                    });
    }

    template <typename Order>
    static std::string List(std::string text, std::vector<const RecordEntry*> entries, Order order) {
        std::stable_sort(entries.begin(), entries.end(), order);
        for (size_t i = 0; i < entries.size() && i < kNearestShown; ++i) {
            text += "    " + FormatEntry(*entries[i]);
        }
        return text;
    }

    void Problem(const Expectation& expectation, const std::string& problem) {
        problems_.push_back(scenario_.path + ":" + std::to_string(expectation.line) + ": expected\n    " +
                            expectation.source + "\n  " + problem);
    }

    const Scenario& scenario_;
    const std::vector<RecordEntry>& record_;
    size_t after_last_seen_ = 0;
    std::vector<int64_t> mark_us_;  // one for each mark
    std::vector<std::string> problems_;
};

}  // namespace

bool MatchesPattern(const std::string& pattern, const std::string& text) {
    const size_t any = pattern.find(kAny);
    if (any == std::string::npos) return pattern == text;
    const std::string head = pattern.substr(0, any);
    if (text.compare(0, head.size(), head) != 0) return false;
    const std::string tail = pattern.substr(any + kAnyLength);
    for (size_t i = head.size(); i <= text.size(); ++i) {
        if (MatchesPattern(tail, text.substr(i))) return true;
    }
    return false;
}

bool MatchesEntry(const std::string& kind, const std::string& place, const std::string& text,
                  const RecordEntry& entry) {
    if (kind != entry.kind) return false;
    if (!IsLog(kind)) return MatchesPattern(text, entry.text);
    const LogText log = SplitLog(entry.text);
    return PlaceMatches(place, log) && MatchesPattern(text, log.message);
}

std::vector<std::string> CheckExpectations(const Scenario& scenario, const std::vector<RecordEntry>& record) {
    return Checker(scenario, record).Check();
}

}  // namespace virtual_time
