// The history for programs, whose form others rely on: its keys and words, what is null, how times look, and
// that the lines which prove something are those of the log. What the log says doesn't matter for that: the
// same holds for any lines of the daemon in any order.
#include "tools/log/history_json.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "tests/support/temporary_folder.h"

namespace ravelin_log {
namespace {

using Value = rapidjson::Value;
using Words = std::set<std::string>;

#define CONNECT " network_daemon/cellular_connect.cpp:Connect:117:"
#define TASK " network_daemon/cellular_task.cpp:Task:143:"
#define MAIN " network_daemon/main.cpp:main:109:"

constexpr char kStartLines[] = "03:12:07.0" MAIN
                               "THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1\n"
                               "03:12:08.500" MAIN "open device  /dev/ttyUSB2  ok!\n";
constexpr char kMuteLines[] = "03:20:07.250" TASK
                              "No response! Reset device...\n"
                              "03:20:07.300" MAIN
                              "kill udhcpc lte!!!\n"
                              "03:20:12.0" MAIN
                              "Reset4G.sh start pin_rst\n"
                              "03:20:17.0" MAIN
                              "check interface lte!!!\n"
                              "03:20:18.0" MAIN
                              "Reset4G time=1\n"
                              "03:20:18.0 network_daemon/cellular_connect.cpp:SoftReset:182:Soft reset!\n";
constexpr char kDial[] =
    "03:21:00.0" CONNECT
    "Do connect.  2 times.\n"
    "03:21:10.0 network_daemon/cellular_connect.cpp:RunDhcpClient:192:Run DhcpClient!!!\n";
constexpr char kLaterLines[] =
    "03:40:00.0 network_daemon/main_bus.cpp:ravelin_deal_dbus_message:158:"
    "[RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n";

Words WordsOf(const Value& object) {
    Words words;
    for (const auto& member : object.GetObject()) words.insert(member.name.GetString());
    return words;
}

class HistoryJson : public testing::Test {
  protected:
    /// The answer for a log; whatever it says, it has the form.
    const Value& Told(const std::string& log, const std::string& date = "") {
        std::ofstream(name_, std::ios::binary) << log;
        lines_.clear();
        std::istringstream text(log);
        for (std::string line; std::getline(text, line);) lines_.push_back(line);
        Reader reader;
        ReaderOptions options;
        options.date = date;
        std::string problem;
        EXPECT_TRUE(reader.Open({name_}, options, &problem)) << problem;
        Historian historian;
        Line line;
        while (reader.Next(&line)) historian.Take(line);
        const std::string json = HistoryAsJson(historian.Finish(), reader);
        for (const char c : json) {
            EXPECT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << static_cast<int>(c);
        }
        document_.Parse(json.c_str());
        EXPECT_FALSE(document_.HasParseError());
        CheckForm();
        return document_;
    }

    void CheckForm() {
        EXPECT_EQ(WordsOf(document_), (Words{"outages", "resets", "upgrades", "ledger", "advice"}));
        Words causes;
        for (const CauseRow& row : kCauses) causes.insert(row.word);
        Words reasons;
        for (const ReasonRow& row : kReasons) reasons.insert(row.word);
        for (const Value& outage : document_["outages"].GetArray()) {
            EXPECT_EQ(WordsOf(outage), (Words{"begin", "end", "seconds", "cause", "certainty", "evidence"}));
            const std::string cause = outage["cause"].GetString();
            EXPECT_EQ(causes.count(TopOf(cause)), 1U) << cause;
            EXPECT_NE(cause.back(), '/');
            CheckCertainty(cause, outage["certainty"].GetString());
            EXPECT_EQ(outage["seconds"].IsNull(), outage["begin"].IsNull() || outage["end"].IsNull());
            EXPECT_TRUE(outage["seconds"].IsNull() || outage["seconds"].GetDouble() >= 0);
            CheckEvidence(outage["evidence"]);
        }
        for (const Value& reset : document_["resets"].GetArray()) {
            EXPECT_EQ(WordsOf(reset),
                      (Words{"at", "kind", "reason", "certainty", "achieved", "next", "evidence"}));
            EXPECT_EQ((Words{"soft", "hard", "sim-switch"}).count(reset["kind"].GetString()), 1U);
            const std::string reason = reset["reason"].GetString();
            EXPECT_EQ(reasons.count(reason), 1U) << reason;
            CheckCertainty(reason, reset["certainty"].GetString());
            EXPECT_FALSE(reset["at"].IsNull());
            CheckEvidence(reset["evidence"]);
        }
        const Words results = {"ok", "failed", "unsupported", "no-tool", "unknown"};
        for (const Value& upgrade : document_["upgrades"].GetArray()) {
            EXPECT_EQ(WordsOf(upgrade), (Words{"begin", "end", "result", "evidence"}));
            EXPECT_EQ(results.count(upgrade["result"].GetString()), 1U);
            EXPECT_FALSE(upgrade["begin"].IsNull());
            CheckEvidence(upgrade["evidence"]);
        }
        for (const Value& advice : document_["advice"].GetArray()) {
            EXPECT_EQ(WordsOf(advice), (Words{"finding", "text", "page"}));
        }
    }

    static void CheckCertainty(const std::string& word, const std::string& certainty) {
        EXPECT_EQ((Words{"certain", "probable", "unknown"}).count(certainty), 1U) << certainty;
        EXPECT_EQ(word == "unknown", certainty == "unknown") << word << " is " << certainty;
    }

    void CheckEvidence(const Value& evidence) {
        EXPECT_GT(evidence.Size(), 0U);
        for (const Value& line : evidence.GetArray()) {
            EXPECT_EQ(WordsOf(line), (Words{"file", "line", "text"}));
            EXPECT_EQ(line["file"].GetString(), name_);
            const auto number = static_cast<size_t>(line["line"].GetInt64());
            ASSERT_TRUE(number >= 1 && number <= lines_.size()) << number;
            EXPECT_EQ(line["text"].GetString(), lines_[number - 1]);
        }
    }

    TemporaryFolder folder_;
    const std::string name_ = folder_.Path("LOG");
    std::vector<std::string> lines_;
    rapidjson::Document document_;
};

TEST_F(HistoryJson, WithoutDatesATimeIsTheSecondsSinceTheFirstLine) {
    const Value& told = Told(std::string(kStartLines) + kDial + kLaterLines);
    EXPECT_EQ(told["outages"].Size(), 0U) << "the first start is none";
    EXPECT_EQ(told["ledger"]["from"].GetInt(), 0);
    EXPECT_EQ(told["ledger"]["to"].GetInt(), 27 * 60 + 53);
    const Value& outage = Told(std::string(kStartLines) + kMuteLines + kDial + kLaterLines)["outages"][0];
    EXPECT_EQ(outage["begin"].GetDouble(), 480.25);
    EXPECT_EQ(outage["end"].GetInt(), 543);
    EXPECT_EQ(outage["seconds"].GetDouble(), 62.75);
    EXPECT_EQ(document_["resets"][0]["at"].GetDouble(), 480.25);
}

TEST_F(HistoryJson, WithDatesATimeIsIso8601) {
    const Value& outage =
        Told(std::string(kStartLines) + kMuteLines + kDial + kLaterLines, "2026-12-31")["outages"][0];
    EXPECT_STREQ(outage["begin"].GetString(), "2026-12-31T03:20:07.250");
    EXPECT_STREQ(outage["end"].GetString(), "2026-12-31T03:21:10.000");
    EXPECT_EQ(outage["seconds"].GetDouble(), 62.75);
    const std::string head = "2026-11-22T03:12:07.5+01:00 board ravelin-mobile[1]: ";
    const Value& told = Told(head + "Soft reset!\n" + head + "kill udhcpc lte!!!\n");
    EXPECT_STREQ(told["resets"][0]["at"].GetString(), "2026-11-22T03:12:07.500+01:00");
}

TEST_F(HistoryJson, WhatTheLogDoesNotShowIsNull) {
    const Value* outage = &Told(std::string(kDial) + kLaterLines)["outages"][0];
    EXPECT_TRUE((*outage)["begin"].IsNull()) << "the log begins in it";
    EXPECT_FALSE((*outage)["end"].IsNull());
    outage = &Told(std::string(kStartLines) + kMuteLines)["outages"][0];
    EXPECT_FALSE((*outage)["begin"].IsNull());
    EXPECT_TRUE((*outage)["end"].IsNull()) << "it lasts";
    // A check that counts anew is one of a link that was up again in between.
    outage = &Told(std::string(kStartLines) + kMuteLines +
                   "03:39:00.0" TASK "Check connection. offline 1/10 times\n" + kLaterLines)["outages"][0];
    EXPECT_TRUE((*outage)["end"].IsNull()) << "nothing shows when it ended";
    const std::string head = " network_daemon/main_upgrade.cpp:thread_function_ota:42:[OTA] ";
    const Value& upgrade = Told("03:12:07.0" + head + "run ota task\n")["upgrades"][0];
    EXPECT_TRUE(upgrade["end"].IsNull());
    EXPECT_STREQ(upgrade["result"].GetString(), "unknown");
}

TEST_F(HistoryJson, TheSoftResetWithinAHardOneIsNotListed) {
    const Value& told = Told(std::string(kStartLines) + kMuteLines + kDial + kLaterLines);
    ASSERT_EQ(told["resets"].Size(), 1U);
    EXPECT_STREQ(told["resets"][0]["kind"].GetString(), "hard");
    EXPECT_STREQ(told["resets"][0]["reason"].GetString(), "modem-mute");
}

TEST_F(HistoryJson, BytesThatAreNoTextAreShown) {
    const std::string line =
        "03:12:09.0 network_daemon/main_fifo.cpp:thread_function_pipe:200:udhcpc nak \x7F\x01\xFF";
    std::ofstream(name_, std::ios::binary) << kStartLines << kDial << "03:30:00.0" << line.substr(10) << "\n";
    Reader reader;
    std::string problem;
    ASSERT_TRUE(reader.Open({name_}, {}, &problem));
    Historian historian;
    Line entry;
    while (reader.Next(&entry)) historian.Take(entry);
    const std::string json = HistoryAsJson(historian.Finish(), reader);
    EXPECT_EQ(json.find('\x7F'), std::string::npos);
    rapidjson::Document told;
    told.Parse(json.c_str());
    const std::string text = told["outages"][0]["evidence"][0]["text"].GetString();
    EXPECT_EQ(text.substr(text.find("udhcpc")), "udhcpc nak \x7F\x01\\xFF");
}

TEST_F(HistoryJson, AnyLinesInAnyOrderHaveTheForm) {
    constexpr int kLogs = 20;
    constexpr int kLines = 400;
    size_t rows = 0;
    const CatalogueRow* catalogue = Catalogue(&rows);
    std::mt19937 random(7);
    const auto below = [&random](size_t bound) { return random() % bound; };
    size_t unknown = 0;
    for (int log = 0; log < kLogs; ++log) {
        std::string text;
        int64_t at_ms = 0;
        for (int i = 0; i < kLines; ++i) {
            const CatalogueRow& row = catalogue[below(rows)];
            std::istringstream functions(row.functions);
            std::string function;
            functions >> function;
            std::string message;
            for (const char* c = row.text; *c != '\0'; ++c) {
                if (*c != '%') {
                    message += *c;
                } else if (*++c == 's') {
                    message += "-117";
                } else {
                    message += std::to_string(below(40));
                }
            }
            at_ms += static_cast<int64_t>(below(below(4) == 0 ? 200'000 : 9'000));
            char time[32];
            snprintf(time, sizeof time, "%02d:%02d:%02d.%d", static_cast<int>(at_ms / kHour_ms % 24),
                     static_cast<int>(at_ms / kMinute_ms % 60), static_cast<int>(at_ms / kSecond_ms % 60),
                     static_cast<int>(at_ms % kSecond_ms));
            text += std::string(time) + " network_daemon/x.cpp:" + function + ":1:" + message + "\n";
        }
        Told(text);
        if (HasFailure()) FAIL() << "log " << log;
        for (const Value& outage : document_["outages"].GetArray()) {
            unknown += std::string(outage["cause"].GetString()) == "unknown" ? 1 : 0;
        }
    }
    EXPECT_GT(unknown, 0U) << "the logs are wild enough";
}

}  // namespace
}  // namespace ravelin_log
