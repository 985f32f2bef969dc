// The main loop of the engine: takes in unsolicited lines of the modem, probes the signal, brings the link up
// and watches it. Returns only to ask main for a hardware reset of the modem; main enters it again on the
// same object. Main thread. The steps are functions of this file that log in Task's place.
#include "network_daemon/cellular.h"

#include <unistd.h>

#include <cstring>

#include "network_daemon/cellular_port.h"
#include "network_daemon/cellular_verdict.h"
#include "support/MkUtils.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr int kHintWait_ms = 1000;  // this read is the base pace of a pass
constexpr uint32_t kProbePause_seconds = 10;
constexpr int kProbeTries = 3;
constexpr unsigned kProbeRetryPause_seconds = 5;
constexpr unsigned kDisabledPause_seconds = 20;
constexpr int kOfflineChecks = 10;      // failed checks that a link survives
constexpr int kOfflineSimChecks = 2;    // the first ones, in which a lost SIM may be the reason
constexpr uint32_t kStatusPasses = 20;  // between two looks at temperature and signal

bool IsDisabled(const CellBase& cell) {
    return strcmp(cell.m_enable, "false") == 0;
}

void TakeHint(const TracePlace& place, CellBase& cell) {
    AtBlock hint;
    if (!ReadBlock(cell.m_cell_fd, hint, kHintWait_ms)) return;
    TRACE_AT(place, kLogDebug, "Auto  hint:%s\n", hint);
    const AtResult result = cell.ParseAtResult(hint);
    if (result.type == kHintUnknown) {
        TRACE_AT(place, kLogDebug, "UNKOWN Hint:%s\n", hint);
    } else {
        cell.DealHint(result);
    }
}

/// A Cinterion modem that is in trouble takes its device path with it; its silence alone means nothing.
Verdict ProbeCinterion(const TracePlace& place, CellBase& cell) {
    TRACE_AT(place, kLogDebug, "GetVendorType:Cinterion PLS83-W\n");
    cell.ReadCSQ();
    if (access(cell.m_at_port, F_OK) == 0) return Verdict::kGoOn;
    TRACE_AT(place, kLogRecovery, "Cinterion PLS83-W %s not exist! Reset device...\n", cell.m_at_port);
    return Verdict::kNeedsDeviceReset;
}

Verdict ProbeSignal(const TracePlace& place, CellBase& cell) {
    if (cell.m_vendor_type == kVendorCinterion) return ProbeCinterion(place, cell);
    for (int i = 0; i < kProbeTries; ++i) {
        if (cell.ReadCSQ() != 0) return Verdict::kGoOn;
        sleep(kProbeRetryPause_seconds);
    }
    TRACE_AT(place, kLogRecovery, "No response! Reset device...\n");
    return Verdict::kNeedsDeviceReset;
}

void FillInIdentity(const TracePlace& place, CellBase& cell) {
    if (cell.m_csIMEI[0] == '\0' && cell.CheckCardIMEI() == 0) {
        TRACE_AT(place, kLogProgress, "Get Card IMEI fail, m_csIMEI = %s\n", cell.m_csIMEI);
    }
    if (cell.m_card_imsi[0] == '\0' && cell.CheckCardIMSI() == 0) {
        TRACE_AT(place, kLogProgress, "Get Card IMSI fail, m_card_imsi = %s\n", cell.m_card_imsi);
    }
}

Verdict CheckHealth(const TracePlace& place, CellBase& cell) {
    if (cell.m_orla_project != 0) cell.ORLAPROC();
    // With one SIM nothing pings: a link that carries nothing goes unnoticed unless the project above is on.
    if (cell.m_double_sim == 0 || VerdictOf(cell.CheckNetwork()) == Verdict::kGoOn) return Verdict::kGoOn;
    TRACE_AT(place, kLogRecovery, "Connect error! Reset device...\n");
    return Verdict::kNeedsDeviceReset;
}

Verdict TendLink(const TracePlace& place, CellBase& cell) {
    cell.GetLTEcfg();
    if (IsDisabled(cell)) {
        TRACE_AT(place, kLogRecovery, "lte ENABLE=false, disconnect network !!!\n");
        cell.DisConnect();
        cell.m_online = 0;
    } else if (CheckHealth(place, cell) == Verdict::kNeedsDeviceReset) {
        return Verdict::kNeedsDeviceReset;
    }
    FillInIdentity(place, cell);
    return Verdict::kGoOn;
}

/// The eleventh failed check ends the online state, and the line says 11/10.
void CountLostLink(const TracePlace& place, CellBase& cell, int32_t& offline_count) {
    if (offline_count < kOfflineSimChecks && cell.CheckIfSimCardReady() < 0) cell.m_online = 0;
    ++offline_count;
    TRACE_AT(place, kLogRecovery, "Check connection. offline %d/10 times\n", offline_count);
    if (offline_count > kOfflineChecks) {
        offline_count = 0;
        cell.m_online = 0;
    }
}

Verdict ManageLink(const TracePlace& place, CellBase& cell, int32_t& offline_count) {
    if (IsDisabled(cell)) {
        TRACE_AT(place, kLogRecovery, "LTE ENABLE=false !!!\n");
        sleep(kDisabledPause_seconds);
        cell.GetLTEcfg();  // the only way to notice that the link was enabled again
    } else if (cell.IsOnline() == 0) {
        if (VerdictOf(cell.Connect()) == Verdict::kNeedsDeviceReset) {
            TRACE_AT(place, kLogRecovery, "Connect error! Reset device...\n");
            return Verdict::kNeedsDeviceReset;
        }
    } else if (cell.CheckConnection() != 0) {
        return TendLink(place, cell);
    } else {
        CountLostLink(place, cell, offline_count);
    }
    return Verdict::kGoOn;
}

}  // namespace

int32_t CellBase::Task() {
    // Lives as long as the process: failed checks add up over all runs of Task, and a good one clears none.
    static int32_t offline_count = 0;
    uint32_t passes = 0;
    uint32_t last_probe_seconds = 0;

    while (m_device_reset_req == 0) {
        if (m_soft_reset_req != 0) {
            m_soft_reset_req = 0;
            TRACE(kLogProgress, "[FIFO] SoftReset run\n");
            SoftReset();
        }
        TakeHint(TRACE_HERE, *this);
        if (GetSysElapsed(last_probe_seconds) > kProbePause_seconds) {
            if (ProbeSignal(TRACE_HERE, *this) == Verdict::kNeedsDeviceReset) {
                WriteStatusFiles();
                return kTaskWantsDeviceReset;
            }
            last_probe_seconds = GetSysUptime();
        }
        if (ManageLink(TRACE_HERE, *this, offline_count) == Verdict::kNeedsDeviceReset) {
            WriteStatusFiles();
            return kTaskWantsDeviceReset;
        }
        if (passes % kStatusPasses == kStatusPasses - 1 && IsOnline() != 0) {
            CheckTempStatus();
            CheckSignalStatus();
        }
        ++passes;
        WriteStatusFiles();
    }
    // A request through the pipe: main publishes before it resets, so nothing is written here.
    m_device_reset_req = 0;
    TRACE(kLogProgress, "[FIFO] DeviceReset run\n");
    return kTaskWantsDeviceReset;
}

}  // namespace cc_cell
