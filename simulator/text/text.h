// Text work that the modem simulator and the scenarios share.
#pragma once

#include <string>
#include <string_view>

namespace simulator_text {

/// Printable characters and whole UTF-8 characters stay; \r \n \t \0 \\ and \xHH stand for the others.
std::string Escape(std::string_view bytes);

/// The reverse; \" is a quote. An unknown escape stays as it is.
std::string Unescape(std::string_view text);

std::string_view Trim(std::string_view text);

/// Cuts the first word off `*text`, with the blanks around it; empty when there is none left.
std::string_view TakeWord(std::string_view* text);
std::string TakeWord(std::string* text);

}  // namespace simulator_text
