// Standard output that goes nowhere while it lives, as on a board: the stream's buffer is written out when
// full.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

class SilentOutput {
  public:
    SilentOutput() {
        fflush(stdout);
        console_ = dup(STDOUT_FILENO);
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~SilentOutput() {
        fflush(stdout);
        dup2(console_, STDOUT_FILENO);
        close(console_);
    }
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

  private:
    int console_ = -1;
};
