// See dbus_util.h.
#include "support/dbus_util.h"

#include <cstddef>
#include <cstring>

#include "support/trace_log.h"

namespace {

constexpr uint8_t kMagic[] = {0xFF, 0x6A, 0xA6};

// Offsets of a frame's fields.
constexpr int kMsgIdAt = 3;
constexpr int kLengthAt = 5;
constexpr int kCmdAt = 7;
constexpr int kDataAt = 9;

constexpr int kBytesBeforeCmd = kCmdAt;  // the length field counts what follows
constexpr int kCmdAndCrcSize = 4;        // counted by the length field beside the data
// Bytes under the CRC beyond those that the length field counts: two more fields, less the CRC itself.
constexpr int kCheckedBesideLength = 2;
constexpr int kLengthLimit = kBusDataLimit + kCmdAndCrcSize;

constexpr uint16_t kReflectedPolynomial = 0xA001;  // 0x8005, bits reversed
constexpr uint16_t kCrcStart = 0xFFFF;

constexpr uint16_t CrcTableEntry(size_t index) {
    auto entry = static_cast<uint16_t>(index);
    for (int bit = 0; bit < 8; ++bit) {
        const bool carry = (entry & 1) != 0;
        entry = static_cast<uint16_t>((entry >> 1) ^ (carry ? kReflectedPolynomial : 0));
    }
    return entry;
}

/// One byte of every table entry: the low one with `shift` 0, the high one with 8.
constexpr std::array<uint8_t, 256> CrcTableHalf(int shift) {
    std::array<uint8_t, 256> half{};
    for (size_t i = 0; i < half.size(); ++i) half[i] = static_cast<uint8_t>(CrcTableEntry(i) >> shift);
    return half;
}

void PutU16(unsigned char* at, unsigned value) {
    at[0] = static_cast<unsigned char>(value >> 8);
    at[1] = static_cast<unsigned char>(value);
}

uint16_t GetU16(const unsigned char* at) {
    return static_cast<uint16_t>(at[0] << 8 | at[1]);
}

/// Bare hexadecimal, without a place: it continues the line of the log call before it.
void DumpDebug(const unsigned char* bytes, int count) {
    trace_hexdump("", "", 0, kLogDebug, bytes, count);
}

}  // namespace

// Computed at compile time. The header declares them extern, which makes them plain data of the executable.
extern "C" {
constexpr std::array<uint8_t, 256> CRCH = CrcTableHalf(0);
constexpr std::array<uint8_t, 256> CRCL = CrcTableHalf(8);
}

uint16_t BusFrameCrc(const unsigned char* bytes, uint16_t count) {
    if (count == 0) return kCrcStart;
    uint8_t high = kCrcStart >> 8;
    uint8_t i = (kCrcStart & 0xFF) ^ *bytes;
    for (const unsigned char* last = bytes + count - 1; bytes != last;) {
        const uint8_t known = high ^ *++bytes;  // beside the look-up, which is what takes time
        high = CRCL[i];
        i = CRCH[i] ^ known;
    }
    return static_cast<uint16_t>(CRCL[i] << 8 | (CRCH[i] ^ high));
}

int EncodeDbusMsg(unsigned char* buffer, int buffer_size, int msg_id, int cmd, const unsigned char* data,
                  int data_length) {
    const bool readable = data_length == 0 || (data_length > 0 && data != nullptr);
    TRACE(kLogDebug,
          "Encode dbus msg. msg_id=%04X cmd=%04X dat_length %d\n pdat = ", static_cast<unsigned>(msg_id),
          static_cast<unsigned>(cmd), data_length);
    DumpDebug(data, readable ? data_length : 0);

    const int64_t frame_size = static_cast<int64_t>(data_length) + kBusFrameOverhead;
    if (frame_size > buffer_size || !readable) {
        TRACE(kLogAnnounce, "Buff size is small. buff size = %d\n",
              data_length);  // the data's: what readers of the log know
        return 0;
    }

    const int frame_length = static_cast<int>(frame_size);
    memcpy(buffer, kMagic, sizeof(kMagic));
    PutU16(buffer + kMsgIdAt, static_cast<unsigned>(msg_id));
    PutU16(buffer + kLengthAt, static_cast<unsigned>(frame_length - kBytesBeforeCmd));
    PutU16(buffer + kCmdAt, static_cast<unsigned>(cmd));
    if (data_length > 0) memcpy(buffer + kDataAt, data, static_cast<size_t>(data_length));
    const int checked = frame_length - kBytesBeforeCmd + kCheckedBesideLength;
    PutU16(buffer + kDataAt + data_length, BusFrameCrc(buffer + kMsgIdAt, static_cast<uint16_t>(checked)));

    TRACE(kLogDebug, "Encoded msg. length %d\n pdat = ", frame_length);
    DumpDebug(buffer, frame_length);
    return frame_length;
}

int DecodeDbusMsg(const unsigned char* bytes, int count, BusFrame* frame) {
    memset(frame, 0, sizeof(*frame));
    if (count < kBusFrameOverhead) return kBusFrameShort;
    if (memcmp(bytes, kMagic, sizeof(kMagic)) != 0) return kBusFrameMagic;

    const int length = GetU16(bytes + kLengthAt);
    if (length > kLengthLimit || length != count - kBytesBeforeCmd) return kBusFrameLength;
    const uint16_t crc = BusFrameCrc(bytes + kMsgIdAt, static_cast<uint16_t>(length + kCheckedBesideLength));
    const int data_length = length - kCmdAndCrcSize;
    if (crc != GetU16(bytes + kDataAt + data_length)) return kBusFrameCrc;

    frame->msg_id = GetU16(bytes + kMsgIdAt);
    frame->cmd = GetU16(bytes + kCmdAt);
    frame->length = static_cast<uint16_t>(data_length);
    memcpy(frame->data, bytes + kDataAt, static_cast<size_t>(data_length));
    return data_length;
}
