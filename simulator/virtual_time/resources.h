// What the program under the world holds, so that two moments of a run can be compared.
#pragma once

#include <cstddef>

namespace virtual_time {

class Environment;

struct Resources {
    size_t descriptors;
    size_t threads;     // thread 0 among them
    size_t children;    // commands that popen has started and pclose hasn't waited for
    size_t heap_bytes;  // with a sanitizer, and in a test suite, what the world holds as well
};

Resources CountResources(Environment& environment);

}  // namespace virtual_time
