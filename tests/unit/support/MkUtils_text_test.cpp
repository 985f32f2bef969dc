#include "support/MkUtils.h"

#include <cerrno>
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

TEST(MkUtilsText, BaseNameIsBehindTheLastSlash) {
    EXPECT_STREQ("c.txt", GetBaseName("/a/b/c.txt"));
    EXPECT_STREQ("c", GetBaseName("c"));
    EXPECT_STREQ("", GetBaseName("/a/"));
    EXPECT_STREQ("", GetBaseName(""));
}

TEST(MkUtilsText, ExtensionIsBehindTheLastDotOfTheName) {
    EXPECT_STREQ("txt", GetExtension("/a/b/c.txt"));
    EXPECT_STREQ("gz", GetExtension("c.tar.gz"));
    EXPECT_STREQ("", GetExtension("/a.b/c"));
    EXPECT_STREQ("", GetExtension("/a/.profile"));
    EXPECT_STREQ("", GetExtension("c."));
    EXPECT_STREQ("", GetExtension(""));
}

struct SizeCase {
    uint64_t size_bytes;
    const char* expected;
};

TEST(MkUtilsText, SizeIsToldInTheLargestUnit) {
    const SizeCase cases[] = {{0, "0 bytes"},
                              {1023, "1023 bytes"},
                              {1024, "1.0 KB"},
                              {1536, "1.5 KB"},
                              {1024 * 1024 - 1, "1024.0 KB"},
                              {1024 * 1024, "1.0 MB"},
                              {5242880, "5.0 MB"},
                              {1048628428, "1000.0 MB"},  // 1000.05 MB are 1048628428.8 bytes
                              {1048628429, "1000.1 MB"},
                              {1024 * 1024 * 1024 - 1, "1024.0 MB"},
                              {1024 * 1024 * 1024, "1.0 GB"},
                              {UINT64_MAX, "17179869184.0 GB"}};
    for (const SizeCase& test : cases) EXPECT_EQ(test.expected, GetSizeText(test.size_bytes));
}

// Worked by hand: 5381 * 33 + 97 = 177670, and so on; the long one is the same sum in Python, modulo 2^32.
TEST(MkUtilsText, HashMultipliesBy33From5381) {
    EXPECT_EQ(5381u, HashText(""));
    EXPECT_EQ(177670u, HashText("a"));
    EXPECT_EQ(177670u * 33 + 98, HashText("ab"));
    EXPECT_EQ(5381u * 33 + 0xFF, HashText("\xFF"));
    EXPECT_EQ(261238937u, HashText("hello"));
}

TEST(MkUtilsText, SumIsModulo256) {
    const unsigned char bytes[] = {0xFF, 0x02, 0x10};
    EXPECT_EQ(0x11, SumBytes(bytes, 3));
    EXPECT_EQ(0xFF, SumBytes(bytes, 1));
    EXPECT_EQ(0, SumBytes(bytes, 0));
}

struct HexCase {
    const char* text;
    uint32_t expected;
};

TEST(MkUtilsText, HexNumberIsReadUpToTheFirstOtherCharacter) {
    const HexCase cases[] = {{"ff", 0xFF},
                             {"0xFF", 0xFF},
                             {"0Xa0", 0xA0},
                             {"12G", 0x12},
                             {"", 0},
                             {"0x", 0},
                             {"x12", 0},
                             {"-1", 0},
                             {" 1", 0},
                             {"0x0x12", 0},
                             {"ffffffff", ~0u},
                             {"100000000", ~0u},
                             {"0", 0},
                             {"00000000001", 1},
                             {"fffffffffffffffffffff", ~0u}};
    for (const HexCase& test : cases) EXPECT_EQ(test.expected, ParseHexNumber(test.text)) << test.text;
}

constexpr char kVariable[] = "MKUTILS_TEST_VARIABLE";

TEST(MkUtilsText, EnvironmentFlagKnowsItsWords) {
    for (const char* yes : {"1", "y", "YES", "True", "on"}) {
        setenv(kVariable, yes, 1);
        EXPECT_TRUE(GetEnvironmentFlag(kVariable, false)) << yes;
    }
    for (const char* no : {"0", "n", "No", "FALSE", "off"}) {
        setenv(kVariable, no, 1);
        EXPECT_FALSE(GetEnvironmentFlag(kVariable, true)) << no;
    }
    for (const char* other : {"", "2", "maybe", " yes"}) {
        setenv(kVariable, other, 1);
        EXPECT_TRUE(GetEnvironmentFlag(kVariable, true)) << other;
        EXPECT_FALSE(GetEnvironmentFlag(kVariable, false)) << other;
    }
    unsetenv(kVariable);
    EXPECT_TRUE(GetEnvironmentFlag(kVariable, true));
    EXPECT_FALSE(GetEnvironmentFlag(kVariable, false));
}

TEST(MkUtilsText, EnvironmentNumberIsAWholeNumberOrTheDefault) {
    const struct {
        const char* text;
        int32_t expected;
    } cases[] = {{"12", 12},
                 {"-3", -3},
                 {"0", 0},
                 {"2147483647", INT32_MAX},
                 {"", 99},
                 {"12x", 99},
                 {"2147483648", 99},
                 {"-2147483648", INT32_MIN},
                 {"x", 99},
                 {"0x10", 99},
                 {"99999999999999999999", 99}};
    for (const auto& test : cases) {
        setenv(kVariable, test.text, 1);
        errno = ERANGE;  // of a call before
        EXPECT_EQ(test.expected, GetEnvironmentNumber(kVariable, 99)) << test.text;
    }
    unsetenv(kVariable);
    EXPECT_EQ(99, GetEnvironmentNumber(kVariable, 99));
}

}  // namespace
