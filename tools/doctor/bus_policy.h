// The policy of the message bus as its files have it: read the way the bus reads them, and asked who may do
// what. docs/security.md says what it has to be.
#pragma once

#include <string>
#include <vector>

#include "tools/doctor/board.h"

namespace doctor {

/// One <allow> or <deny> about names or about sending.
struct PolicyRule {
    enum class Kind { kOwn, kSend } kind = Kind::kSend;
    bool allows = false;
    // Of kOwn: the name, or "*" for all. Of kSend: the receiver's name. Empty: any.
    std::string name;
    bool is_prefix = false;
    std::string type;  // of the message; empty: any
    std::string interface;
    std::string member;
    std::string path;
    std::string broadcast;  // "true", "false"; empty: both
};

/// Rules of one <policy>.
struct PolicySection {
    enum class Who { kDefault, kMandatory, kUser, kGroup } who = Who::kDefault;
    std::string name;  // of user or group
    std::string file;
    std::vector<PolicyRule> rules;
};

struct BusPolicy {
    std::vector<PolicySection> sections;
    std::vector<std::string> unreadable;  // "FILE: why"
    std::vector<std::string> unseen;      // the same, for want of rights
    bool has_files = false;
};

/// From /usr/share/dbus-1/system.conf on, with all that it includes.
BusPolicy ReadBusPolicy(const Board& board);

/// What somebody wants to do with the daemon's name.
struct PolicyQuestion {
    bool owns = false;      // own the name `name`; otherwise send
    std::string name;       // of the receiver, or to own
    std::string type;       // "method_call" or "signal"
    std::string interface;  // empty: none
    std::string member;
    std::string path;
    bool is_broadcast = false;
};

/// For the user of this name, or for one that no section names where it is empty. `of_group`: for a member of
/// that group.
bool IsAllowed(const BusPolicy& policy, const PolicyQuestion& question, const std::string& user,
               const std::string& of_group = "");

/// Reads one file's XML. Exposed for tests.
bool ParsePolicy(const std::string& xml, const std::string& file, BusPolicy* policy,
                 std::vector<std::string>* includes, std::string* error);

}  // namespace doctor
