// Health of a link that the modem calls up, and the upper rungs of the recovery ladder: probes by ping, the
// count of failed checks, the switch of the SIM, and the soft reset for an outage of the OCPP service. Task
// calls the checks in its online passes, Connect the rungs for two SIMs; main thread. A probe holds up the
// whole loop until its pipeline ends.
#include "network_daemon/cellular.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "network_daemon/board.h"
#include "network_daemon/cellular_verdict.h"
#include "support/shell.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

struct Probe {
    const char* command;   // prints the number of replies that came in time
    const char* name;      // in the log
    const char* line_end;  // of its log line
};

// A public host with a name: the only probe that needs the name service, too.
#define WEB_HOST "www.bing.com"

// Three requests within 2 seconds; replies under a second count.
constexpr Probe kNetworkProbes[] = {
    {"ping  8.8.8.8  -c 3 -w 2 | grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l", "ping1",
     " \n"},
    {"ping  8.8.4.4  -c 3 -w 2| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l", "ping2", "\n"},
    {"ping  " WEB_HOST " -c 3 -w 2| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l", "ping3",
     "\n"},
    {"ping  172.21.2.226 -c 3 -w 2| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<1000'| wc -l", "ping4",
     "\n"},
};

// Three requests without a deadline; replies under half a second count. The first two are the project's own.
constexpr Probe kProjectProbes[] = {
    {"ping  10.151.133.48 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l", "ping1", "\n"},
    {"ping  10.151.133.173 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l", "ping2", "\n"},
    {"ping  8.8.8.8 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l", "ping3", "\n"},
    {"ping  8.8.4.4 -c 3| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<500'| wc -l", "ping4", "\n"},
};

constexpr int kPingLineSize = 64;
constexpr int kGenerationLte = 3;

constexpr int kCountCycle = 1000;           // the count of failed checks is looked at modulo this
constexpr int kIgnoredChecks = 3;           // with two SIMs: failed checks below it lead to nothing
constexpr int kSingleSimReset = 6;          // with one SIM: the failed check that asks for a hardware reset
constexpr int32_t kPoorestRsrp_dbm = -104;  // with one SIM: below, a soft reset doesn't help

constexpr int kSwitchCycle = 4;  // with two SIMs: of four failed checks the third switches
constexpr int kSwitchCheck = 3;
constexpr int kResetCycle = 10;  // and of ten the ninth asks for a hardware reset
constexpr int kResetCheck = 9;
constexpr unsigned kSwitchPause_seconds = 5;

// Outages of the OCPP service that lead to a soft reset; after the second one, every further hour does.
constexpr int32_t kFirstOutage_seconds = 60;
constexpr int32_t kSecondOutage_seconds = 30 * 60;
constexpr int32_t kOutageStep_seconds = 60 * 60;

/// How each number of replies shows in the log. Digits are looked for in this order; the first found decides.
struct ReplyRow {
    const char* digit;
    const char* line;
};
constexpr ReplyRow kReplies[] = {
    {"0", "pingCheck, Ping packet loss 100%!\n"},
    {"1", "pingCheck, Ping packet loss 67%!\n"},
    {"2", "pingCheck, Ping packet loss 33%!\n"},
    {"3", "pingCheck, Ping receive all reply packet!\n"},
};
constexpr int kReplyRows = sizeof kReplies / sizeof kReplies[0];

/// The number of replies that a line of a probe's output gives, or -1 for a line that gives none.
int RepliesOf(const char* line) {
    for (int replies = 0; replies < kReplyRows; ++replies) {
        if (strstr(line, kReplies[replies].digit) != nullptr) return replies;
    }
    return -1;
}

/// Runs the probes until one gives a result other than 0, and returns that result, or 0 when none does. The
/// word in the log says only whether exactly one reply came: two and three are as good, yet the log says
/// "FALSE". Readers of the log rely on it.
template <size_t N>
int RunProbes(const TracePlace& place, const Probe (&probes)[N]) {
    int replies = 0;
    for (const Probe& probe : probes) {
        replies = pingCheck(probe.command);
        TRACE_AT(place, kLogDebug, "##########################%s: %s%s", probe.name,
                 replies == 1 ? "TRUE" : "FALSE", probe.line_end);
        if (replies != 0) break;
    }
    return replies;
}

}  // namespace

int pingCheck(const char* command) {
    if (command == nullptr) {
        TRACE(kLogError, "input is null\n");
        return -1;
    }
    FILE* stream = popen(command, "r");
    if (stream == nullptr) {
        TRACE(kLogError, "popen fail, stream is null\n");
        return -1;
    }
    char line[kPingLineSize] = "";
    int replies = -1;
    while (replies < 0 && fgets(line, sizeof line, stream) != nullptr) replies = RepliesOf(line);
    if (replies >= 0) TRACE(kLogDebug, "%s", kReplies[replies].line);
    TRACE(kLogDebug, "pingCheck, file_buf is: %s\n", line);
    pclose(stream);
    return replies >= 0 ? replies : 0;
}

int switchPingProc() {
    // A probe that can't even be run counts as an answer: it says nothing about the network.
    return RunProbes(TRACE_HERE, kNetworkProbes) != 0;
}

int32_t CellBase::CheckNetwork() {
    const int generation = GetNetworkGeneration();  // 0 without a SIM
    if (generation == kGenerationLte && switchPingProc() != 0) {
        m_CSQ_weak_check_times = 0;
        return ResultOf(Verdict::kGoOn);
    }
    const int32_t rsrp_dbm = ParseNumber(m_RSRP);
    TRACE(kLogDebug, "The wireless network signal is weak,m_nCSQ=:%d,NetType=%d\n", m_nCSQ, generation);
    ++m_CSQ_weak_check_times;

    if (m_double_sim != 0 && m_CSQ_weak_check_times % kCountCycle < kIgnoredChecks) {
        TRACE(kLogRecovery, "Ping Check failed for first 2 times, ignore, check %d times!\n",
              m_CSQ_weak_check_times);
        return ResultOf(Verdict::kGoOn);
    }
    const bool needs_device_reset =
        m_double_sim != 0
            ? VerdictOf(CheckNetworkDoubleSim(m_CSQ_weak_check_times)) == Verdict::kNeedsDeviceReset
            : m_CSQ_weak_check_times % kCountCycle == kSingleSimReset;
    if (needs_device_reset) {
        TRACE(kLogProgress, "CheckNetwork, %d times, current m_Primary_SIM[%d].\n", m_CSQ_weak_check_times,
              m_Primary_SIM);
        m_CSQ_weak_check_times = 0;
        return ResultOf(Verdict::kNeedsDeviceReset);
    }
    if (m_double_sim == 0 && m_RSRP[0] != '\0' && rsrp_dbm >= kPoorestRsrp_dbm) {
        TRACE(kLogRecovery,
              "Ping Check failed and firstly Soft reset when rsrp[%d] is not poor,check %d times!\n",
              rsrp_dbm, m_CSQ_weak_check_times);
        SoftReset();
    }
    TRACE(kLogDebug, "m_CSQ_weak_check_times= %d\n", m_CSQ_weak_check_times);
    return ResultOf(Verdict::kGoOn);
}

int32_t CellBase::CheckNetworkDoubleSim(int32_t check_count) {
    if (check_count % kResetCycle == kResetCheck) {
        TRACE(kLogProgress, "CheckNetworkDoubleSim: check network %d times,hard reset.\n", check_count);
        return ResultOf(Verdict::kNeedsDeviceReset);
    }
    if (check_count % kSwitchCycle == kSwitchCheck) {
        TRACE(kLogProgress, "CEREG fail or Ping fail, need Switch SIM Card and Soft reset!\n");
        SwitchSIMCard();
        SoftReset();
    }
    return ResultOf(Verdict::kGoOn);
}

void CellBase::SwitchSIMCard() {
    // The pin is exported and made an output by the system's start-up scripts.
    const bool is_a35 = board_cpu_info() == kBoardA35;
    if (m_Primary_SIM != 0) {
        TRACE(kLogRecovery, "The wireless network signal is weak, Switch to a secondary SIM card!\n");
        RunShell(is_a35 ? "echo 0 > /sys/class/gpio/gpio182/value"
                        : "echo 0 > /sys/class/gpio/gpio130/value");
    } else {
        TRACE(kLogRecovery, "The wireless network signal is weak, Switch to a Primary SIM card!\n");
        RunShell(is_a35 ? "echo 1 > /sys/class/gpio/gpio182/value"
                        : "echo 1 > /sys/class/gpio/gpio130/value");
    }
    sleep(kSwitchPause_seconds);
    m_Primary_SIM = m_Primary_SIM == 0;
}

void CellBase::ORLAPROC() {
    if (RunProbes(TRACE_HERE, kProjectProbes) == 0 && isSoftReset() != 0) {
        TRACE(kLogRecovery,
              "########################## The response time of ping is more than 500ms and ocpp "
              "offline...!!!\n");
        SoftReset();
    }
    SetLastOFFLINE(m_offline);  // the next check looks for a crossing from here
}

int CellBase::isSoftReset() {
    TRACE(kLogDebug, "isSoftReset? LastOFFLINE:%d,OFFLINE:%d\n", m_last_offline, m_offline);
    if (m_last_offline <= kFirstOutage_seconds) {
        if (m_offline <= kFirstOutage_seconds) return 0;
        TRACE(kLogDebug, "1*60 need SoftReset once!\n");
        return 1;
    }
    if (m_last_offline <= kSecondOutage_seconds) {
        if (m_offline <= kSecondOutage_seconds) return 0;
        TRACE(kLogDebug, "30*60 need SoftReset once!\n");
        return 1;
    }
    const int32_t hours = m_offline / kOutageStep_seconds;
    const int32_t last_hours = m_last_offline / kOutageStep_seconds;
    if (hours <= last_hours) return 0;
    TRACE(kLogDebug, "60*60 need SoftReset once!curTimes=%d,lastTimes=%d\n", hours, last_hours);
    return 1;
}

}  // namespace cc_cell
