// The folder behind the daemon's fixed paths: nothing of the machine's own is seen or touched.
#include "simulator/virtual_time/private_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/test_world.h"

using test_support::ScriptedModem;
using test_support::World;

namespace {

TEST(PrivateFolder, FixedPathsAreNotTheMachines) {
    World world;
    FILE* file = fopen("/run/network/ravelin_status", "w");
    ASSERT_NE(nullptr, file);
    fputs("Online=TRUE\n", file);
    fclose(file);
    EXPECT_EQ("Online=TRUE\n", world.Read("/run/network/ravelin_status"));
    struct stat info;
    EXPECT_EQ(0, stat("/run/network/ravelin_status", &info));
    EXPECT_EQ(12, info.st_size);
    EXPECT_EQ(0, unlink("/run/network/ravelin_status"));
    EXPECT_FALSE(world.Exists("/run/network/ravelin_status"));
    world.Write("/proc/cpuinfo", "Hardware : Freescale i.MX6 UltraLite\n");
    file = fopen("/proc/cpuinfo", "rb");
    char line[100];
    ASSERT_NE(nullptr, fgets(line, sizeof(line), file));
    EXPECT_STREQ("Hardware : Freescale i.MX6 UltraLite\n", line);
    fclose(file);
}

TEST(PrivateFolder, OtherPathsStayWhereTheyAre) {
    World world;
    EXPECT_EQ(0, access("/dev/null", F_OK));
    EXPECT_EQ(0, access("/proc/self/status", R_OK));
    EXPECT_FALSE(virtual_time::PrivateFolder::Moves("/run/networks"));
    EXPECT_TRUE(virtual_time::PrivateFolder::Moves("/run/network"));
    EXPECT_FALSE(virtual_time::PrivateFolder::Moves("/dev/shm/x"));
}

TEST(PrivateFolder, DevHoldsThePresentPorts) {
    World world;
    ScriptedModem modem(world, "/dev/ttyACM0");
    DIR* folder = opendir("/dev");
    ASSERT_NE(nullptr, folder);
    std::string names;
    while (dirent* entry = readdir(folder)) {
        if (entry->d_name[0] != '.') names += entry->d_name;
    }
    closedir(folder);
    EXPECT_EQ("ttyACM0", names);
    EXPECT_EQ(-1, open("/dev/", O_RDWR));
}

TEST(PrivateFolder, IsGoneAfterTheWorld) {
    std::string place;
    {
        World world;
        world.Write("/run/network/x", "y");
        place = world.RealPath("/run/network/x");
        EXPECT_EQ(0, access(place.c_str(), F_OK));
    }
    EXPECT_EQ(-1, access(place.c_str(), F_OK));
}

TEST(PrivateFolderDeathTest, OneThatACrashLeftIsClearedAway) {
    char place[] = "/tmp/virtual-place-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(place));
    setenv("TMPDIR", place, 1);
    EXPECT_DEATH(
        {
            virtual_time::PrivateFolder folder;
            abort();
        },
        "");
    const auto count_folders = [&place] {
        int count = 0;
        DIR* folder = opendir(place);
        while (dirent* entry = readdir(folder)) count += entry->d_name[0] != '.' ? 1 : 0;
        closedir(folder);
        return count;
    };
    EXPECT_EQ(1, count_folders());
    {
        const virtual_time::PrivateFolder used;
        EXPECT_EQ(2, count_folders()) << "a young folder may be in the making";
    }
    namespace fs = std::filesystem;
    const fs::file_time_type long_ago = fs::file_time_type::clock::now() - std::chrono::minutes(2);
    for (const fs::directory_entry& entry : fs::directory_iterator(place)) {
        fs::last_write_time(entry.path() / ".lock", long_ago);
    }
    {
        const virtual_time::PrivateFolder used;
        const virtual_time::PrivateFolder used_too;
        EXPECT_EQ(2, count_folders());
    }
    unsetenv("TMPDIR");
    EXPECT_EQ(0, rmdir(place));
}

TEST(PrivateFolder, APipeTakesThePlaceOfWhatIsThere) {
    const virtual_time::PrivateFolder folder;
    folder.Write("/run/network/x", "a file");
    folder.MakePipe("/run/network/x");
    EXPECT_TRUE(std::filesystem::is_fifo(folder.Inside("/run/network/x")));
    // Open, so that its number isn't given to the next one.
    const int old_pipe = open(folder.Inside("/run/network/x").c_str(), O_RDONLY | O_NONBLOCK);
    folder.MakePipe("/run/network/x");
    struct stat before = {}, after = {};
    EXPECT_EQ(0, fstat(old_pipe, &before));
    EXPECT_EQ(0, stat(folder.Inside("/run/network/x").c_str(), &after));
    EXPECT_NE(before.st_ino, after.st_ino);
    close(old_pipe);
}

}  // namespace
