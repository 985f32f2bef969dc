#include "tests/fuzz/fake_port.h"

#include <fcntl.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/fuzz/fuzz_check.h"

namespace {

constexpr size_t kBlock_bytes = 64;  // of a USB port
constexpr int64_t kBlock_us = 5000;
constexpr int64_t kSecond_us = 1000000;

thread_local FakePort* port = nullptr;  // a fuzzer has a thread of its own, which sleeps

/// Waits until there is something to read; what is left of the time-out stays in it.
bool WaitReadable(timeval* timeout) {
    const int64_t limit_us = timeout->tv_sec * kSecond_us + timeout->tv_usec;
    const int64_t waited_us = port->is_readable() ? std::min(kBlock_us, limit_us) : limit_us;
    const int64_t left_us = limit_us - waited_us;
    timeout->tv_sec = static_cast<time_t>(left_us / kSecond_us);
    timeout->tv_usec = static_cast<suseconds_t>(left_us % kSecond_us);
    port->waited_ms += waited_us / 1000;
    return port->is_readable();
}

}  // namespace

FakePort::FakePort(const std::vector<std::string>& answers) : answers_(answers.begin(), answers.end()) {
    FUZZ_CHECK(port == nullptr);
    port = this;
}

FakePort::~FakePort() {
    port = nullptr;
}

void FakePort::Write(const std::string& bytes) {
    command_ += bytes;
    const bool is_whole = command_.size() >= 2 && command_.compare(command_.size() - 2, 2, "\r\n") == 0;
    if (!is_whole) return;
    commands.push_back(command_.substr(0, command_.find_first_of("\r\n")));
    command_.clear();
    if (commands.back().empty()) return;  // the line end after a command that brought its own
    incoming_ += late_;
    late_.clear();
    if (answers_.empty()) return;
    const std::string answer = answers_.front();
    answers_.pop_front();
    const size_t in_time = std::min(answer.find(kLate), answer.size());
    incoming_ += answer.substr(0, in_time);
    if (in_time < answer.size()) late_ = answer.substr(in_time + 1);
}

std::string FakePort::Read(size_t size) {
    const std::string bytes = incoming_.substr(0, std::min(size, kBlock_bytes));
    incoming_.erase(0, bytes.size());
    return bytes;
}

// The calls of the serial port, pauses, and what a driver does beside its port: nothing of that is done. Each
// passes on what isn't for the port.

extern "C" int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout);
extern "C" int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout) {
    if (port == nullptr) return __real_select(count, reads, writes, excepts, timeout);
    if (reads != nullptr) FUZZ_CHECK(FD_ISSET(FakePort::kDescriptor, reads));
    if (WaitReadable(timeout)) return 1;
    if (reads != nullptr) FD_ZERO(reads);
    return 0;
}

extern "C" ssize_t __real_read(int fd, void* to, size_t size);
extern "C" ssize_t __wrap_read(int fd, void* to, size_t size) {
    if (fd != FakePort::kDescriptor) return __real_read(fd, to, size);
    const std::string bytes = port->Read(size);
    memcpy(to, bytes.data(), bytes.size());
    return static_cast<ssize_t>(bytes.size());
}

extern "C" ssize_t __real_write(int fd, const void* from, size_t size);
extern "C" ssize_t __wrap_write(int fd, const void* from, size_t size) {
    if (fd != FakePort::kDescriptor) return __real_write(fd, from, size);
    port->Write(std::string(static_cast<const char*>(from), size));
    return static_cast<ssize_t>(size);
}

extern "C" unsigned __real_sleep(unsigned seconds);
extern "C" unsigned __wrap_sleep(unsigned seconds) {
    if (port == nullptr) return __real_sleep(seconds);
    port->waited_ms += int64_t{seconds} * 1000;
    return 0;
}

extern "C" int __real_usleep(useconds_t microseconds);
extern "C" int __wrap_usleep(useconds_t microseconds) {
    if (port == nullptr) return __real_usleep(microseconds);
    port->waited_ms += microseconds / 1000;
    return 0;
}

extern "C" int __real_system(const char* command);
extern "C" int __wrap_system(const char* command) {
    return port == nullptr ? __real_system(command) : 0;
}

extern "C" FILE* __real_popen(const char* command, const char* mode);
extern "C" FILE* __wrap_popen(const char* command, const char* mode) {
    return port == nullptr ? __real_popen(command, mode) : nullptr;
}

extern "C" int __real_open(const char* path, int flags, ...);
extern "C" int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (port == nullptr) return __real_open(path, flags, mode);
    return (flags & O_CREAT) != 0 ? __real_open("/dev/null", flags, mode) : -1;
}
