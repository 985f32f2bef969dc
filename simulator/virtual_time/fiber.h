// A flow of control with a stack of its own. One real thread runs many of them, and goes from one to the next
// without the system: that costs a hundredth of what two threads need to hand over to each other.
#pragma once

#include <setjmp.h>
#include <ucontext.h>

#include <cstddef>

namespace virtual_time {

class Fiber {
  public:
    using Entry = void (*)(void* argument);

    /// The flow of the thread that calls.
    Fiber() = default;
    /// One that begins with `entry` when somebody switches to it, and never returns from there.
    Fiber(Entry entry, void* argument);
    ~Fiber();
    Fiber(const Fiber&) = delete;
    Fiber& operator=(const Fiber&) = delete;

    /// Called by the flow that runs, which is this one; comes back when another one switches to it. What the
    /// C library keeps for a thread goes along, as far as a program can see it: errno.
    void SwitchTo(Fiber* next);

  private:
    static void Begin(unsigned low, unsigned high);
    [[noreturn]] void Resume();

    Entry entry_ = nullptr;
    void* argument_ = nullptr;
    void* stack_ = nullptr;  // with its guard
    bool is_new_ = false;
    ucontext_t start_;  // for the first time; it costs two calls of the system
    jmp_buf here_;      // for all others
};

}  // namespace virtual_time
