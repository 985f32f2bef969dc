// Any text as a scenario. A text that is refused names one of its lines; of one that is
// taken, every position, time and count lies where the run may use it.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "simulator/virtual_time/record.h"
#include "simulator/virtual_time/scenario.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

using virtual_time::Expectation;
using virtual_time::Scenario;
using virtual_time::ScenarioEvent;
using virtual_time::ShellRule;

constexpr char kPath[] = "story.scenario";

void CheckProblem(const std::string& problem, int lines) {
    const std::string front = std::string(kPath) + ":";
    FUZZ_CHECK(problem.rfind(front, 0) == 0);
    char* end = nullptr;
    const long line = strtol(problem.c_str() + front.size(), &end, 10);
    FUZZ_CHECK(line >= 0 && line <= lines);
    FUZZ_CHECK(end[0] == ':' && end[1] == ' ' && end[2] != '\0');
}

void CheckRule(const ShellRule& rule) {
    FUZZ_CHECK(!rule.part.empty() && rule.takes_seconds >= 0 && rule.seconds_before_line >= 0);
}

void CheckScenario(const Scenario& scenario, int lines) {
    const int marks = static_cast<int>(scenario.marks.size());
    const auto is_mark = [marks](int mark) { return mark >= virtual_time::kNoMark && mark < marks; };
    const auto is_line = [lines](int line) { return line >= 1 && line <= lines; };
    FUZZ_CHECK(scenario.until_us > 0 && !scenario.expectations.empty() && !scenario.port.empty());
    for (const auto& file : scenario.files) FUZZ_CHECK(file.path[0] == '/');
    for (const auto& rule : scenario.shell) CheckRule(rule);
    for (const auto& mark : scenario.marks) {
        FUZZ_CHECK(virtual_time::IsRecordKind(mark.kind) && is_line(mark.line));
    }
    for (const ScenarioEvent& event : scenario.events) {
        FUZZ_CHECK(event.at_us >= 0 && is_mark(event.mark) && is_line(event.line));
        if (event.kind == ScenarioEvent::Kind::kShell) CheckRule(event.shell);
    }
    for (const Expectation& expectation : scenario.expectations) {
        FUZZ_CHECK(virtual_time::IsRecordKind(expectation.kind) && is_line(expectation.line));
        FUZZ_CHECK(expectation.from_us >= 0 && expectation.to_us >= 0 && expectation.count >= 0);
        FUZZ_CHECK(is_mark(expectation.mark));
        FUZZ_CHECK((expectation.mark != virtual_time::kNoMark) ==
                   (expectation.base == virtual_time::TimeBase::kMark));
    }
}

void CheckAgain(const std::string& text, const Scenario& first) {
    Scenario second;
    std::string problem;
    FUZZ_CHECK(ParseScenario(kPath, text, &second, &problem) && problem.empty());
    const auto equal = [](const auto& one, const auto& other, auto is_same) {
        return std::equal(one.begin(), one.end(), other.begin(), other.end(), is_same);
    };
    FUZZ_CHECK(first.modem_family == second.modem_family && first.modem_model == second.modem_model &&
               first.port == second.port && first.knobs == second.knobs && first.options == second.options &&
               first.folders == second.folders && first.until_us == second.until_us);
    FUZZ_CHECK(equal(first.files, second.files,
                     [](const auto& a, const auto& b) { return a.path == b.path && a.text == b.text; }));
    FUZZ_CHECK(equal(first.events, second.events, [](const auto& a, const auto& b) {
        return a.at_us == b.at_us && a.kind == b.kind && a.subject == b.subject && a.text == b.text;
    }));
    FUZZ_CHECK(equal(first.expectations, second.expectations, [](const auto& a, const auto& b) {
        return a.from_us == b.from_us && a.to_us == b.to_us && a.kind == b.kind && a.text == b.text;
    }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    const int lines = static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 1;
    Scenario scenario;
    std::string problem;
    if (ParseScenario(kPath, text, &scenario, &problem)) {
        FUZZ_CHECK(problem.empty());
        CheckScenario(scenario, lines);
        CheckAgain(text, scenario);
    } else {
        CheckProblem(problem, lines);
    }
    return 0;
}
