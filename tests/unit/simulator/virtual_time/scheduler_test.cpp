// Virtual time itself: the clocks, what waits on them, and threads in their fixed order. If it lied, every
// other suite would prove nothing.
#include <pthread.h>
#include <sys/select.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/virtual_time/sanitizer.h"
#include "tests/support/test_world.h"

using test_support::ScriptedModem;
using test_support::World;

namespace {

// Nobody looks at a real clock here: a sleep that were real would take the hour that the test hasn't got.
TEST(VirtualClock, SleepsCostNoRealTime) {
    World world;
    sleep(3600);
    EXPECT_EQ(3600 * 1000, world.now_ms());
    usleep(70000);
    EXPECT_EQ(3600 * 1000 + 70, world.now_ms());
    const timespec half_second = {0, 500000000};
    nanosleep(&half_second, nullptr);
    EXPECT_EQ(3600 * 1000 + 570, world.now_ms());
}

TEST(VirtualClock, UptimeAndWallClockMoveTogether) {
    World world;
    struct sysinfo info;
    ASSERT_EQ(0, sysinfo(&info));
    EXPECT_EQ(1000, info.uptime);
    EXPECT_EQ(1767225600, time(nullptr));
    usleep(1500000);
    ASSERT_EQ(0, sysinfo(&info));
    EXPECT_EQ(1001, info.uptime);
    timeval now;
    ASSERT_EQ(0, gettimeofday(&now, nullptr));
    EXPECT_EQ(1767225601, now.tv_sec);
    EXPECT_EQ(500000, now.tv_usec);
    const time_t seconds = time(nullptr);
    EXPECT_STREQ("Thu Jan  1 00:00:01 2026\n", asctime(localtime(&seconds)));
}

TEST(VirtualClock, TheWallClockCanJumpAlone) {
    World world;
    sleep(10);
    world.environment().MoveWallClock(-3600 * virtual_time::kMicrosecondsPerSecond);
    EXPECT_EQ(1767225600 + 10 - 3600, time(nullptr));
    struct sysinfo info;
    ASSERT_EQ(0, sysinfo(&info));
    EXPECT_EQ(1010, info.uptime);
    sleep(1);
    EXPECT_EQ(1767225600 + 11 - 3600, time(nullptr));
}

TEST(VirtualClock, IsRealAgainOutsideOfAWorld) {
    { World world; }
    EXPECT_GT(time(nullptr), 1577836800);
    timeval timeout = {0, 1000};
    EXPECT_EQ(0, select(0, nullptr, nullptr, nullptr, &timeout));
}

TEST(VirtualClock, EventsHappenAtTheirTimesAndInTheirOrder) {
    World world;
    std::vector<std::string> order;
    world.At(20, [&] { order.push_back("late"); });
    world.At(10, [&] { order.push_back("first"); });
    world.At(10, [&] { order.push_back("second"); });
    sleep(9);
    EXPECT_TRUE(order.empty());
    sleep(1);
    EXPECT_EQ((std::vector<std::string>{"first", "second"}), order);
    sleep(10);
    EXPECT_EQ("late", order.back());
}

TEST(VirtualClockDeathTest, ALoopWithNoEndIsFound) {
    EXPECT_DEATH(
        {
            World world;
            world.EndAt(100);
            while (true) sleep(1);
        },
        "still running at 100");
}

TEST(VirtualClockDeathTest, WaitingForWhatNeverComesIsFound) {
    EXPECT_DEATH(
        {
            World world;
            ScriptedModem modem(world);
            world.environment().scheduler.Wait(virtual_time::kNever, nullptr);
        },
        "still running|never come");
}

TEST(VirtualClockDeathTest, AnEventMustNotWait) {
    EXPECT_DEATH(
        {
            World world;
            world.At(1, [] { sleep(1); });
            sleep(2);
        },
        "must not wait");
}

TEST(VirtualClock, ABusyLoopIsChargedTime) {
    World world;
    bool done = false;
    world.At(1, [&] { done = true; });
    while (!done) access("/run/network/nothing", F_OK);
    EXPECT_EQ(1000, world.now_ms());
}

struct Diary {
    std::string text;
};

void* WriteDiary(void* argument) {
    Diary* diary = static_cast<Diary*>(argument);
    for (int i = 0; i < 3; ++i) {
        diary->text += "b";
        sleep(2);
    }
    return nullptr;
}

TEST(VirtualThreads, RunOneAtATimeInAFixedOrder) {
    for (int run = 0; run < 20; ++run) {
        World world;
        Diary diary;
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, WriteDiary, &diary));
        diary.text += "a";  // the creator goes on
        for (int i = 0; i < 3; ++i) {
            sleep(2);
            diary.text += "a";
        }
        EXPECT_EQ("abababa",
                  diary.text);  // at equal times the lower number goes first, and the creator has it
        pthread_join(thread, nullptr);
        EXPECT_EQ(6000, world.now_ms());
    }
}

TEST(VirtualThreads, ThreadsOfTheStandardLibraryToo) {
    World world;
    int64_t seen_ms = 0;
    std::thread thread([&] {
        sleep(5);
        seen_ms = world.now_ms();
    });
    thread.join();
    EXPECT_EQ(5000, seen_ms);
}

TEST(VirtualThreads, CanFailToStart) {
    World world;
    world.FailThreads(true);
    pthread_t thread;
    EXPECT_NE(0, pthread_create(&thread, nullptr, WriteDiary, nullptr));
}

void* SleepForEver(void*) {
    while (true) sleep(1);
}

#if !HAS_SANITIZER

TEST(VirtualFibers, DoWhatThreadsDo) {
    for (int run = 0; run < 20; ++run) {
        World world;
        world.environment().scheduler.UseFibers();
        Diary diary;
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, WriteDiary, &diary));
        diary.text += "a";
        for (int i = 0; i < 3; ++i) {
            sleep(2);
            diary.text += "a";
        }
        EXPECT_EQ("abababa", diary.text);
        EXPECT_EQ(2u, world.environment().scheduler.thread_count());
        pthread_join(thread, nullptr);
        EXPECT_EQ(1u, world.environment().scheduler.thread_count());
        EXPECT_EQ(6000, world.now_ms());
    }
}

void* FailsToOpen(void* error) {
    access("/run/network/nothing", F_OK);
    sleep(2);
    *static_cast<int*>(error) = errno;
    return nullptr;
}

TEST(VirtualFibers, EachHasAnErrnoOfItsOwn) {
    World world;
    world.environment().scheduler.UseFibers();
    int theirs = 0;
    pthread_t thread;
    errno = EXDEV;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, FailsToOpen, &theirs));
    EXPECT_EQ(0, pthread_detach(thread));
    sleep(1);
    EXPECT_EQ(EXDEV, errno);
    sleep(2);
    EXPECT_EQ(ENOENT, theirs);
}

TEST(VirtualFibers, ThatWaitWhenTheWorldEndsAreLeft) {
    for (int run = 0; run < 3; ++run) {
        World world;
        world.environment().scheduler.UseFibers();
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, SleepForEver, nullptr));
        ASSERT_EQ(0, pthread_detach(thread));
        sleep(10);
    }
}

#endif

TEST(VirtualThreads, OneThatNeverEndsDoesNotHoldUpTheTest) {
    for (int run = 0; run < 3; ++run) {
        World world;
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, SleepForEver, nullptr));
        ASSERT_EQ(0, pthread_detach(thread));
        sleep(10);
    }
}

}  // namespace
