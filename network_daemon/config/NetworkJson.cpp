// See NetworkJson.h.
#include "NetworkJson.h"

#include <cstdio>

namespace {

using rapidjson::Document;
using rapidjson::Value;

// Reading.

/// Value of the first member of this name, or null.
const Value* find(const Value& object, const char* key) {
    const auto member = object.FindMember(key);
    return member == object.MemberEnd() ? nullptr : &member->value;
}

/// The same for a member that must be an object.
const Value* find_object(const Value& object, const char* key) {
    const Value* found = find(object, key);
    return found != nullptr && found->IsObject() ? found : nullptr;
}

void read_text(const Value& object, const char* key, std::string& text) {
    const Value* found = find(object, key);
    if (found == nullptr || found->IsNull()) {
        text.clear();
    } else if (found->IsString()) {
        text = found->GetString();  // up to an escaped NUL, here and below
    }
}

template <typename Record>
void read_texts(const Value& object, Record& record) {
    for (const auto& field : Record::kFields) read_text(object, field.key, record.*field.member);
}

template <typename Record>
void read_record(const Value& object, const char* key, Record& record) {
    const Value* found = find(object, key);
    if (found == nullptr || found->IsNull()) {
        record = Record{};
    } else if (found->IsObject()) {
        read_texts(*found, record);
    }
}

void read_list(const Value& object, const char* key, std::vector<std::string>& list) {
    list.clear();
    const Value* found = find(object, key);
    if (found == nullptr || !found->IsArray()) return;
    for (const Value& element : found->GetArray()) {
        if (element.IsString() && element.GetString()[0] != '\0') list.emplace_back(element.GetString());
    }
}

void read_whitelist(const Value& root, WhitelistConfig& whitelist) {
    const Value* level = find_object(root, "whitelist");
    if (level != nullptr) level = find_object(*level, "userSettings");
    if (level != nullptr) level = find_object(*level, "moduleName");
    if (level != nullptr) read_list(*level, "allowedValues", whitelist.allowedValues);
}

/// A value that isn't a text is a mistake that must not go unnoticed: GetString ends the process.
void read_priority(const Value& object, std::map<std::string, std::string>& priority) {
    const Value* found = find_object(object, "priority");
    if (found == nullptr) return;
    priority.clear();
    for (const auto& member : found->GetObject()) {
        priority.emplace(member.name.GetString(), member.value.GetString());
    }
}

void read_network_config(const Value& root, NetworkConfig& config) {
    const Value* object = find_object(root, "network_config");
    if (object == nullptr) return;
    read_texts(*object, config);
    read_priority(*object, config.priority);
    NetworkConfig::ForEachRecord(
        config, [object](const char* key, auto& record) { read_record(*object, key, record); });
}

// Printing.

constexpr char kListIndent[] = "               ";  // 15 blanks
constexpr char kPriorityIndent[] = "     ";

/// Flushed, so that the dump and the log keep their order whatever standard output is.
void print_line(const std::string& line) {
    puts(line.c_str());
    fflush(stdout);
}

void print_list(const std::vector<std::string>& list) {
    for (const std::string& element : list) print_line(kListIndent + element);
}

template <typename Record>
void print_record(const Record& record) {
    print_line(Record::kHeading);
    for (const auto& field : Record::kFields) {
        print_line(std::string("  ") + field.label + ": " + record.*field.member);
    }
}

void print_whitelist(const WhitelistConfig& whitelist) {
    print_line("whitelist: ");
    print_line("  userSettings: ");
    print_line("    moduleName: ");
    print_line("      allowedValues: ");
    print_list(whitelist.allowedValues);
}

void print_network_config(const NetworkConfig& config) {
    print_record(config);
    print_line("  priority: ");
    for (const auto& [key, value] : config.priority) print_line(kPriorityIndent + key + ": " + value);
    NetworkConfig::ForEachRecord(config, [](const char*, const auto& record) { print_record(record); });
}

}  // namespace

int NetworkJson::FromJson(const Document& document) {
    if (document.HasParseError() || !document.IsObject()) return 0;
    read_texts(document, *this);
    read_list(document, "module_name", module_name);
    read_whitelist(document, whitelist);
    read_network_config(document, network_config);
    return 1;
}

int NetworkJson::FromJsonText(const std::string& text) {
    Document document;
    document.Parse<kJsonParseFlags>(text.c_str());
    return FromJson(document);
}

void NetworkJson::Dump() const {
    print_record(*this);
    print_line("  module_name: ");
    print_list(module_name);
    print_whitelist(whitelist);
    print_network_config(network_config);
}
