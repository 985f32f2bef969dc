// What is printed for people.
#include "tools/ctl/terminal.h"

#include <gtest/gtest.h>

#include "tests/support/ctl_terminal.h"

namespace {

using Lines = std::vector<std::string>;

TEST(Terminal, ShowsNothingThatATerminalObeys) {
    EXPECT_EQ(ctl::Shown("CHINA \"MOBILE\""), "CHINA \"MOBILE\"");
    EXPECT_EQ(ctl::Shown("a\033[2Jb\r\n\t\x7F"), "a\\x1B[2Jb\\r\\n\\t\\x7F");
    EXPECT_EQ(ctl::Shown(std::string("a\0b", 3)), "a\\0b");
    EXPECT_EQ(ctl::Shown("\xC3\xA9t\xC3\xA9"), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(ctl::Shown("\xC2\x9B"
                         "2J"),
              "\\xC2\\x9B2J")
        << "a control of the second set";
    EXPECT_EQ(ctl::Shown("\xE2\x80\xAE"
                         "abc"),
              "\\xE2\\x80\\xAE"
              "abc")
        << "turns the direction of the text";
    EXPECT_EQ(ctl::Shown("\xE2\x81\xA6"
                         "abc"),
              "\\xE2\\x81\\xA6"
              "abc");
    EXPECT_EQ(ctl::Shown("\xE2\x80\x93"), "\xE2\x80\x93") << "a dash";
    EXPECT_EQ(ctl::Shown("\xFF\xFE\xC3"), "\\xFF\\xFE\\xC3");
    EXPECT_EQ(ctl::Shown("\xE0\x80\x9B"), "\\xE0\\x80\\x9B") << "a control longer than it has to be";
    EXPECT_EQ(ctl::Shown("\xED\xA0\x80"), "\\xED\\xA0\\x80") << "half of a pair";
}

TEST(Terminal, WrapsAtBlanksAndCutsWhatHasNone) {
    EXPECT_EQ(ctl::Wrap("one two three", 7), (Lines{"one two", "three"}));
    EXPECT_EQ(ctl::Wrap("one two", 0), (Lines{"one two"})) << "no limit";
    EXPECT_EQ(ctl::Wrap("abcdefgh", 3), (Lines{"abc", "def", "gh"}));
    EXPECT_EQ(ctl::Wrap("x abcdefgh y", 3), (Lines{"x", "abc", "def", "gh", "y"}));
    EXPECT_EQ(ctl::Wrap("", 5), (Lines{""}));
    EXPECT_EQ(ctl::Wrap("\xC3\xA9\xC3\xA9\xC3\xA9", 2), (Lines{"\xC3\xA9\xC3\xA9", "\xC3\xA9"}));
}

TEST(Terminal, ColourOnlyWhereThereIsAny) {
    ctl::Terminal terminal = OfWidth(80);
    EXPECT_EQ(ctl::Paint(terminal, ctl::Colour::kBad, "x"), "x");
    terminal.has_colour = true;
    EXPECT_EQ(ctl::Paint(terminal, ctl::Colour::kBad, "x"), "\033[31mx\033[0m");
    EXPECT_EQ(ctl::Paint(terminal, ctl::Colour::kNone, "x"), "x");
}

TEST(Terminal, RowsAreAligned) {
    ctl::Rows rows;
    rows.Add("Link", "online");
    rows.Begin("Signal");
    rows.Add("Strength", "-95 dBm, good, for a text that goes on and on");
    EXPECT_EQ(rows.Text(OfWidth(0)),
              "Link      online\n\nSignal\nStrength  -95 dBm, good, for a text that goes on and on\n");
    EXPECT_EQ(rows.Text(OfWidth(50)),
              "Link      online\n\nSignal\nStrength  -95 dBm, good, for a text that goes on\n"
              "          and on\n");
}

TEST(Terminal, OnANarrowOneTheTextStandsBelowItsLabel) {
    ctl::Rows rows;
    rows.Add("Link", "online");
    rows.Add("Strength", "-95 dBm, good, for a text that goes on and on");
    EXPECT_EQ(rows.Text(OfWidth(40)),
              "Link\n  online\nStrength\n  -95 dBm, good, for a text that goes on\n  and on\n");
    EXPECT_EQ(rows.Text(OfWidth(1)).find("Link\n  o\n  n\n"), 0u) << "even then";
}

}  // namespace
