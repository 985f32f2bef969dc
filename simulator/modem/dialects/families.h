// One function a family, each defined in the file of its name.
#pragma once

#include "simulator/modem/dialect.h"

namespace modem_sim {

const Family& ChuangyiFamily();
const Family& CinterionFamily();
const Family& FibocomFamily();
const Family& FibocomLeFamily();
const Family& HuaweiFamily();
const Family& LongsungFamily();
const Family& LynqFamily();
const Family& NodecomFamily();
const Family& QuectelAsrFamily();
const Family& QuectelQcomFamily();
const Family& QuectelUnisocFamily();
const Family& SimcomFamily();
const Family& ZteFamily();

}  // namespace modem_sim
