// Network interfaces of MkUtils.
#include "support/MkUtils.h"

#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "support/text_util.h"

namespace {

constexpr size_t kInterfaceLimit = 16;  // 512 bytes of list on a 32-bit board

/// A request about the interface that `entry` names. False when the system refuses.
bool Ask(int fd, unsigned long request, ifreq& entry) {
    return ioctl(fd, request, &entry) == 0;
}

bool AskAddress(int fd, unsigned long request, ifreq entry, char (&text)[INET_ADDRSTRLEN]) {
    if (!Ask(fd, request, entry)) return false;
    sockaddr_in address{};
    memcpy(&address, &entry.ifr_addr, sizeof(address));  // the mask lies in the same place
    return inet_ntop(AF_INET, &address.sin_addr, text, sizeof(text)) != nullptr;
}

/// Calls `take(fd, entry)` for each interface that fits, last one first; 0 when one of the calls gave true,
/// else -1.
template <typename Take>
int WalkInterfaces(const char* name_part, Take take) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) return -1;
    ifreq entries[kInterfaceLimit] = {};
    ifconf list{};
    list.ifc_len = sizeof(entries);
    list.ifc_req = entries;
    int result = -1;
    if (ioctl(fd, SIOCGIFCONF, &list) == 0 && list.ifc_len > 0) {
        size_t count = static_cast<size_t>(list.ifc_len) / sizeof(ifreq);
        if (count > kInterfaceLimit) count = kInterfaceLimit;
        for (size_t i = count; i-- > 0;) {
            entries[i].ifr_name[IFNAMSIZ - 1] = '\0';
            if (strstr(entries[i].ifr_name, name_part) != nullptr && take(fd, entries[i])) result = 0;
        }
    }
    close(fd);
    return result;
}

}  // namespace

int GetInterfaceAddress(char (&address)[INET_ADDRSTRLEN], char (&mask)[INET_ADDRSTRLEN],
                        const char* name_part) {
    return WalkInterfaces(name_part, [&](int fd, const ifreq& entry) {
        char entry_address[INET_ADDRSTRLEN];
        char entry_mask[INET_ADDRSTRLEN];
        if (!AskAddress(fd, SIOCGIFADDR, entry, entry_address)) return false;
        if (!AskAddress(fd, SIOCGIFNETMASK, entry, entry_mask)) return false;
        CopyText(address, entry_address);
        CopyText(mask, entry_mask);
        return true;
    });
}

int GetInterfaceMac(unsigned char (&mac)[kMacSize], const char* name_part) {
    return WalkInterfaces(name_part, [&](int fd, ifreq entry) {
        if (!Ask(fd, SIOCGIFHWADDR, entry)) return false;
        memcpy(mac, entry.ifr_hwaddr.sa_data, kMacSize);
        return true;
    });
}

int GetInterfaceMacText(char (&text)[kMacTextSize], const char* name_part) {
    unsigned char mac[kMacSize];
    if (GetInterfaceMac(mac, name_part) != 0) return -1;
    snprintf(text, sizeof(text), "%02X-%02X-%02X-%02X-%02X-%02X", mac[0], mac[1], mac[2], mac[3], mac[4],
             mac[5]);
    return 0;
}
