// Driver of SIMCom modules. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellSimCom : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellSimCom() override = default;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;
    int32_t DisConnect() override;
    int32_t CheckConnection() override;
    int32_t CheckSimCard() override;
    int32_t CheckServiceStatus() override;
    int32_t ReadCSQ() override;

    /// 1 when the module confirmed the call, 0 otherwise.
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
};

}  // namespace cc_cell
