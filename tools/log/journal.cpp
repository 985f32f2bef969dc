#include "tools/log/journal.h"

#include <cstdlib>

#include <rapidjson/document.h>

namespace ravelin_log {
namespace {

constexpr char kMessage[] = "MESSAGE";
constexpr size_t kLengthSize_bytes = 8;

int64_t NumberOf(const std::string& text) {
    return text.empty() ? -1 : strtoll(text.c_str(), nullptr, 10);
}

void TakeField(std::string_view key, const std::string& value, int64_t number, JournalEntry* entry) {
    if (key == kMessage) {
        entry->message = value;
        entry->has_message = true;
        entry->number = number;
    } else if (key == "__REALTIME_TIMESTAMP") {
        entry->time_us = NumberOf(value);
    } else if (key == "_TRANSPORT") {
        entry->transport = value;
    } else if (key == "SYSLOG_IDENTIFIER") {
        entry->program = value;
    } else if (key == "_COMM" && entry->program.empty()) {
        entry->program = value;
    } else if (key == "_PID" || (key == "SYSLOG_PID" && entry->process == 0)) {
        entry->process = static_cast<int>(NumberOf(value));
    }
}

bool NextExported(Input& input, JournalEntry* entry) {
    std::string_view line;
    bool has_fields = false;
    while (input.NextLine(&line)) {
        if (line.empty()) {
            if (has_fields) return true;
            continue;
        }
        has_fields = true;
        const int64_t number = input.line_number();
        const size_t sign = line.find('=');
        if (sign != std::string_view::npos) {
            TakeField(line.substr(0, sign), std::string(line.substr(sign + 1)), number, entry);
            continue;
        }
        // What is no plain text: the key alone, eight bytes with the length, the lowest first, the bytes, a
        // line end.
        const std::string key(line);
        std::string bytes;
        if (!input.NextBytes(kLengthSize_bytes, &bytes)) return has_fields;
        uint64_t size = 0;
        for (size_t i = kLengthSize_bytes; i-- > 0;) size = size << 8 | static_cast<unsigned char>(bytes[i]);
        const bool is_whole = input.NextBytes(size, &bytes);
        TakeField(key, bytes, number, entry);
        if (!is_whole || !input.NextBytes(1, &bytes)) return true;
    }
    return has_fields;
}

std::string TextOf(const rapidjson::Value& value) {
    if (value.IsString()) return {value.GetString(), value.GetStringLength()};
    if (value.IsInt64()) return std::to_string(value.GetInt64());
    std::string text;
    if (value.IsArray()) {
        for (const rapidjson::Value& item : value.GetArray()) {
            if (item.IsInt()) {
                text += static_cast<char>(item.GetInt());  // the bytes of what is no UTF-8
            } else if (item.IsString()) {
                return TextOf(item);  // a field that was given twice
            }
        }
    }
    return text;
}

bool NextJson(Input& input, JournalEntry* entry) {
    std::string_view line;
    while (input.NextLine(&line)) {
        rapidjson::Document document;
        document.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
        if (document.HasParseError() || !document.IsObject()) continue;  // a torn line
        for (const auto& member : document.GetObject()) {
            TakeField({member.name.GetString(), member.name.GetStringLength()}, TextOf(member.value),
                      input.line_number(), entry);
        }
        return true;
    }
    return false;
}

}  // namespace

JournalForm JournalFormOf(std::string_view first_line) {
    const std::string_view key = first_line.substr(0, first_line.find('='));
    const bool is_key =
        key.size() > 1 && key.size() < first_line.size() &&
        key.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") == std::string_view::npos;
    if (is_key) return JournalForm::kExport;
    return first_line.size() > 2 && first_line[0] == '{' && first_line.find('"') != std::string_view::npos
               ? JournalForm::kJson
               : JournalForm::kNone;
}

bool NextEntry(Input& input, JournalForm form, JournalEntry* entry) {
    *entry = JournalEntry();
    return form == JournalForm::kExport ? NextExported(input, entry) : NextJson(input, entry);
}

}  // namespace ravelin_log
