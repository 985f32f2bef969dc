// Driver of Cinterion modules such as PLS83-W. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellCinterion : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellCinterion() override = default;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;
    int32_t DisConnect() override;
    int32_t CheckConnection() override;
    int32_t CheckSimCard() override;
    int32_t CheckServiceStatus() override;
    void CheckTempStatus() override;
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
    int32_t DealHint(AtResult result) override;
};

}  // namespace cc_cell
