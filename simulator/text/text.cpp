#include "simulator/text/text.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace simulator_text {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// Length of the UTF-8 character at the start of the text, or 0 if there is no whole one.
size_t Utf8Length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t length = first >= 0xC2 && first < 0xE0 ? 2 : first >= 0xE0 && first < 0xF0 ? 3 : 0;
    if (length == 0 || text.size() < length) return 0;
    for (size_t i = 1; i < length; i++) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
    }
    return length;
}

}  // namespace

std::string Escape(std::string_view bytes) {
    std::string text;
    for (size_t i = 0; i < bytes.size(); i++) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte >= 0x80) {
            const size_t length = Utf8Length(bytes.substr(i));
            if (length > 0) {
                text += bytes.substr(i, length);
                i += length - 1;
                continue;
            }
        }
        if (byte == '\r') {
            text += "\\r";
        } else if (byte == '\n') {
            text += "\\n";
        } else if (byte == '\t') {
            text += "\\t";
        } else if (byte == '\0') {
            text += "\\0";
        } else if (byte == '\\') {
            text += "\\\\";
        } else if (byte < 0x20 || byte >= 0x7F) {
            char escape[8];
            snprintf(escape, sizeof(escape), "\\x%02X", byte);
            text += escape;
        } else {
            text += bytes[i];
        }
    }
    return text;
}

std::string Unescape(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            bytes += text[i];
            continue;
        }
        const char letter = text[++i];
        const bool is_hex = letter == 'x' && i + 2 < text.size() &&
                            isxdigit(static_cast<unsigned char>(text[i + 1])) &&
                            isxdigit(static_cast<unsigned char>(text[i + 2]));
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
            bytes += static_cast<char>(strtol(std::string(text.substr(i + 1, 2)).c_str(), nullptr, 16));
            i += 2;
        } else {
            bytes += '\\';
            bytes += letter;
        }
    }
    return bytes;
}

std::string_view Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
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
