// Text work of the modem model: escapes in knobs, commands as a modem reads them, arguments.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace modem_sim {

/// \r \n \t \0 \" \\ and \xHH become the byte that they stand for; any other backslash stays as it is.
std::string Unescape(std::string_view text);

/// The reverse: printable ASCII stays, everything else becomes an escape.
std::string Escape(std::string_view text);

bool HasLineEndEscape(std::string_view text);

std::string_view Trim(std::string_view text);

/// Cuts the first word off `*text`; empty when there is none left.
std::string_view TakeWord(std::string_view* text);

/// A command as the modem compares it: blanks dropped and letters raised, but not between quotes, single or
/// double.
std::string NormaliseCommand(std::string_view command);

/// Parts between commas, those between quotes left alone, with the quotes around a part taken off. A text of
/// nothing has no parts.
std::vector<std::string> SplitArguments(std::string_view text);

/// The whole text as a decimal number within the limits, else empty.
std::optional<int64_t> ParseInteger(std::string_view text, int64_t smallest, int64_t largest);

}  // namespace modem_sim
