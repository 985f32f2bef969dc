// Takes over what "AT+COPS?" says about the operator: the SIM check at start-up and the dial both ask for
// it. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

/// Stores the operator text of a +COPS answer, quotes included, in m_carrier (at most 63 characters), and
/// what it says about the carrier in m_carrier_code and m_carrier_valid: 0 and 0 for an operator that isn't
/// known. Silent.
void StoreCarrier(CellBase& cell, const char* operator_text);

}  // namespace cc_cell
