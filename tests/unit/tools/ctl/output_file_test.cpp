// A file that is written as a whole: what it replaces, what it doesn't, and what is left when it fails.
#include "tools/ctl/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

class OutputFile : public testing::Test {
  protected:
    void SetUp() override {
        char folder[] = "/tmp/output_file_test.XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    static std::string Read(const std::string& name) {
        std::ifstream file(name);
        return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    }
    int Files() const {
        int count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder_)) ++count;
        return count;
    }

    std::string folder_;
    std::string problem_;
};

TEST_F(OutputFile, IsNewOrTakesThePlaceOfAPlainFile) {
    const std::string name = folder_ + "/page";
    ASSERT_TRUE(ctl::WriteOutput(name, "one", &problem_)) << problem_;
    EXPECT_EQ(Read(name), "one");
    ASSERT_EQ(chmod(name.c_str(), 0640), 0);
    ASSERT_TRUE(ctl::WriteOutput(name, "two", &problem_)) << problem_;
    EXPECT_EQ(Read(name), "two");
    struct stat there = {};
    ASSERT_EQ(stat(name.c_str(), &there), 0);
    EXPECT_EQ(there.st_mode & 0777, 0640U) << "who could read it still can, and nobody else";
    EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFile, TakesThePlaceOfNothingElse) {
    EXPECT_FALSE(ctl::WriteOutput(folder_, "x", &problem_));
    EXPECT_NE(problem_.find("no plain file"), std::string::npos);
    const std::string pipe = folder_ + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(ctl::WriteOutput(pipe, "x", &problem_));
    EXPECT_FALSE(ctl::WriteOutput(folder_ + "/none/page", "x", &problem_));
    EXPECT_NE(problem_.find("No such file"), std::string::npos);
    EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFile, WritesWhereALinkLeads) {
    const std::string name = folder_ + "/page";
    const std::string link = folder_ + "/link";
    ASSERT_TRUE(ctl::WriteOutput(name, "one", &problem_));
    ASSERT_EQ(symlink("page", link.c_str()), 0);
    ASSERT_TRUE(ctl::WriteOutput(link, "two", &problem_)) << problem_;
    EXPECT_EQ(Read(name), "two");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_TRUE(ctl::AreSameFile(name, link));
    EXPECT_FALSE(ctl::AreSameFile(name, folder_ + "/other"));
}

}  // namespace
