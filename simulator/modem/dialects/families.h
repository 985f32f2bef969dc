// The families, each defined in the file of its name.
#pragma once

#include "simulator/modem/dialect.h"

namespace modem_sim {

extern const Family kChuangyiFamily;
extern const Family kCinterionFamily;
extern const Family kFibocomFamily;
extern const Family kFibocomLeFamily;
extern const Family kHuaweiFamily;
extern const Family kLongsungFamily;
extern const Family kLynqFamily;
extern const Family kNodecomFamily;
extern const Family kQuectelAsrFamily;
extern const Family kQuectelQcomFamily;
extern const Family kQuectelUnisocFamily;
extern const Family kSimcomFamily;
extern const Family kZteFamily;

}  // namespace modem_sim
