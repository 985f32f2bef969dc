// What a supervised run leaves for the next start: the journal itself, and a modem that is brought back by
// it.
#include "simulator/virtual_time/journal.h"

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/virtual_time/modem_port.h"
#include "simulator/virtual_time/scheduler.h"

using virtual_time::Journal;
using virtual_time::JournalEntry;
using virtual_time::kMicrosecondsPerMillisecond;
using virtual_time::ModemPort;

namespace {

class JournalTest : public testing::Test {
  protected:
    JournalTest() {
        char folder[] = "/tmp/journal-test-XXXXXX";
        test_folder = mkdtemp(folder);
        path = test_folder + "/journal";
    }
    ~JournalTest() override { std::filesystem::remove_all(test_folder); }

    std::string test_folder, path;
};

std::vector<std::string> Texts(const Journal& journal) {
    std::vector<std::string> texts;
    journal.ForEach([&texts](const JournalEntry& entry) {
        texts.push_back(std::to_string(static_cast<int>(entry.kind)) + " " + std::to_string(entry.at_us) +
                        " " + std::to_string(entry.number) + " " + std::string(entry.bytes));
    });
    return texts;
}

TEST_F(JournalTest, KeepsWhatWasNotedForWhoeverOpensItNext) {
    const std::string bytes("a\0b\r\n", 5);
    {
        Journal journal(path);
        EXPECT_EQ(0, journal.reached_us());
        EXPECT_TRUE(Texts(journal).empty());
        EXPECT_TRUE(journal.Note(JournalEntry::Kind::kWritten, 5, 0, bytes));
        EXPECT_TRUE(journal.Note(JournalEntry::Kind::kMark, 7, 3));
        journal.Reach(9);
        journal.Reach(8);
    }
    Journal journal(path);
    EXPECT_EQ(9, journal.reached_us());
    EXPECT_TRUE(journal.Note(JournalEntry::Kind::kKnob, 12, 0, "csq 3"));
    EXPECT_EQ(12, journal.reached_us());
    EXPECT_EQ((std::vector<std::string>{"0 5 0 " + bytes, "5 7 3 ", "3 12 0 csq 3"}), Texts(journal));
}

TEST_F(JournalTest, AnEntryWithoutRoomIsRefused) {
    Journal journal(path, 1000);
    const std::string bytes(100, 'x');
    size_t fitting = 0;
    while (fitting < 100 && journal.Note(JournalEntry::Kind::kWritten, 1, 0, bytes)) ++fitting;
    EXPECT_GT(fitting, 5u);
    EXPECT_LT(fitting, 10u);
    EXPECT_EQ(fitting, Texts(journal).size());
}

// A port with a modem behind it that a random host and scenario do things to.
class Story {
  public:
    Story(ModemPort& port, unsigned seed, int64_t now_us = 0) : port_(port), random_(seed), now_us_(now_us) {}

    /// What the host heard.
    std::string Go(int steps) {
        std::string heard;
        for (int i = 0; i < steps; ++i) heard += Step();
        return heard;
    }

    int64_t now_us() const { return now_us_; }

  private:
    std::string Step() {
        static const char* const commands[] = {"AT+CSQ\r\n",          "AT+CREG?\r\n", "AT+CFUN=0\r\n",
                                               "AT+CFUN=1\r\n",       "AT+CPIN?\r\n", "ATE0\r\n",
                                               "AT$QCRMCALL=1,1\r\n", "AT+QNWINFO\r"};
        static const char* const knobs[] = {"csq 7",
                                            "link down",
                                            "garbage 9",
                                            "pieces 3 gap 50",
                                            "unplug",
                                            "plug /dev/ttyUSB4",
                                            "plug",
                                            "reset",
                                            "delay 300",
                                            "sim absent",
                                            "sim ready-after 2",
                                            "flood on 500",
                                            "flood off",
                                            "power off",
                                            "power on",
                                            "select 2",
                                            "mute until-reset",
                                            "urc +HELLO",
                                            "registration 2",
                                            "registration 1"};
        now_us_ += Pick(3) == 0 ? Pick(7000) * kMicrosecondsPerMillisecond : Pick(5000);
        port_.Advance(now_us_);
        switch (Pick(6)) {
            case 0:
            case 1:
                port_.Write(commands[Pick(std::size(commands))], now_us_);
                return "";
            case 2:
                port_.Turn(knobs[Pick(std::size(knobs))], nullptr, now_us_);
                return "";
            case 3:
                return port_.Readable(now_us_) ? "r" : "";
            default:
                return port_.Read(1 + Pick(30), now_us_);
        }
    }

    size_t Pick(size_t count) { return random_() % count; }

    ModemPort& port_;
    std::minstd_rand random_;
    int64_t now_us_;
};

void KeepJournal(ModemPort* port, Journal* journal) {
    port->on_call = [journal](JournalEntry::Kind kind, int64_t at_us, int64_t number,
                              std::string_view bytes) {
        ASSERT_TRUE(journal->Note(kind, at_us, number, bytes));
    };
}

TEST_F(JournalTest, BringsTheModemBackToWhereItWas) {
    const modem_sim::ModemOptions options;
    size_t heard_bytes = 0;
    for (unsigned seed = 1; seed <= 100; ++seed) {
        Journal journal(path + std::to_string(seed));
        ModemPort first(options), second(options);
        KeepJournal(&first, &journal);
        Story story(first, seed);
        story.Go(200);

        journal.ForEach([&second](const JournalEntry& entry) { second.Repeat(entry); });
        first.Advance(story.now_us());
        second.Advance(story.now_us());
        ASSERT_EQ(first.modem().Status(), second.modem().Status()) << "seed " << seed;
        ASSERT_EQ(first.NextEventUs(), second.NextEventUs()) << "seed " << seed;
        ASSERT_EQ(first.OtherPath(), second.OtherPath());
        ASSERT_EQ(first.Generation(), second.Generation());

        first.on_call = nullptr;
        Story first_rest(first, seed + 1000, story.now_us()),
            second_rest(second, seed + 1000, story.now_us());
        const std::string heard = first_rest.Go(200);
        ASSERT_EQ(heard, second_rest.Go(200)) << "seed " << seed;
        heard_bytes += heard.size();
        std::filesystem::remove(path + std::to_string(seed));
    }
    EXPECT_GT(heard_bytes, 30000u);
}

TEST_F(JournalTest, ThePortIsSeenToGoOnce) {
    Journal journal(path);
    const modem_sim::ModemOptions options;
    ModemPort first(options), second(options);
    KeepJournal(&first, &journal);
    first.Turn("reset", nullptr, 1000000);  // gone now, back after three seconds
    journal.ForEach([&second](const JournalEntry& entry) { second.Repeat(entry); });
    std::string seen;
    second.on_presence = [&seen](bool present) { seen += present ? "back " : "gone "; };
    second.Advance(1000000);
    EXPECT_EQ("", seen);
    second.Advance(9000000);
    EXPECT_EQ("back ", seen);
}

}  // namespace
