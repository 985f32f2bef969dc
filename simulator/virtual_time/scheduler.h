// Virtual time: a clock that stands still while anything runs and jumps when everything waits.
//
// Threads run under a baton. The thread that holds it runs; all others are parked. A thread gives the baton
// up only in a wait of this scheduler (or when it ends), and then the next one is chosen by rules that don't
// depend on the machine:
//   1. events that are due, in the order of their times and then of their making; then the peers of the
//      ports are brought up to the present;
//   2. the thread with the lowest number whose condition holds or whose time has come;
//   3. if there is none, the clock jumps to the earliest of all deadlines, events and times of peers,
//      and so on.
// The same program with the same events therefore does the same things at the same times in every run.
//
// Only the holder of the baton touches the scheduler, so there is no lock; handing the baton over orders
// memory. A thread is a real one, or else a fiber of the thread that made the scheduler.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "simulator/virtual_time/port_peer.h"

namespace virtual_time {

constexpr int64_t kNever = INT64_MAX;
constexpr int64_t kMicrosecondsPerSecond = 1000000;
constexpr int64_t kMicrosecondsPerMillisecond = 1000;

class Scheduler {
  public:
    /// The calling thread becomes thread 0 and holds the baton. Threads that still wait when the scheduler
    /// goes away stay parked until the process ends: there is no safe way to end a foreign thread.
    explicit Scheduler(int64_t now_us = 0);
    ~Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Microseconds since the start.
    int64_t now_us() const { return now_us_; }

    /// Runs `event` once at `when_us`, or as soon as everything waits if that lies in the past. An event must
    /// not wait itself.
    void At(int64_t when_us, std::function<void()> event);

    /// `peer` is asked for its times from now on and must outlive the scheduler or be removed.
    void AddPeer(PortPeer* peer);
    void RemovePeer(PortPeer* peer);

    /// Waits until `deadline_us`, or earlier until `condition` holds, which may be null. True when it holds.
    /// The condition is tried on any thread and must not wait.
    bool Wait(int64_t deadline_us, std::function<bool()> condition);
    void Sleep(int64_t microseconds);

    /// Makes a thread that begins once the others wait. `create` starts the real thread with the entry and
    /// argument that it is given and returns 0 or an error number, which is the result. A fiber needs none.
    using ThreadEntry = void* (*)(void*);
    int StartThread(ThreadEntry entry, void* argument,
                    const std::function<int(ThreadEntry entry, void* argument)>& create, int* number);

    /// Threads made from now on are fibers. Not for a program that a sanitizer watches.
    void UseFibers() { uses_fibers_ = true; }
    bool uses_fibers() const { return uses_fibers_; }

    /// Waits until the thread with that number has ended.
    void WaitForEnd(int number);

    /// Waits until the threads that have ended are gone for the system as well. Until then they hold a stack
    /// and some heap, for as long as the machine likes.
    void AwaitLeaving();

    /// Number of the calling thread, or -1 for a thread that isn't the scheduler's.
    int CurrentThread() const;

    /// Threads that haven't ended, thread 0 among them.
    size_t thread_count() const { return threads_.size(); }

    /// Whether the caller holds the baton outside of an event, so that it may wait.
    bool MayWait() const;

    /// To be called for each call that a program can make again and again without ever waiting. A thread
    /// that overdoes it while the clock stands is made to wait a millisecond, so that a busy loop can't stop
    /// the world.
    void CountCall();

    // What to do when nothing will ever happen again. The default says so and aborts.
    std::function<void()> on_deadlock;

    /// One line for each thread: its number and what it waits for.
    std::string Describe() const;

  private:
    struct Thread;

    static void* RunThread(void* thread);
    static void RunFiber(void* thread);
    Thread* CurrentOrNull() const;
    bool HasEnded(int number) const;
    std::unique_ptr<Thread> Remove(Thread* thread);
    Thread* PickNext();
    void RunDueEvents();
    Thread* ReadyThread();
    void JumpToNextTime();
    void AdvancePeers();
    void SwitchTo(Thread* next);
    void HandOver(Thread* next);

    int64_t now_us_;
    bool in_event_ = false;
    int64_t calls_since_jump_ = 0;
    std::multimap<int64_t, std::function<void()>> events_;
    std::vector<PortPeer*> peers_;
    std::vector<std::unique_ptr<Thread>> threads_;  // those that haven't ended, by number
    std::vector<int> leaving_;                      // the system's numbers of those that have, lately
    int next_number_ = 1;
    bool uses_fibers_ = false;
    std::unique_ptr<Thread> ended_fiber_;  // until somebody else runs than itself
};

}  // namespace virtual_time
