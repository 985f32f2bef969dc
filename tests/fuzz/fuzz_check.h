// What a fuzz target demands of the code under test: a failed check ends the process, so that the fuzzer
// keeps the input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                             \
    do {                                                                                  \
        if (!(condition)) {                                                               \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            abort();                                                                      \
        }                                                                                 \
    } while (false)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);
