// For builds that count what runs, in every program with the daemon's code. Counts are written when a program
// returns from main or calls exit. The daemon has no such end: tests end it by a signal, and virtual time by
// _exit. Here both write the counts first.
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

extern "C" void __gcov_dump(void);

namespace {

/// Not safe at any moment, as the counts are written with memory of the heap; good enough for a measurement.
void EndWithCounts(int signal_number) {
    __gcov_dump();
    signal(signal_number, SIG_DFL);
    raise(signal_number);
}

[[gnu::constructor]] void WatchEnds() {
    for (const int signal_number : {SIGHUP, SIGINT, SIGTERM, SIGABRT}) {
        if (signal(signal_number, EndWithCounts) == SIG_IGN) signal(signal_number, SIG_IGN);
    }
}

}  // namespace

extern "C" void _exit(int status) {
    __gcov_dump();
    syscall(SYS_exit_group, status);
    for (;;) pause();
}
