// Text work that the modem simulator, the bus peer and the scenarios share.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator_text {

/// Printable characters and whole UTF-8 characters stay; \r \n \t \0 \\ and \xHH stand for the others.
std::string Escape(std::string_view bytes);
void AppendEscaped(std::string_view bytes, std::string* text);

/// The reverse; \" is a quote. An unknown escape stays as it is.
std::string Unescape(std::string_view text);

/// Two upper-case digits for each byte, with `separator` between the bytes.
std::string ToHex(std::string_view bytes, std::string_view separator = "");

/// Reads hexadecimal digits in pairs, with or without blanks between the pairs. Empty for anything else.
std::optional<std::string> FromHex(std::string_view text);

std::string_view Trim(std::string_view text);

bool StartsWith(std::string_view text, std::string_view start);

/// The pieces between `separator`; what follows the last one only if there is something.
std::vector<std::string> Split(std::string_view text, char separator);

/// Cuts the first word off `*text`, with the blanks around it; empty when there is none left.
std::string_view TakeWord(std::string_view* text);
std::string TakeWord(std::string* text);

}  // namespace simulator_text
