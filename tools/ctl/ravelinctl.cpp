// One tool for whoever runs a charge point: what the link of its modem does, did, and why.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "tools/ctl/command_line.h"

int main(int argc, char** argv) {
    // A reader that has gone is a failed write like any other.
    signal(SIGPIPE, SIG_IGN);
    ctl::CommandLine command_line(ctl::AllCommands());
    const int status = command_line.Run({argv + (argc > 0 ? 1 : 0), argv + argc});
    if (fflush(stdout) == 0 && ferror(stdout) == 0) return status;
    // Who closes a pipe knows why.
    if (errno != EPIPE) fprintf(stderr, "%s: standard output: %s\n", ctl::kToolName, strerror(errno));
    return status == ctl::kStatusDone ? 1 : status;
}
