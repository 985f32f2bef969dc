// The preload library: runs a scenario under the real daemon. Before the daemon's main, the library builds
// the virtual world that the scenario asks for; from then on it turns knobs, writes files and pipes at their
// times, and notes in the record what the daemon does. It also stands in for the bus library.
//
// Started by scenario_run, which says by environment variables which scenario, folder and record file to use.
// When the daemon has ended and a supervisor starts it again, the new process goes on with the same world:
// what it can't find in the folder stands in the journal.

#include "simulator/virtual_time/preload.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/busglue/busglue.h"
#include "simulator/virtual_time/environment.h"
#include "simulator/virtual_time/expectations.h"
#include "simulator/virtual_time/guard_beside.h"
#include "simulator/virtual_time/journal.h"
#include "simulator/virtual_time/modem_port.h"
#include "simulator/virtual_time/own_heap.h"
#include "simulator/virtual_time/ping.h"
#include "simulator/virtual_time/recorder.h"
#include "simulator/virtual_time/resources.h"
#include "simulator/virtual_time/sanitizer.h"
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

std::string Variable(const char* name) {
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

// What scenario_run says; without a scenario where somebody else has started the program.
struct RunFiles {
    std::string scenario;
    std::string root;
    std::string record;
    size_t record_limit_bytes = 0;
    size_t record_used_bytes = 0;
    std::string journal;                // empty without a supervisor
    std::optional<int64_t> resumed_us;  // when the daemon ended before; nothing at its first start
};

RunFiles FilesOfEnvironment() {
    RunFiles files;
    files.scenario = Variable(kScenarioVariable);
    files.root = Variable(kRootVariable);
    files.record = Variable(kRecordVariable);
    files.record_limit_bytes = strtoull(Variable(kRecordLimitVariable).c_str(), nullptr, 10);
    files.journal = Variable(kJournalVariable);
    const std::string resumed = Variable(kResumedVariable);
    if (!resumed.empty()) {
        char* rest = nullptr;
        files.resumed_us = strtoll(resumed.c_str(), &rest, 10);
        files.record_used_bytes = strtoull(rest, nullptr, 10);
    }
    return files;
}

class Run {
  public:
    Run(const Scenario& scenario, const RunFiles& files)
        : scenario_(scenario),
          recorder_(files.record, files.record_limit_bytes, files.record_used_bytes,
                    [this] { return environment_.now_us(); }),
          environment_(files.root, files.resumed_us) {
        if (!HAS_SANITIZER) environment_.scheduler.UseFibers();
        environment_.is_alone = true;
        if (!files.journal.empty()) KeepJournal(files.journal);
        AddShellRules();
        if (!scenario_.modem_family.empty()) MakeModem();
        Watch();
        if (files.resumed_us) {
            FindFiles();
            GoOn();
        } else {
            Furnish();
            Begin();
        }
        StartGuard();
        CaptureOutput();
    }

    /// In a daemon that is started again: waits for the supervisor, as long as it waits.
    void WaitForStart() {
        is_down_ = true;
        environment_.scheduler.Sleep(scenario_.restart_after_us);
        is_down_ = false;
        Note("world", "starts again");
    }

    void Note(const char* kind, const std::string& bytes) { recorder_.Note(kind, bytes); }
    Recorder& recorder() { return recorder_; }

    // Bus

    int JoinBus(const char* name, const busglue_descriptor* descriptor) {
        Note("bus", std::string("joins ") + name);
        if (scenario_.bus_fails || bus_is_away_) return -1;
        descriptor_ = descriptor;
        pthread_t thread;
        if (pthread_create(&thread, nullptr, ServeBus, this) == 0) pthread_detach(thread);
        return 0;
    }

    int SendOnBus(const busglue_send_record& record) {
        const std::string what = record.destination + (" " + HexOf(record.frame, record.length));
        Note("bus", (bus_is_away_ ? "refuses " : "sends ") + what);
        return bus_is_away_ ? -1 : 0;
    }

    // End

    // The daemon calls exit, or returns from main.
    void DaemonExits(int status) {
        const ForTheWorld memory;
        recorder_.Flush();
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
    }

    void WriteFile(const std::string& path, const std::string& text) {
        environment_.folder.Write(path, text);
        recorder_.FileIs(path, text);
    }

    // The files as the last run of the daemon has left them.
    void FindFiles() {
        namespace fs = std::filesystem;
        std::error_code error;
        const std::string& root = environment_.folder.root();
        for (fs::recursive_directory_iterator entry(root, error), end; !error && entry != end;
             entry.increment(error)) {
            if (!entry->is_regular_file(error)) continue;
            const std::string path = entry->path().string().substr(root.size());
            recorder_.FileIs(path, environment_.folder.Read(path));
        }
    }

    void AddShellRules() {
        // Reset scripts pull the modem's reset or power pin; a rule of the scenario can make them do
        // something else.
        AddResetScript("Reset4G.sh start", {"reset"});
        AddResetScript("Reset4G.sh start pin_power", {"power off", "power on"});
        for (const char* path : kSelectorPins) AddSelectorPin(path);
        for (const ShellRule& rule : scenario_.shell) AddShellRule(rule);
    }

    void MakeModem() {
        modem_sim::ModemOptions options;
        options.family = scenario_.modem_family;
        options.model = scenario_.modem_model;
        modem_ = std::make_unique<ModemPort>(options);
    }

    // One that is started again with the daemon has forgotten what doesn't stand in its files.
    void StartGuard() {
        if (scenario_.guard_settings.empty()) return;
        guard_ = std::make_unique<GuardBeside>(environment_, modem_ == nullptr ? nullptr : &modem_->modem(),
                                               scenario_.guard_settings, scenario_.traffic_bytes_per_second,
                                               [this](const std::string& line) { Note("guard", line); });
        guard_->Start();
    }

    void JournaliseModem() {
        if (modem_ == nullptr || journal_ == nullptr) return;
        modem_->on_call = [this](JournalEntry::Kind kind, int64_t at_us, int64_t number,
                                 std::string_view bytes) { Journalise(kind, at_us, number, bytes); };
    }

    void ConnectModem() {
        if (modem_ == nullptr) return;
        modem_->on_presence = [this](bool present) {
            Note("modem", present ? "port is back" : "port is gone");
        };
        environment_.AddPort(scenario_.port, modem_.get());
        if (!scenario_.port_link.empty()) environment_.AddPortLink(scenario_.port_link, modem_.get());
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
        if (modem_ == nullptr || !modem_->Turn(line, &reply, environment_.now_us())) {
            Note("broken", "modem: " + reply);
            return;
        }
        for (const std::string& each : SplitLines(reply)) Note("modem", line + " " + each);
    }

    // Watching

    void Watch() {
        environment_.shell.on_call = [this](const Shell::Call& call) {
            Note(call.is_popen ? "asks" : "runs", call.command);
        };
        environment_.on_port_written = [this](const std::string& bytes) { recorder_.Sent(bytes); };
        environment_.on_port_read = [this](const std::string& bytes) { Note("hears", bytes); };
        environment_.on_file_written = [this](const std::string& path, const std::string& text) {
            recorder_.FileWritten(path, text);
        };
        if (marks_left_ > 0) recorder_.on_entry = [this](const RecordEntry& entry) { LookForMarks(entry); };
        environment_.scheduler.on_deadlock = [this] {
            End("stuck: every thread waits for something that never comes");
        };
    }

    // What the scenario does so long after a mark is known once the daemon has come to it.
    void LookForMarks(const RecordEntry& entry) {
        for (size_t i = 0; i < scenario_.marks.size(); ++i) {
            const Mark& mark = scenario_.marks[i];
            if (is_reached_[i] || !MatchesEntry(mark.kind, mark.place, mark.text, entry)) continue;
            Journalise(JournalEntry::Kind::kMark, entry.at_us, static_cast<int64_t>(i));
            Reached(i, entry.at_us);
        }
    }

    void Reached(size_t mark, int64_t at_us) {
        is_reached_[mark] = true;
        if (--marks_left_ == 0) recorder_.on_entry = nullptr;
        ScheduleFrom(static_cast<int>(mark), at_us);
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

    // What happens when

    void Begin() {
        JournaliseModem();
        for (const std::string& knob : scenario_.knobs) TurnKnob(knob);
        if (modem_ != nullptr) modem_->Advance(0);
        ConnectModem();
        ScheduleFrom(kNoMark, 0);
        ScheduleEnd();
    }

    // What has happened to the modem happens to it again. What the scenario has done isn't done again; where
    // it changed the world and not the folder, the change is made again.
    void GoOn() {
        std::vector<std::pair<size_t, int64_t>> reached;
        journal_->ForEach([&](const JournalEntry& entry) {
            const auto number = static_cast<size_t>(entry.number);
            if (entry.kind == JournalEntry::Kind::kMark) {
                reached.emplace_back(number, entry.at_us);
            } else if (entry.kind == JournalEntry::Kind::kEvent) {
                is_done_[number] = true;
                Redo(scenario_.events[number]);
            } else if (modem_ != nullptr) {
                modem_->Repeat(entry);
            }
        });
        JournaliseModem();
        ConnectModem();
        ScheduleFrom(kNoMark, 0);
        for (const auto& [mark, at_us] : reached) Reached(mark, at_us);
        // The end of a daemon that was killed was noted by the supervisor.
        for (const RecordEntry& end : ParseRecord(std::string(LastLine(recorder_.text())))) {
            LookForMarks({environment_.now_us(), end.kind, end.text});
        }
        ScheduleEnd();
    }

    void ScheduleEnd() {
        environment_.scheduler.At(scenario_.until_us, [this] { End("still running"); });
    }

    void ScheduleFrom(int mark, int64_t base_us) {
        for (size_t i = 0; i < scenario_.events.size(); ++i) {
            const ScenarioEvent& event = scenario_.events[i];
            if (event.mark != mark || is_done_[i]) continue;
            environment_.scheduler.At(base_us + event.at_us, [this, i] {
                Journalise(JournalEntry::Kind::kEvent, environment_.now_us(), static_cast<int64_t>(i));
                Do(scenario_.events[i]);
            });
        }
    }

    // What an event changes outside of the folder and the modem.
    void Redo(const ScenarioEvent& event) {
        if (event.kind == ScenarioEvent::Kind::kShell) AddShellRule(event.shell);
        if (event.kind == ScenarioEvent::Kind::kClock) environment_.MoveWallClock(event.by_us);
        if (event.kind == ScenarioEvent::Kind::kStorage) {
            environment_.storage.Set(event.subject, event.storage);
        }
        if (event.kind == ScenarioEvent::Kind::kBusAway) bus_is_away_ = true;
        if (event.kind == ScenarioEvent::Kind::kBusBack) bus_is_away_ = false;
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
            case Kind::kPipe:
                Note("world", "pipe " + event.subject);
                environment_.folder.MakePipe(event.subject);
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
                Redo(event);
                break;
            case Kind::kResources:
                NoteResources();
                break;
            case Kind::kCall:
            case Kind::kSignal:
                Send({event.kind == Kind::kCall, event.text});
                break;
            case Kind::kKill:
                Kill(event);
                break;
            case Kind::kClock:
                Note("world", "clock " + event.subject);
                Redo(event);
                break;
            case Kind::kStorage:
                Note("world", event.text);
                Redo(event);
                break;
            case Kind::kBusAway:
            case Kind::kBusBack:
                Note("world", event.kind == Kind::kBusAway ? "bus away" : "bus back");
                Redo(event);
                break;
        }
    }

    // Whether and how it ends by that is up to the daemon.
    void Kill(const ScenarioEvent& event) {
        recorder_.Flush();
        Note("world", "kill " + event.subject);
        if (!is_down_) raise(event.signal);
    }

    // Without the thread that serves the bus, which isn't the daemon's.
    void NoteResources() {
        if (is_down_) {
            Note("world", "nobody is there to have resources");
            return;
        }
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

    // While the daemon is down, the bus finds nobody. While it hasn't joined yet, the message waits.
    void Send(const Message& message) {
        if (is_down_) {
            NoteMessage(message);
            Note("bus", "nobody is there");
        } else {
            messages_.push_back(message);
        }
    }

    void NoteMessage(const Message& message) {
        Note("bus", (message.is_call ? "calls " : "signals ") + simulator_text::ToHex(message.bytes));
    }

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
        NoteMessage(message);
        const bool has_row =
            descriptor_ != nullptr && !bus_is_away_ &&
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

    // Journal

    void KeepJournal(const std::string& path) {
        journal_ = std::make_unique<Journal>(path);
        recorder_.on_time = [this](int64_t at_us) { journal_->Reach(at_us); };
    }

    void Journalise(JournalEntry::Kind kind, int64_t at_us, int64_t number, std::string_view bytes = "") {
        if (journal_ != nullptr && !journal_->Note(kind, at_us, number, bytes)) recorder_.EndFull("journal");
    }

    // Output and end

    static ssize_t TakeOutput(void* cookie, const char* bytes, size_t size);
    void CaptureOutput();

    [[noreturn]] void End(const std::string& why) {
        recorder_.Flush();
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
    Recorder recorder_;
    Environment environment_;
    std::unique_ptr<Journal> journal_;  // only under a supervisor
    std::vector<bool> is_done_ = std::vector<bool>(scenario_.events.size());
    std::vector<bool> is_reached_ = std::vector<bool>(scenario_.marks.size());
    size_t marks_left_ = scenario_.marks.size();
    bool bus_is_away_ = false;
    bool is_down_ = false;  // the supervisor hasn't started the daemon again yet
    std::unique_ptr<ModemPort> modem_;
    std::unique_ptr<GuardBeside> guard_;
    const busglue_descriptor* descriptor_ = nullptr;
    std::deque<Message> messages_;
};

// Both live until the process ends: other threads may use them up to the last moment.
Run* the_run = nullptr;
Scenario* the_scenario = nullptr;
FILE* captured_output = nullptr;

ssize_t Run::TakeOutput(void* cookie, const char* bytes, size_t size) {
    const ForTheWorld memory;
    const std::string chunk(bytes, size);
    if (cookie == nullptr) {
        the_run->recorder().Printed(chunk);
    } else {
        the_run->recorder().Complained(chunk);
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
    const RunFiles files = FilesOfEnvironment();
    if (files.scenario.empty()) return;
    the_scenario = new Scenario;
    std::string problem;
    if (!ReadScenario(files.scenario, the_scenario, &problem)) {
        fprintf(stderr, "%s\n", problem.c_str());
        _exit(1);
    }
    // The run notes things while it is built.
    the_run = static_cast<Run*>(operator new(sizeof(Run)));
    new (the_run) Run(*the_scenario, files);
    if (files.resumed_us) the_run->WaitForStart();
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
    return the_run->SendOnBus(*record);
}

extern "C" void log_send(const char* text) {
    const virtual_time::ForTheWorld memory;
    if (the_run != nullptr) the_run->recorder().Forwarded(text);
}
