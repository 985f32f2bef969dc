// The text operations under everything else: bounds, empty fields, skipped delimiters, numbers at their
// limits, white space at the ends.
#include "support/text_util.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(CopyText, FitsWithTerminator) {
    char to[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(CopyText(to, "abc"), 3U);
    EXPECT_STREQ(to, "abc");
}

TEST(CopyText, CutsWhatDoesNotFit) {
    char to[5] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(CopyText(to, 4, "abcdef"), 3U);
    EXPECT_STREQ(to, "abc");
    EXPECT_EQ(to[4], 'x');
}

TEST(CopyText, HonoursASmallerLimit) {
    char to[8] = "";
    EXPECT_EQ(CopyText(to, "abcdef", 2), 2U);
    EXPECT_STREQ(to, "ab");
}

TEST(CopyText, IgnoresALimitBeyondTheArray) {
    for (const size_t limit : {3, 4, 5, 100}) {
        char to[4] = "";
        EXPECT_EQ(CopyText(to, "abcdef", limit), 3U) << limit;
        EXPECT_STREQ(to, "abc");
    }
}

TEST(CopyText, TakesNullAsEmpty) {
    char to[4] = "old";
    EXPECT_EQ(CopyText(to, nullptr), 0U);
    EXPECT_STREQ(to, "");
}

TEST(CopyText, SizeOfZeroStoresNothing) {
    char to = 'x';
    EXPECT_EQ(CopyText(&to, 0, "abc"), 0U);
    EXPECT_EQ(to, 'x');
}

TEST(CopyText, ReadsNoFurtherThanItStores) {
    const char from[3] = {'a', 'b', 'c'};  // not terminated
    char to[4] = "";
    EXPECT_EQ(CopyText(to, from), 3U);
    EXPECT_STREQ(to, "abc");
}

struct SplitCase {
    const char* text;
    const char* delimiters;
    std::vector<std::string> expected;
};

std::vector<std::string> Split(const SplitCase& c, char* (*next)(char**, const char*)) {
    std::string text = c.text;
    char* rest = text.data();
    std::vector<std::string> parts;
    while (const char* part = next(&rest, c.delimiters)) parts.emplace_back(part);
    EXPECT_EQ(next(&rest, c.delimiters), nullptr) << "nothing more after the last of " << c.text;
    return parts;
}

TEST(NextField, AdjacentDelimitersYieldEmptyFields) {
    const SplitCase cases[] = {
        {"a,b", ",", {"a", "b"}}, {"a,,b", ",", {"a", "", "b"}},    {",a,", ",", {"", "a", ""}},
        {"", ",", {""}},          {"a b,c", ", ", {"a", "b", "c"}}, {"abc", "", {"abc"}},
    };
    for (const auto& c : cases) EXPECT_EQ(Split(c, NextField), c.expected) << c.text;
}

TEST(NextToken, SkipsDelimitersInFront) {
    const SplitCase cases[] = {
        {"a,b", ",", {"a", "b"}}, {"a,,b", ",", {"a", "b"}},       {",,a,", ",", {"a"}}, {"", ",", {}},
        {",,,", ",", {}},         {"\r\n 7 \r\n", "\r\n ", {"7"}},
    };
    for (const auto& c : cases) EXPECT_EQ(Split(c, NextToken), c.expected) << c.text;
}

TEST(NextToken, GivesWhatStrtokGives) {
    const char* texts[] = {"KEY=value", "KEY==value", "=KEY=value=", "KEY", "KEY=", "=", "==", "", "a=b=c=d"};
    for (const char* text : texts) {
        std::string copy = text;
        std::vector<std::string> expected;
        for (char* token = strtok(copy.data(), "="); token != nullptr; token = strtok(nullptr, "=")) {
            expected.emplace_back(token);
        }
        EXPECT_EQ(Split({text, "=", {}}, NextToken), expected) << text;
    }
}

TEST(ParseNumber, TakesTheNumberAtTheStart) {
    const struct {
        const char* text;
        int32_t expected;
    } cases[] = {
        {"0", 0},
        {"17", 17},
        {"-5", -5},
        {"+5", 5},
        {" \t\r\n42", 42},
        {"31,99", 31},
        {"0x10", 0},
        {"010", 10},
        {"7abc", 7},
        {"abc", 0},
        {"", 0},
        {"-", 0},
        {nullptr, 0},
        {"2147483647", 2147483647},
        {"2147483648", 2147483647},
        {"-2147483648", INT32_MIN},
        {"-2147483649", INT32_MIN},
        {"4294967297", 2147483647},  // 1 where the upper half is dropped
        {"-4294967297", INT32_MIN},
        {"99999999999999999999999999", 2147483647},
        {"-99999999999999999999999999", INT32_MIN},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ParseNumber(c.text), c.expected) << (c.text != nullptr ? c.text : "null");
    }
}

TEST(Trim, TakesWhiteSpaceFromTheEndThatItNames) {
    const struct {
        const char *text, *start, *end, *both;
    } cases[] = {
        {"", "", "", ""},
        {" ", "", "", ""},
        {" \t\n\v\f\r", "", "", ""},
        {"a", "a", "a", "a"},
        {" a", "a", " a", "a"},
        {"a ", "a ", "a", "a"},
        {"\t a b \r\n", "a b \r\n", "\t a b", "a b"},
        {"\xA0 a\xA0", "\xA0 a\xA0", "\xA0 a\xA0", "\xA0 a\xA0"},
        {"  x\x01 ", "x\x01 ", "  x\x01", "x\x01"},
    };
    for (const auto& c : cases) {
        std::string text = c.text;
        EXPECT_STREQ(TrimStart(text.data()), c.start) << '"' << c.text << '"';
        EXPECT_STREQ(TrimEnd(text.data()), c.end) << '"' << c.text << '"';
        text = c.text;
        EXPECT_STREQ(str_trim(text.data()), c.both) << '"' << c.text << '"';
    }
}

TEST(Trim, WorksInsideTheGivenText) {
    char text[] = "  ab  ";
    EXPECT_EQ(str_trim(text), text + 2);
    EXPECT_EQ(std::string(text, sizeof(text)), std::string("  ab\0\0\0", 7)) << "the end is overwritten";
}

TEST(Trim, DoesNotLookInFrontOfTheText) {
    char text[] = "    ";
    EXPECT_STREQ(TrimEnd(text + 2), "");
    EXPECT_STREQ(text, "  ");
}

}  // namespace
