#include "platform/busglue/bus_names.h"

#include <cstring>

#include <dbus/dbus.h>

namespace {

const std::string kServicePrefix = "busglue.";
const std::string kPathPrefix = "/busglue/";

}  // namespace

std::string ServiceOf(const char* name) {
    if (name == nullptr || strchr(name, '.') != nullptr) return "";
    std::string service = kServicePrefix + name;
    // The same text serves as interface name, whose rules are the stricter ones.
    bool valid =
        dbus_validate_bus_name(service.c_str(), nullptr) && dbus_validate_interface(service.c_str(), nullptr);
    return valid ? service : "";
}

bool ParseTarget(const char* name, BusTarget* target) {
    const char* dot = name == nullptr ? nullptr : strchr(name, '.');
    if (dot == nullptr) return false;
    std::string owner(name, dot);
    std::string service = ServiceOf(owner.c_str());
    std::string path = kPathPrefix + owner;
    if (service.empty() || !dbus_validate_path(path.c_str(), nullptr) ||
        !dbus_validate_member(dot + 1, nullptr)) {
        return false;
    }
    *target = BusTarget{service, path, service, dot + 1};
    return true;
}
