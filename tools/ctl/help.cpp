#include "tools/ctl/help.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "tools/ctl/command_line.h"

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

std::string OptionTerm(const CLI::Option& option) {
    std::string term;
    for (const std::string& name : option.get_snames()) term += (term.empty() ? "-" : ", -") + name;
    for (const std::string& name : option.get_lnames()) term += (term.empty() ? "--" : ", --") + name;
    const std::string value = ValueName(option);
    return value.empty() ? term : term + " " + value;
}

std::string OptionList(const CLI::App& app) {
    std::string list;
    std::string last;  // as everywhere, help and version come at the end
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional() || option->get_group().empty()) continue;
        const bool is_common = option == app.get_help_ptr() || option == app.get_version_ptr();
        (is_common ? last : list) += Item(OptionTerm(*option), option->get_description(), kColumn);
    }
    return list + last;
}

std::string ArgumentList(const CLI::App& app) {
    std::string list;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) list += Item(option->get_name(), option->get_description(), kColumn);
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

std::string Synopsis(const CLI::App& app) {
    std::string synopsis = std::string(kToolName) + " " + app.get_name() + " [OPTION]...";
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_positional()) continue;
        const bool is_list = option->get_expected_max() > 1;
        const std::string name = option->get_name() + (is_list ? "..." : "");
        const std::string optional = "[" + option->get_name() + "]" + (is_list ? "..." : "");
        synopsis += " " + (option->get_required() ? name : optional);
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

std::string CommandBody(const CLI::App& app, const Command& command) {
    return Paragraphs(Sentence(command.summary)) + Paragraphs(command.about) +
           Section("Arguments", ArgumentList(app)) + OwnLists(command) + Section("Options", OptionList(app)) +
           Section("Exit status", StatusList(command));
}

std::string ToolBody(const CLI::App& tool, const std::vector<Command>& commands) {
    std::string list;
    for (const Command& command : commands) list += Item(command.name, command.summary, kColumn);
    return Paragraphs(
               "Tells what the modem's link of a charge point does, did, and why, and asks the daemon "
               "ravelin-mobile "
               "for things. `ravelinctl COMMAND --help` says more of a command.") +
           Section("Commands", list) + Section("Options", OptionList(tool));
}

}  // namespace

std::string ToolHelp(const CLI::App& tool, const std::vector<Command>& commands) {
    return "usage: " + std::string(kToolName) + " COMMAND [OPTION]... [ARGUMENT]...\n" +
           ToolBody(tool, commands);
}

std::string CommandHelp(const CLI::App& app, const Command& command) {
    return "usage: " + Synopsis(app) + "\n" + CommandBody(app, command);
}

std::string WholeHelp(const CLI::App& tool, const std::vector<Command>& commands) {
    std::string text = "usage: " + std::string(kToolName) + " [--help] [--version]\n";
    std::string rest = ToolBody(tool, commands);
    for (const Command& command : commands) {
        const CLI::App& app = *tool.get_subcommand(command.name);
        text += "       " + Synopsis(app) + "\n";
        rest += "\n## " + Synopsis(app).substr(sizeof kToolName) + "\n" + CommandBody(app, command);
    }
    return text + rest;
}

std::string ValueName(const CLI::Option& option) {
    if (option.get_type_size() == 0) return "";
    const std::string type = option.get_type_name();
    const size_t offered = std::min(type.find('{'), type.size());
    return type.substr(0, offered > 0 && offered < type.size() ? offered - 1 : offered);
}

std::vector<std::string> OfferedWords(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const size_t start = type.find('{');
    const size_t end = type.find('}', start);
    std::vector<std::string> words;
    if (start == std::string::npos || end == std::string::npos) return words;
    std::istringstream list(type.substr(start + 1, end - start - 1));
    for (std::string word; std::getline(list, word, ',');) words.push_back(word);
    return words;
}

}  // namespace ctl
