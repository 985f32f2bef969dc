#include "tests/support/test_world.h"

#include <time.h>

#include <cassert>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include "simulator/virtual_time/resources.h"
#include "support/trace_log.h"

namespace test_support {

namespace {

World* active_world = nullptr;

constexpr double kDefaultEnd_seconds = 24 * 3600;

int64_t ToMicroseconds(double seconds) {
    return llround(seconds * virtual_time::kMicrosecondsPerSecond);
}

double ToSeconds(int64_t microseconds) {
    return static_cast<double>(microseconds) / virtual_time::kMicrosecondsPerSecond;
}

void NoteLog(const char* file, const char* function, int line, unsigned level, const std::string& text) {
    // Threads of an earlier test and threads outside of virtual time have no time to be noted with.
    if (active_world == nullptr || virtual_time::Environment::OfThisThread() == nullptr) return;
    active_world->log.push_back({file, function, line, level, text, active_world->now_seconds()});
    static const bool wants_log = getenv("TEST_LOG") != nullptr;
    if (!wants_log) return;
    fprintf(stderr, "%10.3f %s:%s:%d (%u) %s", active_world->now_seconds(), file, function, line, level,
            text.c_str());
}

}  // namespace

World::World() {
    assert(active_world == nullptr);
    setenv("TZ", "UTC", 1);
    tzset();
    environment_.shell.on_call = [this](const virtual_time::Shell::Call& call) {
        shell.push_back({ToSeconds(call.at_us), call.command, call.is_popen});
    };
    environment_.scheduler.on_deadlock = [this] {
        fprintf(stderr, "test world: everything waits for something that will never come, at %.3f s\n%s",
                now_seconds(), environment_.scheduler.Describe().c_str());
        abort();
    };
    active_world = this;
    EndAt(kDefaultEnd_seconds);
}

World::~World() {
    EXPECT_EQ(0u, virtual_time::CountResources(environment_).children)
        << "a command was started by popen, and nobody waited for its end";
    active_world = nullptr;
}

int64_t World::now_ms() const {
    return environment_.now_us() / virtual_time::kMicrosecondsPerMillisecond;
}

double World::now_seconds() const {
    return ToSeconds(environment_.now_us());
}

void World::At(double seconds_from_start, std::function<void()> event) {
    environment_.scheduler.At(ToMicroseconds(seconds_from_start), std::move(event));
}

void World::EndAt(double seconds_from_start) {
    At(seconds_from_start, [this] {
        fprintf(stderr, "test world: still running at %.3f s of virtual time\n%s", now_seconds(),
                environment_.scheduler.Describe().c_str());
        abort();
    });
}

void World::Write(const std::string& path, const std::string& text) {
    environment_.folder.Write(path, text);
}
std::string World::Read(const std::string& path) const {
    return environment_.folder.Read(path);
}
bool World::Exists(const std::string& path) const {
    return environment_.folder.Exists(path);
}
void World::Remove(const std::string& path) {
    environment_.folder.Remove(path);
}
void World::MakeFolder(const std::string& path) {
    environment_.folder.MakeFolder(path);
}
std::string World::RealPath(const std::string& path) const {
    return environment_.folder.Inside(path);
}

std::vector<std::string> World::Commands() const {
    std::vector<std::string> commands;
    for (const ShellCall& call : shell) commands.push_back(call.command);
    return commands;
}

void World::AnswerPopen(const std::string& part_of_command, const std::string& output) {
    AnswerPopenSlowly(part_of_command, output, 0);
}

void World::AnswerPopenSlowly(const std::string& part_of_command, const std::string& output,
                              int seconds_before_line) {
    virtual_time::ShellAnswer answer;
    answer.output = output;
    answer.seconds_before_line = seconds_before_line;
    environment_.shell.AddRule(part_of_command, answer);
}

void World::FailPopen(const std::string& part_of_command) {
    virtual_time::ShellAnswer answer;
    answer.fails = true;
    environment_.shell.AddRule(part_of_command, answer);
}

void World::OnSystem(const std::string& part_of_command, std::function<void()> action) {
    virtual_time::ShellAnswer answer;
    answer.action = std::move(action);
    environment_.shell.AddRule(part_of_command, answer);
}

bool World::Logged(unsigned level, const std::string& exact_text) const {
    for (const LogLine& line : log) {
        if (line.level == level && line.text == exact_text) return true;
    }
    return false;
}

int World::CountLogged(const std::string& exact_text) const {
    int count = 0;
    for (const LogLine& line : log) count += line.text == exact_text ? 1 : 0;
    return count;
}

std::vector<std::string> World::LogOf(const std::string& function) const {
    std::vector<std::string> texts;
    for (const LogLine& line : log) {
        if (line.function == function) texts.push_back(line.text);
    }
    return texts;
}

void World::FailThreads(bool fail) {
    environment_.fail_thread_creation = fail;
}

void World::Type(const std::string& line) {
    environment_.Type(line + "\n");
}

}  // namespace test_support

// Doubles of the log and of the bus library

// They stand in one object, so that neither the log module nor the bus library is linked.

using test_support::active_world;

void trace_init(int, char**) {}

void trace_log(const char* file, const char* function, int line, unsigned level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(static_cast<size_t>(length < 0 ? 0 : length) + 1, '\0');
    vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    text.pop_back();
    test_support::NoteLog(file, function, line, level, text);
}

void trace_hexdump(const char* file, const char* function, int line, unsigned level,
                   const unsigned char* data, int length) {
    std::string text;
    for (int i = 0; i < length; ++i) {
        char byte[4];
        snprintf(byte, sizeof(byte), "%02x ", data[i]);
        text += byte;
    }
    test_support::NoteLog(file, function, line, level, text);
}

extern "C" int dbs_connect_init(const char* name, const struct busglue_descriptor* descriptor) {
    if (active_world == nullptr) return -1;
    active_world->bus_name = name;
    active_world->bus_descriptor = descriptor;
    return active_world->bus_connect_result;
}

extern "C" int dbs_send_method_async(struct busglue_send_record* record, busglue_send_reply reply) {
    if (active_world == nullptr) return -1;
    const std::vector<uint8_t> frame(record->frame, record->frame + record->length);
    active_world->sent_frames.push_back(frame);
    active_world->sent_records.push_back(
        {frame, record->destination, record->fourth, reply, active_world->now_seconds()});
    return 0;
}

extern "C" void log_send(const char* text) {
    if (active_world != nullptr) active_world->forwarded.push_back(text);
}
