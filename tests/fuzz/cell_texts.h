// What a driver holds as text, for the targets that let one talk to a modem.
#pragma once

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "network_daemon/cellular.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/support/vendors.h"

/// Codes of vendors are below it; one that isn't given out has no driver.
constexpr int kVendorCodes = 16;
static_assert(std::rbegin(test_support::kVendors)->code < kVendorCodes);

template <size_t N>
std::string TextOf(const char (&text)[N]) {
    FUZZ_CHECK(memchr(text, '\0', N) != nullptr);
    return text;
}

/// All that a modem's answers may end up in. Each text must end within its array.
inline std::vector<std::string> TextsOf(const cc_cell::CellBase& cell) {
    return {TextOf(cell.m_csIMEI),       TextOf(cell.m_card_imsi),      TextOf(cell.m_card_iccid),
            TextOf(cell.m_carrier),      TextOf(cell.m_NetworkType),    TextOf(cell.m_vendor_name),
            TextOf(cell.m_fw_version),   TextOf(cell.m_RSSI),           TextOf(cell.m_RSRP),
            TextOf(cell.m_RSRQ),         TextOf(cell.m_SINR),           TextOf(cell.m_band),
            TextOf(cell.m_pcid),         TextOf(cell.m_neighbour_rsrp), TextOf(cell.m_neighbour_pcid),
            TextOf(cell.m_signal_spare), TextOf(cell.m_meid),           TextOf(cell.m_RSRP_LEVEL),
            TextOf(cell.m_apn),          TextOf(cell.m_username),       TextOf(cell.m_password),
            TextOf(cell.m_card_pin),     TextOf(cell.m_enable),         TextOf(cell.m_at_port)};
}
