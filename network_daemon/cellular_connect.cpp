// Attaching: set-up of the modem, one step of the connect sequence, the dial, the soft reset. Connect decides
// between waiting, soft reset, switch of the SIM, dialling and asking for a hardware reset of the modem; its
// counters live in the object, so that they survive a return of Task. Called by main at start-up and after a
// hardware reset, by Task otherwise; main thread.
#include "network_daemon/cellular.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "network_daemon/cellular_carrier.h"
#include "network_daemon/cellular_verdict.h"
#include "support/MkUtils.h"
#include "support/shell.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr unsigned kRadioOffPause_seconds = 5;
constexpr unsigned kRadioOnPause_seconds = 1;
constexpr unsigned kServicePause_seconds = 5;
constexpr unsigned kNoSimPause_seconds = 10;
constexpr unsigned kDialPause_seconds = 5;
constexpr useconds_t kLinkUpPause_us = 70000;

constexpr int kServiceChecks = 34;  // without service; the last one soft-resets

// Of nine soft resets for lack of service, the third gives way to a hardware reset when the signal is good.
constexpr int kSoftResetCycle = 9;
constexpr int kSoftResetsBeforeDevice = 2;
constexpr int kWeakestGoodCsq = 10;
constexpr int kStatDenied = 3;  // registration denied: no reset of ours makes the network accept us
constexpr int kAttemptsPerDeviceReset = 5;
constexpr int kLinkChecks = 30;  // each takes at least the second of its AT exchange

/// APN of a carrier by its code: empty while the carrier is unknown, null for a code that has no meaning.
const char* ApnOfCarrier(int32_t carrier_code) {
    static constexpr const char* kApns[] = {"", "CMNET", "3GNET", "CTNET"};
    static constexpr int32_t kLastCode = 3;
    if (carrier_code > kLastCode) return nullptr;
    return kApns[carrier_code > 0 ? carrier_code : 0];
}

bool IsRegistrationDenied(const CellBase& cell) {
    return cell.m_CEREG == kStatDenied && cell.m_CGREG == kStatDenied;
}

/// No service with two SIMs: the readiness of the selected one doesn't matter.
Verdict AwaitServiceOfDualSim(const TracePlace& place, CellBase& cell) {
    TRACE_AT(place, kLogProgress, "Check service status.  %d/3 times.\n", cell.m_check_service_times);
    if (VerdictOf(cell.CheckNetworkDoubleSim(cell.m_check_service_times)) == Verdict::kNeedsDeviceReset) {
        cell.m_check_service_times = 0;
        TRACE_AT(place, kLogProgress, "Check service status, 9 times, current m_Primary_SIM[%d].\n",
                 cell.m_Primary_SIM);
        return Verdict::kNeedsDeviceReset;
    }
    sleep(kServicePause_seconds);
    return Verdict::kGoOn;
}

Verdict AwaitSim(const TracePlace& place, CellBase& cell) {
    TRACE_AT(place, kLogProgress, "No SIM card detected!!!\n");
    cell.m_check_service_times = 0;
    sleep(kNoSimPause_seconds);
    cell.GetLTEcfg();
    if (cell.m_vendor_type == kVendorCinterion) return Verdict::kNeedsDeviceReset;
    cell.SoftReset();
    return Verdict::kGoOn;
}

/// No service though the SIM is ready: waits, after 34 checks soft-resets, and in the third such round asks
/// for a hardware reset, as a modem that hears the network well and isn't refused should have registered.
Verdict AwaitService(const TracePlace& place, CellBase& cell) {
    TRACE_AT(place, kLogDebug, "the SIM card detected!!!\n");
    TRACE_AT(place, kLogProgress, "Check service softrest_times.  %d/9 times.\n", cell.m_softrest_times);
    if (cell.m_softrest_times % kSoftResetCycle == kSoftResetsBeforeDevice &&
        cell.m_nCSQ >= kWeakestGoodCsq && !IsRegistrationDenied(cell)) {
        cell.m_check_service_times = 0;
        ++cell.m_softrest_times;
        return Verdict::kNeedsDeviceReset;
    }
    TRACE_AT(place, kLogProgress, "Check service status.  %d/34 times.\n", cell.m_check_service_times);
    if (cell.m_check_service_times < kServiceChecks) {
        sleep(kServicePause_seconds);
        return Verdict::kGoOn;
    }
    TRACE_AT(place, kLogProgress, "no service status,Soft reset once!\n");
    if (cell.m_vendor_type == kVendorCinterion) {
        cell.m_check_service_times = 0;
        return Verdict::kNeedsDeviceReset;
    }
    cell.GetLTEcfg();
    cell.SoftReset();
    ++cell.m_softrest_times;
    cell.m_check_service_times = 0;
    sleep(kServicePause_seconds);
    return Verdict::kGoOn;
}

bool AwaitLink(CellBase& cell) {
    for (int i = 0; i < kLinkChecks; ++i) {
        if (cell.CheckConnection() != 0) return true;
    }
    return false;
}

}  // namespace

int32_t CellBase::Connect() {
    if (CheckServiceStatus() == 0) {
        ++m_check_service_times;
        if (m_double_sim != 0) return ResultOf(AwaitServiceOfDualSim(TRACE_HERE, *this));
        if (m_sim_ready == 0) return ResultOf(AwaitSim(TRACE_HERE, *this));
        return ResultOf(AwaitService(TRACE_HERE, *this));
    }
    // Attempts add up over the life of the process: a success in between clears nothing.
    ++m_reconnect_times;
    m_check_service_times = 0;
    TRACE(kLogProgress, "Do connect.  %d times.\n", m_reconnect_times);
    if (m_reconnect_times % kAttemptsPerDeviceReset == 0) {
        TRACE(kLogProgress, "m_reconnect_times=  %d times,Reset device!\n", m_reconnect_times);
        return ResultOf(Verdict::kNeedsDeviceReset);
    }
    if (DoConnect() == 0) {
        TRACE(kLogProgress, "Do connect fail, need connect again !\n");
        return ResultOf(Verdict::kGoOn);
    }
    sleep(kDialPause_seconds);
    RunDhcpClient();
    if (AwaitLink(*this)) {
        usleep(kLinkUpPause_us);
        m_online = 1;
        m_connect_time = GetSysUptime();
    }
    return ResultOf(Verdict::kGoOn);
}

int32_t CellBase::DoConnect() {
    AtRequest("AT+CFUN=1");
    sleep(kRadioOnPause_seconds);
    if (m_carrier_code == 0) {
        const AtResult answer = ParseAtResult(AtRequest("AT+COPS?"));
        if (answer.type == kHintCops) {
            StoreCarrier(*this, answer.carrier);
            TRACE(kLogDebug, "Carrier:%s,%d\n", m_carrier, m_carrier_code);
        }
    }

    const char* apn = m_apn[0] != '\0' ? m_apn : ApnOfCarrier(m_carrier_code);
    if (apn == nullptr) return 1;
    char command[kCommandSize];
    snprintf(command, sizeof command, "AT+CGDCONT=1,\"IPV4V6\",\"%s\"", apn);
    if (apn[0] == '\0') TRACE(kLogProgress, "DoConnect unknown APN info:%s", command);
    TRACE(kLogDetail, "cgdcont = %s !\n", command);
    AtRequest(command);
    return 1;
}

int32_t CellBase::DisConnect() {
    AtRequest("AT+CFUN=0");
    return 1;
}

int32_t CellBase::Initialize() {
    AtRequest("ATZ");
    AtRequest("AT&F");
    AtRequest("ATE0");
    AtRequest("AT+CFUN=0");
    sleep(kRadioOffPause_seconds);
    AtRequest("AT+CFUN=1");
    AtRequest("AT+MODODR=2");
    const char* meid = ParseAtLine(AtRequest("AT+MEID"));
    if (meid != nullptr) CopyText(m_meid, meid);
    WriteStatusFiles();
    return 1;
}

void CellBase::SoftReset() {
    TRACE(kLogProgress, "Soft reset!\n");
    TRACE(kLogProgress, "kill udhcpc lte!!!\n");
    RunShell(kCommandDhcpKill);
    Initialize();
    CheckSimCard();
    m_online = 0;
    WriteStatusFiles();
}

int32_t CellBase::RunDhcpClient() {
    TRACE(kLogProgress, "Run DhcpClient!!!\n");
    return system(kCommandDhcpStart);
}

}  // namespace cc_cell
