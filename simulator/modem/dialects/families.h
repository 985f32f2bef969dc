// One function a family, each defined in the file of its name.
#pragma once

#include "simulator/modem/dialect.h"

namespace modem_sim {

const Family& ChuangyiFamily();
const Family& CinterionFamily();
const Family& HuaweiFamily();
const Family& LongsungFamily();
const Family& NodecomFamily();
const Family& QuectelQcomFamily();

}  // namespace modem_sim
