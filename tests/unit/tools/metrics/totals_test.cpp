// Counters between two runs: logs that grow, are rotated and come back, and a file that is torn or hostile.
#include "tools/metrics/totals.h"

#include <gtest/gtest.h>

namespace {

using namespace metrics;

constexpr char kSim[] = "outage sim";
constexpr char kSoft[] = "reset soft no-service";

int64_t SumOf(const Totals& totals, const char* name) {
    const Counts sum = totals.Sum();
    const auto found = sum.find(name);
    return found == sum.end() ? 0 : found->second;
}

/// As another run has it.
Totals Again(const Totals& totals) {
    const auto read = Totals::Parse(totals.Text());
    EXPECT_TRUE(read);
    return read ? *read : Totals(0);
}

TEST(Totals, ALogThatGrowsIsTheSame) {
    Totals totals(5);
    totals.Take("first\n", false, {{kSim, 1000}});
    totals = Again(totals);
    totals.Take("first\nsecond\n", false, {{kSim, 3000}});
    EXPECT_EQ(SumOf(totals, kSim), 3000);
    totals.Take("first\nsecond\n" + std::string(5000, 'x').substr(0, kFingerprint_bytes - 13), false,
                {{kSim, 4000}});
    EXPECT_EQ(SumOf(Again(totals), kSim), 4000);
    EXPECT_EQ(Again(totals).created_seconds(), 5);
}

TEST(Totals, ARotatedLogIsCountedOnce) {
    Totals totals(0);
    totals.Take("old\n", false, {{kSim, 2000}});
    totals = Again(totals);
    // The rest that was written before the rotation, and the new log.
    totals.Take("old\n", true, {{kSim, 3000}});
    totals.Take("new\n", false, {{kSim, 1000}, {kSoft, 1000}});
    EXPECT_EQ(SumOf(totals, kSim), 4000);
    totals = Again(totals);
    EXPECT_TRUE(totals.Find("old\n")->is_final);
    totals.Take("new\n", false, {{kSim, 1000}, {kSoft, 2000}});
    EXPECT_EQ(SumOf(totals, kSim), 4000) << "the old one is gone and counts";
    EXPECT_EQ(SumOf(totals, kSoft), 2000);
}

TEST(Totals, NothingGoesBack) {
    Totals totals(0);
    totals.Take("log\n", false, {{kSim, 2000}});
    totals.Take("log\n", false, {{kSim, 1000}, {"outage no-service", 1000}});
    EXPECT_EQ(SumOf(totals, kSim), 2000);
    EXPECT_EQ(SumOf(totals, "outage no-service"), 1000);
    // More logs than are kept: what they counted is kept.
    for (int i = 0; i < 100; ++i) {
        totals = Again(totals);
        totals.Take("log of day " + std::to_string(i) + "\n", false, {{kSim, 1000}});
        EXPECT_EQ(SumOf(totals, kSim), 2000 + 1000 * (i + 1));
    }
    EXPECT_LT(totals.Text().size(), 64 * 1024U);
}

TEST(Totals, AnEmptyLogIsNone) {
    Totals totals(0);
    totals.Take("", false, {{kSim, 1000}});
    EXPECT_EQ(SumOf(totals, kSim), 0);
    EXPECT_EQ(totals.Find(""), nullptr);
}

TEST(Totals, EveryTornFileIsRefused) {
    Totals totals(7);
    totals.set_model("EG25");
    totals.Take("log\n", true, {{kSim, 2000}});
    const std::string text = totals.Text();
    EXPECT_EQ(Again(totals).Text(), text);
    EXPECT_EQ(Again(totals).model(), "EG25");
    for (size_t size = 0; size < text.size(); ++size) {
        EXPECT_FALSE(Totals::Parse(text.substr(0, size))) << "cut after " << size;
        std::string changed = text;
        changed[size] ^= 1;
        EXPECT_FALSE(Totals::Parse(changed)) << "changed at " << size;
    }
    EXPECT_FALSE(Totals::Parse(text + text));
}

/// A text with the seal that belongs to it.
std::string Sealed(const std::string& text) {
    return text + "end " + std::to_string(FingerprintOf(text, text.size()).hash) + "\n";
}

TEST(Totals, AHostileFileIsRefused) {
    const std::string head = "ravelinctl metrics 1\ncreated 1\n";
    EXPECT_TRUE(Totals::Parse(Sealed(head + "count 1000 outage sim\n")));
    const char* const rows[] = {"count 1000 outage mine\n",
                                "count -1 outage sim\n",
                                "count 1e9 outage sim\n",
                                "count nan outage sim\n",
                                "count 99999999999999999999 outage sim\n",
                                "count 9000000000000000 outage sim\n",
                                "created x\n",
                                "created -1\n",
                                "log 5000 1 0\n",
                                "log 1\n",
                                "log 1 1 7\n",
                                "word\n",
                                "\n"};
    for (const char* row : rows) EXPECT_FALSE(Totals::Parse(Sealed(head + row))) << row;
    std::string logs;
    for (int i = 0; i < 17; ++i) logs += "log 1 " + std::to_string(i) + " 0\n";
    EXPECT_FALSE(Totals::Parse(Sealed(head + logs)));
    EXPECT_FALSE(Totals::Parse(Sealed("ravelinctl metrics 2\ncreated 1\n")));
}

}  // namespace
