// See NetworkJson.h.
#include "network_daemon/config/NetworkJson.h"

#include <cstdio>

namespace {

using rapidjson::Document;
using rapidjson::Value;

// Reading.

/// Value of the first member of this name, or null.
const Value* Find(const Value& object, const char* key) {
    const auto member = object.FindMember(key);
    return member == object.MemberEnd() ? nullptr : &member->value;
}

/// The same for a member that must be an object.
const Value* FindObject(const Value& object, const char* key) {
    const Value* found = Find(object, key);
    return found != nullptr && found->IsObject() ? found : nullptr;
}

void ReadText(const Value& object, const char* key, std::string& text) {
    const Value* found = Find(object, key);
    if (found == nullptr || found->IsNull()) {
        text.clear();
    } else if (found->IsString()) {
        text = found->GetString();  // up to an escaped NUL, here and below
    }
}

template <typename Record>
void ReadTexts(const Value& object, Record& record) {
    for (const auto& field : Record::kFields) ReadText(object, field.key, record.*field.member);
}

template <typename Record>
void ReadRecord(const Value& object, const char* key, Record& record) {
    const Value* found = Find(object, key);
    if (found == nullptr || found->IsNull()) {
        record = Record{};
    } else if (found->IsObject()) {
        ReadTexts(*found, record);
    }
}

void ReadList(const Value& object, const char* key, std::vector<std::string>& list) {
    list.clear();
    const Value* found = Find(object, key);
    if (found == nullptr || !found->IsArray()) return;
    for (const Value& element : found->GetArray()) {
        if (element.IsString() && element.GetString()[0] != '\0') list.emplace_back(element.GetString());
    }
}

void ReadWhitelist(const Value& root, WhitelistConfig& whitelist) {
    const Value* level = FindObject(root, "whitelist");
    if (level != nullptr) level = FindObject(*level, "userSettings");
    if (level != nullptr) level = FindObject(*level, "moduleName");
    if (level != nullptr) ReadList(*level, "allowedValues", whitelist.allowedValues);
}

/// A value that isn't a text is a mistake that must not go unnoticed: GetString ends the process.
void ReadPriority(const Value& object, std::map<std::string, std::string>& priority) {
    const Value* found = FindObject(object, "priority");
    if (found == nullptr) return;
    priority.clear();
    for (const auto& member : found->GetObject()) {
        priority.emplace(member.name.GetString(), member.value.GetString());
    }
}

void ReadNetworkConfig(const Value& root, NetworkConfig& config) {
    const Value* object = FindObject(root, "network_config");
    if (object == nullptr) return;
    ReadTexts(*object, config);
    ReadPriority(*object, config.priority);
    NetworkConfig::ForEachRecord(
        config, [object](const char* key, auto& record) { ReadRecord(*object, key, record); });
}

// Printing.

constexpr char kListIndent[] = "               ";  // 15 blanks
constexpr char kPriorityIndent[] = "     ";

/// Flushed, so that the dump and the log keep their order whatever standard output is.
void PrintLine(const std::string& line) {
    puts(line.c_str());
    fflush(stdout);
}

void PrintList(const std::vector<std::string>& list) {
    for (const std::string& element : list) PrintLine(kListIndent + element);
}

template <typename Record>
void PrintRecord(const Record& record) {
    PrintLine(Record::kHeading);
    for (const auto& field : Record::kFields) {
        PrintLine(std::string("  ") + field.label + ": " + record.*field.member);
    }
}

void PrintWhitelist(const WhitelistConfig& whitelist) {
    PrintLine("whitelist: ");
    PrintLine("  userSettings: ");
    PrintLine("    moduleName: ");
    PrintLine("      allowedValues: ");
    PrintList(whitelist.allowedValues);
}

void PrintNetworkConfig(const NetworkConfig& config) {
    PrintRecord(config);
    PrintLine("  priority: ");
    for (const auto& [key, value] : config.priority) PrintLine(kPriorityIndent + key + ": " + value);
    NetworkConfig::ForEachRecord(config, [](const char*, const auto& record) { PrintRecord(record); });
}

}  // namespace

int NetworkJson::FromJson(const Document& document) {
    if (document.HasParseError() || !document.IsObject()) return 0;
    ReadTexts(document, *this);
    ReadList(document, "module_name", module_name);
    ReadWhitelist(document, whitelist);
    ReadNetworkConfig(document, network_config);
    return 1;
}

int NetworkJson::FromJsonText(const std::string& text) {
    Document document;
    document.Parse<kJsonParseFlags>(text.c_str());
    return FromJson(document);
}

void NetworkJson::Dump() const {
    PrintRecord(*this);
    PrintLine("  module_name: ");
    PrintList(module_name);
    PrintWhitelist(whitelist);
    PrintNetworkConfig(network_config);
}
