// Frames of the message bus, as a peer of the daemon writes and reads them: FF 6A A6, message id, length of
// what follows it, command, data, CRC; numbers big-endian.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bus_peer {

using Bytes = std::vector<uint8_t>;

struct Frame {
    unsigned msg_id = 0;
    unsigned cmd = 0;
    Bytes data;
};

constexpr size_t kDataLimit = 30720;  // of the largest frame that the daemon takes

Bytes EncodeFrame(const Frame& frame);

/// What is wrong with `bytes`; empty, and `frame` filled, when nothing is.
std::string DecodeFrame(const Bytes& bytes, Frame* frame);

/// CRC-16 with the polynomial 0x8005 reflected, start value 0xFFFF.
uint16_t Crc16(const uint8_t* bytes, size_t count);

/// "FF 6A A6".
std::string ToHex(const Bytes& bytes);

}  // namespace bus_peer
