// Frames of the message bus: what the daemon and the OCPP service exchange, each as one opaque byte buffer.
// Pure functions on the caller's memory, apart from the log; called by the bus handlers, the upgrade thread
// and main.
//
// Bytes of a frame with n data bytes, numbers big-endian:
//   0  3  magic FF 6A A6
//   3  2  msg_id: chosen by the sender; a reply carries the id of its request
//   5  2  length: n + 4, the size of cmd, data and CRC
//   7  2  cmd
//   9  n  data
//   9+n 2 CRC-16/MODBUS of the bytes from msg_id to the last data byte, high byte first (unlike Modbus RTU)
#pragma once

#include <array>
#include <cstdint>

constexpr int kBusFrameOverhead = 11;  // bytes of a frame without data
constexpr int kBusDataLimit = 30720;   // data bytes of the largest frame that is accepted

/// A decoded frame. Over 30 KB: make sure that the stack holds one.
struct BusFrame {
    uint8_t magic[3];  // always zero
    uint16_t msg_id;
    uint16_t length;  // of the data
    uint16_t cmd;
    uint8_t data[kBusDataLimit];  // zero after `length`
};

/// What DecodeDbusMsg answers for a frame that it refuses.
enum BusDecodeError : int {
    kBusFrameShort = -1,
    kBusFrameMagic = -2,
    kBusFrameLength = -3,  // over the limit, or another than that of the bytes received
    kBusFrameCrc = -4,
};

/// Makes a frame in `buffer`. Its length in bytes; 0 when it doesn't fit, or when `data_length` is negative
/// or promises data where `data` is null. Of `msg_id` and `cmd` the low 16 bits count.
int EncodeDbusMsg(unsigned char* buffer, int buffer_size, int msg_id, int cmd, const unsigned char* data,
                  int data_length);

/// Checks and unpacks a frame. The number of data bytes, or a BusDecodeError and a `frame` of all zero.
int DecodeDbusMsg(const unsigned char* bytes, int count, BusFrame* frame);

/// CRC-16/MODBUS. The peers hold the number of bytes in 16 bits: of a longer frame only as many as that
/// number modulo 65536 are checked.
uint16_t BusFrameCrc(const unsigned char* bytes, uint16_t count);

// The table of the CRC's polynomial, low and high bytes. The executable exports both under these names.
extern "C" const std::array<uint8_t, 256> CRCH;
extern "C" const std::array<uint8_t, 256> CRCL;
