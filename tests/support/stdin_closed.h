// Standard input closed for a while, so that the next file or port that is opened gets descriptor 0.
#pragma once

#include <unistd.h>

class StdinClosed {
  public:
    StdinClosed() : kept_(dup(STDIN_FILENO)) { close(STDIN_FILENO); }
    ~StdinClosed() {
        dup2(kept_, STDIN_FILENO);
        close(kept_);
    }
    StdinClosed(const StdinClosed&) = delete;
    StdinClosed& operator=(const StdinClosed&) = delete;

  private:
    int kept_;
};
