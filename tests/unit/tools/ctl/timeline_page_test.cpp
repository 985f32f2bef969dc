// The page of the timeline: whatever the log holds is data in it, its lines stand in it once, and its size
// has a bound.
#include "tools/ctl/timeline_page.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

namespace {

using namespace ravelin_log;

class TimelinePage : public testing::Test {
  protected:
    void TearDown() override { unlink(name_.c_str()); }
    std::string DataOf(const std::string& log) {
        std::ofstream(name_, std::ios::binary) << log;
        Reader reader;
        std::string problem;
        EXPECT_TRUE(reader.Open({name_}, {}, &problem)) << problem;
        TimelineBuilder builder;
        Line line;
        while (reader.Next(&line)) builder.Take(line);
        return ctl::TimelineData(builder.Finish(), reader);
    }

    std::string name_ = "timeline_page_test." + std::to_string(getpid()) + ".log";
};

constexpr char kStart[] =
    "00:00:00.0 network_daemon/main.cpp:main:82:THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1\n";

TEST_F(TimelinePage, ATextOfTheLogIsNoMarkup) {
    const std::string hostile =
        "</script><script>x()</script><!--<script>&\"\\ \xE2\x80\xA8 \xE2\x80\xAE \x01 \x7F \xFF \xC3";
    const std::string data =
        DataOf(std::string(kStart) +
               "00:00:01.0 network_daemon/cellular_sim.cpp:CheckSimCard:1:Get Card:  m_card_imsi = 1" +
               hostile + "\n");
    EXPECT_NE(data.find("\\u003C/script\\u003E"), std::string::npos) << data;
    for (const unsigned char c : data) {
        ASSERT_TRUE(c >= ' ' && c < 0x7f) << static_cast<int>(c);
        ASSERT_TRUE(c != '<' && c != '>' && c != '&');
    }
    rapidjson::Document document;
    document.Parse(data.c_str());
    ASSERT_FALSE(document.HasParseError());
    bool is_there = false;
    for (const auto& text : document["texts"].GetArray()) {
        is_there |= std::string(text.GetString()).find("1</script><script>x()</script>") != std::string::npos;
    }
    EXPECT_TRUE(is_there) << "as it was, once it is read";
}

TEST_F(TimelinePage, ALineStandsInItOnce) {
    std::string log = kStart;
    for (int i = 0; i < 50; ++i) {
        log += "00:01:" + std::to_string(10 + i % 50) +
               ".0 network_daemon/main_fifo.cpp:handle_command:7:[FIFO]SoftReset:1\n";
    }
    const std::string data = DataOf(log);
    size_t places = 0;
    for (size_t at = data.find("main_fifo.cpp"); at != std::string::npos;
         at = data.find("main_fifo.cpp", at + 1))
        ++places;
    EXPECT_EQ(places, 1U);
    rapidjson::Document document;
    document.Parse(data.c_str());
    EXPECT_EQ(document["daemon"].Size(), 51U);
    EXPECT_EQ(document["lines"].Size(), 51U);
    // Put together again, it is the line.
    const auto& line = document["lines"][50];
    const auto& texts = document["texts"];
    EXPECT_EQ(std::string(line[2].GetString()) + texts[line[3].GetInt()].GetString() +
                  texts[line[4].GetInt()].GetString(),
              "00:01:59.0 network_daemon/main_fifo.cpp:handle_command:7:[FIFO]SoftReset:1");
}

TEST_F(TimelinePage, ALogOfLongOddLinesHasItsBound) {
    std::string log = kStart;
    for (int i = 0; i < 15000; ++i) {
        char time[32];
        snprintf(time, sizeof time, "%02d:%02d:%02d.0 ", i / 3600, i / 60 % 60, i % 60);
        log += time + ("network_daemon/main_fifo.cpp:thread_function_pipe:7:udhcpc " + std::to_string(i)) +
               std::string(900, '<') + "\n";
    }
    const std::string data = DataOf(log);
    rapidjson::Document document;
    document.Parse(data.c_str());
    EXPECT_GT(document["linesLeftOut"].GetInt64(), 1000);
    EXPECT_EQ(document["daemon"].Size(), 15001U) << "the marks are all there";
    EXPECT_LT(data.size(), 30000000U);
}

TEST_F(TimelinePage, EachCauseAndReasonHasItsWordsAndEachCauseItsLook) {
    rapidjson::Document document;
    document.Parse(DataOf(kStart).c_str());
    const std::string page = ctl::TimelinePage("{}");
    ASSERT_EQ(document["causes"].MemberCount(), kCauses.size());
    for (const CauseRow& row : kCauses) {
        EXPECT_STREQ(document["causes"][row.word].GetString(), row.text);
        EXPECT_NE(page.find("\n    '" + std::string(row.word) + "': ['"), std::string::npos) << row.word;
    }
    ASSERT_EQ(document["reasons"].MemberCount(), kReasons.size());
    for (const ReasonRow& row : kReasons) {
        EXPECT_STREQ(document["reasons"][row.word].GetString(), row.text);
    }
}

TEST_F(TimelinePage, AnEmptyLogHasAPageToo) {
    const std::string data = DataOf("");
    rapidjson::Document document;
    document.Parse(data.c_str());
    ASSERT_FALSE(document.HasParseError());
    EXPECT_TRUE(document["empty"].GetBool());
}

TEST_F(TimelinePage, NeedsNothingFromOutside) {
    const std::string page = ctl::TimelinePage("{}");
    EXPECT_NE(page.find("default-src 'none'; script-src 'sha256-"), std::string::npos);
    EXPECT_EQ(page.find("unsafe-inline"), std::string::npos);
    for (const char* word :
         {"src=", "href=", "@import", "fetch(", "XMLHttpRequest", "innerHTML", "document.write", "eval("}) {
        EXPECT_EQ(page.find(word), std::string::npos) << word;
    }
    EXPECT_NE(page.find("<script type=\"application/json\" id=\"data\">{}</script>"), std::string::npos);
}

}  // namespace
