// A library to preload under the daemon: counts its passes and reports what a steady one costs. A pass is an
// opening of the status file, which the daemon rewrites once in each.
//
// Asked for by the environment: PASS_METER_REPORT is the file to write, PASS_METER_SKIP the passes to let go
// by, PASS_METER_PASSES the length of each of two windows. The first window measures processor time; the
// second, in which the meter itself takes time, counts system calls, and notes the place in the daemon from
// which each heap allocation comes. Children of the daemon are not measured.
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
}

namespace {

constexpr char kStatusFile[] = "/run/network/ravelin_status";

// Modules of the process

enum class Module {
    kDaemon,
    kCpp,      // libstdc++: allocates on behalf of whoever called it, as the daemon's own code would
    kLibc,     // allocates on its own account, as fopen does
    kForeign,  // virtual time, its modem, and this library
};

struct Range {
    uintptr_t begin, end;
    Module module;
};

std::array<Range, 256> ranges;
size_t range_count = 0;
uintptr_t daemon_base = 0;

Module ModuleOfName(const char* name) {
    if (name[0] == '\0') return Module::kDaemon;
    if (strstr(name, "/libstdc++") != nullptr || strstr(name, "/libgcc_s") != nullptr) return Module::kCpp;
    if (strstr(name, "/libc.so") != nullptr || strstr(name, "/ld-linux") != nullptr) return Module::kLibc;
    return Module::kForeign;
}

int AddRanges(dl_phdr_info* info, size_t, void*) {
    const Module module = ModuleOfName(info->dlpi_name);
    if (module == Module::kDaemon) daemon_base = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum && range_count < ranges.size(); ++i) {
        const auto& header = info->dlpi_phdr[i];
        if (header.p_type != PT_LOAD) continue;
        const uintptr_t begin = info->dlpi_addr + header.p_vaddr;
        ranges[range_count++] = {begin, begin + header.p_memsz, module};
    }
    return 0;
}

Module ModuleOf(const void* address) {
    const auto place = reinterpret_cast<uintptr_t>(address);
    for (size_t i = 0; i < range_count; ++i) {
        if (place >= ranges[i].begin && place < ranges[i].end) return ranges[i].module;
    }
    return Module::kForeign;
}

// What is counted

struct Site {
    uintptr_t offset;  // in the daemon's file: the return address of the call
    bool is_own;       // asked for by the daemon itself, else by libc on its behalf
    long allocations;
};

struct Figures {
    std::array<Site, 256> sites;
    size_t site_count;
    long lost;  // no room for the site
    long own;
    long libc;
    long foreign;
    long system_calls;
};

/// Blocks that were allocated for the daemon in the window and are still there.
constexpr size_t kBlockSlots = 1 << 14;
std::array<void*, kBlockSlots> blocks;
long live_blocks = 0;

Figures figures;
std::atomic<bool> counts_allocations{false};
std::atomic_flag busy = ATOMIC_FLAG_INIT;
thread_local bool is_inside = false;

class Lock {
  public:
    Lock() {
        while (busy.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~Lock() { busy.clear(std::memory_order_release); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

size_t SlotOf(const void* block) {
    return (reinterpret_cast<uintptr_t>(block) >> 4) % kBlockSlots;
}

void KeepBlock(void* block) {
    ++live_blocks;
    for (size_t i = 0, slot = SlotOf(block); i < kBlockSlots; ++i, slot = (slot + 1) % kBlockSlots) {
        if (blocks[slot] != nullptr) continue;
        blocks[slot] = block;
        return;
    }
}

/// Slots are searched to the end of the table: the window holds few blocks, and no order has to be kept.
void DropBlock(void* block) {
    for (size_t i = 0, slot = SlotOf(block); i < kBlockSlots; ++i, slot = (slot + 1) % kBlockSlots) {
        if (blocks[slot] != block) continue;
        blocks[slot] = nullptr;
        --live_blocks;
        return;
    }
}

void AddToSite(uintptr_t offset, bool is_own) {
    for (size_t i = 0; i < figures.site_count; ++i) {
        Site& site = figures.sites[i];
        if (site.offset != offset || site.is_own != is_own) continue;
        ++site.allocations;
        return;
    }
    if (figures.site_count == figures.sites.size()) {
        ++figures.lost;
        return;
    }
    figures.sites[figures.site_count++] = {offset, is_own, 1};
}

/// Finds out who asked for `block`: the first caller that is neither libc nor libstdc++, nor virtual time
/// where it stands in front of a call of libc.
void Attribute(void* block) {
    std::array<void*, 24> frames;
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    int i = 0;
    while (i < count && ModuleOf(frames[i]) == Module::kForeign) ++i;  // this library
    const bool is_own = i < count && ModuleOf(frames[i]) != Module::kLibc;
    while (i < count && ModuleOf(frames[i]) != Module::kDaemon) ++i;

    const Lock lock;
    if (i == count) {
        ++figures.foreign;
        return;
    }
    ++(is_own ? figures.own : figures.libc);
    AddToSite(reinterpret_cast<uintptr_t>(frames[i]) - daemon_base, is_own);
    KeepBlock(block);
}

void NoteAllocation(void* block) {
    if (!counts_allocations || is_inside || block == nullptr) return;
    is_inside = true;
    Attribute(block);
    is_inside = false;
}

void NoteFree(void* block) {
    if (!counts_allocations || is_inside || block == nullptr) return;
    const Lock lock;
    DropBlock(block);
}

/// Of those that libc makes on its own account, as for a stream, none is seen.
void NoteSystemCall(const void* caller) {
    if (!counts_allocations || ModuleOf(caller) != Module::kDaemon) return;
    const Lock lock;
    ++figures.system_calls;
}

// Passes and the report

long skip = 0;
long window = 0;  // 0: not measured
char report_path[512];
long passes = 0;
int64_t cpu_at_start_ns = 0;
int64_t cpu_ns = 0;
int64_t time_at_start_ns = 0;
int64_t time_ns = 0;

struct Memory {
    long resident_kib;
    long private_kib;
};
Memory memory_at_start = {};
Memory memory_at_end = {};  // of the first window: in the second one the meter itself looks at many pages

/// Past virtual time, which stands in front of the calls of the C library.
int64_t ClockNs(clockid_t clock) {
    timespec now = {};
    syscall(SYS_clock_gettime, clock, &now);
    return now.tv_sec * int64_t{1000000000} + now.tv_nsec;
}

long Field(const char* text, const char* name) {
    const char* found = strstr(text, name);
    return found != nullptr ? strtol(found + strlen(name), nullptr, 10) : 0;
}

/// Of the whole process, with whatever is preloaded.
Memory ReadMemory() {
    char text[2048] = "";
    const long fd = syscall(SYS_openat, AT_FDCWD, "/proc/self/smaps_rollup", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {};
    syscall(SYS_read, fd, text, sizeof(text) - 1);
    syscall(SYS_close, fd);
    return {Field(text, "\nRss:"), Field(text, "\nPrivate_Clean:") + Field(text, "\nPrivate_Dirty:")};
}

__attribute__((format(printf, 2, 3))) void Put(int fd, const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (length > 0) syscall(SYS_write, fd, text, static_cast<size_t>(length));
}

/// Lines of "name value"; those of the sites are "own|libc ALLOCATIONS OFFSET".
void Report() {
    const int fd = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, report_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (fd < 0) return;
    Put(fd, "resident_kib %ld\nresident_growth_kib %ld\n", memory_at_end.resident_kib,
        memory_at_end.resident_kib - memory_at_start.resident_kib);
    Put(fd, "private_kib %ld\nprivate_growth_kib %ld\n", memory_at_end.private_kib,
        memory_at_end.private_kib - memory_at_start.private_kib);
    Put(fd, "passes %ld\ncpu_ns %lld\ntime_ns %lld\n", window, static_cast<long long>(cpu_ns),
        static_cast<long long>(time_ns));
    Put(fd, "system_calls %ld\n", figures.system_calls);
    Put(fd, "own_allocations %ld\nlibc_allocations %ld\n", figures.own, figures.libc);
    Put(fd, "foreign_allocations %ld\nlost_sites %ld\nlive_blocks %ld\n", figures.foreign, figures.lost,
        live_blocks);
    for (size_t i = 0; i < figures.site_count; ++i) {
        const Site& site = figures.sites[i];
        Put(fd, "%s %ld 0x%lx\n", site.is_own ? "own" : "libc", site.allocations,
            static_cast<unsigned long>(site.offset));
    }
    Put(fd, "end 0\n");
    syscall(SYS_close, fd);
}

void CountPass() {
    ++passes;
    if (passes == skip) {
        memory_at_start = ReadMemory();
        cpu_at_start_ns = ClockNs(CLOCK_PROCESS_CPUTIME_ID);
        time_at_start_ns = ClockNs(CLOCK_MONOTONIC);
    } else if (passes == skip + window) {
        cpu_ns = ClockNs(CLOCK_PROCESS_CPUTIME_ID) - cpu_at_start_ns;
        time_ns = ClockNs(CLOCK_MONOTONIC) - time_at_start_ns;
        memory_at_end = ReadMemory();
        counts_allocations = true;
    } else if (passes == skip + 2 * window) {
        counts_allocations = false;
        Report();
    }
}

__attribute__((constructor)) void Start() {
    const char* path = getenv("PASS_METER_REPORT");
    const char* skip_text = getenv("PASS_METER_SKIP");
    const char* window_text = getenv("PASS_METER_PASSES");
    unsetenv("LD_PRELOAD");
    if (path == nullptr || skip_text == nullptr || window_text == nullptr) return;
    snprintf(report_path, sizeof(report_path), "%s", path);
    skip = strtol(skip_text, nullptr, 10);
    window = strtol(window_text, nullptr, 10);
    dl_iterate_phdr(AddRanges, nullptr);
    void* frame = nullptr;
    backtrace(&frame, 1);  // loads the unwinder now, not in the middle of an allocation
}

bool IsStatusFile(const char* path) {
    const size_t length = strlen(path);
    const size_t end = sizeof(kStatusFile) - 1;
    return length >= end && strcmp(path + length - end, kStatusFile) == 0;
}

}  // namespace

extern "C" {
void* malloc(size_t size) {
    void* block = __libc_malloc(size);
    NoteAllocation(block);
    return block;
}

void* calloc(size_t count, size_t size) {
    void* block = __libc_calloc(count, size);
    NoteAllocation(block);
    return block;
}

void* realloc(void* old, size_t size) {
    NoteFree(old);
    void* block = __libc_realloc(old, size);
    NoteAllocation(block);
    return block;
}

void free(void* block) {
    NoteFree(block);
    __libc_free(block);
}

// The calls of a steady pass that lead to the system.

#define NEXT(name)                                                                             \
    ([] {                                                                                      \
        static const auto next = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name)); \
        return next;                                                                           \
    }())

int open(const char* path, int flags, ...) {
    NoteSystemCall(__builtin_return_address(0));
    if (window > 0 && (flags & O_TRUNC) != 0 && IsStatusFile(path)) CountPass();
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return NEXT(open)(path, flags, mode);
}

int close(int fd) {
    NoteSystemCall(__builtin_return_address(0));
    return NEXT(close)(fd);
}

ssize_t read(int fd, void* to, size_t size) {
    NoteSystemCall(__builtin_return_address(0));
    return NEXT(read)(fd, to, size);
}

ssize_t write(int fd, const void* from, size_t size) {
    NoteSystemCall(__builtin_return_address(0));
    return NEXT(write)(fd, from, size);
}

int access(const char* path, int mode) noexcept {
    NoteSystemCall(__builtin_return_address(0));
    return NEXT(access)(path, mode);
}

int sysinfo(struct sysinfo* info) noexcept {
    NoteSystemCall(__builtin_return_address(0));
    return NEXT(sysinfo)(info);
}

int select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout) {
    NoteSystemCall(__builtin_return_address(0));
    return NEXT(select)(count, reads, writes, excepts, timeout);
}
}
