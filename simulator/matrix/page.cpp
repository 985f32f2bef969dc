#include "simulator/matrix/page.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <sstream>
#include <string_view>
#include <utility>

#include "simulator/matrix/page_text.h"
#include "simulator/modem/modem_model.h"
#include "simulator/soak/time_units.h"
#include "tools/guard/ledger.h"

namespace matrix {

namespace {

using soak::kSecond_ms;

constexpr char kNever[] = "never";
constexpr char kNeverShort[] = "\u221e";
constexpr char kKept[] = "-";
constexpr char kMark[] = "\u25b2";

/// Columns of the table at a glance, for a terminal's width.
std::string ShortName(const std::string& family) {
    static const std::map<std::string, std::string> names = {
        {"chuangyi", "CY"},      {"cinterion", "CI"},    {"fibocom", "FI"}, {"fibocom_le", "FL"},
        {"huawei", "HW"},        {"longsung", "LS"},     {"lynq", "LY"},    {"nodecom", "NC"},
        {"quectel_asr", "QA"},   {"quectel_qcom", "QQ"}, {"simcom", "SC"},  {"zte", "ZT"},
        {"quectel_unisoc", "QU"}};
    const auto name = names.find(family);
    return name == names.end() ? family : name->second;
}

size_t Width(const std::string& text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

using Row = std::vector<std::string>;

enum class Figures { kNo, kFromSecond };

bool IsFigure(size_t column, Figures figures) {
    return column > 0 && figures == Figures::kFromSecond;
}

/// A table that can be read in the source too.
std::string Table(const std::vector<Row>& rows, Figures figures = Figures::kFromSecond) {
    std::vector<size_t> widths(rows[0].size(), 2);
    for (const Row& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
    }
    std::string text;
    for (size_t number = 0; number < rows.size(); ++number) {
        for (size_t i = 0; i < widths.size(); ++i) {
            const std::string& cell = rows[number][i];
            const std::string room(widths[i] - Width(cell), ' ');
            text += "| " + (IsFigure(i, figures) ? room + cell : cell + room) + " ";
        }
        text += "|\n";
        if (number > 0) continue;
        for (size_t i = 0; i < widths.size(); ++i) {
            const bool is_figure = IsFigure(i, figures);
            text += "|" + std::string(widths[i] + (is_figure ? 1 : 2), '-') + (is_figure ? ":" : "");
        }
        text += "|\n";
    }
    return text;
}

std::string Link(const Fault& fault) {
    return "[" + std::string(fault.name) + "](#" + fault.name + ")";
}

/// Lines of the width of the other pages.
std::string Wrapped(const std::string& text) {
    constexpr size_t kWidth = 125;
    std::string wrapped, line;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (!line.empty() && Width(line) + 1 + Width(word) > kWidth) {
            wrapped += line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return wrapped + line + "\n";
}

std::string Range(int least, int most) {
    return least == most ? std::to_string(most) : std::to_string(least) + "-" + std::to_string(most);
}

std::string StepRange(const CellResult& result, Step step) {
    const auto number = [step](const Outcome& outcome) { return outcome.steps[static_cast<size_t>(step)]; };
    int least = number(result.outcomes[0]), most = least;
    for (const Outcome& outcome : result.outcomes) {
        least = std::min(least, number(outcome));
        most = std::max(most, number(outcome));
    }
    return Range(least, most);
}

std::string Marked(int resets_per_hour) {
    return std::to_string(resets_per_hour) + (resets_per_hour > kMostResetsPerHour ? kMark : "");
}

using Outcomes = std::vector<Outcome>;

bool IsNever(const Outcomes& outcomes) {
    return std::any_of(outcomes.begin(), outcomes.end(),
                       [](const Outcome& each) { return !each.is_settled; });
}

bool IsKept(const Outcomes& outcomes) {
    return std::all_of(outcomes.begin(), outcomes.end(), [](const Outcome& each) { return each.is_kept; });
}

std::vector<int> SortedSeconds(const Outcomes& outcomes) {
    std::vector<int> seconds;
    for (const Outcome& outcome : outcomes) {
        seconds.push_back(static_cast<int>((outcome.recovery_ms + kSecond_ms - 1) / kSecond_ms));
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds;
}

int MedianSeconds(const Outcomes& outcomes) {
    return SortedSeconds(outcomes)[outcomes.size() / 2];
}

/// In one word, as in the column "median".
std::string Verdict(const Outcomes& outcomes) {
    if (outcomes.empty()) return "?";
    if (IsNever(outcomes)) return kNever;
    return IsKept(outcomes) ? kKept : std::to_string(MedianSeconds(outcomes));
}

/// What the guard has asked for: most soft and most hardware resets of a run.
std::string GuardResets(const Outcomes& outcomes) {
    int soft = 0, hard = 0;
    for (const Outcome& outcome : outcomes) {
        soft = std::max(soft, outcome.guard_soft_resets);
        hard = std::max(hard, outcome.guard_hard_resets);
    }
    return soft + hard == 0 ? kKept : std::to_string(soft) + "+" + std::to_string(hard);
}

int MostGuardResetsPerHour(const Results& results) {
    int most = 0;
    for (const CellResult& result : results) {
        for (const Outcome& outcome : result.guarded) {
            most = std::max(most, outcome.guard_hard_resets_per_hour);
        }
    }
    return most;
}

std::string GlanceCell(const CellResult& result) {
    const std::string mark = result.hard_resets_per_hour() > kMostResetsPerHour ? kMark : "";
    if (result.IsNever()) return kNeverShort + mark;
    return (result.IsKept() ? kKept : std::to_string(result.median_seconds())) + mark;
}

const CellResult* FindResult(const Results& results, const Fault& fault, const std::string& family) {
    for (const CellResult& result : results) {
        if (result.fault == &fault && result.family == family) return &result;
    }
    return nullptr;
}

std::string GlanceTable(const Results& results) {
    Row head = {"Fault"};
    for (const std::string& family : Families()) head.push_back(ShortName(family));
    std::vector<Row> rows = {head};
    for (const Fault& fault : Faults()) {
        Row row = {fault.name};
        for (const std::string& family : Families()) {
            const CellResult* result = FindResult(results, fault, family);
            row.push_back(result == nullptr ? "?" : GlanceCell(*result));
        }
        rows.push_back(row);
    }
    return Table(rows);
}

/// The families for which `is_meant` holds: all, all but a few, or a few.
template <class Test>
std::string FamiliesWith(const Results& results, const Fault& fault, const Test& is_meant) {
    std::string with, without;
    size_t count = 0;
    for (const std::string& family : Families()) {
        const CellResult* result = FindResult(results, fault, family);
        const bool counts = result != nullptr && is_meant(*result);
        count += counts ? 1 : 0;
        std::string& names = counts ? with : without;
        names += (names.empty() ? "" : ", ") + family;
    }
    if (count == Families().size()) return "all";
    return count * 2 > Families().size() ? "all but " + without : with;
}

/// The family is in trouble with two SIMs whatever happens, which the page says once.
bool IsToldBefore(const Results& results, const CellResult& result) {
    static const Fault& healthy = *FindFault("two_sims");
    if (result.fault == &healthy || result.fault->board != Board::kTwoSims) return false;
    const CellResult* in_health = FindResult(results, healthy, result.family);
    return in_health != nullptr && in_health->IsNever();
}

std::string NeverTable(const Results& results) {
    std::vector<Row> rows = {{"Fault", "Families", "With the guard"}};
    const auto is_meant = [&results](const CellResult& result) {
        return result.IsNever() && !IsToldBefore(results, result);
    };
    for (const Fault& fault : Faults()) {
        const std::string families = FamiliesWith(results, fault, is_meant);
        if (families.empty()) continue;
        int least = INT_MAX, most = 0;
        bool has_never = false;
        for (const CellResult& result : results) {
            if (result.fault != &fault || !is_meant(result) || result.guarded.empty()) continue;
            if (IsNever(result.guarded)) {
                has_never = true;
                continue;
            }
            const std::vector<int> seconds = SortedSeconds(result.guarded);
            least = std::min(least, seconds.front());
            most = std::max(most, seconds.back());
        }
        const std::string seconds = most == 0 ? "" : Range(least, most) + " s";
        rows.push_back({Link(fault) + ": " + fault.title, families,
                        !has_never  ? seconds
                        : most == 0 ? kNever
                                    : seconds + ", or never"});
    }
    return Table(rows, Figures::kNo);
}

std::string ResetsTable(const Results& results) {
    std::vector<Row> rows = {{"Fault", "an hour", "Families"}};
    const auto is_many = [&results](const CellResult& result) {
        return result.hard_resets_per_hour() > kMostResetsPerHour && !IsToldBefore(results, result);
    };
    for (const Fault& fault : Faults()) {
        int least = INT_MAX, most = 0;
        for (const CellResult& result : results) {
            if (result.fault != &fault || !is_many(result)) continue;
            least = std::min(least, result.hard_resets_per_hour());
            most = std::max(most, result.hard_resets_per_hour());
        }
        if (most == 0) continue;
        rows.push_back(
            {Link(fault) + ": " + fault.title, Range(least, most), FamiliesWith(results, fault, is_many)});
    }
    return Table(rows, Figures::kNo);
}

const Unmended* FindUnmended(const Fault& fault) {
    const auto found =
        std::find_if(std::begin(kUnmended), std::end(kUnmended),
                     [&fault](const Unmended& row) { return std::string_view(row.fault) == fault.name; });
    return found == std::end(kUnmended) ? nullptr : found;
}

/// No way back even with the guard, and not just because of a fault that another section tells of.
bool IsUnmended(const Results& results, const CellResult& result) {
    return result.IsNever() && IsNever(result.guarded) && !IsToldBefore(results, result);
}

std::string UnmendedTable(const Results& results) {
    std::vector<Row> rows = {{"Fault", "Why the guard doesn't mend it", "Who does"}};
    for (const Fault& fault : Faults()) {
        const Unmended* unmended = FindUnmended(fault);
        const bool is_there = std::any_of(results.begin(), results.end(), [&](const CellResult& result) {
            return result.fault == &fault && IsUnmended(results, result);
        });
        if (is_there && unmended != nullptr) rows.push_back({Link(fault), unmended->why, unmended->who});
    }
    return Table(rows, Figures::kNo);
}

/// The cell of each family that takes longest, of those that the family comes back from.
std::string WorstTable(const Results& results) {
    std::vector<Row> text = {
        {"Family", "one SIM, from the fault's end", "one SIM, from its begin", "two SIMs"}};
    for (const std::string& family : Families()) {
        Row row = {family};
        for (const auto& [has_two_sims, measure] : {std::make_pair(false, soak::Measure::kFromEnd),
                                                    std::make_pair(false, soak::Measure::kFromBegin),
                                                    std::make_pair(true, soak::Measure::kFromBegin)}) {
            const CellResult* worst = nullptr;
            for (const CellResult& result : results) {
                const bool is_meant = result.family == family && !result.IsNever() &&
                                      (result.fault->board == Board::kTwoSims) == has_two_sims &&
                                      result.fault->board != Board::kProject &&
                                      (has_two_sims || result.fault->measure == measure);
                const bool is_worst =
                    is_meant && (worst == nullptr || worst->worst_seconds() < result.worst_seconds());
                if (is_worst) worst = &result;
            }
            row.push_back(worst == nullptr || worst->worst_seconds() == 0
                              ? kKept
                              : std::to_string(worst->worst_seconds()) + " of " +
                                    std::to_string(worst->bound_seconds) + ", " + worst->fault->name);
        }
        text.push_back(row);
    }
    return Table(text, Figures::kNo);
}

}  // namespace

bool CellResult::IsNever() const {
    return matrix::IsNever(outcomes);
}

bool CellResult::IsKept() const {
    return matrix::IsKept(outcomes);
}

int CellResult::hard_resets_per_hour() const {
    int most = 0;
    for (const Outcome& outcome : outcomes) most = std::max(most, outcome.hard_resets_per_hour);
    return most;
}

int CellResult::median_seconds() const {
    return MedianSeconds(outcomes);
}

int CellResult::worst_seconds() const {
    return SortedSeconds(outcomes).back();
}

const std::vector<std::string>& Families() {
    static const std::vector<std::string> families = [] {
        std::vector<std::string> sorted = modem_sim::Modem::Families();
        std::sort(sorted.begin(), sorted.end());
        return sorted;
    }();
    return families;
}

std::string FaultSection(const Fault& fault, const Results& results) {
    const char* counted =
        fault.measure == soak::Measure::kFromEnd ? " Counted from its end." : " Counted from its begin.";
    std::string text = "### " + std::string(fault.name) + "\n\n";
    text += Wrapped(std::string(fault.title) + ". " + fault.what + counted) + "\n";
    std::vector<Row> rows = {{"Family", "median", "worst", "bound", "checks", "dials", "soft", "switches",
                              "hard", "starts", "hard/h", "guarded", "its resets"}};
    bool has_never = false;
    for (const std::string& family : Families()) {
        const CellResult* result = FindResult(results, fault, family);
        if (result == nullptr) continue;
        Row row = {family};
        if (result->IsNever()) {
            has_never = true;
            row.insert(row.end(), {kNever, kNever, kKept});
        } else if (result->IsKept()) {
            row.insert(row.end(), {kKept, kKept, kKept});
        } else {
            for (const int seconds :
                 {result->median_seconds(), result->worst_seconds(), result->bound_seconds}) {
                row.push_back(std::to_string(seconds));
            }
        }
        for (const Step step :
             {Step::kCheck, Step::kDial, Step::kSoftReset, Step::kSwitch, Step::kHardReset, Step::kStart}) {
            row.push_back(StepRange(*result, step));
        }
        row.push_back(Marked(result->hard_resets_per_hour()));
        row.push_back(Verdict(result->guarded));
        row.push_back(GuardResets(result->guarded));
        rows.push_back(row);
    }
    text += Table(rows);
    const bool has_advice = has_never && fault.advice != nullptr;
    return text + (has_advice ? "\n" + Wrapped("**Never**: " + std::string(fault.advice)) : "");
}

std::string Page(const Results& results) {
    std::string text = kPageHead;
    text += ResetsTable(results) + kPageNever + NeverTable(results) + kPageGuard +
            std::to_string(MostGuardResetsPerHour(results)) + kPageGuardMost + UnmendedTable(results) +
            kPageMore + kPageGlance + GlanceTable(results) + kPageWorst + WorstTable(results) + kPageFaults;
    for (const Fault& fault : Faults()) text += "\n" + FaultSection(fault, results);
    return text;
}

std::vector<std::string> Violations(const Results& results) {
    std::vector<std::string> violations;
    for (const CellResult& result : results) {
        const std::string cell = std::string(result.fault->name) + " " + result.family;
        if (result.IsNever()) {
            if (result.fault->advice == nullptr) violations.push_back(cell + ": no way back, and no advice");
        } else if (result.worst_seconds() > result.bound_seconds) {
            violations.push_back(cell + ": " + std::to_string(result.worst_seconds()) +
                                 " s, and the bound is " + std::to_string(result.bound_seconds) + " s");
        }
        if (!result.IsNever() && IsNever(result.guarded)) {
            violations.push_back(cell + ": no way back with the guard");
        }
        if (IsUnmended(results, result) && FindUnmended(*result.fault) == nullptr) {
            violations.push_back(cell + ": no way back with the guard, and nobody is named who mends it");
        }
        if (result.IsKept() && GuardResets(result.guarded) != kKept) {
            violations.push_back(cell + ": the guard resets a link that stays up");
        }
    }
    if (MostGuardResetsPerHour(results) > guard::kMostPerHour) {
        violations.push_back("the guard exceeds its budget");
    }
    return violations;
}

}  // namespace matrix
