#include "tools/log/line.h"

#include <cstring>

namespace ravelin_log {
namespace {

constexpr int kDaysOf400Years = 146097;
constexpr int kDaysFromMarchTo1970 = 719468;  // days from 0000-03-01, in this calendar, to 1970-01-01
constexpr size_t kLongestPath = 200;
constexpr size_t kLongestWord = 100;
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsWordCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c) || c == '_';
}

/// A text that is eaten from its front.
class Cursor {
  public:
    explicit Cursor(std::string_view text) : text_(text) {}

    std::string_view rest() const { return text_; }
    bool at_end() const { return text_.empty(); }

    bool Take(char c) {
        if (text_.empty() || text_[0] != c) return false;
        text_.remove_prefix(1);
        return true;
    }

    void SkipBlanks() {
        while (Take(' ')) {
        }
    }

    /// A number of `least` to `most` digits.
    bool TakeNumber(size_t least, size_t most, int* number) {
        size_t count = 0;
        int value = 0;
        while (count < most && count < text_.size() && IsDigit(text_[count])) {
            value = value * 10 + (text_[count] - '0');
            ++count;
        }
        if (count < least) return false;
        text_.remove_prefix(count);
        *number = value;
        return true;
    }

    /// Up to the next blank, which is taken too; false when there is none.
    bool TakeWord(std::string_view* word) {
        const size_t end = text_.find(' ');
        if (end == std::string_view::npos || end == 0 || end > kLongestWord) return false;
        *word = text_.substr(0, end);
        text_.remove_prefix(end + 1);
        return true;
    }

  private:
    std::string_view text_;
};

/// "03:12:07", with "23:59:60" for a leap second.
bool TakeClock(Cursor& cursor, Stamp* stamp) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    if (!cursor.TakeNumber(2, 2, &hours) || !cursor.Take(':') || !cursor.TakeNumber(2, 2, &minutes) ||
        !cursor.Take(':') || !cursor.TakeNumber(2, 2, &seconds)) {
        return false;
    }
    if (hours > 23 || minutes > 59 || seconds > 60) return false;
    stamp->day_ms = hours * kHour_ms + minutes * kMinute_ms + seconds * kSecond_ms;
    stamp->has_time = true;
    return true;
}

/// ".123456" of a second, as a fraction; nothing is fine too.
void TakeFraction(Cursor& cursor, Stamp* stamp) {
    const std::string_view rest = cursor.rest();
    if (rest.size() < 2 || (rest[0] != '.' && rest[0] != ',') || !IsDigit(rest[1])) return;
    cursor.Take(rest[0]);
    int64_t unit_ms = kSecond_ms / 10;
    int digit = 0;
    while (cursor.TakeNumber(1, 1, &digit)) {
        stamp->day_ms += digit * unit_ms;
        unit_ms /= 10;
    }
}

/// "Z", "+01:00", "+0100" or "+01"; nothing is fine too.
void TakeZone(Cursor& cursor, Stamp* stamp) {
    const std::string_view rest = cursor.rest();
    if (rest.empty()) return;
    if (rest[0] == 'Z') {
        cursor.Take('Z');
        stamp->has_zone = true;
        return;
    }
    if (rest[0] != '+' && rest[0] != '-') return;
    Cursor probe(rest.substr(1));
    int hours = 0;
    int minutes = 0;
    if (!probe.TakeNumber(2, 2, &hours)) return;
    probe.Take(':');
    probe.TakeNumber(2, 2, &minutes);
    stamp->has_zone = true;
    stamp->zone_minutes = (hours * 60 + minutes) * (rest[0] == '-' ? -1 : 1);
    cursor = probe;
}

bool TakeMonth(Cursor& cursor, int* month) {
    for (int i = 0; i < 12; ++i) {
        if (cursor.rest().substr(0, 3) == kMonths[i]) {
            cursor = Cursor(cursor.rest().substr(3));
            *month = i + 1;
            return true;
        }
    }
    return false;
}

/// "Nov 22 03:12:07", "Nov  2 03:12:07.123456", and with the year after the day or after the time.
bool TakeMonthDate(Cursor& cursor, Stamp* stamp) {
    if (!TakeMonth(cursor, &stamp->month) || !cursor.Take(' ')) return false;
    cursor.SkipBlanks();
    if (!cursor.TakeNumber(1, 2, &stamp->day) || !cursor.Take(' ')) return false;
    Cursor year = cursor;
    int number = 0;
    if (year.TakeNumber(4, 4, &number) && year.Take(' ')) {
        stamp->year = number;
        cursor = year;
    }
    if (!TakeClock(cursor, stamp)) return false;
    TakeFraction(cursor, stamp);
    stamp->has_day = true;
    return true;
}

/// "2026-11-22T03:12:07.123+01:00", with a blank instead of the T, and with the zone after a blank or as a
/// name.
bool TakeIsoDate(Cursor& cursor, Stamp* stamp) {
    if (!cursor.TakeNumber(4, 4, &stamp->year) || !cursor.Take('-') ||
        !cursor.TakeNumber(2, 2, &stamp->month) || !cursor.Take('-') ||
        !cursor.TakeNumber(2, 2, &stamp->day)) {
        return false;
    }
    if (!cursor.Take('T') && !cursor.Take(' ')) return false;
    if (!TakeClock(cursor, stamp)) return false;
    TakeFraction(cursor, stamp);
    TakeZone(cursor, stamp);
    stamp->has_day = true;
    return true;
}

bool IsDate(const Stamp& stamp) {
    return stamp.month >= 1 && stamp.month <= 12 && stamp.day >= 1 && stamp.day <= 31;
}

bool TakeDate(Cursor& cursor, Stamp* stamp) {
    if (cursor.at_end()) return false;
    const Cursor start = cursor;
    if (IsDigit(cursor.rest()[0]) ? TakeIsoDate(cursor, stamp) : TakeMonthDate(cursor, stamp)) {
        return IsDate(*stamp);
    }
    *stamp = Stamp();
    cursor = start;
    // "Sun 2026-11-22 03:12:07 UTC": a week day in front, and the zone as a word.
    std::string_view week_day;
    std::string_view zone;
    if (IsDigit(cursor.rest()[0]) || !cursor.TakeWord(&week_day) || week_day.size() != 3 ||
        !TakeIsoDate(cursor, stamp) || !cursor.Take(' ') || !cursor.TakeWord(&zone)) {
        return false;
    }
    if (zone == "UTC" || zone == "GMT") stamp->has_zone = true;
    return IsDate(*stamp);
}

/// "ravelin-mobile[123]:" or "ravelin-mobile:", with the blank after it.
bool TakeProgram(std::string_view word, LineParts* parts) {
    if (word.size() < 2 || word.back() != ':') return false;
    word.remove_suffix(1);
    const size_t bracket = word.find('[');
    parts->program = word.substr(0, bracket);
    if (parts->program.empty() || parts->program.find(':') != std::string_view::npos) return false;
    if (bracket != std::string_view::npos) {
        Cursor number(word.substr(bracket + 1));
        if (!number.TakeNumber(1, 9, &parts->process) || number.rest() != "]") return false;
    }
    return true;
}

/// The words between date and program: a host, "user.info" of BusyBox, or none. The program is the one with
/// the colon.
bool TakeHeaderWords(Cursor& cursor, LineParts* parts) {
    constexpr int kMostWords = 3;
    for (int i = 0; i < kMostWords; ++i) {
        std::string_view word;
        cursor.SkipBlanks();
        if (!cursor.TakeWord(&word)) {
            // A message that is empty, whose blank somebody has cut.
            if (!TakeProgram(cursor.rest(), parts)) return false;
            cursor = Cursor(std::string_view());
            return true;
        }
        if (TakeProgram(word, parts)) return true;
    }
    return false;
}

/// What RFC 5424 has after its date: host, program, process, message id, data.
bool TakeStructuredWords(Cursor& cursor, LineParts* parts) {
    std::string_view host;
    std::string_view process;
    std::string_view id;
    if (!cursor.TakeWord(&host) || !cursor.TakeWord(&parts->program) || !cursor.TakeWord(&process) ||
        !cursor.TakeWord(&id)) {
        return false;
    }
    Cursor number(process);
    if (!number.TakeNumber(1, 9, &parts->process)) parts->process = 0;
    if (!cursor.Take('-')) {
        const size_t end = cursor.rest().find("] ");
        if (cursor.rest().substr(0, 1) != "[" || end == std::string_view::npos) return false;
        cursor = Cursor(cursor.rest().substr(end + 1));
    }
    cursor.Take(' ');
    if (cursor.rest().substr(0, 3) == "\xEF\xBB\xBF") cursor = Cursor(cursor.rest().substr(3));
    return true;
}

bool TakeHeader(std::string_view line, LineParts* parts, std::string_view* rest) {
    Cursor cursor(line);
    bool is_structured = false;
    if (cursor.Take('<')) {
        int priority = 0;
        if (!cursor.TakeNumber(1, 3, &priority) || !cursor.Take('>')) return false;
        Cursor version = cursor;
        if (version.Take('1') && version.Take(' ')) {
            cursor = version;
            is_structured = true;
        }
    }
    if (!TakeDate(cursor, &parts->stamp)) return false;
    cursor.Take(' ');
    if (!(is_structured ? TakeStructuredWords(cursor, parts) : TakeHeaderWords(cursor, parts))) return false;
    *rest = cursor.rest();
    return true;
}

}  // namespace

int64_t DaysTo(int year, int month, int day) {
    // Years begin in March here, so that the day that comes and goes is the last one of the year.
    const int64_t years = month <= 2 ? year - 1 : year;
    const int64_t era = (years >= 0 ? years : years - 399) / 400;
    const int64_t year_of_era = years - era * 400;
    const int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
    return era * kDaysOf400Years + day_of_era - kDaysFromMarchTo1970;
}

void DayOf(int64_t days, int* year, int* month, int* day) {
    const int64_t shifted = days + kDaysFromMarchTo1970;
    const int64_t era = (shifted >= 0 ? shifted : shifted - kDaysOf400Years + 1) / kDaysOf400Years;
    const int64_t day_of_era = shifted - era * kDaysOf400Years;
    const int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int64_t month_from_march = (5 * day_of_year + 2) / 153;
    *day = static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
    *month = static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
    *year = static_cast<int>(year_of_era + era * 400 + (*month <= 2 ? 1 : 0));
}

bool TakeLocalPrefix(std::string_view text, LineParts* parts) {
    Cursor cursor(text);
    Stamp stamp;
    int milliseconds = 0;
    // The milliseconds have no leading zeros: ".7" is 7 ms.
    if (!TakeClock(cursor, &stamp) || !cursor.Take('.') || !cursor.TakeNumber(1, 3, &milliseconds) ||
        !cursor.Take(' ')) {
        return false;
    }
    stamp.day_ms += milliseconds;
    const std::string_view rest = cursor.rest();
    size_t end = 0;
    while (end < rest.size() && end < kLongestPath &&
           (IsWordCharacter(rest[end]) || strchr("/.-+", rest[end]) != nullptr) && rest[end] != '\0') {
        ++end;
    }
    const std::string_view file = rest.substr(0, end);
    if (file.find('/') == std::string_view::npos) return false;
    const size_t dot = file.rfind('.');
    if (dot == std::string_view::npos || (file.substr(dot) != ".cpp" && file.substr(dot) != ".h")) {
        return false;
    }
    cursor = Cursor(rest.substr(end));
    if (!cursor.Take(':')) return false;
    size_t length = 0;
    while (length < cursor.rest().size() && length < kLongestWord && IsWordCharacter(cursor.rest()[length])) {
        ++length;
    }
    const std::string_view function = cursor.rest().substr(0, length);
    cursor = Cursor(cursor.rest().substr(length));
    int line = 0;
    if (function.empty() || !cursor.Take(':') || !cursor.TakeNumber(1, 6, &line) || !cursor.Take(':')) {
        return false;
    }
    if (!parts->stamp.has_time) parts->stamp = stamp;
    parts->place = {file, function, line};
    parts->message = cursor.rest();
    return true;
}

size_t FindLocalPrefix(std::string_view text, size_t from) {
    LineParts parts;
    for (size_t at = text.find(':', from); at != std::string_view::npos; at = text.find(':', at + 1)) {
        if (at >= from + 2 && TakeLocalPrefix(text.substr(at - 2), &parts)) return at - 2;
    }
    return std::string_view::npos;
}

LineParts TakeApart(std::string_view line) {
    LineParts parts;
    // A power cut leaves blocks of zeros in a file, and the next line stands after them.
    const size_t zeros = line.find_first_not_of('\0');
    if (zeros != std::string_view::npos) line.remove_prefix(zeros);
    parts.message = line;
    if (line.empty() || TakeLocalPrefix(line, &parts)) return parts;
    LineParts headed;
    std::string_view rest;
    if (!TakeHeader(line, &headed, &rest)) return parts;
    headed.has_header = true;
    headed.message = rest;
    TakeLocalPrefix(rest, &headed);
    return headed;
}

}  // namespace ravelin_log
