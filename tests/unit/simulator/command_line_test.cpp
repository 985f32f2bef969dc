// Command lines of the tools: what is taken, and what is refused in which words.
#include "simulator/command_line.h"

#include <getopt.h>

#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Options : CommonOptions {
    bool flag = false;
    std::string text;
    std::vector<std::string> texts;
    int number = 1;
    int limit = 1;
};

/// What is wrong with the words after the tool's name.
std::string Read(std::vector<std::string> words, Options* options) {
    words.insert(words.begin(), "tool");
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    optind = 0;  // afresh
    const auto take_pair = [](const std::string& value) -> std::string {
        return value.find('=') == std::string::npos ? "wants NAME=VALUE" : "";
    };
    return ReadCommandLine(static_cast<int>(words.size()), arguments.data(),
                           {
                               FlagOption("flag", &options->flag),
                               TextOption("text", &options->text),
                               TextsOption("each", &options->texts),
                               NumberOption("number", 1, 9, &options->number),
                               NumberOption("limit", 1, INT_MAX, &options->limit),
                               {"pair", true, take_pair},
                           },
                           options);
}

TEST(CommandLine, OptionsAndWordsAreTaken) {
    Options options;
    EXPECT_EQ("", Read({"one", "--flag", "--text", "a b", "--each=1", "two", "--each", "2", "--number", "9",
                        "--limit", "2147483647", "--pair", "A=", "--", "--flag"},
                       &options));
    EXPECT_TRUE(options.flag);
    EXPECT_EQ("a b", options.text);
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), options.texts);
    EXPECT_EQ(9, options.number);
    EXPECT_EQ(INT_MAX, options.limit);
    EXPECT_EQ((std::vector<std::string>{"one", "two", "--flag"}), options.words);
    EXPECT_FALSE(options.asks_for_text());
}

TEST(CommandLine, NothingGivenLeavesWhatWas) {
    Options options;
    EXPECT_EQ("", Read({}, &options));
    EXPECT_FALSE(options.flag);
    EXPECT_EQ(1, options.number);
    EXPECT_TRUE(options.words.empty());
}

TEST(CommandLine, HelpAndVersionBelongToEveryTool) {
    for (const char* word : {"--help", "-h"}) {
        Options options;
        EXPECT_EQ("", Read({word}, &options));
        EXPECT_TRUE(options.help);
        EXPECT_FALSE(options.version);
    }
    Options options;
    EXPECT_EQ("", Read({"--version"}, &options));
    EXPECT_TRUE(options.version);
    EXPECT_TRUE(options.asks_for_text());
}

TEST(CommandLine, FaultsAreNamed) {
    const struct {
        std::vector<std::string> words;
        const char* problem;
    } cases[] = {
        {{"--nonsense"}, "unknown option --nonsense"},
        {{"--nonsense=1"}, "unknown option --nonsense"},
        {{"-x"}, "unknown option -x"},
        {{"--flag=1"}, "--flag takes no value"},
        {{"--text"}, "--text wants a value"},
        {{"--text", ""}, "--text wants a value that isn't empty"},
        {{"--text="}, "--text wants a value that isn't empty"},
        {{"--number", "0"}, "--number wants a number from 1 to 9, not \"0\""},
        {{"--number", "10"}, "--number wants a number from 1 to 9, not \"10\""},
        {{"--number", "1x"}, "--number wants a number from 1 to 9, not \"1x\""},
        {{"--number", " 1"}, "--number wants a number from 1 to 9, not \" 1\""},
        {{"--number", "+1"}, "--number wants a number from 1 to 9, not \"+1\""},
        {{"--number", "99999999999999999999"},
         "--number wants a number from 1 to 9, not \"99999999999999999999\""},
        {{"--limit", "-1"}, "--limit wants a number, 1 or more, not \"-1\""},
        {{"--limit", "2147483648"}, "--limit wants a number, 1 or more, not \"2147483648\""},
        {{"--pair", "A"}, "--pair wants NAME=VALUE, not \"A\""},
        {{"--nonsense", "--help"}, "unknown option --nonsense"},
    };
    for (const auto& row : cases) {
        Options options;
        EXPECT_EQ(row.problem, Read(row.words, &options));
    }
    EXPECT_EQ("unexpected argument \"word\"", WordProblem("word"));
}

}  // namespace
