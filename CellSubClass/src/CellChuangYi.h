// Driver of ChuangYi modules on Innofidei chipsets. Main thread.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellChuangYi : public CellBase {
  public:
    using CellBase::CellBase;
    ~CellChuangYi() override = default;

    const char* GetInterfaceName() override;

    /// Writes the IMSI, of 10 to 32 characters, into the module and stores it. 1; 0 and nothing done for
    /// another length or null.
    int32_t SetIMSI(const char* imsi) override;
    int32_t Initialize() override;
    int32_t CheckConnection() override;
    int32_t CheckServiceStatus() override;
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;
    int32_t DealHint(AtResult result) override;
};

}  // namespace cc_cell
