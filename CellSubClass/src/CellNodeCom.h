// Driver of NodeCom modules. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellNodeCom : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellNodeCom() override = default;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;
    int32_t CheckConnection() override;
    int32_t CheckServiceStatus() override;
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
    int32_t DealHint(AtResult result) override;
};

}  // namespace cc_cell
