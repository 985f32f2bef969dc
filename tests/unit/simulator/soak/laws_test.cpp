// Each law over records made by hand: it keeps silent on a good one, and names what breaks it in a bad one.
#include "simulator/soak/laws.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/bus_peer/frame.h"
#include "simulator/soak/judge.h"
#include "simulator/text/text.h"
#include "simulator/virtual_time/record.h"

namespace {

using soak::Truth;
using soak::Verdict;
using soak::Violation;

constexpr char kStatus[] = "/run/network/ravelin_status ";

/// A record in the making.
class Record {
  public:
    Record& At(double seconds) {
        now_us_ = static_cast<int64_t>(seconds * 1000 + 0.5) * 1000;
        return *this;
    }
    Record& After(double seconds) { return At(static_cast<double>(now_us_) / 1e6 + seconds); }
    Record& Add(const std::string& kind, const std::string& text) {
        text_ += virtual_time::FormatEntry({now_us_, kind, text});
        return *this;
    }
    Record& Log(const std::string& function, const std::string& message) {
        return Add("logs", "network_daemon/x.cpp:" + function + ":7 " + message);
    }
    Record& Debug(const std::string& function, const std::string& message) {
        return Add("debugs", "network_daemon/x.cpp:" + function + ":7 " + message);
    }
    /// Identified; the kind of board too.
    Record& Starts(int vendor = 6, int board = 0) {
        Log("main", "GetVendorType=" + std::to_string(vendor) + "!");
        return Log("SetBoard", "board = " + std::to_string(board));
    }
    Record& Online() {
        Log("RunDhcpClient", "Run DhcpClient!!!");
        return Add("publishes", std::string(kStatus) + "Online=TRUE");
    }
    Record& SoftReset() { return Log("SoftReset", "Soft reset!"); }
    /// The same at once: the script, the port, the modem.
    Record& HardReset(int number, const std::string& script = "Reset4G.sh start pin_rst") {
        Log("main", "kill udhcpc lte!!!").After(5).Log("main", script);
        After(5).Log("main", "check interface lte!!!");
        return After(1).Log("main", "Reset4G time=" + std::to_string(number)).SoftReset();
    }
    const std::string& text() const { return text_; }

  private:
    int64_t now_us_ = 0;
    std::string text_;
};

Truth TruthOf(const std::string& lines, const std::string& modem) {
    Truth truth;
    std::string problem;
    EXPECT_TRUE(soak::ReadTruth("x",
                                "modem " + modem +
                                    "\nuntil 9000\nnever broken <any>\n"
                                    "options -Df CheckNetwork -Df isSoftReset\n" +
                                    lines,
                                &truth, &problem))
        << problem;
    return truth;
}

/// What breaks `law`; empty when nothing does.
std::string Broken(const std::string& law, const Record& record, const std::string& lines = "",
                   const std::string& modem = "quectel_qcom EG25") {
    const Verdict verdict = soak::JudgeRecord(TruthOf(lines, modem), record.text());
    for (const Violation& violation : verdict.violations) {
        if (violation.law == law) return violation.text;
    }
    return "";
}

TEST(SoakLaws, EachHasANameAndAReason) {
    for (const soak::LawRow& law : soak::Laws()) {
        EXPECT_EQ(&law, soak::FindLaw(law.name));
        EXPECT_GT(std::string(law.reason).size(), 20U) << law.name;
    }
    EXPECT_EQ(nullptr, soak::FindLaw("none"));
}

TEST(SoakLaws, OnlyTheFirstViolationOfALawIsTold) {
    Record record;
    record.Add("complains", "one").Add("complains", "two");
    const Verdict verdict = soak::JudgeRecord(TruthOf("", "zte"), record.text());
    ASSERT_EQ(2U, verdict.violations.size());  // and the record has no end
    EXPECT_EQ("complaints at 0.000: an unknown complaint: one", FormatViolation(verdict.violations[0]));
}

TEST(SoakLaws, Story) {
    EXPECT_EQ("", Broken("story", Record().Add("ends", "still running")));
    EXPECT_EQ("the record has no end", Broken("story", Record().Add("sends", "AT")));
    EXPECT_EQ("the log of this daemon has paths of its build in the place of names",
              Broken("story", Record().Add("logs", "../network_daemon/x.cpp:main:7 x")));
    EXPECT_EQ("the story is broken: modem: no knob",
              Broken("story", Record().Add("broken", "modem: no knob").Add("ends", "still running")));
}

TEST(SoakLaws, Ends) {
    EXPECT_EQ("", Broken("ends", Record().Add("ends", "still running")));
    EXPECT_EQ(
        "", Broken("ends", Record().Log("main", "open device error. /dev/ttyUSB2").Add("ends", "exit 255")));
    EXPECT_EQ("", Broken("ends", Record().Log("main", "config /x don't exist").Add("ends", "exit 255")));
    EXPECT_EQ("", Broken("ends", Record().Log("main", "Unknow Cell Device!").Add("ends", "exit 0")));
    EXPECT_EQ("", Broken("ends", Record().At(5).Add("world", "kill kill").Add("ends", "signal 9")));

    EXPECT_EQ("the process ends by itself: exit 255, after \"board = 0\"",
              Broken("ends", Record().Starts().Add("ends", "exit 255")));
    EXPECT_EQ("the process ends by itself: signal 15, after \"\"",
              Broken("ends", Record().Add("ends", "signal 15")));
    EXPECT_EQ("the process ends by itself: signal 11, after \"\"",
              Broken("ends", Record().Add("world", "kill kill").Add("ends", "signal 11")));
    EXPECT_EQ("the process ends by itself: exit 0, after \"\"",
              Broken("ends", Record().Add("ends", "exit 0")));
}

TEST(SoakLaws, Recovers) {
    const int64_t bound = TruthOf("", "quectel_qcom EG25").recovery_ms / 1000;
    const auto later = static_cast<double>(bound + 1);
    EXPECT_EQ("", Broken("recovers", Record().Starts().At(60).Online().At(later).Add("sends", "AT")));
    EXPECT_EQ("no link " + std::to_string(bound) + " s after everything was healthy again",
              Broken("recovers", Record().Starts().At(later).Add("sends", "AT")));
    // Not yet, since something has been wrong.
    EXPECT_EQ("", Broken("recovers", Record().Starts().At(later).Add("sends", "AT"),
                         "# fault mute from 10 to 20\n"));
    EXPECT_NE("", Broken("recovers", Record().Starts().At(later + 20).Add("sends", "AT"),
                         "# fault mute from 10 to 20\n"));
    // Another family's driver never brings this modem online.
    EXPECT_EQ("", Broken("recovers", Record().Starts(7).At(later).Add("sends", "AT")));
}

TEST(SoakLaws, Peace) {
    Record record;
    record.Starts().At(60).Online().At(3000).Log("Connect", "Do connect.  2 times.");
    EXPECT_EQ("nothing is wrong, and yet \"Do connect.  2 times.\"", Broken("peace", record));
    EXPECT_EQ("", Broken("peace", record, "# fault link_cut from 2999 to 2999\n"));
    EXPECT_EQ(
        "nothing is wrong, and yet Online=FALSE",
        Broken("peace", Record().Starts().At(3000).Add("publishes", std::string(kStatus) + "Online=FALSE")));
}

/// 34 checks without service; the count of the last is `last`.
Record ChecksForService(int last, int first = 1) {
    Record record;
    record.Starts().At(100);
    for (int i = first; i <= last; ++i) {
        record.After(9).Log("Connect", "Check service softrest_times.  0/9 times.");
        record.Log("Connect", "Check service status.  " + std::to_string(i) + "/34 times.");
    }
    return record;
}

TEST(SoakLadder, ChecksForServiceAreCounted) {
    EXPECT_EQ("", Broken("ladder", ChecksForService(33)));
    EXPECT_EQ("",
              Broken("ladder",
                     ChecksForService(34).Log("Connect", "no service status,Soft reset once!").SoftReset()));
    EXPECT_EQ("\"Check service status.  2/34 times.\": the count of checks for service should be 1",
              Broken("ladder", ChecksForService(5, 2)));
    // The rung is skipped.
    EXPECT_EQ(
        "\"Check service status.  34/34 times.\" is followed by \"Check service softrest_times.  0/9 "
        "times.\"",
        Broken("ladder",
               ChecksForService(34).After(9).Log("Connect", "Check service softrest_times.  0/9 times.")));
    // Or comes too soon.
    EXPECT_EQ(
        "\"no service status,Soft reset once!\" has no cause",
        Broken("ladder", ChecksForService(20).After(5).Log("Connect", "no service status,Soft reset once!")));
    // The count is cleared by service.
    EXPECT_EQ("", Broken("ladder", ChecksForService(3)
                                       .After(9)
                                       .Log("Connect", "Do connect.  1 times.")
                                       .After(90)
                                       .Log("Connect", "Check service softrest_times.  0/9 times.")
                                       .Log("Connect", "Check service status.  1/34 times.")));
    EXPECT_NE("", Broken("ladder", ChecksForService(3)
                                       .After(9)
                                       .Log("Connect", "Do connect.  1 times.")
                                       .After(90)
                                       .Log("Connect", "Check service softrest_times.  0/9 times.")
                                       .Log("Connect", "Check service status.  4/34 times.")));
    EXPECT_EQ(
        "\"Check service softrest_times.  0/9 times.\" comes too early after \"Check service status.  3/34 "
        "times.\"",
        Broken("ladder",
               ChecksForService(3).After(4).Log("Connect", "Check service softrest_times.  0/9 times.")));
}

/// The third round without service, with this signal and these registrations, and what comes of it.
Record ThirdRound(const std::string& csq, const std::string& cereg, const std::string& cgreg, bool gives_up) {
    Record record = ChecksForService(34);
    record.Log("Connect", "no service status,Soft reset once!").SoftReset();
    for (int round = 1; round <= 2; ++round) {
        if (round == 2) record.Log("Connect", "no service status,Soft reset once!").SoftReset();
        const int checks = round == 2 ? 1 : 34;
        for (int i = 1; i <= checks; ++i) {
            record.After(9).Log("Connect",
                                "Check service softrest_times.  " + std::to_string(round) + "/9 times.");
            if (round == 1)
                record.Log("Connect", "Check service status.  " + std::to_string(i) + "/34 times.");
        }
    }
    if (gives_up) {
        record.Log("Task", "Connect error! Reset device...");
    } else {
        record.Log("Connect", "Check service status.  1/34 times.");
    }
    record.Add("publishes", kStatus + ("CSQ=" + csq));
    record.Add("publishes", kStatus + ("CEREG=" + cereg)).Add("publishes", kStatus + ("CGREG=" + cgreg));
    if (gives_up) record.HardReset(1);
    return record.After(9).Add("sends", "AT+CSQ");
}

TEST(SoakLadder, ThirdRoundDependsOnSignalAndRefusal) {
    EXPECT_EQ("", Broken("ladder", ThirdRound("10", "2", "0", true)));
    EXPECT_EQ("", Broken("ladder", ThirdRound("9", "2", "0", false)));
    EXPECT_EQ("", Broken("ladder", ThirdRound("23", "3", "3", false)));
    EXPECT_EQ("the third round goes on though the signal is good and not refused",
              Broken("ladder", ThirdRound("10", "2", "0", false)));
    EXPECT_EQ("hardware reset in the third round though the signal is bad or refused",
              Broken("ladder", ThirdRound("9", "2", "0", true)));
    EXPECT_EQ("hardware reset in the third round though the signal is bad or refused",
              Broken("ladder", ThirdRound("23", "3", "3", true)));
}

TEST(SoakLadder, MissingSimLeadsToAResetAfterTenSeconds) {
    const auto record = [](int vendor) {
        return Record().Starts(vendor).After(30).Log("Connect", "No SIM card detected!!!");
    };
    EXPECT_EQ("", Broken("ladder", record(6).After(10).SoftReset()));
    EXPECT_EQ("\"Soft reset!\" comes too early after \"No SIM card detected!!!\"",
              Broken("ladder", record(6).After(9).SoftReset()));
    EXPECT_EQ("\"No SIM card detected!!!\" is followed by \"Do connect.  1 times.\"",
              Broken("ladder", record(6).After(10).Log("Connect", "Do connect.  1 times.")));
    // One family has its hardware reset, but not at the start, where nobody looks at the outcome.
    Record cinterion = record(10);
    cinterion.After(60)
        .Log("Connect", "No SIM card detected!!!")
        .After(10)
        .Log("Task", "Connect error! Reset device...");
    EXPECT_EQ(
        "",
        Broken("ladder",
               cinterion.Log("main", "kill udhcpc lte!!!").After(20).Log("main", "check interface lte!!!"),
               "", "cinterion"));
}

TEST(SoakLadder, EachFifthAttemptIsAReset) {
    Record record = Record().Starts();
    for (int i = 1; i <= 5; ++i)
        record.After(60).Log("Connect", "Do connect.  " + std::to_string(i) + " times.");
    Record good = record;
    good.Log("Connect", "m_reconnect_times=  5 times,Reset device!")
        .Log("Task", "Connect error! Reset device...");
    EXPECT_EQ("", Broken("ladder", good.HardReset(1)));
    EXPECT_NE("", Broken("ladder", record.After(60).Log("Connect", "Do connect.  6 times.")));
    EXPECT_EQ("\"Do connect.  2 times.\": the count of attempts should be 1",
              Broken("ladder", Record().Starts().Log("Connect", "Do connect.  2 times.")));
    EXPECT_EQ("\"Connect error! Reset device...\" has no cause",
              Broken("ladder", Record().Starts().Log("Task", "Connect error! Reset device...")));
}

TEST(SoakLadder, HardwareResetKeepsItsOrderAndWaits) {
    const auto asked = [] { return Record().Starts().Log("Task", "[FIFO] DeviceReset run"); };
    EXPECT_EQ("", Broken("ladder", asked().HardReset(1)));
    EXPECT_EQ("\"Reset4G time=2\": the count of hardware resets should be 1",
              Broken("ladder", asked().HardReset(2)));
    EXPECT_EQ("\"[FIFO] DeviceReset run\" is followed by \"Soft reset!\"",
              Broken("ladder", asked().SoftReset()));
    EXPECT_EQ("\"kill udhcpc lte!!!\" has no cause", Broken("ladder", Record().Starts().HardReset(1)));
    EXPECT_EQ("\"check interface lte!!!\" comes too early after \"Reset4G.sh start pin_rst\"",
              Broken("ladder", asked()
                                   .Log("main", "kill udhcpc lte!!!")
                                   .After(5)
                                   .Log("main", "Reset4G.sh start pin_rst")
                                   .After(4)
                                   .Log("main", "check interface lte!!!")));
    // Boards of another kind have a script of their own, and every third reset of one family cuts the power.
    EXPECT_NE("", Broken("ladder", Record().Starts(6, 3).Log("Task", "[FIFO] DeviceReset run").HardReset(1)));
    EXPECT_EQ("", Broken("ladder", Record()
                                       .Starts(6, 3)
                                       .Log("Task", "[FIFO] DeviceReset run")
                                       .HardReset(1, "etc init.d S84Reset4G.sh start ")));
    Record zte = Record().Starts(5);
    for (int i = 1; i <= 2; ++i) zte.Log("Task", "[FIFO] DeviceReset run").HardReset(i);
    zte.Log("Task", "[FIFO] DeviceReset run");
    EXPECT_EQ("", Broken("ladder", Record(zte).HardReset(3, "Reset4G.sh start pin_power"), "", "zte ME3630"));
    EXPECT_NE("", Broken("ladder", Record(zte).HardReset(3), "", "zte ME3630"));
}

TEST(SoakLadder, SilentModemIsAskedThreeTimes) {
    Record record = Record().Starts();
    for (int i = 0; i < 3; ++i) record.After(6).Add("sends", "AT+CSQ");
    EXPECT_EQ("", Broken("ladder",
                         Record(record).After(6).Log("Task", "No response! Reset device...").HardReset(1)));
    record.Add("hears", "\\r\\n+CSQ: 23,99\\r\\n\\r\\nOK\\r\\n");
    EXPECT_EQ("\"No response! Reset device...\" though AT+CSQ was answered",
              Broken("ladder", record.After(6).Log("Task", "No response! Reset device...").HardReset(1)));
}

TEST(SoakLadder, LostLinkIsGivenUpAtTheEleventhCheck) {
    Record record = Record().Starts();
    for (int i = 1; i <= 11; ++i)
        record.After(3).Log("Task", "Check connection. offline " + std::to_string(i) + "/10 times");
    EXPECT_EQ(
        "", Broken("ladder", Record(record).After(300).Log("Task", "Check connection. offline 1/10 times")));
    EXPECT_EQ("\"Check connection. offline 12/10 times\": the count of lost checks should be 1",
              Broken("ladder", record.After(3).Log("Task", "Check connection. offline 12/10 times")));
}

/// A network check that finds no answer, and the line that follows from the count.
void FailNetworkCheck(Record& record, int count) {
    record.After(4).Debug("CheckNetwork", "The wireless network signal is weak,m_nCSQ=:23,NetType=3");
    if (count < 3) {
        record.Log("CheckNetwork",
                   "Ping Check failed for first 2 times, ignore, check " + std::to_string(count) + " times!");
    } else if (count == 3 || count == 7) {
        record.Log("CheckNetworkDoubleSim", "CEREG fail or Ping fail, need Switch SIM Card and Soft reset!");
        record.Log("SwitchSIMCard",
                   count == 3 ? "The wireless network signal is weak, Switch to a Primary SIM card!"
                              : "The wireless network signal is weak, Switch to a secondary SIM card!");
        record.After(5).SoftReset();
    } else if (count == 9) {
        record.Log("CheckNetworkDoubleSim", "CheckNetworkDoubleSim: check network 9 times,hard reset.");
        record.Log("CheckNetwork", "CheckNetwork, 9 times, current m_Primary_SIM[0].");
        record.Log("Task", "Connect error! Reset device...").HardReset(1);
    }
}

constexpr char kTwoSims[] = "settings\n    ENABLE=true\n    DoubleSIM=1\n";

TEST(SoakLadder, NetworkChecksSwitchAndReset) {
    Record record = Record().Starts();
    for (int i = 1; i <= 9; ++i) FailNetworkCheck(record, i);
    EXPECT_EQ("", Broken("ladder", record, kTwoSims));
    FailNetworkCheck(record, 1);
    EXPECT_EQ("", Broken("ladder", record, kTwoSims));

    Record skipped = Record().Starts();
    for (int i : {1, 2, 4}) FailNetworkCheck(skipped, i);
    FailNetworkCheck(skipped, 5);
    EXPECT_EQ(
        "\"The wireless network signal is weak,m_nCSQ=:23,NetType=3\" is followed by "
        "\"The wireless network signal is weak,m_nCSQ=:23,NetType=3\"",
        Broken("ladder", skipped, kTwoSims));
}

TEST(SoakLadder, AnsweredPingsClearTheCount) {
    Record record = Record().Starts();
    FailNetworkCheck(record, 1);
    FailNetworkCheck(record, 2);
    record.After(4).Add(
        "asks", "ping  8.8.8.8  -c 3 -w 2 | grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l");
    record.After(2).Add("sends", "AT+CSQ");
    FailNetworkCheck(record, 1);
    EXPECT_EQ("", Broken("ladder", record, kTwoSims));
    Record kept = Record().Starts();
    FailNetworkCheck(kept, 1);
    FailNetworkCheck(kept, 2);
    kept.After(4).Add(
        "asks", "ping  8.8.8.8  -c 3 -w 2 | grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l");
    kept.After(2).Add("sends", "AT+CSQ");
    FailNetworkCheck(kept, 3);
    EXPECT_NE("", Broken("ladder", kept, kTwoSims));
}

TEST(SoakLadder, OutageResetsAtItsThresholds) {
    const auto outage = [](const std::string& last, const std::string& now, bool resets) {
        Record record = Record().Starts();
        record.Debug("isSoftReset", "isSoftReset? LastOFFLINE:" + last + ",OFFLINE:" + now);
        if (resets) {
            record.Log("ORLAPROC",
                       "########################## The response time of ping is more than 500ms and ocpp "
                       "offline...!!!");
            record.SoftReset();
        }
        return record.After(20).Log("Task", "Check connection. offline 1/10 times");
    };
    for (const auto& [last, now] :
         {std::pair{"60", "61"}, {"61", "1801"}, {"3599", "3600"}, {"7199", "7200"}}) {
        EXPECT_EQ("", Broken("ladder", outage(last, now, true))) << now;
        EXPECT_NE("", Broken("ladder", outage(last, now, false))) << now;
    }
    for (const auto& [last, now] : {std::pair{"0", "60"}, {"61", "1800"}, {"3600", "7199"}}) {
        EXPECT_EQ("", Broken("ladder", outage(last, now, false))) << now;
        EXPECT_NE("", Broken("ladder", outage(last, now, true))) << now;
    }
}

TEST(SoakLadder, UpgradeHoldsBack) {
    constexpr char kAccepted[] = "[OTA] get ocpp msg and set ota upgrade flag true";
    Record record =
        Record().Starts().Log("ravelin_deal_dbus_message", kAccepted).Log("Task", "[FIFO] DeviceReset run");
    EXPECT_EQ("", Broken("ladder", Record(record).Log("main", "[OTA] module ota run")));
    EXPECT_EQ(
        "\"[OTA] module ota run\" though no upgrade is running",
        Broken("ladder",
               Record().Starts().Log("Task", "[FIFO] DeviceReset run").Log("main", "[OTA] module ota run")));
}

TEST(SoakLadder, CountsBeginAfreshWithEachRun) {
    Record record = Record().Starts().Log("Connect", "Do connect.  1 times.").Add("ends", "signal 9");
    record.After(5).Add("world", "starts again").Starts();
    EXPECT_EQ("", Broken("ladder", Record(record).Log("Connect", "Do connect.  1 times.")));
    EXPECT_NE("", Broken("ladder", record.Log("Connect", "Do connect.  2 times.")));
}

TEST(SoakLaws, Waits) {
    const auto ask = [](const std::string& command, const std::string& answer, double after) {
        return Record().Starts().Add("sends", command).Add("hears", answer).After(after).Add("sends", "AT+X");
    };
    EXPECT_EQ("", Broken("waits", ask("AT", "OK", 1)));
    EXPECT_EQ("only 900 ms after AT, and not 1000", Broken("waits", ask("AT", "OK", 0.9)));
    EXPECT_EQ("", Broken("waits", ask("AT", std::string(256, 'x'), 0.1)));  // there was no room for more
    EXPECT_EQ("only 3000 ms after AT+CPIN?, and not 4000",
              Broken("waits", ask("AT+CPIN?", "+CPIN: SIM PIN", 3)));
    EXPECT_EQ("", Broken("waits", ask("AT+CPIN?", "+CPIN: READY", 1)));
    std::string noise;
    for (int i = 0; i < 200; ++i) noise += "\\xFF";  // four characters of the record, one byte
    EXPECT_EQ("", Broken("waits", Record()
                                      .Starts()
                                      .Add("sends", "AT+CPIN?")
                                      .Add("hears", noise)
                                      .Add("hears", "+CPIN: READY")
                                      .After(1)
                                      .Add("sends", "AT+X")));
    EXPECT_EQ("only 5000 ms after AT+CSQ, and not 6000",
              Broken("waits", Record().Starts().Add("sends", "AT+CSQ").After(5).Add("sends", "AT+CSQ")));
    const auto radio = [](double off, int vendor = 6) {
        return Record().Starts(vendor).Add("sends", "AT+CFUN=0").After(off).Add("sends", "AT+CFUN=1");
    };
    EXPECT_EQ("", Broken("waits", radio(6)));
    EXPECT_EQ("only 5000 ms with the radio off, and not 6000", Broken("waits", radio(5)));
    EXPECT_EQ("", Broken("waits", radio(3, 11), "", "fibocom NL668"));
    EXPECT_EQ("only 3000 ms with the radio off, and not 4000",
              Broken("waits", radio(3, 14), "", "fibocom_le LE370"));
    EXPECT_EQ("",
              Broken("waits", radio(3, 11), "", "fibocom_le LE370"));  // the wrong driver has its own waits
    const auto dial = [](double pause) {
        return Record().Starts().Add("sends", "ATD").After(pause).Log("RunDhcpClient", "Run DhcpClient!!!");
    };
    EXPECT_EQ("", Broken("waits", dial(6)));
    EXPECT_EQ("only 5000 ms after the dial, and not 6000", Broken("waits", dial(5)));
    const auto set_up = [](double seconds) {
        return Record().Starts().SoftReset().After(seconds).Log("CheckSimCard", "Check SIM!");
    };
    EXPECT_EQ("", Broken("waits", set_up(20)));
    EXPECT_EQ("only 12000 ms for the set-up, and not 19000", Broken("waits", set_up(12)));
}

TEST(SoakLaws, Requests) {
    const auto asked = [](const std::string& line) {
        return Record().Starts().At(3000).Log("handle_command", line);
    };
    EXPECT_EQ("",
              Broken("requests", asked("[FIFO]SoftReset:1").After(2).Log("Task", "[FIFO] SoftReset run")));
    EXPECT_EQ("a soft reset was asked for and isn't carried out",
              Broken("requests", asked("[FIFO]SoftReset:1").After(60).Add("sends", "AT")));
    EXPECT_EQ("a hardware reset was asked for and isn't carried out",
              Broken("requests", asked("[FIFO]S84Reset4G:1").After(60).Add("sends", "AT")));
    EXPECT_EQ("\"[FIFO] SoftReset run\" though nobody asked, or only during an upgrade",
              Broken("requests", asked("[FIFO]SoftReset:1")
                                     .After(2)
                                     .Log("Task", "[FIFO] SoftReset run")
                                     .After(60)
                                     .Log("Task", "[FIFO] SoftReset run")));
    EXPECT_NE("", Broken("requests", Record()
                                         .Starts()
                                         .Log("ravelin_deal_dbus_message",
                                              "[OTA] get ocpp msg and set ota upgrade flag true")
                                         .Log("handle_command", "[FIFO]Reset4G:1")
                                         .Log("Task", "[FIFO] DeviceReset run")));
}

TEST(SoakLaws, Settings) {
    constexpr char kChange[] =
        "# fault settings_rewritten from 3000 to 3100\nsettings\n    APN=a\nat 3000 settings\n    APN=b\n";
    constexpr char kOff[] =
        "# fault disabled from 3000 to 3100\nsettings\n    ENABLE=true\nat 3000 settings\n    ENABLE=false\n";
    const auto online = [] {
        return Record().Starts().At(60).Online().At(3000).Add("world", "write /run/network/ifcfg-lte");
    };
    EXPECT_EQ(
        "",
        Broken(
            "settings",
            online().After(3).Add("publishes", std::string(kStatus) + "APN='b'").After(60).Add("sends", "AT"),
            kChange));
    EXPECT_EQ("the settings of 3000 s are not taken: APN=b",
              Broken("settings", online().After(60).Add("sends", "AT"), kChange));
    EXPECT_EQ("", Broken("settings",
                         online()
                             .After(3)
                             .Log("Task", "lte ENABLE=false, disconnect network !!!")
                             .After(60)
                             .Add("sends", "AT"),
                         kOff));
    EXPECT_EQ("the settings of 3000 s are not taken: ENABLE=false",
              Broken("settings", online().After(60).Add("sends", "AT"), kOff));
    EXPECT_EQ("", Broken("settings", online().After(2).Add("sends", "AT").After(60).Add("sends", "AT"),
                         std::string(kOff) + "at 3001 settings\n    ENABLE=true\n"));
}

TEST(SoakLaws, SettingsWithTheSameValueInOtherQuotes) {
    const std::string fault =
        "# fault settings_torn from 3000 to 3100\nsettings\n    APN='a'\nat 3000 settings\n";
    const Record record = Record().Starts().At(60).Online().At(3060).Add("sends", "AT");
    EXPECT_EQ("", Broken("settings", record, fault + "    APN='a\n"));
    EXPECT_EQ("", Broken("settings", record, fault + "    APN=a\n"));
    EXPECT_EQ("the settings of 3000 s are not taken: APN='",
              Broken("settings", record, fault + "    APN='\n"));
}

constexpr char kAccepted[] = "[OTA] get ocpp msg and set ota upgrade flag true";
constexpr char kOver[] = "[OTA] reset ota upgrade flag";

std::string Hex(unsigned msg_id, unsigned cmd, const bus_peer::Bytes& data) {
    const bus_peer::Bytes bytes = bus_peer::EncodeFrame({msg_id, cmd, data});
    return simulator_text::ToHex({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

TEST(SoakLaws, Upgrade) {
    const std::string outcome = "sends OCPP.Message " + Hex(1, 0x7601, {0});
    const auto running = [] { return Record().Starts().At(10).Log("ravelin_deal_dbus_message", kAccepted); };
    EXPECT_EQ("", Broken("upgrade",
                         running().Add("bus", outcome).Log("thread_function_ota", kOver).Add("sends", "AT")));
    EXPECT_EQ("an upgrade has ended without a report",
              Broken("upgrade", running().Log("thread_function_ota", kOver).Add("sends", "AT")));
    EXPECT_EQ("an upgrade is reported twice",
              Broken("upgrade", running().Add("bus", outcome).Add("bus", outcome)));
    EXPECT_EQ("an outcome is reported though there is no upgrade",
              Broken("upgrade", Record().Starts().Add("bus", outcome)));
    EXPECT_EQ("the modem is reset during an upgrade: /ubi/local/apps/network/Reset4G.sh start pin_rst",
              Broken("upgrade", running().Add("runs", "/ubi/local/apps/network/Reset4G.sh start pin_rst")));
    EXPECT_EQ("a hardware reset begins during an upgrade", Broken("upgrade", running().HardReset(1)));
    EXPECT_EQ("an upgrade never ends", Broken("upgrade", running().At(3000).Add("sends", "AT")));
    // Asked for again when its fault is nearly over, it takes as long once more.
    const std::string fault = "# fault upgrade_hangs from 5 to 2000\n";
    const auto late = [] { return Record().Starts().At(1990).Log("ravelin_deal_dbus_message", kAccepted); };
    EXPECT_EQ("", Broken("upgrade", late().At(4000).Add("sends", "AT"), fault));
    EXPECT_EQ("an upgrade never ends", Broken("upgrade", late().At(8000).Add("sends", "AT"), fault));
}

bus_peer::Bytes FifteenItems() {
    bus_peer::Bytes data = {15};
    for (uint8_t type = 1; type <= 15; ++type) data.insert(data.end(), {type, 1, 'x'});
    return data;
}

TEST(SoakLaws, Bus) {
    const auto asked = [](const std::string& question, const std::string& answer) {
        Record record = Record().Starts().At(10).Add("bus", "calls " + question);
        if (answer != "none") record.Add("bus", answer.empty() ? "replies " : "replies " + answer);
        return record.After(1).Add("sends", "AT");
    };
    const std::string query = Hex(7, 0x7603, {});
    EXPECT_EQ("", Broken("bus", asked(query, Hex(7, 0x7603, FifteenItems()))));
    EXPECT_EQ("no answer to FF 6A A6 00 07 00 04 76 03 7B 92", Broken("bus", asked(query, "none")));
    EXPECT_EQ("an answer with the id of another question",
              Broken("bus", asked(query, Hex(8, 0x7603, FifteenItems()))));
    EXPECT_EQ("a status answer that can't be read: it isn't one of fifteen items",
              Broken("bus", asked(query, Hex(7, 0x7603, {0}))));
    EXPECT_EQ("an answer that is no frame, since it is empty: ", Broken("bus", asked(query, "")));
    EXPECT_EQ("", Broken("bus", asked("FF6A", "")));
    EXPECT_NE("", Broken("bus", asked("FF6A", Hex(7, 0x7603, FifteenItems()))));
    EXPECT_EQ("", Broken("bus", asked(Hex(9, 0x7600, {2}), Hex(9, 0x7600, {0}))));
    EXPECT_EQ("an upgrade request is answered with 1 and not 0",
              Broken("bus", asked(Hex(9, 0x7600, {2}), Hex(9, 0x7600, {1}))));
    EXPECT_EQ("an upgrade is called accepted, and none was",
              Broken("bus", asked(Hex(9, 0x7600, {1}), Hex(9, 0x7600, {1}))));
    EXPECT_EQ("an answer to nothing", Broken("bus", Record().Add("bus", "replies FF")));
    // Before there is a modem everything is answered alike.
    EXPECT_EQ("", Broken("bus",
                         Record().Add("bus", "calls " + query).Add("bus", "replies " + Hex(7, 0x7600, {3}))));
    EXPECT_NE(
        "",
        Broken(
            "bus",
            Record().Add("bus", "calls " + query).Add("bus", "replies " + Hex(7, 0x7603, FifteenItems()))));
}

/// A status file as it is shown at 3005 s, with a line of it changed, after something else has happened.
Record ShownFile(const std::string& key = "", const std::string& value = "", const std::string& world = "",
                 const std::string& published_next = "", const std::string& heard_first = "") {
    Record record =
        Record().Add("world", world).Starts().At(50).Log("Connect", "Do connect.  1 times.").At(60).Online();
    record.Add("publishes", std::string(kStatus) + "RetryTimes=1").At(2990);
    record.Add("sends", "AT+CSQ");
    if (!heard_first.empty()) record.Add("hears", heard_first);
    record.Add("hears", "\\r\\n+CSQ: 23,99\\r\\n\\r\\nOK\\r\\n").At(3005);
    const std::vector<std::pair<std::string, std::string>> lines = {{"IMSI", "1"},
                                                                    {"ICCID", "2"},
                                                                    {"IMEI", "3"},
                                                                    {"AutoConnect", "FALSE"},
                                                                    {"Online", "TRUE"},
                                                                    {"Carrier", ""},
                                                                    {"APN", "'a'"},
                                                                    {"CSQ", "23"},
                                                                    {"CGREG", "0"},
                                                                    {"CEREG", "1"},
                                                                    {"Uptime", "00:49:03"},
                                                                    {"RetryTimes", "1"},
                                                                    {"Network", "LTE"},
                                                                    {"FWVersion", "x"},
                                                                    {"Tempture", "38"},
                                                                    {"GIT_VERSION", "0000000"},
                                                                    {"Now", "'Thu Jan  1 00:50:03 2026'"}};
    for (const auto& line : lines) {
        if (line.first == key && value == "none") continue;
        record.Add("shows", kStatus + line.first + "=" + (line.first == key ? value : line.second));
    }
    if (!published_next.empty()) return record.Add("publishes", kStatus + published_next);
    return record.Add("sends", "AT");
}

constexpr char kApn[] = "settings\n    APN='a'\n";

TEST(SoakLaws, StatusWithALineEndInATextOfTheModem) {
    const auto with_rest = [](const std::string& text) {
        const std::string rest =
            virtual_time::FormatEntry({3'005'000'000, "shows", std::string(kStatus) + "+SIM R"});
        return ShownFile("FWVersion", text + "\n" + rest.substr(0, rest.size() - 1));
    };
    EXPECT_EQ("", Broken("status", with_rest("x\\r"), kApn));
    EXPECT_EQ("the line Tempture= is missing, or in another place", Broken("status", with_rest("x"), kApn));
}

TEST(SoakLaws, Status) {
    EXPECT_EQ("", Broken("status", ShownFile(), kApn));
    EXPECT_EQ("", Broken("status", ShownFile("", "", "", "Network=FDD LTE"), kApn));  // a moment later
    EXPECT_EQ("the line Tempture= is missing, or in another place",
              Broken("status", ShownFile("Tempture", "none"), kApn));
    EXPECT_EQ("RetryTimes=2 is shown where 1 is right", Broken("status", ShownFile("RetryTimes", "2"), kApn));
    EXPECT_EQ("Online=FALSE is shown where TRUE is right",
              Broken("status", ShownFile("Online", "FALSE"), kApn));
    EXPECT_EQ("CSQ=22 is shown where 23 is right", Broken("status", ShownFile("CSQ", "22"), kApn));
    EXPECT_EQ("", Broken("status", ShownFile("CSQ", "99", "", "", "\\r\\n+CSQ: 99,99\\r\\n"), kApn));
    EXPECT_EQ("CSQ=22 is shown where 23 is right",
              Broken("status", ShownFile("CSQ", "22", "", "", "\\r\\n+CREG: 1\\r\\n"), kApn));
    EXPECT_EQ("APN='b' is shown where 'a' is set", Broken("status", ShownFile("APN", "'b'"), kApn));
    EXPECT_EQ("Uptime=00:40:00 though the link has been up for 2943 s",
              Broken("status", ShownFile("Uptime", "00:40:00"), kApn));
    EXPECT_EQ("", Broken("status", ShownFile("Uptime", "00:59:03"),
                         std::string(kApn) + "# fault ping_hangs from 20 to 80\n"));
    EXPECT_EQ(
        "Online=TRUE without a dial",
        Broken("status", Record().Starts().At(60).Add("publishes", std::string(kStatus) + "Online=TRUE")));
    EXPECT_EQ("Online=FALSE though the link wasn't given up",
              Broken("status", Record().Starts().Online().After(9).Add(
                                   "publishes", std::string(kStatus) + "Online=FALSE")));
    // Given up before the file said that it was there.
    EXPECT_EQ("", Broken("status", Record()
                                       .Starts()
                                       .Log("RunDhcpClient", "Run DhcpClient!!!")
                                       .After(50)
                                       .SoftReset()
                                       .After(9)
                                       .Add("publishes", std::string(kStatus) + "Online=TRUE")
                                       .After(9)
                                       .Add("publishes", std::string(kStatus) + "Online=FALSE")));
    EXPECT_EQ("RetryTimes=1 after 0 attempts",
              Broken("status", Record().Starts().Add("publishes", std::string(kStatus) + "RetryTimes=1")));
}

constexpr char kSignal[] = "/run/network/signal_status ";
constexpr char k3630[] = "/run/network/3630_status ";
constexpr char kAskCell[] = "AT+QENG=\"servingcell\"\\r\\n";

using Lines = std::vector<std::pair<std::string, std::string>>;

/// Lines that a test writes: those given, and `changed` in the place of the one with its key.
Lines With(Lines lines, const std::string& key, const std::string& value) {
    for (auto& line : lines) {
        if (line.first == key) line.second = value;
    }
    return lines;
}

void Write(Record& record, const char* file, const Lines& lines, const char* kind = "publishes") {
    for (const auto& [key, value] : lines) {
        const bool is_legend = key[0] == '\\';
        const bool is_clock = key == "Uptime" || key == "Now";
        if (value == "none" || (is_clock && std::string(kind) == "publishes")) continue;
        record.Add(kind, file + key + (is_legend ? "" : "=" + value));
    }
}

const Lines kStatusLines = {
    {"IMSI", "1"},          {"ICCID", "2"},           {"Online", "TRUE"},
    {"Carrier", "\"C\""},   {"APN", "'a'"},           {"CSQ", "23"},
    {"Uptime", "00:49:03"}, {"Network", "\"WCDMA\""}, {"Now", "'Thu Jan  1 00:50:03 2026'"}};
const Lines kSignalLines = {
    {"APN", "a"},
    {"Username", "u"},
    {"Password", "p"},
    {"Authentication", "2"},
    {"\\t0 None 1 PAP 2 CHAP 3 PAP-CHAP", ""},
    {"SIMOperator", "\"C\""},
    {"Network", "\"WCDMA\""},
    {"ModemNetwork_Generation", "2"},
    {"Online", "TRUE"},
    {"ConnectionStatus", "1"},
    {"CSQ", "23"},
    {"SignalLevel", "-95"},
    {"\\texcellent:>-85dBm\\tgood:-85～-95dBm\\tMid_cell:-95～-105dBm\\tpoor:-105～-115dBm"
     "\\tvery_poor:<-115dB",
     ""},
    {"GIT_VERSION", "0000000"},
    {"Uptime", "00:49:03"},
    {"Now", "'Thu Jan  1 00:50:03 2026'"}};

std::string CsqAnswer(int csq) {
    return "\\r\\n+CSQ: " + std::to_string(csq) + ",99\\r\\n\\r\\nOK\\r\\n";
}
std::string CellAnswer(const std::string& rsrp, const std::string& technology = "LTE") {
    return "\\r\\n+QENG: \"servingcell\",\"CONNECT\",\"" + technology +
           "\",\"FDD\",460,00,B3F2A10,211,1650,3,5,5,5A1C," + rsrp + ",-11,-67,14,27\\r\\n\\r\\nOK\\r\\n";
}

/// An exchange, and a second until its time is over.
void Exchange(Record& record, const std::string& command, const std::string& answer, double seconds = 1) {
    record.Add("sends", command);
    if (!answer.empty()) record.Add("hears", answer);
    record.After(seconds);
}

/// Signal quality 23 and level -95 are asked for and answered, and both files are written with these lines.
Record Written(const Lines& signal_lines = kSignalLines, const Lines& status_lines = kStatusLines) {
    Record record = Record().Starts();
    record.At(100);
    Exchange(record, "AT+CSQ", CsqAnswer(23));
    Exchange(record, kAskCell, CellAnswer("-95"));
    Write(record, kStatus, status_lines);
    Write(record, kSignal, signal_lines);
    return record.After(1).Add("sends", "AT");
}

std::string BrokenBy(const std::string& key, const std::string& value) {
    return Broken("signal", Written(With(kSignalLines, key, value)));
}

TEST(SoakSignal, WhatIsWrittenIsWhatWasAnswered) {
    EXPECT_EQ("", Broken("signal", Written()));
    EXPECT_EQ("SignalLevel=-96 is written where -95 is right", BrokenBy("SignalLevel", "-96"));
    const Lines wrong = With(kStatusLines, "CSQ", "22");
    EXPECT_EQ("CSQ=22 is written where 23 is right",
              Broken("signal", Written(With(kSignalLines, "CSQ", "22"), wrong)));
    EXPECT_EQ("a line that nobody knows: CQS=23",
              Broken("signal", Written().Add("publishes", std::string(kSignal) + "CQS=23")));
}

TEST(SoakSignal, BothFilesSayTheSame) {
    EXPECT_EQ("CSQ=22 is written where 23 is right", BrokenBy("CSQ", "22"));
    EXPECT_EQ("APN='a' is written where a is right", BrokenBy("APN", "'a'"));
    EXPECT_EQ("SIMOperator= is written where \"C\" is right", BrokenBy("SIMOperator", ""));
    EXPECT_EQ("Online=FALSE is written where TRUE is right", BrokenBy("Online", "FALSE"));
    EXPECT_EQ("ConnectionStatus=0 is written where 1 is right", BrokenBy("ConnectionStatus", "0"));
    // Only one of them follows.
    Record stale = Written();
    Exchange(stale, "AT+CSQ", CsqAnswer(20));
    stale.Add("publishes", std::string(kStatus) + "CSQ=20");
    EXPECT_EQ("CSQ=23 is written where 20 is right", Broken("signal", stale.Add("sends", "AT")));
    EXPECT_EQ("the status file is written, and the signal file isn't", Broken("signal", Written({})));
    EXPECT_EQ("", Broken("signal", Written({}), "# fault files_readonly from 100 to 200\n"));
}

TEST(SoakSignal, GenerationIsThatOfTheNetwork) {
    EXPECT_EQ("ModemNetwork_Generation=1 is written where 2 is right",
              BrokenBy("ModemNetwork_Generation", "1"));
    EXPECT_EQ("ModemNetwork_Generation=0 is written where 2 is right",
              BrokenBy("ModemNetwork_Generation", "0"));
    // There is none without a SIM.
    const Lines no_sim = With(kStatusLines, "ICCID", "");
    EXPECT_EQ("", Broken("signal", Written(With(kSignalLines, "ModemNetwork_Generation", "0"), no_sim)));
    EXPECT_EQ("ModemNetwork_Generation=3 is written where 2 is right",
              Broken("signal", Written(With(kSignalLines, "ModemNetwork_Generation", "3"), no_sim)));
}

/// What is wrong when this is the answer to `command`, nothing is written after it, and much else is asked.
std::string LeftAfter(const std::string& command, const std::string& answer, const std::string& lines = "") {
    Record record = Written();
    Exchange(record, command, answer);
    return Broken("signal", record.Add("sends", "AT+QNWINFO").After(9).Add("sends", "AT+CSQ"), lines);
}

TEST(SoakSignal, AnswerIsWrittenBeforeTheNextQuestion) {
    EXPECT_EQ("SignalLevel=-95 is left where -97 is right", LeftAfter(kAskCell, CellAnswer("-97")));
    EXPECT_EQ("CSQ=23 is left where 20 is right", LeftAfter("AT+CSQ", CsqAnswer(20)));
    EXPECT_EQ("CSQ=23 is left where  is right", LeftAfter("AT+CSQ", CsqAnswer(0)));
    EXPECT_EQ("SignalLevel=-95 is left where -97 is right",
              LeftAfter(kAskCell, "AT+QENG=\"servingcell\"\\r" + CellAnswer("-97") + "\\r"));
    EXPECT_EQ("", LeftAfter("AT+CSQ", CsqAnswer(20), "# fault files_full from 100 to 110\n"));
    // The link is tended in between.
    Record tended = Written();
    Exchange(tended, "AT+CSQ", CsqAnswer(20));
    Exchange(tended, "AT+QNETDEVSTATUS?", "");
    EXPECT_EQ("", Broken("signal", tended));
}

TEST(SoakSignal, UnclearAnswersAreNotJudged) {
    // None is stored, and what was there stays.
    for (const std::string& answer : {std::string(), std::string("\\r\\nERROR\\r\\n")}) {
        EXPECT_EQ("", LeftAfter("AT+CSQ", answer)) << answer;
        EXPECT_EQ("", LeftAfter(kAskCell, answer)) << answer;
    }
    EXPECT_EQ("", LeftAfter(kAskCell, CellAnswer("-97", "WCDMA")));
    // Cut, with another line in it, in pieces that come too late, without end, from a port that went away.
    EXPECT_EQ("", LeftAfter("AT+CSQ", "\\r\\n+CSQ: 2"));
    EXPECT_EQ("", LeftAfter("AT+CSQ", "\\r\\nRING\\r\\n" + CsqAnswer(20)));
    EXPECT_EQ("", LeftAfter(kAskCell, CellAnswer("-97").substr(0, 60)));
    EXPECT_EQ("", LeftAfter(kAskCell, CellAnswer("-97\\r\\nRING\\r\\n")));
    EXPECT_EQ("", LeftAfter("AT+CSQ", CsqAnswer(20) + std::string(300, 'x')));
    Record late = Written();
    Exchange(late, "AT+CSQ", CsqAnswer(20));
    EXPECT_EQ("", Broken("signal", late.Add("hears", "x").After(9).Add("sends", "AT+CSQ")));
    Record lost = Written();
    lost.Add("sends", "AT+CSQ").Add("hears", CsqAnswer(20)).Add("modem", "port is gone");
    EXPECT_EQ("", Broken("signal", lost.After(9).Add("sends", "AT+CSQ")));
    // Known again with the next clear one.
    Record again = Written();
    Exchange(again, "AT+CSQ", "\\r\\n+CSQ: 2");
    Exchange(again, "AT+CSQ", CsqAnswer(19));
    EXPECT_EQ("CSQ=23 is left where 19 is right", Broken("signal", again.After(9).Add("sends", "AT+CSQ")));
}

TEST(SoakSignal, EachRunBeginsWithNothing) {
    Record record = Written();
    record.Add("ends", "signal 9").After(5).Add("world", "starts again").Starts().Add("sends", "ATZ");
    EXPECT_EQ("", Broken("signal", record));  // the file is that of the former run
    Write(record, kStatus, With(kStatusLines, "CSQ", ""));
    Write(record, kSignal, With(With(kSignalLines, "CSQ", ""), "SignalLevel", ""));
    EXPECT_EQ("", Broken("signal", Record(record).Add("sends", "AT")));
    record.Add("publishes", std::string(kSignal) + "SignalLevel=-95");
    EXPECT_EQ("SignalLevel=-95 is written where  is right", Broken("signal", record.Add("sends", "AT")));
}

TEST(SoakSignal, OtherModemsHaveNoSuchFile) {
    EXPECT_EQ("written for a modem that has no such file: /run/network/signal_status CSQ=1",
              Broken("signal", Record().Starts(8).Add("publishes", std::string(kSignal) + "CSQ=1")));
    EXPECT_EQ("",
              Broken("signal",
                     Record().Starts(8).Add("publishes", std::string(kStatus) + "CSQ=1").Add("sends", "AT")));
    const auto zte = [](const std::string& name) {
        Record record = Record().Starts(5).Add("publishes", std::string(k3630) + "CSQ=");
        return record.Log("Initialize", "m_ModuleName = " + name + " ");
    };
    EXPECT_EQ("", Broken("signal", zte("ME3630"), "", "zte ME3630"));
    EXPECT_EQ("3630_status is written for a modem that has no such file: GM196",
              Broken("signal", zte("GM196"), "", "zte GM196"));
}

/// Both files are written, and shown late in a healthy stretch.
std::string BrokenAsShown(const Lines& signal_lines) {
    Record record = Written();
    record.At(3005);
    Write(record, kStatus, kStatusLines, "shows");
    Write(record, kSignal, signal_lines, "shows");
    return Broken("signal", record.Add("sends", "AT"),
                  "settings\n    USERNAME=u\n    PASSWORD=p\n    AUTH_TYPE=2\n");
}

TEST(SoakSignal, ShownFileIsWhole) {
    EXPECT_EQ("", BrokenAsShown(kSignalLines));
    EXPECT_EQ("the signal file is missing, or cut", BrokenAsShown(With(kSignalLines, "Now", "none")));
    EXPECT_EQ("the line GIT_VERSION is missing, or in another place",
              BrokenAsShown(With(kSignalLines, "GIT_VERSION", "none")));
    EXPECT_EQ("the line \\t0 None 1 PAP 2 CHAP 3 PAP-CHAP is missing, or in another place",
              BrokenAsShown(With(kSignalLines, kSignalLines[4].first, "none")));
    Lines more = kSignalLines;
    more.push_back({"RSRP", "1"});
    EXPECT_EQ("a line that nobody knows: RSRP", BrokenAsShown(more));
    EXPECT_EQ("SignalLevel=-96 is shown where -95 is right",
              BrokenAsShown(With(kSignalLines, "SignalLevel", "-96")));
    EXPECT_EQ("Uptime=00:49:04 is shown beside 00:49:03",
              BrokenAsShown(With(kSignalLines, "Uptime", "00:49:04")));
    EXPECT_EQ("Now='Thu Jan  1 00:50:02 2026' is shown beside 'Thu Jan  1 00:50:03 2026'",
              BrokenAsShown(With(kSignalLines, "Now", "'Thu Jan  1 00:50:02 2026'")));
}

TEST(SoakSignal, AccountIsThatOfTheSettings) {
    const auto shown = [](const std::string& settings) {
        Record record = Written().At(3005);
        Write(record, kSignal, kSignalLines, "shows");
        return Broken("signal", record.Add("sends", "AT"), settings);
    };
    EXPECT_EQ("", shown("settings\n    USERNAME=u\n    PASSWORD=p\n    AUTH_TYPE=2\n"));
    EXPECT_EQ("Username=u is shown where v is set",
              shown("settings\n    USERNAME=v\n    PASSWORD=p\n    AUTH_TYPE=2\n"));
    EXPECT_EQ("Password=p is shown where  is set", shown("settings\n    USERNAME=u\n    AUTH_TYPE=2\n"));
    EXPECT_EQ("Authentication=2 is shown where 0 is set",
              shown("settings\n    USERNAME=u\n    PASSWORD=p\n"));
    // Named once, it stays.
    EXPECT_EQ("", shown("settings\n    USERNAME=u\n    PASSWORD=p\n    AUTH_TYPE=2\n"
                        "at 50 settings\n    USERNAME=u\n    PASSWORD=p\n"));
}

const Lines k3630Lines = {{"CSQ", "20"}, {"RSSI", "-73dBm"}, {"RSRP", ""}, {"RSRQ", ""}, {"SINR", ""}};

/// An ME3630 with signal quality 20, these lines in its file, and another answer after that.
Record Zte(const Lines& lines, int csq_before = 0, const std::string& answer = "") {
    Record record = Record().Starts(5).Log("Initialize", "m_ModuleName = ME3630 ");
    record.At(100);
    if (csq_before != 0) {
        Exchange(record, "AT+CSQ", CsqAnswer(csq_before));
        record.After(12);
    }
    Exchange(record, "AT+CSQ", CsqAnswer(20));
    if (!answer.empty()) Exchange(record, "AT+ZSRSP?", answer, 3);
    Write(record, kStatus, {{"CSQ", "20"}});
    Write(record, k3630, lines);
    return record.Add("sends", "AT");
}

TEST(SoakSignal, ReceivedPowerFollowsFromTheFirstQuality) {
    const auto broken = [](const Lines& lines, int csq_before) {
        return Broken("signal", Zte(lines, csq_before), "", "zte ME3630");
    };
    EXPECT_EQ("", broken(k3630Lines, 0));
    EXPECT_EQ("RSSI=-72dBm is written where -73dBm is right", broken(With(k3630Lines, "RSSI", "-72dBm"), 0));
    EXPECT_EQ("", broken(With(k3630Lines, "RSSI", "-75dBm"), 19));
    EXPECT_EQ("RSSI=-73dBm is written where -75dBm is right", broken(k3630Lines, 19));
}

TEST(SoakSignal, ZteSignalHasItsUnits) {
    const std::string answer = "\\r\\n+ZSRSP: \"-098\",\"-12\",\"-070\",\"010\"\\r\\n\\r\\nOK\\r\\n";
    const Lines lines = {
        {"CSQ", "20"}, {"RSSI", "-70dBm"}, {"RSRP", "-98dBm"}, {"RSRQ", "-12dB"}, {"SINR", "010dB"}};
    const auto broken = [&](const Lines& shown, const std::string& heard) {
        return Broken("signal", Zte(shown, 0, heard), "", "zte ME3630");
    };
    EXPECT_EQ("", broken(lines, answer));
    EXPECT_EQ("RSSI=-73dBm is written where -70dBm is right", broken(With(lines, "RSSI", "-73dBm"), answer));
    EXPECT_EQ("RSRP=-098dBm is written where -98dBm is right",
              broken(With(lines, "RSRP", "-098dBm"), answer));
    EXPECT_EQ("RSRQ=-12 is written where -12dB is right", broken(With(lines, "RSRQ", "-12"), answer));
    EXPECT_EQ("SINR=10dB is written where 010dB is right", broken(With(lines, "SINR", "10dB"), answer));
    // Silence leaves them empty, and what is garbled leaves the question open.
    EXPECT_EQ("RSRP=-98dBm is written where  is right",
              broken(With(With(With(lines, "RSSI", "-73dBm"), "RSRQ", ""), "SINR", ""), "\\r\\nERROR\\r\\n"));
    EXPECT_EQ("", broken(lines, "\\r\\n+ZSRSP: \"-098\"\\r\\n\\r\\nOK\\r\\n"));
}

TEST(SoakLaws, Fresh) {
    EXPECT_EQ("", Broken("fresh", ShownFile(), kApn));
    EXPECT_EQ("the status file is 65 s old",
              Broken("fresh", ShownFile("Now", "'Thu Jan  1 00:49:00 2026'"), kApn));
    EXPECT_EQ("the status file is missing, or cut", Broken("fresh", ShownFile("Now", "none"), kApn));
    // Somebody has set the date.
    EXPECT_EQ("the status file is 3602 s old", Broken("fresh", ShownFile("", "", "clock +3600"), kApn));
    EXPECT_EQ("", Broken("fresh", ShownFile("Now", "'Wed Dec 31 23:50:03 2025'", "clock -3600"), kApn));
    EXPECT_EQ(
        "the status file is missing, or cut",
        Broken(
            "fresh",
            Record().Starts().At(3000).Add("shows", std::string(kStatus) + "(missing)").Add("sends", "AT")));
}

TEST(SoakLaws, FreshWhileSomethingIsWrong) {
    const std::string fault = "# fault port_away from 10 to 8000\n";
    const auto shown_at = [](double seconds) {
        return Record()
            .Starts()
            .Add("ends", "exit 255")
            .Add("world", "starts again")
            .At(400)
            .Starts()
            .At(seconds)
            .Add("shows", std::string(kStatus) + "Now='Thu Jan  1 00:00:01 2026'")
            .Add("sends", "AT");
    };
    EXPECT_EQ("", Broken("fresh", shown_at(579), fault));  // it had no modem, and so nothing to write
    EXPECT_EQ("the status file is 580 s old", Broken("fresh", shown_at(581), fault));
}

TEST(SoakLaws, Places) {
    EXPECT_EQ(
        "", Broken("places",
                   Record()
                       .Add("runs", "rm -rf /run/network/ravelin_fifo")
                       .Add("asks",
                            "ping  8.8.8.8 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l")
                       .Add("publishes", "/run/network/signal_status CSQ=1")));
    EXPECT_EQ("an unknown command: reboot", Broken("places", Record().Add("runs", "reboot")));
    EXPECT_EQ("an unknown question: date", Broken("places", Record().Add("asks", "date")));
    EXPECT_EQ("a file that isn't its own is written: /etc/hosts x",
              Broken("places", Record().Add("publishes", "/etc/hosts x")));
}

TEST(SoakLaws, Complaints) {
    EXPECT_EQ(
        "", Broken("complaints", Record().Add("complains", "Open file /run/network/ravelin_status error!")));
    EXPECT_EQ("", Broken("complaints", Record().Add("complains", "x: invalid option -- 'f'")));
    EXPECT_EQ("", Broken("complaints",
                         Record().Add("complains", "DBUS initialize error!").Add("complains", ": Success")));
    EXPECT_EQ("an unknown complaint: : Success",
              Broken("complaints", Record().Add("complains", ": Success")));
    EXPECT_EQ("an unknown complaint: double free",
              Broken("complaints", Record().Add("complains", "double free")));
}

TEST(SoakLaws, Busy) {
    Record busy = Record().Starts();
    for (int i = 0; i < 62; ++i) busy.After(0.5).Add("sends", "AT");
    EXPECT_EQ("62 commands within a minute", Broken("busy", busy));
    Record talkative = Record().Starts();
    for (int i = 0; i < 101; ++i) talkative.Log("Connect", "something");
    EXPECT_NE("", Broken("busy", talkative));
    Record others = Record().Starts();
    for (int i = 0; i < 500; ++i) others.Log("handle_command", "[FIFO]orla_ip_list:noexist");
    EXPECT_EQ("", Broken("busy", others));
}

TEST(SoakLaws, Resources) {
    const auto samples = [](const std::vector<std::string>& texts) {
        Record record = Record().Starts().At(60).Online().At(3000);
        for (const std::string& text : texts) record.After(100).Add("world", "resources " + text);
        return record;
    };
    const std::string same = "descriptors 5 threads 2 children 0 heap 1000";
    EXPECT_EQ(
        "", Broken("resources", samples({same, same, "descriptors 5 threads 2 children 1 heap 9000", same})));
    EXPECT_EQ("6 descriptors where there were 5",
              Broken("resources", samples({same, "descriptors 6 threads 2 children 0 heap 1000"})));
    EXPECT_EQ("3 threads where there were 2",
              Broken("resources", samples({same, "descriptors 5 threads 3 children 0 heap 1000"})));
    EXPECT_EQ("2 children at a time",
              Broken("resources", samples({same, "descriptors 5 threads 2 children 2 heap 1000"})));
    std::vector<std::string> steps, leak;
    for (int i = 0; i < 20; ++i) {
        steps.push_back("descriptors 5 threads 2 children 0 heap " +
                        std::to_string(1000 + 100 * std::min(i, 3)));
        leak.push_back("descriptors 5 threads 2 children 0 heap " + std::to_string(1000 + 16 * i));
    }
    EXPECT_EQ("", Broken("resources", samples(steps)));
    EXPECT_EQ("the heap has grown 9 times, from 1000 to 1144 bytes", Broken("resources", samples(leak)));
}

}  // namespace
