// The timer clock against a machine whose uptime and date the test sets.
#include "support/MkUtils.h"

#include <sys/sysinfo.h>
#include <sys/time.h>

#include <cerrno>
#include <ctime>

#include <gtest/gtest.h>

namespace {

struct Machine {
    long uptime_seconds = 0;
    time_t date = 0;
    bool sysinfo_fails = false;
    bool fakes_date = false;
} machine;

class Clock : public testing::Test {
  protected:
    void SetUp() override {
        machine = Machine();
        machine.fakes_date = true;
    }
    void TearDown() override { machine = Machine(); }
};

}  // namespace

extern "C" {
time_t __real_time(time_t* store);
int __real_gettimeofday(struct timeval* now, void* zone);
int __real_clock_gettime(clockid_t clock, struct timespec* now);

int __wrap_sysinfo(struct sysinfo* info) {
    if (machine.sysinfo_fails) {
        errno = EFAULT;
        return -1;
    }
    info->uptime = machine.uptime_seconds;
    return 0;
}

time_t __wrap_time(time_t* store) {
    if (!machine.fakes_date) return __real_time(store);
    if (store != nullptr) *store = machine.date;
    return machine.date;
}

int __wrap_gettimeofday(struct timeval* now, void* zone) {
    if (!machine.fakes_date) return __real_gettimeofday(now, zone);
    *now = {machine.date, 0};
    return 0;
}

int __wrap_clock_gettime(clockid_t clock, struct timespec* now) {
    if (!machine.fakes_date) return __real_clock_gettime(clock, now);
    *now = {machine.date, 0};
    return 0;
}
}

namespace {

TEST_F(Clock, UptimeIsThatOfTheSystem) {
    machine.uptime_seconds = 4711;
    EXPECT_EQ(GetSysUptime(), 4711U);
}

TEST_F(Clock, TenSecondsAgoGivesTenThoughTheDateWasSetBack) {
    machine.uptime_seconds = 1000;
    machine.date = 1767225600;
    const uint32_t earlier = GetSysUptime();
    machine.uptime_seconds += 10;
    machine.date -= 86400;
    EXPECT_EQ(GetSysElapsed(earlier), 10U);
}

TEST_F(Clock, ElapsedIsThePlain32BitDifference) {
    machine.uptime_seconds = 5;
    EXPECT_EQ(GetSysElapsed(0xFFFFFFFBU), 10U);
    EXPECT_EQ(GetSysElapsed(6), 0xFFFFFFFFU);
}

TEST_F(Clock, AFailureOfTheSystemReadsAsZero) {
    machine.uptime_seconds = 77;
    machine.sysinfo_fails = true;
    EXPECT_EQ(GetSysUptime(), 0U);
}

}  // namespace
