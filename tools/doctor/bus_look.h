// A look at the bus itself. Whatever sits at its socket, it takes a few seconds at most: another process does
// it, and is given up.
#pragma once

#include <string>

#include "tools/doctor/examination.h"

namespace doctor {

/// At the bus of this address, or the system bus where that is empty. As root, a call to the daemon that
/// changes nothing is tried as the user nobody; otherwise as ourselves.
BusLook LookAtBus(const std::string& address);

}  // namespace doctor
