#include "support/MkUtils.h"

#include <sys/sysinfo.h>

uint32_t GetSysUptime() {
    struct sysinfo now = {};
    sysinfo(&now);
    return static_cast<uint32_t>(now.uptime);
}

uint32_t GetSysElapsed(uint32_t earlier) {
    return GetSysUptime() - earlier;
}
