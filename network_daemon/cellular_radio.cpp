// What the modem tells about the radio: signal, radio technology and its generation. Task probes the signal
// and hands over announcements; main thread.
#include "network_daemon/cellular.h"

#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

struct GenerationRow {
    const char* word;  // as it stands in m_NetworkType
    int generation;
};

// In this order: "TDSCDMA" and "WCDMA" hold "CDMA", and are a generation ahead of it.
constexpr GenerationRow kGenerations[] = {
    {"LTE", 3},  {"TDSCDMA", 2}, {"HSDPA", 2}, {"HSUPA", 2}, {"WCDMA", 2}, {"UMTS", 2},
    {"EVDO", 2}, {"EHRPD", 2},   {"GPRS", 1},  {"EDGE", 1},  {"GSM", 1},   {"CDMA", 1},
};

}  // namespace

int32_t CellBase::ReadCSQ() {
    const AtResult result = ParseAtResult(AtRequest("AT+CSQ"));
    if (result.type != kHintCsq) return 0;
    m_nCSQ = result.val;
    return 1;
}

int32_t CellBase::DealHint(AtResult result) {
    if (result.type != kHintNwtypeind) return 0;
    // "+NWTYPEIND:" says that the radio technology has changed, and not to what. A modem that doesn't know
    // the question answers something else, and the text stays.
    const AtResult technology = ParseAtResult(AtRequest("AT+PSRAT"));
    if (technology.type == kHintPsrat) {
        CopyText(m_NetworkType, technology.common_str);
        TRACE(kLogProgress, "Network type %s\n", m_NetworkType);
    }
    return 1;
}

int CellBase::GetNetworkGeneration() {
    if (m_sim_ready == 0) return 0;
    for (const GenerationRow& row : kGenerations) {
        if (ContainsText(m_NetworkType, row.word) != nullptr) return row.generation;
    }
    return 0;
}

}  // namespace cc_cell
