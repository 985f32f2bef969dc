// Metrics as text: order, escaping, units, both formats.
#include "tools/metrics/exposition.h"

#include <gtest/gtest.h>

namespace {

using namespace metrics;

Family Counter() {
    Family family;
    family.name = "ravelin_outage_seconds";
    family.type = Type::kCounter;
    family.unit = "seconds";
    family.help = "A \"word\", a \\ and\nanother line.";
    family.created_seconds = 17;
    family.samples = {{{{"cause", "sim"}}, 1500}, {{{"cause", "a\"b\\c\nd"}}, 0}};
    return family;
}

TEST(Exposition, TextCallsACounterAsItsSamples) {
    EXPECT_EQ(Exposition({Counter()}, Format::kText),
              "# HELP ravelin_outage_seconds_total A \"word\", a \\\\ and\\nanother line.\n"
              "# TYPE ravelin_outage_seconds_total counter\n"
              "ravelin_outage_seconds_total{cause=\"sim\"} 1.5\n"
              "ravelin_outage_seconds_total{cause=\"a\\\"b\\\\c\\nd\"} 0\n");
}

TEST(Exposition, OpenMetricsHasUnitBirthAndEnd) {
    EXPECT_EQ(Exposition({Counter()}, Format::kOpenMetrics),
              "# HELP ravelin_outage_seconds A \\\"word\\\", a \\\\ and\\nanother line.\n"
              "# TYPE ravelin_outage_seconds counter\n"
              "# UNIT ravelin_outage_seconds seconds\n"
              "ravelin_outage_seconds_total{cause=\"sim\"} 1.5\n"
              "ravelin_outage_seconds_created{cause=\"sim\"} 17\n"
              "ravelin_outage_seconds_total{cause=\"a\\\"b\\\\c\\nd\"} 0\n"
              "ravelin_outage_seconds_created{cause=\"a\\\"b\\\\c\\nd\"} 17\n"
              "# EOF\n");
}

TEST(Exposition, AnInfoIsAGaugeInTheOlderFormat) {
    Family family;
    family.name = "ravelin_modem";
    family.type = Type::kInfo;
    family.help = "x";
    family.samples = {{{{"model", "EG25"}, {"operator", "A"}}, 1000}};
    EXPECT_EQ(Exposition({family}, Format::kText),
              "# HELP ravelin_modem_info x\n# TYPE ravelin_modem_info gauge\n"
              "ravelin_modem_info{model=\"EG25\",operator=\"A\"} 1\n");
    EXPECT_EQ(Exposition({family}, Format::kOpenMetrics),
              "# HELP ravelin_modem x\n# TYPE ravelin_modem info\n"
              "ravelin_modem_info{model=\"EG25\",operator=\"A\"} 1\n# EOF\n");
}

TEST(Exposition, WhatIsNotKnownIsNotThere) {
    Family family = Counter();
    family.samples.clear();
    EXPECT_EQ(Exposition({family}, Format::kText), "");
    EXPECT_EQ(Exposition({family}, Format::kOpenMetrics), "# EOF\n");
}

TEST(Exposition, NumbersAreExact) {
    const std::pair<int64_t, std::string> rows[] = {{0, "0"},
                                                    {1, "0.001"},
                                                    {-1, "-0.001"},
                                                    {1000, "1"},
                                                    {-95000, "-95"},
                                                    {1010, "1.01"},
                                                    {120100, "120.1"},
                                                    {INT64_MIN, "-9223372036854775.808"},
                                                    {INT64_MAX, "9223372036854775.807"}};
    for (const auto& [milli, text] : rows) {
        Family family;
        family.name = "x";
        family.samples = {{{}, milli}};
        EXPECT_EQ(Exposition({family}, Format::kText), "# HELP x \n# TYPE x gauge\nx " + text + "\n");
    }
}

TEST(LabelValue, IsCleanAndBounded) {
    EXPECT_EQ(LabelValue("\"CHINA MOBILE\""), "CHINA MOBILE");
    EXPECT_EQ(LabelValue("\"NOSERVICE\r\n\""), "NOSERVICE");
    EXPECT_EQ(LabelValue("a\033[2Jb\x7F"), "a [2Jb");
    EXPECT_EQ(LabelValue("\xFF"), "\xC3\xBF") << "valid UTF-8 always";
    EXPECT_EQ(LabelValue("\"\""), "");
    EXPECT_EQ(LabelValue(std::string(1000, 'x')), std::string(64, 'x'));
    EXPECT_EQ(LabelValue(std::string(63, 'x') + "\xC3\xBC"), std::string(63, 'x')) << "no half a character";
}

}  // namespace
