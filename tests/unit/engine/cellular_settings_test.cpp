#include "network_daemon/cellular.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/virtual_time/resources.h"
#include "support/text_util.h"
#include "tests/support/recording_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::World;

/// The real GetLTEcfg.
class SettingsCell : public RecordingCell {
  public:
    explicit SettingsCell(World& world) : RecordingCell(world, -1) {}
    void GetLTEcfg() override { CellBase::GetLTEcfg(); }
};

class Settings : public testing::Test {
  protected:
    void Load(const std::string& text) {
        world.Write(kSettingsPath, text);
        cell.GetLTEcfg();
    }
    /// "level text" of each line so far.
    Lines Log() const {
        Lines lines;
        for (const auto& line : world.log) lines.push_back(std::to_string(line.level) + " " + line.text);
        return lines;
    }

    World world;
    SettingsCell cell{world};
};

// The file

TEST_F(Settings, AllKeysAreTakenInOrderAndLogged) {
    Load(
        "CollectSignalFlag=1\nBRACKEN_PROJECT=1\nOFFLINE=70\nORLA=1\nDoubleSIM=1\nAUTOCONNECT=1\n"
        "CARD_PIN=1234\nAUTH_TYPE=2\nPASSWORD=secret\nUSERNAME=user\nAPN=internet\nENABLE=true\n");
    EXPECT_STREQ(cell.m_enable, "true");
    EXPECT_STREQ(cell.m_apn, "internet");
    EXPECT_STREQ(cell.m_username, "user");
    EXPECT_STREQ(cell.m_password, "secret");
    EXPECT_EQ(cell.m_auth_type, 2);
    EXPECT_STREQ(cell.m_card_pin, "1234");
    EXPECT_EQ(cell.m_auto_connect, 1);
    EXPECT_EQ(cell.m_double_sim, 1);
    EXPECT_EQ(cell.m_orla_project, 1);
    EXPECT_EQ(cell.m_offline, 70);
    EXPECT_EQ(cell.m_bracken_project, 1);
    EXPECT_EQ(cell.m_SignalCollect.neighbourSignalEnFlag, 1);
    EXPECT_EQ(Log(),
              (Lines{"6 Enable = true\n", "6 input apn = internet\n", "6 APN = internet\n",
                     "6 username = user\n", "7 password = secret\n", "6 auth type = 2\n", "6 PIN = 1234\n",
                     "0 DoubleSIM ENABLE !!!\n", "6 ORLA PROJECT !!!\n", "6 OFFLINE = 70\n",
                     "6 BRACKEN PROJECT !!!\n", "7 4G Module Signal collect switch config ENABLE !!!\n"}));
}

TEST_F(Settings, WhileOnlineTheRepeatingLinesMoveToDebug) {
    cell.m_online = 1;
    Load(
        "ENABLE=true\nAPN='internet'\nUSERNAME=user\nPASSWORD=secret\nAUTH_TYPE=2\nCARD_PIN=1234\n"
        "AUTOCONNECT=1\nDoubleSIM=1\nORLA=1\nOFFLINE=70\nBRACKEN_PROJECT=1\nCollectSignalFlag=0\n");
    EXPECT_EQ(Log(), (Lines{"7 Enable = true\n", "7 input apn = 'internet'\n", "7 real apn is:internet\n",
                            "7 APN = internet\n", "7 username = user\n", "7 password = secret\n",
                            "7 auth type = 2\n", "7 PIN = 1234\n", "0 DoubleSIM ENABLE !!!\n",
                            "7 ORLA PROJECT !!!\n", "7 OFFLINE = 70\n", "7 BRACKEN PROJECT !!!\n",
                            "7 4G Module Signal collect switch config DISABLE !!!\n"}));
}

TEST_F(Settings, LinesNameTheSetterOrTheReader) {
    Load("ENABLE=true\nAPN=a\nORLA=1\nOFFLINE=1\n");
    EXPECT_EQ(world.LogOf("SetEnable"), Lines{"Enable = true\n"});
    EXPECT_EQ(world.LogOf("SetAPN"), (Lines{"input apn = a\n", "APN = a\n"}));
    EXPECT_EQ(world.LogOf("SetOFFLINE"), Lines{"OFFLINE = 1\n"});
    EXPECT_EQ(world.LogOf("GetLTEcfg"), Lines{"ORLA PROJECT !!!\n"});
    for (const auto& line : world.log) EXPECT_EQ(line.file, "network_daemon/cellular_settings.cpp");
}

TEST_F(Settings, AbsentKeysLeaveTheirMembers) {
    CopyText(cell.m_enable, "false");
    CopyText(cell.m_apn, "former");
    CopyText(cell.m_username, "name");
    CopyText(cell.m_password, "word");
    CopyText(cell.m_card_pin, "0000");
    cell.m_auth_type = 3;
    cell.m_auto_connect = cell.m_double_sim = cell.m_orla_project = cell.m_bracken_project = 1;
    cell.m_offline = 9;
    Load("OTHER=1\n");
    EXPECT_STREQ(cell.m_enable, "false");
    EXPECT_STREQ(cell.m_apn, "former");
    EXPECT_STREQ(cell.m_username, "name");
    EXPECT_STREQ(cell.m_password, "word");
    EXPECT_STREQ(cell.m_card_pin, "0000");
    EXPECT_EQ(cell.m_auth_type, 3);
    EXPECT_EQ(cell.m_auto_connect, 1);
    EXPECT_EQ(cell.m_double_sim, 1);
    EXPECT_EQ(cell.m_orla_project, 1);
    EXPECT_EQ(cell.m_bracken_project, 1);
    EXPECT_EQ(cell.m_offline, 9);
    EXPECT_EQ(cell.m_SignalCollect.neighbourSignalEnFlag, 1);
    EXPECT_TRUE(world.log.empty());
}

TEST_F(Settings, AFileThatYieldsNothingChangesNothingAndIsToldEachTime) {
    CopyText(cell.m_apn, "former");
    cell.GetLTEcfg();  // missing
    Load("");
    Load("# only a comment\n");
    EXPECT_STREQ(cell.m_apn, "former");
    EXPECT_EQ(Log(), Lines(3, "0 config /run/network/ifcfg-lte don't exist\n"));
    EXPECT_EQ(world.LogOf("GetLTEcfg").size(), 3u);
}

// They are read in every pass, for years.
TEST_F(Settings, ReadingThemAgainTakesNoMemory) {
    Load("ENABLE=true\nAPN=internet\n");
    const size_t before_bytes = virtual_time::CountResources(world.environment()).heap_bytes;
    for (int pass = 0; pass < 1000; ++pass) {
        cell.GetLTEcfg();
        world.log.clear();
    }
    EXPECT_LT(virtual_time::CountResources(world.environment()).heap_bytes, before_bytes + 10000);
}

TEST_F(Settings, OneOverlongLineLosesTheWholeFile) {
    CopyText(cell.m_apn, "former");
    Load("APN=new\nUSERNAME=" + std::string(300, 'u') + "\n");
    EXPECT_STREQ(cell.m_apn, "former");
    EXPECT_EQ(world.CountLogged("config /run/network/ifcfg-lte don't exist\n"), 1);
}

TEST_F(Settings, TextsAreCutToTheirMembers) {
    const std::string text(200, 't');
    Load("APN=" + text + "\nUSERNAME=" + text + "\nPASSWORD=" + text + "\nCARD_PIN=" + text + "\n");
    const std::string stored(63, 't');
    EXPECT_EQ(cell.m_apn, stored);
    EXPECT_EQ(cell.m_username, stored);
    EXPECT_EQ(cell.m_password, stored);
    EXPECT_EQ(cell.m_card_pin, stored);
    EXPECT_EQ(Log(), (Lines{"6 input apn = " + stored + "\n", "6 APN = " + stored + "\n",
                            "6 username = " + stored + "\n", "7 password = " + stored + "\n",
                            "6 PIN = " + stored + "\n"}));
}

TEST_F(Settings, LowerCaseFalseAloneDisables) {
    Load("ENABLE=False\n");
    EXPECT_STREQ(cell.m_enable, "False");  // taken as it stands; Task compares
    Load("ENABLE=false\n");
    EXPECT_STREQ(cell.m_enable, "false");
}

TEST_F(Settings, EnableKeepsNineCharacters) {
    Load("ENABLE=1234567890\n");
    EXPECT_STREQ(cell.m_enable, "123456789");
    EXPECT_EQ(Log(), Lines{"6 Enable = 123456789\n"});
}

TEST_F(Settings, DoubleSimIsOnFromOneUpwards) {
    const struct {
        const char* value;
        int expected;
    } cases[] = {{"1", 1}, {"2", 1}, {"99999999999999999999", 1}, {"0", 0}, {"-1", 0}, {"yes", 0}, {"", 0}};
    for (const auto& test : cases) {
        for (uint8_t former : {0, 1}) {
            cell.m_double_sim = former;
            world.log.clear();
            Load(std::string("DoubleSIM=") + test.value + "\n");
            EXPECT_EQ(cell.m_double_sim, test.expected) << test.value;
            EXPECT_EQ(world.Logged(0, "DoubleSIM ENABLE !!!\n"), test.expected == 1) << test.value;
        }
    }
}

TEST_F(Settings, AutoconnectIsOnAboveZero) {
    const struct {
        const char* value;
        int expected;
    } cases[] = {{"-1", 0}, {"0", 0}, {"1", 1}, {"7", 1}};
    for (const auto& test : cases) {
        cell.m_auto_connect = test.expected == 0;
        Load(std::string("AUTOCONNECT=") + test.value + "\n");
        EXPECT_EQ(cell.m_auto_connect, test.expected) << test.value;
    }
    EXPECT_TRUE(world.log.empty());
}

TEST_F(Settings, OtherSwitchesAreTakenTheSameWay) {
    cell.m_orla_project = cell.m_bracken_project = 1;
    Load("ORLA=0\nBRACKEN_PROJECT=no\nCollectSignalFlag=0\n");
    EXPECT_EQ(cell.m_orla_project, 0);
    EXPECT_EQ(cell.m_bracken_project, 0);
    EXPECT_EQ(cell.m_SignalCollect.neighbourSignalEnFlag, 0);
    EXPECT_EQ(Log(), Lines{"7 4G Module Signal collect switch config DISABLE !!!\n"});
    Load("ORLA=3\nBRACKEN_PROJECT=1\nCollectSignalFlag=2\n");
    EXPECT_EQ(cell.m_orla_project, 1);
    EXPECT_EQ(cell.m_bracken_project, 1);
    EXPECT_EQ(cell.m_SignalCollect.neighbourSignalEnFlag, 1);
}

TEST_F(Settings, OutageIsNotReadWithoutItsProject) {
    cell.m_offline = 5;
    Load("ORLA=0\nOFFLINE=100\n");
    EXPECT_EQ(cell.m_offline, 5);
    EXPECT_TRUE(world.LogOf("SetOFFLINE").empty());
}

TEST_F(Settings, OutageCountsOnlyInAPassInWhichTheFileNamesTheProject) {
    cell.m_orla_project = 1;  // of an earlier pass
    cell.m_offline = 5;
    Load("OFFLINE=100\n");
    EXPECT_EQ(cell.m_orla_project, 1);
    EXPECT_EQ(cell.m_offline, 5);
    Load("ORLA=1\nOFFLINE=100\n");
    EXPECT_EQ(cell.m_offline, 100);
}

TEST_F(Settings, NumbersThatAreNoneCountAsZeroAndBigOnesSaturate) {
    cell.m_auth_type = 2;
    Load("AUTH_TYPE=chap\n");
    EXPECT_EQ(cell.m_auth_type, 0);
    Load("AUTH_TYPE=99999999999\n");
    EXPECT_EQ(cell.m_auth_type, INT32_MAX);
    Load("AUTH_TYPE=-7\n");
    EXPECT_EQ(cell.m_auth_type, -7);  // nothing validates: drivers pass it on
}

TEST_F(Settings, KeysMatchInAnyCaseButTheFirstLetterIsACapital) {
    Load("Apn=mixed\n");
    EXPECT_STREQ(cell.m_apn, "mixed");
    Load("aPN=dropped\nOTHER=1\n");
    EXPECT_STREQ(cell.m_apn, "mixed");
}

// APN

TEST_F(Settings, ApnLosesItsQuotes) {
    const struct {
        const char* line;
        const char* expected;
    } cases[] = {
        {"APN='cmnet'\n", "cmnet"},  {"APN=cmnet\n", "cmnet"}, {"APN='cmnet\n", "cmnet"},
        {"APN=x'cmnet'\n", "cmnet"}, {"APN='a b'c\n", "a b"},
    };
    for (const auto& test : cases) {
        Load(test.line);
        EXPECT_STREQ(cell.m_apn, test.expected) << test.line;
    }
}

TEST_F(Settings, EmptyApnWithALineEndClearsTheFormerOne) {
    CopyText(cell.m_apn, "former");
    Load("APN=\n");
    EXPECT_STREQ(cell.m_apn, "");
    EXPECT_EQ(Log(), (Lines{"6 input apn = \n", "6 APN = \n"}));
}

TEST_F(Settings, EmptyApnAsLastLineWithoutALineEndKeepsTheFormerOne) {
    CopyText(cell.m_apn, "former");
    Load("ENABLE=true\nAPN=");
    EXPECT_STREQ(cell.m_apn, "former");
    EXPECT_TRUE(world.LogOf("SetAPN").empty());
}

TEST_F(Settings, NothingBetweenTheQuotesIsAnEmptyApn) {
    for (const char* apn : {"''", "'", "cmnet'"}) {
        CopyText(cell.m_apn, "former");
        cell.SetAPN(apn);
        EXPECT_STREQ(cell.m_apn, "") << apn;
    }
    EXPECT_EQ(world.CountLogged("real apn is:\n"), 3);
}

TEST_F(Settings, ApnBehindAQuoteOutOfReachStaysAsItIs) {
    const std::string apn(63, 'a');
    cell.SetAPN((apn + "'tail'").c_str());
    EXPECT_EQ(cell.m_apn, apn);
}

TEST_F(Settings, ApnMayHoldConversions) {
    Load("APN=a%sb%n\n");
    EXPECT_STREQ(cell.m_apn, "a%sb%n");
    EXPECT_TRUE(world.Logged(6, "APN = a%sb%n\n"));
}

// Setters

TEST_F(Settings, SettersStoreWhatFitsAndLogWhatTheyStored) {
    const std::string path(300, 'p');
    cell.SetATPort(path.c_str());
    EXPECT_EQ(cell.m_at_port, path.substr(0, 255));
    cell.SetDhcpcScript(path.c_str());
    EXPECT_EQ(cell.m_dhcpc_script, path.substr(0, 255));
    cell.SetRsrpLevel("-100.123456");
    EXPECT_STREQ(cell.m_RSRP_LEVEL, "-100.1234");
    EXPECT_EQ(Log(), (Lines{"6 AtPort = " + path.substr(0, 255) + "\n",
                            "7 udhcpc script = " + path.substr(0, 255) + "\n"}));
}

TEST_F(Settings, NumbersAreStoredAndLoggedAtTheirLevel) {
    for (const bool online : {false, true}) {
        cell.m_online = online;
        world.log.clear();
        cell.SetVendorType(6);
        cell.SetBoard(3);
        cell.SetCell_fd(9);
        cell.SetLastOFFLINE(1800);
        const std::string level = online ? "7 " : "6 ";
        EXPECT_EQ(Log(), (Lines{level + "vendor type = 6\n", "6 board = 3\n", "6 SetCell_fd = 9\n",
                                level + "last OFFLINE = 1800\n"}));
    }
    EXPECT_EQ(cell.m_vendor_type, 6);
    EXPECT_EQ(cell.m_board, 3);
    EXPECT_EQ(cell.m_cell_fd, 9);
    EXPECT_EQ(cell.m_last_offline, 1800);
}

TEST_F(Settings, NullTextsCountAsEmpty) {
    cell.SetAPN(nullptr);
    cell.SetEnable(nullptr);
    cell.SetUsername(nullptr);
    EXPECT_STREQ(cell.m_apn, "");
    EXPECT_STREQ(cell.m_enable, "");
    EXPECT_STREQ(cell.m_username, "");
}

}  // namespace
}  // namespace cc_cell
