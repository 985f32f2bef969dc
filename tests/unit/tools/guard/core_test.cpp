// The guard's decisions, in simulated time: a board with a link that can die in several ways, and what the
// guard makes of it over minutes and over years.
#include "tools/guard/core.h"

#include <memory>
#include <random>

#include <gtest/gtest.h>

namespace {

using guard::Action;
using guard::Core;
using guard::Decision;
using guard::Ledger;
using guard::Look;
using guard::ProbeKind;
using guard::ProbeVerdict;
using guard::Round;
using guard::Rules;
using guard::Stage;
using guard::State;
using guard::StatusSight;

constexpr int64_t kStep_seconds = 10;
constexpr int64_t kSoftLasts_seconds = 45;
constexpr int64_t kHardLasts_seconds = 80;
constexpr int64_t kNever = -1;

/// What brings a dead path back.
enum class Cure { kNothing, kSoftReset, kHardReset };

/// A board, its daemon and its link. The guard's side of it is the program's: save first, then ask.
struct World {
    int64_t now = 1000;
    bool has_path = true;
    bool has_backend = true;
    bool has_resolver = true;
    int64_t captive_bytes = 300;  // that a portal answers to a round
    int64_t probe_bytes = 0;
    Cure cure = Cure::kNothing;
    int64_t traffic_per_step = 0;  // while the path is alive
    int64_t noise_per_step = 0;    // of the modem itself
    bool is_captive = false;
    bool is_taken_in = false;  // the portal takes each connection
    bool is_upgrading = false;
    bool has_interface = true;
    bool can_act = true;
    bool can_save = true;
    bool has_daemon = true;
    bool switched_off = false;
    bool is_torn = false;
    bool board_fault = false;  // no probe can be run
    ProbeVerdict dead = ProbeVerdict::kSilent;
    Rules rules;
    int64_t probes_number = 7;
    bool is_proven = true;  // the probes were answered before

    bool is_killed = false;  // when it has saved a reset, and before it asks for it
    int64_t killed = 0;      // how often it was

    int64_t offline_until = 0;
    uint64_t counter = 0;
    uint64_t counter_most = UINT64_MAX;  // from which it begins anew
    int64_t online_since = 0;
    std::string saved;
    std::string boot = "one";
    std::unique_ptr<Core> core;
    Action asked = Action::kNone;
    int asked_probe = 0;
    std::vector<std::string> lines;
    std::vector<int64_t> soft, hard;
    int64_t probes = 0;
    State state = State::kNoStatus;

    void Start() {
        Ledger ledger;
        if (is_proven) ledger.proven = 3, ledger.proven_of = probes_number;
        if (!saved.empty()) {
            const std::optional<Ledger> read = guard::ParseLedger(saved, boot, now);
            ASSERT_TRUE(read);
            ledger = *read;
        }
        core = std::make_unique<Core>(rules, ledger, probes_number);
        asked = Action::kNone;
    }

    bool IsOnline() const { return now >= offline_until && !switched_off; }

    Round Answer() const {
        const auto verdict = [this](bool is_there) {
            if (board_fault) return ProbeVerdict::kNotRun;
            if (has_path) return is_there ? ProbeVerdict::kAnswered : ProbeVerdict::kSilent;
            return is_captive ? ProbeVerdict::kCaptive : dead;
        };
        Round round;
        const bool is_all = asked == Action::kProbeAll;
        if (is_all || asked_probe == 0) {
            round.results.push_back(
                {ProbeKind::kTcp, 1, 0, is_taken_in ? ProbeVerdict::kAnswered : verdict(has_backend)});
        }
        if (is_all || asked_probe == 1) {
            round.results.push_back({ProbeKind::kDns, 2, 1, verdict(has_resolver)});
        }
        return round;
    }

    Decision Step() {
        now += kStep_seconds;
        if (IsOnline() && has_path) counter += static_cast<uint64_t>(traffic_per_step);
        counter += static_cast<uint64_t>(noise_per_step);
        Round round;
        Look look;
        look.now = now;
        look.status = is_torn ? StatusSight::kUnusable : StatusSight::kWhole;
        look.is_online = IsOnline();
        look.written = has_daemon ? std::to_string(now) : "long ago";
        look.uptime = IsOnline() ? now - offline_until : 0;
        look.is_upgrading = is_upgrading;
        look.has_interface = has_interface;
        look.can_act = can_act;
        if (asked != Action::kNone) {
            round = Answer();
            look.round = &round;
            if (is_captive) probe_bytes += captive_bytes;
            if (is_captive) counter += static_cast<uint64_t>(captive_bytes);
        }
        look.received_bytes = counter & counter_most;
        look.probe_bytes = probe_bytes;
        look.probes = 3;
        const Decision decision = core->Decide(look);
        SaveSometimes();
        asked = Action::kNone;
        state = decision.state;
        if (!decision.line.empty()) lines.push_back(decision.line);
        switch (decision.action) {
            case Action::kProbeOne:
            case Action::kProbeAll:
                asked = decision.action;
                asked_probe = decision.probe;
                ++probes;
                break;
            case Action::kSoftReset:
            case Action::kHardReset:
                if (!can_save) {
                    core->Withdraw();
                    break;
                }
                saved = guard::PrintLedger(core->ledger(), boot, now);
                if (is_killed) {
                    ++killed;
                    Start();
                    break;
                }
                Reset(decision.action == Action::kHardReset);
                break;
            case Action::kNone:
                break;
        }
        return decision;
    }

    /// As the program does from time to time, so that a boot finds the resets older.
    void SaveSometimes() {
        if (can_save && now % guard::kHour_seconds == 0)
            saved = guard::PrintLedger(core->ledger(), boot, now);
    }

    void Reset(bool is_hard) {
        (is_hard ? hard : soft).push_back(now);
        offline_until = now + (is_hard ? kHardLasts_seconds : kSoftLasts_seconds);
        const bool helps = cure == Cure::kSoftReset || (is_hard && cure == Cure::kHardReset);
        if (helps) has_path = true;
    }

    void Run(int64_t seconds) {
        if (core == nullptr) Start();
        for (const int64_t end = now + seconds; now < end;) Step();
    }

    bool HasLine(const std::string& part) const {
        for (const std::string& line : lines) {
            if (line.find(part) != std::string::npos) return true;
        }
        return false;
    }

    int MostIn(int64_t seconds) const {
        int most = 0;
        for (size_t first = 0; first < hard.size(); ++first) {
            size_t last = first;
            while (last < hard.size() && hard[last] < hard[first] + seconds) ++last;
            most = std::max(most, static_cast<int>(last - first));
        }
        return most;
    }
};

constexpr int64_t kHour = guard::kHour_seconds;
constexpr int64_t kDay = guard::kDay_seconds;

TEST(Core, AThousandHealthyDaysBringNoReset) {
    for (const int64_t traffic : {0, 20, 5000}) {
        World world;
        world.traffic_per_step = traffic;
        world.Run(1000 * kDay);
        EXPECT_TRUE(world.soft.empty());
        EXPECT_TRUE(world.hard.empty());
        // Where bytes come in nothing is sent.
        const int64_t probes = traffic == 5000 ? 0 : 1000 * kDay / world.rules.interval_seconds;
        EXPECT_NEAR(static_cast<double>(world.probes), static_cast<double>(probes), 1.0) << traffic;
    }
}

TEST(Core, AThousandDaysWithPoorLinksBringNoReset) {
    World world;
    std::mt19937 random(7);
    world.Start();
    // Every few hours the path is away for almost five minutes, as when a truck stands before the antenna,
    // or the call is dialled anew.
    for (int64_t end = world.now + 1000 * kDay; world.now < end;) {
        world.Run(static_cast<int64_t>(600 + random() % 20000));
        world.has_path = false;
        world.Run(static_cast<int64_t>(10 + random() % 280) / kStep_seconds * kStep_seconds);
        world.has_path = true;
        if (random() % 3 == 0) world.offline_until = world.now + 40;
    }
    EXPECT_TRUE(world.soft.empty());
    EXPECT_TRUE(world.hard.empty());
}

TEST(Core, ADeadBackendBringsNoReset) {
    World world;
    world.has_backend = false;
    world.Run(1000 * kDay);
    EXPECT_TRUE(world.soft.empty());
    EXPECT_TRUE(world.hard.empty());
    // It isn't asked again before each probe that is answered, and not complained of each time.
    EXPECT_LE(world.probes, 1000 * kDay / world.rules.interval_seconds + 10);
    EXPECT_LT(world.lines.size(), 10U);
}

TEST(Core, SoftThenHardThenPausesThatDouble) {
    World world;
    world.Run(kHour);
    world.has_path = false;
    const int64_t died = world.now;
    world.Run(2 * kDay);
    ASSERT_GE(world.hard.size(), 4U);
    ASSERT_EQ(world.soft.size(), world.hard.size());
    EXPECT_GE(world.soft[0], died + world.rules.failed_seconds);
    EXPECT_LE(world.soft[0], died + world.rules.interval_seconds + world.rules.failed_seconds + 60);
    for (size_t i = 0; i < world.hard.size(); ++i) {
        EXPECT_GE(world.hard[i], world.soft[i] + world.rules.soft_wait_seconds);
        EXPECT_LE(world.hard[i], world.soft[i] + world.rules.soft_wait_seconds + 300);
    }
    int64_t pause = world.rules.pause_seconds;
    for (size_t i = 1; i < world.hard.size(); ++i) {
        EXPECT_GE(world.soft[i], world.hard[i - 1] + pause) << i;
        EXPECT_LE(world.soft[i], world.hard[i - 1] + pause + 900) << i;
        pause = std::min(pause * 2, world.rules.pause_limit_seconds);
    }
    EXPECT_EQ(pause, world.rules.pause_limit_seconds);
    EXPECT_TRUE(world.HasLine("SoftReset:1, because online and no traffic for "));
    EXPECT_TRUE(world.HasLine("(TCP silent, DNS silent)"));
    EXPECT_TRUE(world.HasLine("Reset4G:1, because a soft reset didn't help: "));
}

TEST(Core, WhatASoftResetMendsGetsNoHardOne) {
    World world;
    world.cure = Cure::kSoftReset;
    world.Run(kHour);
    world.has_path = false;
    world.Run(kDay);
    EXPECT_EQ(world.soft.size(), 1U);
    EXPECT_TRUE(world.hard.empty());
    EXPECT_TRUE(world.HasLine("alive again after SoftReset:1"));
}

TEST(Core, WhatAHardResetMendsGetsOne) {
    for (const ProbeVerdict dead : {ProbeVerdict::kSilent, ProbeVerdict::kNoRoute}) {
        World world;
        world.cure = Cure::kHardReset;
        world.dead = dead;
        world.Run(kHour);
        world.has_path = false;
        world.Run(kDay);
        EXPECT_EQ(world.soft.size(), 1U);
        EXPECT_EQ(world.hard.size(), 1U);
        EXPECT_TRUE(world.HasLine("alive again after Reset4G:1"));
    }
}

TEST(Core, ACaptiveAnswerIsNone) {
    World world;
    world.cure = Cure::kSoftReset;
    world.is_captive = true;
    world.Run(kHour);
    world.has_path = false;
    world.Run(kHour);
    EXPECT_EQ(world.soft.size(), 1U);
    EXPECT_TRUE(world.HasLine("TCP captive"));
}

// However much a portal answers, in whatever look it arrives.
TEST(Core, WhatAPortalAnswersIsNoTraffic) {
    World world;
    world.cure = Cure::kSoftReset;
    world.is_captive = true;
    world.captive_bytes = 20000;
    world.Run(kHour);
    world.has_path = false;
    world.Run(kHour);
    EXPECT_EQ(world.soft.size(), 1U);
}

// It can't be told from a host, so the guard keeps still: a reset too few.
TEST(Core, APortalThatTakesEveryConnectionBringsNoReset) {
    World world;
    world.is_captive = world.is_taken_in = true;
    world.cure = Cure::kSoftReset;
    world.Run(kHour);
    world.has_path = false;
    world.Run(10 * kDay);
    EXPECT_TRUE(world.soft.empty());
    EXPECT_FALSE(world.HasLine("TCP captive"));
    world.is_taken_in = false;
    world.Run(kHour);
    EXPECT_EQ(world.soft.size(), 1U);
}

// Somebody has named hosts that were never there, or that a firewall hides.
TEST(Core, ProbesThatWereNeverAnsweredBringNoReset) {
    World world;
    world.is_proven = world.has_backend = world.has_resolver = false;
    world.Run(10 * kDay);
    EXPECT_TRUE(world.soft.empty());
    EXPECT_EQ(world.state, State::kWatchOnly);
    EXPECT_TRUE(world.HasLine("have ever been answered"));
    // One of them is no two kinds.
    world.has_backend = true;
    world.Run(kDay);
    world.has_backend = false;
    world.Run(kDay);
    EXPECT_TRUE(world.soft.empty());
    world.has_backend = world.has_resolver = true;
    world.Run(kDay);
    world.has_path = false;
    world.Run(kHour);
    EXPECT_FALSE(world.soft.empty()) << "now that they are known to answer";
}

TEST(Core, WhatWasProvenIsKeptOverARestartAndNotOverOtherSettings) {
    for (const int64_t number : {7, 8}) {
        World world;
        world.is_proven = false;
        world.Run(2 * kHour);
        world.saved = guard::PrintLedger(world.core->ledger(), world.boot, world.now);
        world.probes_number = number;
        world.has_path = false;
        world.Start();
        world.Run(kHour);
        EXPECT_EQ(world.soft.empty(), number == 8);
    }
}

TEST(Core, WhatTheModemSaysByItselfIsNoLife) {
    World world;
    world.cure = Cure::kSoftReset;
    world.noise_per_step = 60;  // ARP; 720 in the time of silence
    world.has_path = false;
    world.Run(kHour);
    EXPECT_EQ(world.soft.size(), 1U);
}

// A path that dies every hour: what is mended each time has no pause, what isn't alive for an hour keeps its.
TEST(Core, TheWorstFaultsStayWithinTheBudget) {
    for (const int64_t life : {0, 60, 600, 1800, 3000, 3700, 7000}) {
        for (const Cure cure : {Cure::kNothing, Cure::kSoftReset, Cure::kHardReset}) {
            World world;
            world.cure = cure;
            world.has_path = false;
            world.rules.pause_seconds = 60;  // as short as can be
            world.rules.pause_limit_seconds = 60;
            world.Start();
            int64_t alive_since = kNever;
            for (const int64_t end = world.now + 20 * kDay; world.now < end;) {
                world.Step();
                if (!world.has_path) {
                    alive_since = kNever;
                } else if (alive_since == kNever) {
                    alive_since = world.now;
                } else if (world.now - alive_since >= life) {
                    world.has_path = false;
                }
            }
            EXPECT_LE(world.MostIn(kHour), guard::kMostPerHour);
            EXPECT_LE(world.MostIn(kDay), guard::kMostPerDay);
            if (cure == Cure::kNothing) {
                EXPECT_EQ(world.MostIn(kDay), guard::kMostPerDay) << "the test comes to the limit";
                EXPECT_TRUE(world.HasLine("because the budget is spent"));
            }
        }
    }
}

TEST(Core, ABudgetMayBeSmallerOrNone) {
    World world;
    world.has_path = false;
    world.rules.pause_seconds = world.rules.pause_limit_seconds = 60;
    world.rules.hard_per_hour = 1;
    world.Run(3 * kDay);
    EXPECT_EQ(world.MostIn(kHour), 1);
    World none;
    none.has_path = false;
    none.rules.hard_per_day = 0;
    none.Run(3 * kDay);
    EXPECT_TRUE(none.hard.empty());
    EXPECT_GT(none.soft.size(), 10U) << "soft ones go on, with pauses that grow";
    EXPECT_LT(none.soft.size(), 30U);
    EXPECT_TRUE(none.HasLine("because hardware resets are switched off"));
}

// Killed at any moment, between the saving and the asking too, and started again.
TEST(Core, RestartsKeepTheBudget) {
    std::mt19937 random(11);
    World world;
    world.has_path = false;
    world.rules.pause_seconds = world.rules.pause_limit_seconds = 60;
    world.Start();
    for (int64_t end = world.now + 30 * kDay; world.now < end;) {
        world.Run(static_cast<int64_t>(10 + random() % 9000));
        if (random() % 4 == 0) world.boot += "x";
        world.Start();
    }
    EXPECT_LE(world.MostIn(kHour), guard::kMostPerHour);
    EXPECT_LE(world.MostIn(kDay), guard::kMostPerDay);
    EXPECT_GT(world.hard.size(), 100U);
}

// Killed each time, or every other time, between the two.
TEST(Core, WhatWasSavedAndNeverAskedForCounts) {
    for (const int asked_of_two : {0, 1}) {
        World world;
        world.has_path = false;
        world.rules.pause_seconds = world.rules.pause_limit_seconds = 60;
        world.Start();
        for (int64_t end = world.now + 10 * kDay; world.now < end;) {
            world.is_killed = asked_of_two == 0 || world.core->ledger().hard_total % 2 == 0;
            world.Step();
        }
        EXPECT_LE(world.MostIn(kHour), guard::kMostPerHour);
        EXPECT_LE(world.MostIn(kDay), guard::kMostPerDay);
        const Ledger& ledger = world.core->ledger();
        EXPECT_GT(world.killed, 100);
        EXPECT_EQ(world.hard.empty(), asked_of_two == 0);
        EXPECT_EQ(ledger.soft_total + ledger.hard_total,
                  world.killed + static_cast<int64_t>(world.soft.size() + world.hard.size()))
            << "each counts, made or not";
        EXPECT_LE(ledger.hard_total, 10 * guard::kMostPerDay);
    }
}

TEST(Core, AfterABootASoftResetComesFirstAgain) {
    World world;
    world.has_path = false;
    world.Start();
    while (world.soft.empty()) world.Step();
    world.boot = "two";
    world.Start();
    while (world.hard.empty()) world.Step();
    EXPECT_EQ(world.soft.size(), 2U);
}

TEST(Core, ARestartGoesOnWhereItWas) {
    World world;
    world.has_path = false;
    world.Start();
    while (world.soft.empty()) world.Step();
    world.Start();
    world.Run(kHour / 2);
    EXPECT_EQ(world.soft.size(), 1U) << "no second one";
    EXPECT_EQ(world.hard.size(), 1U);
}

struct Obstacle {
    const char* name;
    void (*set)(World& world);
    State state;
};

class CoreObstacle : public testing::TestWithParam<Obstacle> {};

// Each of these holds back every reset, whatever the probes say.
TEST_P(CoreObstacle, BringsNoReset) {
    World world;
    world.Run(kHour);
    world.has_path = false;
    GetParam().set(world);
    world.Run(10 * kDay);
    EXPECT_TRUE(world.soft.empty());
    EXPECT_TRUE(world.hard.empty());
    EXPECT_EQ(world.state, GetParam().state);
}

INSTANTIATE_TEST_SUITE_P(
    All, CoreObstacle,
    testing::Values(Obstacle{"Torn", [](World& world) { world.is_torn = true; }, State::kNoStatus},
                    Obstacle{"Old", [](World& world) { world.has_daemon = false; }, State::kNoStatus},
                    Obstacle{"Offline", [](World& world) { world.switched_off = true; }, State::kOffline},
                    Obstacle{"Upgrade", [](World& world) { world.is_upgrading = true; }, State::kUpgrading},
                    Obstacle{"NoInterface", [](World& world) { world.has_interface = false; },
                             State::kNoInterface},
                    Obstacle{"WatchOnly", [](World& world) { world.can_act = false; }, State::kWatchOnly},
                    Obstacle{"NoProbe", [](World& world) { world.board_fault = true; }, State::kQuiet}),
    [](const testing::TestParamInfo<Obstacle>& tested) { return std::string(tested.param.name); });

TEST(Core, WhatCantBeSavedIsNotAsked) {
    World world;
    world.has_path = world.can_save = false;
    world.Run(kDay);
    EXPECT_TRUE(world.soft.empty());
    EXPECT_TRUE(world.hard.empty());
    EXPECT_EQ(world.core->ledger().soft_total, 0);
    EXPECT_TRUE(world.HasLine("SoftReset:1, because")) << "the program says that it isn't done";
    world.can_save = true;
    world.Run(kHour);
    EXPECT_FALSE(world.soft.empty());
}

TEST(Core, AnInterfaceThatComesAndGoesBringsNoReset) {
    World world;
    world.has_path = false;
    world.Start();
    for (int i = 0; i < 2000; ++i) {
        world.has_interface = !world.has_interface;
        if (world.has_interface) world.counter = 0;
        world.Run(200);
    }
    EXPECT_TRUE(world.soft.empty());
}

TEST(Core, AnInterfaceInThePlaceOfAnotherIsANewOne) {
    World world;
    world.counter = 5000;
    world.Run(kHour);
    EXPECT_EQ(world.state, State::kQuiet);
    world.counter = 0;
    world.Step();
    EXPECT_EQ(world.state, State::kSettling);
    // Again and again, each time before anything could be made of it.
    world.has_path = false;
    for (int i = 0; i < 2000; ++i) {
        world.counter = 5000;
        world.Run(200);
        world.counter = 0;
        world.Run(200);
    }
    EXPECT_TRUE(world.soft.empty());
}

// Some kernels count in 32 bits.
TEST(Core, ACounterThatBeginsAnewIsNoFaultAndNoLife) {
    for (const int64_t bytes : {60, 50000}) {
        World world;
        world.counter_most = UINT32_MAX;
        world.counter = UINT32_MAX - static_cast<uint64_t>(300 * bytes);
        (bytes == 60 ? world.noise_per_step : world.traffic_per_step) = bytes;
        bool has_traffic = false;
        world.Run(kHour / 2);
        while (world.counter <= UINT32_MAX + static_cast<uint64_t>(10 * bytes)) {
            world.Step();
            has_traffic = has_traffic || world.state == State::kTraffic;
        }
        EXPECT_EQ(has_traffic, bytes != 60) << "where it came round too";
        EXPECT_TRUE(world.soft.empty());
        world.counter = 2 * uint64_t{UINT32_MAX} - 2000;
        world.has_path = false;
        world.cure = Cure::kSoftReset;
        world.Run(kHour);
        EXPECT_EQ(world.soft.size(), 1U);
    }
}

TEST(Core, ALinkThatIsDialledAnewAllTheTimeBringsNoReset) {
    World world;
    world.has_path = false;
    world.Start();
    for (int i = 0; i < 2000; ++i) {
        world.Run(300);
        world.offline_until = world.now + 20;
    }
    EXPECT_TRUE(world.soft.empty());
}

// A reset of the daemon's own between two looks shows by an uptime that has fallen.
TEST(Core, AnUptimeThatFallsIsANewLink) {
    World world;
    world.Run(kHour);
    EXPECT_EQ(world.state, State::kQuiet);
    world.offline_until = world.now;
    world.Step();
    EXPECT_EQ(world.state, State::kSettling);
}

TEST(Core, AnOldStatusIsNotBelievedAtTheStart) {
    World world;
    world.has_daemon = false;
    world.has_path = false;
    world.Run(kDay);
    EXPECT_EQ(world.state, State::kNoStatus);
    EXPECT_EQ(world.probes, 0);
}

TEST(Core, ABoardThatSleepsBelievesNothingOfBefore) {
    World world;
    world.has_path = false;
    world.Start();
    for (int i = 0; i < 500; ++i) {
        world.Run(400);
        world.now += kHour;
    }
    EXPECT_TRUE(world.soft.empty());
}

TEST(Core, AClockThatGoesBackStandsStill) {
    World world;
    world.Run(kHour);
    world.now -= kHour / 2;
    world.Run(kHour);
    EXPECT_TRUE(world.soft.empty());
    world.has_path = false;
    world.cure = Cure::kSoftReset;
    world.Run(kHour);
    EXPECT_EQ(world.soft.size(), 1U);
}

TEST(Core, OneKindOrOneAddressIsNotEnough) {
    for (const auto& second : {guard::ProbeResult{ProbeKind::kTcp, 2, 1, ProbeVerdict::kSilent},
                               guard::ProbeResult{ProbeKind::kDns, 1, 1, ProbeVerdict::kSilent}}) {
        Ledger ledger;
        ledger.proven = 3;
        ledger.proven_of = 7;
        Core core(Rules{}, ledger, 7);
        Round round;
        round.results = {{ProbeKind::kTcp, 1, 0, ProbeVerdict::kSilent}, second};
        Look look;
        look.status = StatusSight::kWhole;
        look.is_online = look.has_interface = look.can_act = true;
        bool was_asked = false;
        for (look.now = 0; look.now < kDay; look.now += kStep_seconds) {
            look.written = std::to_string(look.now);
            look.round = was_asked ? &round : nullptr;
            const Decision decision = core.Decide(look);
            ASSERT_NE(decision.action, Action::kSoftReset);
            was_asked = decision.action != Action::kNone;
        }
    }
}

TEST(Core, EachDecisionHasALineAndNoneIsSaidTwice) {
    World world;
    world.can_act = false;
    world.Run(kHour);
    world.has_path = false;
    world.Run(kDay);
    int said = 0;
    for (const std::string& line : world.lines) {
        said += line.find("nothing is done because the settings don't allow it") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(said, 1);
}

}  // namespace
