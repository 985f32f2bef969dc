#include "tools/doctor/report_json.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace doctor {

namespace {

using ctl::Shown;
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteText(JsonWriter& json, const char* key, const std::string& text) {
    json.Key(key);
    json.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
}

void WriteTexts(JsonWriter& json, const char* key, const std::vector<std::string>& texts) {
    json.Key(key);
    json.StartArray();
    for (const std::string& text : texts) {
        const std::string escaped = Shown(text);
        json.String(escaped.c_str(), static_cast<rapidjson::SizeType>(escaped.size()));
    }
    json.EndArray();
}

void WriteFinding(JsonWriter& json, const Finding& finding) {
    json.StartObject();
    WriteText(json, "check", finding.complaint->name);
    WriteText(json, "severity", NameOf(finding.complaint->severity));
    WriteText(json, "what", Shown(finding.what));
    WriteText(json, "why", finding.complaint->why);
    WriteText(json, "cure", finding.complaint->cure);
    json.EndObject();
}

}  // namespace

std::string JsonOf(const Report& report) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    WriteText(json, "worst", NameOf(report.worst()));
    json.Key("groups");
    json.StartArray();
    for (const GroupReport& group : report.groups) {
        json.StartObject();
        WriteText(json, "group", group.name);
        WriteText(json, "worst", NameOf(group.worst()));
        WriteTexts(json, "facts", group.facts);
        WriteTexts(json, "unseen", group.unseen);
        json.Key("findings");
        json.StartArray();
        for (const Finding& finding : group.findings) WriteFinding(json, finding);
        json.EndArray();
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace doctor
