// Module CellFiboCom: what the Fibocom modules NL668 and MC116 have beside other families: their own set-up,
// an identity that comes with the echo, and a network type between quotes.
#include <string>

#include "support/text_util.h"
#include "tests/support/driver_fixture.h"

using namespace cc_cell;

namespace {

class FiboComTest : public DriverTest {
  protected:
    FiboComTest() : DriverTest(kVendorFibocom) {}

    /// All of the set-up, in the right USB mode and without a revision.
    void AnswerSetUp() {
        modem.On("AT+gtusbmode?", Answer("+GTUSBMODE: 18"));
        modem.On("ATI", Answer("Fibocom"));
        modem.On("AT+COPS?", Answer("+COPS: 0,0,\"CHN-CT\",7"));
        modem.On("AT+CGDCONT=1,\"IPV4V6\",\"CTNET\"", kOk);
        modem.On("AT+MGAUTH=1,3,\"\",\"\"", kOk);
    }
};

// Set-up

TEST_F(FiboComTest, SetUpPublishesNoStatusFiles) {
    AnswerSetUp();
    EXPECT_EQ(1, cell.Initialize());
    EXPECT_FALSE(world.Exists("/run/network/ravelin_status"));
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
    }
}

TEST_F(FiboComTest, AuthenticationGoesOutWithTheLongestSettings) {
    AnswerSetUp();
    const std::string longest(63, 'x');
    CopyText(cell.m_username, longest.c_str());
    CopyText(cell.m_password, longest.c_str());
    const std::string command = "AT+MGAUTH=1,3,\"" + longest + "\",\"" + longest + "\"";
    modem.On(command, kOk);
    cell.Initialize();
    EXPECT_EQ(command + "\r\n", modem.Sent().back());
}

// SIM

TEST_F(FiboComTest, IdentityIsReadThroughTheEcho) {
    cell.SetVendorType(kVendorFibocom);
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

TEST_F(FiboComTest, NetworkTypeIsQuotedFirstAndCutThen) {
    modem.On("AT+CSQ", Answer("+CSQ: 21,99"));
    for (const size_t length : {3u, 61u, 62u, 63u, 127u, 200u}) {
        modem.On("AT+PSRAT", Answer("+PSRAT: " + std::string(length, 'x')));
        cell.ReadCSQ();
        const std::string quoted = "\"" + std::string(length, 'x') + "\"";
        EXPECT_EQ(quoted.substr(0, 63), cell.m_NetworkType) << length;
    }
}

}  // namespace
