// What board this is, for main, which tells the driver once, and for the switch of the SIM, which asks anew
// each time. Main thread.
#pragma once

/// Board by /proc/cpuinfo: a cc_cell::BoardCode.
int board_cpu_info();

/// Board by the kernel's version, for boards that /proc/cpuinfo doesn't tell: kBoardA35 or kBoardUnknown.
int board_version_info();
