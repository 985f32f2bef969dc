// Answers as modems word them.
#pragma once

#include <string>

inline const std::string kOk = "\r\nOK\r\n";
inline const std::string kError = "\r\nERROR\r\n";

/// A line of information, then OK.
inline std::string Answer(const std::string& line) {
    return "\r\n" + line + "\r\n\r\nOK\r\n";
}
