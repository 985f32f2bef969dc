// See ConfigController.h.
#include "network_daemon/config/ConfigController.h"

#include <fcntl.h>

#include <cctype>
#include <cstdio>
#include <string>

#include <rapidjson/istreamwrapper.h>
#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include "support/file_reader.h"
#include "support/trace_log.h"

namespace {

/// A file as RapidJSON's stream wrapper wants a stream. The standard library's own takes four times as long
/// for a character as the parser does.
class JsonStream {
  public:
    // NOLINTBEGIN(readability-identifier-naming): names that the wrapper looks for
    using char_type = char;
    using traits_type = std::char_traits<char_type>;
    using int_type = traits_type::int_type;
    // NOLINTEND(readability-identifier-naming)
    static_assert(traits_type::eof() == FileReader::kEnd);

    explicit JsonStream(FileReader& file) : file_(file) {}
    int_type peek() { return file_.Peek(); }
    int_type get() { return file_.Get(); }

  private:
    FileReader& file_;
};

/// The same for writing.
class JsonOutput {
  public:
    // NOLINTNEXTLINE(readability-identifier-naming): a name that the wrapper looks for
    using char_type = char;

    explicit JsonOutput(FILE* file) : file_(file) {}
    void put(char_type c) { putc(c, file_); }
    void flush() { fflush(file_); }

  private:
    FILE* file_;
};

std::string LowerCase(std::string text) {
    for (char& c : text) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return text;
}

}  // namespace

int ConfigController::LoadNetworkJson(const std::string& path) {
    if (ReadJsonFile(path, m_document) == 0) return 0;
    m_network_json = NetworkJson{};
    const int result = m_network_json.FromJson(m_document);
    m_network_json.Dump();
    return result;
}

int ConfigController::ReadJsonFile(const std::string& path, rapidjson::Document& document) {
    FileReader file(open(path.c_str(), O_RDONLY));
    if (!file.is_open()) {
        TRACE(kLogError, "[Config]ReadJsonFile Failed to open network.json file: %s\n", path.c_str());
        return 0;
    }
    JsonStream source(file);
    rapidjson::BasicIStreamWrapper<JsonStream> stream(source);
    document.ParseStream<kJsonParseFlags>(stream);
    if (document.HasParseError()) {
        TRACE(kLogError, "[Config]Failed to parse the JSON");
        return 0;
    }
    return 1;
}

int ConfigController::WriteJsonFile(const std::string& path, const rapidjson::Document& document) {
    FILE* file = fopen(path.c_str(), "w");
    if (file == nullptr) {
        TRACE(kLogProgress, "[Config]WriteJsonFile Failed to open network.json file:  %s\n", path.c_str());
        return 0;
    }
    JsonOutput output(file);
    rapidjson::BasicOStreamWrapper<JsonOutput> stream(output);
    rapidjson::PrettyWriter<decltype(stream)> writer(stream);
    document.Accept(writer);
    fclose(file);
    return 1;
}

int ConfigController::CheckWhitelistLimitModule(const std::string& module_name) {
    const std::vector<std::string>& allowed = m_network_json.whitelist.allowedValues;
    if (allowed.empty()) {
        TRACE(kLogProgress, "[whitelist] moduleName allowedValues is empty allow to run\n");
        return 1;
    }
    const std::string wanted = LowerCase(module_name);
    for (const std::string& value : allowed) {
        TRACE(kLogProgress, "[whitelist] limitModuleName:  %s\n", value.c_str());
        if (LowerCase(value) == wanted) return 1;
    }
    return 0;
}
