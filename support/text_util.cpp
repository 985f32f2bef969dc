#include "support/text_util.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

bool IsSpace(char c) {
    return isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

size_t CopyText(char* to, size_t size, const char* from) {
    if (size == 0) return 0;
    const size_t length = from == nullptr ? 0 : strnlen(from, size - 1);
    if (length > 0) memcpy(to, from, length);
    to[length] = '\0';
    return length;
}

char* NextField(char** rest, const char* delimiters) {
    return strsep(rest, delimiters);
}

char* NextToken(char** rest, const char* delimiters) {
    if (*rest == nullptr) return nullptr;
    *rest += strspn(*rest, delimiters);
    if (**rest == '\0') {
        *rest = nullptr;
        return nullptr;
    }
    return strsep(rest, delimiters);
}

int32_t ParseNumber(const char* text) {
    if (text == nullptr) return 0;
    // Saturates by itself at the range of long, which is 64 bits on some boards and 32 on others. The clamp
    // makes it the same number on all: what a modem says beyond 32 bits means the same to each.
    const long value = strtol(text, nullptr, 10);
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<long>(value, Limits::min(), Limits::max()));
}

char* TrimStart(char* text) {
    while (IsSpace(*text)) ++text;
    return text;
}

char* TrimEnd(char* text) {
    char* end = text + strlen(text);
    while (end > text && IsSpace(end[-1])) *--end = '\0';
    return text;
}

char* str_trim(char* text) {
    return TrimStart(TrimEnd(text));
}
