#include "network_daemon/cellular.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text_util.h"
#include "tests/support/modem_answers.h"
#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::ScriptedModem;
using test_support::World;
using Commands = std::vector<std::string>;

class Sim : public testing::Test {
  protected:
    /// A SIM that answers all that CheckSimCard asks.
    void InsertSim() {
        modem.On("AT+CFUN=1", kOk);
        modem.On("AT+CGSN", Answer("862000000000000"));
        modem.On("AT+CIMI", Answer("460001234567890"));
        modem.On("AT+CPIN?", Answer("+CPIN: READY"));
        modem.On("AT+SIMTEST?", Answer("+SIMTEST: 2"));
        modem.On("AT^ICCID?", Answer("^ICCID: 89860012345678901234"));
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-UNICOM\",7"));
    }

    double SecondsOf(size_t exchange) { return modem.exchanges.at(exchange).at_seconds; }

    World world;
    ScriptedModem modem{world};
    PlainCell cell{modem.fd()};
};

// IMEI

TEST_F(Sim, ImeiIsABareLine) {
    modem.On("AT+CGSN", Answer("862000000000000"));
    EXPECT_EQ(cell.CheckCardIMEI(), 1);
    EXPECT_STREQ(cell.m_csIMEI, "862000000000000");
    EXPECT_EQ(world.LogOf("CheckCardIMEI"), Commands{"CheckCardIMEI m_csIMEI= 862000000000000\n"});
    EXPECT_TRUE(world.Logged(5, "CheckCardIMEI m_csIMEI= 862000000000000\n"));
}

TEST_F(Sim, ImeiWithoutOkFailsAndForgetsTheFormerOne) {
    CopyText(cell.m_csIMEI, "1234");
    modem.On("AT+CGSN", "\r\n862000000000000\r\n");
    EXPECT_EQ(cell.CheckCardIMEI(), 0);
    for (char byte : cell.m_csIMEI) EXPECT_EQ(byte, 0);
    EXPECT_TRUE(world.LogOf("CheckCardIMEI").empty());
}

TEST_F(Sim, ImeiIsCutAt63) {
    modem.On("AT+CGSN", Answer(std::string(100, '8')));
    EXPECT_EQ(cell.CheckCardIMEI(), 1);
    EXPECT_EQ(std::string(cell.m_csIMEI), std::string(63, '8'));
}

TEST_F(Sim, ImeiWithPrefixLosesItsQuotes) {
    modem.On("AT+CGSN", Answer("1"));
    modem.On("AT+CGSN=1", Answer("+CGSN: \"862000000000000\""));
    for (int32_t vendor_type : {kVendorQuectelUnisoc, kVendorQuectelAsr, kVendorFibocomLe}) {
        cell.m_vendor_type = vendor_type;
        EXPECT_EQ(cell.CheckCardIMEI(), 1);
        EXPECT_STREQ(cell.m_csIMEI, "862000000000000");
    }
    EXPECT_EQ(modem.Sent(),
              (Commands{"AT+CGSN", "AT+CGSN=1", "AT+CGSN", "AT+CGSN=1", "AT+CGSN", "AT+CGSN=1"}));
}

TEST_F(Sim, ImeiWithPrefixButWithoutQuotesStaysAsItIs) {
    cell.m_vendor_type = kVendorQuectelUnisoc;
    modem.On("AT+CGSN", kOk);
    modem.On("AT+CGSN=1", Answer("+CGSN: 862000000000000"));
    EXPECT_EQ(cell.CheckCardIMEI(), 1);
    EXPECT_STREQ(cell.m_csIMEI, "862000000000000");
    EXPECT_TRUE(world.Logged(7, "CheckCardIMEI IMEI res.common_str= 862000000000000\n"));
}

TEST_F(Sim, ImeiWithPrefixFailsOnAnyOtherAnswer) {
    cell.m_vendor_type = kVendorQuectelAsr;
    modem.On("AT+CGSN", Answer("862000000000000"));
    modem.On("AT+CGSN=1", Answer("862000000000000"));
    EXPECT_EQ(cell.CheckCardIMEI(), 0);
    EXPECT_STREQ(cell.m_csIMEI, "");
}

TEST_F(Sim, ImeiOfFibocomStandsBehindTheColon) {
    cell.m_vendor_type = kVendorFibocom;
    modem.On("AT+CGSN", Answer("+CGSN: 862000000000000"));
    EXPECT_EQ(cell.CheckCardIMEI(), 1);
    EXPECT_STREQ(cell.m_csIMEI, " 862000000000000");
    EXPECT_EQ(modem.Sent(), Commands{"AT+CGSN"});
}

TEST_F(Sim, ImeiOfFibocomNeedsOk) {
    cell.m_vendor_type = kVendorFibocom;
    modem.On("AT+CGSN", "\r\n+CGSN: 862000000000000\r\n");
    EXPECT_EQ(cell.CheckCardIMEI(), 0);
    EXPECT_STREQ(cell.m_csIMEI, "");
}

TEST_F(Sim, ImeiOfLynqStandsBetweenQuotes) {
    cell.m_vendor_type = kVendorLynq;
    modem.On("AT+CGSN", Answer("+CGSN: \"862000000000000\""));
    EXPECT_EQ(cell.CheckCardIMEI(), 1);
    EXPECT_STREQ(cell.m_csIMEI, "862000000000000");
}

TEST_F(Sim, ImeiOfLynqWithoutQuotesStaysAsItIs) {
    cell.m_vendor_type = kVendorLynq;
    modem.On("AT+CGSN", Answer("862000000000000"));
    EXPECT_EQ(cell.CheckCardIMEI(), 1);
    EXPECT_STREQ(cell.m_csIMEI, "862000000000000");
}

// IMSI

TEST_F(Sim, ImsiIsTheFirstLine) {
    modem.On("AT+CIMI", "\r\n460001234567890\r\n\r\nOK\r\n");
    EXPECT_EQ(cell.CheckCardIMSI(), 1);
    EXPECT_STREQ(cell.GetIMSI(), "460001234567890");
    EXPECT_EQ(world.LogOf("CheckCardIMSI"), Commands{"CheckCardIMSI m_card_imsi= 460001234567890\n"});
    EXPECT_TRUE(world.Logged(5, "CheckCardIMSI m_card_imsi= 460001234567890\n"));
}

TEST_F(Sim, EchoLeavesTheImsiEmptyAndCountsAsAnswer) {
    CopyText(cell.m_card_imsi, "1234");
    modem.On("AT+CIMI", "AT+CIMI\r\r\n460001234567890\r\n\r\nOK\r\n");
    EXPECT_EQ(cell.CheckCardIMSI(), 1);
    EXPECT_STREQ(cell.GetIMSI(), "");
}

TEST_F(Sim, ImsiWithoutOkFailsAndForgetsTheFormerOne) {
    CopyText(cell.m_card_imsi, "1234");
    modem.On("AT+CIMI", "\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(cell.CheckCardIMSI(), 0);
    for (char byte : cell.m_card_imsi) EXPECT_EQ(byte, 0);
    EXPECT_TRUE(world.LogOf("CheckCardIMSI").empty());
}

TEST_F(Sim, ImsiOfFibocomKeepsItsBlank) {
    modem.On("AT+CIMI", "\r\n+CIMI: 460001234567890\r\n\r\nOK\r\n");
    for (int32_t vendor_type : {kVendorFibocom, kVendorFibocomLe}) {
        cell.m_vendor_type = vendor_type;
        EXPECT_EQ(cell.CheckCardIMSI(), 1);
        EXPECT_STREQ(cell.GetIMSI(), " 460001234567890");
    }
}

// CheckSimCard

TEST_F(Sim, CheckAsksInOrderAndFillsTheIdentity) {
    InsertSim();
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_EQ(modem.Sent(), (Commands{"AT+CFUN=1", "AT+CGSN", "AT+CIMI", "AT+CPIN?", "AT+SIMTEST?",
                                      "AT^ICCID?", "AT+COPS?"}));
    EXPECT_STREQ(cell.m_csIMEI, "862000000000000");
    EXPECT_STREQ(cell.m_card_imsi, "460001234567890");
    EXPECT_STREQ(cell.m_card_iccid, "89860012345678901234");
    EXPECT_EQ(cell.m_sim_ready, 1);
    EXPECT_EQ(cell.m_sim_type, 2);
    EXPECT_STREQ(cell.m_carrier, "\"CHN-UNICOM\"");
    EXPECT_EQ(cell.m_carrier_code, 2);
    EXPECT_EQ(cell.m_carrier_valid, 1);
    EXPECT_EQ(world.LogOf("CheckSimCard"),
              (Commands{"Get Card:  m_card_imsi = 460001234567890\n", "Check SIM!\n"}));
    EXPECT_TRUE(world.Logged(5, "Check SIM!\n"));
}

TEST_F(Sim, OperatorNameIsKeptUpTo63) {
    InsertSim();
    modem.On("AT+COPS?", Answer("+COPS: 0,0," + std::string(100, 'A') + ",7"));
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_EQ(std::string(cell.m_carrier), std::string(63, 'A'));
}

TEST_F(Sim, CheckForgetsFormerTextsFirst) {
    CopyText(cell.m_card_imsi, "1");
    CopyText(cell.m_card_iccid, "2");
    CopyText(cell.m_carrier, "3");
    InsertSim();
    modem.On("AT+CIMI", "\r\nERROR\r\n");
    modem.On("AT^ICCID?", "\r\nERROR\r\n");
    modem.On("AT+COPS?", "\r\nERROR\r\n");
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_STREQ(cell.m_card_imsi, "");
    EXPECT_STREQ(cell.m_card_iccid, "");
    EXPECT_STREQ(cell.m_carrier, "");
}

TEST_F(Sim, CheckGoesOnWithoutImei) {
    InsertSim();
    modem.On("AT+CGSN", "\r\nERROR\r\n");
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_TRUE(world.Logged(5, "Get Card IMEI fail, m_csIMEI = \n"));
    EXPECT_STREQ(cell.m_card_imsi, "460001234567890");
}

TEST_F(Sim, CheckCallsTheDriversOwnImei) {
    class OwnImei : public PlainCell {
      public:
        using PlainCell::PlainCell;
        int32_t CheckCardIMEI() override {
            CopyText(m_csIMEI, "own");
            return 1;
        }
    };
    InsertSim();
    OwnImei own(modem.fd());
    EXPECT_EQ(own.CheckSimCard(), 0);
    EXPECT_STREQ(own.m_csIMEI, "own");
}

TEST_F(Sim, CheckTriesTheImsiAgainAfterThreeSeconds) {
    InsertSim();
    modem.OnSequence("AT+CIMI", {"\r\nERROR\r\n", Answer("460001234567890")});
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_STREQ(cell.m_card_imsi, "460001234567890");
    EXPECT_NEAR(SecondsOf(3) - SecondsOf(2), 4.0, 0.01);  // the answer's second and the pause
    EXPECT_EQ(modem.Sent().at(4), "AT+CPIN?");
}

TEST_F(Sim, CheckUsesUpItsTriesOnEcho) {
    InsertSim();
    modem.On("AT+CIMI", "AT+CIMI\r\r\n460001234567890\r\n\r\nOK\r\n");
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_STREQ(cell.m_card_imsi, "");
    EXPECT_EQ(modem.Sent(), (Commands{"AT+CFUN=1", "AT+CGSN", "AT+CIMI", "AT+CIMI", "AT+CIMI", "AT+CPIN?",
                                      "AT+SIMTEST?", "AT^ICCID?", "AT+COPS?"}));
    EXPECT_NEAR(SecondsOf(5) - SecondsOf(4), 4.0, 0.01);  // the last failure has its pause too
    EXPECT_TRUE(world.Logged(5, "Get Card:  m_card_imsi = \n"));
}

TEST_F(Sim, CheckTakesTheImsiOfFibocomBehindTheColon) {
    cell.m_vendor_type = kVendorFibocom;
    InsertSim();
    modem.On("AT+CIMI", Answer("+CIMI: 460001234567890"));
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_STREQ(cell.m_card_imsi, " 460001234567890");
}

TEST_F(Sim, ReadyInTheSecondTryPasses) {
    InsertSim();
    modem.OnSequence("AT+CPIN?", {Answer("+CPIN: NOT INSERTED"), Answer("+CPIN: READY")});
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_EQ(cell.m_sim_ready, 1);
    EXPECT_NEAR(SecondsOf(4) - SecondsOf(3), 4.0, 0.01);
}

TEST_F(Sim, SimThatWantsAPinIsNotReadyAndLeavesNoIdentity) {
    InsertSim();
    modem.On("AT+CPIN?", Answer("+CPIN: SIM PIN"));
    cell.m_sim_ready = 1;
    const int64_t start_ms = world.now_ms();
    EXPECT_EQ(cell.CheckSimCard(), -2);
    EXPECT_EQ(cell.m_sim_ready, 0);
    EXPECT_STREQ(cell.m_csIMEI, "");
    EXPECT_STREQ(cell.m_card_imsi, "");
    EXPECT_STREQ(cell.m_card_iccid, "");
    EXPECT_STREQ(cell.m_carrier, "");
    EXPECT_EQ(modem.Sent(),
              (Commands{"AT+CFUN=1", "AT+CGSN", "AT+CIMI", "AT+CPIN?", "AT+CPIN?", "AT+CPIN?"}));
    EXPECT_EQ(world.now_ms() - start_ms, 3 * 1001 + 3 * (1001 + 3000));
    EXPECT_EQ(world.LogOf("CheckSimCard").back(), "CheckSimCard: SIM is not ready!\n");
    EXPECT_TRUE(world.Logged(5, "CheckSimCard: SIM is not ready!\n"));
}

TEST_F(Sim, CheckKeepsTheSimTypeWithoutAnAnswer) {
    InsertSim();
    modem.On("AT+SIMTEST?", "\r\nERROR\r\n");
    cell.m_sim_type = 9;
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_EQ(cell.m_sim_type, 9);
}

TEST_F(Sim, IccidIsCutAt20) {
    InsertSim();
    modem.On("AT^ICCID?", Answer("^ICCID: 898600123456789012345678"));
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_STREQ(cell.m_card_iccid, "89860012345678901234");
}

// Carrier

struct CarrierCase {
    const char* operator_text;
    int32_t code;
};

TEST_F(Sim, CarrierByTheWholeOperatorText) {
    InsertSim();
    for (const CarrierCase& expected :
         {CarrierCase{"\"CHINA MOBILE\"", 1}, CarrierCase{"\"CHN-UNICOM\"", 2}, CarrierCase{"\"CHN-CT\"", 3},
          CarrierCase{"CHINA MOBILE", 0}, CarrierCase{"\"CHINA MOBILE LTE\"", 0},
          CarrierCase{"\"chn-ct\"", 0}}) {
        modem.On("AT+COPS?", Answer("+COPS: 0,0," + std::string(expected.operator_text) + ",7"));
        EXPECT_EQ(cell.CheckSimCard(), 0);
        EXPECT_STREQ(cell.m_carrier, expected.operator_text);
        EXPECT_EQ(cell.m_carrier_code, expected.code);
        EXPECT_EQ(cell.m_carrier_valid, expected.code != 0);
    }
}

TEST_F(Sim, NoOperatorIsAnUnknownCarrier) {
    InsertSim();
    modem.On("AT+COPS?", Answer("+COPS: 0"));
    cell.m_carrier_code = 2;
    cell.m_carrier_valid = 1;
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_STREQ(cell.m_carrier, "");
    EXPECT_EQ(cell.m_carrier_code, 0);
    EXPECT_EQ(cell.m_carrier_valid, 0);
}

TEST_F(Sim, NoAnswerAboutTheOperatorKeepsTheCarrier) {
    InsertSim();
    modem.On("AT+COPS?", "\r\nERROR\r\n");
    cell.m_carrier_code = 2;
    cell.m_carrier_valid = 1;
    EXPECT_EQ(cell.CheckSimCard(), 0);
    EXPECT_EQ(cell.m_carrier_code, 2);
    EXPECT_EQ(cell.m_carrier_valid, 1);
}

// The light test

TEST_F(Sim, LightTestAsksForReadinessAlone) {
    modem.On("AT+CPIN?", Answer("+CPIN: READY"));
    EXPECT_EQ(cell.CheckIfSimCardReady(), 0);
    EXPECT_EQ(cell.m_sim_ready, 1);
    EXPECT_EQ(modem.Sent(), Commands{"AT+CPIN?"});
    EXPECT_EQ(world.LogOf("CheckIfSimCardReady"), Commands{"CheckIfSimCardReady: Check SIM!\n"});
    EXPECT_TRUE(world.Logged(5, "CheckIfSimCardReady: Check SIM!\n"));
}

TEST_F(Sim, LightTestFailsWithItsOwnWordsAndLeavesNoIdentity) {
    modem.On("AT+CPIN?", "\r\n+CME ERROR: 10\r\n");
    cell.m_sim_ready = 1;
    for (char* text : {cell.m_card_iccid, cell.m_csIMEI, cell.m_carrier, cell.m_card_imsi}) {
        text[0] = 'x', text[1] = 0;
    }
    const int64_t start_ms = world.now_ms();
    EXPECT_EQ(cell.CheckIfSimCardReady(), -2);
    EXPECT_EQ(world.now_ms() - start_ms, 3 * (1001 + 3000));
    EXPECT_EQ(cell.m_sim_ready, 0);
    for (char* text : {cell.m_card_iccid, cell.m_csIMEI, cell.m_carrier, cell.m_card_imsi}) {
        EXPECT_STREQ(text, "");
    }
    EXPECT_EQ(world.LogOf("CheckIfSimCardReady"),
              (Commands{"CheckIfSimCardReady: Check SIM!\n", "CheckIfSimCardReady: SIM is not ready!\n"}));
    EXPECT_TRUE(world.Logged(5, "CheckIfSimCardReady: SIM is not ready!\n"));
    EXPECT_EQ(world.LogOf("CheckSimCard"), Commands{});
}

}  // namespace
}  // namespace cc_cell
