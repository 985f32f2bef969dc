// Any bytes as a frame that the bus peer receives, and as the data of a status answer. What it understands it
// must give back byte for byte, as frame, as text and as JSON; and about what a frame is, the two ends of the
// bus, which share no code, must agree.
#include <algorithm>
#include <string>
#include <vector>

#include <rapidjson/document.h>

#include "simulator/bus_peer/frame.h"
#include "simulator/bus_peer/status.h"
#include "simulator/text/text.h"
#include "support/dbus_util.h"
#include "support/tlv.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

using bus_peer::Bytes;
using bus_peer::Frame;
using bus_peer::StatusItem;

constexpr size_t kItems = 15;
constexpr size_t kNameWidth = 16;

BusFrame daemon_frame;

void CheckJson(const std::vector<StatusItem>& items) {
    const std::string text = StatusJson(items);
    rapidjson::Document document;
    FUZZ_CHECK(!document.Parse(text.c_str(), text.size()).HasParseError() && document.IsObject());
    FUZZ_CHECK(document.MemberCount() == kItems);
    for (const StatusItem& item : items) {
        std::string expected;  // each byte as the character of its number
        for (const char c : item.value) {
            const auto byte = static_cast<unsigned char>(c);
            if (byte >= 0x80) expected += static_cast<char>(0xC0 | byte >> 6);
            expected += byte < 0x80 ? c : static_cast<char>(0x80 | (byte & 0x3F));
        }
        const auto& value = document[item.name];
        FUZZ_CHECK(value.IsString() && std::string(value.GetString(), value.GetStringLength()) == expected);
    }
}

void CheckText(const std::vector<StatusItem>& items) {
    const std::string text = StatusText(items);
    FUZZ_CHECK(static_cast<size_t>(std::count(text.begin(), text.end(), '\n')) == kItems);
    size_t at = 0;
    for (const StatusItem& item : items) {
        const size_t end = text.find('\n', at);
        const std::string line = text.substr(at, end - at);
        FUZZ_CHECK(line.rfind(item.name, 0) == 0 && line.size() >= kNameWidth);
        FUZZ_CHECK(simulator_text::Unescape(line.substr(kNameWidth)) == item.value);
        at = end + 1;
    }
}

void CheckStatus(const Bytes& data) {
    std::vector<StatusItem> items;
    if (!ReadStatus(data, &items).empty()) return;
    FUZZ_CHECK(items.size() == kItems);
    const TlvList list = ParseTlvBytes(ByteArray(data.begin() + 1, data.end()));
    FUZZ_CHECK(list.size() == kItems);
    Bytes again = {kItems};
    for (size_t i = 0; i < kItems; ++i) {
        const std::string& value = items[i].value;
        FUZZ_CHECK(
            std::equal(value.begin(), value.end(), list[i].value.begin(), list[i].value.end(),
                       [](char c, unsigned char byte) { return static_cast<unsigned char>(c) == byte; }));
        again.push_back(static_cast<uint8_t>(i + 1));
        again.push_back(static_cast<uint8_t>(value.size()));
        again.insert(again.end(), value.begin(), value.end());
    }
    FUZZ_CHECK(again == data);
    CheckText(items);
    CheckJson(items);
}

void CheckFrame(const Bytes& bytes) {
    Frame frame;
    const bool is_frame = DecodeFrame(bytes, &frame).empty();
    const int length = DecodeDbusMsg(bytes.data(), static_cast<int>(bytes.size()), &daemon_frame);
    FUZZ_CHECK((length >= 0) == (is_frame && frame.data.size() <= bus_peer::kDataLimit));
    if (!is_frame) return;
    FUZZ_CHECK(EncodeFrame(frame) == bytes);
    if (length >= 0) {
        FUZZ_CHECK(daemon_frame.msg_id == frame.msg_id && daemon_frame.cmd == frame.cmd);
        FUZZ_CHECK(
            std::equal(frame.data.begin(), frame.data.end(), daemon_frame.data, daemon_frame.data + length));
    }
    CheckStatus(frame.data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const Bytes input(bytes, bytes + size);
    CheckFrame(input);
    CheckStatus(input);

    // A fuzzer doesn't guess a CRC: the same bytes once more in a frame that has a right one.
    if (input.size() < 4) return 0;
    Frame frame;
    frame.msg_id = static_cast<unsigned>(input[0]) << 8 | input[1];
    frame.cmd = static_cast<unsigned>(input[2]) << 8 | input[3];
    frame.data.assign(input.begin() + 4, input.end());
    if (frame.data.size() <= bus_peer::kDataLimit) CheckFrame(EncodeFrame(frame));

    const std::string text(reinterpret_cast<const char*>(bytes), size);
    FUZZ_CHECK(simulator_text::Unescape(simulator_text::Escape(text)) == text);
    FUZZ_CHECK(simulator_text::FromHex(simulator_text::ToHex(text, " ")) == text);
    return 0;
}
