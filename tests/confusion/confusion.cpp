// confusion STORY RECORD...: how often the history names the cause that a story has injected. A story is a
// scenario whose comments tell what is wrong from when to when ("# fault NAME from T to T"), a record what
// scenario_run has recorded of it. The messages of the record are told again as a local log, as syslog and
// as a journal, and each outage is held against the faults of its time. Prints a row for each fault, and the
// sum for each form. The status is 1 when fewer than 98 of 100 are right in one of them, or a wrong cause was
// called certain. With --print it prints the log that it makes of a record.
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

constexpr int kFirstProcess = 812;
constexpr int kFirstDay = 8;  // of November 2026
constexpr int64_t kFirstSecond = 1794096000;

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
    {"pipe_rubbish", "command"},  // there is a request in it
    {"no_lease", "dhcp"},
    {"upgrade_succeeds", "modem-mute port-gone command"},  // a modem with new firmware restarts
    {"upgrade_fails", "modem-mute port-gone command"},
    {"upgrade_hangs", "modem-mute port-gone command"},
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
    bool has_two_sims = false;

    /// With two SIMs, a modem that doesn't say "LTE" climbs the ladder for ever, however healthy it is.
    bool is_misled() const {
        return has_two_sims && (family == "chuangyi" || family == "longsung" || family == "nodecom");
    }
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
        story.has_two_sims |= first == "DoubleSIM=1";
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

/// A message of the daemon, as a record has it.
struct Message {
    int64_t at_ms = 0;
    int process = 0;
    std::string place;  // empty: it goes to syslog alone
    std::string text;
};

/// "SECONDS logs FILE:FUNCTION:LINE MESSAGE", and the starts of the daemon between.
std::vector<Message> MessagesOf(const char* path) {
    std::vector<Message> messages;
    int process = kFirstProcess;
    std::ifstream file(path, std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        double seconds = 0;
        std::string kind;
        if (!(words >> seconds >> kind)) continue;
        Message message;
        message.at_ms = static_cast<int64_t>(seconds * 1000 + 0.5);
        if (kind == "world" && line.find(" starts again") != std::string::npos) ++process;
        if (kind == "logs" || kind == "debugs") {
            words >> message.place;
        } else if (kind != "forwards") {
            continue;
        }
        message.process = process;
        words >> std::ws;
        std::getline(words, line);
        message.text = simulator_text::Unescape(line);
        messages.push_back(message);
    }
    return messages;
}

std::string ClockText(int64_t ms) {
    char text[16];
    snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(ms / kHour_ms % 24),
             static_cast<int>(ms / kMinute_ms % 60), static_cast<int>(ms / kSecond_ms % 60));
    return text;
}

std::string LocalLine(const Message& message) {
    return ClockText(message.at_ms) + "." + std::to_string(message.at_ms % kSecond_ms) + " " + message.place +
           ":" + message.text + "\n";
}

std::string LocalLog(const std::vector<Message>& messages) {
    std::string log;
    for (const Message& message : messages) {
        if (!message.place.empty()) log += LocalLine(message);
    }
    return log;
}

/// What another program says beside each few lines of the daemon: nothing of it may count, whatever it says.
struct Neighbour {
    const char* program;
    int process;  // 0: it tells none
    const char* text;
};
constexpr Neighbour kNeighbours[] = {
    {"CRON", 811, "(root) CMD (run-parts /etc/cron.hourly)"},
    {"kernel", 0, "[  411.802] usb 1-1: new high-speed USB device number 7 using ehci"},
    {"ocpp", 502, "No response! Reset device..."},
    {"sshd", 1904, "Invalid user ravelin-mobile[1000]: Soft reset! from 10.0.0.1 port 5022"},
    {"ocpp", 502, "04:05:06.7 network_daemon/cellular_task.cpp:Task:143:Connect error! Reset device..."},
};
constexpr size_t kNeighbourEvery = 5;

/// The file of a syslogd: seconds, a day without a year, and control characters by their number.
std::string Syslog(const std::vector<Message>& messages) {
    std::string log;
    const auto add = [&log](int64_t at_ms, const std::string& program, int process, const std::string& text) {
        const int64_t day = kFirstDay + at_ms / kDay_ms;
        log += "Nov " + std::string(day < 10 ? " " : "") + std::to_string(day) + " " + ClockText(at_ms) +
               " board " + program + (process > 0 ? "[" + std::to_string(process) + "]" : "") + ": ";
        for (const char c : text) {
            char number[8];
            snprintf(number, sizeof number, "#%03o", static_cast<unsigned char>(c));
            log += static_cast<unsigned char>(c) < ' ' ? number : std::string(1, c);
        }
        log += "\n";
    };
    for (size_t i = 0; i < messages.size(); ++i) {
        const Message& message = messages[i];
        if (i % kNeighbourEvery == 0) {
            const Neighbour& other = kNeighbours[i / kNeighbourEvery % std::size(kNeighbours)];
            add(message.at_ms, other.program, other.process, other.text);
        }
        add(message.at_ms, "ravelin-mobile", message.process, message.text);
    }
    return log;
}

/// What journalctl -o export prints of a board where the daemon is a unit: each message comes by syslog and,
/// line by line, by standard output.
std::string Journal(const std::vector<Message>& messages) {
    std::string log;
    int64_t number = 0;
    const auto add = [&](int64_t at_ms, const char* transport, const std::string& program, int process,
                         const std::string& text) {
        ++number;
        log += "__CURSOR=s=0;i=" + std::to_string(number) + "\n__REALTIME_TIMESTAMP=" +
               std::to_string((kFirstSecond * kSecond_ms + at_ms) * 1000 + number % 1000) +
               "\n_TRANSPORT=" + transport + "\nPRIORITY=6\nSYSLOG_IDENTIFIER=" + program +
               "\n_COMM=" + program + "\n_PID=" + std::to_string(process) + "\n";
        const bool is_plain =
            std::all_of(text.begin(), text.end(), [](unsigned char c) { return c >= ' ' || c == '\t'; });
        if (is_plain) {
            log += "MESSAGE=" + text + "\n\n";
            return;
        }
        log += "MESSAGE\n";
        for (int byte = 0; byte < 8; ++byte) log += static_cast<char>(text.size() >> (8 * byte) & 0xFF);
        log += text + "\n\n";
    };
    for (size_t i = 0; i < messages.size(); ++i) {
        const Message& message = messages[i];
        if (i % kNeighbourEvery == 0) {
            const Neighbour& other = kNeighbours[i / kNeighbourEvery % std::size(kNeighbours)];
            add(message.at_ms, i % 2 == 0 ? "syslog" : "stdout", other.program, other.process, other.text);
        }
        add(message.at_ms, "syslog", "ravelin-mobile", message.process, message.text);
        if (message.place.empty()) continue;
        std::istringstream lines(LocalLine(message));
        std::string line;
        while (std::getline(lines, line)) {
            add(message.at_ms, "stdout", "ravelin-mobile", message.process, line);
        }
    }
    return log;
}

struct Form {
    const char* name;
    std::string (*write)(const std::vector<Message>& messages);
};
constexpr Form kForms[] = {{"local", LocalLog}, {"syslog", Syslog}, {"journal", Journal}};

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
    void Take(const Story& story, const History& history, const std::string& name) {
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
            fprintf(stderr, "%s: %s, %s, at %lld s\n", name.c_str(), outage.cause.c_str(),
                    WordOf(outage.certainty), static_cast<long long>(begin_ms / kSecond_ms));
        }
    }

    void PrintTable() const {
        printf("| Injected | right | wrong | named |\n|---|---|---|---|\n");
        for (const auto& [row, cells] : counts_) {
            std::string named;
            for (const auto& [cause, count] : cells) {
                named +=
                    (named.empty() ? "" : ", ") + std::string("`") + cause + "` " + std::to_string(count);
            }
            printf("| `%s` | %d | %d | %s |\n", row.c_str(), Count(right_, row), Count(wrong_, row),
                   named.c_str());
        }
    }

    /// False when it isn't good enough.
    bool PrintSum(const char* form) const {
        const int right = Sum(right_);
        const int wrong = Sum(wrong_);
        const double share = right + wrong > 0 ? static_cast<double>(right) / (right + wrong) : 0;
        printf("\n%s: %d outages, %d right, %d wrong: %.1f %%. Wrong and called certain: %d.\n", form,
               right + wrong, right, wrong, share * 100, certain_);
        return share >= kLeastRight && certain_ == 0;
    }

  private:
    static std::string FirstOf(const char* words) {
        return std::string(words).substr(0, std::string(words).find(' '));
    }
    static int Sum(const std::map<std::string, int>& counts) {
        int sum = 0;
        for (const auto& [row, count] : counts) sum += count;
        return sum;
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
    if (argc == 4 && std::string(argv[1]) == "--print") {
        for (const Form& form : kForms) {
            if (std::string(argv[2]) != form.name) continue;
            const std::string log = form.write(MessagesOf(argv[3]));
            fwrite(log.data(), 1, log.size(), stdout);
            return 0;
        }
    }
    if (argc < 3 || argc % 2 == 0) {
        fprintf(stderr,
                "usage: confusion STORY RECORD [STORY RECORD]...\n"
                "       confusion --print local|syslog|journal RECORD\n");
        return 2;
    }
    Matrix matrices[std::size(kForms)];
    for (int i = 1; i + 1 < argc; i += 2) {
        const Story story = ReadStory(argv[i]);
        if (story.sets_clock || story.is_misled()) continue;
        const std::vector<Message> messages = MessagesOf(argv[i + 1]);
        for (size_t form = 0; form < std::size(kForms); ++form) {
            const std::string name = std::string(kForms[form].name) + " of " + argv[i];
            matrices[form].Take(story, HistoryOf(kForms[form].write(messages)), name);
        }
    }
    matrices[0].PrintTable();
    bool is_good = true;
    for (size_t form = 0; form < std::size(kForms); ++form) {
        is_good &= matrices[form].PrintSum(kForms[form].name);
    }
    return is_good ? 0 : 1;
}
