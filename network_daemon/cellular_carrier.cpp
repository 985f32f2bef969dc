// Carriers by their operator text; see cellular_carrier.h.
#include "network_daemon/cellular_carrier.h"

#include <cstring>

#include "support/text_util.h"

namespace cc_cell {
namespace {

struct CarrierRow {
    const char* operator_text;
    int32_t carrier_code;
};

// The whole text decides, quotes included: "CHINA MOBILE LTE" is another operator.
constexpr CarrierRow kCarriers[] = {
    {"\"CHINA MOBILE\"", 1},
    {"\"CHN-UNICOM\"", 2},
    {"\"CHN-CT\"", 3},
};

int32_t CarrierCodeOf(const char* operator_text) {
    for (const CarrierRow& row : kCarriers) {
        if (strcmp(operator_text, row.operator_text) == 0) return row.carrier_code;
    }
    return 0;
}

}  // namespace

void StoreCarrier(CellBase& cell, const char* operator_text) {
    CopyText(cell.m_carrier, operator_text);
    cell.m_carrier_code = CarrierCodeOf(operator_text);
    cell.m_carrier_valid = cell.m_carrier_code != 0;
}

}  // namespace cc_cell
