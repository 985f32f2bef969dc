// Driver of LongSung modules. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellLongSung : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellLongSung() override = default;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;
    int32_t CheckConnection() override;
    AtResult ParseAtResult(char* text) override;
    int32_t DealHint(AtResult result) override;
};

}  // namespace cc_cell
