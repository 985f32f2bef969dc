#include "tools/log/stream.h"

#include <cstring>

namespace ravelin_log {
namespace {

constexpr size_t kLongestMessage_bytes = 1023;  // the daemon cuts there, and no line end follows
// A local log whose clock goes back by more shows the next day; by less, a clock that was set, or the end of
// summer.
constexpr int64_t kLargestStepBack_ms = kHour_ms + 5 * kMinute_ms;

constexpr std::string_view kDaemonNames[] = {"ravelin-mobile", "ravelin", "RAVELIN"};

bool BeginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// Messages that have no line end, so that the next line follows on the same.
bool IsOpenEnded(std::string_view message) {
    constexpr std::string_view kTexts[] = {"[Config]Failed to parse the JSON", "DoConnect unknown APN info:",
                                           "[OTA] TLVS size is: ", "[OTA] TLVS parameter error"};
    for (const std::string_view text : kTexts) {
        if (BeginsWith(message, text)) return true;
    }
    return false;
}

/// Whether a message shows what the modem or a script has written, which may look like anything.
bool ShowsForeignText(std::string_view function, std::string_view message) {
    return function == "AtRequest" || function == "AtRequest_xs" || function == "CheckDevType" ||
           BeginsWith(message, "Auto  hint:") || BeginsWith(message, "UNKOWN Hint:") ||
           BeginsWith(message, "[FIFO]fifo ") || BeginsWith(message, "udhcpc");
}

}  // namespace

int StartRank(std::string_view function, std::string_view message) {
    if (!function.empty() && function != "main") return -1;
    constexpr std::string_view kSteps[] = {"ravelin start!!!", "THIS APP BUILD INFO: commit ",
                                           "dev = ", "GetVendorType="};
    for (int rank = 0; rank < 4; ++rank) {
        if (BeginsWith(message, kSteps[rank])) return rank;
    }
    return -1;
}

void Stream::GoOnFrom(int64_t time_ms) {
    day_ms_ = time_ms / kDay_ms * kDay_ms;
    last_day_ms_ = time_ms - day_ms_;
    has_last_ = true;
}

bool Stream::Advance() {
    has_line_ = NextText();
    is_at_end_ = !has_line_;
    return has_line_;
}

bool Stream::NextText() {
    if (!knows_form_) {
        std::string_view first;
        if (!input_->NextLine(&first)) return false;
        form_ = JournalFormOf(first);
        knows_form_ = true;
        input_->Unread();
    }
    return form_ == JournalForm::kNone ? NextOfPlainLog() : NextOfJournal();
}

bool Stream::NextOfPlainLog() {
    line_ = Line();
    if (!pending_.empty()) {
        Split(pending_, pending_is_torn_);
        return true;
    }
    std::string_view text;
    if (!input_->NextLine(&text)) return false;
    number_ = input_->line_number();
    Split(text, input_->is_torn());
    return true;
}

/// Takes the first of what stands on one line: the daemon writes some messages without a line end, and a cut
/// one has none.
void Stream::Split(std::string_view text, bool is_torn) {
    pending_ = {};
    const LineParts parts = TakeApart(text);
    const bool has_place = !parts.place.file.empty();
    const size_t begin = has_place ? static_cast<size_t>(parts.message.data() - text.data()) : 0;
    const size_t room = kLongestMessage_bytes > message_size_ ? kLongestMessage_bytes - message_size_ : 0;
    size_t cut = std::string_view::npos;
    if (has_place && !ShowsForeignText(parts.place.function, parts.message)) {
        cut = FindLocalPrefix(text, begin);
        if (cut != std::string_view::npos && !IsOpenEnded(parts.message) && cut != kLongestMessage_bytes) {
            // Torn by the end of the process or a full disk: only a new start is believed after it.
            LineParts next;
            TakeLocalPrefix(text.substr(cut), &next);
            if (StartRank(next.place.function, next.message) < 0) cut = std::string_view::npos;
        }
    } else {
        // The modem's words are no messages, whatever they say, but where the daemon has cut them.
        const size_t at = has_place ? kLongestMessage_bytes : room;
        LineParts next;
        if (at > begin && at < text.size() && TakeLocalPrefix(text.substr(at), &next)) cut = at;
    }
    if (cut != std::string_view::npos) {
        pending_ = text.substr(cut);
        pending_is_torn_ = is_torn;
        TakeText(text.substr(0, cut), true);
        return;
    }
    TakeText(text, is_torn);
}

void Stream::TakeText(std::string_view text, bool is_torn) {
    LineParts parts = TakeApart(text);
    const bool is_said = parts.has_header || !parts.place.file.empty();
    // A log has lines of one kind; what looks like one of the other kind are the modem's words.
    if (is_said && !knows_header_) {
        knows_header_ = true;
        has_header_ = parts.has_header;
    } else if (is_said && has_header_ != parts.has_header) {
        parts = LineParts();
        parts.message = text;
    }
    line_.input = index_;
    line_.number = number_;
    line_.raw = text;
    line_.program = parts.program;
    line_.process = parts.process;
    line_.place = parts.place;
    line_.message = parts.message;
    line_.has_cr = pending_.empty() && input_->has_cr();
    line_.is_torn = is_torn;
    const bool has_place = !parts.place.file.empty();
    message_size_ = (has_place ? 0 : message_size_) + text.size() + 1;
    if (parts.has_header && !IsDaemon(parts)) {
        line_.kind = Line::Kind::kOther;
    } else if (has_place) {
        line_.kind = Line::Kind::kSaid;
        saw_local_ |= parts.has_header;
    } else if (parts.has_header) {
        // Where standard output goes to the same log, a line without a place may be the modem's.
        line_.kind = saw_local_ ? Line::Kind::kText : Line::Kind::kSaid;
    }
    TakeTime(parts.stamp);
}

/// The daemon goes by its own name. Where nobody has spoken by that, it is who was the last to say its first
/// words, or the first to say a line of its local log. Others may quote it.
bool Stream::IsDaemon(const LineParts& parts) {
    for (const std::string_view name : kDaemonNames) {
        if (parts.program != name) continue;
        has_own_name_ = true;
        return true;
    }
    if (has_own_name_) return false;
    const int rank = StartRank({}, parts.message);
    const bool speaks_as_daemon = rank == 0 || rank == 1 || (daemon_.empty() && !parts.place.file.empty());
    if (speaks_as_daemon) daemon_ = parts.program;
    return !daemon_.empty() && parts.program == daemon_;
}

bool Stream::NextOfJournal() {
    line_ = Line();
    bool is_first = false;
    if (pending_.empty()) {
        do {
            if (!NextEntry(*input_, form_, &entry_)) return false;
        } while (!entry_.has_message);
        pending_ = entry_.message;
        is_first = true;
    }
    const size_t end = pending_.find('\n');
    std::string_view text = pending_.substr(0, end);
    pending_ = end != std::string_view::npos ? pending_.substr(end + 1) : std::string_view();
    line_.has_cr = !text.empty() && text.back() == '\r';
    if (line_.has_cr) text.remove_suffix(1);

    line_.input = index_;
    line_.number = entry_.number;
    line_.raw = text;
    line_.program = entry_.program;
    line_.process = entry_.process;
    line_.message = text;
    LineParts parts;
    const bool has_place = is_first && entry_.transport != "syslog" && TakeLocalPrefix(text, &parts);
    if (!has_place && is_first) parts.message = text;
    parts.program = entry_.program;
    if (!IsDaemon(parts)) {
        line_.kind = Line::Kind::kOther;
    } else if (has_place) {
        line_.kind = Line::Kind::kSaid;
        line_.place = parts.place;
        line_.message = parts.message;
        saw_local_ = true;
    } else if (is_first && entry_.transport != "stdout" && (entry_.transport == "syslog" || !saw_local_)) {
        line_.kind = Line::Kind::kSaid;
    }
    Stamp stamp;
    if (entry_.time_us >= 0) {
        const int64_t time_ms = entry_.time_us / 1000;
        stamp.has_time = stamp.has_day = stamp.has_zone = true;
        stamp.day_ms = time_ms % kDay_ms;
        DayOf(time_ms / kDay_ms, &stamp.year, &stamp.month, &stamp.day);
    }
    TakeTime(stamp);
    return true;
}

void Stream::TakeTime(const Stamp& stamp) {
    line_.has_time = stamp.has_time;
    if (stamp.has_time && stamp.has_day) {
        if (stamp.year == 0 && last_month_ == 12 && stamp.month <= 2) ++year_;
        if (stamp.year == 0 && last_month_ <= 2 && last_month_ > 0 && stamp.month == 12) --year_;
        last_month_ = stamp.month;
        time_ms_ =
            DaysTo(stamp.year != 0 ? stamp.year : year_, stamp.month, stamp.day) * kDay_ms + stamp.day_ms;
        if (stamp.has_zone && wants_zone_) {
            time_ms_ += (wanted_zone_minutes_ - stamp.zone_minutes) * kMinute_ms;
        }
        has_day_ = true;
        has_year_ |= stamp.year != 0;
        if (stamp.has_zone && !has_zone_) {
            has_zone_ = true;
            zone_minutes_ = stamp.zone_minutes;
        }
    } else if (stamp.has_time) {
        if (has_last_ && stamp.day_ms + kLargestStepBack_ms < last_day_ms_) day_ms_ += kDay_ms;
        // Just before midnight again, after a clock that was set back over it.
        if (has_last_ && stamp.day_ms - last_day_ms_ > kDay_ms - kLargestStepBack_ms && day_ms_ >= kDay_ms) {
            day_ms_ -= kDay_ms;
        }
        last_day_ms_ = stamp.day_ms;
        has_last_ = true;
        time_ms_ = day_ms_ + stamp.day_ms;
    }
    has_time_ |= stamp.has_time;
    line_.time_ms = time_ms_;
}

}  // namespace ravelin_log
