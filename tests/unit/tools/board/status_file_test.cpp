// The daemon's status files: whole and torn ones, and what others may put into them or in their place.
#include "tools/board/status_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

using board::ParseNow;
using board::ParseStatus;
using board::StatusState;

constexpr char kNow[] = "Now='Thu Jan  1 00:05:10 2026'\n";

const std::string kWhole =
    std::string("IMSI=460001112223334\nOnline=TRUE\nCarrier=\"CHINA MOBILE\"\nCSQ=20\n") + kNow;

TEST(StatusFile, IsWholeWithItsLastLineAndLineEnd) {
    EXPECT_TRUE(board::IsWhole(kWhole));
    EXPECT_TRUE(board::IsWhole(kNow));
    EXPECT_TRUE(board::IsWhole("Now=''\n")) << "a clock beyond what the C library can put in words";
    for (size_t size = 0; size < kWhole.size(); ++size) {
        EXPECT_FALSE(board::IsWhole(kWhole.substr(0, size))) << "cut after " << size;
    }
    EXPECT_FALSE(board::IsWhole("\n"));
    EXPECT_FALSE(board::IsWhole("Now='\n"));
    EXPECT_FALSE(board::IsWhole("Now='x''")) << "without a line end";
    EXPECT_FALSE(board::IsWhole(kWhole + "IM")) << "the next writing has begun";
}

TEST(StatusFile, HasItsLinesByTheirKeys) {
    const board::StatusFile file = ParseStatus(board::kStatusName, kWhole);
    EXPECT_EQ(file.state, StatusState::kWhole);
    EXPECT_EQ(file.Get("Carrier"), "\"CHINA MOBILE\"");
    EXPECT_EQ(file.Get("ICCID"), "");
    EXPECT_EQ(file.Find("ICCID"), nullptr);
    EXPECT_TRUE(file.strangers.empty());
    EXPECT_TRUE(file.repeated.empty());
}

TEST(StatusFile, ATextMayHoldAnything) {
    const board::StatusFile file = ParseStatus(
        board::kStatusName,
        std::string("APN='a=b'\nNetwork=\"NOSERVICE\r\n\"\r\n\nOnline=FALSE\nCarrier=x\nOnline=TRUE\n"
                    "rm -rf\nFWVersion=\033[2J\n") +
            kNow);
    EXPECT_EQ(file.Get("APN"), "'a=b'");
    EXPECT_EQ(file.Get("Online"), "FALSE") << "what comes after a text isn't the daemon's";
    EXPECT_EQ(file.repeated, (std::vector<std::string>{"Online"}));
    EXPECT_EQ(file.strangers, (std::vector<std::string>{"\"", "rm -rf"}));
    EXPECT_EQ(file.Get("FWVersion"), "\033[2J");
}

TEST(StatusFile, LegendsAreNoStrangers) {
    const board::StatusFile file = ParseStatus(
        board::kSignalName, std::string("Password=secret\n\t0 None 1 PAP 2 CHAP 3 PAP-CHAP\nSignalLevel=-95\n"
                                        "\texcellent:>-85dBm\tgood:-85\xEF\xBD\x9E-95dBm\n") +
                                kNow);
    EXPECT_TRUE(file.strangers.empty());
    EXPECT_EQ(file.Get("SignalLevel"), "-95");
}

TEST(StatusFile, KeysBelongToTheirFile) {
    EXPECT_EQ(ParseStatus(board::kStatusName, std::string("RSRP=-95dBm\n") + kNow).strangers.size(), 1u);
    EXPECT_EQ(ParseStatus(board::k3630Name, std::string("RSRP=-95dBm\n") + kNow).strangers.size(), 0u);
}

class StatusFileOnDisk : public testing::Test {
  protected:
    StatusFileOnDisk() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    board::StatusFile Read() const { return board::ReadStatusFile(folder, board::kStatusName, 0); }

    const TemporaryFolder temporary;
    const std::string &folder = temporary.path(), path = temporary.Path(board::kStatusName);
};

TEST_F(StatusFileOnDisk, IsReadWithItsTimes) {
    std::ofstream(path) << kWhole;
    const board::StatusFile file = Read();
    EXPECT_EQ(file.state, StatusState::kWhole);
    EXPECT_EQ(file.written, 1767225910);
    EXPECT_GT(file.modified, 1000000000);
}

TEST_F(StatusFileOnDisk, TornStaysTorn) {
    std::ofstream(path) << kWhole.substr(0, 40);
    EXPECT_EQ(Read().state, StatusState::kTorn);
    EXPECT_EQ(Read().problem, "is half written: its last line isn't Now=");
    std::ofstream{path};
    EXPECT_EQ(Read().problem, "is empty");
}

TEST_F(StatusFileOnDisk, AMegabyteIsNoStatus) {
    std::ofstream(path) << std::string(1024 * 1024, 'x') << "\n" << kNow;
    EXPECT_EQ(Read().state, StatusState::kTooLarge);
    EXPECT_TRUE(Read().lines.empty());
}

TEST_F(StatusFileOnDisk, APipeInItsPlaceIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(Read().state, StatusState::kNoFile);
    EXPECT_EQ(Read().problem, "is a pipe and no file");
}

TEST_F(StatusFileOnDisk, MissingIsSaid) {
    EXPECT_EQ(Read().state, StatusState::kMissing);
    EXPECT_EQ(Read().name, board::kStatusName);
}

TEST(StatusTime, IsWhatCtimeWrites) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(ParseNow("Thu Jan  1 00:00:10 1970", 0), 10);
    EXPECT_EQ(ParseNow("Sun Nov 22 11:00:50 2026", 0), 1795345250);
    for (const char* text :
         {"", "Thu", "Thu Jan  1 00:00:10", "Thu Jan  1 00:00:10 1970 ", "Thu Jan  1 00:00:10 1970x",
          "Thu anF  1 00:00:10 1970", "Thu Foo  1 00:00:10 1970", "Thu Jan 32 00:00:10 2026",
          "Sat Feb 30 00:00:10 2026", "Thu Jan  1 25:00:10 2026", "Do Jan  1 \033:00:10 2026"}) {
        EXPECT_FALSE(ParseNow(text, 0)) << text;
    }
}

TEST(StatusTime, AnHourThatComesTwiceIsTheNearerOne) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    constexpr time_t kFirst = 1792888200;  // 02:30 with summer time, 25 October 2026
    EXPECT_EQ(ParseNow("Sun Oct 25 02:30:00 2026", kFirst + 5), kFirst);
    EXPECT_EQ(ParseNow("Sun Oct 25 02:30:00 2026", kFirst + 3600 - 5), kFirst + 3600);
    EXPECT_TRUE(ParseNow("Wed Jul  1 12:00:00 2026", 0));
    setenv("TZ", "UTC", 1);
    tzset();
}

TEST(StatusTime, Uptime) {
    EXPECT_EQ(board::ParseUptime("00:00:00"), 0);
    EXPECT_EQ(board::ParseUptime("01:02:05"), 3725);
    EXPECT_EQ(board::ParseUptime("123:00:00"), 442800);
    EXPECT_EQ(board::ParseUptime("596523:14:07"), INT32_MAX);
    for (const char* text :
         {"", "1", "1:2", ":::", "a:b:c", "1:2:-3", "1:2:3:4", "99999999999:00:00", "596523:14:08"}) {
        EXPECT_FALSE(board::ParseUptime(text)) << text;
    }
}

}  // namespace
