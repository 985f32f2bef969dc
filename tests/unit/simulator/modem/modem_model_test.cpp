// The modem model: state behind the commands, boot, knobs, and what knobs do to the line. Time is a number
// here.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simulator/modem/modem_model.h"

namespace {

using modem_sim::Modem;
using modem_sim::ModemOptions;

constexpr size_t kAll = 1024 * 1024;

class ModemModel : public testing::Test {
  protected:
    ModemModel() { Ask("ATE0"); }

    /// One exchange: the command, a second, the answer.
    std::string Ask(const std::string& command) {
        modem_.Receive(command + "\r\n", now_ms_);
        return After(1000);
    }

    std::string After(int64_t ms) {
        now_ms_ += ms;
        return modem_.TakeOutput(now_ms_, kAll);
    }

    void Turn(const std::string& knob) {
        std::string reply;
        EXPECT_TRUE(modem_.Control(knob, &reply, now_ms_)) << knob << ": " << reply;
    }

    bool StatusHas(const std::string& line) const {
        return modem_.Status().find(line + "\n") != std::string::npos;
    }

    void Dial() {
        Ask("AT$QCRMCALL=1,1");
        ASSERT_TRUE(StatusHas("link: up"));
    }

    int64_t now_ms_ = 0;
    Modem modem_{ModemOptions{}};
};

const std::string kOk = "\r\nOK\r\n";
const std::string kError = "\r\nERROR\r\n";
const std::string kCardTalk =
    "\r\n+CPIN: READY\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n\r\n+QIND: PB DONE\r\n";

std::string Line(const std::string& text) {
    return "\r\n" + text + "\r\n\r\nOK\r\n";
}

// Commands

TEST_F(ModemModel, AnswersInTheFormOfARealModem) {
    EXPECT_EQ(Ask("AT+CSQ"), "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
}

TEST_F(ModemModel, EchoIsOnAtTheStartAndEndsWithTheCarriageReturn) {
    Modem fresh{ModemOptions{}};
    fresh.Receive("AT+CIMI\r\n", 0);
    EXPECT_EQ(fresh.TakeOutput(0, kAll), "AT+CIMI\r\r\n460001112223334\r\n\r\nOK\r\n");
}

TEST_F(ModemModel, EchoFollowsAte0Ate1AtzAndFactoryReset) {
    EXPECT_EQ(Ask("AT"), kOk);
    EXPECT_EQ(Ask("ATE1"), kOk);
    EXPECT_EQ(Ask("ATE0"), "ATE0\r" + kOk);
    EXPECT_EQ(Ask("ATZ"), kOk);
    EXPECT_EQ(Ask("ATE0"), "ATE0\r" + kOk);
    EXPECT_EQ(Ask("AT&F"), kOk);
    EXPECT_EQ(Ask("AT"), "AT\r" + kOk);
}

TEST_F(ModemModel, LettersAndBlanksOfACommandDontMatterOutsideQuotes) {
    EXPECT_EQ(Ask("at + csq"), Line("+CSQ: 23,99"));
    EXPECT_EQ(Ask("at+Qcfg=\"usbnet\",1"), kOk);
    EXPECT_EQ(Ask("AT+QCFG=\"USBNET\",1"), kError);
}

TEST_F(ModemModel, CommandArrivesInPiecesAndWithASecondLineEnd) {
    modem_.Receive("AT+", now_ms_);
    EXPECT_EQ(After(500), "");
    modem_.Receive("CSQ", now_ms_);
    modem_.Receive("\r\n", now_ms_);
    EXPECT_EQ(After(0), Line("+CSQ: 23,99"));
    modem_.Receive("AT+CSQ\r\n\r\n", now_ms_);
    EXPECT_EQ(After(0), Line("+CSQ: 23,99"));
}

TEST_F(ModemModel, LinesThatAreNoCommandGetNoAnswerAndNoiseInFrontOfOneIsPassedOver) {
    EXPECT_EQ(Ask("hello"), "");
    EXPECT_EQ(Ask(""), "");
    EXPECT_EQ(Ask("\x01\xff#AT"), kOk);
}

TEST_F(ModemModel, UnknownCommandsAnswerErrorAndAreCounted) {
    EXPECT_EQ(modem_.unknown_command_count(), 0u);
    EXPECT_EQ(Ask("AT+NOSUCH=1"), kError);
    EXPECT_EQ(Ask("AT+CSQX"), kError);
    EXPECT_EQ(modem_.unknown_command_count(), 2u);
    EXPECT_EQ(modem_.unknown_commands(), (std::vector<std::string>{"AT+NOSUCH=1", "AT+CSQX"}));
    for (int count = 0; count < 1000; ++count) Ask("AT+MORE");
    EXPECT_EQ(modem_.unknown_command_count(), 1002u);
    EXPECT_EQ(modem_.unknown_commands().size(), 100u);
}

TEST_F(ModemModel, CommandLongerThanTheModemTakesAnswersErrorOnceAndTheNextOneWorks) {
    EXPECT_EQ(Ask("AT+CSQ" + std::string(100000, 'x')), kError);
    EXPECT_EQ(Ask("AT+CSQ"), Line("+CSQ: 23,99"));
}

TEST_F(ModemModel, ErrorsAreWordedAsCmeeAsks) {
    Turn("sim absent");
    After(0);
    EXPECT_EQ(Ask("AT+CMEE=0"), kOk);
    EXPECT_EQ(Ask("AT+CIMI"), kError);
    EXPECT_EQ(Ask("AT+CMEE=1"), kOk);
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Ask("AT+CMEE=2"), kOk);
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: SIM not inserted\r\n");
    EXPECT_EQ(Ask("AT+CMEE?"), Line("+CMEE: 2"));
}

// Radio, registration, data call

TEST_F(ModemModel, RadioOffDropsRegistrationAndDataCall) {
    Dial();
    EXPECT_EQ(Ask("AT+CREG?"), Line("+CREG: 0,1"));
    EXPECT_EQ(Ask("AT+CFUN=0"), kOk);
    EXPECT_EQ(Ask("AT+CREG?"), Line("+CREG: 0,0"));
    EXPECT_EQ(Ask("AT+CGREG?"), Line("+CGREG: 0,0"));
    EXPECT_EQ(Ask("AT+CEREG?"), Line("+CEREG: 0,0"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Line("+QNETDEVSTATUS: 0,0,0,1"));
    EXPECT_EQ(Ask("AT+CSQ"), Line("+CSQ: 99,99"));
    EXPECT_EQ(Ask("AT+COPS?"), Line("+COPS: 0"));
    EXPECT_EQ(Ask("AT+CFUN?"), Line("+CFUN: 0"));
}

TEST_F(ModemModel, RadioOnSearchesForAWhileAndTheDataCallStaysDown) {
    Dial();
    Ask("AT+CFUN=0");
    Turn("sim-start 500");
    Turn("search-time 2000");
    modem_.Receive("AT+CFUN=1\r\n", now_ms_);
    EXPECT_EQ(After(499), kOk);
    EXPECT_EQ(After(1), kCardTalk);
    modem_.Receive("AT+CEREG?\r\n", now_ms_);
    EXPECT_EQ(After(1999), Line("+CEREG: 0,2"));
    modem_.Receive("AT+CEREG?\r\n", now_ms_);
    EXPECT_EQ(After(0), Line("+CEREG: 0,2"));
    now_ms_ += 1;
    modem_.Receive("AT+CEREG?\r\n", now_ms_);
    EXPECT_EQ(After(0), Line("+CEREG: 0,1"));
    EXPECT_TRUE(StatusHas("link: down"));
}

TEST_F(ModemModel, RadioOnWhileOnChangesNothing) {
    Dial();
    EXPECT_EQ(Ask("AT+CFUN=1"), kOk);
    EXPECT_TRUE(StatusHas("link: up"));
    EXPECT_TRUE(StatusHas("cereg: 1"));
}

TEST_F(ModemModel, RegistrationKnobWorksOnOneDomainOrAll) {
    Turn("registration 5 cereg");
    EXPECT_EQ(Ask("AT+CEREG?"), Line("+CEREG: 0,5"));
    EXPECT_EQ(Ask("AT+CGREG?"), Line("+CGREG: 0,1"));
    Turn("registration 3");
    EXPECT_EQ(Ask("AT+CREG?"), Line("+CREG: 0,3"));
    EXPECT_EQ(Ask("AT+CGREG?"), Line("+CGREG: 0,3"));
    EXPECT_EQ(Ask("AT+CEREG?"), Line("+CEREG: 0,3"));
}

TEST_F(ModemModel, CallEndsWhenBothPacketDomainsAreLost) {
    Dial();
    Turn("registration 3 cereg");
    EXPECT_TRUE(StatusHas("link: up"));
    Turn("registration 3 cgreg");
    EXPECT_TRUE(StatusHas("link: cut by the network"));
    Turn("registration 1");
    EXPECT_TRUE(StatusHas("link: cut by the network"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Line("+QNETDEVSTATUS: 1,3,0,1"));
    Dial();
}

TEST_F(ModemModel, RegistrationIsReportedOnceAskedFor) {
    EXPECT_EQ(Ask("AT+CEREG=1"), kOk);
    Turn("registration 3");
    EXPECT_EQ(After(0), "\r\n+CEREG: 3\r\n");
    Turn("registration 3");
    EXPECT_EQ(After(0), "");
    EXPECT_EQ(Ask("AT+CEREG=2"), kOk);
    Turn("registration 1");
    After(0);
    EXPECT_EQ(Ask("AT+CEREG?"), Line("+CEREG: 2,1,\"5A1C\",\"B3F2A10\",7"));
}

TEST_F(ModemModel, DialTakesItsTimeAndAnswersAtItsEnd) {
    Turn("dial-time 2500");
    modem_.Receive("AT$QCRMCALL=1,1\r\n", now_ms_);
    EXPECT_EQ(After(2499), "");
    EXPECT_TRUE(StatusHas("link: dialling"));
    EXPECT_EQ(After(1), Line("$QCRMCALL: 1, V4"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Line("+QNETDEVSTATUS: 1,1,0,1"));
    EXPECT_EQ(Ask("AT$QCRMCALL?"), Line("$QCRMCALL: 1, V4"));
    EXPECT_EQ(Ask("AT$QCRMCALL=0,1"), Line("$QCRMCALL: 0, V4"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Line("+QNETDEVSTATUS: 0,0,0,1"));
}

TEST_F(ModemModel, DialNeedsSimAndRegistration) {
    Turn("registration 2");
    EXPECT_EQ(Ask("AT$QCRMCALL=1,1"), "\r\n+CME ERROR: 30\r\n");
    Turn("sim absent");
    After(0);
    EXPECT_EQ(Ask("AT$QCRMCALL=1,1"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_TRUE(StatusHas("link: down"));
}

TEST_F(ModemModel, LinkDownCutsTheCallAndANewDialBringsItBack) {
    Dial();
    Turn("link down");
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Line("+QNETDEVSTATUS: 1,3,0,1"));
    EXPECT_EQ(Ask("AT+CEREG?"), Line("+CEREG: 0,1"));
    Dial();
    Turn("link down");
    Turn("link up");
    EXPECT_TRUE(StatusHas("link: up"));
}

TEST_F(ModemModel, LinkUpNeedsRegistration) {
    Turn("registration 0");
    std::string reply;
    EXPECT_FALSE(modem_.Control("link up", &reply, now_ms_));
    EXPECT_EQ(reply, "link: the modem isn't registered");
}

TEST_F(ModemModel, DialFailsForeverForSomeTimesOrUntilAReset) {
    Turn("dial fail");
    EXPECT_EQ(Ask("AT$QCRMCALL=1,1"), "\r\nNO CARRIER\r\n");
    EXPECT_TRUE(StatusHas("link: down"));
    Turn("dial ok");
    Dial();
    Turn("link down");
    Turn("dial fail 2");
    EXPECT_EQ(Ask("AT$QCRMCALL=1,1"), "\r\nNO CARRIER\r\n");
    EXPECT_EQ(Ask("AT$QCRMCALL=1,1"), "\r\nNO CARRIER\r\n");
    Dial();
    Turn("dial fail until-reset");
    Turn("link down");
    EXPECT_EQ(Ask("AT$QCRMCALL=1,1"), "\r\nNO CARRIER\r\n");
    Turn("reset");
    After(60000);
    Dial();
}

TEST_F(ModemModel, SignalOperatorNetworkAndTemperatureComeFromKnobs) {
    for (const char* knob : {"csq 7", "rsrp -111", "sinr -3", "band 40", "pcid 77", "temperature 96",
                             "operator CHN-CT", "network TDD LTE", "imsi 460110001112223"}) {
        Turn(knob);
    }
    EXPECT_EQ(Ask("AT+CSQ"), Line("+CSQ: 7,99"));
    EXPECT_EQ(Ask("AT+QTEMP"), Line("+QTEMP: 96,36,37"));
    EXPECT_EQ(Ask("AT+COPS?"), Line("+COPS: 0,0,\"CHN-CT\",7"));
    EXPECT_EQ(Ask("AT+QNWINFO"), Line("+QNWINFO: \"TDD LTE\",\"46011\",\"LTE BAND 40\",1650"));
    EXPECT_EQ(
        Ask("AT+QENG=\"servingcell\""),
        Line("+QENG: \"servingcell\",\"NOCONN\",\"LTE\",\"TDD\",460,11,B3F2A10,77,1650,40,5,5,5A1C,-111,-11,"
             "-67,-3,27"));
}

TEST_F(ModemModel, AnotherRadioTechnologyHasAnotherServingCell) {
    Turn("network WCDMA");
    EXPECT_EQ(Ask("AT+COPS?"), Line("+COPS: 0,0,\"CHINA MOBILE\",2"));
    const std::string answer = Ask("AT+QENG=\"servingcell\"");
    EXPECT_NE(answer.find("\"WCDMA\""), std::string::npos);
    EXPECT_EQ(answer.find("LTE"), std::string::npos);
}

TEST_F(ModemModel, CellAnswersTellWhyThereIsNoService) {
    Turn("registration 2");
    EXPECT_EQ(Ask("AT+QENG=\"servingcell\""), Line("+QENG: \"servingcell\",\"SEARCH\""));
    Turn("registration 3");
    EXPECT_EQ(Ask("AT+QENG=\"servingcell\""), Line("+QENG: \"servingcell\",\"LIMSRV\""));
    EXPECT_EQ(Ask("AT+QENG=\"neighbourcell\""), kOk);
    EXPECT_EQ(Ask("AT+QNWINFO"), Line("+QNWINFO: No Service"));
}

// SIM

TEST_F(ModemModel, SimAbsent) {
    Dial();
    Turn("sim absent");
    EXPECT_EQ(After(0), "\r\n+CPIN: NOT READY\r\n");
    EXPECT_EQ(Ask("AT+CPIN?"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Ask("AT+QCCID"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Ask("AT+CEREG?"), Line("+CEREG: 0,0"));
    EXPECT_TRUE(StatusHas("link: cut by the network"));
}

TEST_F(ModemModel, SimThatComesBackIsReportedAndSearchedWith) {
    Turn("sim absent");
    After(0);
    Turn("sim ready");
    EXPECT_EQ(After(0), kCardTalk);
    EXPECT_TRUE(StatusHas("cereg: 2"));
    After(3000);
    EXPECT_TRUE(StatusHas("cereg: 1"));
}

TEST_F(ModemModel, SimWithPinTellsItsNumberButNotItsSubscriberUntilThePinIsIn) {
    Turn("sim pin");
    EXPECT_EQ(Ask("AT+CPIN?"), Line("+CPIN: SIM PIN"));
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 11\r\n");
    EXPECT_EQ(Ask("AT+QCCID"), Line("+QCCID: 89860012317001122334"));
    EXPECT_EQ(Ask("AT+CPIN=\"0000\""), "\r\n+CME ERROR: 16\r\n");
    EXPECT_EQ(Ask("AT+CPIN=\"1234\""), kOk + kCardTalk);
    EXPECT_EQ(Ask("AT+CPIN?"), Line("+CPIN: READY"));
    EXPECT_EQ(Ask("AT+CPIN=\"1234\""), "\r\n+CME ERROR: 3\r\n");
    Turn("reset");
    After(60000);
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CPIN?"), Line("+CPIN: SIM PIN"));
}

TEST_F(ModemModel, ThreeWrongPinsBlockTheSim) {
    Turn("sim pin");
    for (int count = 0; count < 3; ++count) EXPECT_EQ(Ask("AT+CPIN=9"), "\r\n+CME ERROR: 16\r\n");
    EXPECT_EQ(Ask("AT+CPIN?"), Line("+CPIN: SIM PUK"));
    EXPECT_EQ(Ask("AT+CPIN=1234"), "\r\n+CME ERROR: 12\r\n");
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 12\r\n");
    Turn("sim ready");
    EXPECT_EQ(Ask("AT+CIMI"), kCardTalk + Line("460001112223334"));
}

TEST_F(ModemModel, SimReadyAfterSomeAsks) {
    Turn("sim ready-after 2");
    EXPECT_EQ(Ask("AT+CPIN?"), "\r\n+CME ERROR: 14\r\n");
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 14\r\n");
    EXPECT_EQ(Ask("AT+CPIN?"), "\r\n+CME ERROR: 14\r\n" + kCardTalk);
    EXPECT_EQ(Ask("AT+CPIN?"), Line("+CPIN: READY"));
}

TEST_F(ModemModel, SelectorTakesOneSimAwayAndBringsTheOther) {
    Dial();
    Turn("select 2");
    EXPECT_EQ(After(0), "\r\n+CPIN: NOT READY\r\n");
    EXPECT_TRUE(StatusHas("link: cut by the network"));
    EXPECT_EQ(After(600), kCardTalk);
    EXPECT_EQ(Ask("AT+CIMI"), Line("460015556667778"));
    EXPECT_TRUE(StatusHas("cereg: 2"));
    After(3000);
    EXPECT_TRUE(StatusHas("cereg: 1"));
    Turn("select 1");
    After(600);
    EXPECT_EQ(Ask("AT+CIMI"), Line("460001112223334"));
}

TEST_F(ModemModel, SelectingTheSelectedSimChangesNothing) {
    Dial();
    const std::string before = modem_.Status();
    Turn("select 1");
    EXPECT_EQ(After(0), "");
    EXPECT_EQ(modem_.Status(), before);
}

TEST_F(ModemModel, SelectorSurvivesAResetAndWorksDuringABoot) {
    Turn("select 2");
    Turn("reset");
    EXPECT_TRUE(StatusHas("selected: 2"));
    Turn("select 1");
    Turn("select 2");
    After(60000);
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CIMI"), Line("460015556667778"));
}

TEST_F(ModemModel, HolderKnobMeansItsSimWhicheverIsSelected) {
    Turn("holder 2 imsi 460990000000001");
    Turn("holder 2 registration 3");
    Turn("holder 2 reach nothing");
    EXPECT_TRUE(StatusHas("imsi: 460001112223334"));
    EXPECT_TRUE(StatusHas("cereg: 1"));
    EXPECT_TRUE(StatusHas("reach: all"));
    Turn("select 2");
    After(10000);
    EXPECT_TRUE(StatusHas("imsi: 460990000000001"));
    EXPECT_TRUE(StatusHas("cereg: 3"));
    EXPECT_TRUE(StatusHas("reach: nothing"));
    Turn("holder 1 sim absent");
    Turn("imsi 460990000000002");
    EXPECT_TRUE(StatusHas("imsi: 460990000000002"));
    Turn("select 1");
    EXPECT_TRUE(StatusHas("sim: absent"));
}

TEST_F(ModemModel, HostsAnswerThroughTheCallAndTheNetworkOfTheSim) {
    EXPECT_FALSE(modem_.RoundTripMs("8.8.8.8"));
    Dial();
    EXPECT_EQ(modem_.RoundTripMs("8.8.8.8"), 40);
    Turn("reach 8.8.4.4 172.21.2.226");
    Turn("round-trip 1200");
    EXPECT_FALSE(modem_.RoundTripMs("8.8.8.8"));
    EXPECT_EQ(modem_.RoundTripMs("172.21.2.226"), 1200);
    EXPECT_TRUE(StatusHas("reach: 8.8.4.4 172.21.2.226"));
    Turn("reach nothing");
    EXPECT_FALSE(modem_.RoundTripMs("8.8.4.4"));
    EXPECT_TRUE(StatusHas("link: up"));
    Turn("reach all");
    Turn("link down");
    EXPECT_FALSE(modem_.RoundTripMs("8.8.8.8"));
}

// Power, boot, port

TEST_F(ModemModel, ResetTakesTimeAndTheModemComesBackFresh) {
    Turn("boot-time 8000");
    Turn("port-gone 2000");
    Dial();
    Ask("AT+CMEE=2");
    const int64_t generation = modem_.port_generation();
    modem_.Control("reset", nullptr, now_ms_);
    const int64_t reset_ms = now_ms_;
    EXPECT_FALSE(modem_.present());
    EXPECT_TRUE(StatusHas("link: down"));
    EXPECT_TRUE(StatusHas("power: booting"));
    EXPECT_EQ(modem_.NextEventMs(), reset_ms + 2000);
    EXPECT_EQ(Ask("AT"), "");
    EXPECT_EQ(After(1000), "");
    EXPECT_TRUE(modem_.present());
    EXPECT_EQ(modem_.port_generation(), generation + 1);
    EXPECT_EQ(Ask("AT"), "");
    EXPECT_EQ(modem_.NextEventMs(), reset_ms + 8000);
    now_ms_ = reset_ms + 7999;
    EXPECT_EQ(After(0), "");
    EXPECT_EQ(After(1), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
    EXPECT_EQ(After(600), kCardTalk);
    EXPECT_TRUE(StatusHas("cereg: 2"));
    After(3000);
    EXPECT_EQ(Ask("AT+CEREG?"), "AT+CEREG?\r" + Line("+CEREG: 0,1"));
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CMEE?"), Line("+CMEE: 1"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Line("+QNETDEVSTATUS: 0,0,0,1"));
}

TEST_F(ModemModel, ResetTurnsTheRadioOn) {
    Ask("AT+CFUN=0");
    modem_.Control("reset", nullptr, now_ms_);
    After(60000);
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CFUN?"), Line("+CFUN: 1"));
}

TEST_F(ModemModel, ResetInTheMiddleOfABootStartsTheBootAgain) {
    Turn("boot-time 5000");
    modem_.Control("reset", nullptr, now_ms_);
    EXPECT_EQ(After(4000), "");
    modem_.Control("reset", nullptr, now_ms_);
    EXPECT_EQ(After(4999), "");
    EXPECT_EQ(After(1), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
}

TEST_F(ModemModel, ResetLosesHalfHeardCommandsAndUnsaidAnswersAlsoWhenThePortStays) {
    Turn("port-gone 0");
    Turn("delay 500");
    modem_.Receive("AT+CSQ\r\nAT+C", now_ms_);
    modem_.Control("reset", nullptr, now_ms_);
    EXPECT_TRUE(modem_.present());
    EXPECT_EQ(After(5000), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
    modem_.Receive("SQ\r\n", now_ms_);
    EXPECT_EQ(After(1000), "SQ\r" + kCardTalk);
}

TEST_F(ModemModel, PortIsNeverGoneLongerThanTheBoot) {
    Turn("boot-time 1000");
    Turn("port-gone 60000");
    modem_.Control("reset", nullptr, now_ms_);
    After(1000);
    EXPECT_TRUE(modem_.present());
}

TEST_F(ModemModel, ResetByCommandAnswersFirst) {
    modem_.Receive("AT+CFUN=1,1\r\n", now_ms_);
    EXPECT_EQ(After(99), kOk);
    EXPECT_TRUE(modem_.present());
    EXPECT_EQ(After(1), "");
    EXPECT_FALSE(modem_.present());
}

TEST_F(ModemModel, UsbModeTakesEffectWithTheNextStart) {
    EXPECT_EQ(Ask("AT+QCFG=\"usbnet\",1"), kOk);
    EXPECT_EQ(Ask("AT+QCFG=\"usbnet\""), Line("+QCFG: \"usbnet\",1"));
    EXPECT_TRUE(StatusHas("usb mode: 0"));
    modem_.Control("reset", nullptr, now_ms_);
    After(60000);
    EXPECT_TRUE(StatusHas("usb mode: 1"));
}

TEST_F(ModemModel, PowerOffIsSilentAndPowerOnBoots) {
    Dial();
    modem_.Control("power off", nullptr, now_ms_);
    EXPECT_FALSE(modem_.present());
    EXPECT_EQ(modem_.NextEventMs(), std::nullopt);
    EXPECT_EQ(Ask("AT"), "");
    modem_.Control("reset", nullptr, now_ms_);  // a reset pin does nothing without power
    EXPECT_EQ(After(60000), "");
    modem_.Control("power on", nullptr, now_ms_);
    EXPECT_EQ(After(5000), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
    EXPECT_TRUE(StatusHas("link: down"));
}

TEST_F(ModemModel, UnplugKeepsTheModemOnAndPlugMayNameAnotherPath) {
    Dial();
    const int64_t generation = modem_.port_generation();
    Turn("unplug");
    EXPECT_FALSE(modem_.present());
    Turn("urc +LOST");
    EXPECT_EQ(Ask("AT"), "");
    Turn("plug /dev/ttyACM7");
    EXPECT_TRUE(modem_.present());
    EXPECT_EQ(modem_.port_path(), "/dev/ttyACM7");
    EXPECT_EQ(modem_.port_generation(), generation + 1);
    EXPECT_EQ(Ask("AT"), kOk);
    EXPECT_TRUE(StatusHas("link: up"));
}

// The line

TEST_F(ModemModel, OutputIsTakenInPortionsInOrder) {
    modem_.Receive("AT+CSQ\r\n", now_ms_);
    EXPECT_EQ(modem_.TakeOutput(now_ms_, 7), "\r\n+CSQ:");
    EXPECT_EQ(modem_.NextEventMs(), now_ms_);
    EXPECT_EQ(modem_.TakeOutput(now_ms_, 0), "");
    EXPECT_EQ(modem_.TakeOutput(now_ms_, kAll), " 23,99\r\n\r\nOK\r\n");
    EXPECT_EQ(modem_.NextEventMs(), std::nullopt);
}

TEST_F(ModemModel, OutputThatIsTakenMakesRoomForMore) {
    Turn("pad 1000");
    for (int count = 0; count < 200; ++count) EXPECT_EQ(Ask("AT").size(), 1000u);
}

TEST_F(ModemModel, OutputThatNobodyTakesIsLostBeyondWhatAModemKeeps) {
    Turn("pad 1000");
    for (int count = 0; count < 200; ++count) modem_.Receive("AT\r\n", now_ms_);
    EXPECT_EQ(After(0).size(), 64u * 1024);
}

TEST_F(ModemModel, DelayPutsEachAnswerOff) {
    Turn("delay 1500");
    modem_.Receive("AT+CSQ\r\n", now_ms_);
    EXPECT_EQ(modem_.NextEventMs(), now_ms_ + 1500);
    EXPECT_EQ(After(1499), "");
    EXPECT_EQ(After(1), Line("+CSQ: 23,99"));
}

TEST_F(ModemModel, AnswersDontOvertakeEachOtherWhenTheDelayShrinks) {
    Turn("delay 1000");
    modem_.Receive("AT+CSQ\r\n", now_ms_);
    Turn("delay 0");
    modem_.Receive("AT\r\n", now_ms_);
    EXPECT_EQ(After(999), "");
    EXPECT_EQ(After(1), Line("+CSQ: 23,99") + kOk);
}

TEST_F(ModemModel, PiecesComeOneAfterTheOther) {
    Turn("pieces 8 gap 30");
    modem_.Receive("AT+CSQ\r\n", now_ms_);
    EXPECT_EQ(After(0), "\r\n+CSQ: ");
    EXPECT_EQ(After(29), "");
    EXPECT_EQ(After(1), "23,99\r\n\r");
    EXPECT_EQ(After(30), "\nOK\r\n");
    Turn("pieces 0");
    EXPECT_EQ(Ask("AT"), kOk);
}

TEST_F(ModemModel, UnsolicitedLineSlipsBetweenThePiecesOfAnAnswer) {
    Turn("pieces 8 gap 100");
    modem_.Receive("AT+CSQ\r\n", now_ms_);
    now_ms_ += 50;
    Turn("urc +X");
    EXPECT_EQ(After(1000), "\r\n+CSQ: \r\n+X\r\n23,99\r\n\r\nOK\r\n");
}

TEST_F(ModemModel, PadFillsAnswersToTheByteWithTheResultLast) {
    const size_t unpadded_bytes = Line("+CSQ: 23,99").size();
    for (size_t wanted = unpadded_bytes; wanted <= unpadded_bytes + 10; ++wanted) {
        Turn("pad " + std::to_string(wanted));
        const std::string answer = Ask("AT+CSQ");
        EXPECT_EQ(answer.size(), wanted);
        EXPECT_EQ(answer.compare(0, 13, "\r\n+CSQ: 23,99"), 0) << answer;
        EXPECT_EQ(answer.compare(answer.size() - 6, 6, kOk), 0) << answer;
    }
    Turn("pad 300");
    EXPECT_EQ(Ask("AT+CSQ").size(), 300u);
    EXPECT_EQ(Ask("AT").size(), 300u);
    Turn("pad 0");
    EXPECT_EQ(Ask("AT"), kOk);
}

TEST_F(ModemModel, PercentPutsConversionsIntoTheFirstLine) {
    Turn("percent on");
    EXPECT_EQ(Ask("AT+CSQ"), Line("+CSQ: 23,99,%s%n%65536d%%"));
    EXPECT_EQ(Ask("AT"), "\r\n,%s%n%65536d%%\r\n" + kOk);
    Turn("percent off");
    EXPECT_EQ(Ask("AT"), kOk);
}

TEST_F(ModemModel, NulPutsANulByteIntoTheMiddle) {
    Turn("nul on");
    std::string answer = Ask("AT+CSQ");
    EXPECT_EQ(answer.find('\0'), Line("+CSQ: 23,99").size() / 2);
    answer.erase(answer.find('\0'), 1);
    EXPECT_EQ(answer, Line("+CSQ: 23,99"));
}

TEST_F(ModemModel, MuteHearsAndSaysNothing) {
    Turn("mute on");
    EXPECT_EQ(Ask("AT+CFUN=0"), "");
    Turn("urc +X");
    EXPECT_EQ(After(1000), "");
    Turn("mute off");
    EXPECT_EQ(Ask("AT+CFUN?"), Line("+CFUN: 1"));
}

TEST_F(ModemModel, MuteSurvivesAResetUnlessItIsUntilReset) {
    Turn("mute on");
    Turn("reset");
    EXPECT_EQ(After(60000), "");
    Turn("mute until-reset");
    Turn("reset");
    EXPECT_EQ(After(5000), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
}

TEST_F(ModemModel, UrcGoesOutAsALineOrExactlyAsWritten) {
    Turn("urc +NWTYPEIND: 1");
    EXPECT_EQ(After(0), "\r\n+NWTYPEIND: 1\r\n");
    Turn(R"(urc half\r\n\x41\\x\t\q)");
    EXPECT_EQ(After(0), "half\r\nA\\x\t\\q");
    Turn(R"(urc \0\r)");
    EXPECT_EQ(After(0), std::string("\0\r", 2));
}

TEST_F(ModemModel, GarbageIsTheSameForTheSameSeed) {
    Turn("seed 7");
    Turn("garbage 300");
    const std::string first = After(0);
    EXPECT_EQ(first.size(), 300u);
    Turn("garbage 300");
    EXPECT_NE(After(0), first);
    Turn("seed 7");
    Turn("garbage 300");
    EXPECT_EQ(After(0), first);
}

TEST_F(ModemModel, FloodFillsTheLineAtItsSpeedAndEnds) {
    Turn("flood on 2200");
    const std::string text = After(10000);
    EXPECT_NEAR(static_cast<double>(text.size()), 22000, 22);
    EXPECT_EQ(text.compare(0, 22, "\r\n+CGEV: NW MODIFY 1\r\n"), 0);
    ASSERT_TRUE(modem_.NextEventMs().has_value());
    EXPECT_LE(*modem_.NextEventMs(), now_ms_ + 10);
    Turn("flood off");
    EXPECT_EQ(After(10000), "");
    EXPECT_EQ(modem_.NextEventMs(), std::nullopt);
}

TEST_F(ModemModel, FloodThatNobodyReadsIsBounded) {
    Turn("flood on 1000000");
    now_ms_ += 3600 * 1000;
    EXPECT_LE(modem_.TakeOutput(now_ms_, 10 * kAll).size(), 64u * 1024);
    modem_.Receive("AT\r\n", now_ms_);
    EXPECT_NE(After(10).find(kOk), std::string::npos);
}

TEST_F(ModemModel, AnswerKnobReplacesOneAnswerAndGivesItBack) {
    Turn("answer AT+CSQ = +CSQ: 5,99");
    EXPECT_EQ(Ask("at+csq"), Line("+CSQ: 5,99"));
    Turn("answer AT+CSQ = ERROR");
    EXPECT_EQ(Ask("AT+CSQ"), kError);
    Turn("answer AT+CSQ = +CME ERROR: 100");
    EXPECT_EQ(Ask("AT+CSQ"), "\r\n+CME ERROR: 100\r\n");
    Turn(R"(answer AT+CSQ = \r\nraw)");
    EXPECT_EQ(Ask("AT+CSQ"), "\r\nraw");
    Turn("answer AT+CSQ =");
    EXPECT_EQ(Ask("AT+CSQ"), "");
    Turn("answer AT+CSQ");
    EXPECT_EQ(Ask("AT+CSQ"), Line("+CSQ: 23,99"));
    Turn("answer AT+CFUN=0 = OK");
    EXPECT_EQ(Ask("AT+CFUN=0"), kOk);
    EXPECT_EQ(Ask("AT+CFUN?"), Line("+CFUN: 1"));
    Turn("answer AT+NOSUCH = OK");
    EXPECT_EQ(Ask("AT+NOSUCH"), kOk);
    EXPECT_EQ(modem_.unknown_command_count(), 0u);
}

TEST_F(ModemModel, EchoKnobIsTheModemsOwnEcho) {
    Turn("echo on");
    EXPECT_EQ(Ask("AT"), "AT\r" + kOk);
    Turn("echo off");
    EXPECT_EQ(Ask("AT"), kOk);
}

// Knobs

TEST_F(ModemModel, LinesThatMakeNoSenseAreRefusedWithAReasonAndChangeNothing) {
    const std::string before = modem_.Status();
    for (const char* knob : {"bogus",
                             "csq",
                             "csq x",
                             "csq 100",
                             "csq -1",
                             "csq 5 5",
                             "csq 99999999999999999999",
                             "sim",
                             "sim maybe",
                             "sim ready-after",
                             "sim ready-after -1",
                             "sim ready-after 99999999999",
                             "sim ready now",
                             "select",
                             "select 0",
                             "select 3",
                             "holder",
                             "holder 3 imsi 1",
                             "holder 2",
                             "holder 2 csq 5",
                             "holder 2 registration 99",
                             "reach",
                             "round-trip -1",
                             "registration",
                             "registration 99",
                             "registration 1 lte",
                             "link",
                             "link sideways",
                             "dial",
                             "dial fail 0",
                             "dial ok 3",
                             "mute",
                             "mute loud",
                             "delay",
                             "delay -1",
                             "pieces",
                             "pieces -1",
                             "pieces 4 8",
                             "pieces 4 gap",
                             "pad 99999999",
                             "percent maybe",
                             "nul",
                             "urc",
                             "garbage",
                             "garbage 0",
                             "flood",
                             "flood on 0",
                             "flood off 3",
                             "answer",
                             "answer  = x",
                             "echo",
                             "temperature hot",
                             "reset now",
                             "power",
                             "boot-time",
                             "unplug it",
                             "seed",
                             "status please"}) {
        std::string reply;
        EXPECT_FALSE(modem_.Control(knob, &reply, now_ms_)) << knob;
        EXPECT_FALSE(reply.empty()) << knob;
        EXPECT_FALSE(modem_.Control(knob, nullptr, now_ms_)) << knob;
    }
    EXPECT_EQ(modem_.Status(), before);
}

TEST_F(ModemModel, EmptyLinesAndRemarksDoNothing) {
    const std::string before = modem_.Status();
    for (const char* line : {"", "   ", "# csq 1", "\t#"})
        EXPECT_TRUE(modem_.Control(line, nullptr, now_ms_));
    EXPECT_EQ(modem_.Status(), before);
}

TEST_F(ModemModel, StatusKnobTellsTheStatus) {
    std::string reply;
    EXPECT_TRUE(modem_.Control("  status ", &reply, now_ms_));
    EXPECT_EQ(reply, modem_.Status());
    EXPECT_NE(reply.find("model: EG25\n"), std::string::npos);
}

TEST_F(ModemModel, TimeThatRunsBackwardsCountsAsTheLast) {
    Turn("delay 100");
    modem_.Receive("AT\r\n", now_ms_);
    EXPECT_EQ(modem_.TakeOutput(now_ms_ + 100, 2), "\r\n");
    EXPECT_EQ(modem_.TakeOutput(0, kAll), "OK\r\n");
}

TEST(ModemModelRuns, SameCallsGiveTheSameBytes) {
    const auto run = [] {
        Modem modem{ModemOptions{}};
        std::string all;
        for (int64_t now_ms = 0; now_ms < 60000; now_ms += 250) {
            if (now_ms == 5000) modem.Control("pieces 3 gap 7", nullptr, now_ms);
            if (now_ms == 10000) modem.Control("flood on 500", nullptr, now_ms);
            if (now_ms == 20000) modem.Control("reset", nullptr, now_ms);
            if (now_ms % 1000 == 0) modem.Control("garbage 5", nullptr, now_ms);
            modem.Receive("AT+QENG=\"servingcell\"\r\n", now_ms);
            all += modem.TakeOutput(now_ms, 256);
        }
        return all;
    };
    const std::string first = run();
    EXPECT_GT(first.size(), 10000u);
    EXPECT_EQ(first, run());
}

TEST(ModemModelRuns, EventsAreTheSameInSmallStepsAndInOneLeap) {
    Modem steps{ModemOptions{}};
    Modem leap{ModemOptions{}};
    std::string said_in_steps;
    for (Modem* modem : {&steps, &leap}) {
        modem->Control("flood on 300", nullptr, 0);
        modem->Control("reset", nullptr, 0);
    }
    constexpr int64_t kEndMs = 20000;
    while (*steps.NextEventMs() <= kEndMs) said_in_steps += steps.TakeOutput(*steps.NextEventMs(), kAll);
    EXPECT_EQ(leap.TakeOutput(kEndMs, kAll), said_in_steps);
    EXPECT_GT(said_in_steps.size(), 3000u);
    EXPECT_EQ(leap.Status(), steps.Status());
}

TEST(ModemModelRuns, RandomBytesAndRandomKnobsDoNoHarm) {
    Modem modem{ModemOptions{}};
    unsigned random = 12345;
    const auto next = [&random](unsigned below) {
        random = random * 1103515245u + 12345u;
        return (random >> 16) % below;
    };
    const std::vector<std::string> words = {"AT",
                                            "+",
                                            "CFUN",
                                            "=",
                                            "0",
                                            "1",
                                            ",",
                                            "\"",
                                            "'",
                                            "?",
                                            "\r",
                                            "\n",
                                            "{csq}",
                                            "%n",
                                            "$QCRMCALL",
                                            "+QCFG",
                                            "thermal/modem",
                                            "+CGDCONT",
                                            "+QICSGP",
                                            "99999999999",
                                            "-1",
                                            "+CPIN",
                                            "\\",
                                            "on",
                                            "off",
                                            " "};
    const std::vector<std::string> names = Modem::KnobNames();
    for (int64_t now_ms = 0; now_ms < 20000; ++now_ms) {
        std::string text;
        for (unsigned count = next(12); count > 0; --count)
            text += words[next(static_cast<unsigned>(words.size()))];
        text += static_cast<char>(next(256));
        modem.Receive(text, now_ms);
        modem.Control(names[next(static_cast<unsigned>(names.size()))] + " " + text, nullptr, now_ms);
        if (next(50) == 0) modem.Control("plug", nullptr, now_ms);
        if (next(50) == 0) modem.Control("power on", nullptr, now_ms);
        EXPECT_LE(modem.TakeOutput(now_ms, 256).size(), 256u);
    }
    EXPECT_FALSE(modem.Status().empty());
}

}  // namespace
