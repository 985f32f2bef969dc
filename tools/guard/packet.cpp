#include "tools/guard/packet.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>

namespace guard {

namespace {

constexpr size_t kDnsHeader_bytes = 12;
constexpr size_t kMostLabel = 63;
constexpr size_t kMostName = 253;
constexpr uint16_t kTypeA = 1;
constexpr uint16_t kClassInternet = 1;
constexpr uint8_t kPointer = 0xC0;
constexpr uint8_t kTruncated = 0x02;
constexpr uint8_t kEchoRequest = 8;
constexpr size_t kEcho_bytes = 8;

void Add16(uint16_t value, std::string* bytes) {
    bytes->push_back(static_cast<char>(value >> 8));
    bytes->push_back(static_cast<char>(value & 0xFF));
}

uint8_t At(std::string_view bytes, size_t at) {
    return static_cast<uint8_t>(bytes[at]);
}

uint16_t At16(std::string_view bytes, size_t at) {
    return static_cast<uint16_t>(At(bytes, at) << 8 | At(bytes, at + 1));
}

/// Behind the name at `at`; nothing where that isn't within the bytes.
std::optional<size_t> SkipName(std::string_view bytes, size_t at) {
    while (at < bytes.size()) {
        const uint8_t length = At(bytes, at);
        if ((length & kPointer) == kPointer) return at + 2;
        if (length > kMostLabel) return {};
        at += 1U + length;
        if (length == 0) return at;
    }
    return {};
}

struct Range {
    uint32_t network;
    int bits;
};

// Private, shared, link-local, the board itself, and what has no meaning: no public name has such an address.
constexpr Range kNotPublic[] = {{0x00000000, 8},  {0x0A000000, 8},  {0x64400000, 10}, {0x7F000000, 8},
                                {0xA9FE0000, 16}, {0xAC100000, 12}, {0xC0A80000, 16}, {0xE0000000, 3}};

bool IsPublic(uint32_t address) {
    return std::none_of(std::begin(kNotPublic), std::end(kNotPublic), [address](const Range& range) {
        return (address ^ range.network) >> (32 - range.bits) == 0;
    });
}

}  // namespace

bool IsDnsName(std::string_view name) {
    if (name.empty() || name.size() > kMostName) return false;
    size_t label = 0;
    for (const char c : name) {
        if (c == '.') {
            if (label == 0) return false;
            label = 0;
            continue;
        }
        const bool is_known = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                              c == '-' || c == '_';
        if (!is_known || ++label > kMostLabel) return false;
    }
    return label > 0;
}

std::string DnsQuestion(uint16_t number, std::string_view name) {
    std::string bytes;
    Add16(number, &bytes);
    Add16(0x0100, &bytes);  // recursion is wanted
    Add16(1, &bytes);
    bytes.append(6, '\0');
    while (!name.empty()) {
        const size_t length = std::min(name.find('.'), name.size());
        bytes.push_back(static_cast<char>(length));
        bytes.append(name.substr(0, length));
        name.remove_prefix(std::min(length + 1, name.size()));
    }
    bytes.push_back('\0');
    Add16(kTypeA, &bytes);
    Add16(kClassInternet, &bytes);
    return bytes;
}

ProbeVerdict JudgeDns(std::string_view answer, std::string_view question, uint32_t expected) {
    // The number of the question, an answer, and the question again.
    if (answer.size() < question.size() || answer.substr(0, 2) != question.substr(0, 2) ||
        (At(answer, 2) & 0x80) == 0 || At16(answer, 4) != 1 ||
        answer.substr(kDnsHeader_bytes, question.size() - kDnsHeader_bytes) !=
            question.substr(kDnsHeader_bytes)) {
        return ProbeVerdict::kSilent;
    }
    if ((At(answer, 3) & 0x0F) != 0) return ProbeVerdict::kAnswered;
    const uint16_t records = At16(answer, 6);
    size_t at = question.size();
    int addresses = 0;
    for (uint16_t i = 0; i < records; ++i) {
        const std::optional<size_t> fields = SkipName(answer, at);
        constexpr size_t kFields_bytes = 10;  // type, class, time to live, length
        if (!fields || *fields + kFields_bytes > answer.size()) break;
        const size_t length = At16(answer, *fields + 8);
        const size_t data = *fields + kFields_bytes;
        if (data + length > answer.size()) break;
        if (At16(answer, *fields) == kTypeA && length == sizeof(uint32_t)) {
            uint32_t address = 0;
            memcpy(&address, answer.data() + data, sizeof address);
            ++addresses;
            const bool is_right = expected != 0 ? address == expected : IsPublic(ntohl(address));
            if (is_right) return ProbeVerdict::kAnswered;
        }
        at = data + length;
    }
    // What was cut to fit may have held the address.
    if ((At(answer, 2) & kTruncated) != 0) return ProbeVerdict::kAnswered;
    // A name without an address is an answer too, where none is expected.
    return expected == 0 && addresses == 0 ? ProbeVerdict::kAnswered : ProbeVerdict::kCaptive;
}

std::string EchoRequest(uint16_t id, uint16_t number) {
    std::string bytes(1, static_cast<char>(kEchoRequest));
    bytes.push_back('\0');
    // The sum of 16-bit words, complemented; those that aren't zero are type, id and number.
    uint32_t sum = (kEchoRequest << 8) + id + number;
    sum = (sum & 0xFFFF) + (sum >> 16);
    sum = (sum & 0xFFFF) + (sum >> 16);
    Add16(static_cast<uint16_t>(~sum), &bytes);
    Add16(id, &bytes);
    Add16(number, &bytes);
    return bytes;
}

bool IsEchoReply(std::string_view packet, bool is_raw, uint16_t id, uint16_t number) {
    if (is_raw) {
        const size_t header = packet.empty() ? 0 : (At(packet, 0) & 0x0FU) * 4;
        if (header == 0 || packet.size() < header) return false;
        packet.remove_prefix(header);
    }
    if (packet.size() < kEcho_bytes || At(packet, 0) != 0 || At(packet, 1) != 0) return false;
    // Without a raw socket the kernel has chosen the id, and hands over nobody else's replies.
    return At16(packet, 6) == number && (!is_raw || At16(packet, 4) == id);
}

}  // namespace guard
