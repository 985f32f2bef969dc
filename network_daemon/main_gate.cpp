// Whether this module may run on this product: network.json restricts one customer's product to a list of
// modules. Main thread, once, when the driver exists and before it is used.
#include "network_daemon/main.h"

#include <unistd.h>

#include "network_daemon/cellular_report.h"
#include "network_daemon/config/ConfigController.h"

namespace {

constexpr char kNetworkJsonPath[] = "/ubi/conf/network/network.json";
constexpr char kRestrictedCustomer[] = "halden";
constexpr char kRestrictedProduct[] = "Quillbox";
constexpr uint8_t kRefused = 1;
constexpr unsigned kRefusalPause_seconds = 1;  // for the report to leave

}  // namespace

bool pass_gate(const TracePlace& place, ConfigController& config) {
    using cc_cell::CellBase;
    if (config.LoadNetworkJson(kNetworkJsonPath) == 0) {
        TRACE_AT(place, kLogProgress, "[system] no network.json config file\n");
        return true;
    }
    const NetworkJson& network = config.m_network_json;
    if (network.customer_name != kRestrictedCustomer || network.product_name != kRestrictedProduct) {
        return true;
    }
    TRACE_AT(place, kLogProgress, "[whitelist] halden project,moduleName: %s \n",
             CellBase::m_ModuleName.c_str());
    if (config.CheckWhitelistLimitModule(CellBase::m_ModuleName) != 0) {
        TRACE_AT(place, kLogProgress, "[whitelist] 4G module allow run\n");
        return true;
    }
    pCell->ReplyOcppUpgradeStatus(kOcppDestination, kReportMsgId, kOcppModuleRefused, kRefused);
    TRACE_AT(place, kLogProgress, "[whitelist] 4G module not allowd !!!\n");
    sleep(kRefusalPause_seconds);
    DropDriver();
    return false;
}
