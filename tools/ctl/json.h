// JSON of texts that others wrote.
#pragma once

#include <string>
#include <string_view>

#include <rapidjson/document.h>

namespace ctl {

/// Valid UTF-8: bytes that are none become the characters of their number.
std::string Utf8Of(std::string_view bytes);

/// A value that owns its copy.
rapidjson::Value JsonText(std::string_view bytes, rapidjson::Document& document);

/// On one line, or laid out for people; with a line end.
std::string JsonLine(const rapidjson::Document& document);
std::string JsonPage(const rapidjson::Document& document);

}  // namespace ctl
