#include "simulator/soak/minimise.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "simulator/soak/story.h"
#include "simulator/text/text.h"

namespace soak {

namespace {

constexpr int kNoFault = -1;
/// What a story goes on after the violation.
constexpr int64_t kMargin_ms = 10 * kSecond_ms;

/// A line with the indented lines below it.
struct Statement {
    std::string line;
    std::vector<std::string> block;
    int fault = kNoFault;  // the statements of one fault have one number, its comment included
    bool stays = false;
};

using Statements = std::vector<Statement>;

std::string FirstWord(const std::string& line) {
    return line.substr(0, line.find(' '));
}

bool IsFaultComment(const std::string& line) {
    return line.compare(0, sizeof kFaultWord - 1, kFaultWord) == 0;
}

/// Other comments are left out; so are empty lines.
Statements Split(const std::string& text) {
    Statements statements;
    std::istringstream lines(text);
    int faults = 0;
    int fault = kNoFault;
    for (std::string line; std::getline(lines, line);) {
        if (simulator_text::Trim(line).empty()) continue;
        if (line[0] == ' ' || line[0] == '\t') {
            if (!statements.empty()) statements.back().block.push_back(line);
            continue;
        }
        if (line[0] == '#' && !IsFaultComment(line)) continue;
        const std::string word = FirstWord(line);
        if (IsFaultComment(line)) {
            fault = faults++;
        } else if (word != "at" && word != "every") {
            fault = kNoFault;
        }
        Statement statement = {line, {}, fault, false};
        statement.stays = word == "modem" || word == "until" || word == "never" || word == "see" ||
                          word == "port" || word == "port-link";
        statements.push_back(statement);
    }
    return statements;
}

std::string Join(const Statements& statements) {
    std::string text;
    int fault = kNoFault;
    for (const Statement& statement : statements) {
        if (statement.fault != fault) text += "\n";
        fault = statement.fault;
        text += statement.line + "\n";
        for (const std::string& line : statement.block) text += line + "\n";
    }
    return text;
}

// Times in a line: those after the words that are followed by one.

bool ReadMs(const std::string& word, int64_t* ms) {
    char* end = nullptr;
    const double seconds = strtod(word.c_str(), &end);
    if (word.empty() || *end != '\0' || seconds < 0) return false;
    *ms = static_cast<int64_t>(seconds * kSecond_ms + 0.5);
    return true;
}

bool IsTimeWord(const std::vector<std::string>& words, size_t i, bool is_comment) {
    if (i == 0) return false;
    const std::string& before = words[i - 1];
    if (is_comment) return before == "from" || before == "to";
    if (words[0] == "at" || words[0] == "until") return i == 1;
    return words[0] == "every" && (i == 3 || i == 5);
}

std::vector<std::string> WordsOf(const std::string& line, size_t limit) {
    std::vector<std::string> words;
    size_t at = 0;
    while (words.size() < limit) {
        const size_t end = line.find(' ', at);
        if (end == std::string::npos) break;
        words.push_back(line.substr(at, end - at));
        at = end + 1;
    }
    words.push_back(line.substr(at));
    return words;
}

constexpr size_t kTimeWords = 7;  // "# fault NAME from T to T", "every S from T to T WHAT"

/// The line with each of its times after `from_ms` moved `by_ms` to the front.
std::string Moved(const std::string& line, int64_t from_ms, int64_t by_ms) {
    std::vector<std::string> words = WordsOf(line, kTimeWords);
    std::string moved;
    for (size_t i = 0; i < words.size(); ++i) {
        int64_t ms = 0;
        if (IsTimeWord(words, i, IsFaultComment(line)) && ReadMs(words[i], &ms) && ms >= from_ms) {
            moved += (i > 0 ? " " : "") + Seconds(ms - by_ms);
        } else {
            moved += (i > 0 ? " " : "") + words[i];
        }
    }
    return moved;
}

int64_t TimeOf(const Statement& statement) {
    const std::vector<std::string> words = WordsOf(statement.line, kTimeWords);
    for (size_t i = 0; i < words.size(); ++i) {
        int64_t ms = 0;
        if (IsTimeWord(words, i, IsFaultComment(statement.line)) && ReadMs(words[i], &ms)) return ms;
    }
    return -1;
}

int64_t EndOf(const Statement& statement) {
    const std::vector<std::string> words = WordsOf(statement.line, kTimeWords);
    int64_t end = -1;
    for (size_t i = 0; i < words.size(); ++i) {
        int64_t ms = 0;
        if (IsTimeWord(words, i, IsFaultComment(statement.line)) && ReadMs(words[i], &ms)) {
            end = std::max(end, ms);
        }
    }
    return end;
}

class Minimiser {
  public:
    Minimiser(const std::string& text, const MinimiseOptions& options, const StoryTest& test)
        : options_(options), test_(test), statements_(Split(text)) {}

    std::string Run(const std::string& text) {
        const std::optional<int64_t> at_ms = test_(Join(statements_));
        if (!at_ms) return text;
        violated_ms_ = *at_ms;
        EndSooner();
        LeaveOutLater();
        LeaveOutFaults();
        LeaveOutStatements();
        LeaveOutSettings();
        CloseGaps();
        EndSooner();
        LeaveOutLater();
        return Join(statements_);
    }

  private:
    void Tell(const std::string& line) const {
        if (options_.tell) options_.tell(line);
    }

    bool Try(const Statements& statements) {
        const std::optional<int64_t> at_ms = test_(Join(statements));
        if (!at_ms) return false;
        violated_ms_ = *at_ms;
        statements_ = statements;
        return true;
    }

    void EndSooner() {
        Statements statements = statements_;
        for (Statement& statement : statements) {
            if (FirstWord(statement.line) != "until" || EndOf(statement) <= violated_ms_ + kMargin_ms) {
                continue;
            }
            statement.line = "until " + Seconds(violated_ms_ + kMargin_ms);
            if (Try(statements)) Tell("ends at " + Seconds(violated_ms_ + kMargin_ms) + " s");
            return;
        }
    }

    /// What happens after the violation doesn't matter, but the comment of a fault may end a stretch of
    /// health.
    void LeaveOutLater() {
        Statements statements;
        for (const Statement& statement : statements_) {
            const bool is_later = !statement.stays && TimeOf(statement) > violated_ms_ + kMargin_ms;
            if (!is_later) statements.push_back(statement);
        }
        if (statements.size() < statements_.size()) Try(statements);
    }

    std::vector<int> FaultNumbers() const {
        std::vector<int> numbers;
        for (const Statement& statement : statements_) {
            if (statement.fault != kNoFault && (numbers.empty() || numbers.back() != statement.fault)) {
                numbers.push_back(statement.fault);
            }
        }
        return numbers;
    }

    void LeaveOutFaults() {
        const std::vector<int> numbers = FaultNumbers();
        LeaveOut(numbers.size(), "faults", [&](const std::vector<bool>& keeps) {
            Statements statements;
            for (const Statement& statement : statements_of_round_) {
                const auto at = std::find(numbers.begin(), numbers.end(), statement.fault);
                if (at == numbers.end() || keeps[static_cast<size_t>(at - numbers.begin())]) {
                    statements.push_back(statement);
                }
            }
            return statements;
        });
    }

    void LeaveOutStatements() {
        std::vector<size_t> places;
        for (size_t i = 0; i < statements_.size(); ++i) {
            const Statement& statement = statements_[i];
            const bool is_of_fault = statement.fault != kNoFault;
            if (statement.stays ||
                (is_of_fault && (options_.keeps_faults_whole || IsFaultComment(statement.line)))) {
                continue;
            }
            places.push_back(i);
        }
        LeaveOut(places.size(), "statements", [&](const std::vector<bool>& keeps) {
            Statements statements;
            for (size_t i = 0; i < statements_of_round_.size(); ++i) {
                const auto at = std::find(places.begin(), places.end(), i);
                if (at == places.end() || keeps[static_cast<size_t>(at - places.begin())]) {
                    statements.push_back(statements_of_round_[i]);
                }
            }
            return statements;
        });
    }

    /// Lines of the settings and other blocks; one stays, since an empty block is something else.
    void LeaveOutSettings() {
        for (size_t i = 0; i < statements_.size(); ++i) {
            if (options_.keeps_faults_whole && statements_[i].fault != kNoFault) continue;
            for (size_t line = 0; line < statements_[i].block.size() && statements_[i].block.size() > 1;) {
                Statements statements = statements_;
                statements[i].block.erase(statements[i].block.begin() + static_cast<std::ptrdiff_t>(line));
                if (!Try(statements)) ++line;
            }
        }
    }

    /// Moves each fault, and all that comes later, to the front.
    void CloseGaps() {
        const auto close = [this](int64_t quiet_from_ms, int64_t begin_ms, int64_t quiet_ms) {
            const int64_t by_ms = begin_ms - quiet_from_ms - quiet_ms;
            if (by_ms < kSecond_ms) return false;
            Statements statements = statements_;
            for (Statement& statement : statements) {
                if (FirstWord(statement.line) == "every" && statement.fault == kNoFault) continue;
                statement.line = Moved(statement.line, begin_ms, by_ms);
            }
            return Try(statements);
        };
        int64_t quiet_from_ms = 0;
        const size_t count = statements_.size();
        for (size_t i = 0; i < count; ++i) {
            if (statements_[i].fault == kNoFault || !IsFaultComment(statements_[i].line)) continue;
            const int64_t begin_ms = TimeOf(statements_[i]);
            if (!close(quiet_from_ms, begin_ms, 2 * 60 * kSecond_ms)) {
                close(quiet_from_ms, begin_ms, options_.quiet_ms);
            }
            quiet_from_ms = std::max(quiet_from_ms, EndOf(statements_[i]));
        }
    }

    /// Delta debugging: parts of the units are left out, in smaller and smaller pieces. `without` makes the
    /// statements that remain of statements_of_round_.
    void LeaveOut(size_t count, const char* what,
                  const std::function<Statements(const std::vector<bool>&)>& without) {
        statements_of_round_ = statements_;
        std::vector<bool> keeps(count, true);
        size_t kept = count;
        for (size_t piece = (count + 1) / 2; piece >= 1; piece = piece == 1 ? 0 : (piece + 1) / 2) {
            for (size_t start = 0; start < count; start += piece) {
                std::vector<bool> fewer = keeps;
                const auto from = fewer.begin() + static_cast<std::ptrdiff_t>(start);
                std::fill(from, from + static_cast<std::ptrdiff_t>(std::min(piece, count - start)), false);
                if (fewer == keeps || !Try(without(fewer))) continue;
                keeps = fewer;
                kept = static_cast<size_t>(std::count(keeps.begin(), keeps.end(), true));
                Tell(std::to_string(kept) + " of " + std::to_string(count) + " " + what + " left");
            }
        }
    }

    const MinimiseOptions& options_;
    const StoryTest& test_;
    Statements statements_;
    Statements statements_of_round_;
    int64_t violated_ms_ = 0;
};

}  // namespace

std::string MinimiseStory(const std::string& text, const MinimiseOptions& options, const StoryTest& test) {
    return Minimiser(text, options, test).Run(text);
}

}  // namespace soak
