#include "support/MkUtils.h"

#include <sched.h>
#include <unistd.h>

#include <csignal>

#include <gtest/gtest.h>

namespace {

constexpr int kFakeMax = 77;
constexpr int kFakeMin = 3;

bool range_fails = false;
bool scheduler_fails = false;
int set_policy = -1;
int set_priority = -1;

}  // namespace

// No test runs under a real-time policy.
extern "C" int __wrap_sched_get_priority_max(int) {
    return range_fails ? -1 : kFakeMax;
}
extern "C" int __wrap_sched_get_priority_min(int) {
    return range_fails ? -1 : kFakeMin;
}
extern "C" int __wrap_sched_setscheduler(pid_t pid, int policy, const sched_param* parameters) {
    if (scheduler_fails || pid != 0) return -1;
    set_policy = policy;
    set_priority = parameters->sched_priority;
    return 0;
}

namespace {

using testing::ExitedWithCode;
using testing::KilledBySignal;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

class MkUtilsThread : public testing::Test {
  protected:
    MkUtilsThread() {
        range_fails = scheduler_fails = false;
        set_policy = set_priority = -1;
        pthread_attr_init(&attributes);
    }
    ~MkUtilsThread() override { pthread_attr_destroy(&attributes); }
    pthread_attr_t attributes;
};
using MkUtilsThreadDeathTest = MkUtilsThread;

/// Death tests look at standard error only.
void StdoutToStderr() {
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

TEST_F(MkUtilsThread, PolicyIsSetToldAndGivenBack) {
    const struct {
        int policy;
        const char* line;
    } cases[] = {{SCHED_FIFO, "policy = SCHED_FIFO\n"},
                 {SCHED_RR, "policy = SCHED_RR\n"},
                 {SCHED_OTHER, "policy = SCHED_OTHER\n"}};
    for (const auto& test : cases) {
        CaptureStdout();
        const int set = set_thread_policy(&attributes, test.policy);
        const int got = get_thread_policy(&attributes);
        EXPECT_EQ(std::string(test.line) + test.line, GetCapturedStdout());
        EXPECT_EQ(test.policy, set);
        EXPECT_EQ(test.policy, got);
    }
}

TEST_F(MkUtilsThreadDeathTest, PolicyThatIsRefusedAborts) {
    EXPECT_EXIT(set_thread_policy(&attributes, 9999), KilledBySignal(SIGABRT), "rs == 0");
}

TEST_F(MkUtilsThread, RangeOfPrioritiesIsTold) {
    CaptureStdout();
    show_thread_priority(nullptr, SCHED_FIFO);
    EXPECT_EQ("max_priority = 77\nmin_priority = 3\n", GetCapturedStdout());
}

TEST_F(MkUtilsThreadDeathTest, RangeThatIsRefusedAborts) {
    range_fails = true;
    EXPECT_EXIT(show_thread_priority(nullptr, SCHED_FIFO), KilledBySignal(SIGABRT), "priority != -1");
}

TEST_F(MkUtilsThread, PriorityIsToldBeforeAndBehindTheChange) {
    CaptureStdout();
    set_thread_policy(&attributes, SCHED_RR);
    GetCapturedStdout();
    sched_param parameters{};
    parameters.sched_priority = 10;
    ASSERT_EQ(0, pthread_attr_setschedparam(&attributes, &parameters));
    CaptureStdout();
    set_thread_priority(&attributes, 42);
    EXPECT_EQ("priority = 10\npriority = 42\n", GetCapturedStdout());
    CaptureStdout();
    EXPECT_EQ(42, get_thread_priority(&attributes));
    EXPECT_EQ("priority = 42\n", GetCapturedStdout());
}

TEST_F(MkUtilsThreadDeathTest, PriorityThatIsRefusedAborts) {
    EXPECT_EXIT(set_thread_priority(&attributes, -5), KilledBySignal(SIGABRT), "rs == 0");
}

TEST_F(MkUtilsThread, ProcessGoesToTheEndsOfTheFifoRange) {
    SetMaxPriority();
    EXPECT_EQ(SCHED_FIFO, set_policy);
    EXPECT_EQ(kFakeMax, set_priority);
    SetMinPriority();
    EXPECT_EQ(SCHED_FIFO, set_policy);
    EXPECT_EQ(kFakeMin, set_priority);
}

TEST_F(MkUtilsThreadDeathTest, ProcessPriorityThatIsRefusedEndsWithOne) {
    scheduler_fails = true;
    EXPECT_EXIT((StdoutToStderr(), SetMaxPriority()), ExitedWithCode(1),
                "^sched_setscheduler\\(\\) failed\n$");
    EXPECT_EXIT((StdoutToStderr(), SetMinPriority()), ExitedWithCode(1),
                "^sched_setscheduler\\(\\) failed\n$");
    range_fails = true;
    EXPECT_EXIT((StdoutToStderr(), SetMaxPriority()), ExitedWithCode(1),
                "^sched_get_priority_max\\(\\) failed\n$");
    EXPECT_EXIT((StdoutToStderr(), SetMinPriority()), ExitedWithCode(1),
                "^sched_get_priority_min\\(\\) failed\n$");
}

TEST_F(MkUtilsThreadDeathTest, SignalIsNamedAndEndsTheProcessWithZero) {
    const struct {
        int number;
        const char* line;
    } cases[] = {{SIGINT, "^Received signal SIGINT, exiting[.]{3}\n$"},
                 {SIGABRT, "^Received signal SIGABRT, exiting[.]{3}\n$"},
                 {SIGTERM, "^Received signal SIGTERM, exiting[.]{3}\n$"},
                 {SIGUSR1, "^Received signal 0xA, exiting[.]{3}\n$"},
                 {31, "^Received signal 0x1F, exiting[.]{3}\n$"}};
    for (const auto& test : cases) {
        EXPECT_EXIT((StdoutToStderr(), HandleSignal(test.number)), ExitedWithCode(0), test.line);
    }
}

TEST_F(MkUtilsThread, BrokenPipeIsOnlyTold) {
    CaptureStdout();
    HandleSignal(SIGPIPE);
    EXPECT_EQ("Received signal SIGPIPE\n", GetCapturedStdout());
}

}  // namespace
