// guard.conf, with every mistake somebody may make in it.
#include "tools/guard/settings.h"

#include <arpa/inet.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace {

using guard::ParseSettings;
using guard::ProbeKind;
using guard::Settings;

constexpr char kGood[] =
    "# a comment\n"
    "\n"
    "INTERFACE=wwan0\n"
    "DNS = 9.9.9.9 a.example 8.1.2.3\r\n"
    "TCP=8.8.4.4 443\n"
    "ICMP=1.1.1.1\n"
    "INTERVAL=900\n"
    "HARD_PER_HOUR=0\n";

TEST(Settings, WhatIsThereIsTaken) {
    const Settings settings = ParseSettings(kGood);
    EXPECT_TRUE(settings.problems.empty());
    EXPECT_EQ(settings.WhyNot(), "");
    EXPECT_EQ(settings.interface, "wwan0");
    ASSERT_EQ(settings.probes.size(), 3U);
    EXPECT_EQ(settings.probes[0].kind, ProbeKind::kDns);
    EXPECT_EQ(settings.probes[0].host, inet_addr("9.9.9.9"));
    EXPECT_EQ(settings.probes[0].name, "a.example");
    EXPECT_EQ(settings.probes[0].expected, inet_addr("8.1.2.3"));
    EXPECT_EQ(settings.probes[1].kind, ProbeKind::kTcp);
    EXPECT_EQ(settings.probes[1].port, 443);
    EXPECT_EQ(settings.probes[2].kind, ProbeKind::kIcmp);
    EXPECT_EQ(settings.rules.interval_seconds, 900);
    EXPECT_EQ(settings.rules.hard_per_hour, 0);
    EXPECT_EQ(settings.rules.hard_per_day, guard::kMostPerDay);
}

TEST(Settings, AMistakeKeepsTheGuardFromActing) {
    for (const char* line : {"INTERFACE=",
                             "INTERFACE=../x",
                             "INTERFACE=a b",
                             "INTERFACE=aaaaaaaaaaaaaaaa",
                             "INTERFACE=..",
                             "DNS=ns.example a.example",
                             "DNS=9.9.9.9",
                             "DNS=9.9.9.9 a..b",
                             "DNS=9.9.9.9 a.example b.example",
                             "TCP=8.8.4.4",
                             "TCP=8.8.4.4 0",
                             "TCP=8.8.4.4 65536",
                             "TCP=8.8.4.4 443 x",
                             "TCP=0.0.0.0 1",
                             "TCP=127.0.0.1 1",
                             "TCP=224.0.0.1 1",
                             "TCP=256.1.1.1 1",
                             "ICMP=",
                             "ICMP=::1",
                             "INTERVAL=59",
                             "INTERVAL=",
                             "INTERVAL=-1",
                             "INTERVAL=99999999999999999999",
                             "INTERVAL=6e2",
                             "HARD_PER_HOUR=7",
                             "HARD_PER_DAY=25",
                             "FAILED=119",
                             "UNKNOWN=1",
                             "no equals",
                             "=",
                             "\x1b[2J=1"}) {
        const Settings settings = ParseSettings(std::string(kGood) + line + "\n");
        ASSERT_EQ(settings.problems.size(), 1U) << line;
        EXPECT_EQ(settings.problems[0].substr(0, 8), "line 9: ") << settings.problems[0];
        EXPECT_EQ(settings.problems[0].find('\x1b'), std::string::npos);
        EXPECT_FALSE(settings.CanAct()) << line;
    }
}

TEST(Settings, WhatIsMissingIsSaid) {
    const struct {
        const char* text;
        const char* why;
    } kCases[] = {
        {"", "guard.conf names no INTERFACE"},
        {"INTERFACE=wwan0", "guard.conf names nothing to probe"},
        {"INTERFACE=wwan0\nTCP=8.1.1.1 1\nTCP=8.1.1.2 1",
         "guard.conf has probes of one kind only; two are wanted"},
        {"INTERFACE=wwan0\nTCP=8.1.1.1 1\nICMP=8.1.1.1",
         "guard.conf probes one address only; two are wanted"},
        {"TCP=8.1.1.1 1\nICMP=8.1.1.2", "guard.conf names no INTERFACE"},
    };
    for (const auto& tried : kCases) EXPECT_EQ(ParseSettings(tried.text).WhyNot(), tried.why);
}

TEST(Settings, AFileThatOthersMayHaveWrittenIsAMistake) {
    char name[] = "/tmp/settings_test.XXXXXX";
    const std::string folder = mkdtemp(name);
    const std::string path = folder + "/guard.conf";
    const auto why = [&path] { return guard::ReadSettings(path).WhyNot(); };
    const std::string mistake = "guard.conf has a mistake: " + path;
    EXPECT_EQ(why(), mistake + " isn't there");
    std::ofstream(path) << kGood;
    chmod(path.c_str(), 0644);
    EXPECT_EQ(why(), "");
    chmod(path.c_str(), 0664);
    EXPECT_EQ(why(), mistake + " can be written by others than its owner");
    chmod(path.c_str(), 0646);
    EXPECT_EQ(why(), mistake + " can be written by others than its owner");
    chmod(path.c_str(), 0644);
    if (chown(path.c_str(), 4711, static_cast<gid_t>(-1)) == 0) {
        EXPECT_EQ(why(), mistake + " belongs to user 4711");
    }
    std::filesystem::rename(path, folder + "/other");
    ASSERT_EQ(symlink("other", path.c_str()), 0);
    EXPECT_EQ(why(), mistake + " is a symbolic link and no file");
    unlink(path.c_str());
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(why(), mistake + " is a pipe and no file") << "and nobody is waited for";
    std::filesystem::remove_all(folder);
}

TEST(Settings, NoMoreProbesThanAreCheap) {
    std::string text;
    for (int i = 1; i <= 9; ++i) text += "ICMP=8.1.1." + std::to_string(i) + "\n";
    const Settings settings = ParseSettings(text);
    EXPECT_EQ(settings.probes.size(), guard::kMostProbes);
    EXPECT_EQ(settings.problems.size(), 1U);
}

}  // namespace
