// Whose memory an allocation is: the program's or that of the world under it. What stands here only tells;
// own_heap.cpp, which the preload library has and test suites don't, keeps the two apart by it.
#pragma once

namespace virtual_time {

/// While one lives, what its thread asks for by `new` is the world's.
class ForTheWorld {
  public:
    ForTheWorld() : before_(is_ours) { is_ours = true; }
    ~ForTheWorld() { is_ours = before_; }
    ForTheWorld(const ForTheWorld&) = delete;
    ForTheWorld& operator=(const ForTheWorld&) = delete;

    static bool IsOurs() { return is_ours; }
    /// A flow of control goes on, with what IsOurs() was when another one took its place.
    static void GoOn(bool is_it_ours) { is_ours = is_it_ours; }

  private:
    friend class ForTheProgram;

    static inline thread_local bool is_ours __attribute__((tls_model("initial-exec"))) = false;
    const bool before_;
};

/// The reverse, around calls back into the program.
class ForTheProgram {
  public:
    ForTheProgram() : before_(ForTheWorld::is_ours) { ForTheWorld::is_ours = false; }
    ~ForTheProgram() { ForTheWorld::is_ours = before_; }
    ForTheProgram(const ForTheProgram&) = delete;
    ForTheProgram& operator=(const ForTheProgram&) = delete;

  private:
    const bool before_;
};

}  // namespace virtual_time
