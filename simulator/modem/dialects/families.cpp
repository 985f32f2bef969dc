// The list of families; each is told in a file of its own beside this one.
#include "simulator/modem/dialects/families.h"

namespace modem_sim {

const std::vector<const Family*>& AllFamilies() {
    static const std::vector<const Family*> families = {
        &QuectelQcomFamily(),   &ChuangyiFamily(), &CinterionFamily(), &FibocomFamily(), &FibocomLeFamily(),
        &HuaweiFamily(),        &LongsungFamily(), &LynqFamily(),      &NodecomFamily(), &QuectelAsrFamily(),
        &QuectelUnisocFamily(), &SimcomFamily(),   &ZteFamily(),
    };
    return families;
}

}  // namespace modem_sim
