// SIM and identity: IMEI, IMSI, ICCID, carrier and the readiness of the SIM. Modems word these answers
// differently, and the differences by family that the base knows are here. Start-up, each soft reset and
// Task; main thread.
#include "network_daemon/cellular.h"

#include <unistd.h>

#include <cstring>

#include "network_daemon/cellular_carrier.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

constexpr int kTries = 3;
constexpr unsigned kRetryPause_seconds = 3;

constexpr char kAskImei[] = "AT+CGSN";
constexpr char kAskImeiWithPrefix[] = "AT+CGSN=1";
constexpr char kAskImsi[] = "AT+CIMI";
constexpr char kLineDelimiters[] = "\r\n";

/// The value of "\r\n+CIMI: 460001234567890\r\n\r\nOK\r\n": two fields are empty, the third is the prefix.
/// The blank comes along.
char* ValueBehindColon(char* answer) {
    return CellBase::StringSplitByNum(answer, ":\n\r", 4);
}

char* TextBetweenQuotes(char* text) {
    return CellBase::StringSplitByNum(text, "\"\r", 2);
}

bool HoldsOk(const char* answer) {
    return CellBase::ContainsText(answer, "OK") != nullptr;
}

bool PutsPrefixBeforeImsi(int32_t vendor_type) {
    return vendor_type == kVendorFibocom || vendor_type == kVendorFibocomLe;
}

/// Fills m_card_imsi from an answer to AT+CIMI. False when the answer is of no use: not finished by "OK", or
/// the echo of the question. `failure` is what the caller says when the answer has no field for the IMSI.
bool TakeImsi(const TracePlace& place, CellBase& cell, char* answer, const char* failure) {
    if (!HoldsOk(answer)) return false;
    if (PutsPrefixBeforeImsi(cell.m_vendor_type)) {
        const char* imsi = ValueBehindColon(answer);
        if (imsi != nullptr) {
            CopyText(cell.m_card_imsi, imsi);
        } else {
            TRACE_AT(place, kLogProgress, "%s", failure);
        }
        return true;
    }
    const char* imsi = NextToken(&answer, kLineDelimiters);
    if (imsi == nullptr || strncmp(imsi, kAskImsi, strlen(kAskImsi)) == 0) return false;
    CopyText(cell.m_card_imsi, imsi);
    return true;
}

/// Asks the SIM for readiness, and keeps m_sim_ready. After the last try without it the identity texts are
/// empty. Silent: each caller has its own last word.
bool AwaitSimReady(CellBase& cell) {
    for (int i = 0; i < kTries; ++i) {
        if (CellBase::ContainsText(cell.AtRequest("AT+CPIN?"), "READY") != nullptr) {
            cell.m_sim_ready = 1;
            return true;
        }
        cell.m_sim_ready = 0;
        sleep(kRetryPause_seconds);
    }
    for (char* text : {cell.m_card_iccid, cell.m_csIMEI, cell.m_carrier, cell.m_card_imsi}) text[0] = '\0';
    return false;
}

}  // namespace

int32_t CellBase::CheckCardIMEI() {
    memset(m_csIMEI, 0, sizeof m_csIMEI);
    char* answer = AtRequest(kAskImei);
    AtResult with_prefix = {};
    const char* imei = nullptr;
    switch (m_vendor_type) {
        case kVendorQuectelUnisoc:
        case kVendorQuectelAsr:
        case kVendorFibocomLe:
            // +CGSN: "862000000000000", and on some firmware without the quotes.
            with_prefix = ParseAtResult(AtRequest(kAskImeiWithPrefix));
            if (with_prefix.type != kHintCgsn) return 0;
            TRACE(kLogDebug, "CheckCardIMEI IMEI res.common_str= %s\n", with_prefix.common_str);
            imei = with_prefix.common_str;
            CopyText(m_csIMEI, imei);
            if (strchr(imei, '"') != nullptr) imei = TextBetweenQuotes(with_prefix.common_str);
            break;
        case kVendorFibocom:
            if (!HoldsOk(answer)) return 0;
            imei = ValueBehindColon(answer);
            break;
        default:
            imei = ParseAtLine(answer);
            if (imei == nullptr) return 0;
            CopyText(m_csIMEI, imei);
            if (m_vendor_type == kVendorLynq) imei = TextBetweenQuotes(m_csIMEI);
            break;
    }
    if (imei != nullptr) {
        CopyText(m_csIMEI, imei);
    } else {
        TRACE(kLogProgress, "CheckCardIMEI: get IMEI fail !\n");
    }
    TRACE(kLogProgress, "CheckCardIMEI m_csIMEI= %s\n", m_csIMEI);
    return 1;
}

int32_t CellBase::CheckCardIMSI() {
    memset(m_card_imsi, 0, sizeof m_card_imsi);
    char* answer = AtRequest(kAskImsi);
    if (!HoldsOk(answer)) return 0;
    TakeImsi(TRACE_HERE, *this, answer, "CheckCardIMSI: get m_card_imsi fail !\n");
    TRACE(kLogProgress, "CheckCardIMSI m_card_imsi= %s\n", m_card_imsi);
    return 1;
}

int32_t CellBase::CheckSimCard() {
    memset(m_card_imsi, 0, sizeof m_card_imsi);
    memset(m_card_iccid, 0, sizeof m_card_iccid);
    memset(m_carrier, 0, sizeof m_carrier);
    AtRequest("AT+CFUN=1");
    if (CheckCardIMEI() == 0) TRACE(kLogProgress, "Get Card IMEI fail, m_csIMEI = %s\n", m_csIMEI);

    for (int i = 0; i < kTries; ++i) {
        if (TakeImsi(TRACE_HERE, *this, AtRequest(kAskImsi), "CheckSimCard: get IMSI fail !\n")) break;
        sleep(kRetryPause_seconds);
    }
    TRACE(kLogProgress, "Get Card:  m_card_imsi = %s\n", m_card_imsi);

    TRACE(kLogProgress, "Check SIM!\n");
    if (!AwaitSimReady(*this)) {
        TRACE(kLogProgress, "CheckSimCard: SIM is not ready!\n");
        return kSimNotReady;
    }

    const AtResult sim_type = ParseAtResult(AtRequest("AT+SIMTEST?"));
    if (sim_type.type == kHintSimtest) m_sim_type = sim_type.val;
    const AtResult iccid = ParseAtResult(AtRequest("AT^ICCID?"));
    if (iccid.type == kHintIccid) CopyText(m_card_iccid, iccid.common_str);
    const AtResult carrier = ParseAtResult(AtRequest("AT+COPS?"));
    if (carrier.type == kHintCops) StoreCarrier(*this, carrier.carrier);
    return kSimReady;
}

int CellBase::CheckIfSimCardReady() {
    TRACE(kLogProgress, "CheckIfSimCardReady: Check SIM!\n");
    if (!AwaitSimReady(*this)) {
        TRACE(kLogProgress, "CheckIfSimCardReady: SIM is not ready!\n");
        return kSimNotReady;
    }
    return kSimReady;
}

}  // namespace cc_cell
