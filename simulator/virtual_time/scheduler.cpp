#include "simulator/virtual_time/scheduler.h"

#include <sched.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "simulator/virtual_time/fiber.h"
#include "simulator/virtual_time/own_heap.h"

namespace virtual_time {

namespace {

// A loop that never waits may make so many calls at one instant, and then so many for each charge. The latter
// is a prime number, so that in a loop of several calls each of them is charged in turn: a select charged
// within its time-out sees that run down, and one charged outside doesn't.
constexpr int64_t kCallsBeforeCharge = 1000;
constexpr int64_t kCallsPerCharge = 5;
constexpr int64_t kCharge_us = 1000;

}  // namespace

struct Scheduler::Thread {
    enum class State { kWaiting, kRunning };

    Scheduler* scheduler;
    int number;
    State state = State::kRunning;
    int64_t deadline_us = 0;
    std::function<bool()> condition;
    ThreadEntry entry = nullptr;
    void* argument = nullptr;
    std::unique_ptr<Fiber> fiber;  // where threads aren't real
    sem_t baton;

    Thread(Scheduler* owner, int its_number) : scheduler(owner), number(its_number) {
        sem_init(&baton, 0, 0);
    }
    ~Thread() { sem_destroy(&baton); }

    void Park() {
        while (sem_wait(&baton) != 0) assert(errno == EINTR);
    }
};

namespace {

// What the scheduler knows of this thread, and the scheduler that it belongs to: a thread that was left
// parked by an earlier scheduler must not be taken for one of the present. Every call that the world stands
// in front of looks here first; we are there from the start, so no call is needed to find them.
#define FOUND_WITHOUT_A_CALL __attribute__((tls_model("initial-exec")))
thread_local void* current_thread FOUND_WITHOUT_A_CALL = nullptr;
thread_local const Scheduler* current_scheduler FOUND_WITHOUT_A_CALL = nullptr;

}  // namespace

Scheduler::Scheduler(int64_t now_us) : now_us_(now_us) {
    threads_.push_back(std::make_unique<Thread>(this, 0));
    current_thread = threads_.front().get();
    current_scheduler = this;
    on_deadlock = [this] {
        fprintf(stderr, "virtual time: nothing will ever happen again\n%s", Describe().c_str());
        abort();
    };
}

Scheduler::~Scheduler() {
    assert(CurrentThread() == 0);
    current_thread = nullptr;
    current_scheduler = nullptr;
    // A parked thread still waits on its semaphore.
    for (auto& thread : threads_) {
        if (thread->number != 0) static_cast<void>(thread.release());
    }
}

Scheduler::Thread* Scheduler::CurrentOrNull() const {
    return current_scheduler == this ? static_cast<Thread*>(current_thread) : nullptr;
}

int Scheduler::CurrentThread() const {
    const Thread* thread = CurrentOrNull();
    return thread != nullptr ? thread->number : -1;
}

bool Scheduler::MayWait() const {
    return CurrentThread() >= 0 && !in_event_;
}

void Scheduler::At(int64_t when_us, std::function<void()> event) {
    events_.emplace(when_us, std::move(event));
}

void Scheduler::AddPeer(PortPeer* peer) {
    peers_.push_back(peer);
}

void Scheduler::RemovePeer(PortPeer* peer) {
    for (size_t i = 0; i < peers_.size(); ++i) {
        if (peers_[i] != peer) continue;
        peers_.erase(peers_.begin() + static_cast<std::ptrdiff_t>(i));
        return;
    }
}

bool Scheduler::Wait(int64_t deadline_us, std::function<bool()> condition) {
    assert(MayWait());
    Thread* self = CurrentOrNull();
    self->deadline_us = deadline_us;
    self->condition = std::move(condition);
    self->state = Thread::State::kWaiting;
    Thread* next = PickNext();
    if (next != self) {
        SwitchTo(next);
    } else {
        self->state = Thread::State::kRunning;
    }
    const bool holds = self->condition && self->condition();
    self->condition = nullptr;
    return holds;
}

void Scheduler::Sleep(int64_t microseconds) {
    if (microseconds < 0) microseconds = 0;
    const bool for_ever = microseconds > kNever - now_us_;
    Wait(for_ever ? kNever : now_us_ + microseconds, nullptr);
}

int Scheduler::StartThread(ThreadEntry entry, void* argument,
                           const std::function<int(ThreadEntry entry, void* argument)>& create, int* number) {
    auto thread = std::make_unique<Thread>(this, next_number_);
    thread->entry = entry;
    thread->argument = argument;
    thread->state = Thread::State::kWaiting;
    thread->deadline_us = now_us_;
    Thread* made = thread.get();
    threads_.push_back(std::move(thread));
    AwaitLeaving();  // or it would be left to chance whether the new one gets their stack and heap
    if (uses_fibers_) made->fiber = std::make_unique<Fiber>(&Scheduler::RunFiber, made);
    const int error = uses_fibers_ ? 0 : create(&Scheduler::RunThread, made);
    if (error != 0) {
        threads_.pop_back();
        return error;
    }
    ++next_number_;
    if (number != nullptr) *number = made->number;
    return 0;
}

void* Scheduler::RunThread(void* thread) {
    Thread* self = static_cast<Thread*>(thread);
    Scheduler* scheduler = self->scheduler;
    self->Park();
    current_thread = self;
    current_scheduler = scheduler;
    void* result = self->entry(self->argument);
    const ForTheWorld memory;
    const std::unique_ptr<Thread> ended = scheduler->Remove(self);
    Thread* next = scheduler->PickNext();  // may run events, which must not wait for this thread
    scheduler->leaving_.push_back(static_cast<int>(syscall(SYS_gettid)));
    current_scheduler = nullptr;
    scheduler->HandOver(next);
    return result;
}

void Scheduler::RunFiber(void* thread) {
    Thread* self = static_cast<Thread*>(thread);
    Scheduler* scheduler = self->scheduler;
    self->entry(self->argument);
    const ForTheWorld memory;
    scheduler->ended_fiber_ = scheduler->Remove(self);
    Thread* next = scheduler->PickNext();
    next->state = Thread::State::kRunning;
    current_thread = next;
    self->fiber->SwitchTo(next->fiber.get());
}

std::unique_ptr<Scheduler::Thread> Scheduler::Remove(Thread* thread) {
    const auto place = std::find_if(threads_.begin(), threads_.end(),
                                    [thread](const auto& each) { return each.get() == thread; });
    std::unique_ptr<Thread> removed = std::move(*place);
    threads_.erase(place);
    return removed;
}

bool Scheduler::HasEnded(int number) const {
    return std::none_of(threads_.begin(), threads_.end(),
                        [number](const auto& each) { return each->number == number; });
}

void Scheduler::WaitForEnd(int number) {
    Wait(kNever, [this, number] { return HasEnded(number); });
}

void Scheduler::AwaitLeaving() {
    for (const int thread : leaving_) {
        while (syscall(SYS_tgkill, getpid(), thread, 0) == 0) sched_yield();
    }
    leaving_.clear();
}

void Scheduler::SwitchTo(Thread* next) {
    Thread* self = CurrentOrNull();
    if (!uses_fibers_) {
        HandOver(next);
        self->Park();
        return;
    }
    next->state = Thread::State::kRunning;
    current_thread = next;
    if (self->fiber == nullptr) self->fiber = std::make_unique<Fiber>();  // of the thread that was there
    self->fiber->SwitchTo(next->fiber.get());
    ended_fiber_ = nullptr;
}

void Scheduler::HandOver(Thread* next) {
    next->state = Thread::State::kRunning;
    sem_post(&next->baton);
}

Scheduler::Thread* Scheduler::PickNext() {
    while (true) {
        RunDueEvents();
        AdvancePeers();
        Thread* ready = ReadyThread();
        if (ready != nullptr) return ready;
        JumpToNextTime();
    }
}

void Scheduler::RunDueEvents() {
    while (!events_.empty() && events_.begin()->first <= now_us_) {
        const std::function<void()> event = std::move(events_.begin()->second);
        events_.erase(events_.begin());
        in_event_ = true;
        event();
        in_event_ = false;
    }
}

void Scheduler::AdvancePeers() {
    for (PortPeer* peer : peers_) peer->Advance(now_us_);
}

Scheduler::Thread* Scheduler::ReadyThread() {
    for (const auto& thread : threads_) {
        if (thread->state != Thread::State::kWaiting) continue;
        if (thread->deadline_us <= now_us_ || (thread->condition && thread->condition())) return thread.get();
    }
    return nullptr;
}

void Scheduler::JumpToNextTime() {
    int64_t next_us = kNever;
    for (const auto& thread : threads_) {
        if (thread->state == Thread::State::kWaiting && thread->deadline_us < next_us) {
            next_us = thread->deadline_us;
        }
    }
    if (!events_.empty() && events_.begin()->first < next_us) next_us = events_.begin()->first;
    for (PortPeer* peer : peers_) {
        const std::optional<int64_t> event_us = peer->NextEventUs();
        if (event_us && *event_us > now_us_ && *event_us < next_us) next_us = *event_us;
    }
    if (next_us == kNever) {
        on_deadlock();
        abort();  // a handler that returns has no other thread to go on with
    }
    now_us_ = next_us;
    calls_since_jump_ = 0;
}

void Scheduler::CountCall() {
    if (++calls_since_jump_ < kCallsBeforeCharge || !MayWait()) return;
    Sleep(kCharge_us);
    calls_since_jump_ = kCallsBeforeCharge - kCallsPerCharge;
}

std::string Scheduler::Describe() const {
    std::string text;
    for (const auto& thread : threads_) {
        text += "  thread " + std::to_string(thread->number);
        if (thread->state == Thread::State::kRunning) {
            text += ": runs";
        } else if (thread->deadline_us == kNever) {
            text += ": waits for a condition";
        } else {
            text += ": waits until " + std::to_string(thread->deadline_us) + " us";
        }
        text += "\n";
    }
    return text;
}

}  // namespace virtual_time
