// The preload library: runs a scenario under the real daemon. Before the daemon's main, the library builds
// the virtual world that the scenario asks for; from then on it turns knobs, writes files and pipes at their
// times, and notes in the record what the daemon does. It also stands in for the bus library.
//
// Started by scenario_run, which says by three environment variables which scenario, folder and record file
// to use.

#include "simulator/virtual_time/preload.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/busglue/busglue.h"
#include "simulator/virtual_time/environment.h"
#include "simulator/virtual_time/expectations.h"
#include "simulator/virtual_time/modem_port.h"
#include "simulator/virtual_time/own_heap.h"
#include "simulator/virtual_time/ping.h"
#include "simulator/virtual_time/record_file.h"
#include "simulator/virtual_time/resources.h"
#include "simulator/virtual_time/scenario.h"

// Of the leak sanitizer, where the daemon is built with it.
extern "C" int __lsan_do_recoverable_leak_check() __attribute__((weak));

namespace virtual_time {

namespace {

std::string HexOf(const unsigned char* bytes, int length) {
    return simulator_text::ToHex({reinterpret_cast<const char*>(bytes), static_cast<size_t>(length)});
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// Lines that differ each time a file is written, and say nothing.
bool IsClockLine(std::string_view line) {
    return line.substr(0, 4) == "Now=" || line.substr(0, 7) == "Uptime=";
}

std::string_view TakeLine(std::string_view* text) {
    const size_t end = std::min(text->find('\n'), text->size());
    const std::string_view line = text->substr(0, end);
    text->remove_prefix(std::min(end + 1, text->size()));
    return line;
}

bool HasLine(std::string_view text, std::string_view wanted) {
    while (!text.empty()) {
        if (TakeLine(&text) == wanted) return true;
    }
    return false;
}

// Length of "HH:MM:SS.ms FILE:FUNCTION:LINE:" at the start of a line of the log, or 0; `place` gets the part
// after the time, without its last colon.
size_t ParseLogPrefix(const std::string& text, std::string* place) {
    int hour = 0, minute = 0, second = 0, milliseconds = 0, length = 0;
    if (sscanf(text.c_str(), "%2d:%2d:%2d.%d %n", &hour, &minute, &second, &milliseconds, &length) != 4) {
        return 0;
    }
    const size_t start = static_cast<size_t>(length);
    const size_t function = text.find(':', start);
    const size_t line = function == std::string::npos ? function : text.find(':', function + 1);
    const size_t end = line == std::string::npos ? line : text.find(':', line + 1);
    if (end == std::string::npos || text.find_first_not_of("0123456789", line + 1) != end) return 0;
    *place = text.substr(start, end - start);
    return end + 1;
}

std::string WithoutLineEnd(std::string text) {
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

// What the log's second interpretation as a format makes of a text.
std::string WithSinglePercents(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        result += text[i];
        if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
    }
    return result;
}

class Run {
  public:
    Run(const Scenario& scenario, const std::string& root, const std::string& record_path,
        size_t record_limit_bytes)
        : scenario_(scenario), record_(record_path, record_limit_bytes), environment_(root) {
        Furnish();
        Watch();
        Schedule();
        CaptureOutput();
    }

    void Note(const char* kind, const std::string& bytes) {
        FlushSent();
        FlushForwarded();
        NoteAt(environment_.now_us(), kind, bytes);
    }

    // Log and output

    // A line of the log is forwarded first and then printed, by one thread that doesn't wait in between. So
    // what was forwarded is kept until it is seen whether it is printed too.
    void Forwarded(const std::string& text) {
        FlushForwarded();
        forwarded_ = text;
        forwarded_at_us_ = environment_.now_us();
        has_forwarded_ = true;
    }

    void Printed(const std::string& chunk) {
        std::string place;
        const size_t prefix = ParseLogPrefix(chunk, &place);
        if (prefix == 0) {
            PrintPlain(chunk, "prints", &printed_);
            return;
        }
        const std::string message = WithoutLineEnd(chunk.substr(prefix));
        const std::string forwarded = WithSinglePercents(forwarded_);
        // The forwarded copy of a line that has no line end lacks its last character.
        const bool is_same = has_forwarded_ && message.compare(0, forwarded.size(), forwarded) == 0 &&
                             message.size() - forwarded.size() <= 1;
        if (is_same) has_forwarded_ = false;
        Note(is_same ? "logs" : "debugs", place + " " + message);
    }

    void Complained(const std::string& chunk) { PrintPlain(chunk, "complains", &complained_); }

    // Bus

    int JoinBus(const char* name, const busglue_descriptor* descriptor) {
        Note("bus", std::string("joins ") + name);
        if (scenario_.bus_fails) return -1;
        descriptor_ = descriptor;
        pthread_t thread;
        if (pthread_create(&thread, nullptr, ServeBus, this) == 0) pthread_detach(thread);
        return 0;
    }

    void SendOnBus(const busglue_send_record& record) {
        Note("bus", std::string("sends ") + record.destination + " " + HexOf(record.frame, record.length));
    }

    // End

    // The daemon calls exit, or returns from main.
    void DaemonExits(int status) {
        const ForTheWorld memory;
        FlushOutput();
        Note("ends", "exit " + std::to_string(status));
    }

  private:
    struct Message {
        bool is_call;
        std::string bytes;
    };

    // Given

    void Furnish() {
        for (const ScenarioFile& file : scenario_.files) WriteFile(file.path, file.text);
        for (const std::string& folder : scenario_.folders) environment_.folder.MakeFolder(folder);
        // Reset scripts pull the modem's reset or power pin; a rule of the scenario can make them do
        // something else.
        AddResetScript("Reset4G.sh start", {"reset"});
        AddResetScript("Reset4G.sh start pin_power", {"power off", "power on"});
        for (const char* path : kSelectorPins) AddSelectorPin(path);
        for (const ShellRule& rule : scenario_.shell) AddShellRule(rule);
        if (!scenario_.modem_family.empty()) InstallModem();
    }

    void WriteFile(const std::string& path, const std::string& text) {
        environment_.folder.Write(path, text);
        known_files_[path] = text;
    }

    void InstallModem() {
        modem_sim::ModemOptions options;
        options.family = scenario_.modem_family;
        options.model = scenario_.modem_model;
        modem_ = std::make_unique<ModemPort>(options);
        for (const std::string& knob : scenario_.knobs) TurnKnob(knob);
        modem_->Advance(0);
        modem_->on_presence = [this](bool present) {
            Note("modem", present ? "port is back" : "port is gone");
        };
        environment_.AddPort(scenario_.port, modem_.get());
    }

    void AddResetScript(const std::string& part, const std::vector<std::string>& knobs) {
        if (scenario_.modem_family.empty()) return;
        ShellRule rule;
        rule.part = part;
        rule.knobs = knobs;
        AddShellRule(rule);
    }

    // Whoever writes the pin selects the SIM; a pin that isn't exported selects none, since sysfs makes no
    // files.
    void AddSelectorPin(const std::string& path) {
        if (scenario_.modem_family.empty()) return;
        ShellAnswer answer;
        answer.action = [this, path] {
            const std::string level = environment_.folder.Read(path);
            if (level == "1\n") TurnKnob("select 1");
            if (level == "0\n") TurnKnob("select 2");
        };
        environment_.shell.AddRule("> " + path, answer);
    }

    void AddShellRule(const ShellRule& rule) {
        ShellAnswer answer;
        answer.fails = rule.fails;
        answer.output = rule.prints;
        answer.takes_seconds = rule.takes_seconds;
        answer.seconds_before_line = rule.seconds_before_line;
        answer.action = [this, knobs = rule.knobs] {
            for (const std::string& knob : knobs) TurnKnob(knob);
        };
        if (rule.pings) {
            answer.complete = [this](const std::string& command, ShellAnswer* pinged) {
                if (modem_ == nullptr || !AnswerPing(command, modem_->modem(), pinged)) {
                    Note("broken", "no ping through a modem: " + command);
                }
            };
        }
        environment_.shell.AddRule(rule.part, answer);
    }

    void TurnKnob(const std::string& line) {
        std::string reply;
        Note("modem", line);
        const int64_t now_ms = environment_.now_us() / kMicrosecondsPerMillisecond;
        if (modem_ == nullptr || !modem_->modem().Control(line, &reply, now_ms)) {
            Note("broken", "modem: " + reply);
        }
        if (modem_ != nullptr) modem_->Advance(environment_.now_us());
    }

    // Watching

    void Watch() {
        environment_.shell.on_call = [this](const Shell::Call& call) {
            Note(call.is_popen ? "asks" : "runs", call.command);
        };
        environment_.on_port_written = [this](const std::string& bytes) { NoteSent(bytes); };
        environment_.on_port_read = [this](const std::string& bytes) { Note("hears", bytes); };
        environment_.on_file_written = [this](const std::string& path, const std::string& text) {
            NoteFile(path, text);
        };
        environment_.scheduler.on_deadlock = [this] {
            End("stuck: every thread waits for something that never comes");
        };
    }

    // The transport writes a command and then its line end. A command that came with a line end of its own is
    // complete when something else follows.
    void NoteSent(const std::string& bytes) {
        if (bytes == "\r\n") {
            NoteAt(environment_.now_us(), "sends", sent_);
            sent_.clear();
            return;
        }
        FlushSent();
        sent_ = bytes;
        sent_at_us_ = environment_.now_us();
    }

    void FlushSent() {
        if (sent_.empty()) return;
        const bool has_line_end = sent_.size() >= 2 && sent_.compare(sent_.size() - 2, 2, "\r\n") == 0;
        NoteAt(sent_at_us_, "sends", has_line_end ? sent_.substr(0, sent_.size() - 2) : sent_);
        sent_.clear();
    }

    void NoteAt(int64_t at_us, const char* kind, const std::string& bytes) {
        if (!record_.Note(at_us, kind, bytes)) EndWithFullRecord(at_us);
        if (marks_left_ > 0) LookForMarks({at_us, kind, Escape(bytes)});
    }

    // What the scenario does so long after a mark is known once the daemon has come to it.
    void LookForMarks(const RecordEntry& entry) {
        for (size_t i = 0; i < scenario_.marks.size(); ++i) {
            const Mark& mark = scenario_.marks[i];
            if (is_reached_[i] || !MatchesEntry(mark.kind, mark.place, mark.text, entry)) continue;
            is_reached_[i] = true;
            --marks_left_;
            ScheduleFrom(static_cast<int>(i), entry.at_us);
        }
    }

    // Most lines stand where they stood before.
    void NoteFile(const std::string& path, const std::string& text) {
        std::string& known = known_files_[path];
        if (text == known) return;
        std::string_view lines = text, known_lines = known;
        while (!lines.empty()) {
            const std::string_view line = TakeLine(&lines);
            const bool stood_there = !known_lines.empty() && line == TakeLine(&known_lines);
            if (stood_there || IsClockLine(line) || HasLine(known, line)) continue;
            Note("publishes", path + " " + std::string(line));
        }
        known = text;
    }

    void Show(const std::string& path) {
        if (!environment_.folder.Exists(path)) {
            Note("shows", path + " (missing)");
            return;
        }
        for (const std::string& line : SplitLines(environment_.folder.Read(path))) {
            Note("shows", path + " " + line);
        }
    }

    void PrintPlain(const std::string& chunk, const char* kind, std::string* rest) {
        *rest += chunk;
        size_t start = 0;
        for (size_t end; (end = rest->find('\n', start)) != std::string::npos; start = end + 1) {
            Note(kind, rest->substr(start, end - start));
        }
        rest->erase(0, start);
    }

    void FlushForwarded() {
        if (!has_forwarded_) return;
        has_forwarded_ = false;
        NoteAt(forwarded_at_us_, "forwards", forwarded_);
    }

    void FlushOutput() {
        FlushSent();
        FlushForwarded();
        if (!printed_.empty()) Note("prints", printed_);
        if (!complained_.empty()) Note("complains", complained_);
        printed_.clear();
        complained_.clear();
    }

    // What happens when

    void Schedule() {
        ScheduleFrom(kNoMark, 0);
        environment_.scheduler.At(scenario_.until_us, [this] { End("still running"); });
    }

    void ScheduleFrom(int mark, int64_t base_us) {
        for (const ScenarioEvent& event : scenario_.events) {
            if (event.mark != mark) continue;
            environment_.scheduler.At(base_us + event.at_us, [this, &event] { Do(event); });
        }
    }

    void Do(const ScenarioEvent& event) {
        using Kind = ScenarioEvent::Kind;
        switch (event.kind) {
            case Kind::kKnob:
                TurnKnob(event.subject);
                break;
            case Kind::kFifo:
                Note("world", "fifo " + event.text);
                WriteFifo(event.text);
                break;
            case Kind::kWrite:
                Note("world", "write " + event.subject);
                WriteFile(event.subject, event.text);
                break;
            case Kind::kRemove:
                Note("world", "remove " + event.subject);
                environment_.folder.Remove(event.subject);
                break;
            case Kind::kFolder:
                Note("world", "folder " + event.subject);
                environment_.folder.MakeFolder(event.subject);
                break;
            case Kind::kShow:
                Show(event.subject);
                break;
            case Kind::kType:
                Note("world", "type " + event.text);
                environment_.Type(event.text);
                break;
            case Kind::kShell:
                Note("world", "shell " + event.shell.part);
                AddShellRule(event.shell);
                break;
            case Kind::kResources:
                NoteResources();
                break;
            case Kind::kCall:
            case Kind::kSignal:
                messages_.push_back({event.kind == Kind::kCall, event.text});
                break;
        }
    }

    // Without the thread that serves the bus, which isn't the daemon's.
    void NoteResources() {
        const Resources resources = CountResources(environment_);
        Note("world", "resources descriptors " + std::to_string(resources.descriptors) + " threads " +
                          std::to_string(resources.threads - (descriptor_ != nullptr ? 1 : 0)) +
                          " children " + std::to_string(resources.children) + " heap " +
                          std::to_string(resources.heap_bytes));
    }

    void WriteFifo(const std::string& text) {
        const int fd = open(environment_.folder.Inside(kFifoPath).c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            Note("world", std::string("nobody reads the fifo: ") + strerror(errno));
        }
        if (fd >= 0) close(fd);
    }

    // Bus

    // The library's own thread.
    static void* ServeBus(void* argument) {
        const ForTheWorld memory;
        Run* run = static_cast<Run*>(argument);
        while (true) {
            run->environment_.scheduler.Wait(kNever, [run] { return !run->messages_.empty(); });
            const Message message = run->messages_.front();
            run->messages_.pop_front();
            run->Deliver(message);
        }
        return nullptr;
    }

    void Deliver(Message message) {
        auto* bytes = reinterpret_cast<unsigned char*>(message.bytes.data());
        const int length = static_cast<int>(message.bytes.size());
        Note("bus", (message.is_call ? "calls " : "signals ") + HexOf(bytes, length));
        const bool has_row =
            descriptor_ != nullptr &&
            (message.is_call ? descriptor_->methods != nullptr && descriptor_->methods->name != nullptr
                             : descriptor_->signals != nullptr && descriptor_->signals->name != nullptr);
        if (!has_row) {
            Note("bus", "nobody is there");
            return;
        }
        const ForTheProgram memory;
        if (message.is_call) {
            descriptor_->methods->handler(length, bytes, this, TakeReply);
        } else {
            descriptor_->signals->handler(length, bytes);
        }
    }

    static void TakeReply(int length, unsigned char* bytes, void* context) {
        const ForTheWorld memory;
        static_cast<Run*>(context)->Note("bus", "replies " + HexOf(bytes, length));
    }

    // Output and end

    static ssize_t TakeOutput(void* cookie, const char* bytes, size_t size);
    void CaptureOutput();

    // Nothing more can be noted, so nothing is flushed, and what is printed goes to the real standard error.
    [[noreturn]] void EndWithFullRecord(int64_t at_us) {
        const std::string end = "the record is full: " + std::to_string(record_.used_bytes()) + " bytes by " +
                                FormatSeconds(at_us) + " s";
        record_.NoteEnd(at_us, end);
        dprintf(STDERR_FILENO, "%s\n", end.c_str());
        _exit(0);
    }

    [[noreturn]] void End(const std::string& why) {
        FlushOutput();
        Note("ends", why);
        int status = 0;
        if (__lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0) {
            status = 1;
        }
        _exit(status);
    }

    static constexpr const char* kSelectorPins[] = {"/sys/class/gpio/gpio130/value",
                                                    "/sys/class/gpio/gpio182/value"};
    static constexpr char kFifoPath[] = "/run/network/ravelin_fifo";

    const Scenario& scenario_;
    RecordFile record_;
    std::vector<bool> is_reached_ = std::vector<bool>(scenario_.marks.size());  // one for each mark
    size_t marks_left_ = scenario_.marks.size();
    Environment environment_;
    std::unique_ptr<ModemPort> modem_;
    const busglue_descriptor* descriptor_ = nullptr;
    std::deque<Message> messages_;
    std::map<std::string, std::string> known_files_;  // as they were when they were last written
    std::string sent_;
    int64_t sent_at_us_ = 0;
    std::string forwarded_;
    int64_t forwarded_at_us_ = 0;
    bool has_forwarded_ = false;
    std::string printed_;
    std::string complained_;
};

// Both live until the process ends: other threads may use them up to the last moment.
Run* the_run = nullptr;
Scenario* the_scenario = nullptr;
FILE* captured_output = nullptr;

ssize_t Run::TakeOutput(void* cookie, const char* bytes, size_t size) {
    const ForTheWorld memory;
    const std::string chunk(bytes, size);
    if (cookie == nullptr) {
        the_run->Printed(chunk);
    } else {
        the_run->Complained(chunk);
    }
    return static_cast<ssize_t>(size);
}

// Streams of our own in place of stdout and stderr, without a buffer: each print call arrives by itself and
// in order.
void Run::CaptureOutput() {
    static char is_error;
    FILE* output = fopencookie(nullptr, "w", {nullptr, TakeOutput, nullptr, nullptr});
    FILE* errors = fopencookie(&is_error, "w", {nullptr, TakeOutput, nullptr, nullptr});
    setvbuf(output, nullptr, _IONBF, 0);
    setvbuf(errors, nullptr, _IONBF, 0);
    stdout = output;
    stderr = errors;
    captured_output = output;
}

__attribute__((constructor)) void StartRun() {
    const ForTheWorld memory;
    const char* scenario_path = getenv(kScenarioVariable);
    const char* root = getenv(kRootVariable);
    const char* record_path = getenv(kRecordVariable);
    const char* record_limit = getenv(kRecordLimitVariable);
    if (scenario_path == nullptr || root == nullptr || record_path == nullptr || record_limit == nullptr) {
        return;
    }
    the_scenario = new Scenario;
    std::string problem;
    if (!ReadScenario(scenario_path, the_scenario, &problem)) {
        fprintf(stderr, "%s\n", problem.c_str());
        _exit(1);
    }
    // The run notes things while it is built.
    the_run = static_cast<Run*>(operator new(sizeof(Run)));
    new (the_run) Run(*the_scenario, root, record_path, strtoull(record_limit, nullptr, 10));
    on_exit([](int status, void*) { the_run->DaemonExits(status & 0xFF); }, nullptr);
}

}  // namespace

}  // namespace virtual_time

// The daemon may choose how its output is buffered, but the record is made of its single calls.
extern "C" int setvbuf(FILE* stream, char* buffer, int mode, size_t size) {
    if (stream != nullptr && stream == virtual_time::captured_output) return 0;
    static decltype(&::setvbuf) real = reinterpret_cast<decltype(real)>(dlsym(RTLD_NEXT, "setvbuf"));
    return real(stream, buffer, mode, size);
}

// The bus library

using virtual_time::the_run;

extern "C" int dbs_connect_init(const char* name, const struct busglue_descriptor* descriptor) {
    const virtual_time::ForTheWorld memory;
    return the_run == nullptr ? -1 : the_run->JoinBus(name, descriptor);
}

extern "C" int dbs_send_method_async(struct busglue_send_record* record, busglue_send_reply) {
    const virtual_time::ForTheWorld memory;
    if (the_run == nullptr) return -1;
    the_run->SendOnBus(*record);
    return 0;
}

extern "C" void log_send(const char* text) {
    const virtual_time::ForTheWorld memory;
    if (the_run != nullptr) the_run->Forwarded(text);
}
