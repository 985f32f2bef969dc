// What the guard keeps over its own end and a boot.
#include "tools/guard/ledger.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {

using guard::Ledger;
using guard::ParseLedger;
using guard::PrintLedger;
using guard::Stage;

Ledger ExampleLedger() {
    Ledger ledger;
    ledger.hard = {1000, 2000, 4000};
    ledger.stage = Stage::kHardAsked;
    ledger.asked_at = 4000;
    ledger.pauses = 2;
    ledger.pause_end = 7600;
    ledger.proven = 5;
    ledger.proven_of = 4000000000;
    ledger.soft_total = 5;
    ledger.hard_total = 3;
    return ledger;
}

TEST(Ledger, IsReadAsItWasWritten) {
    const std::optional<Ledger> read = ParseLedger(PrintLedger(ExampleLedger(), "boot", 5000), "boot", 5600);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->hard, ExampleLedger().hard);
    EXPECT_EQ(read->stage, Stage::kHardAsked);
    EXPECT_EQ(read->asked_at, 4000);
    EXPECT_EQ(read->pauses, 2);
    EXPECT_EQ(read->pause_end, 7600);
    EXPECT_EQ(read->proven, 5);
    EXPECT_EQ(read->proven_of, 4000000000);
    EXPECT_EQ(read->soft_total, 5);
    EXPECT_EQ(read->hard_total, 3);
}

TEST(Ledger, ABootTakesNoTime) {
    const std::optional<Ledger> read = ParseLedger(PrintLedger(ExampleLedger(), "boot", 5000), "other", 10);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->hard, (std::vector<int64_t>{-3990, -2990, -990}));
    EXPECT_EQ(read->asked_at, -990);
    EXPECT_EQ(read->pause_end, 2610);
    EXPECT_EQ(read->HardSince(10 - guard::kHour_seconds), 2);
}

TEST(Ledger, AMomentThatIsYetToComeIsOfAnotherBoot) {
    const std::optional<Ledger> read = ParseLedger(PrintLedger(ExampleLedger(), "boot", 5000), "boot", 4500);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->hard, (std::vector<int64_t>{500, 1500, 3500}));
}

TEST(Ledger, ABootWithoutANameIsAnother) {
    const std::optional<Ledger> read = ParseLedger(PrintLedger(ExampleLedger(), "", 5000), "", 5600);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->hard, (std::vector<int64_t>{1600, 2600, 4600})) << "as if it were saved just now";
}

TEST(Ledger, ForgetsAfterADay) {
    const std::optional<Ledger> read =
        ParseLedger(PrintLedger(ExampleLedger(), "boot", 5000), "boot", 2000 + guard::kDay_seconds);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->hard, (std::vector<int64_t>{4000}));
}

TEST(Ledger, NoPartOfATextIsTaken) {
    const std::string whole = PrintLedger(ExampleLedger(), "boot", 5000);
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(ParseLedger(whole.substr(0, length), "boot", 5000)) << length;
    }
    EXPECT_TRUE(ParseLedger(whole, "boot", 5000));
    EXPECT_FALSE(ParseLedger(whole + "\n", "boot", 5000));
}

struct BadLine {
    const char* line;
    const char* with;
};

TEST(Ledger, NothingThatCantBeIsTaken) {
    const std::string whole = PrintLedger(ExampleLedger(), "boot", 5000);
    for (const BadLine& bad :
         {BadLine{"STAGE=2", "STAGE=3"}, BadLine{"PAUSES=2", "PAUSES=-2"}, BadLine{"HARD=3", "HARD=25"},
          BadLine{"HARD=3", "HARD=2"}, BadLine{"PAUSE_LEFT=2600", "PAUSE_LEFT=9999999999999999999"},
          BadLine{"HARD_AGO=4000", "HARD_AGO=4e3"}, BadLine{"SAVED", "saved"}}) {
        std::string text = whole;
        const size_t at = text.find(bad.line);
        ASSERT_NE(at, std::string::npos) << bad.line;
        text.replace(at, strlen(bad.line), bad.with);
        EXPECT_FALSE(ParseLedger(text, "boot", 5000)) << bad.with;
    }
}

TEST(Ledger, ASpentOneHasNoResetLeft) {
    EXPECT_EQ(guard::SpentLedger(100).HardSince(99), guard::kMostPerDay);
}

}  // namespace
