#include "tools/board/daemon_line.h"

#include "tools/log/line.h"

namespace board {

std::optional<DaemonLine> ReadDaemonLine(std::string_view line) {
    const ravelin_log::LineParts parts = ravelin_log::TakeApart(line);
    if (!parts.has_header && parts.place.file.empty()) return {};
    return DaemonLine{parts.place.function, parts.message};
}

}  // namespace board
