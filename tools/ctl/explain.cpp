// ravelinctl explain: what happened to the link, and why, from the log.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tools/ctl/command.h"
#include "tools/ctl/terminal.h"
#include "tools/log/history.h"
#include "tools/log/history_json.h"
#include "tools/log/reader.h"

namespace ctl {

namespace {

using namespace ravelin_log;

constexpr char kExplainName[] = "explain";
constexpr int kStatusNoLog = 1;
constexpr size_t kStoryIndent = 4;
constexpr int kPollPause_ms = 500;

struct ExplainOptions {
    std::vector<std::string> logs;
    std::string date;
    std::string at;
    bool is_json = false;
    bool follows = false;
};

/// "2 h 03 min", "1 min 54 s".
std::string LengthText(int64_t ms) {
    const int64_t seconds = (ms + kSecond_ms / 2) / kSecond_ms;
    char text[64];
    if (seconds >= 86400) {
        snprintf(text, sizeof text, "%lld d %02lld h", static_cast<long long>(seconds / 86400),
                 static_cast<long long>(seconds / 3600 % 24));
    } else if (seconds >= 3600) {
        snprintf(text, sizeof text, "%lld h %02lld min", static_cast<long long>(seconds / 3600),
                 static_cast<long long>(seconds / 60 % 60));
    } else if (seconds >= 60) {
        snprintf(text, sizeof text, "%lld min %02lld s", static_cast<long long>(seconds / 60),
                 static_cast<long long>(seconds % 60));
    } else {
        snprintf(text, sizeof text, "%lld s", static_cast<long long>(seconds));
    }
    return text;
}

class Teller {
  public:
    explicit Teller(const Reader& reader) : reader_(reader), terminal_(StandardOutput()) {}

    void Tell(const Outage& outage, const History& history) {
        std::string head = outage.has_begin ? Time(outage.begin) : "before the log begins";
        if (outage.has_end) {
            head += " to " + TimeAfter(outage.end, outage.begin);
            if (outage.has_begin) head += ", " + LengthText(outage.length_ms());
        } else {
            head += outage.is_open ? ", lasts" : ", no line shows when it ended";
        }
        std::string why = CauseText(outage.cause);
        if (outage.certainty == Certainty::kProbable) why += ", probably";
        Print(head + ": " + why, outage.is_open ? Colour::kBad : Colour::kStrong, 0);
        for (const Evidence& line : outage.evidence) Tell(line);
        if (!outage.would_tell.empty()) {
            Print("What would have told: " + outage.would_tell + ".", Colour::kNone, kStoryIndent);
        }
        for (const size_t index : outage.resets) Tell(history.resets[index]);
    }

    void Tell(const Reset& reset) {
        std::string head = Time(reset.at);
        head += reset.kind == ResetKind::kHard   ? " hardware reset: "
                : reset.kind == ResetKind::kSoft ? " soft reset: "
                                                 : " SIM switch: ";
        head += ReasonText(reset.reason);
        if (reset.certainty == Certainty::kProbable) head += ", probably";
        if (!reset.evidence.empty()) head += " (" + PlaceOf(reset.evidence.back()) + ")";
        Print(head, Colour::kWarning, kStoryIndent);
        if (!reset.achieved.empty()) {
            Print("What came of it: " + reset.achieved + ".", Colour::kNone, 2 * kStoryIndent);
        }
        Print("Next rung: " + reset.next + ".", Colour::kFaint, 2 * kStoryIndent);
    }

    void Tell(const Upgrade& upgrade) {
        std::string head =
            Time(upgrade.begin) + (upgrade.has_end ? " to " + TimeAfter(upgrade.end, upgrade.begin) : "");
        Print(head + ": upgrade of the modem's firmware, " + upgrade.result, Colour::kStrong, 0);
        for (const Evidence& line : upgrade.evidence) Tell(line);
    }

    void Tell(const Evidence& line) {
        Print(PlaceOf(line) + "  " + Shown(line.text), Colour::kFaint, kStoryIndent);
    }

    void Print(const std::string& text, Colour colour, size_t indent) {
        const auto width = static_cast<size_t>(terminal_.width);
        const size_t room = width == 0 ? 0 : width > indent + kStoryIndent ? width - indent : kStoryIndent;
        for (const std::string& line : Wrap(text, room)) {
            printf("%s%s\n", std::string(indent, ' ').c_str(), Paint(terminal_, colour, line).c_str());
        }
    }

    std::string Time(const Moment& moment) const { return reader_.ShortTimeText(moment.time_ms); }
    /// Without the day, where it is that of another moment which is told before it.
    std::string TimeAfter(const Moment& moment, const Moment& before) const {
        const std::string text = Time(moment);
        const size_t blank = text.rfind(' ');
        const bool is_same_day =
            blank != std::string::npos && Time(before).compare(0, blank + 1, text, 0, blank + 1) == 0;
        return is_same_day ? text.substr(blank + 1) : text;
    }
    std::string PlaceOf(const Evidence& line) const {
        return Shown(reader_.name(line.input)) + ":" + std::to_string(line.line);
    }

    void TellLedger(const History& history) {
        const Ledger& ledger = history.ledger;
        printf("\n");
        Print("Ledger", Colour::kStrong, 0);
        Print("from " + Time(ledger.from) + " to " + Time(ledger.to) + ", " + LengthText(ledger.length_ms()) +
                  (ledger.starts > 0 ? "; starts of the daemon: " + std::to_string(ledger.starts) : ""),
              Colour::kNone, kStoryIndent);
        Print("online, as far as the log shows it: " + LengthText(ledger.online_ms), Colour::kNone,
              kStoryIndent);
        Print("outages: " + std::to_string(history.outages.size()) + ", together " +
                  LengthText(ledger.outage_ms) + ", the longest " + LengthText(ledger.longest_outage_ms),
              Colour::kNone, kStoryIndent);
        for (const auto& [word, count] : ledger.outages) {
            Print(
                std::to_string(count) + " x " + word + ", " + LengthText(ledger.outage_ms_by_cause.at(word)),
                Colour::kNone, 2 * kStoryIndent);
        }
        const double hours = static_cast<double>(ledger.length_ms()) / static_cast<double>(kHour_ms);
        char rate[32] = "";
        if (hours > 0) {
            snprintf(rate, sizeof rate, ", %.2f an hour", static_cast<double>(history.resets.size()) / hours);
        }
        Print("resets: " + std::to_string(history.resets.size()) + rate, Colour::kNone, kStoryIndent);
        for (const auto& [word, count] : ledger.resets) {
            Print(std::to_string(count) + " x " + word, Colour::kNone, 2 * kStoryIndent);
        }
        if (history.advice.empty()) return;
        printf("\n");
        Print("Advice", Colour::kStrong, 0);
        for (const Advice& advice : history.advice) {
            Print(advice.text + " See " + advice.page + ".", Colour::kNone, kStoryIndent);
        }
    }

  private:
    const Reader& reader_;
    Terminal terminal_;
};

/// "03:12", "03:12:07", and the same after a day: "2026-11-22T03:12" or with a blank. Milliseconds of the
/// day, and the day as text; false for anything else.
bool ParseMoment(const std::string& text, std::string* day, int64_t* day_ms, int64_t* length_ms) {
    std::string clock = text;
    const size_t mark = text.find_first_of("T ");
    if (mark != std::string::npos) {
        *day = text.substr(0, mark);
        clock = text.substr(mark + 1);
        if (day->size() != 10) return false;
    }
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    char behind = 0;
    const int count = sscanf(clock.c_str(), "%2d:%2d:%2d%c", &hours, &minutes, &seconds, &behind);
    if (count != 3 && (count != 2 || clock.size() > 5)) return false;
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59 || seconds < 0 || seconds > 59) return false;
    *day_ms = hours * kHour_ms + minutes * kMinute_ms + seconds * kSecond_ms;
    *length_ms = count == 3 ? kSecond_ms : kMinute_ms;
    return true;
}

/// Whether what lasted from one time to the other touches such a moment, on that day or, without one, on any.
bool Touches(const Reader& reader, const std::string& day, int64_t day_ms, int64_t length_ms, int64_t from_ms,
             int64_t to_ms) {
    for (int64_t midnight_ms = from_ms / kDay_ms * kDay_ms; midnight_ms <= to_ms; midnight_ms += kDay_ms) {
        if (!day.empty() && reader.TimeText(midnight_ms).substr(0, day.size()) != day) continue;
        const int64_t at_ms = midnight_ms + day_ms;
        if (from_ms < at_ms + length_ms && to_ms >= at_ms) return true;
    }
    return false;
}

void TellMoment(const ExplainOptions& options, const Reader& reader, const History& history) {
    std::string day;
    int64_t day_ms = 0;
    int64_t length_ms = 0;
    ParseMoment(options.at, &day, &day_ms, &length_ms);
    const auto touches = [&](int64_t from_ms, int64_t to_ms) {
        return Touches(reader, day, day_ms, length_ms, from_ms, to_ms);
    };
    Teller teller(reader);
    int told = 0;
    for (const Outage& outage : history.outages) {
        const int64_t from_ms = outage.has_begin ? outage.begin.time_ms : history.ledger.from.time_ms;
        if (!touches(from_ms, outage.end.time_ms)) continue;
        teller.Tell(outage, history);
        ++told;
    }
    for (const Upgrade& upgrade : history.upgrades) {
        if (!touches(upgrade.begin.time_ms, upgrade.has_end ? upgrade.end.time_ms : upgrade.begin.time_ms)) {
            continue;
        }
        teller.Tell(upgrade);
        ++told;
    }
    if (told > 0) return;
    if (!touches(history.ledger.from.time_ms, history.ledger.to.time_ms)) {
        teller.Print("The log doesn't reach " + options.at + ": it goes from " +
                         teller.Time(history.ledger.from) + " to " + teller.Time(history.ledger.to) + ".",
                     Colour::kNone, 0);
        return;
    }
    teller.Print("No outage at " + options.at + ", as far as the log shows.", Colour::kGood, 0);
    const Outage* before = nullptr;
    for (const Outage& outage : history.outages) {
        if (!outage.has_end || !touches(outage.end.time_ms, history.ledger.to.time_ms)) continue;
        before = &outage;
    }
    if (before != nullptr) {
        teller.Print("The last one before it:", Colour::kNone, 0);
        teller.Tell(*before, history);
    }
}

void TellAll(const Reader& reader, const History& history) {
    Teller teller(reader);
    if (!history.ledger.has_lines) {
        teller.Print("No line of the daemon was found.", Colour::kNone, 0);
        return;
    }
    // Outages and upgrades in the order of time; resets stand with their outage, or by themselves.
    std::vector<bool> is_told(history.resets.size(), false);
    for (const Outage& outage : history.outages) {
        for (const size_t index : outage.resets) is_told[index] = true;
    }
    size_t reset = 0;
    size_t upgrade = 0;
    const auto tell_until = [&](int64_t elapsed_ms) {
        for (; upgrade < history.upgrades.size() && history.upgrades[upgrade].begin.elapsed_ms <= elapsed_ms;
             ++upgrade) {
            teller.Tell(history.upgrades[upgrade]);
        }
        for (; reset < history.resets.size() && history.resets[reset].at.elapsed_ms <= elapsed_ms; ++reset) {
            if (!is_told[reset]) teller.Tell(history.resets[reset]);
        }
    };
    for (const Outage& outage : history.outages) {
        tell_until(outage.begin.elapsed_ms);
        teller.Tell(outage, history);
    }
    tell_until(history.ledger.to.elapsed_ms);
    if (history.outages.empty()) teller.Print("No outage, as far as the log shows.", Colour::kGood, 0);
    teller.TellLedger(history);
}

/// Tells what is new each time the log has grown; until it is ended by a signal.
int Follow(Reader& reader, Historian& historian) {
    Teller teller(reader);
    size_t outages = 0;
    size_t resets = 0;
    size_t upgrades = 0;
    std::string state;
    bool was_open = false;
    while (true) {
        Line line;
        while (reader.Next(&line)) historian.Take(line);
        const History& history = historian.history();
        if (was_open && outages > 0 && !history.outages[outages - 1].is_open) {
            const Outage& ended = history.outages[outages - 1];
            teller.Print(ended.has_end ? teller.Time(ended.end) + ": online again after " +
                                             LengthText(ended.length_ms()) + "; " + CauseText(ended.cause)
                                       : std::string("online again; no line shows since when"),
                         Colour::kGood, 0);
        }
        for (; outages < history.outages.size(); ++outages) teller.Tell(history.outages[outages], history);
        was_open = outages > 0 && history.outages[outages - 1].is_open;
        for (; resets < history.resets.size(); ++resets) teller.Tell(history.resets[resets]);
        for (; upgrades < history.upgrades.size(); ++upgrades) teller.Tell(history.upgrades[upgrades]);
        if (state != historian.StateText()) {
            state = historian.StateText();
            teller.Print("now: " + state, Colour::kFaint, 0);
        }
        if (fflush(stdout) != 0) return 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(kPollPause_ms));
    }
}

int Explain(const ExplainOptions& options) {
    std::vector<std::string> logs = options.logs;
    if (logs.empty()) logs.emplace_back(isatty(STDIN_FILENO) == 1 ? kUsualLog : "-");
    ReaderOptions reader_options;
    reader_options.date = options.date;
    reader_options.follows = options.follows;
    Reader reader;
    std::string problem;
    if (!reader.Open(logs, reader_options, &problem)) {
        Complain(kExplainName, problem);
        return kStatusNoLog;
    }
    Historian historian;
    if (options.follows) return Follow(reader, historian);
    Line line;
    while (reader.Next(&line)) historian.Take(line);
    const History history = historian.Finish();
    for (const std::string& complaint : reader.complaints()) Complain(kExplainName, complaint);
    if (options.is_json) {
        const std::string text = HistoryAsJson(history, reader);
        fwrite(text.data(), 1, text.size(), stdout);
    } else if (!options.at.empty()) {
        TellMoment(options, reader, history);
    } else {
        TellAll(reader, history);
    }
    return reader.is_whole() ? kStatusDone : kStatusNoLog;
}

}  // namespace

Command ExplainCommand() {
    Command command;
    command.name = kExplainName;
    command.summary = "tells from the log what failed, what was done about it, and what to do";
    command.about =
        "Reads the daemon's log and tells its story: outages with begin, end, length and cause, each reset "
        "with what brought "
        "it and what it achieved, and the lines that prove it. Ends with a ledger and with advice.\n"
        "\n"
        "LOG is a file of the local log at any level, of syslog, or of the journal as journalctl prints it "
        "in its short "
        "forms, with -o export or with -o json; packed by gzip or not; - is standard input. Several come in "
        "any order, such "
        "as a log and what was rotated away. Without LOG it is standard input or, on a terminal, "
        "/var/log/ravelin-mobile.log.\n"
        "\n"
        "The local log has no dates. A syslog or journal of the same time beside it tells them, or --date "
        "does.\n"
        "\n"
        "What a log can't tell is said to be probable or unknown. docs/explaining.md says how the causes are "
        "known, which log "
        "to keep, and how --json looks.";
    command.exit_statuses = {{kStatusDone, "the log was read, whatever it says"},
                             {kStatusNoLog, "a log can't be read, or not to its end: what can is told"}};
    command.declare = [](OptionSet& takes) -> Run {
        const auto options = std::make_shared<ExplainOptions>();
        takes.Argument("LOG", &options->logs, "logs, in any order; - is standard input");
        takes.Flag("--json", &options->is_json, "for programs, see docs/explaining.md");
        takes
            .Value("--at", "TIME", &options->at,
                   "only what was at that moment: 03:12, 03:12:07, 2026-11-22T03:12")
            .Checked({[](const std::string& text) -> std::string {
                std::string day;
                int64_t day_ms = 0;
                int64_t length_ms = 0;
                return ParseMoment(text, &day, &day_ms, &length_ms)
                           ? ""
                           : "wants a time like 03:12, not \"" + Shown(text) + "\"";
            }})
            .Excludes("--json");
        takes.Value("--date", "DAY", &options->date,
                    "day of the first line of logs without dates, 2026-11-22; \"file\": by when the file "
                    "was changed last");
        takes.Flag("--follow", &options->follows, "tells what is new while the log grows, until it is ended")
            .Excludes("--json")
            .Excludes("--at");
        return [options] { return Explain(*options); };
    };
    return command;
}

}  // namespace ctl
