#include "tools/ctl/help.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace ctl {

namespace {

constexpr size_t kWidth = 79;
constexpr size_t kMargin = 2;
constexpr size_t kColumn = 22;
constexpr size_t kStatusColumn = 7;

/// The words of `text` in lines of kWidth, each but the first after `indent` blanks. `used` is what stands
/// in the first.
std::string Fill(const std::string& text, size_t indent, size_t used) {
    std::istringstream words(text);
    std::string filled;
    size_t column = used;
    bool is_first = true;
    for (std::string word; words >> word; is_first = false) {
        if (!is_first && column + 1 + word.size() > kWidth) {
            filled += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (!is_first) {
            filled += " ";
            ++column;
        }
        filled += word;
        column += word.size();
    }
    return filled;
}

/// "  TERM   what it is", with the text on the next line where the term is too long.
std::string Item(const std::string& term, const std::string& text, size_t text_column) {
    std::string line = std::string(kMargin, ' ') + term;
    if (text.empty()) return line + "\n";
    if (line.size() + 2 > text_column) {
        line += "\n" + std::string(text_column, ' ');
    } else {
        line.resize(text_column, ' ');
    }
    return line + Fill(text, text_column, text_column) + "\n";
}

std::string OptionItem(const Option& option) {
    std::string term;
    for (const std::string& name : option.names) term += (term.empty() ? "" : ", ") + name;
    if (!option.value_name.empty()) term += " " + option.value_name;
    return Item(term, option.description, kColumn);
}

std::string OptionList(const OptionSet& takes) {
    std::string list;
    for (const Option& option : takes.all()) {
        if (!option.is_argument()) list += OptionItem(option);
    }
    return list + Item("-h, --help", "this text", kColumn);
}

std::string ArgumentList(const OptionSet& takes) {
    std::string list;
    for (const Option& option : takes.all()) {
        if (option.is_argument()) list += OptionItem(option);
    }
    return list;
}

std::string StatusList(const Command& command) {
    std::string list;
    for (const ExitStatus& status : command.exit_statuses) {
        list += Item(std::to_string(status.status), status.meaning, kStatusColumn);
    }
    return list;
}

std::string Synopsis(const DeclaredCommand& command) {
    std::string synopsis = std::string(kToolName) + " " + command.command.name + " [OPTION]...";
    for (const Option& option : command.takes.all()) {
        if (!option.is_argument()) continue;
        const std::string& name = option.names.front();
        synopsis += " " + (option.is_required ? name : "[" + name + "]") + (option.is_list() ? "..." : "");
    }
    return synopsis;
}

std::string Paragraphs(const std::string& text) {
    std::string filled;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find("\n\n", start), text.size());
        filled += "\n" + Fill(text.substr(start, end - start), 0, 0) + "\n";
        start = end + 2;
    }
    return filled;
}

std::string Sentence(std::string summary) {
    if (summary.empty()) return summary;
    summary[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(summary[0])));
    return summary + ".";
}

std::string Section(const std::string& heading, const std::string& list) {
    return list.empty() ? "" : "\n" + heading + ":\n" + list;
}

std::string OwnLists(const Command& command) {
    std::string sections;
    for (const HelpList& list : command.lists) {
        std::string items;
        for (const HelpItem& item : list.items) items += Item(item.term, item.text, kColumn);
        sections += Section(list.heading, items);
    }
    return sections;
}

std::string CommandBody(const DeclaredCommand& declared) {
    const Command& command = declared.command;
    return Paragraphs(Sentence(command.summary)) + Paragraphs(command.about) +
           Section("Arguments", ArgumentList(declared.takes)) + OwnLists(command) +
           Section("Options", OptionList(declared.takes)) + Section("Exit status", StatusList(command));
}

std::string ToolBody(const std::vector<DeclaredCommand>& commands) {
    std::string list;
    for (const DeclaredCommand& each : commands) {
        list += Item(each.command.name, each.command.summary, kColumn);
    }
    return Paragraphs(
               "Tells what the modem's link of a charge point does, did, and why, and asks the daemon "
               "ravelin-mobile "
               "for things. `ravelinctl COMMAND --help` says more of a command.") +
           Section("Commands", list) +
           Section("Options", OptionList({}) + Item("--version", "name and version", kColumn));
}

}  // namespace

std::string ToolHelp(const std::vector<DeclaredCommand>& commands) {
    return "usage: " + std::string(kToolName) + " COMMAND [OPTION]... [ARGUMENT]...\n" + ToolBody(commands);
}

std::string CommandHelp(const DeclaredCommand& command) {
    return "usage: " + Synopsis(command) + "\n" + CommandBody(command);
}

std::string WholeHelp(const std::vector<DeclaredCommand>& commands) {
    std::string text = "usage: " + std::string(kToolName) + " [--help] [--version]\n";
    std::string rest = ToolBody(commands);
    for (const DeclaredCommand& each : commands) {
        text += "       " + Synopsis(each) + "\n";
        rest += "\n## " + Synopsis(each).substr(sizeof kToolName) + "\n" + CommandBody(each);
    }
    return text + rest;
}

}  // namespace ctl
