// The list of families.
#include "simulator/modem/dialects/families.h"

namespace modem_sim {

const std::vector<const Family*>& AllFamilies() {
    static const std::vector<const Family*> families = {
        &kQuectelQcomFamily,   &kChuangyiFamily, &kCinterionFamily, &kFibocomFamily, &kFibocomLeFamily,
        &kHuaweiFamily,        &kLongsungFamily, &kLynqFamily,      &kNodecomFamily, &kQuectelAsrFamily,
        &kQuectelUnisocFamily, &kSimcomFamily,   &kZteFamily,
    };
    return families;
}

}  // namespace modem_sim
