// What the link does, judged from the status files.
#include "tools/board/link.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace {

using board::Judge;
using board::Presence;
using board::Verdict;

constexpr time_t kWritten = 1767225910;  // Thu Jan  1 00:05:10 2026

class LinkTest : public testing::Test {
  protected:
    /// Changes to a whole file: KEY=VALUE lines in front of what is there.
    static board::StatusFile File(const std::string& name, const std::string& lines) {
        board::StatusFile file = board::ParseStatus(name, lines + "Now='Thu Jan  1 00:05:10 2026'\n");
        file.written = kWritten;
        file.modified = kWritten;
        return file;
    }
    static board::StatusFiles Files(const std::string& lines) {
        board::StatusFiles files;
        files.status = File(board::kStatusName, lines);
        return files;
    }
    board::Link JudgeAt(long age, const std::string& lines) const {
        return Judge(Files(lines), around, kWritten + age);
    }

    board::Surroundings around;
};

TEST_F(LinkTest, OnlineAndOfflineWhileTheFileIsFresh) {
    EXPECT_EQ(JudgeAt(3, "Online=TRUE\nUptime=01:00:00\n").verdict, Verdict::kOnline);
    EXPECT_EQ(JudgeAt(3, "Online=TRUE\nUptime=01:00:00\n").uptime_seconds, 3600);
    EXPECT_EQ(JudgeAt(3, "Online=FALSE\n").verdict, Verdict::kOffline);
    EXPECT_EQ(JudgeAt(180, "Online=TRUE\n").verdict, Verdict::kOnline);
    EXPECT_EQ(JudgeAt(181, "Online=TRUE\n").verdict, Verdict::kStale);
    EXPECT_EQ(JudgeAt(181, "Online=TRUE\n").waits_for, "") << "of three minutes ago";
    EXPECT_EQ(JudgeAt(3, "").verdict, Verdict::kOffline);
    EXPECT_EQ(JudgeAt(3, "").remarks.size(), 1u) << "it doesn't say";
}

TEST_F(LinkTest, AClockThatWasSetBack) {
    EXPECT_EQ(JudgeAt(-180, "Online=TRUE\n").verdict, Verdict::kOnline);
    const board::Link link = JudgeAt(-181, "Online=TRUE\n");
    EXPECT_EQ(link.verdict, Verdict::kStale);
    EXPECT_EQ(link.remarks, (std::vector<std::string>{"Now= is in the future: the clock was set back"}));
}

TEST_F(LinkTest, ACopyAndAnotherTimeZone) {
    board::StatusFiles files = Files("Online=TRUE\n");
    files.status.modified = kWritten + 7200;
    EXPECT_EQ(
        Judge(files, around, kWritten + 7203).remarks,
        (std::vector<std::string>{
            "by its own time the file is 3 s old: the daemon has another time zone, or this is a copy"}));
    files.status.modified = kWritten + 7500;
    EXPECT_EQ(Judge(files, around, kWritten + 7503).remarks,
              (std::vector<std::string>{"by its own time the file is 3 s old: this is a copy"}));
}

TEST_F(LinkTest, EachWayInWhichAFileCanBeBad) {
    using board::StatusState;
    const struct {
        StatusState state;
        Verdict verdict;
    } rows[] = {
        {StatusState::kTorn, Verdict::kTorn},
        {StatusState::kMissing, Verdict::kMissing},
        {StatusState::kNoFile, Verdict::kUnreadable},
        {StatusState::kTooLarge, Verdict::kUnreadable},
        {StatusState::kNotReadable, Verdict::kUnreadable},
    };
    for (const auto& row : rows) {
        board::StatusFiles files;
        files.status.state = row.state;
        EXPECT_EQ(Judge(files, around, kWritten).verdict, row.verdict);
        around.daemon = Presence::kNotThere;
        EXPECT_EQ(Judge(files, around, kWritten).verdict, Verdict::kNoDaemon) << "that explains the rest";
        around.daemon = Presence::kThere;
    }
}

TEST_F(LinkTest, ANowThatIsNoTime) {
    board::StatusFiles files = Files("Online=TRUE\n");
    files.status.written = {};
    EXPECT_EQ(Judge(files, around, kWritten).verdict, Verdict::kStale);
    EXPECT_EQ(Judge(files, around, kWritten).remarks.size(), 1u);
}

TEST_F(LinkTest, WhatItWaitsFor) {
    const std::string sim = "IMSI=460001112223334\nOnline=FALSE\n";
    const struct {
        std::string lines;
        const char* begin;
    } rows[] = {
        {"Online=TRUE\n", "nothing"},
        {"Online=FALSE\nIMSI=\nICCID=\nIMEI=\nCEREG=2\n", "a SIM that is ready"},
        {sim + "CEREG=0\nCGREG=0\n", "service: "},
        {sim + "CEREG=2\nCGREG=0\n", "a network: the modem searches"},
        {sim + "CEREG=3\nCGREG=3\n", "a network that accepts the SIM"},
        {sim + "CEREG=2\nCGREG=3\n", "a network that accepts the SIM"},
        {sim + "CEREG=1\nRetryTimes=2\n", "the data call: "},
        {sim + "CEREG=3\nCGREG=5\n", "the data call: "},
        {sim + "CEREG=1\nRetryTimes=4\n", "the data call, whose next attempt is a reset"},
        {sim + "CEREG=1\nRetryTimes=x\n", "the data call: "},
    };
    for (const auto& row : rows) EXPECT_EQ(JudgeAt(1, row.lines).waits_for.find(row.begin), 0u) << row.lines;
    around.is_switched_off = true;
    EXPECT_EQ(JudgeAt(1, sim).waits_for, "ENABLE in the settings, which is false");
    EXPECT_EQ(JudgeAt(1, "Online=TRUE\n").waits_for, "nothing") << "it was switched on again";
    around.is_flashing = true;
    EXPECT_EQ(JudgeAt(1, sim).waits_for.find("the end of a firmware upgrade"), 0u);
}

TEST_F(LinkTest, SignalsFromAllFiles) {
    board::StatusFiles files = Files("Online=TRUE\nCSQ=20\n");
    files.signal = File(board::kSignalName, "SignalLevel=-95\n");
    files.zte = File(board::k3630Name, "RSSI=85dBm\nRSRP=-140dBm\nRSRQ=-11dB\nSINR=014dB\n");
    const board::Link link = Judge(files, around, kWritten);
    ASSERT_EQ(link.levels.size(), 5u);
    EXPECT_EQ(link.levels[0].value, -95);
    EXPECT_EQ(link.levels[0].source, "signal_status SignalLevel");
    EXPECT_EQ(link.levels[4].value, -73);
    EXPECT_TRUE(link.remarks.empty());
    files.signal = File(board::kSignalName, "SignalLevel=95\n");
    EXPECT_EQ(Judge(files, around, kWritten).remarks,
              (std::vector<std::string>{"signal_status SignalLevel is 95 dBm, which can't be"}));
    files.signal = board::ParseStatus(board::kSignalName, "SignalLevel=-95\n");
    EXPECT_EQ(Judge(files, around, kWritten).levels.size(), 4u) << "a torn one doesn't count";
    EXPECT_EQ(JudgeAt(1, "Online=TRUE\nCSQ=99\n").levels.size(), 0u);
    EXPECT_EQ(JudgeAt(1, "Online=TRUE\nCSQ=\n").levels.size(), 0u);
}

TEST_F(LinkTest, LinesThatOthersBroughtAreTold) {
    const board::Link link = JudgeAt(1, "Online=FALSE\nCarrier=\"X\nOnline=TRUE\n");
    EXPECT_FALSE(link.is_online);
    ASSERT_EQ(link.remarks.size(), 1u);
    EXPECT_EQ(link.remarks[0].find("ravelin_status has Online= twice"), 0u);
}

TEST_F(LinkTest, TheSettingsAsTheDaemonReadsThem) {
    EXPECT_TRUE(board::IsSwitchedOff("APN=x\nENABLE=false\n"));
    EXPECT_TRUE(board::IsSwitchedOff("Enable = false \n"));
    EXPECT_TRUE(board::IsSwitchedOff("ENABLE=false=x\n")) << "a value ends at the next =";
    EXPECT_TRUE(board::IsSwitchedOff("ENABLE=false\nENABLE=true\n")) << "the first one counts";
    for (const char* text : {"", "ENABLE=true\n", "ENABLE=False\n", "ENABLE=0\n", "enable=false\n",
                             "ENABLE\n", " ENABLE=false\n", "ENABLED=false\n", "#ENABLE=false\n"}) {
        EXPECT_FALSE(board::IsSwitchedOff(text)) << text;
    }
}

TEST_F(LinkTest, RegistrationInWords) {
    EXPECT_EQ(board::RegistrationText("5"), "registered, roaming");
    EXPECT_EQ(board::RegistrationText("3"), "denied");
    for (const char* text : {"", "6", "11", "x", "-1"}) EXPECT_EQ(board::RegistrationText(text), "") << text;
}

TEST_F(LinkTest, AFileFullOfRubbishIsToldInShort) {
    std::string lines;
    for (int i = 0; i < 1000; ++i) lines += "APN=x\nrubbish\n";
    const board::Link link = JudgeAt(3, std::string(5000, 'x') + "\nOnline=TRUE\n" + lines);
    ASSERT_EQ(link.remarks.size(), 7u);
    EXPECT_LT(link.remarks[1].size(), 200u);
    EXPECT_EQ(link.remarks.back(), "ravelin_status has 996 more of these lines");
}

TEST(PresenceTest, OneSignOfTheDaemonIsEnough) {
    using board::PipeState;
    using board::PresenceOf;
    EXPECT_EQ(PresenceOf(true, PipeState::kMissing, Presence::kNotThere), Presence::kThere);
    EXPECT_EQ(PresenceOf(false, PipeState::kOpen, Presence::kNotThere), Presence::kThere);
    EXPECT_EQ(PresenceOf(false, PipeState::kNoReader, Presence::kThere), Presence::kThere);
    for (const PipeState pipe : {PipeState::kNoReader, PipeState::kMissing, PipeState::kNoPipe}) {
        EXPECT_EQ(PresenceOf(false, pipe), Presence::kNotThere);
    }
    // Who mayn't look at the pipe and finds no process, which may be hidden, has the bus alone.
    EXPECT_EQ(PresenceOf(false, PipeState::kNotAllowed), Presence::kUnknown);
    EXPECT_EQ(PresenceOf(false, PipeState::kNotAllowed, Presence::kNotThere), Presence::kNotThere);
}

}  // namespace
