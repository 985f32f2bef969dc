// What a pipeline around ping makes of the network behind the simulated modem.
#pragma once

#include <string>

#include "simulator/modem/modem_model.h"
#include "simulator/virtual_time/shell.h"

namespace virtual_time {

/// Fills in output and duration of "ping HOST -c COUNT [-w SECONDS] | ... '$1<MILLISECONDS' | wc -l", as the
/// real programs were seen to behave: requests leave a second apart, and a deadline ends the waiting. False
/// for a command that is no such pipeline.
bool AnswerPing(const std::string& command, const modem_sim::Modem& modem, ShellAnswer* answer);

}  // namespace virtual_time
