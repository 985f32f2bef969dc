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

using test_support::kStatusFile;
using test_support::ScriptedModem;
using test_support::World;

constexpr char kCsqAnswer[] = "\r\n+CSQ: 20,99\r\n\r\nOK\r\n";
constexpr char kDeviceResetLine[] = "[FIFO] DeviceReset run\n";

/// A driver that is online, whose signal is read at once, and whose SIM is known.
void BringOnline(RecordingCell& cell) {
    cell.m_online = 1;
    cell.csq_read = 1;
    CopyText(cell.m_csIMEI, "862000000000000");
    CopyText(cell.m_card_imsi, "460001234567890");
}

void AnswerReady(ScriptedModem& modem) {
    modem.On("AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n");
}

/// Task counts failed checks over the life of the process: this gets the count back to 0, so that the tests
/// may run in one process, in any order.
class CountStartsAfresh {
  public:
    CountStartsAfresh() {
        World world;
        ScriptedModem modem{world};
        AnswerReady(modem);
        RecordingCell cell(world, modem.fd());
        BringOnline(cell);
        cell.link_up = [] { return 0; };
        cell.connect = 0;  // the first step after the loss of the link
        cell.Task();
    }
};

class TaskLoop : private CountStartsAfresh, public testing::Test {
  protected:
    /// Ends Task by the request that the pipe makes, at the end of the pass that runs then.
    void EndAt(double seconds) {
        world.At(seconds, [this] { cell.m_device_reset_req = 1; });
    }
    /// "seconds level text" of Task's own lines, but for the last one of a run that EndAt ended.
    Lines Log() const {
        Lines lines;
        for (const auto& line : world.log) {
            if (line.function != "Task" || line.text == kDeviceResetLine) continue;
            EXPECT_EQ(line.file, "network_daemon/cellular_task.cpp");
            lines.push_back(At(line.at_seconds, std::to_string(line.level) + " " + line.text));
        }
        return lines;
    }

    World world;
    ScriptedModem modem{world};
    RecordingCell cell{world, modem.fd()};
};

// Requests of the pipe

TEST_F(TaskLoop, DeviceResetRequestAtEntryReturnsBeforeAnyIo) {
    modem.Unsolicited(0, "RING\r\n");
    cell.m_device_reset_req = 1;
    cell.m_soft_reset_req = 1;
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(cell.m_device_reset_req, 0);
    EXPECT_EQ(cell.m_soft_reset_req, 1);
    EXPECT_EQ(world.now_ms(), 0);
    EXPECT_TRUE(cell.calls.empty());
    EXPECT_TRUE(modem.Sent().empty());
    EXPECT_FALSE(world.Exists(kStatusFile));
    EXPECT_EQ(world.LogOf("Task"), Lines{kDeviceResetLine});
    EXPECT_TRUE(world.Logged(5, kDeviceResetLine));
}

TEST_F(TaskLoop, DeviceResetRequestIsHonouredAtTheEndOfAPass) {
    BringOnline(cell);
    EndAt(0.5);
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(cell.Story(), (Lines{"1.000 ReadCSQ", "1.000 CheckConnection", "1.000 GetLTEcfg"}));
    EXPECT_EQ(world.now_ms(), 1000);
    EXPECT_EQ(cell.m_device_reset_req, 0);
    EXPECT_TRUE(world.Exists(kStatusFile));  // of the pass
    EXPECT_EQ(world.LogOf("Task"), Lines{kDeviceResetLine});
}

TEST_F(TaskLoop, SoftResetRequestIsHonouredAtTheTopOfTheNextPass) {
    BringOnline(cell);
    cell.set_up = 1;
    cell.sim = kSimReady;
    cell.connect = 1;
    world.At(0.5, [this] { cell.m_soft_reset_req = 1; });
    EndAt(1.5);
    cell.Task();
    EXPECT_EQ(cell.Story(), (Lines{"1.000 ReadCSQ", "1.000 CheckConnection", "1.000 GetLTEcfg",
                                   "1.000 Initialize", "1.000 CheckSimCard", "2.000 Connect"}));
    EXPECT_EQ(cell.m_soft_reset_req, 0);
    EXPECT_EQ(Log(), Lines{"1.000 5 [FIFO] SoftReset run\n"});
}

TEST_F(TaskLoop, DeviceResetRequestWinsOverASoftResetInTheSamePass) {
    BringOnline(cell);
    world.At(0.5, [this] { cell.m_soft_reset_req = cell.m_device_reset_req = 1; });
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(cell.CountOf("Initialize"), 0);
    EXPECT_EQ(cell.m_soft_reset_req, 1);
}

// Unsolicited text

TEST_F(TaskLoop, HintIsParsedAndHandedToTheDriver) {
    BringOnline(cell);
    modem.Unsolicited(0.2, "\r\n+CREG: 1,5\r\n");
    EndAt(0.5);
    cell.Task();
    EXPECT_EQ(cell.Names(), (Lines{"DealHint 5", "ReadCSQ", "CheckConnection", "GetLTEcfg"}));
    EXPECT_EQ(Log(), Lines{"1.000 7 Auto  hint:\r\n+CREG: 1,5\r\n\n"});
}

TEST_F(TaskLoop, UnknownHintIsLoggedAndNotHandedOn) {
    BringOnline(cell);
    modem.Unsolicited(0.2, "\r\nRING\r\n");
    EndAt(0.5);
    cell.Task();
    EXPECT_EQ(cell.CountOf("DealHint 0"), 0);
    EXPECT_EQ(Log(), (Lines{"1.000 7 Auto  hint:\r\nRING\r\n\n", "1.000 7 UNKOWN Hint:\r\nRING\r\n\n"}));
}

TEST_F(TaskLoop, HintOfANewTechnologyAsksForIt) {
    BringOnline(cell);
    modem.On("AT+PSRAT", "\r\n+PSRAT: LTE\r\n\r\nOK\r\n");
    modem.Unsolicited(0.2, "\r\n+NWTYPEIND: 7\r\n");
    EndAt(0.5);
    cell.Task();
    EXPECT_STREQ(cell.m_NetworkType, "LTE");
    EXPECT_EQ(modem.exchanges.at(0).command, "AT+PSRAT");
    EXPECT_NEAR(modem.exchanges.at(0).at_seconds, 1.001, 1e-6);
}

TEST_F(TaskLoop, ShortHintIsNotFollowedByTheTailOfALongOne) {
    BringOnline(cell);
    modem.Unsolicited(0.2, "\r\nsomething long +CREG: 1,5\r\n");
    modem.Unsolicited(1.2, "RING");
    EndAt(1.5);
    cell.Task();
    EXPECT_EQ(Log().back(), "2.000 7 UNKOWN Hint:RING\n");
}

TEST_F(TaskLoop, HintOf256BytesEndsItsReadEarlyAndIsWhole) {
    BringOnline(cell);
    const std::string hint = "+CREG: 1,5\r\n" + std::string(256 - 12, 'x');
    modem.Unsolicited(0.2, hint);
    EndAt(0.3);
    cell.Task();
    EXPECT_EQ(cell.Names().front(), "DealHint 5");
    EXPECT_EQ(Log(), Lines{"0.200 7 Auto  hint:" + hint + "\n"});
}

TEST_F(TaskLoop, RestOfALongerHintIsAHintOfItsOwn) {
    BringOnline(cell);
    cell.m_enable[0] = '\0';
    modem.Unsolicited(0.2, std::string(256, 'x') + "+CREG: 1,5\r\n");
    EndAt(1.0);
    cell.Task();
    EXPECT_EQ(Log().back(), "1.200 7 Auto  hint:+CREG: 1,5\r\n\n");
    EXPECT_EQ(cell.CountOf("DealHint 5"), 1);
}

TEST_F(TaskLoop, HintsOfAnyBytesAreHarmless) {
    BringOnline(cell);
    modem.Unsolicited(0.2, std::string("\0\0+CREG: 1,5\r\n", 14));
    modem.Unsolicited(1.2, "%s%n%d\r\n");
    modem.Unsolicited(2.2, "+CREG:");
    modem.Unsolicited(3.2, std::string(600, '\xff'));
    EndAt(6.5);
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_TRUE(world.Logged(7, "UNKOWN Hint:%s%n%d\r\n\n"));
    EXPECT_EQ(cell.CountOf("DealHint 5"),
              1);  // the one that is cut short; after a zero byte nothing is seen
}

// Signal probe

TEST_F(TaskLoop, SignalIsProbedAtOnceAndThenAfterMoreThanTenSeconds) {
    BringOnline(cell);
    EndAt(40.5);
    cell.Task();
    Lines probes;
    for (const auto& call : cell.calls) {
        if (call.name == "ReadCSQ") probes.push_back(At(call.at_seconds, ""));
    }
    EXPECT_EQ(probes, (Lines{"1.000 ", "12.000 ", "23.000 ", "34.000 "}));
}

TEST_F(TaskLoop, TheProbeCountsFromItsEnd) {
    BringOnline(cell);
    cell.csq_read.reset();
    modem.On("AT+CSQ", kCsqAnswer);
    EndAt(20.5);
    cell.Task();
    // The first ends at 2.001 s, and the pass that begins 10 s of uptime later is one too early.
    Lines exchanges;
    for (const auto& exchange : modem.exchanges) {
        exchanges.push_back(At(exchange.at_seconds, exchange.command));
    }
    EXPECT_EQ(exchanges, (Lines{"1.001 AT+CSQ", "13.002 AT+CSQ"}));
    EXPECT_EQ(cell.m_nCSQ, 20);
}

TEST_F(TaskLoop, ThreeFailedProbesAskForAResetAfterThreePauses) {
    BringOnline(cell);
    cell.csq_read = 0;
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(cell.Story(), (Lines{"1.000 ReadCSQ", "6.000 ReadCSQ", "11.000 ReadCSQ"}));
    EXPECT_EQ(world.now_ms(), 16000);
    EXPECT_EQ(Log(), Lines{"16.000 1 No response! Reset device...\n"});
    EXPECT_TRUE(world.Exists(kStatusFile));
    EXPECT_EQ(cell.m_online, 1);  // main clears it
}

TEST_F(TaskLoop, ASilentModemIsFoundWithinThreeProbes) {
    BringOnline(cell);
    cell.csq_read.reset();
    modem.Mute(true);
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(modem.Sent(), Lines(3, "AT+CSQ"));
    EXPECT_EQ(world.now_ms(), 1000 + 3 * 6001);
}

TEST_F(TaskLoop, AProbeThatSucceedsLateGoesOn) {
    BringOnline(cell);
    cell.csq_read.reset();
    modem.OnSequence("AT+CSQ", {"\r\nERROR\r\n", "", kCsqAnswer});
    EndAt(13.5);
    cell.Task();
    EXPECT_EQ(cell.CountOf("ReadCSQ"), 3);
    EXPECT_EQ(cell.CountOf("CheckConnection"), 1);
    EXPECT_EQ(world.now_ms(), 14003);  // two pauses and three exchanges
}

TEST_F(TaskLoop, AFailedProbeIsNoErrorOfACinterionModem) {
    BringOnline(cell);
    cell.m_vendor_type = kVendorCinterion;
    cell.csq_read = 0;
    cell.SetATPort("/dev/ttyACM0");
    world.Write("/dev/ttyACM0", "");
    EndAt(1.5);
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(Log(), Lines{"1.000 7 GetVendorType:Cinterion PLS83-W\n"});
    EXPECT_EQ(cell.CountOf("ReadCSQ"), 1);
    EXPECT_EQ(cell.CountOf("CheckConnection"), 2);
}

TEST_F(TaskLoop, ACinterionModemWhosePathIsGoneIsReset) {
    BringOnline(cell);
    cell.m_vendor_type = kVendorCinterion;
    cell.SetATPort("/dev/ttyACM0");
    world.Write("/dev/ttyACM0", "");
    world.At(5, [this] { world.Remove("/dev/ttyACM0"); });
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(world.now_ms(), 12000);
    EXPECT_EQ(Log().back(), "12.000 1 Cinterion PLS83-W /dev/ttyACM0 not exist! Reset device...\n");
    EXPECT_EQ(cell.CountOf("ReadCSQ"), 2);
    EXPECT_TRUE(world.Exists(kStatusFile));
}

// Disabled

TEST_F(TaskLoop, DisabledLinkOnlyWaitsForTheSettings) {
    cell.csq_read = 1;
    CopyText(cell.m_enable, "false");
    cell.settings = [this] {
        if (world.now_ms() > 30000) CopyText(cell.m_enable, "true");
    };
    cell.connect = 1;
    EndAt(42.5);
    cell.Task();
    EXPECT_EQ(cell.Story(), (Lines{"1.000 ReadCSQ", "21.000 GetLTEcfg", "22.000 ReadCSQ", "42.000 GetLTEcfg",
                                   "43.000 ReadCSQ", "43.000 Connect"}));
    EXPECT_EQ(Log(), (Lines{"1.000 1 LTE ENABLE=false !!!\n", "22.000 1 LTE ENABLE=false !!!\n"}));
}

TEST_F(TaskLoop, OnlyTheExactWordDisables) {
    cell.csq_read = 1;
    cell.connect = 1;
    for (const char* word : {"False", "FALSE", "0", "falsey", ""}) {
        CopyText(cell.m_enable, word);
        cell.calls.clear();
        cell.m_device_reset_req = 0;
        EndAt(world.now_seconds() + 0.5);
        cell.Task();
        EXPECT_EQ(cell.CountOf("Connect"), 1) << word;
    }
}

TEST_F(TaskLoop, DisablingWhileOnlineDisconnectsOnce) {
    BringOnline(cell);
    cell.settings = [this] { CopyText(cell.m_enable, "false"); };
    EndAt(10);
    cell.Task();
    EXPECT_EQ(cell.Story(), (Lines{"1.000 ReadCSQ", "1.000 CheckConnection", "1.000 GetLTEcfg",
                                   "1.000 DisConnect", "22.000 GetLTEcfg"}));
    EXPECT_EQ(cell.m_online, 0);
    EXPECT_EQ(Log(), (Lines{"1.000 1 lte ENABLE=false, disconnect network !!!\n",
                            "2.000 1 LTE ENABLE=false !!!\n"}));
}

TEST_F(TaskLoop, DisablingWhileOnlineStillFillsInTheIdentity) {
    BringOnline(cell);
    cell.m_card_imsi[0] = '\0';
    modem.On("AT+CIMI", "\r\n460001234567890\r\n\r\nOK\r\n");
    cell.settings = [this] { CopyText(cell.m_enable, "false"); };
    EndAt(0.5);
    cell.Task();
    EXPECT_STREQ(cell.m_card_imsi, "460001234567890");
}

// Offline

TEST_F(TaskLoop, OfflineEachPassIsOneStepOfConnect) {
    cell.csq_read = 1;
    cell.connect = 1;
    EndAt(2.5);
    cell.Task();
    EXPECT_EQ(cell.Story(), (Lines{"1.000 ReadCSQ", "1.000 Connect", "2.000 Connect", "3.000 Connect"}));
}

TEST_F(TaskLoop, ConnectMayAskForAReset) {
    cell.csq_read = 1;
    cell.connect = 0;
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(world.now_ms(), 1000);
    EXPECT_EQ(Log(), Lines{"1.000 1 Connect error! Reset device...\n"});
    EXPECT_TRUE(world.Exists(kStatusFile));
}

// Online

TEST_F(TaskLoop, SettingsAreReadInEachPassWithALink) {
    BringOnline(cell);
    EndAt(2.5);
    cell.Task();
    EXPECT_EQ(cell.Story(),
              (Lines{"1.000 ReadCSQ", "1.000 CheckConnection", "1.000 GetLTEcfg", "2.000 CheckConnection",
                     "2.000 GetLTEcfg", "3.000 CheckConnection", "3.000 GetLTEcfg"}));
    EXPECT_TRUE(Log().empty());
}

TEST_F(TaskLoop, MissingIdentityIsAskedForInEachPass) {
    BringOnline(cell);
    cell.m_csIMEI[0] = cell.m_card_imsi[0] = '\0';
    modem.OnSequence("AT+CGSN", {"\r\nERROR\r\n", "\r\n862000000000000\r\n\r\nOK\r\n"});
    modem.OnSequence("AT+CIMI", {"\r\nERROR\r\n", "\r\n460001234567890\r\n\r\nOK\r\n"});
    EndAt(8.5);
    cell.Task();
    EXPECT_EQ(modem.Sent(), (Lines{"AT+CGSN", "AT+CIMI", "AT+CGSN", "AT+CIMI"}));
    EXPECT_STREQ(cell.m_csIMEI, "862000000000000");
    EXPECT_STREQ(cell.m_card_imsi, "460001234567890");
    EXPECT_EQ(Log(), (Lines{"2.001 5 Get Card IMEI fail, m_csIMEI = \n",
                            "3.002 5 Get Card IMSI fail, m_card_imsi = \n"}));
}

TEST_F(TaskLoop, StatusFilesAreRewrittenInEachPass) {
    BringOnline(cell);
    int found = 0;
    cell.link_up = [&] {
        found += world.Exists(kStatusFile);
        world.Remove(kStatusFile);
        return 1;
    };
    EndAt(4.5);
    cell.Task();
    EXPECT_EQ(cell.CountOf("CheckConnection"), 5);
    EXPECT_EQ(found, 4);
    EXPECT_TRUE(world.Exists(kStatusFile));
}

TEST_F(TaskLoop, EachTwentiethPassLooksAtTemperatureAndSignal) {
    BringOnline(cell);
    EndAt(60.5);
    cell.Task();
    Lines looks;
    for (const auto& call : cell.calls) {
        if (call.name == "CheckTempStatus" || call.name == "CheckSignalStatus") {
            looks.push_back(At(call.at_seconds, call.name));
        }
    }
    EXPECT_EQ(looks,
              (Lines{"20.000 CheckTempStatus", "20.000 CheckSignalStatus", "40.000 CheckTempStatus",
                     "40.000 CheckSignalStatus", "60.000 CheckTempStatus", "60.000 CheckSignalStatus"}));
}

TEST_F(TaskLoop, PassesAreCountedAfreshInEachRun) {
    BringOnline(cell);
    EndAt(18.5);
    cell.Task();
    EndAt(37.5);
    cell.Task();
    EXPECT_EQ(world.now_ms(), 38000);
    EXPECT_EQ(cell.CountOf("CheckTempStatus"), 0);
}

TEST_F(TaskLoop, OfflineNobodyLooksAtTemperatureAndSignal) {
    cell.csq_read = 1;
    cell.connect = 1;
    EndAt(41.5);
    cell.Task();
    EXPECT_EQ(cell.CountOf("Connect"), 42);
    EXPECT_EQ(cell.CountOf("CheckTempStatus"), 0);
    EXPECT_EQ(cell.CountOf("CheckSignalStatus"), 0);
}

// Health

TEST_F(TaskLoop, WithOneSimAndNoProjectNothingPings) {
    BringOnline(cell);
    EndAt(5.5);
    cell.Task();
    EXPECT_TRUE(world.shell.empty());
}

TEST_F(TaskLoop, ProjectIsCheckedBeforeTheNetworkAndBeforeTheIdentity) {
    BringOnline(cell);
    cell.m_sim_ready = 1;
    CopyText(cell.m_NetworkType, "LTE");
    cell.m_card_imsi[0] = '\0';
    modem.On("AT+CIMI", "\r\n460001234567890\r\n\r\nOK\r\n");
    world.AnswerPopenSlowly("ping ", "1\n", 2);
    cell.settings = [this] { cell.m_orla_project = cell.m_double_sim = 1; };  // of this very pass
    EndAt(0.5);
    cell.Task();
    ASSERT_EQ(world.shell.size(), 2u);
    EXPECT_EQ(world.shell[0].command.substr(0, 19), "ping  10.151.133.48");
    EXPECT_EQ(world.shell[1].command.substr(0, 13), "ping  8.8.8.8");
    ASSERT_EQ(modem.exchanges.size(), 1u);
    EXPECT_NEAR(modem.exchanges[0].at_seconds, 5.001, 1e-6);
}

TEST_F(TaskLoop, ADisabledLinkIsNotChecked) {
    BringOnline(cell);
    cell.settings = [this] {
        cell.m_orla_project = cell.m_double_sim = 1;
        CopyText(cell.m_enable, "false");
    };
    EndAt(0.5);
    cell.Task();
    EXPECT_TRUE(world.shell.empty());
}

TEST_F(TaskLoop, NinthFailedCheckOfTheNetworkAsksForAReset) {
    BringOnline(cell);
    cell.m_double_sim = 1;  // no SIM is ready, so that each check counts as failed without a ping
    cell.m_CSQ_weak_check_times = 7;
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(cell.CountOf("CheckConnection"), 2);
    EXPECT_EQ(Log(), Lines{"2.000 1 Connect error! Reset device...\n"});
    EXPECT_TRUE(world.Exists(kStatusFile));
}

TEST_F(TaskLoop, SoftResetOfTheHealthCheckLeadsBackThroughConnect) {
    BringOnline(cell);
    cell.set_up = 1;
    cell.sim = kSimReady;
    cell.connect = 1;
    cell.m_double_sim = 1;
    cell.m_CSQ_weak_check_times = 2;
    EndAt(6.5);
    cell.Task();
    EXPECT_EQ(cell.Story(), (Lines{"1.000 ReadCSQ", "1.000 CheckConnection", "1.000 GetLTEcfg",
                                   "6.000 Initialize", "6.000 CheckSimCard", "7.000 Connect"}));
    EXPECT_EQ(cell.m_CSQ_weak_check_times, 3);
    EXPECT_EQ(world.Commands().front(), "echo 1 > /sys/class/gpio/gpio130/value");
}

// Link lost

TEST_F(TaskLoop, EleventhFailedCheckEndsTheOnlineState) {
    BringOnline(cell);
    AnswerReady(modem);
    cell.link_up = [] { return 0; };
    cell.connect = 0;
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(cell.CountOf("CheckConnection"), 11);
    EXPECT_EQ(modem.Sent(), Lines(2, "AT+CPIN?"));  // of the first two checks alone
    EXPECT_EQ(cell.m_online, 0);
    Lines expected;
    for (int i = 1; i <= 11; ++i) {
        // The first pass waits 1 s for hints and 1.001 s for the SIM; so does the second.
        const double seconds = i == 1 ? 2.001 : i == 2 ? 4.002 : 2.002 + i;
        expected.push_back(At(seconds, "1 Check connection. offline " + std::to_string(i) + "/10 times\n"));
    }
    expected.push_back("14.002 1 Connect error! Reset device...\n");
    EXPECT_EQ(Log(), expected);
    EXPECT_EQ(cell.CountOf("GetLTEcfg"), 0);  // settings are left alone while the link is lost
}

TEST_F(TaskLoop, AfterElevenTheCountStartsAgain) {
    BringOnline(cell);
    AnswerReady(modem);
    cell.link_up = [] { return 0; };
    cell.connect = 0;
    cell.Task();
    world.log.clear();
    cell.m_online = 1;
    cell.Task();
    EXPECT_EQ(Log().front().substr(7), "1 Check connection. offline 1/10 times\n");
    EXPECT_EQ(modem.Sent().size(), 4u);
}

TEST_F(TaskLoop, GoodChecksClearNothing) {
    BringOnline(cell);
    AnswerReady(modem);
    int check = 0;
    cell.link_up = [&] { return ++check % 2; };  // every second one fails
    cell.connect = 0;
    EXPECT_EQ(cell.Task(), -1);
    EXPECT_EQ(check, 22);
    EXPECT_EQ(world.CountLogged("Check connection. offline 11/10 times\n"), 1);
    EXPECT_EQ(modem.Sent().size(), 2u);
}

TEST_F(TaskLoop, CountSurvivesAReturnOfTask) {
    BringOnline(cell);
    AnswerReady(modem);
    cell.link_up = [] { return 0; };
    EndAt(4.5);
    cell.Task();
    EXPECT_EQ(Log().back(), "5.002 1 Check connection. offline 3/10 times\n");
    EndAt(world.now_seconds() + 0.5);
    cell.Task();
    EXPECT_EQ(Log().back(), "6.002 1 Check connection. offline 4/10 times\n");
    EXPECT_EQ(cell.m_online, 1);
}

TEST_F(TaskLoop, ALostSimEndsTheOnlineStateAtOnce) {
    BringOnline(cell);
    modem.On("AT+CPIN?", "\r\n+CME ERROR: 10\r\n");
    cell.link_up = [] { return 0; };
    cell.connect = 0;
    cell.Task();
    EXPECT_EQ(cell.CountOf("CheckConnection"), 1);
    EXPECT_EQ(cell.m_online, 0);
    EXPECT_EQ(cell.m_sim_ready, 0);
    EXPECT_EQ(Log().front(), "13.003 1 Check connection. offline 1/10 times\n");
}

}  // namespace
}  // namespace cc_cell
