// The command line of ravelinctl: what runs, and what is refused in which words.
#include <climits>

#include <gtest/gtest.h>

#include "tools/ctl/command_line.h"

namespace {

struct Values {
    bool flag = false;
    int number = 1;
    std::string word;
    std::string file;
    std::vector<std::string> rest;
    int runs = 0;
};

ctl::Command TestCommand(Values* values) {
    const auto declare = [values](ctl::OptionSet& takes) -> ctl::Run {
        takes.Flag("--flag", &values->flag, "a flag");
        takes.Value("-n,--number", "N", &values->number, "a number").Checked(ctl::Number(1, 9));
        takes.Value("--word", "WORD", &values->word, "a word").Checked(ctl::OneOf({"one", "two"}));
        takes.Value("--file", "FILE", &values->file, "a file").Excludes("--flag");
        takes.Argument("LOG", &values->rest, "the rest");
        return [values] {
            ++values->runs;
            if (values->word == "two" && !values->flag)
                ctl::RefuseCommandLine("--word two is only for --flag");
            return 5;
        };
    };
    return {"look", "looks at things", "More of it.\n\nAnd more.", {{0, "seen"}, {5, "not seen"}}, declare};
}

ctl::Command NeedyCommand(Values* values) {
    const auto declare = [values](ctl::OptionSet& takes) -> ctl::Run {
        takes.Argument("WHAT", &values->word, "what is sent").Required();
        return [] { return 0; };
    };
    return {"send", "sends things", "", {}, declare};
}

class CtlCommandLine : public testing::Test {
  protected:
    int Run(const std::vector<std::string>& words) {
        values = {};
        ctl::CommandLine command_line({TestCommand(&values), NeedyCommand(&values)});
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = command_line.Run(words);
        errors = testing::internal::GetCapturedStderr();
        output = testing::internal::GetCapturedStdout();
        return status;
    }

    Values values;
    std::string output, errors;
};

TEST_F(CtlCommandLine, ACommandRunsWithItsValuesAndHasItsStatus) {
    EXPECT_EQ(Run({"look", "-n", "7", "--word=one", "--flag", "a", "look", "b"}), 5);
    EXPECT_EQ(values.runs, 1);
    EXPECT_EQ(values.number, 7);
    EXPECT_EQ(values.word, "one");
    EXPECT_TRUE(values.flag);
    EXPECT_EQ(values.rest, (std::vector<std::string>{"a", "look", "b"}))
        << "the name of a command is a word too";
    EXPECT_EQ(output + errors, "");
}

TEST_F(CtlCommandLine, AWrongCommandLineIsRefusedInOneLine) {
    const struct {
        std::vector<std::string> words;
        const char* line;
    } rows[] = {
        {{}, "ravelinctl: a command is missing; see --help\n"},
        {{"--bogus"}, "ravelinctl: unknown option --bogus; see --help\n"},
        {{"frob", "x"}, "ravelinctl: no command is called \"frob\"; see --help\n"},
        {{"fr\nob\033[2J"}, "ravelinctl: no command is called \"fr\\nob\\x1B[2J\"; see --help\n"},
        // A control of two bytes, and a mark that turns the direction of what follows.
        {{"a\xC2\x9B"
          "2J\xE2\x80\xAE"},
         "ravelinctl: no command is called \"a\\xC2\\x9B2J\\xE2\\x80\\xAE\"; see --help\n"},
        {{"look", "--bogus=3"}, "ravelinctl look: unknown option --bogus; see --help\n"},
        {{"look", "-x"}, "ravelinctl look: unknown option -x; see --help\n"},
        {{"look", "--number"}, "ravelinctl look: --number wants a value; see --help\n"},
        {{"look", "--number", "10"},
         "ravelinctl look: --number wants a number from 1 to 9, not \"10\"; see --help\n"},
        {{"look", "--number", ""},
         "ravelinctl look: --number wants a number from 1 to 9, not \"\"; see --help\n"},
        {{"look", "--number", "5x"},
         "ravelinctl look: --number wants a number from 1 to 9, not \"5x\"; see --help\n"},
        {{"look", "--number", "99999999999999999999"},
         "ravelinctl look: --number wants a number from 1 to 9, not \"99999999999999999999\"; see --help\n"},
        {{"look", "--word", "three"},
         "ravelinctl look: --word knows no \"three\"; there is: one two; see --help\n"},
        {{"look", "--flag", "--file", "x"},
         "ravelinctl look: --flag can't be combined with --file; see --help\n"},
        {{"look", "--word", "two"}, "ravelinctl look: --word two is only for --flag; see --help\n"},
        {{"send"}, "ravelinctl send: WHAT is missing; see --help\n"},
        {{"send", "--bogus"}, "ravelinctl send: unknown option --bogus; see --help\n"},
        {{"send", "a", "b"}, "ravelinctl send: unexpected argument \"b\"; see --help\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.words), 2) << row.line;
        EXPECT_EQ(errors, row.line);
        EXPECT_EQ(output, "") << row.line;
    }
}

TEST_F(CtlCommandLine, HelpIsThatOfTheCommand) {
    EXPECT_EQ(Run({"--help"}), 0);
    EXPECT_EQ(output.find("usage: ravelinctl COMMAND [OPTION]..."), 0u) << output;
    EXPECT_NE(output.find(
                  "\nCommands:\n  look                looks at things\n  send                sends things\n"),
              std::string::npos)
        << output;
    EXPECT_EQ(output.find("generate"), std::string::npos) << "for the build alone";
    EXPECT_EQ(Run({"look", "-h"}), 0);
    EXPECT_EQ(output,
              "usage: ravelinctl look [OPTION]... [LOG]...\n"
              "\n"
              "Looks at things.\n"
              "\n"
              "More of it.\n"
              "\n"
              "And more.\n"
              "\n"
              "Arguments:\n"
              "  LOG                 the rest\n"
              "\n"
              "Options:\n"
              "  --flag              a flag\n"
              "  -n, --number N      a number\n"
              "  --word WORD         a word\n"
              "  --file FILE         a file\n"
              "  -h, --help          this text\n"
              "\n"
              "Exit status:\n"
              "  0    seen\n"
              "  5    not seen\n");
    EXPECT_EQ(values.runs, 0);
    EXPECT_EQ(errors, "");
}

TEST_F(CtlCommandLine, VersionIsThatOfTheProject) {
    EXPECT_EQ(Run({"--version"}), 0);
    EXPECT_EQ(output.find("ravelinctl (ravelin-mobile) "), 0u) << output;
}

TEST_F(CtlCommandLine, TheTextOfTheManPageHasEachCommand) {
    EXPECT_EQ(Run({"generate", "help"}), 0);
    EXPECT_EQ(output.find("usage: ravelinctl [--help] [--version]\n"
                          "       ravelinctl look [OPTION]... [LOG]...\n"
                          "       ravelinctl send [OPTION]... WHAT\n"),
              0u)
        << output;
    EXPECT_NE(output.find("\n## look [OPTION]... [LOG]...\n\nLooks at things.\n"), std::string::npos)
        << output;
}

TEST_F(CtlCommandLine, ANumberWithoutALimit) {
    const ctl::Check number = ctl::Number(0, INT_MAX);
    EXPECT_EQ(number.fault("2000000000"), "");
    EXPECT_EQ(number.fault("-1"), "wants a number, 0 or more, not \"-1\"");
    EXPECT_NE(number.fault(" 1"), "");
}

}  // namespace
