// Driver of Fibocom modules such as NL668 and MC116. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellFiboCOM : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellFiboCOM() override = default;

    const char* GetInterfaceName() override;

    /// 1, always: not the base's set-up but one of its own.
    int32_t Initialize() override;
    int32_t DisConnect() override;
    int32_t CheckConnection() override;
    int32_t CheckSimCard() override;
    int32_t CheckServiceStatus() override;
    int32_t ReadCSQ() override;

    /// 1 when the module accepted the call or has one, 0 otherwise.
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
};

}  // namespace cc_cell
