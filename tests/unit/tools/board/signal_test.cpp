// How good a signal is.
#include "tools/board/signal.h"

#include <climits>

#include <gtest/gtest.h>

namespace {

using board::Measure;

std::string Word(Measure measure, int value) {
    const auto quality = board::Rate(measure, value);
    return quality ? board::WordFor(*quality) : "";
}

TEST(Signal, WordsChangeAtTheirLimits) {
    const struct {
        Measure measure;
        int value;
        const char* word;
    } rows[] = {
        {Measure::kRsrp, -84, "excellent"},
        {Measure::kRsrp, -85, "good"},
        {Measure::kRsrp, -95, "fair"},
        {Measure::kRsrp, -104, "fair"},
        {Measure::kRsrp, -105, "poor"},
        {Measure::kRsrp, -115, "very poor"},
        {Measure::kRsrp, -140, "very poor"},
        {Measure::kRsrp, -157, ""},
        {Measure::kRsrp, 95, ""},
        {Measure::kRsrq, -9, "excellent"},
        {Measure::kRsrq, -10, "good"},
        {Measure::kRsrq, -13, "fair"},
        {Measure::kRsrq, -16, "poor"},
        {Measure::kRsrq, -20, "very poor"},
        {Measure::kRsrq, 10, ""},
        {Measure::kSinr, 21, "excellent"},
        {Measure::kSinr, 20, "good"},
        {Measure::kSinr, 13, "fair"},
        {Measure::kSinr, 5, "poor"},
        {Measure::kSinr, 0, "very poor"},
        {Measure::kSinr, 120, ""},
        {Measure::kRssi, -51, "excellent"},
        {Measure::kRssi, -65, "good"},
        {Measure::kRssi, -75, "fair"},
        {Measure::kRssi, -85, "poor"},
        {Measure::kRssi, -95, "very poor"},
        {Measure::kRssi, 85, ""},
    };
    for (const auto& row : rows) EXPECT_EQ(Word(row.measure, row.value), row.word) << row.value;
}

TEST(Signal, LevelsWithAndWithoutTheirUnit) {
    const struct {
        const char* text;
        int value;  // INT_MIN: none
    } rows[] = {
        {"-95", -95},         {"-95dBm", -95},      {"-11dB", -11},          {"014dB", 14},
        {"99", 99},           {"", INT_MIN},        {"-", INT_MIN},          {"dBm", INT_MIN},
        {"-95 dBm", INT_MIN}, {"-9x", INT_MIN},     {"1234567890", INT_MIN}, {"123456789", 123456789},
        {" 5", INT_MIN},      {"\033[2J", INT_MIN},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(board::ParseLevel(row.text).value_or(INT_MIN), row.value) << row.text;
    }
}

TEST(Signal, CsqAsRssi) {
    EXPECT_EQ(board::RssiOfCsq(0), -113);
    EXPECT_EQ(board::RssiOfCsq(31), -51);
    EXPECT_FALSE(board::RssiOfCsq(32));
    EXPECT_FALSE(board::RssiOfCsq(99));
    EXPECT_FALSE(board::RssiOfCsq(-1));
}

}  // namespace
