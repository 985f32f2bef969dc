// What the two Fibocom families have alike: the call by AT+GTRNDIS.
#pragma once

#include <string>

#include "tests/support/driver_facts.h"

namespace cc_cell {

inline const SimFacts kRndisSim = {.question = "AT+CCID", .prefix = "+CCID: "};

/// When the module doesn't accept the call, it is asked for one, and refuses that too.
inline const DialFacts kRndisDial = {
    .cases = Always({"AT+GTRNDIS=1,1\r\n"}),
    .hang_up = {"AT+GTRNDIS=0,1\r\n", "AT+CFUN=0"},
    .is_after_engines = false,
    .answers = {{kOk, 1, {"6 AT+GTRNDIS=1,1 return " + std::string(kOk) + "\n", "6 CONNECT!!! \n"}},
                {kError,
                 0,
                 {"6 AT+GTRNDIS=1,1 return " + std::string(kError) + "\n", "6 AT+GTRNDIS=1 ERROR !!!\n"}},
                {"", 0, {"6 AT+GTRNDIS=1,1 return \n", "6 AT+GTRNDIS=1 ERROR !!!\n"}}},
    .last_seconds = 10};

inline const LinkFacts kRndisLink = {.questions = {"AT+GTRNDIS?\r\n"},
                                     .up = "+GTRNDIS: 1",
                                     .cases = {{Answer("+GTRNDIS: 1,1,\"10.0.0.2\""), 1},
                                               {Answer("+GTRNDIS: 1"), 1},
                                               {Answer("+GTRNDIS: 0"), 0},
                                               {Answer("+GTRNDIS: 2"), 0},
                                               {Answer("+GTRNDIS:1"), 0}}};

inline const std::string kContextOfSetUp = "AT+CGDCONT=1,\"IPV4V6\",\"cmnet\"";
inline const std::string kUsbModeLine = "6 AT+gtusbmode? " + Answer("+GTUSBMODE: 18,32") + "!!! \n";

}  // namespace cc_cell
