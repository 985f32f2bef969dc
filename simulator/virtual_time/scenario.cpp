#include "simulator/virtual_time/scenario.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace virtual_time {

namespace {

using simulator_text::FromHex;
using simulator_text::TakeWord;
using simulator_text::Trim;

// What there is where the scenario says nothing else. The board is one that the daemon doesn't know.
constexpr char kDefaultSettings[] = "ENABLE=true\n";
constexpr char kDefaultCpuinfo[] = "processor\t: 0\nmodel name\t: ARMv7 Processor rev 5 (v7l)\n";
constexpr char kDefaultVersion[] = "Linux version 4.14.98 (build@host)\n";
constexpr char kCpuinfoFile[] = "/proc/cpuinfo";
constexpr char kVersionFile[] = "/proc/version";
constexpr char kBlanks[] = " \t";

// What a slip of the pen can't go beyond: three hundred years, a day with an event each second, and bytes of
// text in a whole scenario.
constexpr int64_t kLongest_seconds = 10'000'000'000;
constexpr size_t kMostEvents = 100'000;
constexpr int64_t kMostTraffic = 1'000'000;    // bytes a second
constexpr size_t kText_bytes = 16 << 20;       // with "<300*x>"
constexpr size_t kEventText_bytes = 64 << 20;  // with "every"

bool IsQuoted(const std::string& text) {
    return text.size() >= 2 && text.front() == '"' && text.back() == '"';
}

std::string InsideQuotes(const std::string& text) {
    return text.substr(1, text.size() - 2);
}

// A word, or a text in quotes that may hold blanks; its escapes are resolved.
std::string TakeText(std::string* rest) {
    if (rest->empty() || (*rest)[0] != '"') return TakeWord(rest);
    size_t end = 1;
    while (end < rest->size() && (*rest)[end] != '"') end += (*rest)[end] == '\\' ? 2 : 1;
    const std::string text = rest->substr(1, std::min(end, rest->size()) - 1);
    *rest = end + 1 < rest->size() ? std::string(Trim(rest->substr(end + 1))) : "";
    return Unescape(text);
}

// "<300*x>" is three hundred times x. False when the result would be longer than `limit`.
bool Repeat(const std::string& text, size_t limit, std::string* result) {
    result->clear();
    size_t position = 0;
    while (true) {
        const size_t open = text.find('<', position);
        if (open == std::string::npos) {
            *result += text.substr(position);
            return true;
        }
        char* star = nullptr;
        const long times = strtol(text.c_str() + open + 1, &star, 10);
        const size_t close = text.find('>', open);
        const bool is_repeat =
            star != text.c_str() + open + 1 && *star == '*' && close != std::string::npos && times >= 0;
        if (!is_repeat) {
            *result += text.substr(position, open + 1 - position);
            position = open + 1;
            continue;
        }
        *result += text.substr(position, open - position);
        const size_t repeated = static_cast<size_t>(star + 1 - text.c_str());
        const size_t length = close - repeated;
        const size_t room = limit - std::min(result->size(), limit);
        if (length > 0 && static_cast<size_t>(times) > room / length) return false;
        for (long i = 0; length > 0 && i < times; ++i) *result += text.substr(repeated, length);
        position = close + 1;
    }
}

bool ParseSeconds(const std::string& text, int64_t* microseconds) {
    char* end = nullptr;
    const double seconds = strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !isdigit(static_cast<unsigned char>(text[0]))) return false;
    if (!(seconds >= 0 && seconds <= kLongest_seconds)) return false;
    *microseconds = llround(seconds * 1000) * 1000;
    return true;
}

// Seconds with their sign.
bool ParseStep(const std::string& text, int64_t* microseconds) {
    if (text.empty() || (text[0] != '+' && text[0] != '-') || !ParseSeconds(text.substr(1), microseconds)) {
        return false;
    }
    if (text[0] == '-') *microseconds = -*microseconds;
    return true;
}

bool ParseWholeNumber(const std::string& text, int64_t most, int64_t* number) {
    char* end = nullptr;
    *number = strtoll(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && *number >= 0 && *number <= most;
}

// "A..B", "A..", "..B", or "T" for both ends.
bool ParseRange(const std::string& text, int64_t* from_us, int64_t* to_us) {
    const size_t dots = text.find("..");
    if (dots == std::string::npos) {
        if (!ParseSeconds(text, from_us)) return false;
        *to_us = *from_us;
        return true;
    }
    const std::string from = text.substr(0, dots), to = text.substr(dots + 2);
    if (from.empty() && to.empty()) return false;
    return (from.empty() || ParseSeconds(from, from_us)) && (to.empty() || ParseSeconds(to, to_us));
}

// 0 for a word that is none of them.
int SignalNumber(const std::string& name) {
    if (name == "term") return SIGTERM;
    if (name == "kill") return SIGKILL;
    if (name == "int") return SIGINT;
    return name == "hup" ? SIGHUP : 0;
}

// One line with the indented lines that belong to it.
struct Statement {
    int line;
    std::string text;
    std::vector<std::string> block;
};

class Parser {
  public:
    Parser(Scenario* scenario, const std::string& text) : scenario_(scenario), text_(text) {}

    bool Parse(std::string* problem) {
        if (!Split() || !ParseAll()) {
            *problem = scenario_->path + ":" + std::to_string(line_) + ": " + problem_;
            return false;
        }
        return true;
    }

  private:
    bool Fail(const std::string& problem) {
        problem_ = problem;
        return false;
    }

    bool Split() {
        std::istringstream lines(text_);
        int number = 0;
        for (std::string line; std::getline(lines, line);) {
            ++number;
            line_ = number;
            if (Trim(line).empty() || line[0] == '#') continue;
            if (line[0] != ' ' && line[0] != '\t') {
                statements_.push_back({number, std::string(Trim(line)), {}});
            } else if (statements_.empty()) {
                return Fail("an indented line with nothing above it");
            } else {
                statements_.back().block.push_back(line);
            }
        }
        return true;
    }

    bool ParseAll() {
        for (const Statement& statement : statements_) {
            line_ = statement.line;
            if (!ParseStatement(statement) || !problem_.empty()) return false;
        }
        if (scenario_->until_us == 0) return Fail("\"until SECONDS\" is missing");
        if (!has_modem_) return Fail("\"modem FAMILY [MODEL]\" or \"modem none\" is missing");
        if (scenario_->expectations.empty()) return Fail("nothing is expected");
        if (!has_settings_) scenario_->files.push_back({kSettingsFile, kDefaultSettings});
        AddDefaultFile(kCpuinfoFile, kDefaultCpuinfo);
        AddDefaultFile(kVersionFile, kDefaultVersion);
        AddSnapshots();
        return true;
    }

    bool ParseStatement(const Statement& statement) {
        std::string rest = statement.text;
        const std::string verb = TakeWord(&rest);
        if (verb == "modem") return ParseModem(rest);
        if (verb == "knob") return ParseKnob(rest);
        if (verb == "port") return ParsePort(rest);
        if (verb == "port-link") return ParsePortLink(rest);
        if (verb == "options") return ParseOptions(rest);
        if (verb == "settings") return ParseSettings(statement, rest);
        if (verb == "cpuinfo") return AddFile(kCpuinfoFile, rest + "\n");
        if (verb == "version") return AddFile(kVersionFile, rest + "\n");
        if (verb == "file") return AddFile(TakeText(&rest), BlockText(statement));
        if (verb == "folder") return ParseFolder(rest);
        if (verb == "shell") return ParseShell(rest, &scenario_->shell.emplace_back());
        if (verb == "bus") return ParseBus(rest);
        if (verb == "guard") return ParseGuard(statement, rest);
        if (verb == "traffic") return ParseTraffic(rest);
        if (verb == "supervise") return ParseSupervise(rest);
        if (verb == "mark") return ParseMark(statement, rest);
        if (verb == "at") return ParseAt(statement, rest);
        if (verb == "every") return ParseEvery(statement, rest);
        if (verb == "until") return ParseUntil(rest);
        if (verb == "see") return ParseExpectation(statement, Expectation::Mode::kNext, rest);
        if (verb == "also") return ParseExpectation(statement, Expectation::Mode::kAnywhere, rest);
        if (verb == "never") return ParseExpectation(statement, Expectation::Mode::kNowhere, rest);
        if (verb == "count") return ParseExpectation(statement, Expectation::Mode::kSoOften, rest);
        return Fail("unknown word \"" + verb + "\"");
    }

    // A text that is too long is refused when its statement has been read.
    std::string Repeated(const std::string& text) {
        std::string result;
        if (!Repeat(text, kText_bytes - text_bytes_, &result)) Fail("the texts are too long");
        text_bytes_ = std::min(text_bytes_ + result.size(), kText_bytes);
        return result;
    }

    // Given

    bool ParseModem(std::string rest) {
        has_modem_ = true;
        const std::string family = TakeWord(&rest);
        if (family.empty()) return Fail("a family of modems is wanted, or none");
        if (family != "none") scenario_->modem_family = family;
        scenario_->modem_model = rest;
        return true;
    }

    bool ParseKnob(const std::string& rest) {
        scenario_->knobs.push_back(rest);
        return !rest.empty() || Fail("a knob of the modem is wanted");
    }

    bool ParsePort(const std::string& rest) {
        scenario_->port = rest;
        return !rest.empty() || Fail("a path is wanted");
    }

    bool ParsePortLink(const std::string& rest) {
        scenario_->port_link = rest;
        return !rest.empty() || Fail("a path is wanted");
    }

    bool ParseOptions(std::string rest) {
        while (!rest.empty()) scenario_->options.push_back(Repeated(TakeText(&rest)));
        return true;
    }

    bool ParseSettings(const Statement& statement, const std::string& rest) {
        has_settings_ = true;
        if (rest == "none") return true;
        if (rest == "empty") return AddFile(kSettingsFile, "");
        if (!rest.empty()) return Fail("none, empty or an indented block is wanted");
        if (statement.block.empty()) return Fail("the settings are missing: indent them under this line");
        return AddFile(kSettingsFile, BlockText(statement));
    }

    bool ParseGuard(const Statement& statement, const std::string& rest) {
        if (!rest.empty() || statement.block.empty()) {
            return Fail("the guard's settings are wanted, indented");
        }
        scenario_->guard_settings = BlockText(statement);
        return true;
    }

    bool ParseTraffic(const std::string& rest) {
        return ParseWholeNumber(rest, kMostTraffic, &scenario_->traffic_bytes_per_second) ||
               Fail("bytes a second are wanted");
    }

    bool AddFile(const std::string& path, const std::string& text) {
        if (path.empty() || path[0] != '/') return Fail("a path is wanted");
        scenario_->files.push_back({path, text});
        return true;
    }

    void AddDefaultFile(const std::string& path, const std::string& text) {
        const auto has_path = [&path](const ScenarioFile& file) { return file.path == path; };
        if (std::none_of(scenario_->files.begin(), scenario_->files.end(), has_path)) {
            scenario_->files.push_back({path, text});
        }
    }

    bool ParseFolder(const std::string& path) {
        scenario_->folders.push_back(path);
        return !path.empty() || Fail("a path is wanted");
    }

    bool ParseBus(const std::string& rest) {
        scenario_->bus_fails = rest == "fails";
        return rest == "fails" || Fail("only \"bus fails\" is known");
    }

    bool ParseSupervise(const std::string& rest) {
        return (ParseSeconds(rest, &scenario_->restart_after_us) && scenario_->restart_after_us > 0) ||
               Fail("seconds until the next start are wanted");
    }

    bool ParseShell(std::string rest, ShellRule* rule) {
        rule->part = TakeText(&rest);
        if (rule->part.empty() || rest.empty()) {
            return Fail("a part of a command and what becomes of it are wanted");
        }
        while (!rest.empty()) {
            const std::string word = TakeWord(&rest);
            if (word == "fails") {
                rule->fails = true;
            } else if (word == "prints") {
                rule->prints = Repeated(TakeText(&rest));
            } else if (word == "takes") {
                if (!ParseWholeNumber(TakeWord(&rest), kLongest_seconds, &rule->takes_seconds)) {
                    return Fail("whole seconds are wanted");
                }
            } else if (word == "slowly") {
                if (!ParseWholeNumber(TakeWord(&rest), kLongest_seconds, &rule->seconds_before_line)) {
                    return Fail("whole seconds for each line are wanted");
                }
            } else if (word == "pings") {
                rule->pings = true;
            } else if (word == "turns") {
                rule->knobs.push_back(rest);
                rest.clear();
            } else {
                return Fail("fails, prints, takes, slowly, pings or turns is wanted, not \"" + word + "\"");
            }
        }
        return true;
    }

    bool ParseUntil(const std::string& rest) {
        return (ParseSeconds(rest, &scenario_->until_us) && scenario_->until_us > 0) ||
               Fail("seconds are wanted");
    }

    // The lines of a block without the indentation of its first.
    std::string BlockText(const Statement& statement) {
        std::string text;
        if (statement.block.empty()) return text;
        const size_t indentation = statement.block[0].find_first_not_of(kBlanks);
        for (const std::string& line : statement.block) {
            const size_t own = line.find_first_not_of(kBlanks);
            text += Repeated(line.substr(std::min(indentation, own))) + "\n";
        }
        return text;
    }

    // What happens when

    bool ParseMark(const Statement& statement, std::string rest) {
        Mark mark = {};
        mark.name = TakeWord(&rest);
        mark.line = statement.line;
        const bool is_name =
            !mark.name.empty() && std::all_of(mark.name.begin(), mark.name.end(),
                                              [](char c) { return (c >= 'a' && c <= 'z') || c == '_'; });
        if (!is_name) return Fail("a name of small letters is wanted for the mark");
        if (FindMark(mark.name) != kNoMark) return Fail("there is a mark \"" + mark.name + "\" already");
        if (!ParseEntry(rest, &mark.kind, &mark.place, &mark.text)) return false;
        scenario_->marks.push_back(mark);
        return true;
    }

    int FindMark(const std::string& name) const {
        for (size_t i = 0; i < scenario_->marks.size(); ++i) {
            if (scenario_->marks[i].name == name) return static_cast<int>(i);
        }
        return kNoMark;
    }

    // Takes "NAME+" off the front of a time, and says which mark that is.
    bool TakeMark(std::string* time, int* mark) {
        *mark = kNoMark;
        const size_t plus = time->find('+');
        if (plus == std::string::npos || plus == 0) return true;
        const std::string name = time->substr(0, plus);
        *mark = FindMark(name);
        *time = time->substr(plus + 1);
        return *mark != kNoMark || Fail("no mark \"" + name + "\" above this line");
    }

    bool ParseAt(const Statement& statement, std::string rest) {
        std::string time = TakeWord(&rest);
        int mark = kNoMark;
        int64_t at_us = 0;
        if (!TakeMark(&time, &mark)) return false;
        if (!ParseSeconds(time, &at_us)) return Fail("seconds are wanted, or MARK+SECONDS");
        return ParseEvent(statement, rest, mark, at_us);
    }

    bool ParseEvery(const Statement& statement, std::string rest) {
        int64_t step_us = 0, from_us = 0, to_us = 0;
        int mark = kNoMark, end_mark = kNoMark;
        bool is_whole = ParseSeconds(TakeWord(&rest), &step_us) && step_us > 0 && TakeWord(&rest) == "from";
        std::string from = TakeWord(&rest);
        is_whole = is_whole && TakeWord(&rest) == "to";
        std::string to = TakeWord(&rest);
        if (is_whole && (!TakeMark(&from, &mark) || !TakeMark(&to, &end_mark))) return false;
        is_whole = is_whole && mark == end_mark && ParseSeconds(from, &from_us) && ParseSeconds(to, &to_us);
        if (!is_whole) return Fail("\"every SECONDS from TIME to TIME ...\" is wanted");
        for (int64_t at_us = from_us; at_us <= to_us; at_us += step_us) {
            if (!ParseEvent(statement, rest, mark, at_us)) return false;
        }
        return true;
    }

    bool ParseEvent(const Statement& statement, std::string rest, int mark, int64_t at_us) {
        using Kind = ScenarioEvent::Kind;
        ScenarioEvent event = {};
        event.at_us = at_us;
        event.mark = mark;
        event.line = statement.line;
        const std::string whole = rest;
        const std::string word = TakeWord(&rest);
        if (word.empty()) return Fail("what happens is missing");
        if (word == "fifo" || word == "type") {
            event.kind = word == "fifo" ? Kind::kFifo : Kind::kType;
            const bool is_exact = IsQuoted(rest);
            event.text = is_exact ? Repeated(Unescape(InsideQuotes(rest))) : rest + "\n";
        } else if (word == "settings") {
            event.kind = Kind::kWrite;
            event.subject = kSettingsFile;
            event.text = BlockText(statement);
            if (event.text.empty() && rest != "empty") return Fail("the settings are missing");
        } else if (word == "write") {
            event.kind = Kind::kWrite;
            event.subject = TakeText(&rest);
            event.text = BlockText(statement);
        } else if (word == "remove" || word == "folder" || word == "pipe" || word == "show") {
            event.kind = word == "remove"   ? Kind::kRemove
                         : word == "folder" ? Kind::kFolder
                         : word == "pipe"   ? Kind::kPipe
                                            : Kind::kShow;
            event.subject = TakeText(&rest);
            if (event.subject.empty()) return Fail("a path is wanted");
        } else if (word == "shell") {
            event.kind = Kind::kShell;
            if (!ParseShell(rest, &event.shell)) return false;
        } else if (word == "call" || word == "signal") {
            event.kind = word == "call" ? Kind::kCall : Kind::kSignal;
            const std::optional<std::string> bytes = FromHex(rest);
            if (!bytes || bytes->empty()) return Fail("bytes in hexadecimal are wanted");
            event.text = *bytes;
        } else if (word == "bus") {
            event.kind = rest == "away" ? Kind::kBusAway : Kind::kBusBack;
            if (rest != "away" && rest != "back") return Fail("away or back is wanted");
        } else if (word == "kill") {
            event.kind = Kind::kKill;
            event.subject = rest;
            event.signal = SignalNumber(rest);
            if (event.signal == 0) return Fail("term, kill, int or hup is wanted");
        } else if (word == "full" || word == "readonly" || word == "writable") {
            using State = Storage::State;
            event.kind = Kind::kStorage;
            event.storage = word == "full"       ? State::kFull
                            : word == "readonly" ? State::kReadOnly
                                                 : State::kWritable;
            event.subject = TakeText(&rest);
            if (event.subject.empty() || event.subject[0] != '/') return Fail("a path is wanted");
            event.text = word + " " + event.subject;
        } else if (word == "clock") {
            event.kind = Kind::kClock;
            event.subject = rest;
            if (!ParseStep(rest, &event.by_us)) return Fail("+SECONDS or -SECONDS is wanted");
        } else if (word == "resources") {
            event.kind = Kind::kResources;
            if (!rest.empty()) return Fail("nothing is wanted after \"resources\"");
        } else {
            event.kind = Kind::kKnob;
            event.subject = whole;
            if (scenario_->modem_family.empty()) {
                return Fail("there is no modem with a knob \"" + word + "\"");
            }
        }
        scenario_->events.push_back(event);
        event_text_bytes_ += event.subject.size() + event.text.size();
        const bool fits = scenario_->events.size() <= kMostEvents && event_text_bytes_ <= kEventText_bytes;
        return fits || Fail("these are too many events");
    }

    // What is expected

    bool ParseExpectation(const Statement& statement, Expectation::Mode mode, std::string rest) {
        Expectation expectation = {};
        expectation.mode = mode;
        expectation.to_us = INT64_MAX;
        expectation.line = statement.line;
        expectation.source = statement.text;
        if (mode == Expectation::Mode::kSoOften) {
            int64_t count = 0;
            if (!ParseWholeNumber(TakeWord(&rest), INT_MAX, &count)) return Fail("a number is wanted");
            expectation.count = static_cast<int>(count);
        }
        std::string times = rest;
        std::string word = TakeWord(&times);
        if (!IsRecordKind(word)) {
            if (!ParseTimes(word, &expectation)) return false;
            rest = times;
        }
        if (!ParseEntry(rest, &expectation.kind, &expectation.place, &expectation.text)) return false;
        scenario_->expectations.push_back(expectation);
        return true;
    }

    // "T", "A..B", "A.." or "..B"; after a "+" they count from what was seen last, after "NAME+" from a mark.
    bool ParseTimes(std::string word, Expectation* expectation) {
        const std::string source = word;
        if (word[0] == '+') {
            expectation->base = TimeBase::kLastSeen;
            word.erase(0, 1);
        } else {
            if (!TakeMark(&word, &expectation->mark)) return false;
            if (expectation->mark != kNoMark) expectation->base = TimeBase::kMark;
        }
        return ParseRange(word, &expectation->from_us, &expectation->to_us) ||
               Fail(
                   "a time (T, A..B, A.. or ..B, or these after + or MARK+) or a kind of entry is wanted, "
                   "not \"" +
                   source + "\"");
    }

    // KIND TEXT, of the log KIND FUNCTION TEXT.
    bool ParseEntry(std::string rest, std::string* kind, std::string* place, std::string* text) {
        *kind = TakeWord(&rest);
        if (!IsRecordKind(*kind)) return Fail("no kind of entry: \"" + *kind + "\"");
        const bool is_log = *kind == "logs" || *kind == "debugs";
        if (is_log) *place = TakeWord(&rest);
        *text = IsQuoted(rest) ? Escape(Unescape(InsideQuotes(rest))) : rest;
        return !text->empty() || !is_log || Fail("the function and the text of the line are wanted");
    }

    // A file is looked at whenever something is expected of what it shows.
    void AddSnapshots() {
        for (const Expectation& expectation : scenario_->expectations) {
            const bool is_known = expectation.base != TimeBase::kLastSeen;
            if (expectation.kind != "shows" || !is_known || expectation.from_us != expectation.to_us) {
                continue;
            }
            std::string rest = expectation.text;
            ScenarioEvent event = {};
            event.at_us = expectation.from_us;
            event.mark = expectation.mark;
            event.kind = ScenarioEvent::Kind::kShow;
            event.subject = TakeWord(&rest);
            event.line = expectation.line;
            const auto is_same = [&event](const ScenarioEvent& other) {
                return other.kind == event.kind && other.at_us == event.at_us && other.mark == event.mark &&
                       other.subject == event.subject && other.is_snapshot;
            };
            event.is_snapshot = true;
            if (std::none_of(scenario_->events.begin(), scenario_->events.end(), is_same)) {
                scenario_->events.push_back(event);
            }
        }
    }

    Scenario* scenario_;
    std::string text_;
    std::vector<Statement> statements_;
    int line_ = 0;
    std::string problem_;
    size_t text_bytes_ = 0;
    size_t event_text_bytes_ = 0;
    bool has_modem_ = false;
    bool has_settings_ = false;
};

}  // namespace

bool Scenario::ExpectsAnEnd() const {
    return std::any_of(expectations.begin(), expectations.end(), [](const Expectation& expectation) {
        return expectation.kind == "ends" && expectation.mode != Expectation::Mode::kNowhere;
    });
}

bool ParseScenario(const std::string& path, const std::string& text, Scenario* scenario,
                   std::string* problem) {
    *scenario = {};
    scenario->path = path;
    return Parser(scenario, text).Parse(problem);
}

bool ReadScenario(const std::string& path, Scenario* scenario, std::string* problem) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        *problem = path + ": can't be read";
        return false;
    }
    std::ostringstream text;
    text << file.rdbuf();
    return ParseScenario(path, text.str(), scenario, problem);
}

}  // namespace virtual_time
