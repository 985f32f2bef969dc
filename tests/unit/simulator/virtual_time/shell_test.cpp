// The shell of the virtual world: it notes commands, does a few of them in the private folder, and gives
// popen what the test said.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/test_world.h"

using test_support::World;

namespace {

TEST(VirtualShell, CommandsAreNotedWithTheirTimes) {
    World world;
    bool reset = false;
    world.OnSystem("Reset4G.sh start pin_rst", [&] { reset = true; });
    sleep(3);
    EXPECT_EQ(0, system("/ubi/local/apps/network/Reset4G.sh start pin_rst"));
    EXPECT_TRUE(reset);
    ASSERT_EQ(1u, world.shell.size());
    EXPECT_DOUBLE_EQ(3.0, world.shell[0].at_seconds);
    EXPECT_FALSE(world.shell[0].is_popen);
}

TEST(VirtualShell, AFewCommandsActOnTheFolder) {
    World world;
    system("rm -rf /run/network/ravelin_fifo");
    EXPECT_FALSE(world.Exists("/run/network/ravelin_fifo"));
    system("echo 1 > /sys/class/gpio/gpio130/value");
    EXPECT_EQ("1\n", world.Read("/sys/class/gpio/gpio130/value"));
    world.Remove("/run/network");
    system("mkdir /run/network/ -p");
    EXPECT_TRUE(world.Exists("/run/network"));
}

TEST(VirtualShell, NothingOutsideOfTheFolderIsTouched) {
    char path[] = "/tmp/virtual-shell-XXXXXX";
    close(mkstemp(path));
    {
        World world;
        system((std::string("rm -rf ") + path).c_str());
        system((std::string("echo gone > ") + path).c_str());
    }
    struct stat info;
    EXPECT_EQ(0, stat(path, &info));
    EXPECT_EQ(0, info.st_size);
    unlink(path);
}

TEST(VirtualShell, PopenGivesWhatItWasTold) {
    World world;
    world.AnswerPopen("ping  8.8.8.8", "3\n");
    world.FailPopen("QFirehose");
    FILE* stream = popen("ping  8.8.8.8  -c 3", "r");
    ASSERT_NE(nullptr, stream);
    char line[64];
    EXPECT_STREQ("3\n", fgets(line, sizeof(line), stream));
    EXPECT_EQ(nullptr, fgets(line, sizeof(line), stream));
    EXPECT_EQ(0, pclose(stream));
    EXPECT_EQ(nullptr, popen("QFirehose -f x", "r"));
    stream = popen("something else", "r");
    EXPECT_EQ(nullptr, fgets(line, sizeof(line), stream));
    pclose(stream);
    EXPECT_EQ(3u, world.shell.size());
    EXPECT_TRUE(world.shell[0].is_popen);
}

TEST(VirtualShell, PopenIsForReading) {
    World world;
    for (const char* mode : {"w", "x", "rw", ""}) EXPECT_EQ(nullptr, popen("tool", mode)) << mode;
    EXPECT_TRUE(world.shell.empty());
    FILE* stream = popen("tool", "re");
    ASSERT_NE(nullptr, stream);
    pclose(stream);
}

TEST(VirtualShell, PopenCanBeSlow) {
    World world;
    world.AnswerPopenSlowly("tool", "one\ntwo\n", 5);
    FILE* stream = popen("tool", "r");
    char line[64];
    EXPECT_STREQ("one\n", fgets(line, sizeof(line), stream));
    EXPECT_EQ(5000, world.now_ms());
    EXPECT_STREQ("two\n", fgets(line, sizeof(line), stream));
    EXPECT_EQ(10000, world.now_ms());
    pclose(stream);
}

}  // namespace
