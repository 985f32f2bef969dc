// What the picture of a log is drawn from: bins that stay within their bound and keep the worst line, the
// link with what is known only later, SIM, rungs and readings; and nothing that the log doesn't tell.
#include "tools/log/timeline.h"

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ravelin_log {
namespace {

/// Tells "SECONDS FUNCTION MESSAGE" as the reader would; without a function it is the modem's own line.
Timeline Draw(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    TimelineBuilder builder;
    int64_t number = 0;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        double seconds = 0;
        std::string function;
        Line entry;
        entry.number = ++number;
        entry.raw = line;
        std::string message;
        if (words >> seconds >> function) {
            std::getline(words, message);
            if (!message.empty()) message.erase(0, 1);
            entry.kind = Line::Kind::kSaid;
            entry.place = {"network_daemon/x.cpp", function, 1};
            entry.message = message;
            entry.has_time = true;
            entry.time_ms = entry.elapsed_ms = static_cast<int64_t>(seconds * 1000);
            entry.begins_run = message.rfind("THIS APP", 0) == 0;
        }
        builder.Take(entry);
    }
    return builder.Finish();
}

constexpr char kStartAndOnline[] =
    "0 main THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1\n"
    "24 CheckSimCard Check SIM!\n"
    "25 CheckSimCard Get Card:  m_card_imsi = 460001112223334\n"
    "40 ParseAtResult CEREG :0 1\n"
    "40 Connect Do connect.  1 times.\n"
    "60 RunDhcpClient Run DhcpClient!!!\n"
    "200 ravelin_deal_dbus_message [RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n";

std::string LinkOf(const Timeline& timeline) {
    std::string text;
    for (const Span& span : timeline.link) {
        text += std::to_string(span.from.passed_ms / kSecond_ms) + " " + span.word + ";";
    }
    return text;
}

TEST(Series, KeepsTheWorstLineOfEachBin) {
    Series series(Series::Worst::kLowest, 8);
    Evidence line;
    for (const int value : {-80, -110, -90}) {
        line.line = -value;
        series.Add(value, line);
    }
    ASSERT_EQ(series.bins().size(), 1U);
    const Bin& bin = series.bins()[0];
    EXPECT_EQ(bin.count, 3);
    EXPECT_EQ(bin.low, -110);
    EXPECT_EQ(bin.high, -80);
    EXPECT_EQ(bin.worst.line, 110);
}

TEST(Series, GrowsWiderAndNeverLonger) {
    Series series(Series::Worst::kHighest, 64);
    Evidence line;
    for (int64_t i = 0; i < 100000; ++i) {
        line.at.passed_ms = i * 10 * kSecond_ms;
        line.line = i;
        series.Add(i == 77777 ? 90 : 40, line);
        ASSERT_LE(series.bins().size(), 64U);
    }
    int64_t count = 0;
    bool has_worst = false;
    int64_t last = -1;
    for (const Bin& bin : series.bins()) {
        count += bin.count;
        EXPECT_GT(bin.index, last);
        last = bin.index;
        if (bin.high != 90) continue;
        has_worst = true;
        EXPECT_EQ(bin.worst.line, 77777);
        EXPECT_LE(bin.index * series.width_ms(), 777770 * kSecond_ms);
        EXPECT_GT((bin.index + 1) * series.width_ms(), 777770 * kSecond_ms);
    }
    EXPECT_EQ(count, 100000);
    EXPECT_TRUE(has_worst);
    EXPECT_GE(series.bins().size(), 24U) << "no coarser than it must be";
}

TEST(Timeline, TheLinkIsUpSinceItsDialThoughALaterLineShowsIt) {
    EXPECT_EQ(LinkOf(Draw(kStartAndOnline)), "0 starting;40 offline;60 online;");
    const Timeline dialled =
        Draw(std::string(kStartAndOnline).substr(0, std::string(kStartAndOnline).rfind("200 ")));
    EXPECT_EQ(LinkOf(dialled), "0 starting;40 offline;60 dialled;") << "no later line: nobody knows";
}

TEST(Timeline, ALogThatBeginsInTheMiddleKnowsNothing) {
    EXPECT_EQ(LinkOf(Draw("5 ravelin_deal_dbus_message [RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n")),
              "5 unknown;");
    EXPECT_TRUE(Draw("").link.empty());
    EXPECT_EQ(Draw("").level, -1);
}

TEST(Timeline, TellsRungsWithTheirCounts) {
    std::string log = kStartAndOnline;
    for (int i = 1; i <= 11; ++i) {
        log += std::to_string(300 + 2 * i) + " Task Check connection. offline " + std::to_string(i) +
               "/10 times\n";
    }
    log +=
        "330 Connect Check service status.  1/34 times.\n340 Connect Check service status.  2/34 times.\n"
        "350 Connect Do connect.  2 times.\n";
    const Timeline timeline = Draw(log);
    ASSERT_EQ(timeline.link_checks.bins().size(), 11U);
    EXPECT_EQ(timeline.link_checks.bins().back().high, 11);
    ASSERT_EQ(timeline.service_checks.bins().size(), 2U);
    EXPECT_EQ(timeline.service_checks.bins().back().high, 2);
    EXPECT_EQ(timeline.dials.bins().size(), 2U);
    EXPECT_TRUE(timeline.path_checks.bins().empty());
    EXPECT_EQ(timeline.level, 5);
    EXPECT_EQ(timeline.history.outages.size(), 1U);
}

TEST(Timeline, TellsTheSimAndItsNumbersChange) {
    const Timeline timeline = Draw(std::string(kStartAndOnline) +
                                   "300 CheckSimCard CheckSimCard: SIM is not ready!\n"
                                   "400 CheckSimCard Get Card:  m_card_imsi = 460009999999999\n");
    ASSERT_EQ(timeline.sim.size(), 4U);
    EXPECT_STREQ(timeline.sim[1].word, "ready");
    EXPECT_STREQ(timeline.sim[2].word, "not-ready");
    EXPECT_EQ(timeline.sim[2].from.passed_ms, 300 * kSecond_ms);
    EXPECT_STREQ(timeline.sim[3].word, "ready");
    ASSERT_EQ(timeline.sims.size(), 1U);
    EXPECT_STREQ(timeline.sims[0].word, "another");
}

TEST(Timeline, TakesReadings) {
    const Timeline timeline = Draw(std::string(kStartAndOnline) +
                                   "210 CheckSignalStatus QENG info, rsrp:-101 !\n"
                                   "210 CheckSignalStatus QENG info, sinr:14 !\n"
                                   "211 ParseAtResult Quectel Temp Baseband(38),XO(36),PA(35)\n"
                                   "212 AtRequest \nfd=3,AT WRITE:\nAT+CSQ\nAT RETURN:\n+CSQ: 23,99\n");
    ASSERT_EQ(timeline.rsrp_dbm.bins().size(), 1U);
    EXPECT_EQ(timeline.rsrp_dbm.bins()[0].low, -101);
    ASSERT_EQ(timeline.sinr_db.bins().size(), 1U);
    ASSERT_EQ(timeline.temperature_celsius.bins().size(), 1U);
    EXPECT_EQ(timeline.temperature_celsius.bins()[0].high, 38);
    ASSERT_EQ(timeline.csq.bins().size(), 1U);
    EXPECT_EQ(timeline.csq.bins()[0].low, 23);
    EXPECT_EQ(timeline.level, 7);
}

TEST(Timeline, BelievesNoReadingThatCantBe) {
    const Timeline timeline = Draw(std::string(kStartAndOnline) +
                                   "210 CheckSignalStatus QENG info, rsrp:101 !\n"
                                   "210 CheckSignalStatus QENG info, sinr:- !\n"
                                   "210 StoreSms QENG info, rsrp:-70 !\n"
                                   "211 ParseAtResult Quectel Temp Baseband(0),XO(0),PA(0)\n"
                                   "+CSQ: 20,99\n"
                                   "212 AtRequest \nAT+CSQ\n+CSQ: 99,99\n");
    EXPECT_TRUE(timeline.rsrp_dbm.bins().empty());
    EXPECT_TRUE(timeline.sinr_db.bins().empty());
    EXPECT_TRUE(timeline.temperature_celsius.bins().empty());
    EXPECT_TRUE(timeline.csq.bins().empty());
    EXPECT_EQ(timeline.level, 5);
}

TEST(Timeline, SignsHaveABound) {
    std::string log = kStartAndOnline;
    for (size_t i = 0; i < Timeline::kMostSigns + 10; ++i) {
        log += std::to_string(300 + i) + " handle_command [FIFO]SoftReset:1\n";
    }
    const Timeline timeline = Draw(log);
    EXPECT_EQ(timeline.daemon.size(), Timeline::kMostSigns);
    EXPECT_EQ(timeline.left_out, 11) << "the start is one of them";
}

}  // namespace
}  // namespace ravelin_log
