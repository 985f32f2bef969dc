// The operators new and delete of the whole process. What the world asks for comes from a region of its own,
// so that the C library's heap holds what the program has asked for and nothing else. Not under a sanitizer,
// which wants to see all.
#include "simulator/virtual_time/own_heap.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "simulator/virtual_time/sanitizer.h"

#if !HAS_SANITIZER

namespace virtual_time {

namespace {

// Takes no room until it is used. What doesn't fit any more comes from the C library's heap after all.
constexpr size_t kRegion_bytes = static_cast<size_t>(uint64_t{1} << (sizeof(void*) == 8 ? 32 : 28));
constexpr size_t kHead_bytes = alignof(std::max_align_t);
constexpr size_t kSmallest_bytes = 32;
constexpr int kClassCount = 27;  // sizes are powers of two

// In front of each block. A free one belongs to the list of its class.
struct Head {
    size_t size_class;
    Head* next;
};
static_assert(sizeof(Head) <= kHead_bytes);

// The threads of the world run one at a time, but for their first and last steps.
std::atomic_flag lock = ATOMIC_FLAG_INIT;
char* region = nullptr;
size_t region_used = 0;
Head* free_blocks[kClassCount];

class Locked {
  public:
    Locked() {
        while (lock.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~Locked() { lock.clear(std::memory_order_release); }
};

size_t ClassOf(size_t bytes) {
    size_t size_class = 0;
    while (kSmallest_bytes << size_class < bytes) ++size_class;
    return size_class;
}

void* TakeOwn(size_t bytes) {
    if (bytes > kRegion_bytes / 4) return nullptr;
    const size_t size_class = ClassOf(bytes + kHead_bytes);
    const size_t size = kSmallest_bytes << size_class;
    const Locked locked;
    if (region == nullptr) {
        void* mapping = mmap(nullptr, kRegion_bytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (mapping == MAP_FAILED) return nullptr;
        region = static_cast<char*>(mapping);
    }
    Head* head = free_blocks[size_class];
    if (head != nullptr) {
        free_blocks[size_class] = head->next;
    } else {
        if (kRegion_bytes - region_used < size) return nullptr;
        head = reinterpret_cast<Head*>(region + region_used);
        region_used += size;
    }
    head->size_class = size_class;
    return reinterpret_cast<char*>(head) + kHead_bytes;
}

bool IsOwn(const void* block) {
    const auto address = reinterpret_cast<uintptr_t>(block), start = reinterpret_cast<uintptr_t>(region);
    return start != 0 && address >= start && address < start + kRegion_bytes;
}

void GiveBackOwn(void* block) {
    Head* head = reinterpret_cast<Head*>(static_cast<char*>(block) - kHead_bytes);
    const Locked locked;
    head->next = free_blocks[head->size_class];
    free_blocks[head->size_class] = head;
}

// The operator that the program would have without us. Found without a guard, which could allocate.
using New = void* (*)(size_t);
New TheirNew() {
    static New real;
    if (real == nullptr) {
        // `new` has one name where size_t is long, and another where it is int
        for (const char* name : {"_Znwm", "_Znwj"}) {
            if (real == nullptr) real = reinterpret_cast<New>(dlsym(RTLD_NEXT, name));
        }
    }
    return real;
}

}  // namespace

}  // namespace virtual_time

// For the program this is one jump: whoever looks at the callers of malloc sees the library's operator and
// the program.
void* operator new(size_t bytes) {
    if (virtual_time::ForTheWorld::IsOurs()) {
        void* block = virtual_time::TakeOwn(bytes);
        if (block != nullptr) return block;
    }
    return virtual_time::TheirNew()(bytes);
}

void operator delete(void* block) noexcept {
    if (virtual_time::IsOwn(block)) {
        virtual_time::GiveBackOwn(block);
    } else {
        free(block);
    }
}

void operator delete(void* block, size_t) noexcept {
    operator delete(block);
}

#endif
