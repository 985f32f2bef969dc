// The one thing by which the doctor touches the modem, on demand alone: AT, and what comes back.
#pragma once

#include <string>

#include "tools/doctor/examination.h"

namespace doctor {

/// Opens the port for itself alone, sends AT, waits a few seconds for OK, and leaves the line's settings as
/// they were. Not when the port is no terminal, or kept by another program for itself.
PortAnswer AskPortForOk(const std::string& device);

}  // namespace doctor
