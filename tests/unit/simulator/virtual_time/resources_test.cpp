// What a program in the world holds, and that the world itself doesn't grow under it, however long it runs.
#include "simulator/virtual_time/resources.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/virtual_time/environment.h"

using virtual_time::CountResources;
using virtual_time::Environment;
using virtual_time::Resources;

namespace {

class ResourcesTest : public testing::Test {
  protected:
    ResourcesTest() : before(CountResources(environment)) {}

    // What has come to what there was at the start.
    Resources Gained() {
        Resources now = CountResources(environment);
        now.descriptors -= before.descriptors;
        now.threads -= before.threads;
        now.children -= before.children;
        now.heap_bytes -= before.heap_bytes;
        return now;
    }

    Environment environment;
    const Resources before;
};

TEST_F(ResourcesTest, AnOpenDescriptorCounts) {
    const int fd = open("/dev/null", O_RDONLY);
    EXPECT_EQ(1u, Gained().descriptors);
    close(fd);
    EXPECT_EQ(0u, Gained().descriptors);
}

TEST_F(ResourcesTest, AThreadCountsUntilItEnds) {
    std::thread thread([] { sleep(5); });
    EXPECT_EQ(1u, Gained().threads);
    sleep(4);
    EXPECT_EQ(1u, Gained().threads);
    sleep(2);
    EXPECT_EQ(0u, Gained().threads);
    thread.join();
}

TEST_F(ResourcesTest, ACommandThatNobodyWaitedForCounts) {
    FILE* stream = popen("command", "r");
    EXPECT_EQ(1u, Gained().children);
    pclose(stream);
    EXPECT_EQ(0u, Gained().children);
    const std::function<int(FILE*)> close_without_waiting = fclose;
    close_without_waiting(popen("command", "r"));
    pclose(popen("another in the same place", "r"));
    EXPECT_EQ(1u, Gained().children);
}

TEST_F(ResourcesTest, WhatIsAllocatedCounts) {
    void* block = malloc(5000);
    EXPECT_GE(Gained().heap_bytes, 5000u);
    EXPECT_LT(Gained().heap_bytes, 6000u);
    free(block);
    block = malloc(5000000);  // goes past the heap
    EXPECT_GE(Gained().heap_bytes, 5000000u);
    free(block);
}

// What a thread does last, when the world has seen its end long ago.
struct LateEnd {
    std::vector<char> block;
    ~LateEnd() {
        const timespec a_while = {0, 50000000};
        syscall(SYS_nanosleep, &a_while, nullptr);  // a real one
    }
};
thread_local LateEnd late_end;

TEST_F(ResourcesTest, AThreadThatHasEndedHoldsNothing) {
    pthread_t detached;
    pthread_create(
        &detached, nullptr,
        [](void*) -> void* {
            late_end.block.resize(5000);
            return nullptr;
        },
        nullptr);
    pthread_detach(detached);
    sleep(1);
    EXPECT_LT(Gained().heap_bytes, 5000u);
}

void CallOnce() {
    FILE* stream = popen("ping -c 3 8.8.8.8", "r");
    char line[10];
    EXPECT_NE(nullptr, fgets(line, sizeof line, stream));
    pclose(stream);
    system("echo 1 > /sys/class/gpio/gpio130/value");
    FILE* file = fopen("/run/network/ravelin_status", "w");
    fputs("Online=TRUE\n", file);
    fclose(file);
    timeval timeout = {0, 1000};
    select(0, nullptr, nullptr, nullptr, &timeout);
    std::thread([] { sleep(1); }).join();
    pthread_t detached;
    pthread_create(
        &detached, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
    pthread_detach(detached);
    sleep(1);
}

// A day of operation has some ten thousand of these calls. A byte gained by each shows.
TEST_F(ResourcesTest, TheWorldDoesNotGrow) {
    environment.shell.AddRule("ping", [] {
        virtual_time::ShellAnswer answer;
        answer.output = "3\n";
        return answer;
    }());
    environment.on_file_written = [](const std::string&, const std::string&) {};
    constexpr int kCalls = 1000;
    for (int i = 0; i < kCalls; ++i) CallOnce();
    const Resources warm = Gained();
    for (int i = 0; i < kCalls; ++i) CallOnce();
    const Resources later = Gained();
    EXPECT_EQ(0u, later.descriptors);
    EXPECT_EQ(0u, later.threads);
    EXPECT_EQ(0u, later.children);
    EXPECT_LT(later.heap_bytes, warm.heap_bytes + kCalls);
}

}  // namespace
