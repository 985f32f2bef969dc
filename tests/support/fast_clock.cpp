// Loaded before a program: its time since boot runs FAST_CLOCK times as fast, and so do its pauses in poll.
// For a program whose shortest waits are minutes and that has to live beside the daemon's real ones.
#include <dlfcn.h>
#include <poll.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace {

int64_t Factor() {
    const char* factor = getenv("FAST_CLOCK");
    const int64_t number = factor == nullptr ? 1 : atoi(factor);
    return number > 0 ? number : 1;
}

template <typename Function>
Function* Original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static auto* const original = Original<int(clockid_t, timespec*)>("clock_gettime");
    const int result = original(clock, time);
    if (clock != CLOCK_BOOTTIME) return result;
    constexpr int64_t kSecond_ns = 1'000'000'000;
    const int64_t time_ns = (time->tv_sec * kSecond_ns + time->tv_nsec) * Factor();
    *time = {time_ns / kSecond_ns, time_ns % kSecond_ns};
    return result;
}

extern "C" int poll(pollfd* waited, nfds_t count, int timeout_ms) {
    static auto* const original = Original<int(pollfd*, nfds_t, int)>("poll");
    return original(waited, count, timeout_ms > 0 ? static_cast<int>(timeout_ms / Factor()) : timeout_ms);
}
