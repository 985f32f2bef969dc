#include "simulator/soak/summary.h"

#include <algorithm>
#include <sstream>

#include "simulator/soak/time_units.h"

namespace soak {

namespace {

constexpr double kHour_seconds = 3600;

struct FigureName {
    const char* name;
    int64_t Figures::*figure;
};
constexpr FigureName kFigures[] = {
    {"simulated_ms", &Figures::simulated_ms},
    {"online_ms", &Figures::online_ms},
    {"runs", &Figures::runs},
    {"soft_resets", &Figures::soft_resets},
    {"hard_resets", &Figures::hard_resets},
    {"sim_switches", &Figures::sim_switches},
    {"misled", &Figures::misled},
};

int64_t Median(const std::map<int64_t, int64_t>& times_of) {
    int64_t all = 0;
    for (const auto& [seconds, times] : times_of) all += times;
    int64_t passed = 0;
    for (const auto& [seconds, times] : times_of) {
        passed += times;
        if (passed * 2 >= all) return seconds;
    }
    return 0;
}

std::string OrDash(bool has_value, int64_t value) {
    return has_value ? std::to_string(value) : "-";
}

}  // namespace

std::string WriteVerdict(const Verdict& verdict) {
    std::ostringstream text;
    for (const FigureName& row : kFigures) {
        text << "figure " << row.name << " " << verdict.figures.*row.figure << "\n";
    }
    for (const auto& [name, figures] : verdict.figures.faults) {
        text << "fault " << name << " " << figures.count << " " << figures.kept << " " << figures.meanwhile;
        for (const auto& [seconds, times] : figures.recovery_seconds) text << " " << seconds << " " << times;
        text << "\n";
    }
    for (const Violation& violation : verdict.violations) {
        text << "violation " << violation.law << " " << violation.at_ms << " " << violation.text << "\n";
    }
    if (!verdict.difference.empty()) text << "difference " << verdict.difference << "\n";
    text << "end\n";
    return text.str();
}

bool ReadVerdict(const std::string& text, Verdict* verdict) {
    *verdict = {};
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word, name;
        words >> word;
        if (word == "end") return true;
        if (word == "difference") verdict->difference = line.substr(word.size() + 1);
        words >> name;
        if (word == "figure") {
            for (const FigureName& row : kFigures) {
                if (name == row.name) words >> verdict->figures.*row.figure;
            }
        } else if (word == "fault") {
            FaultFigures& figures = verdict->figures.faults[name];
            words >> figures.count >> figures.kept >> figures.meanwhile;
            for (int64_t seconds, times; words >> seconds >> times;) {
                figures.recovery_seconds[seconds] = times;
            }
        } else if (word == "violation") {
            Violation violation = {name, 0, ""};
            words >> violation.at_ms;
            words.get();
            std::getline(words, violation.text);
            verdict->violations.push_back(violation);
        }
    }
    return false;
}

void PrintSummary(const Totals& totals, FILE* to) {
    const Figures& figures = totals.figures;
    const double days = static_cast<double>(figures.simulated_ms) / kDay_ms;
    const double hours = std::max(static_cast<double>(figures.simulated_ms) / kHour_ms, 1e-9);
    const auto an_hour = [hours](int64_t count) { return static_cast<double>(count) / hours; };
    fprintf(to, "\n%lld seeds, %.1f days, %.2f h of CPU time", static_cast<long long>(totals.seeds), days,
            totals.cpu_seconds / kHour_seconds);
    if (totals.cpu_seconds > 0) {
        fprintf(to, " (%.0f days in an hour)", days / totals.cpu_seconds * kHour_seconds);
    }
    fprintf(to, "\nonline %.1f %% of the time, %lld runs of the daemon",
            100 * static_cast<double>(figures.online_ms) /
                std::max<double>(static_cast<double>(figures.simulated_ms), 1),
            static_cast<long long>(figures.runs));
    if (figures.misled > 0) {
        fprintf(to, ", %lld of them with the driver of another family",
                static_cast<long long>(figures.misled));
    }
    fprintf(to, "\nan hour: %.2f soft resets, %.2f hardware resets, %.2f SIM switches\n",
            an_hour(figures.soft_resets), an_hour(figures.hard_resets), an_hour(figures.sim_switches));
    fprintf(to, "\n%-26s %8s %10s %10s %8s %10s %8s\n", "fault", "times", "online", "back", "back",
            "recovery", "worst");
    fprintf(to, "%-26s %8s %10s %10s %8s %10s %8s\n", "", "", "all along", "meanwhile", "later", "median s",
            "s");
    for (const auto& [name, fault] : figures.faults) {
        int64_t later = 0;
        for (const auto& [seconds, times] : fault.recovery_seconds) later += times;
        const int64_t worst = later > 0 ? fault.recovery_seconds.rbegin()->first : 0;
        fprintf(to, "%-26s %8lld %10lld %10lld %8lld %10s %8s\n", name.c_str(),
                static_cast<long long>(fault.count), static_cast<long long>(fault.kept),
                static_cast<long long>(fault.meanwhile), static_cast<long long>(later),
                OrDash(later > 0, Median(fault.recovery_seconds)).c_str(), OrDash(later > 0, worst).c_str());
    }
    if (totals.not_reproducible > 0) {
        fprintf(to, "\n%lld stories that broke a law are not reproducible\n",
                static_cast<long long>(totals.not_reproducible));
    }
    if (totals.failed > 0) {
        fprintf(to, "\n%lld stories couldn't be run to their end\n", static_cast<long long>(totals.failed));
    }
    if (totals.violations > 0) {
        fprintf(to, "\n%lld violations\n", static_cast<long long>(totals.violations));
    } else if (totals.failed == 0) {
        fprintf(to, "\nno violation\n");
    }
}

}  // namespace soak
