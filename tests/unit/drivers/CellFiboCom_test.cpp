// Module CellFiboCom: the dialect of the Fibocom modules NL668 and MC116.
#include "CellSubClass/src/CellFiboCom.h"

#include <gtest/gtest.h>

#include <string>

#include "support/text_util.h"
#include "tests/unit/drivers/fibocom_rndis_tests.h"

using namespace cc_cell;

namespace {

constexpr char kDriver[] = "CellSubClass/src/CellFiboCom.cpp";
constexpr char kEmptyAuthentication[] = "AT+MGAUTH=1,3,\"\",\"\"";

class FiboComTest : public DriverTest<CellFiboCOM> {
  protected:
    void SetUp() override {
        DriverTest::SetUp();
        cell.SetVendorType(kVendorFibocom);
        world.log.clear();
    }

    /// All of the set-up, in the right USB mode and without a revision.
    void AnswerSetUp() {
        modem.On("AT+gtusbmode?", Answer("+GTUSBMODE: 18"));
        modem.On("ATI", Answer("Fibocom"));
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-CT\",7"));
        modem.On("AT+CGDCONT=1,\"IPV4V6\",\"CTNET\"", kOk);
        modem.On(kEmptyAuthentication, kOk);
    }
};

TEST_F(FiboComTest, NewObjectHasWwan0AndSendsNothing) {
    EXPECT_STREQ("wwan0", cell.GetInterfaceName());
    EXPECT_TRUE(modem.exchanges.empty());
}

// Initialize

TEST_F(FiboComTest, InitializeSendsItsOwnSetUpInOrder) {
    AnswerSetUp();
    copy_text(cell.m_username, "u");
    copy_text(cell.m_password, "p");
    modem.On("AT+MGAUTH=1,3,\"u\",\"p\"", kOk);
    EXPECT_EQ(1, cell.Initialize());
    const Texts expected = {"AT+CFUN=0",
                            "AT+CFUN=1",
                            "AT+gtusbmode?",
                            "ATI",
                            "AT+CFUN=1",
                            "AT+COPS?",
                            "AT+CGDCONT=1,\"IPV4V6\",\"CTNET\"",
                            "AT+MGAUTH=1,3,\"u\",\"p\"\r\n"};
    EXPECT_EQ(expected, modem.Sent());
    EXPECT_STREQ("Fibcom", cell.m_vendor_name);
    EXPECT_TRUE(world.Logged(7, "AT+MGAUTH=1,3,\"u\",\"p\"\r\n"));
    EXPECT_TRUE(world.Logged(5, "AT+MGAUTH=1,3 done\n"));
    EXPECT_STREQ("", cell.m_meid);
}

TEST_F(FiboComTest, InitializeWaitsBetweenItsSteps) {
    AnswerSetUp();
    cell.Initialize();
    ASSERT_EQ(8u, modem.exchanges.size());
    const double gaps_seconds[] = {3, 2, 1, 2, 2, 1, 2};  // each answer takes one of them
    for (size_t i = 0; i < 7; ++i) EXPECT_NEAR(gaps_seconds[i], GapBehind(i), 0.01) << i;
}

TEST_F(FiboComTest, InitializePublishesNoStatusFiles) {
    AnswerSetUp();
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_FALSE(world.Exists("/run/network/ravelin_status"));
}

TEST_F(FiboComTest, InitializeSendsNoneOfTheCommandsThatOthersGet) {
    AnswerSetUp();
    cell.Initialize();
    for (const std::string& command : modem.Sent()) {
        for (const char* other : {"ATZ", "AT&F", "ATE0", "AT+MODODR=2", "AT+MEID"}) EXPECT_NE(other, command);
    }
}

TEST_F(FiboComTest, InitializeIs1WithADeadModemToo) {
    modem.Mute(true);
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_STREQ("NL668x", cell.m_fw_version);
    EXPECT_TRUE(world.Logged(6, "AT+gtusbmode=18 !!! \n"));
}

TEST_F(FiboComTest, UsbModeWithThe18NeedsNoRestart) {
    AnswerSetUp();
    for (const char* line : {"+GTUSBMODE: 18", "+GTUSBMODE: 118", "+GTUSBMODE: 1,180", "x18"}) {
        modem.exchanges.clear();
        modem.On("AT+gtusbmode?", Answer(line));
        cell.Initialize();
        for (const std::string& command : modem.Sent()) {
            EXPECT_NE("AT+gtusbmode=18", command) << line;
            EXPECT_NE("AT+CFUN=15\r\n", command) << line;
        }
        EXPECT_TRUE(world.Logged(6, "AT+gtusbmode? " + Answer(line) + "!!! \n")) << line;
    }
}

TEST_F(FiboComTest, OtherUsbModeIsSetAndTheModuleRestarted) {
    AnswerSetUp();
    modem.On("AT+gtusbmode?", Answer("+GTUSBMODE: 17"));
    modem.On("AT+gtusbmode=18", kOk);
    modem.On("AT+CFUN=15", kOk);
    cell.Initialize();
    const Texts sent = modem.Sent();
    ASSERT_EQ(10u, sent.size());
    EXPECT_EQ((Texts{"AT+gtusbmode?", "AT+gtusbmode=18", "AT+CFUN=15\r\n", "ATI"}),
              Texts(sent.begin() + 2, sent.begin() + 6));
    EXPECT_NEAR(1 + 20, GapBehind(4), 0.01);
    EXPECT_TRUE(world.Logged(6, "AT+gtusbmode=18 \r\nOK\r\n!!! \n"));
    EXPECT_EQ(0, world.CountLogged("AT+gtusbmode? " + Answer("+GTUSBMODE: 17") + "!!! \n"));
}

TEST_F(FiboComTest, FirmwareIsTheTextBehindRevisionAtMost23Characters) {
    AnswerSetUp();
    modem.On("ATI", Answer("Fibocom\r\nNL668\r\nRevision: 19006.1000.00.02.71.05.and.more"));
    cell.Initialize();
    EXPECT_STREQ(" 19006.1000.00.02.71.05", cell.m_fw_version);
    modem.On("ATI", "Revision:1");
    cell.Initialize();
    EXPECT_STREQ("1", cell.m_fw_version);
}

TEST_F(FiboComTest, FirmwareWithoutRevisionIsTheModel) {
    const struct {
        const char* model;
        const char* firmware;
    } cases[] = {{"NL668", "NL668x"}, {"MC116", "MC116"}, {"", "NL668x"}, {"MC116 ", "NL668x"}};
    AnswerSetUp();
    for (const auto& test : cases) {
        CellBase::m_ModuleName = test.model;
        cell.Initialize();
        EXPECT_STREQ(test.firmware, cell.m_fw_version) << test.model;
        EXPECT_TRUE(world.Logged(5, std::string("m_ModuleName = ") + test.model + " \n"));
    }
}

TEST_F(FiboComTest, AuthenticationGoesOutWithTheLongestSettings) {
    AnswerSetUp();
    const std::string longest(63, 'x');
    copy_text(cell.m_username, longest.c_str());
    copy_text(cell.m_password, longest.c_str());
    const std::string command = "AT+MGAUTH=1,3,\"" + longest + "\",\"" + longest + "\"";
    modem.On(command, kOk);
    cell.Initialize();
    EXPECT_EQ(command + "\r\n", modem.Sent().back());
}

// Registration and SIM

TEST_F(FiboComTest, RegistrationIsTestedInTwoSteps) {
    ExpectTwoStepRegistration();
}

TEST_F(FiboComTest, CheckSimCardTakes20CharactersOfTheIccid) {
    ExpectIccidFrom("AT+CCID", "+CCID: ");
}

TEST_F(FiboComTest, IdentityIsReadThroughTheEcho) {
    AnswerSimCheck();
    modem.On("AT+CGSN", "AT+CGSN\r" + Answer("864839050012340"));
    modem.On("AT+CIMI", "AT+CIMI\r" + Answer("460001112223334"));
    modem.On("AT+CCID", "AT+CCID\r" + Answer("+CCID: 8986"));
    EXPECT_EQ(kSimReady, cell.CheckSimCard());
    EXPECT_STREQ("864839050012340", cell.m_csIMEI);
    EXPECT_STREQ("460001112223334", cell.m_card_imsi);
    EXPECT_STREQ("8986", cell.m_card_iccid);
}

// Signal

TEST_F(FiboComTest, NetworkTypeIsPutBetweenQuotes) {
    modem.On("AT+PSRAT", Answer("+PSRAT: LTE"));
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    EXPECT_EQ(1, cell.ReadCSQ());
    EXPECT_STREQ("\"LTE\"", cell.m_NetworkType);
    EXPECT_EQ(21, cell.m_nCSQ);
    EXPECT_EQ((Texts{"AT+PSRAT", "AT+CSQ"}), modem.Sent());
    EXPECT_TRUE(world.Logged(7, "Network type:\"LTE\"\n"));
}

TEST_F(FiboComTest, NetworkTypeIsQuotedFirstAndCutThen) {
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    for (const size_t length : {61u, 62u, 63u, 127u, 200u}) {
        modem.On("AT+PSRAT", Answer("+PSRAT: " + std::string(length, 'x')));
        cell.ReadCSQ();
        const std::string quoted = "\"" + std::string(length, 'x') + "\"";
        EXPECT_EQ(quoted.substr(0, 63), cell.m_NetworkType) << length;
    }
}

TEST_F(FiboComTest, NoNetworkTypeKeepsTheLastOne) {
    copy_text(cell.m_NetworkType, "\"WCDMA\"");
    modem.On("AT+PSRAT", kError);
    modem.On("AT+CSQ", kError);
    EXPECT_EQ(0, cell.ReadCSQ());
    EXPECT_STREQ("\"WCDMA\"", cell.m_NetworkType);
    EXPECT_TRUE(world.Logged(7, "Network type:\"WCDMA\"\n"));
}

TEST_F(FiboComTest, SignalStatusIsTheBasesAndAsksNothing) {
    cell.CheckSignalStatus();
    cell.CheckNeighbourSignal();
    cell.CheckTempStatus();
    EXPECT_TRUE(modem.exchanges.empty());
}

// Parser

TEST_F(FiboComTest, ReservedRowIsLoggedAndGivesNoHint) {
    ExpectTexts({{"ReSeRvEd:x", 0, ""}, {"ReSeRvEd:", 0, ""}, {"ReSeRvEd: +CCID: 8986", 0, ""}});
    EXPECT_TRUE(world.Logged(7, "54 x\n"));
}

TEST_F(FiboComTest, CcidRow) {
    ExpectTexts({
        {Answer("+CCID: 8986"), kHintFibocomCcid, "8986"},
        {"+CCID: ", kHintFibocomCcid, ""},
        {"+CCID: \r\n8986\r\n", kHintFibocomCcid, ""},
        {"+CCID:8986\r\n", 0, ""},
        {"+CCID: 8986,1,2\r\n", kHintFibocomCcid, "8986,1,2"},
        {"+CCID: not a number\n", kHintFibocomCcid, "not a number"},
        {"+CCID: " + std::string(127, '8'), kHintFibocomCcid, std::string(127, '8')},
        {"+CCID: " + std::string(128, '8'), kHintFibocomCcid, std::string(127, '8')},
        {"+CCID: " + std::string(249, '8'), kHintFibocomCcid, std::string(127, '8')},
        {"+CCID: \x80\xff\xfe\r\n", kHintFibocomCcid, "\x80\xff\xfe"},
        {"\xff+CCID: 8986", kHintFibocomCcid, "8986"},
        {"+CCID: 1\r\n+CCID: 2\r\n", kHintFibocomCcid, "1"},
        {"+GTRNDIS: 1\r\n+CCID: 2\r\n", kHintFibocomCcid, "2"},
        {"+CCI", 0, ""},
    });
    EXPECT_TRUE(world.Logged(7, "55 8986\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(5, "CCID:8986\n"));
}

TEST_F(FiboComTest, MgauthRowGivesNoHint) {
    ExpectTexts({
        {Answer("+MGAUTH: 1,3,\"u\",\"p\""), 0, ""},
        {"+MGAUTH: ", 0, ""},
        {"+MGAUTH: 1\r\n+GTRNDIS: 1\r\n", 0, ""},
        {"+MGAUTH: \xff", 0, ""},
        {"+MGAUTH: " + std::string(247, 'x'), 0, ""},
    });
    EXPECT_TRUE(world.Logged(7, "56 1,3,\"u\",\"p\"\r\n\r\nOK\r\n\n"));
}

TEST_F(FiboComTest, GtrndisRow) {
    ExpectNumbers({
        {Answer("+GTRNDIS: 1,1,\"10.0.0.2\""), kHintFibocomGtrndis, 1},
        {Answer("+GTRNDIS: 0"), kHintFibocomGtrndis, 0},
        {"+GTRNDIS: ", kHintFibocomGtrndis, 0},
        {"+GTRNDIS: ,1", kHintFibocomGtrndis, 0},
        {"+GTRNDIS: \r\n1", kHintFibocomGtrndis, 0},
        {"+GTRNDIS: x", kHintFibocomGtrndis, 0},
        {"+GTRNDIS: 1x", kHintFibocomGtrndis, 1},
        {"+GTRNDIS:  -1", kHintFibocomGtrndis, -1},
        {"+GTRNDIS: 99999999999999999999", kHintFibocomGtrndis, INT32_MAX},
        {"+GTRNDIS: -99999999999999999999", kHintFibocomGtrndis, INT32_MIN},
        {"+GTRNDIS: " + std::string(246, '0'), kHintFibocomGtrndis, 0},
        {"+GTRNDIS: \xff\x80", kHintFibocomGtrndis, 0},
        {"+GTRNDIS: 1\r\n+GTRNDIS: 0\r\n", kHintFibocomGtrndis, 1},
        {"+GTRNDIS:1", 0, 0},
    });
    EXPECT_TRUE(world.Logged(7, "57 0\r\n\r\nOK\r\n\n"));
    EXPECT_TRUE(world.Logged(7, "GTRNDIS: connect_type=0\n"));
}

TEST_F(FiboComTest, RowsEndWithThe256thByte) {
    ExpectCutAt256Bytes({
        {"ReSeRvEd:", "x", 0},
        {"+CCID: ", "8986", kHintFibocomCcid},
        {"+MGAUTH: ", "1,3", 0},
        {"+GTRNDIS: ", "12,1", kHintFibocomGtrndis},
    });
}

TEST_F(FiboComTest, RowOfTheBaseWins) {
    EXPECT_EQ(kHintCsq, Parse("+CCID: 8986\r\n+CSQ: 5,99\r\n").type);
    EXPECT_TRUE(TextsOfFile(kDriver).empty());
}

TEST_F(FiboComTest, MissingTextIsUnknown) {
    EXPECT_EQ(0, cell.ParseAtResult(nullptr).type);
    EXPECT_TRUE(world.log.empty());
}

TEST_F(FiboComTest, PercentInAnAnswerIsText) {
    Parse("+CCID: %s%n%d\r\n");
    EXPECT_TRUE(world.Logged(5, "CCID:%s%n%d\n"));
}

// Places of the lines

TEST_F(FiboComTest, EachLineNamesThisDriverItsOperationAndLevel) {
    AnswerSimCheck();
    AnswerSetUp();
    modem.On("AT+CGDCONT=1,\"IPV4V6\",\"3GNET\"", kOk);
    modem.On("AT+gtusbmode=18", kOk);
    modem.On("AT+CFUN=15", kOk);
    modem.On("AT+CCID", Answer("+CCID: 8986"));
    modem.On("AT+PSRAT", Answer("+PSRAT: LTE"));
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    modem.OnSequence("AT+GTRNDIS=1,1", {kOk, kError, kError});
    modem.OnSequence("AT+GTRNDIS?", {kOk, kError, Answer("+GTRNDIS: 1")});
    modem.OnSequence("AT+gtusbmode?", {Answer("+GTUSBMODE: 18"), Answer("+GTUSBMODE: 17")});
    cell.Initialize();
    cell.Initialize();
    for (int i = 0; i < 3; ++i) cell.DoConnect();
    cell.CheckConnection();
    cell.CheckSimCard();
    cell.ReadCSQ();
    ExpectOwnLines(kDriver, {
                                {"Initialize", 6, "AT+gtusbmode? "},
                                {"Initialize", 6, "AT+gtusbmode=18 \r\nOK"},
                                {"Initialize", 5, "m_ModuleName = "},
                                {"Initialize", 7, "AT+MGAUTH=1,3,\"\",\"\"\r\n"},
                                {"Initialize", 5, "AT+MGAUTH=1,3 done\n"},
                                {"DoConnect", 6, kRndisDialAnswer},
                                {"DoConnect", 6, "CONNECT!!! \n"},
                                {"DoConnect", 6, "CONNECTED!!! \n"},
                                {"DoConnect", 6, "AT+GTRNDIS=1 ERROR !!!\n"},
                                {"ReadCSQ", 7, "Network type:"},
                                {"ParseAtResult", 7, "55 8986"},
                                {"ParseAtResult", 5, "CCID:8986\n"},
                                {"ParseAtResult", 7, "57 1"},
                                {"ParseAtResult", 7, "GTRNDIS: connect_type=1\n"},
                            });
}

INSTANTIATE_TYPED_TEST_SUITE_P(Nl668, FibocomRndis, CellFiboCOM);

}  // namespace
