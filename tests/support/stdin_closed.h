// A standard descriptor closed for a while, so that the next file or port that is opened gets its number.
#pragma once

#include <unistd.h>

class DescriptorClosed {
  public:
    explicit DescriptorClosed(int fd) : fd_(fd), kept_(dup(fd)) { close(fd_); }
    ~DescriptorClosed() {
        close(fd_);
        dup2(kept_, fd_);
        close(kept_);
    }
    DescriptorClosed(const DescriptorClosed&) = delete;
    DescriptorClosed& operator=(const DescriptorClosed&) = delete;

  private:
    int fd_;
    int kept_;
};

class StdinClosed : public DescriptorClosed {
  public:
    StdinClosed() : DescriptorClosed(STDIN_FILENO) {}
};
