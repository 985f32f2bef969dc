#include "tools/log/reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <unordered_map>

#include "tools/log/input.h"
#include "tools/log/stream.h"

namespace ravelin_log {
namespace {

constexpr int kSurveyedLines = 20000;  // without a time among them, a file has none
constexpr int64_t kTwinApart_ms = 2 * kSecond_ms;
constexpr size_t kRecentLines = 256;
constexpr int64_t kYearsJump_ms = 180 * kDay_ms;  // forward: no silence, but a clock that was set
constexpr int64_t kZoneStep_ms = 15 * kMinute_ms;
constexpr size_t kAlignedLines = 200000;
constexpr size_t kTellingTimes = 1000;  // what is said more often tells no day
constexpr int64_t kChangedApart_ms = 3 * kMinute_ms;

/// "LOG.3" and "LOG.3.gz" are older than "LOG.2", and "LOG" is the newest.
int RotationOf(std::string name) {
    constexpr std::string_view kPacked = ".gz";
    if (name.size() > kPacked.size() && name.substr(name.size() - kPacked.size()) == kPacked) {
        name.resize(name.size() - kPacked.size());
    }
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot + 1 == name.size() || name.size() - dot > 6) return 0;
    if (name.find_first_not_of("0123456789", dot + 1) != std::string::npos) return 0;
    return atoi(name.c_str() + dot + 1);
}

int YearOf(int64_t time_ms) {
    int year = 0;
    int month = 0;
    int day = 0;
    DayOf(time_ms / kDay_ms, &year, &month, &day);
    return year;
}

/// The year in which a log without years began: the one with which its first line isn't later than its last
/// change.
int GuessYear(int64_t in_1970_ms, int64_t changed_seconds) {
    const int64_t latest_ms =
        (changed_seconds > 0 ? changed_seconds : static_cast<int64_t>(time(nullptr))) * kSecond_ms;
    const int year = YearOf(latest_ms);
    return DaysTo(year, 1, 1) * kDay_ms + in_1970_ms > latest_ms + 2 * kDay_ms ? year - 1 : year;
}

bool ParseDay(const std::string& text, int64_t* midnight_ms) {
    int year = 0;
    int month = 0;
    int day = 0;
    char behind = 0;
    if (sscanf(text.c_str(), "%4d-%2d-%2d%c", &year, &month, &day, &behind) != 3) return false;
    if (year < 1970 || month < 1 || month > 12 || day < 1 || day > 31) return false;
    *midnight_ms = DaysTo(year, month, day) * kDay_ms;
    return true;
}

size_t HashOf(std::string_view text) {
    return std::hash<std::string_view>()(text);
}

/// A log and what a look at its beginning tells.
struct Candidate {
    std::unique_ptr<Stream> stream;
    std::string name;
    bool is_file = false;  // what is no plain file can be read only once
    int64_t changed_seconds = 0;
    bool has_time = false;
    bool has_day = false;
    bool has_zone = false;
    int zone_minutes = 0;
    int year = 1970;  // for a log that tells none
    int64_t first_ms = 0;
    int rotation = 0;  // "log.2.gz": 2; the larger, the older
};

/// A second look at a file, from its beginning.
std::unique_ptr<Stream> Reopen(const Candidate& candidate) {
    std::string problem;
    std::unique_ptr<Input> input = Input::Open(candidate.name, &problem);
    if (input == nullptr) return nullptr;
    auto stream = std::make_unique<Stream>(std::move(input), 0);
    stream->SetYear(candidate.year);
    return stream;
}

void Survey(Candidate& candidate, int year_of_date) {
    if (!candidate.is_file) {
        candidate.year =
            year_of_date > 0 ? year_of_date : YearOf(static_cast<int64_t>(time(nullptr)) * kSecond_ms);
        return;
    }
    const std::unique_ptr<Stream> probe = Reopen(candidate);
    if (probe == nullptr) return;
    for (int i = 0; i < kSurveyedLines && !probe->has_time() && probe->Advance(); ++i) {
    }
    candidate.has_time = probe->has_time();
    candidate.has_day = probe->has_day();
    candidate.has_zone = probe->has_zone();
    candidate.zone_minutes = probe->zone_minutes();
    if (!probe->has_time()) return;
    candidate.first_ms = probe->line().time_ms;
    if (!probe->has_day() || probe->has_year()) return;
    candidate.year =
        year_of_date > 0 ? year_of_date : GuessYear(candidate.first_ms, candidate.changed_seconds);
    candidate.first_ms += DaysTo(candidate.year, 1, 1) * kDay_ms;
}

bool IsOlder(const Candidate& a, const Candidate& b) {
    if (a.is_file != b.is_file) return a.is_file;  // standard input goes on where the files end
    if (a.has_day && b.has_day) return a.first_ms < b.first_ms;
    return a.rotation > b.rotation;
}

/// When something was said, in all logs with dates.
using SaidTimes = std::unordered_map<size_t, std::vector<int64_t>>;

SaidTimes SaidWithDates(const std::vector<Candidate>& candidates) {
    SaidTimes said;
    for (const Candidate& candidate : candidates) {
        const std::unique_ptr<Stream> stream = candidate.has_day ? Reopen(candidate) : nullptr;
        for (size_t i = 0; stream != nullptr && i < kAlignedLines && stream->Advance(); ++i) {
            if (stream->line().kind != Line::Kind::kSaid) continue;
            std::vector<int64_t>& times = said[HashOf(stream->line().message)];
            if (times.size() < kTellingTimes) times.push_back(stream->line().time_ms);
        }
    }
    return said;
}

/// Gives a log without dates its day, and the zone of the dated ones, by what both have said.
bool Align(Candidate& candidate, const SaidTimes& said) {
    const std::unique_ptr<Stream> stream = Reopen(candidate);
    std::unordered_map<int64_t, int>
        votes;  // by the distance in quarters of an hour, the steps of time zones
    for (size_t i = 0; stream != nullptr && i < kAlignedLines && stream->Advance(); ++i) {
        if (stream->line().kind != Line::Kind::kSaid) continue;
        const auto found = said.find(HashOf(stream->line().message));
        if (found == said.end() || found->second.size() >= kTellingTimes) continue;
        for (const int64_t time_ms : found->second) {
            const int64_t shift_ms = time_ms - stream->line().time_ms;
            const int64_t steps = (shift_ms + kZoneStep_ms / 2) / kZoneStep_ms;
            if (std::abs(shift_ms - steps * kZoneStep_ms) <= kTwinApart_ms) ++votes[steps];
        }
    }
    const auto best = std::max_element(votes.begin(), votes.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    if (best == votes.end()) return false;
    candidate.stream->SetDay(best->first * kZoneStep_ms);
    candidate.first_ms += best->first * kZoneStep_ms;
    candidate.has_day = true;
    return true;
}

/// Midnight before the first line of the oldest of these logs, by when the newest was changed; 0 when that
/// wasn't at the time of its last line.
int64_t DayByChange(const std::vector<Candidate>& candidates) {
    int64_t last_ms = 0;
    bool is_first = true;
    for (const Candidate& candidate : candidates) {
        const std::unique_ptr<Stream> stream = Reopen(candidate);
        if (stream == nullptr) return 0;
        if (!is_first) stream->GoOnFrom(last_ms);
        is_first = false;
        while (stream->Advance()) last_ms = stream->line().time_ms;
    }
    const auto changed = static_cast<time_t>(candidates.back().changed_seconds);
    tm local = {};
    if (changed == 0 || localtime_r(&changed, &local) == nullptr) return 0;
    const int64_t changed_ms = (changed + local.tm_gmtoff) * kSecond_ms;
    if (std::abs(changed_ms % kDay_ms - last_ms % kDay_ms) > kChangedApart_ms) return 0;
    return (changed_ms / kDay_ms - last_ms / kDay_ms) * kDay_ms;
}

}  // namespace

Reader::Reader() = default;
Reader::~Reader() = default;

bool Reader::Open(const std::vector<std::string>& names, const ReaderOptions& options, std::string* problem) {
    const bool takes_day_of_file = options.date == "file";
    int64_t first_day_ms = -1;
    if (!options.date.empty() && !takes_day_of_file && !ParseDay(options.date, &first_day_ms)) {
        *problem = "\"" + options.date + "\" is no day like 2026-11-22";
        return false;
    }
    names_ = names;
    std::vector<Candidate> candidates;
    for (size_t i = 0; i < names.size(); ++i) {
        std::unique_ptr<Input> input = Input::Open(names[i], problem);
        if (input == nullptr) {
            *problem = names[i] + ": " + *problem;
            return false;
        }
        Candidate candidate;
        candidate.name = names[i];
        candidate.changed_seconds = input->changed_seconds();
        candidate.is_file = candidate.changed_seconds != 0;
        candidate.rotation = RotationOf(names[i]);
        candidate.stream = std::make_unique<Stream>(std::move(input), static_cast<int>(i));
        Survey(candidate, first_day_ms >= 0 ? YearOf(first_day_ms) : 0);
        candidate.stream->SetYear(candidate.year);
        if (candidate.has_zone && !has_zone_) {
            has_zone_ = true;
            zone_minutes_ = candidate.zone_minutes;
        }
        candidates.push_back(std::move(candidate));
    }

    const auto has_day = [](const Candidate& candidate) { return candidate.has_day; };
    const auto may_be_merged = [](const Candidate& candidate) {
        return candidate.has_day || !candidate.has_time;
    };
    is_dated_ = std::any_of(candidates.begin(), candidates.end(), has_day);
    if (is_dated_ && !std::all_of(candidates.begin(), candidates.end(), may_be_merged)) {
        const SaidTimes said = SaidWithDates(candidates);
        for (Candidate& candidate : candidates) {
            if (may_be_merged(candidate) || Align(candidate, said)) continue;
            complaints_.push_back(
                candidate.name +
                ": has no dates and nothing in common with the logs that have; its times aren't to be "
                "compared with theirs");
        }
    }
    std::stable_sort(candidates.begin(), candidates.end(), IsOlder);
    if (!is_dated_ && takes_day_of_file && !candidates.empty()) {
        first_day_ms = DayByChange(candidates);
        if (first_day_ms == 0) {
            first_day_ms = -1;
            complaints_.emplace_back(
                "the last line wasn't written when the file was changed last: no day is known");
        }
    }
    if (!is_dated_ && first_day_ms >= 0 && !candidates.empty()) {
        candidates.front().stream->SetDay(first_day_ms);
        is_dated_ = true;
    }
    is_merged_ = std::all_of(candidates.begin(), candidates.end(), has_day);
    for (Candidate& candidate : candidates) {
        if (has_zone_) candidate.stream->SetZone(zone_minutes_);
        first_times_ms_.push_back(candidate.first_ms);
        streams_.push_back(std::move(candidate.stream));
    }
    if (options.follows && !streams_.empty()) streams_.back()->input().set_follows(true);
    return true;
}

/// The stream whose next line is the earliest, when days are known; else the one at hand, up to its end.
Stream* Reader::Earliest() {
    Stream* earliest = nullptr;
    for (size_t i = next_; i < streams_.size(); ++i) {
        Stream& stream = *streams_[i];
        // A later log is opened only when its time has come, so that few of them are in the memory.
        if (earliest != nullptr && (!is_merged_ || first_times_ms_[i] > earliest->line().time_ms)) break;
        if (!stream.has_line()) {
            if (!is_merged_ && has_last_ && !stream.has_time()) stream.GoOnFrom(last_ms_);
            const bool may_grow = stream.input().follows();
            if ((stream.is_at_end() && !may_grow) || !stream.Advance()) {
                if (!may_grow && stream.input().has_failed()) {
                    is_whole_ = false;
                    complaints_.push_back(stream.input().name() + ": is damaged after line " +
                                          std::to_string(stream.input().line_number()));
                }
                if (i == next_ && !may_grow) {
                    stream.Close();
                    ++next_;
                }
                continue;
            }
        }
        // At the same time the one at hand goes on, so that what belongs to a line stays with it.
        if (earliest == nullptr || stream.line().time_ms < earliest->line().time_ms ||
            (&stream == current_ && stream.line().time_ms == earliest->line().time_ms)) {
            earliest = &stream;
        }
    }
    return earliest;
}

bool Reader::Next(Line* line) {
    while (true) {
        if (current_ != nullptr) current_->Drop();
        current_ = Earliest();
        if (current_ == nullptr) return false;
        *line = current_->line();
        if (!IsTwin(*line)) break;
    }
    is_dated_ |= current_->has_day();
    if (current_->has_zone() && !has_zone_) {
        has_zone_ = true;
        zone_minutes_ = current_->zone_minutes();
    }
    Time(line);
    MarkRun(line);
    return true;
}

bool Reader::IsTwin(const Line& line) {
    if (line.kind != Line::Kind::kSaid) return false;
    const bool is_forwarded = line.place.file.empty();
    (is_forwarded ? saw_forwarded_ : saw_local_) = true;
    if (streams_.size() == 1 && !(saw_forwarded_ && saw_local_)) {
        if (!is_forwarded && line.program.empty()) return false;  // a local log by itself: no twins
    }
    const size_t hash = HashOf(line.message);
    for (Recent& recent : recent_) {
        const bool is_other_way = recent.input != line.input || recent.is_forwarded != is_forwarded;
        if (recent.hash != hash || !is_other_way || recent.is_gone) continue;
        if (std::abs(line.time_ms - recent.time_ms) > kTwinApart_ms) continue;
        recent.is_gone = true;
        return true;
    }
    if (recent_.size() >= kRecentLines) recent_.pop_front();
    recent_.push_back({hash, line.time_ms, line.input, is_forwarded, false});
    return false;
}

void Reader::Time(Line* line) {
    if (line->has_time) {
        const int64_t step_ms = has_last_ ? line->time_ms - last_ms_ : 0;
        line->jumped = step_ms < 0 || step_ms > kYearsJump_ms;
        // Lines of two threads, and of two logs, may stand a little out of order.
        if (step_ms < 0 && step_ms > -kTwinApart_ms) line->jumped = false;
        if (step_ms > 0 && !line->jumped) elapsed_ms_ += step_ms;
        last_ms_ = line->time_ms;
        has_last_ = true;
    } else {
        line->time_ms = last_ms_;
    }
    line->elapsed_ms = elapsed_ms_;
}

void Reader::MarkRun(Line* line) {
    if (line->kind != Line::Kind::kSaid) return;
    const int rank = StartRank(line->place.function, line->message);
    const bool is_other_process = line->process != 0 && last_process_ != 0 && line->process != last_process_;
    if (line->process != 0) last_process_ = line->process;
    if (is_other_process) {
        line->begins_run = true;
        start_rank_ = std::max(rank, 0);
    } else if (rank >= 0) {
        // The steps of one start-up come in their order; a log may show the first ones or not, by its level.
        const bool is_same_start = rank > start_rank_ && (start_rank_ >= 0 || (said_anything_ && rank >= 2));
        line->begins_run = !is_same_start;
        start_rank_ = rank;
    }
    said_anything_ = true;
}

std::string Reader::TimeText(int64_t time_ms) const {
    char text[64];
    const int64_t days = time_ms >= 0 ? time_ms / kDay_ms : (time_ms - kDay_ms + 1) / kDay_ms;
    const int64_t in_day_ms = time_ms - days * kDay_ms;
    const auto hours = static_cast<int>(in_day_ms / kHour_ms);
    const auto minutes = static_cast<int>(in_day_ms / kMinute_ms % 60);
    const auto seconds = static_cast<int>(in_day_ms / kSecond_ms % 60);
    const auto milliseconds = static_cast<int>(in_day_ms % kSecond_ms);
    if (!is_dated_) {
        snprintf(text, sizeof text, "day %d, %02d:%02d:%02d.%03d", static_cast<int>(days) + 1, hours, minutes,
                 seconds, milliseconds);
        return text;
    }
    int year = 0;
    int month = 0;
    int day = 0;
    DayOf(days, &year, &month, &day);
    int used = snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", year, month, day, hours,
                        minutes, seconds, milliseconds);
    if (has_zone_ && zone_minutes_ == 0) {
        snprintf(text + used, sizeof text - static_cast<size_t>(used), "Z");
    } else if (has_zone_) {
        const int zone = std::abs(zone_minutes_);
        snprintf(text + used, sizeof text - static_cast<size_t>(used), "%c%02d:%02d",
                 zone_minutes_ < 0 ? '-' : '+', zone / 60, zone % 60);
    }
    return text;
}

std::string Reader::ShortTimeText(int64_t time_ms) const {
    std::string text = TimeText(time_ms);
    text.resize(text.rfind('.'));
    const size_t mark = text.find('T');
    if (is_dated_ && mark != std::string::npos) text[mark] = ' ';
    return text;
}

}  // namespace ravelin_log
