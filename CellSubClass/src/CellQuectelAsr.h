// Driver of Quectel modules on ASR chipsets: EC200A, EC600M, EG800K, EC800K. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellQueAsr : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellQueAsr() override = default;

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
