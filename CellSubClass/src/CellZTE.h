// Driver of ZTE/Gosuncn modules: ME3630, GM196, GM196H and others of that maker. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellZTE3630 : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellZTE3630() override = default;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;
    int32_t DisConnect() override;
    int32_t CheckConnection() override;
    int32_t CheckSimCard() override;
    int32_t CheckServiceStatus() override;
    void CheckSignalStatus() override;

    /// Reads the serving cell, in spite of the name.
    void CheckNeighbourSignal() override;
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
    int32_t DealHint(AtResult result) override;
};

}  // namespace cc_cell
