// The pipe by which scripts give the daemon commands, opened so that nothing is waited for and nothing is
// made: without a daemon a plain file in the pipe's place would keep the next one from having a pipe.
#pragma once

#include <sys/types.h>

#include <string>

namespace board {

constexpr char kPipePath[] = "/run/network/ravelin_fifo";
constexpr size_t kMessageLimit_bytes = 511;  // what the daemon takes at a time, less the line end

enum class PipeState { kOpen, kNoReader, kMissing, kNoPipe, kNotAllowed };

class Pipe {
  public:
    explicit Pipe(const std::string& path);
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    PipeState state() const { return state_; }
    /// In words, unless it is open.
    const std::string& problem() const { return problem_; }

    /// Whose pipe it is, once it is open.
    uid_t owner() const { return owner_; }

    /// Hands a line over in one piece, its line end added. False: problem() says why, and nothing was sent.
    bool Send(const std::string& line);

  private:
    PipeState Fail(PipeState state, const std::string& problem);
    PipeState Open(const std::string& path);

    int fd_ = -1;
    uid_t owner_ = 0;
    std::string problem_;
    PipeState state_;
};

}  // namespace board
