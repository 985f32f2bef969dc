#include "simulator/bus_peer/status.h"

#include <cctype>
#include <iterator>

#include "simulator/text/text.h"

namespace bus_peer {

namespace {

/// In the order of their types, the first of which is 1.
constexpr const char* kNames[] = {
    "vendor", "firmware",       "imei",           "iccid", "sim",     "carrier", "pcid", "rsrp",
    "band",   "neighbour_pcid", "neighbour_rsrp", "sinr",  "release", "commit",  "imsi",
};
constexpr size_t kNameWidth = 16;

std::string JsonString(const std::string& value) {
    std::string text = "\"";
    for (const char c : value) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') text += '\\';
        text += isprint(byte) ? std::string(1, c) : "\\u00" + simulator_text::ToHex({&c, 1});
    }
    return text + '"';
}

}  // namespace

std::string ReadStatus(const Bytes& data, std::vector<StatusItem>* items) {
    items->clear();
    if (data.empty() || data[0] != std::size(kNames)) return "it isn't one of fifteen items";
    size_t at = 1;
    for (size_t i = 0; i < std::size(kNames); ++i) {
        if (at + 2 > data.size() || at + 2 + data[at + 1] > data.size()) return "its items are cut off";
        if (data[at] != i + 1) return "its items aren't in their order";
        const auto value = data.begin() + static_cast<long>(at) + 2;
        items->push_back({kNames[i], std::string(value, value + data[at + 1])});
        at += 2u + data[at + 1];
    }
    return at == data.size() ? "" : "it has bytes after its items";
}

std::string StatusText(const std::vector<StatusItem>& items) {
    std::string text;
    for (const StatusItem& item : items) {
        std::string name = item.name;
        name.resize(kNameWidth, ' ');
        text += name + simulator_text::Escape(item.value) + "\n";
    }
    return text;
}

std::string StatusJson(const std::vector<StatusItem>& items) {
    std::string text = "{";
    for (const StatusItem& item : items) {
        text += text.size() > 1 ? ",\n " : "\n ";
        text += JsonString(item.name) + ": " + JsonString(item.value);
    }
    return text + "\n}\n";
}

}  // namespace bus_peer
