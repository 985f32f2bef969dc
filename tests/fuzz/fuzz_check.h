// What a fuzz target demands of the code under test: a failed check ends the process, so that the fuzzer
// keeps the input.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Standard error as the process found it: a fuzzer closes its own, against what the code under test prints.
inline const int kReport = dup(STDERR_FILENO);

#define FUZZ_CHECK(condition)                                                              \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            dprintf(kReport, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            abort();                                                                       \
        }                                                                                  \
    } while (false)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);
