// What both Fibocom families do alike, which call by AT+GTRNDIS: included by the suite of each driver, which
// instantiates it with its class.
#pragma once

#include "tests/support/driver_fixture.h"

namespace cc_cell {

/// Begins the line that shows the answer to the dial.
constexpr char kRndisDialAnswer[] = "AT+GTRNDIS=1,1 return ";

template <class Driver>
class FibocomRndis : public DriverTest<Driver> {
  protected:
    Texts LogOfDial() const { return this->world.LogOf("DoConnect"); }
};
TYPED_TEST_SUITE_P(FibocomRndis);

TYPED_TEST_P(FibocomRndis, DialThatIsAcceptedIsConnected) {
    this->modem.On("AT+GTRNDIS=1,1", kOk);
    EXPECT_EQ(1, this->cell.DoConnect());
    EXPECT_EQ(Texts{"AT+GTRNDIS=1,1\r\n"}, this->modem.Sent());
    EXPECT_NEAR(10.0, this->world.now_seconds(), 0.01);
    EXPECT_EQ((Texts{kRndisDialAnswer + std::string(kOk) + "\n", "CONNECT!!! \n"}), this->LogOfDial());
}

TYPED_TEST_P(FibocomRndis, DialThatTimesOutIsConnectedByTheOkToTheQuestion) {
    this->modem.On("AT+GTRNDIS=1,1", "");
    for (const std::string& answer : {std::string(kOk), Answer("+GTRNDIS: 0")}) {
        this->modem.exchanges.clear();
        this->world.log.clear();
        this->modem.On("AT+GTRNDIS?", answer);
        EXPECT_EQ(1, this->cell.DoConnect());
        EXPECT_EQ((Texts{"AT+GTRNDIS=1,1\r\n", "AT+GTRNDIS?"}), this->modem.Sent());
        EXPECT_EQ((Texts{kRndisDialAnswer + std::string("\n"), "CONNECTED!!! \n"}), this->LogOfDial());
    }
}

TYPED_TEST_P(FibocomRndis, DialAndQuestionRefusedIsNoConnection) {
    this->modem.On("AT+GTRNDIS=1,1", kError);
    for (const char* answer : {kError, ""}) {
        this->world.log.clear();
        this->modem.On("AT+GTRNDIS?", answer);
        EXPECT_EQ(0, this->cell.DoConnect());
        EXPECT_EQ((Texts{kRndisDialAnswer + std::string(kError) + "\n", "AT+GTRNDIS=1 ERROR !!!\n"}),
                  this->LogOfDial());
        EXPECT_TRUE(this->world.Logged(6, "AT+GTRNDIS=1 ERROR !!!\n"));
    }
}

TYPED_TEST_P(FibocomRndis, DisConnectEndsTheCallBeforeTheRadio) {
    this->modem.On("AT+GTRNDIS=0,1", kOk);
    EXPECT_EQ(1, this->cell.DisConnect());
    EXPECT_EQ((Texts{"AT+GTRNDIS=0,1\r\n", "AT+CFUN=0"}), this->modem.Sent());
    EXPECT_NEAR(1 + 1, this->GapBehind(0), 0.01);
}

TYPED_TEST_P(FibocomRndis, LinkIsUpWithA1Only) {
    const struct {
        std::string answer;
        int32_t expected;
    } cases[] = {
        {Answer("+GTRNDIS: 1,1,\"10.0.0.2\""), 1},
        {Answer("+GTRNDIS: 1"), 1},
        {Answer("+GTRNDIS: 0"), 0},
        {Answer("+GTRNDIS: 2"), 0},
        {Answer("+GTRNDIS:1"), 0},
        {Answer("+CREG: 1,1"), 0},
        {kError, 0},
        {"", 0},
    };
    for (const auto& test : cases) {
        this->modem.On("AT+GTRNDIS?", test.answer);
        EXPECT_EQ(test.expected, this->cell.CheckConnection()) << test.answer;
    }
    EXPECT_EQ("AT+GTRNDIS?\r\n", this->modem.Sent()[0]);
    EXPECT_TRUE(this->world.LogOf("CheckConnection").empty());
}

REGISTER_TYPED_TEST_SUITE_P(FibocomRndis, DialThatIsAcceptedIsConnected,
                            DialThatTimesOutIsConnectedByTheOkToTheQuestion,
                            DialAndQuestionRefusedIsNoConnection, DisConnectEndsTheCallBeforeTheRadio,
                            LinkIsUpWithA1Only);

}  // namespace cc_cell
