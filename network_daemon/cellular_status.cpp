// What the daemon publishes about itself: text files under /run/network, rewritten from scratch in every pass
// of Task and after each change of the link. Nothing in the daemon reads them. A reader may meet an empty
// file for a moment; where the disk is full it stays so, or is cut, until a later pass finds room. Failures
// go to standard error, not to the log, which would fill with them. Main thread.
#include "network_daemon/cellular.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "support/MkUtils.h"
#include "support/build_info.h"
#include "support/file_writer.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr char kStatusPath[] = "/run/network/ravelin_status";
constexpr char kSignalPath[] = "/run/network/signal_status";
constexpr char k3630Path[] = "/run/network/3630_status";

constexpr char k3630Module[] = "ME3630";

constexpr char kAuthenticationLegend[] = "\t0 None 1 PAP 2 CHAP 3 PAP-CHAP\n";

// For whoever reads the file; nothing here sorts the signal by it. Readers compare whole lines: the tildes
// are the full-width form (U+FF5E), and the last unit is cut short.
constexpr char kSignalLegend[] =
    "\texcellent:>-85dBm\tgood:-85\xEF\xBD\x9E-95dBm\tMid_cell:-95\xEF\xBD\x9E-105dBm"
    "\tpoor:-105\xEF\xBD\x9E-115dBm\tvery_poor:<-115dB\n";
static_assert(sizeof kSignalLegend == 98 + 1, "the legend is 98 bytes long");

constexpr int kSecondsPerMinute = 60;
constexpr int kMinutesPerHour = 60;
constexpr int kSecondsPerHour = kSecondsPerMinute * kMinutesPerHour;

const char* BoolWord(uint8_t flag) {
    return flag != 0 ? "TRUE" : "FALSE";
}

void WriteCsq(FileWriter& file, const CellBase& cell) {
    if (cell.m_nCSQ != 0) {
        file.Print("CSQ=%d\n", cell.m_nCSQ);
    } else {
        file.Print("CSQ=\n");
    }
}

void WriteUptime(FileWriter& file, CellBase& cell) {
    const int32_t hours = cell.GetOnlineSeconds() / kSecondsPerHour;
    const int32_t minutes = cell.GetOnlineSeconds() / kSecondsPerMinute % kMinutesPerHour;
    const int32_t seconds = cell.GetOnlineSeconds() % kSecondsPerMinute;
    file.Print("Uptime=%02d:%02d:%02d\n", hours, minutes, seconds);
}

void WriteBuild(FileWriter& file) {
    file.Print("GIT_VERSION=%s\n", kBuildCommitShort);
}

void WriteNow(FileWriter& file) {
    const time_t now = time(nullptr);
    const tm* local = localtime(&now);
    const char* text = local != nullptr ? asctime(local) : nullptr;
    if (text == nullptr) text = "";  // a clock set to a year that has no text form
    file.Print("Now='%.*s'\n", static_cast<int>(strcspn(text, "\n")), text);
}

/// False when the file can't be opened: then no other file is written either.
bool WriteMainFile(CellBase& cell) {
    FileWriter file(kStatusPath);
    if (!file.is_open()) {
        fprintf(stderr, "Open file %s error!\n", kStatusPath);
        return false;
    }
    file.Print("IMSI=%s\n", cell.GetIMSI());
    file.Print("ICCID=%s\n", cell.GetICCID());
    file.Print("IMEI=%s\n", cell.m_csIMEI);
    file.Print("AutoConnect=%s\n", BoolWord(cell.m_auto_connect));
    file.Print("Online=%s\n", BoolWord(cell.IsOnline()));
    file.Print("Carrier=%s\n", cell.m_carrier);
    file.Print("APN='%s'\n", cell.m_apn);
    WriteCsq(file, cell);
    file.Print("CGREG=%d\n", cell.m_CGREG);
    file.Print("CEREG=%d\n", cell.m_CEREG);
    WriteUptime(file, cell);
    file.Print("RetryTimes=%d\n", cell.m_reconnect_times);
    file.Print("Network=%s\n", cell.m_NetworkType);
    file.Print("FWVersion=%s\n", str_trim(cell.m_fw_version));
    if (cell.m_double_sim != 0) file.Print("doubleSIM_enable=%s\n", BoolWord(cell.m_double_sim));
    if (cell.m_vendor_type == kVendorQuectelQcom || cell.m_vendor_type == kVendorCinterion) {
        file.Print("Tempture=%d\n", cell.m_Tempture);
    }
    WriteBuild(file);
    WriteNow(file);
    return true;
}

void WriteSignalFile(CellBase& cell) {
    FileWriter file(kSignalPath);
    if (!file.is_open()) {
        fprintf(stderr, "Open file signal_status error!\n");
        return;
    }
    file.Print("APN=%s\n", cell.m_apn);
    file.Print("Username=%s\n", cell.m_username);
    file.Print("Password=%s\n", cell.m_password);
    file.Print("Authentication=%d\n", cell.m_auth_type);
    file.Print("%s", kAuthenticationLegend);
    file.Print("SIMOperator=%s\n", cell.m_carrier);
    file.Print("Network=%s\n", cell.m_NetworkType);
    file.Print("ModemNetwork_Generation=%d\n", cell.GetNetworkGeneration());
    file.Print("Online=%s\n", BoolWord(cell.IsOnline()));
    file.Print("ConnectionStatus=%d\n", cell.IsOnline() != 0);
    WriteCsq(file, cell);
    file.Print("SignalLevel=%s\n", cell.m_RSRP_LEVEL);
    file.Print("%s", kSignalLegend);
    WriteBuild(file);
    WriteUptime(file, cell);
    WriteNow(file);
}

/// The modem reports its RSSI only now and then; until it does, the value derived from the CSQ stands.
void DeriveRssi(CellBase& cell) {
    if (cell.m_nCSQ == 0 || cell.m_RSSI[0] != '\0') return;
    const long long rssi_dbm = cell.m_nCSQ * 2LL - 113;  // a garbled CSQ may be any number
    snprintf(cell.m_RSSI, sizeof cell.m_RSSI, "%llddBm", rssi_dbm);
}

void Write3630File(CellBase& cell) {
    FileWriter file(k3630Path);
    if (!file.is_open()) {
        fprintf(stderr, "Open file 3630_status error!\n");
        return;
    }
    WriteCsq(file, cell);
    DeriveRssi(cell);
    file.Print("RSSI=%s\n", cell.m_RSSI);
    file.Print("RSRP=%s\n", cell.m_RSRP);
    file.Print("RSRQ=%s\n", cell.m_RSRQ);
    file.Print("SINR=%s\n", cell.m_SINR);
    WriteNow(file);
}

}  // namespace

void CellBase::WriteStatusFiles() {
    if (!WriteMainFile(*this)) return;
    if (m_vendor_type == kVendorQuectelQcom || m_vendor_type == kVendorQuectelUnisoc) {
        WriteSignalFile(*this);
    } else if (m_vendor_type == kVendorZte && m_ModuleName == k3630Module) {
        Write3630File(*this);
    }
}

int32_t CellBase::GetOnlineSeconds() {
    return IsOnline() != 0 ? static_cast<int32_t>(GetSysElapsed(m_connect_time)) : 0;
}

void CellBase::CollectNeighbourSignal() {
    TRACE(kLogDebug, "m_SignalCollect.neighbourSignalEnFlag: %d\n", m_SignalCollect.neighbourSignalEnFlag);
    if (m_SignalCollect.neighbourSignalEnFlag != 0) CheckNeighbourSignal();
}

}  // namespace cc_cell
