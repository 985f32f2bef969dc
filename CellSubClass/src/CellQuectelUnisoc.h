// Driver of Quectel modules on Unisoc chipsets: EC200G, EC200U. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellEC200G : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellEC200G() override = default;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;
    int32_t DisConnect() override;
    int32_t CheckConnection() override;
    int32_t CheckSimCard() override;
    int32_t CheckServiceStatus() override;
    void CheckSignalStatus() override;
    void CheckNeighbourSignal() override;
    int32_t ReadCSQ() override;
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
};

}  // namespace cc_cell
