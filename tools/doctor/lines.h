// The little work with text that the checks share.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/text/text.h"

namespace doctor {

using simulator_text::Split;
using simulator_text::StartsWith;

/// The words between blanks and tabs.
std::vector<std::string> Words(std::string_view text);

/// Without white space at both ends.
std::string Trimmed(std::string_view text);

/// A shell's value: what stands in quotes, or all up to the first blank.
std::string Unquoted(const std::string& value);

bool Contains(std::string_view text, std::string_view part);

/// "a, b and c".
std::string Listed(const std::vector<std::string>& items);

}  // namespace doctor
