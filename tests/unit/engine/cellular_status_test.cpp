#include "network_daemon/cellular.h"

#include <cstdint>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "support/build_info.h"
#include "support/text_util.h"
#include "tests/support/recording_cell.h"
#include "tests/support/test_world.h"

namespace {
bool date_has_no_text = false;  // as of a year that no text can hold
}  // namespace

extern "C" char* __real_asctime(const tm* date);
extern "C" char* __wrap_asctime(const tm* date) {
    return date_has_no_text ? nullptr : __real_asctime(date);
}

namespace cc_cell {
namespace {

using test_support::World;

constexpr char kMain[] = "/run/network/ravelin_status";
constexpr char kSignal[] = "/run/network/signal_status";
constexpr char k3630[] = "/run/network/3630_status";

constexpr char kNow[] = "Now='Thu Jan  1 00:00:00 2026'\n";

std::string BuildLine() {
    return std::string("GIT_VERSION=") + kBuildCommitShort + "\n";
}

class Status : public testing::Test {
  protected:
    void SetUp() override { CellBase::m_ModuleName.clear(); }

    /// Publishes, and gives the main file.
    std::string Publish() {
        cell.WriteStatusFiles();
        return world.Read(kMain);
    }
    /// Publishes, and gives the line of the file that begins with `key`, "-" when it has none.
    std::string LineOf(const char* key, const char* path = kMain) {
        cell.WriteStatusFiles();
        const std::string text = "\n" + world.Read(path);
        const size_t start = text.find("\n" + std::string(key));
        if (start == std::string::npos) return "-";
        return text.substr(start + 1, text.find('\n', start + 1) - start - 1);
    }
    void FillAll() {
        CopyText(cell.m_card_imsi, "460001234567890");
        CopyText(cell.m_card_iccid, "89860012345678901234");
        CopyText(cell.m_csIMEI, "862000000000000");
        cell.m_auto_connect = 1;
        cell.m_online = 1;
        cell.m_connect_time = 1000;
        CopyText(cell.m_carrier, "\"CHN-CT\"");
        CopyText(cell.m_apn, "internet");
        cell.m_nCSQ = 23;
        cell.m_CGREG = 1;
        cell.m_CEREG = 5;
        cell.m_reconnect_times = 7;
        CopyText(cell.m_NetworkType, "LTE");
        CopyText(cell.m_fw_version, "EG25GGBR07A08M2G");
        cell.m_sim_ready = 1;
        CopyText(cell.m_username, "user");
        CopyText(cell.m_password, "secret");
        cell.m_auth_type = 2;
        CopyText(cell.m_RSRP_LEVEL, "-97");
        cell.m_Tempture = 41;
    }

    World world;
    RecordingCell cell{world, -1};
};

TEST_F(Status, MainFileOfANewObject) {
    EXPECT_EQ(Publish(),
              "IMSI=\nICCID=\nIMEI=\nAutoConnect=FALSE\nOnline=FALSE\nCarrier=\nAPN=''\nCSQ=\n"
              "CGREG=0\nCEREG=0\nUptime=00:00:00\nRetryTimes=0\nNetwork=\nFWVersion=\n" +
                  BuildLine() + kNow);
}

TEST_F(Status, MainFileOfALinkThatIsUp) {
    FillAll();
    cell.m_double_sim = 1;
    cell.m_vendor_type = kVendorQuectelQcom;
    EXPECT_EQ(Publish(),
              "IMSI=460001234567890\nICCID=89860012345678901234\nIMEI=862000000000000\nAutoConnect=TRUE\n"
              "Online=TRUE\nCarrier=\"CHN-CT\"\nAPN='internet'\nCSQ=23\nCGREG=1\nCEREG=5\n"
              "Uptime=00:00:00\nRetryTimes=7\nNetwork=LTE\nFWVersion=EG25GGBR07A08M2G\n"
              "doubleSIM_enable=TRUE\nTempture=41\n" +
                  BuildLine() + kNow);
}

TEST_F(Status, DateBeyond2038) {
    world.environment().SetWallClock(4102488001);
    EXPECT_EQ(LineOf("Now="), "Now='Fri Jan  1 12:00:01 2100'");
    EXPECT_EQ(LineOf("Uptime="), "Uptime=00:00:00") << "the date doesn't matter to it";
}

TEST_F(Status, DateWithoutATextForm) {
    date_has_no_text = true;
    EXPECT_EQ(LineOf("Now="), "Now=''");
    date_has_no_text = false;
}

TEST_F(Status, SignalFile) {
    FillAll();
    cell.m_vendor_type = kVendorQuectelUnisoc;
    cell.WriteStatusFiles();
    EXPECT_EQ(world.Read(kSignal),
              "APN=internet\nUsername=user\nPassword=secret\nAuthentication=2\n"
              "\t0 None 1 PAP 2 CHAP 3 PAP-CHAP\nSIMOperator=\"CHN-CT\"\nNetwork=LTE\n"
              "ModemNetwork_Generation=3\nOnline=TRUE\nConnectionStatus=1\nCSQ=23\nSignalLevel=-97\n"
              "\texcellent:>-85dBm\tgood:-85～-95dBm\tMid_cell:-95～-105dBm\tpoor:-105～-115dBm"
              "\tvery_poor:<-115dB\n" +
                  BuildLine() + "Uptime=00:00:00\n" + kNow);
    EXPECT_FALSE(world.Exists(k3630));
}

TEST_F(Status, SignalFileWhileOffline) {
    cell.m_vendor_type = kVendorQuectelQcom;
    cell.WriteStatusFiles();
    EXPECT_EQ(LineOf("Online=", kSignal), "Online=FALSE");
    EXPECT_EQ(LineOf("ConnectionStatus=", kSignal), "ConnectionStatus=0");
    EXPECT_EQ(LineOf("CSQ=", kSignal), "CSQ=");
    EXPECT_EQ(LineOf("Uptime=", kSignal), "Uptime=00:00:00");
}

TEST_F(Status, File3630) {
    FillAll();
    cell.m_vendor_type = kVendorZte;
    CellBase::m_ModuleName = "ME3630";
    CopyText(cell.m_RSSI, "-70dBm");
    CopyText(cell.m_RSRP, "-97");
    CopyText(cell.m_RSRQ, "-10");
    CopyText(cell.m_SINR, "12");
    cell.WriteStatusFiles();
    EXPECT_EQ(world.Read(k3630), std::string("CSQ=23\nRSSI=-70dBm\nRSRP=-97\nRSRQ=-10\nSINR=12\n") + kNow);
    EXPECT_FALSE(world.Exists(kSignal));
}

TEST_F(Status, CsqOfZeroIsNoValue) {
    EXPECT_EQ(LineOf("CSQ="), "CSQ=");
    cell.m_nCSQ = 99;
    EXPECT_EQ(LineOf("CSQ="), "CSQ=99");
}

TEST_F(Status, RssiIsDerivedFromCsqOnceAndStays) {
    cell.m_vendor_type = kVendorZte;
    CellBase::m_ModuleName = "ME3630";
    EXPECT_EQ(LineOf("RSSI=", k3630), "RSSI=");  // no CSQ yet
    cell.m_nCSQ = 31;
    EXPECT_EQ(LineOf("RSSI=", k3630), "RSSI=-51dBm");
    EXPECT_STREQ(cell.m_RSSI, "-51dBm");
    cell.m_nCSQ = 10;
    EXPECT_EQ(LineOf("RSSI=", k3630), "RSSI=-51dBm");
    cell.m_RSSI[0] = '\0';  // a driver wrote it anew
    EXPECT_EQ(LineOf("RSSI=", k3630), "RSSI=-93dBm");
}

TEST_F(Status, RssiOfAGarbledCsqFits) {
    cell.m_vendor_type = kVendorZte;
    CellBase::m_ModuleName = "ME3630";
    cell.m_nCSQ = INT32_MAX;
    EXPECT_EQ(LineOf("RSSI=", k3630), "RSSI=4294967181dBm");
    cell.m_RSSI[0] = '\0';
    cell.m_nCSQ = INT32_MIN;
    EXPECT_EQ(LineOf("RSSI=", k3630), "RSSI=-4294967409dBm");
}

TEST_F(Status, UptimeIsZeroWhileOfflineWhateverTheConnectTime) {
    cell.m_connect_time = 17;
    EXPECT_EQ(LineOf("Uptime="), "Uptime=00:00:00");
    EXPECT_EQ(cell.GetOnlineSeconds(), 0);
}

TEST_F(Status, UptimeCountsFromTheConnectTime) {
    cell.m_online = 1;
    const struct {
        uint32_t seconds;
        const char* expected;
    } cases[] = {{0, "Uptime=00:00:00"},    {59, "Uptime=00:00:59"},   {60, "Uptime=00:01:00"},
                 {3599, "Uptime=00:59:59"}, {3725, "Uptime=01:02:05"}, {100 * 3600 + 61, "Uptime=100:01:01"}};
    for (const auto& test : cases) {
        cell.m_connect_time = 1000 - test.seconds;  // may lie before the start of the counter
        EXPECT_EQ(cell.GetOnlineSeconds(), static_cast<int32_t>(test.seconds));
        EXPECT_EQ(LineOf("Uptime="), test.expected);
    }
}

TEST_F(Status, DoubleSimLineExistsOnlyWhileSet) {
    EXPECT_EQ(LineOf("doubleSIM_enable"), "-");
    cell.m_double_sim = 1;
    EXPECT_EQ(LineOf("doubleSIM_enable"), "doubleSIM_enable=TRUE");
    cell.m_double_sim = 0;
    EXPECT_EQ(LineOf("doubleSIM_enable"), "-");
}

TEST_F(Status, TemperatureAndSignalFileByVendor) {
    for (int32_t vendor = 0; vendor <= kVendorFibocomLe; ++vendor) {
        world.Remove(kSignal);
        cell.m_vendor_type = vendor;
        cell.m_Tempture = -5;
        const bool has_temperature = vendor == kVendorQuectelQcom || vendor == kVendorCinterion;
        EXPECT_EQ(LineOf("Tempture="), has_temperature ? "Tempture=-5" : "-") << vendor;
        const bool has_signal = vendor == kVendorQuectelQcom || vendor == kVendorQuectelUnisoc;
        EXPECT_EQ(world.Exists(kSignal), has_signal) << vendor;
    }
}

TEST_F(Status, OnlyTheMe3630HasItsFile) {
    cell.m_vendor_type = kVendorZte;
    for (const char* name : {"GM196", "GM196H", "GOSUNCN", "ME3630X", "me3630", ""}) {
        CellBase::m_ModuleName = name;
        cell.WriteStatusFiles();
        EXPECT_FALSE(world.Exists(k3630)) << name;
    }
    CellBase::m_ModuleName = "ME3630";
    cell.m_vendor_type = kVendorQuectelQcom;
    cell.WriteStatusFiles();
    EXPECT_FALSE(world.Exists(k3630));
}

TEST_F(Status, GenerationIsZeroWithoutASim) {
    cell.m_vendor_type = kVendorQuectelQcom;
    CopyText(cell.m_NetworkType, "LTE");
    EXPECT_EQ(LineOf("ModemNetwork_Generation", kSignal), "ModemNetwork_Generation=0");
    EXPECT_EQ(LineOf("Network=", kSignal), "Network=LTE");
    cell.m_sim_ready = 1;
    EXPECT_EQ(LineOf("ModemNetwork_Generation", kSignal), "ModemNetwork_Generation=3");
}

TEST_F(Status, ApnHasQuotesInTheMainFileAlone) {
    cell.m_vendor_type = kVendorQuectelQcom;
    CopyText(cell.m_apn, "internet");
    EXPECT_EQ(LineOf("APN="), "APN='internet'");
    EXPECT_EQ(LineOf("APN=", kSignal), "APN=internet");
}

TEST_F(Status, FirmwareTextIsTrimmedAtBothEnds) {
    CopyText(cell.m_fw_version, " \r\nEG25 R07\r\n ");
    EXPECT_EQ(LineOf("FWVersion="), "FWVersion=EG25 R07");
    // The end is gone for good, the start is only skipped.
    EXPECT_STREQ(cell.m_fw_version, " \r\nEG25 R07");
}

TEST_F(Status, ModemTextWithConversionsIsPrintedAsItIs) {
    CopyText(cell.m_carrier, "%s%n%d");
    EXPECT_EQ(LineOf("Carrier="), "Carrier=%s%n%d");
}

TEST_F(Status, FilesAreWrittenAnew) {
    world.Write(kMain, std::string(5000, 'x'));
    EXPECT_EQ(Publish().substr(0, 6), "IMSI=\n");
    EXPECT_EQ(world.Read(kMain).find('x'), std::string::npos);
}

TEST_F(Status, WithoutTheMainFileNoOtherIsWritten) {
    cell.m_vendor_type = kVendorQuectelQcom;
    world.MakeFolder(kMain);
    testing::internal::CaptureStderr();
    cell.WriteStatusFiles();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Open file /run/network/ravelin_status error!\n");
    EXPECT_FALSE(world.Exists(kSignal));
    EXPECT_TRUE(world.log.empty());

    world.Remove(kMain);  // the next pass tries again
    cell.WriteStatusFiles();
    EXPECT_TRUE(world.Exists(kSignal));
}

TEST_F(Status, SecondFilesThatCannotBeOpenedAreTold) {
    world.MakeFolder(kSignal);
    world.MakeFolder(k3630);
    CellBase::m_ModuleName = "ME3630";
    testing::internal::CaptureStderr();
    cell.m_vendor_type = kVendorQuectelQcom;
    cell.WriteStatusFiles();
    cell.m_vendor_type = kVendorZte;
    cell.WriteStatusFiles();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Open file signal_status error!\nOpen file 3630_status error!\n");
    EXPECT_TRUE(world.Exists(kMain));
    EXPECT_TRUE(world.log.empty());
}

TEST_F(Status, NeighbourSignalIsReadWhileTheSettingsAllow) {
    cell.CollectNeighbourSignal();
    EXPECT_EQ(cell.CountOf("CheckNeighbourSignal"), 1);
    EXPECT_TRUE(world.Logged(7, "m_SignalCollect.neighbourSignalEnFlag: 1\n"));
    cell.m_SignalCollect.neighbourSignalEnFlag = 0;
    cell.CollectNeighbourSignal();
    EXPECT_EQ(cell.CountOf("CheckNeighbourSignal"), 1);
    EXPECT_EQ(world.LogOf("CollectNeighbourSignal").back(), "m_SignalCollect.neighbourSignalEnFlag: 0\n");
}

}  // namespace
}  // namespace cc_cell
