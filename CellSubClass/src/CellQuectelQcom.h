// Driver of Quectel modules on Qualcomm chipsets, such as EG25 and EG21. Main thread, but for the upgrade.
#pragma once

#include "network_daemon/cellular.h"

namespace cc_cell {

class CellQuectelQcom : public CellBase {
  public:
    explicit CellQuectelQcom(int cell_fd);
    ~CellQuectelQcom() override;

    const char* GetInterfaceName() override;
    int32_t Initialize() override;
    int32_t DisConnect() override;
    int32_t CheckConnection() override;
    int32_t CheckSimCard() override;
    int32_t CheckServiceStatus() override;
    void CheckTempStatus() override;
    void ConfigThermalLimit() override;
    void CheckSignalStatus() override;
    void CheckNeighbourSignal() override;
    int32_t ReadCSQ() override;
    int32_t DoConnect() override;
    AtResult ParseAtResult(char* text) override;

    // On the upgrade thread.

    /// Runs the upgrade tool of the maker, for minutes. 0 upgraded, 1 the tool failed, 2 not for this model,
    /// 3 tool or its directory missing, -1 the tool said neither, -2 it could not be started.
    int32_t ModuleOtaTask() override;
    bool IsSupportModuleOTA();
    bool IsOtaUpgradPathExist();
};

}  // namespace cc_cell
