#include "network_daemon/cellular.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text_util.h"
#include "tests/support/modem_answers.h"
#include "tests/support/recording_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::kKillDhcp;
using test_support::kStatusFile;
using test_support::ScriptedModem;
using test_support::World;

constexpr char kStartDhcp[] = "/ubi/local/apps/network/if-lte /run/network/ifcfg-lte dhcp";

class Link : public testing::Test {
  protected:
    /// Commands with the times at which they were written.
    Lines Exchanges() const {
        Lines lines;
        for (const auto& exchange : modem.exchanges) {
            lines.push_back(At(exchange.at_seconds, exchange.command));
        }
        return lines;
    }
    Lines ShellCalls() const {
        Lines lines;
        for (const auto& call : world.shell) lines.push_back(At(call.at_seconds, call.command));
        return lines;
    }
    /// "seconds level text" of what an operation logged.
    Lines LogOf(const std::string& function) const {
        Lines lines;
        for (const auto& line : world.log) {
            if (line.function != function) continue;
            EXPECT_EQ(line.file, "network_daemon/cellular_connect.cpp");
            lines.push_back(At(line.at_seconds, std::to_string(line.level) + " " + line.text));
        }
        return lines;
    }
    /// The set-up and the SIM are not what is looked at.
    void SkipSoftReset() {
        cell.set_up = 1;
        cell.sim = kSimReady;
    }

    World world;
    ScriptedModem modem{world};
    RecordingCell cell{world, modem.fd()};
};

// Set-up

TEST_F(Link, InitializeSendsInOrderWithARadioPause) {
    modem.SetInit();
    modem.On("AT+MEID", "\r\nA10000484A1B2C\r\n\r\nOK\r\n");
    EXPECT_EQ(cell.Initialize(), 1);
    EXPECT_EQ(Exchanges(), (Lines{"0.001 ATZ", "1.002 AT&F", "2.003 ATE0", "3.004 AT+CFUN=0",
                                  "9.005 AT+CFUN=1", "10.006 AT+MODODR=2", "11.007 AT+MEID"}));
    EXPECT_EQ(world.now_ms(), 12007);
    EXPECT_STREQ(cell.m_meid, "A10000484A1B2C");
    EXPECT_TRUE(world.Exists(kStatusFile));
}

TEST_F(Link, InitializeDoesNotMindASilentModem) {
    modem.Mute(true);
    CopyText(cell.m_meid, "former");
    EXPECT_EQ(cell.Initialize(), 1);
    EXPECT_EQ(modem.Sent().size(), 7u);
    EXPECT_STREQ(cell.m_meid, "former");
    EXPECT_TRUE(world.Exists(kStatusFile));
}

TEST_F(Link, MeidKeepsItsTerminator) {
    modem.SetInit();
    modem.On("AT+MEID", "\r\n" + std::string(100, 'A') + "\r\n\r\nOK\r\n");
    cell.Initialize();
    EXPECT_EQ(std::string(cell.m_meid), std::string(63, 'A'));
}

TEST_F(Link, DisConnectSwitchesTheRadioOff) {
    modem.SetInit();
    EXPECT_EQ(cell.CellBase::DisConnect(), 1);
    EXPECT_EQ(Exchanges(), Lines{"0.001 AT+CFUN=0"});
}

TEST_F(Link, RunDhcpClientRunsTheScript) {
    EXPECT_EQ(cell.RunDhcpClient(), 0);
    EXPECT_EQ(world.Commands(), Lines{kStartDhcp});
    EXPECT_EQ(LogOf("RunDhcpClient"), Lines{"0.000 5 Run DhcpClient!!!\n"});
}

// Soft reset

TEST_F(Link, SoftResetStopsDhcpSetsUpReadsTheSimAndPublishes) {
    modem.SetInit();
    modem.On("AT+CGSN", "\r\n862000000000000\r\n\r\nOK\r\n");
    modem.On("AT+CIMI", "\r\n460001234567890\r\n\r\nOK\r\n");
    modem.On("AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n");
    modem.On("AT+SIMTEST?", "\r\n+SIMTEST: 2\r\n\r\nOK\r\n");
    modem.On("AT^ICCID?", "\r\n^ICCID: 89860012345678901234\r\n\r\nOK\r\n");
    modem.On("AT+COPS?", "\r\n+COPS: 0,0,\"CHN-CT\",7\r\n\r\nOK\r\n");
    cell.m_online = 1;
    cell.SoftReset();
    EXPECT_EQ(LogOf("SoftReset"), (Lines{"0.000 5 Soft reset!\n", "0.000 5 kill udhcpc lte!!!\n"}));
    EXPECT_EQ(ShellCalls(), Lines{At(0, kKillDhcp)});
    EXPECT_EQ(cell.Story(), (Lines{"0.000 Initialize", "12.007 CheckSimCard"}));
    EXPECT_EQ(Exchanges(), (Lines{"0.001 ATZ", "1.002 AT&F", "2.003 ATE0", "3.004 AT+CFUN=0",
                                  "9.005 AT+CFUN=1", "10.006 AT+MODODR=2", "11.007 AT+MEID",
                                  "12.008 AT+CFUN=1", "13.009 AT+CGSN", "14.010 AT+CIMI", "15.011 AT+CPIN?",
                                  "16.012 AT+SIMTEST?", "17.013 AT^ICCID?", "18.014 AT+COPS?"}));
    EXPECT_EQ(world.now_ms(), 19014);
    EXPECT_EQ(cell.m_online, 0);
    const std::string status = world.Read(kStatusFile);
    EXPECT_NE(status.find("IMSI=460001234567890\n"), std::string::npos) << status;
    EXPECT_NE(status.find("Online=FALSE\n"), std::string::npos) << status;
}

TEST_F(Link, SoftResetIgnoresWhatSetUpAndSimSay) {
    cell.set_up = 0;
    cell.sim = kSimNotReady;
    cell.m_online = 1;
    cell.SoftReset();
    EXPECT_EQ(cell.Names(), (Lines{"Initialize", "CheckSimCard"}));
    EXPECT_EQ(cell.m_online, 0);
    EXPECT_TRUE(world.Exists(kStatusFile));
}

// The base dial

TEST_F(Link, DialWithTheApnOfTheSettings) {
    modem.SetInit();
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"internet\"", kOk);
    CopyText(cell.m_apn, "internet");
    cell.m_carrier_code = 1;
    EXPECT_EQ(cell.DoConnect(), 1);
    EXPECT_EQ(Exchanges(), (Lines{"0.001 AT+CFUN=1", "2.002 AT+CGDCONT=1,\"IPV4V6\",\"internet\""}));
    EXPECT_EQ(world.now_ms(), 3002);
    EXPECT_EQ(LogOf("DoConnect"), Lines{"2.001 6 cgdcont = AT+CGDCONT=1,\"IPV4V6\",\"internet\" !\n"});
}

TEST_F(Link, DialTakesTheApnFromTheCarrier) {
    const struct {
        int32_t carrier_code;
        std::string command;
    } cases[] = {{1, "AT+CGDCONT=1,\"IPV4V6\",\"CMNET\""},
                 {2, "AT+CGDCONT=1,\"IPV4V6\",\"3GNET\""},
                 {3, "AT+CGDCONT=1,\"IPV4V6\",\"CTNET\""}};
    modem.SetInit();
    for (const auto& test : cases) {
        modem.On(test.command, kOk);
        cell.m_carrier_code = test.carrier_code;
        EXPECT_EQ(cell.DoConnect(), 1);
        EXPECT_EQ(modem.Sent().back(), test.command);
        EXPECT_TRUE(world.Logged(6, "cgdcont = " + test.command + " !\n"));
    }
}

TEST_F(Link, DialAsksForACarrierThatIsUnknown) {
    const struct {
        const char* operator_text;
        int32_t code;
        int valid;
        const char* apn;
    } cases[] = {{"\"CHINA MOBILE\"", 1, 1, "CMNET"},
                 {"\"CHN-UNICOM\"", 2, 1, "3GNET"},
                 {"\"CHN-CT\"", 3, 1, "CTNET"},
                 {"\"Orange\"", 0, 0, ""},
                 {"CHN-CT", 0, 0, ""}};
    modem.SetInit();
    for (const auto& test : cases) {
        const std::string command = std::string("AT+CGDCONT=1,\"IPV4V6\",\"") + test.apn + "\"";
        modem.On("AT+COPS?", std::string("\r\n+COPS: 0,0,") + test.operator_text + ",7\r\n\r\nOK\r\n");
        modem.On(command, kOk);
        cell.m_carrier_code = 0;
        cell.m_carrier_valid = 1;
        EXPECT_EQ(cell.DoConnect(), 1);
        EXPECT_STREQ(cell.m_carrier, test.operator_text);
        EXPECT_EQ(cell.m_carrier_code, test.code);
        EXPECT_EQ(cell.m_carrier_valid, test.valid);
        EXPECT_EQ(modem.Sent().back(), command);
        EXPECT_TRUE(world.Logged(
            7, std::string("Carrier:") + test.operator_text + "," + std::to_string(test.code) + "\n"));
    }
}

TEST_F(Link, DialWithoutAnyApnTellsTheCommandAndSendsIt) {
    modem.SetInit();
    modem.On("AT+COPS?", "\r\n+CME ERROR: 30\r\n");
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"\"", kOk);
    CopyText(cell.m_carrier, "\"former\"");
    EXPECT_EQ(cell.DoConnect(), 1);
    EXPECT_EQ(Exchanges(),
              (Lines{"0.001 AT+CFUN=1", "2.002 AT+COPS?", "3.003 AT+CGDCONT=1,\"IPV4V6\",\"\""}));
    EXPECT_EQ(LogOf("DoConnect"), (Lines{"3.002 5 DoConnect unknown APN info:AT+CGDCONT=1,\"IPV4V6\",\"\"",
                                         "3.002 6 cgdcont = AT+CGDCONT=1,\"IPV4V6\",\"\" !\n"}));
    EXPECT_STREQ(cell.m_carrier, "\"former\"");
}

TEST_F(Link, DialOfACarrierWithoutMeaningSendsNothing) {
    modem.SetInit();
    cell.m_carrier_code = 4;
    EXPECT_EQ(cell.DoConnect(), 1);
    EXPECT_EQ(modem.Sent(), Lines{"AT+CFUN=1"});
    EXPECT_TRUE(LogOf("DoConnect").empty());
}

TEST_F(Link, DialPrefersTheSettingsToACarrierWithoutMeaning) {
    modem.SetInit();
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"internet\"", kOk);
    CopyText(cell.m_apn, "internet");
    cell.m_carrier_code = 4;
    EXPECT_EQ(cell.DoConnect(), 1);
    EXPECT_EQ(modem.Sent().back(), "AT+CGDCONT=1,\"IPV4V6\",\"internet\"");
}

TEST_F(Link, DialOfTheBaseNeverFails) {
    modem.Mute(true);
    cell.m_carrier_code = 1;
    EXPECT_EQ(cell.DoConnect(), 1);
}

// Service is there

TEST_F(Link, ConnectDialsRunsDhcpAndWaitsForTheLink) {
    modem.SetInit();
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"CMNET\"", kOk);
    modem.On("AT+LINK?", kOk);
    cell.m_carrier_code = 1;
    int checks = 0;
    cell.link_up = [&] {
        cell.AtRequest("AT+LINK?");
        return ++checks == 3 ? 1 : 0;
    };
    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(cell.Story(),
              (Lines{"0.000 Connect", "0.000 CheckServiceStatus", "0.000 DoConnect", "8.002 CheckConnection",
                     "9.003 CheckConnection", "10.004 CheckConnection"}));
    EXPECT_EQ(ShellCalls(), Lines{At(8.002, kStartDhcp)});
    EXPECT_EQ(LogOf("Connect"), Lines{"0.000 5 Do connect.  1 times.\n"});
    EXPECT_EQ(world.now_ms(), 11005 + 70);
    EXPECT_EQ(cell.m_online, 1);
    EXPECT_EQ(cell.m_connect_time, 1011u);
}

TEST_F(Link, ConnectGivesUpAfterThirtyChecks) {
    cell.dial = 1;
    cell.link_up = [] { return 0; };
    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(cell.CountOf("CheckConnection"), 30);
    EXPECT_EQ(world.now_ms(), 5000);
    EXPECT_EQ(cell.m_online, 0);
    EXPECT_EQ(cell.m_connect_time, 0u);
}

TEST_F(Link, TheThirtiethCheckStillCounts) {
    cell.dial = 1;
    int checks = 0;
    cell.link_up = [&] { return ++checks == 30 ? -1 : 0; };  // any result but 0 is a link
    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(cell.m_online, 1);
}

TEST_F(Link, AFailedDialWaitsForNothing) {
    cell.dial = 0;
    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(LogOf("Connect"),
              (Lines{"0.000 5 Do connect.  1 times.\n", "0.000 5 Do connect fail, need connect again !\n"}));
    EXPECT_EQ(cell.CountOf("CheckConnection"), 0);
    EXPECT_TRUE(world.shell.empty());
    EXPECT_EQ(world.now_ms(), 0);
}

TEST_F(Link, ServiceClearsTheCountOfChecksWithoutIt) {
    cell.dial = 0;
    cell.m_check_service_times = 12;
    cell.Connect();
    EXPECT_EQ(cell.m_check_service_times, 0);
}

TEST_F(Link, WithoutAServiceTestOfItsOwnADriverResetsAtTheFifthCall) {
    cell.dial = 1;
    for (int i = 1; i <= 4; ++i) EXPECT_EQ(cell.Connect(), 1) << i;
    EXPECT_EQ(cell.CountOf("DoConnect"), 4);
    EXPECT_EQ(cell.Connect(), 0);
    EXPECT_EQ(cell.CountOf("DoConnect"), 4);
    EXPECT_TRUE(world.Logged(5, "m_reconnect_times=  5 times,Reset device!\n"));
}

TEST_F(Link, EachFifthAttemptResetsWhateverSucceededInBetween) {
    cell.dial = 1;
    std::vector<int32_t> results, counts;
    for (int i = 0; i < 11; ++i) {
        results.push_back(cell.Connect());
        counts.push_back(cell.m_reconnect_times);
    }
    EXPECT_EQ(results, (std::vector<int32_t>{1, 1, 1, 1, 0, 1, 1, 1, 1, 0, 1}));
    EXPECT_EQ(counts, (std::vector<int32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(cell.CountOf("DoConnect"), 9);
    EXPECT_EQ(cell.m_online, 1);
    EXPECT_TRUE(world.Logged(5, "Do connect.  5 times.\n"));
    EXPECT_TRUE(world.Logged(5, "m_reconnect_times=  10 times,Reset device!\n"));
}

// No service, one SIM

TEST_F(Link, WithoutServiceWaitsAndCounts) {
    cell.service = 0;
    cell.m_sim_ready = 1;
    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(LogOf("Connect"), (Lines{"0.000 7 the SIM card detected!!!\n",
                                       "0.000 5 Check service softrest_times.  0/9 times.\n",
                                       "0.000 5 Check service status.  1/34 times.\n"}));
    EXPECT_EQ(world.now_ms(), 5000);
    EXPECT_EQ(cell.m_check_service_times, 1);
    EXPECT_EQ(cell.m_reconnect_times, 0);
    EXPECT_EQ(cell.Names(), (Lines{"Connect", "CheckServiceStatus"}));
}

TEST_F(Link, TheThirtyFourthCheckSoftResets) {
    SkipSoftReset();
    cell.service = 0;
    cell.m_sim_ready = 1;
    cell.m_check_service_times = 32;
    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(world.CountLogged("Check service status.  33/34 times.\n"), 1);
    EXPECT_TRUE(world.shell.empty());
    EXPECT_EQ(world.now_ms(), 5000);

    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(world.CountLogged("Check service status.  34/34 times.\n"), 1);
    EXPECT_EQ(LogOf("Connect").back(), "5.000 5 no service status,Soft reset once!\n");
    EXPECT_EQ(cell.Names(), (Lines{"Connect", "CheckServiceStatus", "Connect", "CheckServiceStatus",
                                   "GetLTEcfg", "Initialize", "CheckSimCard"}));
    EXPECT_EQ(ShellCalls(), Lines{At(5, kKillDhcp)});
    EXPECT_EQ(world.now_ms(), 10000);
    EXPECT_EQ(cell.m_check_service_times, 0);
    EXPECT_EQ(cell.m_softrest_times, 1);
}

TEST_F(Link, CinterionAsksForAResetAtTheThirtyFourthCheck) {
    cell.service = 0;
    cell.m_sim_ready = 1;
    cell.m_vendor_type = kVendorCinterion;
    cell.m_check_service_times = 33;
    EXPECT_EQ(cell.Connect(), 0);
    EXPECT_EQ(LogOf("Connect").back(), "0.000 5 no service status,Soft reset once!\n");
    EXPECT_EQ(cell.m_check_service_times, 0);
    EXPECT_EQ(cell.m_softrest_times, 0);
    EXPECT_TRUE(world.shell.empty());
    EXPECT_EQ(cell.CountOf("GetLTEcfg"), 0);
    EXPECT_EQ(world.now_ms(), 0);
}

TEST_F(Link, ThirdCycleWithAGoodSignalAsksForAResetAtItsFirstCheck) {
    cell.service = 0;
    cell.m_sim_ready = 1;
    cell.m_softrest_times = 2;
    cell.m_nCSQ = 15;
    cell.m_CEREG = 1;
    EXPECT_EQ(cell.Connect(), 0);
    EXPECT_EQ(cell.m_check_service_times, 0);
    EXPECT_EQ(cell.m_softrest_times, 3);
    EXPECT_EQ(world.now_ms(), 0);
    EXPECT_EQ(LogOf("Connect"), (Lines{"0.000 7 the SIM card detected!!!\n",
                                       "0.000 5 Check service softrest_times.  2/9 times.\n"}));
}

TEST_F(Link, ThirdCycleGoesOnCountingWhileItCannotHelp) {
    const struct {
        int32_t softrest_times, csq, cereg, cgreg;
        int expected_result;
    } cases[] = {
        {2, 15, 3, 3, 1},                                        // the network refuses us
        {2, 15, 3, 1, 0},                                        // one refusal alone doesn't count
        {2, 15, 1, 3, 0},  {2, 9, 1, 1, 1},                      // too weak
        {2, 10, 1, 1, 0},  {2, 99, 0, 0, 0},                     // "no value" counts like any number
        {1, 15, 1, 1, 1},  {3, 15, 1, 1, 1}, {11, 15, 1, 1, 0},  // the third of the next nine
        {20, 15, 1, 1, 0},
    };
    cell.service = 0;
    cell.m_sim_ready = 1;
    for (const auto& test : cases) {
        cell.m_check_service_times = 0;
        cell.m_softrest_times = test.softrest_times;
        cell.m_nCSQ = test.csq;
        cell.m_CEREG = test.cereg;
        cell.m_CGREG = test.cgreg;
        const std::string what = std::to_string(test.softrest_times) + " csq " + std::to_string(test.csq);
        EXPECT_EQ(cell.Connect(), test.expected_result) << what;
        EXPECT_EQ(cell.m_softrest_times, test.softrest_times + (test.expected_result == 0)) << what;
        EXPECT_EQ(cell.m_check_service_times, test.expected_result) << what;
    }
}

TEST_F(Link, ThirdCycleAsksForAResetAtWhicheverCheckTheSignalTurnsGood) {
    cell.service = 0;
    cell.m_sim_ready = 1;
    cell.m_softrest_times = 2;
    cell.m_nCSQ = 5;
    for (int check = 1; check <= 20; ++check) {
        EXPECT_EQ(cell.Connect(), 1) << check;
        EXPECT_EQ(cell.m_check_service_times, check);
    }
    cell.m_nCSQ = 15;
    const int64_t before_ms = world.now_ms();
    EXPECT_EQ(cell.Connect(), 0);
    EXPECT_EQ(world.now_ms(), before_ms);
    EXPECT_EQ(cell.m_check_service_times, 0);
    EXPECT_EQ(cell.m_softrest_times, 3);
    EXPECT_EQ(world.CountLogged("Check service status.  21/34 times.\n"), 0);
    EXPECT_EQ(cell.CountOf("Initialize"), 0);
}

TEST_F(Link, WithoutASimTheSettingsAreReadAndTheModemSoftReset) {
    SkipSoftReset();
    cell.service = 0;
    cell.m_check_service_times = 5;
    EXPECT_EQ(cell.Connect(), 1);
    EXPECT_EQ(LogOf("Connect"), Lines{"0.000 5 No SIM card detected!!!\n"});
    EXPECT_EQ(cell.Story(), (Lines{"0.000 Connect", "0.000 CheckServiceStatus", "10.000 GetLTEcfg",
                                   "10.000 Initialize", "10.000 CheckSimCard"}));
    EXPECT_EQ(ShellCalls(), Lines{At(10, kKillDhcp)});
    EXPECT_EQ(cell.m_check_service_times, 0);
    EXPECT_EQ(cell.m_softrest_times, 0);
}

TEST_F(Link, CinterionWithoutASimAsksForAReset) {
    cell.service = 0;
    cell.m_vendor_type = kVendorCinterion;
    EXPECT_EQ(cell.Connect(), 0);
    EXPECT_EQ(cell.Story(), (Lines{"0.000 Connect", "0.000 CheckServiceStatus", "10.000 GetLTEcfg"}));
    EXPECT_TRUE(world.shell.empty());
    EXPECT_EQ(cell.m_check_service_times, 0);
}

// No service, two SIMs

TEST_F(Link, WithTwoSimsChecksWithoutServiceSwitchTheSimAndThenAskForAReset) {
    SkipSoftReset();
    cell.service = 0;
    cell.m_double_sim = 1;
    Lines switches, results;
    for (int count = 1; count <= 9; ++count) {
        const uint8_t former_sim = cell.m_Primary_SIM;
        const int64_t before_ms = world.now_ms();
        results.push_back(std::to_string(cell.Connect()));
        const bool is_switched = cell.m_Primary_SIM != former_sim;
        if (is_switched) switches.push_back(std::to_string(count));
        EXPECT_EQ(world.now_ms() - before_ms, count == 9 ? 0 : is_switched ? 10000 : 5000) << count;
        EXPECT_EQ(cell.m_check_service_times, count == 9 ? 0 : count);
        EXPECT_TRUE(world.Logged(5, "Check service status.  " + std::to_string(count) + "/3 times.\n"));
    }
    EXPECT_EQ(switches, (Lines{"3", "7"}));
    EXPECT_EQ(results, (Lines{"1", "1", "1", "1", "1", "1", "1", "1", "0"}));
    EXPECT_EQ(ShellCalls(), (Lines{At(10, "echo 1 > /sys/class/gpio/gpio130/value"), At(15, kKillDhcp),
                                   At(35, "echo 0 > /sys/class/gpio/gpio130/value"), At(40, kKillDhcp)}));
    EXPECT_EQ(cell.CountOf("Initialize"), 2);
    EXPECT_EQ(world.LogOf("CheckNetworkDoubleSim").back(),
              "CheckNetworkDoubleSim: check network 9 times,hard reset.\n");
    EXPECT_EQ(world.LogOf("Connect").back(), "Check service status, 9 times, current m_Primary_SIM[0].\n");
    EXPECT_TRUE(world.Logged(5, world.LogOf("Connect").back()));
}

TEST_F(Link, WithTwoSimsTheStateOfTheSimDoesNotMatter) {
    cell.service = 0;
    cell.m_double_sim = 1;
    for (uint8_t ready : {0, 1}) {
        cell.m_check_service_times = 0;
        cell.m_sim_ready = ready;
        EXPECT_EQ(cell.Connect(), 1);
    }
    EXPECT_EQ(world.CountLogged("No SIM card detected!!!\n"), 0);
    EXPECT_EQ(world.CountLogged("the SIM card detected!!!\n"), 0);
    EXPECT_EQ(world.now_ms(), 10000);
}

}  // namespace
}  // namespace cc_cell
