// What the daemon publishes about itself: text files under /run/network, rewritten from scratch in every pass
// of Task and after each change of the link. Nothing in the daemon reads them. A reader may meet a
// half-written file; the next pass makes it whole. Failures go to standard error, not to the log, which would
// fill with them. Main thread.
#include "network_daemon/cellular.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "support/MkUtils.h"
#include "support/build_info.h"
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

void WriteCsq(FILE* file, const CellBase& cell) {
    if (cell.m_nCSQ != 0) {
        fprintf(file, "CSQ=%d\n", cell.m_nCSQ);
    } else {
        fprintf(file, "CSQ=\n");
    }
}

void WriteUptime(FILE* file, CellBase& cell) {
    const int32_t hours = cell.GetOnlineSeconds() / kSecondsPerHour;
    const int32_t minutes = cell.GetOnlineSeconds() / kSecondsPerMinute % kMinutesPerHour;
    const int32_t seconds = cell.GetOnlineSeconds() % kSecondsPerMinute;
    fprintf(file, "Uptime=%02d:%02d:%02d\n", hours, minutes, seconds);
}

void WriteBuild(FILE* file) {
    fprintf(file, "GIT_VERSION=%s\n", kBuildCommitShort);
}

void WriteNow(FILE* file) {
    const time_t now = time(nullptr);
    const tm* local = localtime(&now);
    const char* text = local != nullptr ? asctime(local) : nullptr;
    if (text == nullptr) text = "";  // a clock set to a year that has no text form
    fprintf(file, "Now='%.*s'\n", static_cast<int>(strcspn(text, "\n")), text);
}

/// False when the file can't be opened: then no other file is written either.
bool WriteMainFile(CellBase& cell) {
    FILE* file = fopen(kStatusPath, "w");
    if (file == nullptr) {
        fprintf(stderr, "Open file %s error!\n", kStatusPath);
        return false;
    }
    fprintf(file, "IMSI=%s\n", cell.GetIMSI());
    fprintf(file, "ICCID=%s\n", cell.GetICCID());
    fprintf(file, "IMEI=%s\n", cell.m_csIMEI);
    fprintf(file, "AutoConnect=%s\n", BoolWord(cell.m_auto_connect));
    fprintf(file, "Online=%s\n", BoolWord(cell.IsOnline()));
    fprintf(file, "Carrier=%s\n", cell.m_carrier);
    fprintf(file, "APN='%s'\n", cell.m_apn);
    WriteCsq(file, cell);
    fprintf(file, "CGREG=%d\n", cell.m_CGREG);
    fprintf(file, "CEREG=%d\n", cell.m_CEREG);
    WriteUptime(file, cell);
    fprintf(file, "RetryTimes=%d\n", cell.m_reconnect_times);
    fprintf(file, "Network=%s\n", cell.m_NetworkType);
    fprintf(file, "FWVersion=%s\n", str_trim(cell.m_fw_version));
    if (cell.m_double_sim != 0) fprintf(file, "doubleSIM_enable=%s\n", BoolWord(cell.m_double_sim));
    if (cell.m_vendor_type == kVendorQuectelQcom || cell.m_vendor_type == kVendorCinterion) {
        fprintf(file, "Tempture=%d\n", cell.m_Tempture);
    }
    WriteBuild(file);
    WriteNow(file);
    fclose(file);
    return true;
}

void WriteSignalFile(CellBase& cell) {
    FILE* file = fopen(kSignalPath, "w");
    if (file == nullptr) {
        fprintf(stderr, "Open file signal_status error!\n");
        return;
    }
    fprintf(file, "APN=%s\n", cell.m_apn);
    fprintf(file, "Username=%s\n", cell.m_username);
    fprintf(file, "Password=%s\n", cell.m_password);
    fprintf(file, "Authentication=%d\n", cell.m_auth_type);
    fputs(kAuthenticationLegend, file);
    fprintf(file, "SIMOperator=%s\n", cell.m_carrier);
    fprintf(file, "Network=%s\n", cell.m_NetworkType);
    fprintf(file, "ModemNetwork_Generation=%d\n", cell.GetNetworkGeneration());
    fprintf(file, "Online=%s\n", BoolWord(cell.IsOnline()));
    fprintf(file, "ConnectionStatus=%d\n", cell.IsOnline() != 0);
    WriteCsq(file, cell);
    fprintf(file, "SignalLevel=%s\n", cell.m_RSRP_LEVEL);
    fputs(kSignalLegend, file);
    WriteBuild(file);
    WriteUptime(file, cell);
    WriteNow(file);
    fclose(file);
}

/// The modem reports its RSSI only now and then; until it does, the value derived from the CSQ stands.
void DeriveRssi(CellBase& cell) {
    if (cell.m_nCSQ == 0 || cell.m_RSSI[0] != '\0') return;
    const long long rssi_dbm = cell.m_nCSQ * 2LL - 113;  // a garbled CSQ may be any number
    snprintf(cell.m_RSSI, sizeof cell.m_RSSI, "%llddBm", rssi_dbm);
}

void Write3630File(CellBase& cell) {
    FILE* file = fopen(k3630Path, "w");
    if (file == nullptr) {
        fprintf(stderr, "Open file 3630_status error!\n");
        return;
    }
    WriteCsq(file, cell);
    DeriveRssi(cell);
    fprintf(file, "RSSI=%s\n", cell.m_RSSI);
    fprintf(file, "RSRP=%s\n", cell.m_RSRP);
    fprintf(file, "RSRQ=%s\n", cell.m_RSRQ);
    fprintf(file, "SINR=%s\n", cell.m_SINR);
    WriteNow(file);
    fclose(file);
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
