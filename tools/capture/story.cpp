#include "tools/capture/story.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <optional>

#include "simulator/bus_peer/frame.h"
#include "simulator/text/text.h"
#include "tools/board/upgrade.h"
#include "tools/capture/identities.h"
#include "tools/log/line.h"

namespace capture {

namespace {

using Kind = Event::Kind;
using ravelin_log::kSecond_ms;
using simulator_text::Escape;

constexpr int64_t kAnswerWait_ms = 900;  // of the second that the daemon waits at least
constexpr int64_t kHintBefore_ms = 500;  // unsolicited words come in the middle of the second that listens
constexpr int64_t kDaemonComesOnline_ms = 120 * kSecond_ms;  // of a log that begins later than the daemon
constexpr int64_t kAfterwards_ms = 1 * kSecond_ms;
constexpr int64_t kTolerance_ms = 2 * kSecond_ms;  // of the times that are expected
constexpr size_t kMuteAsks =
    3;  // so many commands without an answer, one after the other, are a modem that is mute
constexpr size_t kMostEvents = 90'000;
constexpr char kAnyFamily[] = "quectel_qcom";
constexpr char kDefaultDevice[] = "/dev/ttyUSB2";
constexpr char kDefaultSettings[] = "/run/network/ifcfg-lte";
constexpr const char* kBoards[] = {"", "Hardware : Freescale i.MX6UL MX6", "Hardware : STM32",
                                   "CPU part : 0xd04", "CPU part : 0xd03"};

std::string Seconds(int64_t at_ms) {
    char text[32];
    snprintf(text, sizeof text, "%lld.%03lld", static_cast<long long>(at_ms / kSecond_ms),
             static_cast<long long>(at_ms % kSecond_ms));
    return text;
}

/// As the simulated modem compares commands.
std::string Normal(const std::string& command) {
    std::string normal;
    char quote = '\0';
    for (const char c : command) {
        if (quote != '\0') {
            normal += c;
            if (c == quote) quote = '\0';
            continue;
        }
        if (c == ' ' || c == '\t') continue;
        if (c == '"' || c == '\'') quote = c;
        normal += static_cast<char>(toupper(static_cast<unsigned char>(c)));
    }
    return normal;
}

bool IsPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return isprint(static_cast<unsigned char>(c)) != 0; });
}

/// What stands in a statement as it is: a line end in it would begin another one.
bool IsWord(const std::string& text) {
    return !text.empty() && IsPrintable(text) && text.find(' ') == std::string::npos;
}

/// A value that changes with time: what holds from the start, and each change in the middle of the time in
/// which it must have come.
class Writer {
  public:
    Writer(const Transcript& transcript, const StoryOptions& options)
        : transcript_(transcript), options_(options), identities_(options.keeps_identities) {}

    Story Write();

  private:
    struct Timed {
        int64_t at_ms;
        std::string text;
    };
    struct Known {
        std::string answer;
        int64_t at_ms = 0;
        int64_t before_ms = 0;
    };

    void At(int64_t at_ms, std::string text) {
        events_.push_back({std::max<int64_t>(at_ms + offset_ms_, 0), std::move(text)});
    }
    void Given(const std::string& text) { given_ += text + "\n"; }
    void Lose(const std::string& what) {
        if (std::find(story_.losses.begin(), story_.losses.end(), what) == story_.losses.end()) {
            story_.losses.push_back(what);
        }
    }
    void FindMuteness();
    void Ask(size_t index);
    void Delay(const Event& event);
    void Heard(const Event& event);
    void Settings(const Event& event);
    void Ping(const Event& event);
    void Shell(const Event& event);
    void Frame(const Event& event);
    void Port(size_t index);
    void Start(size_t index);
    bool EndedItself(size_t index) const;
    void FindSupervisor();
    void Tell();
    void TellLosses();
    void Assemble();

    const Transcript& transcript_;
    const StoryOptions& options_;
    Identities identities_;
    Story story_;
    int64_t offset_ms_ = 0;
    std::string given_;
    std::string settings_block_;
    bool has_settings_ = false;
    std::string settings_;
    int64_t settings_at_ms_ = 0;
    std::vector<Timed> events_;
    std::map<std::string, Known> answers_;
    std::map<std::string, std::string> rules_;  // of the shell
    std::map<std::string, int64_t> rule_at_ms_;
    std::vector<bool> is_mute_;
    int64_t last_bytes_ms_ = 0;
    bool is_plugged_ = true;
    int64_t missing_ms_ = 0;
    std::string port_;
    int64_t supervise_ms_ = 0;  // from the end of a run to the next; 0: there is no next
    std::vector<std::string> ends_;
};

/// Which asks belong to a time in which the modem said nothing at all.
void Writer::FindMuteness() {
    const std::vector<Event>& events = transcript_.events;
    is_mute_.assign(events.size(), false);
    std::vector<size_t> run;
    const auto end_run = [&](std::optional<size_t> next) {
        if (run.size() >= kMuteAsks) {
            for (const size_t i : run) is_mute_[i] = true;
            const Event& first = events[run.front()];
            const int64_t from_ms = last_bytes_ms_;
            if (answers_.empty() && from_ms == 0) {
                Given("knob mute on");
            } else {
                At((from_ms + std::max(first.before_ms, from_ms)) / 2, "mute on");
            }
            if (next) {
                const Event& talk = events[*next];
                const int64_t last_ms = events[run.back()].at_ms - kHintBefore_ms;
                const int64_t to_ms =
                    talk.kind == Kind::kAsk ? talk.before_ms : talk.at_ms - kHintBefore_ms - 1;
                At((last_ms + std::max(last_ms, to_ms)) / 2, "mute off");
            }
        }
        run.clear();
    };
    int64_t bytes_ms = 0;
    for (size_t i = 0; i < events.size(); ++i) {
        const Event& event = events[i];
        const bool talks = event.kind == Kind::kHeard || (event.kind == Kind::kAsk && !event.text.empty());
        if (event.kind == Kind::kAsk && event.text.empty()) {
            if (run.empty()) last_bytes_ms_ = bytes_ms;
            run.push_back(i);
        } else if (talks || event.kind == Kind::kStart) {
            end_run(talks ? std::optional<size_t>(i) : std::nullopt);
            if (talks) answers_.emplace("", Known());
        }
        if (event.kind == Kind::kAsk) {
            bytes_ms = event.at_ms - std::min(kHintBefore_ms, (event.at_ms - event.before_ms) / 2);
        }
        if (event.kind == Kind::kHeard) bytes_ms = event.at_ms;
    }
    end_run(std::nullopt);
    answers_.clear();
}

void Writer::Ask(size_t index) {
    const Event& event = transcript_.events[index];
    const std::string command = identities_.OfCommand(event.subject);
    const std::string key = Normal(command);
    if (key.compare(0, 2, "AT") != 0 || !IsPrintable(command) || command.find(" =") != std::string::npos) {
        Lose("The answers to " + QuotedText(command) + ": no knob can name this command.");
        return;
    }
    const auto known = answers_.find(key);
    if (is_mute_[index]) {
        if (known != answers_.end()) known->second.at_ms = event.at_ms;
        return;
    }
    const std::string answer = identities_.OfText(event.text);
    const std::string knob = "answer " + command + " =" + (answer.empty() ? "" : " " + KnobText(answer));
    if (known == answers_.end()) {
        if (offset_ms_ == 0) {
            Given("knob " + knob);
        } else {
            At(0, knob);
        }
        answers_[key] = {answer, event.at_ms, event.before_ms};
        return;
    }
    Known& last = known->second;
    if (last.answer != answer) {
        const int64_t from_ms = last.at_ms - std::min(kAnswerWait_ms, (last.at_ms - last.before_ms) * 9 / 10);
        At((from_ms + std::max(from_ms, event.before_ms)) / 2, knob);
    }
    last = {answer, event.at_ms, event.before_ms};
}

// A read that is full ends at once: only then the moment of the answer shows.
void Writer::Delay(const Event& event) {
    const int64_t delay_ms = (event.at_ms - event.before_ms - 1) % kSecond_ms;
    if (event.text.size() < kRead_bytes || delay_ms <= 0) return;
    At(event.before_ms, "delay " + std::to_string(delay_ms));
    At(event.at_ms, "delay 0");
}

void Writer::Heard(const Event& event) {
    const int64_t span_ms = event.at_ms - event.before_ms;
    const int64_t back_ms = event.subject == "hint" ? std::min(kHintBefore_ms, span_ms / 2)
                                                    : std::min<int64_t>(kHintBefore_ms, (span_ms + 1) / 2);
    At(event.at_ms - back_ms, "urc " + KnobText(identities_.OfText(event.text)));
}

void Writer::Settings(const Event& event) {
    const std::string text = identities_.OfSettings(event.text);
    std::string block;
    size_t begin = 0;
    for (size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
        block += "    " + BlockLine(text.substr(begin, end - begin)) + "\n";
    }
    if (!has_settings_) {
        settings_block_ = block;
        has_settings_ = true;
    } else if (block != settings_) {
        At((settings_at_ms_ + std::max(settings_at_ms_, event.before_ms)) / 2,
           "settings\n" + block.substr(0, block.size() - 1));
    }
    settings_ = block;
    settings_at_ms_ = event.at_ms;
}

void Writer::Ping(const Event& event) {
    std::string text = event.text;
    std::string rule = "shell " + QuotedText(event.subject);
    if (event.kind == Kind::kPingFailed) {
        rule += " fails";
    } else {
        if (!text.empty() && text.back() != '\n') text += '\n';
        rule += " prints " + PlainText(text);
        if (event.number > 0) rule += (text.empty() ? " takes " : " slowly ") + std::to_string(event.number);
    }
    const auto known = rules_.find(event.subject);
    if (known == rules_.end()) {
        Given(rule);
    } else if (known->second != rule) {
        At((rule_at_ms_[event.subject] + std::max(rule_at_ms_[event.subject], event.before_ms)) / 2, rule);
    }
    rules_[event.subject] = rule;
    rule_at_ms_[event.subject] = event.at_ms;
}

// The reset replaces that of the simulated modem, whose words after a start are in the log.
void Writer::Shell(const Event& event) {
    std::string rule = "shell " + QuotedText(event.subject);
    rule += event.number > 0 ? " takes " + std::to_string(event.number) : " prints \"\"";
    const auto known = rules_.find(event.subject);
    const bool is_default = known == rules_.end() && event.number == 0;
    if (!is_default && (known == rules_.end() || known->second != rule)) {
        const int64_t from_ms = rule_at_ms_[event.subject];
        At(from_ms == 0 ? std::max<int64_t>(event.at_ms - 1, 0) : (from_ms + event.at_ms) / 2, rule);
        rules_[event.subject] = rule;
    }
    rule_at_ms_[event.subject] = event.at_ms + event.number * kSecond_ms;
}

void Writer::Frame(const Event& event) {
    bus_peer::Frame frame;
    frame.msg_id = static_cast<unsigned>(event.number);
    frame.cmd = static_cast<unsigned>(event.other);
    frame.data.assign(event.text.begin(), event.text.end());
    if (!event.text.empty()) {
        Lose("The bytes of a frame of the bus, where the log shows its command and length only.");
    }
    const bus_peer::Bytes bytes = bus_peer::EncodeFrame(frame);
    At(event.at_ms, "call " + simulator_text::ToHex(std::string(bytes.begin(), bytes.end())));
}

void Writer::Port(size_t index) {
    const Event& event = transcript_.events[index];
    switch (event.kind) {
        case Kind::kPortMissing:
            if (is_plugged_ && events_.empty() && offset_ms_ == 0) {
                Given("knob unplug");
            } else if (is_plugged_) {
                At(event.at_ms - 1, "unplug");
            }
            is_plugged_ = false;
            missing_ms_ = event.at_ms;
            break;
        case Kind::kPortOpen:
            if (!is_plugged_) At((missing_ms_ + event.at_ms) / 2, "plug");
            is_plugged_ = true;
            break;
        case Kind::kPortGone:
            if (is_plugged_) At(std::max<int64_t>((event.before_ms + event.at_ms) / 2 - 1, 0), "unplug");
            is_plugged_ = false;
            break;
        case Kind::kPortLost:
            if (is_plugged_) At((event.before_ms + event.at_ms) / 2, "unplug");
            is_plugged_ = false;
            break;
        case Kind::kPortFound: {
            const std::string path = event.subject == "/dev/" || !IsWord(event.subject) ? "" : event.subject;
            if (path.empty()) {
                if (is_plugged_) At(event.at_ms - kSecond_ms, "unplug");
                is_plugged_ = false;
            } else if (!is_plugged_ || path != port_) {
                if (is_plugged_) At(event.at_ms - kSecond_ms - 1, "unplug");
                At(event.at_ms - kSecond_ms, "plug " + path);
                is_plugged_ = true;
            }
            if (!path.empty()) port_ = path;
            break;
        }
        default:
            break;
    }
}

/// Whether the run before that start ended by itself, as its last line tells.
bool Writer::EndedItself(size_t index) const {
    const Event& last = transcript_.events[index - 1];
    return last.kind == Kind::kPortLost || last.kind == Kind::kNoSettings ||
           (last.kind == Kind::kDecision &&
            (last.text.find("open device error") == 0 || last.text.find("Unknow Cell") == 0));
}

/// One time for all starts: a run that ended by itself tells it, and a signal leaves no more than the gap.
void Writer::FindSupervisor() {
    const std::vector<Event>& events = transcript_.events;
    bool is_told = false;
    for (size_t i = 1; i < events.size(); ++i) {
        if (events[i].kind != Kind::kStart) continue;
        const int64_t gap_ms = std::max<int64_t>(events[i].at_ms - events[i].before_ms, 1);
        const bool ended_itself = EndedItself(i);
        if (ended_itself && is_told && gap_ms != supervise_ms_) {
            Lose("How long the supervisor waited before each start: the story has one time for all.");
        }
        if (ended_itself && !is_told) supervise_ms_ = gap_ms;
        is_told |= ended_itself;
        if (!is_told && (supervise_ms_ == 0 || gap_ms - 1 < supervise_ms_)) {
            supervise_ms_ = std::max<int64_t>(gap_ms - 1, 1);
        }
    }
}

void Writer::Start(size_t index) {
    if (index == 0) return;
    if (EndedItself(index)) {
        const bool is_unknown = transcript_.events[index - 1].text.find("Unknow Cell") == 0;
        ends_.push_back(std::string("also ends exit ") + (is_unknown ? "0" : "255"));
        return;
    }
    At(transcript_.events[index].at_ms - supervise_ms_, "kill kill");
    Lose("How a run ended that didn't say so, and when: a signal takes its place.");
}

void Writer::Tell() {
    const std::vector<Event>& events = transcript_.events;
    for (size_t i = 0; i < events.size(); ++i) {
        const Event& event = events[i];
        switch (event.kind) {
            case Kind::kStart:
                Start(i);
                break;
            case Kind::kAsk:
                Ask(i);
                Delay(event);
                break;
            case Kind::kHeard:
                Heard(event);
                break;
            case Kind::kSettings:
                Settings(event);
                break;
            case Kind::kNoSettings:
                if (has_settings_) {
                    At((settings_at_ms_ + event.at_ms) / 2, std::string("remove ") + kDefaultSettings);
                } else {
                    settings_block_ = "none";
                    has_settings_ = true;
                }
                settings_.clear();
                settings_at_ms_ = event.at_ms;
                break;
            case Kind::kFifo:
                At(event.at_ms, "fifo " + PlainText(identities_.OfText(event.text)));
                break;
            case Kind::kFifoGone:
                At(event.at_ms - 1, "remove /run/network/ravelin_fifo");
                break;
            case Kind::kFrame:
                Frame(event);
                break;
            case Kind::kPing:
            case Kind::kPingFailed:
                Ping(event);
                break;
            case Kind::kShell:
                Shell(event);
                break;
            case Kind::kClock:
                At(event.at_ms,
                   std::string("clock ") + (event.number < 0 ? "" : "+") + std::to_string(event.number));
                break;
            case Kind::kDecision:
                break;
            default:
                Port(i);
                break;
        }
    }
}

void Writer::TellLosses() {
    const Transcript& t = transcript_;
    if (!t.has_start) {
        Lose(
            "The log begins after the daemon's start: what its counters held is unknown, and a healthy start "
            "of the "
            "simulated modem stands in front of it.");
    } else if (!t.has_identification) {
        Lose("The log has no identification of the modem: the simulated modem answers it.");
    }
    if (!t.has_exchanges) {
        Lose(
            "The log has no exchange with the modem (level 7 is needed): the simulated modem answers for "
            "it.");
    }
    if (t.torn > 0) Lose("Exchanges that are cut in the log: " + std::to_string(t.torn) + ".");
    if (t.percent > 0) Lose("Texts of the modem with \"%%\": the log shows \"%\" for it.");
    Lose(
        "When within its wait an answer came, and in how many pieces: the daemon reads to the end of the "
        "wait.");
    Lose("What the modem says after a NUL byte: the log ends a text there.");
    Lose("AUTOCONNECT and keys of the settings that the daemon doesn't log.");
}

void Writer::Assemble() {
    std::string head =
        "# A log from the field, as \"ravelinctl capture\" has read it: " + Escape(options_.source) + ".\n";
    if (options_.keeps_identities) {
        head += "# Its identities are the real ones: not for publication.\n";
    } else {
        head += "# Identities are replaced, each everywhere by the same other one:";
        std::string names;
        for (const auto& [kind, count] : identities_.counts()) {
            names += (names.empty() ? " " : ", ") + kind + " (" + std::to_string(count) + ")";
            story_.replaced.push_back(kind + " (" + std::to_string(count) + ")");
        }
        head += names.empty() ? " none was found.\n" : names + ".\n";
    }
    head += "# Not carried over:\n";
    for (const std::string& loss : story_.losses) head += "# - " + Escape(loss) + "\n";

    std::string family = options_.family.empty() ? transcript_.family : options_.family;
    if (family.empty()) family = kAnyFamily;
    std::string text = head + "\nmodem " + family;
    if (IsWord(transcript_.module)) text += " " + transcript_.module;
    text += "\nknob recorded on\n";
    const std::string device = IsWord(transcript_.device) ? transcript_.device : kDefaultDevice;
    if (device != kDefaultDevice) text += "port " + device + "\n";
    std::string options;
    if (device != kDefaultDevice) options += " -d " + PlainText(device);
    if (!transcript_.config.empty() && transcript_.config != kDefaultSettings) {
        options += " -c " + PlainText(transcript_.config);
        text += "file " + QuotedText(transcript_.config) + "\n    ENABLE=true\n";
    }
    if (!transcript_.script.empty()) options += " -s " + PlainText(transcript_.script);
    if (!options.empty()) text += "options" + options + "\n";
    if (settings_block_ == "none") {
        text += "settings none\n";
    } else if (has_settings_) {
        text += settings_block_.empty() ? "settings empty\n" : "settings\n" + settings_block_;
    }
    const int board = transcript_.board;
    if (transcript_.has_board_in_version) {
        text += "version Linux version 5.10\n";
    } else if (board > 0 && board < static_cast<int>(std::size(kBoards))) {
        text += std::string("cpuinfo ") + kBoards[board] + "\n";
    }
    if (transcript_.has_upgrade_folder) text += std::string("folder ") + board::kFirmwareFolder + "\n";
    if (transcript_.has_upgrade_tool) {
        text += std::string("file ") + board::kFirmwareFolder + "/" + board::kFirmwareTool + "\n    tool\n";
    }
    if (transcript_.has_network_json) {
        text +=
            "file /ubi/conf/network/network.json\n    {\"customer_name\": \"halden\", \"product_name\": "
            "\"Quillbox\",\n"
            "     \"whitelist\": {\"userSettings\": {\"moduleName\": {\"allowedValues\": [";
        std::string names;
        for (const std::string& name : transcript_.allowed) {
            const bool is_word = std::all_of(name.begin(), name.end(), [](char c) {
                return isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
            });
            if (is_word) names += (names.empty() ? "\"" : ", \"") + name + "\"";
        }
        text += names + "]}}}}\n";
    }
    text += std::string("shell ") + QuotedText("Reset4G.sh start") + " prints \"\"\n";
    if (supervise_ms_ > 0) text += "supervise " + Seconds(supervise_ms_) + "\n";
    text += given_ + "\n";
    std::stable_sort(events_.begin(), events_.end(),
                     [](const Timed& a, const Timed& b) { return a.at_ms < b.at_ms; });
    for (const Timed& event : events_) text += "at " + Seconds(event.at_ms) + " " + event.text + "\n";
    const int64_t end_ms = transcript_.end_ms + offset_ms_ + kAfterwards_ms;
    text += "until " + Seconds(end_ms) + "\n\n";
    // The story is a test: what the daemon has decided then, it is to decide again.
    for (const Event& event : transcript_.events) {
        if (event.kind != Kind::kDecision || offset_ms_ > 0) continue;
        const int64_t at_ms = event.at_ms + offset_ms_;
        text += "see " + Seconds(std::max<int64_t>(at_ms - kTolerance_ms, 0)) + ".." +
                Seconds(at_ms + kTolerance_ms) + " logs " + event.subject + " " +
                QuotedText(identities_.OfText(event.text)) + "\n";
    }
    for (const std::string& end : ends_) text += end + "\n";
    const std::string& last = transcript_.last_words;
    if (last.find("open device error") == 0) {
        text += "also ends exit 255\n";
    } else if (last.find("Unknow Cell Device!") == 0) {
        text += "also ends exit 0\n";
    } else if (last.find("config ") == 0) {
        text += "also ends exit 255\n";
    } else if (last.find("[whitelist] 4G module not allowd") == 0) {
        text += "also ends signal 11\n";
    } else {
        text += "also ends still running\n";
    }
    story_.text = std::move(text);
}

Story Writer::Write() {
    if (options_.family.empty() && transcript_.family.empty()) {
        if (transcript_.has_start) {
            Lose(
                "The family of the modem, which the log doesn't tell: the simulated modem is a Quectel one.");
        } else {
            story_.problem = "the log doesn't tell the family of the modem: --family does";
            return story_;
        }
    }
    if (!transcript_.has_start) offset_ms_ = kDaemonComesOnline_ms;
    // Numbers are known by name before the first text is looked at.
    for (const Identity& identity : transcript_.identities) identities_.Learn(identity);
    for (const Event& event : transcript_.events) {
        if (event.kind != Kind::kAsk) continue;
        const std::string command = Normal(event.subject);
        const bool is_imsi = command == "AT+CIMI";
        if (!is_imsi && command.compare(0, 7, "AT+CGSN") != 0) continue;
        std::string digits;
        for (const char c : event.text + " ") {
            if (isdigit(static_cast<unsigned char>(c)) != 0) {
                digits += c;
                continue;
            }
            if (digits.size() >= 14) {
                identities_.Learn({is_imsi ? Identity::Kind::kImsi : Identity::Kind::kImei, digits});
            }
            digits.clear();
        }
    }
    port_ = transcript_.device.empty() ? kDefaultDevice : transcript_.device;
    FindMuteness();
    FindSupervisor();
    Tell();
    TellLosses();
    if (events_.size() > kMostEvents) {
        story_.problem =
            "the log is too long for one story: " + std::to_string(events_.size()) +
            " events, where a scenario has room for 100000; cut the log at a start of the daemon";
        return story_;
    }
    Assemble();
    return story_;
}

}  // namespace

std::string KnobText(const std::string& bytes) {
    std::string text = Escape(bytes);
    if (!text.empty() && text.back() == ' ') text.replace(text.size() - 1, 1, "\\x20");
    if (!text.empty() && text.front() == ' ') text.replace(0, 1, "\\x20");
    return text;
}

std::string QuotedText(const std::string& bytes) {
    std::string text = "\"";
    for (const char c : Escape(bytes)) {
        if (c == '"') {
            text += "\\\"";
        } else {
            text += c;
        }
    }
    return text + '"';
}

std::string PlainText(const std::string& bytes) {
    return BlockLine(QuotedText(bytes));
}

std::string BlockLine(const std::string& line) {
    std::string text;
    for (const char c : line) text += c == '<' ? std::string("<1*<>") : std::string(1, c);
    return text;
}

Story WriteStory(const Transcript& transcript, const StoryOptions& options) {
    return Writer(transcript, options).Write();
}

const std::vector<std::string>& FamilyNames() {
    static const std::vector<std::string> names = {
        "chuangyi", "cinterion",   "fibocom",      "fibocom_le",     "huawei", "longsung", "lynq",
        "nodecom",  "quectel_asr", "quectel_qcom", "quectel_unisoc", "simcom", "zte"};
    return names;
}

}  // namespace capture
