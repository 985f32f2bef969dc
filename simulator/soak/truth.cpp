#include "simulator/soak/truth.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "simulator/soak/story.h"
#include "simulator/text/text.h"

namespace soak {

namespace {

constexpr char kUpgradeWord[] = "upgrade_";  // begins the names of its faults

using virtual_time::ScenarioEvent;

bool ReadSeconds(const std::string& word, int64_t* ms) {
    char* end = nullptr;
    const double seconds = strtod(word.c_str(), &end);
    *ms = llround(seconds * kSecond_ms);
    return !word.empty() && *end == '\0' && seconds >= 0;
}

/// "# fault NAME from T to T"
bool ReadFault(const std::string& line, Fault* fault) {
    std::istringstream words(line.substr(sizeof kFaultWord - 1));
    std::string from_word, from, to_word, to, more;
    words >> fault->name >> from_word >> from >> to_word >> to;
    return from_word == "from" && to_word == "to" && ReadSeconds(from, &fault->from_ms) &&
           ReadSeconds(to, &fault->to_ms) && fault->to_ms >= fault->from_ms && !(words >> more);
}

bool ReadFaults(const std::string& text, Truth* truth, std::string* problem) {
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.compare(0, sizeof kFaultWord - 1, kFaultWord) != 0) continue;
        Fault fault = {};
        fault.line = number;
        if (!ReadFault(line, &fault)) {
            *problem = truth->scenario.path + ":" + std::to_string(number) +
                       ": \"# fault NAME from SECONDS to SECONDS\" is wanted";
            return false;
        }
        truth->faults.push_back(fault);
    }
    std::stable_sort(truth->faults.begin(), truth->faults.end(),
                     [](const Fault& one, const Fault& other) { return one.from_ms < other.from_ms; });
    return true;
}

std::vector<Healthy> StretchesBetween(const std::vector<Fault>& faults, int64_t until_ms) {
    std::vector<Healthy> healthy;
    int64_t from_ms = 0;
    for (const Fault& fault : faults) {
        if (fault.from_ms > from_ms) healthy.push_back({from_ms, fault.from_ms});
        from_ms = std::max(from_ms, fault.to_ms);
    }
    if (from_ms < until_ms) healthy.push_back({from_ms, until_ms});
    return healthy;
}

std::map<std::string, std::string> ReadSettings(const std::string& text) {
    std::map<std::string, std::string> values;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find('=');
        if (equals != std::string::npos && equals > 0) {
            values[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    return values;
}

void ReadSettingsChanges(Truth* truth) {
    const auto add = [truth](int64_t at_ms, bool is_there, const std::string& text) {
        truth->settings.push_back({at_ms, is_there, ReadSettings(text)});
    };
    for (const auto& file : truth->scenario.files) {
        if (file.path == virtual_time::kSettingsFile) add(0, true, file.text);
    }
    for (const ScenarioEvent& event : truth->scenario.events) {
        const bool is_write =
            event.kind == ScenarioEvent::Kind::kWrite && event.subject == virtual_time::kSettingsFile;
        const bool is_removal =
            event.kind == ScenarioEvent::Kind::kRemove &&
            std::string(virtual_time::kSettingsFile).compare(0, event.subject.size(), event.subject) == 0;
        if (is_write || is_removal) add(event.at_us / 1000, is_write, event.text);
    }
    std::stable_sort(
        truth->settings.begin(), truth->settings.end(),
        [](const SettingsChange& one, const SettingsChange& other) { return one.at_ms < other.at_ms; });
}

void ReadKnobs(Truth* truth) {
    for (const std::string& knob : truth->scenario.knobs) {
        std::istringstream words(knob);
        std::string name;
        int64_t value = 0;
        if (!(words >> name >> value)) continue;
        if (name == "boot-time") truth->modem.boot_ms = value;
        if (name == "sim-start") truth->modem.sim_start_ms = value;
        if (name == "search-time") truth->modem.search_ms = value;
        if (name == "dial-time") truth->modem.dial_ms = value;
        if (name == "port-gone") truth->modem.port_gone_ms = value;
    }
}

bool IsSwitchedOn(const Truth& truth, const char* key) {
    for (const SettingsChange& change : truth.settings) {
        const auto value = change.values.find(key);
        if (value != change.values.end() && atoi(value->second.c_str()) >= 1) return true;
    }
    return false;
}

bool ShowsFunction(const Truth& truth, const std::string& function) {
    const std::vector<std::string>& options = truth.scenario.options;
    for (size_t i = 0; i + 1 < options.size(); ++i) {
        if (options[i] == "-Df" && options[i + 1] == function) return true;
        if (options[i] == "-Dl" && options[i + 1] == "7") return true;
    }
    return false;
}

}  // namespace

int Truth::FaultsWithin(int64_t from_ms, int64_t to_ms) const {
    int count = 0;
    for (const Fault& fault : faults) {
        if (fault.from_ms > to_ms) break;
        if (fault.to_ms >= from_ms) ++count;
    }
    return count;
}

bool Truth::HasFaultWithin(const char* name, int64_t from_ms, int64_t to_ms) const {
    for (const Fault& fault : faults) {
        if (fault.from_ms > to_ms) break;
        if (fault.to_ms >= from_ms && fault.name == name) return true;
    }
    return false;
}

bool ReadTruth(const std::string& path, const std::string& text, Truth* truth, std::string* problem) {
    *truth = {};
    if (!virtual_time::ParseScenario(path, text, &truth->scenario, problem)) return false;
    if (!ReadFaults(text, truth, problem)) return false;
    truth->until_ms = truth->scenario.until_us / 1000;
    truth->healthy = StretchesBetween(truth->faults, truth->until_ms);
    for (const Fault& fault : truth->faults) {
        if (fault.name.compare(0, sizeof kUpgradeWord - 1, kUpgradeWord) != 0) continue;
        truth->upgrade_ms = std::max(truth->upgrade_ms, fault.to_ms - fault.from_ms);
    }
    ReadSettingsChanges(truth);
    ReadKnobs(truth);
    truth->board.has_two_sims = IsSwitchedOn(*truth, "DoubleSIM");
    truth->board.has_project = IsSwitchedOn(*truth, "ORLA");
    truth->board.restart_ms = truth->scenario.restart_after_us / 1000;
    for (const virtual_time::ShellRule& rule : truth->scenario.shell) {
        if (rule.part == "Reset4G.sh start") truth->board.script_ms = rule.takes_seconds * kSecond_ms;
    }
    truth->shows_network_checks =
        ShowsFunction(*truth, "CheckNetwork") && ShowsFunction(*truth, "isSoftReset");
    truth->timing = TimingOf(truth->scenario.modem_family);
    if (truth->timing == nullptr) return true;
    const FamilyTiming& timing = *truth->timing;
    truth->may_settle = !truth->board.has_two_sims || timing.technology == Technology::kTold;
    truth->recovery_ms = RecoveryBoundSeconds(timing, truth->modem, truth->board) * kSecond_ms;
    truth->step_ms = LongestStepSeconds(timing) * kSecond_ms;
    truth->pass_ms = LongestPassSeconds(timing, truth->board) * kSecond_ms;
    return true;
}

}  // namespace soak
