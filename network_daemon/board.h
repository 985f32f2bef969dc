// What board this is: main finds out once and passes it to the driver; the switch of the SIM asks anew each
// time. Main thread.
#pragma once

namespace cc_cell {

/// Board codes: main finds out once, SwitchSIMCard anew each time.
enum BoardCode : int { kBoardUnknown = 0, kBoardImx6ul = 1, kBoardStm32 = 2, kBoardA35 = 3, kBoardA53 = 4 };

}  // namespace cc_cell

/// Board by /proc/cpuinfo: a cc_cell::BoardCode.
int board_cpu_info();

/// Board by the kernel's version, for boards that /proc/cpuinfo doesn't name: kBoardA35 or kBoardUnknown.
int board_version_info();
