// Stories by seed: the same text on every machine, in the language of scenarios, with nothing but known
// faults.
#include "simulator/soak/generator.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "simulator/modem/modem_model.h"
#include "simulator/soak/faults.h"
#include "simulator/soak/timing.h"
#include "simulator/soak/truth.h"

namespace {

using soak::Fault;
using soak::FaultKind;
using soak::FaultKinds;
using soak::GenerateScenario;
using soak::Healthy;
using soak::Truth;

/// FNV-1a, which is short enough to stand here.
uint64_t HashOf(const std::string& text) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

Truth TruthOf(const std::string& text) {
    Truth truth;
    std::string problem;
    EXPECT_TRUE(soak::ReadTruth("x", text, &truth, &problem)) << problem;
    return truth;
}

// When the generator changes on purpose, so do these.
TEST(SoakGenerator, SeedsGiveTheSameTextEverywhere) {
    EXPECT_EQ(9516635083837748757ULL, HashOf(GenerateScenario(1, {})));
    EXPECT_EQ(13343848381166826683ULL, HashOf(GenerateScenario(2, {})));
    EXPECT_EQ(8803105442224699434ULL, HashOf(GenerateScenario(77777, {3, "zte"})));
}

TEST(SoakGenerator, StoriesCanBeRead) {
    for (uint64_t seed = 1; seed <= 100; ++seed) {
        const Truth truth = TruthOf(GenerateScenario(seed, {}));
        EXPECT_EQ(86400 * 1000, truth.until_ms);
        EXPECT_FALSE(truth.faults.empty()) << "seed " << seed;
        for (const Fault& fault : truth.faults)
            EXPECT_NE(nullptr, soak::FindFaultKind(fault.name)) << fault.name;
    }
}

TEST(SoakGenerator, HealthLastsLongEnoughToBeJudged) {
    for (uint64_t seed = 1; seed <= 100; ++seed) {
        const Truth truth = TruthOf(GenerateScenario(seed, {}));
        int judged = 0;
        for (const Healthy& healthy : truth.healthy) {
            // Within an episode a fault may begin after the one before it has ended.
            if (healthy.to_ms - healthy.from_ms > truth.recovery_ms) ++judged;
        }
        EXPECT_GT(judged, 0) << "seed " << seed;
        EXPECT_GT(truth.healthy.back().to_ms - truth.healthy.back().from_ms, truth.recovery_ms)
            << "seed " << seed;
    }
}

// Silent at the question for the USB mode and awake at the order to restart, it would go round for ever.
TEST(SoakGenerator, NoFibocomModuleWakesBetweenQuestionAndOrder) {
    for (const char* family : {"fibocom", "fibocom_le"}) {
        for (uint64_t seed = 1; seed <= 300; ++seed) {
            const Truth truth = TruthOf(GenerateScenario(seed, {1, family}));
            const int64_t question_ms =
                truth.board.script_ms + (family == std::string("fibocom") ? 11000 : 6000);
            const int64_t silent_ms = truth.modem.boot_ms - question_ms;
            EXPECT_TRUE(silent_ms <= -500 || silent_ms >= 2500) << family << ", seed " << seed;
        }
    }
}

TEST(SoakGenerator, DaysAndFamilyAreThoseAskedFor) {
    for (const std::string& family : modem_sim::Modem::Families()) {
        const Truth truth = TruthOf(GenerateScenario(5, {2, family}));
        EXPECT_EQ(family, truth.scenario.modem_family);
        EXPECT_EQ(2 * 86400 * 1000, truth.until_ms);
    }
}

TEST(SoakGenerator, SignalFileIsReadWhereThereIsOne) {
    const auto shows = [](const std::string& file, uint64_t seed, const std::string& family) {
        const std::string text = GenerateScenario(seed, {1, family});
        return text.find(" show /run/network/" + file + "\n") != std::string::npos;
    };
    EXPECT_TRUE(shows("signal_status", 1, "quectel_qcom"));
    EXPECT_TRUE(shows("signal_status", 1, "quectel_unisoc"));
    EXPECT_FALSE(shows("signal_status", 1, "quectel_asr"));
    for (uint64_t seed = 1; seed <= 20; ++seed) {
        const Truth truth = TruthOf(GenerateScenario(seed, {1, "zte"}));
        EXPECT_EQ(truth.scenario.modem_model == "ME3630", shows("3630_status", seed, "zte")) << seed;
    }
}

TEST(SoakGenerator, SwarmLeavesOutKindsWhole) {
    size_t least = FaultKinds().size(), most = 0;
    for (uint64_t seed = 1; seed <= 60; ++seed) {
        std::set<std::string> names;
        for (const Fault& fault : TruthOf(GenerateScenario(seed, {5, ""})).faults) names.insert(fault.name);
        least = std::min(least, names.size());
        most = std::max(most, names.size());
    }
    EXPECT_LT(least, FaultKinds().size() / 4);
    EXPECT_GT(most, FaultKinds().size() / 2);
}

TEST(SoakFaults, EachKindIsDrawnSomeTime) {
    std::set<std::string> names;
    for (uint64_t seed = 1; seed <= 100; ++seed) {
        for (const Fault& fault : TruthOf(GenerateScenario(seed, {2, ""})).faults) names.insert(fault.name);
    }
    for (const FaultKind& kind : FaultKinds()) EXPECT_EQ(1U, names.count(kind.name)) << kind.name;
}

TEST(SoakFaults, TableIsSound) {
    std::set<std::string> names;
    for (const FaultKind& kind : FaultKinds()) {
        EXPECT_TRUE(names.insert(kind.name).second) << kind.name << " stands there twice";
        EXPECT_EQ(std::string::npos, std::string(kind.name).find_first_not_of("abcdefghijklmnopqrstuvwxyz_"))
            << kind.name;
        EXPECT_GT(kind.share, 0) << kind.name;
        EXPECT_LE(kind.least_seconds, kind.most_seconds) << kind.name;
        EXPECT_NE(nullptr, kind.write) << kind.name;
        EXPECT_FALSE(std::string(kind.what).empty()) << kind.name;
    }
}

/// What a kind writes can be read, and lies in its time.
TEST(SoakFaults, StatementsLieInTheirTime) {
    soak::Setup setup;
    setup.family = "quectel_qcom";
    setup.model = "EG21";
    setup.board.has_two_sims = setup.board.has_project = setup.can_upgrade = true;
    setup.settings = {{"ENABLE", "true"}, {"APN", "internet"}};
    constexpr int64_t kFrom_ms = 1000000;
    for (const FaultKind& kind : FaultKinds()) {
        for (uint64_t seed = 1; seed <= 20; ++seed) {
            soak::Random random(seed);
            soak::Story story(setup);
            const int64_t to_ms =
                kFrom_ms + random.Skewed(kind.least_seconds * 1000, kind.most_seconds * 1000);
            const int64_t over_ms = kind.write(story, random, kFrom_ms, to_ms);
            EXPECT_GE(over_ms, kind.most_seconds == 0 ? kFrom_ms : to_ms) << kind.name;
            const std::string text = story.Take();
            EXPECT_FALSE(text.empty()) << kind.name;
            const Truth truth = TruthOf("modem quectel_qcom EG21\nuntil 90000\nnever broken <any>\n" + text);
            for (const auto& event : truth.scenario.events) {
                EXPECT_GE(event.at_us / 1000, kFrom_ms) << kind.name << "\n" << text;
                // An instant may take a few seconds by itself.
                EXPECT_LE(event.at_us / 1000, over_ms + 4000) << kind.name << "\n" << text;
            }
        }
    }
}

TEST(SoakTiming, EachFamilyHasItsTimes) {
    for (const std::string& family : modem_sim::Modem::Families()) {
        const soak::FamilyTiming* timing = soak::TimingOf(family);
        ASSERT_NE(nullptr, timing) << family;
        EXPECT_GT(soak::RecoveryBoundSeconds(*timing, {}, {}), 34 * 8) << family;
        EXPECT_LT(soak::RecoveryBoundSeconds(*timing, {}, {}), 20 * 60) << family;
        EXPECT_LT(soak::LongestPassSeconds(*timing, {true, true, 0, 0}), soak::LongestStepSeconds(*timing))
            << family;
    }
    EXPECT_EQ(nullptr, soak::TimingOf("none"));
}

TEST(SoakTruth, FaultsAndWhatIsLeftBetweenThem) {
    const Truth truth = TruthOf(
        "modem zte\n"
        "# fault mute from 100 to 150.5\n"
        "# another remark\n"
        "# fault late from 140 to 160\n"
        "# fault link_cut from 300 to 300\n"
        "settings\n    APN=a\n"
        "at 200 settings\n    APN=b\n"
        "at 250 remove /run/network\n"
        "until 400\nnever broken <any>\n");
    ASSERT_EQ(3U, truth.faults.size());
    EXPECT_EQ("mute", truth.faults[0].name);
    EXPECT_EQ(150500, truth.faults[0].to_ms);
    ASSERT_EQ(3U, truth.healthy.size());
    EXPECT_EQ(0, truth.healthy[0].from_ms);
    EXPECT_EQ(100000, truth.healthy[0].to_ms);
    EXPECT_EQ(160000, truth.healthy[1].from_ms);
    EXPECT_EQ(300000, truth.healthy[2].from_ms);
    EXPECT_EQ(400000, truth.healthy[2].to_ms);
    EXPECT_EQ(2, truth.FaultsWithin(145000, 150000));
    EXPECT_TRUE(truth.HasFaultWithin("late", 155000, 500000));
    EXPECT_FALSE(truth.HasFaultWithin("mute", 155000, 500000));
    ASSERT_EQ(3U, truth.settings.size());
    EXPECT_EQ("b", truth.settings[1].values.at("APN"));
    EXPECT_FALSE(truth.settings[2].is_there);
}

TEST(SoakTruth, TwoSimsSettleOnlyWhereTheTechnologyIsTold) {
    const std::string two_sims = "until 100\nnever broken <any>\nsettings\n    DoubleSIM=1\n";
    EXPECT_TRUE(TruthOf("modem zte\n" + two_sims).may_settle);
    EXPECT_FALSE(TruthOf("modem huawei\n" + two_sims).may_settle);
    EXPECT_FALSE(TruthOf("modem chuangyi\n" + two_sims).may_settle);
    EXPECT_TRUE(TruthOf("modem huawei\nuntil 100\nnever broken <any>\n").may_settle);
}

TEST(SoakTruth, BadCommentIsRefused) {
    Truth truth;
    std::string problem;
    EXPECT_FALSE(soak::ReadTruth("x", "modem zte\nuntil 4\nnever broken <any>\n# fault mute from 3 to 2\n",
                                 &truth, &problem));
    EXPECT_EQ("x:4: \"# fault NAME from SECONDS to SECONDS\" is wanted", problem);
}

}  // namespace
