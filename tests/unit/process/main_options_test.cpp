// Module main_options: what the command line leaves in the options, and what it prints.
#include "network_daemon/main.h"

#include <getopt.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr char kUsage[] =
    "usage: ravelin-mobile [option]\n            \t-d device\n            \t-c config \n"
    "            \t-s script\n            \t-t debug terminal\n            \t-h help\n";

class OptionsTest : public testing::Test {
  protected:
    bool Read(std::vector<std::string> words) {
        words.insert(words.begin(), "ravelin-mobile");
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        optind = 0;  // a new vector
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const bool go_on = ReadOptions(static_cast<int>(words.size()), argv.data(), options);
        printed = testing::internal::GetCapturedStdout();
        complaints = testing::internal::GetCapturedStderr();
        return go_on;
    }

    Options options;
    std::string printed;
    std::string complaints;
};

TEST_F(OptionsTest, DefaultsStandWithoutOptions) {
    EXPECT_TRUE(Read({}));
    EXPECT_STREQ("/dev/ttyUSB2", options.device);
    EXPECT_STREQ("/run/network/ifcfg-lte", options.config);
    EXPECT_STREQ("", options.script);
    EXPECT_FALSE(options.debug_terminal);
    EXPECT_EQ("", printed + complaints);
}

TEST_F(OptionsTest, EachOptionIsTaken) {
    EXPECT_TRUE(Read({"-d", "/dev/ttyACM0", "-c/etc/settings", "-s", "/etc/udhcpc.sh", "-t"}));
    EXPECT_STREQ("/dev/ttyACM0", options.device);
    EXPECT_STREQ("/etc/settings", options.config);
    EXPECT_STREQ("/etc/udhcpc.sh", options.script);
    EXPECT_TRUE(options.debug_terminal);
}

TEST_F(OptionsTest, LaterRepetitionWins) {
    EXPECT_TRUE(Read({"-d", "/dev/a", "-c", "one", "-d", "/dev/b", "-c", "two"}));
    EXPECT_STREQ("/dev/b", options.device);
    EXPECT_STREQ("two", options.config);
}

TEST_F(OptionsTest, HelpPrintsUsageAndLooksNoFurther) {
    EXPECT_FALSE(Read({"-d", "/dev/a", "-h", "-d", "/dev/b", "-x"}));
    EXPECT_EQ(kUsage, printed);
    EXPECT_EQ("", complaints);
    EXPECT_STREQ("/dev/a", options.device);
}

TEST_F(OptionsTest, HelpAfterBadOptionPrintsComplaintAndUsage) {
    EXPECT_FALSE(Read({"-x", "-h"}));
    EXPECT_EQ("ravelin-mobile: invalid option -- 'x'\n", complaints);
    EXPECT_EQ(kUsage, printed);
}

TEST_F(OptionsTest, BadOptionIsComplainedAboutAndIgnored) {
    EXPECT_TRUE(Read({"-x", "-t"}));
    EXPECT_EQ("ravelin-mobile: invalid option -- 'x'\n", complaints);
    EXPECT_TRUE(options.debug_terminal);
}

TEST_F(OptionsTest, OptionWithoutItsTextIsComplainedAbout) {
    EXPECT_TRUE(Read({"-d"}));
    EXPECT_EQ("ravelin-mobile: option requires an argument -- 'd'\n", complaints);
    EXPECT_STREQ("/dev/ttyUSB2", options.device);
}

TEST_F(OptionsTest, TraceWordsAreClustersOfIgnoredLetters) {
    EXPECT_TRUE(Read({"-DF", "-Df", "-Dl", "-DL", "-t"}));
    EXPECT_EQ("ravelin-mobile: invalid option -- 'F'\nravelin-mobile: invalid option -- 'f'\n", complaints);
    EXPECT_TRUE(options.debug_terminal);
}

TEST_F(OptionsTest, TextsThatDoNotFitAreCut) {
    const std::string much(10000, 'x');
    EXPECT_TRUE(Read({"-d", much, "-c", much, "-s", much}));
    EXPECT_EQ(std::string(4095, 'x'), options.device);
    EXPECT_EQ(std::string(255, 'x'), options.config);
    EXPECT_EQ(std::string(4095, 'x'), options.script);
}

}  // namespace
