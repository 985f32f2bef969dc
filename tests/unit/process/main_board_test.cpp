// Module main_board: the board by what the system says, and the search for a ttyACM device.
#include "network_daemon/main.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/open_descriptors.h"
#include "tests/support/test_world.h"

using namespace cc_cell;
using test_support::World;

namespace {

struct CpuRow {
    const char* cpuinfo;
    int board;
    std::vector<std::string> log;
};

const CpuRow kCpuRows[] = {
    {"model name : ARMv7\nHardware\t: Freescale i.MX6 UltraLite (Device Tree)\n",
     kBoardImx6ul,
     {"---IMX6UL BOARD --- \n"}},
    {"Hardware\t: Freescale i.mx6\n", kBoardUnknown, {}},
    {"processor : 0\nHardware : STM32 (Device Tree)\n", kBoardStm32, {"--- STM32 BOARD --- \n"}},
    {"Hardware : STM32 beside MX6\n", kBoardStm32, {"--- STM32 BOARD --- \n"}},
    {"CPU part\t: 0xd04\n", kBoardA35, {"---A35 BOARD --- \n"}},
    {"CPU part\t: 0xd03\n", kBoardA53, {"---A53 BOARD --- \n"}},
    {"CPU part : 0xd03 0xd04\n", kBoardA35, {"---A35 BOARD --- \n"}},
    {"Hardware part of another kind d03\n", kBoardA53, {"---A53 BOARD --- \n"}},
    {"CPU part : 0xd03\nHardware : STM32\n", kBoardA53, {"---A53 BOARD --- \n"}},
    {"STM32 MX6 d04 d03\n", kBoardUnknown, {}},
    {"hardware : STM32\n", kBoardUnknown, {}},
    {"", kBoardUnknown, {}},
};

TEST(BoardCpuInfo, FirstTellingLineDecides) {
    for (const CpuRow& row : kCpuRows) {
        World world;
        world.Write("/proc/cpuinfo", row.cpuinfo);
        EXPECT_EQ(row.board, board_cpu_info()) << row.cpuinfo;
        EXPECT_EQ(row.log, world.LogOf("board_cpu_info")) << row.cpuinfo;
        for (const World::LogLine& line : world.log) EXPECT_EQ(5u, line.level);
    }
}

TEST(BoardCpuInfo, LinesOfAnyLengthAreReadInPieces) {
    World world;
    world.Write("/proc/cpuinfo", std::string(5000, 'x') + "\nCPU part : 0xd04\n");
    EXPECT_EQ(kBoardA35, board_cpu_info());
}

TEST(BoardCpuInfo, MissingFileIsUnknownBoard) {
    World world;
    testing::internal::CaptureStderr();
    EXPECT_EQ(kBoardUnknown, board_cpu_info());
    EXPECT_EQ("Open /proc/cpuinfo file error!\n", testing::internal::GetCapturedStderr());
    EXPECT_TRUE(world.log.empty());
}

TEST(Board, NoFileOrFolderIsLeftOpen) {
    World world;
    world.Write("/proc/cpuinfo", "CPU part : 0xd04\n");
    world.Write("/proc/version", "Linux version 5.10.110\n");
    const int before = OpenDescriptors();
    for (const char* content : {"Linux version 5.10.110\n", "Linux version 4.14.98\n", ""}) {
        world.Write("/proc/version", content);
        board_cpu_info();
        board_version_info();
    }
    PathText device = "";
    read_devname("/dev", device);
    EXPECT_EQ(before, OpenDescriptors());
}

TEST(BoardVersionInfo, KernelOf5_10IsA35) {
    World world;
    world.Write("/proc/version", "Linux version 5.10.110 (builder@host)\n");
    EXPECT_EQ(kBoardA35, board_version_info());
    EXPECT_TRUE(world.Logged(5, "---A35 BOARD  and version5.10--- \n"));
}

TEST(BoardVersionInfo, OtherKernelIsUnknownBoard) {
    World world;
    world.Write("/proc/version", "Linux version 4.14.98\n");
    EXPECT_EQ(kBoardUnknown, board_version_info());
    EXPECT_TRUE(world.log.empty());
}

TEST(BoardVersionInfo, MissingFileIsUnknownBoard) {
    World world;
    testing::internal::CaptureStderr();
    EXPECT_EQ(kBoardUnknown, board_version_info());
    EXPECT_EQ("Open /proc/version file error!\n", testing::internal::GetCapturedStderr());
}

TEST(ReadDevname, FindsTheTtyAcmEntry) {
    World world;
    world.Write("/dev/ttyUSB2", "");
    world.Write("/dev/ttyACM0", "");
    PathText name = {};
    EXPECT_EQ(0, read_devname("/dev", name));
    EXPECT_STREQ("ttyACM0", name);
    const std::vector<std::string> expected = {"entry->d_name:  ttyACM0 \n",
                                               "read_devname return:  ttyACM0\n"};
    EXPECT_EQ(expected, world.LogOf("read_devname"));
    for (const World::LogLine& line : world.log) EXPECT_EQ(5u, line.level) << line.text;
}

TEST(ReadDevname, EntryThatTheDirectoryListsLastWins) {
    World world;
    for (const char* path : {"/dev/ttyACM0", "/dev/ttyACM1", "/dev/xttyACM2"}) world.Write(path, "");
    PathText name = {};
    EXPECT_EQ(0, read_devname("/dev", name));
    const std::vector<std::string> log = world.LogOf("read_devname");
    ASSERT_EQ(4u, log.size());
    EXPECT_EQ("entry->d_name:  " + std::string(name) + " \n", log[2]);
    EXPECT_EQ("read_devname return:  " + std::string(name) + "\n", log[3]);
}

TEST(ReadDevname, WithoutAnEntryTheResultStays) {
    World world;
    PathText name = "as it was";
    EXPECT_EQ(0, read_devname("/dev", name));
    EXPECT_STREQ("as it was", name);
    EXPECT_TRUE(world.Logged(5, "read_devname return:  as it was\n"));
}

TEST(ReadDevname, UnreadableDirectoryFails) {
    World world;
    PathText name = "as it was";
    EXPECT_EQ(-1, read_devname("/dev/nowhere", name));
    EXPECT_STREQ("as it was", name);
    EXPECT_TRUE(world.Logged(5, "opendir /dev/nowhere fail !\n"));
}

}  // namespace
