// A driver that overrides nothing but what it must, so that a suite sees the engine's own behaviour.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class PlainCell : public CellBase {
  public:
    explicit PlainCell(int cell_fd) : CellBase(cell_fd) {}
    const char* GetInterfaceName() override { return "wwan0"; }
    int32_t CheckConnection() override { return connected; }

    int32_t connected = 1;
};

}  // namespace cc_cell
