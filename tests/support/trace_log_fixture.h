// For suites of the log: a clock, a forwarder and a memory that the test holds in its hands; the two local
// sinks are real. To be included by one source of an executable, which wraps the calls defined here.
#pragma once

#include <sys/time.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/busglue/busglue.h"
#include "support/trace_log.h"
#include "support/trace_log_state.h"

struct Surroundings {
    bool fakes_clock = false;
    time_t date = 0;
    suseconds_t microseconds = 0;
    std::vector<std::string> clock_reads;
    int mallocs_until_failure = -1;  // -1: never
    int failing_mallocs = INT_MAX;   // from then on
    int mallocs = 0;
    int frees = 0;
    bool strdup_fails = false;
    std::vector<FILE*> flushed;
};
inline Surroundings around;

inline std::mutex forwarded_mutex;
inline std::vector<std::string> forwarded;

extern "C" {
int __real_gettimeofday(struct timeval* now, void* zone);
time_t __real_time(time_t* store);
void* __real_malloc(size_t size);
void __real_free(void* memory);
char* __real_strdup(const char* text);
int __real_fflush(FILE* stream);

int __wrap_gettimeofday(struct timeval* now, void* zone) {
    if (!around.fakes_clock) return __real_gettimeofday(now, zone);
    around.clock_reads.emplace_back("gettimeofday");
    *now = {around.date, around.microseconds};
    return 0;
}

time_t __wrap_time(time_t* store) {
    if (!around.fakes_clock) return __real_time(store);
    around.clock_reads.emplace_back("time");
    if (store != nullptr) *store = around.date;
    return around.date;
}

void* __wrap_malloc(size_t size) {
    if (around.mallocs_until_failure == 0 && around.failing_mallocs-- > 0) return nullptr;
    if (around.mallocs_until_failure > 0) --around.mallocs_until_failure;
    ++around.mallocs;
    return __real_malloc(size);
}

void __wrap_free(void* memory) {
    ++around.frees;
    __real_free(memory);
}

char* __wrap_strdup(const char* text) {
    if (around.strdup_fails) return nullptr;
    return __real_strdup(text);
}

int __wrap_fflush(FILE* stream) {
    if (around.fakes_clock) around.flushed.push_back(stream);
    return __real_fflush(stream);
}

void log_send(const char* text) {
    const std::lock_guard<std::mutex> lock(forwarded_mutex);
    forwarded.emplace_back(text);
}
}

constexpr time_t kNoonAndOneSecond = 1767268801;         // 2026-01-01 12:00:01 UTC
constexpr int64_t kNoonAndOneSecondIn2100 = 4102488001;  // 2100-01-01 12:00:01 UTC
const int32_t kLevelAtStart = trace_level;               // nothing of this process has set it yet
const char* const kPrefix = "12:00:01.7 dir/file.cpp:Task:42:";

inline void FreeNames(TraceName** list) {
    while (*list != nullptr) {
        TraceName* next = (*list)->next;
        free((*list)->name);
        free(*list);
        *list = next;
    }
}

inline std::vector<std::string> NamesOf(const TraceName* list) {
    std::vector<std::string> names;
    for (; list != nullptr; list = list->next) names.emplace_back(list->name);
    return names;
}

class TraceLog : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        ResetSettings();
        around = Surroundings();
        around.fakes_clock = true;
        around.date = kNoonAndOneSecond;
        around.microseconds = 7999;
        forwarded.clear();
    }

    void TearDown() override {
        around = Surroundings();
        ResetSettings();
    }

    /// As at the start of the process.
    static void ResetSettings() {
        trace_level = kLevelAtStart;
        FreeNames(&trace_file_list);
        FreeNames(&trace_function_list);
        if (trace_stream != nullptr) fclose(trace_stream);
        trace_stream = nullptr;
    }

    /// Starts with these words after the program's name; what that prints.
    static std::string Init(std::vector<const char*> words) {
        words.insert(words.begin(), "ravelin-mobile");
        std::vector<char*> vector;
        for (const char* word : words) vector.push_back(const_cast<char*>(word));
        vector.push_back(nullptr);
        const auto before = vector;
        testing::internal::CaptureStdout();
        trace_init(static_cast<int>(words.size()), vector.data());
        EXPECT_EQ(vector, before) << "the vector is left as it is";
        return testing::internal::GetCapturedStdout();
    }

    /// What one line at `level` leaves on standard output.
    static std::string Local(unsigned level, const char* message = "hello\n") {
        testing::internal::CaptureStdout();
        trace_log("dir/file.cpp", "Task", 42, level, "%s", message);
        return testing::internal::GetCapturedStdout();
    }

    static std::string Line(const std::string& message) { return kPrefix + message; }

    using Texts = std::vector<std::string>;
};
