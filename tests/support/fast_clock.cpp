// Loaded before a program whose shortest waits are minutes, and that has to live beside the daemon's real
// ones. Its time since boot is what its pauses add up to, and they are cut short. The file FAST_CLOCK has
// that time in seconds, so that the program goes on with it when it is started again, and others can read it.
//
// However slow the machine is, this clock shows no gap. Nor does it run away from the daemon: it stands still
// until the file FAST_CLOCK_FOLLOWS, the daemon's status, has been written again.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

constexpr int kSecond_ms = 1000;
constexpr int kPause_ms = 100;
// A pause of up to 5 s is one for answers over the network, and these take real time.
constexpr int kForAnswers_seconds = 5;
constexpr int kForAnswers_ms = 1500;
// So far the clock goes between two writes of that file. The guard takes a status of 180 s for old.
constexpr int64_t kAlone_seconds = 100;

template <typename Function>
Function* Original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Without stdio, whose memory would be that of the program.
int64_t ReadClock() {
    char text[32] = "";
    const int fd = open(getenv("FAST_CLOCK"), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || read(fd, text, sizeof text - 1) <= 0) abort();
    close(fd);
    return atoll(static_cast<const char*>(text));
}

void WriteClock(int64_t now_seconds) {
    const std::string text = std::to_string(now_seconds) + "\n";
    const int fd = open(getenv("FAST_CLOCK"), O_WRONLY | O_CLOEXEC);  // never empty, whoever reads it
    if (fd < 0 || write(fd, text.data(), text.size()) < 0) abort();
    close(fd);
}

/// True when the file that is followed was written since the last call.
bool IsWritten() {
    static timespec known = {};
    struct stat seen = {};
    if (stat(getenv("FAST_CLOCK_FOLLOWS"), &seen) != 0) return false;
    const bool is_new = seen.st_mtim.tv_sec != known.tv_sec || seen.st_mtim.tv_nsec != known.tv_nsec;
    known = seen.st_mtim;
    return is_new;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static auto* const original = Original<int(clockid_t, timespec*)>("clock_gettime");
    if (clock != CLOCK_BOOTTIME) return original(clock, time);
    *time = {ReadClock(), 0};
    return 0;
}

extern "C" int poll(pollfd* waited, nfds_t count, int timeout_ms) {
    static auto* const original = Original<int(pollfd*, nfds_t, int)>("poll");
    static int64_t written_at = ReadClock();
    const int pause_seconds = timeout_ms / kSecond_ms;
    if (count > 0 || pause_seconds <= 0) return original(waited, count, timeout_ms);
    original(nullptr, 0, pause_seconds > kForAnswers_seconds ? kPause_ms : kForAnswers_ms);
    const int64_t now_seconds = ReadClock();
    for (;;) {
        if (IsWritten()) written_at = now_seconds;
        if (now_seconds - written_at < kAlone_seconds) break;
        original(nullptr, 0, kPause_ms);
    }
    WriteClock(now_seconds + pause_seconds);
    return 0;
}
