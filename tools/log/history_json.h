// The history for programs. Its form is part of the tool's contract: docs/explaining.md.
#pragma once

#include <string>

#include "tools/log/history.h"
#include "tools/log/reader.h"

namespace ravelin_log {

/// One object, with a line end. Nothing but printable ASCII, whatever stands in the log.
std::string HistoryAsJson(const History& history, const Reader& reader);

}  // namespace ravelin_log
