// A file that is written as a whole: what it replaces, what it doesn't, and what is left when it fails.
#include "tools/ctl/output_file.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

using ctl::Readers;
using ctl::WriteOutput;

class OutputFile : public testing::Test {
  protected:
    std::string Read() const { return folder_.Read(kName); }
    mode_t Mode() const {
        struct stat there = {};
        EXPECT_EQ(stat(name_.c_str(), &there), 0);
        return there.st_mode & 07777;
    }
    /// Whether it is the only file there: nothing else is left behind.
    bool IsAlone() const { return folder_.Names() == std::vector<std::string>{kName}; }

    static constexpr char kName[] = "ravelin.prom";
    const TemporaryFolder folder_;
    const std::string name_ = folder_.Path(kName);
    std::string problem_;
};

TEST_F(OutputFile, IsNewOrTakesThePlaceOfAPlainFile) {
    ASSERT_TRUE(WriteOutput(name_, "one", &problem_)) << problem_;
    EXPECT_EQ(Read(), "one");
    ASSERT_EQ(chmod(name_.c_str(), 0640), 0);
    ASSERT_TRUE(WriteOutput(name_, "two", &problem_)) << problem_;
    EXPECT_EQ(Read(), "two");
    EXPECT_EQ(Mode(), 0640U) << "who could read it still can, and nobody else";
    EXPECT_TRUE(IsAlone());
}

TEST_F(OutputFile, IsForWhomTheUmaskLetsOrForEverybody) {
    const mode_t before = umask(077);
    const bool are_written = WriteOutput(name_, "", &problem_);
    const mode_t usual = Mode();
    const bool are_rewritten = WriteOutput(name_, "", &problem_, Readers::kEverybody);
    umask(before);
    ASSERT_TRUE(are_written && are_rewritten) << problem_;
    EXPECT_EQ(usual, 0600U);
    EXPECT_EQ(Mode(), 0644U) << "the collector is another user";
}

TEST_F(OutputFile, LosesBitsThatWouldGiveItsRightsToOthers) {
    ASSERT_TRUE(WriteOutput(name_, "one", &problem_));
    ASSERT_EQ(chmod(name_.c_str(), 06755), 0);
    ASSERT_TRUE(WriteOutput(name_, "two", &problem_)) << problem_;
    EXPECT_EQ(Mode(), 0755U);
}

TEST_F(OutputFile, OfAnotherUserIsReplacedAndNotLeftOpenToHim) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
    ASSERT_TRUE(WriteOutput(name_, "his", &problem_));
    ASSERT_EQ(chmod(name_.c_str(), 0666), 0);
    ASSERT_EQ(chown(name_.c_str(), 12345, 12345), 0);
    const mode_t before = umask(022);
    const bool is_written = WriteOutput(name_, "ours", &problem_);
    umask(before);
    ASSERT_TRUE(is_written) << problem_;
    EXPECT_EQ(Mode(), 0644U);
}

TEST_F(OutputFile, TakesThePlaceOfNothingElse) {
    const struct {
        const char* name;
        const char* kind;
        int made;
    } rows[] = {{"folder", "a folder", mkdir(folder_.Path("folder").c_str(), 0755)},
                {"pipe", "a pipe", mkfifo(folder_.Path("pipe").c_str(), 0600)},
                {"link", "a symbolic link", symlink("victim", folder_.Path("link").c_str())}};
    folder_.Write("victim", "mine");
    for (const auto& row : rows) {
        ASSERT_EQ(row.made, 0);
        EXPECT_FALSE(WriteOutput(folder_.Path(row.name), "x", &problem_));
        EXPECT_EQ(problem_,
                  "can't write " + folder_.Path(row.name) + ": it is " + row.kind + " and no plain file");
    }
    EXPECT_FALSE(WriteOutput("/dev/null", "x", &problem_));
    EXPECT_EQ(problem_, "can't write /dev/null: it is a device and no plain file");
    EXPECT_EQ(folder_.Read("victim"), "mine");
    EXPECT_TRUE(std::filesystem::is_symlink(folder_.Path("link")));
    EXPECT_EQ(folder_.Names().size(), 4U);
}

TEST_F(OutputFile, AFolderThatIsntThereIsSaid) {
    EXPECT_FALSE(WriteOutput(folder_.Path("none/page"), "x", &problem_));
    EXPECT_EQ(problem_, "can't write " + folder_.Path("none/page") + ": No such file or directory");
}

TEST_F(OutputFile, AFullDiskLeavesTheFormerOne) {
    ASSERT_TRUE(WriteOutput(name_, "old", &problem_));
    signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit tight = before;
    tight.rlim_cur = 100;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const bool is_written = WriteOutput(name_, std::string(1000, 'x'), &problem_);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_FALSE(is_written);
    EXPECT_EQ(problem_, "can't write " + name_ + ": File too large");
    EXPECT_EQ(Read(), "old");
    EXPECT_TRUE(IsAlone()) << "the beginning is taken away";
}

TEST_F(OutputFile, IsKnownByAnotherNameToo) {
    folder_.Write("one", "");
    folder_.Write("two", "");
    ASSERT_EQ(symlink("one", folder_.Path("link").c_str()), 0);
    EXPECT_TRUE(ctl::AreSameFile(folder_.Path("one"), folder_.Path("link")));
    EXPECT_FALSE(ctl::AreSameFile(folder_.Path("one"), folder_.Path("two")));
    EXPECT_FALSE(ctl::AreSameFile(folder_.Path("one"), folder_.Path("none")));
}

}  // namespace
