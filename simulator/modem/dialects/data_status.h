// What LongSung and NodeCom modems word alike: reports that the host turns on one by one, and the data link
// reported unsolicited.
#pragma once

#include "simulator/modem/dialect.h"

namespace modem_sim {

Table<Row> DataStatusRows();

std::string DataStatusCall(const Device& device, bool is_up);
std::string DataStatusRadio(const Device& device, RadioReport report);

constexpr Unsolicited kDataStatusUnsolicited = {.booted = "SYSTEM READY",
                                                .card_ready = "+CPIN: READY",
                                                .card_gone = "+CPIN: NOT INSERTED",
                                                .call = DataStatusCall};

}  // namespace modem_sim
