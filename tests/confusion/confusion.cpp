// confusion STORY RECORD...: how often the history names the cause that a story has injected. A story is a
// scenario whose comments tell what is wrong from when to when ("# fault NAME from T to T"), a record what
// scenario_run has recorded of it. The log of the record is told again, and each outage is held against the
// faults of its time. Prints a row for each fault and a column for each cause. The status is 1 when fewer
// than 98 of 100 are right, or a wrong cause was called certain.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "simulator/text/text.h"
#include "tools/log/history.h"
#include "tools/log/reader.h"

namespace {

using namespace ravelin_log;

constexpr double kLeastRight = 0.98;
constexpr int64_t kBefore_ms = 75 * kSecond_ms;  // what a fault has done shows that much after its end
constexpr int64_t kAfter_ms = 45 * kSecond_ms;   // and its first line may come before the next one's begin

constexpr int64_t kShort_ms = kMinute_ms;

/// What an outage by a fault may be called. "any": what the line spoils looks like anything, but never
/// certainly.
struct Truth {
    const char* fault;
    const char* causes;
};
constexpr Truth kTruths[] = {
    {"mute", "modem-mute"},
    {"mute_short", "modem-mute sim"},  // twelve seconds look like a missing SIM
    {"mute_until_reset", "modem-mute"},
    {"unregistered", "no-service"},
    {"unregistered_long", "no-service"},
    {"unregistered_two_sims", "no-service"},
    {"half_registered", "no-service"},
    {"flapping", "no-service link-down dial-failed"},  // the dial falls into the next gap
    {"fading", "no-service link-down"},
    {"denied", "denied"},
    {"old_technology", "data-path"},  // with two SIMs nothing is pinged, but it is said
    {"dead_path", "data-path ocpp"},
    {"slow_path", "data-path ocpp"},
    {"ping_hangs", "data-path ocpp"},
    {"ping_odd", "data-path ocpp"},
    {"service_outage", "ocpp"},
    {"link_cut", "link-down"},
    {"link_flaps", "link-down dial-failed"},
    {"dial_refused", "dial-failed link-down"},  // each fifth attempt is a reset: no dial, no refusal
    {"dial_refused_until_reset", "dial-failed link-down"},
    {"sim_pulled", "sim"},
    {"sim_flickers", "sim link-down"},  // it is back when it is asked for
    {"sim_late", "sim"},
    {"sim_wants_pin", "sim"},
    {"sim_swapped", "sim link-down"},
    // A port that is gone looks mute, and so does a modem that restarts.
    {"hang_up", "port-gone modem-mute"},
    {"port_away", "port-gone modem-mute"},
    {"port_away_long", "port-gone"},
    {"port_renamed", "port-gone modem-mute"},
    {"modem_restarts", "port-gone modem-mute"},
    {"power_cut", "port-gone modem-mute"},
    {"script_slow", "port-gone modem-mute command"},
    {"script_fails", "port-gone modem-mute command"},
    {"disabled", "disabled"},
    {"settings_rewritten", "disabled dial-failed"},
    {"settings_torn", "disabled dial-failed restart"},
    {"settings_emptied", "restart"},
    {"settings_gone", "restart"},
    {"killed", "restart"},
    {"killed_again", "restart"},
    {"ask_soft_reset", "command"},
    {"ask_hard_reset", "command"},
    {"ask_resets", "command"},
    {"no_lease", "dhcp"},
    {"upgrade_succeeds", "modem-mute command"},
    {"upgrade_fails", "modem-mute command"},
    {"upgrade_hangs", "modem-mute command"},
    {"garbage", "any"},
    {"cut", "any"},
    {"merged", "any"},
    {"stale", "any"},
    {"late", "any"},
    {"pieces", "any"},
    {"padded", "any"},
    {"odd_bytes", "any"},
    {"chatter", "any"},
    {"chatter_within", "any"},
    {"flood", "any"},
    {"wrong_answer", "any"},
    {"echo", "any"},
};

/// What a family doesn't show: nothing of its registration, or nothing of a refusal.
constexpr Truth kFamilies[] = {
    {"longsung", "link-down"},
    {"chuangyi", "no-service"},
    {"nodecom", "no-service"},
};

struct Fault {
    std::string name;
    int64_t from_ms;
    int64_t to_ms;
};

struct Story {
    std::string family;
    std::vector<Fault> faults;
    bool sets_clock = false;  // a log without dates can't be held against the story then
};

std::string TextOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Story ReadStory(const char* path) {
    Story story;
    std::istringstream lines(TextOf(path));
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string first;
        std::string second;
        words >> first >> second;
        if (first == "modem") story.family = second;
        if (first != "#" || second != "fault") continue;
        std::string name;
        std::string word;
        double from = 0;
        double to = 0;
        words >> name >> word >> from >> word >> to;
        story.faults.push_back({name, static_cast<int64_t>(from * 1000), static_cast<int64_t>(to * 1000)});
        story.sets_clock |= name == "clock_set";
    }
    return story;
}

/// The local log of a record: "SECONDS logs FILE:FUNCTION:LINE MESSAGE" as the daemon has written it.
std::string LogOf(const char* path) {
    std::string log;
    std::ifstream file(path, std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        double seconds = 0;
        std::string kind;
        std::string place;
        if (!(words >> seconds >> kind >> place) || (kind != "logs" && kind != "debugs")) continue;
        const size_t behind = line.find(place) + place.size() + 1;
        const int64_t day_ms = static_cast<int64_t>(seconds * 1000 + 0.5) % kDay_ms;
        char time[32];
        snprintf(time, sizeof time, "%02d:%02d:%02d.%d ", static_cast<int>(day_ms / kHour_ms),
                 static_cast<int>(day_ms / kMinute_ms % 60), static_cast<int>(day_ms / kSecond_ms % 60),
                 static_cast<int>(day_ms % kSecond_ms));
        log += time + place + ":" +
               simulator_text::Unescape(behind <= line.size() ? line.substr(behind) : std::string()) + "\n";
    }
    return log;
}

History HistoryOf(const std::string& log) {
    const int file = memfd_create("log", 0);
    const bool is_written =
        file >= 0 && write(file, log.data(), log.size()) == static_cast<ssize_t>(log.size());
    Reader reader;
    std::string problem;
    if (!is_written || !reader.Open({"/proc/self/fd/" + std::to_string(file)}, {}, &problem)) {
        fprintf(stderr, "confusion: no log: %s\n", problem.c_str());
        exit(2);
    }
    Historian historian;
    Line line;
    while (reader.Next(&line)) historian.Take(line);
    close(file);
    return historian.Finish();
}

bool Holds(const char* words, const std::string& word) {
    return (" " + std::string(words) + " ").find(" " + word + " ") != std::string::npos;
}

class Matrix {
  public:
    void Take(const Story& story, const History& history, const char* path) {
        for (const Outage& outage : history.outages) {
            const std::string named = TopOf(outage.cause);
            const int64_t begin_ms = outage.has_begin ? outage.begin.elapsed_ms : 0;
            std::set<std::string> names;
            bool is_right = false;
            bool may_be_anything = false;
            for (const Fault& fault : story.faults) {
                if (fault.from_ms > begin_ms + kAfter_ms || fault.to_ms < begin_ms - kBefore_ms) continue;
                names.insert(fault.name);
                for (const Truth& truth : kTruths) {
                    if (fault.name != truth.fault) continue;
                    is_right |= Holds(truth.causes, named);
                    // What is over before the daemon asks for it: nothing else is known.
                    is_right |= fault.to_ms - fault.from_ms < kShort_ms && named == cause::kLinkDown;
                    may_be_anything |= Holds(truth.causes, "any");
                    for (const Truth& family : kFamilies) {
                        const bool is_hidden =
                            Holds("no-service denied dial-failed sim", FirstOf(truth.causes));
                        is_right |= story.family == family.fault && is_hidden && Holds(family.causes, named);
                    }
                }
            }
            is_right |= may_be_anything && outage.certainty != Certainty::kCertain;
            std::string row = names.empty() ? "(none)" : names.size() > 1 ? "(several)" : *names.begin();
            ++counts_[row][named];
            ++(is_right ? right_ : wrong_)[row];
            if (is_right) continue;
            if (outage.certainty == Certainty::kCertain) ++certain_;
            fprintf(stderr, "%s: %s, %s, at %lld s\n", path, outage.cause.c_str(), WordOf(outage.certainty),
                    static_cast<long long>(begin_ms / kSecond_ms));
        }
    }

    int Print() const {
        std::set<std::string> causes;
        for (const auto& [row, cells] : counts_) {
            for (const auto& [cause, count] : cells) causes.insert(cause);
        }
        printf("| Injected | right | wrong | named |\n|---|---|---|---|\n");
        int right = 0;
        int wrong = 0;
        for (const auto& [row, cells] : counts_) {
            std::string named;
            for (const auto& [cause, count] : cells) {
                named +=
                    (named.empty() ? "" : ", ") + std::string("`") + cause + "` " + std::to_string(count);
            }
            const int row_right = Count(right_, row);
            const int row_wrong = Count(wrong_, row);
            printf("| `%s` | %d | %d | %s |\n", row.c_str(), row_right, row_wrong, named.c_str());
            right += row_right;
            wrong += row_wrong;
        }
        const double share = right + wrong > 0 ? static_cast<double>(right) / (right + wrong) : 0;
        printf("\n%d outages, %d right, %d wrong: %.1f %%. Wrong and called certain: %d.\n", right + wrong,
               right, wrong, share * 100, certain_);
        return share >= kLeastRight && certain_ == 0 ? 0 : 1;
    }

  private:
    static std::string FirstOf(const char* words) {
        return std::string(words).substr(0, std::string(words).find(' '));
    }
    static int Count(const std::map<std::string, int>& counts, const std::string& row) {
        const auto found = counts.find(row);
        return found != counts.end() ? found->second : 0;
    }

    std::map<std::string, std::map<std::string, int>> counts_;
    std::map<std::string, int> right_;
    std::map<std::string, int> wrong_;
    int certain_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || argc % 2 == 0) {
        fprintf(stderr, "usage: confusion STORY RECORD [STORY RECORD]...\n");
        return 2;
    }
    Matrix matrix;
    for (int i = 1; i + 1 < argc; i += 2) {
        const Story story = ReadStory(argv[i]);
        if (!story.sets_clock) matrix.Take(story, HistoryOf(LogOf(argv[i + 1])), argv[i]);
    }
    return matrix.Print();
}
