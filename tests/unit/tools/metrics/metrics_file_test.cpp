// A file that is replaced as a whole, or not at all.
#include "tools/metrics/metrics_file.h"

#include <dirent.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace {

using metrics::ReplaceFile;

class MetricsFile : public testing::Test {
  protected:
    void SetUp() override {
        char folder[] = "/tmp/metrics_output.XXXXXX";
        folder_ = mkdtemp(folder);
        path_ = folder_ + "/ravelin.prom";
    }
    void TearDown() override {
        for (const std::string& name : Names()) remove((folder_ + "/" + name).c_str());
        rmdir(folder_.c_str());
    }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        DIR* folder = opendir(folder_.c_str());
        while (const dirent* entry = readdir(folder)) {
            if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..") {
                names.emplace_back(entry->d_name);
            }
        }
        closedir(folder);
        return names;
    }
    static std::string TextOf(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    std::string folder_;
    std::string path_;
};

TEST_F(MetricsFile, IsReadableWhateverTheUmask) {
    const mode_t before = umask(077);
    EXPECT_EQ(ReplaceFile(path_, "one\n"), "");
    umask(before);
    EXPECT_EQ(ReplaceFile(path_, "two\n"), "");
    EXPECT_EQ(TextOf(path_), "two\n");
    struct stat seen = {};
    ASSERT_EQ(stat(path_.c_str(), &seen), 0);
    EXPECT_EQ(seen.st_mode & 07777, 0644U);
    EXPECT_EQ(Names().size(), 1U) << "nothing else is left";
}

TEST_F(MetricsFile, ALinkIsReplacedAndNotFollowed) {
    const std::string victim = folder_ + "/victim";
    std::ofstream(victim) << "mine\n";
    ASSERT_EQ(symlink(victim.c_str(), path_.c_str()), 0);
    EXPECT_EQ(ReplaceFile(path_, "new\n"), "");
    EXPECT_EQ(TextOf(victim), "mine\n");
    struct stat seen = {};
    ASSERT_EQ(lstat(path_.c_str(), &seen), 0);
    EXPECT_TRUE(S_ISREG(seen.st_mode));
}

TEST_F(MetricsFile, AFullDiskLeavesTheFormerOne) {
    ASSERT_EQ(ReplaceFile(path_, "old\n"), "");
    signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit tight = before;
    tight.rlim_cur = 100;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const std::string problem = ReplaceFile(path_, std::string(1000, 'x'));
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(problem, "can't be written: File too large");
    EXPECT_EQ(TextOf(path_), "old\n");
    EXPECT_EQ(Names().size(), 1U) << "the beginning is taken away";
}

TEST_F(MetricsFile, SaysWhatFailed) {
    EXPECT_EQ(ReplaceFile(folder_ + "/none/x.prom", "x"), "can't be written: No such file or directory");
    ASSERT_EQ(mkdir(path_.c_str(), 0755), 0);
    EXPECT_EQ(ReplaceFile(path_, "x"), "can't be written: Is a directory");
    EXPECT_EQ(Names().size(), 1U);
}

}  // namespace
