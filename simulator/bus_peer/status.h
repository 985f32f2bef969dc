// What the daemon says of its modem: the items of a status answer with their names.
#pragma once

#include <string>
#include <vector>

#include "simulator/bus_peer/frame.h"

namespace bus_peer {

struct StatusItem {
    const char* name;
    std::string value;  // any bytes, though text is meant
};

/// Reads the data of a status answer. What is wrong with it; empty, and `items` filled, when nothing is.
std::string ReadStatus(const Bytes& data, std::vector<StatusItem>* items);

/// One line an item, names aligned; what can't be printed is escaped, e.g. "\n".
std::string StatusText(const std::vector<StatusItem>& items);

/// One object of strings; bytes beyond ASCII as characters of the same number.
std::string StatusJson(const std::vector<StatusItem>& items);

}  // namespace bus_peer
