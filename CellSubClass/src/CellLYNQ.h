// Driver of LYNQ modules. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellLYNQ : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellLYNQ() override = default;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;

    /// 1 when the module confirmed the end of the call, 0 otherwise. The radio stays on.
    int32_t DisConnect() override;
    int32_t CheckConnection() override;
    int32_t CheckSimCard() override;
    int32_t CheckServiceStatus() override;

    /// 1 when the module confirmed the call, 0 otherwise. Gives the module no APN.
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
};

}  // namespace cc_cell
