// Standard output that goes nowhere while it lives, and is written line by line as the daemon's is.
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
        setvbuf(stdout, nullptr, _IOLBF, 0);
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
