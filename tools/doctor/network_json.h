// network.json as the daemon's own model takes it.
#pragma once

#include "network_daemon/config/NetworkJson.h"
#include "tools/doctor/examination.h"

namespace doctor {

void CheckNetworkJson(Examination& examination);

}  // namespace doctor
