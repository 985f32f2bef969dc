// The settings of the link: /run/network/ifcfg-lte into the members, and the setters. The rest of the charger
// rewrites the file while we run, this daemon never does: it is a live control channel, read anew in every
// online pass. Start-up, Task and Connect; main thread.
#include "network_daemon/cellular.h"

#include <cstring>

#include "network_daemon/config/ini_store.h"
#include "support/text_util.h"
#include "support/trace_log.h"

namespace cc_cell {
namespace {

/// Level of lines that would repeat in every pass: shown while offline, hidden by the default threshold while
/// online.
unsigned QuietWhileOnline(CellBase& cell) {
    return 6 + cell.IsOnline();
}

enum class Switch { kAbsent, kOff, kOn };

/// Sets `member` to 1 or 0 by the number given for `key`. Without the key the member stays as it is.
Switch TakeSwitch(const IniEntry* settings, const char* key, uint8_t& member) {
    const char* value = ini_get(settings, key);
    if (value == nullptr) return Switch::kAbsent;
    member = ParseNumber(value) >= 1;
    return member != 0 ? Switch::kOn : Switch::kOff;
}

}  // namespace

void CellBase::GetLTEcfg() {
    IniEntry* settings = ini_load(kSettingsPath);
    if (settings == nullptr) {
        TRACE(kLogAnnounce, "config %s don't exist\n", kSettingsPath);
        return;
    }
    if (const char* enable = ini_get(settings, "ENABLE")) SetEnable(enable);
    if (const char* apn = ini_get(settings, "APN")) SetAPN(apn);
    if (const char* username = ini_get(settings, "USERNAME")) SetUsername(username);
    if (const char* password = ini_get(settings, "PASSWORD")) SetPassword(password);
    if (const char* auth_type = ini_get(settings, "AUTH_TYPE")) SetAuthType(ParseNumber(auth_type));
    if (const char* pin = ini_get(settings, "CARD_PIN")) SetCardPin(pin);
    TakeSwitch(settings, "AUTOCONNECT", m_auto_connect);
    if (TakeSwitch(settings, "DoubleSIM", m_double_sim) == Switch::kOn) {
        TRACE(kLogAnnounce, "DoubleSIM ENABLE !!!\n");
    }
    if (TakeSwitch(settings, "ORLA", m_orla_project) == Switch::kOn) {
        TRACE(QuietWhileOnline(*this), "ORLA PROJECT !!!\n");
        // The outage of the OCPP service concerns this project alone, and only while the file names it.
        if (const char* offline = ini_get(settings, "OFFLINE")) SetOFFLINE(ParseNumber(offline));
    }
    if (TakeSwitch(settings, "BRACKEN_PROJECT", m_bracken_project) == Switch::kOn) {
        TRACE(QuietWhileOnline(*this), "BRACKEN PROJECT !!!\n");
    }
    switch (TakeSwitch(settings, "CollectSignalFlag", m_SignalCollect.neighbourSignalEnFlag)) {
        case Switch::kOn:
            TRACE(kLogDebug, "4G Module Signal collect switch config ENABLE !!!\n");
            break;
        case Switch::kOff:
            TRACE(kLogDebug, "4G Module Signal collect switch config DISABLE !!!\n");
            break;
        case Switch::kAbsent:
            break;
    }
    ini_free(settings);
}

void CellBase::SetAPN(const char* apn) {
    char input[sizeof m_apn];
    CopyText(input, apn);
    TRACE(QuietWhileOnline(*this), "input apn = %s\n", input);
    if (strchr(input, '\'') == nullptr) {
        CopyText(m_apn, input);
    } else if (const char* quoted = StringSplitByNum(input, "'\r", 2)) {
        CopyText(m_apn, quoted);
        TRACE(kLogDebug, "real apn is:%s\n", m_apn);
    } else {
        TRACE(QuietWhileOnline(*this), "SetAPN: get APN fail\n");
    }
    TRACE(QuietWhileOnline(*this), "APN = %s\n", m_apn);
}

void CellBase::SetEnable(const char* enable) {
    CopyText(m_enable, enable);
    TRACE(QuietWhileOnline(*this), "Enable = %s\n", m_enable);
}

void CellBase::SetUsername(const char* username) {
    CopyText(m_username, username);
    TRACE(QuietWhileOnline(*this), "username = %s\n", m_username);
}

void CellBase::SetPassword(const char* password) {
    CopyText(m_password, password);
    TRACE(kLogDebug, "password = %s\n", m_password);
}

void CellBase::SetAuthType(int32_t auth_type) {
    m_auth_type = auth_type;
    TRACE(QuietWhileOnline(*this), "auth type = %d\n", m_auth_type);
}

void CellBase::SetCardPin(const char* pin) {
    CopyText(m_card_pin, pin);
    TRACE(QuietWhileOnline(*this), "PIN = %s\n", m_card_pin);
}

void CellBase::SetOFFLINE(int32_t seconds) {
    m_offline = seconds;
    TRACE(QuietWhileOnline(*this), "OFFLINE = %d\n", m_offline);
}

void CellBase::SetLastOFFLINE(int32_t seconds) {
    m_last_offline = seconds;
    TRACE(QuietWhileOnline(*this), "last OFFLINE = %d\n", m_last_offline);
}

void CellBase::SetVendorType(int32_t vendor_type) {
    m_vendor_type = vendor_type;
    TRACE(QuietWhileOnline(*this), "vendor type = %d\n", m_vendor_type);
}

void CellBase::SetBoard(int32_t board) {
    m_board = board;
    TRACE(kLogDetail, "board = %d\n", m_board);
}

void CellBase::SetCell_fd(int cell_fd) {
    m_cell_fd = cell_fd;
    TRACE(kLogDetail, "SetCell_fd = %d\n", m_cell_fd);
}

void CellBase::SetATPort(const char* path) {
    CopyText(m_at_port, path);
    TRACE(kLogDetail, "AtPort = %s\n", m_at_port);
}

void CellBase::SetDhcpcScript(const char* path) {
    CopyText(m_dhcpc_script, path);
    TRACE(kLogDebug, "udhcpc script = %s\n", m_dhcpc_script);
}

void CellBase::SetRsrpLevel(const char* rsrp) {
    CopyText(m_RSRP_LEVEL, rsrp);
}

}  // namespace cc_cell
