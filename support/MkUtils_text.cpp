// Text and numbers of MkUtils.
#include "support/MkUtils.h"

#include <strings.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint64_t kKilobyte = 1024;
constexpr uint64_t kMegabyte = 1024 * kKilobyte;
constexpr uint64_t kGigabyte = 1024 * kMegabyte;

constexpr uint32_t kHashSeed = 5381;

template <size_t N>
bool IsOneOf(const char* text, const char* const (&words)[N]) {
    for (const char* word : words) {
        if (strcasecmp(text, word) == 0) return true;
    }
    return false;
}

}  // namespace

const char* GetBaseName(const char* path) {
    const char* slash = strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

const char* GetExtension(const char* path) {
    const char* name = GetBaseName(path);
    const char* dot = strrchr(name, '.');
    return dot == nullptr || dot == name ? name + strlen(name) : dot + 1;
}

std::string GetSizeText(uint64_t size_bytes) {
    const double size = static_cast<double>(size_bytes);
    char text[32];
    if (size_bytes < kKilobyte) {
        snprintf(text, sizeof(text), "%d bytes", static_cast<int>(size_bytes));
    } else if (size_bytes < kMegabyte) {
        snprintf(text, sizeof(text), "%.1f KB", size / kKilobyte);
    } else if (size_bytes < kGigabyte) {
        snprintf(text, sizeof(text), "%.1f MB", size / kMegabyte);
    } else {
        snprintf(text, sizeof(text), "%.1f GB", size / kGigabyte);
    }
    return text;
}

uint32_t HashText(const char* text) {
    uint32_t hash = kHashSeed;
    for (; *text != '\0'; ++text) hash = hash * 33 + static_cast<unsigned char>(*text);
    return hash;
}

uint8_t SumBytes(const unsigned char* bytes, size_t count) {
    uint8_t sum = 0;
    for (size_t i = 0; i < count; ++i) sum = static_cast<uint8_t>(sum + bytes[i]);
    return sum;
}

uint32_t ParseHexNumber(const char* text) {
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 2;
    uint32_t value = 0;
    const auto parsed = std::from_chars(text, text + strlen(text), value, 16);
    return parsed.ec == std::errc::result_out_of_range ? UINT32_MAX : value;
}

bool GetEnvironmentFlag(const char* name, bool otherwise) {
    static constexpr const char* kYes[] = {"1", "y", "yes", "true", "on"};
    static constexpr const char* kNo[] = {"0", "n", "no", "false", "off"};
    const char* text = getenv(name);
    if (text == nullptr) return otherwise;
    if (IsOneOf(text, kYes)) return true;
    return IsOneOf(text, kNo) ? false : otherwise;
}

int32_t GetEnvironmentNumber(const char* name, int32_t otherwise) {
    const char* text = getenv(name);
    if (text == nullptr || *text == '\0') return otherwise;
    char* end = nullptr;
    errno = 0;
    const long value = strtol(text, &end, 10);
    const bool fits = errno == 0 && value >= INT32_MIN && value <= INT32_MAX;
    return *end == '\0' && fits ? static_cast<int32_t>(value) : otherwise;
}
