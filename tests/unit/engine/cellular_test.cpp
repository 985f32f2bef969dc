#include "network_daemon/cellular.h"

#include <cstddef>
#include <cstring>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/plain_cell.h"
#include "tests/support/test_world.h"

namespace cc_cell {
namespace {

using test_support::kNoPort;

TEST(Cellular, FreshObjectIsOfflineWithoutIdentityAndCollectsNeighbourSignals) {
    PlainCell cell(kNoPort);
    EXPECT_EQ(cell.IsOnline(), 0);
    EXPECT_STREQ(cell.GetIMSI(), "");
    EXPECT_STREQ(cell.GetICCID(), "");
    EXPECT_EQ(cell.m_SignalCollect.signalEnFlag, 1);
    EXPECT_EQ(cell.m_SignalCollect.neighbourSignalEnFlag, 1);
}

// The memory of an object is never clean by itself: build one over garbage.
class CellularOverGarbage : public testing::Test {
  protected:
    CellularOverGarbage() {
        for (volatile unsigned char& byte : storage) byte = 0xA5;  // volatile: else it counts as never read
        cell = new (storage) PlainCell(7);
    }
    ~CellularOverGarbage() override { cell->~PlainCell(); }

    alignas(PlainCell) unsigned char storage[sizeof(PlainCell)];
    PlainCell* cell;
};

TEST_F(CellularOverGarbage, EveryTextIsEmpty) {
    const char* const texts[] = {
        cell->m_card_iccid, cell->m_NetworkType, cell->m_vendor_name,    cell->m_fw_version,
        cell->m_RSSI,       cell->m_RSRP,        cell->m_RSRQ,           cell->m_SINR,
        cell->m_band,       cell->m_pcid,        cell->m_neighbour_rsrp, cell->m_neighbour_pcid,
        cell->m_csIMEI,     cell->m_card_imsi,   cell->m_carrier,        cell->m_signal_spare,
        cell->m_apn,        cell->m_username,    cell->m_password,       cell->m_card_pin,
        cell->m_meid,       cell->m_enable,      cell->m_dhcpc_script,   cell->m_at_port,
        cell->m_RSRP_LEVEL,
    };
    for (const char* text : texts) EXPECT_STREQ(text, "");
}

TEST_F(CellularOverGarbage, FirmwareTextIsClearedWhole) {
    for (char byte : cell->m_fw_version) EXPECT_EQ(byte, 0);
}

TEST_F(CellularOverGarbage, EveryNumberIsZeroButThePort) {
    const int32_t numbers[] = {
        cell->m_carrier_code,
        cell->m_CGREG,
        cell->m_CEREG,
        cell->m_Tempture,
        cell->m_reset4g_times,
        cell->m_vendor_type,
        cell->m_reconnect_times,
        cell->m_check_service_times,
        cell->m_softrest_times,
        cell->m_sim_type,
        cell->m_auth_type,
        cell->m_CSQ_weak_check_times,
        cell->m_nCSQ,
        cell->m_offline,
        cell->m_last_offline,
        cell->m_board,
        cell->m_soft_reset_req,
        cell->m_device_reset_req,
        cell->m_online,
        cell->m_carrier_valid,
        cell->m_ota_running,
        cell->m_Primary_SIM,
        cell->m_sim_ready,
        cell->m_double_sim,
        cell->m_orla_project,
        cell->m_bracken_project,
        cell->m_auto_connect,
    };
    for (int32_t number : numbers) EXPECT_EQ(number, 0);
    EXPECT_EQ(cell->m_connect_time, 0u);
    EXPECT_EQ(cell->m_cell_fd, 7);
}

TEST(Cellular, ConstructorDoesNoInputOrOutput) {
    test_support::World world;
    test_support::ScriptedModem modem(world);
    PlainCell cell(modem.fd());
    EXPECT_TRUE(modem.Sent().empty());
    EXPECT_TRUE(world.log.empty());
    EXPECT_TRUE(world.shell.empty());
}

TEST(Cellular, UpgradeWithoutOverrideIsNotSupportedAndTouchesNothing) {
    test_support::World world;
    test_support::ScriptedModem modem(world);
    PlainCell cell(modem.fd());
    cell.m_ota_running = 1;
    EXPECT_EQ(cell.ModuleOtaTask(), 2);
    EXPECT_EQ(cell.m_ota_running, 1);
    EXPECT_TRUE(modem.Sent().empty());
    EXPECT_TRUE(world.log.empty());
    EXPECT_TRUE(world.shell.empty());
}

TEST(Cellular, DefaultsOfTheOperationsThatDoLittle) {
    test_support::World world;
    test_support::ScriptedModem modem(world);
    PlainCell cell(modem.fd());
    EXPECT_EQ(cell.CheckServiceStatus(), 1);
    cell.CheckTempStatus();
    cell.ConfigThermalLimit();
    cell.CheckSignalStatus();
    cell.CheckNeighbourSignal();
    cell.ReservedOp1();
    EXPECT_EQ(cell.ReservedOp2(), 1);
    EXPECT_EQ(cell.ReservedOp3(), 0);
    EXPECT_EQ(cell.ReservedOp4(), 0);
    cell.ReservedOp5();
    EXPECT_TRUE(modem.Sent().empty());
    EXPECT_TRUE(world.log.empty());
    EXPECT_TRUE(world.shell.empty());
}

TEST(Cellular, IsOnlineTellsTheFlag) {
    PlainCell cell(kNoPort);
    cell.m_online = 1;
    EXPECT_EQ(cell.IsOnline(), 1);
}

TEST(Cellular, SetImsiStoresAtMost63Characters) {
    PlainCell cell(kNoPort);
    EXPECT_EQ(cell.SetIMSI("460001234567890"), 1);
    EXPECT_STREQ(cell.GetIMSI(), "460001234567890");
    EXPECT_EQ(cell.SetIMSI(std::string(100, '4').c_str()), 1);
    EXPECT_EQ(std::string(cell.GetIMSI()), std::string(63, '4'));
}

TEST(Cellular, SetImsiRefusesNull) {
    PlainCell cell(kNoPort);
    EXPECT_EQ(cell.SetIMSI("460001234567890"), 1);
    EXPECT_EQ(cell.SetIMSI(nullptr), 0);
    EXPECT_STREQ(cell.GetIMSI(), "460001234567890");
}

TEST(Cellular, ImsiAndIccidAreTheMembers) {
    PlainCell cell(kNoPort);
    EXPECT_EQ(cell.GetIMSI(), cell.m_card_imsi);
    EXPECT_EQ(cell.GetICCID(), cell.m_card_iccid);
}

/// Place of a virtual operation in its table, by a pointer to it: offset in bytes, in the lowest bit a mark
/// on some processors.
template <typename Operation>
size_t SlotOf(Operation operation) {
    ptrdiff_t words[2];
    static_assert(sizeof operation == sizeof words);
    memcpy(words, &operation, sizeof words);
    return static_cast<size_t>(words[0]) / sizeof(void*);
}

TEST(Cellular, VirtualOperationsKeepTheirOrder) {
    const std::vector<size_t> slots = {
        SlotOf(&CellBase::GetInterfaceName),
        SlotOf(&CellBase::GetIMSI),
        SlotOf(&CellBase::GetICCID),
        SlotOf(&CellBase::GetLTEcfg),
        SlotOf(&CellBase::SetIMSI),
        SlotOf(&CellBase::Initialize),
        SlotOf(&CellBase::CheckCardIMEI),
        SlotOf(&CellBase::CheckCardIMSI),
        SlotOf(&CellBase::Connect),
        SlotOf(&CellBase::DisConnect),
        SlotOf(&CellBase::CheckConnection),
        SlotOf(&CellBase::CheckSimCard),
        SlotOf(&CellBase::CheckServiceStatus),
        SlotOf(&CellBase::IsOnline),
        SlotOf(&CellBase::Task),
        SlotOf(&CellBase::DebugTerminal),
        SlotOf(&CellBase::RunDhcpClient),
        SlotOf(&CellBase::CheckTempStatus),
        SlotOf(&CellBase::ConfigThermalLimit),
        SlotOf(&CellBase::CheckSignalStatus),
        SlotOf(&CellBase::ReservedOp1),
        SlotOf(&CellBase::ReservedOp2),
        SlotOf(&CellBase::ReservedOp3),
        SlotOf(&CellBase::ReservedOp4),
        SlotOf(&CellBase::ReservedOp5),
        SlotOf(&CellBase::ModuleOtaTask),
        SlotOf(&CellBase::CheckNeighbourSignal),
        SlotOf(&CellBase::ReadCSQ),
        SlotOf(&CellBase::DoConnect),
        SlotOf(&CellBase::ParseAtResult),
        SlotOf(&CellBase::ParseAtLine),
        SlotOf(&CellBase::DealHint),
    };
    constexpr size_t kDestructors = 2;  // in front of all: one that destroys, one that also frees
    for (size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], kDestructors + i);
}

TEST(Cellular, ReservedOperationsStandBetweenSignalStatusAndUpgrade) {
    EXPECT_EQ(SlotOf(&CellBase::ReservedOp1), SlotOf(&CellBase::CheckSignalStatus) + 1);
    EXPECT_EQ(SlotOf(&CellBase::ReservedOp2), SlotOf(&CellBase::ReservedOp1) + 1);
    EXPECT_EQ(SlotOf(&CellBase::ReservedOp3), SlotOf(&CellBase::ReservedOp2) + 1);
    EXPECT_EQ(SlotOf(&CellBase::ReservedOp4), SlotOf(&CellBase::ReservedOp3) + 1);
    EXPECT_EQ(SlotOf(&CellBase::ReservedOp5), SlotOf(&CellBase::ReservedOp4) + 1);
    EXPECT_EQ(SlotOf(&CellBase::ModuleOtaTask), SlotOf(&CellBase::ReservedOp5) + 1);
}

TEST(Cellular, FormsOfARecordLieOverTheSameStorage) {
    EXPECT_EQ(sizeof(AtResult), sizeof(int32_t) + 128);
    EXPECT_EQ(offsetof(AtResult, common_str), 4u);
    EXPECT_EQ(offsetof(AtResult, val), 4u);
    EXPECT_EQ(offsetof(AtResult, val2), 8u);
    EXPECT_EQ(offsetof(AtResult, val3), 12u);
    EXPECT_EQ(offsetof(AtResult, val6), 24u);
    EXPECT_EQ(offsetof(AtResult, carrier), 12u);
    EXPECT_EQ(offsetof(AtResult, act), 76u);
    EXPECT_EQ(offsetof(AtResult, extra), 80u);
}

// Rows and codes that boards in the field have in their logs. What is given out later stands behind them, and
// is held by the page of dialects.

TEST(Cellular, RowsThatAreGivenOutKeepTheirNumbers) {
    const struct {
        int number;
        const char* prefix;
    } rows[] = {
        {0, "Unknow.."},      {1, "+CSQ:"},
        {2, "+PSRAT: "},      {3, "+SIMTEST:"},
        {4, "^ICCID: "},      {5, "+CREG:"},
        {6, "+CGREG:"},       {7, "+CEREG:"},
        {8, "+COPS:"},        {9, "+CLCC:"},
        {10, "+PKTSTATUS:"},  {11, "^DSCI:"},
        {12, "+NWTYPEIND:"},  {13, "+CGSN: "},
        {14, "ReSeRvEd:"},    {15, "ReSeRvEd:"},
        {16, "+DATASTATUS:"}, {17, "^DATACONNECT"},
        {18, "^DATADISCONN"}, {19, "ReSeRvEd"},
        {20, "ReSeRvEd:"},    {21, "+RRCSTATE:"},
        {22, "+SYSINFO:"},    {23, "ReSeRvEd"},
        {24, "ReSeRvEd:"},    {25, "^NDISSTATQRY:"},
        {26, "^HCSQ: "},      {27, "ReSeRvEd"},
        {28, "ReSeRvEd:"},    {29, "+ZGETICCID: "},
        {30, "+ZPAS: "},      {31, "+ZECMCALL: "},
        {32, "+ZCELLINFO: "}, {33, "ReSeRvEd"},
        {34, "ReSeRvEd:"},    {35, "+QNWINFO: "},
        {36, "$QCRMCALL: "},  {37, "+QNETDEVSTATUS:"},
        {38, "+QCCID: "},     {39, "+QNETDEVCTL:"},
        {40, "+QTEMP:"},      {41, "+QENG: "},
        {42, "ReSeRvEd"},     {43, "ReSeRvEd:"},
        {44, "$QCRMCALL: "},  {45, "+CPSI: "},
        {46, "+ICCID: "},     {47, "ReSeRvEd"},
        {48, "ReSeRvEd:"},    {49, "^SWWAN?"},
        {50, "+CCID: "},      {51, "^SCTM:"},
        {52, "^SMONI: "},     {53, "ReSeRvEd"},
        {54, "ReSeRvEd:"},    {55, "+CCID: "},
        {56, "+MGAUTH: "},    {57, "+GTRNDIS: "},
        {58, "ReSeRvEd"},     {59, "ReSeRvEd:"},
        {60, "+ICCID:"},      {61, "+CPSI:"},
        {62, "+NETOPEN:"},    {63, "+NETCLOSE:"},
        {64, "ReSeRvEd"},     {65, "ReSeRvEd:"},
        {66, "+CCID: "},      {67, "+GTRNDIS: "},
        {68, "+GTCCINFO:"},   {69, "+CESQ: "},
        {70, "ReSeRvEd"},
    };
    for (const auto& row : rows) {
        ASSERT_LT(row.number, kAtPrefixRows);
        EXPECT_STREQ(row.prefix, AtPrefixTable[row.number]) << "row " << row.number;
    }
}

TEST(Cellular, VendorCodesThatAreGivenOutStay) {
    const struct {
        int code;
        VendorType vendor;
    } vendors[] = {
        {0, kVendorUnknown},    {1, kVendorLongSung},   {2, kVendorChuangYi},    {3, kVendorNodeCom},
        {4, kVendorHuaWei},     {5, kVendorZte},        {6, kVendorQuectelQcom}, {7, kVendorQuectelUnisoc},
        {8, kVendorQuectelAsr}, {9, kVendorSimCom},     {10, kVendorCinterion},  {11, kVendorFibocom},
        {13, kVendorLynq},      {14, kVendorFibocomLe},
    };
    for (const auto& row : vendors) EXPECT_EQ(row.code, row.vendor);
}

TEST(Cellular, RegisteredAtHomeOrRoaming) {
    EXPECT_TRUE(IsRegistered(1));
    EXPECT_TRUE(IsRegistered(5));
    for (int32_t stat : {-1, 0, 2, 3, 4, 6, 7, 9, 21}) EXPECT_FALSE(IsRegistered(stat)) << stat;
}

}  // namespace
}  // namespace cc_cell
