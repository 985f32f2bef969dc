// The modem model: the device behind the commands. Radio, registration, data call, SIM, power, boot and port.
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "simulator/modem/modem_model.h"
#include "tests/support/modem_model_fixture.h"

namespace {

// Radio, registration, data call

TEST_F(ModemModel, RadioOffDropsRegistrationAndDataCall) {
    Dial();
    EXPECT_EQ(Ask("AT+CREG?"), Answer("+CREG: 0,1"));
    EXPECT_EQ(Ask("AT+CFUN=0"), kOk);
    EXPECT_EQ(Ask("AT+CREG?"), Answer("+CREG: 0,0"));
    EXPECT_EQ(Ask("AT+CGREG?"), Answer("+CGREG: 0,0"));
    EXPECT_EQ(Ask("AT+CEREG?"), Answer("+CEREG: 0,0"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Answer("+QNETDEVSTATUS: 0,0,0,1"));
    EXPECT_EQ(Ask("AT+CSQ"), Answer("+CSQ: 99,99"));
    EXPECT_EQ(Ask("AT+COPS?"), Answer("+COPS: 0"));
    EXPECT_EQ(Ask("AT+CFUN?"), Answer("+CFUN: 0"));
}

TEST_F(ModemModel, RadioOnSearchesForAWhileAndTheDataCallStaysDown) {
    Dial();
    Ask("AT+CFUN=0");
    Turn("sim-start 500");
    Turn("search-time 2000");
    test_modem.Receive("AT+CFUN=1\r\n", test_now_ms);
    EXPECT_EQ(After(499), kOk);
    EXPECT_EQ(After(1), kCardTalk);
    test_modem.Receive("AT+CEREG?\r\n", test_now_ms);
    EXPECT_EQ(After(1999), Answer("+CEREG: 0,2"));
    test_modem.Receive("AT+CEREG?\r\n", test_now_ms);
    EXPECT_EQ(After(0), Answer("+CEREG: 0,2"));
    test_now_ms += 1;
    test_modem.Receive("AT+CEREG?\r\n", test_now_ms);
    EXPECT_EQ(After(0), Answer("+CEREG: 0,1"));
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
    EXPECT_EQ(Ask("AT+CEREG?"), Answer("+CEREG: 0,5"));
    EXPECT_EQ(Ask("AT+CGREG?"), Answer("+CGREG: 0,1"));
    Turn("registration 3");
    EXPECT_EQ(Ask("AT+CREG?"), Answer("+CREG: 0,3"));
    EXPECT_EQ(Ask("AT+CGREG?"), Answer("+CGREG: 0,3"));
    EXPECT_EQ(Ask("AT+CEREG?"), Answer("+CEREG: 0,3"));
}

TEST_F(ModemModel, CallEndsWhenBothPacketDomainsAreLost) {
    Dial();
    Turn("registration 3 cereg");
    EXPECT_TRUE(StatusHas("link: up"));
    Turn("registration 3 cgreg");
    EXPECT_TRUE(StatusHas("link: cut by the network"));
    Turn("registration 1");
    EXPECT_TRUE(StatusHas("link: cut by the network"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Answer("+QNETDEVSTATUS: 1,3,0,1"));
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
    EXPECT_EQ(Ask("AT+CEREG?"), Answer("+CEREG: 2,1,\"5A1C\",\"B3F2A10\",7"));
}

TEST_F(ModemModel, DialTakesItsTimeAndAnswersAtItsEnd) {
    Turn("dial-time 2500");
    test_modem.Receive("AT$QCRMCALL=1,1\r\n", test_now_ms);
    EXPECT_EQ(After(2499), "");
    EXPECT_TRUE(StatusHas("link: dialling"));
    EXPECT_EQ(After(1), Answer("$QCRMCALL: 1, V4"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Answer("+QNETDEVSTATUS: 1,1,0,1"));
    EXPECT_EQ(Ask("AT$QCRMCALL?"), Answer("$QCRMCALL: 1, V4"));
    EXPECT_EQ(Ask("AT$QCRMCALL=0,1"), Answer("$QCRMCALL: 0, V4"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Answer("+QNETDEVSTATUS: 0,0,0,1"));
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
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Answer("+QNETDEVSTATUS: 1,3,0,1"));
    EXPECT_EQ(Ask("AT+CEREG?"), Answer("+CEREG: 0,1"));
    Dial();
    Turn("link down");
    Turn("link up");
    EXPECT_TRUE(StatusHas("link: up"));
}

TEST_F(ModemModel, LinkUpNeedsRegistration) {
    Turn("registration 0");
    std::string reply;
    EXPECT_FALSE(test_modem.Control("link up", &reply, test_now_ms));
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
    EXPECT_EQ(Ask("AT+CSQ"), Answer("+CSQ: 7,99"));
    EXPECT_EQ(Ask("AT+QTEMP"), Answer("+QTEMP: 96,36,37"));
    EXPECT_EQ(Ask("AT+COPS?"), Answer("+COPS: 0,0,\"CHN-CT\",7"));
    EXPECT_EQ(Ask("AT+QNWINFO"), Answer("+QNWINFO: \"TDD LTE\",\"46011\",\"LTE BAND 40\",1650"));
    EXPECT_EQ(
        Ask("AT+QENG=\"servingcell\""),
        Answer(
            "+QENG: \"servingcell\",\"NOCONN\",\"LTE\",\"TDD\",460,11,B3F2A10,77,1650,40,5,5,5A1C,-111,-11,"
            "-67,-3,27"));
}

TEST_F(ModemModel, AnotherRadioTechnologyHasAnotherServingCell) {
    Turn("network WCDMA");
    EXPECT_EQ(Ask("AT+COPS?"), Answer("+COPS: 0,0,\"CHINA MOBILE\",2"));
    const std::string answer = Ask("AT+QENG=\"servingcell\"");
    EXPECT_NE(answer.find("\"WCDMA\""), std::string::npos);
    EXPECT_EQ(answer.find("LTE"), std::string::npos);
}

TEST_F(ModemModel, CellAnswersTellWhyThereIsNoService) {
    Turn("registration 2");
    EXPECT_EQ(Ask("AT+QENG=\"servingcell\""), Answer("+QENG: \"servingcell\",\"SEARCH\""));
    Turn("registration 3");
    EXPECT_EQ(Ask("AT+QENG=\"servingcell\""), Answer("+QENG: \"servingcell\",\"LIMSRV\""));
    EXPECT_EQ(Ask("AT+QENG=\"neighbourcell\""), kOk);
    EXPECT_EQ(Ask("AT+QNWINFO"), Answer("+QNWINFO: No Service"));
}

// SIM

TEST_F(ModemModel, SimAbsent) {
    Dial();
    Turn("sim absent");
    EXPECT_EQ(After(0), "\r\n+CPIN: NOT READY\r\n");
    EXPECT_EQ(Ask("AT+CPIN?"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Ask("AT+QCCID"), "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(Ask("AT+CEREG?"), Answer("+CEREG: 0,0"));
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
    EXPECT_EQ(Ask("AT+CPIN?"), Answer("+CPIN: SIM PIN"));
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 11\r\n");
    EXPECT_EQ(Ask("AT+QCCID"), Answer("+QCCID: 89860012317001122334"));
    EXPECT_EQ(Ask("AT+CPIN=\"0000\""), "\r\n+CME ERROR: 16\r\n");
    EXPECT_EQ(Ask("AT+CPIN=\"1234\""), kOk + kCardTalk);
    EXPECT_EQ(Ask("AT+CPIN?"), Answer("+CPIN: READY"));
    EXPECT_EQ(Ask("AT+CPIN=\"1234\""), "\r\n+CME ERROR: 3\r\n");
    Turn("reset");
    After(60000);
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CPIN?"), Answer("+CPIN: SIM PIN"));
}

TEST_F(ModemModel, ThreeWrongPinsBlockTheSim) {
    Turn("sim pin");
    for (int count = 0; count < 3; ++count) EXPECT_EQ(Ask("AT+CPIN=9"), "\r\n+CME ERROR: 16\r\n");
    EXPECT_EQ(Ask("AT+CPIN?"), Answer("+CPIN: SIM PUK"));
    EXPECT_EQ(Ask("AT+CPIN=1234"), "\r\n+CME ERROR: 12\r\n");
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 12\r\n");
    Turn("sim ready");
    EXPECT_EQ(Ask("AT+CIMI"), kCardTalk + Answer("460001112223334"));
}

TEST_F(ModemModel, SimReadyAfterSomeAsks) {
    Turn("sim ready-after 2");
    EXPECT_EQ(Ask("AT+CPIN?"), "\r\n+CME ERROR: 14\r\n");
    EXPECT_EQ(Ask("AT+CIMI"), "\r\n+CME ERROR: 14\r\n");
    EXPECT_EQ(Ask("AT+CPIN?"), "\r\n+CME ERROR: 14\r\n" + kCardTalk);
    EXPECT_EQ(Ask("AT+CPIN?"), Answer("+CPIN: READY"));
}

TEST_F(ModemModel, SelectorTakesOneSimAwayAndBringsTheOther) {
    Dial();
    Turn("select 2");
    EXPECT_EQ(After(0), "\r\n+CPIN: NOT READY\r\n");
    EXPECT_TRUE(StatusHas("link: cut by the network"));
    EXPECT_EQ(After(600), kCardTalk);
    EXPECT_EQ(Ask("AT+CIMI"), Answer("460015556667778"));
    EXPECT_TRUE(StatusHas("cereg: 2"));
    After(3000);
    EXPECT_TRUE(StatusHas("cereg: 1"));
    Turn("select 1");
    After(600);
    EXPECT_EQ(Ask("AT+CIMI"), Answer("460001112223334"));
}

TEST_F(ModemModel, SelectingTheSelectedSimChangesNothing) {
    Dial();
    const std::string before = test_modem.Status();
    Turn("select 1");
    EXPECT_EQ(After(0), "");
    EXPECT_EQ(test_modem.Status(), before);
}

TEST_F(ModemModel, SelectorSurvivesAResetAndWorksDuringABoot) {
    Turn("select 2");
    Turn("reset");
    EXPECT_TRUE(StatusHas("selected: 2"));
    Turn("select 1");
    Turn("select 2");
    After(60000);
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CIMI"), Answer("460015556667778"));
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
    EXPECT_FALSE(test_modem.RoundTripMs("8.8.8.8"));
    Dial();
    EXPECT_EQ(test_modem.RoundTripMs("8.8.8.8"), 40);
    Turn("reach 8.8.4.4 172.21.2.226");
    Turn("round-trip 1200");
    EXPECT_FALSE(test_modem.RoundTripMs("8.8.8.8"));
    EXPECT_EQ(test_modem.RoundTripMs("172.21.2.226"), 1200);
    EXPECT_TRUE(StatusHas("reach: 8.8.4.4 172.21.2.226"));
    Turn("reach nothing");
    EXPECT_FALSE(test_modem.RoundTripMs("8.8.4.4"));
    EXPECT_TRUE(StatusHas("link: up"));
    Turn("reach all");
    Turn("link down");
    EXPECT_FALSE(test_modem.RoundTripMs("8.8.8.8"));
}

// Power, boot, port

TEST_F(ModemModel, ResetTakesTimeAndTheModemComesBackFresh) {
    Turn("boot-time 8000");
    Turn("port-gone 2000");
    Dial();
    Ask("AT+CMEE=2");
    const int64_t generation = test_modem.port_generation();
    test_modem.Control("reset", nullptr, test_now_ms);
    const int64_t reset_ms = test_now_ms;
    EXPECT_FALSE(test_modem.present());
    EXPECT_TRUE(StatusHas("link: down"));
    EXPECT_TRUE(StatusHas("power: booting"));
    EXPECT_EQ(test_modem.NextEventMs(), reset_ms + 2000);
    EXPECT_EQ(Ask("AT"), "");
    EXPECT_EQ(After(1000), "");
    EXPECT_TRUE(test_modem.present());
    EXPECT_EQ(test_modem.port_generation(), generation + 1);
    EXPECT_EQ(Ask("AT"), "");
    EXPECT_EQ(test_modem.NextEventMs(), reset_ms + 8000);
    test_now_ms = reset_ms + 7999;
    EXPECT_EQ(After(0), "");
    EXPECT_EQ(After(1), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
    EXPECT_EQ(After(600), kCardTalk);
    EXPECT_TRUE(StatusHas("cereg: 2"));
    After(3000);
    EXPECT_EQ(Ask("AT+CEREG?"), "AT+CEREG?\r" + Answer("+CEREG: 0,1"));
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CMEE?"), Answer("+CMEE: 1"));
    EXPECT_EQ(Ask("AT+QNETDEVSTATUS?"), Answer("+QNETDEVSTATUS: 0,0,0,1"));
}

TEST_F(ModemModel, ResetTurnsTheRadioOn) {
    Ask("AT+CFUN=0");
    test_modem.Control("reset", nullptr, test_now_ms);
    After(60000);
    Ask("ATE0");
    EXPECT_EQ(Ask("AT+CFUN?"), Answer("+CFUN: 1"));
}

TEST_F(ModemModel, ResetInTheMiddleOfABootStartsTheBootAgain) {
    Turn("boot-time 5000");
    test_modem.Control("reset", nullptr, test_now_ms);
    EXPECT_EQ(After(4000), "");
    test_modem.Control("reset", nullptr, test_now_ms);
    EXPECT_EQ(After(4999), "");
    EXPECT_EQ(After(1), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
}

TEST_F(ModemModel, ResetLosesHalfHeardCommandsAndUnsaidAnswersAlsoWhenThePortStays) {
    Turn("port-gone 0");
    Turn("delay 500");
    test_modem.Receive("AT+CSQ\r\nAT+C", test_now_ms);
    test_modem.Control("reset", nullptr, test_now_ms);
    EXPECT_TRUE(test_modem.present());
    EXPECT_EQ(After(5000), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
    test_modem.Receive("SQ\r\n", test_now_ms);
    EXPECT_EQ(After(1000), "SQ\r" + kCardTalk);
}

TEST_F(ModemModel, PortIsNeverGoneLongerThanTheBoot) {
    Turn("boot-time 1000");
    Turn("port-gone 60000");
    test_modem.Control("reset", nullptr, test_now_ms);
    After(1000);
    EXPECT_TRUE(test_modem.present());
}

TEST_F(ModemModel, ResetByCommandAnswersFirst) {
    test_modem.Receive("AT+CFUN=1,1\r\n", test_now_ms);
    EXPECT_EQ(After(99), kOk);
    EXPECT_TRUE(test_modem.present());
    EXPECT_EQ(After(1), "");
    EXPECT_FALSE(test_modem.present());
}

TEST_F(ModemModel, UsbModeTakesEffectWithTheNextStart) {
    EXPECT_EQ(Ask("AT+QCFG=\"usbnet\",1"), kOk);
    EXPECT_EQ(Ask("AT+QCFG=\"usbnet\""), Answer("+QCFG: \"usbnet\",1"));
    EXPECT_TRUE(StatusHas("usb mode: 0"));
    test_modem.Control("reset", nullptr, test_now_ms);
    After(60000);
    EXPECT_TRUE(StatusHas("usb mode: 1"));
}

TEST_F(ModemModel, PowerOffIsSilentAndPowerOnBoots) {
    Dial();
    test_modem.Control("power off", nullptr, test_now_ms);
    EXPECT_FALSE(test_modem.present());
    EXPECT_EQ(test_modem.NextEventMs(), std::nullopt);
    EXPECT_EQ(Ask("AT"), "");
    test_modem.Control("reset", nullptr, test_now_ms);  // a reset pin does nothing without power
    EXPECT_EQ(After(60000), "");
    test_modem.Control("power on", nullptr, test_now_ms);
    EXPECT_EQ(After(5000), "\r\nRDY\r\n\r\n+CFUN: 1\r\n");
    EXPECT_TRUE(StatusHas("link: down"));
}

TEST_F(ModemModel, UnplugKeepsTheModemOnAndPlugMayNameAnotherPath) {
    Dial();
    const int64_t generation = test_modem.port_generation();
    Turn("unplug");
    EXPECT_FALSE(test_modem.present());
    Turn("urc +LOST");
    EXPECT_EQ(Ask("AT"), "");
    Turn("plug /dev/ttyACM7");
    EXPECT_TRUE(test_modem.present());
    EXPECT_EQ(test_modem.port_path(), "/dev/ttyACM7");
    EXPECT_EQ(test_modem.port_generation(), generation + 1);
    EXPECT_EQ(Ask("AT"), kOk);
    EXPECT_TRUE(StatusHas("link: up"));
}

}  // namespace
