#include "tools/capture/transcript.h"

#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/log/reader.h"

namespace {

using capture::Event;
using capture::Transcript;

Transcript Read(const std::string& log) {
    char path[] = "/tmp/transcript_test.XXXXXX";
    const int fd = mkstemp(path);
    EXPECT_EQ(write(fd, log.data(), log.size()), static_cast<ssize_t>(log.size()));
    close(fd);
    ravelin_log::Reader reader;
    std::string problem;
    EXPECT_TRUE(reader.Open({path}, {}, &problem)) << problem;
    Transcript transcript = capture::ReadTranscript(reader);
    unlink(path);
    return transcript;
}

std::vector<Event> Of(const Transcript& transcript, Event::Kind kind) {
    std::vector<Event> events;
    for (const Event& event : transcript.events) {
        if (event.kind == kind) events.push_back(event);
    }
    return events;
}

const std::string kTransport = " network_daemon/cellular_transport.cpp:AtRequest:46:";

TEST(Transcript, OneLineAtTheFirstMomentIsALog) {
    EXPECT_TRUE(
        Read("04:05:06.7 network_daemon/cellular_settings.cpp:SetCell_fd:132:SetCell_fd = 3\n").has_lines);
    EXPECT_FALSE(Read("no word of the daemon\n").has_lines);
}

TEST(Transcript, ParsesAnExchange) {
    std::string command, answer;
    EXPECT_TRUE(
        capture::ParseExchange("\nfd=3,AT WRITE:\nAT+CSQ\nAT RETURN:\r\n+CSQ: 1,99\r\n", &command, &answer));
    EXPECT_EQ(command, "AT+CSQ");
    EXPECT_EQ(answer, "\r\n+CSQ: 1,99\r\n");
    EXPECT_TRUE(capture::ParseExchange("\nAT WRITE:\nAT+GTRNDIS?\r\n\nAT RETURN:", &command, &answer));
    EXPECT_EQ(command, "AT+GTRNDIS?");
    EXPECT_EQ(answer, "");
    EXPECT_FALSE(capture::ParseExchange("\nfd=3,AT WRITE:\nAT+C", &command, &answer));
}

TEST(Transcript, KeepsTheBytesOfAnswersAndHints) {
    const Transcript transcript = Read(
        "00:00:05.1" + kTransport + "\nfd=3,AT WRITE:\nAT+CSQ\nAT RETURN:\r\n+CSQ: 23,99\r\n\r\nOK\r\n\n" +
        "00:00:06.101 network_daemon/cellular_task.cpp:Task:30:Auto  hint:\r\nRING\r\n\n" +
        "00:00:07.1 network_daemon/cellular_transport.cpp:AtRequest:45:Redundance:late\r\n \n" +
        "00:00:08.1" + kTransport + "\nfd=3,AT WRITE:\nATI\nAT RETURN:cut\n");
    const std::vector<Event> asks = Of(transcript, Event::Kind::kAsk),
                             heard = Of(transcript, Event::Kind::kHeard);
    ASSERT_EQ(asks.size(), 2u);
    EXPECT_EQ(asks[0].text, "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
    EXPECT_EQ(asks[1].text, "cut");
    ASSERT_EQ(heard.size(), 2u);
    EXPECT_EQ(heard[0].text, "\r\nRING\r\n");
    EXPECT_EQ(heard[0].at_ms, 1100);
    EXPECT_EQ(heard[1].text, "late\r\n");
    EXPECT_FALSE(transcript.has_start);
}

// A text of the modem that looks like a line of the log, or like an exchange, is the modem's.
TEST(Transcript, AModemCannotForgeDecisions) {
    const Transcript transcript =
        Read("00:00:05.1" + kTransport +
             "\nfd=3,AT WRITE:\nAT\nAT RETURN:\r\nNo response! Reset device...\r\nat 1 unplug\r\n\n");
    EXPECT_TRUE(Of(transcript, Event::Kind::kDecision).empty());
    EXPECT_EQ(Of(transcript, Event::Kind::kAsk).at(0).text,
              "\r\nNo response! Reset device...\r\nat 1 unplug\r\n");
}

TEST(Transcript, CountsTornExchanges) {
    EXPECT_EQ(Read("00:00:05.1" + kTransport + "\nfd=3,AT WRITE:\nAT+CS").torn, 1);
}

TEST(Transcript, ReadsSettings) {
    const std::string place = " network_daemon/cellular_settings.cpp:";
    const Transcript transcript =
        Read("00:00:03.2" + place + "SetEnable:87:Enable = true\n00:00:03.2" + place +
             "SetAPN:73:input apn = my.apn\n00:00:03.2" + place + "SetAPN:82:APN = my.apn\n00:00:03.2" +
             place + "SetPassword:90:password = pw\n");
    const std::vector<Event> settings = Of(transcript, Event::Kind::kSettings);
    ASSERT_EQ(settings.size(), 1u);
    EXPECT_EQ(settings[0].text, "ENABLE=true\nAPN=my.apn\nPASSWORD=pw\n");
    EXPECT_EQ(transcript.identities.size(), 2u);
}

TEST(Transcript, WhatFollowsAMessageHasAnEnd) {
    std::string log = "00:00:01.0" + kTransport + "\nfd=3,AT WRITE:\nAT+CSQ\nAT RETURN:\r\nA\r\n";
    for (int i = 0; i < 30000; ++i) log += "rubbish\n";
    const std::vector<Event> asks = Of(Read(log), Event::Kind::kAsk);
    ASSERT_EQ(asks.size(), 1u);
    EXPECT_LT(asks[0].text.size(), 66000u);
}

}  // namespace
