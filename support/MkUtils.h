// Clock and utilities of the process. The timer clock counts seconds since boot, so that setting the date
// disturbs no timer; the wall clock serves time stamps only.
#pragma once

#include <cstdint>

/// Seconds since boot.
uint32_t GetSysUptime();

/// Seconds from `earlier`, a value of GetSysUptime, until now: the plain 32-bit difference.
uint32_t GetSysElapsed(uint32_t earlier);
