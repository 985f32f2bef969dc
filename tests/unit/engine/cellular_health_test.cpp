#include "network_daemon/cellular.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text_util.h"
#include "tests/support/recording_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::kKillDhcp;
using test_support::World;

constexpr char kAnyProbe[] = "ping ";
constexpr char kGpioDefault[] = "/sys/class/gpio/gpio130/value";
constexpr char kGpioA35[] = "/sys/class/gpio/gpio182/value";

const std::string kMark(26, '#');

class Health : public testing::Test {
  protected:
    void SetUp() override {
        cell.set_up = 1;
        cell.sim = kSimReady;
        cell.m_sim_ready = 1;
        CopyText(cell.m_NetworkType, "LTE");
    }
    /// Results of the four probes of a chain, by what only the command of each holds.
    void AnswerNetworkProbes(const std::vector<std::string>& outputs) {
        const char* const parts[] = {"8.8.8.8  -c 3 -w 2", "8.8.4.4  -c 3 -w 2", "-w 2",
                                     "172.21.2.226 -c 3 -w 2"};
        for (size_t i : {2, 0, 1, 3}) world.AnswerPopen(parts[i], outputs.at(i));  // the latest rule wins
    }
    void AnswerProjectProbes(const std::vector<std::string>& outputs) {
        const char* const parts[] = {"10.151.133.48", "10.151.133.173", "8.8.8.8 -c 3|", "8.8.4.4 -c 3|"};
        for (size_t i : {0, 1, 2, 3}) world.AnswerPopen(parts[i], outputs.at(i));
    }
    int CountOfProbes() const {
        int count = 0;
        for (const auto& call : world.shell) count += call.is_popen;
        return count;
    }
    int CountOfSoftResets() const { return cell.CountOf("Initialize"); }

    World world;
    RecordingCell cell{world, -1};
};

// One probe

TEST_F(Health, RepliesAreReadFromTheOutput) {
    const struct {
        std::string output;
        int expected;
        const char* line;  // "" for none
        std::string last;
    } cases[] = {
        {"0\n", 0, "pingCheck, Ping packet loss 100%!\n", "0\n"},
        {"1\n", 1, "pingCheck, Ping packet loss 67%!\n", "1\n"},
        {"2\n", 2, "pingCheck, Ping packet loss 33%!\n", "2\n"},
        {"3\n", 3, "pingCheck, Ping receive all reply packet!\n", "3\n"},
        {"       2\n", 2, "pingCheck, Ping packet loss 33%!\n", "       2\n"},
        {"3", 3, "pingCheck, Ping receive all reply packet!\n", "3"},
        {"10\n", 0, "pingCheck, Ping packet loss 100%!\n", "10\n"},  // "0" is looked for first
        {"31\n", 1, "pingCheck, Ping packet loss 67%!\n", "31\n"},
        {"", 0, "", ""},
        {"ping: not found\n", 0, "", "ping: not found\n"},
        {"4\n5\n", 0, "", "5\n"},
        {"0\n3\n", 0, "pingCheck, Ping packet loss 100%!\n", "0\n"},
        {"nothing\n2\n3\n", 2, "pingCheck, Ping packet loss 33%!\n", "2\n"},
        {std::string(63, 'x') + "1\n", 1, "pingCheck, Ping packet loss 67%!\n", "1\n"},
        {std::string(500, '%'), 0, "", std::string(500 % 63, '%')},
        {std::string("\0"
                     "1\n2\n",
                     5),
         2, "pingCheck, Ping packet loss 33%!\n", "2\n"},
    };
    for (const auto& test : cases) {
        world.log.clear();
        world.AnswerPopen("probe", test.output);
        EXPECT_EQ(pingCheck("probe"), test.expected) << test.output;
        Lines expected;
        if (test.line[0] != '\0') expected.push_back(test.line);
        expected.push_back("pingCheck, file_buf is: " + test.last + "\n");
        EXPECT_EQ(world.LogOf("pingCheck"), expected) << test.output;
        for (const auto& line : world.log) EXPECT_EQ(line.level, 7u);
    }
}

TEST_F(Health, AProbeWithoutACommandFails) {
    EXPECT_EQ(pingCheck(nullptr), -1);
    EXPECT_TRUE(world.Logged(3, "input is null\n"));
    EXPECT_TRUE(world.shell.empty());
}

TEST_F(Health, AProbeThatCannotBeRunFails) {
    world.FailPopen("probe");
    EXPECT_EQ(pingCheck("probe"), -1);
    EXPECT_EQ(world.LogOf("pingCheck"), Lines{"popen fail, stream is null\n"});
    EXPECT_TRUE(world.Logged(3, "popen fail, stream is null\n"));
}

// The chain of the network

TEST_F(Health, NetworkProbesAreTheseCommandsInThisOrder) {
    world.AnswerPopen(kAnyProbe, "0\n");
    EXPECT_EQ(switchPingProc(), 0);
    ASSERT_EQ(world.shell.size(), 4u);
    EXPECT_EQ(world.shell[0].command,
              "ping  8.8.8.8  -c 3 -w 2 | grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l");
    EXPECT_EQ(world.shell[1].command,
              "ping  8.8.4.4  -c 3 -w 2| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l");
    EXPECT_EQ(world.shell[3].command,
              "ping  172.21.2.226 -c 3 -w 2| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l");
    // The third is the fourth with the name of a host.
    const std::string third = world.shell[2].command;
    const std::string fourth = world.shell[3].command;
    EXPECT_EQ(third.substr(third.find(" -c 3")), fourth.substr(fourth.find(" -c 3")));
    EXPECT_EQ(third.substr(0, 6), "ping  ");
    const std::string host = third.substr(6, third.find(" -c 3") - 6);
    EXPECT_NE(host.find_first_of("abcdefghijklmnopqrstuvwxyz"), std::string::npos);
    EXPECT_EQ(host.find_first_of(" '|$"), std::string::npos);

    EXPECT_EQ(world.LogOf("switchPingProc"), (Lines{kMark + "ping1: FALSE \n", kMark + "ping2: FALSE\n",
                                                    kMark + "ping3: FALSE\n", kMark + "ping4: FALSE\n"}));
}

TEST_F(Health, NetworkChainEndsAtTheFirstAnswer) {
    const struct {
        std::vector<std::string> outputs;
        int expected;
        Lines log;
    } cases[] = {
        {{"1\n", "0\n", "0\n", "0\n"}, 1, {kMark + "ping1: TRUE \n"}},
        {{"2\n", "0\n", "0\n", "0\n"}, 1, {kMark + "ping1: FALSE \n"}},
        {{"3\n", "0\n", "0\n", "0\n"}, 1, {kMark + "ping1: FALSE \n"}},
        {{"0\n", "1\n", "0\n", "0\n"}, 1, {kMark + "ping1: FALSE \n", kMark + "ping2: TRUE\n"}},
        {{"", "2\n", "0\n", "0\n"}, 1, {kMark + "ping1: FALSE \n", kMark + "ping2: FALSE\n"}},
        {{"0\n", "0\n", "1\n", "0\n"},
         1,
         {kMark + "ping1: FALSE \n", kMark + "ping2: FALSE\n", kMark + "ping3: TRUE\n"}},
        {{"0\n", "0\n", "0\n", "1\n"},
         1,
         {kMark + "ping1: FALSE \n", kMark + "ping2: FALSE\n", kMark + "ping3: FALSE\n",
          kMark + "ping4: TRUE\n"}},
        {{"0\n", "0\n", "0\n", "2\n"},
         1,
         {kMark + "ping1: FALSE \n", kMark + "ping2: FALSE\n", kMark + "ping3: FALSE\n",
          kMark + "ping4: FALSE\n"}},
    };
    for (const auto& test : cases) {
        world.log.clear();
        AnswerNetworkProbes(test.outputs);
        EXPECT_EQ(switchPingProc(), test.expected);
        EXPECT_EQ(world.LogOf("switchPingProc"), test.log);
        for (const auto& line : world.log) EXPECT_EQ(line.level, 7u);
    }
}

TEST_F(Health, AProbeThatCannotBeRunEndsTheChainWithSuccess) {
    world.FailPopen(kAnyProbe);
    EXPECT_EQ(switchPingProc(), 1);
    EXPECT_EQ(world.LogOf("switchPingProc"), Lines{kMark + "ping1: FALSE \n"});
}

// Check of the network

TEST_F(Health, AnAnsweredProbeClearsTheCount) {
    world.AnswerPopen(kAnyProbe, "3\n");
    cell.m_double_sim = 1;
    cell.m_CSQ_weak_check_times = 8;
    EXPECT_EQ(cell.CheckNetwork(), 1);
    EXPECT_EQ(cell.m_CSQ_weak_check_times, 0);
    EXPECT_EQ(CountOfProbes(), 1);
    EXPECT_TRUE(world.LogOf("CheckNetwork").empty());
}

TEST_F(Health, AnotherGenerationCountsAsFailedWithoutAPing) {
    world.AnswerPopen(kAnyProbe, "3\n");
    CopyText(cell.m_NetworkType, "WCDMA");
    cell.m_double_sim = 1;
    cell.m_nCSQ = 17;
    EXPECT_EQ(cell.CheckNetwork(), 1);
    EXPECT_EQ(cell.m_CSQ_weak_check_times, 1);
    EXPECT_TRUE(world.shell.empty());
    EXPECT_EQ(world.LogOf("CheckNetwork"),
              (Lines{"The wireless network signal is weak,m_nCSQ=:17,NetType=2\n",
                     "Ping Check failed for first 2 times, ignore, check 1 times!\n"}));
    EXPECT_TRUE(world.Logged(7, "The wireless network signal is weak,m_nCSQ=:17,NetType=2\n"));
    EXPECT_TRUE(world.Logged(1, "Ping Check failed for first 2 times, ignore, check 1 times!\n"));
}

TEST_F(Health, AMissingSimCountsAsFailedWithoutAPing) {
    world.AnswerPopen(kAnyProbe, "3\n");
    cell.m_sim_ready = 0;
    cell.m_double_sim = 1;
    EXPECT_EQ(cell.CheckNetwork(), 1);
    EXPECT_EQ(cell.m_CSQ_weak_check_times, 1);
    EXPECT_TRUE(world.shell.empty());
    EXPECT_TRUE(world.Logged(7, "The wireless network signal is weak,m_nCSQ=:0,NetType=0\n"));
}

TEST_F(Health, WithTwoSimsTheLadderOfFailedChecks) {
    world.AnswerPopen(kAnyProbe, "0\n");
    cell.m_double_sim = 1;
    Lines switches, soft_resets, results;
    for (int count = 1; count <= 9; ++count) {
        const int switched_before = cell.m_Primary_SIM, resets_before = CountOfSoftResets();
        const int result = cell.CheckNetwork();
        if (cell.m_Primary_SIM != switched_before) switches.push_back(std::to_string(count));
        if (CountOfSoftResets() != resets_before) soft_resets.push_back(std::to_string(count));
        results.push_back(std::to_string(result));
        EXPECT_EQ(cell.m_CSQ_weak_check_times, count == 9 ? 0 : count);
        EXPECT_EQ(world.CountLogged("m_CSQ_weak_check_times= " + std::to_string(count) + "\n"),
                  count >= 3 && count <= 8);
    }
    EXPECT_EQ(switches, (Lines{"3", "7"}));
    EXPECT_EQ(soft_resets, (Lines{"3", "7"}));
    EXPECT_EQ(results, (Lines{"1", "1", "1", "1", "1", "1", "1", "1", "0"}));
    EXPECT_TRUE(world.Logged(1, "Ping Check failed for first 2 times, ignore, check 2 times!\n"));
    EXPECT_EQ(world.LogOf("CheckNetworkDoubleSim"),
              (Lines{"CEREG fail or Ping fail, need Switch SIM Card and Soft reset!\n",
                     "CEREG fail or Ping fail, need Switch SIM Card and Soft reset!\n",
                     "CheckNetworkDoubleSim: check network 9 times,hard reset.\n"}));
    for (const auto& line : world.log) {
        if (line.function != "CheckNetworkDoubleSim") continue;
        EXPECT_EQ(line.level, 5u) << line.text;
    }
    EXPECT_EQ(world.LogOf("CheckNetwork").back(), "CheckNetwork, 9 times, current m_Primary_SIM[0].\n");
    EXPECT_EQ(CountOfProbes(), 9 * 4);
}

TEST_F(Health, WithTwoSimsCountsAroundAThousandAreIgnoredLikeTheFirst) {
    world.AnswerPopen(kAnyProbe, "0\n");
    cell.m_double_sim = 1;
    for (int32_t count : {1000, 1001, 1002}) {
        cell.m_CSQ_weak_check_times = count - 1;
        EXPECT_EQ(cell.CheckNetwork(), 1);
        EXPECT_EQ(cell.m_CSQ_weak_check_times, count);
        EXPECT_TRUE(world.Logged(
            1, "Ping Check failed for first 2 times, ignore, check " + std::to_string(count) + " times!\n"));
    }
    EXPECT_EQ(CountOfSoftResets(), 0);
    EXPECT_EQ(cell.CheckNetwork(), 1);  // 1003 switches
    EXPECT_EQ(CountOfSoftResets(), 1);
}

TEST_F(Health, EscalationLooksAtTheCountItIsGiven) {
    const struct {
        int32_t count;
        int result;
        bool is_switched;
    } cases[] = {{1, 1, false}, {2, 1, false}, {3, 1, true},  {4, 1, false},  {6, 1, false}, {7, 1, true},
                 {8, 1, false}, {9, 0, false}, {11, 1, true}, {19, 0, false}, {15, 1, true}, {0, 1, false}};
    for (const auto& test : cases) {
        const uint8_t before = cell.m_Primary_SIM;
        EXPECT_EQ(cell.CheckNetworkDoubleSim(test.count), test.result) << test.count;
        EXPECT_EQ(cell.m_Primary_SIM != before, test.is_switched) << test.count;
    }
    EXPECT_EQ(CountOfSoftResets(), 4);
}

TEST_F(Health, WithOneSimTheSixthFailedCheckAsksForAReset) {
    world.AnswerPopen(kAnyProbe, "0\n");
    for (int count = 1; count <= 5; ++count) EXPECT_EQ(cell.CheckNetwork(), 1);
    EXPECT_EQ(cell.m_CSQ_weak_check_times, 5);
    EXPECT_EQ(cell.CheckNetwork(), 0);
    EXPECT_EQ(cell.m_CSQ_weak_check_times, 0);
    EXPECT_TRUE(world.Logged(5, "CheckNetwork, 6 times, current m_Primary_SIM[0].\n"));
    EXPECT_EQ(CountOfSoftResets(), 0);  // m_RSRP is empty

    cell.m_CSQ_weak_check_times = 1005;
    EXPECT_EQ(cell.CheckNetwork(), 0);
    EXPECT_TRUE(world.Logged(5, "CheckNetwork, 1006 times, current m_Primary_SIM[0].\n"));
}

TEST_F(Health, WithOneSimASoftResetWhileTheSignalIsNotPoor) {
    const struct {
        const char* rsrp;
        const char* line;  // "" for no soft reset
    } cases[] = {
        {"-104", "Ping Check failed and firstly Soft reset when rsrp[-104] is not poor,check 1 times!\n"},
        {"-105", ""},
        {"-80dBm", "Ping Check failed and firstly Soft reset when rsrp[-80] is not poor,check 1 times!\n"},
        {"n/a", "Ping Check failed and firstly Soft reset when rsrp[0] is not poor,check 1 times!\n"},
        {"", ""},
    };
    world.AnswerPopen(kAnyProbe, "0\n");
    for (const auto& test : cases) {
        const int before = CountOfSoftResets();
        CopyText(cell.m_RSRP, test.rsrp);
        cell.m_CSQ_weak_check_times = 0;
        EXPECT_EQ(cell.CheckNetwork(), 1);
        EXPECT_EQ(CountOfSoftResets() - before, test.line[0] != '\0') << test.rsrp;
        EXPECT_EQ(world.Logged(1, test.line), test.line[0] != '\0') << test.rsrp;
    }
    EXPECT_EQ(world.CountLogged("m_CSQ_weak_check_times= 1\n"), 5);
}

// Switch of the SIM

TEST_F(Health, FirstSwitchSelectsThePrimarySim) {
    cell.SwitchSIMCard();
    EXPECT_EQ(world.LogOf("SwitchSIMCard"),
              Lines{"The wireless network signal is weak, Switch to a Primary SIM card!\n"});
    EXPECT_TRUE(world.Logged(1, "The wireless network signal is weak, Switch to a Primary SIM card!\n"));
    EXPECT_EQ(world.Commands(), Lines{std::string("echo 1 > ") + kGpioDefault});
    EXPECT_EQ(cell.m_Primary_SIM, 1);
    EXPECT_EQ(world.now_ms(), 5000);

    cell.SwitchSIMCard();
    EXPECT_TRUE(world.Logged(1, "The wireless network signal is weak, Switch to a secondary SIM card!\n"));
    EXPECT_EQ(world.Commands().back(), std::string("echo 0 > ") + kGpioDefault);
    EXPECT_EQ(cell.m_Primary_SIM, 0);
    EXPECT_EQ(world.now_ms(), 10000);
}

TEST_F(Health, PinOfTheSimIsThatOfTheBoardFoundAnew) {
    cell.m_board = kBoardImx6ul;  // nobody asks this
    world.Write("/proc/cpuinfo", "CPU part\t: 0xd04\n");
    cell.SwitchSIMCard();
    cell.SwitchSIMCard();
    cell.m_board = kBoardA35;
    for (const char* cpuinfo : {"Hardware\t: STM32\n", "Hardware\t: MX6\n", "CPU part\t: 0xd03\n", ""}) {
        world.Write("/proc/cpuinfo", cpuinfo);
        cell.SwitchSIMCard();
    }
    EXPECT_EQ(world.Commands(),
              (Lines{std::string("echo 1 > ") + kGpioA35, std::string("echo 0 > ") + kGpioA35,
                     std::string("echo 1 > ") + kGpioDefault, std::string("echo 0 > ") + kGpioDefault,
                     std::string("echo 1 > ") + kGpioDefault, std::string("echo 0 > ") + kGpioDefault}));
}

TEST_F(Health, SwitchComesBeforeTheSoftReset) {
    cell.CheckNetworkDoubleSim(3);
    EXPECT_EQ(world.Commands(), (Lines{std::string("echo 1 > ") + kGpioDefault, kKillDhcp}));
    EXPECT_NEAR(world.shell[0].at_seconds, 0, 1e-6);
    EXPECT_NEAR(world.shell[1].at_seconds, 5, 1e-6);
}

// Outage of the OCPP service

TEST_F(Health, ProjectProbesAreTheseCommandsInThisOrder) {
    world.AnswerPopen(kAnyProbe, "0\n");
    cell.ORLAPROC();
    EXPECT_EQ(world.Commands(),
              (Lines{"ping  10.151.133.48 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l",
                     "ping  10.151.133.173 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l",
                     "ping  8.8.8.8 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l",
                     "ping  8.8.4.4 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l"}));
    EXPECT_EQ(world.LogOf("ORLAPROC"), (Lines{kMark + "ping1: FALSE\n", kMark + "ping2: FALSE\n",
                                              kMark + "ping3: FALSE\n", kMark + "ping4: FALSE\n"}));
}

TEST_F(Health, OutageIsRememberedWhateverTheProbesSay) {
    const struct {
        std::vector<std::string> outputs;
        int probes;
    } cases[] = {{{"1\n", "0\n", "0\n", "0\n"}, 1},
                 {{"3\n", "0\n", "0\n", "0\n"}, 1},
                 {{"0\n", "0\n", "2\n", "0\n"}, 3},
                 {{"0\n", "0\n", "0\n", "1\n"}, 4}};
    for (const auto& test : cases) {
        AnswerProjectProbes(test.outputs);
        world.shell.clear();
        cell.m_last_offline = 10;
        cell.m_offline = 100;
        cell.ORLAPROC();
        EXPECT_EQ(cell.m_last_offline, 100);
        EXPECT_EQ(CountOfProbes(), test.probes);
    }
    EXPECT_EQ(CountOfSoftResets(), 0);
    EXPECT_TRUE(world.LogOf("isSoftReset").empty());
    EXPECT_TRUE(world.Logged(6, "last OFFLINE = 100\n"));
}

TEST_F(Health, NoAnswerAndAnOutageCrossingAThresholdSoftResets) {
    AnswerProjectProbes({"0\n", "0\n", "0\n", "0\n"});
    cell.m_online = 1;
    cell.m_last_offline = 50;
    cell.m_offline = 65;
    cell.ORLAPROC();
    EXPECT_EQ(CountOfSoftResets(), 1);
    EXPECT_EQ(cell.m_online, 0);
    EXPECT_EQ(cell.m_last_offline, 65);
    EXPECT_TRUE(
        world.Logged(1, kMark + " The response time of ping is more than 500ms and ocpp offline...!!!\n"));
    EXPECT_EQ(world.LogOf("isSoftReset"),
              (Lines{"isSoftReset? LastOFFLINE:50,OFFLINE:65\n", "1*60 need SoftReset once!\n"}));

    cell.m_offline = 70;  // the next pass has crossed nothing
    cell.ORLAPROC();
    EXPECT_EQ(CountOfSoftResets(), 1);
    EXPECT_EQ(cell.m_last_offline, 70);
}

TEST_F(Health, ThresholdPassedWhileAProbeIsAnsweredIsUsedUp) {
    world.AnswerPopen(kAnyProbe, "2\n");
    for (int32_t offline : {0, 70}) {
        cell.m_offline = offline;
        cell.ORLAPROC();
    }
    world.AnswerPopen(kAnyProbe, "0\n");
    for (int32_t offline : {71, 1700, 1800}) {
        cell.m_offline = offline;
        cell.ORLAPROC();
        EXPECT_EQ(CountOfSoftResets(), 0) << offline;
    }
    cell.m_offline = 90000;  // over half an hour and a full day of hours at once
    cell.ORLAPROC();
    EXPECT_EQ(CountOfSoftResets(), 1);
    cell.ORLAPROC();
    EXPECT_EQ(CountOfSoftResets(), 1);
}

TEST_F(Health, ThresholdsFireOnceEach) {
    const struct {
        int32_t last, now;
        const char* line;  // "" for no
    } cases[] = {
        {0, 0, ""},
        {0, 60, ""},
        {60, 61, "1*60 need SoftReset once!\n"},
        {-5, 61, "1*60 need SoftReset once!\n"},
        {0, 99999, "1*60 need SoftReset once!\n"},
        {61, 61, ""},
        {61, 1800, ""},
        {61, 1801, "30*60 need SoftReset once!\n"},
        {1800, 1801, "30*60 need SoftReset once!\n"},
        {1801, 1801, ""},
        {1801, 3599, ""},
        {3599, 3600, "60*60 need SoftReset once!curTimes=1,lastTimes=0\n"},
        {3600, 7199, ""},
        {3600, 10800, "60*60 need SoftReset once!curTimes=3,lastTimes=1\n"},
        {7200, 10, ""},
        {7200, INT32_MIN, ""},
        {INT32_MAX, INT32_MAX, ""},
        {INT32_MIN, INT32_MAX, "1*60 need SoftReset once!\n"},
    };
    for (const auto& test : cases) {
        world.log.clear();
        cell.m_last_offline = test.last;
        cell.m_offline = test.now;
        EXPECT_EQ(cell.isSoftReset(), test.line[0] != '\0') << test.last << " " << test.now;
        Lines expected = {"isSoftReset? LastOFFLINE:" + std::to_string(test.last) +
                          ",OFFLINE:" + std::to_string(test.now) + "\n"};
        if (test.line[0] != '\0') expected.push_back(test.line);
        EXPECT_EQ(world.LogOf("isSoftReset"), expected);
        for (const auto& line : world.log) EXPECT_EQ(line.level, 7u);
    }
}

TEST_F(Health, AnOutageOfThreeHoursGivesOneSoftResetPerThreshold) {
    AnswerProjectProbes({"0\n", "0\n", "0\n", "0\n"});
    Lines soft_resets;
    for (cell.m_offline = 0; cell.m_offline <= 3 * 3600; cell.m_offline += 30) {
        const int before = CountOfSoftResets();
        cell.ORLAPROC();
        if (CountOfSoftResets() != before) soft_resets.push_back(std::to_string(cell.m_offline));
    }
    EXPECT_EQ(soft_resets, (Lines{"90", "1830", "3600", "7200", "10800"}));
}

TEST_F(Health, LinesNameTheirOperation) {
    world.AnswerPopen(kAnyProbe, "0\n");
    cell.m_double_sim = 1;
    for (int i = 0; i < 9; ++i) cell.CheckNetwork();
    cell.m_offline = 100;
    cell.ORLAPROC();
    for (const char* function : {"pingCheck", "switchPingProc", "CheckNetwork", "CheckNetworkDoubleSim",
                                 "SwitchSIMCard", "ORLAPROC", "isSoftReset"}) {
        EXPECT_FALSE(world.LogOf(function).empty()) << function;
        for (const auto& line : world.log) {
            if (line.function != function) continue;
            EXPECT_EQ(line.file, "network_daemon/cellular_health.cpp");
        }
    }
}

}  // namespace
}  // namespace cc_cell
