// What the history makes of a log: each cause and each reason from the lines that prove it, the bounds of an
// outage, what must not be listed, and the ledger. The lines are those of a level-5 log, told in short:
// "SECONDS FUNCTION MESSAGE".
#include "tools/log/history.h"

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/log/reader.h"

namespace ravelin_log {
namespace {

/// Feeds lines as the reader would.
class Log {
  public:
    History Tell(const std::string& text) {
        Reader unused;
        std::istringstream lines(text);
        std::string line;
        Historian historian;
        int64_t number = 0;
        while (std::getline(lines, line)) {
            std::istringstream words(line);
            double seconds = 0;
            std::string function;
            if (!(words >> seconds >> function)) continue;
            std::string message;
            std::getline(words, message);
            message.erase(0, 1);
            Line entry;
            // "SECONDS [PROGRAM] MESSAGE" is of another program.
            const bool is_other = function.front() == '[';
            entry.kind = is_other ? Line::Kind::kOther : Line::Kind::kSaid;
            if (is_other) entry.program = std::string_view(function).substr(1, function.size() - 2);
            entry.number = ++number;
            entry.raw = line;
            entry.place = {"network_daemon/x.cpp", function, 1};
            entry.message = message;
            entry.has_time = true;
            entry.time_ms = entry.elapsed_ms = static_cast<int64_t>(seconds * 1000);
            entry.begins_run = message.rfind("THIS APP", 0) == 0;
            historian.Take(entry);
        }
        return historian.Finish();
    }
};

constexpr char kStart[] =
    "0 main THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1\n"
    "0 main open device  /dev/ttyUSB2  ok!\n"
    "20 Initialize m_ModuleName = EG25 \n"
    "23 CheckCardIMEI CheckCardIMEI m_csIMEI= 867698041122330\n"
    "24 CheckSimCard Check SIM!\n"
    "27 ParseAtResult CARRIER :\"CHINA MOBILE\"\n"
    "40 ParseAtResult CEREG :0 1\n"
    "40 Connect Do connect.  1 times.\n"
    "60 RunDhcpClient Run DhcpClient!!!\n"
    "200 ravelin_deal_dbus_message [RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n";

std::string OfflineChecks(int from_seconds) {
    std::string text;
    for (int i = 1; i <= 11; ++i) {
        text += std::to_string(from_seconds + 2 * i) + " Task Check connection. offline " +
                std::to_string(i) + "/10 times\n";
    }
    return text;
}

std::string Dial(int at_seconds, int count) {
    return std::to_string(at_seconds) + " ParseAtResult CEREG :0 1\n" + std::to_string(at_seconds) +
           " Connect Do connect.  " + std::to_string(count) + " times.\n" + std::to_string(at_seconds + 20) +
           " RunDhcpClient Run DhcpClient!!!\n";
}

constexpr char kLater[] = "5000 ravelin_deal_dbus_message [RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n";

/// "cause certainty begin end": the outages; then the resets as "kind reason at".
std::string Told(const History& history) {
    std::ostringstream text;
    for (const Outage& outage : history.outages) {
        text << outage.cause << ' ' << WordOf(outage.certainty) << ' ';
        if (outage.has_begin) text << outage.begin.elapsed_ms / 1000;
        text << "..";
        if (outage.has_end) text << outage.end.elapsed_ms / 1000;
        text << "; ";
    }
    for (const Reset& reset : history.resets) {
        text << WordOf(reset.kind) << ' ' << reset.reason << ' ' << reset.at.elapsed_ms / 1000 << "; ";
    }
    return text.str();
}

TEST(History, TheFirstStartIsNoOutage) {
    EXPECT_EQ(Told(Log().Tell(kStart)), "");
}

TEST(History, TenFailedChecksAreNoOutage) {
    std::string text = kStart;
    for (int i = 1; i <= 10; ++i) {
        text +=
            std::to_string(300 + i) + " Task Check connection. offline " + std::to_string(i) + "/10 times\n";
    }
    EXPECT_EQ(Told(Log().Tell(text + kLater)), "");
}

TEST(History, LinkDownWhereNothingElseIsKnown) {
    EXPECT_EQ(Told(Log().Tell(kStart + OfflineChecks(300) + Dial(330, 2) + kLater)),
              "link-down probable 302..350; ");
}

TEST(History, AnEndThatNothingShowsIsNone) {
    const History history = Log().Tell(kStart + OfflineChecks(300) + Dial(330, 2));
    EXPECT_EQ(Told(history), "link-down probable 302..; ");
    EXPECT_FALSE(history.outages[0].has_seconds());
}

TEST(History, AFamilyThatLogsFailedLooksIsOnlineOnceItFallsSilent) {
    const std::string text =
        kStart + OfflineChecks(300) + Dial(330, 2) +
        "351 CheckConnection AT+QNETDEVSTATUS fail:3\n352 CheckConnection AT+QNETDEVSTATUS fail:3\n"
        "370 handle_command [FIFO]Reset4G:1\n371 Task [FIFO] DeviceReset run\n";
    EXPECT_EQ(Told(Log().Tell(text)),
              "link-down probable 302..352; command certain 371..; hard command 371; ");
}

TEST(History, ALinkThatIsReportedDownLongAfterTheDialWasUp) {
    const std::string text =
        kStart + std::string("201 ParseAtResult Connect Status:0\n") + Dial(202, 2) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "link-down probable 201..222; ");
}

TEST(History, ADaemonWithoutSettingsIsAdvised) {
    const History history = Log().Tell("0 main config /run/network/ifcfg-lte don't exist\n");
    EXPECT_EQ(history.advice.front().finding, "no-settings");
}

TEST(History, OnlyTheLastSeriesOfFailedChecksBegins) {
    const std::string text = kStart + std::string("300 Task Check connection. offline 1/10 times\n") +
                             "900 Task Check connection. offline 2/10 times\n" +
                             "902 Task Check connection. offline 3/10 times\n" +
                             "904 Task Check connection. offline 11/10 times\n";
    EXPECT_EQ(Told(Log().Tell(text)), "link-down probable 904..; ");
}

TEST(History, DialsInVain) {
    const std::string text =
        kStart + OfflineChecks(300) + Dial(330, 2) + Dial(390, 3) + Dial(450, 4) +
        "510 ParseAtResult CEREG :0 1\n510 Connect Do connect.  5 times.\n"
        "510 Connect m_reconnect_times=  5 times,Reset device!\n"
        "510 Task Connect error! Reset device...\n510 main kill udhcpc lte!!!\n"
        "515 main Reset4G.sh start pin_rst\n520 main check interface lte!!!\n"
        "521 main Reset4G time=1\n521 SoftReset Soft reset!\n521 SoftReset kill udhcpc lte!!!\n" +
        Dial(560, 6) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "dial-failed probable 302..580; hard reconnect 510; ");
}

TEST(History, OneDialInVainIsStillTheLossOfTheLink) {
    const std::string text = kStart + OfflineChecks(300) + Dial(330, 2) + Dial(390, 3);
    EXPECT_EQ(Told(Log().Tell(text + kLater)), "link-down probable 302..410; ");
    EXPECT_EQ(Told(Log().Tell(text + Dial(450, 4) + kLater)), "dial-failed probable 302..470; ");
}

constexpr char kRefused[] =
    "330 ParseAtResult CEREG :0 1\n330 Connect Do connect.  2 times.\n"
    "335 Connect Do connect fail, need connect again !\n";
constexpr char kRefusedAgain[] =
    "340 ParseAtResult CEREG :0 1\n340 Connect Do connect.  3 times.\n"
    "345 Connect Do connect fail, need connect again !\n";

TEST(History, ARefusedDial) {
    const std::string lost = kStart + OfflineChecks(300);
    EXPECT_EQ(Told(Log().Tell(lost + kRefused + Dial(350, 3) + kLater)), "link-down probable 302..370; ");
    EXPECT_EQ(Told(Log().Tell(lost + kRefused + kRefusedAgain + Dial(350, 4) + kLater)),
              "dial-failed probable 302..370; ");
}

TEST(History, ADialRefusedWithoutServiceTellsNothing) {
    const std::string text = kStart + OfflineChecks(300) + kRefused + "338 ParseAtResult CEREG :0 2\n" +
                             kRefusedAgain + Dial(350, 4) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "link-down probable 302..370; ");
}

TEST(History, ADialInVainWithoutServiceTellsNothing) {
    const std::string text = kStart + OfflineChecks(300) + Dial(330, 2) + "389 ParseAtResult CEREG :0 2\n" +
                             Dial(390, 3) + Dial(450, 4) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "link-down probable 302..470; ");
}

std::string ServiceChecks(int at_seconds, int from, int to, const char* state) {
    std::string text;
    for (int i = from; i <= to; ++i) {
        const std::string at = std::to_string(at_seconds + 10 * (i - from));
        text += at + " ParseAtResult CEREG :0 " + state + "\n" + at +
                " Connect Check service softrest_times.  0/9 times.\n" + at +
                " Connect Check service status.  " + std::to_string(i) + "/34 times.\n";
    }
    return text;
}

TEST(History, NoServiceAndItsSoftReset) {
    const std::string text = kStart + OfflineChecks(300) + ServiceChecks(330, 1, 34, "2") +
                             "665 Connect no service status,Soft reset once!\n665 SoftReset Soft reset!\n"
                             "665 SoftReset kill udhcpc lte!!!\n" +
                             Dial(700, 2) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "no-service certain 302..720; soft no-service 665; ");
}

TEST(History, NoServiceWithAnswersThatTellLittleIsProbable) {
    const std::string text = kStart + OfflineChecks(300) + ServiceChecks(330, 1, 20, "0");
    EXPECT_EQ(Told(Log().Tell(text)), "no-service probable 302..; ");
}

TEST(History, AModemThatBeginsToSearchHasItsSimBack) {
    const std::string lost = kStart + OfflineChecks(300);
    const std::string idle = ServiceChecks(330, 1, 4, "0");
    EXPECT_EQ(Told(Log().Tell(lost + idle + ServiceChecks(370, 5, 5, "2"))), "sim probable 302..; ");
    // It has searched before: that is how it rests between two searches.
    EXPECT_EQ(Told(Log().Tell(lost + ServiceChecks(330, 1, 2, "2") + ServiceChecks(350, 3, 4, "0") +
                              ServiceChecks(370, 5, 5, "2"))),
              "no-service probable 302..; ");
    // Nothing that was said before the link was lost counts.
    EXPECT_EQ(Told(Log().Tell(kStart + std::string("290 ParseAtResult CEREG :0 0\n") + OfflineChecks(300) +
                              ServiceChecks(330, 1, 2, "2"))),
              "no-service probable 302..; ");
}

TEST(History, ASimThatWasReadyAsTheLinkWentDownIsNone) {
    const std::string asks = "301 CheckIfSimCardReady CheckIfSimCardReady: Check SIM!\n";
    EXPECT_EQ(Told(Log().Tell(kStart + asks + OfflineChecks(300) + ServiceChecks(330, 1, 4, "0") +
                              ServiceChecks(370, 5, 5, "2"))),
              "no-service probable 301..; ");
}

TEST(History, NoSimIsFoundAfterTheChecksForService) {
    const std::string text = kStart + OfflineChecks(300) + ServiceChecks(330, 1, 34, "0") +
                             "665 Connect no service status,Soft reset once!\n665 SoftReset Soft reset!\n"
                             "680 CheckCardIMEI CheckCardIMEI m_csIMEI= \n681 CheckSimCard Check SIM!\n"
                             "693 CheckSimCard CheckSimCard: SIM is not ready!\n";
    EXPECT_EQ(Told(Log().Tell(text + "700 ParseAtResult CEREG :0 0\n")),
              "sim probable 302..; soft no-service 665; ");
    EXPECT_EQ(Told(Log().Tell(text + "700 ParseAtResult CEREG :0 1\n")),
              "no-service probable 302..; soft no-service 665; ");
}

TEST(History, TheThirdRoundIsNoServiceEvenAtTheFirstCheck) {
    const std::string text = kStart + OfflineChecks(300) +
                             "330 ParseAtResult CEREG :0 0\n"
                             "330 Connect Check service softrest_times.  2/9 times.\n"
                             "330 Task Connect error! Reset device...\n330 main kill udhcpc lte!!!\n";
    EXPECT_EQ(Told(Log().Tell(text)), "no-service probable 302..; hard no-service-rounds 330; ");
}

TEST(History, TheThirdRoundIsAHardwareReset) {
    const std::string text = kStart + OfflineChecks(300) + ServiceChecks(330, 1, 2, "2") +
                             "360 Connect Check service softrest_times.  2/9 times.\n"
                             "360 Task Connect error! Reset device...\n360 main kill udhcpc lte!!!\n";
    EXPECT_EQ(Told(Log().Tell(text)), "no-service probable 302..; hard no-service-rounds 360; ");
}

TEST(History, RefusedByTheNetwork) {
    EXPECT_EQ(Told(Log().Tell(kStart + OfflineChecks(300) + ServiceChecks(330, 1, 6, "3"))),
              "denied certain 302..; ");
}

TEST(History, TwoSimsWithoutService) {
    const std::string text =
        kStart + OfflineChecks(300) +
        "330 ParseAtResult CEREG :0 2\n330 Connect Check service status.  1/3 times.\n"
        "340 ParseAtResult CEREG :0 2\n340 Connect Check service status.  2/3 times.\n"
        "350 ParseAtResult CEREG :0 2\n350 Connect Check service status.  3/3 times.\n"
        "350 CheckNetworkDoubleSim CEREG fail or Ping fail, need Switch SIM Card and Soft reset!\n"
        "350 SwitchSIMCard The wireless network signal is weak, Switch to a secondary SIM card!\n"
        "355 SoftReset Soft reset!\n355 SoftReset kill udhcpc lte!!!\n"
        "430 Connect Check service status.  9/3 times.\n"
        "430 CheckNetworkDoubleSim CheckNetworkDoubleSim: check network 9 times,hard reset.\n"
        "430 Connect Check service status, 9 times, current m_Primary_SIM[0].\n"
        "430 Task Connect error! Reset device...\n430 main kill udhcpc lte!!!\n";
    EXPECT_EQ(
        Told(Log().Tell(text)),
        "no-service probable 302..; sim-switch no-service-two-sims 350; hard no-service-two-sims 430; ");
}

TEST(History, AMissingSim) {
    const std::string text =
        kStart + std::string(
                     "300 CheckConnection AT+QNETDEVSTATUS fail:3\n"
                     "300 CheckIfSimCardReady CheckIfSimCardReady: Check SIM!\n"
                     "312 CheckIfSimCardReady CheckIfSimCardReady: SIM is not ready!\n"
                     "312 Task Check connection. offline 1/10 times\n"
                     "315 ParseAtResult CEREG :0 0\n315 Connect No SIM card detected!!!\n"
                     "325 SoftReset Soft reset!\n325 SoftReset kill udhcpc lte!!!\n"
                     "345 CheckCardIMEI CheckCardIMEI m_csIMEI= 867698041122330\n"
                     "346 CheckSimCard Check SIM!\n"
                     "358 CheckSimCard CheckSimCard: SIM is not ready!\n");
    EXPECT_EQ(Told(Log().Tell(text)), "sim certain 300..; soft sim 325; ");
}

TEST(History, APieceOfASerialNumberProvesNoMissingSim) {
    const std::string text =
        kStart + std::string(
                     "300 CheckIfSimCardReady CheckIfSimCardReady: Check SIM!\n"
                     "312 CheckIfSimCardReady CheckIfSimCardReady: SIM is not ready!\n"
                     "312 Task Check connection. offline 1/10 times\n"
                     "315 ParseAtResult CEREG :0 0\n315 Connect No SIM card detected!!!\n"
                     "325 SoftReset Soft reset!\n345 CheckCardIMEI CheckCardIMEI m_csIMEI= 8676980\n"
                     "346 CheckSimCard Check SIM!\n358 CheckSimCard CheckSimCard: SIM is not ready!\n");
    EXPECT_EQ(Told(Log().Tell(text)), "sim probable 300..; soft sim 325; ");
}

TEST(History, AModemThatSearchesHasASim) {
    const std::string text = kStart + OfflineChecks(300) +
                             "330 ParseAtResult CEREG :0 2\n330 Connect No SIM card detected!!!\n"
                             "340 SoftReset Soft reset!\n360 CheckSimCard Check SIM!\n"
                             "362 ParseAtResult CARRIER :\n";
    EXPECT_EQ(Told(Log().Tell(text)), "no-service probable 302..; soft sim 340; ");
}

TEST(History, AMissingSimThatShowsLateInAnOutageIsNotCertain) {
    const std::string lost =
        kStart + std::string(
                     "300 CheckIfSimCardReady CheckIfSimCardReady: Check SIM!\n"
                     "312 CheckIfSimCardReady CheckIfSimCardReady: SIM is not ready!\n"
                     "312 Task Check connection. offline 1/10 times\n"
                     "315 Connect No SIM card detected!!!\n325 SoftReset Soft reset!\n"
                     "345 CheckSimCard Get Card IMEI fail, m_csIMEI = \n346 CheckSimCard Check SIM!\n"
                     "358 CheckSimCard CheckSimCard: SIM is not ready!\n");
    EXPECT_EQ(Told(Log().Tell(lost)), "modem-mute probable 300..; soft sim 325; ");
    const std::string known = "CheckCardIMEI CheckCardIMEI m_csIMEI= 867698041122330\n";
    const std::string again =
        "370 Connect No SIM card detected!!!\n380 SoftReset Soft reset!\n400 " + known +
        "401 CheckSimCard Check SIM!\n413 CheckSimCard CheckSimCard: SIM is not ready!\n";
    EXPECT_EQ(Told(Log().Tell(lost + again)), "modem-mute probable 300..; soft sim 325; soft sim 380; ");
    // It has answered, but not told its number: what shows later needn't be what began it.
    EXPECT_EQ(Told(Log().Tell(lost.substr(0, lost.find("325 Soft")) + "320 ParseAtResult CEREG :0 0\n" +
                              lost.substr(lost.find("325 Soft")) + again)),
              "sim probable 300..; soft sim 325; soft sim 380; ");
}

TEST(History, ASimThatIsMissingWhileTheModemIsRegisteredIsAMuteModem) {
    const std::string text = kStart +
                             std::string(
                                 "300 CheckIfSimCardReady CheckIfSimCardReady: Check SIM!\n"
                                 "312 CheckIfSimCardReady CheckIfSimCardReady: SIM is not ready!\n"
                                 "312 Task Check connection. offline 1/10 times\n") +
                             Dial(315, 2) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "modem-mute probable 300..335; ");
}

constexpr char kMute[] =
    "300 CheckIfSimCardReady CheckIfSimCardReady: Check SIM!\n"
    "312 CheckIfSimCardReady CheckIfSimCardReady: SIM is not ready!\n"
    "312 Task Check connection. offline 1/10 times\n"
    "340 Task No response! Reset device...\n340 main kill udhcpc lte!!!\n345 main Reset4G.sh start pin_rst\n"
    "350 main check interface lte!!!\n351 main Reset4G time=1\n";

TEST(History, AMuteModem) {
    const std::string text = kStart + std::string(kMute) +
                             "351 SoftReset Soft reset!\n351 SoftReset kill udhcpc lte!!!\n" + Dial(390, 2) +
                             kLater;
    const History history = Log().Tell(text);
    EXPECT_EQ(Told(history), "modem-mute probable 300..410; hard modem-mute 340; ");
    EXPECT_EQ(history.resets[0].achieved, "the link was back after 70 s");
}

TEST(History, AModemThatFallsMuteLongAfterTheLinkWentDownExplainsNothing) {
    std::string text = kStart + OfflineChecks(300) + Dial(330, 2) + "352 ParseAtResult Connect Status:0\n";
    for (int i = 353; i < 382; ++i) text += std::to_string(i) + " ParseAtResult Connect Status:0\n";
    text += "400 Task No response! Reset device...\n400 main kill udhcpc lte!!!\n";
    EXPECT_EQ(Told(Log().Tell(text)), "link-down probable 302..; hard modem-mute 400; ");
}

TEST(History, ALookWithoutAnAnswerIsAMuteModemWhereEachIsLogged) {
    const std::string lost =
        "312 CheckIfSimCardReady CheckIfSimCardReady: SIM is not ready!\n"
        "312 Task Check connection. offline 1/10 times\n";
    const std::string asks = "300 CheckIfSimCardReady CheckIfSimCardReady: Check SIM!\n";
    const std::string look = " ParseAtResult Connect Status:1\n";
    EXPECT_EQ(Told(Log().Tell(kStart + ("210" + look) + "296" + look + asks + lost)),
              "modem-mute probable 300..; ");
    EXPECT_EQ(Told(Log().Tell(kStart + ("210" + look) + "300" + look + asks + lost)), "sim probable 300..; ");
    // NodeCom modems tell when the link came up, and are silent from then on.
    EXPECT_EQ(Told(Log().Tell(kStart + ("210" + look) + asks + lost)), "sim probable 300..; ");
}

TEST(History, APortThatDoesNotComeBack) {
    const std::string text = kStart + std::string(kMute) +
                             "351 main open device error. /dev/ttyUSB2\n"
                             "360 main THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1\n"
                             "360 main wait device  /dev/ttyUSB2 .\n";
    EXPECT_EQ(Told(Log().Tell(text)), "port-gone probable 300..; hard modem-mute 340; ");
}

TEST(History, ThePortOfACinterionModem) {
    const std::string text =
        kStart + std::string(
                     "300 Task Cinterion PLS83-W /dev/ttyACM0 not exist! Reset device...\n"
                     "300 main kill udhcpc lte!!!\n");
    EXPECT_EQ(Told(Log().Tell(text)), "port-gone certain 300..; hard port-gone 300; ");
}

TEST(History, Commands) {
    const std::string text =
        kStart +
        std::string(
            "300 handle_command [FIFO]SoftReset:1\n300 Task [FIFO] SoftReset run\n"
            "300 SoftReset Soft reset!\n300 SoftReset kill udhcpc lte!!!\n") +
        Dial(330, 2) +
        "600 handle_command [FIFO]Reset4G:1\n601 Task [FIFO] DeviceReset run\n"
        "601 main kill udhcpc lte!!!\n612 main Reset4G time=1\n612 SoftReset Soft reset!\n" +
        Dial(640, 3) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)),
              "command certain 300..350; command certain 601..660; soft command 300; hard command 601; ");
}

/// A board whose guard asks for both resets.
std::string GuardedLog(const std::string& soft, const std::string& hard) {
    return kStart + ("300 " + soft + "\n") +
           "300 handle_command [FIFO]SoftReset:1\n305 Task [FIFO] SoftReset run\n305 SoftReset Soft "
           "reset!\n" +
           Dial(330, 2) + "900 " + hard + "\n900 handle_command [FIFO]Reset4G:1\n" +
           "904 Task [FIFO] DeviceReset run\n904 main kill udhcpc lte!!!\n915 main Reset4G time=1\n" +
           "915 SoftReset Soft reset!\n" + Dial(940, 3) + kLater;
}

TEST(History, ResetsOfTheGuard) {
    const History history =
        Log().Tell(GuardedLog("[ravelin-guard] SoftReset:1, because online and no traffic for 800 s, x",
                              "[ravelin-guard] Reset4G:1, because a soft reset didn't help: x"));
    EXPECT_EQ(Told(history),
              "data-path probable 305..350; data-path probable 904..960; soft guard 305; hard guard 904; ");
    ASSERT_EQ(history.resets.size(), 2U);
    for (const Reset& reset : history.resets) {
        ASSERT_EQ(reset.evidence.size(), 2U);
        EXPECT_NE(reset.evidence[0].text.find("because"), std::string::npos) << "its line is the reason";
        EXPECT_NE(reset.next.find("guard"), std::string::npos);
    }
    EXPECT_EQ(history.ledger.resets.at("guard"), 2);
}

TEST(History, WhatTheGuardHasntAskedForIsNotIts) {
    const std::string command =
        "command certain 305..350; command certain 904..960; soft command 305; hard command 904; ";
    // It couldn't; it is another program; it asked for the other one; it asked long before.
    EXPECT_EQ(Told(Log().Tell(GuardedLog("[ravelin-guard] SoftReset:1, because x\n"
                                         "300 [ravelin-guard] SoftReset:1 can't be asked for: nobody reads",
                                         "[sshd] Reset4G:1, because x"))),
              command);
    EXPECT_EQ(Told(Log().Tell(GuardedLog("[ravelin-guard] Reset4G:1, because x",
                                         "[ravelin-guard] SoftReset:1, because x"))),
              command);
    EXPECT_EQ(Told(Log().Tell("1 [ravelin-guard] SoftReset:1, because x\n" +
                              GuardedLog("[ravelin-guard] now quiet", "[ravelin-guard] now suspect: x"))),
              command);
}

TEST(History, SwitchedOff) {
    const std::string text = kStart +
                             std::string(
                                 "300 Task lte ENABLE=false, disconnect network !!!\n"
                                 "305 Task LTE ENABLE=false !!!\n326 Task LTE ENABLE=false !!!\n") +
                             Dial(350, 2) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "disabled certain 300..370; ");
}

TEST(History, SwitchedOffFromTheStartStaysOnline) {
    const std::string text = std::string("0 main THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1\n") +
                             Dial(40, 1) + "64 Task LTE ENABLE=false !!!\n85 Task LTE ENABLE=false !!!\n";
    const History history = Log().Tell(text);
    EXPECT_EQ(Told(history), "");
    bool is_told = false;
    for (const Advice& advice : history.advice) is_told |= advice.finding == "disabled-online";
    EXPECT_TRUE(is_told);
}

TEST(History, TheOcppService) {
    const std::string text =
        kStart +
        std::string(
            "300 ORLAPROC ########################## The response time of ping is more than 500ms and ocpp "
            "offline...!!!\n300 SoftReset Soft reset!\n300 SoftReset kill udhcpc lte!!!\n") +
        Dial(330, 2) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "ocpp certain 300..350; soft ocpp 300; ");
}

TEST(History, ADeadDataPathIsOneOutageAcrossItsRungs) {
    const std::string text =
        kStart +
        std::string(
            "300 CheckNetwork Ping Check failed for first 2 times, ignore, check 1 times!\n"
            "310 CheckNetwork Ping Check failed for first 2 times, ignore, check 2 times!\n"
            "320 CheckNetworkDoubleSim CEREG fail or Ping fail, need Switch SIM Card and Soft reset!\n"
            "320 SwitchSIMCard The wireless network signal is weak, Switch to a secondary SIM card!\n"
            "325 SoftReset Soft reset!\n") +
        Dial(350, 2) + "375 GetLTEcfg DoubleSIM ENABLE !!!\n" +
        "420 CheckNetworkDoubleSim CEREG fail or Ping fail, need Switch SIM Card and Soft reset!\n"
        "420 SwitchSIMCard The wireless network signal is weak, Switch to a Primary SIM card!\n"
        "425 SoftReset Soft reset!\n" +
        Dial(450, 3) + "475 GetLTEcfg DoubleSIM ENABLE !!!\n" + kLater;
    EXPECT_EQ(Told(Log().Tell(text)),
              "data-path probable 300..470; sim-switch data-path 320; sim-switch data-path 420; ");
}

TEST(History, APathThatIsNotProbedAfterAMuteModemIsThatModems) {
    const auto told = [](const std::string& imei, const std::string& state) {
        return Told(Log().Tell(
            kStart + std::string(kMute) + "351 SoftReset Soft reset!\n351 SoftReset kill udhcpc lte!!!\n" +
            imei + "358 CheckSimCard CheckSimCard: SIM is not ready!\n" + state + Dial(390, 2) +
            "600 CheckNetwork Ping Check failed for first 2 times, ignore, check 1 times!\n"
            "620 CheckNetworkDoubleSim CEREG fail or Ping fail, need Switch SIM Card and Soft reset!\n"));
    };
    EXPECT_EQ(told("355 CheckSimCard Get Card IMEI fail, m_csIMEI = \n", ""),
              "modem-mute probable 300..410; modem-mute probable 600..; hard modem-mute 340; "
              "sim-switch data-path 620; ");
    // It tells its number, and is registered all the same.
    const std::string known = "355 CheckCardIMEI CheckCardIMEI m_csIMEI= 867698041122330\n";
    EXPECT_EQ(told(known, ""),
              "modem-mute probable 300..410; modem-mute probable 600..; hard modem-mute 340; "
              "sim-switch data-path 620; ");
    EXPECT_EQ(told(known, "370 ParseAtResult CEREG :0 0\n"),
              "modem-mute probable 300..410; sim probable 600..; hard modem-mute 340; "
              "sim-switch data-path 620; ");
}

TEST(History, NoLeaseIsDhcp) {
    const std::string text = kStart + std::string(
                                          "300 thread_function_pipe udhcpc wwan0 leasefail\n"
                                          "330 thread_function_pipe udhcpc wwan0 bound 10.0.0.1\n");
    EXPECT_EQ(Told(Log().Tell(text)), "dhcp certain 300..330; ");
}

TEST(History, ADaemonThatBeginsAnew) {
    const std::string text = kStart +
                             std::string(
                                 "900 main THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1\n"
                                 "920 Initialize m_ModuleName = EG25 \n") +
                             Dial(940, 1) + kLater;
    EXPECT_EQ(Told(Log().Tell(text)), "restart certain 900..960; ");
}

TEST(History, ALogThatBeginsInAnOutage) {
    EXPECT_EQ(Told(Log().Tell(ServiceChecks(0, 7, 20, "2") + Dial(200, 2) + kLater)),
              "no-service certain ..220; ");
    EXPECT_EQ(Told(Log().Tell(Dial(200, 2) + kLater)), "unknown unknown ..220; ");
}

TEST(History, WhatWouldHaveToldIsSaidOfAnUnknownCauseOnly) {
    History history = Log().Tell(Dial(200, 2) + kLater);
    EXPECT_EQ(history.outages[0].would_tell, "the lines before it, at level 5 or above");
    history = Log().Tell(Dial(200, 2) + "260 Task No response! Reset device...\n");
    EXPECT_EQ(history.outages[0].cause, "modem-mute");
    EXPECT_EQ(history.outages[0].would_tell, "");
}

TEST(History, AResetWhoseLinesBeforeAreMissing) {
    EXPECT_EQ(Told(Log().Tell("300 SoftReset Soft reset!\n300 SoftReset kill udhcpc lte!!!\n")),
              "unknown unknown ..; soft unknown 300; ");
    EXPECT_EQ(Told(Log().Tell("300 main Reset4G time=1\n300 SoftReset Soft reset!\n")),
              "unknown unknown ..; hard unknown 300; ");
}

TEST(History, Upgrades) {
    const std::string begin =
        kStart + std::string(
                     "300 ravelin_deal_dbus_message [OTA] get ocpp msg and set ota upgrade flag true\n"
                     "300 thread_function_ota [OTA] run ota task\n");
    const auto result = [&begin](const char* line) {
        const History history = Log().Tell(begin + "400 thread_function_ota " + line +
                                           "\n401 thread_function_ota [OTA] reset ota upgrade flag\n");
        if (history.upgrades.size() != 1) return std::string("none");
        const Upgrade& upgrade = history.upgrades[0];
        return upgrade.result + " " + std::to_string(upgrade.begin.elapsed_ms) + ".." +
               std::to_string(upgrade.end.elapsed_ms);
    };
    EXPECT_EQ(result("[OTA] send ocpp ota upgrade status ok"), "ok 300000..401000");
    EXPECT_EQ(result("[OTA] send ocpp ota upgrade status fail"), "failed 300000..401000");
    EXPECT_EQ(result("[OTA] send ocpp 4G module not support ota"), "unsupported 300000..401000");
    EXPECT_EQ(result("[OTA] send ocpp ota file path or file not exist"), "no-tool 300000..401000");
    const History cut = Log().Tell(begin);
    EXPECT_EQ(cut.upgrades[0].result, "unknown");
    EXPECT_FALSE(cut.upgrades[0].has_end);
}

TEST(History, AMuteModemIsNotResetWhileItIsUpgraded) {
    const std::string text =
        kStart + std::string(
                     "300 ravelin_deal_dbus_message [OTA] get ocpp msg and set ota upgrade flag true\n"
                     "340 Task No response! Reset device...\n340 main [OTA] module ota run\n"
                     "370 Task No response! Reset device...\n370 main [OTA] module ota run\n"
                     "400 thread_function_ota [OTA] send ocpp ota upgrade status ok\n"
                     "400 thread_function_ota [OTA] reset ota upgrade flag\n"
                     "410 Task No response! Reset device...\n410 main kill udhcpc lte!!!\n");
    EXPECT_EQ(Told(Log().Tell(text)), "modem-mute/upgrade probable 340..; hard modem-mute 410; ");
}

TEST(History, ALogOfLevelOneTellsDecisionsOnly) {
    const std::string text =
        "0 main GetVendorType=6!\n" + OfflineChecks(300) +
        "400 Task No response! Reset device...\n1000 Task Check connection. offline 1/10 times\n";
    const History history = Log().Tell(text);
    EXPECT_EQ(Told(history), "modem-mute probable 302..; hard modem-mute 400; ");
    EXPECT_FALSE(history.outages[0].is_open);
}

TEST(History, TheLedgerAddsUp) {
    const History history = Log().Tell(kStart + OfflineChecks(302) + Dial(330, 2) + kLater);
    EXPECT_EQ(history.ledger.length_ms(), 5000000);
    EXPECT_EQ(history.ledger.outage_ms, 46000);
    EXPECT_EQ(history.ledger.longest_outage_ms, 46000);
    EXPECT_EQ(history.ledger.online_ms, (304 - 60 + 5000 - 350) * 1000);
    EXPECT_EQ(history.ledger.outages.at("link-down"), 1);
    EXPECT_EQ(history.ledger.starts, 1);
}

TEST(History, ACrashedClockLengthensNoOutage) {
    const std::string text =
        kStart + OfflineChecks(300) + ServiceChecks(330, 1, 3, "2") + ServiceChecks(90000, 4, 6, "2") +
        Dial(90040, 2) + "99000 ravelin_deal_dbus_message [RAVELIN] get ocpp msg id=7 cmd=7603 length=0\n";
    const History history = Log().Tell(text);
    ASSERT_EQ(history.outages.size(), 1U);
    EXPECT_LT(history.outages[0].length_ms(), 200 * 1000);
}

TEST(History, NothingIsSaidOfNothing) {
    const History history = Historian().Finish();
    EXPECT_TRUE(history.outages.empty());
    ASSERT_EQ(history.advice.size(), 1U);
    EXPECT_EQ(history.advice[0].finding, "empty");
}

}  // namespace
}  // namespace ravelin_log
