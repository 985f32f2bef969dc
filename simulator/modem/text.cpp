// Text work of the modem model: escapes in knobs, commands as a modem reads them, arguments.
#include "simulator/modem/text.h"

#include <cctype>
#include <charconv>
#include <cstdio>

namespace modem_sim {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

int HexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

bool IsQuote(char character) {
    return character == '"' || character == '\'';
}

}  // namespace

std::string Unescape(std::string_view text) {
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        const char next = at + 1 < text.size() ? text[at + 1] : '\0';
        if (text[at] != '\\' || next == '\0') {
            plain += text[at];
            continue;
        }
        const bool is_hex =
            next == 'x' && at + 3 < text.size() && HexDigit(text[at + 2]) >= 0 && HexDigit(text[at + 3]) >= 0;
        if (is_hex) {
            plain += static_cast<char>(HexDigit(text[at + 2]) * 16 + HexDigit(text[at + 3]));
            at += 3;
            continue;
        }
        constexpr std::string_view kNames = "rnt0\"\\";
        constexpr std::string_view kBytes("\r\n\t\0\"\\", 6);
        const size_t which = kNames.find(next);
        if (which == std::string_view::npos) {
            plain += '\\';
            continue;
        }
        plain += kBytes[which];
        ++at;
    }
    return plain;
}

std::string Escape(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\r') {
            escaped += "\\r";
        } else if (character == '\n') {
            escaped += "\\n";
        } else if (character == '\\') {
            escaped += "\\\\";
        } else if (byte >= 0x20 && byte < 0x7f) {
            escaped += character;
        } else {
            char hex[8];
            snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned>(byte));
            escaped += hex;
        }
    }
    return escaped;
}

bool HasLineEndEscape(std::string_view text) {
    return text.find("\\r") != std::string_view::npos || text.find("\\n") != std::string_view::npos;
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

std::string NormaliseCommand(std::string_view command) {
    std::string normal;
    char open_quote = '\0';
    for (const char character : Trim(command)) {
        if (open_quote != '\0') {
            normal += character;
            if (character == open_quote) open_quote = '\0';
            continue;
        }
        if (character == ' ' || character == '\t') continue;
        if (IsQuote(character)) open_quote = character;
        normal += static_cast<char>(toupper(static_cast<unsigned char>(character)));
    }
    return normal;
}

std::vector<std::string> SplitArguments(std::string_view text) {
    if (text.empty()) return {};
    std::vector<std::string> parts(1);
    char open_quote = '\0';
    for (const char character : text) {
        if (open_quote != '\0') {
            if (character == open_quote) {
                open_quote = '\0';
            } else {
                parts.back() += character;
            }
        } else if (IsQuote(character)) {
            open_quote = character;
        } else if (character == ',') {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

std::optional<int64_t> ParseInteger(std::string_view text, int64_t smallest, int64_t largest) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped_at, error] = std::from_chars(text.data(), end, number);
    const bool is_number = error == std::errc() && stopped_at == end && !text.empty();
    if (!is_number || number < smallest || number > largest) return std::nullopt;
    return number;
}

}  // namespace modem_sim
