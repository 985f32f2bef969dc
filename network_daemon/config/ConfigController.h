// Joins network.json to its model and says whether a modem may run on this product. main owns the one object
// and is its only user.
#pragma once

#include <string>

#include "network_daemon/config/NetworkJson.h"
#include "network_daemon/config/json.h"

class ConfigController {
  public:
    /// Reads the file, fills the model afresh and prints it. 1, or 0 when the file can't be read or parsed
    /// (the model stays as it was) or its root isn't an object (the model is empty).
    int LoadNetworkJson(const std::string& path);

    /// Parses a file into `document`, which keeps the parse error, if any. Nonzero when that went well.
    int ReadJsonFile(const std::string& path, rapidjson::Document& document);

    /// Writes a document, indented by 4 blanks, in place of the file; not atomic. Nonzero when the file could
    /// be opened: errors of writing are not looked at. Needs stack for each level of nesting.
    int WriteJsonFile(const std::string& path, const rapidjson::Document& document);

    /// 1 when the list of allowed modules is empty or holds this name, whatever the case of letters; else 0.
    int CheckWhitelistLimitModule(const std::string& module_name);

    rapidjson::Document m_document;
    NetworkJson m_network_json;
};
