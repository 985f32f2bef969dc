// Stands in front of the C library: these definitions win over the library's, since they are linked into the
// executable (test suites) or preloaded (the real daemon). For threads of a virtual world they answer from
// it; for all others, and while there is no world, they call the next definition in line: the library's, or
// that of a sanitizer.

#include "simulator/virtual_time/interpose.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "simulator/virtual_time/descriptor_watch.h"
#include "simulator/virtual_time/environment.h"
#include "simulator/virtual_time/own_heap.h"

namespace {

using virtual_time::DescriptorWatch;
using virtual_time::Environment;
using virtual_time::kMicrosecondsPerMillisecond;
using virtual_time::kMicrosecondsPerSecond;
using virtual_time::kNever;
using virtual_time::PrivateFolder;

// The library's own name of a call. Where 64 bits of time and file offset are an extension, as on 32-bit
// boards, the headers rename calls, ours here as well as the daemon's.
const char* LibraryName(const char* name) {
#ifdef __USE_TIME_BITS64
    constexpr struct {
        const char* name;
        const char* library_name;
    } kRenamed[] = {
        {"time", "__time64"},
        {"gettimeofday", "__gettimeofday64"},
        {"clock_gettime", "__clock_gettime64"},
        {"nanosleep", "__nanosleep64"},
        {"clock_nanosleep", "__clock_nanosleep_time64"},
        {"select", "__select64"},
        {"stat", "__stat64_time64"},
        {"open", "open64"},
        {"fopen", "fopen64"},
    };
    for (const auto& renamed : kRenamed) {
        if (strcmp(name, renamed.name) == 0) return renamed.library_name;
    }
#endif
    return name;
}

// The next definition of a call after ours. Looked up without a guard, since a guard could call what is
// looked up.
#define REAL(name)                                                                                          \
    ([] {                                                                                                   \
        static decltype(&::name) real;                                                                      \
        if (real == nullptr) real = reinterpret_cast<decltype(real)>(dlsym(RTLD_NEXT, LibraryName(#name))); \
        return real;                                                                                        \
    }())

// A call of the program's: the world of its thread, or null. Counts, so that a loop of calls can't stop the
// clock for ever.
class Call {
  public:
    Call() : world_(Environment::OfThisThread()) {
        if (world_ != nullptr) world_->scheduler.CountCall();
    }
    operator Environment*() const { return world_; }
    Environment* operator->() const { return world_; }

  private:
    const virtual_time::ForTheWorld memory_;
    Environment* const world_;
};

// The same for a call that waits.
class WaitingCall : public Call {
  public:
    WaitingCall() {
        Environment* world = *this;
        if (world == nullptr || world->scheduler.MayWait()) return;
        fprintf(stderr, "virtual time: an event must not wait\n");
        abort();
    }
};

// Path as the library is to see it.
std::string RealPath(const char* path) {
    const Call world;
    if (path == nullptr) return "";
    if (world == nullptr) return path;
    if (strncmp(path, "/dev", 4) == 0 && PrivateFolder::Moves(path)) world->ShowPorts();
    return world->folder.Real(path);
}

// What the world makes of a file system that can't be written.

int ReadOnly() {
    errno = EROFS;
    return -1;
}

bool IsReadOnly(const Environment* world, const char* path) {
    return world != nullptr && path != nullptr && world->storage.IsReadOnly(path);
}

// A pipe, or a device, can be written all the same.
bool IsReadOnlyFile(const Environment* world, const char* path, const std::string& real_path) {
    struct stat info;
    return IsReadOnly(world, path) && (REAL(stat)(real_path.c_str(), &info) != 0 || S_ISREG(info.st_mode));
}

int64_t ToMicroseconds(const timeval& time) {
    return time.tv_sec * kMicrosecondsPerSecond + time.tv_usec;
}

timeval ToTimeval(int64_t microseconds) {
    timeval time;
    time.tv_sec = microseconds / kMicrosecondsPerSecond;
    time.tv_usec = microseconds % kMicrosecondsPerSecond;
    return time;
}

timespec ToTimespec(int64_t microseconds) {
    timespec time;
    time.tv_sec = microseconds / kMicrosecondsPerSecond;
    time.tv_nsec = microseconds % kMicrosecondsPerSecond * 1000;
    return time;
}

// Nanoseconds are rounded up: a sleep is never shorter than asked.
int64_t ToMicroseconds(const timespec& time) {
    return time.tv_sec * kMicrosecondsPerSecond + (time.tv_nsec + 999) / 1000;
}

}  // namespace

namespace virtual_time {
void KeepInterposition() {}
}  // namespace virtual_time

extern "C" {

// Clocks and sleeps

time_t time(time_t* result) noexcept {
    const Call world;
    if (world == nullptr) return REAL(time)(result);
    const time_t now = world->wall_clock_us() / kMicrosecondsPerSecond;
    if (result != nullptr) *result = now;
    return now;
}

int gettimeofday(timeval* now, void* zone) noexcept {
    const Call world;
    if (world == nullptr) return REAL(gettimeofday)(now, zone);
    *now = ToTimeval(world->wall_clock_us());
    return 0;
}

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const Call world;
    if (world == nullptr) return REAL(clock_gettime)(clock, now);
    switch (clock) {
        case CLOCK_REALTIME:
        case CLOCK_REALTIME_COARSE:
            *now = ToTimespec(world->wall_clock_us());
            return 0;
        case CLOCK_MONOTONIC:
        case CLOCK_MONOTONIC_RAW:
        case CLOCK_MONOTONIC_COARSE:
        case CLOCK_BOOTTIME:
            *now = ToTimespec(world->uptime_us());
            return 0;
        default:
            return REAL(clock_gettime)(clock, now);  // CPU time is real
    }
}

int sysinfo(struct sysinfo* info) noexcept {
    const Call world;
    if (world == nullptr) return REAL(sysinfo)(info);
    *info = {};
    info->uptime = world->uptime_us() / kMicrosecondsPerSecond;
    return 0;
}

unsigned sleep(unsigned seconds) {
    const WaitingCall world;
    if (world == nullptr) return REAL(sleep)(seconds);
    world->scheduler.Sleep(seconds * kMicrosecondsPerSecond);
    return 0;
}

int usleep(useconds_t microseconds) {
    const WaitingCall world;
    if (world == nullptr) return REAL(usleep)(microseconds);
    world->scheduler.Sleep(microseconds);
    return 0;
}

int nanosleep(const timespec* wanted, timespec* left) {
    const WaitingCall world;
    if (world == nullptr) return REAL(nanosleep)(wanted, left);
    world->scheduler.Sleep(ToMicroseconds(*wanted));
    return 0;
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* wanted, timespec* left) {
    const WaitingCall world;
    if (world == nullptr) return REAL(clock_nanosleep)(clock, flags, wanted, left);
    int64_t wait_us = ToMicroseconds(*wanted);
    if ((flags & TIMER_ABSTIME) != 0) {
        wait_us -= clock == CLOCK_REALTIME ? world->wall_clock_us() : world->uptime_us();
    }
    world->scheduler.Sleep(wait_us);
    return 0;
}

// Waiting for descriptors

int select(int count, fd_set* read_set, fd_set* write_set, fd_set* except_set, timeval* timeout) {
    const Environment* own_world = Environment::OfThisThread();
    const int64_t start_us = own_world != nullptr ? own_world->now_us() : 0;
    const WaitingCall world;  // may take time, which counts
    if (world == nullptr) return REAL(select)(count, read_set, write_set, except_set, timeout);
    if (count < 0 || (timeout != nullptr && (timeout->tv_sec < 0 || timeout->tv_usec < 0))) {
        errno = EINVAL;
        return -1;
    }
    DescriptorWatch watch(world, count, read_set, write_set, except_set);
    bool is_ready = watch.Ask();
    if (watch.has_bad_descriptor()) {
        errno = EBADF;
        return -1;
    }
    const int64_t deadline_us = timeout == nullptr ? kNever : start_us + ToMicroseconds(*timeout);
    // A port that has gone away is ready at once and for ever. Whoever reads it in a loop until a time-out
    // has run out burns real time, so it must cost virtual time.
    if (watch.has_hung_up()) {
        const int64_t left_us = std::max<int64_t>(deadline_us - world->now_us(), 0);
        world->scheduler.Sleep(std::min<int64_t>(left_us, kMicrosecondsPerMillisecond));
        is_ready = watch.Ask();
    }
    if (!is_ready) world->scheduler.Wait(deadline_us, [&watch] { return watch.Ask(); });
    // As on Linux, the argument holds the time that is left.
    if (timeout != nullptr) *timeout = ToTimeval(std::max<int64_t>(deadline_us - world->now_us(), 0));
    return watch.KeepReady();
}

// Descriptors

static int OpenPath(const char* path, int flags, mode_t mode) {
    const virtual_time::ForTheWorld memory;
    Environment* world = Environment::OfThisThread();
    if (world != nullptr && path != nullptr && virtual_time::IsModemPortPath(path)) {
        const int fd = world->OpenPort(path);
        if (fd != Environment::kNoPort) return fd;
    }
    if (path == nullptr) return REAL(open)(path, flags, mode);
    const std::string real_path = RealPath(path);
    if ((flags & O_ACCMODE) != O_RDONLY && IsReadOnlyFile(world, path, real_path)) return ReadOnly();
    const int fd = REAL(open)(real_path.c_str(), flags, mode);
    if (fd < 0 || world == nullptr) return fd;
    if (PrivateFolder::Moves(path)) {
        const bool has_room = world->storage.Of(path) != virtual_time::Storage::State::kFull;
        world->written_files.Opened(fd, path, flags, world->now_us(), has_room);
    }
    if (world->written_files.Find(fd) == nullptr) ++world->outside_changes;
    return fd;
}

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return OpenPath(path, flags, mode);
}

#ifndef __USE_FILE_OFFSET64  // with it, the one above is this one
int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return OpenPath(path, flags, mode);
}
#endif

// What fortified builds call in place of open.
int __open_2(const char* path, int flags) {
    return OpenPath(path, flags, 0);
}
int __open64_2(const char* path, int flags) {
    return OpenPath(path, flags, 0);
}

int close(int fd) {
    const Call world;
    if (world == nullptr) return REAL(close)(fd);
    world->ForgetPort(fd);
    const std::optional<virtual_time::WrittenFile> file = world->written_files.Take(fd);
    if (!file) ++world->outside_changes;
    if (!file || !world->on_file_written) return REAL(close)(fd);
    const std::optional<std::string> text = TextBeforeClose(*file, world->now_us());
    const int result = REAL(close)(fd);
    world->on_file_written(file->path, text ? *text : world->folder.Read(file->path));
    return result;
}

ssize_t read(int fd, void* to, size_t size) {
    const Call world;
    if (world != nullptr && world->IsPort(fd)) return world->ReadPort(fd, to, size);
    if (world != nullptr) ++world->outside_changes;
    return REAL(read)(fd, to, size);
}

ssize_t __read_chk(int fd, void* to, size_t size, size_t room) {
    if (size > room) {
        fprintf(stderr, "read of %zu bytes into %zu\n", size, room);
        abort();
    }
    return read(fd, to, size);
}

ssize_t write(int fd, const void* from, size_t size) {
    const Call world;
    if (world == nullptr) return REAL(write)(fd, from, size);
    if (world->IsPort(fd)) return world->WritePort(fd, from, size);
    virtual_time::WrittenFile* file = world->written_files.Find(fd);
    if (file == nullptr) ++world->outside_changes;
    if (file != nullptr && !file->has_room) {
        errno = ENOSPC;
        return -1;
    }
    const ssize_t written = REAL(write)(fd, from, size);
    if (file != nullptr && written > 0) {
        file->written.append(static_cast<const char*>(from), static_cast<size_t>(written));
    }
    return written;
}

// The attributes of a port don't matter to its peer, but whoever set them reads them back.
int tcgetattr(int fd, termios* attributes) noexcept {
    const Call world;
    if (world == nullptr || !world->IsPort(fd)) return REAL(tcgetattr)(fd, attributes);
    if (world->IsHungUp(fd)) {
        errno = EIO;
        return -1;
    }
    *attributes = world->Attributes(fd);
    return 0;
}

int tcsetattr(int fd, int actions, const termios* attributes) noexcept {
    const Call world;
    if (world == nullptr || !world->IsPort(fd)) return REAL(tcsetattr)(fd, actions, attributes);
    if (world->IsHungUp(fd)) {
        errno = EIO;
        return -1;
    }
    world->Attributes(fd) = *attributes;
    return 0;
}

int tcflush(int fd, int queue) noexcept {
    const Call world;
    if (world == nullptr || !world->IsPort(fd)) return REAL(tcflush)(fd, queue);
    if (queue != TCOFLUSH) world->FlushPort(fd);
    return 0;
}

// Files

static FILE* OpenInStorage(Environment* world, const char* path, const std::string& real_path,
                           const char* mode) {
    const bool writes = strpbrk(mode, "wa+") != nullptr;
    if (writes && IsReadOnlyFile(world, path, real_path)) {
        errno = EROFS;
        return nullptr;
    }
    if (writes && world->storage.Of(path) == virtual_time::Storage::State::kFull) {
        return virtual_time::OpenWithoutRoom(real_path.c_str(), mode);
    }
    return REAL(fopen)(real_path.c_str(), mode);
}

static FILE* OpenStream(const char* path, const char* mode) {
    const virtual_time::ForTheWorld memory;
    Environment* world = Environment::OfThisThread();
    if (world == nullptr || path == nullptr) return REAL(fopen)(path, mode);
    ++world->outside_changes;
    const std::string real_path = RealPath(path);
    FILE* stream = OpenInStorage(world, path, real_path, mode);
    if (stream != nullptr && world->on_file_written && PrivateFolder::Moves(path)) {
        world->written_files.Opened(stream, path, mode, world->now_us());
    }
    return stream;
}

FILE* fopen(const char* path, const char* mode) {
    return OpenStream(path, mode);
}
#ifndef __USE_FILE_OFFSET64
FILE* fopen64(const char* path, const char* mode) {
    return OpenStream(path, mode);
}
#endif

int fclose(FILE* stream) {
    const Call world;
    std::optional<virtual_time::WrittenFile> file;
    if (world != nullptr) {
        file = world->written_files.Take(stream);
        ++world->outside_changes;
    }
    if (!file) return REAL(fclose)(stream);
    const std::optional<std::string> text = TextBeforeClose(*file, world->now_us());
    const int result = REAL(fclose)(stream);
    world->on_file_written(file->path, text && result == 0 ? *text : world->folder.Read(file->path));
    return result;
}

int access(const char* path, int mode) noexcept {
    const std::string real_path = RealPath(path);
    if ((mode & W_OK) != 0 && IsReadOnlyFile(Environment::OfThisThread(), path, real_path)) return ReadOnly();
    return REAL(access)(real_path.c_str(), mode);
}

int mkfifo(const char* path, mode_t mode) noexcept {
    const std::string real_path = RealPath(path);
    if (IsReadOnly(Environment::OfThisThread(), path) && REAL(access)(real_path.c_str(), F_OK) != 0) {
        return ReadOnly();
    }
    return REAL(mkfifo)(real_path.c_str(), mode);
}

int unlink(const char* path) noexcept {
    const std::string real_path = RealPath(path);
    if (IsReadOnly(Environment::OfThisThread(), path)) return ReadOnly();
    return REAL(unlink)(real_path.c_str());
}

int stat(const char* path, struct stat* info) noexcept {
    return REAL(stat)(RealPath(path).c_str(), info);
}

#ifndef __USE_FILE_OFFSET64
int stat64(const char* path, struct stat64* info) noexcept {
    return REAL(stat64)(RealPath(path).c_str(), info);
}
#endif

DIR* opendir(const char* path) {
    return REAL(opendir)(RealPath(path).c_str());
}

// Shell

int system(const char* command) {
    const Call world;
    if (world == nullptr || command == nullptr) return REAL(system)(command);
    const virtual_time::ShellAnswer answer = world->shell.Run(command, false, world->now_us());
    if (answer.action) answer.action();
    if (answer.takes_seconds > 0) sleep(static_cast<unsigned>(answer.takes_seconds));
    return answer.fails ? -1 : W_EXITCODE(answer.exit_status, 0);
}

FILE* popen(const char* command, const char* mode) {
    const Call world;
    if (world == nullptr) return REAL(popen)(command, mode);
    if (strcmp(mode, "r") != 0 && strcmp(mode, "re") != 0) {  // nobody here reads what a program writes
        errno = EINVAL;
        return nullptr;
    }
    const virtual_time::ShellAnswer answer = world->shell.Run(command, true, world->now_us());
    if (answer.action) answer.action();
    if (!answer.fails) return world->OpenCommandOutput(answer);
    errno = ENOMEM;
    return nullptr;
}

int pclose(FILE* stream) {
    const Call world;
    if (world == nullptr || !world->ForgetCommandOutput(stream)) return REAL(pclose)(stream);
    return REAL(fclose)(stream);
}

// Standard input

ssize_t getdelim(char** line, size_t* size, int delimiter, FILE* stream) {
    if (stream != stdin) return REAL(getdelim)(line, size, delimiter, stream);
    const WaitingCall world;
    if (world == nullptr) return REAL(getdelim)(line, size, delimiter, stream);
    std::string typed = world->WaitForTypedLine();
    if (typed.empty()) return -1;
    while (typed.back() != delimiter) typed += world->WaitForTypedLine();
    if (*line == nullptr || *size < typed.size() + 1) {
        char* bigger = static_cast<char*>(realloc(*line, typed.size() + 1));
        if (bigger == nullptr) return -1;
        *line = bigger;
        *size = typed.size() + 1;
    }
    memcpy(*line, typed.c_str(), typed.size() + 1);
    return static_cast<ssize_t>(typed.size());
}

ssize_t __getdelim(char** line, size_t* size, int delimiter, FILE* stream) {
    return getdelim(line, size, delimiter, stream);
}

ssize_t getline(char** line, size_t* size, FILE* stream) {
    return getdelim(line, size, '\n', stream);
}

// Threads

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                   void* argument) noexcept {
    const Call world;
    if (world == nullptr) return REAL(pthread_create)(thread, attributes, entry, argument);
    if (world->fail_thread_creation) return EAGAIN;
    int number = 0;
    const int error = world->scheduler.StartThread(
        entry, argument,
        [thread, attributes](virtual_time::Scheduler::ThreadEntry run, void* argument_of_run) {
            return REAL(pthread_create)(thread, attributes, run, argument_of_run);
        },
        &number);
    // A fiber has a handle only for the calls below: its number.
    if (error == 0 && world->scheduler.uses_fibers()) *thread = static_cast<pthread_t>(number);
    if (error == 0) world->thread_numbers[*thread] = number;
    return error;
}

int pthread_join(pthread_t thread, void** result) {
    const Call world;
    if (world != nullptr) {
        const auto number = world->thread_numbers.find(thread);
        if (number != world->thread_numbers.end()) {
            world->scheduler.WaitForEnd(number->second);
            world->thread_numbers.erase(thread);
            if (world->scheduler.uses_fibers()) {
                if (result != nullptr) *result = nullptr;  // nobody here asks for it
                return 0;
            }
        }
    }
    return REAL(pthread_join)(thread, result);
}

int pthread_detach(pthread_t thread) noexcept {
    const Call world;
    const bool has_fibers = world != nullptr && world->scheduler.uses_fibers();
    if (has_fibers && world->thread_numbers.erase(thread) != 0) return 0;
    return REAL(pthread_detach)(thread);
}

}  // extern "C"
