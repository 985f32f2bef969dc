#include "simulator/modem/text.h"

#include <cctype>
#include <charconv>

namespace modem_sim {

namespace {

bool IsQuote(char character) {
    return character == '"' || character == '\'';
}

}  // namespace

bool HasLineEndEscape(std::string_view text) {
    return text.find("\\r") != std::string_view::npos || text.find("\\n") != std::string_view::npos;
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
