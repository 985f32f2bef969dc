#include "tools/doctor/bus_policy.h"

#include <expat.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <set>

#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"

namespace doctor {

namespace {

constexpr char kConfig[] = "/usr/share/dbus-1/system.conf";
constexpr char kOldConfig[] = "/etc/dbus-1/system.conf";
constexpr size_t kFilesLimit = 1000;
constexpr char kFolderMark = '/';  // at the end of an include that is a folder

/// The attributes of an element.
class Attributes {
  public:
    explicit Attributes(const XML_Char** pairs) : pairs_(pairs) {}

    const char* Find(const char* name) const {
        for (const XML_Char** pair = pairs_; *pair != nullptr; pair += 2) {
            if (strcmp(*pair, name) == 0) return pair[1];
        }
        return nullptr;
    }
    /// What a rule wants; "*" is the same as nothing.
    std::string Wanted(const char* name) const {
        const char* value = Find(name);
        return value == nullptr || strcmp(value, "*") == 0 ? "" : value;
    }
    bool HasAny(const char* start) const {
        for (const XML_Char** pair = pairs_; *pair != nullptr; pair += 2) {
            if (StartsWith(*pair, start)) return true;
        }
        return false;
    }

  private:
    const XML_Char** pairs_;
};

struct Parsing {
    BusPolicy* policy;
    std::string file;
    std::vector<std::string>* includes;
    PolicySection* section = nullptr;  // that is open
    std::string text;                  // of the element that is open
    bool ignored = false;              // an include for another kind of system
};

void OpenSection(Parsing& parsing, const Attributes& attributes) {
    PolicySection section;
    section.file = parsing.file;
    if (const char* user = attributes.Find("user")) {
        // "*" is everybody, like the default.
        section.who = strcmp(user, "*") == 0 ? PolicySection::Who::kDefault : PolicySection::Who::kUser;
        section.name = user;
    } else if (const char* group = attributes.Find("group")) {
        section.who = strcmp(group, "*") == 0 ? PolicySection::Who::kDefault : PolicySection::Who::kGroup;
        section.name = group;
    } else if (attributes.Wanted("context") == "mandatory") {
        section.who = PolicySection::Who::kMandatory;
    } else if (attributes.Wanted("context") != "default") {
        section.who = PolicySection::Who::kUser;  // at_console, which a board doesn't have
        section.name = "(at the console)";
    }
    parsing.policy->sections.push_back(section);
    parsing.section = &parsing.policy->sections.back();
}

void AddRule(PolicySection& section, bool allows, const Attributes& attributes) {
    PolicyRule rule;
    rule.allows = allows;
    if (attributes.HasAny("own")) {
        rule.kind = PolicyRule::Kind::kOwn;
        rule.is_prefix = attributes.Find("own_prefix") != nullptr;
        rule.name = attributes.Wanted(rule.is_prefix ? "own_prefix" : "own");
    } else if (attributes.HasAny("send_") || attributes.Find("eavesdrop") != nullptr) {
        if (attributes.HasAny("receive_")) return;
        // Only of answers.
        if (attributes.Find("send_requested_reply") != nullptr && allows) return;
        rule.is_prefix = attributes.Find("send_destination_prefix") != nullptr;
        rule.name = attributes.Wanted(rule.is_prefix ? "send_destination_prefix" : "send_destination");
        rule.type = attributes.Wanted("send_type");
        rule.interface = attributes.Wanted("send_interface");
        rule.member = attributes.Wanted("send_member");
        rule.path = attributes.Wanted("send_path");
        rule.broadcast = attributes.Wanted("send_broadcast");
        if (!attributes.Wanted("send_error").empty()) return;
    } else {
        return;  // who may connect, and what may be received
    }
    section.rules.push_back(rule);
}

void XMLCALL OnStart(void* data, const XML_Char* name, const XML_Char** pairs) {
    Parsing& parsing = *static_cast<Parsing*>(data);
    const Attributes attributes(pairs);
    parsing.text.clear();
    if (strcmp(name, "policy") == 0) {
        OpenSection(parsing, attributes);
    } else if (parsing.section != nullptr && strcmp(name, "allow") == 0) {
        AddRule(*parsing.section, true, attributes);
    } else if (parsing.section != nullptr && strcmp(name, "deny") == 0) {
        AddRule(*parsing.section, false, attributes);
    } else if (strcmp(name, "include") == 0) {
        parsing.ignored = attributes.Find("if_selinux_enabled") != nullptr;
    }
}

void XMLCALL OnEnd(void* data, const XML_Char* name) {
    Parsing& parsing = *static_cast<Parsing*>(data);
    if (strcmp(name, "policy") == 0) {
        parsing.section = nullptr;
    } else if (strcmp(name, "include") == 0) {
        if (!parsing.ignored) parsing.includes->push_back(Trimmed(parsing.text));
    } else if (strcmp(name, "includedir") == 0) {
        parsing.includes->push_back(Trimmed(parsing.text) + kFolderMark);
    }
}

void XMLCALL OnText(void* data, const XML_Char* text, int length) {
    static_cast<Parsing*>(data)->text.append(text, static_cast<size_t>(length));
}

/// Reads files in the order in which the bus does, since the last rule that fits counts.
class PolicyReader {
  public:
    PolicyReader(const Board& board, BusPolicy* policy) : board_(board), policy_(policy) {}

    void ReadFile(const std::string& path) {
        if (!seen_.insert(path).second || seen_.size() > kFilesLimit) return;
        const FileFacts file = board_.Look(path);
        if (!file.exists) return;
        const FileText text = board_.Read(path);
        if (!text.read && ReasonOf(text.error) == ReasonOf(EACCES)) {
            policy_->unseen.push_back(path + ": " + ReasonOf(text.error));
            return;
        }
        std::vector<std::string> includes;
        std::string error = text.read ? "it is too large" : ReasonOf(text.error);
        if (!text.read || !text.is_whole || !ParsePolicy(text.bytes, path, policy_, &includes, &error)) {
            policy_->unreadable.push_back(path + ": " + error);
            return;
        }
        policy_->has_files = true;
        for (std::string include : includes) {
            if (include[0] != '/') include.insert(0, path.substr(0, path.rfind('/') + 1));
            if (include.back() == kFolderMark) {
                ReadFolder(include);
            } else {
                ReadFile(include);
            }
        }
    }

  private:
    void ReadFolder(const std::string& path) {
        if (board_.IsClosed(path)) policy_->unseen.push_back(path + ": " + ReasonOf(EACCES));
        const auto names = board_.List(path);
        if (!names) return;
        for (const std::string& name : *names) {
            if (name.size() > 5 && name.compare(name.size() - 5, 5, ".conf") == 0) ReadFile(path + name);
        }
    }

    const Board& board_;
    BusPolicy* policy_;
    std::set<std::string> seen_;
};

/// `name` is `prefix`, or continues it after a dot.
bool HasPrefix(const std::string& name, const std::string& prefix) {
    return name == prefix || StartsWith(name, prefix + ".");
}

bool FitsName(const PolicyRule& rule, const std::string& name) {
    if (rule.name.empty()) return true;
    return rule.is_prefix ? HasPrefix(name, rule.name) : rule.name == name;
}

/// A section may name root by its number.
bool IsUser(const std::string& named, const std::string& user) {
    return !user.empty() && (named == user || (named == "0" && user == "root"));
}

bool Fits(const PolicyRule& rule, const PolicyQuestion& question) {
    if ((rule.kind == PolicyRule::Kind::kOwn) != question.owns) return false;
    if (!FitsName(rule, question.name)) return false;
    if (question.owns) return true;
    if (!rule.type.empty() && rule.type != question.type) return false;
    // A message without an interface is denied by a rule about one, and not allowed by it.
    if (!rule.interface.empty() &&
        (question.interface.empty() ? rule.allows : rule.interface != question.interface)) {
        return false;
    }
    if (!rule.member.empty() && rule.member != question.member) return false;
    if (!rule.path.empty() && rule.path != question.path) return false;
    return rule.broadcast.empty() || (rule.broadcast == "true") == question.is_broadcast;
}

}  // namespace

bool ParsePolicy(const std::string& xml, const std::string& file, BusPolicy* policy,
                 std::vector<std::string>* includes, std::string* error) {
    const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                         XML_ParserFree);
    BusPolicy found;
    Parsing parsing{&found, file, includes, nullptr, "", false};
    XML_SetUserData(parser.get(), &parsing);
    XML_SetElementHandler(parser.get(), OnStart, OnEnd);
    XML_SetCharacterDataHandler(parser.get(), OnText);
    if (XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE) != XML_STATUS_OK) {
        *error = "line " + std::to_string(XML_GetCurrentLineNumber(parser.get())) + ": " +
                 XML_ErrorString(XML_GetErrorCode(parser.get()));
        return false;
    }
    for (PolicySection& section : found.sections) policy->sections.push_back(std::move(section));
    return true;
}

BusPolicy ReadBusPolicy(const Board& board) {
    BusPolicy policy;
    PolicyReader reader(board, &policy);
    reader.ReadFile(board.Exists(kConfig) ? kConfig : kOldConfig);
    return policy;
}

bool IsAllowed(const BusPolicy& policy, const PolicyQuestion& question, const std::string& user,
               const std::string& of_group) {
    using Who = PolicySection::Who;
    bool allowed = false;
    // Rules for groups count for more than the default, those for users for more than these, the mandatory
    // ones most.
    for (const Who who : {Who::kDefault, Who::kGroup, Who::kUser, Who::kMandatory}) {
        for (const PolicySection& section : policy.sections) {
            if (section.who != who) continue;
            if (who == Who::kUser && !IsUser(section.name, user)) continue;
            if (who == Who::kGroup && (of_group.empty() || section.name != of_group)) continue;
            for (const PolicyRule& rule : section.rules) {
                if (Fits(rule, question)) allowed = rule.allows;
            }
        }
    }
    return allowed;
}

}  // namespace doctor
