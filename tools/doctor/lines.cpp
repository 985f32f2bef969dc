#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

}  // namespace

std::vector<std::string> Words(std::string_view text) {
    std::vector<std::string> words;
    size_t at = text.find_first_not_of(kBlanks);
    while (at != std::string_view::npos) {
        const size_t end = text.find_first_of(kBlanks, at);
        words.emplace_back(text.substr(at, end == std::string_view::npos ? end : end - at));
        at = text.find_first_not_of(kBlanks, end);
    }
    return words;
}

std::string Trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return "";
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

std::string Unquoted(const std::string& value) {
    if (!value.empty() && (value[0] == '"' || value[0] == '\'')) {
        return value.substr(1, value.find(value[0], 1) - 1);
    }
    return value.substr(0, value.find_first_of(kBlanks));
}

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

std::string Listed(const std::vector<std::string>& items) {
    std::string text;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0) text += i + 1 == items.size() ? " and " : ", ";
        text += items[i];
    }
    return text;
}

}  // namespace doctor
