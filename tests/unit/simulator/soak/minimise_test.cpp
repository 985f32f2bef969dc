// Stories are made shorter by a judge that is easy to follow: it looks for words.
#include "simulator/soak/minimise.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr char kStory[] =
    "# seed 1\n"
    "\n"
    "modem zte ME3630\n"
    "knob csq 12\n"
    "settings\n"
    "    ENABLE=true\n"
    "    APN=a\n"
    "    USERNAME=u\n"
    "shell ping pings\n"
    "\n"
    "every 300 from 10 to 9000 show /x\n"
    "\n"
    "# fault one from 1000 to 1100\n"
    "at 1000 mute on\n"
    "at 1100 mute off\n"
    "\n"
    "# fault two from 2000 to 2100\n"
    "at 2000 csq 3\n"
    "at 2050 csq 4\n"
    "at 2100 csq 23\n"
    "\n"
    "# fault three from 3000 to 3100\n"
    "at 3000 link down\n"
    "at 3050 settings\n"
    "    APN=b\n"
    "    ENABLE=true\n"
    "at 3100 link up\n"
    "\n"
    "until 9000\n"
    "never broken <any>\n";

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

struct Judge {
    std::string needed;
    std::string also = "modem";
    int runs = 0;

    std::optional<int64_t> operator()(const std::string& text) {
        ++runs;
        if (!Has(text, needed) || !Has(text, also)) return std::nullopt;
        return 4000000;
    }
};

std::string Shortest(Judge* judge, bool keeps_faults_whole) {
    soak::MinimiseOptions options;
    options.keeps_faults_whole = keeps_faults_whole;
    return soak::MinimiseStory(kStory, options, [judge](const std::string& text) { return (*judge)(text); });
}

TEST(SoakMinimise, OneStatementIsLeft) {
    Judge judge = {"csq 4"};
    EXPECT_EQ(
        "modem zte ME3630\n"
        "\n"
        "# fault two from 120 to 220\n"
        "at 170 csq 4\n"
        "\n"
        "until 2130\n"
        "never broken <any>\n",
        Shortest(&judge, false));
}

TEST(SoakMinimise, FaultsStandAndFallAsAWhole) {
    Judge judge = {"csq 4"};
    EXPECT_EQ(
        "modem zte ME3630\n"
        "\n"
        "# fault two from 120 to 220\n"
        "at 120 csq 3\n"
        "at 170 csq 4\n"
        "at 220 csq 23\n"
        "\n"
        "until 2130\n"
        "never broken <any>\n",
        Shortest(&judge, true));
}

TEST(SoakMinimise, TwoFarApartAreFound) {
    Judge judge = {"mute on", "link up"};
    const std::string shortest = Shortest(&judge, false);
    EXPECT_TRUE(Has(shortest, "mute on\n"));
    EXPECT_TRUE(Has(shortest, "link up\n"));
    EXPECT_FALSE(Has(shortest, "fault two"));
    EXPECT_FALSE(Has(shortest, "mute off"));
    EXPECT_FALSE(Has(shortest, "settings"));
}

TEST(SoakMinimise, LinesOfABlockAreLeftOut) {
    Judge judge = {"APN=b"};
    const std::string shortest = Shortest(&judge, false);
    EXPECT_TRUE(Has(shortest, "settings\n    APN=b\n\nuntil"));
}

TEST(SoakMinimise, WhatNeverBreaksStaysAsItIs) {
    Judge judge = {"nothing of the kind"};
    EXPECT_EQ(kStory, Shortest(&judge, false));
    EXPECT_EQ(1, judge.runs);
}

}  // namespace
