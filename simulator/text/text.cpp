#include "simulator/text/text.h"

#include <cctype>
#include <cstdlib>

namespace simulator_text {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

/// Length of the UTF-8 character at the start of the text, or 0 if there is no whole one.
size_t Utf8Length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t length = first >= 0xC2 && first < 0xE0 ? 2 : first >= 0xE0 && first < 0xF0 ? 3 : 0;
    if (length == 0 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
    }
    return length;
}

bool IsPlain(char character) {
    return character >= 0x20 && character < 0x7F && character != '\\';
}

bool IsHexPair(std::string_view text) {
    return text.size() >= 2 && isxdigit(static_cast<unsigned char>(text[0])) != 0 &&
           isxdigit(static_cast<unsigned char>(text[1])) != 0;
}

char ByteOfHexPair(std::string_view text) {
    return static_cast<char>(strtol(std::string(text.substr(0, 2)).c_str(), nullptr, 16));
}

}  // namespace

std::string Escape(std::string_view bytes) {
    std::string text;
    AppendEscaped(bytes, &text);
    return text;
}

void AppendEscaped(std::string_view bytes, std::string* text) {
    size_t plain_start = 0;  // what needs no escape is taken over in one piece
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (IsPlain(bytes[i])) continue;
        const size_t character_length = Utf8Length(bytes.substr(i));
        if (character_length > 0) {
            i += character_length - 1;
            continue;
        }
        text->append(bytes, plain_start, i - plain_start);
        plain_start = i + 1;
        if (bytes[i] == '\r') {
            *text += "\\r";
        } else if (bytes[i] == '\n') {
            *text += "\\n";
        } else if (bytes[i] == '\t') {
            *text += "\\t";
        } else if (bytes[i] == '\0') {
            *text += "\\0";
        } else if (bytes[i] == '\\') {
            *text += "\\\\";
        } else {
            *text += "\\x" + ToHex(bytes.substr(i, 1));
        }
    }
    text->append(bytes, plain_start);
}

std::string Unescape(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            bytes += text[i];
            continue;
        }
        const char letter = text[++i];
        const bool is_hex = letter == 'x' && IsHexPair(text.substr(i + 1));
        if (letter == 'r') {
            bytes += '\r';
        } else if (letter == 'n') {
            bytes += '\n';
        } else if (letter == 't') {
            bytes += '\t';
        } else if (letter == '0') {
            bytes += '\0';
        } else if (letter == '\\' || letter == '"') {
            bytes += letter;
        } else if (is_hex) {
            bytes += ByteOfHexPair(text.substr(i + 1));
            i += 2;
        } else {
            bytes += '\\';
            bytes += letter;
        }
    }
    return bytes;
}

std::string ToHex(std::string_view bytes, std::string_view separator) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char character : bytes) {
        if (!text.empty()) text += separator;
        const auto byte = static_cast<unsigned char>(character);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

std::optional<std::string> FromHex(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (text[0] == ' ') {
            text.remove_prefix(1);
            continue;
        }
        if (!IsHexPair(text)) return std::nullopt;
        bytes += ByteOfHexPair(text);
        text.remove_prefix(2);
    }
    return bytes;
}

std::string_view Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const size_t end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return pieces;
}

std::string_view TakeWord(std::string_view* text) {
    *text = Trim(*text);
    const size_t end = text->find_first_of(kBlanks);
    const std::string_view word = text->substr(0, end);
    *text = end == std::string_view::npos ? std::string_view() : Trim(text->substr(end));
    return word;
}

std::string TakeWord(std::string* text) {
    std::string_view rest = *text;
    std::string word(TakeWord(&rest));
    *text = std::string(rest);
    return word;
}

}  // namespace simulator_text
