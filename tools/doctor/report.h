// What an examination of the board has brought, and its form for people. report_json.h has the one for
// programs.
#pragma once

#include <string>
#include <vector>

#include "tools/ctl/terminal.h"

namespace doctor {

enum class Severity { kOk, kNote, kWarning, kError };

/// "ok", "note", "warning", "error".
const char* NameOf(Severity severity);

/// What can be wrong with a board; the one list of it is kCatalogue.
struct Complaint {
    const char* name;
    const char* group;
    Severity severity;
    const char* why;   // it matters
    const char* cure;  // what to do
};

/// One complaint about this board.
struct Finding {
    const Complaint* complaint;
    std::string what;
};

/// What one group of checks has brought.
struct GroupReport {
    const char* name;
    const char* title;
    std::vector<std::string> facts;   // what was seen, and is as it should be
    std::vector<std::string> unseen;  // what couldn't be looked at, and why
    std::vector<Finding> findings;

    Severity worst() const;
};

struct Report {
    std::vector<GroupReport> groups;

    Severity worst() const;
};

/// Exit status: 0 with notes at most, 1 with a warning, 3 with an error. 2 is that of a wrong command line.
int StatusOf(const Report& report);

/// For people: a paragraph a group, as wide as the terminal. `with_facts`: what is in order too.
std::string TextOf(const Report& report, const ctl::Terminal& terminal, bool with_facts);

}  // namespace doctor
