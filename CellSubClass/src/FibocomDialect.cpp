// What the two Fibocom families word alike; see FibocomDialect.h.
#include "CellSubClass/src/FibocomDialect.h"

#include <unistd.h>

#include <cstdio>

namespace cc_cell {
namespace {

constexpr unsigned kRadioOnPause_seconds = 1;
constexpr unsigned kRestartPause_seconds = 20;
constexpr int kDialWait_seconds = 10;

}  // namespace

void RestartRadio(CellBase& cell, unsigned off_seconds) {
    cell.AtRequest("AT+CFUN=0");
    sleep(off_seconds);
    cell.AtRequest("AT+CFUN=1");
    sleep(kRadioOnPause_seconds);
}

void EnsureUsbMode(const TracePlace& place, CellBase& cell, const char* mode) {
    const char* answer = cell.AtRequest("AT+gtusbmode?");
    if (CellBase::ContainsText(answer, mode) != nullptr) {
        TRACE_AT(place, kLogDetail, "AT+gtusbmode? %s!!! \n", answer);
        return;
    }
    char command[kCommandSize];
    snprintf(command, sizeof command, "AT+gtusbmode=%s", mode);
    answer = cell.AtRequest(command);
    TRACE_AT(place, kLogDetail, "%s %s!!! \n", command, answer);
    cell.AtRequest("AT+CFUN=15\r\n");
    sleep(kRestartPause_seconds);
}

int32_t StartRndis(const TracePlace& place, CellBase& cell) {
    const char* answer = cell.AtRequest_xs("AT+GTRNDIS=1,1\r\n", kDialWait_seconds);
    TRACE_AT(place, kLogDetail, "AT+GTRNDIS=1,1 return %s\n", answer);
    if (CellBase::ContainsText(answer, "OK") != nullptr) {
        TRACE_AT(place, kLogDetail, "CONNECT!!! \n");
        return 1;
    }
    if (CellBase::ContainsText(cell.AtRequest("AT+GTRNDIS?"), "OK") != nullptr) {
        TRACE_AT(place, kLogDetail, "CONNECTED!!! \n");
        return 1;
    }
    TRACE_AT(place, kLogDetail, "AT+GTRNDIS=1 ERROR !!!\n");
    return 0;
}

int32_t IsRndisUp(CellBase& cell, int32_t hint) {
    const AtResult result = AskResult(cell, "AT+GTRNDIS?\r\n");
    return result.type == hint && result.val == 1;
}

}  // namespace cc_cell
