#include "tools/log/timeline.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace ravelin_log {
namespace {

constexpr char kUnknown[] = "unknown";
constexpr char kReady[] = "ready";
constexpr char kNotReady[] = "not-ready";
constexpr size_t kMostClockSteps = 500;
constexpr int64_t kClockStep_ms = 1500;  // less is rounding
constexpr int kDebugLevel = 7;
constexpr int kMostCsq = 31;

const char* WordOf(Historian::State state) {
    switch (state) {
        case Historian::State::kStarting:
            return "starting";
        case Historian::State::kOffline:
            return "offline";
        case Historian::State::kDialed:
            return "dialled";
        case Historian::State::kOnline:
            return "online";
        default:
            return kUnknown;
    }
}

int Within(int64_t count) {
    return static_cast<int>(std::clamp<int64_t>(count, 0, 1000000));
}

}  // namespace

void Series::Add(int value, const Evidence& line) {
    // A clock that is set never moves passed_ms back, but a line may come a little late.
    int64_t index = line.at.passed_ms / width_ms_;
    if (!bins_.empty()) index = std::max(index, bins_.back().index);
    if (bins_.empty() || bins_.back().index != index) {
        bins_.push_back({index, 1, value, value, line});
        while (bins_.size() > most_) Merge();
        return;
    }
    Bin& bin = bins_.back();
    ++bin.count;
    const bool is_worse = worst_ == Worst::kLowest ? value < bin.low : value > bin.high;
    if (is_worse) bin.worst = line;
    bin.low = std::min(bin.low, value);
    bin.high = std::max(bin.high, value);
}

void Series::Merge() {
    width_ms_ *= 2;
    size_t kept = 0;
    for (size_t i = 0; i < bins_.size(); ++i) {
        Bin bin = std::move(bins_[i]);
        bin.index /= 2;
        if (kept == 0 || bins_[kept - 1].index != bin.index) {
            bins_[kept++] = std::move(bin);
            continue;
        }
        Bin& into = bins_[kept - 1];
        into.count += bin.count;
        const bool is_worse = worst_ == Worst::kLowest ? bin.low < into.low : bin.high > into.high;
        if (is_worse) into.worst = std::move(bin.worst);
        into.low = std::min(into.low, bin.low);
        into.high = std::max(into.high, bin.high);
    }
    bins_.resize(kept);
}

void TimelineBuilder::SetLink(const char* word, const Moment& from) {
    // What turns out later takes the place of what was thought since.
    std::vector<Span>& link = timeline_.link;
    while (!link.empty() && link.back().from.passed_ms >= from.passed_ms) link.pop_back();
    if (!link.empty() && strcmp(link.back().word, word) == 0) return;
    if (link.size() >= Timeline::kMostSigns) {
        ++timeline_.left_out;
        return;
    }
    link.push_back({from, word, 0, now_});
}

void TimelineBuilder::TakeLink() {
    const std::vector<Moment>& online_at = historian_.online_at();
    if (online_at.size() > came_online_) {
        came_online_ = online_at.size();
        SetLink(WordOf(Historian::State::kOnline), online_at.back());
        if (!timeline_.sim.empty() && strcmp(timeline_.sim.back().word, kReady) != 0) SetSim(kReady);
    }
    const char* word = WordOf(historian_.state());
    if (timeline_.link.empty() || strcmp(timeline_.link.back().word, word) != 0) SetLink(word, now_.at);
}

void TimelineBuilder::SetSim(const char* word) {
    std::vector<Span>& spans = timeline_.sim;
    if (!spans.empty() && strcmp(spans.back().word, word) == 0 && spans.back().sim == sim_) return;
    if (spans.size() >= Timeline::kMostSigns) {
        ++timeline_.left_out;
        return;
    }
    spans.push_back({now_.at, word, sim_, now_});
}

void TimelineBuilder::AddSign(std::vector<Sign>& signs, const char* word, const char* text) {
    if (signs.size() >= Timeline::kMostSigns) {
        ++timeline_.left_out;
        return;
    }
    signs.push_back({word, text, now_});
}

void TimelineBuilder::TakeSim(const Said& said) {
    switch (said.event) {
        case Event::kImsi:
            if (said.text.empty()) break;
            if (!imsi_.empty() && said.text != imsi_) {
                AddSign(timeline_.sims, "another", "another subscriber number than before");
            }
            imsi_ = said.text;
            SetSim(kReady);
            break;
        case Event::kSimNotReady:
        case Event::kSimNotReadyOnline:
        case Event::kNoSim:
            SetSim(kNotReady);
            break;
        case Event::kFirstSim:
        case Event::kSecondSim:
            sim_ = said.event == Event::kFirstSim ? 1 : 2;
            AddSign(timeline_.sims, "switch", said.row->meaning);
            SetSim(kUnknown);
            break;
        default:
            break;
    }
}

void TimelineBuilder::TakeDaemon(const Line& line, const Said& said) {
    if (line.begins_run) {
        AddSign(timeline_.daemon, "start", "the daemon begins");
        sim_ = 0;
        is_off_ = false;
        SetSim(kUnknown);
    }
    switch (said.event) {
        case Event::kNoSettings:
            if (line.place.function != "main") break;
            AddSign(timeline_.daemon, "end", "no settings: the daemon ends");
            break;
        case Event::kUnknownModem:
        case Event::kRefusedModule:
        case Event::kPortLost:
            AddSign(timeline_.daemon, "end", said.row->meaning);
            break;
        case Event::kAsksSoftReset:
        case Event::kAsksHardReset:
            AddSign(timeline_.daemon, "request", said.row->meaning);
            break;
        case Event::kSwitchedOff:
        case Event::kIsOff:  // comes every 20 s
            if (!is_off_) AddSign(timeline_.daemon, "off", said.row->meaning);
            is_off_ = true;
            break;
        case Event::kDhcpClient:
            AddSign(timeline_.daemon, "dhcp", said.row->meaning);
            break;
        case Event::kDial:
            is_off_ = false;
            break;
        default:
            break;
    }
}

void TimelineBuilder::TakeRung(const Said& said) {
    switch (said.event) {
        case Event::kOfflineCheck:
            timeline_.link_checks.Add(Within(said.number[0]), now_);
            break;
        case Event::kServiceCheck:
        case Event::kServiceCheckTwoSims:
            timeline_.service_checks.Add(Within(said.number[0]), now_);
            break;
        case Event::kPathCheckFailed:
        case Event::kPathGivenUp:
            timeline_.path_checks.Add(Within(said.number[0]), now_);
            break;
        case Event::kDial:
            timeline_.dials.Add(Within(said.number[0]), now_);
            break;
        default:
            break;
    }
}

void TimelineBuilder::TakeReading(const Line& line) {
    const Reading reading = UnderstandReading(line);
    if (reading.measure == Measure::kNone) return;
    timeline_.level = std::max(timeline_.level, reading.level);
    switch (reading.measure) {
        case Measure::kRsrp:
            timeline_.rsrp_dbm.Add(reading.value, now_);
            break;
        case Measure::kSinr:
            timeline_.sinr_db.Add(reading.value, now_);
            break;
        case Measure::kCsq:
            timeline_.csq.Add(reading.value, now_);
            break;
        default:
            timeline_.temperature_celsius.Add(reading.value, now_);
            break;
    }
}

/// The modem's words have no prefix, so that an SMS may look like them: they are believed as the answer to
/// AT+CSQ alone, and nothing follows from them but a point of the curve.
void TimelineBuilder::TakeAnswer(const Line& line) {
    constexpr std::string_view kAnswer = "+CSQ: ";
    std::string_view text = line.raw;
    while (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    if (may_be_command_ && text == "AT+CSQ") {
        asked_csq_ = true;
        may_be_command_ = false;
        return;
    }
    if (!asked_csq_ || text.substr(0, kAnswer.size()) != kAnswer) return;
    asked_csq_ = false;
    text.remove_prefix(kAnswer.size());
    int csq = 0;
    size_t digits = 0;
    for (; digits < text.size() && digits < 3 && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
        csq = csq * 10 + (text[digits] - '0');
    }
    if (digits == 0 || csq > kMostCsq) return;
    Evidence evidence = now_;
    evidence.input = line.input;
    evidence.line = line.number;
    evidence.text.assign(line.raw);
    timeline_.csq.Add(csq, evidence);
    timeline_.level = kDebugLevel;
}

void TimelineBuilder::Take(const Line& line) {
    historian_.Take(line);
    if (line.kind == Line::Kind::kText) TakeAnswer(line);
    if (line.kind != Line::Kind::kSaid) return;
    may_be_command_ = line.place.function == "AtRequest" || line.place.function == "AtRequest_xs";
    asked_csq_ = false;
    now_.input = line.input;
    now_.line = line.number;
    now_.at = historian_.history().ledger.to;
    const int64_t ahead_ms = now_.at.time_ms - now_.at.passed_ms;
    std::vector<ClockStep>& clock = timeline_.clock;
    const bool is_step = clock.empty() || std::llabs(clock.back().ahead_ms - ahead_ms) > kClockStep_ms;
    if (is_step && clock.size() < kMostClockSteps) clock.push_back({now_.at.passed_ms, ahead_ms});
    const Said said = Understand(line);
    now_.text.assign(line.raw);
    if (said.event != Event::kNone || line.begins_run) {
        if (said.row != nullptr) timeline_.level = std::max(timeline_.level, said.row->level);
        TakeDaemon(line, said);
        TakeSim(said);
        TakeRung(said);
    }
    TakeReading(line);
    TakeLink();
}

Timeline TimelineBuilder::Finish() const {
    Timeline timeline = timeline_;
    timeline.history = historian_.Finish();
    return timeline;
}

}  // namespace ravelin_log
