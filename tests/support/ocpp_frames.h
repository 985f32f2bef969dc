// Frames as the OCPP service writes them, for suites of what the daemon does with them. The examples stand
// here byte for byte; other frames get their CRC bit by bit and not from the daemon's tables.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ocpp_frames {

using Bytes = std::vector<uint8_t>;

inline const Bytes kStatusQuery = {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x04, 0x76, 0x03, 0x7B, 0x92};
inline const Bytes kUpgradeRequest = {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x0E, 0x76, 0x00, 0x01, 0x01,
                                      0x01, 0x41, 0x02, 0x01, 0x42, 0x03, 0x01, 0x43, 0xAD, 0xF2};
inline const Bytes kAccepted = {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x01, 0x61, 0x3A};
inline const Bytes kAlreadyRunning = {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x02, 0x60, 0x7A};
inline const Bytes kNoDriver = {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x03, 0xA0, 0xBB};
inline const Bytes kBadRequest = {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x00, 0xA1, 0xFB};
inline const Bytes kModuleRefused = {0xFF, 0x6A, 0xA6, 0x00, 0x01, 0x00, 0x05, 0x76, 0x02, 0x01, 0x67, 0x3B};
inline const Bytes kUpgradeSucceeded = {0xFF, 0x6A, 0xA6, 0x00, 0x01, 0x00,
                                        0x05, 0x76, 0x01, 0x00, 0x57, 0xFA};

inline uint16_t Crc(const Bytes& bytes, size_t first) {
    unsigned crc = 0xFFFF;
    for (size_t i = first; i < bytes.size(); ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return static_cast<uint16_t>(crc);
}

inline Bytes Frame(unsigned msg_id, unsigned cmd, const Bytes& data = {}) {
    Bytes frame = {0xFF, 0x6A, 0xA6};
    for (const unsigned number : {msg_id, static_cast<unsigned>(data.size()) + 4, cmd}) {
        frame.push_back(static_cast<uint8_t>(number >> 8));
        frame.push_back(static_cast<uint8_t>(number));
    }
    frame.insert(frame.end(), data.begin(), data.end());
    const uint16_t crc = Crc(frame, 3);
    frame.push_back(static_cast<uint8_t>(crc >> 8));
    frame.push_back(static_cast<uint8_t>(crc));
    return frame;
}

/// The data of an upgrade request with these texts.
inline Bytes RequestData(const std::vector<std::string>& texts) {
    Bytes data = {1};
    for (const std::string& text : texts) {
        data.push_back(static_cast<uint8_t>(data.size()));  // any type will do
        data.push_back(static_cast<uint8_t>(text.size()));
        data.insert(data.end(), text.begin(), text.end());
    }
    return data;
}

}  // namespace ocpp_frames
