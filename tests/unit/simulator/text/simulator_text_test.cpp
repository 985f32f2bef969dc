// Text work that the tools share: escapes, hexadecimal digits, words.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/text/text.h"

using namespace simulator_text;

namespace {

TEST(Escapes, BytesBecomePrintableAndBack) {
    const struct {
        std::string bytes;
        const char* text;
    } cases[] = {
        {"", ""},
        {"AT+CSQ", "AT+CSQ"},
        {"\r\n\t", "\\r\\n\\t"},
        {std::string("a\0b", 3), "a\\0b"},
        {"\\", "\\\\"},
        {"\\n", "\\\\n"},
        {"\x01\x1F\x7F", "\\x01\\x1F\\x7F"},
        {"caf\xC3\xA9 \xE7\x9B\xAE", "caf\xC3\xA9 \xE7\x9B\xAE"},
        {"\xE7\x9B", "\\xE7\\x9B"},                    // a character cut off
        {"\xC3(", "\\xC3("},                           // no continuation
        {"\xC0\x80", "\\xC0\\x80"},                    // longer than need be
        {"\xF0\x9F\x98\x80", "\\xF0\\x9F\\x98\\x80"},  // beyond what modems send
        {"\x80\xFF", "\\x80\\xFF"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(row.text, Escape(row.bytes));
        EXPECT_EQ(row.bytes, Unescape(row.text)) << row.text;
    }
}

TEST(Escapes, WhatIsNoEscapeStaysAsItIs) {
    const struct {
        const char* text;
        const char* bytes;
    } cases[] = {
        {"\\\"", "\""}, {"\\q", "\\q"},   {"\\", "\\"},       {"a\\", "a\\"},
        {"\\x", "\\x"}, {"\\x4", "\\x4"}, {"\\xG1", "\\xG1"}, {"\\x4G", "\\x4G"},
        {"\\x41", "A"}, {"\\x414", "A4"}, {"\\x0a", "\n"},
    };
    for (const auto& row : cases) EXPECT_EQ(row.bytes, Unescape(row.text)) << row.text;
}

TEST(Hexadecimal, BytesToDigits) {
    EXPECT_EQ("", ToHex(""));
    EXPECT_EQ("00FF6A", ToHex(std::string("\0\xFF\x6A", 3)));
    EXPECT_EQ("00 FF 6A", ToHex(std::string("\0\xFF\x6A", 3), " "));
}

TEST(Hexadecimal, DigitsToBytes) {
    EXPECT_EQ(std::string("\0\xFF\x6A", 3), FromHex("00FF6a"));
    EXPECT_EQ(std::string("\0\xFF\x6A", 3), FromHex(" 00 FF 6A "));
    EXPECT_EQ("", FromHex(""));
    EXPECT_EQ("", FromHex(" "));
    for (const char* text : {"0", "0x", "00F", "F F", "0G", "00,FF", "-1", "+1"}) {
        EXPECT_EQ(std::nullopt, FromHex(text)) << text;
    }
}

TEST(Words, BlanksAroundATextGo) {
    EXPECT_EQ("a b", Trim(" \t a b\r\n"));
    EXPECT_EQ("", Trim(" \t\r\n"));
    EXPECT_EQ("", Trim(""));
}

TEST(Words, TakenOneByOne) {
    std::string_view text = "  pieces 7\tgap  40 ";
    for (const char* word : {"pieces", "7", "gap", "40", "", ""}) EXPECT_EQ(word, TakeWord(&text));
    EXPECT_TRUE(text.empty());
    text = "urc  +CREG: 1 ";
    EXPECT_EQ("urc", TakeWord(&text));
    EXPECT_EQ("+CREG: 1", text);
    std::string own = " a  b ";
    EXPECT_EQ("a", TakeWord(&own));
    EXPECT_EQ("b", own);
}

TEST(Words, PiecesBetweenSeparators) {
    using simulator_text::Split;
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(Split("a.b", '.'), (Pieces{"a", "b"}));
    EXPECT_EQ(Split("a\nb\n", '\n'), (Pieces{"a", "b"})) << "a last line end ends a line and begins none";
    EXPECT_EQ(Split("..a", '.'), (Pieces{"", "", "a"}));
    EXPECT_EQ(Split("", '.'), Pieces{});
    EXPECT_TRUE(simulator_text::StartsWith("abc", "ab"));
    EXPECT_TRUE(simulator_text::StartsWith("abc", ""));
    EXPECT_FALSE(simulator_text::StartsWith("a", "ab"));
}

}  // namespace
