#include "simulator/bus_peer/frame.h"

#include <algorithm>

#include "simulator/text/text.h"

namespace bus_peer {

namespace {

constexpr uint8_t kMagic[] = {0xFF, 0x6A, 0xA6};
constexpr size_t kMagicSize = sizeof kMagic;
constexpr size_t kHeadSize = 9;  // magic, message id, length, command
constexpr size_t kCrcSize = 2;
constexpr size_t kOverhead = kHeadSize + kCrcSize;
constexpr size_t kLengthBesideData = 4;  // the length field counts the command and the CRC too
constexpr uint16_t kPolynomial = 0xA001;
constexpr uint16_t kCrcStart = 0xFFFF;

void AppendNumber(Bytes* bytes, unsigned number) {
    bytes->push_back(static_cast<uint8_t>(number >> 8));
    bytes->push_back(static_cast<uint8_t>(number));
}

unsigned NumberAt(const Bytes& bytes, size_t at) {
    return static_cast<unsigned>(bytes[at]) << 8 | bytes[at + 1];
}

}  // namespace

/// Bit by bit: the daemon's tables are what it checks.
uint16_t Crc16(const uint8_t* bytes, size_t count) {
    unsigned crc = kCrcStart;
    for (size_t i = 0; i < count; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ kPolynomial : crc >> 1;
    }
    return static_cast<uint16_t>(crc);
}

Bytes EncodeFrame(const Frame& frame) {
    Bytes bytes(std::begin(kMagic), std::end(kMagic));
    AppendNumber(&bytes, frame.msg_id);
    AppendNumber(&bytes, static_cast<unsigned>(frame.data.size() + kLengthBesideData));
    AppendNumber(&bytes, frame.cmd);
    bytes.insert(bytes.end(), frame.data.begin(), frame.data.end());
    AppendNumber(&bytes, Crc16(bytes.data() + kMagicSize, bytes.size() - kMagicSize));
    return bytes;
}

std::string DecodeFrame(const Bytes& bytes, Frame* frame) {
    if (bytes.empty()) return "it is empty";
    if (bytes.size() < kOverhead) return "it is shorter than a frame without data";
    if (!std::equal(std::begin(kMagic), std::end(kMagic), bytes.begin())) {
        return "it doesn't begin with FF 6A A6";
    }
    const size_t data_size = bytes.size() - kOverhead;
    if (NumberAt(bytes, 5) != data_size + kLengthBesideData) return "its length field is wrong";
    const size_t checked = bytes.size() - kMagicSize - kCrcSize;
    if (NumberAt(bytes, bytes.size() - kCrcSize) != Crc16(bytes.data() + kMagicSize, checked)) {
        return "its CRC is wrong";
    }
    frame->msg_id = NumberAt(bytes, 3);
    frame->cmd = NumberAt(bytes, 7);
    frame->data.assign(bytes.begin() + kHeadSize, bytes.end() - kCrcSize);
    return "";
}

std::string ToHex(const Bytes& bytes) {
    return simulator_text::ToHex({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, " ");
}

}  // namespace bus_peer
