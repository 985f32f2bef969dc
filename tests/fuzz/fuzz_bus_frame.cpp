// Any bytes as a frame from the bus, and any bytes as the data of a frame to it.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/dbus_util.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

using Bytes = std::vector<unsigned char>;

BusFrame frame;

void CheckDecoder(const Bytes& bytes) {
    memset(&frame, 0xAA, sizeof(frame));
    const int length = DecodeDbusMsg(bytes.data(), static_cast<int>(bytes.size()), &frame);
    if (length < 0) {
        FUZZ_CHECK(length >= kBusFrameCrc);
        const auto* raw = reinterpret_cast<const unsigned char*>(&frame);
        FUZZ_CHECK(std::all_of(raw, raw + sizeof(frame), [](unsigned char byte) { return byte == 0; }));
        return;
    }
    FUZZ_CHECK(static_cast<size_t>(length) + kBusFrameOverhead == bytes.size());
    Bytes again(bytes.size());
    const int size = EncodeDbusMsg(again.data(), static_cast<int>(again.size()), frame.msg_id, frame.cmd,
                                   frame.data, length);
    FUZZ_CHECK(static_cast<size_t>(size) == bytes.size() && again == bytes);
}

/// The first bytes choose the length arguments, which may lie in their favour only: never more than there is.
void CheckEncoder(const Bytes& bytes) {
    if (bytes.size() < 8) return;
    int numbers[2];
    memcpy(numbers, bytes.data(), sizeof(numbers));
    const Bytes data(bytes.begin() + sizeof(numbers), bytes.end());
    const int data_length = std::min(numbers[0], static_cast<int>(data.size()));
    const int buffer_size = std::min(numbers[1], static_cast<int>(data.size()) + kBusFrameOverhead);
    Bytes buffer(static_cast<size_t>(std::max(buffer_size, 0)));
    const int size = EncodeDbusMsg(buffer.data(), buffer_size, 0x1234, 0x7600, data.data(), data_length);
    if (size == 0) {
        FUZZ_CHECK(data_length < 0 || data_length + kBusFrameOverhead > buffer_size);
        return;
    }
    FUZZ_CHECK(size == data_length + kBusFrameOverhead && size <= buffer_size);
    const int decoded = DecodeDbusMsg(buffer.data(), size, &frame);
    FUZZ_CHECK(decoded == (data_length <= kBusDataLimit ? data_length : kBusFrameLength));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const Bytes input(bytes, bytes + size);
    CheckDecoder(input);
    CheckEncoder(input);
    return 0;
}
