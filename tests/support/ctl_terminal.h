// Terminals that a suite prints for.
#pragma once

#include "tools/ctl/terminal.h"

/// 0 is a pipe or a file.
inline ctl::Terminal OfWidth(int width) {
    ctl::Terminal terminal;
    terminal.is_terminal = width > 0;
    terminal.width = width;
    return terminal;
}
