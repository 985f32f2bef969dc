// Text work of the modem model: commands as a modem reads them, their arguments, and the words of knobs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/text/text.h"

namespace modem_sim {

using simulator_text::Escape;
using simulator_text::TakeWord;
using simulator_text::Trim;
using simulator_text::Unescape;

/// Whether an escaped text holds \r or \n.
bool HasLineEndEscape(std::string_view text);

/// A command as the modem compares it: blanks dropped and letters raised, but not between quotes, single or
/// double.
std::string NormaliseCommand(std::string_view command);

/// Parts between commas, those between quotes left alone, with the quotes around a part taken off. A text of
/// nothing has no parts.
std::vector<std::string> SplitArguments(std::string_view text);

/// The whole text as a decimal number within the limits, else empty.
std::optional<int64_t> ParseInteger(std::string_view text, int64_t smallest, int64_t largest);

}  // namespace modem_sim
