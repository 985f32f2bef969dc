// How the names of this bus ("RAVELIN", "OCPP.Message") are spelled on D-Bus. Pure text, any thread.
#pragma once

#include <string>

/// Where a call or signal goes. All four are valid D-Bus names.
struct BusTarget {
    std::string service;  // bus name of the process that serves it
    std::string path;     // its one object
    std::string interface;
    std::string member;
};

/// "RAVELIN" is owned as "busglue.RAVELIN". Empty when `name` can't be a bus name.
std::string ServiceOf(const char* name);

/// "RAVELIN.Message" is member "Message" of "busglue.RAVELIN" at "/busglue/RAVELIN". False, and `target`
/// untouched, when `name` isn't two valid parts with a dot between them.
bool ParseTarget(const char* name, BusTarget* target);
