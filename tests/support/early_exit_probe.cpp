// A suite that ends in the middle of a test, as if all were well. Its run must fail: suite_end.cpp.
#include <cstdlib>

#include <gtest/gtest.h>

TEST(EarlyExit, CountsAsAFailure) {
    exit(0);
}
