#include "simulator/virtual_time/fiber.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "simulator/virtual_time/own_heap.h"

namespace virtual_time {

namespace {

// As a thread's: it takes no room until it is used.
constexpr size_t kStack_bytes = size_t{8} << 20;

size_t GuardBytes() {
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

void* NewStack() {
    void* stack = mmap(nullptr, kStack_bytes, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    // Who needs more dies of it, as a thread does.
    if (stack == MAP_FAILED || mprotect(stack, GuardBytes(), PROT_NONE) != 0) {
        perror("virtual time: a stack");
        abort();
    }
    return stack;
}

}  // namespace

// The arguments of an entry are ints, so that the pointer comes in two halves.
Fiber::Fiber(Entry entry, void* argument)
    : entry_(entry), argument_(argument), stack_(NewStack()), is_new_(true) {
    getcontext(&start_);
    start_.uc_stack.ss_sp = static_cast<char*>(stack_) + GuardBytes();
    start_.uc_stack.ss_size = kStack_bytes - GuardBytes();
    start_.uc_link = nullptr;
    const auto self = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(this));
    makecontext(&start_, reinterpret_cast<void (*)()>(Begin), 2, static_cast<unsigned>(self),
                static_cast<unsigned>(self >> 32));
}

Fiber::~Fiber() {
    if (stack_ != nullptr) munmap(stack_, kStack_bytes);
}

void Fiber::Begin(unsigned low, unsigned high) {
    auto* self = reinterpret_cast<Fiber*>(static_cast<uintptr_t>(low | uint64_t{high} << 32));
    errno = 0;
    const ForTheProgram memory;
    self->entry_(self->argument_);
    abort();
}

void Fiber::SwitchTo(Fiber* next) {
    const int error = errno;
    const bool is_ours = ForTheWorld::IsOurs();
    if (_setjmp(here_) == 0) next->Resume();
    ForTheWorld::GoOn(is_ours);
    errno = error;
}

void Fiber::Resume() {
    if (!is_new_) _longjmp(here_, 1);
    is_new_ = false;
    setcontext(&start_);
    abort();
}

}  // namespace virtual_time
