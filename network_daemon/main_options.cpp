// The command line. Called by main before anything else runs.
#include "network_daemon/main.h"

#include <unistd.h>

#include <cstdio>

#include "support/text_util.h"

namespace {

// D, L and l belong to trace_init, which has read them and leaves them in the vector.
constexpr char kOptionLetters[] = "DLlthd:s:c:";

constexpr char kUsage[] =
    "usage: ravelin-mobile [option]\n"
    "            \t-d device\n"
    "            \t-c config \n"
    "            \t-s script\n"
    "            \t-t debug terminal\n"
    "            \t-h help";

}  // namespace

bool ReadOptions(int argc, char** argv, Options& options) {
    for (;;) {
        switch (getopt(argc, argv, kOptionLetters)) {
            case -1:
                return true;
            case 'd':
                CopyText(options.device, optarg);
                break;
            case 'c':
                CopyText(options.config, optarg);
                break;
            case 's':
                CopyText(options.script, optarg);
                break;
            case 't':
                options.debug_terminal = true;
                break;
            case 'h':
                puts(kUsage);
                return false;
            default:
                break;
        }
    }
}
