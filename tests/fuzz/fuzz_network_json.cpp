// Any bytes as network.json. The daemon's parser, which needs no stack for nesting, must agree with the
// library's usual one on what is JSON and on what it says.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "network_daemon/config/ConfigController.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

constexpr std::ptrdiff_t kRecursionLimit = 500;  // levels that the usual parser may take

const rapidjson::Value* FindObject(const rapidjson::Value& object, const char* key) {
    const auto member = object.FindMember(key);
    return member != object.MemberEnd() && member->value.IsObject() ? &member->value : nullptr;
}

/// The one content that ends the process, on purpose: a member of "priority" that isn't a text.
bool IsFatal(const rapidjson::Document& document) {
    if (document.HasParseError() || !document.IsObject()) return false;
    const rapidjson::Value* object = FindObject(document, "network_config");
    if (object != nullptr) object = FindObject(*object, "priority");
    if (object == nullptr) return false;
    return std::any_of(object->MemberBegin(), object->MemberEnd(),
                       [](const auto& member) { return !member.value.IsString(); });
}

void Append(std::string& all, const std::string& text) {
    FUZZ_CHECK(text.find('\0') == std::string::npos);
    all += text;
    all += '\0';
}

void AppendList(std::string& all, const std::vector<std::string>& list) {
    for (const std::string& element : list) {
        FUZZ_CHECK(!element.empty());
        Append(all, element);
    }
    all += '\1';
}

template <typename Record>
void AppendRecord(std::string& all, const Record& record) {
    for (const auto& field : Record::kFields) Append(all, record.*field.member);
}

/// The whole model as one text, to compare two of them.
std::string Flatten(const NetworkJson& model) {
    std::string all;
    AppendRecord(all, model);
    AppendList(all, model.module_name);
    AppendList(all, model.whitelist.allowedValues);
    AppendRecord(all, model.network_config);
    for (const auto& [key, value] : model.network_config.priority) {
        Append(all, key);
        Append(all, value);
    }
    NetworkConfig::ForEachRecord(model.network_config,
                                 [&](const char*, const auto& record) { AppendRecord(all, record); });
    return all;
}

void CheckAgainstUsualParser(const std::string& text, int result, const std::string& expected) {
    const auto levels = std::count_if(text.begin(), text.end(), [](char c) { return c == '[' || c == '{'; });
    if (levels > kRecursionLimit) return;
    rapidjson::Document document;
    document.Parse(text.c_str());
    NetworkJson model;
    FUZZ_CHECK(model.FromJson(document) == result);
    FUZZ_CHECK(Flatten(model) == expected);
}

void CheckFile(const std::string& text, int result, const std::string& expected) {
    const int fd = memfd_create("network.json", 0);
    FUZZ_CHECK(fd >= 0);
    FUZZ_CHECK(write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
    ConfigController controller;
    FUZZ_CHECK(controller.LoadNetworkJson("/proc/self/fd/" + std::to_string(fd)) == result);
    FUZZ_CHECK(Flatten(controller.m_network_json) == expected);
    const bool empty = controller.m_network_json.whitelist.allowedValues.empty();
    FUZZ_CHECK(controller.CheckWhitelistLimitModule("") == (empty ? 1 : 0));
    close(fd);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    rapidjson::Document document;
    document.Parse<kJsonParseFlags>(text.c_str());
    if (IsFatal(document)) return 0;

    NetworkJson model;
    const int result = model.FromJsonText(text);
    const std::string first = Flatten(model);
    FUZZ_CHECK(result == model.FromJson(document));  // a second reading changes nothing
    FUZZ_CHECK(Flatten(model) == first);
    CheckAgainstUsualParser(text, result, first);
    CheckFile(text, result, first);
    return 0;
}
