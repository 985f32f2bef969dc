// Which metrics a board has, and which it has not.
#include "tools/metrics/board_metrics.h"

#include <set>
#include <sstream>

#include <gtest/gtest.h>

namespace {

using namespace metrics;
using board::Verdict;

constexpr time_t kNow = 1'700'000'000;

/// A board whose file has these lines, `age_seconds` old.
Seen Board(const std::string& lines, long age_seconds = 3) {
    Seen seen;
    seen.files.status = board::ParseStatus(board::kStatusName, lines + "Now='Thu Jan  1 00:05:10 2026'\n");
    seen.files.status.written = kNow - age_seconds;
    seen.link = board::Judge(seen.files, {}, kNow);
    return seen;
}

std::string Text(const Seen& seen) {
    return Exposition(BoardMetrics(seen), Format::kText);
}

bool Has(const Seen& seen, const std::string& text) {
    return Text(seen).find(text) != std::string::npos;
}

const std::string kOnline =
    "IMSI=460001112223334\nICCID=89860012317001122334\nIMEI=867698041122330\nOnline=TRUE\n"
    "Carrier=\"CHINA MOBILE\"\nCSQ=20\nCGREG=0\nCEREG=1\nUptime=01:02:05\nRetryTimes=1\nNetwork=\"FDD LTE\"\n"
    "FWVersion=EG25GGBR07A08M2G\nTempture=38\nGIT_VERSION=18f6518\n";

TEST(BoardMetrics, OfAnOnlineBoard) {
    const Seen seen = Board(kOnline);
    for (const char* line :
         {"\nravelin_online 1\n", "\nravelin_link_uptime_seconds 3725\n", "\nravelin_rssi_dbm -73\n",
          "\nravelin_modem_temperature_celsius 38\n", "\nravelin_status_age_seconds 3\n",
          "\nravelin_connect_attempts_total 1\n", "\nravelin_registration_status{network=\"lte\"} 1\n",
          "\nravelin_status_verdict{verdict=\"online\"} 1\n",
          "\nravelin_status_verdict{verdict=\"stale\"} 0\n",
          "\nravelin_modem_info{firmware=\"EG25GGBR07A08M2G\",operator=\"CHINA MOBILE\"} 1\n",
          "\nravelin_network_info{technology=\"FDD LTE\"} 1\n"}) {
        EXPECT_TRUE(Has(seen, line)) << line << Text(seen);
    }
    EXPECT_FALSE(Has(seen, "rsrp")) << "no file tells it";
    EXPECT_FALSE(Has(seen, "resets")) << "no log was read";
}

TEST(BoardMetrics, OfAGuard) {
    Seen seen = Board(kOnline);
    EXPECT_FALSE(Has(seen, "guard")) << "there is none";
    seen.guard = guard::Shown();
    seen.guard->state = "no_budget";
    seen.guard->acts = true;
    seen.guard->soft_resets = 9;
    seen.guard->hard_resets = 7;
    seen.guard->hard_last_hour = 6;
    seen.guard->hard_last_day = 7;
    seen.guard->hard_per_hour = 6;
    seen.guard->hard_per_day = 24;
    seen.guard->sent_bytes = 1234;
    seen.guard->alive_ago = 700;
    seen.guard_runs = true;
    for (const char* line :
         {"\nravelin_guard_running 1\n", "\nravelin_guard_resets_total{kind=\"soft\"} 9\n",
          "\nravelin_guard_resets_total{kind=\"hard\"} 7\n", "\nravelin_guard_acts 1\n",
          "\nravelin_guard_state{state=\"no_budget\"} 1\n", "\nravelin_guard_state{state=\"quiet\"} 0\n",
          "\nravelin_guard_hard_resets_recent{period=\"hour\"} 6\n",
          "\nravelin_guard_hard_resets_limit{period=\"day\"} 24\n",
          "\nravelin_guard_probe_bytes_total{direction=\"out\"} 1234\n",
          "\nravelin_guard_alive_age_seconds 700\n"}) {
        EXPECT_TRUE(Has(seen, line)) << line << Text(seen);
    }
    seen.guard_runs = false;
    EXPECT_TRUE(Has(seen, "\nravelin_guard_running 0\n"));
    EXPECT_TRUE(Has(seen, "\nravelin_guard_resets_total{kind=\"soft\"} 9\n"));
    EXPECT_FALSE(Has(seen, "ravelin_guard_state")) << "nobody knows";
}

TEST(BoardMetrics, AnIdentityOnlyWhenAsked) {
    Seen seen = Board(kOnline);
    for (const char* number : {"460001112223334", "89860012317001122334", "867698041122330"}) {
        EXPECT_FALSE(Has(seen, number));
    }
    seen.shows_identity = true;
    EXPECT_TRUE(Has(seen,
                    "\nravelin_sim_info{imsi=\"460001112223334\",iccid=\"89860012317001122334\","
                    "imei=\"867698041122330\"} 1\n"));
}

TEST(BoardMetrics, WhatAnOfflineBoardRemembersIsNotKnown) {
    std::string lines = kOnline;
    lines.replace(lines.find("TRUE"), 4, "FALSE");
    const Seen seen = Board(lines);
    EXPECT_TRUE(Has(seen, "\nravelin_online 0\n"));
    for (const char* name : {"rssi", "temperature", "uptime"}) EXPECT_FALSE(Has(seen, name)) << name;
}

TEST(BoardMetrics, AStaleFileTellsNoState) {
    const Seen seen = Board(kOnline, 1000);
    EXPECT_TRUE(Has(seen, "\nravelin_status_verdict{verdict=\"stale\"} 1\n"));
    EXPECT_TRUE(Has(seen, "\nravelin_status_age_seconds 1000\n"));
    EXPECT_FALSE(Has(seen, "ravelin_online"));
    EXPECT_TRUE(Has(seen, "firmware=")) << "whose board it is, is still known";
}

TEST(BoardMetrics, NothingButTheVerdictOfNoFile) {
    Seen seen;
    seen.link = board::Judge(seen.files, {}, kNow);
    EXPECT_TRUE(Has(seen, "verdict=\"missing\"} 1\n"));
    EXPECT_FALSE(Has(seen, "age"));
    EXPECT_FALSE(Has(seen, "_info"));
}

TEST(BoardMetrics, ValuesThatCannotBeAreNot) {
    const Seen seen = Board("Online=TRUE\nCSQ=99\nCEREG=7\nCGREG=x\nTempture=0\nRetryTimes=NaN\nUptime=x\n");
    for (const char* name : {"rssi", "registration", "temperature", "attempts", "uptime", "NaN"}) {
        EXPECT_FALSE(Has(seen, name)) << name;
    }
}

TEST(BoardMetrics, CountersBeginAtZero) {
    Seen seen = Board(kOnline);
    seen.log_was_read = true;
    seen.counts =
        Counts{{"reset soft no-service", 2000}, {"outage-time sim", 1500}, {"reset soft mine", 1000}};
    EXPECT_TRUE(Has(seen, "\nravelin_resets_total{kind=\"soft\",reason=\"no-service\"} 2\n"));
    EXPECT_TRUE(Has(seen, "\nravelin_resets_total{kind=\"sim-switch\",reason=\"ocpp\"} 0\n"));
    EXPECT_TRUE(Has(seen, "\nravelin_outage_seconds_total{cause=\"sim\"} 1.5\n"));
    EXPECT_TRUE(Has(seen, "\nravelin_daemon_starts_total 0\n"));
    EXPECT_FALSE(Has(seen, "mine"));
}

TEST(BoardMetrics, NoSeriesIsThereTwice) {
    Seen seen = Board(kOnline);
    seen.counts = Counts{};
    seen.files.signal =
        board::ParseStatus(board::kSignalName, "SignalLevel=-95\nNow='Thu Jan  1 00:05:10 2026'\n");
    seen.files.zte = board::ParseStatus(board::k3630Name, "RSRP=-90dBm\nNow='Thu Jan  1 00:05:10 2026'\n");
    seen.link = board::Judge(seen.files, {}, kNow);
    std::set<std::string> series;
    std::istringstream lines(Text(seen));
    for (std::string line; std::getline(lines, line);) {
        if (line[0] == '#') continue;
        EXPECT_TRUE(series.insert(line.substr(0, line.rfind(' '))).second) << line;
    }
    EXPECT_LT(series.size(), 120U) << "of each board, times a fleet";
}

TEST(BoardMetrics, AnOutageThatLastsHasItsCause) {
    Seen seen = Board("Online=FALSE\n");
    seen.cause = "sim";
    EXPECT_TRUE(Has(seen, "\nravelin_outage_active{cause=\"sim\"} 1\n"));
    seen.link.verdict = Verdict::kOnline;
    EXPECT_FALSE(Has(seen, "outage_active")) << "the log is behind";
}

}  // namespace
