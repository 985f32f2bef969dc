#include "simulator/virtual_time/resources.h"

#include <dirent.h>
#include <malloc.h>

#include "simulator/virtual_time/environment.h"

// Of a sanitizer that has a heap of its own.
extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace virtual_time {

namespace {

size_t CountDescriptors() {
    DIR* folder = opendir("/proc/self/fd");
    if (folder == nullptr) return 0;
    size_t count = 0;
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] != '.') ++count;
    }
    closedir(folder);
    return count - 1;  // without the one that lists them
}

size_t CountHeapBytes() {
    if (__sanitizer_get_current_allocated_bytes != nullptr) return __sanitizer_get_current_allocated_bytes();
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

}  // namespace

Resources CountResources(Environment& environment) {
    environment.scheduler.AwaitLeaving();
    const size_t heap_bytes = CountHeapBytes();  // before the list of descriptors takes some
    return {CountDescriptors(), environment.scheduler.thread_count(),
            static_cast<size_t>(environment.running_commands()), heap_bytes};
}

}  // namespace virtual_time
