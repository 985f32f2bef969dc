// The bytes of probes, and what counts as an answer.
#include "tools/guard/packet.h"

#include <arpa/inet.h>

#include <gtest/gtest.h>

namespace {

using guard::JudgeDns;
using guard::ProbeVerdict;

const std::string kQuestion = guard::DnsQuestion(0x1234, "a.example");

std::string Record(const std::string& address) {
    in_addr bytes = {};
    EXPECT_EQ(inet_pton(AF_INET, address.c_str(), &bytes), 1);
    return std::string("\xC0\x0C\0\1\0\1\0\0\0\x3C\0\4", 12) +
           std::string(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

std::string Answer(const std::vector<std::string>& addresses, char error = 0) {
    std::string bytes = kQuestion;
    bytes[2] = '\x81';
    bytes[3] = static_cast<char>('\x80' | error);
    bytes[7] = static_cast<char>(addresses.size());
    for (const std::string& address : addresses) bytes += Record(address);
    return bytes;
}

uint32_t Number(const char* address) {
    return inet_addr(address);
}

TEST(Packet, ADnsQuestionIsAsTheStandardHasIt) {
    EXPECT_EQ(kQuestion, std::string("\x12\x34\1\0\0\1\0\0\0\0\0\0\1a\7example\0\0\1\0\1", 27));
}

TEST(Packet, NamesOfDns) {
    EXPECT_TRUE(guard::IsDnsName("a.example"));
    EXPECT_TRUE(guard::IsDnsName(std::string(63, 'a')));
    for (const std::string& bad :
         {std::string(), std::string("."), std::string("a..b"), std::string(".a"), std::string("a."),
          std::string("a b"), std::string("a\n"), std::string(64, 'a'), std::string("a\0b", 3)}) {
        EXPECT_FALSE(guard::IsDnsName(bad)) << bad;
    }
}

TEST(Packet, WhatADnsAnswerSays) {
    const struct {
        std::vector<std::string> addresses;
        char error;
        const char* expected;
        ProbeVerdict verdict;
    } kCases[] = {
        {{"8.1.2.3"}, 0, nullptr, ProbeVerdict::kAnswered},
        {{"10.0.0.1"}, 0, nullptr, ProbeVerdict::kCaptive},
        {{"172.31.255.255"}, 0, nullptr, ProbeVerdict::kCaptive},
        {{"172.32.0.0"}, 0, nullptr, ProbeVerdict::kAnswered},
        {{"192.168.1.1"}, 0, nullptr, ProbeVerdict::kCaptive},
        {{"100.64.0.1"}, 0, nullptr, ProbeVerdict::kCaptive},
        {{"100.128.0.1"}, 0, nullptr, ProbeVerdict::kAnswered},
        {{"169.254.1.1"}, 0, nullptr, ProbeVerdict::kCaptive},
        {{"127.0.0.1"}, 0, nullptr, ProbeVerdict::kCaptive},
        {{"0.0.0.0"}, 0, nullptr, ProbeVerdict::kCaptive},
        {{"10.0.0.1", "8.1.2.3"}, 0, nullptr, ProbeVerdict::kAnswered},
        {{}, 0, nullptr, ProbeVerdict::kAnswered},
        {{}, 3, nullptr, ProbeVerdict::kAnswered},  // no such name
        {{}, 2, "8.1.2.3", ProbeVerdict::kAnswered},
        {{"8.1.2.3"}, 0, "8.1.2.3", ProbeVerdict::kAnswered},
        {{"10.0.0.1"}, 0, "10.0.0.1", ProbeVerdict::kAnswered},
        {{"8.1.2.4"}, 0, "8.1.2.3", ProbeVerdict::kCaptive},
        {{}, 0, "8.1.2.3", ProbeVerdict::kCaptive},
    };
    for (const auto& tried : kCases) {
        const uint32_t expected = tried.expected == nullptr ? 0 : Number(tried.expected);
        EXPECT_EQ(JudgeDns(Answer(tried.addresses, tried.error), kQuestion, expected), tried.verdict)
            << (tried.addresses.empty() ? "" : tried.addresses[0]);
    }
}

TEST(Packet, WhatIsNoAnswerToTheQuestion) {
    std::string other_number = Answer({"8.1.2.3"});
    other_number[0] = 'x';
    std::string other_name = Answer({"8.1.2.3"});
    other_name[13] = 'b';
    std::string no_answer = Answer({"8.1.2.3"});
    no_answer[2] = 1;
    for (const std::string& bytes : {other_number, other_name, no_answer, kQuestion, std::string()}) {
        EXPECT_EQ(JudgeDns(bytes, kQuestion, 0), ProbeVerdict::kSilent);
    }
    EXPECT_EQ(JudgeDns(kQuestion.substr(0, 12), kQuestion, 0), ProbeVerdict::kSilent);
}

TEST(Packet, AnAnswerThatWasCutToFitIsOne) {
    std::string cut = Answer({"8.1.2.4"});
    cut[2] = '\x83';
    EXPECT_EQ(JudgeDns(cut, kQuestion, Number("8.1.2.3")), ProbeVerdict::kAnswered);
    EXPECT_EQ(JudgeDns(cut.substr(0, kQuestion.size()), kQuestion, Number("8.1.2.3")),
              ProbeVerdict::kAnswered);
}

// A pointer is never followed, so that one to itself, or two to each other, lead nowhere.
TEST(Packet, NamesThatPointInACircleEnd) {
    const char at = static_cast<char>(kQuestion.size());
    std::string own = Answer({"10.0.0.1", "8.1.2.3"});
    own[kQuestion.size() + 1] = at;
    EXPECT_EQ(JudgeDns(own, kQuestion, 0), ProbeVerdict::kAnswered);
    own[kQuestion.size() + 17] = static_cast<char>(at + 16);
    EXPECT_EQ(JudgeDns(own, kQuestion, 0), ProbeVerdict::kAnswered) << "the second one too";
    // More records than there are.
    std::string more = Answer({"10.0.0.1"});
    more[6] = more[7] = '\xFF';
    EXPECT_EQ(JudgeDns(more, kQuestion, 0), ProbeVerdict::kCaptive);
}

// Cut or changed anywhere, it is read within its bounds: the sanitizers look on.
TEST(Packet, HostileAnswersAreReadWithinTheirBounds) {
    const std::string whole = Answer({"10.0.0.1", "8.1.2.3"});
    for (size_t length = 0; length < whole.size(); ++length) {
        const ProbeVerdict verdict = JudgeDns(whole.substr(0, length), kQuestion, 0);
        EXPECT_EQ(verdict == ProbeVerdict::kSilent, length < kQuestion.size()) << length;
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const char byte : {'\0', '\x3F', '\x40', '\x7F', '\x80', '\xC0', '\xFF'}) {
            std::string bytes = whole;
            bytes[at] = byte;
            JudgeDns(bytes, kQuestion, 0);
            guard::IsEchoReply(bytes, true, 1, 2);
        }
    }
}

TEST(Packet, AnEchoRequestAddsUpToZero) {
    for (const uint16_t id : {0, 1, 0xFFFF, 0xF7FF}) {
        const std::string bytes = guard::EchoRequest(id, 0xFFFE);
        ASSERT_EQ(bytes.size(), 8U);
        uint32_t sum = 0;
        for (size_t i = 0; i < bytes.size(); i += 2) {
            sum += static_cast<uint32_t>(static_cast<uint8_t>(bytes[i]) << 8 |
                                         static_cast<uint8_t>(bytes[i + 1]));
        }
        while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
        EXPECT_EQ(sum, 0xFFFFU) << id;
    }
}

TEST(Packet, EchoReplies) {
    std::string reply = guard::EchoRequest(7, 9);
    EXPECT_FALSE(guard::IsEchoReply(reply, false, 7, 9)) << "the request itself";
    reply[0] = 0;
    EXPECT_TRUE(guard::IsEchoReply(reply, false, 7, 9));
    EXPECT_TRUE(guard::IsEchoReply(reply, false, 8, 9)) << "the kernel chose the id";
    EXPECT_FALSE(guard::IsEchoReply(reply, false, 7, 10));
    std::string raw(20, '\0');
    raw[0] = 0x45;
    raw += reply;
    EXPECT_TRUE(guard::IsEchoReply(raw, true, 7, 9));
    EXPECT_FALSE(guard::IsEchoReply(raw, true, 8, 9)) << "of another program";
    for (size_t length = 0; length < raw.size(); ++length) {
        EXPECT_FALSE(guard::IsEchoReply(raw.substr(0, length), true, 7, 9));
    }
}

}  // namespace
