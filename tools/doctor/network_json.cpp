#include "tools/doctor/network_json.h"

#include <sstream>

#include <rapidjson/error/en.h>
#include <rapidjson/istreamwrapper.h>

namespace doctor {

namespace {

constexpr char kNetworkJsonPath[] = "/ubi/conf/network/network.json";

using rapidjson::Value;

const char* TypeOf(const Value& value) {
    if (value.IsObject()) return "an object";
    if (value.IsArray()) return "a list";
    if (value.IsString()) return "a text";
    if (value.IsNumber()) return "a number";
    if (value.IsBool()) return "a flag";
    return "null";
}

class JsonCheck {
  public:
    explicit JsonCheck(Examination& examination) : examination_(examination) {}

    void Run(const std::string& text) {
        std::istringstream stream(text);
        rapidjson::IStreamWrapper bytes(stream);
        rapidjson::Document document;
        document.ParseStream<kJsonParseFlags>(bytes);
        if (document.HasParseError()) {
            examination_.Found("json-broken", std::string(kNetworkJsonPath) + " isn't JSON, at byte " +
                                                  std::to_string(document.GetErrorOffset() + 1) + ": " +
                                                  rapidjson::GetParseError_En(document.GetParseError()));
            return;
        }
        if (!document.IsObject()) {
            examination_.Found("json-broken",
                               std::string(kNetworkJsonPath) + " has " + TypeOf(document) + " at its root");
            return;
        }
        CheckTexts(document, "", NetworkJson::kFields);
        CheckList(document, "module_name", "module_name");
        CheckWhitelist(document);
        if (!CheckNetworkConfig(document)) return;  // the daemon's reader would abort
        NetworkJson model;
        model.FromJson(document);
        const bool restricts = model.customer_name == "halden" && model.product_name == "Quillbox";
        const size_t allowed = model.whitelist.allowedValues.size();
        if (restricts && allowed == 0) {
            examination_.Found("json-no-list",
                               std::string(kNetworkJsonPath) + " lists no modem that is allowed");
        }
        examination_.Fact(restricts && allowed > 0
                              ? std::to_string(allowed) + " models of modems are allowed on this product"
                              : "every modem is allowed on this product");
    }

  private:
    const Value* Find(const Value& object, const char* key) {
        const auto member = object.FindMember(key);
        return member == object.MemberEnd() || member->value.IsNull() ? nullptr : &member->value;
    }

    void Wrong(const std::string& name, const Value& value, const char* wanted) {
        examination_.Found("json-type", std::string(kNetworkJsonPath) + ": " + name + " is " + TypeOf(value) +
                                            ", and " + wanted + " is wanted");
    }

    template <typename Fields>
    void CheckTexts(const Value& object, const std::string& path, const Fields& fields) {
        for (const auto& field : fields) {
            const Value* value = Find(object, field.key);
            if (value != nullptr && !value->IsString()) Wrong(path + field.key, *value, "a text");
        }
    }

    /// The object of this name; null, and said so, when it is something else.
    const Value* FindObject(const Value& object, const char* key, const std::string& name) {
        const Value* value = Find(object, key);
        if (value == nullptr || value->IsObject()) return value;
        Wrong(name, *value, "an object");
        return nullptr;
    }

    void CheckList(const Value& object, const char* key, const std::string& name) {
        const Value* list = Find(object, key);
        if (list == nullptr) return;
        if (!list->IsArray()) {
            Wrong(name, *list, "a list of texts");
            return;
        }
        for (const Value& element : list->GetArray()) {
            if (element.IsString()) continue;
            Wrong("a member of " + name, element, "a text");
            return;
        }
    }

    void CheckWhitelist(const Value& root) {
        const Value* level = FindObject(root, "whitelist", "whitelist");
        if (level != nullptr) level = FindObject(*level, "userSettings", "whitelist.userSettings");
        if (level != nullptr) level = FindObject(*level, "moduleName", "whitelist.userSettings.moduleName");
        if (level != nullptr) {
            CheckList(*level, "allowedValues", "whitelist.userSettings.moduleName.allowedValues");
        }
    }

    /// False: the daemon aborts.
    bool CheckNetworkConfig(const Value& root) {
        const Value* config = FindObject(root, "network_config", "network_config");
        if (config == nullptr) return true;
        CheckTexts(*config, "network_config.", NetworkConfig::kFields);
        NetworkConfig records;
        NetworkConfig::ForEachRecord(records, [&](const char* key, const auto& record) {
            const std::string name = std::string("network_config.") + key;
            const Value* object = FindObject(*config, key, name);
            if (object != nullptr) CheckTexts(*object, name + ".", record.kFields);
        });
        const Value* priority = FindObject(*config, "priority", "network_config.priority");
        if (priority == nullptr) return true;
        for (const auto& member : priority->GetObject()) {
            if (member.value.IsString()) continue;
            examination_.Found("json-abort", std::string(kNetworkJsonPath) + ": network_config.priority." +
                                                 member.name.GetString() + " is " + TypeOf(member.value));
            return false;
        }
        return true;
    }

    Examination& examination_;
};

}  // namespace

void CheckNetworkJson(Examination& examination) {
    const Board& board = examination.board();
    const FileFacts file = board.Look(kNetworkJsonPath);
    if (!file.exists) {
        if (file.error != 0) {
            examination.Unseen(std::string(kNetworkJsonPath) + ": " + ReasonOf(file.error));
        } else {
            examination.Fact(std::string("no ") + kNetworkJsonPath + ": every modem is allowed");
        }
        return;
    }
    examination.CheckSettingsRights(kNetworkJsonPath);
    const FileText text = board.Read(kNetworkJsonPath);
    if (!text.read && !file.is_file()) {
        examination.Found("json-broken", std::string(kNetworkJsonPath) + " is no plain file");
    } else if (!text.read) {
        examination.Unseen(std::string("what is in ") + kNetworkJsonPath + ": " + ReasonOf(text.error));
    } else if (!text.is_whole) {
        examination.Unseen(std::string("what is in ") + kNetworkJsonPath + ": it is larger than " +
                           std::to_string(kTextLimit_bytes / 1024) + " KB");
    } else {
        JsonCheck(examination).Run(text.bytes);
    }
}

}  // namespace doctor
