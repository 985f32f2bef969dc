// What the two Fibocom families word alike: the restart of the radio in the set-up, the USB mode that decides
// what the module offers the host, and the data link by AT+GTRNDIS. Called from the drivers' overrides on the
// main thread; each place is the caller's.
#pragma once

#include "CellSubClass/src/CellDriver.h"

namespace cc_cell {

/// Switches the radio off, and on again after `off_seconds`; then gives the module a second.
void RestartRadio(CellBase& cell, unsigned off_seconds);

/// Asks for the USB mode; unless the answer holds `mode` anywhere, sets it, restarts the module and waits for
/// it. Whether the mode took effect isn't looked at.
void EnsureUsbMode(const TracePlace& place, CellBase& cell, const char* mode);

/// Starts the data link. 1 when the module says OK to the call, or to the question whether there is one; else
/// 0.
int32_t StartRndis(const TracePlace& place, CellBase& cell);

/// 1 while the data link is up, else 0. `hint` is the family's row of "+GTRNDIS". Silent.
int32_t IsRndisUp(CellBase& cell, int32_t hint);

}  // namespace cc_cell
