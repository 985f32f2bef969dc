// The upgrade of the modem's firmware: one thread for each accepted request, beside Task, which shares the
// modem with it and doesn't stop. m_ota_running is the only record of it: the bus handler sets it, this
// thread clears it last.
#include "network_daemon/main.h"

#include "network_daemon/cellular_report.h"

ParameterText supportModule;
ParameterText otatool;
ParameterText otaPath;
pthread_t ota_thread;

namespace {

/// What ModuleOtaTask returns, the status byte that the service gets for it, and what the log says.
struct Outcome {
    int32_t result;
    uint8_t status;
    const char* line;
};

constexpr Outcome kOutcomes[] = {
    {0, 0, "[OTA] send ocpp ota upgrade status ok\n"},
    {1, 1, "[OTA] send ocpp ota upgrade status fail\n"},
    {2, 2, "[OTA] send ocpp 4G module not support ota\n"},
    {3, 3, "[OTA] send ocpp ota file path or file not exist\n"},
};
constexpr const Outcome& kFailed = kOutcomes[1];  // also for what a driver doesn't explain further

const Outcome& OutcomeOf(int32_t result) {
    for (const Outcome& outcome : kOutcomes) {
        if (outcome.result == result) return outcome;
    }
    return kFailed;
}

}  // namespace

void* thread_function_ota(void* argument) {
    auto* cell = static_cast<cc_cell::CellBase*>(argument);
    if (!cell->m_ota_running) return nullptr;
    TRACE(kLogProgress, "[OTA] run ota task\n");
    const Outcome& outcome = OutcomeOf(cell->ModuleOtaTask());
    TRACE(kLogProgress, "%s", outcome.line);
    cell->ReplyOcppUpgradeStatus(kOcppDestination, kReportMsgId, kOcppUpgradeOutcome, outcome.status);
    for (char* text : {supportModule, otatool, otaPath}) text[0] = '\0';
    TRACE(kLogProgress, "[OTA] reset ota upgrade flag\n");
    cell->m_ota_running = 0;
    return nullptr;
}
