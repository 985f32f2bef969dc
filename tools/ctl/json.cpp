#include "tools/ctl/json.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace ctl {

namespace {

/// Length of the UTF-8 character at the start of the text, or 0 if there is no good one.
size_t CharacterLength(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const size_t length = byte(0) < 0x80                      ? 1
                          : byte(0) >= 0xC2 && byte(0) < 0xE0 ? 2
                          : byte(0) >= 0xE0 && byte(0) < 0xF0 ? 3
                          : byte(0) >= 0xF0 && byte(0) < 0xF5 ? 4
                                                              : 0;
    if (length == 0 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Spelt longer than needed, halves of a pair, and beyond the last character.
    if (byte(0) == 0xE0 && byte(1) < 0xA0) return 0;
    if (byte(0) == 0xED && byte(1) >= 0xA0) return 0;
    if (byte(0) == 0xF0 && byte(1) < 0x90) return 0;
    if (byte(0) == 0xF4 && byte(1) >= 0x90) return 0;
    return length;
}

template <class Writer>
std::string Write(const rapidjson::Document& document) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    document.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace

std::string Utf8Of(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const size_t length = CharacterLength(bytes);
        if (length > 0) {
            text += bytes.substr(0, length);
        } else {
            const auto byte = static_cast<unsigned char>(bytes[0]);
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
        bytes.remove_prefix(length > 0 ? length : 1);
    }
    return text;
}

rapidjson::Value JsonText(std::string_view bytes, rapidjson::Document& document) {
    const std::string text = Utf8Of(bytes);
    return rapidjson::Value(text.data(), static_cast<rapidjson::SizeType>(text.size()),
                            document.GetAllocator());
}

std::string JsonLine(const rapidjson::Document& document) {
    return Write<rapidjson::Writer<rapidjson::StringBuffer>>(document);
}

std::string JsonPage(const rapidjson::Document& document) {
    return Write<rapidjson::PrettyWriter<rapidjson::StringBuffer>>(document);
}

}  // namespace ctl
