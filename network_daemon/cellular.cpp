// CellBase itself: what a new object holds, and the operations that do little or nothing unless a driver
// overrides them. Main builds the object and runs the operations; the bus handlers read the identity texts,
// and the upgrade thread calls ModuleOtaTask.
#include "network_daemon/cellular.h"

#include <cstring>

#include "support/text_util.h"

namespace cc_cell {
namespace {

constexpr int32_t kOtaNotSupported = 2;

}  // namespace

// Never destroyed: an upgrade thread may still compare it while main ends the process.
std::string& CellBase::m_ModuleName = *new std::string;

CellBase::CellBase(int cell_fd) : m_cell_fd(cell_fd) {
    // A text is empty by its first byte; only the firmware text is cleared whole.
    char* const texts[] = {
        m_card_iccid,     m_NetworkType,    m_vendor_name, m_RSSI,         m_RSRP,     m_RSRQ,
        m_SINR,           m_signal_spare,   m_band,        m_pcid,         m_csIMEI,   m_apn,
        m_neighbour_rsrp, m_neighbour_pcid, m_card_imsi,   m_carrier,      m_username, m_password,
        m_card_pin,       m_meid,           m_enable,      m_dhcpc_script, m_at_port,  m_RSRP_LEVEL,
    };
    for (char* text : texts) text[0] = '\0';
    memset(m_fw_version, 0, sizeof m_fw_version);
}

CellBase::~CellBase() = default;

const char* CellBase::GetIMSI() {
    return m_card_imsi;
}

const char* CellBase::GetICCID() {
    return m_card_iccid;
}

int32_t CellBase::SetIMSI(const char* imsi) {
    if (imsi == nullptr) return 0;
    CopyText(m_card_imsi, imsi);
    return 1;
}

int32_t CellBase::CheckServiceStatus() {
    return 1;
}

uint8_t CellBase::IsOnline() {
    return m_online;
}

void CellBase::CheckTempStatus() {}

void CellBase::ConfigThermalLimit() {}

void CellBase::CheckSignalStatus() {}

void CellBase::ReservedOp1() {}

int32_t CellBase::ReservedOp2() {
    return 1;
}

int32_t CellBase::ReservedOp3() {
    return 0;
}

int32_t CellBase::ReservedOp4() {
    return 0;
}

void CellBase::ReservedOp5() {}

int32_t CellBase::ModuleOtaTask() {
    return kOtaNotSupported;
}

void CellBase::CheckNeighbourSignal() {}

}  // namespace cc_cell
