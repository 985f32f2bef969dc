// What both Quectel families that call by AT+QNETDEVCTL do alike, ASR and Unisoc: included by the suite of
// each driver, which instantiates it with its class.
#pragma once

#include <cstring>

#include "tests/unit/drivers/quectel_row_tests.h"

namespace cc_cell {

template <class Driver>
class QuectelNetDevCtl : public DriverTest<Driver> {};
TYPED_TEST_SUITE_P(QuectelNetDevCtl);

// Object

TYPED_TEST_P(QuectelNetDevCtl, HasWwan0AndNoTemperatureAndNoUpgrade) {
    EXPECT_STREQ("wwan0", this->cell.GetInterfaceName());
    this->cell.CheckTempStatus();
    this->cell.ConfigThermalLimit();
    EXPECT_EQ(2, this->cell.ModuleOtaTask());
    EXPECT_TRUE(this->modem.exchanges.empty());
    EXPECT_TRUE(this->world.log.empty());
}

// Hang-up

TYPED_TEST_P(QuectelNetDevCtl, DisConnectEndsTheCallASecondBeforeTheRadio) {
    this->modem.On("AT+QNETDEVCTL=0", kOk);
    EXPECT_EQ(1, this->cell.DisConnect());
    const Texts expected = {"AT+QNETDEVCTL=0\r\n", "AT+CFUN=0"};
    EXPECT_EQ(expected, this->modem.Sent());
    EXPECT_NEAR(2.0, this->modem.exchanges[1].at_seconds - this->modem.exchanges[0].at_seconds, 0.01);
}

// Link

TYPED_TEST_P(QuectelNetDevCtl, LastFieldOf1IsALinkAnd0IsNone) {
    this->modem.On("AT+QNETDEVCTL?", Answer("+QNETDEVCTL: 1,1,1,1"));
    EXPECT_EQ(1, this->cell.CheckConnection());
    EXPECT_EQ(Texts{"AT+QNETDEVCTL?\r\n"}, this->modem.Sent());
    EXPECT_TRUE(this->world.LogOf("CheckConnection").empty());

    this->modem.On("AT+QNETDEVCTL?", Answer("+QNETDEVCTL: 1,1,1,0"));
    EXPECT_EQ(0, this->cell.CheckConnection());
    EXPECT_TRUE(this->world.Logged(5, "AT+QNETDEVCTL fail:0\n"));
}

TYPED_TEST_P(QuectelNetDevCtl, NetDevStatusNeverCountsAsALink) {
    this->modem.On("AT+QNETDEVCTL?", Answer("+QNETDEVSTATUS: 1,2,0,1"));
    EXPECT_EQ(0, this->cell.CheckConnection());
    EXPECT_TRUE(this->world.Logged(5, "AT+QNETDEVCTL fail:0\n"));
    EXPECT_TRUE(this->world.Logged(7, "37  1,2,0,1\r\n\r\nOK\r\n\n"));
    EXPECT_EQ(0, this->Parse("+QNETDEVSTATUS: 1,2,0,1").type);
}

TYPED_TEST_P(QuectelNetDevCtl, OtherAnswersAreNoLink) {
    const struct {
        std::string answer;
        const char* failure;
    } cases[] = {
        {Answer("+QNETDEVCTL: 1,1,1,2"), "AT+QNETDEVCTL fail:2\n"},
        {Answer("+QNETDEVCTL: 1,1,1"), "AT+QNETDEVCTL fail:0\n"},
        {Answer("+QNETDEVCTL: 1,1,1,"), "AT+QNETDEVCTL fail:0\n"},
        {Answer("+CREG: 0,1"), "AT+QNETDEVCTL fail:1\n"},  // its stat of 1 is no state
        {Answer("$QNETDEVCTL: 1,1,1,1"), "AT+QNETDEVCTL fail:0\n"},
        {kError, "AT+QNETDEVCTL fail:0\n"},
        {"", "AT+QNETDEVCTL fail:0\n"},
    };
    for (const auto& test : cases) {
        this->world.log.clear();
        this->modem.On("AT+QNETDEVCTL?", test.answer);
        EXPECT_EQ(0, this->cell.CheckConnection()) << test.answer;
        EXPECT_EQ(Texts{test.failure}, this->world.LogOf("CheckConnection")) << test.answer;
    }
}

TYPED_TEST_P(QuectelNetDevCtl, StateBehindThe256thByteIsLost) {
    // Filled up so that the fourth field is the first byte that doesn't fit.
    const std::string head = "+QNETDEVCTL: 1,1,1,";
    const std::string answer = std::string(256 - head.size(), 'x') + head + "1\r\n\r\nOK\r\n";
    this->modem.On("AT+QNETDEVCTL?", answer);
    EXPECT_EQ(0, this->cell.CheckConnection());
    this->modem.On("AT+QNETDEVCTL?", answer.substr(1));
    EXPECT_EQ(1, this->cell.CheckConnection());
}

// SIM

TYPED_TEST_P(QuectelNetDevCtl, CheckSimCardTakes20CharactersOfTheIccid) {
    this->AnswerSimCheck();
    this->modem.On("AT+QCCID", Answer("+QCCID: 89860011223344556677F"));
    EXPECT_EQ(kSimReady, this->cell.CheckSimCard());
    EXPECT_STREQ("89860011223344556677", this->cell.m_card_iccid);
    EXPECT_EQ("AT+QCCID", this->modem.Sent().back());
}

TYPED_TEST_P(QuectelNetDevCtl, IccidOfNoAnswerStaysEmpty) {
    this->AnswerSimCheck();
    this->modem.On("AT+QCCID", kError);
    EXPECT_EQ(kSimReady, this->cell.CheckSimCard());
    EXPECT_STREQ("", this->cell.m_card_iccid);
}

TYPED_TEST_P(QuectelNetDevCtl, FailedSimCheckAsksNoIccid) {
    this->AnswerSimCheckWithoutSim();
    EXPECT_EQ(kSimNotReady, this->cell.CheckSimCard());
    for (const std::string& command : this->modem.Sent()) EXPECT_NE("AT+QCCID", command);
}

TYPED_TEST_P(QuectelNetDevCtl, NoBoardReloadsTheKernelDriver) {
    this->AnswerSimCheck();
    this->modem.On("AT+QCCID", Answer("+QCCID: 8986"));
    this->cell.SetBoard(kBoardImx6ul);
    EXPECT_EQ(kSimReady, this->cell.CheckSimCard());
    EXPECT_TRUE(this->world.shell.empty());
}

// Registration

TYPED_TEST_P(QuectelNetDevCtl, FirstRegistrationTestOnlyReadsCreg) {
    this->modem.On("AT+CREG?", Answer("+CREG: 0,1"));
    this->cell.m_check_service_times = 0;
    this->cell.m_CGREG = 9;
    EXPECT_EQ(0, this->cell.CheckServiceStatus());
    EXPECT_EQ(1, this->cell.m_CEREG);
    EXPECT_EQ(9, this->cell.m_CGREG);
    EXPECT_EQ(Texts{"AT+CREG?"}, this->modem.Sent());
    const Texts log = {"Get_network_check_times 0\n", "AT+CREG\n"};
    EXPECT_EQ(log, this->world.LogOf("CheckServiceStatus"));
}

TYPED_TEST_P(QuectelNetDevCtl, LaterRegistrationTestGoesOnToCeregAndCgreg) {
    this->modem.On("AT+CREG?", Answer("+CREG: 0,0"));
    this->modem.On("AT+CEREG?", Answer("+CEREG: 0,5"));
    this->cell.m_check_service_times = 1;
    EXPECT_EQ(1, this->cell.CheckServiceStatus());
    EXPECT_EQ(5, this->cell.m_CEREG);
    const Texts expected = {"AT+CREG?", "AT+CEREG?"};
    EXPECT_EQ(expected, this->modem.Sent());

    this->modem.exchanges.clear();
    this->modem.On("AT+CEREG?", Answer("+CEREG: 0,2"));
    this->modem.On("AT+CGREG?", Answer("+CGREG: 0,1"));
    EXPECT_EQ(1, this->cell.CheckServiceStatus());
    EXPECT_EQ(2, this->cell.m_CEREG);
    EXPECT_EQ(1, this->cell.m_CGREG);
    EXPECT_EQ(3u, this->modem.exchanges.size());

    this->modem.On("AT+CGREG?", Answer("+CGREG: 0,3"));
    EXPECT_EQ(0, this->cell.CheckServiceStatus());
    EXPECT_EQ(3, this->cell.m_CGREG);
}

// Signal

TYPED_TEST_P(QuectelNetDevCtl, ReadCsqAsksTheNetworkTypeFirst) {
    this->modem.On("AT+QNWINFO", Answer("+QNWINFO: \"FDD LTE\",\"46001\",\"LTE BAND 3\",1650"));
    this->modem.On("AT+CSQ", Answer("+CSQ: 23,99"));
    EXPECT_EQ(1, this->cell.ReadCSQ());
    const Texts expected = {"AT+QNWINFO", "AT+CSQ"};
    EXPECT_EQ(expected, this->modem.Sent());
    EXPECT_STREQ("\"FDD LTE\"", this->cell.m_NetworkType);
    EXPECT_EQ(23, this->cell.m_nCSQ);

    this->modem.On("AT+CSQ", kError);
    EXPECT_EQ(0, this->cell.ReadCSQ());
    EXPECT_EQ(23, this->cell.m_nCSQ);
}

TYPED_TEST_P(QuectelNetDevCtl, ServingCellIsStored) {
    this->modem.On(kServingCellQuery, Answer(kLteCell));
    copy_text(this->cell.m_band, "8");
    copy_text(this->cell.m_RSRP, "-90");
    this->cell.CheckSignalStatus();
    EXPECT_EQ(Texts{"AT+QENG=\"servingcell\"\r\n"}, this->modem.Sent());
    EXPECT_STREQ("177", this->cell.m_pcid);
    EXPECT_STREQ("3", this->cell.m_band);
    EXPECT_STREQ("-97", this->cell.m_RSRP);
    EXPECT_STREQ("-97", this->cell.m_RSRP_LEVEL);
    EXPECT_STREQ("13", this->cell.m_SINR);
    EXPECT_STREQ("", this->cell.m_RSRQ);
    EXPECT_STREQ("", this->cell.m_RSSI);
    const std::string shown = strchr(kLteCell, '"');
    const Texts log = {"AT+QENG common str:" + shown + ", len: " + std::to_string(shown.size()) + "!!!\r\n",
                       "Band change: last band[8] rsrp[-90], current band[3] rsrp[-97]\n",
                       "QENG info, pcid:177 !\n",
                       "QENG info, band:3 !\n",
                       "QENG info, rsrp:-97 !\n",
                       "QENG info, sinr:13 !\n"};
    EXPECT_EQ(log, this->world.LogOf("CheckSignalStatus"));
}

TYPED_TEST_P(QuectelNetDevCtl, CellThatIsNotLteKeepsTheLastValues) {
    copy_text(this->cell.m_pcid, "177");
    copy_text(this->cell.m_RSRP, "-97");
    this->modem.On(kServingCellQuery,
                   Answer("+QENG: \"servingcell\",\"NOCONN\",\"WCDMA\",460,01,D5D6,80E5,10663,3,9,-72,-3"));
    this->cell.CheckSignalStatus();
    EXPECT_TRUE(this->world.Logged(3, "AT+QENG signal return not LTE!!! \n"));
    EXPECT_STREQ("177", this->cell.m_pcid);
    EXPECT_STREQ("-97", this->cell.m_RSRP);
}

TYPED_TEST_P(QuectelNetDevCtl, ShortServingCellEmptiesWhatItLacks) {
    copy_text(this->cell.m_RSRP, "-97");
    copy_text(this->cell.m_SINR, "13");
    this->modem.On(kServingCellQuery, Answer("+QENG: \"servingcell\",\"SEARCH\",\"LTE\",a,b,c,d,55,e,7"));
    this->cell.CheckSignalStatus();
    EXPECT_TRUE(this->world.Logged(5, "QENG info,pRes do not have valid data\n"));
    EXPECT_STREQ("55", this->cell.m_pcid);
    EXPECT_STREQ("7", this->cell.m_band);
    EXPECT_STREQ("", this->cell.m_RSRP);
    EXPECT_STREQ("", this->cell.m_SINR);
}

TYPED_TEST_P(QuectelNetDevCtl, AnswerWithoutCellSaysNoMore) {
    copy_text(this->cell.m_pcid, "1");
    copy_text(this->cell.m_neighbour_pcid, "2");
    this->modem.On(kServingCellQuery, kError);
    this->modem.On(kNeighbourCellQuery, kOk);
    this->cell.CheckSignalStatus();
    this->cell.CheckNeighbourSignal();
    EXPECT_EQ(Texts{"AT+QENG common str:, len: 0!!!\r\n"}, this->world.LogOf("CheckSignalStatus"));
    EXPECT_EQ(Texts{"AT+QENG common str:, len: 0!!!\r\n"}, this->world.LogOf("CheckNeighbourSignal"));
    EXPECT_STREQ("1", this->cell.m_pcid);
    EXPECT_STREQ("2", this->cell.m_neighbour_pcid);
}

TYPED_TEST_P(QuectelNetDevCtl, FieldsOfCellsAreCutToTheirSlots) {
    const std::string field(30, '7');
    this->modem.On(kServingCellQuery, Answer("+QENG: LTE,1,2,3,4,5,6," + field + ",8," + field));
    this->cell.CheckSignalStatus();
    EXPECT_EQ(field.substr(0, 15), this->cell.m_pcid);
    EXPECT_EQ(field.substr(0, 15), this->cell.m_band);
    EXPECT_TRUE(this->world.Logged(7, "QENG info, pcid:" + field.substr(0, 15) + " !\n"));

    this->modem.On(kNeighbourCellQuery, Answer("+QENG: 0,1,2," + field + "," + field));
    this->cell.CheckNeighbourSignal();
    EXPECT_EQ(field.substr(0, 15), this->cell.m_neighbour_pcid);
    EXPECT_EQ(field.substr(0, 15), this->cell.m_neighbour_rsrp);
    EXPECT_TRUE(this->world.Logged(7, "neighbour info, pcid:" + field.substr(0, 23) + " !\n"));
}

TYPED_TEST_P(QuectelNetDevCtl, NeighbourRsrpIsTheFifthField) {
    this->modem.On(
        kNeighbourCellQuery,
        "\r\n+QENG: \"neighbourcell intra\",\"LTE\",1650,301,-101,-12,-70,0,13,6,0,13,62\r\n"
        "+QENG: \"neighbourcell intra\",\"LTE\",1650,302,-102,-12,-70,0,13,6,0,13,62\r\n\r\nOK\r\n");
    this->cell.CheckNeighbourSignal();
    EXPECT_EQ(Texts{"AT+QENG=\"neighbourcell\"\r\n"}, this->modem.Sent());
    EXPECT_NEAR(10.0, this->world.now_seconds(), 0.01);
    EXPECT_STREQ("301", this->cell.m_neighbour_pcid);
    EXPECT_STREQ("-101", this->cell.m_neighbour_rsrp);
    const std::string shown = "\"neighbourcell intra\",\"LTE\",1650,301,-101,-12,-70,0,13,6,0,13,62";
    const Texts log = {"AT+QENG common str:" + shown + ", len: " + std::to_string(shown.size()) + "!!!\r\n",
                       "neighbour info, pcid:301 !\n", "neighbour info, rsrp:-101 !\n"};
    EXPECT_EQ(log, this->world.LogOf("CheckNeighbourSignal"));
}

// Parser

TYPED_TEST_P(QuectelNetDevCtl, TemperatureIsIgnored) {
    const AtResult result = this->Parse("+QTEMP: 40,40,40");
    EXPECT_EQ(0, result.type);
    EXPECT_EQ(0, result.val3);
    EXPECT_EQ(Texts{"40  40,40,40\n"}, this->world.LogOf("ParseAtResult"));
    EXPECT_EQ(0, this->cell.m_Tempture);
}

TYPED_TEST_P(QuectelNetDevCtl, FieldsOfTheCallState) {
    const std::string many(100, '9');
    constexpr int32_t kMost = INT32_MAX;  // where a number beyond the range ends
    const struct {
        std::string answer;
        int32_t val, val4, val3, val2;  // in the modem's order
    } cases[] = {
        {"+QNETDEVCTL: 1,2,3,4\r\n", 1, 2, 3, 4},
        {"+QNETDEVCTL:1,2,3,4", 1, 2, 3, 4},
        {"+QNETDEVCTL: 1,2,3,4,5,6\r\n", 1, 2, 3, 4},
        {"+QNETDEVCTL: 1,2,3", 1, 2, 3, 0},
        {"+QNETDEVCTL: 1", 1, 0, 0, 0},
        {"+QNETDEVCTL:", 0, 0, 0, 0},
        {"+QNETDEVCTL: ,,,1\r\n", 0, 0, 0, 1},
        {"+QNETDEVCTL: ,,,\r\n", 0, 0, 0, 0},
        {"+QNETDEVCTL: a,b,c,d\r\n", 0, 0, 0, 0},
        {"+QNETDEVCTL: 1x,-2,+3, 4\r\n", 1, -2, 3, 4},
        {"+QNETDEVCTL: " + many + "," + many + ",3,1\r\n", kMost, kMost, 3, 1},
        {"+QNETDEVCTL: \xff\x80,\xc3\xa4,3,1\r\n", 0, 0, 3, 1},
        {"+QNETDEVCTL: 1,1,1,1\r\n+QNETDEVCTL: 2,2,2,2\r\n", 1, 1, 1, 1},
        {"+QENG: x\r\n+QNETDEVCTL: 1,1,1,1\r\n", 1, 1, 1, 1},
    };
    for (const auto& test : cases) {
        const AtResult result = this->Parse(test.answer);
        EXPECT_EQ(kHintQnetdevctl, result.type) << test.answer;
        EXPECT_EQ(test.val, result.val) << test.answer;
        EXPECT_EQ(test.val2, result.val2) << test.answer;
        EXPECT_EQ(test.val3, result.val3) << test.answer;
        EXPECT_EQ(test.val4, result.val4) << test.answer;
    }
}

TYPED_TEST_P(QuectelNetDevCtl, CallStateIsLoggedUnderTheOtherQuerysName) {
    this->Parse("+QNETDEVCTL: 1,2,3,4");
    const Texts log = {"39  1,2,3,4\n", "QNETDEVSTATUS: connect_type=1,CID=2,URC_switch=3,PDN_status=4\n"};
    EXPECT_EQ(log, this->world.LogOf("ParseAtResult"));
    EXPECT_TRUE(this->world.Logged(7, log[1]));
}

TYPED_TEST_P(QuectelNetDevCtl, RowsThatAreOnlyLogged) {
    const struct {
        const char* answer;
        const char* line;
    } cases[] = {
        {"ReSeRvEd:x", "34 x\n"},
        {"+QNETDEVSTATUS: 1,\xff", "37  1,\xff\n"},
        {"+QTEMP:", "40 \n"},
    };
    for (const auto& test : cases) {
        this->world.log.clear();
        EXPECT_EQ(0, this->Parse(test.answer).type) << test.answer;
        EXPECT_EQ(Texts{test.line}, this->world.LogOf("ParseAtResult")) << test.answer;
        EXPECT_TRUE(this->world.Logged(7, test.line));
    }
}

TYPED_TEST_P(QuectelNetDevCtl, CallStateAndLoggedRowsEndWithThe256thByte) {
    this->ExpectCutAt256Bytes({
        {"+QNETDEVSTATUS:", " 1,2", 0},
        {"+QNETDEVCTL:", " 1,2,3,4", kHintQnetdevctl},
        {"+QTEMP:", " 40,41", 0},
    });
}

TYPED_TEST_P(QuectelNetDevCtl, RowsOfTheBaseWin) {
    EXPECT_EQ(kHintCsq, this->Parse("+QNETDEVCTL: 1,1,1,1\r\n+CSQ: 5,99\r\n").type);
    EXPECT_EQ(kHintQeng, this->Parse("Unknow.. +QENG: x\r\n").type);
    EXPECT_EQ(0, this->Parse("\r\nOK\r\n").type);
    this->world.log.clear();
    EXPECT_EQ(0, this->cell.ParseAtResult(nullptr).type);
    EXPECT_TRUE(this->world.log.empty());
}

REGISTER_TYPED_TEST_SUITE_P(
    QuectelNetDevCtl, HasWwan0AndNoTemperatureAndNoUpgrade, DisConnectEndsTheCallASecondBeforeTheRadio,
    LastFieldOf1IsALinkAnd0IsNone, NetDevStatusNeverCountsAsALink, OtherAnswersAreNoLink,
    StateBehindThe256thByteIsLost, CheckSimCardTakes20CharactersOfTheIccid, IccidOfNoAnswerStaysEmpty,
    FailedSimCheckAsksNoIccid, NoBoardReloadsTheKernelDriver, FirstRegistrationTestOnlyReadsCreg,
    LaterRegistrationTestGoesOnToCeregAndCgreg, ReadCsqAsksTheNetworkTypeFirst, ServingCellIsStored,
    CellThatIsNotLteKeepsTheLastValues, ShortServingCellEmptiesWhatItLacks, AnswerWithoutCellSaysNoMore,
    FieldsOfCellsAreCutToTheirSlots, NeighbourRsrpIsTheFifthField, TemperatureIsIgnored, FieldsOfTheCallState,
    CallStateIsLoggedUnderTheOtherQuerysName, RowsThatAreOnlyLogged,
    CallStateAndLoggedRowsEndWithThe256thByte, RowsOfTheBaseWin);

}  // namespace cc_cell
