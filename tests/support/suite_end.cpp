// Linked into every suite: a suite whose code calls exit before the last test has ended fails, whatever
// status it called exit with.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

constexpr int kStatusTooEarly = 1;
pid_t running = 0;  // the process whose tests haven't all ended

/// On exit. A test that looks at how a process ends has children of its own, which are to exit.
void JudgeEnd() {
    if (running != getpid() || testing::internal::InDeathTestChild()) return;
    fprintf(stderr, "The suite ended before its last test did: something called exit.\n");
    fflush(nullptr);
    _exit(kStatusTooEarly);
}

class EndWatch : public testing::EmptyTestEventListener {
    void OnTestProgramStart(const testing::UnitTest&) override {
        running = getpid();
        atexit(JudgeEnd);
    }
    void OnTestProgramEnd(const testing::UnitTest&) override { running = 0; }
};

[[gnu::constructor]] void Watch() {
    testing::UnitTest::GetInstance()->listeners().Append(new EndWatch);
}

}  // namespace
