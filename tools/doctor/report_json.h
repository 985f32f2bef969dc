// The form of a report for programs.
#pragma once

#include <string>

#include "network_daemon/config/json.h"
#include "tools/doctor/report.h"

namespace doctor {

/// One object, with a line end. docs/ravelinctl.md describes it, and it only ever grows.
std::string JsonOf(const Report& report);

}  // namespace doctor
