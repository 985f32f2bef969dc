#include "network_daemon/cellular.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text_util.h"
#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::ScriptedModem;
using test_support::World;

class Radio : public testing::Test {
  protected:
    int32_t DealHint(int32_t type) {
        AtResult result = {};
        result.type = type;
        return cell.DealHint(result);
    }

    World world;
    ScriptedModem modem{world};
    PlainCell cell{modem.fd()};
};

TEST_F(Radio, CsqIsStored) {
    modem.On("AT+CSQ", "\r\n+CSQ: 23,99\r\n\r\nOK\r\n");
    EXPECT_EQ(cell.ReadCSQ(), 1);
    EXPECT_EQ(cell.m_nCSQ, 23);
    EXPECT_EQ(modem.Sent(), std::vector<std::string>{"AT+CSQ"});
}

TEST_F(Radio, CsqStaysWithoutAnAnswer) {
    modem.On("AT+CSQ", "\r\nERROR\r\n");
    cell.m_nCSQ = 17;
    EXPECT_EQ(cell.ReadCSQ(), 0);
    EXPECT_EQ(cell.m_nCSQ, 17);
}

TEST_F(Radio, CsqStaysWhenTheModemIsSilent) {
    modem.Mute(true);
    cell.m_nCSQ = 17;
    EXPECT_EQ(cell.ReadCSQ(), 0);
    EXPECT_EQ(cell.m_nCSQ, 17);
}

TEST_F(Radio, AnnouncedTechnologyIsReadAnew) {
    modem.On("AT+PSRAT", "\r\n+PSRAT: FDD LTE\r\n\r\nOK\r\n");
    CopyText(cell.m_NetworkType, "GSM");
    EXPECT_EQ(DealHint(kHintNwtypeind), 1);
    EXPECT_STREQ(cell.m_NetworkType, "FDD LTE");
    EXPECT_EQ(world.LogOf("DealHint"), std::vector<std::string>{"Network type FDD LTE\n"});
    EXPECT_TRUE(world.Logged(5, "Network type FDD LTE\n"));
}

TEST_F(Radio, AnnouncedTechnologyIsAskedForEvenOfAModemWithoutTheCommand) {
    modem.On("AT+PSRAT", "\r\nERROR\r\n");
    CopyText(cell.m_NetworkType, "GSM");
    EXPECT_EQ(DealHint(kHintNwtypeind), 1);
    EXPECT_EQ(modem.Sent(), std::vector<std::string>{"AT+PSRAT"});
    EXPECT_STREQ(cell.m_NetworkType, "GSM");
    EXPECT_TRUE(world.LogOf("DealHint").empty());
}

TEST_F(Radio, TechnologyIsCutAt63) {
    modem.On("AT+PSRAT", "+PSRAT: " + std::string(100, 'L'));
    DealHint(kHintNwtypeind);
    EXPECT_EQ(std::string(cell.m_NetworkType), std::string(63, 'L'));
}

TEST_F(Radio, OtherHintsAreLeftAlone) {
    for (int32_t type = 0; type < kAtPrefixRows; ++type) {
        if (type == kHintNwtypeind) continue;
        EXPECT_EQ(DealHint(type), 0) << type;
    }
    EXPECT_TRUE(modem.Sent().empty());
    EXPECT_TRUE(world.log.empty());
}

struct GenerationCase {
    const char* network_type;
    int generation;
};

TEST_F(Radio, GenerationByTheWordOfTheTechnology) {
    cell.m_sim_ready = 1;
    const GenerationCase cases[] = {
        {"LTE", 3},         {"\"FDD LTE\"", 3}, {"TDSCDMA", 2}, {"HSDPA", 2},     {"HSUPA", 2},
        {"WCDMA", 2},       {"UMTS", 2},        {"EVDO", 2},    {"EHRPD", 2},     {"GPRS", 1},
        {"EDGE", 1},        {"GSM", 1},         {"CDMA", 1},    {"CDMA1X", 1},    {"", 0},
        {"NR5G", 0},        {"lte", 0},         {"GSM/LTE", 3}, {"EDGE/UMTS", 2}, {"CDMA/EVDO", 2},
        {"TDSCDMA/LTE", 3}, {"GPRS/EHRPD", 2}};
    for (const GenerationCase& expected : cases) {
        CopyText(cell.m_NetworkType, expected.network_type);
        EXPECT_EQ(cell.GetNetworkGeneration(), expected.generation) << expected.network_type;
    }
}

TEST_F(Radio, GenerationIsUnknownWhileNoSimIsReady) {
    CopyText(cell.m_NetworkType, "LTE");
    cell.m_sim_ready = 0;
    EXPECT_EQ(cell.GetNetworkGeneration(), 0);
}

}  // namespace
}  // namespace cc_cell
