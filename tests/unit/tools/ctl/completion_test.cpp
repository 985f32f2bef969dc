// Completion of the command line, as bash does it.
#include "tools/ctl/completion.h"

#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "tools/ctl/command_line.h"

namespace {

std::vector<ctl::Command> Commands() {
    const auto look = [](ctl::OptionSet& takes) -> ctl::Run {
        static bool flag;
        static std::string word, file, folder, number;
        static std::vector<std::string> logs;
        takes.Flag("--flag", &flag, "");
        takes.Value("--word", "WORD", &word, "").Checked(ctl::OneOf({"one", "once", "two"}));
        takes.Value("-f,--file", "FILE", &file, "");
        takes.Value("--folder", "FOLDER", &folder, "");
        takes.Value("--number", "N", &number, "");
        takes.Argument("LOG", &logs, "");
        return [] { return 0; };
    };
    const auto send = [](ctl::OptionSet& takes) -> ctl::Run {
        static std::string command;
        takes.Argument("COMMAND", &command, "")
            .Checked(ctl::AnyTextLike({"SoftReset:1", "Status:on", "Status:off"}));
        return [] { return 0; };
    };
    return {{"look", "", "", {}, look}, {"send", "", "", {}, send}, {"status", "", "", {}, send}};
}

class Completion : public testing::Test {
  protected:
    void SetUp() override {
        folder = testing::TempDir() + "completion_" + std::to_string(getpid());
        Shell("mkdir -p '" + folder + "/alpha' && touch '" + folder + "/album' '" + folder + "/a b' '" +
              folder + "/script'");
        ctl::CommandLine command_line(Commands());
        std::ofstream(folder + "/script") << ctl::BashCompletion(command_line.commands());
    }
    void TearDown() override { Shell("rm -rf '" + folder + "'"); }

    static std::string Shell(const std::string& command) {
        std::string output;
        FILE* pipe = popen(command.c_str(), "r");
        for (int c; (c = getc(pipe)) != EOF;) output += static_cast<char>(c);
        pclose(pipe);
        return output;
    }

    /// What bash offers for the word at the end of the line, a line each.
    std::string Offered(const std::string& line) const {
        return Shell(
            "cd '" + folder + "' && bash -u -c '. ./script; COMP_LINE=$1; COMP_POINT=${#1}; COMPREPLY=(); " +
            "_ravelinctl; printf \"%s\\n\" \"${COMPREPLY[@]}\"' - '" + line + "' 2>&1 | LC_ALL=C sort");
    }

    std::string folder;
};

TEST_F(Completion, Commands) {
    EXPECT_EQ(Offered("ravelinctl s"), "send\nstatus\n");
    EXPECT_EQ(Offered("ravelinctl "), "--help\n--version\nlook\nsend\nstatus\n") << "and not the hidden one";
    EXPECT_EQ(Offered("ravelinctl --v"), "--version\n");
}

TEST_F(Completion, Options) {
    EXPECT_EQ(Offered("ravelinctl look --f"), "--file\n--flag\n--folder\n");
    EXPECT_EQ(Offered("ravelinctl send --"), "--help\n");
    EXPECT_EQ(Offered("ravelinctl look --flag --w"), "--word\n");
}

TEST_F(Completion, Values) {
    EXPECT_EQ(Offered("ravelinctl look --word on"), "once\none\n");
    EXPECT_EQ(Offered("ravelinctl look --word=on"), "once\none\n");
    EXPECT_EQ(Offered("ravelinctl look --number "), "\n") << "nothing is known of it";
    EXPECT_EQ(Offered("ravelinctl look -f al"), "album\nalpha\n");
    EXPECT_EQ(Offered("ravelinctl look --folder al"), "alpha\n");
}

TEST_F(Completion, Arguments) {
    EXPECT_EQ(Offered("ravelinctl look a"), "a b\nalbum\nalpha\n");
    EXPECT_EQ(Offered("ravelinctl look album al"), "album\nalpha\n");
    EXPECT_EQ(Offered("ravelinctl send S"), "SoftReset:1\nStatus:off\nStatus:on\n");
    EXPECT_EQ(Offered("ravelinctl send Status:o"), "off\non\n") << "the colon has parted the word for bash";
}

TEST_F(Completion, IsSoundForTheShell) {
    EXPECT_EQ(Shell("bash -n '" + folder + "/script' 2>&1"), "");
    EXPECT_EQ(Shell("! command -v shellcheck >/dev/null || shellcheck -s bash '" + folder + "/script' 2>&1"),
              "");
}

}  // namespace
